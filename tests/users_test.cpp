// The user functions: the sessions of users.t over a shared buffer, account files, a stand-in for the search tool and a
// real directory server, and what a look-up does to the process that calls it.
#include <fcntl.h>
#include <kavex/users.h>
#include <libxml/xmlerror.h>
#include <poll.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>

#include <csignal>
#include <cstring>
#include <random>
#include <regex>
#include <sstream>

#include "tests/play/form.h"
#include "tests/support/appliance.h"

// Owners that the test process has no capability to give its files are reported in place of the true ones. And a busy
// machine is no reason to give up: each wait for a tool takes so many times as long.
static uid_t owners[3];  // of a file, of a link, and of the process
static int patience = 20;

static int with_owner(int result, struct stat *status, uid_t owner) {
    if (owner) status->st_uid = owner;
    return result;
}
extern "C" int fstat(int fd, struct stat *status) noexcept {
    return with_owner(fstatat(fd, "", status, AT_EMPTY_PATH), status, owners[0]);
}
extern "C" int lstat(const char *path, struct stat *status) noexcept {
    return with_owner(fstatat(AT_FDCWD, path, status, AT_SYMLINK_NOFOLLOW), status, owners[1]);
}
extern "C" uid_t geteuid() noexcept { return owners[2] ? owners[2] : getuid(); }
extern "C" int poll(pollfd *entries, nfds_t count, int milliseconds) {
    const long wait = milliseconds * (count ? patience : 1L);
    const timespec time = {wait / 1000, wait % 1000 * 1'000'000};
    return ppoll(entries, count, milliseconds < 0 ? nullptr : &time, nullptr);
}

namespace {

constexpr char conf[] = "/etc/http_ldap.conf", tool[] = "/bin/ldapsearch", groups[] = "/tmp/template_group.xml",
               settings[] = "/tmp/template_user.xml";

std::string replaced(const std::string &text, const std::string &what, const std::string &with) {
    return std::regex_replace(text, std::regex(what), with);
}

// With the lock and the buffer as the appliance's authentication modules make them.
class Users : public ApplianceTest {
protected:
    void SetUp() override {
        const char *lock_key = "/lib/security/pam_unix.so", *buffer_key = "/lib/security/pam_auth_admin.so";
        for (const char *path : {lock_key, buffer_key}) write_file(path, "");
        ApplianceTest::SetUp();
        lock_ = semget(ftok(lock_key, 83), 1, IPC_CREAT | IPC_EXCL | 0666);
        semctl(lock_, 0, SETVAL, 1);
        segment_ = shmget(ftok(buffer_key, 83), sizeof *buffer_, IPC_CREAT | IPC_EXCL | 0666);
        buffer_ = static_cast<auth_buffer_t *>(shmat(segment_, nullptr, 0));
    }
    void TearDown() override {
        EXPECT_EQ(lock_value(), 1) << "the lock was not given back";
        semctl(lock_, 0, IPC_RMID);
        shmctl(segment_, IPC_RMID, nullptr);
        shmdt(buffer_);
        if (server_ > 0 && kill(server_, SIGTERM) == 0) waitpid(server_, nullptr, 0);
        unlink(tool);
        ApplianceTest::TearDown();
    }

    int lock_value() const { return semctl(lock_, 0, GETVAL); }
    template <class Entry>
    static void put(Entry &slot, const Entry &entry, const std::string &user) {
        slot = entry;
        std::strncpy(slot.user, user.c_str(), sizeof slot.user);
    }
    int number(size_t word) const { return std::stoi(words_.at(word), nullptr, 0); }
    template <class Record>
    static bool copied(Record *found, Record &copy, void (*release)(Record *)) {
        if (found) copy = *found;
        release(found);
        return found != nullptr;
    }

