// What the files of the store share: how a call fails, the handles, and the look-up of scopes, entities and containers.
#ifndef KAVEX_STORE_STORE_H
#define KAVEX_STORE_STORE_H

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>

#include "kavex/store.h"
#include "store/files.h"
#include "store/xml.h"

// Prints to the standard error stream. errno stays as it was: it is the reason of the failure that is reported.
[[gnu::format(printf, 1, 0)]] inline void print(const char *format, va_list arguments) noexcept {
    KeptErrno kept;
    std::vfprintf(stderr, format, arguments);
}

// Prints a line that changes no result and no code.
[[gnu::format(printf, 1, 2)]] inline void say(const char *format, ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    print(format, arguments);
    va_end(arguments);
}

// Sets the code, prints the line and returns the result: return fail(0, KVIO_EXISTS, "%s error: ...\n", who).
template <class Result>
[[gnu::format(printf, 3, 4)]] Result fail(Result result, kvio_code code, const char *format, ...) noexcept {
    kvio_errno = code;
    va_list arguments;
    va_start(arguments, format);
    print(format, arguments);
    va_end(arguments);
    return result;
}

// For failures that have no line.
template <class Result>
Result fail(Result result, kvio_code code) noexcept {
    kvio_errno = code;
    return result;
}

template <class Result>
Result succeed(Result result) noexcept {
    kvio_errno = KVIO_OK;
    return result;
}

struct kvio_config_t {
    char path[4096];  // full path of the file that the handle saves to and whose lock it holds
    xmlDoc *doc;
    int semid;  // the lock, or -1 for a snapshot, which holds none
};

struct kvio_iterator_t {
    char kind[16];  // "table", "list" or "group"
    xmlNode *node;  // the container element
    int readonly;   // 1 when made from a snapshot
    kvio_config_t *config;
    char scope[64];
    char type[64];
};

static_assert(offsetof(kvio_config_t, doc) == 4096 && offsetof(kvio_iterator_t, node) == 16);
static_assert(sizeof(void *) != 4 ||
              (sizeof(kvio_config_t) == 4104 && sizeof(kvio_iterator_t) == 156 && sizeof(kvio_entities_t) == 12));

namespace store {

void free_indexes(xmlDoc *document) noexcept;

// Frees the document and the block. The lock is not the handle's memory: it is released by name.
inline void free_config(kvio_config_t *config) noexcept {
    free_indexes(config->doc);
    xmlFreeDoc(config->doc);
    std::free(config);
}

using Config = Owned<kvio_config_t, free_config>;
using Iterator = Block<kvio_iterator_t>;
using Entities = Block<kvio_entities_t>;

// Reports that a configuration has no key, for the reason that its lock gives.
template <class Result>
Result no_key_for(const ConfigPath &path, const FileLock &lock, Result result) noexcept {
    errno = lock.reason();
    return fail(result, KVIO_NO_KEY, "ftok(%s%s) failed\n", path.directory(), path.name());
}

// Makes a missing configuration from the template and locks it. Without a template that can be parsed no file is made,
// and the lock has the status no_key, for the reason ENOMEM when memory was short.
FileLock create_from_template(const ConfigPath &path) noexcept;

// Serialises a document. False with errno, after a line that names the first thing in it that could not be read back.
bool serialise(xmlDoc *document, Bytes &bytes, const char *who) noexcept;

// Saves a document to a path, as replace() does. The number of bytes, or -1 with the code and its lines.
int save(xmlDoc *document, const char *path, mode_t mode, RedoFile redo, const char *who) noexcept;

// Finds the one element that "/kavex/SCOPE" selects. Null with code and line if it selects none or several; for a null
// config with the code.
xmlNode *find_scope(const kvio_config_t *config, const char *scope, const char *who) noexcept;

// What a look-up selects.
struct Found {
    int count = 0;            // the nodes selected, or less than 0
    xmlNode *only = nullptr;  // the element, if exactly one node is selected and it is an element

