// The external search tool: its command line, its process and its output.

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <time.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <initializer_list>

#include "base/owned.h"
#include "base/paths.h"
#include "base/signals.h"
#include "users/ldap.h"
#include "users/profile.h"

namespace {

constexpr std::size_t command_size = 512;
constexpr std::size_t output_size = 1024;  // what the one read takes at most

constexpr std::int64_t milliseconds = 1'000'000;
constexpr std::int64_t seconds = 1000 * milliseconds;
constexpr std::int64_t output_grace = 500 * milliseconds;  // for the rest of an output that has begun to arrive
constexpr std::int64_t exit_grace = 2 * seconds;           // between SIGTERM and SIGKILL

// ------------------------------------------------------------------------------------------------- command line

// A text that is put together in a buffer of fixed size and knows whether all of it fitted.
class CommandLine {
public:
    __attribute__((format(printf, 2, 3))) void append(const char *format, ...) {
        if (!fits()) return;
        va_list arguments;
        va_start(arguments, format);
        int added = std::vsnprintf(text_ + length_, sizeof text_ - length_, format, arguments);
        va_end(arguments);
        length_ = added < 0 ? sizeof text_ : length_ + static_cast<std::size_t>(added);
    }

    // A user name, written so that the filter compares it as it is (RFC 4515, section 3) and the argument it stands in
    // does not end. A backslash before a double quote is the splitter's own and stays.
    void append_name(const char *name) {
        for (const char *c = name; *c; ++c) {
            bool quoted = c != name && c[-1] == '\\';
            if (*c == '*' || *c == '(' || *c == ')' || (*c == '\\' && c[1] != '"'))
                append("\\%02x", *c);
            else if (*c == '"' && !quoted)
                append("\\\"");
            else
                append("%c", *c);
        }
    }

    bool fits() const { return length_ < sizeof text_; }
    const char *text() const { return text_; }

private:
    char text_[command_size] = "";
    std::size_t length_ = 0;
};

// Does the character begin an argument?
bool is_initial(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
           (c && std::strchr("./-+:\"", c));
}

char *find_initial(char *text) {
    while (*text && !is_initial(*text)) ++text;
    return *text ? text : nullptr;
}

// Finds the end of an argument. A separating double quote that stands behind a backslash belongs to the argument and
// loses the backslash.
char *find_separator(char *text, char separator) {
    for (char *end = std::strchr(text, separator); end; end = std::strchr(end, separator)) {
        if (separator != '"' || end[-1] != '\\') return end;
        std::memmove(end - 1, end, std::strlen(end) + 1);
    }
    return nullptr;
}

// Cuts a line into arguments within itself. An argument in double quotes, which the first one cannot be, runs to the
// next quote, any other to the next space. Between two arguments stands at least one character, so that the array is
// large enough for any command line.
struct Arguments {
    explicit Arguments(char *line) {
        for (char *start = find_initial(line); start; start = find_initial(start)) {
            bool quoted = count && *start == '"';
            if (quoted) ++start;
            items[count++] = start;
            start = find_separator(start, quoted ? '"' : ' ');
            if (!start) break;
            *start++ = '\0';
        }
        items[count] = nullptr;
    }

    char *items[command_size];
    std::size_t count = 0;
};

// ------------------------------------------------------------------------------------------------------ process

std::int64_t now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * seconds + time.tv_nsec;
}

// Waits until the descriptor has one of the events, or its other end is closed. 1, 0 when the time is over, or -1.
// An interrupted wait is taken up again.
int wait_for(int fd, short events, std::int64_t deadline) {
    for (;;) {
        std::int64_t left = std::max<std::int64_t>(deadline - now(), 0);
        pollfd entry{fd, events, 0};
        int wait = static_cast<int>(std::min<std::int64_t>((left + milliseconds - 1) / milliseconds, INT_MAX));
        int result = poll(&entry, 1, wait);
        if (result > 0) return 1;
        if (result < 0 && errno != EINTR) return -1;
        if (result == 0 && now() >= deadline) return 0;
    }
}

