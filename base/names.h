// A hash table from names to numbers.
#ifndef KAVEX_BASE_NAMES_H
#define KAVEX_BASE_NAMES_H

#include <cstdint>

#include "base/array.h"
#include "base/text.h"

// Numbers names in the order in which they are first added: 0, 1, 2, ... The table keeps the addresses of the texts,
// not copies.
class NameTable {
public:
    static constexpr std::uint32_t none = UINT32_MAX;

    // The number of a name; none if it was not added.
    std::uint32_t find(const char *name) const noexcept { return find(name, hash_of(name)); }

    // Adds a name unless it is there. Returns its number; none when memory is short.
    std::uint32_t add(const char *name) noexcept {
        std::uint32_t hash = hash_of(name);
        std::uint32_t number = find(name, hash);
        if (number != none) return number;
        if (2 * (names_.size() + 1) > slots_.size() && !grow()) return none;
        number = static_cast<std::uint32_t>(names_.size());
        if (!names_.push(name)) return none;
        place({hash, number});
        return number;
    }

private:
    struct Slot {
        std::uint32_t hash;
        std::uint32_t number;
    };

    // FNV-1a.
    static std::uint32_t hash_of(const char *text) noexcept {
        std::uint32_t hash = 2166136261u;
        for (; *text; ++text) hash = (hash ^ static_cast<unsigned char>(*text)) * 16777619u;
        return hash;
    }

    std::uint32_t find(const char *name, std::uint32_t hash) const noexcept {
        if (slots_.empty()) return none;
        for (std::size_t at = hash & mask();; at = (at + 1) & mask()) {
            Slot slot = slots_[at];
            if (slot.number == none) return none;
            if (slot.hash == hash && same(names_[slot.number], name)) return slot.number;
        }
    }

    std::size_t mask() const noexcept { return slots_.size() - 1; }

    void place(Slot slot) noexcept {
        std::size_t at = slot.hash & mask();
        while (slots_[at].number != none) at = (at + 1) & mask();
        slots_[at] = slot;
    }

    bool grow() noexcept {
        Array<Slot> old = std::move(slots_);
        std::size_t size = old.empty() ? 16 : 4 * old.size();
        if (!slots_.fill(size, {0, none})) {
            slots_ = std::move(old);
            return false;
        }
        for (Slot slot : old)
            if (slot.number != none) place(slot);
        return true;
    }

    Array<const char *> names_;
    Array<Slot> slots_;  // a power of two of them, at most half in use
};

#endif
