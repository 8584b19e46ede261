// What the fuzzers share: parts of an input, files at their real paths, the shared buffer with its lock, and a check
// that ends the program like a crash.
#ifndef KAVEX_FUZZ_FUZZ_H
#define KAVEX_FUZZ_FUZZ_H

#include <kavex/users.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

// What must hold for any input. The fuzzer keeps the input for which it does not.
#define MUST(condition) ((condition) ? static_cast<void>(0) : fuzz::broken(#condition, __FILE__, __LINE__))

namespace fuzz {

[[noreturn]] void broken(const char *condition, const char *file, int line);

// Cuts an input at a line "%%": the part before it; `rest` is what follows, empty if there is no such line.
std::string_view cut(std::string_view &rest);

// The same as a C string, up to the first NUL, in a block of exactly its size so that every byte beyond is noticed.
std::unique_ptr<char[]> text_of(std::string_view part);

void write_file(const char *path, std::string_view bytes);

// The value of the buffer lock, which is made before the first input. It is 1, free, between two calls.
int lock_value();

// Makes the shared buffer, once for the whole run.
auth_buffer_t *make_buffer();

}  // namespace fuzz

#endif
