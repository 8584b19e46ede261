// A configuration opened through the store, and what its codes mean to somebody at a shell.
#ifndef KAVEX_TOOLS_DOCUMENT_H
#define KAVEX_TOOLS_DOCUMENT_H

#include <kavex/store.h>
#include <signal.h>

#include <memory>
#include <string>
#include <utility>

#include "kvio.h"
#include "tree.h"

namespace kvio {

inline constexpr char config_directory[] = "/etc/kavex/conf/";
inline constexpr char system_default[] = "/etc/__system_default.xml";
void watch_memory();                           // lets failures tell short memory from broken files
std::string path_of(const std::string &name);  // as kvio_open_config() builds it
Strings configurations();                      // the names of all, sorted

// Puts off the signals that end a program: one that dies with a file open leaves the file locked.
class Undisturbed {
public:
    Undisturbed();
    ~Undisturbed();

private:
    sigset_t before_;
};

// An open file, closed at the end of its life.
class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(Descriptor &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    ~Descriptor();
    int get() const { return fd_; }
    std::string path() const { return "/proc/self/fd/" + std::to_string(fd_); }

private:
    int fd_;
};

// Throws unless it is the name of an element or attribute; what says of which.
const std::string &checked_name(const std::string &name, const std::string &what);

Descriptor memory_file();  // for the store, which reads and writes files by name

// Throws: what went wrong according to kvio_errno, and the matching status.
[[noreturn]] void store_failure(const std::string &what);
// The same for a file, whose permissions are looked at: the store has no code for them.
[[noreturn]] void file_failure(const std::string &what, const std::string &path);

class Document {
public:
    static Document look(const std::string &name) { return snapshot(path_of(name), path_of(name), true); }  // no lock
    static Document file(const std::string &path);    // any file; "-" is standard input
    static Document change(const std::string &name);  // under the lock, until the end of its life
    Document(Document &&) = default;
    Document again() const;  // its file once more, under the lock that this one has

    kvio_config_t *get() const { return config_; }
    unsigned long long size() const;  // of its file, in bytes
    // Leaves the document to the end of the process, which is faster than to free it node by node.
    void abandon();
    void save();
    bool save_as(const std::string &name);

    const Tree &tree();  // as the document stood at the first call after the last changed()
    // The same with nothing in it but one entity and the scopes around it, since the whole costs as much again as to
    // open the document. Null when the store does not find it as a path; it may be there nevertheless.
    std::optional<Tree> alone(const std::string &scope, const std::string &type, const std::string &name);
    std::string output;                                 // of a change, to be printed once it is saved
    void changed() { tree_.reset(), changed_ = true; }  // more than values
    bool is_changed() const { return changed_; }

    // Throw a Failure that names what is missing.
    kvio_node_t *entity(const std::string &scope, const std::string &type, const std::string &name);
    void check_scope(const std::string &scope);  // that it is one, not an entity or container

private:
    explicit Document(const std::string &path) : path_(path) {}
    static Document snapshot(const std::string &path, const std::string &what, bool in_use);
    struct Closer {
        void operator()(kvio_config_t *config) const { kvio_close_config(config); }
    };
    std::string path_;                          // what messages call it
    std::unique_ptr<Undisturbed> undisturbed_;  // before the handle: its lock goes first
    std::unique_ptr<kvio_config_t, Closer> owner_;
    kvio_config_t *config_ = nullptr;
    std::optional<Tree> tree_;
    bool changed_ = false;
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

// The functions of one kind of container; throws for other words than table, list and group.
struct Kind {
    const char *name;
    kvio_iterator_t *(*create)(kvio_config_t *, const char *, const char *, const char *);
    kvio_iterator_t *(*open)(kvio_config_t *, const char *, const char *, const char *);
    int (*dispose)(kvio_config_t *, const char *, const char *, const char *);
};
const Kind &kind_of(const std::string &name);

}  // namespace kvio

#endif
