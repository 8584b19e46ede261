// Elements of the tree of a document, and the counts of references to them.
#include "document.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <tuple>

#include "store/xml.h"

namespace kvio {

bool Identity::operator<(const Identity &other) const {
    return std::tie(kind, type, name) < std::tie(other.kind, other.type, other.name);
}

std::string Identity::label() const { return kind.empty() ? type + ' ' + name : kind + ' ' + name + " of " + type; }

std::string Element::text() const { return xml::Text::below(node_).get(); }

std::string Element::value() const { return node_->children ? xml::Text::content_of(node_->children).get() : ""; }

std::optional<std::string> Element::attribute(const std::string &name) const {
    const xmlAttr *found = xml::attribute(node_, name.c_str());
    return found ? std::optional<std::string>(xml::Text::of(found).get()) : std::nullopt;
}

Pairs Element::attributes() const {
    Pairs result;
    for (xmlAttr *one = node_->properties; one; one = one->next)
        result.emplace_back(xml::str(one->name), xml::Text::of(one).get());
    return result;
}

Pairs Element::other_attributes() const {
    const Role its_role = role();
    Pairs result;
    for (const auto &[name, value] : attributes()) {
        bool identifies = xml::same(name, "name") || (xml::same(name, "type") && its_role == Role::container);
        if (its_role == Role::scope || !identifies) result.emplace_back(name, value);
    }
    return result;
}

Element Element::child(const std::string &tag_name) const {
    for (Element one : *this)
        if (one.is(tag_name)) return one;
    return Element();
}

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
    bool named = xml::attribute(node_, "name");
    if (is_kind(tag()) && (named || xml::attribute(node_, "type"))) return Role::container;
    return named ? Role::entity : Role::scope;
}

std::string Element::scope() const {
    Element above = parent();
    std::string outer = above ? above.scope() : "";
    if (role() != Role::scope) return outer;
    return outer.empty() ? tag() : outer + '/' + tag();
}

Identity Element::identity() const {
    return role() == Role::container ? Identity{tag(), type(), name()} : Identity{"", tag(), name()};
}

bool Element::is(const Identity &wanted) const {
    if (!is(wanted.kind.empty() ? wanted.type : wanted.kind) || attribute("name") != wanted.name) return false;
    return wanted.kind.empty() || attribute("type") == wanted.type;
}

void Element::set_text(const std::string &text) const {
    xmlNodeSetContent(node_, nullptr);
    xmlNodeAddContent(node_, xml::str(text.c_str()));
    if (this->text() != text) throw std::bad_alloc();
}

void Element::set_attribute(const char *name, const std::string &value) const {
    if (!kvio_setattr_entity(node_, name, value.c_str()) || attribute(name) != value) throw std::bad_alloc();
}

Element Element::add(const std::string &tag_name) const {
    xmlNode *added = xmlNewChild(node_, nullptr, xml::str(tag_name.c_str()), nullptr);
    if (!added) throw std::bad_alloc();
    return Element(added);
}

void Element::remove() const {
    kvio_unsetattr_entity(node_, "name");  // the store finds it no more
    xmlNode *blanks = node_->prev;
    for (xmlNode *one : {blanks && xmlIsBlankNode(blanks) ? blanks : nullptr, node_}) {
        if (!one) continue;
        xmlUnlinkNode(one);
        xmlFreeNode(one);
    }
}

void each_below(Element parent, const std::function<void(Element)> &visit) {
    for (Element child : parent) {
        visit(child);
        if (child.role() == Role::scope) each_below(child, visit);
    }
}

void each_scope(Element parent, const std::function<void(Element)> &visit) {
    each_below(parent, [&](Element one) {
        if (one.role() == Role::scope) visit(one);
    });
}

Identity named_by(Element container, Element member) {
    return {member.is("container") ? container.tag() : "", container.type(), member.text()};
}

std::vector<Element> members_naming(Element scope, const Identity &named) {
    const bool entity = named.kind.empty();
    std::vector<Element> found;
    for (Element container : scope) {
        if (!(entity ? is_kind(container.tag()) : container.is(named.kind)) ||
            container.attribute("type") != named.type)
            continue;
        for (Element member : container)
            if (member.is(entity ? "entity" : "container") && member.text() == named.name) found.push_back(member);
    }
    return found;
}

References references_below(Element root) {
    References result;
    each_scope(root, [&](Element scope) {
        std::map<Identity, xmlNode *> known;
        for (Element child : scope) {
            if (!child.is("group") && child.role() != Role::entity) continue;
            known.emplace(child.identity(), child.node());
            result[child.node()] = 0;
        }
        for (Element group : scope) {
            std::set<Identity> named;  // once each, however often the group does
            if (group.is("group"))
                for (Element member : group) named.insert(named_by(group, member));
            for (const Identity &one : named)
                if (auto found = known.find(one); found != known.end()) ++result[found->second];
        }
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
