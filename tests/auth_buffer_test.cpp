// The shared authentication buffer, its lock, and the RADIUS results in it.
#include <signal.h>
#include <sys/mman.h>
#include <sys/sem.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <random>

#include "tests/users_fixture.h"

namespace {

class AuthBuffer : public UsersTest {
protected:
    std::string slot_bytes() const { return {reinterpret_cast<const char *>(buffer_), sizeof *buffer_}; }
};

std::string release(const std::string &text) { return "[release_auth_list]" + text; }
std::string release_radius(const std::string &text) { return "[release_radius_db]" + text; }

TEST_F(AuthBuffer, TheFirstSlotInUseWithExactlyTheNameCounts) {
    log_in(0, "alice", 1, 0);
    log_in(1, "alice", 1, 2);
    log_in(2, "alicex", 1);
    log_in(3, "al", 1);
    log_in(48, "alice", 7);
    log_in(49, "alice", 2);
    log_in(5, "", -3);
    const std::string name31(31, 'n'), name32(32, 'n');
    log_in(6, name32.c_str(), 4);  // no NUL within the field
    buffer_->auth[6].method = 'n';
    log_in(7, name31.c_str(), 5);
    struct Row {
        std::string user;
        int method;
    } rows[] = {{"alice", 7}, {"alicex", 1}, {"al", 1}, {"bob", -1}, {"", -3},
                {name32, -1}, {name32 + "n", -1}, {name31, 5}};
    for (const Row &row : rows)
        EXPECT_EQ(call([&] { return get_auth_module(row.user.c_str()); }), outcome(row.method, {})) << row.user;
}

TEST_F(AuthBuffer, ReleaseFreesTheSlotAndTheRadiusRecordOfARadiusUser) {
    struct Row {
        const char *user;
        int method;
        bool radius_freed;
        std::initializer_list<std::string> messages;
    } rows[] = {
        {"alice", 1, false, {}},
        {"alice", 3, false, {}},
        {"alice", 2, true, {}},
        {"stray", 2, false, {release_radius("User:stray does not found in RADIUS database.")}},
    };
    for (const Row &row : rows) {
        std::memset(buffer_, 0xee, sizeof *buffer_);
        log_in(9, row.user, row.method);
        log_in(10, row.user, row.method);
        radius(20, "alice", 0, 1, 2);
        radius(21, "alice", 0, 1, 2);
        auth_buffer_t expected = *buffer_;
        expected.auth[9].in_use = 0;
        expected.auth[9].user[0] = '\0';
        if (row.radius_freed) expected.radius[20].in_use = 0;
        EXPECT_EQ(call([&] { return release_auth_list(row.user); }), outcome(0, row.messages));
        EXPECT_EQ(slot_bytes(), std::string(reinterpret_cast<const char *>(&expected), sizeof expected));
        EXPECT_EQ(get_auth_module(row.user), row.method);  // the second slot
        EXPECT_EQ(release_auth_list(row.user), 0);
        EXPECT_EQ(get_auth_module(row.user), -1);
    }
    EXPECT_EQ(call([] { return release_auth_list("nobody"); }), outcome(0, {}));
}

TEST_F(AuthBuffer, WhatFailsIsLoggedAndTheLockGivenBack) {
    struct Row {
        const char *function;
        int nth;
        Outcome seen;
    } rows[] = {
        {"semget", 1, outcome(-1, {release("Get lock id has failed:Permission denied.")})},
        {"ftok", 1, outcome(-1, {release("Get lock id has failed:Permission denied.")})},
        {"semop", 1, outcome(-1, {release("Lock buffer has failed:Permission denied.")})},
        {"ftok", 2, outcome(-1, {release("Get shared buffer has failed. User:a.")})},
        {"shmget", 1, outcome(-1, {release("Get shared buffer has failed. User:a.")})},
        {"shmat", 1, outcome(-1, {release("Attach shared buffer has failed. User:a.")})},
        {"shmget", 2, outcome(0, {release_radius("Get shared buffer has failed. User:a.")})},
        {"shmat", 2, outcome(0, {release_radius("Attach shared buffer has failed. User:a.")})},
    };
    for (const Row &row : rows) {
        log_in(0, "a", 2);
        radius(0, "a", 0, 1, 1);
        faults::fail(row.function, EACCES, row.nth);
        EXPECT_EQ(call([] { return release_auth_list("a"); }), row.seen) << row.function << row.nth;
        EXPECT_EQ(get_auth_module("a"), row.seen.result == 0 ? -1 : 2);
        EXPECT_EQ(buffer_->radius[0].in_use, 1);
        EXPECT_EQ(lock_value(), 1);
    }
    faults::fail("semop", EACCES, 2);
    EXPECT_EQ(call([] { return release_auth_list("a"); }),
              outcome(-1, {release("Unlock buffer has failed:Permission denied.")}));
    ASSERT_EQ(lock_value(), 0);
    ASSERT_EQ(semctl(lock_, 0, SETVAL, 1), 0);

    remove_buffer();
    EXPECT_EQ(call([] { return get_auth_module("a"); }),
              outcome(-1, {"[get_auth_module]Get shared buffer has failed. User:a."}));
    make_buffer(sizeof(auth_buffer_t) - 1);
    EXPECT_EQ(call([] { return get_auth_module("a"); }),
              outcome(-1, {"[get_auth_module]Get shared buffer has failed. User:a."}));
    remove_lock();
    EXPECT_EQ(call([] { return release_auth_list("a"); }),
              outcome(-1, {release("Get lock id has failed:No such file or directory.")}));
}

TEST_F(AuthBuffer, ASignalEndsTheWaitForTheLock) {
    struct sigaction action = {}, before = {};
    action.sa_handler = [](int) {};
    action.sa_flags = SA_RESTART;
    sigaction(SIGALRM, &action, &before);
    log_in(0, "a", 1);
    ASSERT_EQ(semctl(lock_, 0, SETVAL, 0), 0);
    itimerval after50ms = {{0, 0}, {0, 50000}};
    setitimer(ITIMER_REAL, &after50ms, nullptr);
    EXPECT_EQ(call([] { return release_auth_list("a"); }),
              outcome(-1, {release("Lock buffer has failed:Interrupted system call.")}));
    EXPECT_EQ(buffer_->auth[0].in_use, 1);
    sigaction(SIGALRM, &before, nullptr);
    ASSERT_EQ(semctl(lock_, 0, SETVAL, 1), 0);
}

TEST_F(AuthBuffer, RadiusRecordsBecomeProfiles) {
    const std::string nothing = show(unwritten()), name31(31, 'n'), name32(32, 'n'), name95(95, 'm'), name96(96, 'o');
    const std::string absent = "does not found in RADIUS database.";
    radius(0, "free", 0, 1, 1, 0);
    radius(1, name96.c_str(), 0, 1, 1);  // no NUL within the field
    buffer_->radius[1].type = 'o';
    radius(2, name95.c_str(), 0, 1, 1);
    radius(3, name32.c_str(), 0, 1, 1);
    radius(4, name31.c_str(), 4, 11, 12);
    radius(40, "t", 0, 0, 0, 2);
    auto info = [](const std::string &text) { return "[get_info_from_radius]" + text; };
    auto look_up = [&](const std::string &user, user_profile_t &profile) {
        profile = unwritten();
        return call([&] { return get_info_from_radius(&profile, user.c_str()); });
    };
    user_profile_t profile;
    for (const std::string &user : {std::string("free"), std::string("bob"), name96, name96 + "o"}) {
        EXPECT_EQ(look_up(user, profile), outcome(-1, {info("User:" + user + " " + absent)}));
        EXPECT_EQ(show(profile), nothing);
    }
    for (const std::string &user : {name95, name32}) {
        EXPECT_EQ(look_up(user, profile), outcome(-1, {info("User name is too long:" + user + ".")}));
        EXPECT_EQ(show(profile), nothing);
    }
    EXPECT_EQ(look_up(name31, profile), outcome(0, {}));
    EXPECT_EQ(show(profile), name31 + " - 4 100 100 11 12 1 0");

    struct Row {
        int type, lease_time, re_auth;
        Outcome seen;
        std::string profile;
    } rows[] = {
        {0, 1, -2, outcome(0, {}), "t - 0 120 120 1 -2 1 0"},
        {1, 1, 2, outcome(0, {}), "t - 1 80 80 1 2 1 1"},
        {3, 1, 2, outcome(0, {}), "t - 3 80 80 1 2 1 1"},
        {2, 1, 2, outcome(0, {}), "t - 2 50 50 1 2 0 1"},
        {5, 1, 2, outcome(0, {}), "t - 2 50 50 1 2 0 1"},
        {-2, 1, 2, outcome(0, {}), "t - 2 50 50 1 2 0 1"},
        {-1, 1, 2, outcome(-1, {info("RADIUS user:t does not have attributes.")}), nothing},
        {0, 0, 60, outcome(-1, {info("Cannot retrieve lease time/reauth time for RADIUS user:t.")}),
         "t - 0 120 120 0 60 1 0"},
        {0, 60, 0, outcome(-1, {info("Cannot retrieve lease time/reauth time for RADIUS user:t.")}),
         "t - 0 120 120 60 0 1 0"},
    };
    radius(49, "t", 0, 1, 1);
    for (const Row &row : rows) {
        radius(48, "t", row.type, row.lease_time, row.re_auth);
        EXPECT_EQ(look_up("t", profile), row.seen) << row.type;
        EXPECT_EQ(show(profile), row.profile) << row.type;
    }

    struct Failure {
        const char *function;
        int nth;
        std::initializer_list<std::string> messages;
    } failures[] = {
        {"shmget", 1, {"[check_radius_db]Get shared buffer has failed. User:t.", info("User:t " + absent)}},
        {"shmat", 1, {"[check_radius_db]Attach shared buffer has failed. User:t.", info("User:t " + absent)}},
        {"shmget", 2, {info("Get shared buffer has failed. User:t.")}},
        {"shmat", 2, {info("Attach shared buffer has failed. User:t.")}},
    };
    for (const Failure &failure : failures) {
        faults::fail(failure.function, EACCES, failure.nth);
        EXPECT_EQ(look_up("t", profile), outcome(-1, failure.messages)) << failure.function << failure.nth;
        EXPECT_EQ(show(profile), nothing);
    }
}

// Readers, releasers and writers are killed wherever they are. A record is consistent whenever the lock is free, as a
// writer marks a slot as used last; a reader that finds it otherwise leaves with status 3.
TEST_F(AuthBuffer, KilledProcessesLeaveNoLockNoAttachmentAndNoTornRecord) {
    constexpr int kills = 2000, processes = 6;
    write_file("/etc/passwd", "radius-users:x&ext-user&1:x\n");
    write_file("/tmp/domuser", "");
    struct Counters {
        volatile int found, released, written;
    };
    void *shared = mmap(nullptr, sizeof(Counters), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(shared, MAP_FAILED);
    Counters *counters = static_cast<Counters *>(shared);

    auto read_once = [&] {
        user_profile_t *profile = get_user_profile("u");
        if (!profile) return;
        // Either all of one RADIUS record, or the default account's numbers.
        if (profile->lease_time != profile->re_auth && (profile->lease_time != 10 || profile->re_auth != 180)) _exit(3);
        if (profile->lease_time != 10) counters->found = counters->found + 1;
        free_user_profile(profile);
    };
    auto release_once = [&] {
        if (release_auth_list("u") == 0) counters->released = counters->released + 1;
    };
    auto write_once = [&, round = 1000]() mutable {
        sembuf take = {0, -1, SEM_UNDO}, give = {0, 1, SEM_UNDO};
        if (semop(lock_, &take, 1) < 0) _exit(4);
        ++round;
        radius(7, "u", 1, round, -1, 0);
        usleep(static_cast<useconds_t>(round % 50));
        radius(7, "u", 1, round, round, 0);
        __atomic_store_n(&buffer_->radius[7].in_use, 1, __ATOMIC_SEQ_CST);
        log_in(3, "u", 2);
        counters->written = counters->written + 1;
        if (semop(lock_, &give, 1) < 0) _exit(4);
    };
    auto start = [&](int role) {
        pid_t pid = fork();
        if (pid != 0) return pid;
        for (;;) {
            if (role == 0) write_once();
            else if (role == 1) release_once();
            else read_once();
        }
    };

    std::mt19937 random(83);
    pid_t running[processes];
    for (int role = 0; role < processes; ++role) running[role] = start(role);
    int torn = 0;
    auto end = [&](pid_t pid) {
        int status = 0;
        kill(pid, SIGKILL);
        waitpid(pid, &status, 0);
        if (WIFEXITED(status)) ++torn;
    };
    for (int i = 0; i < kills; ++i) {
        usleep(static_cast<useconds_t>(random() % 2000));
        int role = static_cast<int>(random() % processes);
        end(running[role]);
        running[role] = start(role);
    }
    for (pid_t pid : running) end(pid);
    EXPECT_EQ(torn, 0);
    EXPECT_GT(counters->found, 100);
    EXPECT_GT(counters->released, 100);
    EXPECT_GT(counters->written, 100);
    munmap(shared, sizeof(Counters));
}

}  // namespace
