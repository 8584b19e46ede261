// Profiles from the RADIUS results in the shared authentication buffer.
#include "users/users.h"

int get_info_from_radius(user_profile_t *profile, const char *user) {
    if (!profile || !user) return -1;
    int slot = -1;
    if (AttachedBuffer searched("check_radius_db", user); searched) slot = find_slot(searched->radius, user);
    if (slot < 0) return LOGGED(-1, "[%s]User:%s does not found in RADIUS database.", __func__, user);

    AttachedBuffer buffer(__func__, user);
    if (!buffer) return -1;
    radius_entry_t entry = buffer->radius[slot];
    entry.user[sizeof entry.user - 1] = '\0';  // It may have changed where the caller has no lock.
    if (entry.type == -1) return LOGGED(-1, "[%s]RADIUS user:%s does not have attributes.", __func__, user);
    if (!set_name(*profile, entry.user, __func__)) return -1;
    set_type(*profile, type_of_code(entry.type));
    profile->lease_time = entry.lease_time;
    profile->re_auth = entry.re_auth;
    if (entry.lease_time && entry.re_auth) return 0;
    return LOGGED(-1, "[%s]Cannot retrieve lease time/reauth time for RADIUS user:%s.", __func__, user);
}