    // Makes the files and slots that the call of a line needs.
    void prepare(const std::string &verb) {
        patience = verb == "slow" ? 1 : 20;
        if (verb == "bind") write_file(conf, read_file(conf) + "binddn cn=reader,dc=example\nbindpw " + rest_ + "\n");
        if (verb == "conf") write_file(conf, replaced(rest_, "\nuid", "\npam_login_attribute u"));
        if (verb == "tool" || verb == "slow") write_file(tool, "#!/bin/sh\n" + rest_, 0700);
        if (verb == "profile" || verb == "release") put(buffer_->auth[49], {1, {}, number(1)}, words_[0]);
        if (verb == "answer") put(buffer_->radius[49], {1, {}, number(1), {}, number(2), number(3), {}}, words_[0]);
        if (verb == "group") {
            for (const auto &[what, with] :
                 {std::pair("(\\w+):", "</group><group type='user_group_object_t' name='$1'>"),
                  {" (\\w+)(?= |$)", "<entity>$1</entity>"},
                  {"\\+(\\w+)", "<container>$1</container>"},
                  {"%", "<entity>u</entity>"}})
                rest_ = replaced(rest_, what, with);
            write_file(groups, "<kavex><object><user_group><group_description_t name='described'/><group>" + rest_ +
                                   "</group></user_group></object></kavex>");
        }
        if (verb == "expand") group_.member_count = number(0);
        if (verb == "settings")
            write_file(settings, "<kavex><system><in_user><in_user_setting name='def_set'>" +
                                     replaced(rest_, "(\\w+)=(\\S+)", "<$1>$2</$1>") +
                                     "</in_user_setting></in_user></system></kavex>");
        if (verb == "trusted")
            for (const char *path : {groups, settings, "/tmp/domuser"}) chmod(path, static_cast<mode_t>(number(3)));
        for (size_t i : {0, 1, 2}) owners[i] = verb == "trusted" ? static_cast<uid_t>(number(i)) : 0;
    }

    long run(const std::string &verb) {
        user_profile_t *p = &profile_;
        const char *first = words_[0].c_str();
        if (verb == "local") return get_info_from_local(p, first, number(1));
        if (verb == "answer") return get_info_from_radius(p, first);
        if (verb == "profile") return copied(get_user_profile(first), *p, free_user_profile);
        if (verb == "release") return release_auth_list(first);
        if (verb == "parse") return parse_search_result(rest_.data(), p, "a");
        if (verb == "ldap") return get_info_from_ldap(p, rest_.data());
        if (verb == "verify") return verify_user_group(first);
        if (verb == "check") return check_user_in_group(first, words_.at(1).c_str());
        if (verb == "group") return copied(retrieve_user_group("g"), group_, free_user_group);
        if (verb == "expand") return get_member(document_, "g", &group_);
        if (verb == "settings") return get_remote_setting(p, "a");
        if (verb == "trusted")
            return get_info_from_local(p, "d", 1) + verify_user_group("g") + get_remote_setting(p, "d");
        return get_info_from_ldap(p, verb == "bind" ? "ann" : "a");
    }

    // Does what a line of a session says and gives what it shows.
    std::string perform(const std::string &verb, const std::string &rest) {
        const user_profile_t before = profile_ = {"-", "-", 7, 7, 7, 7, 7, 7, 7, 7};
        words_ = form::split(rest);
        rest_ = rest;
        group_.member_count = 0;
        prepare(verb);
        rest_ += '\0' + std::string("admin 32 7 7 7");  // something follows in memory
        document_ = verb == "expand" ? kvio_restore_scope(groups) : nullptr;
        const Outcome outcome = call([&] { return run(verb); });
        if (document_) kvio_close_config(document_);
        EXPECT_EQ(outcome.code, untouched) << "kvio_errno belongs to the store";
        std::ostringstream text;
        text << outcome.result;
        if (std::memcmp(&profile_, &before, sizeof before) != 0) {
            text << ' ' << profile_.name << ' ' << profile_.account;
            for (int value : {profile_.type, profile_.access, profile_.visibility, profile_.lease_time,
                              profile_.re_auth, profile_.remote_admin, profile_.remote_access})
                text << ' ' << value;
        }
        if (group_.member_count) text << ' ' << group_.member_count;
        for (int i = 0; i < std::min(group_.member_count, 9); ++i) text << ' ' << group_.members[i].name;
        text << replaced(outcome.log + outcome.err, "USER 3,7,3,0,0,0,0: ", "|");
        return text.str();
    }

