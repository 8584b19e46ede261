// Account, settings and template files: opened, and refused where another user could have written them.
#ifndef KAVEX_USERS_FILE_H
#define KAVEX_USERS_FILE_H

#include <kavex/store.h>

#include <cstdio>

#include "base/files.h"

// fclose() itself has attributes that a template argument would lose.
inline void close_file(std::FILE *file) { std::fclose(file); }

using File = Owned<std::FILE, close_file>;
using Snapshot = Owned<kvio_config_t, kvio_close_config>;

// Opens a file of a directory in which all users may create files. Fails with ENOENT if another user than root and the
// effective one owns the file or a symbolic link at the path, or if others may write the file.
Descriptor open_trusted(const char *path);

// Turns a descriptor into a stream, to be read line by line; null with errno if there is none.
File open_lines(Descriptor descriptor);

// A snapshot of a template file; null with errno, and with the store's line on the standard error stream, if it cannot
// be read or open_trusted() refuses it.
Snapshot open_template(const char *path);

#endif
