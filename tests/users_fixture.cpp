#include "tests/users_fixture.h"

#include <sys/sem.h>
#include <sys/shm.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <regex>
#include <sstream>

namespace {
constexpr char auth_key_file[] = "/lib/security/pam_auth_admin.so", lock_key_file[] = "/lib/security/pam_unix.so";
}

void UsersTest::SetUp() {
    for (const char *path : {"/etc/passwd", "/tmp/domuser", "/etc/http_ldap.conf", "/bin/ldapsearch",
                             "/tmp/template_group.xml", "/tmp/template_user.xml"})
        unlink(path);
    write_file(auth_key_file, "");
    write_file(lock_key_file, "");
    ApplianceTest::SetUp();
    lock_ = semget(ftok(lock_key_file, 83), 1, IPC_CREAT | IPC_EXCL | 0666);
    ASSERT_EQ(semctl(lock_, 0, SETVAL, 1), 0);
    make_buffer(sizeof(auth_buffer_t));
}

void UsersTest::TearDown() {
    EXPECT_EQ(lock_value(), 1) << "the lock was not given back";
    EXPECT_EQ(attachments(), 1) << "the buffer is still attached";
    semctl(lock_, 0, IPC_RMID);
    remove_buffer();
    ApplianceTest::TearDown();
}

void UsersTest::make_buffer(size_t size) {
    segment_ = shmget(ftok(auth_key_file, 83), size, IPC_CREAT | IPC_EXCL | 0666);
    void *bytes = shmat(segment_, nullptr, 0);
    ASSERT_NE(bytes, reinterpret_cast<void *>(-1));
    buffer_ = static_cast<auth_buffer_t *>(bytes);
}

void UsersTest::remove_buffer() {
    shmdt(buffer_);
    shmctl(segment_, IPC_RMID, nullptr);
}

int UsersTest::lock_value() const { return semctl(lock_, 0, GETVAL); }

int UsersTest::attachments() const {
    shmid_ds status = {};
    shmctl(segment_, IPC_STAT, &status);
    return static_cast<int>(status.shm_nattch);
}

void UsersTest::log_in(int slot, const std::string &user, int method, int in_use) {
    auth_entry_t &entry = buffer_->auth[slot];
    entry.in_use = in_use;
    entry.method = method;
    std::strncpy(entry.user, user.c_str(), sizeof entry.user);
}

void UsersTest::radius(int slot, const std::string &user, int type, int lease_time, int re_auth, int in_use) {
    radius_entry_t &entry = buffer_->radius[slot];
    entry.in_use = in_use;
    entry.type = type;
    entry.lease_time = lease_time;
    entry.re_auth = re_auth;
    std::strncpy(entry.user, user.c_str(), sizeof entry.user);
}

void search_tool(const std::string &commands) {
    write_file("/bin/ldapsearch", "#!/bin/sh\nprintf '<%s>' \"$0\" \"$@\" >>/tmp/arguments\n" + commands, 0755);
}

std::string seen(const std::function<long()> &body) {
    Outcome outcome = call(body);
    EXPECT_EQ(outcome.code, untouched) << "kvio_errno belongs to the store";
    const std::string log = outcome.log + outcome.err.substr(std::min(outcome.err.find("USER"), outcome.err.size()));
    return std::to_string(outcome.result) + std::regex_replace(log, std::regex("USER 3,7,3,0,0,0,0: "), "|");
}

std::string filled(const LookUp &look_up, const std::string &user) {
    const user_profile_t before = {"-", "-", 7, 7, 7, 7, 7, 7, 7, 7};
    user_profile_t profile = before;
    char words[] = "one two";
    std::strtok(words, " ");
    std::string text = seen([&] { return look_up(&profile, user.c_str()); });
    EXPECT_STREQ(std::strtok(nullptr, " "), "two") << "the caller's own splitting was disturbed";
    EXPECT_EQ(profile.reserved, 7);
    bool written = std::memcmp(&profile, &before, sizeof profile) != 0;
    return text.insert(std::min(text.find('|'), text.size()), " " + (written ? show(profile) : "-"));
}

std::string show(const user_profile_t &p) {
    std::ostringstream text;
    text << p.name << ' ' << p.account;
    for (int number : {p.type, p.access, p.visibility, p.lease_time, p.re_auth, p.remote_admin, p.remote_access})
        text << ' ' << number;
    return text.str();
}
