// What a container leads to through its container members: loops, sizes, and the entities in order.
//
// Every operation is a walk over the tree with an explicit stack: the nesting of a stored document may be deeper than
// the stack of a thread. The containers of the scope are listed by name once: following a member does not search it.
#include <algorithm>
#include <climits>

#include "base/names.h"
#include "store/store.h"

namespace {

struct Container {
    const xmlNode *element;
    enum { unseen, under_way, done } state;
    int code;          // left in kvio_errno by counting
    long long amount;  // the entity members it leads to, -1 if they cannot be counted; or the entities at its start

    void add(long long more) noexcept {
        constexpr long long too_many = static_cast<long long>(INT_MAX) + 1;
        amount = std::min(amount + std::max(more, 0LL), too_many);
    }
};

// A container or an entity in a table of names.
struct Named {
    xmlNode *element;   // null for an entity that is taken
    const char *name;   // null unless it is in place
    std::size_t index;  // of a container, in the list of them

    bool is(const char *wanted) const noexcept {
        return element && (name ? same(name, wanted) : xml::is_named(element, wanted));
    }
};

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

private:
    // What the walk, depth first in member order, comes to: an entity member, a container member that names a container
    // (nested_) or none (which is reported), or the end of the members of a container. It ends early, with code 2, when
    // memory is short.
    enum class Step { entity, container, nowhere, left, end };

    struct Frame {
        Container *container;
        const xmlNode *member;  // the next one
    };

    Step begin() noexcept;
    Step next() noexcept;
    void enter(Container *container) noexcept {
        container->state = Container::under_way;
        has_memory_ = has_memory_ && stack_.push({container, container->element->children});
    }
    void skip_rest() noexcept { stack_.top().member = nullptr; }

    bool list_containers() noexcept;
    Step follow() noexcept;
    bool measure(bool is_once) noexcept;
    xmlNode *take_entity(const char *name) noexcept;

    const kvio_iterator_t *top_;
    Array<Container> containers_;  // the top, and those of the scope that a member can name
    NameTable<Named> container_names_;
    bool has_memory_ = true;

    Array<Frame> stack_;
    Container *current_ = nullptr;  // the container whose member the walk is at
    const xmlNode *member_ = nullptr;
    Container *nested_ = nullptr;  // the container that this member names

    // The scope's entities are searched up to next_; these are the ones passed over.
    xmlNode *next_ = nullptr;
    NameTable<Named> passed_;
};

// Lists the containers that members can name, unless there are no container members. The first one of a name counts.
bool Nesting::list_containers() noexcept {
    if (!containers_.push({top_->node, Container::unseen, KVIO_OK, 0})) return false;
    const xmlNode *member = top_->node->children;
    while (member && !store::is_container_member(member)) member = member->next;
    xmlNode *scope = member ? store::scope_or_null(top_->config, top_->scope) : nullptr;
    for (xmlNode *child = scope ? scope->children : nullptr; child; child = child->next) {
        const xmlAttr *name = store::is_container(child, top_->kind, top_->type) ? xml::name_of(child) : nullptr;
        if (!name) continue;
        xml::Text text = xml::Text::of(name);
        if (!text) return false;
        const std::uint32_t hash = hash_of(text.get());
        if (container_names_.find(hash, [&](const Named &container) { return container.is(text.get()); })) continue;
        bool is_top = child == top_->node;
        if (!container_names_.add(hash, {child, text.in_place(), is_top ? 0 : containers_.size()})) return false;
        if (!is_top && !containers_.push({child, Container::unseen, KVIO_OK, 0})) return false;
    }
    return true;
}

// Finds the container that a member names. If there is none sets the code and prints the line of an open that fails.
Nesting::Step Nesting::follow() noexcept {
    xml::Text name = xml::Text::below(member_);
    has_memory_ = static_cast<bool>(name);
    if (!has_memory_) return next();
    if (!*name.get()) {
        if (current_ == containers_.begin()) kvio_errno = KVIO_EMPTY_ITEM;
        return Step::nowhere;
    }
    auto is_it = [&](const Named &container) { return container.is(name.get()); };
    if (const Named *container = container_names_.find(hash_of(name.get()), is_it)) {
        nested_ = &containers_[container->index];
        return Step::container;
    }
    store::find_container(top_->config, top_->kind, top_->scope, top_->type, name.get(),
                          "kvio_container_create_template");
    return Step::nowhere;
}

Nesting::Step Nesting::begin() noexcept {
    has_memory_ = !containers_.empty() || list_containers();
    for (Container &container : containers_) container = {container.element, Container::unseen, KVIO_OK, 0};
    if (has_memory_) enter(&containers_[0]);
    return next();
}

Nesting::Step Nesting::next() noexcept {
    while (has_memory_ && !stack_.empty()) {
        current_ = stack_.top().container;
        member_ = stack_.top().member;
        if (!member_) {
            stack_.pop();
            return Step::left;
        }
        stack_.top().member = member_->next;
        if (store::is_entity_member(member_)) return Step::entity;
        if (store::is_container_member(member_)) return follow();
    }
    return has_memory_ ? Step::end : fail(Step::end, KVIO_NO_MEMORY);
}

// Counts the entity members of all containers. False, with the code, when a container contains itself or, if each is to
// be reached once, when one is reached again, and when memory is short.
bool Nesting::measure(bool is_once) noexcept {
    for (Step step = begin(); step != Step::end; step = next()) {
        if (step == Step::entity) {
            current_->add(1);
        } else if (step == Step::container) {
            const bool is_new = nested_->state == Container::unseen;
            if (!is_new && (is_once || nested_->state == Container::under_way)) return fail(false, KVIO_LOOP);
            kvio_errno = nested_->code;
            current_->add(nested_->amount);
            if (is_new) enter(nested_);
        } else if (step == Step::nowhere) {
            current_->amount = -1;
            skip_rest();
        } else {
            *current_ = {current_->element, Container::done, kvio_errno, current_->amount};
            if (!stack_.empty()) stack_.top().container->add(current_->amount);
        }
    }
    return has_memory_;
}

