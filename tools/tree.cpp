// Elements of the tree of a document, and the counts of references to them.
#include "tree.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <set>

namespace kvio {
namespace {

const xmlChar *bytes(const std::string &text) { return reinterpret_cast<const xmlChar *>(text.c_str()); }

std::string taken(xmlChar *text) {
    std::unique_ptr<xmlChar, void (*)(void *)> owner(text, xmlFree);
    return text ? reinterpret_cast<const char *>(text) : "";
}

xmlNode *first_element(xmlNode *node) {
    while (node && node->type != XML_ELEMENT_NODE) node = node->next;
    return node;
}

// The text of a list of children that is nothing or one piece of text; null if it has to be put together.
const char *in_place(const xmlNode *children) {
    if (!children) return "";
    bool plain = !children->next && children->type == XML_TEXT_NODE && children->content;
    return plain ? reinterpret_cast<const char *>(children->content) : nullptr;
}

xmlAttr *find_attribute(const xmlNode *node, const char *name) {
    for (xmlAttr *one = node->properties; one; one = one->next)
        if (!one->ns && std::strcmp(reinterpret_cast<const char *>(one->name), name) == 0) return one;
    return nullptr;
}

std::string text_of(xmlAttr *attribute) {
    const char *plain = in_place(attribute->children);
    return plain ? plain : taken(xmlNodeGetContent(reinterpret_cast<xmlNode *>(attribute)));
}

std::string group_key(const std::string &type, const std::string &name) { return '\0' + type + '\0' + name; }

// Counts each element that a group names once, however often it does.
void count_members(Element group, const std::map<std::string, xmlNode *> &named, References &counts) {
    const std::string entity = group.type() + '\0', container = group_key(group.type(), "");
    std::set<xmlNode *> seen;
    for (Element member : group) {
        std::string key = member.is("container") ? container : entity;
        auto found = named.find(key.append(member.text()));
        if (found != named.end() && seen.insert(found->second).second) ++counts[found->second];
    }
}

}  // namespace

std::string Element::text() const {
    const char *plain = in_place(node_->children);
    return plain ? plain : taken(xmlNodeGetContent(node_));
}

bool Element::has_text(const std::string &text_wanted) const {
    const char *plain = in_place(node_->children);
    return plain ? text_wanted == plain : text_wanted == text();
}

std::string Element::value() const { return node_->children ? taken(xmlNodeGetContent(node_->children)) : ""; }

std::optional<std::string> Element::attribute(const std::string &name) const {
    xmlAttr *found = find_attribute(node_, name.c_str());
    if (!found) return std::nullopt;
    return text_of(found);
}

bool Element::has(const char *attribute_name, const std::string &value) const {
    xmlAttr *found = find_attribute(node_, attribute_name);
    if (!found) return false;
    const char *plain = in_place(found->children);
    return plain ? value == plain : value == text_of(found);
}

std::vector<std::pair<std::string, std::string>> Element::attributes() const {
    std::vector<std::pair<std::string, std::string>> result;
    for (xmlAttr *one = node_->properties; one; one = one->next)
        result.emplace_back(reinterpret_cast<const char *>(one->name), text_of(one));
    return result;
}

Element::Iterator &Element::Iterator::operator++() {
    node_ = first_element(node_->next);
    return *this;
}

Element::Iterator Element::begin() const { return Iterator(first_element(node_->children)); }

Element Element::parent() const {
    xmlNode *above = node_->parent;
    return Element(above && above->type == XML_ELEMENT_NODE ? above : nullptr);
}

// Children of the root are scopes. In a scope, containers are known by their element name and either attribute (a
// broken one lacks the other), entities by their name; what remains is a scope in the scope.
Role Element::role() const {
    Element above = parent();
    if (!above || !above.parent()) return above ? Role::scope : Role::other;
    if (above.role() != Role::scope) return Role::other;
    bool named = find_attribute(node_, "name");
    if (is_kind(tag()) && (named || find_attribute(node_, "type"))) return Role::container;
    return named ? Role::entity : Role::scope;
}

std::string Element::scope() const {
    Element above = parent();
    std::string outer = above ? above.scope() : "";
    if (role() != Role::scope) return outer;
    return outer.empty() ? tag() : outer + '/' + tag();
}

std::string Element::label() const {
    std::string text = tag() + (' ' + name());
    return role() == Role::container ? text + " of " + type() : text;
}

void Element::set_text(const std::string &text) const {
    xmlNodeSetContent(node_, nullptr);
    xmlNodeAddContent(node_, bytes(text));
    if (!has_text(text)) throw std::bad_alloc();
}

void Element::set_attribute(const char *name, const std::string &value) const {
    if (!xmlSetProp(node_, bytes(name), bytes(value))) throw std::bad_alloc();
}

Element Element::add(const std::string &tag_name) const {
    xmlNode *added = xmlNewChild(node_, nullptr, bytes(tag_name), nullptr);
    if (!added) throw std::bad_alloc();
    return Element(added);
}

void Element::remove() const {
    xmlNode *blanks = node_->prev;
    for (xmlNode *one : {blanks && xmlIsBlankNode(blanks) ? blanks : nullptr, node_}) {
        if (!one) continue;
        xmlUnlinkNode(one);
        xmlFreeNode(one);
    }
}

void each_scope(Element parent, const std::function<void(Element)> &visit) {
    for (Element child : parent) {
        if (child.role() != Role::scope) continue;
        visit(child);
        each_scope(child, visit);
    }
}

bool holds_entities(const std::string &type) { return type != "user_group_object_t"; }

bool is_kind(const std::string &tag) { return tag == "table" || tag == "list" || tag == "group"; }

Element find_entity(Element scope, const std::string &type, const std::string &name) {
    for (Element child : scope)
        if (child.is(type) && child.has("name", name)) return child;
    return Element();
}

Element find_container(Element scope, const std::string &kind, const std::string &type, const std::string &name) {
    for (Element child : scope)
        if (child.is(kind) && child.has("name", name) && child.has("type", type)) return child;
    return Element();
}

bool Member::fits(Element container) const {
    return (kind.empty() ? is_kind(container.tag()) : container.is(kind)) && container.has("type", type);
}

bool Member::is_named_by(Element member) const {
    return member.is(entity ? "entity" : "container") && member.has_text(name);
}

int Member::times_in(Element container) const {
    int many = 0;
    if (fits(container))
        for (Element one : container) many += is_named_by(one);
    return many;
}

Element container_naming(Element scope, const Member &member) {
    for (Element container : scope)
        if (member.times_in(container) > 0) return container;
    return Element();
}

References references_below(Element root) {
    References result;
    each_scope(root, [&](Element scope) {
        std::map<std::string, xmlNode *> named;
        for (Element child : scope) {
            bool group = child.is("group");
            if (!group && child.role() != Role::entity) continue;
            named.emplace(group ? group_key(child.type(), child.name()) : child.tag() + ('\0' + child.name()),
                          child.node());
            result[child.node()] = 0;
        }
        for (Element group : scope)
            if (group.is("group")) count_members(group, named, result);
    });
    return result;
}

void update_references(const References &before, const References &after) {
    for (const auto &[node, count] : after) {
        auto earlier = before.find(node);
        const int change = count - (earlier == before.end() ? 0 : earlier->second);
        const std::string counted = Element(node).attribute("reference").value_or("");
        if (change == 0 || (counted.empty() && change < 0)) continue;
        long next = counted.empty() ? count : std::strtol(counted.c_str(), nullptr, 10) + change;
        Element(node).set_attribute("reference", std::to_string(std::max(next, 0L)));
    }
}

}  // namespace kvio
