#include "fuzz/fuzz.h"

#include <fcntl.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "base/kvlog.h"
#include "base/paths.h"

namespace {
FILE *report = stderr;
int lock = -1;
}  // namespace

// Formats the messages, so that their arguments are read, and drops the texts.
extern "C" void kvlog(int, int, int, int, int, int, int, const char *, const char *format, ...) {
    char text[64];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
}

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    if (!std::getenv("KAVEX_PRIVATE_ROOT")) {
        std::fprintf(stderr, "The fuzzers write the appliance's real paths: run them with scripts/fuzz\n");
        std::exit(2);
    }
    // The library's diagnostics go into a buffer and then nowhere; the fuzzer writes to the true one.
    stderr = std::fopen("/dev/null", "w");
    kvio_initialize();
    fuzz::write_file(paths::auth_lock_key, "");
    lock = semget(ftok(paths::auth_lock_key, 83), 1, IPC_CREAT | 0600);
    MUST(lock >= 0 && semctl(lock, 0, SETVAL, 1) == 0);
    return 0;
}

namespace fuzz {

void broken(const char *condition, const char *file, int line) {
    std::fprintf(report, "%s:%d: does not hold: %s\n", file, line, condition);
    std::abort();
}

std::string_view cut(std::string_view &rest) {
    constexpr std::string_view separator = "\n%%\n";
    std::size_t at = rest.find(separator);
    std::string_view part = rest.substr(0, at);
    rest = at == rest.npos ? std::string_view() : rest.substr(at + separator.size());
    return part;
}

std::unique_ptr<char[]> text_of(std::string_view part) {
    part = part.substr(0, part.find('\0'));
    auto text = std::make_unique<char[]>(part.size() + 1);
    part.copy(text.get(), part.size());
    return text;
}

void write_file(const char *path, std::string_view bytes) {
    int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    MUST(fd >= 0 && write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()) && close(fd) == 0);
}

int lock_value() { return semctl(lock, 0, GETVAL); }

auth_buffer_t *make_buffer() {
    write_file(paths::auth_buffer_key, "");
    int id = shmget(ftok(paths::auth_buffer_key, 83), sizeof(auth_buffer_t), IPC_CREAT | 0600);
    void *bytes = shmat(id, nullptr, 0);
    MUST(bytes != reinterpret_cast<void *>(-1));
    return static_cast<auth_buffer_t *>(bytes);
}

}  // namespace fuzz
