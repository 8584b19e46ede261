// One search by the external tool: its process and its output.
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <time.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>

#include "base/signals.h"
#include "users/users.h"

namespace {

constexpr char step[] = "do_ldapsearch";   // the search's name in the log
constexpr std::size_t output_size = 1024;  // for one read

// Times are milliseconds.
constexpr std::int64_t seconds = 1000;
constexpr std::int64_t output_grace = 500;        // for the rest of an output that has begun to arrive
constexpr std::int64_t exit_grace = 2 * seconds;  // between SIGTERM and SIGKILL

std::int64_t now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * seconds + time.tv_nsec / 1'000'000;
}

// Waits until the descriptor has one of the events, or its other end is closed. 1, 0 at the deadline, or -1. Resumes
// an interrupted wait.
int wait_for(int fd, short events, std::int64_t deadline) {
    for (;;) {
        pollfd entry{fd, events, 0};
        std::int64_t left = std::clamp<std::int64_t>(deadline - now(), 0, INT_MAX);
        int result = poll(&entry, 1, static_cast<int>(left));
        if (result > 0 || (result < 0 && errno != EINTR)) return result;
        if (result == 0 && now() >= deadline) return 0;
    }
}

// A pipe whose ends are closed on exec. They are none of the standard descriptors, which a caller may have closed.
struct Pipe {
    Pipe() {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) < 0) return;
        Descriptor first(ends[0]), second(ends[1]);
        read = Descriptor(fcntl(ends[0], F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
        write = Descriptor(fcntl(ends[1], F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    }

    Descriptor read, write;
};

void restore_default_signals() {
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    for (int number = 1; number < NSIG; ++number) sigaction(number, &action, nullptr);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

// The child between fork() and execv(): only async-signal-safe calls, until there is something to report.
[[noreturn]] void run_tool(char *const *command, const char *shown_command, const Pipe &pipe) {
    if (dup2(pipe.write.get(), STDOUT_FILENO) >= 0) {
        // With descriptor 2 closed, the tool's diagnostics would go into the next file that it opens.
        for (int fd : {STDIN_FILENO, STDERR_FILENO})
            if (fcntl(fd, F_GETFD) < 0) open("/dev/null", O_RDWR);
        restore_default_signals();
        if (*command)
            execv(*command, command);
        else
            kvlog(USER_OP, "[%s]No acceptable initial character found.", "__execv");
    }
    kvlog(USER_OP, "[%s]Cannot execute command:%s (%s).", step, shown_command, std::strerror(errno));
    _exit(1);
}

bool has_ended(pid_t tool) { return waitpid(tool, nullptr, WNOHANG) != 0; }

// Sends SIGTERM, and SIGKILL after a while. Waits for this process id only: the caller may have other children. Where
// the caller ignores SIGCHLD, or its handler reaps, no child is left to wait for, and no process is killed.
int end_tool(pid_t tool) {
    if (has_ended(tool)) return 0;
    kill(tool, SIGTERM);
    for (std::int64_t deadline = now() + exit_grace; !has_ended(tool); poll(nullptr, 0, 1))
        if (now() >= deadline) kill(tool, SIGKILL);
    return 0;
}

// The running tool. It does not outlive this object.
using Tool = Number<end_tool>;

// Starts the tool; none with errno. No signal handler of the caller's runs in the child.
Tool start_tool(char *command, const char *shown_command, const Pipe &pipe) {
    char *arguments[command_size];
    split(command, arguments);
    SignalsBlocked blocked;
    pid_t pid = fork();
    if (pid == 0) run_tool(arguments, shown_command, pipe);
    return Tool(pid);
}

// Waits for the tool's output and reads it once. The tool writes the entry and the result of the search in separate
// pieces: when the pipe becomes readable, perhaps only the first is there. False after a message.
bool read_output(int fd, char (&output)[output_size + 1], int time_limit, const char *host) {
    std::int64_t deadline = now() + time_limit * seconds;
    errno = EINVAL;  // as select() sets it for a negative time
    int ready = time_limit < 0 ? -1 : wait_for(fd, POLLIN, deadline);
    if (ready < 0) return LOGGED(false, "[%s]LDAP server %s. Select error:%s.", step, host, std::strerror(errno));
    if (ready == 0) return LOGGED(false, "[%s]LDAP server %s. Timeout %d secs.", step, host, time_limit);
    wait_for(fd, 0, std::min(deadline, now() + output_grace));
    errno = 0;
    int length = static_cast<int>(read(fd, output, output_size));
    if (length <= 0)
        return LOGGED(false, "[%s]LDAP server %s. Read return: %d(%s).", step, host, length, std::strerror(errno));
    output[length] = '\0';
    return true;
}

// The value behind a marker: one character after the marker's colon, but not past the end of the text.
const char *find_value(const char *text, const char *marker) {
    const char *found = std::strstr(text, marker);
    if (!found) return nullptr;
    found += std::strlen(marker);
    return *found ? found + 1 : found;
}

}  // namespace

int parse_search_result(char *text, user_profile_t *profile, const char *user) {
    if (!text || !profile || !user) return 0;
    const char *result = find_value(text, "result:");
    if (!result) return LOGGED(0, "LDAP search result does not found.");
    std::int32_t code = to_int32(result);
    if (code != 0 && code != 4) return LOGGED(0, "LDAP search result does not be zero:%d.", code);
    if (!set_name(*profile, user, __func__)) return 0;
    const char *type = find_value(text, "type:");
    if (!type) return LOGGED(0, "Cannot find type in LDAP search result.");
    set_type(*profile, type_of_word(type, false));
    const char *lease_time = find_value(text, "leaseTime:");
    if (!lease_time) return LOGGED(0, "Cannot find leaseTime in LDAP search result.");
    profile->lease_time = to_int32(lease_time);
    const char *re_auth = find_value(text, "reauthTime:");
    if (!re_auth) return LOGGED(0, "Cannot find reauthTime in LDAP search result.");
    profile->re_auth = to_int32(re_auth);
    return 1;
}

bool search(char (&command)[command_size], const char *shown_command, const char *host, const char *user,
            int time_limit, user_profile_t &profile) {
    Pipe pipe;
    if (!pipe.read || !pipe.write)
        return LOGGED(false, "[%s]Cannot create pipe for ldapsearch:%s.", step, std::strerror(errno));
    Tool tool = start_tool(command, shown_command, pipe);
    if (!tool) return LOGGED(false, "[%s]Cannot fork for ldapsearch:%s.", step, std::strerror(errno));
    pipe.write.close();

    char output[output_size + 1];
    if (!read_output(pipe.read.get(), output, time_limit, host)) return false;
    if (parse_search_result(output, &profile, user) == 1)
        return LOGGED(true, "[%s]LDAP server %s. Found user record.", step, host);
    return LOGGED(false, "[%s]LDAP server %s. User:%s does not exist.", step, host, user);
}