    // Starts a directory server, for which the real tool searches.
    void start_server(const std::string &entries) {
        unlink(tool);
        ASSERT_EQ(symlink("/usr/bin/ldapsearch", tool), 0);
        write_file("/tmp/more.ldif", replaced(entries, "(\\S+) (\\S+) (.);",
                                              "dn: cn=$3,dc=example\nobjectClass: applianceUser\nuid: $1\ntype: $2\n"
                                              "leaseTime: $3\nreauthTime: 1\n\n"));
        const std::string port = std::to_string(10000 + std::random_device()() % 20000);
        write_file(conf, "host 127.0.0.77 127.0.0.1\nport " + port + "\nbase dc=example\npam_login_attribute uid\n");
        server_ = fork();
        if (server_ == 0) _exit(execl(DIRECTORY, "directory", port.c_str(), "/tmp/more.ldif", nullptr));
        for (int i = 0; i < 1200 && perform("ldap", "dora")[0] != '0'; ++i) usleep(50'000);
    }

    void check(const std::string &line) {
        std::smatch parts;
        if (std::regex_match(line, parts, std::regex("(/\\S+) ?([^]*)"))) return write_file(parts[1], parts[2], 0700);
        if (line.rfind("server ", 0) == 0) return start_server(line.substr(7));
        ASSERT_TRUE(
            std::regex_match(line, parts, std::regex("(\\w+) ?([^]*?)( !(\\w+):(\\d))? = ?(\\.\\.\\.)?([^]*)")));
        const std::string verb = parts[1], rest = parts[2], fault = parts[4], wanted = parts[7];
        if (!fault.empty()) faults::fail(fault.c_str(), EACCES, std::stoi(parts[5]));
        // These hold the lock whenever they attach the buffer or open a file.
        const bool has_lock = fault.empty() && std::regex_match(verb, std::regex("profile|release|group|check|verify"));
        for (int nth = 1; nth <= 3 && has_lock; ++nth)
            for (const char *opens : {"shmat", "open"})
                faults::intrude(
                    opens, [&] { EXPECT_EQ(lock_value(), 0); }, nth);
        faults::intrude("fork", [] {  // no handler of the caller's may run in the child
            sigset_t blocked;
            sigprocmask(SIG_BLOCK, nullptr, &blocked);
            EXPECT_TRUE(sigismember(&blocked, SIGTERM));
        });
        const std::string now = perform(verb, rest);
        EXPECT_TRUE(fault.empty() || faults::struck());
        const bool is_end = parts[6].matched && now.size() > wanted.size();
        EXPECT_EQ(now.compare(is_end ? now.size() - wanted.size() : 0, wanted.size(), wanted), 0) << now;
        // The call again, with each allocation failing: it fails or gets by, and leaves nothing behind. These go on with
        // another source, or without a member.
        const bool goes_on = verb == "profile" || verb == "expand";
        const int many = faults::allocations(), allocations = !fault.empty() || verb == "slow" || many > 500 ? 0 : many;
        call(xmlResetLastError);
        const long blocks = faults::blocks();
        for (int nth = 1; nth <= allocations; ++nth) {
            faults::fail_allocation(nth);
            const std::string shorter = perform(verb, rest);
            EXPECT_TRUE(goes_on || shorter == now || shorter[0] == (verb == "group" ? '0' : '-')) << shorter;
            call(xmlResetLastError);  // it has texts
            EXPECT_EQ(faults::blocks(), blocks) << nth;
        }
        EXPECT_EQ(lock_value(), parts[3] != " !semop:2");
        semctl(lock_, 0, SETVAL, 1);
    }

    auth_buffer_t *buffer_ = nullptr;
    int lock_ = -1, segment_ = -1;
    pid_t server_ = -1;
    std::string rest_;  // of a line, and its words
    form::Words words_;
    user_profile_t profile_;
    user_group_t group_;
    kvio_config_t *document_;
};

TEST_F(Users, DoWhatTheSessionsShow) {
    mkfifo("/tmp/never", 0600);
    std::istringstream file(replaced(replaced(read_file(SESSIONS "users.t"), "\n   ", ""), " ;; ", "\n"));
    for (std::string line; std::getline(file, line);) {
        SCOPED_TRACE(line);
        line = replaced(replaced(form::expanded(line), R"(\\n)", "\n"), "dawdle", "read x <>/tmp/never");
        if (!line.empty() && line[0] != '#') check(line);
    }
}

TEST_F(Users, FreeTheFirstSlotsOfExactlyTheName) {
    for (int method : {1, 2, 3}) {
        std::memset(buffer_, 0xee, sizeof *buffer_);
        for (int slot : {6, 7, 8, 9})
            put(buffer_->auth[slot], {slot == 7 ? 2 : 1, {}, method}, slot == 6 ? "alicex" : "alice");
        for (int slot : {48, 49}) put(buffer_->radius[slot], {1, {}, 0, {}, 1, 2, {}}, "alice");
        auth_buffer_t expected = *buffer_;
        expected.auth[8].in_use = expected.auth[8].user[0] = 0;
        if (method == 2) expected.radius[48].in_use = 0;
        EXPECT_EQ(release_auth_list("alice") + release_auth_list("nobody") + release_auth_list("ali"), 0);
        EXPECT_EQ(std::memcmp(buffer_, &expected, sizeof expected), 0) << method;
    }
}

// The caller is a process of its own: 1 to 7 are the standard descriptors that it has closed, 8 takes no signals, 9 many
// and ends all its children, and 10 is killed with the lock.
TEST_F(Users, LeaveTheProcessOfTheCallerAlone) {
    write_file(conf, "host h\nport 389\nbase dc=x\npam_login_attribute uid\n");
    // The listing itself is descriptor 3.
    write_file(tool,
               "#!/bin/sh\n(grep 'Sig[BI]' /proc/self/status; ls /proc/self/fd) | tr -d '\\n' >/tmp/state\n"
               "printf 'type: user\\nleaseTime: 1\\nreauthTime: 30\\n'; sleep .05; echo 'result: 0'",
               0700);
    sigset_t all;
    sigfillset(&all);
    const itimerval each_ms = {{0, 1000}, {0, 1000}};
    for (unsigned kind = 1; kind <= 10; ++kind) {
        if (kind == 10) faults::intrude("shmat", [] { raise(SIGKILL); });
        const pid_t caller = fork();
        if (caller == 0) {
            for (int fd = 0; fd < 3; ++fd)
                if (kind < 8 && kind & 1u << fd) ::close(fd);
            for (int number = 1; number < NSIG && kind == 8; ++number) signal(number, SIG_IGN);
            if (kind == 8) sigprocmask(SIG_BLOCK, &all, nullptr);
            if (kind == 9) signal(SIGALRM, [](int) {});
            if (kind == 9) signal(SIGCHLD, [](int) { waitpid(-1, nullptr, WNOHANG); });
            if (kind == 9) setitimer(ITIMER_REAL, &each_ms, nullptr);
            if (kind == 10) call([] { release_auth_list("alice"); });
            const pid_t other = fork();
            if (other == 0) _exit(0);
            const bool found = get_info_from_ldap(&profile_, "a") == 0 && profile_.type == 1 && profile_.re_auth == 30;
            _exit(found && (kind > 7 || waitpid(other, nullptr, 0) == other) ? 0 : 1);
        }
        int status = -1;
        EXPECT_EQ(waitpid(caller, &status, 0), caller);
        EXPECT_EQ(status, kind == 10 ? SIGKILL : 0) << kind;
        EXPECT_EQ(read_file("/tmp/state"), "SigBlk:\t0000000000000000SigIgn:\t00000000000000000123") << kind;
    }
}

}  // namespace
