// What a container leads to through its container members: loops, sizes, and the entities in order.
//
// Every operation is a walk over the tree, depth first in member order. The way back is kept in the containers' records,
// not on the stack of the thread, for which the nesting may be too deep. The containers of the scope are listed by name
// at the first container member: following a member does not search the scope.
#include <algorithm>
#include <climits>

#include "base/names.h"
#include "store/store.h"

namespace {

struct Container {
    xmlNode *element = nullptr;
    const xmlNode *next = nullptr;  // while it is under way: the next member
    Container *outer = nullptr;     // and the container that it was entered from
    enum { unseen, under_way, done } state = unseen;
    int code = KVIO_OK;    // left in kvio_errno by counting
    long long amount = 0;  // the entity members it leads to, -1 if they cannot be counted; or the entities at its start

    void add(long long more) noexcept {
        constexpr long long too_many = static_cast<long long>(INT_MAX) + 1;
        amount = std::min(amount + std::max(more, 0LL), too_many);
    }
};

class Walk {
public:
    explicit Walk(const kvio_iterator_t *handle) noexcept : handle_(handle), top_{handle->node} { enter(top_); }

    // Counts the entity members of all containers, once for each path that leads to them; prints the line of each member
    // that names no container. False with the code when a container contains itself or, if each is to be reached
    // `once`, when one is reached again, and when memory is short.
    bool count(bool once) noexcept {
        for (Step step = next(); step != Step::end; step = next()) {
            if (step == Step::failed) return false;
            if (step == Step::entity) {
                current_->add(1);
            } else if (step == Step::container) {
                const bool is_new = nested_->state == Container::unseen;
                if (!is_new && (once || nested_->state == Container::under_way)) return fail(false, KVIO_LOOP);
                kvio_errno = nested_->code;
                current_->add(nested_->amount);
                if (is_new) enter(*nested_);
            } else if (step == Step::nowhere) {
                current_->amount = -1;
                current_->next = nullptr;
            } else {
                nested_->state = Container::done;
                nested_->code = kvio_errno;
                if (current_) current_->add(nested_->amount);
            }
        }
        return true;
    }

    // The entity members of the top, or -1.
    long long size() const noexcept { return top_.amount; }

    // Appends the entities in order of their first occurrence; false with the code. A container that is reached again
    // can take further entities of the same names. When a visit adds none, later visits cannot either, and the container
    // is skipped from then on.
    bool collect(Array<xmlNode *> &entities) noexcept {
        unsearched_ = top_.element->parent->children;
        for (Step step = next(); step != Step::end; step = next()) {
            const auto collected = static_cast<long long>(entities.size());
            if (step == Step::failed) return false;
            if (step == Step::entity) {
                xml::Text name = xml::Text::below(member_);
                if (name && !*name.get()) return fail(false, KVIO_UNRESOLVED);
                if (!name || !take_entity(name.get(), entities)) return fail(false, KVIO_NO_MEMORY);
            } else if (step == Step::container) {
                if (nested_->state == Container::under_way) return fail(false, KVIO_LOOP);
                if (nested_->state == Container::done) continue;
                nested_->amount = collected;
                enter(*nested_);
            } else if (step == Step::nowhere) {
                return fail(false, KVIO_UNRESOLVED);
            } else {
                nested_->state = nested_->amount == collected ? Container::done : Container::unseen;
            }
        }
        return true;
    }

private:
    // What the walk comes to: an entity member, a container member that names nested_ or nothing (which is reported),
    // the end of nested_, or the end of all. It fails with the code when memory is short.
    enum class Step { entity, container, nowhere, left, end, failed };

    void enter(Container &container) noexcept {
        container.state = Container::under_way;
        container.next = container.element->children;
        container.outer = std::exchange(current_, &container);
    }

    Step next() noexcept {
        while (current_) {
            member_ = current_->next;
            if (!member_) {
                nested_ = std::exchange(current_, current_->outer);
                return Step::left;
            }
            current_->next = member_->next;
            if (store::is_entity_member(member_)) return Step::entity;
            if (store::is_container_member(member_)) return follow();
        }
        return Step::end;
    }

    // Finds the container that a member names. If there is none sets the code and prints the line of an open that fails.
    Step follow() noexcept {
        const char *who = "kvio_container_create_template";
        xml::Text name = xml::Text::below(member_);
        if (!name) return fail(Step::failed, KVIO_NO_MEMORY);
        if (!*name.get()) {
            if (current_ == &top_) kvio_errno = KVIO_EMPTY_ITEM;
            return Step::nowhere;
        }
        if (containers_.empty()) {
            const xmlNode *scope = store::find_scope(handle_->config, handle_->scope, who);
            if (!scope) return Step::nowhere;
            if (!list_containers(scope)) return fail(Step::failed, KVIO_NO_MEMORY);
        }
        auto is_it = [&](const Container &container) { return xml::is_named(container.element, name.get()); };
        nested_ = containers_.find(hash_of(name.get()), is_it);
        if (nested_ && nested_->element == top_.element) nested_ = &top_;
        if (nested_) return Step::container;
        store::find_container(handle_->config, handle_->kind, handle_->scope, handle_->type, name.get(), who);
        return Step::nowhere;
    }

