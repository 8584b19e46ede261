#undef _FORTIFY_SOURCE
#include "tests/support/faults.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <malloc.h>
#include <stdarg.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>

namespace faults {

bool active;
std::vector<Change> *changes;

namespace {

struct Plan {
    std::string function;
    int nth;
    Extent extent;
    int error;
    std::function<void()> deed;  // in place of an error
};
std::vector<Plan> plans;
std::map<std::pair<std::string, int>, key_t> keys;
bool has_struck;
int allocation_count;
long block_count;

// The plan that strikes at this use of the function, with its errno.
const Plan *due(const char *function) {
    if (!active) return nullptr;
    for (Plan &plan : plans) {
        if (plan.function != function || plan.nth == 0 || (plan.nth > 1 && plan.nth--)) continue;
        if (plan.extent == once) plan.nth = 0;
        has_struck = true;
        errno = plan.error ? plan.error : errno;
        if (!plan.deed) return &plan;
        Pause pause;
        plan.deed();
    }
    return nullptr;
}

// The C library's own function behind the one of this name below, the variant for large files if there is one.
template <auto Function>
auto next(const char *name) {
    static const auto found = [=] {
        void *large = dlsym(RTLD_NEXT, (std::string(name) + "64").c_str());
        return reinterpret_cast<decltype(Function)>(large ? large : dlsym(RTLD_NEXT, name));
    }();
    return found;
}

template <auto Function, class... Arguments>
auto run(const char *name, Arguments... arguments) {
    const auto real = next<Function>(name);  // first, as it may set errno
    using Result = decltype(real(arguments...));
    return due(name) ? Result(-1L) : real(arguments...);
}

template <auto Function, class Data>
ssize_t transfer(const char *name, int fd, Data *data, size_t size, off_t at) {
    const auto real = next<Function>(name);
    const Plan *plan = due(name);
    const auto most = plan ? 1024 - static_cast<size_t>(at) % 1024 : size;
    return plan && plan->error ? -1 : real(fd, data, std::min(size, most), at);
}

// Notes what has been done to an open file, or to a name. Gives the result, which is negative where nothing has been.
template <class Result>
Result noted(Result result, Change::Kind kind, int fd, const char *data = "", off_t offset = 0) {
    if (!active || !changes || result < 0) return result;
    Pause pause;
    struct stat file = {}, named = {};
    const bool is_name = kind == Change::name;
    if (is_name && stat(data, &named) == 0) offset = static_cast<off_t>(named.st_ino);
    is_name ? stat(std::string(data, std::strrchr(data, '/')).c_str(), &file) : fstat(fd, &file);
    const size_t size = kind == Change::write ? static_cast<size_t>(result) : std::strlen(data);
    changes->push_back({kind, file.st_ino, {data, size}, static_cast<std::uint64_t>(offset)});
    return result;
}

}  // namespace

void fail(const char *function, int error, int nth, Extent extent, std::function<void()> deed) {
    plans.push_back({function, nth, extent, error, std::move(deed)});
    has_struck = false;
}
void set_key(const char *path, int project, int key) { keys[{path, project}] = key; }
void clear() { keys.clear(); }
bool struck() { return has_struck; }
int allocations() { return allocation_count; }
long blocks() { return block_count; }
void begin() {
    allocation_count = 0;
    active = true;
}
void end() {
    active = false;
    plans.clear();
}

}  // namespace faults

// Compiled for large files: open() is open64(), pread() is pread64() and so on, as the library uses them.
using namespace faults;

extern "C" {

int open(const char *path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = flags & (O_CREAT | O_TMPFILE) ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    const int fd = run<&open>("open", path, flags, mode);
    return flags & O_CREAT ? noted(fd, Change::name, fd, path) : fd;
}
ssize_t read(int fd, void *data, size_t size) { return run<&read>("read", fd, data, size); }
ssize_t pread(int fd, void *data, size_t size, off_t at) { return transfer<&pread>("pread", fd, data, size, at); }
ssize_t pwrite(int fd, const void *data, size_t size, off_t at) {
    return noted(transfer<&pwrite>("pwrite", fd, data, size, at), Change::write, fd, static_cast<const char *>(data),
                 at);
}
// One that fails has closed the descriptor all the same.
int close(int fd) {
    const int result = next<&close>("close")(fd);
    return due("close") ? -1 : result;
}
int fdatasync(int fd) { return noted(run<&fdatasync>("fdatasync", fd), Change::sync, fd); }
int fsync(int fd) { return noted(run<&fsync>("fsync", fd), Change::sync, fd); }
int ftruncate(int fd, off_t size) noexcept {
    return noted(run<&ftruncate>("ftruncate", fd, size), Change::resize, fd, "", size);
}
int linkat(int from, const char *path, int to, const char *name, int flags) noexcept {
    return noted(run<&linkat>("linkat", from, path, to, name, flags), Change::name, -1, name);
}
int unlink(const char *path) noexcept { return noted(run<&unlink>("unlink", path), Change::name, -1, path); }
int rename(const char *from, const char *to) noexcept { return run<&rename>("rename", from, to); }
int semget(key_t key, int count, int flags) noexcept { return run<&semget>("semget", key, count, flags); }
int semop(int id, sembuf *operations, size_t count) noexcept { return run<&semop>("semop", id, operations, count); }
int shmget(key_t key, size_t size, int flags) noexcept { return run<&shmget>("shmget", key, size, flags); }
void *shmat(int id, const void *address, int flags) noexcept { return run<&shmat>("shmat", id, address, flags); }
int pipe2(int *ends, int flags) noexcept { return run<&pipe2>("pipe2", ends, flags); }
pid_t fork() noexcept { return run<&fork>("fork"); }
key_t ftok(const char *path, int project) noexcept {
    const key_t key = run<&ftok>("ftok", path, project);
    Pause pause;
    const auto set = keys.find({path ? path : "", project});
    return key == -1 || set == keys.end() ? key : set->second;
}

#ifdef KAVEX_TEST_ALLOCATIONS
void *__libc_calloc(size_t count, size_t size);
void __libc_free(void *block);

void *mmap(void *address, size_t size, int protection, int flags, int fd, off_t at) noexcept {
    allocation_count += active;
    return due("malloc") ? MAP_FAILED : next<&mmap>("mmap")(address, size, protection, flags, fd, at);
}
void *calloc(size_t count, size_t size) noexcept {
    allocation_count += active;
    void *block = due("malloc") ? nullptr : __libc_calloc(count, size);
    block_count += active && block;
    return block;
}
// What uses a block before it is written, or after it is released, finds no text and no address in it.
void *malloc(size_t size) noexcept {
    void *block = calloc(1, size);
    return active && block ? std::memset(block, 0xa5, size) : block;
}
void *realloc(void *block, size_t size) noexcept {
    void *moved = malloc(size);
    if (!moved || !block) return moved;
    std::memcpy(moved, block, std::min(size, malloc_usable_size(block)));
    free(block);
    return moved;
}
void free(void *block) noexcept {
    if (active && block) std::memset(block, 0xa5, malloc_usable_size(block));
    block_count -= active && block;
    __libc_free(block);
}
#endif

}  // extern "C"
