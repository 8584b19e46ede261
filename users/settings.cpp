// Profiles from the default settings for users, in a template file.
#include "users/users.h"

int get_remote_setting(user_profile_t *profile, const char *name) {
    if (!profile || !name) return -1;
    StoreCodeKept kept;
    Snapshot document = open_template(paths::user_template);
    if (!document) return -1;
    kvio_node_t *entity = kvio_retrieve_entity(document.get(), "system/in_user", "in_user_setting", "def_set");
    if (!entity || !set_name(*profile, name, __func__)) return -1;

    // From the first missing setting on all count as empty. No more bytes are read than fit with a NUL.
    char text[16] = "";  // Longer than the longest type word, so that no longer text looks like it.
    bool is_given = kvio_get2(entity, "type", text, sizeof text);
    profile->type = type_of_word(text, true).code;
    const struct {
        const char *key;
        unsigned size;
        std::int32_t *field;
    } numbers[] = {{"access", 6, &profile->access},
                   {"visibility", 6, &profile->visibility},
                   {"lease_time", 12, &profile->lease_time},
                   {"re_auth", 12, &profile->re_auth},
                   {"remote_admin", 2, &profile->remote_admin},
                   {"remote_access", 2, &profile->remote_access}};
    for (const auto &number : numbers) {
        is_given = is_given && kvio_get2(entity, number.key, text, number.size);
        *number.field = is_given ? to_int32(text) : 0;
    }
    return 0;
}
