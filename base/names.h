// A hash table from texts to small records.
#ifndef KAVEX_BASE_NAMES_H
#define KAVEX_BASE_NAMES_H

#include <cstdint>

#include "base/array.h"

// FNV-1a, but never 0.
inline std::uint32_t hash_of(const char *text) noexcept {
    std::uint32_t hash = 2166136261u;
    for (; *text; ++text) hash = (hash ^ static_cast<unsigned char>(*text)) * 16777619u;
    return hash ? hash : 1;
}

// The table keeps the hash of each text and a value, not the text: the caller compares the text that goes with a value.
template <class Value>
class NameTable {
public:
    // Returns the first value added with this hash for which `is_it` is true; null if there is none.
    template <class Is>
    Value *find(std::uint32_t hash, Is is_it) noexcept {
        if (slots_.empty()) return nullptr;
        std::size_t at = hash & mask();
        for (; slots_[at].hash; at = (at + 1) & mask())
            if (slots_[at].hash == hash && is_it(slots_[at].value)) return &slots_[at].value;
        return nullptr;
    }

    // Removes a value that find() has returned for this hash. What was placed behind it is placed anew.
    void remove(std::uint32_t hash, const Value *value) noexcept {
        std::size_t at = hash & mask();
        while (&slots_[at].value != value) at = (at + 1) & mask();
        slots_[at].hash = 0;
        --size_;
        for (at = (at + 1) & mask(); slots_[at].hash; at = (at + 1) & mask())
            place(std::exchange(slots_[at], Slot{0, Value()}));
    }

    // Adds a value; false when memory is short, with the table as it was. A full table grows by this factor: 4 where it
    // lives shortly, 2 where it is to be small.
    bool add(std::uint32_t hash, Value value, std::size_t growth = 4) noexcept {
        if (4 * (size_ + 1) > 3 * slots_.size() && !grow(growth)) return false;
        place({hash, value});
        ++size_;
        return true;
    }

    bool empty() const noexcept { return size_ == 0; }

private:
    struct Slot {
        std::uint32_t hash;  // 0 in a free slot
        Value value;
    };

    std::size_t mask() const noexcept { return slots_.size() - 1; }

    void place(Slot slot) noexcept {
        std::size_t at = slot.hash & mask();
        while (slots_[at].hash) at = (at + 1) & mask();
        slots_[at] = slot;
    }

    bool grow(std::size_t times) noexcept {
        Array<Slot> old;
        if (!old.resize(slots_.empty() ? 16 : times * slots_.size())) return false;
        std::fill(old.begin(), old.end(), Slot{0, Value()});
        std::swap(slots_, old);
        std::size_t start = 0;  // a free slot, so that values of one hash keep their order
        while (start < old.size() && old[start].hash) ++start;
        for (std::size_t i = 0; i < old.size(); ++i) {
            Slot slot = old[(start + i) & (old.size() - 1)];
            if (slot.hash) place(slot);
        }
        return true;
    }

    Array<Slot> slots_;  // a power of two of them, at most three quarters in use
    std::size_t size_ = 0;
};

#endif
