#include "store/nesting.h"

#include <algorithm>
#include <climits>

namespace store {
namespace {

constexpr std::uint32_t none = NameTable::none;

}  // namespace

const char *Nesting::Texts::keep(xml::Text text) noexcept {
    if (!text) return nullptr;
    const char *bytes = text.get();
    if (xml::String owned = text.take()) {
        if (!owned_.push(owned.get())) return nullptr;
        owned.release();
    }
    return bytes;
}

bool Nesting::read(Detail detail) noexcept {
    if (!read_.push({top_->node, 0, 0})) return false;
    for (std::uint32_t number = 0; number < read_.size(); ++number)
        if (!read_members(number, detail)) return false;
    return true;
}

bool Nesting::read_members(std::uint32_t number, Detail detail) noexcept {
    read_[number].begin = members_.size();
    for (const xmlNode *child = read_[number].element->children; child; child = child->next)
        if (!read_member(child, detail)) return false;
    read_[number].end = members_.size();
    return true;
}

bool Nesting::read_member(const xmlNode *child, Detail detail) noexcept {
    bool is_entity = is_entity_member(child);
    if (!is_entity && !is_container_member(child)) return true;
    if (is_entity && detail == containers) return members_.push({child, Member::entity, none});
    const char *name = texts_.keep(xml::Text::below(child));
    if (!name) return false;
    if (!*name) return members_.push({child, is_entity ? Member::entity : Member::nameless, none});

    if (is_entity) {
        std::uint32_t number = entity_names_.add(name);
        if (number == none) return false;
        if (number == wanted_.size() && !wanted_.push(Wanted())) return false;
        ++wanted_[number].times;
        return members_.push({child, Member::entity, number});
    }
    if (!listed_ && !list_scope()) return false;
    std::uint32_t known = container_names_.find(name);
    if (known == none) return members_.push({child, Member::missing, none});
    if (numbers_[known] != none) {
        shared_ = true;
    } else {
        numbers_[known] = static_cast<std::uint32_t>(read_.size());
        if (!read_.push({elements_[known], 0, 0})) return false;
    }
    return members_.push({child, Member::container, numbers_[known]});
}

bool Nesting::list_scope() noexcept {
    listed_ = true;
    const xmlNode *scope = scope_or_null(top_->config, top_->scope);
    if (!scope) return true;
    for (const xmlNode *child = scope->children; child; child = child->next) {
        const xmlAttr *name = xml::name_of(child);
        if (!name || !is_container(child, top_->kind, top_->type)) continue;
        const char *text = texts_.keep(xml::Text::of(name));
        if (!text) return false;
        std::uint32_t number = container_names_.add(text);
        if (number == none) return false;
        if (number < elements_.size()) continue;  // the first one of a name is the container
        if (!elements_.push(child) || !numbers_.push(child == top_->node ? 0 : none)) return false;
    }
    return true;
}

// The same code and lines as for an open that fails.
void Nesting::report_missing(const Member &member) const noexcept {
    const char *who = "kvio_container_create_template";
    if (!find_scope(top_->config, top_->scope, who)) return;
    xml::Text name = xml::Text::below(member.element);
    fail(0, KVIO_NOT_FOUND, "%s(%s): scope:[%s] %s:[%s] type:[%s] is not existed\n", who, top_->config->path,
         top_->scope, top_->kind, name.get(), top_->type);
}

Nesting::Frame Nesting::enter(std::uint32_t container, long long value) const noexcept {
    return {container, read_[container].begin, value};
}

int Nesting::check_loop() const noexcept {
    Array<bool> passed;
    Array<Frame> way;
    if (!passed.fill(read_.size(), false) || !way.push(enter(0, 0))) return fail(-1, KVIO_NO_MEMORY);
    passed[0] = true;
    while (!way.empty()) {
        Frame &frame = way.top();
        if (frame.next == read_[frame.container].end) {
            way.pop();
            continue;
        }
        const Member &member = members_[frame.next++];
        if (member.kind == Member::entity) continue;
        if (member.kind == Member::container) {
            if (passed[member.number]) return 1;
            passed[member.number] = true;
            if (!way.push(enter(member.number, 0))) return fail(-1, KVIO_NO_MEMORY);
            continue;
        }
        // A member that leads nowhere ends its container's walk, and the result only where that is the top.
        if (member.kind == Member::missing) report_missing(member);
        way.pop();
        if (way.empty()) return -1;
    }
    return 0;
}

int Nesting::real_size() const noexcept {
    struct Known {
        enum State { unseen, under_way, counted } state;
        int code;         // what counting it leaves in kvio_errno
        long long count;  // -1 if it cannot be counted
    };
    constexpr long long too_many = static_cast<long long>(INT_MAX) + 1;

    Array<Known> known;
    Array<Frame> way;
    if (!known.fill(read_.size(), {Known::unseen, KVIO_OK, 0}) || !way.push(enter(0, 0)))
        return fail(-1, KVIO_NO_MEMORY);
    known[0].state = Known::under_way;
    for (;;) {
        Frame &frame = way.top();
        bool failed = false;
        if (frame.next < read_[frame.container].end) {
            const Member &member = members_[frame.next++];
            if (member.kind == Member::entity) {
                ++frame.value;
                continue;
            }
            if (member.kind == Member::container) {
                Known &nested = known[member.number];
                if (nested.state == Known::under_way) return fail(-1, KVIO_LOOP);
                if (nested.state == Known::counted) {
                    kvio_errno = nested.code;
                    if (nested.count > 0) frame.value = std::min(frame.value + nested.count, too_many);
                    continue;
                }
                kvio_errno = KVIO_OK;  // as opening it does
                nested.state = Known::under_way;
                if (!way.push(enter(member.number, 0))) return fail(-1, KVIO_NO_MEMORY);
                continue;
            }
            if (member.kind == Member::missing) report_missing(member);
            if (member.kind == Member::nameless && way.size() == 1) kvio_errno = KVIO_EMPTY_ITEM;
            failed = true;
        }
        long long count = failed ? -1 : frame.value;
        known[frame.container] = {Known::counted, kvio_errno, count};
        way.pop();
        if (way.empty()) {
            if (count > INT_MAX) return fail(-1, KVIO_NO_MEMORY);
            return static_cast<int>(count);
        }
        if (count > 0) way.top().value = std::min(way.top().value + count, too_many);
    }
}

// Chains the entities of each wanted name, in document order. Stops early when there are as many as can be asked for.
bool Nesting::list_entities() noexcept {
    std::size_t open = 0;
    for (const Wanted &wanted : wanted_) open += wanted.times;
    if (!open) return true;
    for (xmlNode *child = top_->node->parent->children; child; child = child->next) {
        if (!xml::is_element(child, top_->type)) continue;
        const xmlAttr *name = xml::name_of(child);
        if (!name) continue;
        xml::Text text = xml::Text::of(name);
        if (!text) return false;
        std::uint32_t number = entity_names_.find(text.get());
        if (number == none) continue;
        Wanted &wanted = wanted_[number];
        if (!shared_ && wanted.times == 0) continue;
        --wanted.times;
        std::uint32_t entity = static_cast<std::uint32_t>(entities_.size());
        if (!entities_.push({child, none})) return false;
        (wanted.last == none ? wanted.first : entities_[wanted.last].next) = entity;
        wanted.last = entity;
        if (!shared_ && --open == 0) return true;
    }
    return true;
}

// A container that is reached again asks for the same names again, and each time gets the next entities of these names.
// A visit that found nothing new is the last one: whatever the container leads to is used up.
bool Nesting::collect(Array<xmlNode *> &entities) noexcept {
    enum State : char { ready, under_way, used_up };
    Array<State> states;
    Array<Frame> way;
    if (!list_entities() || !states.fill(read_.size(), ready) || !way.push(enter(0, 0)))
        return fail(false, KVIO_NO_MEMORY);
    states[0] = under_way;
    while (!way.empty()) {
        Frame &frame = way.top();
        if (frame.next == read_[frame.container].end) {
            bool found_nothing = static_cast<std::size_t>(frame.value) == entities.size();
            states[frame.container] = found_nothing ? used_up : ready;
            way.pop();
            continue;
        }
        const Member &member = members_[frame.next++];
        if (member.kind == Member::missing) report_missing(member);
        if (member.kind == Member::missing || member.number == none) return fail(false, KVIO_UNRESOLVED);
        if (member.kind == Member::entity) {
            std::uint32_t &first = wanted_[member.number].first;
            if (first == none) continue;
            if (!entities.push(entities_[first].element)) return fail(false, KVIO_NO_MEMORY);
            first = entities_[first].next;
            continue;
        }
        if (states[member.number] == under_way) return fail(false, KVIO_LOOP);
        if (states[member.number] == used_up) continue;
        states[member.number] = under_way;
        if (!way.push(enter(member.number, static_cast<long long>(entities.size()))))
            return fail(false, KVIO_NO_MEMORY);
    }
    return true;
}

}  // namespace store
