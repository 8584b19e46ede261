// Work that must not end in the middle.
#ifndef KAVEX_STORE_UNINTERRUPTED_H
#define KAVEX_STORE_UNINTERRUPTED_H

namespace store {

// Calls work(argument), which makes system calls only, and gives its result back. No signal stops it half-way, not even
// one that kills this process: see uninterrupted.cpp.
bool uninterrupted(bool (*work)(void *), void *argument) noexcept;

// The same for a callable.
template <class Work>
bool uninterrupted(Work work) noexcept {
    return uninterrupted([](void *callable) { return (*static_cast<Work *>(callable))(); }, &work);
}

}  // namespace store

#endif
