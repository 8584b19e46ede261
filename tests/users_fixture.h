// The shared buffer and its lock, made as the appliance's authentication modules make them, and what the tests of the
// user functions have in common.
#ifndef KAVEX_TESTS_USERS_FIXTURE_H
#define KAVEX_TESTS_USERS_FIXTURE_H

#include <kavex/users.h>

#include <functional>
#include <string>

#include "tests/support/appliance.h"

// With lock and buffer, and without any file that a user function reads. Afterwards the lock must be at 1 and the
// buffer attached by the fixture only.
class UsersTest : public ApplianceTest {
protected:
    void SetUp() override;
    void TearDown() override;

    void make_buffer(size_t size);
    void remove_buffer();
    int lock_value() const;
    int attachments() const;

    void log_in(int slot, const std::string &user, int method, int in_use = 1);
    void radius(int slot, const std::string &user, int type, int lease_time, int re_auth, int in_use = 1);

    auth_buffer_t *buffer_ = nullptr;
    int lock_ = -1;

private:
    int segment_ = -1;
};

// The shell commands that "/bin/ldapsearch" consists of. What it is called with it appends to "/tmp/arguments".
void search_tool(const std::string &commands);

// What can be seen of a call: its result and its messages, each behind a bar, such as "-1|[f]text|[f]text"; those of a
// child process come last.
std::string seen(const std::function<long()> &body);

// The same of a look-up, with the profile that it filled: "0 NAME ACCOUNT type access visibility lease_time re_auth
// remote_admin remote_access|[f]text". What was not written shows as "-" in the texts and 7 in the numbers, a profile
// that was not written at all as "-".
using LookUp = std::function<long(user_profile_t *, const char *)>;
std::string filled(const LookUp &look_up, const std::string &user);
std::string show(const user_profile_t &profile);

// Whether there is one, which is released.
template <class Record>
bool given(Record *record, void (*release)(Record *)) {
    bool is_given = record;
    release(record);
    return is_given;
}

#endif
