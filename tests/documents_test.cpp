// Configuration files under their locks: opened, moved, copied, renamed, removed, and what each failure leaves behind.
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "base/paths.h"
#include "tests/support/appliance.h"

namespace {

namespace fs = std::filesystem;

class Documents : public ApplianceTest {
protected:
    void SetUp() override {
        ApplianceTest::SetUp();
        kvio_initialize();
        unlink(paths::system_default_template);
        write_config("a.xml", text);
        fs::create_directory(config_path("dir"));
    }

    void TearDown() override {
        if (config) close();
        ApplianceTest::TearDown();
    }

    Outcome open(const std::string &name, int flags = 0) {
        return call([&] { return config = kvio_open_config(name.c_str(), flags); });
    }
    void expect_open(const std::string &path, const std::string &name, int flags = 0, const std::string &before = "") {
        Outcome outcome = open(name, flags);
        EXPECT_EQ(outcome, (Outcome{1, 0, before + "kvio_open_config success. (" + path + ", " +
                                              std::to_string(lock_id(path)) + ")\n"}));
    }
    Outcome close() {
        kvio_config_t *closed = config;
        config = nullptr;
        return call([&] { return kvio_close_config(closed); });
    }

    static int lock_id(const std::string &path) {
        key_t key = ftok(path.c_str(), 0);
        return semget(key ? key : ftok(path.c_str(), 1), 0, 0);
    }

    // What is in the configuration directory, other than directories.
    static std::set<std::string> files() {
        std::set<std::string> names;
        for (const auto &entry : fs::directory_iterator("/etc/kavex/conf"))
            if (!entry.is_directory()) names.insert(entry.path().filename());
        return names;
    }

    // A name of this file whose full path has a given length.
    static std::string padded(const std::string &name, std::size_t path_length) {
        std::size_t missing = path_length - config_path(name).size();
        std::string padding;
        while (padding.size() + 2 <= missing) padding += "./";
        return padding + (missing % 2 ? "/" : "") + name;
    }

