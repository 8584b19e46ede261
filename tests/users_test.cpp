// The user functions: the sessions of users.t over a shared buffer, account files, a stand-in for the search tool and a
// real directory server, and what the processes of a look-up do to one another.
#include <fcntl.h>
#include <kavex/users.h>
#include <libxml/xmlerror.h>
#include <poll.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <random>
#include <regex>
#include <sstream>

#include "tests/play/form.h"
#include "tests/support/appliance.h"

// Owners that the test process has no capability to give its files are reported in place of the true ones. And a busy
// machine is no reason to give up: each wait for a tool takes so many times as long.
static uid_t owners[3];  // of a file, of a link, and of the process
static int patience = 20;

extern "C" int fstat(int fd, struct stat *status) noexcept {
    const int result = fstatat(fd, "", status, AT_EMPTY_PATH);
    if (owners[0]) status->st_uid = owners[0];
    return result;
}
extern "C" int lstat(const char *path, struct stat *status) noexcept {
    const int result = fstatat(AT_FDCWD, path, status, AT_SYMLINK_NOFOLLOW);
    if (owners[1]) status->st_uid = owners[1];
    return result;
}
extern "C" uid_t geteuid() noexcept { return owners[2] ? owners[2] : getuid(); }
extern "C" int poll(pollfd *entries, nfds_t count, int milliseconds) {
    const long wait = milliseconds * (count ? patience : 1L);
    const timespec time = {wait / 1000, wait % 1000 * 1'000'000};
    return ppoll(entries, count, milliseconds < 0 ? nullptr : &time, nullptr);
}

namespace {

constexpr char buffer_key[] = "/lib/security/pam_auth_admin.so", lock_key[] = "/lib/security/pam_unix.so",
               conf[] = "/etc/http_ldap.conf", tool[] = "/bin/ldapsearch", groups[] = "/tmp/template_group.xml",
               settings[] = "/tmp/template_user.xml";

user_group_t group;

std::string replaced(const std::string &text, const std::string &what, const std::string &with) {
    return std::regex_replace(text, std::regex(what), with);
}

// With the lock and the buffer as the appliance's authentication modules make them.
class Users : public ApplianceTest {
protected:
    void SetUp() override {
        for (const char *path : {buffer_key, lock_key}) write_file(path, "");
        ApplianceTest::SetUp();
        lock_ = semget(ftok(lock_key, 83), 1, IPC_CREAT | IPC_EXCL | 0666);
        semctl(lock_, 0, SETVAL, 1);
        segment_ = shmget(ftok(buffer_key, 83), sizeof *buffer_, IPC_CREAT | IPC_EXCL | 0666);
        buffer_ = static_cast<auth_buffer_t *>(shmat(segment_, nullptr, 0));
    }
    void TearDown() override {
        EXPECT_EQ(lock_value(), 1) << "the lock was not given back";
        EXPECT_EQ(attachments(), 1) << "the buffer is still attached";
        semctl(lock_, 0, IPC_RMID);
        shmctl(segment_, IPC_RMID, nullptr);
        shmdt(buffer_);
        if (server_ > 0 && kill(server_, SIGTERM) == 0) waitpid(server_, nullptr, 0);
        std::filesystem::remove(tool);
        ApplianceTest::TearDown();
    }

    int lock_value() const { return semctl(lock_, 0, GETVAL); }
    int attachments() const {
        shmid_ds status = {};
        shmctl(segment_, IPC_STAT, &status);
        return static_cast<int>(status.shm_nattch);
    }
    template <class Entry>
    static void put(Entry &slot, const Entry &entry, const std::string &user) {
        slot = entry;
        std::strncpy(slot.user, user.c_str(), sizeof slot.user);
    }
    int number(size_t word) const { return std::stoi(words_.at(word), nullptr, 0); }

    // A line of a session: makes the files and slots that its call needs, does it, and gives what it shows.
    std::string perform(const std::string &verb, const std::string &rest);
    void prepare(const std::string &verb);
    long run(const std::string &verb, user_profile_t *p);
    void start_server();

