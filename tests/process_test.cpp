// Processes that die at the worst moment, and processes that get in each other's way.
#include <signal.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <set>
#include <vector>

#include "tests/users_fixture.h"

namespace fs = std::filesystem;

namespace {

using Clock = std::chrono::steady_clock;

// What the processes of a test share.
struct Shared {
    volatile long rounds;
    volatile long opened, malformed, wrong;
};

std::string document_of(char filling, size_t size) {
    return "<?xml version=\"1.0\"?>\n<kavex>\n  <s>\n    <t name=\"a\">\n      <f>" + std::string(size, filling) +
           "</f>\n    </t>\n  </s>\n</kavex>\n";
}

class Processes : public UsersTest {
protected:
    void SetUp() override {
        UsersTest::SetUp();
        kvio_initialize();
        void *memory = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        ASSERT_NE(memory, MAP_FAILED);
        shared_ = new (memory) Shared();
    }
    void TearDown() override {
        remove_locks();
        munmap(shared_, sizeof *shared_);
        UsersTest::TearDown();
    }

    // A child that prepares and then does nothing but this, without end.
    pid_t start(const std::function<void()> &prepare, const std::function<void()> &work) {
        shared_->rounds = 0;
        pid_t child = fork();
        if (child) return child;
        if (!std::freopen("/dev/null", "w", stderr)) _exit(1);
        prepare();
        for (;; shared_->rounds = shared_->rounds + 1) work();
    }

    // Kills the child at a random moment behind its first round, within this time or, on a slow machine, that of a round.
    void kill_at_random(pid_t child, int most_microseconds, const std::function<void()> &look = {}) {
        auto wait_for_round = [&](long round) {
            for (int i = 0; i < 50000 && shared_->rounds < round; ++i) usleep(100);
            EXPECT_GE(shared_->rounds, round) << "the child does not work";
            return Clock::now();
        };
        const auto first = wait_for_round(1), begin = wait_for_round(2);
        const auto most = std::max<Clock::duration>(begin - first, std::chrono::microseconds(most_microseconds));
        const auto end = begin + most * (random_() % 1000) / 1000;
        while (Clock::now() < end) {}
        int status;
        if (look) {
            kill(child, SIGSTOP);
            EXPECT_EQ(waitpid(child, &status, WUNTRACED), child);
            look();
        }
        kill(child, SIGKILL);
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "it died by itself: " << status;
    }

    // What an administrator does about the lock of a process that died; true if there was one.
    static bool remove_lock_of(const std::string &name) {
        int id = semget(ftok(config_path(name).c_str(), 0), 0, 0);
        return id >= 0 && semctl(id, 0, IPC_RMID) == 0;
    }

    // Every lock of a file, by its permissions of 0, which no other semaphore of the tests has.
    static void remove_locks() {
        std::ifstream in("/proc/sysvipc/sem");
        std::string line;
        while (std::getline(in, line)) {
            long key;
            int id;
            unsigned permissions;
            if (std::sscanf(line.c_str(), "%ld %d %o", &key, &id, &permissions) == 3 && permissions == 0)
                semctl(id, 0, IPC_RMID);
        }
    }

    static int kills() {
        const char *wanted = std::getenv("KAVEX_KILLS");
        return wanted && *wanted ? std::atoi(wanted) : 60;
    }

