// Declarations that the sources of users/ share: user types, the authentication buffer and its lock, LDAP.
#ifndef KAVEX_USERS_USERS_H
#define KAVEX_USERS_USERS_H

#include <kavex/users.h>

#include <utility>

#include "base/files.h"
#include "base/kvlog.h"
#include "base/paths.h"
#include "base/text.h"

// Logs a message of the user functions and has the value `result`.
#define LOGGED(result, ...) LOGGED_AS(result, USER_OP, __VA_ARGS__)

// A user type: its code, its word in account files and messages, and the numbers its users have by default.
struct UserType {
    std::int32_t code;
    const char *word;
    std::int32_t access, visibility, remote_admin, remote_access;
};

// The type of a code; guest for any other number.
const UserType &type_of_code(std::int32_t code);
// The type whose word the text is, or only begins with. The word "ext-user" gives the type user, an unknown one guest,
// and so does a null text.
const UserType &type_of_word(const char *text, bool is_whole);
// The word of a code; "ext-user" for any other number.
const char *word_of_code(std::int32_t code);
// Sets type, levels and remote flags.
void set_type(user_profile_t &profile, const UserType &type);
// True if the name fits in a profile; otherwise logs that it does not under the function's name. set_name() stores it.
inline bool name_fits(const char *name, const char *function) {
    if (std::strlen(name) < sizeof(user_profile_t::name)) return true;
    return LOGGED(false, "[%s]User name is too long:%s.", function, name);
}
inline bool set_name(user_profile_t &profile, const char *name, const char *function) {
    return name_fits(name, function) && copy_if_fits(profile.name, sizeof profile.name, name);
}

// Gives the buffer lock back; 0, or -1 with errno.
int unlock_buffer(int id);

using BufferLock = Number<unlock_buffer>;

// Takes the buffer lock; waits until it is free or a signal handler runs. None after a failure, which is logged under
// the function's name. `with_reason` adds the text of errno to the message about a missing semaphore set.
BufferLock lock_buffer(const char *function, bool with_reason = true);

constexpr std::size_t command_size = 512;

// Cuts a command line into arguments within itself, which end with a null pointer. An argument in double quotes, which
// the first one cannot be, runs to the next quote, any other to the next space. At least one character stands between
// two arguments, so that the array is large enough for any command line.
void split(char *line, char *(&arguments)[command_size]);

// Runs the search tool, which asks one server for the user's entry. True if it was found and the profile filled, false
// after a message. The tool does not survive the call, which takes at most the time limit and 2 seconds. The command
// line is cut into arguments within itself.
bool search(char (&command)[command_size], const char *shown_command, const char *host, const char *user,
            int time_limit, user_profile_t &profile);

#endif
