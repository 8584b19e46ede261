// The user functions: the sessions of users.t over a shared buffer, account files, a stand-in for the search tool and a
// real directory server, and what the processes of a look-up do to one another.
#include <fcntl.h>
#include <kavex/users.h>
#include <libxml/xmlerror.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <memory>
#include <random>
#include <regex>
#include <sstream>

#include "tests/play/form.h"
#include "tests/support/appliance.h"

// Owners that the test process has no capability to give its files are reported in place of the true ones. And a busy
// machine is no reason to give up: each wait for a tool takes so many times as long.
static uid_t file_owner, link_owner, effective_user;
static int patience = 20;
static int allocated;  // by the latest call of a session

extern "C" int fstat(int fd, struct stat *status) noexcept {
    const int result = fstatat(fd, "", status, AT_EMPTY_PATH);
    if (file_owner) status->st_uid = file_owner;
    return result;
}
extern "C" int lstat(const char *path, struct stat *status) noexcept {
    const int result = fstatat(AT_FDCWD, path, status, AT_SYMLINK_NOFOLLOW);
    if (link_owner) status->st_uid = link_owner;
    return result;
}
extern "C" uid_t geteuid() noexcept { return effective_user ? effective_user : getuid(); }
extern "C" int poll(pollfd *entries, nfds_t count, int milliseconds) {
    const long wait = milliseconds * (count ? patience : 1L);
    const timespec time = {wait / 1000, wait % 1000 * 1'000'000};
    return ppoll(entries, count, milliseconds < 0 ? nullptr : &time, nullptr);
}

namespace {

using form::Words;

constexpr char buffer_key[] = "/lib/security/pam_auth_admin.so", lock_key[] = "/lib/security/pam_unix.so",
               passwd[] = "/etc/passwd", domain[] = "/tmp/domuser", conf[] = "/etc/http_ldap.conf",
               tool[] = "/bin/ldapsearch", groups[] = "/tmp/template_group.xml", settings[] = "/tmp/template_user.xml";
const std::string entry = "type: admin\nleaseTime: 60\nreauthTime: 30\n";

// With the lock and the buffer as the appliance's authentication modules make them.
class Users : public ApplianceTest, public testing::WithParamInterface<const char *> {
protected:
    void SetUp() override {
        for (const char *path : {buffer_key, lock_key, passwd, domain}) write_file(path, "");
        write_file("/tmp/entry", entry);
        write_file("/tmp/answer", entry + "search: 2\nresult: 0 Success\n");
        write_file(conf, "host h\nport 389\nbase dc=x\npam_login_attribute uid\n");
        search_tool("cat /tmp/answer");
        mkfifo("/tmp/never", 0600);
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
        for (const char *path : {passwd, domain, conf, tool, groups, settings}) std::filesystem::remove(path);
        patience = 20;
        ApplianceTest::TearDown();
    }

    int lock_value() const { return semctl(lock_, 0, GETVAL); }
    int attachments() const {
        shmid_ds status = {};
        shmctl(segment_, IPC_STAT, &status);
        return static_cast<int>(status.shm_nattch);
    }

    void log_in(int slot, const std::string &user, int method, int in_use = 1) {
        buffer_->auth[slot].in_use = in_use;
        buffer_->auth[slot].method = method;
        std::strncpy(buffer_->auth[slot].user, user.c_str(), sizeof buffer_->auth[slot].user);
    }
    void answer(int slot, const std::string &user, int type, int lease_time, int re_auth) {
        buffer_->radius[slot] = {1, {}, type, {}, lease_time, re_auth, {}};
        std::strncpy(buffer_->radius[slot].user, user.c_str(), sizeof buffer_->radius[slot].user);
    }
    static void search_tool(const std::string &commands) {
        write_file(tool, "#!/bin/sh\nprintf '<%s>' \"$0\" \"$@\" >/tmp/arguments\n" + commands, 0755);
    }

    static std::string replaced(const std::string &text, const std::string &what, const std::string &with) {
        return std::regex_replace(text, std::regex(what), with);
    }

