// How the store itself makes handles on containers.
#ifndef KAVEX_STORE_CONTAINERS_H
#define KAVEX_STORE_CONTAINERS_H

#include "store/handles.h"

namespace store {

enum class ContainerMode { create, find };

// Makes or finds a container in its scope and gives a handle on it; null with code and line.
kvio_iterator_t *kvio_container_create_template(const char *kind, ContainerMode mode, kvio_config_t *config,
                                                const char *scope, const char *type, const char *name) noexcept;

// A handle on a container element; null when memory is short, without code or line. The texts fit their fields.
Iterator open_handle(const char *kind, xmlNode *element, kvio_config_t *config, const char *scope,
                     const char *type) noexcept;

}  // namespace store

#endif
