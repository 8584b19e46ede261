// Paths of configurations and the locks on their files.
#include <fcntl.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>

#include "base/files.h"
#include "store/files.h"

namespace store {

ConfigPath::ConfigPath(const char *directory, const char *name) noexcept
    : directory_(directory), name_(name ? name : "") {
    std::snprintf(text_, sizeof text_, "%s%s", directory_, name_);
}

namespace {

// Where the numbers of device and inode end in zeros, ftok() gives IPC_PRIVATE with id 0, which is no lock.
key_t key_of(const char *path) noexcept {
    key_t key = ftok(path, 0);
    return key == IPC_PRIVATE ? ftok(path, 1) : key;
}

}  // namespace

key_t ConfigPath::key() const noexcept {
    if (*name_) return key_of(text_);
    errno = EINVAL;
    return -1;
}

FileLock::FileLock(key_t key) noexcept
    : id_(semget(key, 1, IPC_CREAT | IPC_EXCL)), status_(id_ ? held : busy), reason_(id_ ? 0 : errno) {}

// Between the key and the lock the file may have been renamed or removed by its holder: the lock is then that of
// another file, and is taken anew.
FileLock FileLock::take(const ConfigPath &path) noexcept {
    for (;;) {
        key_t key = path.key();
        if (key == -1) return none(errno);
        FileLock lock(key);
        if (lock.status() != held || path.key() == key) return lock;
    }
}

FileLock FileLock::take_or_create(const ConfigPath &path) noexcept {
    FileLock lock = take(path);
    bool missing = lock.status() == no_key && lock.reason() == ENOENT;
    return missing ? create(path) : std::move(lock);
}

// A key has few bits of the inode's number. Where it coincides with that of a file that is locked, another inode may
// have a free one.
FileLock FileLock::create(const ConfigPath &path) noexcept {
    struct stat link;
    bool is_link = lstat(path.text(), &link) == 0;
    Descriptor files[4];
    for (Descriptor &file : files) {
        if (!is_link) file = unnamed_file(path.text(), 0600);
        if (!file) break;
        key_t key = key_of(DescriptorName(file.get()).text);
        if (key == -1) break;
        FileLock lock(key);
        if (lock.status() == busy && lock.reason() == EEXIST && &file != files + 3) continue;
        lock.created_ = true;
        lock.unnamed_ = std::move(file);
        if (lock.status() == busy)
            lock.write(path, Bytes());  // it stays, as where a file is made first and locked then
        return lock;
    }
    // The file system has no files without a name, there is no /proc, or a link of this name leads nowhere.
    Descriptor named(open(path.text(), O_WRONLY | O_CREAT | (is_link ? 0 : O_EXCL) | O_CLOEXEC, 0600));
    if (!named && errno != EEXIST) return none(errno);
    FileLock lock = take(path);
    lock.created_ = bool(named);
    return lock;
}

bool FileLock::write(const ConfigPath &path, const Bytes &contents) noexcept {
    return unnamed_ ? write_new(unnamed_.get(), path.text(), contents)
                    : replace(path.text(), contents, 0600, RedoFile::stays);
}

int FileLock::remove(int id) noexcept {
    KeptErrno reason;
    return semctl(id, 0, IPC_RMID);
}

}  // namespace store
