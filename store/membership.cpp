// The members of a container: references by name, joined and removed as a set, inserted and deleted by position.
#include <libxml/parserInternals.h>

#include <cctype>
#include <cstdio>
#include <utility>

#include "store/store.h"

namespace {

// The line about a handle without a container is spelled in three ways.
constexpr const char *assoiciated = "() error: bad iterator, no container assoiciated";
constexpr const char *assoicaited = "() error: bad iterator, no container assoicaited";
constexpr const char *spaced = " () error: bad iterator, no container assoicaited";

// Finds the first member of this name. Null with the code; not KVIO_NOT_FOUND where memory for a text was short.
xmlNode *find_member(const xmlNode *container, const char *name) {
    kvio_code code = KVIO_NOT_FOUND;
    for (xmlNode *child = name ? container->children : nullptr; child; child = child->next) {
        if (!store::is_member(child)) continue;
        xml::Text text = xml::Text::below(child);
        if (!text)
            code = KVIO_XML;
        else if (same(text, name))
            return child;
    }
    return fail(nullptr, code);
}

// Whether a character reference, given behind its "&", stands for a character that XML allows.
bool is_char_reference(const char *text) {
    bool is_hex = text[1] == 'x';
    const char *digits = text + (is_hex ? 2 : 1);
    if (!std::isxdigit(static_cast<unsigned char>(*digits))) return false;
    char *end;
    unsigned long code = std::strtoul(digits, &end, is_hex ? 16 : 10);
    return *end == ';' && code <= 0x10FFFF && IS_CHAR(static_cast<unsigned>(code));
}

// Sets a text that may contain references. Refuses those with which libxml2 would drop the text or store something that
// is not well-formed: a bare ampersand, an undeclared entity, a character that XML does not allow.
bool set_character_data(xmlNode *member, const char *text) {
    if (!text) return false;
    for (const char *at = std::strchr(text, '&'); at; at = std::strchr(at + 1, '&'))
        if (at[1] == ';' || (at[1] == '#' && !is_char_reference(at + 1))) return false;
    xmlResetLastError();
    xmlNodeSetContent(member, xml::str(text));
    if (xmlGetLastError()) return false;
    for (const xmlNode *child = member->children; child; child = child->next)
        if (child->type == XML_ENTITY_REF_NODE && !xmlGetDocEntity(member->doc, child->name)) return false;
    return true;
}

// Creates a member outside the tree; null with code and line.
xml::Detached new_member(const xmlNode *container, const char *kind, const char *name, const char *who) {
    xml::Detached member = store::new_element(kind, who);
    if (member) member->doc = container->doc;
    if (member && !set_character_data(member.get(), name))
        return fail(nullptr, KVIO_XML, "%s error on xmlNodeSetContent()\n", who);
    return member;
}

// Adds a member before another one, or at the end if `next` is null.
int add_member(xmlNode *container, xmlNode *next, xml::Detached member, const char *who) {
    if (!member) return 0;
    if (!(next ? xmlAddPrevSibling(next, member.get()) : xmlAddChild(container, member.get())))
        return fail(0, KVIO_XML, "%s error on %s()\n", who, next ? "xmlAddPrevSibling" : "xmlAddChild");
    member.release();
    return succeed(1);
}

// Makes the name of a member that is added without one.
using DefaultName = char[16];
const char *make_name(DefaultName &text, int number) {
    std::snprintf(text, sizeof text, "#%d", number);
    return text;
}

int count_entity_members(const xmlNode *container) {
    int count = 0;
    for (const xmlNode *child = container->children; child; child = child->next)
        count += store::is_entity_member(child);
    return count;
}

// Returns the element child at a position. Null when there are fewer: `position` is then counted down by their number.
// Prints a warning for each child up to there that is no entity member.
xmlNode *element_at(const xmlNode *container, unsigned &position, const char *who) {
    for (xmlNode *child = container->children; child; child = child->next) {
        if (!xml::is_element(child)) continue;
        if (!store::is_entity_member(child)) say("%s() warning: check data integrity\n", who);
        if (--position == 0) return child;
    }
    return nullptr;
}

}  // namespace

int kvio_join(kvio_iterator_t *iterator, const char *name, int is_entity) {
    xmlNode *container = store::writable(iterator, __func__, assoiciated);
    if (!container) return 0;
    if (find_member(container, name)) return fail(0, KVIO_EXISTS, "%s error: %s is already existed\n", __func__, name);
    if (kvio_errno != KVIO_NOT_FOUND) return 0;
    const char *kind = is_entity ? "entity" : "container";
    return add_member(container, nullptr, new_member(container, kind, name, __func__), __func__);
}

int kvio_remove(kvio_iterator_t *iterator, const char *name) {
    xmlNode *container = store::writable(iterator, __func__, assoiciated);
    if (!container) return 0;
    xmlNode *member = find_member(container, name);
    if (!member && kvio_errno == KVIO_NOT_FOUND) say("%s() error: %s is not existed\n", __func__, shown(name));
    return member ? store::discard(member) : 0;
}

int kvio_change_container_element(kvio_iterator_t *iterator, const char *old_name, const char *new_name) {
    xmlNode *container = store::writable(iterator, __func__, spaced);
    if (!container) return 0;
    xmlNode *member = find_member(container, old_name);
    if (!member) return 0;
    xml::Detached fresh = new_member(container, xml::str(member->name), new_name, __func__);
    if (!fresh) return 0;
    std::swap(member->children, fresh->children);
    std::swap(member->last, fresh->last);
    for (xmlNode *child = member->children; child; child = child->next) child->parent = member;
    return succeed(1);
}

int kvio_append(kvio_iterator_t *iterator, const char *name) {
    xmlNode *container = store::writable(iterator, __func__, spaced);
    if (!container) return 0;
    DefaultName fallback;
    if (empty(name)) name = make_name(fallback, count_entity_members(container) + 1);
    xml::Detached member = store::new_element("entity", __func__);
    if (!member) return 0;
    // Has the result of escaping the name and setting it as character data, at a third of the cost.
    auto text = xml::guarded<xml::Detached>([&] { return xmlNewDocText(container->doc, xml::str(name)); });
    if (!text) return fail(0, KVIO_XML, "%s error on xmlEncodeSpecialChars()\n", __func__);
    xmlAddChild(member.get(), text.release());
    return add_member(container, nullptr, std::move(member), __func__);
}

int kvio_insert(kvio_iterator_t *iterator, const char *name, int position) {
    xmlNode *container = store::writable(iterator, __func__, assoicaited);
    if (!container) return 0;
    unsigned left = static_cast<unsigned>(position);
    xmlNode *next = element_at(container, left, __func__);
    if (!next && left != 1) return fail(0, KVIO_OUT_OF_RANGE, "%s() error: out of range\n", __func__);
    DefaultName fallback;
    if (empty(name)) name = make_name(fallback, position);
    return add_member(container, next, new_member(container, "entity", name, __func__), __func__);
}

int kvio_delete(kvio_iterator_t *iterator, int position) {
    xmlNode *container = store::writable(iterator, __func__);
    if (!container) return 0;
    unsigned left = static_cast<unsigned>(position);
    xmlNode *member = element_at(container, left, __func__);
    if (!member) return fail(0, KVIO_OUT_OF_RANGE, "%s() error: out of range\n", __func__);
    return store::discard(member);
}
