#include "tests/support/faults.h"

#include <dlfcn.h>
#include <errno.h>
#include <execinfo.h>
#include <fcntl.h>
#include <malloc.h>
#include <stdarg.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

// Both names of every function that has a variant for large files are defined below, so that nothing may be renamed.
#if defined(_FILE_OFFSET_BITS) && _FILE_OFFSET_BITS == 64
#error "compile this file without _FILE_OFFSET_BITS"
#endif

namespace faults {
namespace {

struct Plan {
    const char *function;
    int error;
    size_t bytes;  // how far a transfer is shortened, when error is 0
    int nth;
    Extent extent;
};

struct Key {
    char path[4096];
    int project;
    key_t key;
};

// Fixed storage: the functions that look here must not allocate.
Plan plans[8];
size_t plan_count;
Plan intrusion;  // plans' function and number, for the deed
std::function<void()> deed;
Key keys[4];
size_t key_count;
bool active;
bool was_planned;
bool fired;
bool latest_struck;

#ifdef KAVEX_TEST_ALLOCATIONS
int fatal_allocation;  // counts from 1; 0 is none
Extent allocation_extent;
int allocation_count;
long block_count;

struct Block {
    const void *address;
    void *stack[16];
    int depth;
};
Block kept[4096];
size_t kept_count;
bool keeps;
Block latest_failure;

Block *kept_block(const void *address) {
    Block *end = kept + kept_count;
    Block *found = std::find_if(kept, end, [=](const Block &entry) { return entry.address == address; });
    return found == end ? nullptr : found;
}
#endif

bool records;
std::vector<Change> recorded;

ino_t inode_of(const char *path) {
    struct stat now;
    return lstat(path, &now) == 0 ? now.st_ino : 0;
}

// Notes what has been done to an open file; a negative result means that nothing has.
void note(long result, Change::Kind kind, int fd, size_t offset = 0, const void *data = nullptr) {
    struct stat now;
    if (!active || !records || result < 0 || fstat(fd, &now) != 0) return;
    Pause pause;
    if (kind == Change::sync && S_ISDIR(now.st_mode)) kind = Change::sync_names;
    recorded.push_back({kind, now.st_ino, offset, data ? std::string(static_cast<const char *>(data), result) : ""});
}

void note_name(Change::Kind kind, const char *path, ino_t file) {
    if (!active || !records || !file) return;
    Pause pause;
    recorded.push_back({kind, file, 0, path});
}

void plan(const Plan &entry) {
    if (plan_count == std::size(plans)) std::abort();
    plans[plan_count++] = entry;
}

// A variant counts as the function itself: "open64" is a use of "open", "pipe2" one of "pipe".
bool is_use_of(const char *planned, const char *name) {
    size_t length = std::strlen(planned);
    return std::strncmp(planned, name, length) == 0 && (!name[length] || std::isdigit(name[length]));
}

// The plan that strikes at this use of the function, or null.
const Plan *due(const char *function) {
    if (!active) return nullptr;
    if (intrusion.nth && is_use_of(intrusion.function, function) && --intrusion.nth == 0) {
        Pause pause;
        deed();
        fired = true;
    }
    for (Plan *entry = plans; entry != plans + plan_count; ++entry) {
        if (!is_use_of(entry->function, function) || entry->nth == 0) continue;
        if (entry->nth > 1) {
            --entry->nth;
            continue;
        }
        if (entry->extent == once) entry->nth = 0;
        fired = true;
        return entry;
    }
    return nullptr;
}

bool fails(const char *function) {
    const Plan *entry = due(function);
    if (entry) errno = entry->error;
    return entry;
}

// The C library's own function behind the one of this name below.
template <auto Function>
auto next(const char *name) {
    static const auto found = reinterpret_cast<decltype(Function)>(dlsym(RTLD_NEXT, name));
    if (!found) std::abort();
    return found;
}

template <auto Function, class Result, class... Arguments>
Result run(const char *name, Result failure, Arguments... arguments) {
    const auto real = next<Function>(name);  // first, as it may set errno
    return fails(name) ? failure : real(arguments...);
}

template <auto Open>
int open_file(const char *name, const char *path, int flags, mode_t mode) {
    bool is_new = (flags & O_CREAT) && !inode_of(path);
    int fd = run<Open>(name, -1, path, flags, mode);
    if (is_new && fd >= 0) note_name(Change::name, path, inode_of(path));
    return fd;
}

// A transfer either fails, or goes on with what is left of its size.
template <auto Function, class Data, class... Offset>
ssize_t transfer(const char *name, int fd, Data *data, size_t size, Offset... offset) {
    const auto real = next<Function>(name);
    const Plan *entry = due(name);
    if (entry && entry->error) return errno = entry->error, -1;
    return real(fd, data, entry ? std::min(size, entry->bytes) : size, offset...);
}

}  // namespace

void fail(const char *function, int error, int nth, Extent extent) { plan({function, error, 0, nth, extent}); }

void shorten(const char *function, size_t bytes, int nth, Extent extent) { plan({function, 0, bytes, nth, extent}); }

void intrude(const char *function, std::function<void()> what, int nth) {
    intrusion = {function, 0, 0, nth, once};
    deed = std::move(what);
}

void set_key(const char *path, int project, key_t key) {
    if (key_count == std::size(keys)) std::abort();
    Key &entry = keys[key_count++];
    std::snprintf(entry.path, sizeof entry.path, "%s", path);
    entry.project = project;
    entry.key = key;
}

#ifdef KAVEX_TEST_ALLOCATIONS
void fail_allocation(int nth, Extent extent) {
    fatal_allocation = nth;
    allocation_extent = extent;
}

int allocations() { return allocation_count; }
long blocks() { return block_count; }

void keep_stacks(bool wanted) {
    void *frame;
    backtrace(&frame, 1);  // the first one allocates
    kept_count = 0;
    keeps = wanted;
}

std::string stack_of_failure() { return stack_of(latest_failure.stack, latest_failure.depth); }

std::string stack_of(void *const *frames, int depth) {
    Dl_info program, frame;
    dladdr(&kept, &program);
    std::string stack, latest;
    for (int i = 0; i < depth; ++i) {
        if (!dladdr(frames[i], &frame) || frame.dli_fbase == program.dli_fbase) continue;
        const std::string library = std::filesystem::path(frame.dli_fname).filename();
        const std::string function = frame.dli_sname ? frame.dli_sname : "(" + library + ")";
        if (function != latest) stack += (stack.empty() ? "" : " < ") + function;
        latest = function;
    }
    return stack;
}

std::set<std::string> stacks() {
    std::set<std::string> found;
    for (const Block *block = kept; block != kept + kept_count; ++block)
        found.insert(stack_of(block->stack, block->depth));
    return found;
}
#endif

void record(bool wanted) {
    records = wanted;
    recorded.clear();
}

std::vector<Change> &changes() { return recorded; }

bool struck() { return latest_struck; }

void clear() {
    plan_count = key_count = 0;
    intrusion = {};
    active = latest_struck = false;
#ifdef KAVEX_TEST_ALLOCATIONS
    fatal_allocation = 0;
#endif
}

void begin() {
    was_planned = plan_count > 0 || intrusion.nth;
    fired = false;
#ifdef KAVEX_TEST_ALLOCATIONS
    was_planned = was_planned || fatal_allocation > 0;
    allocation_count = 0;
#endif
    active = true;
}

void end() {
    active = false;
    if (was_planned) latest_struck = fired;
    plan_count = 0;
    intrusion = {};
#ifdef KAVEX_TEST_ALLOCATIONS
    fatal_allocation = 0;
#endif
}

Pause::Pause() : active_(active) { active = false; }
Pause::~Pause() { active = active_; }

}  // namespace faults

