// Containers: tables, lists and groups created, found and removed in their scope, and the handles on them.
#include "store/store.h"

namespace {

enum class Mode { create, find };

// Whether scope and type fit into a handle; if not, sets the code and prints the line.
bool fit_handle(const char *scope, const char *type, const char *who) {
    auto is_too_long = [](const char *text, std::size_t field) { return text && strnlen(text, field) >= field; };
    if (is_too_long(scope, sizeof(kvio_iterator_t::scope)))
        return fail(false, KVIO_BAD_SCOPE, "%s fatal error: scope not existed or multiple instances\n", who);
    if (is_too_long(type, sizeof(kvio_iterator_t::type)))
        return fail(false, KVIO_BAD_SCOPE, "%s error: name is too long: %s\n", who, type);
    return true;
}

// Creates a container element outside the tree; null with code and line.
xml::Detached make_element(const char *kind, const char *type, const char *name, const char *who) {
    auto element = xml::guarded<xml::Detached>([&] { return xmlNewNode(nullptr, xml::str(kind)); });
    if (!element) return fail(nullptr, KVIO_XML, "%s error on xmlNewNode(): no memory?\n", who);
    if (!xml::set_attribute(element.get(), "name", name) || !xml::set_attribute(element.get(), "type", type))
        return fail(nullptr, KVIO_XML, "%s error on xmlNewProp(): no memory?\n", who);
    return element;
}

// Makes a handle on a container element; null when memory is short. The texts fit their fields.
store::Iterator open_handle(const char *kind, xmlNode *element, kvio_config_t *config, const char *scope,
                            const char *type) {
    auto iterator = zeroed<store::Iterator>();
    if (!iterator) return iterator;
    copy_if_fits(iterator->kind, sizeof iterator->kind, kind);
    iterator->node = element;
    iterator->readonly = config->semid < 0;
    iterator->config = config;
    copy_if_fits(iterator->scope, sizeof iterator->scope, scope);
    copy_if_fits(iterator->type, sizeof iterator->type, type);
    return iterator;
}

// The names of the next two functions appear in messages.
kvio_iterator_t *kvio_container_create_template(const char *kind, Mode mode, kvio_config_t *config, const char *scope,
                                                const char *type, const char *name) {
    const char *who = __func__;
    if (!config) return fail(nullptr, KVIO_NULL_CONFIG);
    if (!fit_handle(scope, type, who)) return nullptr;
    xmlNode *parent = store::find_scope(config, scope, who);
    if (!parent) return nullptr;
    xmlNode *element = store::find_container(parent, kind, type, name);
    if (element && mode == Mode::create)
        return fail(nullptr, KVIO_EXISTS, "%s(%s): scope:[%s] %s:[%s] type:[%s] is existed\n", who, config->path, scope,
                    kind, name, type);
    if (!element && mode == Mode::find)
        return fail(nullptr, KVIO_NOT_FOUND, "%s(%s): scope:[%s] %s:[%s] type:[%s] is not existed\n", who, config->path,
                    scope, kind, shown(name), shown(type));
    xml::Detached fresh;
    if (!element) {
        fresh = make_element(kind, type, name, who);
        if (!fresh) return nullptr;
        if (!xmlAddChild(parent, fresh.get())) return fail(nullptr, KVIO_XML, "%s error on xmlAddChild()\n", who);
        element = fresh.get();
    }
    store::Iterator iterator = open_handle(kind, element, config, scope, type);
    if (!iterator) {
        if (fresh) xmlUnlinkNode(fresh.get());
        return fail(nullptr, KVIO_NO_MEMORY, "%s error: no memory to create a new iterator\n", who);
    }
    fresh.release();
    return succeed(iterator.release());
}

int kvio_container_dispose_template(const char *kind, kvio_config_t *config, const char *scope, const char *type,
                                    const char *name) {
    if (!config) return fail(0, KVIO_NULL_CONFIG);
    const xmlNode *parent = store::find_scope(config, scope, __func__);
    if (!parent) return 0;
    xmlNode *element = store::find_container(parent, kind, type, name);
    if (!element)
        return fail(0, KVIO_NOT_FOUND, "%s(%s): scope:[%s] %s:[%s] type:[%s] is not existed\n", __func__, config->path,
                    scope, kind, shown(name), shown(type));
    return store::discard(element);
}

int close_container(kvio_iterator_t *iterator) {
    std::free(iterator);
    return 1;
}

}  // namespace

kvio_iterator_t *kvio_create_table(kvio_config_t *config, const char *scope, const char *type, const char *name) {
    return kvio_container_create_template("table", Mode::create, config, scope, type, name);
}
kvio_iterator_t *kvio_create_list(kvio_config_t *config, const char *scope, const char *type, const char *name) {
    return kvio_container_create_template("list", Mode::create, config, scope, type, name);
}
kvio_iterator_t *kvio_create_group(kvio_config_t *config, const char *scope, const char *type, const char *name) {
    return kvio_container_create_template("group", Mode::create, config, scope, type, name);
}

kvio_iterator_t *kvio_open_table(kvio_config_t *config, const char *scope, const char *type, const char *name) {
    return kvio_container_create_template("table", Mode::find, config, scope, type, name);
}
kvio_iterator_t *kvio_open_list(kvio_config_t *config, const char *scope, const char *type, const char *name) {
    return kvio_container_create_template("list", Mode::find, config, scope, type, name);
}
kvio_iterator_t *kvio_open_group(kvio_config_t *config, const char *scope, const char *type, const char *name) {
    return kvio_container_create_template("group", Mode::find, config, scope, type, name);
}

int kvio_dispose_table(kvio_config_t *config, const char *scope, const char *type, const char *name) {
    return kvio_container_dispose_template("table", config, scope, type, name);
}
int kvio_dispose_list(kvio_config_t *config, const char *scope, const char *type, const char *name) {
    return kvio_container_dispose_template("list", config, scope, type, name);
}
int kvio_dispose_group(kvio_config_t *config, const char *scope, const char *type, const char *name) {
    return kvio_container_dispose_template("group", config, scope, type, name);
}

int kvio_close_table(kvio_iterator_t *iterator) { return close_container(iterator); }
int kvio_close_list(kvio_iterator_t *iterator) { return close_container(iterator); }
int kvio_close_group(kvio_iterator_t *iterator) { return close_container(iterator); }