    auth_buffer_t *buffer_ = nullptr;
    int lock_ = -1, segment_ = -1, allocated_ = 0;
    pid_t server_ = -1;
    std::string rest_;
    form::Words words_;
    kvio_config_t *document_ = nullptr;
};

void Users::prepare(const std::string &verb) {
    patience = verb == "slow" ? 1 : 20;
    if (verb == "bind") write_file(conf, read_file(conf) + "binddn cn=reader,dc=example\nbindpw " + rest_ + "\n");
    if (verb == "conf") write_file(conf, replaced(rest_, "\nuid", "\npam_login_attribute u"));
    if (verb == "tool" || verb == "slow") write_file(tool, "#!/bin/sh\n" + rest_, 0700);
    if (verb == "profile" || verb == "release") put(buffer_->auth[49], {1, {}, number(1)}, words_[0]);
    if (verb == "answer") put(buffer_->radius[49], {1, {}, number(1), {}, number(2), number(3), {}}, words_[0]);
    if (verb == "group") {
        std::string content = rest_;
        for (const auto &[what, with] : {std::pair("(\\w+):", "</group><group type='user_group_object_t' name='$1'>"),
                                         {" (\\w+)(?= |$)", "<entity>$1</entity>"},
                                         {"\\+(\\w+)", "<container>$1</container>"},
                                         {"%", "<entity>u</entity>"}})
            content = replaced(content, what, with);
        write_file(groups, "<kavex><object><user_group><group_description_t name='described'/><group>" + content +
                               "</group></user_group></object></kavex>");
    }
    if (verb == "expand") group.member_count = number(0);
    if (verb == "expand") document_ = kvio_restore_scope(groups);
    if (verb == "settings")
        write_file(settings, "<kavex><system><in_user><in_user_setting name='def_set'>" +
                                 replaced(rest_, "(\\w+)=(\\S+)", "<$1>$2</$1>") +
                                 "</in_user_setting></in_user></system></kavex>");
    if (verb == "trusted") {
        for (const char *path : {groups, settings, "/tmp/domuser"}) chmod(path, static_cast<mode_t>(number(3)));
        for (size_t i : {0, 1, 2}) owners[i] = static_cast<uid_t>(number(i));
    }
}

long Users::run(const std::string &verb, user_profile_t *p) {
    const char *first = words_[0].c_str();
    if (verb == "local") return get_info_from_local(p, first, number(1));
    if (verb == "answer") return get_info_from_radius(p, first);
    if (verb == "release") return release_auth_list(first);
    if (verb == "verify") return verify_user_group(first);
    if (verb == "check") return check_user_in_group(first, words_.at(1).c_str());
    if (verb == "settings") return get_remote_setting(p, "a");
    if (verb == "parse") return parse_search_result(rest_.data(), p, "a");
    if (verb == "ldap") return get_info_from_ldap(p, rest_.data());
    if (verb == "expand") return get_member(document_, "g", &group);
    if (verb == "trusted") return get_info_from_local(p, "d", 1) + verify_user_group("g") + get_remote_setting(p, "d");
    if (verb == "profile") {
        user_profile_t *found = get_user_profile(first);
        if (found) *p = *found;
        free_user_profile(found);
        return found != nullptr;
    }
    if (verb != "group") return get_info_from_ldap(p, verb == "bind" ? "ann" : "a");
    user_group_t *found = retrieve_user_group("g");
    if (found) group = *found;
    free_user_group(found);
    return found != nullptr;
}

std::string Users::perform(const std::string &verb, const std::string &rest) {
    words_ = form::split(rest);
    rest_ = rest;
    group.member_count = 0;
    prepare(verb);
    rest_ += '\0' + std::string("admin 32 7 7 7");  // something follows in memory
    const user_profile_t before = {"-", "-", 7, 7, 7, 7, 7, 7, 7, 7};
    user_profile_t p = before;
    const Outcome outcome = call([&] { return run(verb, &p); });
    allocated_ = faults::allocations();
    for (uid_t &owner : owners) owner = 0;
    if (document_) kvio_close_config(std::exchange(document_, nullptr));
    EXPECT_EQ(outcome.code, untouched) << "kvio_errno belongs to the store";
    std::ostringstream text;
    text << outcome.result;
    if (std::memcmp(&p, &before, sizeof p) != 0) {
        text << ' ' << p.name << ' ' << p.account;
        for (int value : {p.type, p.access, p.visibility, p.lease_time, p.re_auth, p.remote_admin, p.remote_access})
            text << ' ' << value;
    }
    if (group.member_count) text << ' ' << group.member_count;
    for (int i = 0; i < std::min(group.member_count, 9); ++i) text << ' ' << group.members[i].name;
    text << replaced(outcome.log + outcome.err, "USER 3,7,3,0,0,0,0: ", "|");
    return text.str();
}

// A directory server, and the real tool to search it.
void Users::start_server() {
    unlink(tool);
    ASSERT_EQ(symlink("/usr/bin/ldapsearch", tool), 0);
    write_file("/tmp/more.ldif",
               replaced("a*b user 1;axb admin 2;x(y)\\z\"r_s user 3;twin limited-admin 8;twin limited-admin 9;",
                        "(\\S+) (\\S+) (.);",
                        "dn: cn=$3,dc=example\nobjectClass: applianceUser\nuid: $1\ntype: $2\nleaseTime: $3\n"
                        "reauthTime: 1\n\n"));
    const std::string port = std::to_string(10000 + std::random_device()() % 20000);
    write_file(conf, "host 127.0.0.77 127.0.0.1\nport " + port + "\nbase dc=example\npam_login_attribute uid\n");
    server_ = fork();
    if (server_ == 0) _exit(execl(DIRECTORY, "directory", port.c_str(), "/tmp/more.ldif", nullptr));
    for (int i = 0; i < 1200 && perform("ldap", "dora")[0] != '0'; ++i) usleep(50'000);
}

TEST_F(Users, DoWhatTheSessionsShow) {
    std::istringstream file(read_file(SESSIONS "users.t"));
    mkfifo("/tmp/never", 0600);
    // These hold it whenever they attach the buffer or open a file, and wait for it with neither.
    const std::set<std::string> with_lock = {"profile", "release", "group", "check", "verify"};
    for (std::string line; std::getline(file, line);) {
        for (std::string more; file.peek() == ' ' && std::getline(file, more);) line += more.substr(3);
        line = replaced(replaced(form::expanded(line), R"(\\n)", "\n"), "dawdle", "read x <>/tmp/never");
        std::smatch parts;
        if (line == "server") start_server();
        if (line.empty() || line[0] == '#' || line == "server") continue;
        if (std::regex_match(line, parts, std::regex("(/\\S+) ?([^]*)"))) {
            write_file(parts[1], parts[2], 0700);
            continue;
        }
        ASSERT_TRUE(std::regex_match(line, parts, std::regex("(\\w+) ?([^]*?)( !(\\w+):(\\d))? = ?(\\.\\.\\.)?([^]*)")))
            << line;
        const std::string verb = parts[1], rest = parts[2], wanted = parts[7];
        const bool has_fault = parts[3].matched, has_lock = with_lock.count(verb) && !has_fault;
        if (has_fault) faults::fail(parts[4].str().c_str(), EACCES, std::stoi(parts[5]));
        for (int nth = 1; nth <= 3 && has_lock; ++nth)
            for (const char *opens : {"shmat", "open"})
                faults::intrude(
                    opens, [&] { EXPECT_EQ(lock_value(), 0) << line; }, nth);
        if (has_lock)
            faults::intrude(
                "semop", [&] { EXPECT_EQ(attachments(), 1) << line; }, 2);
        const std::string now = perform(verb, rest);
        EXPECT_TRUE(!has_fault || faults::struck()) << line;
        const std::string end = now.substr(now.size() - std::min(now.size(), wanted.size()));
        EXPECT_TRUE(parts[6].matched ? end == wanted : now.rfind(wanted, 0) == 0) << line << "\n" << now;
        // The call again, with each allocation failing: it fails or gets by, and leaves nothing behind.
        const int allocations = has_fault || patience == 1 || allocated_ > 500 ? 0 : allocated_;
        call(xmlResetLastError);
        const long blocks = faults::blocks();
        for (int nth = 1; nth <= allocations; ++nth) {
            faults::fail_allocation(nth);
            const std::string shorter = perform(verb, rest);
            // These go on with another source, or without a member.
            const bool goes_on = verb == "profile" || verb == "expand";
            EXPECT_TRUE(goes_on || shorter == now || shorter[0] == (verb == "group" ? '0' : '-')) << line << shorter;
            call(xmlResetLastError);  // it has texts
            EXPECT_EQ(faults::blocks(), blocks) << line << nth;
        }
        EXPECT_TRUE(server_ > 0 || waitpid(-1, nullptr, WNOHANG) == -1) << "a child is left: " << line;
        EXPECT_EQ(lock_value(), parts[3] != " !semop:2") << line;
        semctl(lock_, 0, SETVAL, 1);
    }
}

TEST_F(Users, FreeTheFirstSlotsOfExactlyTheNameAndAnywayTheLock) {
    for (int method : {1, 2, 3}) {
        std::memset(buffer_, 0xee, sizeof *buffer_);
        put(buffer_->auth[6], {1, {}, method}, "alicex");
        for (int slot : {7, 8, 9}) put(buffer_->auth[slot], {slot == 7 ? 2 : 1, {}, method}, "alice");
        for (int slot : {48, 49}) put(buffer_->radius[slot], {1, {}, 0, {}, 1, 2, {}}, "alice");
        auth_buffer_t expected = *buffer_;
        expected.auth[8].in_use = expected.auth[8].user[0] = 0;
        if (method == 2) expected.radius[48].in_use = 0;
        EXPECT_EQ(release_auth_list("alice") + release_auth_list("nobody") + release_auth_list("ali"), 0);
        EXPECT_EQ(std::memcmp(buffer_, &expected, sizeof expected), 0) << method;
    }
    const pid_t killed = fork();
    faults::intrude("shmat", [] { raise(SIGKILL); });
    if (killed == 0) call([] { release_auth_list("alice"); });
    int status = 0;
    EXPECT_EQ(waitpid(killed, &status, 0), killed);
    EXPECT_EQ(status, SIGKILL);
}

// The caller is a process of its own each time: 1 to 7 are the standard descriptors that it has closed.
TEST_F(Users, LeaveSignalsDescriptorsAndChildrenOfTheCallerAlone) {
    write_file(conf, "host h\nport 389\nbase dc=x\npam_login_attribute uid\n");
    // The listing itself is descriptor 3.
    write_file(tool,
               "#!/bin/sh\n(grep 'Sig[BI]' /proc/self/status; ls /proc/self/fd) | tr -d '\\n' >/tmp/state\n"
               "printf 'type: user\\nleaseTime: 1\\nreauthTime: 30\\n'; sleep .05; echo 'result: 0'",
               0700);
    int status = -1;
    user_profile_t p = {};
    for (unsigned kind = 1; kind <= 9; ++kind) {
        const pid_t caller = fork();
        if (caller == 0) {
            for (int fd = 0; fd < 3; ++fd)
                if (kind < 8 && kind & 1u << fd) close(fd);
            sigset_t all;
            sigfillset(&all);
            if (kind == 8) sigprocmask(SIG_BLOCK, &all, nullptr);
            for (int number = 1; number < NSIG && kind == 8; ++number) signal(number, SIG_IGN);
            if (kind == 9) signal(SIGALRM, [](int) {});
            const itimerval each_ms = {{0, 1000}, {0, 1000}};
            if (kind == 9) setitimer(ITIMER_REAL, &each_ms, nullptr);
            if (kind == 9) signal(SIGCHLD, [](int) { waitpid(-1, nullptr, WNOHANG); });
            _exit(get_info_from_ldap(&p, "a") == 0 && p.type == 1 && p.re_auth == 30 ? 0 : 1);
        }
        EXPECT_EQ(waitpid(caller, &status, 0), caller);
        EXPECT_EQ(status, 0) << kind;
        EXPECT_EQ(read_file("/tmp/state"), "SigBlk:\t0000000000000000SigIgn:\t00000000000000000123") << kind;
    }
    const pid_t other = fork();
    if (other == 0) _exit(42);
    siginfo_t ended;
    waitid(P_PID, static_cast<id_t>(other), &ended, WEXITED | WNOWAIT);
    faults::intrude("fork", [] {
        sigset_t blocked;
        sigprocmask(SIG_BLOCK, nullptr, &blocked);
        EXPECT_TRUE(sigismember(&blocked, SIGTERM)) << "no handler of the caller's may run in the child";
    });
    EXPECT_EQ(call([&] { return get_info_from_ldap(&p, "a"); }).result, 0);
    EXPECT_EQ(waitpid(other, &status, 0), other) << "the caller's own child";
}

}  // namespace
