// A configuration opened through the store, and what the store's codes mean to a user.
#ifndef KAVEX_TOOLS_DOCUMENT_H
#define KAVEX_TOOLS_DOCUMENT_H

#include <kavex/store.h>

#include <memory>
#include <string>
#include <utility>

#include "base/owned.h"
#include "base/signals.h"
#include "kvio.h"
#include "store/store.h"
#include "tree.h"

namespace kvio {

std::string path_of(const std::string &name);  // as kvio_open_config() builds it
Strings configurations();                      // the names of all, sorted

// Throws unless it is the name of an element or attribute; `what` says of which.
const std::string &checked_name(const std::string &name, const std::string &what);

// Throws for a failed system call, or for a failed call of the store, by kvio_errno and errno: `what` and the reason.
[[noreturn]] void system_failure(const std::string &what, int reason);
[[noreturn]] void store_failure(const std::string &what);

class Document {
public:
    static Document look(const std::string &name) { return snapshot(path_of(name), path_of(name)); }  // no lock
    static Document file(const std::string &path);  // any file or pipe; "-" is standard input
    static Document change(const Call &call);       // NAME, locked until the end of the document's life
    Document(Document &&) = default;
    Document &operator=(Document &&) = delete;

    kvio_config_t *get() const { return config_; }
    const std::string &path() const { return path_; }  // as messages call it
    void save();
    void save_as(const std::string &name);  // moves the lock to that configuration

    Element any_root() const { return Element(xmlDocGetRootElement(config_->doc)); }
    Element root() const;  // throws unless it is kavex
    // These throw a Failure that names what is missing or not unique.
    Element scope(const std::string &path) const;
    kvio_node_t *entity(const std::string &scope, const std::string &type, const std::string &name) const;

    std::string output;              // of a change, to be printed once it is saved
    bool structure_changed = false;  // more than values: a fault may have come in

private:
    explicit Document(const std::string &path) : path_(path) {}
    static Document snapshot(const std::string &path, const std::string &what);
    struct Closer {
        void operator()(kvio_config_t *config) const { kvio_close_config(config); }
    };
    std::string path_;
    std::unique_ptr<SignalsBlocked> signals_;       // before the handle: the lock is released first
    std::unique_ptr<kvio_config_t, Closer> owner_;  // null for a snapshot
    kvio_config_t *config_ = nullptr;
};

// A handle on a container, closed at the end of its life.
class Container {
public:
    enum Mode { open_it, create_it };
    Container(Document &document, const std::string &scope, const std::string &kind, const std::string &type,
              const std::string &name, Mode mode = open_it);
    ~Container() { kvio_close_table(iterator_); }
    Container(const Container &) = delete;
    Container &operator=(const Container &) = delete;
    kvio_iterator_t *get() const { return iterator_; }
    const std::string &label() const { return label_; }

private:
    std::string label_;
    kvio_iterator_t *iterator_;
};

// The store's functions for one kind of container; throws for other words than table, list and group.
struct Kind {
    const char *name;
    kvio_iterator_t *(*create)(kvio_config_t *, const char *, const char *, const char *);
    kvio_iterator_t *(*open)(kvio_config_t *, const char *, const char *, const char *);
    int (*dispose)(kvio_config_t *, const char *, const char *, const char *);
};
const Kind &kind_of(const std::string &name);

}  // namespace kvio

#endif
