// A table from names to numbers, built and dropped within one call.
#ifndef KAVEX_BASE_NAMES_H
#define KAVEX_BASE_NAMES_H

#include <cstdint>
#include <cstring>

#include "base/array.h"
#include "base/text.h"

// Numbers names in the order in which they come first: 0, 1, 2, ... The texts are kept by their address.
class NameTable {
public:
    static constexpr std::uint32_t none = UINT32_MAX;

    // The number of a name, none if it has not come.
    std::uint32_t find(const char *name) const noexcept { return find(name, hash_of(name)); }

    // The number of a name that comes now; none when memory is short.
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

    std::size_t size() const noexcept { return names_.size(); }

private:
    struct Slot {
        std::uint32_t hash;
        std::uint32_t number;
    };

    // Hashing is most of the work. It goes by four bytes; the last four may overlap those before them.
    static std::uint32_t hash_of(const char *text) noexcept {
        std::size_t length = std::strlen(text);
        std::uint32_t hash = static_cast<std::uint32_t>(length);
        if (length < 4) {
            for (; *text; ++text) hash = mixed(hash, static_cast<unsigned char>(*text));
            return hash;
        }
        const char *last = text + length - 4;
        for (; text < last; text += 4) hash = mixed(hash, four_bytes(text));
        return mixed(hash, four_bytes(last));
    }

    static std::uint32_t four_bytes(const char *text) noexcept {
        std::uint32_t word;
        std::memcpy(&word, text, sizeof word);
        return word;
    }

    // A product's high bits depend on all bits, its low bits on low ones only; a slot is made of low bits.
    static std::uint32_t mixed(std::uint32_t hash, std::uint32_t word) noexcept {
        hash = (hash ^ word) * 0x9E3779B1u;
        return hash ^ hash >> 15;
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
