// Owning types. A destructor is the only clean-up code of this library; release() marks the one line where
// ownership goes to the caller.
#ifndef KAVEX_BASE_OWNED_H
#define KAVEX_BASE_OWNED_H

#include <unistd.h>

#include <cstdlib>
#include <memory>

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

// An open file descriptor, or -1.
class Descriptor {
public:
    explicit Descriptor(int fd = -1) noexcept : fd_(fd) {}
    Descriptor(Descriptor &&other) noexcept : fd_(other.release()) {}
    Descriptor &operator=(Descriptor &&other) noexcept {
        if (this != &other) {
            close();
            fd_ = other.release();
        }
        return *this;
    }
    ~Descriptor() { close(); }

    explicit operator bool() const noexcept { return fd_ >= 0; }
    int get() const noexcept { return fd_; }
    int release() noexcept {
        int fd = fd_;
        fd_ = -1;
        return fd;
    }

    // Closes now, for callers to whom the result matters; 0, or -1 with errno.
    int close() noexcept {
        int fd = release();
        return fd < 0 ? 0 : ::close(fd);
    }

private:
    int fd_;
};

#endif
