#include "tests/support/appliance.h"

#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>

#include "base/kvlog.h"

namespace fs = std::filesystem;

namespace {

std::string log_text;
pid_t observer = -1;  // the process that is inside a call()
int captured = -1;    // takes what is written to descriptor 2: a file in memory does not fill up as a pipe does

// The numbers in a directory of /proc: open descriptors, or processes.
std::set<std::string> numbers_in(const char *directory) {
    std::set<std::string> found;
    for (const auto &entry : fs::directory_iterator(directory))
        if (isdigit(entry.path().filename().c_str()[0])) found.insert(entry.path().filename());
    return found;
}

}  // namespace

// Takes the place of the appliance's log library. What a child process of the library logs shows at descriptor 2.
extern "C" void kvlog(int a, int b, int c, int d, int e, int f, int g, const char *tag, const char *format, ...) {
    faults::Pause pause;
    const int error = errno;
    char line[8192];
    const int head = std::snprintf(line, sizeof line, "%s %d,%d,%d,%d,%d,%d,%d: ", tag, a, b, c, d, e, f, g);
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line + head, sizeof line - static_cast<size_t>(head), format, arguments);
    va_end(arguments);
    if (observer >= 0 && getpid() != observer)
        std::fputs(line, stderr);
    else
        log_text += line;
    errno = error;
}

Outcome observe(const std::function<long()> &body) {
    Outcome outcome;
    log_text.clear();
    kvio_errno = untouched;
    if (captured < 0) captured = memfd_create("stderr", MFD_CLOEXEC);
    std::fflush(stderr);
    const int terminal = fcntl(2, F_DUPFD_CLOEXEC, 100);
    if (terminal < 0 || ftruncate(captured, 0) < 0 || lseek(captured, 0, SEEK_SET) < 0 || dup2(captured, 2) < 0)
        std::abort();
    observer = getpid();
    faults::begin();
    outcome.result = body();
    faults::end();
    observer = -1;
    outcome.code = kvio_errno;
    std::fflush(stderr);
    dup2(terminal, 2);
    close(terminal);
    outcome.err.resize(static_cast<size_t>(lseek(captured, 0, SEEK_END)));
    if (pread(captured, outcome.err.data(), outcome.err.size(), 0) < 0) std::abort();
    outcome.log = log_text;
    return outcome;
}

void PrintTo(const Outcome &outcome, std::ostream *out) {
    *out << outcome.result << " " << outcome.code << " err: " << outcome.err << " log: " << outcome.log;
}

void write_file(const std::string &path, const std::string &text, mode_t mode) {
    std::error_code ignored;
    fs::create_directories(fs::path(path).parent_path(), ignored);
    std::ofstream(path, std::ios::binary) << text;
    EXPECT_EQ(chmod(path.c_str(), mode), 0) << path << ": " << std::strerror(errno);
}

std::string read_file(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    EXPECT_TRUE(in) << "no file " << path;
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

int lines_below_the_first(const char *path) {
    const std::string text = read_file(path);
    return static_cast<int>(std::count(text.begin(), text.end(), '\n')) - 1;
}

mode_t file_mode(const std::string &path) {
    struct stat status = {};
    EXPECT_EQ(stat(path.c_str(), &status), 0) << "no file " << path;
    return status.st_mode & 07777;
}

bool locked(const std::string &path) {
    key_t key = ftok(path.c_str(), 0);
    if (key == 0) key = ftok(path.c_str(), 1);
    EXPECT_NE(key, -1) << "no file " << path;
    return key != -1 && semget(key, 0, 0) >= 0;
}

void ApplianceTest::SetUp() {
    if (!std::getenv("KAVEX_PRIVATE_ROOT")) {
        std::fprintf(stderr, "These tests write the appliance's real paths: run them with scripts/appliance-root\n");
        std::exit(2);
    }
    for (const char *directory : {"small/", ""})
        for (const auto &entry : fs::directory_iterator(config_path(directory)))
            if (entry.path().filename() != "small") fs::remove_all(entry.path());
    kvio_initialize();
    call([] {});
    descriptors_ = numbers_in("/proc/self/fd");
    processes_ = numbers_in("/proc");
}

void ApplianceTest::TearDown() {
    faults::clear();
    EXPECT_EQ(lock_count(), 0) << "left behind: semaphores\n" << read_file("/proc/sysvipc/sem");
    EXPECT_EQ(lines_below_the_first("/proc/sysvipc/shm"), 0) << "left behind: shared memory";
    EXPECT_EQ(numbers_in("/proc/self/fd"), descriptors_) << "left behind: descriptors";
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "left behind: a child";
    // A process whose parent died is buried by the root's first process, in its own time.
    for (int i = 0; i < 500 && numbers_in("/proc") != processes_; ++i) usleep(10000);
    EXPECT_EQ(numbers_in("/proc"), processes_) << "left behind: processes";
}

void OpenDocument::open_whole(const std::string &document) {
    close();
    write_config("a.xml", document);
    call([&] { return config = kvio_open_config("a.xml", 0); });
    ASSERT_TRUE(config) << document;
}

void OpenDocument::open_snapshot(const std::string &scope) {
    close();
    write_file("/tmp/snapshot.xml", "<kavex><s>" + scope + "</s></kavex>");
    ASSERT_TRUE(config = kvio_restore_scope("/tmp/snapshot.xml"));
}

void OpenDocument::close() {
    close_container();
    if (config) call([&] { return kvio_close_config(config); });
    config = nullptr;
}
