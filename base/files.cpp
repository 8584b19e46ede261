#include "base/files.h"

#include <fcntl.h>

#include <cerrno>

Descriptor open_to_read(const char *path) noexcept { return Descriptor(open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC)); }

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

bool write_all(int fd, const void *bytes, std::size_t size, off_t offset) noexcept {
    for (std::size_t done = 0; done < size;) {
        const char *from = static_cast<const char *>(bytes) + done;
        ssize_t written = pwrite(fd, from, size - done, offset + static_cast<off_t>(done));
        if (written < 0 && errno == EINTR) continue;
        if (written == 0) errno = EIO;
        if (written <= 0) return false;
        done += static_cast<std::size_t>(written);
    }
    return true;
}
