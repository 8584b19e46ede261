// Configuration files: their paths, the lock between processes on each, and their contents. Nothing here knows XML.
#ifndef KAVEX_STORE_FILES_H
#define KAVEX_STORE_FILES_H

#include <sys/types.h>

#include <climits>

#include "base/array.h"
#include "base/owned.h"

namespace store {

// The full path of a configuration. Null, empty and over-long names are those of no file.
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
    char text_[PATH_MAX + 1];  // a path that was cut is too long for the system
};

// Reads a regular file: its contents before or after a save, never a mixture, while other processes save it and after
// a save that was interrupted, which is finished where the caller holds the file's lock. False with errno: EISDIR or
// EINVAL for what is no regular file.
bool load(const char *path, Bytes &contents, bool is_locked = false) noexcept;

enum class RedoFile { stays, is_removed };

// Replaces the contents of a file in place and syncs it, so that a crash at any instant leaves the old contents or the
// new ones to load(). A missing file is made with `mode` (and the umask) and has its name once it is complete, where the
// file system can do that; a file that has these contents already is only synced. False with errno, EINVAL for what is
// no regular file.
bool replace(const char *path, const Bytes &contents, mode_t mode, RedoFile wanted) noexcept;

// Writes the contents of a new file that has no name yet, and gives it its name. False with errno, EEXIST where the name
// is in use.
bool write_new(int fd, const char *path, const Bytes &contents) noexcept;

// Gives a file, whose lock the caller holds, another name, or removes it if that is null. Its redo file goes: it would
// not be found in another directory. False with errno.
bool move_file(const char *path, const char *new_path) noexcept;

// The lock on a file: a semaphore that exists while the lock is held. There is no waiting. Released by the destructor,
// unless its id went to a handle.
class FileLock {
public:
    enum Status { held, no_key, busy };

    // No lock, the file having no key for this reason.
    static FileLock none(int reason) noexcept { return FileLock(no_key, reason); }

    // Locks the file that has this name.
    static FileLock take(const ConfigPath &path) noexcept;

    // The same; where it is missing, makes an empty file of mode 0600, which is locked before it has its name: an
    // empty file that others can see would be a configuration to them. write() must follow.
    static FileLock take_or_create(const ConfigPath &path) noexcept;

    Status status() const noexcept { return status_; }
    int reason() const noexcept { return reason_; }     // errno of what failed
    bool created() const noexcept { return created_; }  // the file was missing

    // Replaces the file's contents, as replace() does, and gives a new file its name. False with errno, EEXIST where
    // another process has made a file of that name meanwhile.
    bool write(const ConfigPath &path, const Bytes &contents) noexcept;

    void unlock() noexcept { id_.close(); }
    int release() noexcept { return id_.release(); }  // the caller owns the lock now

    // Removes a lock that a handle holds, and keeps errno; an id of -1 is none.
    static int remove(int id) noexcept;

private:
    using Id = Number<remove>;

    FileLock(Status status, int reason) noexcept : status_(status), reason_(reason) {}
    explicit FileLock(key_t key) noexcept;
    static FileLock create(const ConfigPath &path) noexcept;

    Id id_;
    Status status_;
    int reason_;
    bool created_ = false;
    Descriptor unnamed_;  // a new file until it has its name
};

}  // namespace store

#endif
