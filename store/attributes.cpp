// Attributes of entities and containers, and counters kept in them.
#include <cstdio>

#include "store/store.h"

namespace {

constexpr const char *unattached = "() error: bad iterator, no container assoiciated";

xmlNode *element_of(kvio_node_t *entity, const char *who) { return store::is_given(entity, who) ? entity : nullptr; }

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
    xml::remove_attribute(element, name);
    return succeed(1);
}

int get(const xmlNode *element, const char *name, const store::Buffer &buffer) {
    if (!element) return 0;
    const xmlAttr *at = xml::attribute(element, name);
    return at ? buffer.take(xml::Text::of(at)) : buffer.take_nothing();
}

using CounterText = char[16];

bool read_counter(kvio_node_t *entity, const char *attribute, uint32_t &counter, const char *who) {
    CounterText text;
    if (!store::is_given(entity, who) || !kvio_getattr_entity2(entity, attribute, text, sizeof text)) return false;
    counter = to_uint32(text);
    return true;
}

int write_counter(kvio_node_t *entity, const char *attribute, uint32_t counter) {
    CounterText text;
    std::snprintf(text, sizeof text, "%lu", static_cast<unsigned long>(counter));
    return kvio_setattr_entity(entity, attribute, text);
}

}  // namespace

int kvio_setattr_entity(kvio_node_t *entity, const char *attribute, const char *value) {
    return set(element_of(entity, __func__), attribute, value);
}

int kvio_unsetattr_entity(kvio_node_t *entity, const char *attribute) {
    return unset(element_of(entity, __func__), attribute);
}

int kvio_getattr_entity(kvio_node_t *entity, const char *attribute, char *buffer) {
    return get(element_of(entity, __func__), attribute, {buffer});
}

int kvio_getattr_entity2(kvio_node_t *entity, const char *attribute, char *buffer, unsigned int size) {
    return get(element_of(entity, __func__), attribute, {buffer, size});
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
    uint32_t counter;
    if (!read_counter(entity, attribute, counter, __func__)) return 0;
    ++counter;
    if (value) *value = counter;
    return write_counter(entity, attribute, counter);
}

int kvio_decrease_entity_attr(kvio_node_t *entity, const char *attribute, uint32_t *value) {
    uint32_t counter;
    if (!read_counter(entity, attribute, counter, __func__)) return 0;
    if (counter != 0) write_counter(entity, attribute, --counter);
    if (value) *value = counter;
    return succeed(1);
}
