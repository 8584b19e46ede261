// Handles on their way to the caller, owned until release().
#ifndef KAVEX_STORE_HANDLES_H
#define KAVEX_STORE_HANDLES_H

#include "store/store.h"

namespace store {

// Frees the document and the block. The lock is not the handle's memory: it is released by name.
inline void free_config(kvio_config_t *config) noexcept {
    xmlFreeDoc(config->doc);
    std::free(config);
}

using Config = Owned<kvio_config_t, free_config>;
using Iterator = Block<kvio_iterator_t>;
using Entities = Block<kvio_entities_t>;

}  // namespace store

#endif
