#include "tree.h"

#include <libxml/parser.h>
#include <libxml/xpath.h>

#include "kvio.h"

namespace kvio {
namespace {

const xmlChar *bytes(const char *text) { return reinterpret_cast<const xmlChar *>(text); }

std::string taken(xmlChar *text) {
    std::unique_ptr<xmlChar, void (*)(void *)> owner(text, xmlFree);
    return text ? reinterpret_cast<const char *>(text) : "";
}

std::shared_ptr<xmlDoc> owned(xmlDoc *document) {
    return document ? std::shared_ptr<xmlDoc>(document, xmlFreeDoc) : nullptr;
}

xmlNode *next_element(xmlNode *node) {
    while (node && node->type != XML_ELEMENT_NODE) node = node->next;
    return node;
}

void visit_scopes(Element parent, const std::function<void(Element)> &visit) {
    for (Element child : parent.children()) {
        if (child.role() != Role::scope) continue;
        visit(child);
        visit_scopes(child, visit);
    }
}

}  // namespace

std::shared_ptr<xmlDoc> parse_file(const std::string &path) { return owned(xmlParseFile(path.c_str())); }

std::shared_ptr<xmlDoc> parse_descriptor(int fd) { return owned(xmlReadFd(fd, nullptr, nullptr, 0)); }

std::string Element::tag() const { return reinterpret_cast<const char *>(node_->name); }

std::string Element::text() const { return taken(xmlNodeGetContent(node_)); }

std::string Element::value() const { return node_->children ? taken(xmlNodeGetContent(node_->children)) : ""; }

std::optional<std::string> Element::attribute(const char *name) const {
    if (!xmlHasProp(node_, bytes(name))) return std::nullopt;
    return taken(xmlGetProp(node_, bytes(name)));
}

std::vector<std::pair<std::string, std::string>> Element::attributes() const {
    std::vector<std::pair<std::string, std::string>> result;
    for (xmlAttr *one = node_->properties; one; one = one->next) {
        const char *name = reinterpret_cast<const char *>(one->name);
        result.emplace_back(name, attribute(name).value_or(""));
    }
    return result;
}

std::vector<Element> Element::children() const {
    std::vector<Element> result;
    for (xmlNode *child = next_element(node_->children); child; child = next_element(child->next))
        result.emplace_back(child);
    return result;
}

Element Element::parent() const {
    xmlNode *above = node_->parent;
    return Element(above && above->type == XML_ELEMENT_NODE ? above : nullptr);
}

// Below the root stand scopes alone. In a scope, containers are known by their element name and either attribute (a
// broken one lacks the other), entities by their name; what remains is a scope in the scope.
Role Element::role() const {
    Element above = parent();
    if (!above || !above.parent()) return above ? Role::scope : Role::other;
    if (above.role() != Role::scope) return Role::other;
    std::string kind = tag();
    bool named = attribute("name").has_value();
    if ((kind == "table" || kind == "list" || kind == "group") && (named || attribute("type"))) return Role::container;
    return named ? Role::entity : Role::scope;
}

std::string Element::scope() const {
    Element above = parent();
    std::string outer = above ? above.scope() : "";
    if (role() != Role::scope) return outer;
    return outer.empty() ? tag() : outer + '/' + tag();
}

Element Tree::root() const { return Element(xmlDocGetRootElement(document_.get())); }

Element Tree::scope(const std::string &path) const {
    if (path.empty()) throw Failure{misused, "the scope is empty"};
    std::unique_ptr<xmlXPathContext, decltype(&xmlXPathFreeContext)> context(xmlXPathNewContext(document_.get()),
                                                                             xmlXPathFreeContext);
    std::unique_ptr<xmlXPathObject, decltype(&xmlXPathFreeObject)> found(
        context ? xmlXPathEvalExpression(bytes(("/kavex/" + path).c_str()), context.get()) : nullptr,
        xmlXPathFreeObject);
    int many = found && found->nodesetval ? found->nodesetval->nodeNr : 0;
    if (root().tag() != "kavex") throw Failure{inconsistent, "no configuration, there is no root element kavex"};
    if (many == 0) throw Failure{not_found, "no scope " + path};
    if (many > 1) throw Failure{inconsistent, "there are " + std::to_string(many) + " scopes " + path};
    Element scope(found->nodesetval->nodeTab[0]);
    if (found->nodesetval->nodeTab[0]->type != XML_ELEMENT_NODE || scope == root())
        throw Failure{not_found, "no scope " + path};
    return scope;
}

void Tree::each_scope(const std::function<void(Element)> &visit) const { visit_scopes(root(), visit); }

bool holds_entities(const std::string &type) { return type != "user_group_object_t"; }

Element find_entity(Element scope, const std::string &type, const std::string &name) {
    for (Element child : scope.children())
        if (child.tag() == type && child.attribute("name") == name) return child;
    return Element(nullptr);
}

Element find_container(Element scope, const std::string &kind, const std::string &type, const std::string &name) {
    for (Element child : scope.children())
        if (child.tag() == kind && child.attribute("name") == name && child.attribute("type") == type) return child;
    return Element(nullptr);
}

}  // namespace kvio
