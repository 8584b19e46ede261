// Local and domain accounts.
#include <cstring>

#include "tests/users_fixture.h"

namespace {

class Local : public UsersTest {};

const std::string nothing = show(unwritten());

std::string step(const char *function, const std::string &text) { return "[" + std::string(function) + "]" + text; }
std::string line_step(const std::string &text) { return step("get_passwd_line", text); }
std::string info(const std::string &text) { return step("get_info_from_local", text); }

TEST_F(Local, ProfilesOfPasswdLines) {
    const std::string pad(254, 'x');
    struct Row {
        const char *user;
        int wanted;
        std::string line, profile;
    } rows[] = {
        {"alice", 0, "alice:x:500:500:Alice&admin&120&120&1440&1440&1&0:/home/alice:/bin/sh\n",
         "alice - 0 120 120 1440 1440 1 0"},
        {"al", -1, "al:&limited-admin&1&2&3&4&5&6:x\n", "al - 4 1 2 3 4 5 6"},
        // A field that is absent leaves the default, one without digits is 0, white space and signs count.
        {"a", 1, "a:x&user&10& 9x&:rest\n", "a - 1 10 9 0 180 1 1"},
        {"a", 2, "a:x&guest&-5&x&+7\n", "a - 2 -5 0 7 180 0 1"},
        {"a", 3, "a:x&ext-user&99999999999&-99999999999:x", "a - 1 2147483647 -2147483648 10 180 1 1"},
        {"a", 4, "a:x&limited-admin&:/home\n", "a - 4 0 100 10 180 1 0"},
        // Runs of separators count as one, in front of the name and of the attributes, too.
        {"a", 0, "::a::x&admin&&130:x\n", "a - 0 130 120 10 180 1 0"},
        {"&a", 0, "&a:x&&&admin&&&1&&2:x\n", "&a - 0 1 2 10 180 1 0"},
        {"a", 0, "a:x&admin&1&2&3&4&5&:/6:x\n", "a - 0 1 2 3 4 5 0"},
        // The beginning of a word decides, once the line was taken.
        {"a", -1, "a:x&administrator&1:x\n", "a - 0 1 120 10 180 1 0"},
        {"a", -1, "a:x&users&1:x\n", "a - 1 1 80 10 180 1 1"},
        {"a", -1, "a:x&ext-group-user&1:x\n", "a - 2 1 50 10 180 0 1"},
        {"bob", -1, "bob:x:Bob&user:/home/bob:/bin/sh\n", "bob - 1 80 80 10 180 1 1"},
        {"root", -1, "root:x:0:0:root:/root:/bin/sh\n", "root - 2 50 50 10 180 0 1"},
        {"a", -1, "a", "a - 2 50 50 10 180 0 1"},
        // Whole names, and the first line of the wanted type.
        {"al", 0, "alice:x&admin&1:x\nal:x&user&2:x\nal:x\nal:x&admin&3:x\nal:x&admin&4:x\n", "al - 0 3 120 10 180 1 0"},
        // A long line counts as several.
        {"end", 0, pad + "end:x&admin&5:x\n", "end - 0 5 120 10 180 1 0"},
        {"a", 0, "a:x&admin&6:" + pad + "\n", "a - 0 6 120 10 180 1 0"},
        {"a", 0, "a:x&user" + pad + "\na:x&admin&7:x\n", "a - 0 7 120 10 180 1 0"},
    };
    for (const Row &row : rows) {
        write_file("/etc/passwd", row.line);
        user_profile_t profile = unwritten();
        Outcome seen = call([&] { return get_info_from_local(&profile, row.user, row.wanted); });
        EXPECT_EQ(seen.result, 0) << row.line;
        EXPECT_EQ(show(profile), row.profile) << row.line;
    }
}

TEST_F(Local, LinesThatBelongToNobody) {
    write_file("/tmp/domuser", "");
    const std::string name32(32, 'n');
    struct Row {
        const char *user;
        int wanted;
        const char *line;
    } rows[] = {
        {"", -1, ":::\n\n::"},          {"\n", -1, ":::\n\n"},           {"al", -1, "alice:x\n"},
        {"alice", -1, "al:x\n"},        {"a", 0, "a:x&administrator&1"}, {"a", 3, "a:x&ext-user2&1"},
        {"a", 9, "a:x&user&1"},         {"bob", 1, "bob:x&user:/home\n"}, {"a", 0, "a:x&:admin&1"},
        {"&&", -1, "&&&\n"},
    };
    for (const Row &row : rows) {
        write_file("/etc/passwd", row.line);
        user_profile_t profile = unwritten();
        EXPECT_EQ(call([&] { return get_info_from_local(&profile, row.user, row.wanted); }).result, -1) << row.line;
        EXPECT_EQ(show(profile), nothing) << row.line;
    }
}

TEST_F(Local, SearchLogsEachLineOfTheUserAndStopsBehindTheOneFound) {
    write_file("/tmp/f", "a:x&user&1:x\na:x\nb:x&admin&1\na:x&admin&2:x\na:y\n");
    FILE *file = fopen("/tmp/f", "r");
    char line[256] = "kept";
    EXPECT_EQ(call([&] { return get_passwd_line(file, "a", 0, line); }),
              outcome(0, {line_step("User:a, type=user."), line_step("User:a, type=admin."),
                          line_step("User:a has been found in local database.")}));
    EXPECT_STREQ(line, "a:x&admin&2:x\n");
    EXPECT_EQ(call([&] { return get_passwd_line(file, "a", -1, line); }),
              outcome(0, {line_step("User:a does not have attributes.")}));
    EXPECT_STREQ(line, "a:y\n");
    EXPECT_EQ(call([&] { return get_passwd_line(file, "a", -1, line); }), outcome(-1, {}));
    EXPECT_STREQ(line, "a:y\n");

    // At most 255 bytes are written.
    write_file("/tmp/f", "a" + std::string(300, ':') + "\n");
    file = freopen("/tmp/f", "r", file);
    char guarded[257];
    std::memset(guarded, '#', sizeof guarded);
    EXPECT_EQ(get_passwd_line(file, "a", -1, guarded), 0);
    EXPECT_EQ(std::string(guarded, sizeof guarded), "a" + std::string(253, ':') + '\0' + "##");
    fclose(file);
}

TEST_F(Local, DomainAccountsHaveFixedNumbers) {
    user_profile_t profile = unwritten();
    auto look_up = [&](const char *user, int wanted) {
        profile = unwritten();
        return call([&, wanted] { return get_info_from_local(&profile, user, wanted); });
    };
    EXPECT_EQ(look_up("a", 0), outcome(-1, {info("Open password file has failed.")}));
    write_file("/etc/passwd", "a:x&user&1:x\nother:x\n");
    EXPECT_EQ(look_up("b", 0), outcome(-1, {info("User:b does not found in local database."),
                                            info("Open password file has failed.")}));
    write_file("/tmp/domuser", "a:x&user&2:x\nb:x&admin&3&4&5&6&7&8:x\n");
    EXPECT_EQ(look_up("b", 0),
              outcome(0, {info("User:b does not found in local database."), line_step("User:b, type=admin."),
                          line_step("User:b has been found in local database."),
                          info("buf=b:x&admin&3&4&5&6&7&8:x\n"), info("User:b found in domain database.")}));
    EXPECT_EQ(show(profile), "b - 1 80 80 10 180 1 1");
    EXPECT_EQ(look_up("b", 2),
              outcome(-1, {info("User:b does not found in local database."), line_step("User:b, type=admin."),
                           info("buf="), info("User:b does not found in domain database.")}));
    EXPECT_EQ(show(profile), nothing);
    EXPECT_EQ(look_up("a", -1), outcome(0, {line_step("User:a does not have attributes.")}));
    EXPECT_EQ(show(profile), "a - 1 1 80 10 180 1 1");
}

TEST_F(Local, NamesThatDoNotFitAreRefused) {
    const std::string name31(31, 'n'), name32(32, 'n');
    user_profile_t profile = unwritten();
    auto look_up = [&](const std::string &user) {
        return call([&] { return get_info_from_local(&profile, user.c_str(), -1); });
    };
    const std::string attributes = line_step("User:" + name32 + " does not have attributes.");
    write_file("/etc/passwd", name32 + ":x\n");
    EXPECT_EQ(look_up(name32), outcome(-1, {attributes, info("User name is too long:" + name32 + ".")}));
    write_file("/etc/passwd", "");
    write_file("/tmp/domuser", name32 + ":x\n" + name31 + ":x\n");
    EXPECT_EQ(look_up(name32),
              outcome(-1, {info("User:" + name32 + " does not found in local database."), attributes,
                           info("buf=" + name32 + ":x\n"), info("User name is too long:" + name32 + ".")}));
    EXPECT_EQ(show(profile), nothing);
    EXPECT_EQ(look_up(name31).result, 0);
    EXPECT_EQ(profile.name, name31);
}

TEST_F(Local, NothingDisturbsTheCallersOwnStrtok) {
    write_file("/etc/passwd", "a:x&user&1&2:x\n");
    char words[] = "one two";
    user_profile_t profile;
    EXPECT_STREQ(std::strtok(words, " "), "one");
    EXPECT_EQ(call([&] { return get_info_from_local(&profile, "a", -1); }).result, 0);
    EXPECT_STREQ(std::strtok(nullptr, " "), "two");
}

TEST(UserTypes, TableAndDisplayNames) {
    const char *names[] = {"Administrator", "Limited-Admin", "Ext-User", "Ext-Group-User"};
    for (unsigned int i = 0; i < 4; ++i) EXPECT_STREQ(get_type_str_for_log(i), names[i]);
    for (unsigned int i : {4u, 5u, 0xffffffffu}) EXPECT_EQ(get_type_str_for_log(i), nullptr);
    EXPECT_EQ(def_user_profile[4].type_name, nullptr);
    free_user_profile(nullptr);
}

}  // namespace
