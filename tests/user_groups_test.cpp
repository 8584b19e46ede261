// User groups and default settings, read from the template files.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <set>
#include <sstream>

#include "tests/users_fixture.h"

// Owners that the test process has no capability to give its files: they are reported in place of the true ones.
static uid_t file_owner, link_owner, effective_user;

extern "C" int fstat(int fd, struct stat *status) noexcept {
    int result = fstatat(fd, "", status, AT_EMPTY_PATH);
    if (file_owner) status->st_uid = file_owner;
    return result;
}

extern "C" int lstat(const char *path, struct stat *status) noexcept {
    int result = fstatat(AT_FDCWD, path, status, AT_SYMLINK_NOFOLLOW);
    if (link_owner) status->st_uid = link_owner;
    return result;
}

extern "C" uid_t geteuid() noexcept { return effective_user ? effective_user : getuid(); }

namespace {

using testing::EndsWith, testing::StartsWith;

class UserGroups : public UsersTest {};

void groups(const std::string &content) {
    write_file("/tmp/template_group.xml", "<kavex><object><user_group>" + content + "</user_group></object></kavex>");
}

// Members are separated by spaces; "+h" is the group h.
std::string group(const std::string &name, const std::string &members) {
    std::string text = "<group name=\"" + name + "\" type=\"user_group_object_t\">";
    std::istringstream stream(members);
    for (std::string member; stream >> member;)
        text +=
            member[0] == '+' ? "<container>" + member.substr(1) + "</container>" : "<entity>" + member + "</entity>";
    return text + "</group>";
}

std::string many(int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += "u" + std::to_string(i) + " ";
    return text;
}

// "1 NAME NAME|message", or "0 |message".
std::string retrieve(const std::string &name) {
    std::string members = " ";
    std::string text = seen([&] {
        user_group_t *record = retrieve_user_group(name.c_str());
        for (int i = 0; record && i < record->member_count; ++i) members += record->members[i].name + std::string(" ");
        return given(record, free_user_group);
    });
    return text.insert(1, members);
}

TEST_F(UserGroups, MembersComeInOrderWithNestedGroupsInTheirPlace) {
    const std::string name31(31, 'n'), name32(32, 'n'), name128(128, 'g'), step = "|[retrieve_user_group]";
    const std::string name_refused = step + "User name is too long:" + name32 + ".";
    const std::string refused = "0 " + step + "Retrieve group's entities has failed.";
    std::string chain = group("n2000", "a");
    for (int i = 0; i < 2000; ++i) chain += group("n" + std::to_string(i), "+n" + std::to_string(i + 1));
    const std::pair<std::string, std::string> rows[] = {
        {group("g", "c a +h b +i") + group("h", "d") + group("i", "e d"), "1 c a d b e d "},
        {group("g", ""), "1 "},
        {group("g", name31 + " " + name32 + " b"), "1 " + name31 + " b " + name_refused},
        {group("g", "a +" + name128 + " b") + group(name128, "c"),
         "1 a b " + step + "Group name is too long:" + name128 + "."},
        {group("g", many(1023) + "+h") + group("h", "z " + name32), "1 " + many(1023) + "z " + name_refused},
        {group("g", many(1023) + "+h") + group("h", "y z"), "0 " + step + "Group:g has more than 1024 members."},
        {chain + group("g", "+n0"), "1 a "},
        // Loops, and a group that is reached twice.
        {group("g", "+h a") + group("h", "+g"), refused},
        {group("g", "+h +i") + group("h", "+j") + group("i", "+j") + group("j", "a"), refused},
        {group("g", "+absent"), refused},
        {"<list name=\"g\" type=\"user_group_object_t\"/><group name=\"g\" type=\"t\"/>",
         "0 " + step + "Open group has failed."},
    };
    for (const auto &[content, result] : rows) {
        groups(content);
        EXPECT_EQ(retrieve("g"), result) << content.substr(0, 300);
    }
}

TEST_F(UserGroups, MembershipAndDescriptionsAreAnswered) {
    const std::string name32(32, 'n');
    groups(group("g", "+h alice " + name32) + group("h", "bob") + group("big", many(1025)) +
           "<group_description_t name=\"g\"/><group_description_t name=\"d\"/>");
    const std::tuple<const char *, std::string, int> rows[] = {{"g", "alice", 1}, {"g", "bob", 1},   {"h", "alice", 0},
                                                               {"g", "al", 0},    {"g", "h", 0},     {"g", "", 0},
                                                               {"i", "bob", -1},  {"big", "u0", -1}, {"g", name32, -1}};
    for (const auto &[name, user, result] : rows)
        EXPECT_EQ(check_user_in_group(name, user.c_str()), result) << name << user;
    EXPECT_EQ(verify_user_group("d"), 1);
    EXPECT_EQ(verify_user_group("h"), 0);
#ifdef KAVEX_TEST_ALLOCATIONS
    // A reference, so that reading the member takes memory, too.
    write_file("/tmp/template_group.xml", "<!DOCTYPE kavex [<!ENTITY b \"bob\">]><kavex><object><user_group>" +
                                              group("h", "&b;") + "</user_group></object></kavex>");
    std::set<std::string> outcomes;
    faults::each([&](int nth) {
        faults::fail_allocation(nth);
        outcomes.insert(retrieve("h"));
    });
    EXPECT_EQ(outcomes.erase("1 bob "), 1u);
    EXPECT_EQ(outcomes.erase("0 |[retrieve_user_group]Insufficient memory."), 1u);
    for (const std::string &outcome : outcomes) EXPECT_THAT(outcome, StartsWith("0 |[retrieve_user_group]"));
#endif
    write_file("/tmp/template_group.xml", "<kavex>");
    EXPECT_EQ(retrieve("g"), "0 |[retrieve_user_group]Open backup file has failed.");
    EXPECT_THAT(seen([] { return verify_user_group("g"); }),
                StartsWith("-1|[verify_user_group]Retrieve backup file has failed:"));
}

TEST_F(UserGroups, ExpandingOnItsOwnEndsAndStaysWithinTheRecord) {
    const std::string full = "|[get_member]Group:g has more than 1024 members.";
    // Two groups in each, on 20 levels.
    std::string doubled = group("g", "+l0 +r0");
    for (int i = 0; i < 20; ++i)
        for (const char *side : {"l", "r"})
            doubled += group(side + std::to_string(i), "+l" + std::to_string(i + 1) + " +r" + std::to_string(i + 1));
    const struct {
        std::string content;
        int count, count_after;
        std::string last, messages;
    } rows[] = {
        {group("g", "a +h +absent c") + group("h", "b +g +h"), 1, 4, "c", "1"},
        {group("g", "a b"), 1023, 1024, "a", "1" + full},
        {group("g", "a"), -5, -5, "", "1" + full},
        // A member that cannot be read is skipped.
        {"<group name=\"g\" type=\"user_group_object_t\"><entity/><entity>a</entity></group>", 0, 1, "a", "1"},
        {doubled, 0, 0, "", " is nested too deeply."},
    };
    auto record = std::make_unique<user_group_t>();
    for (const auto &row : rows) {
        record->member_count = row.count;
        groups(row.content);
        kvio_config_t *document = kvio_restore_scope("/tmp/template_group.xml");
        EXPECT_THAT(seen([&] { return get_member(document, "g", record.get()); }), EndsWith(row.messages));
        kvio_close_config(document);
        EXPECT_EQ(record->member_count, row.count_after);
        EXPECT_EQ(row.count_after > 0 ? record->members[row.count_after - 1].name : "", row.last);
    }
}

TEST_F(UserGroups, DefaultSettingsFillAProfile) {
    EXPECT_EQ(filled(get_remote_setting, "a"), "-1 -");
    // Values in the order of the keys; "-" stands for none.
    const std::pair<std::string, std::string> rows[] = {
        {"limited-admin 1 2 3 4 1 0", " - 4 1 2 3 4 1 0"},
        {"user 1234567 x 123456789012 -1234567890123 9x 12", " - 1 12345 0 2147483647 -1234567890 9 1"},
        {"ext-user 1 2 3 4 1 0", " - 1 1 2 3 4 1 0"},
        {"limited-admin-of-all 1 2 3 4 1 0", " - 2 1 2 3 4 1 0"},
        // From the first missing one on everything is empty.
        {"- 1 2 3 4 1 0", " - 2 0 0 0 0 0 0"},
        {"admin 5 - 3 4 1 1", " - 0 5 0 0 0 0 0"},
    };
    const std::string name31(31, 'n'), name32(32, 'n');
    for (const auto &[values, profile] : rows) {
        std::string settings, value;
        std::istringstream stream(values);
        for (const std::string key :
             {"type", "access", "visibility", "lease_time", "re_auth", "remote_admin", "remote_access"})
            if (stream >> value && value != "-") settings += "<" + key + ">" + value + "</" + key + ">";
        write_file("/tmp/template_user.xml", "<kavex><system><in_user><in_user_setting name=\"def_set\">" + settings +
                                                 "</in_user_setting></in_user></system></kavex>");
        EXPECT_EQ(filled(get_remote_setting, name31), "0 " + name31 + profile);
    }
    EXPECT_EQ(filled(get_remote_setting, name32), "-1 -|[get_remote_setting]User name is too long:" + name32 + ".");
    write_file("/tmp/template_user.xml", "<kavex><system><in_user/></system></kavex>");
    EXPECT_EQ(filled(get_remote_setting, "a"), "-1 -");
}

// What other users could have written counts as missing.
TEST_F(UserGroups, FilesThatOthersCouldHaveWrittenAreNotRead) {
    const char *const paths[] = {"/tmp/domuser", "/tmp/template_group.xml", "/tmp/template_user.xml"};
    auto read_all = [] {
        std::string text;
        user_profile_t profile;
        const std::function<long()> operations[] = {[&] { return get_info_from_local(&profile, "d", 1); },
                                                    [] { return verify_user_group("g"); },
                                                    [] { return given(retrieve_user_group("g"), free_user_group); },
                                                    [&] { return get_remote_setting(&profile, "d"); }};
        for (const auto &operation : operations) {
            Outcome outcome = call(operation);
            text += std::to_string(outcome.result) + outcome.log + outcome.err;
        }
        return text;
    };
    write_file("/etc/passwd", "");
    const std::string missing = read_all();
    EXPECT_THAT(missing, testing::HasSubstr("/tmp/template_group.xml is not well-formed\n"));
    write_file("/tmp/domuser", "d:x&user&1");
    groups(group("g", "d") + "<group_description_t name=\"g\"/>");
    write_file("/tmp/template_user.xml",
               "<kavex><system><in_user><in_user_setting name=\"def_set\"/></in_user></system></kavex>");
    const std::string read = read_all();
    EXPECT_NE(read.find("User:d found in domain database."), read.npos);

    const struct {
        mode_t mode;
        uid_t file, link, user;
        bool is_read;
    } rows[] = {{0664, 0, 0, 5, true}, {0646, 0, 0, 0, false}, {0600, 5, 5, 0, false},
                {0600, 5, 5, 5, true}, {0600, 0, 5, 0, false}, {0600, 5, 0, 0, false}};
    for (const auto &row : rows) {
        for (const char *path : paths) chmod(path, row.mode);
        file_owner = row.file;
        link_owner = row.link;
        effective_user = row.user;
        EXPECT_EQ(read_all(), row.is_read ? read : missing) << &row - rows;
    }
    file_owner = link_owner = effective_user = 0;
    // The file behind a link counts.
    EXPECT_EQ(rename(paths[1], "/tmp/target") | symlink("/tmp/target", paths[1]) | chmod("/tmp/target", 0600), 0);
    EXPECT_EQ(verify_user_group("g"), 1);
    chmod("/tmp/target", 0606);
    EXPECT_EQ(verify_user_group("g"), -1);
}

}  // namespace
