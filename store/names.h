// A table from names to numbers, built and dropped within one call.
#ifndef KAVEX_STORE_NAMES_H
#define KAVEX_STORE_NAMES_H

#include <cstdint>
#include <cstring>

#include "base/array.h"
#include "base/text.h"

namespace store {

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
        if (!names_.push({name, hash})) return none;
        place(number);
        return number;
    }

    std::size_t size() const noexcept { return names_.size(); }

private:
    struct Name {
        const char *text;
        std::uint32_t hash;
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
        for (std::uint32_t slot = hash & mask();; slot = (slot + 1) & mask()) {
            std::uint32_t number = slots_[slot];
            if (number == none) return none;
            if (names_[number].hash == hash && same(names_[number].text, name)) return number;
        }
    }

    std::uint32_t mask() const noexcept { return static_cast<std::uint32_t>(slots_.size() - 1); }

    void place(std::uint32_t number) noexcept {
        std::uint32_t slot = names_[number].hash & mask();
        while (slots_[slot] != none) slot = (slot + 1) & mask();
        slots_[slot] = number;
    }

    bool grow() noexcept {
        std::size_t size = slots_.empty() ? 16 : 2 * slots_.size();
        Array<std::uint32_t> larger;
        if (!larger.reserve(size)) return false;
        while (larger.size() < size) larger.push(none);
        slots_ = std::move(larger);
        for (std::uint32_t number = 0; number < names_.size(); ++number) place(number);
        return true;
    }

    Array<Name> names_;
    Array<std::uint32_t> slots_;  // a power of two of them, at most half in use
};

}  // namespace store

#endif
