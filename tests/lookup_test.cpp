// The profile look-up as a whole, LDAP with a stand-in for the search tool.
#include "tests/users_fixture.h"

namespace {

using testing::EndsWith, testing::HasSubstr, testing::StartsWith;

class Lookup : public UsersTest {
protected:
    void SetUp() override {
        UsersTest::SetUp();
        write_file("/tmp/domuser", "");
        write_file("/etc/http_ldap.conf", "host h\nport 389\nbase dc=x\npam_login_attribute uid\n");
        search_tool("");
    }
};

std::string look_up(const std::string &user) {
    auto get = [](user_profile_t *profile, const char *name) {
        user_profile_t *found = get_user_profile(name);
        if (found) *profile = *found;
        profile->reserved = 7;
        return given(found, free_user_profile);
    };
    return filled(get, user);
}

TEST_F(Lookup, EachMethodAsksItsSourceAndFallsBackToLocalAccounts) {
    const std::string defaults = "radius-users:x&ext-user&1:x\nldap-users:x&ext-user&2:x\n", own = "u:x&ext-user&9:x\n";
    enum { absent, present };
    const struct {
        int method, record;
        std::string passwd, profile;
    } rows[] = {
        {1, absent, defaults + own, "1 u u 1 9 80 10 180 1 1"},
        {1, present, "u:x\n" + own, "1 u u 2 50 50 10 180 0 1"},
        {1, present, defaults, "0 -"},
        {2, present, defaults, "1 u radius-users 3 80 80 5 6 1 1"},
        {2, present, defaults + own, "1 u u 3 80 80 5 6 1 1"},
        {2, present, "u:x&user&9:x\n", "1 u radius-users 3 80 80 5 6 1 1"},  // not an external user
        {2, absent, defaults, "1 u radius-users 1 1 80 10 180 1 1"},
        {2, absent, own, "1 u u 1 9 80 10 180 1 1"},
        {2, absent, "radius-users:x&user:x\n", "0 -"},
        {0, present, defaults, "1 u ldap-users 1 80 80 60 30 1 1"},
        {-7, present, defaults + own, "1 u u 1 80 80 60 30 1 1"},
        {3, absent, defaults, "1 u ldap-users 1 2 80 10 180 1 1"},
        {3, absent, own, "1 u u 1 9 80 10 180 1 1"},
        {3, absent, "", "0 -"},
        {-1, present, defaults + own, "0 -"},
    };
    for (const auto &row : rows) {
        log_in(3, "u", row.method);
        radius(4, "u", 3, 5, 6, row.record);
        search_tool(row.record ? "echo 'type: user\nleaseTime: 60\nreauthTime: 30\nresult: 0'" : "echo result: 32");
        write_file("/etc/passwd", row.passwd);
        EXPECT_THAT(look_up("u"), StartsWith(row.profile + "|")) << &row - rows;
    }
}

TEST_F(Lookup, MessagesInOrder) {
    auto absent = [](const std::string &user) {
        const std::string step = "|[get_info_from_local]";
        return step + "User:" + user + " does not found in local database." + step + "buf=" + step + "User:" + user +
               " does not found in domain database.";
    };
    write_file("/etc/passwd", "radius-users:x&ext-user:&1:x\nradius-users:x&ext-user&1&2&3&4:x\n");
    log_in(0, "u", 2);
    EXPECT_EQ(look_up("u"),
              "1 u radius-users 1 1 2 3 4 1 1|User:u has passed 2 authentication method."
              "|[get_info_from_radius]User:u does not found in RADIUS database." +
                  absent("u") +
                  "|Get user information from local database use default radius-user account."
                  "|[get_passwd_line]User:radius-users, type=ext-user:."
                  "|[get_passwd_line]User:radius-users, type=ext-user."
                  "|[get_passwd_line]User:radius-users has been found in local database."
                  "|User:u, type=user, lease time=3, reauth time=4.");
    for (const auto &[type, word] : {std::pair(3, "ext-user"), {0, "admin"}, {4, "limited-admin"}, {2, "guest"}}) {
        radius(0, "u", type, 8, 9);
        EXPECT_THAT(look_up("u"), EndsWith("|User:u has passed 2 authentication method." + absent("u") +
                                           "|User:u, type=" + word + ", lease time=8, reauth time=9."));
    }
    log_in(0, "v", 9);
    EXPECT_THAT(look_up("v"), HasSubstr(absent("v") + "|Get user information from local database use default ldap-user "
                                                      "account."));
    log_in(0, "w", 1);
    EXPECT_THAT(look_up("w"), StartsWith("0 -|User:w has passed 1 authentication method." + absent("w") +
                                         "|[get_user_profile]Get user profile has failed: "));
    EXPECT_EQ(look_up("stranger"), "0 -|User:stranger has passed -1 authentication method.");
#ifdef KAVEX_TEST_ALLOCATIONS
    faults::fail_allocation(1);
    EXPECT_EQ(look_up("u"), "0 -|[get_user_profile]Insufficient memory.");
#endif
}

TEST_F(Lookup, WithoutAnArgumentTheyFailSilently) {
    user_profile_t profile;
    char text[256] = "";
    int number = 0;
    const std::pair<const char *, std::function<long()>> rows[] = {
        {"-1", [&] { return get_passwd_line(nullptr, text, 0, text); }},
        {"-1", [&] { return get_info_from_local(&profile, nullptr, 0); }},
        {"-1", [&] { return get_info_from_radius(&profile, nullptr); }},
        {"-1", [&] { return get_info_from_ldap(&profile, nullptr); }},
        {"-1", [&] { return get_ldap_server_info(text, text, text, text, text, text, &number, nullptr); }},
        {"0", [&] { return parse_search_result(text, &profile, nullptr); }},
        {"-1", [&] { return get_remote_setting(&profile, nullptr); }},
        {"-1", [] { return get_auth_module(nullptr); }},
        {"-1", [] { return release_auth_list(nullptr); }},
        {"-1", [] { return verify_user_group(nullptr); }},
        {"-1", [&] { return check_user_in_group(text, nullptr); }},
        {"0", [] { return given(retrieve_user_group(nullptr), free_user_group); }},
        {"0", [] { return given(get_user_profile(nullptr), free_user_profile); }},
    };
    for (const auto &[result, operation] : rows) EXPECT_EQ(seen(operation), result);
}

}  // namespace
