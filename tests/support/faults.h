// Faults that strike inside the next call(), and only there, so that a test's own work never fails. The test program
// itself defines the functions concerned: the library and those below it find these definitions first.
#ifndef KAVEX_TESTS_SUPPORT_FAULTS_H
#define KAVEX_TESTS_SUPPORT_FAULTS_H

#include <cerrno>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace faults {

enum Extent { once, from_then_on };
extern bool active;

// The nth (1 is the next) use of a function fails with this errno. With 0 a pread() or pwrite() ends at the next KiB of
// the file. Known are the functions that faults.cpp defines, and "malloc" for every allocation, also of the XML library
// and libc. A deed is done in place of the failure.
void fail(const char *function, int error, int nth = 1, Extent extent = once, std::function<void()> deed = {});
inline void fail_allocation(int nth, Extent extent = once) { fail("malloc", ENOMEM, nth, extent); }
// Runs a function right before the nth use of another one, as a second process might.
inline void intrude(const char *function, std::function<void()> deed, int nth = 1) {
    fail(function, 0, nth, once, std::move(deed));
}
// ftok() of this path with this project id gives this key, until clear().
void set_key(const char *path, int project, int key);
void clear();

// Whether a fault struck since the latest one was planned.
bool struck();
// How many allocations the latest call() asked for, and how many blocks were allocated and not released inside call()s.
// Both stay at 0, and no allocation fails, without KAVEX_TEST_ALLOCATIONS.
int allocations();
long blocks();

// A change of a file or directory. Those made inside call()s are noted where `changes` points.
struct Change {
    enum Kind { write, resize, name, sync } kind;
    ino_t file;            // the inode of the file, or of the directory
    std::string data;      // what was written, or the path of the name
    std::uint64_t offset;  // of what was written; the new size; the inode that has the name, 0 for none
};
extern std::vector<Change> *changes;

// call() does this around its body; plans are forgotten when it ends.
void begin();
void end();

// Suspends the faults for code of the test program that runs inside a call: callbacks, the log recorder.
struct Pause {
    ~Pause() { active = before; }
    const bool before = std::exchange(active, false);
};

}  // namespace faults

#endif