// ---------------------------------------------------------------------------------- the functions of the C library

using faults::run;
using faults::transfer;

extern "C" {

int open(const char *path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    mode_t mode = flags & (O_CREAT | O_TMPFILE) ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return faults::open_file<&open>("open", path, flags, mode);
}

int open64(const char *path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    mode_t mode = flags & (O_CREAT | O_TMPFILE) ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return faults::open_file<&open64>("open64", path, flags, mode);
}

ssize_t read(int fd, void *data, size_t size) { return transfer<&read>("read", fd, data, size); }
ssize_t write(int fd, const void *data, size_t size) { return transfer<&write>("write", fd, data, size); }

ssize_t pread(int fd, void *data, size_t size, off_t offset) {
    return transfer<&pread>("pread", fd, data, size, offset);
}

ssize_t pread64(int fd, void *data, size_t size, off64_t offset) {
    return transfer<&pread64>("pread64", fd, data, size, offset);
}

ssize_t pwrite(int fd, const void *data, size_t size, off_t offset) {
    ssize_t written = transfer<&pwrite>("pwrite", fd, data, size, offset);
    faults::note(written, faults::Change::write, fd, static_cast<size_t>(offset), data);
    return written;
}

ssize_t pwrite64(int fd, const void *data, size_t size, off64_t offset) {
    ssize_t written = transfer<&pwrite64>("pwrite64", fd, data, size, offset);
    faults::note(written, faults::Change::write, fd, static_cast<size_t>(offset), data);
    return written;
}

// A close that fails has closed the descriptor all the same.
int close(int fd) {
    int result = faults::next<&close>("close")(fd);
    return faults::fails("close") ? -1 : result;
}

static int noted(int result, faults::Change::Kind kind, int fd, off64_t length = 0) noexcept {
    faults::note(result, kind, fd, static_cast<size_t>(length));
    return result;
}

int fdatasync(int fd) { return noted(run<&fdatasync>("fdatasync", -1, fd), faults::Change::sync, fd); }
int fsync(int fd) { return noted(run<&fsync>("fsync", -1, fd), faults::Change::sync, fd); }

int ftruncate(int fd, off_t length) noexcept {
    return noted(run<&ftruncate>("ftruncate", -1, fd, length), faults::Change::resize, fd, length);
}

int ftruncate64(int fd, off64_t length) noexcept {
    return noted(run<&ftruncate64>("ftruncate64", -1, fd, length), faults::Change::resize, fd, length);
}

int linkat(int from, const char *path, int to, const char *name, int flags) noexcept {
    int result = run<&linkat>("linkat", -1, from, path, to, name, flags);
    if (result == 0) faults::note_name(faults::Change::name, name, faults::inode_of(name));
    return result;
}

int rename(const char *from, const char *to) noexcept {
    ino_t file = faults::inode_of(from);
    int result = run<&rename>("rename", -1, from, to);
    if (result == 0)
        faults::note_name(faults::Change::unname, from, file), faults::note_name(faults::Change::name, to, file);
    return result;
}

int unlink(const char *path) noexcept {
    ino_t file = faults::inode_of(path);
    int result = run<&unlink>("unlink", -1, path);
    if (result == 0) faults::note_name(faults::Change::unname, path, file);
    return result;
}
int semget(key_t key, int count, int flags) noexcept { return run<&semget>("semget", -1, key, count, flags); }
int semop(int id, sembuf *operations, size_t count) noexcept { return run<&semop>("semop", -1, id, operations, count); }
int shmget(key_t key, size_t size, int flags) noexcept { return run<&shmget>("shmget", -1, key, size, flags); }

void *shmat(int id, const void *address, int flags) noexcept {
    return run<&shmat>("shmat", reinterpret_cast<void *>(-1), id, address, flags);
}

int pipe(int *ends) noexcept { return run<&pipe>("pipe", -1, ends); }
int pipe2(int *ends, int flags) noexcept { return run<&pipe2>("pipe2", -1, ends, flags); }
pid_t fork() noexcept { return run<&fork>("fork", -1); }

key_t ftok(const char *path, int project) noexcept {
    if (faults::fails("ftok")) return -1;
    for (const faults::Key *key = faults::keys; key != faults::keys + faults::key_count; ++key)
        if (path && key->project == project && std::strcmp(key->path, path) == 0) return key->key;
    return faults::next<&ftok>("ftok")(path, project);
}

}  // extern "C"

