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
#include <functional>
#include <utility>

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
        const Outcome outcome = open(name, flags);
        const std::string id = std::to_string(lock_id(path));
        EXPECT_EQ(outcome, (Outcome{1, 0, before + "kvio_open_config success. (" + path + ", " + id + ")\n"}));
    }
    Outcome close() {
        return call([&] { return kvio_close_config(std::exchange(config, nullptr)); });
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

    // A name of the file whose full path has a given length.
    static std::string padded(size_t path_length) {
        std::string name = "a.xml";
        while (config_path(name).size() + 1 < path_length) name.insert(0, "./");
        return config_path(name).size() < path_length ? name.insert(1, "/") : name;
    }

    const std::string text = "<?xml version=\"1.0\"?>\n<kavex>\n  <s/>\n</kavex>\n", too_long = padded(4096);
    kvio_config_t *config = nullptr;
};

std::string because(int error) { return std::string(": ") + std::strerror(error) + "\n"; }
Outcome no_key(long result, const std::string &name) { return {result, 4, "ftok(" + config_path(name) + ") failed\n"}; }

TEST_F(Documents, NullHandles) {
    const std::string null = " error: passing NULL argument\n";
    EXPECT_EQ(call([] { return kvio_save_as(nullptr, "b.xml"); }), (Outcome{-1, 6, "kvio_save_as" + null}));
    EXPECT_EQ(call([] { return kvio_close_config(nullptr); }), (Outcome{-1, 6, "kvio_close_config" + null}));
    EXPECT_EQ(call([] { return kvio_dump(nullptr, "/tmp/x"); }), (Outcome{-1, 6, "kvio_dump" + null}));
    EXPECT_EQ(call([] { return kvio_restore(nullptr, "/tmp/x"); }), (Outcome{0, 6, "kvio_restore" + null}));
    const std::function<long()> silent[] = {
        [] { return kvio_define(nullptr, "s", "t", "e"); },
        [] { return kvio_define2(nullptr, "s", "t", "e") != nullptr; },
        [] { return kvio_undefine(nullptr, "s", "t", "e"); },
        [] { return kvio_create_list(nullptr, "s", "t", "c") != nullptr; },
        [] { return kvio_open_list(nullptr, "s", "t", "c") != nullptr; },
        [] { return kvio_dispose_list(nullptr, "s", "t", "c"); },
        [] { return kvio_retrieve_entity(nullptr, "s", "t", "x") != nullptr; },
        [] { return kvio_list_entities(nullptr, "s", "t") != nullptr; },
        [] { return kvio_entity_count(nullptr, "s", "t"); },
        [] { return kvio_backup_scope(nullptr, "s", "/tmp/x"); },
        [] { return kvio_create_checkpoint(nullptr, "s") != nullptr; },
        [] { return kvio_rollback_checkpoint(nullptr, "s", nullptr); },
    };
    for (const auto &run : silent) EXPECT_EQ(call(run), (Outcome{0, 6})) << &run - silent;
}

TEST_F(Documents, TheLockIsASemaphoreOfTheFile) {
    const std::string path = config_path("a.xml");
    expect_open(path, "a.xml");
    std::string heading, key, id, permissions, semaphores;
    std::ifstream("/proc/sysvipc/sem").ignore(1000, '\n') >> key >> id >> permissions >> semaphores;
    EXPECT_EQ(key, std::to_string(ftok(path.c_str(), 0)));
    EXPECT_EQ(permissions + " " + semaphores, "0 1");
    EXPECT_EQ(call([] { return kvio_open_config("a.xml", 64); }), (Outcome{0, 1, "a.xml is locked.\n"}));
    EXPECT_EQ(close(), (Outcome{-1, 0, "Semaphore " + id + " is removed\n"}));
    EXPECT_FALSE(locked(path));
    EXPECT_EQ(read_config("a.xml"), text) << "closing saves nothing";

    // A process that dies with an open document leaves the lock in place.
    if (pid_t other = fork()) {
        waitpid(other, nullptr, 0);
    } else {
        call([] { return kvio_open_config("a.xml", 0); });
        _exit(0);
    }
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
    EXPECT_EQ(lock_count(), 1);
}

TEST_F(Documents, TheLockIsOnTheFileThatHasTheName) {
    expect_open(config_path(padded(4095)), padded(4095));
    EXPECT_TRUE(locked(config_path("a.xml")));
    close();
    // Between the look at the key and the lock the file may get another inode; the lock is then on the new one.
    faults::fail("ftok", ENOENT, 2);
    expect_open(config_path("a.xml"), "a.xml");
    EXPECT_EQ(lock_count(), 1);
}

