// User groups and default settings, read from the template files.
#include <unistd.h>

#include <memory>

#include "tests/users_fixture.h"

namespace {

constexpr char group_file[] = "/tmp/template_group.xml", user_file[] = "/tmp/template_user.xml";

class UserGroups : public UsersTest {
protected:
    void TearDown() override {
        unlink(group_file);
        unlink(user_file);
        UsersTest::TearDown();
    }

    static void groups(const std::string &content) {
        write_file(group_file, "<kavex><object><user_group>" + content + "</user_group></object></kavex>");
    }
};

std::string group(const std::string &name, const std::string &members) {
    return "<group name=\"" + name + "\" type=\"user_group_object_t\">" + members + "</group>";
}
std::string user(const std::string &name) { return "<entity>" + name + "</entity>"; }
std::string nested(const std::string &name) { return "<container>" + name + "</container>"; }
// u0, u1, and so on
std::string many(int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += user("u" + std::to_string(i));
    return text;
}

std::string names(const user_group_t &record) {
    std::string text;
    for (int i = 0; i < record.member_count; ++i) text += std::string(i ? " " : "") + record.members[i].name;
    return text;
}

using Group = std::unique_ptr<user_group_t, decltype(&free_user_group)>;

struct Seen {
    bool found;
    std::string log, names;
};
bool operator==(const Seen &a, const Seen &b) { return a.found == b.found && a.log == b.log && a.names == b.names; }
void PrintTo(const Seen &seen, std::ostream *out) {
    *out << "{" << seen.found << ", " << testing::PrintToString(seen.log) << ", " << seen.names.substr(0, 200) << "}";
}

Seen retrieve(const std::string &name) {
    Group record(nullptr, free_user_group);
    Outcome seen = call([&] {
        record.reset(retrieve_user_group(name.c_str()));
        return record.get();
    });
    return {seen.result == 1, seen.log, record ? names(*record) : ""};
}

std::string step(const std::string &text) { return "[retrieve_user_group]" + text; }

TEST_F(UserGroups, MembersComeInOrderWithNestedGroupsInTheirPlace) {
    const std::string name31(31, 'n'), name32(32, 'n'), name128(128, 'g');
    const std::string refused = user_log({step("Retrieve group's entities has failed.")});
    struct Row {
        std::string content;
        Seen seen;
    } rows[] = {
        {group("g", user("c") + user("a") + user("b")), {true, "", "c a b"}},
        {group("g", ""), {true, "", ""}},
        {group("g", nested("h")) + group("h", user("a") + user("b")), {true, "", "a b"}},
        {group("g", nested("h") + user("c") + nested("i")) + group("h", user("d")) + group("i", user("e") + user("d")),
         {true, "", "d c e d"}},
        {group("g", user(name31) + user(name32) + user("b")),
         {true, user_log({step("User name is too long:" + name32 + ".")}), name31 + " b"}},
        {group("g", user("a") + nested(name128) + user("b")) + group(name128, user("c")),
         {true, user_log({step("Group name is too long:" + name128 + ".")}), "a b"}},
        {group("g", many(1023) + nested("h")) + group("h", user("y") + user("z")),
         {false, user_log({step("Group:h has more than 1024 members.")}), ""}},
        {group("g", many(1025)), {false, user_log({step("Group:g has more than 1024 members.")}), ""}},
        // Loops, and a group that is reached twice.
        {group("g", nested("h") + user("a")) + group("h", nested("g")), {false, refused, ""}},
        {group("g", nested("h") + nested("i")) + group("h", nested("j")) + group("i", nested("j")) +
             group("j", user("a")), {false, refused, ""}},
        {group("g", nested("absent")), {false, refused, ""}},
        {group("h", user("a")), {false, user_log({step("Open group has failed.")}), ""}},
        {"<list name=\"g\" type=\"user_group_object_t\"/><group name=\"g\" type=\"t\"/>",
         {false, user_log({step("Open group has failed.")}), ""}},
    };
    for (const Row &row : rows) {
        groups(row.content);
        EXPECT_EQ(retrieve("g"), row.seen) << row.content.substr(0, 300);
    }
    groups(group("g", many(1023) + nested("h")) + group("h", user("z") + user(name32)));
    EXPECT_EQ(check_user_in_group("g", "u0"), 1);
    EXPECT_EQ(check_user_in_group("g", "u1022"), 1);
    EXPECT_EQ(check_user_in_group("g", "z"), 1);
    EXPECT_EQ(check_user_in_group("g", "u1023"), 0);
}

TEST_F(UserGroups, MembershipIsAnsweredByTheWholeName) {
    groups(group("g", nested("h") + user("alice")) + group("h", user("bob")) + group("e", "") +
           group("big", many(1025)));
    struct Row {
        const char *group, *user;
        int result;
    } rows[] = {{"g", "alice", 1}, {"g", "bob", 1}, {"g", "al", 0}, {"g", "h", 0},   {"g", "", 0},
                {"e", "bob", 0},   {"e", "", 0},    {"i", "bob", -1}, {"big", "u0", -1}, {"big", "stranger", -1}};
    for (const Row &row : rows)
        EXPECT_EQ(call([&] { return check_user_in_group(row.group, row.user); }).result, row.result)
            << row.group << row.user;
    const std::string name32(32, 'n');
    groups(group("g", user(name32)));
    EXPECT_EQ(call([&] { return check_user_in_group("g", name32.c_str()); }),
              outcome(-1, {"[check_user_in_group]User name is too long:" + name32 + "."}));
}

TEST_F(UserGroups, WhatFailsIsLoggedAndEverythingGivenBack) {
    groups(group("g", user("a")) + "<group_description_t name=\"g\"/><group_description_t name=\"d\"/>");
    auto retrieved = [](const std::string &message) { return Seen{false, user_log({step(message)}), ""}; };
    auto verify = [](const char *name) { return call([=] { return verify_user_group(name); }); };
    auto verified = [](const std::string &message) { return user_log({"[verify_user_group]" + message}); };
    EXPECT_EQ(verify("g").result, 1);
    EXPECT_EQ(verify("d").result, 1);
    EXPECT_EQ(verify("x").result, 0);
    EXPECT_EQ(verify("x").log, "");
    groups(group("g", user("a")));
    EXPECT_EQ(verify("g").result, 0);

    faults::fail("semop", EACCES);
    EXPECT_EQ(retrieve("g"), retrieved("Lock buffer has failed:Permission denied."));
    faults::fail("semop", EACCES);
    EXPECT_EQ(verify("g").log, verified("Lock buffer has failed:Permission denied."));
    faults::fail("semop", EACCES, 2);
    Outcome seen = verify("g");
    EXPECT_EQ(seen.result, -1);
    EXPECT_EQ(seen.log, verified("Unlock buffer has failed:Permission denied."));
    EXPECT_EQ(lock_value(), 0);
    remove_lock();
    EXPECT_EQ(retrieve("g"), retrieved("Get lock id has failed:No such file or directory."));
    EXPECT_EQ(verify("g").log, verified("Get lock id has failed."));
    make_lock();
    faults::fail("semop", EACCES, 2);  // has no say in the result
    EXPECT_EQ(retrieve("g"), (Seen{true, "", "a"}));
    remove_lock();
    make_lock();

#ifdef KAVEX_TEST_ALLOCATIONS
    faults::each([&](int nth) {
        faults::fail_allocation(nth);
        Seen now = retrieve("g");
        EXPECT_NE(now.found, faults::struck());
        EXPECT_EQ(now.log.empty(), now.found);
        EXPECT_EQ(now.names, now.found ? "a" : "");
        EXPECT_EQ(lock_value(), 1);
    });
#endif

    for (bool broken : {true, false}) {
        if (broken) write_file(group_file, "<kavex>");
        else unlink(group_file);
        EXPECT_EQ(retrieve("g"), retrieved("Open backup file has failed."));
        seen = verify("g");
        EXPECT_EQ(seen.result, -1);
        EXPECT_THAT(seen.log, testing::StartsWith(verified("Retrieve backup file has failed:")));
        EXPECT_EQ(lock_value(), 1);
    }
}

TEST_F(UserGroups, ExpandingOnItsOwnEndsAndStaysWithinTheRecord) {
    struct Row {
        std::string content;
        int count;
        std::string result, log;
    } rows[] = {
        {group("g", user("a") + nested("h")) + group("h", user("b")), 1, "old a b", ""},
        {group("g", user("a") + nested("h") + user("c")) + group("h", user("b") + nested("g") + nested("h")), 0,
         "a b c", ""},
        {group("g", user("a") + nested("absent") + user("b")), 0, "a b", ""},
        {"", 1, "old", ""},
        {group("g", user("a") + user("b")), 1024, "", user_log({"[get_member]Group:g has more than 1024 members."})},
        {group("g", user("a")), -5, "", user_log({"[get_member]Group:g has more than 1024 members."})},
    };
    struct Guarded {
        user_group_t record;
        char guard[1184];
    };
    auto guarded = std::make_unique<Guarded>();
    for (const Row &row : rows) {
        *guarded = {};
        memset(guarded->guard, '#', sizeof guarded->guard);
        strcpy(guarded->record.members[0].name, "old");
        guarded->record.member_count = row.count;
        groups(row.content);
        Outcome seen = call([&] {
            kvio_config_t *document = kvio_restore_scope(group_file);
            int result = get_member(document, "g", &guarded->record);
            kvio_close_config(document);
            return result;
        });
        EXPECT_EQ(seen.result, 1);
        EXPECT_EQ(seen.log, row.log);
        if (row.log.empty()) EXPECT_EQ(names(guarded->record), row.result);
        else EXPECT_EQ(guarded->record.member_count, row.count);
        EXPECT_EQ(std::string(guarded->guard, sizeof guarded->guard), std::string(sizeof guarded->guard, '#'));
    }

    // A chain of groups, each in the one before: 1,000 levels below the first one are followed.
    for (int depth : {1000, 1001}) {
        std::string chain;
        for (int i = 0; i < depth; ++i)
            chain += group(i ? "n" + std::to_string(i) : "g", nested("n" + std::to_string(i + 1)));
        groups(chain + group("n" + std::to_string(depth), user("a")));
        EXPECT_EQ(retrieve("g"),
                  (depth == 1000 ? Seen{true, "", "a"}
                                 : Seen{false, user_log({step("Group:n1001 is nested too deeply.")}), ""}));
    }
}

TEST_F(UserGroups, DefaultSettingsFillAProfile) {
    auto value = [](const char *key, const std::string &text) {
        return "<" + std::string(key) + ">" + text + "</" + key + ">";
    };
    const std::string rest = value("access", "1") + value("visibility", "2") + value("lease_time", "3") +
                             value("re_auth", "4") + value("remote_admin", "1") + value("remote_access", "0");
    struct Row {
        std::string values, profile;
    } rows[] = {
        {value("type", "admin") + rest, "a - 0 1 2 3 4 1 0"},
        {value("type", "limited-admin") + rest, "a - 4 1 2 3 4 1 0"},
        {value("type", "user") + rest, "a - 1 1 2 3 4 1 0"},
        {value("type", "ext-user") + rest, "a - 1 1 2 3 4 1 0"},
        {value("type", "guest") + rest, "a - 2 1 2 3 4 1 0"},
        {value("type", "administrator") + rest, "a - 2 1 2 3 4 1 0"},
        {value("type", "limited-admin-of-all") + rest, "a - 2 1 2 3 4 1 0"},
        {value("type", "") + rest, "a - 2 1 2 3 4 1 0"},
        {value("remote_access", "12") + value("remote_admin", "9x") + value("re_auth", "-1234567890123") +
             value("lease_time", "123456789012") + value("visibility", "x") + value("access", "1234567") +
             value("type", "user"), "a - 1 12345 0 2147483647 -1234567890 9 1"},
        // From the first missing one on everything is empty.
        {rest, "a - 2 0 0 0 0 0 0"},
        {value("type", "admin") + value("access", "5") + value("lease_time", "3") + value("re_auth", "4"),
         "a - 0 5 0 0 0 0 0"},
    };
    auto settings = [](const std::string &values) {
        write_file(user_file, "<kavex><system><in_user><in_user_setting name=\"def_set\">" + values +
                                  "</in_user_setting></in_user></system></kavex>");
    };
    user_profile_t profile = unwritten();
    auto get = [&](const std::string &name) {
        profile = unwritten();
        return call([&] { return get_remote_setting(&profile, name.c_str()); });
    };
    for (const Row &row : rows) {
        settings(row.values);
        Outcome seen = get("a");
        EXPECT_EQ(seen.result, 0) << row.values;
        EXPECT_EQ(seen.log, "");
        EXPECT_EQ(show(profile), row.profile) << row.values;
    }
    const std::string nothing = show(unwritten()), name31(31, 'n'), name32(32, 'n');
    EXPECT_EQ(get(name31).result, 0);
    EXPECT_EQ(profile.name, name31);
    EXPECT_EQ(get(name32).log, user_log({"[get_remote_setting]User name is too long:" + name32 + "."}));
    EXPECT_EQ(show(profile), nothing);
    write_file(user_file, "<kavex><system><in_user/></system></kavex>");
    EXPECT_EQ(get("a").result, -1);
    unlink(user_file);
    EXPECT_EQ(get("a").result, -1);
    EXPECT_EQ(show(profile), nothing);
}

}  // namespace
