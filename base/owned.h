// Owning types. A destructor is the only clean-up code of this library; release() marks the one line where
// ownership goes to the caller.
#ifndef KAVEX_BASE_OWNED_H
#define KAVEX_BASE_OWNED_H

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <utility>

template <auto Release>
struct Releaser {
    template <class T>
    void operator()(T *object) const noexcept {
        Release(object);
    }
};

template <class T, auto Release>
using Owned = std::unique_ptr<T, Releaser<Release>>;

// A block from malloc, calloc, realloc or strdup.
template <class T>
using Block = Owned<T, std::free>;

// A zero-filled record on the heap, by its owning type; null when memory is short.
template <class Owner>
Owner zeroed() {
    using T = typename Owner::element_type;
    return Owner(static_cast<T *>(std::calloc(1, sizeof(T))));
}

// What the system knows by a number, such as an open file; or -1.
template <auto Release>
class Number {
public:
    explicit Number(int number = -1) noexcept : number_(number) {}
    Number(Number &&other) noexcept : number_(other.release()) {}
    Number &operator=(Number &&other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Number() { close(); }

    explicit operator bool() const noexcept { return number_ >= 0; }
    int get() const noexcept { return number_; }
    int release() noexcept { return std::exchange(number_, -1); }

    // Releases it now, for callers to whom the result or the order matters; 0, or -1 with errno.
    int close() noexcept {
        int number = release();
        return number < 0 ? 0 : Release(number);
    }

private:
    int number_;
};

using Descriptor = Number<::close>;

// Keeps errno, the reason of a failure, during what is done after it.
struct KeptErrno {
    const int value = errno;
    ~KeptErrno() { errno = value; }
};

// Fails for a reason: return refuse(EFBIG).
inline bool refuse(int reason) noexcept {
    errno = reason;
    return false;
}

#endif
