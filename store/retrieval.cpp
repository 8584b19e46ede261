// Containers and scopes read: sizes, loops, positions, entities by name and by type, and arrays of entities.
#include <algorithm>
#include <climits>

#include "store/nesting.h"

namespace {

bool is_table(const kvio_iterator_t *iterator) { return iterator && same(iterator->kind, "table"); }

// Returns the container element of a handle; null with code and line.
const xmlNode *container_of(const kvio_iterator_t *iterator, const char *who) {
    return store::container_of(iterator, store::Access::read, who);
}

store::Entities new_array(std::size_t capacity) {
    if (capacity > INT_MAX) return nullptr;
    return store::Entities(kvio_alloc_entities(static_cast<int>(capacity)));
}

// Collects the entities into an array of `size` slots. The array has as many as are needed instead if a table counted
// fewer, or if there are so many paths to a container that no memory holds `size`. Null with the code.
kvio_entities_t *collect(store::Nesting &nesting, int size) {
    store::Entities array = new_array(static_cast<std::size_t>(size));
    if (!array && !nesting.is_shared()) return fail(nullptr, KVIO_NO_MEMORY);
    Array<xmlNode *> found;
    if (!nesting.collect(found)) return nullptr;
    if (!array || found.size() > static_cast<std::size_t>(size)) array = new_array(found.size());
    if (!array) return fail(nullptr, KVIO_NO_MEMORY);
    std::copy(found.begin(), found.end(), array->items);
    array->count = static_cast<int>(found.size());
    return succeed(array.release());
}

kvio_entities_t *retrieve(kvio_iterator_t *iterator, bool check_loop) {
    // The function that reads the handle first is named in the message about it.
    const char *reader = is_table(iterator) ? "kvio_size" : check_loop ? "do_kvio_check_loop" : "kvio_real_size";
    if (!container_of(iterator, reader)) return fail(nullptr, check_loop ? KVIO_LOOP : KVIO_UNRESOLVED);
    store::Nesting nesting(iterator);
    kvio_errno = KVIO_OK;
    if (check_loop && nesting.check_loop() != 0)
        return fail(nullptr, kvio_errno == KVIO_NO_MEMORY ? KVIO_NO_MEMORY : KVIO_LOOP);
    int size = is_table(iterator) ? kvio_size(iterator) : nesting.real_size();
    if (size >= 0) return collect(nesting, size);
    bool has_code = kvio_errno == KVIO_LOOP || kvio_errno == KVIO_NO_MEMORY;
    return has_code ? nullptr : fail(nullptr, KVIO_UNRESOLVED);
}

// Returns the member at a position among those that `counts` accepts; null if there are fewer.
template <class Counts>
const xmlNode *member_at(const xmlNode *container, unsigned int position, Counts counts) {
    for (const xmlNode *child = container->children; child; child = child->next)
        if (counts(child) && --position == 0) return child;
    return nullptr;
}

// Calls use(name) with the name of the member at a position. Returns its kind, or -1 with code and line.
template <class Use>
int regain(const kvio_iterator_t *iterator, unsigned int position, const char *who, Use use) {
    const xmlNode *container = container_of(iterator, who);
    if (!container) return -1;
    const xmlNode *member = member_at(container, position, store::is_member);
    if (!member) return fail(-1, KVIO_OUT_OF_RANGE, "%s() error: out of range\n", who);
    xml::Text name = xml::Text::below(member);
    if (!name) return fail(-1, KVIO_XML);
    if (!*name.get()) return fail(-1, KVIO_EMPTY_ITEM, "%s() fatal error: empty item\n", who);
    use(name.get());
    return store::is_container_member(member);
}

}  // namespace

int kvio_size(kvio_iterator_t *iterator) {
    const xmlNode *container = container_of(iterator, __func__);
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
    if (!container_of(iterator, __func__)) return -1;
    return store::Nesting(iterator).real_size();
}

int kvio_check_loop(kvio_iterator_t *iterator) {
    if (!container_of(iterator, "do_kvio_check_loop")) return succeed(-1);
    return succeed(store::Nesting(iterator).check_loop());
}

kvio_entities_t *kvio_retrieve_all(kvio_iterator_t *iterator) { return retrieve(iterator, !is_table(iterator)); }

