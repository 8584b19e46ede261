// Configuration documents: opened under their lock, saved, closed, and moved about as files.
#include <fcntl.h>
#include <libxml/xmlerror.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#include "base/paths.h"
#include "store/lock.h"
#include "store/store.h"

int kvio_errno = KVIO_OK;

using store::ConfigPath;
using store::FileLock;

namespace {

template <class Result>
Result no_key_for(const ConfigPath &path, Result result) {
    return fail(result, KVIO_NO_KEY, "ftok(%s%s) failed\n", path.directory(), path.name());
}

enum class Copied { all, source_failed, target_failed };

// Copies `size` bytes between two open files; with errno when either side comes up short.
Copied copy_bytes(int from, int to, off_t size) {
    char chunk[4096];
    while (size > 0) {
        ssize_t got = read(from, chunk, static_cast<std::size_t>(std::min<off_t>(size, sizeof chunk)));
        if (got < 0 && errno == EINTR) continue;
        if (got == 0) errno = EIO;  // the file became shorter
        if (got <= 0) return Copied::source_failed;
        for (ssize_t done = 0; done < got;) {
            ssize_t put = write(to, chunk + done, static_cast<std::size_t>(got - done));
            if (put < 0 && errno == EINTR) continue;
            if (put == 0) errno = ENOSPC;
            if (put <= 0) return Copied::target_failed;
            done += put;
        }
        size -= got;
    }
    return Copied::all;
}

// A regular file, opened for reading. Opening does not wait for a writer where the name is that of a pipe.
Descriptor open_source(const char *path, off_t &size) {
    Descriptor file(open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat now;
    if (!file || fstat(file.get(), &now) != 0) return Descriptor();
    size = now.st_size;
    if (S_ISREG(now.st_mode)) return file;
    errno = S_ISDIR(now.st_mode) ? EISDIR : EINVAL;
    return Descriptor();
}

// Copies one file over another. Null, or the name of the file that failed, with errno.
const char *copy_file(const ConfigPath &source, const ConfigPath &target) {
    off_t size;
    Descriptor from = open_source(source.text(), size);
    if (!from) return source.name();
    Descriptor to(open(target.text(), O_WRONLY | O_TRUNC | O_NONBLOCK | O_CLOEXEC));
    if (!to) return target.name();
    Copied copied = copy_bytes(from.get(), to.get(), size);
    if (copied == Copied::source_failed) return source.name();
    return copied == Copied::all && to.close() == 0 ? nullptr : target.name();
}

// Makes a missing configuration from the template, if there is one. The file gets its name when it is complete, with
// link(2), which never replaces another one. Until then it has a short name in the same directory: with the
// configuration's own in it, it could be too long.
void create_from_template(const ConfigPath &path) {
    off_t size;
    Descriptor from = open_source(paths::system_default_template, size);
    if (!from) return;
    char temporary[4096];
    int directory = static_cast<int>(std::strrchr(path.text(), '/') - path.text());
    int length = std::snprintf(temporary, sizeof temporary, "%.*s/.new.XXXXXX", directory, path.text());
    if (length >= static_cast<int>(sizeof temporary)) return;
    Descriptor to(mkostemp(temporary, O_CLOEXEC));
    if (!to) return;
    if (copy_bytes(from.get(), to.get(), size) == Copied::all && fdatasync(to.get()) == 0 && to.close() == 0)
        link(temporary, path.text());
    unlink(temporary);
}

// The empty file that stands for a rename's target until the source takes its place.
bool is_placeholder(const ConfigPath &path) {
    struct stat now;
    return stat(path.text(), &now) == 0 && now.st_size == 0;
}

void keep_silent(void *, const char *, ...) {}

}  // namespace

void kvio_initialize() { xmlSetGenericErrorFunc(nullptr, keep_silent); }

kvio_config_t *kvio_open_config(const char *name, int flags) {
    bool in_system_directory = name && same(name, paths::system_default);
    ConfigPath path(in_system_directory ? paths::system_directory : paths::config_directory, name);
    if (flags == KVIO_CREATE && path.key() == -1 && errno == ENOENT) {
        say("%s is not existed. Creating from template\n", name);
        create_from_template(path);
    }
    FileLock lock(path);
    if (lock.status() == FileLock::no_key) return no_key_for(path, nullptr);
    if (lock.status() == FileLock::busy && lock.reason() == EEXIST)
        return fail(nullptr, KVIO_LOCKED, "%s is locked.\n", name);
    if (lock.status() == FileLock::busy) return fail(nullptr, KVIO_LOCKED, "error on semget()\n");

    store::Config config(zeroed<kvio_config_t>().release());
    if (!config) {
        lock.unlock();
        return fail(nullptr, KVIO_NO_MEMORY, "No memory\n");
    }
    copy_if_fits(config->path, sizeof config->path, path.text());
    config->doc = xml::parse(path.text()).release();
    if (!config->doc) {
        lock.unlock();
        return fail(nullptr, KVIO_MALFORMED, "%s is not well-formed\n", path.text());
    }
    config->semid = lock.release();
    say("%s success. (%s, %d)\n", __func__, config->path, config->semid);
    return succeed(config.release());
}

int kvio_save_config(kvio_config_t *config) {
    if (!config) return fail(-1, KVIO_NULL_CONFIG, "%s error: passing NULL argument\n", __func__);
    int written = xml::write(config->doc, config->path, 0600);
    if (written < 0) return fail(-1, KVIO_IO, "Problem occurred on saving XML to %s\n", config->path);
    return succeed(written);
}

int kvio_save_as(kvio_config_t *config, const char *name) {
    if (!config) return fail(-1, KVIO_NULL_CONFIG, "%s error: passing NULL argument\n", __func__);
    ConfigPath path(paths::config_directory, name);
    FileLock lock(path, FileLock::is_created);
    if (lock.status() == FileLock::no_key) return no_key_for(path, -1);
    if (lock.status() == FileLock::busy) {
        say("system error message: %s\n", std::strerror(lock.reason()));
        return fail(-1, KVIO_LOCKED, "%s is opened by other instance\n", name);
    }
    int written = xml::write(config->doc, path.text(), 0600);
    if (written < 0) {
        lock.unlock();
        return fail(-1, KVIO_IO, "Problem occurred on saving XML to %s\n", name);
    }
    if (config->semid >= 0) FileLock::remove(config->semid);
    config->semid = lock.release();
    copy_if_fits(config->path, sizeof config->path, path.text());
    return succeed(written);
}

int kvio_close_config(kvio_config_t *config) {
    if (!config) return fail(-1, KVIO_NULL_CONFIG, "%s error: passing NULL argument\n", __func__);
    kvio_errno = KVIO_OK;
    FileLock::remove(config->semid);
    say("Semaphore %d is removed\n", config->semid);
    store::free_config(config);
    return -1;
}

int kvio_copy_config(const char *source, const char *target) {
    ConfigPath from(paths::config_directory, source), to(paths::config_directory, target);
    FileLock source_lock(from);
    if (source_lock.status() == FileLock::no_key) {
        if (source_lock.reason() == ENOENT) return fail(-1, KVIO_NO_FILE, "copy: %s is not existed\n", source);
        return no_key_for(from, -1);
    }
    if (source_lock.status() == FileLock::busy) return fail(-1, KVIO_LOCKED, "%s is being opened\n", source);
    FileLock target_lock(to, FileLock::is_created);
    if (target_lock.status() == FileLock::no_key) return no_key_for(to, -1);
    if (target_lock.status() == FileLock::busy) return fail(-1, KVIO_LOCKED, "%s is being opened\n", target);

    const char *failed = copy_file(from, to);
    int reason = errno;
    source_lock.unlock();
    target_lock.unlock();
    if (failed) return fail(-1, KVIO_IO, "copy: %s: %s\n", failed, std::strerror(reason));
    return succeed(0);
}

int kvio_rename_config(const char *source, const char *target) {
    ConfigPath from(paths::config_directory, source), to(paths::config_directory, target);
    if (to.key() != -1)  // which it has only if it exists
        return fail(-1, KVIO_EXISTS, "rename: target file \"%s\" is already existed\n", target);
    FileLock source_lock(from);
    if (source_lock.status() == FileLock::no_key) {
        if (source_lock.reason() == ENOENT) return fail(-1, KVIO_NO_FILE, "rename: %s is not existed\n", source);
        return no_key_for(from, -1);
    }
    if (source_lock.status() == FileLock::busy) return fail(-1, KVIO_LOCKED, "%s is being opened\n", source);
    FileLock target_lock(to, FileLock::is_created);
    if (target_lock.status() == FileLock::no_key) return no_key_for(to, -1);
    if (target_lock.status() == FileLock::busy) return fail(-1, KVIO_LOCKED, "%s is being opened\n", target);

    // Until the lock was taken somebody else may have put a configuration there.
    bool taken = !target_lock.created() || !is_placeholder(to);
    bool renamed = !taken && std::rename(from.text(), to.text()) == 0;
    int reason = errno;
    if (!taken && !renamed) unlink(to.text());  // in the way of another try
    source_lock.unlock();
    target_lock.unlock();
    if (taken) return fail(-1, KVIO_EXISTS, "rename: target file \"%s\" is already existed\n", target);
    if (!renamed) return fail(-1, KVIO_IO, "rename: %s: %s\n", source, std::strerror(reason));
    return succeed(0);
}

int kvio_remove_config(const char *name) {
    ConfigPath path(paths::config_directory, name);
    FileLock lock(path);
    if (lock.status() == FileLock::no_key) {
        if (lock.reason() == ENOENT) return fail(-1, KVIO_NO_FILE, "remove: %s is not existed\n", name);
        return no_key_for(path, -1);
    }
    if (lock.status() == FileLock::busy) return fail(-1, KVIO_LOCKED, "%s is being opened\n", name);
    bool removed = unlink(path.text()) == 0;
    int reason = errno;
    lock.unlock();
    if (!removed) return fail(-1, KVIO_IO, "remove: %s: %s\n", name, std::strerror(reason));
    return succeed(0);
}
