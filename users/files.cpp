// Files opened, and refused where another user could have written them.
#include <sys/stat.h>

#include <cerrno>

#include "users/users.h"

// In a directory with the sticky bit others cannot replace what is checked here, neither the file nor a link to it, so
// that the path may be opened again afterwards.
Descriptor open_trusted(const char *path) {
    auto is_ours = [](const struct stat &status) { return status.st_uid == 0 || status.st_uid == geteuid(); };
    struct stat entry, file;
    if (lstat(path, &entry) < 0) return Descriptor();
    Descriptor descriptor = open_to_read(path);
    if (!descriptor) return descriptor;
    if (is_ours(entry) && fstat(descriptor.get(), &file) == 0 && is_ours(file) && !(file.st_mode & S_IWOTH))
        return descriptor;
    errno = ENOENT;
    return Descriptor();
}

File open_lines(Descriptor descriptor) {
    File file(descriptor ? fdopen(descriptor.get(), "r") : nullptr);
    if (file) descriptor.release();
    return file;
}
