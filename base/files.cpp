#include "base/files.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <cstring>

#include "base/text.h"

namespace {

Descriptor open_directory_of(const char *path, int flags, mode_t mode) noexcept {
    char directory[PATH_MAX];
    const char *slash = std::strrchr(path, '/');
    const int length = slash ? static_cast<int>(slash - path) + 1 : 0;
    errno = ENAMETOOLONG;
    if (length + 1 >= PATH_MAX) return Descriptor();
    std::snprintf(directory, sizeof directory, "%.*s.", length, path);
    return Descriptor(open(directory, flags | O_CLOEXEC, mode));
}

}  // namespace

Descriptor open_to_read(const char *path) noexcept { return Descriptor(open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC)); }

// In a directory with the sticky bit others cannot replace what is checked here, neither the file nor a link to it, so
// that the path may be opened again afterwards.
Descriptor open_trusted(const char *path) noexcept {
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

File open_lines(Descriptor descriptor) noexcept {
    File file(descriptor ? fdopen(descriptor.get(), "r") : nullptr);
    if (file) descriptor.release();
    return file;
}

ssize_t read_all(int fd, void *bytes, std::size_t size, off_t offset) noexcept {
    std::size_t done = 0;
    while (done < size) {
        ssize_t got = pread(fd, static_cast<char *>(bytes) + done, size - done, offset + static_cast<off_t>(done));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return -1;
        if (got == 0) break;
        done += static_cast<std::size_t>(got);
    }
    return static_cast<ssize_t>(done);
}

// Bytes beyond the limit on file sizes would be cut off in the middle, and raise SIGXFSZ.
bool write_all(int fd, const void *bytes, std::size_t size, off_t offset) noexcept {
    rlimit limit;
    if (getrlimit(RLIMIT_FSIZE, &limit) == 0 && offset >= 0 && static_cast<rlim_t>(offset) + size > limit.rlim_cur)
        return refuse(EFBIG);
    for (std::size_t done = 0; done < size;) {
        const char *from = static_cast<const char *>(bytes) + done;
        ssize_t written = offset < 0 ? write(fd, from, size - done)
                                     : pwrite(fd, from, size - done, offset + static_cast<off_t>(done));
        if (written < 0 && errno == EINTR) continue;
        if (written == 0) errno = EIO;
        if (written <= 0) return false;
        done += static_cast<std::size_t>(written);
    }
    return true;
}

Descriptor unnamed_file(const char *path, mode_t mode) noexcept {
    return open_directory_of(path, O_RDWR | O_TMPFILE, mode);
}

bool sync_directory(const char *path) noexcept {
    Descriptor directory = open_directory_of(path, O_RDONLY | O_DIRECTORY, 0);
    if (!directory) return errno == EACCES;
    return fsync(directory.get()) == 0 || errno == EINVAL;
}
