// The shared authentication buffer, its lock, and the calls that need nothing else.
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include <cerrno>

#include "users/users.h"

static_assert(sizeof(auth_entry_t) == 40 && sizeof(radius_entry_t) == 128 && sizeof(auth_buffer_t) == 8400);

namespace {

// -1 if there is no such file. semget() and shmget() would take that for a key.
key_t key_of(const char *path) { return ftok(path, 83); }

// 0, or -1 with errno.
int change_lock(int id, short by) {
    sembuf operation{};
    operation.sem_op = by;
    operation.sem_flg = SEM_UNDO;
    return semop(id, &operation, 1);
}

// Frees the RADIUS record of a released user, in an attachment of its own. The result of the release does not depend
// on it.
void release_radius(const char *user) {
    constexpr char step[] = "release_radius_db";
    AttachedBuffer buffer(step, user);
    if (!buffer) return;
    int slot = find_slot(buffer->radius, user);
    if (slot >= 0)
        buffer->radius[slot].in_use = 0;
    else
        kvlog(USER_OP, "[%s]User:%s does not found in RADIUS database.", step, user);
}

// Frees the user's slots. False, after a message, if the buffer cannot be used.
bool release_slots(const char *user, const char *function) {
    AttachedBuffer buffer(function, user);
    if (!buffer) return false;
    int slot = find_slot(buffer->auth, user);
    if (slot < 0) return true;
    auth_entry_t &entry = buffer->auth[slot];
    entry.in_use = 0;
    entry.user[0] = '\0';
    if (entry.method == AUTH_METHOD_RADIUS) release_radius(user);
    return true;
}

}  // namespace

BufferLock::BufferLock(const char *function, Reason missing) {
    key_t key = key_of(paths::auth_lock_key);
    id_ = key == -1 ? -1 : semget(key, 1, 0666);
    if (id_ < 0 && missing == with_reason)
        kvlog(USER_OP, "[%s]Get lock id has failed:%s.", function, std::strerror(errno));
    else if (id_ < 0)
        kvlog(USER_OP, "[%s]Get lock id has failed.", function);
    if (id_ < 0 || change_lock(id_, -1) == 0) return;
    kvlog(USER_OP, "[%s]Lock buffer has failed:%s.", function, std::strerror(errno));
    id_ = -1;
}

int BufferLock::unlock() { return id_ < 0 ? 0 : change_lock(std::exchange(id_, -1), +1); }

AttachedBuffer::AttachedBuffer(const char *step, const char *user) {
    key_t key = key_of(paths::auth_buffer_key);
    int id = key == -1 ? -1 : shmget(key, sizeof(auth_buffer_t), 0);
    if (id < 0) {
        kvlog(USER_OP, "[%s]Get shared buffer has failed. User:%s.", step, user);
        return;
    }
    void *bytes = shmat(id, nullptr, 0);
    if (bytes == reinterpret_cast<void *>(-1)) {
        kvlog(USER_OP, "[%s]Attach shared buffer has failed. User:%s.", step, user);
        return;
    }
    buffer_ = static_cast<auth_buffer_t *>(bytes);
}

AttachedBuffer::~AttachedBuffer() {
    if (buffer_) shmdt(buffer_);
}

int get_auth_module(const char *user) {
    if (!user) return -1;
    AttachedBuffer buffer(__func__, user);
    if (!buffer) return -1;
    int slot = find_slot(buffer->auth, user);
    return slot < 0 ? -1 : buffer->auth[slot].method;
}

int release_auth_list(const char *user) {
    if (!user) return -1;
    BufferLock lock(__func__);
    if (!lock || !release_slots(user, __func__)) return -1;
    if (lock.unlock() == 0) return 0;
    return LOGGED(-1, "[%s]Unlock buffer has failed:%s.", __func__, std::strerror(errno));
}
