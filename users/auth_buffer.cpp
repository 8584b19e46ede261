// The shared authentication buffer and its lock: a user's method, the profiles of RADIUS users, the release of a user.
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include <cerrno>

#include "users/users.h"

static_assert(sizeof(auth_entry_t) == 40 && sizeof(radius_entry_t) == 128 && sizeof(auth_buffer_t) == 8400);

namespace {

// Returns the key of a file; -1 if there is no such file, which semget() and shmget() would take for a key.
key_t key_of(const char *path) { return ftok(path, 83); }

// Adds to the semaphore; waits while that would make it negative. 0, or -1 with errno.
int change_lock(int id, short by) {
    sembuf operation{};
    operation.sem_op = by;
    operation.sem_flg = SEM_UNDO;
    return semop(id, &operation, 1);
}

// The shared buffer, attached. Access needs the lock.
using AttachedBuffer = Owned<auth_buffer_t, shmdt>;

// Attaches the buffer. Null after a failure, which is logged under the step's name.
AttachedBuffer attach(const char *step, const char *user) {
    key_t key = key_of(paths::auth_buffer_key);
    int id = key == -1 ? -1 : shmget(key, sizeof(auth_buffer_t), 0);
    if (id < 0) return LOGGED(nullptr, "[%s]Get shared buffer has failed. User:%s.", step, user);
    void *bytes = shmat(id, nullptr, 0);
    if (bytes == reinterpret_cast<void *>(-1))
        return LOGGED(nullptr, "[%s]Attach shared buffer has failed. User:%s.", step, user);
    return AttachedBuffer(static_cast<auth_buffer_t *>(bytes));
}

// The index of the user's first slot in a list of the buffer, or -1.
template <class Entry>
int find_slot(const Entry (&slots)[AUTH_BUFFER_SLOTS], const char *user) {
    for (int slot = 0; slot < AUTH_BUFFER_SLOTS; ++slot) {
        const Entry &entry = slots[slot];
        bool has_end = strnlen(entry.user, sizeof entry.user) < sizeof entry.user;
        if (entry.in_use == 1 && has_end && same(entry.user, user)) return slot;
    }
    return -1;
}

// Frees the RADIUS record of a released user, in an attachment of its own. The result of the release does not depend
// on it.
void release_radius(const char *user) {
    constexpr char step[] = "release_radius_db";
    AttachedBuffer buffer = attach(step, user);
    if (!buffer) return;
    int slot = find_slot(buffer->radius, user);
    if (slot >= 0)
        buffer->radius[slot].in_use = 0;
    else
        kvlog(USER_OP, "[%s]User:%s does not found in RADIUS database.", step, user);
}

}  // namespace

BufferLock lock_buffer(const char *function, bool with_reason) {
    key_t key = key_of(paths::auth_lock_key);
    int id = key == -1 ? -1 : semget(key, 1, 0666);
    if (id < 0 && !with_reason) return LOGGED(BufferLock(), "[%s]Get lock id has failed.", function);
    if (id < 0) return LOGGED(BufferLock(), "[%s]Get lock id has failed:%s.", function, std::strerror(errno));
    if (change_lock(id, -1) == 0) return BufferLock(id);
    return LOGGED(BufferLock(), "[%s]Lock buffer has failed:%s.", function, std::strerror(errno));
}

int unlock_buffer(int id) { return change_lock(id, +1); }

int get_auth_module(const char *user) {
    if (!user) return -1;
    AttachedBuffer buffer = attach(__func__, user);
    if (!buffer) return -1;
    int slot = find_slot(buffer->auth, user);
    return slot < 0 ? -1 : buffer->auth[slot].method;
}

int get_info_from_radius(user_profile_t *profile, const char *user) {
    if (!profile || !user) return -1;
    int slot = -1;
    if (AttachedBuffer searched = attach("check_radius_db", user)) slot = find_slot(searched->radius, user);
    if (slot < 0) return LOGGED(-1, "[%s]User:%s does not found in RADIUS database.", __func__, user);

    AttachedBuffer buffer = attach(__func__, user);
    if (!buffer) return -1;
    radius_entry_t entry = buffer->radius[slot];
    entry.user[sizeof entry.user - 1] = '\0';  // It may have changed if the caller does not hold the lock.
    if (entry.type == -1) return LOGGED(-1, "[%s]RADIUS user:%s does not have attributes.", __func__, user);
    if (!set_name(*profile, entry.user, __func__)) return -1;
    set_type(*profile, type_of_code(entry.type));
    profile->lease_time = entry.lease_time;
    profile->re_auth = entry.re_auth;
    if (entry.lease_time && entry.re_auth) return 0;
    return LOGGED(-1, "[%s]Cannot retrieve lease time/reauth time for RADIUS user:%s.", __func__, user);
}

int release_auth_list(const char *user) {
    if (!user) return -1;
    BufferLock lock = lock_buffer(__func__);
    AttachedBuffer buffer = lock ? attach(__func__, user) : nullptr;
    if (!buffer) return -1;
    int slot = find_slot(buffer->auth, user);
    if (slot >= 0) {
        auth_entry_t &entry = buffer->auth[slot];
        entry.in_use = 0;
        entry.user[0] = '\0';
        if (entry.method == AUTH_METHOD_RADIUS) release_radius(user);
    }
    buffer.reset();
    if (lock.close() == 0) return 0;
    return LOGGED(-1, "[%s]Unlock buffer has failed:%s.", __func__, std::strerror(errno));
}
