// Whole documents as bytes and as files, for `dump`, `backup` and `edit`.
#ifndef KAVEX_TOOLS_FILES_H
#define KAVEX_TOOLS_FILES_H

#include <string>

#include "document.h"

namespace kvio {

// What kvio_dump() writes, or kvio_backup_scope() for a scope that is not empty.
std::string bytes_of(const Document &document, const std::string &scope);

// Writes a file of mode 0600, complete or not at all. A pipe takes the bytes as they are; "" and "-" are standard output.
void write_file(const std::string &path, const std::string &bytes);

// Makes what is missing of a path of scopes, and returns the innermost.
Element made_scope(Document &document, const std::string &path);

}  // namespace kvio

#endif