// A pipe whose ends are close-on-exec and none of the standard descriptors, which a caller may have closed.
struct Pipe {
    static bool move_up(Descriptor &end) {
        if (end.get() > STDERR_FILENO) return true;
        end = Descriptor(fcntl(end.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
        return static_cast<bool>(end);
    }

    bool open() {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) < 0) return false;
        read = Descriptor(ends[0]);
        write = Descriptor(ends[1]);
        return move_up(read) && move_up(write);
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

// A tool that writes to a closed descriptor 2 would write into whatever it opened last.
void fill_standard_descriptors() {
    for (int fd : {STDIN_FILENO, STDERR_FILENO})
        if (fcntl(fd, F_GETFD) < 0 && open("/dev/null", O_RDWR) < 0) return;
}

// The child between fork() and execv(): only async-signal-safe calls, until there is something to report.
[[noreturn]] void run_tool(const CommandLine &command, const char *shown, Pipe &pipe) {
    pipe.read.close();
    if (dup2(pipe.write.get(), STDOUT_FILENO) >= 0) {
        pipe.write.close();
        fill_standard_descriptors();
        restore_default_signals();
        char line[command_size] = "";
        copy_if_fits(line, sizeof line, command.text());
        Arguments arguments(line);
        if (arguments.count)
            execv(arguments.items[0], arguments.items);
        else
            kvlog(USER_OP, "[%s]No acceptable initial character found.", "__execv");
    }
    kvlog(USER_OP, "[%s]Cannot execute command:%s (%s).", "do_ldapsearch", shown, std::strerror(errno));
    _exit(1);
}

// The running tool. It does not outlive this object.
class Tool {
public:
    explicit Tool(pid_t pid) noexcept : pid_(pid) {}
    Tool(const Tool &) = delete;

    // SIGTERM, SIGKILL after a while. Its own process id is waited for: the caller may have other children. A caller
    // that ignores SIGCHLD, or whose handler reaps, leaves nothing to wait for, and then nothing must be killed.
    ~Tool() {
        if (pid_ < 0 || has_ended()) return;
        kill(pid_, SIGTERM);
        for (std::int64_t deadline = now() + exit_grace; !has_ended(); poll(nullptr, 0, 1)) {
            if (now() < deadline) continue;
            kill(pid_, SIGKILL);
            while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {}
            return;
        }
    }

    bool started() const { return pid_ >= 0; }

private:
    bool has_ended() const { return waitpid(pid_, nullptr, WNOHANG) != 0; }

    pid_t pid_;
};

pid_t start_tool(const CommandLine &command, const char *shown, Pipe &pipe) {
    SignalsBlocked blocked;  // so that no handler of the caller's runs in the child
    pid_t pid = fork();
    if (pid == 0) run_tool(command, shown, pipe);
    return pid;
}

// Waits for the tool's output and takes it in one read. The tool writes the entry and the result of the search in
// separate pieces; when the pipe becomes readable, only the first may be there.
int read_output(int fd, char (&output)[output_size + 1], int time_limit, const char *host) {
    std::int64_t deadline = now() + time_limit * seconds;
    errno = EINVAL;  // what select() says to a negative time
    int ready = time_limit < 0 ? -1 : wait_for(fd, POLLIN, deadline);
    if (ready < 0) {
        kvlog(USER_OP, "[%s]LDAP server %s. Select error:%s.", "do_ldapsearch", host, std::strerror(errno));
        return -1;
    }
    if (ready == 0) {
        kvlog(USER_OP, "[%s]LDAP server %s. Timeout %d secs.", "do_ldapsearch", host, time_limit);
        return -1;
    }
    wait_for(fd, 0, std::min(deadline, now() + output_grace));
    errno = 0;
    int length = static_cast<int>(read(fd, output, output_size));
    if (length <= 0) {
        kvlog(USER_OP, "[%s]LDAP server %s. Read return: %d(%s).", "do_ldapsearch", host, length, std::strerror(errno));
        return -1;
    }
    output[length] = '\0';
    return length;
}

}  // namespace

int do_ldapsearch(user_profile_t *profile, const char *user, const char *host, const char *port, const char *base,
                  const char *login_attribute, const char *bind_dn, const char *bind_password, int ssl, int time_limit,
                  int bind) {
    auto put_together = [&](CommandLine &line, const char *password) {
        line.append("%s -z 1 -H %s://%s:%s -x -b \"%s\"", paths::ldap_search, ssl ? "ldaps" : "ldap", host, port, base);
        if (bind) line.append(" -D \"%s\" -w \"%s\"", bind_dn, password);
        line.append(" \"(%s=", login_attribute);
        line.append_name(user);
        line.append(")\"");
    };
    CommandLine command, shown;
    put_together(command, bind_password);
    put_together(shown, shown_password(bind_password));
    if (!command.fits()) {
        kvlog(USER_OP, "[%s]LDAP command line is too long. User:%s.", __func__, user);
        return -1;
    }
    kvlog(USER_OP, "ldap cmd: %s\n", shown.text());

    Pipe pipe;
    if (!pipe.open()) {
        kvlog(USER_OP, "[%s]Cannot create pipe for ldapsearch:%s.", __func__, std::strerror(errno));
        return -1;
    }
    Tool tool(start_tool(command, shown.text(), pipe));
    if (!tool.started()) {
        kvlog(USER_OP, "[%s]Cannot fork for ldapsearch:%s.", __func__, std::strerror(errno));
        return -1;
    }
    pipe.write.close();

    char output[output_size + 1];
    if (read_output(pipe.read.get(), output, time_limit, host) < 0) return -1;
    if (parse_search_result(output, profile, user) == 1) {
        kvlog(USER_OP, "[%s]LDAP server %s. Found user record.", __func__, host);
        return 1;
    }
    kvlog(USER_OP, "[%s]LDAP server %s. User:%s does not exist.", __func__, host, user);
    return -1;
}
