// The life of a configuration document: opened under its lock, saved, moved to another name, closed.
#include <libxml/xmlerror.h>

#include <cerrno>

#include "base/paths.h"
#include "store/store.h"

int kvio_errno = KVIO_OK;

using store::ConfigPath;
using store::FileLock;

namespace {

void keep_silent(void *, const char *, ...) {}

// Locks a configuration, which is made from the template where it is missing and `flags` ask for that. Where it cannot
// be locked the code is set and the line is printed.
FileLock lock_to_open(const ConfigPath &path, const char *name, int flags) {
    FileLock lock = FileLock::take(path);
    if (lock.status() == FileLock::no_key && lock.reason() == ENOENT && flags == KVIO_CREATE) {
        say("%s is not existed. Creating from template\n", name);
        lock = store::create_from_template(path);
    }
    if (lock.status() == FileLock::held) return lock;
    errno = lock.reason();
    if (lock.status() == FileLock::no_key && errno == ENOMEM)
        fail(0, KVIO_NO_MEMORY, "No memory\n");
    else if (lock.status() == FileLock::no_key)
        store::no_key_for(path, lock, 0);
    else if (errno == EEXIST)
        fail(0, KVIO_LOCKED, "%s is locked.\n", name);
    else
        fail(0, KVIO_LOCKED, "error on semget()\n");
    return lock;
}

int opened_by_other(const char *name) {
    say("system error message: %s\n", std::strerror(errno));
    return fail(-1, KVIO_LOCKED, "%s is opened by other instance\n", name);
}

}  // namespace

void kvio_initialize() { xmlSetGenericErrorFunc(nullptr, keep_silent); }

kvio_config_t *kvio_open_config(const char *name, int flags) {
    bool in_system_directory = name && same(name, paths::system_default);
    ConfigPath path(in_system_directory ? paths::system_directory : paths::config_directory, name);
    FileLock lock = lock_to_open(path, name, flags);
    if (lock.status() != FileLock::held) return nullptr;

    auto config = zeroed<store::Config>();
    if (!config) return fail(nullptr, KVIO_NO_MEMORY, "No memory\n");
    copy_if_fits(config->path, sizeof config->path, path.text());
    config->doc = xml::parse(path.text(), true).release();
    if (!config->doc) return fail(nullptr, KVIO_MALFORMED, "%s is not well-formed\n", path.text());
    config->semid = lock.release();
    say("%s success. (%s, %d)\n", __func__, config->path, config->semid);
    return succeed(config.release());
}

int kvio_save_config(kvio_config_t *config) {
    if (!config) return fail(-1, KVIO_NULL_CONFIG, "%s error: passing NULL argument\n", __func__);
    auto redo = config->semid < 0 ? store::RedoFile::is_removed : store::RedoFile::stays;
    return store::save(config->doc, config->path, 0600, redo, __func__);
}

int kvio_save_as(kvio_config_t *config, const char *name) {
    if (!config) return fail(-1, KVIO_NULL_CONFIG, "%s error: passing NULL argument\n", __func__);
    ConfigPath path(paths::config_directory, name);
    FileLock lock = FileLock::take_or_create(path);
    if (lock.status() == FileLock::no_key) return store::no_key_for(path, lock, -1);
    errno = lock.reason();
    if (lock.status() == FileLock::busy) return opened_by_other(name);
    Bytes bytes;
    if (!store::serialise(config->doc, bytes, __func__) || !lock.write(path, bytes)) {
        if (errno == EEXIST) return opened_by_other(name);
        KeptErrno reason;
        if (lock.created()) lock.write(path, Bytes());  // it stays, empty
        return fail(-1, KVIO_IO, "Problem occurred on saving XML to %s\n", name);
    }
    if (config->semid >= 0) FileLock::remove(config->semid);
    config->semid = lock.release();
    copy_if_fits(config->path, sizeof config->path, path.text());
    return succeed(static_cast<int>(bytes.size()));
}

int kvio_close_config(kvio_config_t *config) {
    if (!config) return fail(-1, KVIO_NULL_CONFIG, "%s error: passing NULL argument\n", __func__);
    kvio_errno = KVIO_OK;
    FileLock::remove(config->semid);
    say("Semaphore %d is removed\n", config->semid);
    store::free_config(config);
    return -1;
}
