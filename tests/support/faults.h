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

// The nth (1 is the next) use of a function fails with this errno. Known are those that faults.cpp defines.
void fail(const char *function, int error, int nth = 1, Extent extent = once);
// The nth read, write, pread or pwrite moves no more than this many bytes: 0 is the end of the file.
void shorten(const char *function, size_t bytes, int nth = 1, Extent extent = once);
// Runs a function right before the nth use of another one, as a second process might.
void intrude(const char *function, std::function<void()> deed, int nth = 1);
// ftok() of this path with this project id gives this key.
void set_key(const char *path, int project, int key);

// The nth allocation fails (malloc, calloc, realloc, also those of the XML library and of libc).
inline void fail_allocation(int nth, Extent extent = once) { fail("malloc", ENOMEM, nth, extent); }
// How many the latest call() asked for, and how many blocks were allocated and not released inside call()s. Both stay
// at 0, and none fails, without KAVEX_TEST_ALLOCATIONS.
int allocations();
long blocks();

// Whether a fault struck in the latest call() that had one planned.
bool struck();

// A change of a file, or of a name in a directory, that a call() made.
struct Change {
    enum Kind { write, resize, sync, name, unname, sync_names } kind;
    ino_t file;        // its inode
    size_t offset;     // of what was written, or the new size
    std::string data;  // what was written, or the name's path
};

// Records the changes made inside call()s from now on, or no longer.
void record(bool wanted);
std::vector<Change> &changes();

// call() does this around its body; plans are forgotten when it ends. The fixture forgets keys, too, after each test.
void begin();
void end();
void clear();

// Suspends the faults for code of the test program that runs inside a call: callbacks, the log recorder.
struct Pause {
    ~Pause() { active = before; }
    const bool before = std::exchange(active, false);
};

}  // namespace faults

#endif
