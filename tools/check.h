// What is wrong with a document, for `check` and for the changes that must not make it worse.
#ifndef KAVEX_TOOLS_CHECK_H
#define KAVEX_TOOLS_CHECK_H

#include <set>
#include <string>

#include "document.h"

namespace kvio {

// The faults, in words that stay the same when something else in the document changes. A count of references that is
// too high is none: it may include references that are kept elsewhere.
std::multiset<std::string> faults_of(const Document &document);

}  // namespace kvio

#endif
