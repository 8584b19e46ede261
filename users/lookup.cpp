// The profile of a user who has logged in, from the source of the user's authentication method.
#include <cerrno>

#include "users/users.h"

namespace {

// Fills a profile from the source of the method, and from a local account where a remote source fails. A name that has
// a slot in the shared buffer fits in both fields.
int look_up(int method, user_profile_t &profile, const char *user) {
    if (method == AUTH_METHOD_LOCAL) {
        copy_if_fits(profile.account, sizeof profile.account, user);
        return get_info_from_local(&profile, user, USER_TYPE_ANY);
    }
    const bool is_radius = method == AUTH_METHOD_RADIUS;
    int result = is_radius ? get_info_from_radius(&profile, user) : get_info_from_ldap(&profile, user);
    user_profile_t scratch;
    bool has_account = get_info_from_local(&scratch, user, USER_TYPE_EXT_USER) == 0;
    const char *account = has_account ? user : is_radius ? "radius-users" : "ldap-users";
    if (result < 0) {
        if (!has_account)
            kvlog(USER_OP, "Get user information from local database use default %s account.",
                  is_radius ? "radius-user" : "ldap-user");
        result = get_info_from_local(&profile, account, USER_TYPE_EXT_USER);
        copy_if_fits(profile.name, sizeof profile.name, user);
    }
    copy_if_fits(profile.account, sizeof profile.account, account);
    return result;
}

}  // namespace

user_profile_t *get_user_profile(const char *user) {
    if (!user) return nullptr;
    auto profile = zeroed<Owned<user_profile_t, free_user_profile>>();
    if (!profile) return LOGGED(nullptr, "[%s]Insufficient memory.", __func__);
    BufferLock lock = lock_buffer(__func__);
    if (!lock) return nullptr;

    int method = get_auth_module(user);
    kvlog(USER_OP, "User:%s has passed %d authentication method.", user, method);
    if (method == -1) return nullptr;
    int result = look_up(method, *profile, user);

    if (lock.close() < 0) kvlog(USER_OP, "[%s]Unlock buffer has failed.", __func__);
    if (result < 0) return LOGGED(nullptr, "[%s]Get user profile has failed: %s.", __func__, std::strerror(errno));
    kvlog(USER_OP, "User:%s, type=%s, lease time=%d, reauth time=%d.", profile->name, word_of_code(profile->type),
          profile->lease_time, profile->re_auth);
    return profile.release();
}
