// Files: opened without waiting, read and written whole, made without a name until they are complete.
#ifndef KAVEX_BASE_FILES_H
#define KAVEX_BASE_FILES_H

#include <sys/types.h>

#include <cstdio>

#include "base/owned.h"

// A path to the file behind an open descriptor, for calls that take a path.
struct DescriptorName {
    explicit DescriptorName(int fd) noexcept { std::snprintf(text, sizeof text, "/proc/self/fd/%d", fd); }
    char text[32];
};

// Opens a file for reading. Does not wait for a writer where the path is that of a pipe.
Descriptor open_to_read(const char *path) noexcept;

// Opens a file of a directory in which all users may create files. Fails with ENOENT if another user than root and the
// effective one owns the file or a symbolic link at the path, or if others may write the file.
Descriptor open_trusted(const char *path) noexcept;

// fclose() itself has attributes that a template argument would lose.
inline void close_file(std::FILE *file) noexcept { std::fclose(file); }
using File = Owned<std::FILE, close_file>;

// Turns a descriptor into a stream, to be read line by line; null with errno if there is none.
File open_lines(Descriptor descriptor) noexcept;

// Reads up to `size` bytes from an offset, fewer only where the file ends. The number of bytes, or -1 with errno.
ssize_t read_all(int fd, void *bytes, std::size_t size, off_t offset) noexcept;

// Writes all bytes at an offset, or to a stream if that is -1. False with errno, EFBIG before a byte is written where the
// process may not make so large a file.
bool write_all(int fd, const void *bytes, std::size_t size, off_t offset) noexcept;

// Makes an empty file in the directory of a path that no name leads to; none, with errno, where the file system has
// no such files. It is gone with its descriptor unless it is linked.
Descriptor unnamed_file(const char *path, mode_t mode) noexcept;

// Syncs the directory of a path, so that names made or removed in it survive a loss of power; false with errno. A
// directory that the process may not read is left to the system.
bool sync_directory(const char *path) noexcept;

#endif
