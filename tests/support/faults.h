// Faults that strike inside the next call(), and only there, so that a test's own work never fails. The test program
// itself defines the functions concerned: the library and those below it find these definitions first.
#ifndef KAVEX_TESTS_SUPPORT_FAULTS_H
#define KAVEX_TESTS_SUPPORT_FAULTS_H

#include <gtest/gtest.h>
#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace faults {

enum Extent { once, from_then_on };

// The nth (1 is the next) use of a function fails with this errno. Known are those that faults.cpp defines.
void fail(const char *function, int error, int nth = 1, Extent extent = once);

// The nth read, write, pread or pwrite moves no more than this many bytes: 0 is the end of the file.
void shorten(const char *function, size_t bytes, int nth = 1, Extent extent = once);

// Runs a function right before the nth use of another one, as a second process might.
void intrude(const char *function, std::function<void()> deed, int nth = 1);

// ftok() of this path with this project id gives this key.
void set_key(const char *path, int project, key_t key);

#ifdef KAVEX_TEST_ALLOCATIONS
// The nth allocation fails (malloc, calloc, realloc, also those of the XML library and of libc).
void fail_allocation(int nth, Extent extent = once);

// The number of allocations that the latest call() asked for, and that of the blocks allocated inside call()s and not
// released inside any: 0 when a series of calls left nothing behind.
int allocations();
long blocks();

// The libraries' functions in a call stack as backtrace() gives it, the innermost first, with the names that the
// libraries export: "xmlStrdup < (libxml2.so.2) < (libkavex.so.1) < kvio_backup_scope".
std::string stack_of(void *const *frames, int depth);

// Keeps the call stack of every such block from now on, or no longer; those of the blocks that are left, and that of
// the first allocation that failed in the latest call().
void keep_stacks(bool wanted);
std::set<std::string> stacks();
std::string stack_of_failure();
#endif

// A change of a file, or of a name in a directory, that a call() made.
struct Change {
    enum Kind { write, resize, sync, name, unname, sync_names } kind;
    std::uint64_t file;  // its inode
    size_t offset;       // of what was written, or the new size
    std::string data;    // what was written, or the name's path
};

// Records the changes made inside call()s from now on, or no longer.
void record(bool wanted);
std::vector<Change> &changes();

// Whether a fault struck in the latest call() that had one planned.
bool struck();

// Forgets every plan and key; the fixture does so after each test.
void clear();

// call() does this around its body. Plans are forgotten when it ends.
void begin();
void end();

// Suspends the faults for code of the test program that runs inside a call: callbacks, the log recorder.
class Pause {
public:
    Pause();
    ~Pause();
    Pause(const Pause &) = delete;
    Pause &operator=(const Pause &) = delete;

private:
    bool active_;
};

// Runs a body, which plans the nth fault for its call, with 1, 2, 3, ... until no fault struck, or the test failed.
template <class Body>
void each(Body &&body) {
    for (int nth = 1;; ++nth) {
        SCOPED_TRACE(testing::Message() << "fault number " << nth);
        body(nth);
        if (!struck() || testing::Test::HasFailure()) return;
    }
}

}  // namespace faults

#endif
