// Account and settings files, read line by line.
#ifndef KAVEX_USERS_FILE_H
#define KAVEX_USERS_FILE_H

#include <cstdio>

#include "base/owned.h"

// fclose() itself has attributes that a template argument would lose.
inline void close_file(std::FILE *file) { std::fclose(file); }

using File = Owned<std::FILE, close_file>;

inline File open_to_read(const char *path) { return File(std::fopen(path, "re")); }

#endif