TEST_F(Documents, MissingConfigurationsAreMadeFromTheTemplate) {
    const std::string longest(255, 'n'), creating = " is not existed. Creating from template\n";
    EXPECT_EQ(open("n.xml", 64), (Outcome{0, 4, "n.xml" + creating + no_key(0, "n.xml").err}));
    write_file(paths::system_default_template, text, 0644);
    for (int flags : {0, 65}) EXPECT_EQ(open("n.xml", flags), no_key(0, "n.xml")) << flags;
    for (const char *failing : {"write", "fdatasync", "close"}) {
        faults::fail(failing, ENOSPC, 1, faults::from_then_on);
        EXPECT_NE(open("n.xml", 64).code, 0) << failing;
        EXPECT_EQ(files(), std::set<std::string>{"a.xml"}) << "no half-made file after a failing " << failing;
    }
    for (const std::string &name : {std::string("n.xml"), longest}) {
        expect_open(config_path(name), name, 64, name + creating);
        EXPECT_EQ(file_mode(config_path(name)), 0600u);
        EXPECT_EQ(read_config(name), text);
        close();
    }
    EXPECT_EQ(files(), (std::set<std::string>{"a.xml", "n.xml", longest}));
    expect_open("/etc/__system_default.xml", "__system_default.xml");
    close();
    // A file that is there, or appears meanwhile, is not replaced.
    write_file(paths::system_default_template, "<kavex><other/></kavex>", 0644);
    expect_open(config_path("a.xml"), "a.xml", 64);
    close();
    faults::fail("ftok", ENOENT);
    EXPECT_EQ(open("a.xml", 64).result, 1);
    EXPECT_EQ(read_config("a.xml"), text);
}

TEST_F(Documents, SaveAsMovesTheHandleAndItsLock) {
    ASSERT_EQ(open("a.xml").result, 1);
    write_config("b.xml", "");
    const long size = static_cast<long>(text.size());
    for (const char *name : {"b.xml", "c.xml"}) {
        EXPECT_EQ(call([&] { return kvio_save_as(config, name); }), (Outcome{size, 0}));
        EXPECT_TRUE(locked(config_path(name)));
        EXPECT_EQ(lock_count(), 1);
        EXPECT_EQ(read_config(name), text);
        EXPECT_EQ(file_mode(config_path(name)), 0600u);
    }
    EXPECT_EQ(kvio_define(config, "s", "t", "e"), 1);
    EXPECT_GT(call([&] { return kvio_save_config(config); }).result, size);
    EXPECT_EQ(read_config("b.xml"), text) << "saved to where the handle was moved";
}