int Nesting::check_loop() noexcept {
    if (!measure(true)) return has_memory_ ? 1 : -1;
    return containers_[0].amount < 0 ? -1 : 0;
}

int Nesting::real_size() noexcept {
    if (!measure(false)) return -1;
    const long long size = containers_[0].amount;
    return size > INT_MAX ? fail(-1, KVIO_NO_MEMORY) : static_cast<int>(size);
}

// Returns the first entity of this name that no member has taken; null if there is none or memory is short. Goes on in
// the scope where the search before ended: members in the order of their entities, as appending leaves them, need no
// table.
xmlNode *Nesting::take_entity(const char *name) noexcept {
    auto is_it = [&](const Named &passed) { return passed.is(name); };
    Named *passed = passed_.empty() ? nullptr : passed_.find(hash_of(name), is_it);
    if (passed) return std::exchange(passed->element, nullptr);
    while (next_ && has_memory_) {
        xmlNode *child = std::exchange(next_, next_->next);
        const xmlAttr *at = store::is_entity(child, top_->type, nullptr) ? xml::name_of(child) : nullptr;
        if (!at) continue;
        xml::Text text = xml::Text::of(at);
        if (same(text, name)) return child;
        has_memory_ = text && passed_.add(hash_of(text.get()), {child, text.in_place(), 0});
    }
    return nullptr;
}

// A container that is reached again can take further entities of the same names. When a visit adds none, later visits
// cannot either, and the container is skipped from then on.
bool Nesting::collect(Array<xmlNode *> &entities) noexcept {
    next_ = top_->node->parent->children;
    for (Step step = begin(); step != Step::end; step = next()) {
        const auto collected = static_cast<long long>(entities.size());
        if (step == Step::entity) {
            xml::Text name = xml::Text::below(member_);
            if (name && !*name.get()) return fail(false, KVIO_UNRESOLVED);
            xmlNode *entity = name ? take_entity(name.get()) : nullptr;
            has_memory_ = has_memory_ && name && (!entity || entities.push(entity));
        } else if (step == Step::container) {
            if (nested_->state == Container::under_way) return fail(false, KVIO_LOOP);
            if (nested_->state == Container::done) continue;
            nested_->amount = collected;
            enter(nested_);
        } else if (step == Step::nowhere) {
            return fail(false, KVIO_UNRESOLVED);
        } else {
            current_->state = current_->amount == collected ? Container::done : Container::unseen;
        }
    }
    return has_memory_;
}

bool is_table(const kvio_iterator_t *iterator) { return iterator && same(iterator->kind, "table"); }

// Collects the entities into an array with a slot for each of `size` members, or for more entities if a table counted
// fewer. There can be too many paths to a container for `size` slots: then it has as many as are needed. Null with the
// code.
kvio_entities_t *collect(Nesting &nesting, int size) {
    Array<xmlNode *> found;
    if (!nesting.collect(found)) return nullptr;
    const int count = static_cast<int>(found.size());
    store::Entities array(kvio_alloc_entities(std::max(size, count)));
    if (!array) array.reset(kvio_alloc_entities(count));
    if (!array) return fail(nullptr, KVIO_NO_MEMORY);
    std::copy(found.begin(), found.end(), array->items);
    array->count = count;
    return succeed(array.release());
}

kvio_entities_t *retrieve(kvio_iterator_t *iterator, bool check_loop) {
    // The function that reads the handle first is named in the message about it.
    const char *reader = is_table(iterator) ? "kvio_size" : check_loop ? "do_kvio_check_loop" : "kvio_real_size";
    if (!store::readable(iterator, reader)) return fail(nullptr, check_loop ? KVIO_LOOP : KVIO_UNRESOLVED);
    Nesting nesting(iterator);
    kvio_errno = KVIO_OK;
    if (check_loop && nesting.check_loop() != 0)
        return fail(nullptr, kvio_errno == KVIO_NO_MEMORY ? KVIO_NO_MEMORY : KVIO_LOOP);
    int size = is_table(iterator) ? kvio_size(iterator) : nesting.real_size();
    if (size >= 0) return collect(nesting, size);
    bool has_code = kvio_errno == KVIO_LOOP || kvio_errno == KVIO_NO_MEMORY;
    return has_code ? nullptr : fail(nullptr, KVIO_UNRESOLVED);
}

}  // namespace

int kvio_size(kvio_iterator_t *iterator) {
    const xmlNode *container = store::readable(iterator, __func__);
    if (!container) return -1;
    int count = 0;
    for (const xmlNode *child = container->children; child; child = child->next) {
        if (store::is_member(child))
            ++count;
        else if (xml::is_element(child))
            say("%s() warning: check data integrity\n", __func__);
    }
    return succeed(count);
}

int kvio_real_size(kvio_iterator_t *iterator) {
    if (is_table(iterator)) return kvio_size(iterator);
    return store::readable(iterator, __func__) ? Nesting(iterator).real_size() : -1;
}

int kvio_check_loop(kvio_iterator_t *iterator) {
    return succeed(store::readable(iterator, "do_kvio_check_loop") ? Nesting(iterator).check_loop() : -1);
}

kvio_entities_t *kvio_retrieve_all(kvio_iterator_t *iterator) { return retrieve(iterator, !is_table(iterator)); }

kvio_entities_t *kvio_retrieve_all2(kvio_iterator_t *iterator) { return retrieve(iterator, false); }
