// What the user functions share about profiles: the table of user types, and the checked name.
#ifndef KAVEX_USERS_PROFILE_H
#define KAVEX_USERS_PROFILE_H

#include <kavex/users.h>

#include "base/kvlog.h"
#include "base/text.h"

// A user type: its code, its word in account files and messages, and the numbers its users have by default.
struct UserType {
    std::int32_t code;
    const char *word;
    std::int32_t access, visibility, remote_admin, remote_access;
};

// The type of a code; guest for any other number.
const UserType &type_of_code(std::int32_t code);

// The type whose word is the text, or whose word the text begins with. The word "ext-user" gives the type user; a null
// or unknown text gives guest.
const UserType &type_of_word(const char *text);
const UserType &type_of_beginning(const char *text);

// The word of a code; "ext-user" for any other number.
const char *word_of_code(std::int32_t code);

// Sets type, levels and remote flags.
void set_type(user_profile_t &profile, const UserType &type);

// True if the name fits in a profile; otherwise logs so under the function's name.
bool name_fits(const char *name, const char *function);

// Stores the name, or changes nothing if it does not fit.
bool set_name(user_profile_t &profile, const char *name, const char *function);

#endif