// Every failure has its line, and no lock is left behind by any.
TEST_F(Documents, FilesAreOpenedAndMovedUnderTheirLocks) {
    struct Row {
        char operation;  // o: open, s: save as, c: copy, r: rename, d: delete
        const char *source, *target;
        Outcome expected;
        const char *fault = nullptr;
        int error = 0;  // 0: nothing is read or written
        int nth = 1;
    };
    const std::string missing = " is not existed\n", existing = "rename: target file \"", full = small_disk("full.xml");
    auto busy = [](const std::string &name) { return Outcome{-1, 1, name + " is being opened\n"}; };
    auto failed = [](const std::string &what, int error) { return Outcome{-1, 5, what + because(error)}; };
    auto malformed = [](const char *name) { return Outcome{0, 3, config_path(name) + " is not well-formed\n"}; };
    auto taken = [](const std::string &name, int error) {
        return Outcome{-1, 1, "system error message" + because(error) + name + " is opened by other instance\n"};
    };
    const Row rows[] = {
        {'o', "none/a.xml", nullptr, no_key(0, "none/a.xml")},
        {'o', nullptr, nullptr, no_key(0, "")},
        {'o', too_long.c_str(), nullptr, no_key(0, too_long)},
        {'o', "a.xml", nullptr, no_key(0, "a.xml"), "ftok", EACCES},
        {'o', "a.xml", nullptr, {0, 1, "error on semget()\n"}, "semget", ENOSPC},
        {'o', "held.xml", nullptr, {0, 1, "held.xml is locked.\n"}},
        {'o', "a.xml", nullptr, malformed("a.xml"), "open", EACCES},
        {'o', "a.xml", nullptr, malformed("a.xml"), "read", EIO},
        {'o', "big", nullptr, malformed("big")},
        {'o', "dir", nullptr, malformed("dir")},
        {'s', "held.xml", nullptr, no_key(-1, "")},
        {'s', "held.xml", "none/b.xml", no_key(-1, "none/b.xml")},
        {'s', "held.xml", "new.xml", no_key(-1, "new.xml"), "ftok", EACCES},
        {'s', "held.xml", "held.xml", taken("held.xml", EEXIST)},
        {'s', "held.xml", "new.xml", taken("new.xml", ENOSPC), "semget", ENOSPC},
        {'s', "held.xml", "b.xml", {-1, 5, "Problem occurred on saving XML to b.xml\n"}, "pwrite", EIO},
        {'c', "a.xml", "b.xml", {}},
        {'c', "big", "longer", {}},
        {'c', "a.xml", "./a.xml", busy("./a.xml")},
        {'c', "none", "b.xml", {-1, 21, "copy: none" + missing}},
        {'c', "a.xml", nullptr, no_key(-1, "")},
        {'c', "a.xml", "none/b", no_key(-1, "none/b")},
        {'c', "a.xml", "b.xml", no_key(-1, "a.xml"), "ftok", EACCES},
        {'c', "a.xml", "b.xml", no_key(-1, "b.xml"), "ftok", EACCES, 3},
        {'c', "held.xml", "b.xml", busy("held.xml")},
        {'c', "a.xml", "held.xml", busy("held.xml")},
        {'c', "a.xml", "b.xml", busy("b.xml"), "semget", ENOSPC, 2},
        {'c', "a.xml", "dir", failed("copy: dir", EISDIR)},
        {'c', "pipe", "b.xml", failed("copy: pipe", EINVAL)},
        {'c', "a.xml", "pipe", failed("copy: pipe", ENXIO)},
        {'c', "big", full.c_str(), failed("copy: " + full, ENOSPC)},
        {'c', "big", "b.xml", failed("copy: big", EIO), "read", EIO, 3},
        {'c', "big", "b.xml", failed("copy: big", EIO), "read", 0, 3},
        {'c', "big", "b.xml", failed("copy: b.xml", EDQUOT), "write", EDQUOT, 3},
        {'c', "big", "b.xml", failed("copy: b.xml", ENOSPC), "write", 0, 3},
        {'c', "big", "b.xml", {}, "write", EINTR, 3},
        {'c', "big", "b.xml", {}, "read", EINTR, 3},
        {'c', "a.xml", "b.xml", failed("copy: b.xml", ENOSPC), "close", ENOSPC},
        {'r', "a.xml", "new.xml", {}},
        {'r', "a.xml", "a.xml", {-1, 10, existing + "a.xml\" is already existed\n"}},
        {'r', "none", "new.xml", {-1, 21, "rename: none" + missing}},
        {'r', nullptr, "new.xml", no_key(-1, "")},
        {'r', "held.xml", "new.xml", busy("held.xml")},
        {'r', "a.xml", "new.xml", busy("new.xml"), "semget", ENOSPC, 2},
        {'r', "a.xml", "none/new", no_key(-1, "none/new")},
        {'r', "a.xml", "small/new", failed("rename: a.xml", EXDEV)},
        {'d', "a.xml", nullptr, {}},
        {'d', "none", nullptr, {-1, 21, "remove: none" + missing}},
        {'d', nullptr, nullptr, no_key(-1, "")},
        {'d', "held.xml", nullptr, busy("held.xml")},
        {'d', "a.xml", nullptr, failed("remove: a.xml", EROFS), "unlink", EROFS},
    };
    write_config("held.xml", text);
    ASSERT_EQ(open("held.xml").result, 1);
    ASSERT_EQ(mkfifo(config_path("pipe").c_str(), 0600), 0);
    std::string big(300000, '\0');
    for (size_t i = 0; i < big.size(); ++i) big[i] = static_cast<char>(i % 251);
    for (const Row &row : rows) {
        SCOPED_TRACE(testing::Message() << row.operation << " " << (row.source ? row.source : "null") << " "
                                        << (row.target ? row.target : "null"));
        write_config("a.xml", text);
        write_config("big", big);
        write_file(config_path("longer"), big + big, 0640);
        write_file(config_path("b.xml"), "old", 0640);
        unlink(config_path("new.xml").c_str());
        auto expected_files = files();
        if (row.fault && row.error) faults::fail(row.fault, row.error, row.nth);
        if (row.fault && !row.error) faults::shorten(row.fault, 0, row.nth);
        EXPECT_EQ(call([&] {
                      switch (row.operation) {
                          case 'o': return kvio_open_config(row.source, 0) != nullptr ? 1 : 0;
                          case 's': return kvio_save_as(config, row.target);
                          case 'c': return kvio_copy_config(row.source, row.target);
                          case 'r': return kvio_rename_config(row.source, row.target);
                          default: return kvio_remove_config(row.source);
                      }
                  }),
                  row.expected);
        EXPECT_EQ(lock_count(), 1);
        EXPECT_TRUE(locked(config_path("held.xml")));
        const bool succeeded = row.expected.code == 0;
        if (succeeded && row.operation == 'c') {
            EXPECT_EQ(read_config(row.target), read_config(row.source));
            EXPECT_EQ(file_mode(config_path(row.target)), 0640u) << "overwritten in place";
        }
        if (row.operation == 'c') continue;
        if (succeeded) expected_files.erase(row.source);
        const bool no_semaphore = row.fault && row.expected.code == KVIO_LOCKED;  // for the empty file, which stays
        if (row.target && (succeeded || no_semaphore)) expected_files.insert(row.target);
        EXPECT_EQ(files(), expected_files);
        EXPECT_TRUE(!succeeded || !row.target || read_config(row.target) == text);
        EXPECT_TRUE(succeeded || (read_config("a.xml") == text && read_config("b.xml") == "old"));
    }
    EXPECT_EQ(call([] { return kvio_copy_config("big", "fresh.xml"); }), (Outcome{}));
    EXPECT_EQ(file_mode(config_path("fresh.xml")), 0600u);
    EXPECT_EQ(read_config("held.xml"), text);
}

}  // namespace
