// Configurations copied, renamed and removed as files, under their locks, and made from the template.
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "base/files.h"
#include "base/paths.h"
#include "store/store.h"

using store::ConfigPath;
using store::FileLock;

namespace {

// Whether the lock on a file is held; if not the code is set and the line is printed. For the file that an operation
// begins with, its name is given: that this file is missing has a line of its own.
bool is_held(const FileLock &lock, const ConfigPath &path, const char *operation = nullptr) {
    if (lock.status() == FileLock::held) return true;
    if (lock.status() == FileLock::busy) return fail(false, KVIO_LOCKED, "%s is being opened\n", path.name());
    if (operation && lock.reason() == ENOENT)
        return fail(false, KVIO_NO_FILE, "%s: %s is not existed\n", operation, path.name());
    return store::no_key_for(path, lock, false);
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
    FileLock source_lock = FileLock::take(from);
    if (!is_held(source_lock, from, "copy")) return -1;
    FileLock target_lock = FileLock::take_or_create(to);
    if (!is_held(target_lock, to)) return -1;

    Bytes contents;
    bool is_read = store::load(from.text(), contents, true);
    bool copied = is_read && target_lock.write(to, contents);
    source_lock.unlock();
    if (copied) return succeed(0);
    if (is_read && errno == EEXIST) return fail(-1, KVIO_LOCKED, "%s is being opened\n", target);
    return fail(-1, KVIO_IO, "copy: %s: %s\n", is_read ? target : source, std::strerror(errno));
}

int kvio_rename_config(const char *source, const char *target) {
    ConfigPath from(paths::config_directory, source), to(paths::config_directory, target);
    if (to.key() != -1)  // which it has only if it exists
        return fail(-1, KVIO_EXISTS, "rename: target file \"%s\" is already existed\n", target);
    FileLock source_lock = FileLock::take(from);
    if (!is_held(source_lock, from, "rename")) return -1;
    FileLock target_lock = FileLock::take_or_create(to);
    if (!is_held(target_lock, to)) return -1;

    errno = EEXIST;  // another process made the target before it was locked
    bool made = target_lock.created() && target_lock.write(to, Bytes());
    bool renamed = made && store::move_file(from.text(), to.text());
    KeptErrno reason;
    if (renamed) {  // a name that is not synced yet is no failure: after a loss of power the file has one of the two
        sync_directory(to.text());
        sync_directory(from.text());
    } else if (target_lock.created() && reason.value != EEXIST) {
        unlink(to.text());  // the empty file is in the way of another try
    }
    source_lock.unlock();
    if (renamed) return succeed(0);
    if (!made && reason.value == EEXIST)
        return fail(-1, KVIO_EXISTS, "rename: target file \"%s\" is already existed\n", target);
    return fail(-1, KVIO_IO, "rename: %s: %s\n", source, std::strerror(reason.value));
}

int kvio_remove_config(const char *name) {
    ConfigPath path(paths::config_directory, name);
    FileLock lock = FileLock::take(path);
    if (!is_held(lock, path, "remove")) return -1;
    bool removed = store::move_file(path.text(), nullptr) && sync_directory(path.text());
    if (removed) return succeed(0);
    return fail(-1, KVIO_IO, "remove: %s: %s\n", name, std::strerror(errno));
}
