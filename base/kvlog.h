// The appliance's system log. Resolved at load time, so that the appliance's own library takes the stand-in's place.
#ifndef KAVEX_BASE_KVLOG_H
#define KAVEX_BASE_KVLOG_H

// Seven integers whose meaning lies in the log library, a tag, a printf-style format and its arguments.
extern "C" __attribute__((visibility("default"), format(printf, 9, 10))) void kvlog(int, int, int, int, int, int, int,
                                                                                    const char *tag, const char *format,
                                                                                    ...);

// What stands before the format in every message of the lists, the groups and the user functions:
// kvlog(LIST_OP, "%s: list is full!\n", list->label).
#define LIST_OP 5, 7, 5, 0, 0, 0, 0, "list_op"
#define GROUP_OP 5, 7, 5, 0, 0, 0, 0, "group_op"
#define USER_OP 3, 7, 3, 0, 0, 0, 0, "USER"

// Logs a message and has the value `result`: return LOGGED_AS(-1, LIST_OP, "Can't remove %s\n", name). A macro because
// kvlog() has no variant with a va_list, and so that the compiler checks the format.
#define LOGGED_AS(result, ...) (kvlog(__VA_ARGS__), (result))

#endif