#ifdef KAVEX_TEST_ALLOCATIONS
extern "C" {

void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
void __libc_free(void *block);

static bool no_memory() {
    using namespace faults;
    if (!active) return false;
    ++allocation_count;
    if (!fatal_allocation || allocation_count < fatal_allocation) return false;
    if (allocation_count > fatal_allocation && allocation_extent == once) return false;
    if (keeps && allocation_count == fatal_allocation)
        latest_failure.depth = backtrace(latest_failure.stack, std::size(latest_failure.stack));
    fired = true;
    errno = ENOMEM;
    return true;
}

static void *counted(void *block) {
    using namespace faults;
    if (!active || !block) return block;
    ++block_count;
    if (keeps && kept_count < std::size(kept)) {
        Block &entry = kept[kept_count++];
        entry.address = block;
        entry.depth = backtrace(entry.stack, std::size(entry.stack));
    }
    return block;
}

// What uses a block after this finds no text and no address in it.
static void forget(void *block) {
    using namespace faults;
    --block_count;
    std::memset(block, 0xa5, malloc_usable_size(block));
    Block *entry = kept_block(block);
    if (entry) *entry = kept[--kept_count];
}

void *malloc(size_t size) noexcept { return no_memory() ? nullptr : counted(__libc_malloc(size)); }
void *calloc(size_t count, size_t size) noexcept { return no_memory() ? nullptr : counted(__libc_calloc(count, size)); }

void *realloc(void *block, size_t size) noexcept {
    if (no_memory()) return nullptr;
    void *grown = __libc_realloc(block, size);
    if (!block) return counted(grown);
    faults::Block *entry = faults::kept_block(block);
    if (entry) entry->address = grown;
    return grown;
}

void free(void *block) noexcept {
    if (faults::active && block) forget(block);
    __libc_free(block);
}

}  // extern "C"
#endif
