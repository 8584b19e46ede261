// Lists: listed, appended to, changed, read and deleted from.
#include "objects/objects.h"

using namespace objects;

namespace {

ListHandle open_list(const list_desc_t *list) {
    ListHandle opened(list ? kvio_open_list(list->config, list->scope, list->type, list->name) : nullptr);
    if (!opened) kvlog(LIST_OP, "System integrity error!\n");
    return opened;
}

bool prints_entries(const list_desc_t *list) { return reads_entries(list) && list->print_entry; }

Entities retrieve_members(const list_desc_t *list, kvio_iterator_t *opened) {
    Entities members(kvio_retrieve_all(opened));
    if (!members) kvlog(LIST_OP, "%s: cannot retrieve entries from list!\n", shown(list->label));
    return members;
}

// Fills the buffer and prints it. `called` is the name in the messages.
bool print_entity(const list_desc_t *list, kvio_node_t *entity, int position, void *buffer, const char *called) {
    if (list->get_entry(entity, buffer) != 0) return LOGGED_AS(false, LIST_OP, "can't get entry: %s!\n", called);
    if (list->print_entry(position, buffer) != 0) return LOGGED_AS(false, LIST_OP, "can't print entry: %s!\n", called);
    return true;
}

bool print_one(const list_desc_t *list, const char *name) {
    if (!prints_entries(list)) return false;
    Buffer buffer = entry_buffer(list);
    if (!buffer) return LOGGED_AS(false, LIST_OP, "can't alloc entry: %s!\n", name);
    kvio_node_t *entity = find_entry(list, name);
    if (!entity) return LOGGED_AS(false, LIST_OP, "can't retrieve entry: %s!\n", name);
    return print_entity(list, entity, 1, buffer.get(), name);
}

// Prints a name and the count in the attribute "refcount", which other programs keep.
bool print_name(const list_desc_t *list, kvio_node_t *entity, int index) {
    char name[name_size];
    if (!kvio_name2(entity, name, sizeof name))
        return LOGGED_AS(false, LIST_OP, "can't get name for entry %d!\n", index);
    char count[16];
    if (!kvio_getattr_entity2(entity, "refcount", count, sizeof count))
        return LOGGED_AS(false, LIST_OP, "can't get reference count: %s!\n", name);
    if (list->print_name(index + 1, name, empty(count) ? -1 : to_int32(count)) != 0)
        return LOGGED_AS(false, LIST_OP, "can't print entry name: %s!\n", name);
    return true;
}

bool print_names(const list_desc_t *list, kvio_iterator_t *opened) {
    if (!list->print_name) return false;
    Entities members = retrieve_members(list, opened);
    if (!members) return false;
    for (int i = 0; i < members->count; ++i)
        if (!print_name(list, members->items[i], i)) return false;
    return true;
}

bool print_all(const list_desc_t *list, kvio_iterator_t *opened) {
    Entities members = retrieve_members(list, opened);
    if (!members || !prints_entries(list)) return false;
    Buffer buffer = entry_buffer(list);
    if (!buffer) return LOGGED_AS(false, LIST_OP, "can't alloc entry: %s!\n", shown(list->label));
    for (int i = 0; i < members->count; ++i)
        if (!print_entity(list, members->items[i], i + 1, buffer.get(), shown(list->label))) return false;
    return true;
}

// Opens the list and prints between the callbacks `begin` and `end`.
template <class Print>
int listing(const list_desc_t *list, Print print) {
    ListHandle opened = open_list(list);
    if (!opened) return -1;
    if (list->begin) list->begin();
    int result = print(opened.get()) ? 0 : -1;
    opened.reset();
    if (list->end) list->end();
    return result;
}

// Finds the entity and writes the caller's data into it.
bool set_entity(const list_desc_t *list, void *data, const char *name) {
    kvio_node_t *entity = find_entry(list, name);
    if (!entity) return LOGGED_AS(false, LIST_OP, "Can't retrieve entry: %s!\n", shown(name));
    if (list->set_entry(entity, data) < 0) return LOGGED_AS(false, LIST_OP, "Can't set entry: %s!\n", name);
    return true;
}

}  // namespace

int list_list(const list_desc_t *list, const char *name) {
    return listing(list,
                   [=](kvio_iterator_t *opened) { return name ? print_one(list, name) : print_names(list, opened); });
}

int list_list2(const list_desc_t *list) {
    return listing(list, [=](kvio_iterator_t *opened) { return print_all(list, opened); });
}

int append_list(const list_desc_t *list, void *data, const char *name) {
    ListHandle opened = open_list(list);
    if (!opened) return -1;
    int count = kvio_size(opened.get());
    if (count < 0) return -1;
    if (count >= list->max_entries) return LOGGED_AS(-1, LIST_OP, "%s: list is full!\n", shown(list->label));
    if (!list->set_entry) return -1;
    // kvio_append() would replace an empty name by a number.
    if (empty(name) || !kvio_define(list->config, list->scope, list->type, name))
        return LOGGED_AS(-1, LIST_OP, "Can't define entry: %s!\n", shown(name));
    if (!kvio_append(opened.get(), name)) {
        kvlog(LIST_OP, "Can't append entry: %s!\n", name);
        undefine_entry(list, name);
        return -1;
    }
    if (!set_entity(list, data, name)) {
        kvio_remove(opened.get(), name);
        undefine_entry(list, name);
        return -1;
    }
    return 0;
}

int change_list(const list_desc_t *list, void *data, const char *name) {
    ListHandle opened = open_list(list);
    if (!opened || !list->set_entry) return -1;
    return set_entity(list, data, name) ? 0 : -1;
}

int delete_list(const list_desc_t *list, const char *name) {
    if (!complete(list)) return 0;
    ListHandle opened = open_list(list);
    if (!opened) return -1;
    if (!undefine_entry(list, name)) return LOGGED_AS(-1, LIST_OP, "Can't undefine %s\n", shown(name));
    if (!kvio_remove(opened.get(), name)) return LOGGED_AS(-1, LIST_OP, "Can't remove %s\n", name);
    return 0;
}

int get_list(const list_desc_t *list, const char *name, void *entry) {
    ListHandle opened = open_list(list);
    if (!opened || !list->get_entry) return -1;
    kvio_node_t *entity = find_entry(list, name);
    if (!entity) return LOGGED_AS(-1, LIST_OP, "can't retrieve entry: %s!\n", shown(name));
    if (list->get_entry(entity, entry) != 0) return LOGGED_AS(-1, LIST_OP, "can't get entry: %s!\n", name);
    return 0;
}
