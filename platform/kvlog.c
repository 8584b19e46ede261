/*
 * Stand-in for the appliance's log library: what reaches the appliance's own log there goes to syslog(3) here,
 * and to standard error as well when KVLOG_STDERR is set to a non-empty text.
 *
 * The seven leading integers select a place in the appliance's own log; syslog has no use for them.
 */
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>

__attribute__((visibility("default"), format(printf, 9, 10))) void kvlog(int a, int b, int c, int d, int e, int f,
                                                                         int g, const char *tag, const char *format,
                                                                         ...);

void kvlog(int a, int b, int c, int d, int e, int f, int g, const char *tag, const char *format, ...) {
    char line[2048];
    const char *echo = getenv("KVLOG_STDERR");
    va_list arguments;

    (void)a, (void)b, (void)c, (void)d, (void)e, (void)f, (void)g;
    va_start(arguments, format);
    vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    syslog(LOG_USER | LOG_INFO, "%s: %s", tag, line);
    if (echo && *echo) {
        size_t length = strlen(line);
        fprintf(stderr, "%s: %s%s", tag, line, length && line[length - 1] == '\n' ? "" : "\n");
    }
}
