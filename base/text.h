// Texts: compared, copied into fixed buffers, and read as numbers.
#ifndef KAVEX_BASE_TEXT_H
#define KAVEX_BASE_TEXT_H

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

// Whether two texts are equal. Most texts differ in the first byte, which needs no call.
inline bool same(const char *a, const char *b) noexcept { return *a == *b && std::strcmp(a, b) == 0; }

// A null text in a message.
inline const char *shown(const char *text) noexcept { return text ? text : "(null)"; }

inline bool empty(const char *text) noexcept { return !text || !*text; }

// Copies text with its NUL when it fits, and leaves the buffer alone when it does not.
inline bool copy_if_fits(char *buffer, std::size_t size, const char *text) noexcept {
    std::size_t length = strnlen(text, size);
    if (length >= size) return false;
    std::memcpy(buffer, text, length + 1);
    return true;
}

// Numbers as the 32-bit target reads them: strtol and strtoul of base 10, saturated at 32 bits.
inline std::int32_t to_int32(const char *text) noexcept {
    return static_cast<std::int32_t>(std::clamp<long>(std::strtol(text, nullptr, 10), INT32_MIN, INT32_MAX));
}

// A text with a minus sign is negated within 32 bits, as strtoul does where a long has 32.
inline std::uint32_t to_uint32(const char *text) noexcept {
    constexpr long long most = UINT32_MAX;
    long long value = std::strtoll(text, nullptr, 10);
    return static_cast<std::uint32_t>(value < -most || value > most ? most : value);
}

#endif
