#undef _FORTIFY_SOURCE
#include "tests/support/faults.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <malloc.h>
#include <stdarg.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <map>

namespace faults {

bool active;

namespace {

struct Plan {
    std::string function;
    int nth;
    Extent extent;
    int error;     // or 0:
    size_t bytes;  // how far a transfer is shortened
    std::function<void()> deed;
};

std::vector<Plan> plans;
std::map<std::pair<std::string, int>, key_t> keys;
std::vector<Change> recorded;
bool has_struck, records;
int allocation_count;
long block_count;

// 0 where there is no file; errno stays.
ino_t inode_of(const char *path) {
    const int error = errno;
    struct stat now;
    const ino_t inode = lstat(path, &now) == 0 ? now.st_ino : 0;
    errno = error;
    return inode;
}

// Notes what has been done to an open file; gives the result, which is negative where nothing has.
template <class Result>
Result noted(Result result, Change::Kind kind, int fd, off_t offset = 0, const void *data = nullptr) {
    struct stat now;
    if (!active || !records || result < 0 || fstat(fd, &now) != 0) return result;
    Pause pause;
    if (kind == Change::sync && S_ISDIR(now.st_mode)) kind = Change::sync_names;
    const std::string bytes(static_cast<const char *>(data), data ? static_cast<size_t>(result) : 0);
    recorded.push_back({kind, now.st_ino, static_cast<size_t>(offset), bytes});
    return result;
}

// The same of names: that of a file which may be gone, and that of one which may be new.
int noted(int result, const char *old_name, ino_t old_file, const char *new_name = nullptr) {
    if (!active || !records || result < 0) return result;
    Pause pause;
    if (old_name && old_file) recorded.push_back({Change::unname, old_file, 0, old_name});
    if (new_name) recorded.push_back({Change::name, inode_of(new_name), 0, new_name});
    return result;
}

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

template <auto Function, class Result = int, class... Arguments>
Result run(const char *name, Result failure, Arguments... arguments) {
    const auto real = next<Function>(name);  // first, as it may set errno
    return due(name) ? failure : real(arguments...);
}

// A transfer either fails, or goes on with what is left of its size.
template <auto Function, class Data, class... Offset>
ssize_t transfer(const char *name, int fd, Data *data, size_t size, Offset... offset) {
    const auto real = next<Function>(name);
    const Plan *plan = due(name);
    return plan && plan->error ? -1 : real(fd, data, plan ? std::min(size, plan->bytes) : size, offset...);
}

}  // namespace

void fail(const char *function, int error, int nth, Extent extent) {
    plans.push_back({function, nth, extent, error, 0, {}});
}
void shorten(const char *function, size_t bytes, int nth, Extent extent) {
    plans.push_back({function, nth, extent, 0, bytes, {}});
}
void intrude(const char *function, std::function<void()> deed, int nth) {
    plans.push_back({function, nth, once, 0, 0, std::move(deed)});
}
void set_key(const char *path, int project, int key) { keys[{path, project}] = key; }
int allocations() { return allocation_count; }
long blocks() { return block_count; }
bool struck() { return has_struck; }

std::vector<Change> &changes() { return recorded; }
void record(bool wanted) {
    records = wanted;
    recorded.clear();
}
void begin() {
    has_struck = has_struck && plans.empty();
    allocation_count = 0;
    active = true;
}
void end() {
    active = false;
    plans.clear();
}
void clear() {
    end();
    keys.clear();
    has_struck = false;
}

}  // namespace faults

// Compiled for large files: open() is open64(), pread() is pread64() and so on, as the library uses them.
using faults::Change;
using faults::inode_of;
using faults::noted;
using faults::run;
using faults::transfer;

extern "C" {

int open(const char *path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = flags & (O_CREAT | O_TMPFILE) ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    const bool is_new = (flags & O_CREAT) && !inode_of(path);
    return noted(run<&open>("open", -1, path, flags, mode), nullptr, 0, is_new ? path : nullptr);
}
ssize_t read(int fd, void *data, size_t size) { return transfer<&read>("read", fd, data, size); }
ssize_t write(int fd, const void *data, size_t size) { return transfer<&write>("write", fd, data, size); }
ssize_t pread(int fd, void *data, size_t size, off_t at) { return transfer<&pread>("pread", fd, data, size, at); }
ssize_t pwrite(int fd, const void *data, size_t size, off_t at) {
    return noted(transfer<&pwrite>("pwrite", fd, data, size, at), Change::write, fd, at, data);
}
// One that fails has closed the descriptor all the same.
int close(int fd) {
    const int result = faults::next<&close>("close")(fd);
    return faults::due("close") ? -1 : result;
}
int fdatasync(int fd) { return noted(run<&fdatasync>("fdatasync", -1, fd), Change::sync, fd); }
int fsync(int fd) { return noted(run<&fsync>("fsync", -1, fd), Change::sync, fd); }
int ftruncate(int fd, off_t size) noexcept {
    return noted(run<&ftruncate>("ftruncate", -1, fd, size), Change::resize, fd, size);
}
int linkat(int from, const char *path, int to, const char *name, int flags) noexcept {
    return noted(run<&linkat>("linkat", -1, from, path, to, name, flags), nullptr, 0, name);
}
int rename(const char *from, const char *to) noexcept {
    const ino_t file = inode_of(from);
    return noted(run<&rename>("rename", -1, from, to), from, file, to);
}
int unlink(const char *path) noexcept {
    const ino_t file = inode_of(path);
    return noted(run<&unlink>("unlink", -1, path), path, file);
}
int semget(key_t key, int count, int flags) noexcept { return run<&semget>("semget", -1, key, count, flags); }
int semop(int id, sembuf *operations, size_t count) noexcept { return run<&semop>("semop", -1, id, operations, count); }
int shmget(key_t key, size_t size, int flags) noexcept { return run<&shmget>("shmget", -1, key, size, flags); }
void *shmat(int id, const void *address, int flags) noexcept {
    return run<&shmat>("shmat", reinterpret_cast<void *>(-1), id, address, flags);
}
int pipe2(int *ends, int flags) noexcept { return run<&pipe2>("pipe2", -1, ends, flags); }
pid_t fork() noexcept { return run<&fork>("fork", -1); }
key_t ftok(const char *path, int project) noexcept {
    const key_t key = run<&ftok>("ftok", -1, path, project);
    faults::Pause pause;
    const auto set = faults::keys.find({path ? path : "", project});
    return key == -1 || set == faults::keys.end() ? key : set->second;
}

#ifdef KAVEX_TEST_ALLOCATIONS
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
void __libc_free(void *block);

static bool no_memory() {
    faults::allocation_count += faults::active;
    return faults::due("malloc");
}
static void *counted(void *block) {
    faults::block_count += faults::active && block;
    return block;
}
void *malloc(size_t size) noexcept { return no_memory() ? nullptr : counted(__libc_malloc(size)); }
void *calloc(size_t count, size_t size) noexcept { return no_memory() ? nullptr : counted(__libc_calloc(count, size)); }
void *realloc(void *block, size_t size) noexcept {
    if (no_memory()) return nullptr;
    return block ? __libc_realloc(block, size) : counted(__libc_realloc(block, size));
}
// What uses a block after this finds no text and no address in it.
void free(void *block) noexcept {
    if (faults::active && block) std::memset(block, 0xa5, malloc_usable_size(block));
    faults::block_count -= faults::active && block;
    __libc_free(block);
}
#endif

}  // extern "C"
