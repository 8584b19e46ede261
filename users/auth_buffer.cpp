#include "users/auth_buffer.h"

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include <cerrno>

#include "base/kvlog.h"
#include "base/paths.h"
#include "base/text.h"

static_assert(sizeof(auth_entry_t) == 40 && offsetof(auth_entry_t, user) == 4 && offsetof(auth_entry_t, method) == 36);
static_assert(sizeof(radius_entry_t) == 128 && offsetof(radius_entry_t, user) == 4 &&
              offsetof(radius_entry_t, type) == 100 && offsetof(radius_entry_t, lease_time) == 112 &&
              offsetof(radius_entry_t, re_auth) == 116);
static_assert(sizeof(auth_buffer_t) == 8400 && offsetof(auth_buffer_t, radius) == 2000);

namespace {

constexpr int key_project = 83;

// A key of -1 is none: semget() and shmget() would take it for one.
key_t key_of(const char *path) { return ftok(path, key_project); }

int change_lock(int id, short by) {
    sembuf operation{};
    operation.sem_op = by;
    operation.sem_flg = SEM_UNDO;
    return semop(id, &operation, 1) == 0 ? 0 : -1;
}

template <class Entry>
bool belongs_to(const Entry &entry, const char *user) {
    return entry.in_use == 1 && strnlen(entry.user, sizeof entry.user) < sizeof entry.user && same(entry.user, user);
}

// The second step of releasing a user who passed RADIUS. It has an attachment of its own, and its result is nobody's.
void release_radius_db(const char *user) {
    std::optional<AttachedBuffer> buffer = AttachedBuffer::attach(__func__, user);
    if (!buffer) return;
    int slot = buffer->find_radius(user);
    if (slot >= 0)
        buffer->free_radius(slot);
    else
        kvlog(USER_OP, "[%s]User:%s does not found in RADIUS database.", __func__, user);
}

}  // namespace

int get_lock_id() {
    key_t key = key_of(paths::auth_lock_key);
    return key == -1 ? -1 : semget(key, 1, 0666);
}

int lock_buffer(int id) { return change_lock(id, -1); }

int unlock_buffer(int id) { return change_lock(id, +1); }

std::optional<BufferLock> BufferLock::take(const char *function) {
    int id = get_lock_id();
    if (id < 0) {
        kvlog(USER_OP, "[%s]Get lock id has failed:%s.", function, std::strerror(errno));
        return std::nullopt;
    }
    if (lock_buffer(id) < 0) {
        kvlog(USER_OP, "[%s]Lock buffer has failed:%s.", function, std::strerror(errno));
        return std::nullopt;
    }
    return BufferLock(id);
}

std::optional<AttachedBuffer> AttachedBuffer::attach(const char *step, const char *user) {
    key_t key = key_of(paths::auth_buffer_key);
    int id = key == -1 ? -1 : shmget(key, sizeof(auth_buffer_t), 0);
    if (id < 0) {
        kvlog(USER_OP, "[%s]Get shared buffer has failed. User:%s.", step, user);
        return std::nullopt;
    }
    void *bytes = shmat(id, nullptr, 0);
    if (bytes == reinterpret_cast<void *>(-1)) {
        kvlog(USER_OP, "[%s]Attach shared buffer has failed. User:%s.", step, user);
        return std::nullopt;
    }
    return AttachedBuffer(bytes);
}

AttachedBuffer::~AttachedBuffer() {
    if (bytes_) shmdt(bytes_);
}

int AttachedBuffer::find_auth(const char *user) const {
    for (int slot = 0; slot < AUTH_BUFFER_SLOTS; ++slot)
        if (belongs_to(auth(slot), user)) return slot;
    return -1;
}

int AttachedBuffer::find_radius(const char *user) const {
    for (int slot = 0; slot < AUTH_BUFFER_SLOTS; ++slot)
        if (belongs_to(radius(slot), user)) return slot;
    return -1;
}

void AttachedBuffer::free_auth(int slot) {
    char *entry = bytes_ + offsetof(auth_buffer_t, auth) + static_cast<std::size_t>(slot) * sizeof(auth_entry_t);
    std::memset(entry, 0, sizeof(auth_entry_t::in_use));
    entry[offsetof(auth_entry_t, user)] = '\0';
}

void AttachedBuffer::free_radius(int slot) {
    char *entry = bytes_ + offsetof(auth_buffer_t, radius) + static_cast<std::size_t>(slot) * sizeof(radius_entry_t);
    std::memset(entry, 0, sizeof(radius_entry_t::in_use));
}

int get_auth_module(const char *user) {
    if (!user) return -1;
    std::optional<AttachedBuffer> buffer = AttachedBuffer::attach(__func__, user);
    if (!buffer) return -1;
    int slot = buffer->find_auth(user);
    return slot < 0 ? -1 : buffer->auth(slot).method;
}

int release_auth_list(const char *user) {
    if (!user) return -1;
    std::optional<BufferLock> lock = BufferLock::take(__func__);
    if (!lock) return -1;
    std::optional<AttachedBuffer> buffer = AttachedBuffer::attach(__func__, user);
    if (!buffer) return -1;

    int slot = buffer->find_auth(user);
    if (slot >= 0) {
        bool passed_radius = buffer->auth(slot).method == AUTH_METHOD_RADIUS;
        buffer->free_auth(slot);
        if (passed_radius) release_radius_db(user);
    }

    buffer.reset();
    if (lock->unlock() == 0) return 0;
    kvlog(USER_OP, "[%s]Unlock buffer has failed:%s.", __func__, std::strerror(errno));
    return -1;
}
