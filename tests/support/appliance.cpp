#include "tests/support/appliance.h"

#include <stdarg.h>
#include <sys/mman.h>
#include <sys/wait.h>

#include <algorithm>
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

// Files in memory, which do not fill up as a pipe does: the system log, and what is written to descriptor 2.
const int log_file = memfd_create("log", MFD_CLOEXEC), error_file = memfd_create("stderr", MFD_CLOEXEC);

const pid_t tester = getpid();

// Empties one of them and gives what was in it.
std::string taken(int file) {
    std::string text(static_cast<size_t>(lseek(file, 0, SEEK_END)), '\0');
    if (pread(file, text.data(), text.size(), 0) < 0 || ftruncate(file, 0) < 0) std::abort();
    lseek(file, 0, SEEK_SET);
    return text;
}

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
    const int error = errno, file = getpid() == tester ? log_file : 2;
    va_list arguments;
    va_start(arguments, format);
    dprintf(file, "%s %d,%d,%d,%d,%d,%d,%d: ", tag, a, b, c, d, e, f, g);
    vdprintf(file, format, arguments);
    va_end(arguments);
    errno = error;
}

Outcome observe(const std::function<long()> &body) {
    taken(log_file);
    taken(error_file);
    kvio_errno = untouched;
    faults::begin();
    errno = 0;
    const long result = body();
    const int error = errno, code = kvio_errno;
    faults::end();
    return {result, code, taken(error_file), taken(log_file), error};
}

void PrintTo(const Outcome &outcome, std::ostream *out) {
    *out << outcome.result << " " << outcome.code << " err: " << outcome.err << " log: " << outcome.log;
}

void write_file(const std::string &path, const std::string &text, mode_t mode) {
    std::error_code ignored;
    fs::create_directories(fs::path(path).parent_path(), ignored);
    std::ofstream(path, std::ios::binary) << text;
    fs::permissions(path, fs::perms{mode});
}

std::string read_file(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    EXPECT_TRUE(in) << "no file " << path;
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

mode_t file_mode(const std::string &path) { return static_cast<mode_t>(fs::status(path).permissions()); }

void ApplianceTest::SetUp() {
    if (!std::getenv("KAVEX_PRIVATE_ROOT")) {
        std::fprintf(stderr, "These tests write the appliance's real paths: run them with scripts/appliance-root\n");
        std::exit(2);
    }
    dup2(error_file, 2);
    for (const auto &entry : fs::recursive_directory_iterator(config_path("")))
        if (!entry.is_directory()) fs::remove(entry);
    kvio_initialize();
    call([] {});
    descriptors_ = numbers_in("/proc/self/fd");
    processes_ = numbers_in("/proc");
}

void ApplianceTest::TearDown() {
    close();
    faults::clear();
    for (const char *left : {"/proc/sysvipc/sem", "/proc/sysvipc/shm"}) {
        const std::string text = read_file(left);
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << "left behind: " << text;
    }
    EXPECT_EQ(numbers_in("/proc/self/fd"), descriptors_) << "left behind: descriptors";
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "left behind: a child";
    // A process whose parent died is buried by the root's first process, in its own time.
    for (int i = 0; i < 500 && numbers_in("/proc") != processes_; ++i) usleep(10000);
    EXPECT_EQ(numbers_in("/proc"), processes_) << "left behind: processes";
}

void ApplianceTest::open_whole(const std::string &document) {
    close();
    write_config("a.xml", document);
    call([&] { return config = kvio_open_config("a.xml", 0); });
    ASSERT_TRUE(config) << document;
}

void ApplianceTest::close() {
    close_container();
    if (config) call([&] { return kvio_close_config(config); });
    config = nullptr;
}
