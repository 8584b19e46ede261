// The shared authentication buffer, its lock, and the RADIUS results in it.
#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>

#include "tests/users_fixture.h"

namespace {

class AuthBuffer : public UsersTest {
protected:
    // Runs an operation with a user r, who passed RADIUS, and a group r.
    std::string perform(const std::function<long()> &operation) {
        log_in(0, "r", 2);
        radius(0, "r", 0, 1, 1);
        write_file("/etc/passwd", "");
        write_file("/tmp/template_group.xml",
                   "<kavex><object><user_group><group name=\"r\" "
                   "type=\"user_group_object_t\"/></user_group></object></kavex>");
        return seen(operation);
    }
};

TEST_F(AuthBuffer, TheFirstSlotInUseWithExactlyTheNameCounts) {
    const std::string name31(31, 'n'), name32(32, 'n');
    log_in(0, "alice", 1, 2);
    log_in(1, "alicex", 1);
    log_in(2, "al", 1);
    log_in(3, name32, 'n');  // no NUL within the field
    log_in(4, name31, 5);
    log_in(48, "alice", 7);
    log_in(49, "alice", 2);
    for (const auto &[user, method] :
         {std::pair<std::string, int>("alice", 7), {"al", 1}, {"", -1}, {name31, 5}, {name32, -1}, {name32 + "n", -1}})
        EXPECT_EQ(get_auth_module(user.c_str()), method) << user;
}

TEST_F(AuthBuffer, ReleaseFreesTheSlotAndTheRecordOfARadiusUser) {
    const struct {
        const char *user;
        int method;
        bool frees_record;
        const char *result;
    } rows[] = {
        {"alice", 2, true, "0"},
        {"alice", 1, false, "0"},
        {"alice", 3, false, "0"},
        {"stray", 2, false, "0|[release_radius_db]User:stray does not found in RADIUS database."},
    };
    for (const auto &row : rows) {
        std::memset(buffer_, 0xee, sizeof *buffer_);
        log_in(9, row.user, row.method);
        log_in(10, row.user, row.method);
        radius(20, "alice", 0, 1, 2);
        radius(21, "alice", 0, 1, 2);
        auth_buffer_t expected = *buffer_;
        expected.auth[9].in_use = 0;
        expected.auth[9].user[0] = '\0';
        if (row.frees_record) expected.radius[20].in_use = 0;
        EXPECT_EQ(seen([&] { return release_auth_list(row.user); }), row.result);
        EXPECT_EQ(std::memcmp(buffer_, &expected, sizeof expected), 0) << row.user << row.method;
    }
    EXPECT_EQ(seen([] { return release_auth_list("nobody"); }), "0");
}

TEST_F(AuthBuffer, RadiusRecordsBecomeProfiles) {
    const std::string name31(31, 'n'), name32(32, 'n'), name96(96, 'o');
    const std::string step = "|[get_info_from_radius]";
    const std::string not_given = step + "Cannot retrieve lease time/reauth time for RADIUS user:t.";
    const struct {
        std::string user;
        int type, lease_time, re_auth;
        std::string result;
    } rows[] = {
        {"t", 0, 1, -2, "0 t - 0 120 120 1 -2 1 0"},
        {"t", 1, 1, 2, "0 t - 1 80 80 1 2 1 1"},
        {"t", 3, 1, 2, "0 t - 3 80 80 1 2 1 1"},
        {"t", 5, 1, 2, "0 t - 2 50 50 1 2 0 1"},
        {name31, 4, 11, 12, "0 " + name31 + " - 4 100 100 11 12 1 0"},
        {"t", 0, 0, 60, "-1 t - 0 120 120 0 60 1 0" + not_given},
        {"t", 0, 60, 0, "-1 t - 0 120 120 60 0 1 0" + not_given},
        {"t", -1, 1, 2, "-1 -" + step + "RADIUS user:t does not have attributes."},
        {name32, 0, 1, 1, "-1 -" + step + "User name is too long:" + name32 + "."},
    };
    radius(49, "t", 0, 1, 1);
    for (const auto &row : rows) {
        radius(48, row.user, row.type, row.lease_time, row.re_auth);
        EXPECT_EQ(filled(get_info_from_radius, row.user), row.result);
    }
    radius(0, "free", 0, 1, 1, 0);
    radius(1, name96, 'o', 1, 1);  // no NUL within the field
    for (const std::string &user : {std::string("free"), name96, name96 + "o"})
        EXPECT_EQ(filled(get_info_from_radius, user),
                  "-1 -" + step + "User:" + user + " does not found in RADIUS database.");
}

const auto release = [] { return release_auth_list("r"); };
const auto profile = [] { return given(get_user_profile("r"), free_user_profile); };
const auto group = [] { return given(retrieve_user_group("r"), free_user_group); };
const auto verify = [] { return verify_user_group("r"); };

TEST_F(AuthBuffer, WhatFailsIsLoggedAndTheLockGivenBack) {
    const std::string no_lock = "Get lock id has failed:Permission denied.";
    const std::string no_buffer = "Get shared buffer has failed. User:r.";
    const std::string not_locked = "Lock buffer has failed:Permission denied.";
    const std::string not_unlocked = "Unlock buffer has failed:Permission denied.";
    auto from_radius = [] {
        user_profile_t record;
        return get_info_from_radius(&record, "r");
    };
    const struct {
        std::function<long()> operation;
        const char *function;
        int nth;
        std::string result;
    } rows[] = {
        {release, "semget", 1, "-1|[release_auth_list]" + no_lock},
        {release, "ftok", 1, "-1|[release_auth_list]" + no_lock},
        {release, "semop", 1, "-1|[release_auth_list]" + not_locked},
        {release, "semop", 2, "-1|[release_auth_list]" + not_unlocked},
        {release, "ftok", 2, "-1|[release_auth_list]" + no_buffer},
        {release, "shmget", 1, "-1|[release_auth_list]" + no_buffer},
        {release, "shmat", 1, "-1|[release_auth_list]Attach shared buffer has failed. User:r."},
        {release, "shmget", 2, "0|[release_radius_db]" + no_buffer},
        {from_radius, "shmget", 1,
         "-1|[check_radius_db]" + no_buffer + "|[get_info_from_radius]User:r does not found in RADIUS database."},
        {from_radius, "shmget", 2, "-1|[get_info_from_radius]" + no_buffer},
        {profile, "semop", 1, "0|[get_user_profile]" + not_locked},
        {profile, "shmget", 1, "0|[get_auth_module]" + no_buffer + "|User:r has passed -1 authentication method."},
        {group, "semop", 1, "0|[retrieve_user_group]" + not_locked},
        {group, "semop", 2, "1"},  // has no say in the result
        {verify, "semget", 1, "-1|[verify_user_group]Get lock id has failed."},
        {verify, "semop", 1, "-1|[verify_user_group]" + not_locked},
        {verify, "semop", 2, "-1|[verify_user_group]" + not_unlocked},
    };
    for (const auto &row : rows) {
        faults::fail(row.function, EACCES, row.nth);
        EXPECT_EQ(perform(row.operation), row.result) << &row - rows;
        EXPECT_EQ(lock_value(), row.function == std::string("semop") && row.nth == 2 ? 0 : 1) << &row - rows;
        ASSERT_EQ(semctl(lock_, 0, SETVAL, 1), 0);
    }
    // A signal that arrives bounds the wait for the lock.
    faults::fail("semop", EINTR);
    EXPECT_EQ(perform(release), "-1|[release_auth_list]Lock buffer has failed:Interrupted system call.");
    faults::fail("semop", EACCES, 2);
    EXPECT_THAT(perform(profile),
                testing::HasSubstr("|[get_user_profile]Unlock buffer has failed.|User:r, type=admin, "));
    ASSERT_EQ(semctl(lock_, 0, SETVAL, 1), 0);
    remove_buffer();
    make_buffer(sizeof(auth_buffer_t) - 1);
    EXPECT_EQ(seen([] { return get_auth_module("r"); }), "-1|[get_auth_module]" + no_buffer);
}

// No process reads a record that is being written, keeps the buffer attached while it waits for the lock, or keeps the
// lock when it is killed.
TEST_F(AuthBuffer, BufferAndFilesAreOpenUnderTheLockOnly) {
    const std::tuple<std::function<long()>, const char *, int> rows[] = {
        {release, "shmat", 2}, {profile, "shmat", 3}, {group, "open", 1}, {verify, "open", 1}};
    for (const auto &[operation, opens, times] : rows) {
        for (int nth = 1; nth <= times; ++nth) {
            faults::intrude(
                opens, [&] { EXPECT_EQ(lock_value(), 0); }, nth);
            perform(operation);
            EXPECT_TRUE(faults::struck());
        }
        faults::intrude(
            "semop", [&] { EXPECT_EQ(attachments(), 1); }, 2);
        perform(operation);
        EXPECT_TRUE(faults::struck());
        pid_t killed = fork();
        if (killed == 0) {
            faults::intrude(opens, [] { _exit(0); });
            perform(operation);
            _exit(1);
        }
        waitpid(killed, nullptr, 0);
        EXPECT_EQ(lock_value(), 1);
    }
}

}  // namespace
