// Which containers name an entity or another container. The store is asked by path, so that a batch of many changes
// does not read the document again for each.
#ifndef KAVEX_TOOLS_REFERENCES_H
#define KAVEX_TOOLS_REFERENCES_H

#include <string>

#include "document.h"

namespace kvio {

// What containers of one kind and type may name; of any kind when there is none.
struct Member {
    std::string scope, kind, type, name;
    bool entity;
};

// How often they name it now, or how often one of them does.
int times_named(Document &document, const Member &member, const std::string &container = "");

// Kind and name of the first one that does, or "".
std::string container_naming(Document &document, const Member &member);

// Programs delete an entity that leaves a group when its "reference" says that no other group names it: a group now
// names the member once more (1) or once less (-1). What has no such count gets one when it would be needed.
void count_reference(Document &document, const Member &member, int change);

}  // namespace kvio

#endif
