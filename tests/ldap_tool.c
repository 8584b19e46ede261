/*
 * Stands in for the LDAP search tool where a real one cannot be made to do what a test needs. It follows the commands
 * in /tmp/tool, one a line, and appends its arguments to /tmp/tool.arguments, each in angle brackets.
 *
 *   say FILE      writes the file to standard output, in one piece
 *   sleep MS      close       hang       flood      die
 *   deaf          ignores SIGTERM
 *   only TEXT     ends here unless one of the arguments contains the text
 *   look          writes to /tmp/tool.state what it inherited: signals, descriptors, and
 *                 pipes of the caller that are not close-on-exec
 */
#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static FILE *commands;

static void record_arguments(char **arguments)
{
    FILE *file = fopen("/tmp/tool.arguments", "a");
    for (; *arguments; ++arguments) fprintf(file, "<%s>", *arguments);
    fputs("\n", file);
    fclose(file);
}

static void say(const char *path)
{
    static char text[65536];
    int fd = open(path, O_RDONLY);
    ssize_t length = read(fd, text, sizeof text);
    close(fd);
    if (length <= 0 || write(1, text, (size_t)length) != length) exit(9);
}

static void only(const char *text, char **arguments)
{
    for (; *arguments; ++arguments)
        if (strstr(*arguments, text)) return;
    exit(0);
}

static void flood(void)
{
    char block[4096];
    memset(block, '#', sizeof block);
    while (write(1, block, sizeof block) > 0) {}
}

/* A pipe that the caller would hand on to a process that another thread of it starts meanwhile. */
static void look_at_callers_pipes(FILE *state)
{
    char path[64], text[64];
    for (int fd = 3; fd < 2000; ++fd) {
        unsigned int flags = O_CLOEXEC;
        FILE *info;
        snprintf(path, sizeof path, "/proc/%d/fd/%d", (int)getppid(), fd);
        if (readlink(path, text, sizeof text) < 5 || strncmp(text, "pipe:", 5) != 0) continue;
        snprintf(path, sizeof path, "/proc/%d/fdinfo/%d", (int)getppid(), fd);
        if (!(info = fopen(path, "re"))) continue;
        if (fscanf(info, "pos: %*d flags: %o", &flags) != 1 || !(flags & O_CLOEXEC))
            fprintf(state, "the caller's pipe %d is not close-on-exec\n", fd);
        fclose(info);
    }
}

/* Leaves out its own files. */
static void look(void)
{
    char line[256];
    FILE *status = fopen("/proc/self/status", "re"), *state = fopen("/tmp/tool.state", "we");
    DIR *directory = opendir("/proc/self/fd");
    struct dirent *entry;
    while (fgets(line, sizeof line, status))
        if (!strncmp(line, "SigBlk:", 7) || !strncmp(line, "SigIgn:", 7)) fputs(line, state);
    while ((entry = readdir(directory))) {
        int fd = atoi(entry->d_name);
        if (entry->d_name[0] != '.' && fd != dirfd(directory) && fd != fileno(status) && fd != fileno(state) &&
            fd != fileno(commands))
            fprintf(state, "descriptor %d\n", fd);
    }
    look_at_callers_pipes(state);
    closedir(directory);
    fclose(status);
    fclose(state);
}

int main(int count, char **arguments)
{
    static char line[256];
    (void)count;
    commands = fopen("/tmp/tool", "re");
    record_arguments(arguments);
    while (commands && fgets(line, sizeof line, commands)) {
        char *argument = strchr(line, ' ');
        line[strcspn(line, "\n")] = '\0';
        if (argument) *argument++ = '\0';
        if (!strcmp(line, "say")) say(argument);
        else if (!strcmp(line, "sleep")) usleep((useconds_t)atoi(argument) * 1000);
        else if (!strcmp(line, "close")) close(1);
        else if (!strcmp(line, "hang")) while (1) pause();
        else if (!strcmp(line, "flood")) flood();
        else if (!strcmp(line, "die")) raise(SIGKILL);
        else if (!strcmp(line, "deaf")) signal(SIGTERM, SIG_IGN);
        else if (!strcmp(line, "only")) only(argument, arguments);
        else if (!strcmp(line, "look")) look();
        else return 8;
    }
    return 0;
}
