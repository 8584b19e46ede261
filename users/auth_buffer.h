// The shared authentication buffer and its lock, owned for the length of a scope.
#ifndef KAVEX_USERS_AUTH_BUFFER_H
#define KAVEX_USERS_AUTH_BUFFER_H

#include <kavex/users.h>

#include <utility>

// The semaphore set of the buffer lock, or a negative value with errno.
int get_lock_id();

// One semop() each, with SEM_UNDO; 0, or -1 with errno. Locking waits until a signal handler runs.
int lock_buffer(int id);
int unlock_buffer(int id);

// The buffer lock. The destructor releases it.
class BufferLock {
public:
    enum Reason { with_reason, without_reason };

    // Takes the lock. False after a failure, which is logged under the function's name; `missing` chooses whether the
    // message about a missing semaphore set ends with the text of errno.
    explicit BufferLock(const char *function, Reason missing = with_reason);
    BufferLock(const BufferLock &) = delete;
    ~BufferLock() { unlock(); }
    explicit operator bool() const { return id_ >= 0; }

    // Releases the lock now; 0, or -1 with errno.
    int unlock() { return id_ < 0 ? 0 : unlock_buffer(std::exchange(id_, -1)); }

private:
    int id_;
};

// The shared buffer. The destructor detaches it. Access needs the lock.
class AttachedBuffer {
public:
    // Attaches the buffer. False after a failure, which is logged under the step's name.
    AttachedBuffer(const char *step, const char *user);
    AttachedBuffer(const AttachedBuffer &) = delete;
    ~AttachedBuffer();
    explicit operator bool() const { return buffer_; }

    auth_buffer_t *operator->() const { return buffer_; }

    // The index of the user's first slot in the list, or -1.
    int find_auth(const char *user) const;
    int find_radius(const char *user) const;

private:
    auth_buffer_t *buffer_;
};

#endif