    // Lists the containers that members can name. The first one of a name will be found.
    bool list_containers(const xmlNode *scope) noexcept {
        for (xmlNode *child = scope->children; child; child = child->next) {
            const xmlAttr *at =
                store::is_container(child, handle_->kind, handle_->type) ? xml::name_of(child) : nullptr;
            if (!at) continue;
            xml::Text name = xml::Text::of(at);
            if (!name || !containers_.add(hash_of(name.get()), {child})) return false;
        }
        return true;
    }

    // Appends the first entity of this name that no member has taken, if there is one; false when memory is short. Goes
    // on in the scope where the search before ended: members in the order of their entities, as appending leaves them,
    // need no table.
    bool take_entity(const char *name, Array<xmlNode *> &entities) noexcept {
        auto is_it = [&](const xmlNode *entity) { return entity && xml::is_named(entity, name); };
        xmlNode **passed = passed_.empty() ? nullptr : passed_.find(hash_of(name), is_it);
        if (passed) return entities.push(std::exchange(*passed, nullptr));
        while (unsearched_) {
            xmlNode *child = std::exchange(unsearched_, unsearched_->next);
            const xmlAttr *at = store::is_entity(child, handle_->type, nullptr) ? xml::name_of(child) : nullptr;
            if (!at) continue;
            xml::Text text = xml::Text::of(at);
            if (!text) return false;
            if (same(text, name)) return entities.push(child);
            if (!passed_.add(hash_of(text.get()), child)) return false;
        }
        return true;
    }

    const kvio_iterator_t *handle_;
    Container top_;
    NameTable<Container> containers_;  // those of the scope that a member can name
    Container *current_ = nullptr;     // the container whose member the walk is at
    const xmlNode *member_ = nullptr;
    Container *nested_ = nullptr;

    // The scope's entities are searched up to this one; those passed over are in the table, until they are taken.
    xmlNode *unsearched_ = nullptr;
    NameTable<xmlNode *> passed_;
};

bool is_table(const kvio_iterator_t *iterator) { return iterator && same(iterator->kind, "table"); }

// kvio_check_loop(), with the code of what was found.
int check_loop(const kvio_iterator_t *iterator) {
    if (!store::readable(iterator, "do_kvio_check_loop")) return -1;
    Walk walk(iterator);
    if (!walk.count(true)) return kvio_errno == KVIO_LOOP ? 1 : -1;
    return walk.size() < 0 ? -1 : 0;
}

// There can be more paths to a container than there are slots to be had: then the array has as many as are needed.
kvio_entities_t *retrieve(kvio_iterator_t *iterator, bool checks_loop) {
    kvio_errno = KVIO_OK;
    if (checks_loop && check_loop(iterator) != 0)
        return fail(nullptr, kvio_errno == KVIO_NO_MEMORY ? KVIO_NO_MEMORY : KVIO_LOOP);
    const int size = kvio_real_size(iterator);
    const bool has_code = kvio_errno == KVIO_LOOP || kvio_errno == KVIO_NO_MEMORY;
    if (size < 0) return has_code ? nullptr : fail(nullptr, KVIO_UNRESOLVED);
    Array<xmlNode *> found;
    if (!Walk(iterator).collect(found)) return nullptr;
    const int count = static_cast<int>(found.size());
    store::Entities array(kvio_alloc_entities(std::max(size, count)));
    if (!array) array.reset(kvio_alloc_entities(count));
    if (!array) return fail(nullptr, KVIO_NO_MEMORY);
    std::copy(found.begin(), found.end(), array->items);
    array->count = count;
    return succeed(array.release());
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
    if (!store::readable(iterator, __func__)) return -1;
    Walk walk(iterator);
    if (!walk.count(false)) return -1;
    return walk.size() > INT_MAX ? fail(-1, KVIO_NO_MEMORY) : static_cast<int>(walk.size());
}

int kvio_check_loop(kvio_iterator_t *iterator) { return succeed(check_loop(iterator)); }

kvio_entities_t *kvio_retrieve_all(kvio_iterator_t *iterator) { return retrieve(iterator, !is_table(iterator)); }

kvio_entities_t *kvio_retrieve_all2(kvio_iterator_t *iterator) { return retrieve(iterator, false); }
