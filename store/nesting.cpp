// The walk over nested containers, and what check_loop(), real_size() and collect() do on the way.
#include "store/nesting.h"

#include <algorithm>
#include <climits>

namespace store {

namespace {

// The number of entity members that a container leads to; -1 if they cannot be counted.
struct Size {
    enum { unseen, under_way, counted } state;
    int code;  // left in kvio_errno by counting
    long long count;

    void add(long long more) noexcept {
        constexpr long long too_many = static_cast<long long>(INT_MAX) + 1;
        count = std::min(count + std::max(more, 0LL), too_many);
    }
};

}  // namespace

// Lists the containers that members can name, unless there are no container members. The first one of a name counts.
bool Nesting::list_containers() noexcept {
    if (!containers_.empty()) return true;
    if (!containers_.push(top_->node)) return false;
    const xmlNode *member = top_->node->children;
    while (member && !is_container_member(member)) member = member->next;
    const xmlNode *scope = member ? scope_or_null(top_->config, top_->scope) : nullptr;
    for (const xmlNode *child = scope ? scope->children : nullptr; child; child = child->next) {
        const xmlAttr *name = is_container(child, top_->kind, top_->type) ? xml::name_of(child) : nullptr;
        if (!name) continue;
        xml::Text text = xml::Text::of(name);
        if (!text) return false;
        std::uint32_t hash = hash_of(text.get());
        auto is_named = [&](std::uint32_t number) { return xml::is_named(containers_[number], text.get()); };
        if (container_names_.find(hash, is_named)) continue;
        bool is_top = child == top_->node;
        if (!container_names_.add(hash, is_top ? 0 : static_cast<std::uint32_t>(containers_.size()))) return false;
        if (!is_top && !containers_.push(child)) return false;
    }
    return true;
}

// Returns the container that a member names; missing, nameless, or no_memory.
std::uint32_t Nesting::named_by(const xmlNode *member) noexcept {
    xml::Text name = xml::Text::below(member);
    if (!name) return no_memory;
    if (!*name.get()) return nameless;
    auto is_named = [&](std::uint32_t number) { return xml::is_named(containers_[number], name.get()); };
    const std::uint32_t *number = container_names_.find(hash_of(name.get()), is_named);
    return number ? *number : missing;
}

// Whether a member names no container. If it has a name sets the code and prints the line of an open that fails.
bool Nesting::leads_nowhere(const xmlNode *member, std::uint32_t nested) const noexcept {
    if (nested != missing) return nested == nameless;
    const char *who = "kvio_container_create_template";
    if (!find_scope(top_->config, top_->scope, who)) return true;
    return fail(true, KVIO_NOT_FOUND, "%s(%s): scope:[%s] %s:[%s] type:[%s] is not existed\n", who, top_->config->path,
                top_->scope, top_->kind, xml::Text::below(member).get(), top_->type);
}

bool Nesting::walk(Callback<Next(std::uint32_t, const xmlNode *)> take,
                   Callback<Next(std::uint32_t, const xmlNode *, std::uint32_t)> meet,
                   Callback<void(std::uint32_t, std::uint32_t)> leave) noexcept {
    struct Frame {
        std::uint32_t container;
        const xmlNode *member;  // the next one
    };
    Array<Frame> stack;
    if (!stack.push({0, top_->node->children})) return fail(false, KVIO_NO_MEMORY);
    while (!stack.empty()) {
        const auto [container, member] = stack.top();
        if (!member) {
            stack.pop();
            leave(container, stack.empty() ? none : stack.top().container);
            continue;
        }
        stack.top().member = member->next;
        std::uint32_t nested = none;
        Next next = Next::go_on;
        if (is_entity_member(member)) {
            next = take(container, member);
        } else if (is_container_member(member)) {
            nested = named_by(member);
            next = nested == no_memory ? fail(Next::stop, KVIO_NO_MEMORY) : meet(container, member, nested);
        }
        if (next == Next::stop) return false;
        if (next == Next::leave) stack.top().member = nullptr;
        if (next == Next::enter && !stack.push({nested, containers_[nested]->children}))
            return fail(false, KVIO_NO_MEMORY);
    }
    return true;
}

int Nesting::check_loop() noexcept {
    Array<bool> passed;
    if (!list_containers() || !passed.fill(containers_.size(), false)) return fail(-1, KVIO_NO_MEMORY);
    passed[0] = true;
    int result = 0;
    auto take = [](std::uint32_t, const xmlNode *) { return Next::go_on; };
    auto meet = [&](std::uint32_t container, const xmlNode *member, std::uint32_t nested) {
        if (leads_nowhere(member, nested)) {
            if (container == 0) result = -1;
            return Next::leave;
        }
        if (passed[nested]) result = 1;
        return std::exchange(passed[nested], true) ? Next::stop : Next::enter;
    };
    auto leave = [](std::uint32_t, std::uint32_t) {};
    bool done = walk(take, meet, leave);
    return done || result == 1 ? result : -1;
}

int Nesting::real_size() noexcept {
    Array<Size> sizes;
    if (!list_containers() || !sizes.fill(containers_.size(), {Size::unseen, KVIO_OK, 0}))
        return fail(-1, KVIO_NO_MEMORY);
    sizes[0].state = Size::under_way;
    auto take = [&](std::uint32_t container, const xmlNode *) {
        sizes[container].add(1);
        return Next::go_on;
    };
    auto meet = [&](std::uint32_t container, const xmlNode *member, std::uint32_t nested) {
        if (nested == nameless && container == 0) kvio_errno = KVIO_EMPTY_ITEM;
        if (leads_nowhere(member, nested)) {
            sizes[container].count = -1;
            return Next::leave;
        }
        Size &size = sizes[nested];
        if (size.state == Size::under_way) return fail(Next::stop, KVIO_LOOP);
        kvio_errno = size.code;
        sizes[container].add(size.count);
        shared_ = shared_ || size.state == Size::counted;
        if (size.state == Size::counted) return Next::go_on;
        size.state = Size::under_way;
        return Next::enter;
    };
    auto leave = [&](std::uint32_t container, std::uint32_t around) {
        sizes[container] = {Size::counted, kvio_errno, sizes[container].count};
        if (around != none) sizes[around].add(sizes[container].count);
    };
    if (!walk(take, meet, leave)) return -1;
    return sizes[0].count > INT_MAX ? fail(-1, KVIO_NO_MEMORY) : static_cast<int>(sizes[0].count);
}

// Returns the first entity of this name that no member has taken; null if there is none. Goes on in the scope where the
// search before ended: members in the order of their entities, as appending leaves them, need no table. False when
// memory is short.
bool Nesting::take_entity(const char *name, xmlNode *&entity) noexcept {
    auto is_named = [&](const Passed &passed) {
        if (!passed.element) return false;
        return passed.name ? same(passed.name, name) : xml::is_named(passed.element, name);
    };
    Passed *passed = passed_.empty() ? nullptr : passed_.find(hash_of(name), is_named);
    entity = passed ? std::exchange(passed->element, nullptr) : nullptr;
    while (!entity && next_) {
        xmlNode *child = std::exchange(next_, next_->next);
        const xmlAttr *at = is_entity(child, top_->type, nullptr) ? xml::name_of(child) : nullptr;
        if (!at) continue;
        xml::Text text = xml::Text::of(at);
        if (!text) return false;
        if (same(text, name))
            entity = child;
        else if (!passed_.add(hash_of(text.get()), {child, text.in_place()}))
            return false;
    }
    return true;
}

// A container that is reached again can take further entities of the same names. When a visit adds none, later visits
// cannot either, and the container is skipped from then on.
bool Nesting::collect(Array<xmlNode *> &entities) noexcept {
    struct State {
        enum { ready, under_way, used_up } is;
        std::size_t before;  // entities when it was entered
    };
    Array<State> states;
    if (!list_containers() || !states.fill(containers_.size(), {State::ready, 0})) return fail(false, KVIO_NO_MEMORY);
    states[0].is = State::under_way;
    next_ = top_->node->parent->children;
    auto take = [&](std::uint32_t, const xmlNode *member) {
        xml::Text name = xml::Text::below(member);
        if (name && !*name.get()) return fail(Next::stop, KVIO_UNRESOLVED);
        xmlNode *entity = nullptr;
        if (!name || !take_entity(name.get(), entity)) return fail(Next::stop, KVIO_NO_MEMORY);
        if (entity && !entities.push(entity)) return fail(Next::stop, KVIO_NO_MEMORY);
        return Next::go_on;
    };
    auto meet = [&](std::uint32_t, const xmlNode *member, std::uint32_t nested) {
        if (leads_nowhere(member, nested)) return fail(Next::stop, KVIO_UNRESOLVED);
        if (states[nested].is == State::under_way) return fail(Next::stop, KVIO_LOOP);
        if (states[nested].is == State::used_up) return Next::go_on;
        states[nested] = {State::under_way, entities.size()};
        return Next::enter;
    };
    auto leave = [&](std::uint32_t container, std::uint32_t) {
        State &state = states[container];
        state.is = state.before == entities.size() ? State::used_up : State::ready;
    };
    return walk(take, meet, leave);
}

}  // namespace store
