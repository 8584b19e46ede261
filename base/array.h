// A growing array of plain records, for code that has to live with malloc failing.
#ifndef KAVEX_BASE_ARRAY_H
#define KAVEX_BASE_ARRAY_H

#include <sys/mman.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <type_traits>
#include <utility>

// Where an array lies: on the heap.
struct Heap {
    static void *resize(void *block, std::size_t, std::size_t size) noexcept { return std::realloc(block, size); }
    static void release(void *block, std::size_t) noexcept { std::free(block); }
};

// Or in pages of its own, for the contents of files: on the heap their holes would have all its free blocks sorted.
struct Pages {
    static void *resize(void *pages, std::size_t before, std::size_t size) noexcept {
        pages = pages ? mremap(pages, before, size, MREMAP_MAYMOVE)
                      : mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
        return pages == MAP_FAILED ? nullptr : pages;
    }
    static void release(void *pages, std::size_t size) noexcept {
        if (pages) munmap(pages, size);
    }
};

template <class T, class Memory = Heap>
class Array {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    Array() = default;
    ~Array() { Memory::release(records_, capacity_ * sizeof(T)); }
    Array(Array &&other) noexcept { *this = std::move(other); }
    Array &operator=(Array &&other) noexcept {
        std::swap(records_, other.records_);
        std::swap(size_, other.size_);
        std::swap(capacity_, other.capacity_);
        return *this;
    }

    // Appends a record, which is none of the array's; false when memory is short, with the array as it was.
    bool push(const T &record) noexcept {
        if (size_ == capacity_ && !reserve(capacity_ ? 2 * capacity_ : 16)) return false;
        records_[size_++] = record;
        return true;
    }

    // Appends copies of records; false when memory is short, with the array as it was.
    bool append(const T *records, std::size_t count) noexcept {
        if (count > capacity_ - size_ && !reserve(std::max(2 * capacity_, size_ + count))) return false;
        if (count) std::memcpy(records_ + size_, records, count * sizeof(T));
        size_ += count;
        return true;
    }

    // Room for that many records in all.
    bool reserve(std::size_t capacity) noexcept {
        if (capacity <= capacity_) return true;
        std::size_t bytes;
        if (__builtin_mul_overflow(capacity, sizeof(T), &bytes)) return false;
        void *grown = Memory::resize(records_, capacity_ * sizeof(T), bytes);
        if (!grown) return false;
        records_ = static_cast<T *>(grown);
        capacity_ = capacity;
        return true;
    }

    // Makes the array this long; records that are new are not set. False when memory is short.
    bool resize(std::size_t size) noexcept {
        if (!reserve(size)) return false;
        size_ = size;
        return true;
    }

    // Keeps the first `size` records.
    void shorten(std::size_t size) noexcept { size_ = size; }

    void pop() noexcept { --size_; }
    T &top() noexcept { return records_[size_ - 1]; }

    T &operator[](std::size_t index) noexcept { return records_[index]; }
    const T &operator[](std::size_t index) const noexcept { return records_[index]; }
    std::size_t size() const noexcept { return size_; }
    bool empty() const noexcept { return size_ == 0; }

    T *begin() noexcept { return records_; }
    T *end() noexcept { return records_ + size_; }
    const T *begin() const noexcept { return records_; }
    const T *end() const noexcept { return records_ + size_; }

private:
    T *records_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

using Bytes = Array<char, Pages>;

#endif
