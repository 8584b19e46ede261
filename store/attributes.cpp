// Attributes of entities and containers, and counters kept in them.
#include <cstdio>

#include "store/store.h"

namespace {

constexpr const char *unattached = "() error: bad iterator, no container assoiciated";

int set(xmlNode *element, const char *name, const char *value) {
    if (!element) return 0;
    const bool renames = name && same(name, "name");
    if (renames) store::forget(element);
    xml::set_attribute(element, name, value);
    if (renames) store::learn(element);
    return succeed(1);
}

int unset(xmlNode *element, const char *name) {
    if (!element) return 0;
    if (name && same(name, "name")) store::forget(element);
    if (xmlAttr *at = xml::attribute(element, name)) xmlRemoveProp(at);
    return succeed(1);
}

int get(const xmlNode *element, const char *name, const store::Buffer &buffer) {
    if (!element) return 0;
    const xmlAttr *at = xml::attribute(element, name);
    return at ? buffer.take(xml::Text::of(at)) : buffer.take_nothing();
}

// Adds 1 to a counter or, unless it is 0, subtracts 1.
int count(kvio_node_t *entity, const char *attribute, bool up, uint32_t *value, const char *who) {
    char text[16];
    if (!store::given(entity, who) || !kvio_getattr_entity2(entity, attribute, text, sizeof text)) return 0;
    const uint32_t before = to_uint32(text), after = up ? before + 1 : before - (before > 0);
    if (value) *value = after;
    if (after == before) return succeed(1);
    std::snprintf(text, sizeof text, "%lu", static_cast<unsigned long>(after));
    return kvio_setattr_entity(entity, attribute, text);
}

}  // namespace

int kvio_setattr_entity(kvio_node_t *entity, const char *attribute, const char *value) {
    return set(store::given(entity, __func__), attribute, value);
}

int kvio_unsetattr_entity(kvio_node_t *entity, const char *attribute) {
    return unset(store::given(entity, __func__), attribute);
}

int kvio_getattr_entity(kvio_node_t *entity, const char *attribute, char *buffer) {
    return get(store::given(entity, __func__), attribute, {buffer});
}

int kvio_getattr_entity2(kvio_node_t *entity, const char *attribute, char *buffer, unsigned int size) {
    return get(store::given(entity, __func__), attribute, {buffer, size});
}

int kvio_setattr_container(kvio_iterator_t *iterator, const char *attribute, const char *value) {
    return set(store::writable(iterator, __func__), attribute, value);
}

int kvio_unsetattr_container(kvio_iterator_t *iterator, const char *attribute) {
    return unset(store::writable(iterator, __func__), attribute);
}

int kvio_getattr_container(kvio_iterator_t *iterator, const char *attribute, char *buffer) {
    return get(store::readable(iterator, __func__, unattached), attribute, {buffer});
}

int kvio_getattr_container2(kvio_iterator_t *iterator, const char *attribute, char *buffer, unsigned int size) {
    return get(store::readable(iterator, __func__, unattached), attribute, {buffer, size});
}

int kvio_increase_entity_attr(kvio_node_t *entity, const char *attribute, uint32_t *value) {
    return count(entity, attribute, true, value, __func__);
}

int kvio_decrease_entity_attr(kvio_node_t *entity, const char *attribute, uint32_t *value) {
    return count(entity, attribute, false, value, __func__);
}
