// The LDAP settings, the search tool's command line, process and output, with a stand-in for the tool.
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>

#include "tests/users_fixture.h"

namespace {

using testing::AllOf, testing::EndsWith, testing::StartsWith;

const std::string four = "host h\nport 389\nbase dc=x\npam_login_attribute uid\n";
const std::string entry = "dn: uid=a\nuid: a\ntype: admin\nleaseTime: 60\nreauthTime: 30\n";
const std::string success = "\nsearch: 2\nresult: 0 Success\n";
const std::string found = " - 0 120 120 60 30 1 0", search = "|[do_ldapsearch]";

#ifdef KAVEX_HIDE_BIND_PASSWORD
const std::string shown_pw = "********";
#else
const std::string shown_pw = "pw";
#endif

void settings(const std::string &text) { write_file("/etc/http_ldap.conf", text); }

class Ldap : public UsersTest {
protected:
    void SetUp() override {
        UsersTest::SetUp();
        settings(four + "timelimit 2\n");
        write_file("/tmp/answer", entry + success);
        write_file("/tmp/entry", entry);
        write_file("/tmp/result", success);
        search_tool("cat /tmp/answer");
    }
};

std::string look_up(const std::string &user = "a") {
    unlink("/tmp/arguments");
    return filled(get_info_from_ldap, user);
}

TEST_F(Ldap, SettingsAreStoredAsTheyStand) {
    const std::pair<std::string, std::string> rows[] = {
        {four, "h\n|389\n|dc=x\n|uid\n|||0 10 0 "},
        // "-" is what the caller put there.
        {"", "-|-|-|-|||0 10 0 "},
        {"binddn cn=a b\nbindpw  p \nssl yes!\ntimelimit  7x\n", "-|-|-|-|cn=a b\n| p \n|1 7 0 "},
        {"ssl yes\nssl no\ntimelimit x\nport 1\nport 2", "-|2|-|-|||0 0 0 "},
        {"  host a\nhost\nport\nHost c\nxport 3\n   \n\nssl\nbase", "a\n|-|-|-|||0 10 0 "},
        {"host a b c\n", "a b c\n|-|-|-|||0 10 1 "},
        {"host  a", " a|-|-|-|||0 10 0 "},
        {"port 123456\n#" + std::string(600, '#') + " host x\nbase y", "-|123456\n|y|-|||0 10 0 "},
    };
    for (const auto &[text, expected] : rows) {
        settings(text);
        char host[128] = "-", port[8] = "-", base[256] = "-", attribute[64] = "-", dn[128] = "-", password[128] = "-";
        int ssl = 9, limit = 9, result = get_ldap_server_info(host, port, base, attribute, dn, password, &ssl, &limit);
        std::string values;
        for (const char *value : {host, port, base, attribute, dn, password}) values += value + std::string("|");
        for (int number : {ssl, limit, result}) values += std::to_string(number) + " ";
        EXPECT_EQ(values, expected) << text;
    }
}

TEST_F(Ldap, SettingsThatCannotBeUsed) {
    const std::string failed = "|Get LDAP server information has failed.";
    EXPECT_EQ(unlink("/etc/http_ldap.conf"), 0);
    EXPECT_EQ(look_up(), "-1 -|Open http_ldap configuration file has failed." + failed);
    for (const char *missing : {"host h\n", "port 389\n", "base dc=x\n", "pam_login_attribute uid\n"}) {
        settings(std::string(four).erase(four.find(missing), std::strlen(missing)));
        EXPECT_EQ(look_up(), "-1 -" + failed);
    }
    for (const auto &[key, size] : {std::pair("host ", 128),
                                    {"port ", 8},
                                    {"base ", 300},
                                    {"pam_login_attribute ", 64},
                                    {"binddn ", 128},
                                    {"bindpw ", 128}}) {
        // With the line feed it has the size of the buffer.
        settings(four + key + std::string(static_cast<size_t>(size) - 1, ' ') + "\n" + key + "v\n");
        EXPECT_EQ(look_up(), "-1 -|LDAP setting " + std::string(key) + "is too long." + failed);
    }
}

TEST_F(Ldap, OutputIsSearchedForTheFourMarkers) {
    const std::string rest = "leaseTime: 1\nreauthTime: 2\nresult: 0\n";
    const std::pair<std::string, std::string> rows[] = {
        {entry + success, "1 a" + found},
        {"result: 4\ntype: limited-admin x\nleaseTime: -1x\nreauthTime: z", "1 a - 4 100 100 -1 0 1 0"},
        {"type:admin\n" + rest, "1 a - 2 50 50 1 2 0 1"},
        // The first of each counts, also in longer names.
        {"mytype: users\ntype: admin\n" + rest + "leaseTime: 8\nreauthTime: 9\nresult: 32\n", "1 a - 1 80 80 1 2 1 1"},
        // A marker at the very end, behind which something follows in memory.
        {"result: 0\nleaseTime: 5\nreauthTime: 6\ntype:", "1 a - 2 50 50 5 6 0 1"},
        {entry, "0 -|LDAP search result does not found."},
        {entry + "result: 32\n", "0 -|LDAP search result does not be zero:32."},
        {"result: 0", "0 a - 7 7 7 7 7 7 7|Cannot find type in LDAP search result."},
        {"result: 0\ntype: user", "0 a - 1 80 80 7 7 1 1|Cannot find leaseTime in LDAP search result."},
        {"result: 0\ntype: user\nleaseTime: 5", "0 a - 1 80 80 5 7 1 1|Cannot find reauthTime in LDAP search result."},
    };
    auto parse = [](const std::string &user, std::string text) {
        return filled([&](auto *profile, auto *name) { return parse_search_result(text.data(), profile, name); }, user);
    };
    for (const auto &[text, result] : rows) EXPECT_EQ(parse("a", text + '\0' + "admin 32 7 7 7"), result) << text;
    const std::string name32(32, 'n');
    EXPECT_EQ(parse(name32, entry + success), "0 -|[parse_search_result]User name is too long:" + name32 + ".");
}

TEST_F(Ldap, SettingsAndUserMakeTheCommandLine) {
    const struct {
        std::string settings, info, command, arguments;
    } rows[] = {
        {"ssl no\nbindpw pw\n", "h 389 dc=x uid  " + shown_pw + " 0 10", "://h:389 -x -b \"dc=x\" \"(uid=a)\"",
         "://h:389><-x><-b><dc=x><(uid=a)>"},
        {"ssl yes\ntimelimit 3\nbinddn cn=a, b\nbindpw pw\n", "h 389 dc=x uid cn=a, b " + shown_pw + " 1 3",
         "s://h:389 -x -b \"dc=x\" -D \"cn=a, b\" -w \"" + shown_pw + "\" \"(uid=a)\"",
         "s://h:389><-x><-b><dc=x><-D><cn=a, b><-w><pw><(uid=a)>"},
        // Quotes with and without a backslash; what does not begin an argument is skipped; the empty argument.
        {"base a\\\"b\\\"\nport 1  $=2\nbinddn \\\"\n", "h 1  $=2 a\\\"b\\\" uid \\\"  0 10",
         "://h:1  $=2 -x -b \"a\\\"b\\\"\" -D \"\\\"\" -w \"\" \"(uid=a)\"",
         "://h:1><2><-x><-b><a\"b\"><-D><\"><-w><><(uid=a)>"},
        {"base \n", "h 389  uid   0 10", "://h:389 -x -b \"\" \"(uid=a)\"", "://h:389><-x><-b><><(uid=a)>"},
        {"base a\" $z$ Z 9 0 A \"b\npam_login_attribute u", "h 389 a\" $z$ Z 9 0 A \"b u   0 10",
         "://h:389 -x -b \"a\" $z$ Z 9 0 A \"b\" \"(u=a)\"", "://h:389><-x><-b><a><z$><Z><9><0><A><b><(u=a)>"},
    };
    for (const auto &row : rows) {
        settings(four + row.settings);
        EXPECT_EQ(look_up(), "0 a" + found + "|ldap info: " + row.info + "\n|ldap cmd: /bin/ldapsearch -z 1 -H ldap" +
                                 row.command + "\n" + search + "LDAP server h. Found user record.");
        EXPECT_EQ(read_file("/tmp/arguments"), "</bin/ldapsearch><-z><1><-H><ldap" + row.arguments);
    }

    // 511 bytes at most
    const size_t others = std::strlen(R"-(/bin/ldapsearch -z 1 -H ldap://h:389 -x -b "" -D "" -w "" "(uid=a)")-");
    const std::string base(200, 'b'), dn(126, 'd'), password(511 - others - base.size() - dn.size(), 'p');
    settings(four + "base " + base + "\nbinddn " + dn + "\nbindpw " + password + "\n");
    EXPECT_THAT(look_up("a"), StartsWith("0 a" + found));
    EXPECT_THAT(read_file("/tmp/arguments"), EndsWith("<" + password + "><(uid=a)>"));
    EXPECT_THAT(look_up("aa"), EndsWith(search + "LDAP command line is too long. User:aa."));
    EXPECT_FALSE(file_exists("/tmp/arguments"));
    const std::string name32(32, 'n');
    EXPECT_EQ(look_up(name32), "-1 -|[get_info_from_ldap]User name is too long:" + name32 + ".");
}

TEST_F(Ldap, ServersAreAskedInTurn) {
    auto asked = [](const std::string &host, const std::string &outcome) {
        return "|ldap cmd: /bin/ldapsearch -z 1 -H ldap://" + host + ":389 -x -b \"dc=x\" \"(uid=a)\"\n" + search +
               "LDAP server " + host + ". " + outcome;
    };
    const std::string info = "|ldap info: a b c 389 dc=x uid   0 0\n", timeout = "Timeout 0 secs.";
    settings(four + "host a b c\ntimelimit 0\n");  // for each server
    search_tool("exec sleep 9");
    EXPECT_EQ(look_up(), "-1 -" + info + asked("a", timeout) + asked("b", timeout) + asked("c", timeout));
    settings(four + "host a b c\n");
    search_tool("case $* in *//b:*) cat /tmp/answer; esac");
    EXPECT_THAT(look_up(), EndsWith(asked("a", "Read return: 0(Success).") + asked("b", "Found user record.")));
}

TEST_F(Ldap, WhateverTheToolDoesTheCallReturnsInTime) {
    const std::string good = "Found user record.", absent = "User:a does not exist.", eof = "Read return: 0(Success).";
    const std::string full = std::string(1024 - entry.size() - 7, '#') + entry + "result:";
    write_file("/tmp/full", full + " 0 Success\n");
    write_file("/tmp/longer", "#" + full + " 0 Success\n");
    const struct {
        int limit;
        const char *commands;
        std::string message;
        int at_least, at_most;  // milliseconds
    } rows[] = {
        {5, "cat /tmp/entry; sleep .2; cat /tmp/result", good, 200, 490},
        {5, "cat /tmp/entry; sleep .7; cat /tmp/result", absent, 500, 690},
        {1, "sleep .8; cat /tmp/entry; sleep .4; cat /tmp/result", absent, 1000, 1190},
        {5, "cat /tmp/answer; exec sleep 9", good, 500, 900},
        {5, "cat /tmp/answer; kill -9 $$", good, 0, 400},
        {5, "trap '' TERM; cat /tmp/answer; exec sleep 9 >&-", good, 2000, 2500},
        {5, "cat /tmp/full", good, 0, 400},
        {5, "cat /tmp/longer", absent, 0, 400},
        {5, "exec cat /dev/zero", absent, 500, 900},
        {5, "exec sleep 9 >&-", eof, 0, 400},
        {1, "exec sleep 9", "Timeout 1 secs.", 1000, 1400},
        {-1, "exec sleep 9", "Select error:Invalid argument.", 0, 400},
    };
    for (const auto &row : rows) {
        settings(four + "timelimit " + std::to_string(row.limit) + "\n");
        search_tool(row.commands);
        const auto start = std::chrono::steady_clock::now();
        EXPECT_THAT(look_up(), AllOf(StartsWith(row.message == good ? "0 a" + found + "|" : "-1 -|"),
                                     EndsWith(search + "LDAP server h. " + row.message)))
            << row.commands;
        const auto elapsed = (std::chrono::steady_clock::now() - start) / std::chrono::milliseconds(1);
        EXPECT_THAT(elapsed, AllOf(testing::Ge(row.at_least), testing::Le(row.at_most))) << row.commands;
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << row.commands;
    }
}

TEST_F(Ldap, WhatTheSystemRefusesIsLogged) {
    for (const auto &[function, message] : {std::pair("pipe2", "Cannot create pipe for ldapsearch:Permission denied."),
                                            {"fork", "Cannot fork for ldapsearch:Permission denied."},
                                            {"read", "LDAP server h. Read return: -1(Permission denied)."}}) {
        faults::fail(function, EACCES);
        EXPECT_THAT(look_up(), EndsWith(search + message));
    }
    // A tool that cannot be run: nothing that this process has in its buffers reaches the pipe.
    unlink("/bin/ldapsearch");
    std::fputs("type: admin leaseTime: 1 reauthTime: 1 result: 0\n", stdout);
    EXPECT_THAT(look_up(), EndsWith(search + "LDAP server h. Read return: 0(Success)." + search +
                                    "Cannot execute command:/bin/ldapsearch -z 1 -H ldap://h:389 -x -b \"dc=x\" "
                                    "\"(uid=a)\" (No such file or directory)."));
}

// The caller is a process of its own each time.
TEST_F(Ldap, TheCallersSignalsAndDescriptorsPlayNoPart) {
    auto set_all = [](void (*handler)(int), int how) {
        for (int number = 1; number < NSIG; ++number) signal(number, handler);
        sigset_t all;
        sigfillset(&all);
        sigprocmask(how, &all, nullptr);
    };
    std::vector<std::pair<const char *, std::function<void()>>> callers = {
        {"ignores all signals", [&] { set_all(SIG_IGN, SIG_UNBLOCK); }},
        {"blocks all signals", [&] { set_all(SIG_DFL, SIG_BLOCK); }},
        {"reaps all children", [] { signal(SIGCHLD, [](int) { waitpid(-1, nullptr, WNOHANG); }); }},
        {"is interrupted all the time",
         [] {
             struct sigaction action = {};
             action.sa_handler = [](int) {};
             sigaction(SIGALRM, &action, nullptr);
             itimerval each_ms = {{0, 1000}, {0, 1000}};
             setitimer(ITIMER_REAL, &each_ms, nullptr);
         }},
        {"has many descriptors",
         [] {
             rlimit limit = {2000, 2000};
             setrlimit(RLIMIT_NOFILE, &limit);
             for (int last = 0; last < 1024;) last = open("/dev/null", O_RDONLY | O_CLOEXEC);
         }},
    };
    for (int first = 0; first < 3; ++first)
        for (int last = first; last < 3; ++last)
            callers.emplace_back("has descriptors closed", [=] {
                for (int fd = first; fd <= last; ++fd) close(fd);
            });
    // The listing itself is descriptor 3.
    search_tool(
        "(grep 'Sig[BI]' /proc/self/status; ls /proc/self/fd) | tr -d '\\n' >/tmp/state\n"
        "cat /tmp/entry; sleep .05; cat /tmp/result");
    for (const auto &[name, prepare] : callers) {
        pid_t caller = fork();
        if (caller == 0) {
            prepare();
            user_profile_t profile = {};
            _exit(get_info_from_ldap(&profile, "a") == 0 && show(profile) == "a  0 120 120 60 30 1 0" ? 0 : 1);
        }
        int status = -1;
        EXPECT_EQ(waitpid(caller, &status, 0), caller);
        EXPECT_EQ(status, 0) << name;
        EXPECT_EQ(read_file("/tmp/state"), "SigBlk:\t0000000000000000SigIgn:\t00000000000000000123") << name;
    }
}

TEST_F(Ldap, OtherChildrenThreadsAndHandlersOfTheCallerAreLeftAlone) {
    pid_t other = fork();
    if (other == 0) _exit(42);
    usleep(20000);
    // What another thread starts meanwhile must not get the pipe.
    auto inherited = [] {
        int count = 0;
        for (int fd = 0; fd < 100; ++fd) count += fcntl(fd, F_GETFD) == 0;
        return count;
    };
    faults::intrude("fork", [&, before = inherited()] { EXPECT_EQ(inherited(), before); });
    EXPECT_THAT(look_up(), StartsWith("0 "));
    int status = 0;
    EXPECT_EQ(waitpid(other, &status, 0), other);
    EXPECT_EQ(WEXITSTATUS(status), 42);

    // The child gets a SIGTERM at once, often before the tool has begun.
    auto before = signal(SIGTERM, [](int) { close(creat("/tmp/handled", 0600)); });
    settings(four + "timelimit 0\n");
    search_tool("exec sleep 9");
    for (int i = 0; i < 200; ++i) look_up();
    signal(SIGTERM, before);
    EXPECT_FALSE(file_exists("/tmp/handled"));
}

}  // namespace
