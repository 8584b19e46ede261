// The one place where an internal failure becomes the public one: a code in kvio_errno and at most one line on the
// standard error stream.
#ifndef KAVEX_STORE_ERROR_H
#define KAVEX_STORE_ERROR_H

#include <cstdarg>
#include <cstdio>

#include "base/text.h"
#include "kavex/store.h"

// Prints a line that changes no result and no code.
[[gnu::format(printf, 1, 2)]] inline void say(const char *format, ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
}

// Sets the code, prints the line and gives the result back: return fail(0, KVIO_EXISTS, "%s error: ...\n", who).
template <class Result>
[[gnu::format(printf, 3, 4)]] Result fail(Result result, kvio_code code, const char *format, ...) noexcept {
    kvio_errno = code;
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
    return result;
}

// For failures that have no line.
template <class Result>
Result fail(Result result, kvio_code code) noexcept {
    kvio_errno = code;
    return result;
}

template <class Result>
Result succeed(Result result) noexcept {
    kvio_errno = KVIO_OK;
    return result;
}

#endif
