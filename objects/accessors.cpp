// Attributes of containers and entities as integers and texts.
#include "objects/objects.h"

namespace {

constexpr std::size_t integer_size = 64;

template <class Object>
int set_integer(int (*set)(Object *, const char *, const char *), Object *object, const char *attribute, int value) {
    char text[integer_size];
    std::snprintf(text, sizeof text, "%d", value);
    return set(object, attribute, text);
}

// Reads through the bounded getter. A null object goes to the plain one, whose name its diagnostic must have; it
// writes no text then.
template <class Object>
int get_integer(int (*get)(Object *, const char *, char *),
                int (*get_bounded)(Object *, const char *, char *, unsigned), Object *object, const char *attribute,
                int *value) {
    char text[integer_size];
    int result = object ? get_bounded(object, attribute, text, sizeof text) : get(object, attribute, text);
    if (result == 1) *value = to_int32(text);
    return result;
}

}  // namespace

int set_iterator_int(kvio_iterator_t *iterator, const char *attribute, int value) {
    return set_integer(kvio_setattr_container, iterator, attribute, value);
}

int get_iterator_int(kvio_iterator_t *iterator, const char *attribute, int *value) {
    return get_integer(kvio_getattr_container, kvio_getattr_container2, iterator, attribute, value);
}

int set_entity_int(kvio_node_t *entity, const char *attribute, int value) {
    return set_integer(kvio_setattr_entity, entity, attribute, value);
}

int get_entity_int(kvio_node_t *entity, const char *attribute, int *value) {
    return get_integer(kvio_getattr_entity, kvio_getattr_entity2, entity, attribute, value);
}

int set_entity_char(kvio_node_t *entity, const char *attribute, const char *text) {
    return kvio_setattr_entity(entity, attribute, text);
}

int get_entity_char(kvio_node_t *entity, const char *attribute, char *buffer) {
    return kvio_getattr_entity(entity, attribute, buffer);
}
