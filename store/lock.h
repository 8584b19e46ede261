// Paths of configurations, and the lock between processes that hangs on each file.
#ifndef KAVEX_STORE_LOCK_H
#define KAVEX_STORE_LOCK_H

#include <sys/types.h>

namespace store {

// The full path of a configuration. A null, empty or over-long name makes a path that leads nowhere.
class ConfigPath {
public:
    ConfigPath(const char *directory, const char *name) noexcept;

    const char *text() const noexcept { return text_; }
    // The two halves, which are whole also where the path is not.
    const char *directory() const noexcept { return directory_; }
    const char *name() const noexcept { return name_; }

    // The key of the file's lock, never IPC_PRIVATE; -1 with errno.
    key_t key() const noexcept;

private:
    const char *directory_;
    const char *name_;
    int unusable_ = 0;  // why the path leads nowhere, as errno
    char text_[4096];
};

// The lock on a file: a semaphore that exists while the lock is held. Released by the destructor, unless its id went
// to a handle.
class FileLock {
public:
    enum Status { held, no_key, busy };
    enum Missing { fails, is_created };

    // Derives the file's key, having created an empty file of mode 0600 where it is missing and that is wanted, and
    // makes the semaphore. There is no waiting.
    explicit FileLock(const ConfigPath &path, Missing missing = fails) noexcept;
    FileLock(const FileLock &) = delete;
    FileLock &operator=(const FileLock &) = delete;
    ~FileLock() { unlock(); }

    Status status() const noexcept { return status_; }
    int reason() const noexcept { return reason_; }     // errno of what failed
    bool created() const noexcept { return created_; }  // the file was missing at first
    int id() const noexcept { return id_; }

    void unlock() noexcept;
    int release() noexcept;  // the caller owns the lock now

    // Removes a lock that a handle holds; an id of -1 is none.
    static void remove(int id) noexcept;

private:
    bool create_locked(const char *path) noexcept;

    Status status_;
    int reason_ = 0;
    bool created_ = false;
    int id_ = -1;
};

}  // namespace store

#endif
