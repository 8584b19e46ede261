// What the list and group operations share: owned handles and buffers, checks of records, names of properties, members
// and reference counts. Uses the exported functions of the store only.
#ifndef KAVEX_OBJECTS_OBJECTS_H
#define KAVEX_OBJECTS_OBJECTS_H

#include <kavex/objects.h>

#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>

#include "base/kvlog.h"
#include "base/owned.h"
#include "base/text.h"

// Programs of the appliance were compiled with these sizes. The offsets are asserted in tests/headers/layouts.c.
static_assert(sizeof(void *) != 4 || (sizeof(list_desc_t) == 60 && sizeof(group_desc_t) == 104));

namespace objects {

using ListHandle = Owned<kvio_iterator_t, kvio_close_list>;
using Entities = Owned<kvio_entities_t, kvio_free_entities>;

// A handle on a group. close() returns whether closing it worked.
class GroupHandle : public Owned<kvio_iterator_t, kvio_close_group> {
public:
    using unique_ptr::unique_ptr;
    bool close() noexcept { return kvio_close_group(release()) != 0; }
};

// A buffer from one callback of the caller, released by another one.
using Buffer = std::unique_ptr<void, void (*)(void *)>;

template <class Record>
Buffer entry_buffer(const Record *record) {
    return Buffer(record->alloc_entry(), record->free_entry);
}

inline Buffer property_buffer(const group_desc_t *group) {
    return Buffer(group->alloc_property(), group->free_property);
}

// Sizes of names, with the NUL: of entries and groups, of property groups, and of property entities.
constexpr std::size_t name_size = 64;
constexpr std::size_t property_group_size = 76;
constexpr std::size_t property_size = 136;

inline bool good_name(const char *name) noexcept {
    std::size_t length = name ? strnlen(name, name_size) : 0;
    return length > 0 && length < name_size;
}

// Whether a record has its basic fields.
template <class Record>
bool complete(const Record *record) noexcept {
    return record && record->config && record->scope && record->type && record->name && record->label;
}

// Whether a record has the callbacks that read an entry, or a property entity, into a buffer.
template <class Record>
bool reads_entries(const Record *record) noexcept {
    return record->alloc_entry && record->get_entry && record->free_entry;
}

inline bool reads_properties(const group_desc_t *group) noexcept {
    return group->alloc_property && group->get_property && group->free_property;
}

// The names for an entry's properties in a group: of the entry's property group, ENTRY_property, and of the property
// entity, GROUP_ENTRY. The names of entry and group have at most 63 bytes.
struct PropertyNames {
    PropertyNames(const group_desc_t *group, const char *entry) {
        std::snprintf(container, sizeof container, "%s_property", entry);
        std::snprintf(entity, sizeof entity, "%s_%s", group->name, entry);
    }
    char container[property_group_size], entity[property_size];
};

inline GroupHandle open_property_group(const group_desc_t *group, const PropertyNames &names) {
    return GroupHandle(kvio_open_group(group->config, group->scope, group->property_type, names.container));
}

// Opens a group of the record's scope and type; none if there is none, or if the name is not good.
inline GroupHandle open_group(const group_desc_t *group, const char *name) {
    return GroupHandle(good_name(name) ? kvio_open_group(group->config, group->scope, group->type, name) : nullptr);
}
inline GroupHandle open_group(const group_desc_t *group) { return open_group(group, group->name); }

template <class Record>
kvio_node_t *find_entry(const Record *record, const char *name) {
    return kvio_retrieve_entity(record->config, record->scope, record->type, name);
}

inline kvio_node_t *find_property(const group_desc_t *group, const PropertyNames &names) {
    return kvio_retrieve_entity(group->config, group->scope, group->property_type, names.entity);
}

template <class Record>
bool undefine_entry(const Record *record, const char *name) {
    return kvio_undefine(record->config, record->scope, record->type, name) != 0;
}

// Returns the number of members; -1, after a message, if they cannot be counted.
inline int size_of(const group_desc_t *group, kvio_iterator_t *opened) {
    int count = kvio_size(opened);
    if (count < 0) kvlog(GROUP_OP, "%s: cannot get size of group\n", shown(group->label));
    return count;
}

enum class MemberKind { entry, group, unreadable };

// Reads the name and kind of the member at a position, from 1. A member with a name of more than 63 bytes is unreadable.
inline MemberKind read_member(kvio_iterator_t *group, int position, char (&name)[name_size]) {
    char text[name_size + 1];
    int kind = kvio_regain_index2(group, static_cast<unsigned>(position), text, sizeof text);
    if (kind < 0 || !copy_if_fits(name, sizeof name, text)) return MemberKind::unreadable;
    return kind == 0 ? MemberKind::entry : MemberKind::group;
}

// Reads an entity's name; false if it has more than 63 bytes.
inline bool read_name(kvio_node_t *entity, char (&name)[name_size]) {
    char text[name_size + 1];
    return kvio_name2(entity, text, sizeof text) && copy_if_fits(name, sizeof name, text);
}

inline bool get_references(kvio_iterator_t *group, int *count) { return get_iterator_int(group, "reference", count); }
inline bool get_references(kvio_node_t *entry, int *count) { return get_entity_int(entry, "reference", count); }
inline bool set_references(kvio_iterator_t *group, int count) { return set_iterator_int(group, "reference", count); }
inline bool set_references(kvio_node_t *entry, int count) { return set_entity_int(entry, "reference", count); }

// Adds to a group's count. Returns the result of the operation: 1 for a count below `least`, GROUP_REFERENCE for one
// that would leave the range of an int; neither is changed.
inline int change_references(kvio_iterator_t *group, int difference, int least = INT_MIN) {
    int count = 0;
    if (!get_references(group, &count)) return GROUP_REFERENCE;
    if (count < least) return 1;
    if (__builtin_add_overflow(count, difference, &count) || !set_references(group, count)) return GROUP_REFERENCE;
    return 0;
}

}  // namespace objects

#endif
