// The shared authentication buffer and its lock, owned for the length of a scope.
#ifndef KAVEX_USERS_AUTH_BUFFER_H
#define KAVEX_USERS_AUTH_BUFFER_H

#include <kavex/users.h>

#include <cstddef>
#include <cstring>
#include <optional>
#include <utility>

// The semaphore set of the buffer lock, or a negative value with errno.
int get_lock_id();

// One semop() each, with SEM_UNDO; 0, or -1 with errno. Taking waits; a signal handler that runs ends the wait.
int lock_buffer(int id);
int unlock_buffer(int id);

// The buffer lock, given back at the end of the scope at the latest.
class BufferLock {
public:
    // Takes the lock, or logs under the function's name why it could not.
    static std::optional<BufferLock> take(const char *function);

    // For a lock that the caller took with lock_buffer().
    explicit BufferLock(int id) noexcept : id_(id) {}
    BufferLock(BufferLock &&other) noexcept : id_(std::exchange(other.id_, -1)) {}
    BufferLock &operator=(BufferLock &&) = delete;
    ~BufferLock() { unlock(); }

    // Gives the lock back now, for callers to whom the result matters; 0, or -1 with errno.
    int unlock() noexcept { return id_ < 0 ? 0 : unlock_buffer(std::exchange(id_, -1)); }

private:
    int id_;
};

// The shared buffer, attached until the end of the scope. Hold the lock. The segment is bytes: records are copied out
// of it.
class AttachedBuffer {
public:
    // Attaches it, or logs under the step's name why it could not.
    static std::optional<AttachedBuffer> attach(const char *step, const char *user);

    AttachedBuffer(AttachedBuffer &&other) noexcept : bytes_(std::exchange(other.bytes_, nullptr)) {}
    AttachedBuffer &operator=(AttachedBuffer &&) = delete;
    ~AttachedBuffer();

    auth_entry_t auth(int slot) const { return read<auth_entry_t>(offsetof(auth_buffer_t, auth), slot); }
    radius_entry_t radius(int slot) const { return read<radius_entry_t>(offsetof(auth_buffer_t, radius), slot); }

    // The user's slot, or -1.
    int find_auth(const char *user) const;
    int find_radius(const char *user) const;

    // Only what marks a slot as free is written: `in_use`, and in the authentication list the name's first byte.
    void free_auth(int slot);
    void free_radius(int slot);

private:
    explicit AttachedBuffer(void *bytes) noexcept : bytes_(static_cast<char *>(bytes)) {}

    template <class Entry>
    Entry read(std::size_t region, int slot) const {
        Entry entry;
        std::memcpy(&entry, bytes_ + region + static_cast<std::size_t>(slot) * sizeof entry, sizeof entry);
        return entry;
    }

    char *bytes_;
};

#endif
