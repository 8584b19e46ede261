// The elements of an open document: scopes, entities with fields, containers with members. Looks at libxml2's nodes in
// place and owns none of them.
#ifndef KAVEX_TOOLS_TREE_H
#define KAVEX_TOOLS_TREE_H

#include <libxml/tree.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kvio {

// Names and texts.
using Pairs = std::vector<std::pair<std::string, std::string>>;

enum class Role { scope, entity, container, other };

// What tells the entities and containers of a scope apart. An entity is of the kind "".
struct Identity {
    std::string kind, type, name;

    bool operator<(const Identity &other) const;
    std::string label() const;  // "host_t lan", "group inside of host_t"
    std::string full_type() const { return kind.empty() ? type : kind + " of " + type; }
};

class Element {
public:
    explicit Element(xmlNode *node = nullptr) : node_(node) {}
    explicit operator bool() const { return node_ != nullptr; }
    bool operator==(const Element &other) const { return node_ == other.node_; }
    xmlNode *node() const { return node_; }

    const char *tag() const { return reinterpret_cast<const char *>(node_->name); }
    bool is(const std::string &tag_name) const { return tag_name == tag(); }
    std::string text() const;  // of all descendants
    bool has_text(const std::string &wanted) const;
    std::string value() const;  // as the store reads values: the text of the first child
    std::optional<std::string> attribute(const std::string &name) const;
    bool has(const char *attribute_name, const std::string &value) const;
    std::string name() const { return attribute("name").value_or(""); }
    std::string type() const { return attribute("type").value_or(""); }
    Pairs attributes() const;
    Pairs other_attributes() const;  // without those of its identity

    // for (Element child : element) visits the child elements: an element is the iterator that stands at it.
    Element begin() const;
    Element end() const { return Element(); }
    bool is_empty() const { return !begin(); }
    Element operator*() const { return *this; }
    Element &operator++() { return *this = next(); }
    Element next() const;                              // the next child of its parent
    Element child(const std::string &tag_name) const;  // the first of this name, or null
    bool operator!=(Element other) const { return node_ != other.node_; }

    Element parent() const;  // null for the root
    Role role() const;
    std::string scope() const;  // the path below the root, of a scope or of an element in one
    Identity identity() const;
    bool is(const Identity &wanted) const;
    std::string label() const { return identity().label(); }

    void set_text(const std::string &text) const;
    void set_attribute(const char *name, const std::string &value) const;
    Element add(const std::string &tag_name) const;
    void remove() const;  // with the blanks in front of it

private:
    xmlNode *node_;
};

// The scopes below an element, in document order.
void each_scope(Element parent, const std::function<void(Element)> &visit);

// Members of user groups are names of users, which are no entities of the configuration.
bool holds_entities(const std::string &type);

bool is_kind(const std::string &tag);  // table, list or group

// The entity or container that a member names.
Identity named_by(Element container, Element member);
// The members that name it, of the containers of a scope.
std::vector<Element> members_naming(Element scope, const Identity &named);

// How many groups name each entity and group below an element.
using References = std::map<xmlNode *, int>;
References references_below(Element root);
// Adds the difference between two such counts to the attributes "reference", which keep them. A missing attribute is set
// to the whole count if that has increased.
void update_references(const References &before, const References &after);

}  // namespace kvio

#endif
