// Attributes of entities and containers, and counters kept in them.
#include <cstdio>

#include "store/store.h"

namespace {

// Returns the element of an entity; null with code and line.
xmlNode *element_of(kvio_node_t *entity, const char *who) {
    if (!entity) return fail(nullptr, KVIO_BAD_ENTITY, "%s() error: NULL entity\n", who);
    return entity;
}

// Returns the element of a container handle; null with code and line.
xmlNode *readable(const kvio_iterator_t *iterator, const char *who) {
    const char *unattached = "() error: bad iterator, no container assoiciated";
    return store::container_of(iterator, store::Access::read, who, unattached);
}

xmlNode *writable(const kvio_iterator_t *iterator, const char *who) {
    return store::container_of(iterator, store::Access::write, who);
}

int set(xmlNode *element, const char *name, const char *value) {
    if (!element) return 0;
    xml::set_attribute(element, name, value);
    return succeed(1);
}

int unset(xmlNode *element, const char *name) {
    if (!element) return 0;
    xml::remove_attribute(element, name);
    return succeed(1);
}

// Calls use(text, exists) with an attribute's text and whether there is such an attribute.
template <class Use>
int get(const xmlNode *element, const char *name, Use use) {
    if (!element) return 0;
    const xmlAttr *at = xml::attribute(element, name);
    if (!at) {
        use("", false);
        return succeed(1);
    }
    xml::Text text = xml::Text::of(at);
    if (!text) return fail(0, KVIO_XML);
    use(text.get(), true);
    return succeed(1);
}

int get_whole(const xmlNode *element, const char *name, char *buffer) {
    return get(element, name, [&](const char *text, bool) { std::strcpy(buffer, text); });
}

int get_bounded(const xmlNode *element, const char *name, char *buffer, unsigned int size) {
    return get(element, name, [&](const char *text, bool exists) {
        if (exists)
            bounded_copy(buffer, size, text);
        else if (size)
            *buffer = '\0';
    });
}

constexpr unsigned counter_size = 16;

int write_counter(kvio_node_t *entity, const char *name, uint32_t counter) {
    char text[counter_size];
    std::snprintf(text, sizeof text, "%lu", static_cast<unsigned long>(counter));
    return kvio_setattr_entity(entity, name, text);
}

}  // namespace

int kvio_setattr_entity(kvio_node_t *entity, const char *attribute, const char *value) {
    return set(element_of(entity, __func__), attribute, value);
}

int kvio_unsetattr_entity(kvio_node_t *entity, const char *attribute) {
    return unset(element_of(entity, __func__), attribute);
}

int kvio_getattr_entity(kvio_node_t *entity, const char *attribute, char *buffer) {
    return get_whole(element_of(entity, __func__), attribute, buffer);
}

int kvio_getattr_entity2(kvio_node_t *entity, const char *attribute, char *buffer, unsigned int size) {
    return get_bounded(element_of(entity, __func__), attribute, buffer, size);
}

int kvio_setattr_container(kvio_iterator_t *iterator, const char *attribute, const char *value) {
    return set(writable(iterator, __func__), attribute, value);
}

int kvio_unsetattr_container(kvio_iterator_t *iterator, const char *attribute) {
    return unset(writable(iterator, __func__), attribute);
}

int kvio_getattr_container(kvio_iterator_t *iterator, const char *attribute, char *buffer) {
    return get_whole(readable(iterator, __func__), attribute, buffer);
}

int kvio_getattr_container2(kvio_iterator_t *iterator, const char *attribute, char *buffer, unsigned int size) {
    return get_bounded(readable(iterator, __func__), attribute, buffer, size);
}

int kvio_increase_entity_attr(kvio_node_t *entity, const char *attribute, uint32_t *value) {
    if (!element_of(entity, __func__)) return 0;
    char text[counter_size];
    if (!kvio_getattr_entity2(entity, attribute, text, sizeof text)) return 0;
    uint32_t counter = to_uint32(text) + 1;
    if (value) *value = counter;
    return write_counter(entity, attribute, counter);
}

int kvio_decrease_entity_attr(kvio_node_t *entity, const char *attribute, uint32_t *value) {
    if (!element_of(entity, __func__)) return 0;
    char text[counter_size];
    if (!kvio_getattr_entity2(entity, attribute, text, sizeof text)) return 0;
    uint32_t counter = to_uint32(text);
    if (counter != 0) write_counter(entity, attribute, --counter);
    if (value) *value = counter;
    return succeed(1);
}
