#include "tests/users_fixture.h"

#include <sys/sem.h>
#include <sys/shm.h>
#include <unistd.h>

#include <cstring>
#include <sstream>

void UsersTest::SetUp() {
    for (const char *path : {"/etc/passwd", "/tmp/domuser", "/etc/http_ldap.conf", "/bin/ldapsearch"}) unlink(path);
    write_file(auth_key_file, "");
    write_file(lock_key_file, "");
    ApplianceTest::SetUp();
    make_lock();
    make_buffer();
}

void UsersTest::TearDown() {
    EXPECT_TRUE(lock_ < 0 || lock_value() == 1) << "the lock was not given back";
    EXPECT_TRUE(!buffer_ || attachments() == 1) << "the buffer is still attached";
    remove_lock();
    remove_buffer();
    ApplianceTest::TearDown();
}

void UsersTest::make_lock() {
    lock_ = semget(ftok(lock_key_file, 83), 1, IPC_CREAT | IPC_EXCL | 0666);
    ASSERT_GE(lock_, 0);
    ASSERT_EQ(semctl(lock_, 0, SETVAL, 1), 0);
}

void UsersTest::make_buffer(size_t size) {
    segment_ = shmget(ftok(auth_key_file, 83), size, IPC_CREAT | IPC_EXCL | 0666);
    ASSERT_GE(segment_, 0);
    void *bytes = shmat(segment_, nullptr, 0);
    ASSERT_NE(bytes, reinterpret_cast<void *>(-1));
    buffer_ = static_cast<auth_buffer_t *>(bytes);
}

void UsersTest::remove_lock() {
    if (lock_ >= 0) semctl(lock_, 0, IPC_RMID);
    lock_ = -1;
}

void UsersTest::remove_buffer() {
    if (!buffer_) return;
    shmdt(buffer_);
    shmctl(segment_, IPC_RMID, nullptr);
    buffer_ = nullptr;
}

int UsersTest::lock_value() const { return semctl(lock_, 0, GETVAL); }

int UsersTest::attachments() const {
    shmid_ds status = {};
    shmctl(segment_, IPC_STAT, &status);
    return static_cast<int>(status.shm_nattch);
}

void UsersTest::log_in(int slot, const char *user, int method, int in_use) {
    auth_entry_t &entry = buffer_->auth[slot];
    entry.in_use = in_use;
    std::strncpy(entry.user, user, sizeof entry.user);
    entry.method = method;
}

void UsersTest::radius(int slot, const char *user, int type, int lease_time, int re_auth, int in_use) {
    radius_entry_t &entry = buffer_->radius[slot];
    entry.in_use = in_use;
    std::strncpy(entry.user, user, sizeof entry.user);
    entry.type = type;
    entry.lease_time = lease_time;
    entry.re_auth = re_auth;
}

std::string user_log(std::initializer_list<std::string> messages) {
    std::string log;
    for (const std::string &message : messages) log += "USER 3,7,3,0,0,0,0: " + message;
    return log;
}

user_profile_t unwritten() {
    user_profile_t profile;
    std::memset(&profile, '-', sizeof profile);
    profile.name[1] = profile.account[1] = '\0';
    for (int32_t *number = &profile.type; number <= &profile.reserved; ++number) *number = 7;
    return profile;
}

std::string show(const user_profile_t &p) {
    std::ostringstream text;
    text << p.name << ' ' << p.account;
    for (int number : {p.type, p.access, p.visibility, p.lease_time, p.re_auth, p.remote_admin, p.remote_access})
        text << ' ' << number;
    if (p.reserved != 7 && p.reserved != 0) text << " (reserved written)";
    return text.str();
}

Outcome outcome(long result, std::initializer_list<std::string> messages) {
    return {result, untouched, "", user_log(messages)};
}
