// The table of user types, the exported one, and the fields that all sources fill alike.
#include "users/users.h"

static_assert(sizeof(user_profile_t) == 1184 && (sizeof(void *) != 4 || sizeof(user_type_def_t) == 52));

namespace {

constexpr UserType types[] = {
    {USER_TYPE_ADMIN, "admin", 120, 120, 1, 0}, {USER_TYPE_LIMITED_ADMIN, "limited-admin", 100, 100, 1, 0},
    {USER_TYPE_USER, "user", 80, 80, 1, 1},     {USER_TYPE_EXT_USER, "ext-user", 80, 80, 1, 1},
    {USER_TYPE_GUEST, "guest", 50, 50, 0, 1},
};
constexpr const UserType &user = types[2], &ext_user = types[3], &guest = types[4];

}  // namespace

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

const UserType &type_of_code(std::int32_t code) {
    for (const UserType &type : types)
        if (type.code == code) return type;
    return guest;
}

const UserType &type_of_word(const char *text, bool is_whole) {
    for (const UserType &type : types) {
        std::size_t length = std::strlen(type.word);
        if (text && std::strncmp(text, type.word, is_whole ? length + 1 : length) == 0)
            return &type == &ext_user ? user : type;
    }
    return guest;
}

const char *word_of_code(std::int32_t code) {
    const UserType &type = type_of_code(code);
    return type.code == code ? type.word : ext_user.word;
}

void set_type(user_profile_t &profile, const UserType &type) {
    profile.type = type.code;
    profile.access = type.access;
    profile.visibility = type.visibility;
    profile.remote_admin = type.remote_admin;
    profile.remote_access = type.remote_access;
}
