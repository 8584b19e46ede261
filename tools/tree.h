// A document as a tree of scopes, entities and containers, for the verbs that look at more than one name. The store
// hands out no tree: this one is read from what it dumps.
#ifndef KAVEX_TOOLS_TREE_H
#define KAVEX_TOOLS_TREE_H

#include <libxml/tree.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kvio {

// Both make a document; null when the contents are not well-formed.
std::shared_ptr<xmlDoc> parse_file(const std::string &path);
std::shared_ptr<xmlDoc> parse_descriptor(int fd);

enum class Role { scope, entity, container, other };

// An element of the tree, which the tree owns.
class Element {
public:
    explicit Element(xmlNode *node) : node_(node) {}
    explicit operator bool() const { return node_ != nullptr; }
    bool operator==(const Element &other) const { return node_ == other.node_; }

    std::string tag() const;
    std::string text() const;   // all of it, descendants included
    std::string value() const;  // as the store reads values: the text of the first child
    std::optional<std::string> attribute(const char *name) const;
    std::string name() const { return attribute("name").value_or(""); }
    std::string type() const { return attribute("type").value_or(""); }
    std::vector<std::pair<std::string, std::string>> attributes() const;

    std::vector<Element> children() const;  // elements alone
    Element parent() const;                 // null for the root
    Role role() const;
    std::string scope() const;  // the path below the root, of a scope or of what stands in one

private:
    xmlNode *node_;
};

class Tree {
public:
    explicit Tree(std::shared_ptr<xmlDoc> document) : document_(std::move(document)) {}
    Element root() const;
    Element scope(const std::string &path) const;                      // throws a Failure unless there is exactly one
    void each_scope(const std::function<void(Element)> &visit) const;  // in document order, the root left out

private:
    std::shared_ptr<xmlDoc> document_;
};

// The members of user groups are the names of users, of whom the configuration knows nothing.
bool holds_entities(const std::string &type);

// The first with this identity, or null.
Element find_entity(Element scope, const std::string &type, const std::string &name);
Element find_container(Element scope, const std::string &kind, const std::string &type, const std::string &name);

}  // namespace kvio

#endif
