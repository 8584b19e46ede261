// Local and domain accounts.
#include "tests/users_fixture.h"

namespace {

class Local : public UsersTest {};

std::string step(const std::string &text) { return "|[get_info_from_local]" + text; }
std::string search(const std::string &text) { return "|[get_passwd_line]" + text; }

TEST_F(Local, ProfilesOfAccountLines) {
    const std::string pad(254, 'x'), name31(31, 'n'), name32(32, 'n');
    const std::string too_long = step("User name is too long:" + name32 + ".");
    const std::string unknown_locally = step("User:b does not found in local database.");
    const struct {
        std::string user;
        int wanted;
        std::string lines, seen, domain_lines = "";
    } rows[] = {
        {"alice", 0, "alice:x:500:500:Alice&admin&120&121&1440&1441&1&0:/home/alice:/bin/sh\n",
         "0 alice - 0 120 121 1440 1441 1 0|"},
        {"al", -1, "alice:x\na:x\nal:&limited-admin&1&2&3&4&5&6:x\n", "0 al - 4 1 2 3 4 5 6|"},
        // A field that is absent leaves the default, one without digits is 0.
        {"a", 1, "a:x&user&10& 9x&:rest\n", "0 a - 1 10 9 0 180 1 1|"},
        {"a", 2, "a:x&guest&-5&x&+7\n", "0 a - 2 -5 0 7 180 0 1|"},
        {"a", 4, "a:x&limited-admin&:/home\n", "0 a - 4 0 100 10 180 1 0|"},
        // Runs of separators count as one, in front of the name and of the attributes, too.
        {"a", 0, "::a::x&admin&&130:x\n", "0 a - 0 130 120 10 180 1 0|"},
        {"&a", 0, "&a:x&&&admin&&&1&&2&3&4&5&:/6:x\n", "0 &a - 0 1 2 3 4 5 0|"},
        {"a", 0, "a:x&admin&1&2&3&4&5&&6:/h\n", "0 a - 0 1 2 3 4 5 6|"},
        {"a", 1, "a:x&user&1&2&3&4&5&:/h\n", "0 a - 1 1 2 3 4 5 1|"},
        {"a", 1, "a:x&user&1&2&3&4&5&:7:\n", "0 a - 1 1 2 3 4 5 1|"},
        // The beginning of a word decides, once the line was taken; it goes on over ':'.
        {"a", -1, "a:x&administrator&1:x\n", "0 a - 0 1 120 10 180 1 0|"},
        {"a", -1, "a:x&ext-group-user&1:x\n", "0 a - 2 1 50 10 180 0 1|"},
        {"bob", -1, "bob:x:Bob&user:/home/bob:/bin/sh\n", "0 bob - 1 80 80 10 180 1 1|"},
        {"bob", 1, "bob:x:Bob&user:/home/bob:/bin/sh\n", "-1 -|"},
        {"a", -1, "a", "0 a - 2 50 50 10 180 0 1|"},
        // The first line with the wanted word, which other codes have, too.
        {"a", 0, "a:x&user&2:x\na:x\na:x&administrator&1:x\na:x&admin&3:x\na:x&admin&4:x\n",
         "0 a - 0 3 120 10 180 1 0|"},
        {"a", 9, "a:x&user&1:x\na:x&ext-user&2:x\n", "0 a - 1 2 80 10 180 1 1|"},
        // A long line counts as several.
        {"end", 0, pad + "end:x&admin&5:x\n", "0 end - 0 5 120 10 180 1 0|"},
        {"a", 0, "a:x&user" + pad + "\na:x&admin&7:x\n", "0 a - 0 7 120 10 180 1 0|"},
        // Lines of no user, and of another user.
        {"", -1, ":::\n\n::", "-1 -|"},
        {"\n", -1, ":::\n\n", "-1 -|"},
        {"alice", -1, "al:x\n", "-1 -|"},
        // Domain users have fixed numbers.
        {"b", 0, "",
         "0 b - 1 80 80 10 180 1 1" + unknown_locally + search("User:b, type=admin.") +
             search("User:b has been found in local database.") + step("buf=b:x&admin&3&4&5&6&7&8:x\n") +
             step("User:b found in domain database."),
         "a:x&user&2:x\nb:x&admin&3&4&5&6&7&8:x\n"},
        {"b", 2, "",
         "-1 -" + unknown_locally + search("User:b, type=admin.") + step("buf=") +
             step("User:b does not found in domain database."),
         "b:x&admin&1:x"},
        // Names that do not fit
        {name31, -1, name31 + ":x\n", "0 " + name31 + " - 2 50 50 10 180 0 1|"},
        {name32, -1, name32 + ":x\n", "-1 -" + search("User:" + name32 + " does not have attributes.") + too_long},
        {name32, 1, "", "-1 -|", name32 + ":x&user&:x\n"},
    };
    auto look_up = [](const std::string &user, int wanted) {
        return filled([=](auto *profile, auto *name) { return get_info_from_local(profile, name, wanted); }, user);
    };
    EXPECT_EQ(look_up("b", 0), "-1 -" + step("Open password file has failed."));
    write_file("/etc/passwd", "");
    EXPECT_EQ(look_up("b", 0), "-1 -" + unknown_locally + step("Open password file has failed."));
    for (const auto &row : rows) {
        write_file("/etc/passwd", row.lines);
        write_file("/tmp/domuser", row.domain_lines);
        EXPECT_THAT(look_up(row.user, row.wanted), testing::StartsWith(row.seen)) << row.lines;
    }
}

TEST_F(Local, SearchesGoOnBehindTheLineFound) {
    write_file("/tmp/f", "a:x&user&1:x\na:x\nb:x&admin&1\na:x&admin&2:x\na" + std::string(300, ':') + "\n");
    FILE *file = fopen("/tmp/f", "r");
    char line[257] = "";
    line[255] = '#';
    auto next = [&](int wanted) { return seen([&] { return get_passwd_line(file, "a", wanted, line); }); };
    EXPECT_EQ(next(0), "0" + search("User:a, type=user.") + search("User:a, type=admin.") +
                           search("User:a has been found in local database."));
    EXPECT_STREQ(line, "a:x&admin&2:x\n");
    EXPECT_EQ(next(-1), "0" + search("User:a does not have attributes."));
    EXPECT_EQ(next(-1), "-1");
    EXPECT_EQ(line, "a" + std::string(253, ':'));
    EXPECT_EQ(line[255], '#');
    fclose(file);
}

TEST(UserTypes, DisplayNamesEndWithTheTable) {
    EXPECT_STREQ(get_type_str_for_log(0), "Administrator");
    EXPECT_STREQ(get_type_str_for_log(3), "Ext-Group-User");
    EXPECT_EQ(get_type_str_for_log(4), nullptr);
}

}  // namespace
