// Exports groups with their entries and properties, and tells which properties belong to a group.
#include <algorithm>
#include <string_view>

#include "base/array.h"
#include "objects/objects.h"

using namespace objects;

namespace {

// Bounds of a search through nested groups. join_group() makes no loops and no second paths to a group; a stored
// document can have both.
constexpr int deepest_level = 1000;      // a level costs less than a kilobyte of stack
constexpr int most_expansions = 10'000;  // groups opened by one search

// A group that a search is in, and the groups around it.
struct Level {
    const char *name;
    const Level *outer;
    int depth;
};

bool is_under_way(const char *name, const Level *level) {
    for (; level; level = level->outer)
        if (same(level->name, name)) return true;
    return false;
}

// Calls visit(name) for each group nested in a group, depth first in member order, until one call returns true. Returns
// whether one did. A member that cannot be read ends the search of the group that has it.
template <class Visit>
bool search_nested(const group_desc_t *group, const Level &level, int &expansions, Visit &visit) {
    if (level.depth > deepest_level || ++expansions > most_expansions) return false;
    GroupHandle opened = open_group(group, level.name);
    int count = opened ? size_of(group, opened.get()) : 0;
    for (int position = 1; position <= count; ++position) {
        char name[name_size];
        MemberKind member = read_member(opened.get(), position, name);
        if (member == MemberKind::unreadable) return false;
        if (member == MemberKind::entry) continue;
        if (visit(name)) return true;
        Level nested = {name, &level, level.depth + 1};
        if (!is_under_way(name, &level) && search_nested(group, nested, expansions, visit)) return true;
    }
    return false;
}

struct Name {
    char text[name_size];
};

// Reads the names of a group and of those nested in it. False when memory is short.
bool read_names(const group_desc_t *group, const char *own, Array<Name> &names) {
    auto cannot_keep = [&](const char *text) {
        Name name{};
        copy_if_fits(name.text, sizeof name.text, text);
        return !names.push(name);
    };
    int expansions = 0;
    return !cannot_keep(own) && !search_nested(group, {own, nullptr, 1}, expansions, cannot_keep);
}

// Returns GROUP of the property name "GROUP_ENTRY"; empty if the name does not end in "_ENTRY".
std::string_view group_of(std::string_view property, std::string_view entry) {
    if (property.size() <= entry.size()) return {};
    std::string_view group = property;
    group.remove_suffix(entry.size() + 1);
    property.remove_prefix(group.size());
    if (property.front() != '_') return {};
    property.remove_prefix(1);
    return property == entry ? group : std::string_view();
}

bool can_export(const group_desc_t *group) {
    return group->export_begin && group->export_discard && (!group->export_entry || reads_entries(group)) &&
           (!group->export_property || (group->property_type && reads_properties(group)));
}

bool export_entry(const group_desc_t *group, kvio_node_t *entity, int index, void *handle) {
    Buffer buffer = entry_buffer(group);
    char name[name_size];
    return buffer && group->get_entry(entity, buffer.get()) == 0 && read_name(entity, name) &&
           group->export_entry(index, handle, name, buffer.get()) == 0;
}

// Exports a property if it belongs to the group or to a nested one; the record has the name of that group meanwhile.
// `names` is empty until a property of another group is met.
bool export_property(group_desc_t *group, Array<Name> &names, kvio_node_t *entity, const char *entry, int index,
                     int property_index, void *handle) {
    char property[property_size];
    if (!kvio_name2(entity, property, sizeof property)) return false;
    std::string_view owner = group_of(property, entry);
    if (owner != group->name) {
        if (names.empty() && !read_names(group, group->name, names)) return false;
        auto is_owner = [=](const Name &nested) { return owner == nested.text; };
        if (std::none_of(names.begin(), names.end(), is_owner)) return true;
    }
    Name name{};
    std::copy(owner.begin(), owner.end(), name.text);
    char *const own = std::exchange(group->name, name.text);
    Buffer buffer = property_buffer(group);
    bool exported = buffer && group->get_property(entity, buffer.get()) == 0 &&
                    group->export_property(index, property_index, handle, buffer.get()) == 0;
    group->name = own;
    return exported;
}

// Exports the properties of an entry.
bool export_properties(group_desc_t *group, Array<Name> &names, kvio_node_t *member, int index, void *handle) {
    char entry[name_size];
    if (!read_name(member, entry)) return false;
    GroupHandle opened = open_property_group(group, PropertyNames(group, entry));
    if (!opened) return false;
    Entities properties(kvio_retrieve_all(opened.get()));
    if (!properties) return false;
    for (int i = 0; i < properties->count; ++i)
        if (!export_property(group, names, properties->items[i], entry, index, i, handle)) return false;
    return opened.close() || LOGGED_AS(false, GROUP_OP, "cannot close property group\n");
}

}  // namespace

int valid_property(const char *property, group_desc_t *group, const char *entry) {
    if (!property || !group || !good_name(group->name) || !good_name(entry)) return 0;
    std::string_view owner = group_of(property, entry);
    if (owner == group->name) return 1;
    char own[name_size] = "";  // is_owner() overwrites that of the record
    copy_if_fits(own, sizeof own, group->name);
    int expansions = 0;
    auto is_owner = [=](const char *name) {
        copy_if_fits(group->name, name_size, name);
        return owner == name;
    };
    return search_nested(group, {own, nullptr, 1}, expansions, is_owner);
}

void *export_group(group_desc_t *group) {
    if (!complete(group) || !can_export(group)) return nullptr;
    GroupHandle opened = open_group(group);
    if (!opened) return nullptr;
    Entities members(kvio_retrieve_all(opened.get()));
    if (!members) return nullptr;
    Buffer handle(group->export_begin(members->count), group->export_discard);
    if (!handle) return nullptr;
    Array<Name> names;
    for (int i = 0; i < members->count; ++i) {
        kvio_node_t *member = members->items[i];
        if (group->export_entry && !export_entry(group, member, i, handle.get())) return nullptr;
        if (group->export_property && !export_properties(group, names, member, i, handle.get())) return nullptr;
    }
    members.reset();
    if (!opened.close()) kvlog(GROUP_OP, "cannot close group\n");
    return handle.release();
}
