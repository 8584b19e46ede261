#include "users/profile.h"

#include <cstddef>
#include <cstdlib>

static_assert(sizeof(user_profile_t) == 1184 && offsetof(user_profile_t, account) == 32 &&
              offsetof(user_profile_t, type) == 1152 && offsetof(user_profile_t, reserved) == 1180);
static_assert(sizeof(void *) != 4 || sizeof(user_type_def_t) == 52);

const user_type_def_t def_user_profile[5] = {
    {"admin", "Administrator", "def_set_admin", 120, 120, 1, 0, 1440, 1440, 1440, "admin_users", 5, 1},
    {"limited-admin", "Limited-Admin", "def_set_ladmin", 100, 100, 1, 0, 1440, 1440, 1440, "admin_users", 5, 1},
    {"ext-user", "Ext-User", "def_set_ext_user", 80, 80, 1, 1, 1440, 1440, 1440, "ext_local_users", 128, 0},
    {"ext-group-user", "Ext-Group-User", "def_set_ext_group_user", 80, 80, 1, 1, 1440, 1440, 1440, "ext_local_users",
     128, 0},
    {},
};

void free_user_profile(user_profile_t *profile) { std::free(profile); }

const char *get_type_str_for_log(unsigned int index) {
    return index < 4 ? def_user_profile[index].display_name : nullptr;
}

const TypeDefaults &defaults_of_word(const char *word) {
    auto begins = [word](const char *beginning) { return std::strncmp(word, beginning, std::strlen(beginning)) == 0; };
    if (!word) return guest_defaults;
    if (begins("admin")) return admin_defaults;
    if (begins("limited-admin")) return limited_admin_defaults;
    if (begins("user") || begins("ext-user")) return user_defaults;
    return guest_defaults;
}

void set_defaults(user_profile_t &profile, const TypeDefaults &defaults) {
    profile.type = defaults.type;
    profile.access = defaults.access;
    profile.visibility = defaults.visibility;
    profile.remote_admin = defaults.remote_admin;
    profile.remote_access = defaults.remote_access;
}

const char *type_word(std::int32_t type) {
    switch (type) {
        case USER_TYPE_ADMIN:
            return "admin";
        case USER_TYPE_USER:
            return "user";
        case USER_TYPE_GUEST:
            return "guest";
        case USER_TYPE_LIMITED_ADMIN:
            return "limited-admin";
        default:
            return "ext-user";
    }
}

bool name_fits(const char *name, const char *function) {
    if (std::strlen(name) < sizeof(user_profile_t::name)) return true;
    kvlog(USER_OP, "[%s]User name is too long:%s.", function, name);
    return false;
}

bool set_name(user_profile_t &profile, const char *name, const char *function) {
    return name_fits(name, function) && copy_if_fits(profile.name, sizeof profile.name, name);
}