    // The result of a call and its messages; those of a child process come last.
    static std::string seen(const std::function<long()> &body) {
        const Outcome outcome = call(body);
        allocated = faults::allocations();
        EXPECT_EQ(outcome.code, untouched) << "kvio_errno belongs to the store";
        const std::string log =
            outcome.log + outcome.err.substr(std::min(outcome.err.find("USER"), outcome.err.size()));
        return std::to_string(outcome.result) + replaced(log, "USER 3,7,3,0,0,0,0: ", "|");
    }

    // The same with the profile that was filled, or "-" where none was.
    static std::string filled(const std::function<long(user_profile_t *)> &look_up) {
        const user_profile_t before = {"-", "-", 7, 7, 7, 7, 7, 7, 7, 7};
        user_profile_t p = before;
        std::string text = seen([&] { return look_up(&p); });
        std::ostringstream profile;
        profile << ' ' << p.name << ' ' << p.account;
        for (int number : {p.type, p.access, p.visibility, p.lease_time, p.re_auth, p.remote_admin, p.remote_access})
            profile << ' ' << number;
        const bool written = std::memcmp(&p, &before, sizeof p) != 0;
        return text.insert(std::min(text.find('|'), text.size()), written ? profile.str() : " -");
    }
    static std::string ldap(const std::string &user) {
        return filled([&](user_profile_t *p) { return get_info_from_ldap(p, user.c_str()); });
    }

    // The same with the members of a group.
    static std::string members(const user_group_t *group, std::string text) {
        std::string all;
        for (int i = 0; group && i < group->member_count; ++i) all += std::string(" ") + group->members[i].name;
        if (group && group->member_count > 20) all = " " + std::to_string(group->member_count) + " members";
        return text.insert(std::min(text.find('|'), text.size()), all);
    }

    // A group such as "g:a,+h,3*", where "3*" are three times u.
    static std::string group(const std::string &definition) {
        std::string text =
            "<group type='user_group_object_t' name='" + definition.substr(0, definition.find(':')) + "'>";
        const std::string all = definition.substr(definition.find(':') + 1);
        for (const std::string &member : all.empty() ? Words() : form::split(all, ','))
            for (int i = 0; i < (member.find('*') < member.size() ? std::stoi(member) : 1); ++i)
                text += member[0] == '+' ? "<container>" + member.substr(1) + "</container>"
                                         : "<entity>" + member + "</entity>";
        return text + "</group>";
    }

    std::string perform(const std::string &verb, const std::string &rest, const Words &words);
    void start_server();

