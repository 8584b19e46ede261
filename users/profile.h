// What the user functions share about profiles: the user types' numbers and words, and the checked name.
#ifndef KAVEX_USERS_PROFILE_H
#define KAVEX_USERS_PROFILE_H

#include <kavex/users.h>

#include "base/kvlog.h"
#include "base/text.h"

// What comes with a user type where a source gives no numbers of its own.
struct TypeDefaults {
    std::int32_t type, access, visibility, remote_admin, remote_access;
};

inline constexpr TypeDefaults admin_defaults{USER_TYPE_ADMIN, 120, 120, 1, 0};
inline constexpr TypeDefaults limited_admin_defaults{USER_TYPE_LIMITED_ADMIN, 100, 100, 1, 0};
inline constexpr TypeDefaults user_defaults{USER_TYPE_USER, 80, 80, 1, 1};
inline constexpr TypeDefaults guest_defaults{USER_TYPE_GUEST, 50, 50, 0, 1};

// Recognises a type word by its beginning; a null, empty or unknown one is a guest's.
const TypeDefaults &defaults_of_word(const char *word);

void set_defaults(user_profile_t &profile, const TypeDefaults &defaults);

// The word for a type code in account files and messages: "ext-user" for codes that are none.
const char *type_word(std::int32_t type);

// Does the name fit in a profile? If not, this is logged under the function's name.
bool name_fits(const char *name, const char *function);

// Stores the name, or changes nothing if it does not fit.
bool set_name(user_profile_t &profile, const char *name, const char *function);

#endif
