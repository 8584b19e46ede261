// Configurations copied, renamed and removed as files, under their locks, and made from the template.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "base/files.h"
#include "base/paths.h"
#include "store/store.h"

using store::ConfigPath;
using store::FileLock;

namespace {

// Locks the file that an operation begins with; where that fails the code is set and the line is printed.
FileLock lock_source(const ConfigPath &path, const char *operation) {
    FileLock lock = FileLock::take(path);
    if (lock.status() == FileLock::busy) fail(0, KVIO_LOCKED, "%s is being opened\n", path.name());
    if (lock.status() != FileLock::no_key) return lock;
    if (lock.reason() == ENOENT)
        fail(0, KVIO_NO_FILE, "%s: %s is not existed\n", operation, path.name());
    else
        store::no_key_for(path, lock, 0);
    return lock;
}

// The same for the file that it makes or overwrites.
FileLock lock_target(const ConfigPath &path) {
    FileLock lock = FileLock::take_or_create(path);
    if (lock.status() == FileLock::no_key) store::no_key_for(path, lock, 0);
    if (lock.status() == FileLock::busy) fail(0, KVIO_LOCKED, "%s is being opened\n", path.name());
    return lock;
}

// That a name is not synced yet is no failure: after a loss of power the file has one of the two.
void sync_directories(const ConfigPath &from, const ConfigPath &to) {
    sync_directory(to.text());
    sync_directory(from.text());
}

// Moves a file onto the empty one that stands for it. Its redo file would not be found in another directory.
bool move(const ConfigPath &from, const ConfigPath &to) {
    if (!store::finish_save(from.text())) return false;
    store::remove_redo_file(from.text());
    return std::rename(from.text(), to.text()) == 0;
}

}  // namespace

namespace store {

FileLock create_from_template(const ConfigPath &path) noexcept {
    Bytes contents;
    if (!load(paths::system_default_template, contents) || !xml::parse(contents, paths::system_default_template))
        return errno == ENOMEM ? FileLock::none(ENOMEM) : FileLock::take(path);
    FileLock lock = FileLock::take_or_create(path);
    if (lock.status() != FileLock::held || !lock.created() || lock.write(path, contents)) return lock;
    lock.unlock();
    return FileLock::take(path);
}

}  // namespace store

int kvio_copy_config(const char *source, const char *target) {
    ConfigPath from(paths::config_directory, source), to(paths::config_directory, target);
    FileLock source_lock = lock_source(from, "copy");
    if (source_lock.status() != FileLock::held) return -1;
    FileLock target_lock = lock_target(to);
    if (target_lock.status() != FileLock::held) return -1;

    store::Bytes contents;
    store::finish_save(from.text());
    bool is_read = store::load(from.text(), contents);
    bool copied = is_read && target_lock.write(to, contents);
    source_lock.unlock();
    target_lock.unlock();
    if (copied) return succeed(0);
    if (is_read && errno == EEXIST) return fail(-1, KVIO_LOCKED, "%s is being opened\n", target);
    return fail(-1, KVIO_IO, "copy: %s: %s\n", is_read ? target : source, std::strerror(errno));
}

int kvio_rename_config(const char *source, const char *target) {
    ConfigPath from(paths::config_directory, source), to(paths::config_directory, target);
    if (to.key() != -1)  // which it has only if it exists
        return fail(-1, KVIO_EXISTS, "rename: target file \"%s\" is already existed\n", target);
    FileLock source_lock = lock_source(from, "rename");
    if (source_lock.status() != FileLock::held) return -1;
    FileLock target_lock = lock_target(to);
    if (target_lock.status() != FileLock::held) return -1;

    errno = EEXIST;  // another process made the target before it was locked
    bool made = target_lock.created() && target_lock.give_name(to);
    bool renamed = made && move(from, to);
    int reason = errno;
    if (renamed)
        sync_directories(from, to);
    else if (target_lock.created() && reason != EEXIST)
        unlink(to.text());  // the empty file is in the way of another try
    source_lock.unlock();
    target_lock.unlock();
    errno = reason;
    if (renamed) return succeed(0);
    if (!made && reason == EEXIST)
        return fail(-1, KVIO_EXISTS, "rename: target file \"%s\" is already existed\n", target);
    return fail(-1, KVIO_IO, "rename: %s: %s\n", source, std::strerror(reason));
}

int kvio_remove_config(const char *name) {
    ConfigPath path(paths::config_directory, name);
    FileLock lock = lock_source(path, "remove");
    if (lock.status() != FileLock::held) return -1;
    bool removed = store::remove_file(path.text());
    lock.unlock();
    if (!removed) return fail(-1, KVIO_IO, "remove: %s: %s\n", name, std::strerror(errno));
    return succeed(0);
}
