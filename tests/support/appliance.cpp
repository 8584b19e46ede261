#include "tests/support/appliance.h"

#include <ctype.h>
#include <errno.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <signal.h>
#include <stdarg.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/sem.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <sstream>

#include "base/kvlog.h"

namespace fs = std::filesystem;

// ------------------------------------------------------------------------------------------------- the log recorder

namespace {
std::string log_text;
pid_t observer = -1;  // the process that is inside a call()
}  // namespace

// Takes the place of the appliance's log library: the program's own definition is found before the library's. What a
// child process of the library logs shows at descriptor 2.
extern "C" void kvlog(int a, int b, int c, int d, int e, int f, int g, const char *tag, const char *format, ...) {
    faults::Pause pause;
    int error = errno;
    char *text = nullptr;
    va_list arguments;
    va_start(arguments, format);
    int length = vasprintf(&text, format, arguments);
    va_end(arguments);
    if (length < 0) std::abort();
    std::ostringstream line;
    line << tag << ' ' << a << ',' << b << ',' << c << ',' << d << ',' << e << ',' << f << ',' << g << ": " << text;
    std::free(text);
    if (observer >= 0 && getpid() != observer)
        std::fputs(line.str().c_str(), stderr);
    else
        log_text += line.str();
    errno = error;
}

// ----------------------------------------------------------------------------------------- what goes to descriptor 2

namespace {

// A file in memory takes it: it cannot fill up as a pipe does, and a child that inherits it may write, too.
int captured = -1;
int terminal = -1;  // the true descriptor 2, while captured

// A process that dies inside a call shows what it had to say (the sanitizers abort, see tests/CMakeLists.txt).
void show_and_die(int signal) {
    if (terminal >= 0) {
        off_t offset = 0;
        while (sendfile(terminal, captured, &offset, 1 << 16) > 0) {}
    }
    ::signal(signal, SIG_DFL);
    raise(signal);
}

void capture_on() {
    static const bool prepared = [] {
        captured = memfd_create("stderr", MFD_CLOEXEC);
        for (int death : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL}) {
            struct sigaction old;
            if (sigaction(death, nullptr, &old) == 0 && old.sa_handler == SIG_DFL) signal(death, show_and_die);
        }
        return captured >= 0;
    }();
    std::fflush(stderr);
    if (!prepared || ftruncate(captured, 0) < 0 || lseek(captured, 0, SEEK_SET) < 0) std::abort();
    terminal = fcntl(2, F_DUPFD_CLOEXEC, 100);
    if (terminal < 0 || dup2(captured, 2) < 0) std::abort();
}

std::string capture_off() {
    std::fflush(stderr);
    dup2(terminal, 2);
    close(terminal);
    terminal = -1;
    off_t size = lseek(captured, 0, SEEK_END);
    std::string text(static_cast<size_t>(size), '\0');
    if (pread(captured, text.data(), text.size(), 0) != size) std::abort();
    return text;
}

}  // namespace

// ----------------------------------------------------------------------------------------------------------- outcomes

Outcome support::observe(const std::function<long()> &body) {
    Outcome outcome;
    log_text.clear();
    kvio_errno = untouched;
    capture_on();
    observer = getpid();
    faults::begin();
    outcome.result = body();
    faults::end();
    observer = -1;
    outcome.code = kvio_errno;
    outcome.err = capture_off();
    outcome.log = std::move(log_text);
    log_text.clear();
    return outcome;
}

bool operator==(const Outcome &a, const Outcome &b) {
    return a.result == b.result && a.code == b.code && a.err == b.err && a.log == b.log;
}

bool operator!=(const Outcome &a, const Outcome &b) { return !(a == b); }

void PrintTo(const Outcome &outcome, std::ostream *out) {
    *out << "{" << outcome.result << ", ";
    if (outcome.code == untouched)
        *out << "untouched";
    else
        *out << outcome.code;
    *out << ", " << testing::PrintToString(outcome.err) << ", " << testing::PrintToString(outcome.log) << "}";
}

// -------------------------------------------------------------------------------------------------------------- files

void write_file(const std::string &path, const std::string &text, mode_t mode) {
    std::error_code ignored;
    fs::create_directories(fs::path(path).parent_path(), ignored);
    int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
    ASSERT_GE(fd, 0) << path << ": " << std::strerror(errno);
    EXPECT_EQ(write(fd, text.data(), text.size()), static_cast<ssize_t>(text.size())) << path;
    EXPECT_EQ(fchmod(fd, mode), 0) << path;
    EXPECT_EQ(close(fd), 0) << path;
}

