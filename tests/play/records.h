// The records of lists and groups that the sessions use, with callbacks that tell what they are called with, and faults
// in these callbacks and in the calls of the store that the object layer makes.
#ifndef KAVEX_TESTS_PLAY_RECORDS_H
#define KAVEX_TESTS_PLAY_RECORDS_H

#include <kavex/objects.h>

#include <map>
#include <string>

namespace records {

// A record by its name and what is changed in it: "g-begin-end" has two fields less, "all+max_groups=3" has one set.
// It lives as long as the program.
list_desc_t *list(kvio_config_t *config, const std::string &word);
group_desc_t *group(kvio_config_t *config, const std::string &word);

// The data of an entry, null for a null text.
void *data(const char *text);

// Lets the nth use (1 is the next) of a callback or of a function of the store by the object layer fail.
void fail(const std::string &function, int nth);

// Around an operation. The end gives what the callbacks were called with, and fails the test where a buffer is left.
void begin();
std::string end();

// How often the latest operation used each callback and each function of the store.
const std::map<std::string, int> &uses();

}  // namespace records

#endif
