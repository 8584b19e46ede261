// The LDAP settings, the search tool's command line, process and output, with a stand-in for the tool.
#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <functional>

#include "tests/users_fixture.h"

namespace {

const std::string four = "host h\nport 389\nbase dc=x\npam_login_attribute uid\n";
const std::string entry = "dn: uid=a\nuid: a\ntype: admin\nleaseTime: 60\nreauthTime: 30\n";
const std::string success = "\nsearch: 2\nresult: 0 Success\n";
const std::string found = "a - 0 120 120 60 30 1 0", nothing = show(unwritten());

class Ldap : public UsersTest {
protected:
    void SetUp() override {
        UsersTest::SetUp();
        settings(four + "timelimit 2\n");
        tool("say /tmp/answer\n");
        write_file("/tmp/answer", entry + success);
        write_file("/tmp/entry", entry);
        write_file("/tmp/result", success);
        ASSERT_EQ(symlink(LDAP_TOOL, "/bin/ldapsearch"), 0);
    }

    static void settings(const std::string &text) { write_file("/etc/http_ldap.conf", text); }
    static void tool(const std::string &commands) { write_file("/tmp/tool", commands); }

    Outcome look_up(const std::string &user) {
        unlink("/tmp/tool.arguments");
        profile_ = unwritten();
        auto start = std::chrono::steady_clock::now();
        Outcome seen = call([&] { return get_info_from_ldap(&profile_, user.c_str()); });
        elapsed_ = static_cast<int>((std::chrono::steady_clock::now() - start) / std::chrono::milliseconds(1));
        return seen;
    }

