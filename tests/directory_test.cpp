// LDAP look-ups against a real server, with the real search tool.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/users_fixture.h"

namespace {

std::string ldif(const std::string &dn, const std::string &uid, const std::string &values) {
    return "dn: " + dn + ",dc=example\nobjectClass: applianceUser\nuid: " + uid + "\n" + values + "\n";
}

// A socket of 127.0.0.1, or -1. With connected, to the port; else on any free port, which is stored.
bool try_socket(in_port_t &port, bool connected) {
    int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(connected ? port : 0);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    sockaddr *generic = reinterpret_cast<sockaddr *>(&address);
    bool done = connected ? connect(fd, generic, length) == 0
                          : bind(fd, generic, length) == 0 && getsockname(fd, generic, &length) == 0;
    if (!connected) port = ntohs(address.sin_port);
    close(fd);
    return done;
}

class Directory : public UsersTest {
protected:
    void SetUp() override {
        UsersTest::SetUp();
        ASSERT_EQ(symlink("/usr/bin/ldapsearch", "/bin/ldapsearch"), 0);
        write_file("/etc/passwd", "");
        write_file("/tmp/domuser", "");
        write_file("/tmp/more.ldif",
                   ldif("cn=star", "a*b", "type: user\nleaseTime: 1\nreauthTime: 2\n") +
                       ldif("cn=near", "axb", "type: admin\nleaseTime: 1\nreauthTime: 2\n") +
                       ldif("cn=brackets", "x(y)z", "type: user\nleaseTime: 3\nreauthTime: 4\n") +
                       ldif("cn=backslash", "p\\q", "type: user\nleaseTime: 5\nreauthTime: 6\n") +
                       ldif("cn=quote", "q\"r s", "type: user\nleaseTime: 7\nreauthTime: 8\n") +
                       ldif("cn=twin1", "twin", "type: limited-admin\nleaseTime: 9\nreauthTime: 9\n") +
                       ldif("cn=twin2", "twin", "type: limited-admin\nleaseTime: 9\nreauthTime: 9\n") +
                       ldif("cn=bare", "bare", "type: admin\nleaseTime: 9\n"));
        // Somebody else may take the port before the server does.
        for (int attempt = 0; attempt < 5 && server_ < 0; ++attempt) start();
        ASSERT_GE(server_, 0) << "no directory server";
        settings("");
    }

    void TearDown() override {
        stop();
        UsersTest::TearDown();
    }

    void start() {
        ASSERT_TRUE(try_socket(port_, false));
        server_ = fork();
        if (server_ == 0) {
            execl(DIRECTORY, "directory", std::to_string(port_).c_str(), "/tmp/more.ldif", nullptr);
            _exit(127);
        }
        for (int i = 0; i < 400; ++i) {
            if (waitpid(server_, nullptr, WNOHANG) == server_) {
                server_ = -1;
                return;
            }
            if (try_socket(port_, true)) return;
            usleep(50000);
        }
        stop();
    }

    void stop() {
        if (server_ < 0) return;
        kill(server_, SIGTERM);
        waitpid(server_, nullptr, 0);
        server_ = -1;
    }

    void settings(const std::string &more) const {
        write_file("/etc/http_ldap.conf", "host 127.0.0.1\nport " + std::to_string(port_) +
                                              "\nbase dc=example\npam_login_attribute uid\ntimelimit 5\n" + more);
    }

    pid_t server_ = -1;
    in_port_t port_ = 0;
};

std::string look_up(const char *user, std::string *log = nullptr) {
    user_profile_t profile = unwritten();
    Outcome seen = call([&] { return get_info_from_ldap(&profile, user); });
    if (log) *log = seen.log;
    return seen.result == 0 ? show(profile) : "-1";
}

TEST_F(Directory, EachUserIsFoundAndNobodyElse) {
    struct Row {
        const char *user, *profile;
    } rows[] = {
        {"dora", "dora - 1 80 80 720 240 1 1"},
        {"twin", "twin - 4 100 100 9 9 1 0"},  // found twice: result 4
        {"a*b", "a*b - 1 80 80 1 2 1 1"},
        {"x(y)z", "x(y)z - 1 80 80 3 4 1 1"},
        {"p\\q", "p\\q - 1 80 80 5 6 1 1"},
        {"q\"r s", "q\"r s - 1 80 80 7 8 1 1"},
        {"*", "-1"}, {"d*", "-1"}, {"dora)(uid=*", "-1"}, {"", "-1"}, {"bare", "-1"}, {"stranger", "-1"},
        {"a\" -H ldap://6.6.6.6 \"", "-1"},
        {"ann", "-1"},  // not for anonymous searches
    };
    for (const Row &row : rows) EXPECT_EQ(look_up(row.user), row.profile) << row.user;

    settings("binddn cn=reader,dc=example\nbindpw a secret\n");
    EXPECT_EQ(look_up("ann"), "ann - 0 120 120 60 30 1 0");
    settings("binddn cn=reader,dc=example\nbindpw wrong\n");
    EXPECT_EQ(look_up("ann"), "-1");
    settings("host 127.0.0.77 127.0.0.1\n");  // nobody listens at the first one
    EXPECT_EQ(look_up("dora"), "dora - 1 80 80 720 240 1 1");
}

TEST_F(Directory, AThousandLookUpsFindTheUserAThousandTimes) {
    log_in(0, "dora", 3);
#ifdef KAVEX_TEST_ALLOCATIONS
    constexpr int times = 1000;
#else
    constexpr int times = 200;  // with a sanitizer each fork() takes its time
#endif
    int found = 0;
    for (int i = 0; i < times; ++i) {
        call([&] {
            user_profile_t *profile = get_user_profile("dora");
            if (profile && show(*profile) == "dora ldap-users 1 80 80 720 240 1 1") ++found;
            free_user_profile(profile);
        });
    }
    EXPECT_EQ(found, times);
}

// A server that takes the connection and says nothing.
TEST_F(Directory, AStoppedServerCostsTheTimeLimit) {
    settings("timelimit 1\n");
    std::string log;
    kill(server_, SIGSTOP);
    EXPECT_EQ(look_up("dora", &log), "-1");
    kill(server_, SIGCONT);
    EXPECT_THAT(log, testing::EndsWith("[do_ldapsearch]LDAP server 127.0.0.1. Timeout 1 secs."));
    EXPECT_EQ(look_up("dora"), "dora - 1 80 80 720 240 1 1");
    stop();
    EXPECT_EQ(look_up("dora", &log), "-1");
    EXPECT_THAT(log, testing::HasSubstr("[do_ldapsearch]LDAP server 127.0.0.1. Read return: 0("));
}

}  // namespace
