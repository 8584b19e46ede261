// Containers: tables, lists and groups created, found and removed in their scope, and the handles on them.
#include "store/store.h"

namespace {

// The functions that appear in messages.
constexpr const char *create_template = "kvio_container_create_template";
constexpr const char *dispose_template = "kvio_container_dispose_template";

// Whether there is a document, and scope and type fit into a handle. If not sets the code and prints the line.
bool fit_handle(const kvio_config_t *config, const char *scope, const char *type) {
    if (!config) return fail(false, KVIO_NULL_CONFIG);
    auto is_too_long = [](const char *text, std::size_t field) { return text && strnlen(text, field) >= field; };
    if (is_too_long(scope, sizeof(kvio_iterator_t::scope)))
        return fail(false, KVIO_BAD_SCOPE, "%s fatal error: scope not existed or multiple instances\n",
                    create_template);
    if (is_too_long(type, sizeof(kvio_iterator_t::type)))
        return fail(false, KVIO_BAD_SCOPE, "%s error: name is too long: %s\n", create_template, type);
    return true;
}

// Makes a handle on a container element; null with code and line when memory is short. The texts fit their fields.
store::Iterator new_handle(const char *kind, xmlNode *element, kvio_config_t *config, const char *scope,
                           const char *type) {
    auto iterator = zeroed<store::Iterator>();
    if (!iterator)
        return fail(nullptr, KVIO_NO_MEMORY, "%s error: no memory to create a new iterator\n", create_template);
    copy_if_fits(iterator->kind, sizeof iterator->kind, kind);
    iterator->node = element;
    iterator->readonly = config->semid < 0;
    iterator->config = config;
    copy_if_fits(iterator->scope, sizeof iterator->scope, scope);
    copy_if_fits(iterator->type, sizeof iterator->type, type);
    return iterator;
}

kvio_iterator_t *create(const char *kind, kvio_config_t *config, const char *scope, const char *type,
                        const char *name) {
    if (!fit_handle(config, scope, type)) return nullptr;
    xmlNode *parent = store::find_scope(config, scope, create_template);
    if (!parent) return nullptr;
    if (store::find_container(parent, kind, type, name))
        return fail(nullptr, KVIO_EXISTS, "%s(%s): scope:[%s] %s:[%s] type:[%s] is existed\n", create_template,
                    config->path, scope, kind, name, type);
    xml::Detached element = store::new_element(kind, create_template);
    if (!element || !store::set_attribute(element, "name", name, create_template) ||
        !store::set_attribute(element, "type", type, create_template))
        return nullptr;
    store::Iterator iterator = new_handle(kind, element.get(), config, scope, type);
    if (!iterator || !store::append(parent, std::move(element), create_template)) return nullptr;
    return succeed(iterator.release());
}

kvio_iterator_t *open(const char *kind, kvio_config_t *config, const char *scope, const char *type, const char *name) {
    if (!fit_handle(config, scope, type)) return nullptr;
    xmlNode *element = store::find_container(config, kind, scope, type, name, create_template);
    store::Iterator iterator = element ? new_handle(kind, element, config, scope, type) : nullptr;
    return iterator ? succeed(iterator.release()) : nullptr;
}

int dispose(const char *kind, kvio_config_t *config, const char *scope, const char *type, const char *name) {
    xmlNode *element = store::find_container(config, kind, scope, type, name, dispose_template);
    return element ? store::discard(element) : 0;
}

}  // namespace

kvio_iterator_t *kvio_create_table(kvio_config_t *config, const char *scope, const char *type, const char *name) {
    return create("table", config, scope, type, name);
}
kvio_iterator_t *kvio_create_list(kvio_config_t *config, const char *scope, const char *type, const char *name) {
    return create("list", config, scope, type, name);
}
kvio_iterator_t *kvio_create_group(kvio_config_t *config, const char *scope, const char *type, const char *name) {
    return create("group", config, scope, type, name);
}

kvio_iterator_t *kvio_open_table(kvio_config_t *config, const char *scope, const char *type, const char *name) {
    return open("table", config, scope, type, name);
}
kvio_iterator_t *kvio_open_list(kvio_config_t *config, const char *scope, const char *type, const char *name) {
    return open("list", config, scope, type, name);
}
kvio_iterator_t *kvio_open_group(kvio_config_t *config, const char *scope, const char *type, const char *name) {
    return open("group", config, scope, type, name);
}

int kvio_dispose_table(kvio_config_t *config, const char *scope, const char *type, const char *name) {
    return dispose("table", config, scope, type, name);
}
int kvio_dispose_list(kvio_config_t *config, const char *scope, const char *type, const char *name) {
    return dispose("list", config, scope, type, name);
}
int kvio_dispose_group(kvio_config_t *config, const char *scope, const char *type, const char *name) {
    return dispose("group", config, scope, type, name);
}

int kvio_close_table(kvio_iterator_t *iterator) {
    std::free(iterator);
    return 1;
}
int kvio_close_list(kvio_iterator_t *iterator) { return kvio_close_table(iterator); }
int kvio_close_group(kvio_iterator_t *iterator) { return kvio_close_table(iterator); }
