// Entries and groups joined into groups, and entries changed in place.
#include "objects/objects.h"

using namespace objects;

namespace {

bool log_cannot_specify(const group_desc_t *group, const char *name) {
    return LOGGED_AS(false, GROUP_OP, "%s: cannot specify properties for entry %s\n", group->label, name);
}

// Logs the message for change_entry(), and prints it behind the step that failed: a text that ends in a blank, or "".
bool cannot_change(const group_desc_t *group, const char *name, const char *step) {
    std::fprintf(stderr, "%% %s%s: cannot specify properties for entry %s\n", step, group->label, name);
    return log_cannot_specify(group, name);
}

// Creates the property entity of a new member, and the property group if there is none. A failure undoes nothing.
bool add_properties(const group_desc_t *group, const char *name, void *data) {
    PropertyNames names(group, name);
    GroupHandle opened = open_property_group(group, names);
    if (!opened) opened.reset(kvio_create_group(group->config, group->scope, group->property_type, names.container));
    if (!opened) return log_cannot_specify(group, name);
    if (!kvio_join(opened.get(), names.entity, 1)) return false;
    if (find_property(group, names)) return log_cannot_specify(group, name);
    kvio_node_t *entity = kvio_define2(group->config, group->scope, group->property_type, names.entity);
    if (!entity || group->set_property(entity, data, nullptr) != 0) return log_cannot_specify(group, name);
    if (!opened.close()) return log_cannot_specify(group, name);
    return true;
}

bool change_data(const group_desc_t *group, kvio_node_t *entity, const char *name, void *data) {
    Buffer current = entry_buffer(group);
    return current && group->get_entry(entity, current.get()) == 0 &&
           group->set_entry(entity, name, data, current.get()) == 0;
}

bool change_property(const group_desc_t *group, const PropertyNames &names, const char *name, void *data) {
    kvio_node_t *entity = find_property(group, names);
    if (!entity) return cannot_change(group, name, "kvio_retrieve_entity ");
    Buffer current = property_buffer(group);
    if (!current) return cannot_change(group, name, "3 ");
    if (group->get_property(entity, current.get()) != 0) return cannot_change(group, name, "4 ");
    if (group->set_property(entity, data, current.get()) != 0) return cannot_change(group, name, "5 ");
    return true;
}

bool change_properties(const group_desc_t *group, const char *name, void *data) {
    PropertyNames names(group, name);
    GroupHandle opened = open_property_group(group, names);
    if (!opened) return cannot_change(group, name, "kvio_open_group ");
    bool is_changed = change_property(group, names, name, data);
    if (!opened.close()) return cannot_change(group, name, "");
    return is_changed;
}

// Finds the entry and its count, or creates it with the count 0. Returns the result of the operation on failure, else 0.
int find_or_create(const group_desc_t *group, const char *name, kvio_node_t **entity, int *count) {
    *count = 0;
    *entity = find_entry(group, name);
    if (*entity) return get_references(*entity, count) && *count != INT_MAX ? 0 : GROUP_REFERENCE;
    *entity = kvio_define2(group->config, group->scope, group->type, name);
    if (!*entity) return LOGGED_AS(1, GROUP_OP, "%s: cannot join entry\n", group->label);
    if (set_references(*entity, 0)) return 0;
    undefine_entry(group, name);
    return GROUP_REFERENCE;
}

// Deletes an entity that has the count 0, and keeps the code of the failure before.
void undo_entry(const group_desc_t *group, const char *name) {
    int code = kvio_errno;
    undefine_entry(group, name);
    kvio_errno = code;
}

bool can_join(const group_desc_t *group, const void *entry_data, const void *property_data) {
    return complete(group) && (!entry_data || group->set_entry) &&
           (!property_data || (group->set_property && group->property_type));
}

bool can_change(const group_desc_t *group, const void *entry_data, const void *property_data) {
    return can_join(group, entry_data, property_data) && (!entry_data || reads_entries(group)) &&
           (!property_data || reads_properties(group));
}

}  // namespace

int join_entry(const group_desc_t *group, const char *name, void *entry_data, void *property_data) {
    if (!can_join(group, entry_data, property_data)) return 0;
    if (!good_name(name)) return 1;
    GroupHandle opened = open_group(group);
    if (!opened) return 1;
    kvio_node_t *entity;
    int count;
    if (int failure = find_or_create(group, name, &entity, &count)) return failure;
    if (entry_data && group->set_entry(entity, name, entry_data, nullptr) != 0) {
        if (count == 0) undo_entry(group, name);
        return 1;
    }
    if (!kvio_join(opened.get(), name, 1)) {
        if (count == 0)
            undo_entry(group, name);
        else
            kvlog(GROUP_OP, "%s: cannot join entry %s\n", group->label, name);
        return 1;
    }
    if (property_data && !add_properties(group, name, property_data)) return 1;
    return set_references(entity, count + 1) ? 0 : GROUP_REFERENCE;
}

int join_group(const group_desc_t *group, const group_desc_t *nested) {
    if (!complete(group) || !complete(nested)) return 0;
    if (!good_name(nested->name)) return 1;
    GroupHandle outer = open_group(group);
    if (!outer) return 1;
    GroupHandle inner = open_group(nested);
    if (!inner) return 1;
    if (!kvio_join(outer.get(), nested->name, 0)) return 1;
    if (kvio_check_loop(outer.get()) == 1) {
        kvlog(GROUP_OP, "%s: cannot join group %s, loop detected\n", group->label, nested->label);
        kvio_remove(outer.get(), nested->name);
        kvio_errno = KVIO_LOOP;
        return 1;
    }
    return change_references(inner.get(), +1);
}

int change_entry(const group_desc_t *group, const char *name, void *entry_data, void *property_data) {
    if (!can_change(group, entry_data, property_data)) return 0;
    if (!good_name(name)) return 1;
    GroupHandle opened = open_group(group);
    if (!opened) return 1;
    kvio_node_t *entity = find_entry(group, name);
    if (!entity) return 1;
    if (entry_data && !change_data(group, entity, name, entry_data)) return 1;
    if (property_data && !change_properties(group, name, property_data)) return 1;
    return 0;
}
