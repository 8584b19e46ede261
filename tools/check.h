// What is wrong with a document, for `check` and for the changes that must not make it worse.
#ifndef KAVEX_TOOLS_CHECK_H
#define KAVEX_TOOLS_CHECK_H

#include <set>
#include <string>

#include "document.h"

namespace kvio {

// In words that stay the same when something else in the document changes. Counts of references that are too high are
// no faults here: they may count what stands elsewhere.
std::multiset<std::string> faults_of(const Tree &tree);

}  // namespace kvio

#endif
