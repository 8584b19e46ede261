// What a container leads to through its container members, read once for a call.
//
// Following a member means to find the container of that name among the children of the scope. Done member by member
// that is a walk of the scope each time, and where containers are reached on many paths each path multiplies it. Here
// the scope is walked once, every container is read once, and sizes, loops and entities are then told from these
// records. Nothing recurses: the nesting of a stored document may be deeper than any stack.
#ifndef KAVEX_STORE_NESTING_H
#define KAVEX_STORE_NESTING_H

#include "base/names.h"
#include "store/store.h"

namespace store {

class Nesting {
public:
    enum Detail { containers, entity_names };

    explicit Nesting(const kvio_iterator_t *top) noexcept : top_(top) {}

    // Reads the containers, and the names of their entity members when these are wanted; false when memory is short.
    bool read(Detail detail) noexcept;

    // 1 when a container is reached a second time, 0 when none is; -1 when a direct member of the top leads nowhere,
    // and, with the code for that, when memory is short. Prints the line of every member that leads nowhere.
    int check_loop() const noexcept;

    // Entity members, once for each path that leads to them; -1 with the code. Prints like check_loop().
    int real_size() const noexcept;

    // The entities in order of their first occurrence; false with the code.
    bool collect(Array<xmlNode *> &entities) noexcept;

    // Some container is named more than once: the size can be far beyond what is collected.
    bool is_shared() const noexcept { return shared_; }

private:
    struct Member {
        enum Kind : std::uint32_t { entity, container, missing, nameless };
        const xmlNode *element;
        Kind kind;
        std::uint32_t number;  // of the entity's name, or of the container; NameTable::none if not known
    };

    struct Container {
        const xmlNode *element;
        std::size_t begin, end;  // its members
    };

    // A container on the way down, and the member to go on with.
    struct Frame {
        std::uint32_t container;
        std::size_t next;
        long long value;
    };

    // An entity element, and the next one of the same name in document order.
    struct Entity {
        xmlNode *element;
        std::uint32_t next;
    };

    struct Wanted {
        std::uint32_t times = 0;  // members that name it
        std::uint32_t first = NameTable::none, last = NameTable::none;
    };

    // Texts that are not in the tree in one piece.
    class Texts {
    public:
        Texts() = default;
        Texts(const Texts &) = delete;
        Texts &operator=(const Texts &) = delete;
        ~Texts() {
            for (xmlChar *text : owned_) xmlFree(text);
        }
        // The text for as long as this lives; null when memory is short.
        const char *keep(xml::Text text) noexcept;

    private:
        Array<xmlChar *> owned_;
    };

    bool read_members(std::uint32_t number, Detail detail) noexcept;
    bool read_member(const xmlNode *child, Detail detail) noexcept;
    bool list_scope() noexcept;
    bool list_entities() noexcept;
    void report_missing(const Member &member) const noexcept;
    Frame enter(std::uint32_t container, long long value) const noexcept;

    const kvio_iterator_t *top_;
    Texts texts_;
    Array<Container> read_;  // the top, then the others in the order in which they were met
    Array<Member> members_;
    bool shared_ = false;

    // The containers of the scope that a member can name, listed when the first member asks.
    bool listed_ = false;
    NameTable container_names_;
    Array<const xmlNode *> elements_;
    Array<std::uint32_t> numbers_;  // in read_

    NameTable entity_names_;
    Array<Wanted> wanted_;
    Array<Entity> entities_;
};

}  // namespace store

#endif
