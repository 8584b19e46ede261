// What a container leads to through its container members: loops, sizes, and the entities in order.
//
// Every operation is a walk over the tree with an explicit stack: the nesting of a stored document may be deeper than
// the stack of a thread. The containers of the scope are listed by name once, so that following a member does not search
// the scope.
#ifndef KAVEX_STORE_NESTING_H
#define KAVEX_STORE_NESTING_H

#include "base/function.h"
#include "base/names.h"
#include "store/store.h"

namespace store {

class Nesting {
public:
    explicit Nesting(const kvio_iterator_t *top) noexcept : top_(top) {}

    // Returns 1 when a container is reached a second time, 0 when none is; -1 when a direct member of the top has no
    // name or names no container, and, with code 2, when memory is short. Prints the line of every member that names no
    // container.
    int check_loop() noexcept;

    // Counts the entity members, once for each path that leads to them; -1 with the code. Prints like check_loop().
    int real_size() noexcept;

    // Appends the entities in order of their first occurrence; false with the code.
    bool collect(Array<xmlNode *> &entities) noexcept;

    // Whether real_size() met a container more than once: the size can be far beyond what is collected.
    bool is_shared() const noexcept { return shared_; }

private:
    // A container is a number, an index into containers_. A member that leads to none:
    static constexpr std::uint32_t none = UINT32_MAX, missing = none - 1, nameless = none - 2, no_memory = none - 3;

    enum class Next { go_on, enter, leave, stop };

    struct Passed {
        xmlNode *element;  // null once taken
        const char *name;  // null unless it is in place
    };

    // Walks the containers depth first in member order.
    //   take(container, member)          an entity member
    //   meet(container, member, nested)  a container member and the container that it names, missing or nameless
    //   leave(container, around)         the members of a container are done; `around` is none for the top
    // The results of take and meet direct the walk. Returns false when it was stopped or, with code 2, memory is short.
    bool walk(Callback<Next(std::uint32_t, const xmlNode *)> take,
              Callback<Next(std::uint32_t, const xmlNode *, std::uint32_t)> meet,
              Callback<void(std::uint32_t, std::uint32_t)> leave) noexcept;

    bool list_containers() noexcept;
    std::uint32_t named_by(const xmlNode *member) noexcept;
    bool leads_nowhere(const xmlNode *member, std::uint32_t nested) const noexcept;
    bool take_entity(const char *name, xmlNode *&entity) noexcept;

    const kvio_iterator_t *top_;
    Array<const xmlNode *> containers_;  // the top, and those of the scope that a member can name
    NameTable<std::uint32_t> container_names_;
    bool shared_ = false;

    // The scope's entities are searched up to next_; these are the ones passed over.
    xmlNode *next_ = nullptr;
    NameTable<Passed> passed_;
};

}  // namespace store

#endif