    auth_buffer_t *buffer_ = nullptr;
    int lock_ = -1, segment_ = -1;
    pid_t server_ = -1;
};

// What a line of a session shows.
std::string Users::perform(const std::string &verb, const std::string &rest, const Words &words) {
    const char *first = words[0].c_str();
    allocated = 0;
    auto number = [&](size_t at) { return std::stoi(words.at(at), nullptr, 0); };
    if (verb == "local") return filled([&](auto *p) { return get_info_from_local(p, first, number(1)); });
    if (verb == "verify") return seen([&] { return verify_user_group(first); });
    if (verb == "check") return seen([&] { return check_user_in_group(first, words.at(1).c_str()); });
    if (verb == "ldap") return ldap(rest);
    if (verb == "arguments") return read_file("/tmp/arguments");
    if (verb == "bind") write_file(conf, read_file(conf) + "binddn cn=reader,dc=example\nbindpw " + rest + "\n");
    if (verb == "conf") write_file(conf, replaced(rest, "\nuid", "\npam_login_attribute u"));
    if (verb == "tool") search_tool(replaced(rest, "dawdle", "read x <>/tmp/never"));
    if (verb == "conf" || verb == "tool" || verb == "bind") return ldap(verb == "bind" ? "ann" : "a");
    if (verb == "profile" || verb == "release") log_in(49, first, number(1));
    if (verb == "profile")
        return filled([&](auto *p) {
            const std::unique_ptr<user_profile_t, decltype(&free_user_profile)> found(get_user_profile(first),
                                                                                      free_user_profile);
            if (found) *p = *found;
            return found != nullptr;
        });
    if (verb == "release") return seen([&] { return release_auth_list(first); });
    if (verb == "answer") {
        answer(49, first, number(1), number(2), number(3));
        return filled([&](auto *p) { return get_info_from_radius(p, first); });
    }
    if (verb == "parse") {
        std::string copy = rest + '\0' + "admin 32 7 7 7";  // something follows in memory
        return filled([&](auto *p) { return parse_search_result(copy.data(), p, "a"); });
    }
    if (verb == "group") {
        std::string content = "<group_description_t name='described'/>";
        for (const std::string &word : words) content += group(word);
        write_file(groups, "<kavex><object><user_group>" + content + "</user_group></object></kavex>");
        user_group_t *record = nullptr;
        const std::string name = words[0].substr(0, words[0].find(':'));
        std::string text = seen([&] { return (record = retrieve_user_group(name.c_str())) != nullptr; });
        text = members(record, text);
        call([&] { free_user_group(record); });
        return text;
    }
    if (verb == "expand") {
        auto record = std::make_unique<user_group_t>();
        record->member_count = number(0);
        kvio_config_t *document = kvio_restore_scope(groups);
        const std::string text = seen([&] { return get_member(document, "g", record.get()); });
        kvio_close_config(document);
        return members(record.get(), text);
    }
    if (verb == "settings") {
        std::string content;
        const char *keys[] = {"type", "access", "visibility", "lease_time", "re_auth", "remote_admin", "remote_access"};
        for (size_t i = 1; i < words.size(); ++i)
            if (words[i] != "-") content += std::string("<") + keys[i - 1] + ">" + words[i] + "</" + keys[i - 1] + ">";
        write_file(settings, "<kavex><system><in_user><in_user_setting name='def_set'>" + content +
                                 "</in_user_setting></in_user></system></kavex>");
        return filled([&](auto *p) { return get_remote_setting(p, first); });
    }
    EXPECT_EQ(verb, "trusted");
    for (const char *path : {groups, settings, domain}) chmod(path, static_cast<mode_t>(number(3)));
    file_owner = static_cast<uid_t>(number(0));
    link_owner = static_cast<uid_t>(number(1));
    effective_user = static_cast<uid_t>(number(2));
    std::string text;
    call([&] {
        user_profile_t p;
        for (int result : {get_info_from_local(&p, "d", 1), verify_user_group("g"), get_remote_setting(&p, "d")})
            text += std::to_string(result) + " ";
    });
    file_owner = link_owner = effective_user = 0;
    return text;
}

// A directory server, and the real tool to search it.
void Users::start_server() {
    unlink(tool);
    ASSERT_EQ(symlink("/usr/bin/ldapsearch", tool), 0);
    std::string ldif;
    for (const char *user :
         {"a*b\ntype: user\nleaseTime: 1", "axb\ntype: admin\nleaseTime: 2", "x(y)z\ntype: user\nleaseTime: 3",
          "p\\q\ntype: user\nleaseTime: 5", "q\"r s\ntype: user\nleaseTime: 7",
          "twin\ntype: limited-admin\nleaseTime: 9", "twin\ntype: limited-admin\nleaseTime: 9"})
        ldif += "dn: cn=" + std::to_string(ldif.size()) + ",dc=example\nobjectClass: applianceUser\nuid: " + user +
                "\nreauthTime: 1\n\n";
    write_file("/tmp/more.ldif", ldif);
    const std::string port = std::to_string(10000 + std::random_device()() % 20000);
    write_file(conf, "host 127.0.0.77 127.0.0.1\nport " + port + "\nbase dc=example\npam_login_attribute uid\n");
    server_ = fork();
    if (server_ == 0) {
        execl(DIRECTORY, "directory", port.c_str(), "/tmp/more.ldif", nullptr);
        _exit(127);
    }
    for (int i = 0; i < 1200 && ldap("dora")[0] != '0'; ++i) usleep(50'000);
}

TEST_P(Users, Show) {
    std::istringstream file(read_file(SESSIONS "users.t"));
    std::string line;
    while (std::getline(file, line) && line.rfind("== " + std::string(GetParam()), 0) != 0) {}
    if (line.rfind("== directory", 0) == 0) start_server();
    if (line.rfind("== impatience", 0) == 0) patience = 1;
    while (std::getline(file, line) && line.rfind("==", 0) != 0) {
        line = replaced(form::expanded(line), R"(\\n)", "\n");
        std::smatch parts;
        if (line.empty() || line[0] == '#') continue;
        if (std::regex_match(line, parts, std::regex("(/\\S+) ([^]*)"))) {
            write_file(parts[1], parts[2], 0700);
            continue;
        }
        ASSERT_TRUE(std::regex_match(line, parts, std::regex("(\\w+) ?([^]*?)( !(\\w+):(\\d))? = ?(\\.\\.\\.)?([^]*)")))
            << line;
        if (parts[3].matched) faults::fail(parts[4].str().c_str(), EACCES, std::stoi(parts[5]));
        const std::string now = perform(parts[1], parts[2], form::split(parts[2]));
        EXPECT_TRUE(!parts[3].matched || faults::struck()) << line;
        const std::string end = now.substr(now.size() - std::min(now.size(), parts[7].str().size()));
        EXPECT_TRUE(parts[6].matched ? end == parts[7] : now.rfind(parts[7], 0) == 0) << line << "\n" << now;
        // The call again, with each allocation failing: it fails or gets by, and leaves nothing behind.
        const int allocations = parts[3].matched || patience == 1 || allocated > 500 ? 0 : allocated;
        call(xmlResetLastError);
        const long blocks = faults::blocks();
        for (int nth = 1; nth <= allocations; ++nth) {
            faults::fail_allocation(nth);
            const std::string shorter = perform(parts[1], parts[2], form::split(parts[2]));
            // These go on with another source, or without a member.
            const bool goes_on = parts[1] == "profile" || parts[1] == "expand";
            EXPECT_TRUE(goes_on || shorter == now || shorter.rfind(parts[1] == "group" ? "0" : "-1", 0) == 0)
                << line << shorter;
            call(xmlResetLastError);  // it has texts
            EXPECT_EQ(faults::blocks(), blocks) << line << nth;
        }
        EXPECT_TRUE(server_ > 0 || waitpid(-1, nullptr, WNOHANG) == -1) << "a child is left: " << line;
        EXPECT_EQ(lock_value(), parts[3] != " !semop:2") << line;
        semctl(lock_, 0, SETVAL, 1);
    }
}
INSTANTIATE_TEST_SUITE_P(Sessions, Users,
                         testing::Values("methods", "local", "RADIUS", "refused", "commands", "output", "tools",
                                         "impatience", "directory", "groups", "settings", "owners"),
                         [](const auto &session) { return session.param; });

class Buffer : public Users {};

TEST_F(Buffer, SlotsAreFoundAndFreedByExactlyTheName) {
    const std::string name31(31, 'n'), name32(32, 'n');
    log_in(0, "alice", 1, 2);  // not in use
    log_in(1, "alicex", 1);
    log_in(3, name32, 'n');  // no NUL within the field
    log_in(4, name31, 5);
    log_in(49, "alice", 7);
    for (const auto &[user, method] : {std::pair<std::string, int>("alice", 7), {"ali", -1}, {name31, 5}, {name32, -1}})
        EXPECT_EQ(get_auth_module(user.c_str()), method) << user;
    for (int method : {1, 2, 3}) {
        std::memset(buffer_, 0xee, sizeof *buffer_);
        for (int slot : {9, 10}) log_in(slot, "alice", method);
        for (int slot : {48, 49}) answer(slot, "alice", 0, 1, 2);
        auth_buffer_t expected = *buffer_;
        expected.auth[9].in_use = expected.auth[9].user[0] = 0;
        if (method == 2) expected.radius[48].in_use = 0;
        EXPECT_EQ(seen([] { return release_auth_list("alice"); }), "0");
        EXPECT_EQ(std::memcmp(buffer_, &expected, sizeof expected), 0) << method;
    }
    EXPECT_EQ(seen([] { return release_auth_list("nobody"); }), "0");
}

// No process reads a record that is being written, keeps the buffer attached while it waits for the lock, or keeps the
// lock when it is killed.
TEST_F(Buffer, BufferAndFilesAreOpenUnderTheLockOnly) {
    const std::tuple<std::function<void()>, const char *, int> steps[] = {
        {[] { release_auth_list("r"); }, "shmat", 2},
        {[] { free_user_profile(get_user_profile("r")); }, "shmat", 3},
        {[] { free_user_group(retrieve_user_group("r")); }, "open", 1},
        {[] { verify_user_group("r"); }, "open", 1}};
    write_file(groups, "<kavex/>");
    for (const auto &[operation, opens, times] : steps)
        for (int nth = 1; nth <= times; ++nth) {
            log_in(0, "r", 2);
            answer(0, "r", 0, 1, 1);
            const pid_t killed = fork();
            auto look = [&] {
                if (killed == 0) raise(SIGKILL);
                EXPECT_EQ(lock_value(), 0);
            };
            faults::intrude(opens, look, nth);
            faults::intrude(
                "semop", [&] { EXPECT_EQ(attachments(), 1); }, 2);
            int status = 0;
            EXPECT_TRUE(killed == 0 || waitpid(killed, &status, 0) == killed);
            EXPECT_EQ(lock_value(), 1);
            call(operation);
            if (killed == 0) _exit(1);
            EXPECT_EQ(status, SIGKILL);
        }
}

// The caller is a process of its own each time.
TEST_F(Buffer, SignalsDescriptorsAndChildrenOfTheCallerPlayNoPart) {
    auto set_all = [](void (*handler)(int), int how) {
        for (int number = 1; number < NSIG; ++number) signal(number, handler);
        sigset_t all;
        sigfillset(&all);
        sigprocmask(how, &all, nullptr);
    };
    std::vector<std::function<void()>> callers = {
        [&] { set_all(SIG_IGN, SIG_UNBLOCK); },
        [&] { set_all(SIG_DFL, SIG_BLOCK); },
        [] { signal(SIGCHLD, [](int) { waitpid(-1, nullptr, WNOHANG); }); },
        [] {  // is interrupted all the time
            struct sigaction action = {};
            action.sa_handler = [](int) {};
            sigaction(SIGALRM, &action, nullptr);
            const itimerval each_ms = {{0, 1000}, {0, 1000}};
            setitimer(ITIMER_REAL, &each_ms, nullptr);
        },
        [] {
            const rlimit limit = {2000, 2000};
            setrlimit(RLIMIT_NOFILE, &limit);
            for (int last = 0; last < 1024;) last = open("/dev/null", O_RDONLY | O_CLOEXEC);
        },
    };
    for (unsigned closed = 1; closed < 8; ++closed)
        callers.push_back([=] {
            for (int fd = 0; fd < 3; ++fd)
                if (closed & 1u << fd) close(fd);
        });
    // The listing itself is descriptor 3.
    search_tool(
        "(grep 'Sig[BI]' /proc/self/status; ls /proc/self/fd) | tr -d '\\n' >/tmp/state\n"
        "cat /tmp/entry; sleep .05; echo 'result: 0'");
    int status = -1;
    for (size_t i = 0; i < callers.size(); ++i) {
        const pid_t caller = fork();
        if (caller == 0) {
            callers[i]();
            user_profile_t p = {};
            _exit(get_info_from_ldap(&p, "a") == 0 && p.type == 0 && p.re_auth == 30 ? 0 : 1);
        }
        EXPECT_EQ(waitpid(caller, &status, 0), caller);
        EXPECT_EQ(status, 0) << i;
        EXPECT_EQ(read_file("/tmp/state"), "SigBlk:\t0000000000000000SigIgn:\t00000000000000000123") << i;
    }
    const pid_t other = fork();
    if (other == 0) _exit(42);
    siginfo_t ended;
    waitid(P_PID, static_cast<id_t>(other), &ended, WEXITED | WNOWAIT);
    // What another thread starts meanwhile must not get the pipe.
    auto inherited = [] {
        int count = 0;
        for (int fd = 0; fd < 100; ++fd) count += fcntl(fd, F_GETFD) == 0;
        return count;
    };
    faults::intrude("fork", [&, before = inherited()] { EXPECT_EQ(inherited(), before); });
    EXPECT_EQ(ldap("a").substr(0, 3), "0 a");
    EXPECT_EQ(waitpid(other, &status, 0), other) << "the caller's own child";

    // The tool gets a SIGTERM at once, often before it has begun.
    const auto before = signal(SIGTERM, [](int) { close(creat("/tmp/handled", 0600)); });
    write_file(conf, "host h\nport 1\nbase b\npam_login_attribute uid\ntimelimit 0\n");
    search_tool("exec sleep 60");
    for (int i = 0; i < 200; ++i) ldap("a");
    signal(SIGTERM, before);
    EXPECT_FALSE(file_exists("/tmp/handled"));
}

}  // namespace