kvio_entities_t *kvio_retrieve_all2(kvio_iterator_t *iterator) { return retrieve(iterator, false); }

kvio_node_t *kvio_retrieve_entity(kvio_config_t *config, const char *scope, const char *type, const char *name) {
    if (!config) return fail(nullptr, KVIO_NULL_CONFIG);
    store::Found found = store::find_entities(config->doc, scope, type, name, __func__);
    if (!found.ok) return nullptr;
    if (found.count == 0) return fail(nullptr, KVIO_NOT_FOUND);
    if (found.count > 1) return fail(nullptr, KVIO_BAD_SCOPE, "%s fatal error: multiple instances\n", __func__);
    return succeed(found.only);
}

int kvio_regain_index(kvio_iterator_t *iterator, unsigned int position, char *buffer) {
    return regain(iterator, position, __func__, [&](const char *name) { std::strcpy(buffer, name); });
}

int kvio_regain_index2(kvio_iterator_t *iterator, unsigned int position, char *buffer, unsigned int size) {
    return regain(iterator, position, __func__, [&](const char *name) { bounded_copy(buffer, size, name); });
}

kvio_node_t *kvio_retrieve_index(kvio_iterator_t *iterator, unsigned int position) {
    const xmlNode *container = container_of(iterator, __func__);
    if (!container) return nullptr;
    const xmlNode *member = member_at(container, position, store::is_entity_member);
    if (!member) return fail(nullptr, KVIO_OUT_OF_RANGE, "%s() error: out of range\n", __func__);
    xml::Text name = xml::Text::below(member);
    if (!name) return fail(nullptr, KVIO_XML);
    if (!*name.get()) return fail(nullptr, KVIO_BAD_ENTITY, "%s() fatal error: empty entity\n", __func__);
    const xmlAttr *type = xml::attribute(container, "type");
    if (!type) return fail(nullptr, KVIO_BAD_SCOPE, "%s() fatal error: container is broken\n", __func__);
    xml::Text type_text = xml::Text::of(type);
    store::Found found = store::find_entities(container->doc, iterator->scope, type_text.get(), name.get(), __func__);
    if (!found.ok) return nullptr;
    if (found.count != 1)
        return fail(nullptr, KVIO_BAD_SCOPE, "%s() fatal error: entity not existed or multiple instances\n", __func__);
    return succeed(found.only);
}

kvio_entities_t *kvio_list_entities(kvio_config_t *config, const char *scope, const char *type) {
    if (!config) return fail(nullptr, KVIO_NULL_CONFIG);
    const xmlNode *parent = store::find_scope(config, scope, __func__);
    if (!parent) return nullptr;
    auto is_listed = [&](const xmlNode *child) { return type && xml::is_element(child, type); };
    std::size_t count = 0;
    for (const xmlNode *child = parent->children; child; child = child->next) count += is_listed(child);
    store::Entities array = new_array(count);
    if (!array) return fail(nullptr, KVIO_NO_MEMORY);
    for (xmlNode *child = parent->children; child; child = child->next)
        if (is_listed(child)) array->items[array->count++] = child;
    return succeed(array.release());
}

int kvio_entity_count(kvio_config_t *config, const char *scope, const char *type) {
    if (!config) return fail(0, KVIO_NULL_CONFIG);
    store::Found found = store::find_all(config->doc, scope, type, __func__);
    if (!found.ok) return 0;
    return succeed(static_cast<int>(std::min<std::size_t>(found.count, INT_MAX)));
}

kvio_entities_t *kvio_alloc_entities(int n) {
    std::size_t bytes;
    if (n < 0 || __builtin_mul_overflow(static_cast<std::size_t>(n), sizeof(kvio_node_t *), &bytes) ||
        __builtin_add_overflow(bytes, sizeof(kvio_entities_t), &bytes))
        return nullptr;
    auto *array = static_cast<kvio_entities_t *>(std::malloc(bytes));
    if (!array) return nullptr;
    array->count = 0;
    array->capacity = n;
    array->items = reinterpret_cast<kvio_node_t **>(array + 1);
    return array;
}

void kvio_free_entities(kvio_entities_t *entities) {
    kvio_errno = KVIO_OK;
    std::free(entities);
}
