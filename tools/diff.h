// How two configurations differ, for `diff` and for changes that are shown before they are saved.
#ifndef KAVEX_TOOLS_DIFF_H
#define KAVEX_TOOLS_DIFF_H

#include "document.h"

namespace kvio {

// Prints a line for each difference; true if there is any.
bool print_differences(const Call &call, const Document &before, const Document &after);

}  // namespace kvio

#endif