    void add(xmlNode *element) noexcept { only = count++ ? nullptr : element; }
};

// Adds the entities of this name, or all for a null name, in one scope; those with a namespace only if `any_namespace`.
void search_scope(const xmlNode *scope, const char *type, const char *name, bool any_namespace, Found &found) noexcept;

// Keep the indexes true: for an element that was appended or renamed, and for one that will be removed or renamed.
void learn(xmlNode *element) noexcept;
void forget(const xmlNode *element) noexcept;

// Finds what "/kavex/SCOPE/TYPE[@name=NAME]" selects, whatever bytes the name holds, or "/kavex/SCOPE/TYPE" for a null
// name, or nothing for a null type. The root is no entity. A count below 0 has code and line: code 7 for a
// null or over-long scope and one that selects the root, code 8 for an expression that cannot be evaluated.
Found find_entities(xmlDoc *document, const char *scope, const char *type, const char *name, const char *who) noexcept;

// Returns the entity of this name. Null with the code, and with its line if there are several or the look-up failed.
xmlNode *find_entity(const kvio_config_t *config, const char *scope, const char *type, const char *name,
                     const char *who) noexcept;

// Whether a child of a scope is an entity of this type and, unless null, of this name.
inline bool is_entity(const xmlNode *node, const char *type, const char *name) noexcept {
    return xml::is_element(node, type) && (!name || xml::is_named(node, name));
}

// Whether a child of a scope is a container of this kind and type.
bool is_container(const xmlNode *node, const char *kind, const char *type) noexcept;

// Returns the first container of this identity in a scope; null if there is none.
xmlNode *find_container(const xmlNode *scope, const char *kind, const char *type, const char *name) noexcept;

// The same for a scope that is to be found. Null with the code and, but for a null config, the line.
xmlNode *find_container(const kvio_config_t *config, const char *kind, const char *scope, const char *type,
                        const char *name, const char *who) noexcept;

// The members of a container.
inline bool is_entity_member(const xmlNode *node) noexcept { return xml::is_element(node, "entity"); }
inline bool is_container_member(const xmlNode *node) noexcept { return xml::is_element(node, "container"); }
inline bool is_member(const xmlNode *node) noexcept { return is_entity_member(node) || is_container_member(node); }

// Creates an element outside the tree. Null with code and line.
xml::Detached new_element(const char *kind, const char *who) noexcept;

// Sets an attribute of a new element. False with code and line.
bool set_attribute(const xml::Detached &element, const char *name, const char *value, const char *who) noexcept;

// Hangs an element below a parent, as the last child. Null with code and line; frees the child on failure.
inline xmlNode *append(xmlNode *parent, xml::Detached child, const char *who) noexcept {
    if (!xmlAddChild(parent, child.get())) return fail(nullptr, KVIO_XML, "%s error on xmlAddChild()\n", who);
    learn(child.get());
    return child.release();
}

// Unlinks and frees a node with all below it. Succeeds with 1.
inline int discard(xmlNode *node) noexcept {
    forget(node);
    xmlUnlinkNode(node);
    xmlFreeNode(node);
    return succeed(1);
}

// The buffer of a getter; with a size where the getter's name ends in "2".
struct Buffer {
    char *bytes;
    std::size_t size = SIZE_MAX;

    // Copies the whole text, or writes the whole buffer: a longer text is cut after size - 1 bytes.
    void copy(const char *text) const noexcept {
        if (size == SIZE_MAX) {
            std::strcpy(bytes, text);
        } else if (size > 0) {
            bytes[size - 1] = '\0';
            std::strncpy(bytes, text, size - 1);
        }
    }

    // Copies a text. 1, or 0 with the code when memory for the text was short.
    int take(const xml::Text &text) const noexcept {
        if (!text) return fail(0, KVIO_XML);
        copy(text.get());
        return succeed(1);
    }

    // There is no text: writes only the first byte.
    int take_nothing() const noexcept {
        if (size) *bytes = '\0';
        return succeed(1);
    }
};

// Returns the entity that was passed; for null with code and line.
inline xmlNode *given(xmlNode *entity, const char *who) noexcept {
    return entity ? entity : fail(nullptr, KVIO_BAD_ENTITY, "%s() error: NULL entity\n", who);
}

// Returns the container element of a handle. Null with code and line for a null handle and one without an element:
// `unattached` is the line for this, behind the function's name, since its spelling differs between functions.
inline xmlNode *readable(const kvio_iterator_t *iterator, const char *who,
                         const char *unattached = "() error: bad iterator, no container associated") noexcept {
    if (!iterator) return fail(nullptr, KVIO_BAD_ITERATOR, "%s() error: NULL iterator\n", who);
    if (!iterator->node) return fail(nullptr, KVIO_BAD_ITERATOR, "%s%s\n", who, unattached);
    return iterator->node;
}

// The same for a container that is to be written: fails also for a read-only handle.
inline xmlNode *writable(const kvio_iterator_t *iterator, const char *who,
                         const char *unattached = "() error: bad iterator, no container associated") noexcept {
    if (iterator && iterator->readonly) return fail(nullptr, KVIO_READ_ONLY, "%s() error: read-only iterator\n", who);
    return readable(iterator, who, unattached);
}

}  // namespace store

#endif
