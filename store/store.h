// What the files of the store share: the two handles, and the way from a scope and a name to an element.
#ifndef KAVEX_STORE_STORE_H
#define KAVEX_STORE_STORE_H

#include <cstddef>

#include "kavex/store.h"
#include "store/error.h"
#include "store/xml.h"

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
