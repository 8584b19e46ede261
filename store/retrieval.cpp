// Containers and scopes read: members by position, entities by name and by type, and arrays of entities.
#include "store/store.h"

namespace {

// Returns the member at a position among those that `counts` accepts; null if there are fewer.
const xmlNode *member_at(const xmlNode *container, unsigned int position, bool (*counts)(const xmlNode *)) {
    for (const xmlNode *child = container->children; child; child = child->next)
        if (counts(child) && --position == 0) return child;
    return nullptr;
}

// Copies the name of the member at a position. Returns its kind, or -1 with code and line.
int regain(const kvio_iterator_t *iterator, unsigned int position, const store::Buffer &buffer, const char *who) {
    const xmlNode *container = store::readable(iterator, who);
    if (!container) return -1;
    const xmlNode *member = member_at(container, position, store::is_member);
    if (!member) return fail(-1, KVIO_OUT_OF_RANGE, "%s() error: out of range\n", who);
    xml::Text name = xml::Text::below(member);
    if (!name) return fail(-1, KVIO_XML);
    if (!*name.get()) return fail(-1, KVIO_EMPTY_ITEM, "%s() fatal error: empty item\n", who);
    buffer.copy(name.get());
    return store::is_container_member(member);
}

}  // namespace

kvio_node_t *kvio_retrieve_entity(kvio_config_t *config, const char *scope, const char *type, const char *name) {
    return store::find_entity(config, scope, type, name, __func__);
}

int kvio_regain_index(kvio_iterator_t *iterator, unsigned int position, char *buffer) {
    return regain(iterator, position, {buffer}, __func__);
}

int kvio_regain_index2(kvio_iterator_t *iterator, unsigned int position, char *buffer, unsigned int size) {
    return regain(iterator, position, {buffer, size}, __func__);
}

kvio_node_t *kvio_retrieve_index(kvio_iterator_t *iterator, unsigned int position) {
    const xmlNode *container = store::readable(iterator, __func__);
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
    if (found.count < 0) return nullptr;
    if (!found.only)
        return fail(nullptr, KVIO_BAD_SCOPE, "%s() fatal error: entity not existed or multiple instances\n", __func__);
    return succeed(found.only);
}

kvio_entities_t *kvio_list_entities(kvio_config_t *config, const char *scope, const char *type) {
    const xmlNode *parent = store::find_scope(config, scope, __func__);
    if (!parent) return nullptr;
    store::Found found;
    if (type) store::search_scope(parent, type, nullptr, true, found);
    store::Entities array(kvio_alloc_entities(found.count));
    if (!array) return fail(nullptr, KVIO_NO_MEMORY);
    for (xmlNode *child = parent->children; array->count < found.count; child = child->next)
        if (xml::is_element(child, type)) array->items[array->count++] = child;
    return succeed(array.release());
}

int kvio_entity_count(kvio_config_t *config, const char *scope, const char *type) {
    if (!config) return fail(0, KVIO_NULL_CONFIG);
    store::Found found = store::find_entities(config->doc, scope, type, nullptr, __func__);
    return found.count < 0 ? 0 : succeed(found.count);
}

kvio_entities_t *kvio_alloc_entities(int n) {
    const std::size_t size = sizeof(kvio_entities_t), slot = sizeof(kvio_node_t *), slots = static_cast<std::size_t>(n);
    if (n < 0 || slots > (SIZE_MAX - size) / slot) return nullptr;
    auto *array = static_cast<kvio_entities_t *>(std::malloc(size + slots * slot));
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