    Shared *shared_ = nullptr;
    std::mt19937 random_{20260101};
};

// ------------------------------------------------------------------------------------------------------ killed saves

// Kills in saves that grow and shrink the file: the next reader and the next open find one of the two documents.
TEST_F(Processes, KillsInSaves) {
    constexpr size_t size = 300'000;
    const std::string values[] = {std::string(size, 'a'), std::string(size / 2, 'b')};
    const std::string files[] = {document_of('a', size), document_of('b', size / 2)};
    kvio_config_t *config = nullptr;
    kvio_node_t *entity = nullptr;
    auto open = [&] {
        config = kvio_open_config("a.xml", 0);
        entity = config ? kvio_retrieve_entity(config, "s", "t", "a") : nullptr;
    };
    int found[2] = {0, 0}, torn = 0;
    write_config("a.xml", files[0]);
    for (int i = 0; i < kills(); ++i) {
        pid_t child = start(open, [&] {
            kvio_set(entity, "f", values[shared_->rounds % 2].c_str());
            if (kvio_save_config(config) < 0) _exit(1);
        });
        kill_at_random(child, 8000);
        EXPECT_EQ(call([] { return kvio_open_config("a.xml", 0); }).code, KVIO_LOCKED);
        ASSERT_TRUE(remove_lock_of("a.xml"));
        const std::string left = read_config("a.xml");
        torn += left != files[0] && left != files[1];
        call([&] { return config = kvio_restore_scope(config_path("a.xml").c_str()); });
        ASSERT_TRUE(config) << "after kill " << i;
        call([&] { return kvio_close_config(config); });
        call(open);
        ASSERT_TRUE(entity) << "after kill " << i;
        call([&] { return kvio_close_config(config); });
        const std::string now = read_config("a.xml");
        ASSERT_TRUE(now == files[0] || now == files[1]) << "neither document, after kill " << i;
        ++found[now == files[1]];
    }
    std::printf("%d kills, %d of them in the middle of the file; then it was the one %d, the other %d times\n", kills(),
                torn, found[0], found[1]);
}

// A reader without a lock against a process that saves without pause, and one that is stopped in the middle.
TEST_F(Processes, ReadersFindWholeDocumentsWhileOthersSave) {
    const std::string values[] = {std::string(200'000, 'a'), std::string(170'000, 'b'), std::string(200'000, 'c')};
    write_config("a.xml", document_of('a', 200'000));
    kvio_config_t *config = nullptr;
    pid_t child =
        start([&] { config = kvio_open_config("a.xml", 0); },
              [&] {
                  kvio_set(kvio_retrieve_entity(config, "s", "t", "a"), "f", values[shared_->rounds % 3].c_str());
                  if (kvio_save_config(config) < 0) _exit(1);
              });
    std::vector<char> text(200'001);
    int reads = 0;
    std::set<char> seen;
    auto read = [&] {
        kvio_config_t *snapshot = nullptr;
        call([&] { return snapshot = kvio_restore_scope(config_path("a.xml").c_str()); });
        ASSERT_TRUE(snapshot);
        ASSERT_EQ(kvio_get(kvio_retrieve_entity(snapshot, "s", "t", "a"), "f", text.data()), 1);
        call([&] { return kvio_close_config(snapshot); });
        const std::string value = text.data();
        ASSERT_TRUE(value == values[0] || value == values[1] || value == values[2]) << "a mixture";
        seen.insert(value[0]);
        ++reads;
    };
    while (shared_->rounds == 0) usleep(100);
    for (auto end = Clock::now() + std::chrono::seconds(5); Clock::now() < end && !HasFatalFailure();) read();
    for (int i = 0; i < 200 && !HasFatalFailure(); ++i) {
        usleep(static_cast<useconds_t>(random_() % 3000));
        kill(child, SIGSTOP);
        int status;
        ASSERT_EQ(waitpid(child, &status, WUNTRACED), child);
        read();
        kill(child, SIGCONT);
    }
    kill(child, SIGKILL);
    int status;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    remove_locks();
    std::printf("%d reads beside %ld saves\n", reads, static_cast<long>(shared_->rounds));
    EXPECT_EQ(seen.size(), 3u);
}

// ---------------------------------------------------------------------------------------------------- failing saves

TEST_F(Processes, AReadOnlyMountIsReported) {
    // The repository is mounted read-only in the private root.
    const std::string document = READ_ONLY_MOUNT "/fuzz/corpus/group_template/nested";
    kvio_config_t *config = nullptr;
    call([&] { return config = kvio_restore_scope(document.c_str()); });
    ASSERT_TRUE(config);
    const std::string before = read_file(document);
    EXPECT_EQ(call([&] { return kvio_save_config(config); }).code, KVIO_IO);
    EXPECT_EQ(call([&] { return kvio_dump(config, READ_ONLY_MOUNT "/new.xml"); }).code, KVIO_IO);
    EXPECT_EQ(read_file(document), before);
    call([&] { return kvio_close_config(config); });
}

// -------------------------------------------------------------------------------------------------- the buffer lock

TEST_F(Processes, TheBufferLockComesBackWhenItsHolderIsKilled) {
    write_file("/etc/passwd", "anna:x:1:1:A&admin&120&120&1440&1440&1&0:/:/bin/sh\n");
    write_file("/etc/http_ldap.conf", "host h\nport 1\nbase b\npam_login_attribute uid\n");
    write_file("/bin/ldapsearch", "#!/bin/sh\nsleep 0.01\necho 'type: user\nleaseTime: 1\nreauthTime: 2\nresult: 0'\n",
               0700);
    write_file(
        "/tmp/template_group.xml",
        "<kavex><object><user_group><group_description_t name=\"g\"/><group name=\"g\" type=\"user_group_object_t\">"
        "<entity>anna</entity></group></user_group></object></kavex>");
    log_in(0, "anna", AUTH_METHOD_LOCAL);
    log_in(1, "rita", AUTH_METHOD_RADIUS);
    radius(1, "rita", USER_TYPE_USER, 10, 20);
    log_in(2, "lena", 3);
    struct Row {
        const char *name;
        std::function<void()> work;
        int kills, microseconds;
    };
    const Row rows[] = {
        {"get_user_profile, local", [] { free_user_profile(get_user_profile("anna")); }, 60, 300},
        {"get_user_profile, RADIUS", [] { free_user_profile(get_user_profile("rita")); }, 60, 300},
        {"get_user_profile, LDAP", [] { free_user_profile(get_user_profile("lena")); }, 25, 60000},
        {"release_auth_list", [&] { log_in(3, "gone", 3), release_auth_list("gone"); }, 60, 100},
        {"retrieve_user_group", [] { free_user_group(retrieve_user_group("g")); }, 60, 1000},
        {"check_user_in_group", [] { check_user_in_group("g", "anna"); }, 60, 1000},
        {"verify_user_group", [] { verify_user_group("g"); }, 60, 500},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        int held = 0;
        for (int i = 0; i < row.kills; ++i) {
            pid_t child = start([] {}, row.work);
            kill_at_random(child, row.microseconds, [&] { held += lock_value() == 0; });
            ASSERT_EQ(lock_value(), 1) << "after kill " << i;
        }
        std::printf("%-26s %d kills, %d of them with the lock\n", row.name, row.kills, held);
        EXPECT_GT(held, 0);
        for (int i = 0; i < 300 && attachments() > 1; ++i) usleep(10000);
        EXPECT_EQ(attachments(), 1);
        user_profile_t *profile = nullptr;
        call([&] { return profile = get_user_profile("anna"); });
        EXPECT_TRUE(profile);
        free_user_profile(profile);
    }
    for (const char *path : {"/etc/passwd", "/etc/http_ldap.conf", "/bin/ldapsearch", "/tmp/template_group.xml"})
        unlink(path);
}

// ---------------------------------------------------------------------------------------------------- the file locks

TEST_F(Processes, WhatLocksAKilledProcessLeaves) {
    const std::string text = document_of('x', 50'000);
    struct Row {
        const char *name;
        std::function<void()> work;
        bool removes;                    // a file, or the place-holder of a target
        std::vector<std::string> files;  // one of these has the text, whatever happens
    };
    const Row rows[] = {
        {"open", [] { kvio_close_config(kvio_open_config("a.xml", 0)); }, false, {"a.xml"}},
        {"copy", [] { kvio_copy_config("a.xml", "b.xml"); }, false, {"a.xml"}},
        {"rename",
         [] { kvio_rename_config("a.xml", "b.xml"), kvio_rename_config("b.xml", "a.xml"); },
         true,
         {"a.xml", "b.xml"}},
        {"remove", [] { kvio_copy_config("a.xml", "b.xml"), kvio_remove_config("b.xml"); }, true, {"a.xml"}},
        {"create",
         [] {
             kvio_close_config(kvio_open_config("b.xml", KVIO_CREATE));
             unlink(config_path("b.xml").c_str());
         },
         true,
         {"a.xml"}},
        {"save as",
         [] {
             kvio_config_t *config = kvio_open_config("a.xml", 0);
             kvio_save_as(config, "b.xml");
             kvio_close_config(config);
             unlink(config_path("b.xml").c_str());
         },
         true,
         {"a.xml"}},
    };
    write_file("/etc/__system_default.xml", text);
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        int left = 0;
        for (int i = 0; i < 60; ++i) {
            for (const char *name : {"a.xml", "b.xml"}) unlink(config_path(name).c_str());
            write_config("a.xml", text);
            kill_at_random(start([] {}, row.work), 2000);
            // A lock that stays is one that the next open of its file reports, until it is removed by hand.
            int locks = lock_count() - 1;
            left += locks > 0;
            for (const char *name : {"a.xml", "b.xml"}) {
                if (!file_exists(config_path(name))) continue;
                bool is_locked = locked(config_path(name));
                kvio_config_t *config = nullptr;
                Outcome outcome = call([&] { return config = kvio_open_config(name, 0); });
                EXPECT_EQ(outcome.code == KVIO_LOCKED, is_locked);
                if (config) call([&] { return kvio_close_config(config); });
                if (is_locked) locks -= remove_lock_of(name);
            }
            // That of a file that has been removed is left with no file to ask for it.
            EXPECT_LE(locks, row.removes ? 1 : 0);
            remove_locks();
            bool kept = false;
            for (const std::string &name : row.files)
                kept = kept || (file_exists(config_path(name)) && read_config(name) == text);
            EXPECT_TRUE(kept) << "the text is lost";
            ASSERT_EQ(lock_count(), 1);
        }
        std::printf("%-8s 60 kills, %d left a lock\n", row.name, left);
        EXPECT_GT(left, 0) << "this would not find much";
    }
}

// ------------------------------------------------------------------------------------------------------- two at once

// Two processes do what they like with the same names, but that the last is neither renamed nor removed. A configuration
// is never read half: whoever holds one finds it whole and its own.
TEST_F(Processes, TwoProcessesOverTheSameFiles) {
    const std::string names[] = {"a.xml", "b.xml", "c.xml", "kept.xml"};
    for (const std::string &name : names) write_config(name, document_of('x', 5000));
    auto work = [&](unsigned seed) {
        if (!std::freopen("/dev/null", "w", stderr)) _exit(1);
        std::mt19937 random(seed);
        auto pick = [&](unsigned count = 4) { return names[random() % count].c_str(); };
        std::vector<char> text(10000);
        for (auto end = Clock::now() + std::chrono::seconds(4); Clock::now() < end;) {
            const char *name = pick(), *other = pick(), *passing = pick(3);
            switch (random() % 6) {
                case 0:
                    kvio_copy_config(name, other);
                    break;
                case 1:
                    kvio_rename_config(passing, other);
                    break;
                case 2:
                    if (random() % 4 == 0) kvio_remove_config(passing);
                    break;
                default: {
                    kvio_config_t *config = kvio_open_config(name, random() % 2 ? KVIO_CREATE : 0);
                    if (!config) {
                        if (kvio_errno == KVIO_MALFORMED) __sync_fetch_and_add(&shared_->malformed, 1);
                        break;
                    }
                    __sync_fetch_and_add(&shared_->opened, 1);
                    kvio_node_t *entity = kvio_retrieve_entity(config, "s", "t", "a");
                    bool whole = entity && kvio_get(entity, "f", text.data());
                    for (const char *c = text.data(); whole && *c; ++c) whole = *c == text[0];
                    if (!whole) __sync_fetch_and_add(&shared_->wrong, 1);
                    std::string fresh(1000 + random() % 8000, static_cast<char>('a' + random() % 26));
                    if (entity) kvio_set(entity, "f", fresh.c_str());
                    if (kvio_save_config(config) < 0) __sync_fetch_and_add(&shared_->wrong, 1);
                    if (random() % 4 == 0) kvio_save_as(config, other);
                    kvio_close_config(config);
                }
            }
        }
        _exit(0);
    };
    write_file("/etc/__system_default.xml", document_of('d', 100));
    pid_t children[2];
    for (unsigned i = 0; i < 2; ++i) {
        children[i] = fork();
        if (children[i] == 0) work(i + 1);
    }
    for (pid_t child : children) {
        int status;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    std::printf("%ld opened, %ld malformed, %ld wrong\n", shared_->opened, shared_->malformed, shared_->wrong);
    EXPECT_GT(shared_->opened, 100);
    EXPECT_EQ(shared_->malformed, 0);
    EXPECT_EQ(shared_->wrong, 0);
    EXPECT_EQ(lock_count(), 1) << "both ended well";
    EXPECT_TRUE(file_exists(config_path("kept.xml")));
    for (const std::string &name : names) {
        if (!file_exists(config_path(name))) continue;
        kvio_config_t *config = nullptr;
        EXPECT_EQ(call([&] { return config = kvio_open_config(name.c_str(), 0); }).result, 1) << name;
        if (config) call([&] { return kvio_close_config(config); });
    }
    unlink("/etc/__system_default.xml");
}

}  // namespace
