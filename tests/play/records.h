// The records of lists and groups, with callbacks that tell what they are called with, and faults in these callbacks
// and in the calls of the store that the object layer makes.
#ifndef KAVEX_TESTS_PLAY_RECORDS_H
#define KAVEX_TESTS_PLAY_RECORDS_H

#include <kavex/objects.h>

#include <string>

namespace records {

// A record by its name and what is changed in it: "g-begin-end" has two fields less, "all+3" takes three members at
// most. It lives as long as the program.
list_desc_t *list(kvio_config_t *config, const std::string &word);
group_desc_t *group(kvio_config_t *config, const std::string &word);

// The data of an entry, null for a null text.
void *data(const char *text);

// The nth (1 is the next; 0 is none) callback or call of the store by the object layer fails.
void fail(int nth);

// Around an operation. The end gives what the callbacks were called with, and fails the test where a buffer is left.
void begin();
std::string end();

// What failed, such as "kvio_define" or its second use, "kvio_define2"; empty when nothing did.
const std::string &failed();

}  // namespace records

#endif