    const std::string text = "<?xml version=\"1.0\"?>\n<kavex>\n  <s/>\n</kavex>\n";
    kvio_config_t *config = nullptr;
};

std::string because(int error) { return std::string(": ") + std::strerror(error) + "\n"; }
std::string no_key(const std::string &name) { return "ftok(" + config_path(name) + ") failed\n"; }

TEST_F(Documents, TheLockIsASemaphoreOfTheFile) {
    const std::string path = config_path("a.xml");
    expect_open(path, "a.xml");
    std::string heading, key, id, permissions, semaphores;
    std::ifstream("/proc/sysvipc/sem").ignore(1000, '\n') >> key >> id >> permissions >> semaphores;
    EXPECT_EQ(key, std::to_string(ftok(path.c_str(), 0)));
    EXPECT_EQ(permissions + " " + semaphores, "0 1");

    kvio_config_t *second = nullptr;
    EXPECT_EQ(call([&] { return second = kvio_open_config("a.xml", 0); }), (Outcome{0, 1, "a.xml is locked.\n"}));
    EXPECT_EQ(call([&] {
                  pid_t other = fork();
                  if (other == 0) _exit(kvio_open_config("a.xml", 64) ? 0 : kvio_errno);
                  int status = 0;
                  waitpid(other, &status, 0);
                  return WEXITSTATUS(status);
              }),
              (Outcome{1, untouched, "a.xml is locked.\n"}));
    EXPECT_TRUE(locked(path));
    EXPECT_EQ(close(), (Outcome{-1, 0, "Semaphore " + id + " is removed\n"}));
    EXPECT_FALSE(locked(path));
    EXPECT_EQ(read_config("a.xml"), text) << "closing saves nothing";
    expect_open(path, "a.xml");

    // A process that dies with an open document leaves the lock in place.
    close();
    pid_t other = fork();
    if (other == 0) {
        call([] { return kvio_open_config("a.xml", 0); });
        _exit(0);
    }
    waitpid(other, nullptr, 0);
    EXPECT_EQ(open("a.xml"), (Outcome{0, 1, "a.xml is locked.\n"}));
    EXPECT_EQ(semctl(lock_id(path), 0, IPC_RMID), 0);
}

// Key 0 would be IPC_PRIVATE: every semget() with it succeeds.
TEST_F(Documents, FilesWhoseKeyIsZeroAreLocked) {
    const std::string path = config_path("a.xml");
    faults::set_key(path.c_str(), 0, IPC_PRIVATE);
    expect_open(path, "a.xml");
    EXPECT_GE(semget(ftok(path.c_str(), 1), 0, 0), 0);
    EXPECT_EQ(call([] { return kvio_open_config("a.xml", 0); }), (Outcome{0, 1, "a.xml is locked.\n"}));
    EXPECT_EQ(call([] { return kvio_remove_config("a.xml"); }), (Outcome{-1, 1, "a.xml is being opened\n"}));
    EXPECT_EQ(call([] { return kvio_copy_config("a.xml", "b.xml"); }), (Outcome{-1, 1, "a.xml is being opened\n"}));
    EXPECT_EQ(lock_count(), 1);
}

TEST_F(Documents, FailedOpensLeaveNoLock) {
    write_config("cut.xml", "<kavex><s>");
    write_config("empty.xml", "");
    const std::string too_long = padded("a.xml", 4096), malformed = " is not well-formed\n";
    struct Row {
        const char *name;
        const char *fault;
        int error;
        int code;
        std::string line;
    } rows[] = {
        {"none.xml", nullptr, 0, 4, no_key("none.xml")},
        {"none/a.xml", nullptr, 0, 4, no_key("none/a.xml")},
        {"", nullptr, 0, 4, no_key("")},
        {nullptr, nullptr, 0, 4, no_key("")},
        {too_long.c_str(), nullptr, 0, 4, no_key(too_long)},
        {"a.xml", "ftok", EACCES, 4, no_key("a.xml")},
        {"a.xml", "semget", EEXIST, 1, "a.xml is locked.\n"},
        {"a.xml", "semget", ENOSPC, 1, "error on semget()\n"},
        {"a.xml", "open", EACCES, 3, config_path("a.xml") + malformed},
        {"a.xml", "read", EIO, 3, config_path("a.xml") + malformed},
        {"cut.xml", nullptr, 0, 3, config_path("cut.xml") + malformed},
        {"empty.xml", nullptr, 0, 3, config_path("empty.xml") + malformed},
        {"dir", nullptr, 0, 3, config_path("dir") + malformed},
    };
    for (const Row &row : rows) {
        for (int time : {1, 2}) {
            if (row.fault) faults::fail(row.fault, row.error);
            EXPECT_EQ(call([&] { return kvio_open_config(row.name, 0); }), (Outcome{0, row.code, row.line})) << time;
            EXPECT_EQ(lock_count(), 0) << row.line;
        }
    }
    const std::string longest = padded("a.xml", 4095);
    expect_open(config_path(longest), longest);
    EXPECT_TRUE(locked(config_path("a.xml")));
}

TEST_F(Documents, MissingConfigurationsAreMadeFromTheTemplate) {
    const std::string longest(255, 'n'), creating = " is not existed. Creating from template\n";
    const Outcome none{0, 4, "n.xml" + creating + no_key("n.xml")};
    EXPECT_EQ(open("n.xml", 64), none);
    EXPECT_EQ(open("__system_default.xml", 64),
              (Outcome{0, 4, "__system_default.xml" + creating + "ftok(/etc/__system_default.xml) failed\n"}));
    write_file(paths::system_default_template, text, 0644);
    for (int flags : {0, 1, 65}) EXPECT_EQ(open("n.xml", flags), (Outcome{0, 4, no_key("n.xml")})) << flags;
    for (const char *failing : {"write", "fdatasync", "close", "semget"}) {
        faults::fail(failing, ENOSPC, 1, faults::from_then_on);
        EXPECT_NE(open("n.xml", 64).code, 0) << failing;
        EXPECT_EQ(lock_count(), 0) << failing;
        if (failing == std::string("semget")) unlink(config_path("n.xml").c_str());
        EXPECT_EQ(files(), std::set<std::string>{"a.xml"}) << "no half-made file after a failing " << failing;
    }
    for (const std::string &name : {std::string("n.xml"), longest}) {
        expect_open(config_path(name), name, 64, name + creating);
        EXPECT_EQ(file_mode(config_path(name)), 0600u);
        EXPECT_EQ(read_config(name), text);
        close();
    }
    EXPECT_EQ(files(), (std::set<std::string>{"a.xml", "n.xml", longest}));

    // A file that is there, or appears meanwhile, is not replaced.
    write_file(paths::system_default_template, "<kavex><other/></kavex>", 0644);
    expect_open(config_path("a.xml"), "a.xml", 64);
    close();
    faults::fail("ftok", ENOENT);
    EXPECT_EQ(open("a.xml", 64).result, 1);
    close();
    EXPECT_EQ(read_config("a.xml"), text);
    expect_open("/etc/__system_default.xml", "__system_default.xml");
}

TEST_F(Documents, SaveAsMovesTheHandleAndItsLock) {
    EXPECT_EQ(call([] { return kvio_save_as(nullptr, "b.xml"); }),
              (Outcome{-1, 6, "kvio_save_as error: passing NULL argument\n"}));
    ASSERT_EQ(open("a.xml").result, 1);
    write_config("held.xml", text);
    kvio_config_t *held = nullptr;
    call([&] { return held = kvio_open_config("held.xml", 0); });
    const std::string too_long(4080, 'x'), busy = " is opened by other instance\n";
    struct Row {
        const char *name;
        const char *fault;
        int error;
        int code;
        std::string lines;
    } rows[] = {
        {nullptr, nullptr, 0, 4, no_key("")},
        {"", nullptr, 0, 4, no_key("")},
        {too_long.c_str(), nullptr, 0, 4, no_key(too_long)},
        {"none/b.xml", nullptr, 0, 4, no_key("none/b.xml")},
        {"b.xml", "ftok", EACCES, 4, no_key("b.xml")},
        {"a.xml", nullptr, 0, 1, "system error message" + because(EEXIST) + "a.xml" + busy},
        {"held.xml", nullptr, 0, 1, "system error message" + because(EEXIST) + "held.xml" + busy},
        {"b.xml", "semget", ENOSPC, 1, "system error message" + because(ENOSPC) + "b.xml" + busy},
        {"dir", nullptr, 0, 5, "Problem occurred on saving XML to dir\n"},
        {"b.xml", "pwrite", EIO, 5, "Problem occurred on saving XML to b.xml\n"},
    };
    for (const Row &row : rows) {
        if (row.fault) faults::fail(row.fault, row.error);
        EXPECT_EQ(call([&] { return kvio_save_as(config, row.name); }), (Outcome{-1, row.code, row.lines}));
        EXPECT_EQ(lock_count(), 2) << row.lines;
        EXPECT_TRUE(locked(config_path("a.xml"))) << row.lines;
    }
    EXPECT_EQ(read_config("b.xml"), "") << "the empty file stays";
    const long size = static_cast<long>(text.size());
    for (const char *name : {"b.xml", "c.xml"}) {
        EXPECT_EQ(call([&] { return kvio_save_as(config, name); }), (Outcome{size, 0}));
        EXPECT_TRUE(locked(config_path(name)));
        EXPECT_EQ(lock_count(), 2);
        EXPECT_EQ(read_config(name), text);
        EXPECT_EQ(file_mode(config_path(name)), 0600u);
    }
    EXPECT_EQ(call([&] { return kvio_define(config, "s", "t", "e"); }).result, 1);
    EXPECT_GT(call([&] { return kvio_save_config(config); }).result, size);
    EXPECT_EQ(read_config("b.xml"), text) << "saved to where the handle was moved";
    call([&] { return kvio_close_config(held); });
}

// Copy, rename and remove: every failure with its line, and no lock left behind by any.
TEST_F(Documents, FilesAreMovedUnderTheirLocks) {
    struct Row {
        char operation;  // c, r or d
        const char *source, *target;
        const char *fault;
        int error;
        int nth;
        Outcome expected;
    };
    const std::string missing = " is not existed\n", held = " is being opened\n", full = small_disk("full.xml");
    const std::string too_long = padded("a.xml", 4096), existing = "rename: target file \"";
    const Row rows[] = {
        {'c', "a.xml", "b.xml", nullptr, 0, 0, {}},
        {'c', "big", "longer", nullptr, 0, 0, {}},
        {'c', "a.xml", "a.xml", nullptr, 0, 0, {-1, 1, "a.xml" + held}},
        {'c', "a.xml", "./a.xml", nullptr, 0, 0, {-1, 1, "./a.xml" + held}},
        {'c', "none", "b.xml", nullptr, 0, 0, {-1, 21, "copy: none" + missing}},
        {'c', "__system_default.xml", "b.xml", nullptr, 0, 0, {-1, 21, "copy: __system_default.xml" + missing}},
        {'c', nullptr, "b.xml", nullptr, 0, 0, {-1, 4, no_key("")}},
        {'c', "a.xml", nullptr, nullptr, 0, 0, {-1, 4, no_key("")}},
        {'c', "a.xml", "", nullptr, 0, 0, {-1, 4, no_key("")}},
        {'c', too_long.c_str(), "b.xml", nullptr, 0, 0, {-1, 4, no_key(too_long)}},
        {'c', "a.xml", too_long.c_str(), nullptr, 0, 0, {-1, 4, no_key(too_long)}},
        {'c', "a.xml", "none/b", nullptr, 0, 0, {-1, 4, no_key("none/b")}},
        {'c', "a.xml", "b.xml", "ftok", EACCES, 1, {-1, 4, no_key("a.xml")}},
        {'c', "a.xml", "b.xml", "ftok", EACCES, 3, {-1, 4, no_key("b.xml")}},
        {'c', "held.xml", "b.xml", nullptr, 0, 0, {-1, 1, "held.xml" + held}},
        {'c', "a.xml", "held.xml", nullptr, 0, 0, {-1, 1, "held.xml" + held}},
        {'c', "a.xml", "b.xml", "semget", ENOSPC, 1, {-1, 1, "a.xml" + held}},
        {'c', "a.xml", "b.xml", "semget", ENOSPC, 2, {-1, 1, "b.xml" + held}},
        {'c', "dir", "b.xml", nullptr, 0, 0, {-1, 5, "copy: dir" + because(EISDIR)}},
        {'c', "a.xml", "dir", nullptr, 0, 0, {-1, 5, "copy: dir" + because(EISDIR)}},
        {'c', "pipe", "b.xml", nullptr, 0, 0, {-1, 5, "copy: pipe" + because(EINVAL)}},
        {'c', "a.xml", "pipe", nullptr, 0, 0, {-1, 5, "copy: pipe" + because(ENXIO)}},
        {'c', "big", full.c_str(), nullptr, 0, 0, {-1, 5, "copy: " + full + because(ENOSPC)}},
        {'c', "big", "b.xml", "read", EIO, 3, {-1, 5, "copy: big" + because(EIO)}},
        {'c', "big", "b.xml", "read", 0, 3, {-1, 5, "copy: big" + because(EIO)}},
        {'c', "big", "b.xml", "write", EDQUOT, 3, {-1, 5, "copy: b.xml" + because(EDQUOT)}},
        {'c', "big", "b.xml", "write", 0, 3, {-1, 5, "copy: b.xml" + because(ENOSPC)}},
        {'c', "big", "b.xml", "write", EINTR, 3, {}},
        {'c', "big", "b.xml", "read", EINTR, 3, {}},
        {'r', "a.xml", "new.xml", nullptr, 0, 0, {}},
        {'r', "a.xml", "b.xml", nullptr, 0, 0, {-1, 10, existing + "b.xml\" is already existed\n"}},
        {'r', "a.xml", "a.xml", nullptr, 0, 0, {-1, 10, existing + "a.xml\" is already existed\n"}},
        {'r', "none", "dir", nullptr, 0, 0, {-1, 10, existing + "dir\" is already existed\n"}},
        {'r', "none", "new.xml", nullptr, 0, 0, {-1, 21, "rename: none" + missing}},
        {'r', nullptr, "new.xml", nullptr, 0, 0, {-1, 4, no_key("")}},
        {'r', "a.xml", nullptr, nullptr, 0, 0, {-1, 4, no_key("")}},
        {'r', "a.xml", too_long.c_str(), nullptr, 0, 0, {-1, 4, no_key(too_long)}},
        {'r', "held.xml", "new.xml", nullptr, 0, 0, {-1, 1, "held.xml" + held}},
        {'r', "a.xml", "new.xml", "semget", ENOSPC, 2, {-1, 1, "new.xml" + held}},
        {'r', "a.xml", "none/new", nullptr, 0, 0, {-1, 4, no_key("none/new")}},
        {'r', "a.xml", "new.xml", "rename", EXDEV, 1, {-1, 5, "rename: a.xml" + because(EXDEV)}},
        {'r', "a.xml", "small/new", nullptr, 0, 0, {-1, 5, "rename: a.xml" + because(EXDEV)}},
        {'r', "dir", "new.xml", nullptr, 0, 0, {-1, 5, "rename: dir" + because(ENOTDIR)}},
        {'d', "a.xml", nullptr, nullptr, 0, 0, {}},
        {'d', "none", nullptr, nullptr, 0, 0, {-1, 21, "remove: none" + missing}},
        {'d', nullptr, nullptr, nullptr, 0, 0, {-1, 4, no_key("")}},
        {'d', too_long.c_str(), nullptr, nullptr, 0, 0, {-1, 4, no_key(too_long)}},
        {'d', "held.xml", nullptr, nullptr, 0, 0, {-1, 1, "held.xml" + held}},
        {'d', "dir", nullptr, nullptr, 0, 0, {-1, 5, "remove: dir" + because(EISDIR)}},
        {'d', "a.xml", nullptr, "unlink", EROFS, 1, {-1, 5, "remove: a.xml" + because(EROFS)}},
    };
    write_file(paths::system_default_template, text);
    write_config("held.xml", text);
    ASSERT_EQ(open("held.xml").result, 1);
    ASSERT_EQ(mkfifo(config_path("pipe").c_str(), 0600), 0);
    std::string big(300000, '\0');
    for (std::size_t i = 0; i < big.size(); ++i) big[i] = static_cast<char>(i % 251);
    for (const Row &row : rows) {
        SCOPED_TRACE(testing::Message() << row.operation << " " << (row.source ? row.source : "null") << " "
                                        << (row.target ? row.target : "null"));
        write_config("a.xml", text);
        write_config("big", big);
        write_file(config_path("longer"), big + big, 0640);
        write_file(config_path("b.xml"), "old", 0640);
        unlink(config_path("new.xml").c_str());
        const auto before = files();
        if (row.fault && row.error) faults::fail(row.fault, row.error, row.nth);
        if (row.fault && !row.error) faults::shorten(row.fault, 0, row.nth);
        EXPECT_EQ(call([&] {
                      return row.operation == 'c'   ? kvio_copy_config(row.source, row.target)
                             : row.operation == 'r' ? kvio_rename_config(row.source, row.target)
                                                    : kvio_remove_config(row.source);
                  }),
                  row.expected);
        EXPECT_EQ(lock_count(), 1) << "that of held.xml";
        const bool succeeded = row.expected.code == 0;
        if (succeeded && row.operation == 'c') {
            EXPECT_EQ(read_config(row.target), read_config(row.source));
            EXPECT_EQ(file_mode(config_path(row.target)), 0640u) << "overwritten in place";
        }
        if (!succeeded && row.operation != 'c') {
            EXPECT_EQ(read_config("a.xml"), text);
            EXPECT_EQ(read_config("b.xml"), "old");
            auto expected = before;
            if (row.expected.err == "new.xml" + held) expected.insert("new.xml");
            EXPECT_EQ(files(), expected);
        }
        EXPECT_EQ(file_exists(config_path("a.xml")), !succeeded || row.operation == 'c');
        EXPECT_EQ(file_exists(config_path("new.xml")) ? read_config("new.xml") : "",
                  succeeded && row.operation == 'r' ? text : "");
    }
    EXPECT_EQ(call([] { return kvio_copy_config("big", "fresh.xml"); }), (Outcome{}));
    EXPECT_EQ(file_mode(config_path("fresh.xml")), 0600u);
    EXPECT_EQ(read_config("held.xml"), text);
}

TEST_F(Documents, CopiesReportAFailingClose) {
    faults::fail("close", ENOSPC, 2);  // the first is that of the new, empty file
    EXPECT_EQ(call([] { return kvio_copy_config("a.xml", "b.xml"); }), (Outcome{-1, 5, "copy: b.xml" + because(ENOSPC)}));
}

// Between the look at the source's key and its lock the file may get another inode; the lock is then on the new one.
TEST_F(Documents, ALockIsOnTheFileThatHasTheName) {
    write_config("other.xml", text);
    faults::fail("ftok", ENOENT, 2);  // as if it had gone after the semaphore was made
    expect_open(config_path("a.xml"), "a.xml");
    EXPECT_EQ(lock_count(), 1);
}

#ifdef KAVEX_TEST_ALLOCATIONS
TEST_F(Documents, WithoutMemoryNothingIsOpened) {
    // The namespace at the end is worth a warning, which takes the place of the error before it.
    write_config("a.xml", "<kavex><s xmlns:n=\"http://n\"><t name=\"&amp;e\"><f>some text<![CDATA[x]]></f><n:g>a long text of "
                          "its own</n:g></t><!-- c --><z xmlns=\"relative\"/></s></kavex>");
    open("a.xml");
    call([&] { return kvio_dump(config, "/tmp/whole.xml"); });
    const std::string whole = read_file("/tmp/whole.xml");
    close();
    for (faults::Extent extent : {faults::once, faults::from_then_on}) {
        faults::each([&](int nth) {
            faults::fail_allocation(nth, extent);
            Outcome outcome = open("a.xml");
            if (!config) {
                EXPECT_EQ(lock_count(), 0);
                EXPECT_EQ(outcome, outcome.code == 2 ? (Outcome{0, 2, "No memory\n"})
                                                     : (Outcome{0, 3, config_path("a.xml") + " is not well-formed\n"}));
                return;
            }
            EXPECT_EQ(outcome.code, 0);
            call([&] { return kvio_dump(config, "/tmp/again.xml"); });
            EXPECT_EQ(read_file("/tmp/again.xml"), whole) << "opened, so it is whole";
            close();
        });
    }
}
#endif

}  // namespace
