// Entities: created and deleted in their scope, named, and their values written and read.
#include "store/store.h"

namespace {

xmlNode *define(const kvio_config_t *config, const char *scope, const char *type, const char *name) {
    const char *who = "do_kvio_define";
    xmlNode *parent = store::find_scope(config, scope, who);
    if (!parent) return nullptr;
    store::Found existing;
    if (type && name) store::search_scope(parent, type, name, true, existing);
    if (existing.count > 0)
        return fail(nullptr, KVIO_EXISTS, "%s(%s): scope:[%s] type:[%s] name:[%s] is existed\n", who, config->path,
                    scope, type, name);
    xml::Detached entity = store::new_element(type, who);
    if (!entity || !store::set_attribute(entity, "name", name, who)) return nullptr;
    xmlNode *defined = store::append(parent, std::move(entity), who);
    return defined ? succeed(defined) : nullptr;
}

// Finds the value element of a field. Other nodes are skipped: a text node is named "text".
xmlNode *find_value(const xmlNode *entity, const char *field) {
    if (!field) return nullptr;
    for (xmlNode *child = entity->children; child; child = child->next)
        if (xml::is_element(child, field)) return child;
    return nullptr;
}

// Removes the first child and appends the value. libxml2 merges adjacent texts, so a trailing text and the value are
// joined here, before the element is changed.
bool replace_text(xmlNode *element, const char *value) {
    xmlNode *first = element->children, *last = element->last;
    bool joined = last != first && last->type == XML_TEXT_NODE;
    auto text = xml::guarded<xml::Detached>([&] {
        xmlNode *made = xmlNewDocText(element->doc, joined ? last->content : xml::str(value));
        if (made && joined) xmlNodeAddContent(made, xml::str(value));
        return made;
    });
    if (!text) return false;
    if (joined) xmlFreeNode(xmlReplaceNode(last, text.release()));
    store::discard(first);
    if (!joined) xmlAddChild(element, text.release());
    return true;
}

bool add_value(xmlNode *entity, const char *field, const char *value) {
    if (empty(field)) return false;
    // Made outside the document: in its dictionary the name would stay when the element is gone.
    auto element = xml::guarded<xml::Detached>(
        [&] { return xmlNewDocRawNode(nullptr, entity->ns, xml::str(field), xml::str(value)); });
    return element && xmlAddChild(entity, element.get()) && element.release();
}

int set_value(xmlNode *entity, const char *field, const char *value, const char *who) {
    if (!store::given(entity, who)) return 0;
    xmlNode *element = find_value(entity, field);
    bool stored = value && (element ? replace_text(element, value) : add_value(entity, field, value));
    return stored ? succeed(1) : fail(0, KVIO_XML, "%s() error on xmlNewTextChild()\n", who);
}

// Returns a copy of a text; null with the line.
Block<char> duplicate(const char *text, const char *what) {
    Block<char> copy(text ? strdup(text) : nullptr);
    if (!copy) say("can not alloc memory for %s\n", what);
    return copy;
}

int read_name(xmlNode *entity, const store::Buffer &buffer, const char *who) {
    if (!store::given(entity, who)) return 0;
    const xmlAttr *name = xml::name_of(entity);
    if (!name) return fail(0, KVIO_BAD_SCOPE, "%s() fatal error: attribute 'name' is missed\n", who);
    return buffer.take(xml::Text::of(name));
}

// Returns the value element of a field that is to be read; null with code and line.
const xmlNode *value_of(xmlNode *entity, const char *field, const char *who) {
    if (!store::given(entity, who)) return nullptr;
    const xmlNode *element = find_value(entity, field);
    if (!element) return fail(element, KVIO_NOT_FOUND, "%s() error: element '%s' is not found\n", who, shown(field));
    return element;
}

int read_value(xmlNode *entity, const char *field, const store::Buffer &buffer, const char *who) {
    const xmlNode *element = value_of(entity, field, who);
    if (!element) return 0;
    return element->children ? buffer.take(xml::Text::content_of(element->children)) : buffer.take_nothing();
}

}  // namespace

int kvio_define(kvio_config_t *config, const char *scope, const char *type, const char *name) {
    return define(config, scope, type, name) != nullptr;
}

kvio_node_t *kvio_define2(kvio_config_t *config, const char *scope, const char *type, const char *name) {
    return define(config, scope, type, name);
}

int kvio_undefine(kvio_config_t *config, const char *scope, const char *type, const char *name) {
    xmlNode *entity = store::find_entity(config, scope, type, name, __func__);
    if (!entity && kvio_errno == KVIO_NOT_FOUND) say("%s error: entity not existed\n", __func__);
    return entity ? store::discard(entity) : 0;
}

int kvio_compare_name(kvio_node_t *entity, const char *name) {
    if (!store::given(entity, __func__)) return 0;
    return succeed(name && xml::is_named(entity, name) ? 1 : 0);
}

int kvio_name(kvio_node_t *entity, char *buffer) { return read_name(entity, {buffer}, __func__); }

int kvio_name2(kvio_node_t *entity, char *buffer, unsigned int size) {
    return read_name(entity, {buffer, size}, __func__);
}

int kvio_set(kvio_node_t *entity, const char *field, const char *value) {
    return set_value(entity, field, value, __func__);
}

int kvio_set2(kvio_node_t *entity, const char *field, const char *value) {
    Block<char> field_copy = duplicate(field, "name");
    Block<char> value_copy = field_copy ? duplicate(value, "value") : nullptr;
    if (!value_copy) return 0;
    return set_value(entity, field_copy.get(), value_copy.get(), __func__);
}

int kvio_unset(kvio_node_t *entity, const char *field) { return kvio_set(entity, field, ""); }

int kvio_get(kvio_node_t *entity, const char *field, char *buffer) {
    return read_value(entity, field, {buffer}, __func__);
}

int kvio_get2(kvio_node_t *entity, const char *field, char *buffer, unsigned int size) {
    return read_value(entity, field, {buffer, size}, __func__);
}

int kvio_getlen(kvio_node_t *entity, const char *field, uint32_t *length) {
    const xmlNode *element = value_of(entity, field, __func__);
    if (!element) return 0;
    xml::Text text = xml::Text::content_of(element->children);
    if (!text) return fail(0, KVIO_XML);
    *length = static_cast<uint32_t>(std::strlen(text.get()));
    return succeed(1);
}
