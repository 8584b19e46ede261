// A configuration opened through the store, its elements, and what the store's codes mean to a user.
#ifndef KAVEX_TOOLS_DOCUMENT_H
#define KAVEX_TOOLS_DOCUMENT_H

#include <kavex/store.h>

#include <functional>
#include <memory>
#include <optional>
#include <set>

#include "base/signals.h"
#include "kvio.h"
#include "store/store.h"

namespace kvio {

// ---- tree.cpp: scopes, entities with fields, containers with members. It looks at libxml2's nodes in place and owns none.
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
    std::string text() const;   // of all descendants
    std::string value() const;  // as the store reads values: the text of the first child
    std::optional<std::string> attribute(const std::string &name) const;
    std::string name() const { return attribute("name").value_or(""); }
    std::string type() const { return attribute("type").value_or(""); }
    Pairs attributes() const;
    Pairs other_attributes() const;  // without those of its identity

    // for (Element child : element) visits the child elements: an element is the iterator that stands at it.
    Element begin() const { return Element(xmlFirstElementChild(node_)); }
    Element end() const { return Element(); }
    bool is_empty() const { return !begin(); }
    Element operator*() const { return *this; }
    Element &operator++() { return *this = next(); }
    Element next() const { return Element(xmlNextElementSibling(node_)); }
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

// The scopes, entities and containers below an element, or the scopes alone, in document order.
void each_below(Element parent, const std::function<void(Element)> &visit);
void each_scope(Element parent, const std::function<void(Element)> &visit);

// Members of user groups are names of users, which are no entities of the configuration.
inline bool holds_entities(const std::string &type) { return type != "user_group_object_t"; }

inline bool is_kind(const std::string &tag) { return tag == "table" || tag == "list" || tag == "group"; }

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

// ---- document.cpp
std::string path_of(const std::string &name);  // as kvio_open_config() builds it
Strings configurations();                      // the names of all, sorted

std::string contents_of(const std::string &path);  // of a file or pipe; "-" is standard input

// Throws unless it is the name of an element or attribute; `what` describes it.
const std::string &checked_name(const std::string &name, const std::string &what);

// Throws for a failed system call, or for a failed call of the store, by kvio_errno and errno: `what` and the reason.
[[noreturn]] void system_failure(const std::string &what, int reason);
[[noreturn]] void store_failure(const std::string &what);

// Calls the store, again while another process holds the lock, for the seconds of --wait or KVIO_WAIT. Signals are
// blocked in each attempt, and after the last one until the result is destroyed. Throws a store_failure() about `what`.
std::unique_ptr<SignalsBlocked> with_lock(const Call &call, const std::string &what,
                                          const std::function<bool()> &attempt);

using Handle = Owned<kvio_iterator_t, kvio_close_table>;
using Entities = Owned<kvio_entities_t, kvio_free_entities>;

// What a call is about: its CONTAINER, its ENTITY, or with --kind the container of that name.
Identity identity_of(const Call &call);

class Document {
public:
    static Document look(const std::string &name) { return snapshot(path_of(name), path_of(name)); }  // no lock
    static Document file(const std::string &path);  // any file or pipe; "-" is standard input
    static Document parse(const std::string &bytes, const std::string &what);
    static Document change(const Call &call);  // NAME, locked until the end of the document's life
    Document(Document &&) = default;
    Document &operator=(Document &&) = delete;

    kvio_config_t *get() const { return config_; }
    const std::string &path() const { return path_; }  // as messages call it
    void save();
    void save_as(const Call &call, const std::string &name);  // moves the lock to that configuration
    // Takes over the tree of another one, which gets this one's.
    void exchange(Document &other) { std::swap(config_->doc, other.config_->doc); }

    Element any_root() const { return Element(xmlDocGetRootElement(config_->doc)); }
    Element root() const;  // throws unless it is kavex
    // These throw a Failure that names what is missing or not unique.
    Element scope(const std::string &path) const;
    Element find(const std::string &scope, const Identity &wanted) const;
    Element find(const Call &call) const { return find(call.scope(), identity_of(call)); }
    Handle handle_of(const Call &call) const;  // of its container

    std::string output;              // of a change, to be printed once it is saved
    bool structure_changed = false;  // more than values: a fault may have come in
    Strings renamed;                 // names before and after
    References references;           // as they were before the changes

private:
    explicit Document(const std::string &path) : path_(path) {}
    static Document snapshot(const std::string &path, const std::string &what);
    std::string path_;
    std::unique_ptr<SignalsBlocked> signals_;        // before the handle: the lock is released first
    Owned<kvio_config_t, kvio_close_config> owner_;  // null for a snapshot
    kvio_config_t *config_ = nullptr;
};

// ---- check.cpp: the faults, in words that stay the same when something else changes. A count of references that is too
// high is none: it may include references that are kept elsewhere.
std::multiset<std::string> faults_of(const Document &document);

// ---- diff.cpp: a line for each difference, or with --format json an array; true if there is any.
bool differences(const Call &call, const Document &before, const Document &after, std::string &text);

// ---- files.cpp
// The bytes that kvio_dump() writes, or kvio_backup_scope() for a scope that is not empty.
std::string bytes_of(const Document &document, const std::string &scope);
// Writes a file of mode 0600, complete or not at all. A pipe takes the bytes as they are; "" and "-" are standard output.
void write_file(const std::string &path, const std::string &bytes);
bool is_broken(const std::string &name);  // not well-formed
// Saves a document as NAME, which is broken; its bytes are kept as NAME.broken.
void replace_broken(const Call &call, Document &document);
// Makes what is missing of a path of scopes; false if nothing is.
bool made_scope(const Document &document, const std::string &path);
// Puts a scope of another document in the place of the one with this path, or all of it for "". Makes a missing scope.
void put_into(Document &target, Document &source, const std::string &scope);

// ---- changes.cpp
// Opens NAME, runs a change, refuses new faults, saves and closes; then prints the change's output. With
// --dry-run prints how the file would differ and saves nothing.
int save_change(const Call &call, const std::function<void(Document &)> &make);

// The store's functions for one kind of container; throws for other words than table, list and group.
struct Kind {
    const char *name;
    kvio_iterator_t *(*create)(kvio_config_t *, const char *, const char *, const char *);
    kvio_iterator_t *(*open)(kvio_config_t *, const char *, const char *, const char *);
};
const Kind &kind_of(const std::string &name);

}  // namespace kvio

#endif
