// Groups: listed, created, counted, emptied and disposed of. Joining is in joins.cpp, exporting in export.cpp.
#include "objects/objects.h"

using namespace objects;

namespace {

bool can_list(const group_desc_t *group) {
    return (!group->print_entry || reads_entries(group)) &&
           (!group->print_property || (group->property_type && reads_properties(group)));
}

bool can_tell_removed(const group_desc_t *group) {
    return (!group->entry_removed || reads_entries(group)) && (!group->property_removed || reads_properties(group));
}

// Prints an entry and its properties. Returns false to end the listing; sets `failed` where the listing goes on.
bool list_entry(const group_desc_t *group, const char *name, bool *failed) {
    kvio_node_t *entity = find_entry(group, name);
    if (!entity) return false;
    if (group->print_entry) {
        Buffer buffer = entry_buffer(group);
        if (!buffer || group->get_entry(entity, buffer.get()) != 0 || group->print_entry(name, buffer.get()) != 0)
            return false;
        if (*failed) return false;
    }
    if (group->print_property) {
        Buffer buffer = property_buffer(group);
        kvio_node_t *property = buffer ? find_property(group, PropertyNames(group, name)) : nullptr;
        if (!property) return false;
        if (group->get_property(property, buffer.get()) != 0 || group->print_property(buffer.get()) != 0)
            *failed = true;
    }
    return true;
}

int list_members(const group_desc_t *group, kvio_iterator_t *opened) {
    int count = size_of(group, opened);
    if (count < 0) return 1;
    if (group->begin) group->begin();
    bool failed = false;
    for (int position = 1; position <= count; ++position) {
        char name[name_size];
        MemberKind member = read_member(opened, position, name);
        if (member == MemberKind::unreadable) failed = true;
        if (member == MemberKind::group && group->print_group && group->print_group(name) != 0) failed = true;
        if (member == MemberKind::entry && !list_entry(group, name, &failed)) return 1;
    }
    return failed ? 1 : 0;
}

// Opens the group of a record and adds to its count.
int change_use(const group_desc_t *group, int difference, int least) {
    if (!complete(group)) return 0;
    GroupHandle opened = open_group(group);
    return opened ? change_references(opened.get(), difference, least) : 1;
}

// Lowers the count of an entry that has left a group, or deletes the entry if it was in no other one.
int release_entry(const group_desc_t *group, kvio_node_t *entity, const char *name) {
    int count = 0;
    if (!get_references(entity, &count)) return GROUP_REFERENCE;
    if (count <= 1) return undefine_entry(group, name) ? 0 : 1;
    return set_references(entity, count - 1) ? 0 : GROUP_REFERENCE;
}

// Deletes the properties of an entry in the group, and its property group once that is empty.
int remove_properties(const group_desc_t *group, const char *name) {
    PropertyNames names(group, name);
    int result = 0;
    if (group->property_removed) {
        kvio_node_t *entity = find_property(group, names);
        if (!entity) return 1;
        Buffer buffer = property_buffer(group);
        if (!buffer) return 1;
        if (group->get_property(entity, buffer.get()) != 0 || group->property_removed(buffer.get()) != 0) result = 1;
    }
    if (!kvio_undefine(group->config, group->scope, group->property_type, names.entity)) return 1;
    GroupHandle opened = open_property_group(group, names);
    if (!opened) return 1;
    if (!kvio_remove(opened.get(), names.entity))
        return LOGGED_AS(1, GROUP_OP, "%s: cannot remove entry %s\n", group->label, name);
    bool empty_now = kvio_size(opened.get()) == 0;
    opened.close();
    if (empty_now && !kvio_dispose_group(group->config, group->scope, group->property_type, names.container)) return 1;
    return result;
}

// Removes the first member `count` times. Returns 1 if a member could not be read, else 0.
int remove_members(const group_desc_t *group, kvio_iterator_t *opened, int count) {
    int result = 0;
    for (int i = 0; i < count; ++i) {
        char name[name_size];
        MemberKind member = read_member(opened, 1, name);
        if (member == MemberKind::unreadable) result = 1;
        if (member == MemberKind::entry) remove_entry(group, name);
        if (member == MemberKind::group) remove_group(group, name);
    }
    return result;
}

}  // namespace

int list_group(const group_desc_t *group) {
    if (!complete(group) || !can_list(group)) return 0;
    GroupHandle opened = open_group(group);
    if (!opened) return 1;
    int result = list_members(group, opened.get());
    opened.close();
    if (group->end) group->end();
    return result;
}

int create_group(const group_desc_t *parent, const group_desc_t *group) {
    if (!complete(parent) || !complete(group)) return 0;
    if (!good_name(group->name)) return 1;
    GroupHandle outer = open_group(parent);
    if (!outer) return 1;
    if (parent->max_groups != 0 && kvio_size(outer.get()) == parent->max_groups)
        return LOGGED_AS(0, GROUP_OP, "cannot create, too many groups (>%d)\n", parent->max_groups);
    GroupHandle created(kvio_create_group(group->config, group->scope, group->type, group->name));
    if (!created) return 1;
    if (!set_references(created.get(), 0)) return GROUP_REFERENCE;
    return kvio_join(outer.get(), group->name, 0) ? 0 : 1;
}

int use_group(const group_desc_t *group) { return change_use(group, +1, INT_MIN); }

int unuse_group(const group_desc_t *group) { return change_use(group, -1, 1); }

int remove_entry(const group_desc_t *group, const char *name) {
    if (!complete(group) || !can_tell_removed(group)) return 0;
    if (!good_name(name)) return 1;
    GroupHandle opened = open_group(group);
    if (!opened) return 1;
    kvio_node_t *entity = find_entry(group, name);
    if (!entity) return LOGGED_AS(1, GROUP_OP, "%s: cannot find entry %s\n", group->label, name);
    int result = 0;
    if (group->entry_removed) {
        Buffer buffer = entry_buffer(group);
        if (!buffer) return 1;
        if (group->get_entry(entity, buffer.get()) != 0 || group->entry_removed(name, buffer.get()) != 0) result = 1;
    }
    if (!kvio_remove(opened.get(), name))
        return LOGGED_AS(1, GROUP_OP, "%s: cannot remove entry %s\n", group->label, name);
    if (int failure = release_entry(group, entity, name)) return failure;
    if (group->property_type && remove_properties(group, name) != 0) return 1;
    return result;
}

int remove_group(const group_desc_t *group, const char *name) {
    if (!complete(group)) return 0;
    if (!good_name(name)) return 1;
    GroupHandle outer = open_group(group);
    if (!outer) return 1;
    GroupHandle nested = open_group(group, name);
    if (!nested) return 1;
    if (int failure = change_references(nested.get(), -1)) return failure;
    return kvio_remove(outer.get(), name) ? 0 : 1;
}

int dispose_group(const group_desc_t *parent, const group_desc_t *group) {
    if (!complete(parent) || !complete(group)) return 0;
    if (!good_name(group->name)) return 1;
    GroupHandle outer = open_group(parent);
    if (!outer) return 1;
    GroupHandle opened = open_group(group);
    if (!opened) return 1;
    int references = 0;
    if (!get_references(opened.get(), &references) || references > 0) return GROUP_REFERENCE;
    if (!kvio_remove(outer.get(), group->name)) return 1;
    int count = size_of(group, opened.get());
    if (count < 0) return 1;
    int result = remove_members(group, opened.get(), count);
    opened.close();
    if (!kvio_dispose_group(group->config, group->scope, group->type, group->name)) return 1;
    return result;
}
