// Account and settings files, read line by line.
#ifndef KAVEX_USERS_FILE_H
#define KAVEX_USERS_FILE_H

#include <cstdio>

#include "base/files.h"

// fclose() itself has attributes that a template argument would lose.
inline void close_file(std::FILE *file) { std::fclose(file); }

using File = Owned<std::FILE, close_file>;

// Two of these files lie where everybody may write: opening does not wait where somebody has put a pipe.
inline File open_lines(const char *path) {
    Descriptor descriptor = open_to_read(path);
    File file(descriptor ? fdopen(descriptor.get(), "r") : nullptr);
    if (file) descriptor.release();
    return file;
}

#endif
