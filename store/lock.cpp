#include "store/lock.h"

#include <fcntl.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>

#include "base/owned.h"
#include "base/text.h"

namespace store {

ConfigPath::ConfigPath(const char *directory, const char *name) noexcept
    : directory_(directory), name_(name ? name : "") {
    int length = std::snprintf(text_, sizeof text_, "%s%s", directory_, name_);
    if (empty(name))
        unusable_ = EINVAL;
    else if (length < 0 || static_cast<std::size_t>(length) >= sizeof text_)
        unusable_ = ENAMETOOLONG;
}

namespace {

key_t key_of(const char *path) noexcept {
    key_t key = ftok(path, 0);
    // Where the numbers of device and inode end in zeros the key is IPC_PRIVATE, with which nobody is ever excluded.
    return key == IPC_PRIVATE ? ftok(path, 1) : key;
}

int make_lock(key_t key) noexcept { return semget(key, 1, IPC_CREAT | IPC_EXCL); }

// An empty file without a name in the directory of a path.
Descriptor unnamed_file(const char *path) noexcept {
    char directory[4096];
    bounded_copy(directory, sizeof directory, path);
    char *end = std::strrchr(directory, '/');
    if (!end) return Descriptor();
    *end = '\0';
    return Descriptor(open(directory, O_WRONLY | O_TMPFILE | O_CLOEXEC, 0600));
}

}  // namespace

key_t ConfigPath::key() const noexcept {
    if (unusable_) {
        errno = unusable_;
        return -1;
    }
    return key_of(text_);
}

// An empty file that others can see before it is locked would be a configuration to them: one that does not parse, or
// one to be copied over a good one. So it gets its lock first and its name after that. A key has few bits of the
// inode's number; where it coincides with that of a file which somebody holds, another inode may do.
bool FileLock::create_locked(const char *path) noexcept {
    Descriptor files[4];
    for (Descriptor &file : files) {
        file = unnamed_file(path);
        if (!file) return false;
        char name[32];
        std::snprintf(name, sizeof name, "/proc/self/fd/%d", file.get());
        key_t key = key_of(name);
        if (key == -1) return false;
        id_ = make_lock(key);
        reason_ = errno;
        status_ = id_ < 0 ? busy : held;
        if (id_ < 0 && reason_ == EEXIST) continue;
        if (linkat(AT_FDCWD, name, AT_FDCWD, path, AT_SYMLINK_FOLLOW) == 0) return true;
        int reason = errno;
        unlock();
        errno = reason;
        return false;
    }
    return false;
}

FileLock::FileLock(const ConfigPath &path, Missing missing) noexcept {
    for (int tries = 0;; ++tries) {
        created_ = false;
        key_t key = path.key();
        if (key == -1 && errno == ENOENT && missing == is_created) {
            created_ = create_locked(path.text());
            if (created_) return;
            // Somebody was faster, and may have taken the file away again. A link that leads nowhere stays.
            if (errno == EEXIST && tries < 100) continue;
            // Where no file can be made without a name. Without truncation: a file that appeared meanwhile is
            // somebody's configuration.
            Descriptor fresh(open(path.text(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
            created_ = bool(fresh);
            fresh.close();
            key = path.key();
        }
        reason_ = errno;
        status_ = no_key;
        if (key == -1) return;

        id_ = make_lock(key);
        reason_ = errno;
        status_ = id_ < 0 ? busy : held;
        // Between the key and the lock the file may have been renamed or removed by its holder. What counts is the
        // file that has the name now.
        if (id_ < 0 || path.key() == key) return;
        unlock();
    }
}

void FileLock::unlock() noexcept {
    if (id_ >= 0) remove(release());
}

int FileLock::release() noexcept {
    int id = id_;
    id_ = -1;
    return id;
}

void FileLock::remove(int id) noexcept { semctl(id, 0, IPC_RMID); }

}  // namespace store
