// The profile look-up as a whole, LDAP with a stand-in for the search tool.
#include <unistd.h>

#include <cstring>
#include <memory>

#include "tests/users_fixture.h"

namespace {

class Lookup : public UsersTest {
protected:
    void SetUp() override {
        UsersTest::SetUp();
        write_file("/tmp/domuser", "");
        write_file("/etc/http_ldap.conf", "host h\nport 389\nbase dc=x\npam_login_attribute uid\n");
        write_file("/tmp/tool", "only =u)\nsay /tmp/answer\n");
        write_file("/tmp/answer", "type: user\nleaseTime: 60\nreauthTime: 30\nresult: 0\n");
        ASSERT_EQ(symlink(LDAP_TOOL, "/bin/ldapsearch"), 0);
    }
};

struct Seen {
    std::string profile, log;
};
bool operator==(const Seen &a, const Seen &b) { return a.profile == b.profile && a.log == b.log; }
void PrintTo(const Seen &seen, std::ostream *out) {
    *out << testing::PrintToString(seen.profile) << testing::PrintToString(seen.log);
}

Seen look_up(const std::string &user) {
    std::string profile = "null";
    Outcome seen = call([&] {
        user_profile_t *found = get_user_profile(user.c_str());
        if (found) profile = show(*found);
        free_user_profile(found);
    });
    return {profile, seen.log};
}

std::string get(const std::string &text) { return "[get_user_profile]" + text; }
std::string absent(const std::string &user) {
    return "[get_info_from_local]User:" + user + " does not found in local database.";
}

TEST_F(Lookup, EachMethodAsksItsSourceAndFallsBackToLocalAccounts) {
    const std::string defaults = "radius-users:x&ext-user&1:x\nldap-users:x&ext-user&2:x\n", own = "u:x&ext-user&9:x\n";
    enum { no_record, record, bad_record };
    struct Row {
        int method, radius;
        bool directory;
        std::string passwd, profile;
    } rows[] = {
        {1, no_record, true, defaults + own, "u u 1 9 80 10 180 1 1"},
        {1, record, true, "u:x\n" + own, "u u 2 50 50 10 180 0 1"},
        {1, record, true, defaults, "null"},
        {2, record, true, defaults, "u radius-users 3 80 80 5 6 1 1"},
        {2, record, true, "", "u radius-users 3 80 80 5 6 1 1"},
        {2, record, true, defaults + own, "u u 3 80 80 5 6 1 1"},
        {2, record, true, "u:x&user&9:x\n", "u radius-users 3 80 80 5 6 1 1"},  // not an external user
        {2, bad_record, true, defaults, "u radius-users 1 1 80 10 180 1 1"},
        {2, no_record, true, defaults, "u radius-users 1 1 80 10 180 1 1"},
        {2, no_record, true, own, "u u 1 9 80 10 180 1 1"},
        {2, no_record, true, "radius-users:x&user:x\n", "null"},
        {0, record, true, defaults, "u ldap-users 1 80 80 60 30 1 1"},
        {3, record, true, "", "u ldap-users 1 80 80 60 30 1 1"},
        {-7, record, true, defaults + own, "u u 1 80 80 60 30 1 1"},
        {3, record, false, defaults, "u ldap-users 1 2 80 10 180 1 1"},
        {3, record, false, own, "u u 1 9 80 10 180 1 1"},
        {3, record, false, "", "null"},
        {-1, record, true, defaults + own, "null"},
    };
    for (const Row &row : rows) {
        log_in(3, "u", row.method);
        radius(4, "u", 3, 5, row.radius == bad_record ? 0 : 6, row.radius == no_record ? 0 : 1);
        write_file("/etc/passwd", row.passwd);
        write_file("/tmp/answer", row.directory ? "type: user\nleaseTime: 60\nreauthTime: 30\nresult: 0\n" : "result: 32\n");
        Seen seen = look_up("u");
        EXPECT_EQ(seen.profile, row.profile) << row.method << row.radius << row.directory << row.passwd;
        EXPECT_THAT(seen.log, testing::StartsWith(user_log(
                                  {"User:u has passed " + std::to_string(row.method) + " authentication method."})));
        EXPECT_EQ(lock_value(), 1);
    }
}

TEST_F(Lookup, MessagesInOrder) {
    const std::string passed2 = "User:u has passed 2 authentication method.", empty_line = "[get_info_from_local]buf=";
    const std::string not_domain = "[get_info_from_local]User:u does not found in domain database.";
    const std::string no_record = "[get_info_from_radius]User:u does not found in RADIUS database.";
    const std::string use_default = "Get user information from local database use default radius-user account.";
    log_in(0, "u", 2);
    write_file("/etc/passwd", "radius-users:x&ext-user:&1:x\nradius-users:x&ext-user&1&2&3&4:x\n");
    EXPECT_EQ(look_up("u").log,
              user_log({passed2, no_record, absent("u"), empty_line, not_domain, use_default,
                        "[get_passwd_line]User:radius-users, type=ext-user:.",
                        "[get_passwd_line]User:radius-users, type=ext-user.",
                        "[get_passwd_line]User:radius-users has been found in local database.",
                        "User:u, type=user, lease time=3, reauth time=4."}));
    radius(0, "u", 3, 8, 9);
    EXPECT_EQ(look_up("u").log, user_log({passed2, absent("u"), empty_line, not_domain,
                                          "User:u, type=ext-user, lease time=8, reauth time=9."}));
    log_in(0, "v", 9);
    EXPECT_THAT(look_up("v").log, testing::HasSubstr(user_log(
        {absent("v"), empty_line, "[get_info_from_local]User:v does not found in domain database.",
         "Get user information from local database use default ldap-user account."})));
    EXPECT_EQ(look_up("stranger"), (Seen{"null", user_log({"User:stranger has passed -1 authentication method."})}));
    log_in(0, "nobody", 1);
    EXPECT_THAT(look_up("nobody").log,
                testing::StartsWith(user_log({"User:nobody has passed 1 authentication method.", absent("nobody"),
                                              empty_line,
                                              "[get_info_from_local]User:nobody does not found in domain database.",
                                              get("Get user profile has failed: ")})));
    const std::string name32(32, 'n');
    log_in(0, name32.c_str(), 1);
    write_file("/etc/passwd", name32 + ":x\n");
    EXPECT_EQ(look_up(name32).profile, "null");
    EXPECT_EQ(look_up(name32.substr(0, 31)).profile, "null");
}

TEST_F(Lookup, WhatFailsIsLoggedAndEverythingGivenBack) {
    log_in(0, "u", 1);
    write_file("/etc/passwd", "u:x&user:&:x\n");
    const std::string passed = "User:u has passed 1 authentication method.";
    struct Row {
        const char *function;
        int nth;
        Seen seen;
    } rows[] = {
        {"semget", 1, {"null", user_log({get("Get lock id has failed:Permission denied.")})}},
        {"semop", 1, {"null", user_log({get("Lock buffer has failed:Permission denied.")})}},
        {"shmget", 1, {"null", user_log({"[get_auth_module]Get shared buffer has failed. User:u.",
                                         "User:u has passed -1 authentication method."})}},
        {"shmat", 1, {"null", user_log({"[get_auth_module]Attach shared buffer has failed. User:u.",
                                        "User:u has passed -1 authentication method."})}},
        {"semop", 2, {"u u 1 0 80 10 180 1 1",
                      user_log({passed, "[get_passwd_line]User:u does not have attributes.",
                                get("Unlock buffer has failed."),
                                "User:u, type=user, lease time=10, reauth time=180."})}},
    };
    for (const Row &row : rows) {
        faults::fail(row.function, EACCES, row.nth);
        EXPECT_EQ(look_up("u"), row.seen) << row.function << row.nth;
        if (row.nth == 2) {
            remove_lock();
            make_lock();
        }
        EXPECT_EQ(lock_value(), 1);
    }
#ifdef KAVEX_TEST_ALLOCATIONS
    faults::fail_allocation(1);
    EXPECT_EQ(look_up("u"), (Seen{"null", user_log({get("Insufficient memory.")})}));
#endif
    EXPECT_EQ(look_up("u").profile, "u u 1 0 80 10 180 1 1");
}

}  // namespace
