// The shared buffer and its lock, made as the appliance's authentication modules make them, and what the tests of the
// user functions have in common.
#ifndef KAVEX_TESTS_USERS_FIXTURE_H
#define KAVEX_TESTS_USERS_FIXTURE_H

#include <kavex/users.h>

#include <initializer_list>
#include <string>

#include "tests/support/appliance.h"

// With lock and buffer. Afterwards the lock must be at 1 and the buffer attached by nobody but the fixture.
class UsersTest : public ApplianceTest {
protected:
    void SetUp() override;
    void TearDown() override;

    void make_lock();
    void make_buffer(size_t size = sizeof(auth_buffer_t));
    void remove_lock();
    void remove_buffer();
    int lock_value() const;
    int attachments() const;

    void log_in(int slot, const char *user, int method, int in_use = 1);
    void radius(int slot, const char *user, int type, int lease_time, int re_auth, int in_use = 1);

    auth_buffer_t *buffer_ = nullptr;
    int lock_ = -1;

private:
    int segment_ = -1;
};

// The log with these messages, each with what stands before the messages of the user functions.
std::string user_log(std::initializer_list<std::string> messages);

// "NAME ACCOUNT type access visibility lease_time re_auth remote_admin remote_access", and what was not written shows
// as it was filled: "-" in the texts, 7 in the numbers.
user_profile_t unwritten();
std::string show(const user_profile_t &profile);

// An outcome that leaves kvio_errno and descriptor 2 alone.
Outcome outcome(long result, std::initializer_list<std::string> messages);

constexpr char auth_key_file[] = "/lib/security/pam_auth_admin.so";
constexpr char lock_key_file[] = "/lib/security/pam_unix.so";

#endif
