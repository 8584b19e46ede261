// LDAP look-ups against a real server, with the real search tool.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <random>

#include "tests/users_fixture.h"

namespace {

using testing::StartsWith;

class Directory : public UsersTest {
protected:
    void SetUp() override {
        UsersTest::SetUp();
        ASSERT_EQ(symlink("/usr/bin/ldapsearch", "/bin/ldapsearch"), 0);
        std::string ldif;
        for (const char *user :
             {"a*b\ntype: user\nleaseTime: 1", "axb\ntype: admin\nleaseTime: 2", "x(y)z\ntype: user\nleaseTime: 3",
              "p\\q\ntype: user\nleaseTime: 5", "q\"r s\ntype: user\nleaseTime: 7",
              "twin\ntype: limited-admin\nleaseTime: 9", "twin\ntype: limited-admin\nleaseTime: 9"}) {
            const std::string name = "cn=" + std::to_string(ldif.size());  // another one each time
            ldif += "dn: " + name + ",dc=example\nobjectClass: applianceUser\nuid: " + user + "\nreauthTime: 1\n\n";
        }
        write_file("/tmp/more.ldif", ldif);
        // Another process may have the port.
        for (int attempt = 0; attempt < 5 && !running_; ++attempt) start();
        ASSERT_TRUE(running_) << "no directory server";
    }

    void TearDown() override {
        stop();
        UsersTest::TearDown();
    }

    void start() {
        port_ = std::to_string(10000 + std::random_device()() % 20000);
        settings("");
        server_ = fork();
        if (server_ == 0) {
            execl(DIRECTORY, "directory", port_.c_str(), "/tmp/more.ldif", nullptr);
            _exit(127);
        }
        for (int i = 0; i < 400 && waitpid(server_, nullptr, WNOHANG) == 0; ++i, usleep(50000))
            if ((running_ = filled(get_info_from_ldap, "dora")[0] == '0')) return;
        stop();
    }

    void stop() const {
        kill(server_, SIGTERM);
        waitpid(server_, nullptr, 0);
    }

    void settings(const std::string &more) const {
        write_file("/etc/http_ldap.conf", "host 127.0.0.1\nport " + port_ +
                                              "\nbase dc=example\npam_login_attribute uid\ntimelimit 5\n" + more);
    }

    pid_t server_ = -1;
    std::string port_;
    bool running_ = false;
};

TEST_F(Directory, EachUserIsFoundAndNobodyElse) {
    const struct {
        const char *user, *profile, *more_settings = "";
    } rows[] = {
        {"dora", "0 dora - 1 80 80 720 240 1 1"},
        {"twin", "0 twin - 4 100 100 9 1 1 0"},  // found twice: result 4
        {"a*b", "0 a*b - 1 80 80 1 1 1 1"},
        {"x(y)z", "0 x(y)z - 1 80 80 3 1 1 1"},
        {"p\\q", "0 p\\q - 1 80 80 5 1 1 1"},
        {"q\"r s", "0 q\"r s - 1 80 80 7 1 1 1"},
        {"q\\\"r s", "0 q\\\"r s - 1 80 80 7 1 1 1"},  // the same one
        {"d*", "-1 "},
        {"dora)(uid=*", "-1 "},
        {"a\" -H ldap://6.6.6.6 \"", "-1 "},
        {"ann", "-1 "},  // not for anonymous searches
        {"ann", "0 ann - 0 120 120 60 30 1 0", "binddn cn=reader,dc=example\nbindpw a secret\n"},
        {"ann", "-1 ", "binddn cn=reader,dc=example\nbindpw wrong\n"},
        {"dora", "0 dora - 1 80 80 720 240 1 1", "host 127.0.0.77 127.0.0.1\n"},  // no server at the first one
    };
    for (const auto &row : rows) {
        settings(row.more_settings);
        EXPECT_THAT(filled(get_info_from_ldap, row.user), StartsWith(row.profile)) << row.more_settings;
    }
}

TEST_F(Directory, AThousandLookUpsFindTheUserAThousandTimes) {
#ifdef KAVEX_TEST_ALLOCATIONS
    constexpr int times = 1000;
#else
    constexpr int times = 200;  // with a sanitizer each fork() takes its time
#endif
    for (int i = 0; i < times; ++i) ASSERT_THAT(filled(get_info_from_ldap, "dora"), StartsWith("0 dora")) << i;
}

}  // namespace
