// What the files of the store share: how a call fails, the handles, and the look-up of scopes, entities and containers.
#ifndef KAVEX_STORE_STORE_H
#define KAVEX_STORE_STORE_H

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>

#include "kavex/store.h"
#include "store/xml.h"

// Prints to the standard error stream. errno stays as it was: it is the reason of the failure that is reported.
inline void print(const char *format, va_list arguments) noexcept {
    int reason = errno;
    std::vfprintf(stderr, format, arguments);
    errno = reason;
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

// Frees the document and the block. The lock is not the handle's memory: it is released by name.
inline void free_config(kvio_config_t *config) noexcept {
    xmlFreeDoc(config->doc);
    std::free(config);
}

using Config = Owned<kvio_config_t, free_config>;
using Iterator = Block<kvio_iterator_t>;
using Entities = Block<kvio_entities_t>;

// The longest scope: with "/kavex/" in front it makes 255 bytes.
inline constexpr std::size_t max_scope = 255 - (sizeof "/kavex/" - 1);

// The element that "/kavex/" and the scope select. Null with the documented line and code unless there is exactly one.
xmlNode *find_scope(const kvio_config_t *config, const char *scope, const char *who) noexcept;

// The same without code and line.
xmlNode *scope_or_null(const kvio_config_t *config, const char *scope) noexcept;

// How many nodes an expression selects, and the element when it is exactly one.
struct Found {
    bool ok = false;  // false: the code is set and the line is printed
    std::size_t count = 0;
    xmlNode *only = nullptr;
};

// The entities that "/kavex/SCOPE/TYPE[@name=NAME]" selects, whatever bytes the name holds; a null name or type
// selects none. Fails with code 7 for a null or over-long scope and with code 8 for what cannot be evaluated.
Found find_entities(xmlDoc *document, const char *scope, const char *type, const char *name, const char *who) noexcept;

// The same without a name: all that "/kavex/SCOPE/TYPE" selects.
Found find_all(xmlDoc *document, const char *scope, const char *type, const char *who) noexcept;

// The container of this identity among the children of a scope element; null if there is none.
xmlNode *find_container(const xmlNode *scope, const char *kind, const char *type, const char *name) noexcept;

}  // namespace store

#endif
