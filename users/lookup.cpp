#include <cerrno>
#include <cstring>

#include "base/owned.h"
#include "users/auth_buffer.h"
#include "users/lookup.h"
#include "users/profile.h"

namespace {

using Profile = Owned<user_profile_t, free_user_profile>;

// Where the profile of a user with a remote authentication method comes from.
struct RemoteSource {
    int (*look_up)(user_profile_t *profile, const char *user);
    const char *default_account;  // the local account of users who have none of their own
    const char *name;             // what the default account is called in the message
};

constexpr RemoteSource radius{get_info_from_radius, "radius-users", "radius-user"};
constexpr RemoteSource ldap{get_info_from_ldap, "ldap-users", "ldap-user"};

// A name that has a slot in the shared buffer fits in both fields.
int look_up_local_user(user_profile_t &profile, const char *user) {
    int result = get_info_from_local(&profile, user, USER_TYPE_ANY);
    copy_if_fits(profile.account, sizeof profile.account, user);
    return result;
}

// The source's own answer is kept even if the user has a local account; the local accounts stand in for no answer.
int look_up_remote_user(const RemoteSource &source, user_profile_t &profile, const char *user) {
    int result = source.look_up(&profile, user);
    if (check_local_ext_user(user) == -1) {
        if (result < 0) {
            kvlog(USER_OP, "Get user information from local database use default %s account.", source.name);
            result = get_info_from_local(&profile, source.default_account, USER_TYPE_EXT_USER);
            copy_if_fits(profile.name, sizeof profile.name, user);
        }
        copy_if_fits(profile.account, sizeof profile.account, source.default_account);
    } else {
        if (result < 0) result = get_info_from_local(&profile, user, USER_TYPE_EXT_USER);
        copy_if_fits(profile.account, sizeof profile.account, user);
    }
    return result;
}

int look_up(int method, user_profile_t &profile, const char *user) {
    switch (method) {
        case AUTH_METHOD_LOCAL:
            return look_up_local_user(profile, user);
        case AUTH_METHOD_RADIUS:
            return look_up_remote_user(radius, profile, user);
        default:
            return look_up_remote_user(ldap, profile, user);
    }
}

}  // namespace

int check_local_ext_user(const char *user) {
    user_profile_t scratch;
    return get_info_from_local(&scratch, user, USER_TYPE_EXT_USER);
}

user_profile_t *get_user_profile(const char *user) {
    if (!user) return nullptr;
    auto profile = zeroed<Profile>();
    if (!profile) {
        kvlog(USER_OP, "[%s]Insufficient memory.", __func__);
        return nullptr;
    }
    BufferLock lock(__func__);
    if (!lock) return nullptr;

    int method = get_auth_module(user);
    kvlog(USER_OP, "User:%s has passed %d authentication method.", user, method);
    if (method == -1) return nullptr;
    int result = look_up(method, *profile, user);

    if (lock.unlock() < 0) kvlog(USER_OP, "[%s]Unlock buffer has failed.", __func__);
    if (result < 0) {
        kvlog(USER_OP, "[%s]Get user profile has failed: %s.", __func__, std::strerror(errno));
        return nullptr;
    }
    kvlog(USER_OP, "User:%s, type=%s, lease time=%d, reauth time=%d.", profile->name, word_of_code(profile->type),
          profile->lease_time, profile->re_auth);
    return profile.release();
}