std::string read_file(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    EXPECT_TRUE(in) << "no file " << path;
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

bool file_exists(const std::string &path) { return access(path.c_str(), F_OK) == 0; }

mode_t file_mode(const std::string &path) {
    struct stat status = {};
    EXPECT_EQ(stat(path.c_str(), &status), 0) << "no file " << path;
    return status.st_mode & 07777;
}

std::string config_path(const std::string &name) { return "/etc/kavex/conf/" + name; }
bool is_redo_file(const std::string &path) { return path.find("/.kavex-redo-") != std::string::npos; }

std::string small_disk(const std::string &name) { return "small/" + name; }
void write_config(const std::string &name, const std::string &text) { write_file(config_path(name), text); }
std::string read_config(const std::string &name) { return read_file(config_path(name)); }

// -------------------------------------------------------------------------------------------------------------- locks

namespace {
// One line for each object, after the line of headings.
int count_lines(const char *path) {
    std::ifstream in(path);
    EXPECT_TRUE(in) << "no file " << path;
    std::string line;
    int count = -1;
    while (std::getline(in, line)) ++count;
    return count;
}
}  // namespace

int lock_count() { return count_lines("/proc/sysvipc/sem"); }
int segment_count() { return count_lines("/proc/sysvipc/shm"); }

bool locked(const std::string &path) {
    key_t key = ftok(path.c_str(), 0);
    if (key == 0) key = ftok(path.c_str(), 1);
    EXPECT_NE(key, -1) << "no file " << path;
    return key != -1 && semget(key, 0, 0) >= 0;
}

// ------------------------------------------------------------------------------------------------------------ fixture

namespace {

// Each open descriptor with what it is open on.
std::set<std::string> open_descriptors() {
    std::set<std::string> found;
    for (int fd = 0; fd < 1024; ++fd) {
        if (fd == captured || fcntl(fd, F_GETFD) < 0) continue;
        std::error_code ignored;
        std::string name = std::to_string(fd);
        found.insert(name + " " + fs::read_symlink("/proc/self/fd/" + name, ignored).string());
    }
    return found;
}

std::set<std::string> running_processes() {
    std::set<std::string> found;
    for (const auto &entry : fs::directory_iterator("/proc"))
        if (isdigit(static_cast<unsigned char>(entry.path().filename().string()[0])))
            found.insert(entry.path().filename().string());
    return found;
}

// A process whose parent died is buried by the root's first process, in its own time.
std::set<std::string> processes_after_burial(const std::set<std::string> &before) {
    std::set<std::string> now = running_processes();
    for (int i = 0; i < 50 && now != before; ++i) {
        usleep(10000);
        now = running_processes();
    }
    return now;
}

bool in_private_root() {
    struct statfs root = {};
    return std::getenv("KAVEX_PRIVATE_ROOT") && statfs("/", &root) == 0 && root.f_type == TMPFS_MAGIC;
}

}  // namespace

void ApplianceTest::SetUp() {
    if (!in_private_root()) {
        std::fprintf(stderr, "These tests write the appliance's real paths: run them with scripts/appliance-root\n");
        std::exit(2);
    }
    for (const auto &entry : fs::directory_iterator("/etc/kavex/conf"))
        if (entry.path().filename() != "small") fs::remove_all(entry.path());
    for (const auto &entry : fs::directory_iterator("/etc/kavex/conf/small")) fs::remove_all(entry.path());
    ASSERT_EQ(lock_count(), 0) << "semaphores from before the test";
    ASSERT_EQ(segment_count(), 0) << "shared memory from before the test";
    call([] {});
    descriptors_ = open_descriptors();
    processes_ = running_processes();
}

void ApplianceTest::TearDown() {
    faults::clear();
    EXPECT_EQ(lock_count(), 0) << "left behind: semaphores\n" << read_file("/proc/sysvipc/sem");
    EXPECT_EQ(segment_count(), 0) << "left behind: shared memory\n" << read_file("/proc/sysvipc/shm");
    EXPECT_EQ(open_descriptors(), descriptors_) << "left behind: descriptors";
    pid_t child = waitpid(-1, nullptr, WNOHANG);
    EXPECT_TRUE(child == -1 && errno == ECHILD) << "left behind: a child" << (child == 0 ? ", still running" : "");
    EXPECT_EQ(processes_after_burial(processes_), processes_) << "left behind: processes";
}
