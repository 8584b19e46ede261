// User groups, their descriptions, and the default settings for users, read from the template files.
#include <cerrno>
#include <climits>

#include "base/array.h"
#include "users/users.h"

static_assert(sizeof(user_group_t) == 1213476);

namespace {

constexpr char group_scope[] = "object/user_group";
constexpr char group_type[] = "user_group_object_t";
constexpr int capacity = sizeof(user_group_t::members) / sizeof(user_profile_t);
constexpr std::size_t longest_name = 127;

// Bounds expansions that the store has not checked for loops: groups that each nest the next one twice double their
// number on every level, and without members the record never becomes full.
constexpr int most_unchecked_groups = 10'000;

using Snapshot = Owned<kvio_config_t, kvio_close_config>;
using UserGroup = Owned<user_group_t, free_user_group>;

// Restores kvio_errno, which belongs to the caller's own store calls. Declare it before the handles of the store.
struct StoreCodeKept {
    const int code = kvio_errno;
    ~StoreCodeKept() { kvio_errno = code; }
};

// A snapshot of a template file; null with errno, and with the store's line on the standard error stream, if it cannot
// be read or open_trusted() refuses it.
Snapshot open_template(const char *path) {
    if (open_trusted(path)) return Snapshot(kvio_restore_scope(path));
    KeptErrno kept;
    std::fprintf(stderr, "%s is not well-formed\n", path);  // as the store prints it for a missing file
    return nullptr;
}

// Appends the members of a group to a record, with the members of nested groups in their place. The groups that are
// being expanded are kept on a stack here: their depth is limited by memory only.
struct Expansion {
    struct Level {
        char name[longest_name + 1];
        kvio_iterator_t *group;
        int size;      // -1 if the group cannot be opened
        int position;  // of the latest member, from 1
    };

    kvio_config_t *document;
    user_group_t &record;
    const char *asked;     // the name of the outermost group
    int groups_left;       // that may still be opened
    const char *function;  // which the messages name
    Array<Level> levels = {};

    ~Expansion() {
        for (const Level &level : levels) kvio_close_group(level.group);
    }

    // False, after a message, if not all members could be appended; the record then holds those before.
    bool run() {
        if (!enter(asked)) return false;
        while (!levels.empty()) {
            Level &level = levels.top();
            if (level.position < level.size) {
                if (!append_member(level.group, ++level.position)) return false;
            } else {
                kvio_close_group(level.group);
                levels.pop();
            }
        }
        return true;
    }

    bool out_of_memory() const { return LOGGED(false, "[%s]Insufficient memory.", function); }

    bool enter(const char *name) {
        if (groups_left-- == 0) return LOGGED(false, "[%s]Group:%s is nested too deeply.", function, shown(asked));
        Level level{};
        copy_if_fits(level.name, sizeof level.name, shown(name));
        level.group = kvio_open_group(document, group_scope, group_type, name);
        if (!level.group && kvio_errno == KVIO_NO_MEMORY) return out_of_memory();
        level.size = kvio_size(level.group);
        if (levels.push(level)) return true;
        kvio_close_group(level.group);
        return out_of_memory();
    }

    // Skips a member that has no name, and a group that is being expanded already. Logs and skips a name that is too
    // long.
    bool append_member(kvio_iterator_t *group, int position) {
        char name[longest_name + 2];  // One byte more than a name may have, to recognise names that were cut.
        int kind = kvio_regain_index2(group, static_cast<unsigned>(position), name, sizeof name);
        if (kind < 0) return kvio_errno != KVIO_XML || out_of_memory();
        if (kind == 1) {
            if (std::strlen(name) > longest_name) return LOGGED(true, "[%s]Group name is too long:%s.", function, name);
            for (const Level &level : levels)
                if (same(level.name, name)) return true;
            return enter(name);
        }
        if (!name_fits(name, function)) return true;
        if (record.member_count >= 0 && record.member_count < capacity)
            return set_name(record.members[record.member_count++], name, function);
        return LOGGED(false, "[%s]Group:%s has more than %d members.", function, asked, capacity);
    }
};

}  // namespace

user_group_t *retrieve_user_group(const char *group) {
    if (!group) return nullptr;
    BufferLock lock = lock_buffer(__func__);
    if (!lock) return nullptr;
    StoreCodeKept kept;
    Snapshot document = open_template(paths::group_template);
    if (!document) return LOGGED(nullptr, "[%s]Open backup file has failed.", __func__);
    Owned<kvio_iterator_t, kvio_close_group> opened(kvio_open_group(document.get(), group_scope, group_type, group));
    if (!opened) return LOGGED(nullptr, "[%s]Open group has failed.", __func__);
    // Checks that the group is sound and has no loops.
    Owned<kvio_entities_t, kvio_free_entities> entities(kvio_retrieve_all(opened.get()));
    if (!entities) return LOGGED(nullptr, "[%s]Retrieve group's entities has failed.", __func__);
    auto record = zeroed<UserGroup>();
    if (!record) return LOGGED(nullptr, "[%s]Insufficient memory.", __func__);
    if (!Expansion{document.get(), *record, group, INT_MAX, __func__}.run()) return nullptr;
    return record.release();
}

int get_member(kvio_config_t *document, const char *group, user_group_t *record) {
    StoreCodeKept kept;
    if (record) Expansion{document, *record, group, most_unchecked_groups, __func__}.run();
    return 1;
}

int check_user_in_group(const char *group, const char *user) {
    if (!user || !name_fits(user, __func__)) return -1;
    UserGroup record(retrieve_user_group(group));
    if (!record) return -1;
    for (int i = 0; i < record->member_count; ++i)
        if (same(record->members[i].name, user)) return 1;
    return 0;
}

int verify_user_group(const char *group) {
    if (!group) return -1;
    BufferLock lock = lock_buffer(__func__, false);
    if (!lock) return -1;
    StoreCodeKept kept;
    Snapshot document = open_template(paths::group_template);
    if (!document) return LOGGED(-1, "[%s]Retrieve backup file has failed:%s.", __func__, std::strerror(errno));
    bool is_defined = kvio_retrieve_entity(document.get(), group_scope, "group_description_t", group);
    document.reset();
    if (lock.close() < 0) return LOGGED(-1, "[%s]Unlock buffer has failed:%s.", __func__, std::strerror(errno));
    return is_defined ? 1 : 0;
}

void free_user_group(user_group_t *group) { std::free(group); }

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