    user_profile_t profile_;
    int elapsed_ = 0;  // milliseconds
};

std::string search(const std::string &text) { return "[do_ldapsearch]" + text; }

#ifdef KAVEX_HIDE_BIND_PASSWORD
const std::string shown_pw = "********";
#else
const std::string shown_pw = "pw";
#endif

TEST_F(Ldap, SettingsAreStoredAsTheyStand) {
    struct Row {
        std::string text;
        int result;
        std::string values;
    } rows[] = {
        {"", 0, "||||||0 10"},
        {four, 0, "h\n|389\n|dc=x\n|uid\n|||0 10"},
        {"binddn cn=a b\nbindpw  p \nssl yes!\ntimelimit  7x\n", 0, "||||cn=a b\n| p \n|1 7"},
        {"ssl yes\nssl no\ntimelimit x\nport 1\nport 2", 0, "|2|||||0 0"},
        {"  host a\nhost\nport\nHost c\nxport 3\n   \n\nssl\nbase", 0, "a\n||||||0 10"},
        {"host a b c\n", 1, "a b c\n||||||0 10"},
        {"host  a", 0, " a||||||0 10"},
        {"host " + std::string(126, 'h') + "\nport 123456\n", 0, std::string(126, 'h') + "\n|123456\n|||||0 10"},
        {"#" + std::string(600, 'h') + " host x\nport 5\n", 0, "|5\n|||||0 10"},
    };
    for (const Row &row : rows) {
        settings(row.text);
        char host[128], port[8], base[256], attribute[64], dn[128], password[128];
        int ssl = 9, limit = 9;
        EXPECT_EQ(call([&] {
                      return get_ldap_server_info(host, port, base, attribute, dn, password, &ssl, &limit);
                  }), outcome(row.result, {}));
        EXPECT_EQ(std::string(host) + "|" + port + "|" + base + "|" + attribute + "|" + dn + "|" + password + "|" +
                      std::to_string(ssl) + " " + std::to_string(limit), row.values) << row.text;
    }
}

TEST_F(Ldap, SettingsThatCannotBeUsed) {
    const std::string failed = "Get LDAP server information has failed.";
    struct Row {
        std::string text, message;
    } rows[] = {
        {"port 389\nbase dc=x\npam_login_attribute uid\n", ""},
        {"host h\nport \nbase dc=x\npam_login_attribute uid\n", ""},
        {"host h\nport 389\nbase\npam_login_attribute uid\n", ""},
        {"host h\nport 389\nbase dc=x", ""},
        {four + "host " + std::string(127, 'h') + "\n", "LDAP setting host is too long."},
        {four + "port 1234567\nport 1\n", "LDAP setting port is too long."},
        {four + "base " + std::string(300, 'b') + "\n", "LDAP setting base is too long."},
        {four + "base b" + std::string(300, ' ') + "\n", "LDAP setting base is too long."},
        {four + "pam_login_attribute " + std::string(63, 'a') + "\n", "LDAP setting pam_login_attribute is too long."},
        {four + "binddn " + std::string(127, 'd') + "\n", "LDAP setting binddn is too long."},
        {four + "bindpw " + std::string(127, 'p') + "\n", "LDAP setting bindpw is too long."},
    };
    for (const Row &row : rows) {
        settings(row.text);
        EXPECT_EQ(look_up("a"), row.message.empty() ? outcome(-1, {failed}) : outcome(-1, {row.message, failed}))
            << row.text;
    }
    unlink("/etc/http_ldap.conf");
    EXPECT_EQ(look_up("a"), outcome(-1, {"Open http_ldap configuration file has failed.", failed}));
    EXPECT_FALSE(file_exists("/tmp/tool.arguments"));
}

TEST_F(Ldap, OutputIsSearchedForTheFourMarkers) {
    auto end = [](const char *name) { return "Cannot find " + std::string(name) + " in LDAP search result."; };
    const std::string rest = "leaseTime: 1\nreauthTime: 2\nresult: 0\n";
    struct Row {
        std::string text;
        Outcome seen;
        std::string profile;
    } rows[] = {
        {entry + success, outcome(1, {}), found},
        {"result: 4\ntype: limited-admin x\nleaseTime: -1x\nreauthTime: z", outcome(1, {}), "a - 4 100 100 -1 0 1 0"},
        {"type: administrator\n" + rest, outcome(1, {}), "a - 0 120 120 1 2 1 0"},
        {"type: users\n" + rest, outcome(1, {}), "a - 1 80 80 1 2 1 1"},
        {"type: ext-user\n" + rest, outcome(1, {}), "a - 1 80 80 1 2 1 1"},
        {"type: ext-group-user\n" + rest, outcome(1, {}), "a - 2 50 50 1 2 0 1"},
        {"type:admin\n" + rest, outcome(1, {}), "a - 2 50 50 1 2 0 1"},
        {"mytype: user\ntype: admin\n" + rest, outcome(1, {}), "a - 1 80 80 1 2 1 1"},
        {"type: admin\n" + rest + "type: user\nleaseTime: 8\nreauthTime: 9\nresult: 32\n", outcome(1, {}),
         "a - 0 120 120 1 2 1 0"},
        {entry, outcome(0, {"LDAP search result does not found."}), nothing},
        {"", outcome(0, {"LDAP search result does not found."}), nothing},
        {entry + "result: 32\n", outcome(0, {"LDAP search result does not be zero:32."}), nothing},
        {"result: 0", outcome(0, {end("type")}), "a - 7 7 7 7 7 7 7"},
        {"result: 0\ntype: user", outcome(0, {end("leaseTime")}), "a - 1 80 80 7 7 1 1"},
        {"result: 0\ntype: user\nleaseTime: 5", outcome(0, {end("reauthTime")}), "a - 1 80 80 5 7 1 1"},
        {"result: 0\nleaseTime: 5\nreauthTime: 6\ntype:", outcome(1, {}), "a - 2 50 50 5 6 0 1"},
        {"type: user\nleaseTime: 5\nreauthTime: 6\nresult:", outcome(1, {}), "a - 1 80 80 5 6 1 1"},
    };
    for (const Row &row : rows) {
        // In a block of its own size, so that reading past its end shows; behind it something that would count.
        std::string text = row.text + '\0' + "admin 32 7 7 7";
        user_profile_t profile = unwritten();
        EXPECT_EQ(call([&] { return parse_search_result(text.data(), &profile, "a"); }), row.seen) << row.text;
        EXPECT_EQ(show(profile), row.profile) << row.text;
    }
    const std::string name32(32, 'n');
    std::string text = entry + success;
    user_profile_t profile = unwritten();
    EXPECT_EQ(call([&] { return parse_search_result(text.data(), &profile, name32.c_str()); }),
              outcome(0, {"[parse_search_result]User name is too long:" + name32 + "."}));
    EXPECT_EQ(show(profile), nothing);
}

TEST_F(Ldap, SettingsAndUserMakeTheCommandLine) {
    struct Row {
        std::string settings, info, command, arguments;
    } rows[] = {
        {"", "h 389 dc=x uid   0 10", "/bin/ldapsearch -z 1 -H ldap://h:389 -x -b \"dc=x\" \"(uid=a)\"",
         "</bin/ldapsearch><-z><1><-H><ldap://h:389><-x><-b><dc=x><(uid=a)>\n"},
        {"ssl no\nbindpw pw\n", "h 389 dc=x uid  " + shown_pw + " 0 10",
         "/bin/ldapsearch -z 1 -H ldap://h:389 -x -b \"dc=x\" \"(uid=a)\"",
         "</bin/ldapsearch><-z><1><-H><ldap://h:389><-x><-b><dc=x><(uid=a)>\n"},
        {"ssl yes\ntimelimit 3\nbinddn cn=a, b\nbindpw pw\n", "h 389 dc=x uid cn=a, b " + shown_pw + " 1 3",
         "/bin/ldapsearch -z 1 -H ldaps://h:389 -x -b \"dc=x\" -D \"cn=a, b\" -w \"" + shown_pw + "\" \"(uid=a)\"",
         "</bin/ldapsearch><-z><1><-H><ldaps://h:389><-x><-b><dc=x><-D><cn=a, b><-w><pw><(uid=a)>\n"},
        // Quotes with and without a backslash; what does not begin an argument is skipped; the empty argument.
        {"base a\\\"b\\\"\nport 1  $=2\nbinddn \\\"\n", "h 1  $=2 a\\\"b\\\" uid \\\"  0 10",
         "/bin/ldapsearch -z 1 -H ldap://h:1  $=2 -x -b \"a\\\"b\\\"\" -D \"\\\"\" -w \"\" \"(uid=a)\"",
         "</bin/ldapsearch><-z><1><-H><ldap://h:1><2><-x><-b><a\"b\"><-D><\"><-w><><(uid=a)>\n"},
        {"base a\" $x$ \"b\n", "h 389 a\" $x$ \"b uid   0 10",
         "/bin/ldapsearch -z 1 -H ldap://h:389 -x -b \"a\" $x$ \"b\" \"(uid=a)\"",
         "</bin/ldapsearch><-z><1><-H><ldap://h:389><-x><-b><a><x$><b><(uid=a)>\n"},
        {"pam_login_attribute u", "h 389 dc=x u   0 10",
         "/bin/ldapsearch -z 1 -H ldap://h:389 -x -b \"dc=x\" \"(u=a)\"",
         "</bin/ldapsearch><-z><1><-H><ldap://h:389><-x><-b><dc=x><(u=a)>\n"},
    };
    for (const Row &row : rows) {
        settings(four + row.settings);
        EXPECT_EQ(look_up("a"), outcome(0, {"ldap info: " + row.info + "\n", "ldap cmd: " + row.command + "\n",
                                            search("LDAP server h. Found user record.")}));
        EXPECT_EQ(read_file("/tmp/tool.arguments"), row.arguments);
        EXPECT_EQ(show(profile_), found);
    }
}

TEST_F(Ldap, CommandLinesEndAt511Bytes) {
    const std::string base(200, 'b'), dn(126, 'd');
    const std::string before = "/bin/ldapsearch -z 1 -H ldap://h:389 -x -b \"" + base + "\" -D \"" + dn + "\" -w \"";
    const std::string after = "\" \"(uid=a)\"";
    for (size_t length : {511u, 512u}) {
        const std::string password(length - before.size() - after.size(), 'p');
        settings(four + "base " + base + "\nbinddn " + dn + "\nbindpw " + password + "\n");
        Outcome seen = look_up("a");
        EXPECT_EQ(seen.result, length == 511 ? 0 : -1);
        EXPECT_EQ(file_exists("/tmp/tool.arguments"), length == 511);
        if (length == 511) { EXPECT_THAT(read_file("/tmp/tool.arguments"), testing::HasSubstr("<" + password + "><(uid=a)>")); }
        else { EXPECT_THAT(seen.log, testing::EndsWith(search("LDAP command line is too long. User:a."))); }
    }
}

TEST_F(Ldap, UserNamesStayWithinTheFilter) {
    struct Row {
        const char *user, *filter;
    } rows[] = {
        {"a b", "(uid=a b)"},       {"*", "(uid=\\2a)"},        {"a)(uid=*", "(uid=a\\29\\28uid=\\2a)"},
        {"a\\", "(uid=a\\5c)"},     {"a\\b", "(uid=a\\5cb)"},   {"a\"b", "(uid=a\"b)"},
        {"a\\\"b", "(uid=a\"b)"},   {"\"", "(uid=\")"},         {"\\\\\"", "(uid=\\5c\")"},
        {"\"\"\"", "(uid=\"\"\")"}, {"$;`|&", "(uid=$;`|&)"},   {"a\" -H ldap://6.6.6.6 \"", "(uid=a\" -H ldap://6.6.6.6 \")"},
        {"", "(uid=)"},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(look_up(row.user).result, 0);
        EXPECT_EQ(read_file("/tmp/tool.arguments"),
                  "</bin/ldapsearch><-z><1><-H><ldap://h:389><-x><-b><dc=x><" + std::string(row.filter) + ">\n");
        EXPECT_STREQ(profile_.name, row.user);
    }
}

TEST_F(Ldap, ServersAreAskedInTurn) {
    auto command = [](const std::string &host) {
        return "ldap cmd: /bin/ldapsearch -z 1 -H ldap://" + host + ":389 -x -b \"dc=x\" \"(uid=a)\"\n";
    };
    const std::string info = "ldap info: a b c 389 dc=x uid   0 10\n";
    settings(four + "host a b c\n");
    tool("only //b:\nsay /tmp/answer\n");
    EXPECT_EQ(look_up("a"),
              outcome(0, {info, command("a"), search("LDAP server a. Read return: 0(Success)."), command("b"),
                          search("LDAP server b. Found user record.")}));
    EXPECT_EQ(show(profile_), found);
    tool("only //d:\n");
    EXPECT_EQ(look_up("a"),
              outcome(-1, {info, command("a"), search("LDAP server a. Read return: 0(Success)."), command("b"),
                           search("LDAP server b. Read return: 0(Success)."), command("c"),
                           search("LDAP server c. Read return: 0(Success).")}));
    settings(four + "host a b c\ntimelimit 0\n");  // for each server
    tool("hang\n");
    EXPECT_EQ(look_up("a"),
              outcome(-1, {"ldap info: a b c 389 dc=x uid   0 0\n", command("a"),
                           search("LDAP server a. Timeout 0 secs."), command("b"),
                           search("LDAP server b. Timeout 0 secs."), command("c"),
                           search("LDAP server c. Timeout 0 secs.")}));
}

TEST_F(Ldap, WhateverTheToolDoesTheCallReturnsInTime) {
    const std::string good = "Found user record.", absent = "User:a does not exist.", eof = "Read return: 0(Success).";
    const std::string full = std::string(1024 - entry.size() - 7, '#') + entry + "result:";
    write_file("/tmp/full", full + " 0 Success\n");
    write_file("/tmp/longer", "#" + full + " 0 Success\n");
    struct Row {
        int limit;
        std::string commands, message;
        int at_least, at_most;  // milliseconds
    } rows[] = {
        {5, "say /tmp/entry\nsleep 200\nsay /tmp/result\n", good, 200, 490},
        {5, "say /tmp/entry\nsleep 900\nsay /tmp/result\n", absent, 500, 890},
        {1, "sleep 800\nsay /tmp/entry\nsleep 400\nsay /tmp/result\n", absent, 1000, 1190},
        {5, "say /tmp/answer\nhang\n", good, 500, 900},
        {5, "say /tmp/answer\nclose\nhang\n", good, 0, 400},
        {5, "say /tmp/answer\ndie\n", good, 0, 400},
        {5, "deaf\nsay /tmp/answer\nclose\nhang\n", good, 2000, 2500},
        {5, "say /tmp/full\n", good, 0, 400},
        {5, "say /tmp/longer\n", absent, 0, 400},
        {5, "flood\n", absent, 500, 900},
        {5, "die\n", eof, 0, 400},
        {5, "close\nhang\n", eof, 0, 400},
        {1, "hang\n", "Timeout 1 secs.", 1000, 1400},
        {1, "deaf\nhang\n", "Timeout 1 secs.", 3000, 3500},
        {0, "hang\n", "Timeout 0 secs.", 0, 400},
        {-1, "hang\n", "Select error:Invalid argument.", 0, 400},
    };
    for (const Row &row : rows) {
        settings(four + "timelimit " + std::to_string(row.limit) + "\n");
        tool(row.commands);
        Outcome seen = look_up("a");
        EXPECT_EQ(seen.result, row.message == good ? 0 : -1) << row.commands;
        EXPECT_THAT(seen.log, testing::EndsWith(search("LDAP server h. " + row.message))) << row.commands;
        EXPECT_EQ(show(profile_), row.message == good ? found : nothing) << row.commands;
        EXPECT_GE(elapsed_, row.at_least) << row.commands;
        EXPECT_LE(elapsed_, row.at_most) << row.commands;
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << row.commands;
    }
}

TEST_F(Ldap, WhatTheSystemRefusesIsLogged) {
    struct Row {
        const char *function;
        int error;
        std::string message;
    } rows[] = {
        {"pipe", EMFILE, search("Cannot create pipe for ldapsearch:Too many open files.")},
        {"fork", EAGAIN, search("Cannot fork for ldapsearch:Resource temporarily unavailable.")},
        {"read", EIO, search("LDAP server h. Read return: -1(Input/output error).")},
    };
    for (const Row &row : rows) {
        faults::fail(row.function, row.error);
        Outcome seen = look_up("a");
        EXPECT_EQ(seen.result, -1);
        EXPECT_THAT(seen.log, testing::EndsWith(row.message));
    }

    // A tool that cannot be run: nothing that this process has in its buffers reaches the pipe.
    unlink("/bin/ldapsearch");
    std::fputs("type: admin leaseTime: 1 reauthTime: 1 result: 0", stdout);
    Outcome seen = look_up("a");
    std::fputs("\n", stdout);
    EXPECT_THAT(seen.log, testing::EndsWith(search("LDAP server h. Read return: 0(Success).")));
    EXPECT_EQ(seen.err, user_log({search("Cannot execute command:/bin/ldapsearch -z 1 -H ldap://h:389 -x -b \"dc=x\" "
                                         "\"(uid=a)\" (No such file or directory).")}));
    EXPECT_EQ(show(profile_), nothing);
}

// The caller is a process of its own each time.
TEST_F(Ldap, TheCallersSignalsAndDescriptorsPlayNoPart) {
    auto ignore_all = [] {
        for (int number = 1; number < NSIG; ++number) signal(number, SIG_IGN);
    };
    auto block_all = [] {
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_SETMASK, &all, nullptr);
    };
    auto reap_all = [] {
        signal(SIGCHLD, [](int) {
            while (waitpid(-1, nullptr, WNOHANG) > 0) {}
        });
    };
    auto interrupt = [] {
        struct sigaction action = {};
        action.sa_handler = [](int) {};
        sigaction(SIGALRM, &action, nullptr);
        itimerval each_ms = {{0, 1000}, {0, 1000}};
        setitimer(ITIMER_REAL, &each_ms, nullptr);
    };
    auto open_many = [] {
        rlimit limit = {2000, 2000};
        setrlimit(RLIMIT_NOFILE, &limit);
        int last = 0;
        for (int i = 0; i < 1200; ++i) last = open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (last < 1024) _exit(7);
    };
    struct Row {
        const char *name;
        std::function<void()> prepare;
    };
    std::vector<Row> rows = {{"ignores all signals", ignore_all},
                             {"ignores SIGCHLD", [] { signal(SIGCHLD, SIG_IGN); }},
                             {"blocks all signals", block_all},
                             {"reaps all children", reap_all},
                             {"is interrupted all the time", interrupt},
                             {"has many descriptors", open_many}};
    for (int closed = 1; closed < 8; ++closed)
        rows.push_back({"has descriptors closed", [closed] {
                            for (int fd = 0; fd < 3; ++fd)
                                if (closed & (1 << fd)) close(fd);
                        }});
    settings(four + "timelimit 3\n");
    tool("look\nsay /tmp/entry\nsleep 50\nsay /tmp/result\n");
    for (const Row &row : rows) {
        write_file("/tmp/tool.state", "");
        pid_t caller = fork();
        if (caller == 0) {
            row.prepare();
            user_profile_t profile = unwritten();
            int result = get_info_from_ldap(&profile, "a");
            _exit(result == 0 && show(profile) == found ? 0 : 1);
        }
        int status = -1;
        EXPECT_EQ(waitpid(caller, &status, 0), caller);
        EXPECT_EQ(status, 0) << row.name;
        EXPECT_EQ(read_file("/tmp/tool.state"),
                  "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\ndescriptor 0\ndescriptor 1\ndescriptor 2\n")
            << row.name;
    }
}

TEST_F(Ldap, OtherChildrenOfTheCallerAreLeftToIt) {
    pid_t other = fork();
    if (other == 0) _exit(42);
    usleep(20000);
    EXPECT_EQ(look_up("a").result, 0);
    int status = 0;
    EXPECT_EQ(waitpid(other, &status, 0), other);
    EXPECT_EQ(WEXITSTATUS(status), 42);
}

volatile int *handled;

TEST_F(Ldap, NoHandlerOfTheCallerRunsInTheChild) {
    void *shared = mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(shared, MAP_FAILED);
    handled = static_cast<int *>(shared);
    auto before = signal(SIGTERM, [](int) { *handled = *handled + 1; });
    settings(four + "timelimit 0\n");  // SIGTERM follows at once, often before the tool has begun
    tool("hang\n");
    for (int i = 0; i < 200; ++i) look_up("a");
    signal(SIGTERM, before);
    EXPECT_EQ(*handled, 0);
    munmap(shared, sizeof(int));
}

}  // namespace
