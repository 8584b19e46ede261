// What the tests of lists and groups share: callbacks that record, fail on demand and count their buffers; calls of the
// store that fail on demand and count their handles; and one document whose scope "s" is written and compared whole.
#ifndef KAVEX_TESTS_OBJECT_RECORDER_H
#define KAVEX_TESTS_OBJECT_RECORDER_H

#include <kavex/objects.h>

#include <functional>
#include <map>
#include <string>

#include "tests/support/appliance.h"

// Skips a test that makes store calls of the library fail, or counts them: in the smallest form they stay within it.
#ifdef KAVEX_OWN_CALLS
#define NEEDS_FAILING_STORE_CALLS() GTEST_SKIP() << "the library's calls of the store stay within it"
#else
#define NEEDS_FAILING_STORE_CALLS() static_cast<void>(0)
#endif

// The log as the call must have written it.
inline std::string list_op(const std::string &text) { return "list_op 5,7,5,0,0,0,0: " + text + "\n"; }
inline std::string group_op(const std::string &text) { return "group_op 5,7,5,0,0,0,0: " + text + "\n"; }

// Everything that can be seen of one operation.
struct Seen {
    long result = 0;
    std::string log = {};
    std::string calls = {};  // of callbacks, in order, such as "alloc_entry get_entry(a) free_entry "
    std::string scope = {};  // what is in the scope afterwards, without indentation
};
bool operator==(const Seen &a, const Seen &b);
void PrintTo(const Seen &seen, std::ostream *out);

class Objects : public ApplianceTest {
public:
    static void *own_entry();  // a buffer that `get_entry` takes and no callback made

protected:
    void SetUp() override;
    void TearDown() override;

    // Opens a document with these elements in its scope; the one before is closed.
    void load(const std::string &scope);
    void unload();
    std::string scope() const;

    // Runs one operation. What it wrote to descriptor 2 goes to `err`: the lines that begin with a percent sign when
    // there are any, else all.
    Seen run(const std::function<long()> &operation);
    std::string err;

    // Lets the nth use (1 is the next) of a callback or a store function fail in the next run(). The store's functions
    // then do nothing but return what stands for a failure; kvio_close_group() does its work and returns 0.
    void fail(const std::string &function, int nth = 1);

    // How often the latest run() used each callback and each store function.
    std::map<std::string, int> uses() const;

    // Records with all callbacks, of type "t", with properties of type "p".
    list_desc_t list(const char *name = "l");
    group_desc_t group(const char *name);
    static void without_callbacks(group_desc_t *group);
    static void without_properties(group_desc_t *group);

    kvio_config_t *config = nullptr;
};

#endif
