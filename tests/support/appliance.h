// The test bench: fixtures that look at what a test leaves behind, one outcome for every call of the library, files at
// their real paths, and faults that strike inside a call.
#ifndef KAVEX_TESTS_SUPPORT_APPLIANCE_H
#define KAVEX_TESTS_SUPPORT_APPLIANCE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kavex/store.h>
#include <sys/types.h>
#include <unistd.h>

#include <functional>
#include <iosfwd>
#include <set>
#include <string>
#include <type_traits>

#include "tests/support/faults.h"

void write_file(const std::string &path, const std::string &text, mode_t mode = 0600);
std::string read_file(const std::string &path);  // fails the test when there is none
inline bool file_exists(const std::string &path) { return access(path.c_str(), F_OK) == 0; }
mode_t file_mode(const std::string &path);  // the permission bits

// In the directory of the configurations, where "small" has a full-size file system of 256 KiB.
inline std::string config_path(const std::string &name) { return "/etc/kavex/conf/" + name; }
inline void write_config(const std::string &name, const std::string &text) { write_file(config_path(name), text); }
inline std::string read_config(const std::string &name) { return read_file(config_path(name)); }
// What the store keeps beside a file that it has saved.
inline bool is_redo_file(const std::string &path) { return path.find("/.kavex-redo-") != std::string::npos; }

// Makes one test after the other start alike, with at most one open document, and checks in its end that it left nothing:
// no semaphore set, no shared memory segment, the same descriptors, no child and no process of its children.
class ApplianceTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Opens a document whose scope "s" has these elements. It is closed before the next one, and in the end.
    void open(const std::string &scope) { open_whole("<kavex><s>" + scope + "</s></kavex>"); }
    void open_whole(const std::string &document);
    void close();
    void close_container() { kvio_close_list(std::exchange(iterator, nullptr)); }
    static std::string path() { return config_path("a.xml"); }

    kvio_config_t *config = nullptr;
    kvio_iterator_t *iterator = nullptr;

private:
    std::set<std::string> descriptors_, processes_;
};

// What kvio_errno holds before each call: an outcome with this code left it alone.
constexpr int untouched = 4711;

// Everything that can be seen of one call. Pointers count as 1, null as 0, and no result as 0.
struct Outcome {
    long result = 0;
    int code = 0;
    std::string err = {};  // what was written to descriptor 2, with what child processes logged
    std::string log = {};  // the system log, as "list_op 5,7,5,0,0,0,0: text\n", one after the other
    int error = 0;         // errno, which was 0 before

    bool operator==(const Outcome &other) const {
        return result == other.result && code == other.code && err == other.err && log == other.log;
    }
};
void PrintTo(const Outcome &outcome, std::ostream *out);

Outcome observe(const std::function<long()> &body);

// Runs one call with kvio_errno set to `untouched` and gives its outcome. To keep a pointer, assign it inside:
// call([&] { return node = kvio_define2(...); }).
template <class Body>
Outcome call(Body &&body) {
    using Result = decltype(body());
    return observe([&]() -> long {
        if constexpr (std::is_void_v<Result>)
            return body(), 0;
        else if constexpr (std::is_pointer_v<Result>)
            return body() != nullptr;
        else
            return static_cast<long>(body());
    });
}

#endif
