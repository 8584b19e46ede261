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

key_t ConfigPath::key() const noexcept {
    if (unusable_) {
        errno = unusable_;
        return -1;
    }
    key_t key = ftok(text_, 0);
    // Where the numbers of device and inode end in zeros the key is IPC_PRIVATE, with which nobody is ever excluded.
    return key == IPC_PRIVATE ? ftok(text_, 1) : key;
}

FileLock::FileLock(const ConfigPath &path, Missing missing) noexcept {
    for (;;) {
        created_ = false;
        key_t key = path.key();
        if (key == -1 && errno == ENOENT && missing == is_created) {
            // Without truncation: a file that appeared meanwhile is somebody's configuration.
            Descriptor fresh(open(path.text(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
            created_ = bool(fresh);
            fresh.close();
            key = path.key();
        }
        reason_ = errno;
        status_ = no_key;
        if (key == -1) return;

        id_ = semget(key, 1, IPC_CREAT | IPC_EXCL);
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
