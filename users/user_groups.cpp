// User groups of the template file: their members, with nested groups expanded, and their descriptions.
#include <cerrno>
#include <climits>
#include <cstddef>

#include "base/array.h"
#include "users/users.h"

static_assert(sizeof(user_group_t) == 1213476 && offsetof(user_group_t, members) == 1056 &&
              offsetof(user_group_t, member_count) == 1213472);

namespace {

constexpr char group_scope[] = "object/user_group";
constexpr char group_type[] = "user_group_object_t";
constexpr int capacity = sizeof(user_group_t::members) / sizeof(user_profile_t);
constexpr std::size_t longest_name = 127;

// Two groups that nest each other twice on every level double on each, and without members the record never becomes
// full. Where the store has found no loop, each group is reached only once.
constexpr int most_unchecked_groups = 10'000;

using Group = Owned<kvio_iterator_t, kvio_close_group>;
using Entities = Owned<kvio_entities_t, kvio_free_entities>;
using UserGroup = Owned<user_group_t, free_user_group>;

bool out_of_memory(const char *function) {
    kvlog(USER_OP, "[%s]Insufficient memory.", function);
    return false;
}

// Appends the members of a group to a record, with the members of nested groups in their place. Keeps the groups that
// are being expanded on a stack of its own: their depth is limited by memory only.
class Expansion {
public:
    // The outermost group; messages are logged under the function's name.
    Expansion(kvio_config_t *document, const char *name, user_group_t &record, const char *function)
        : document_(document), name_(name), record_(record), function_(function) {}
    Expansion(const Expansion &) = delete;
    ~Expansion() {
        while (!levels_.empty()) leave();
    }

    // False, after a message, if not all members could be appended; the record then holds those before.
    bool run(int most_groups) {
        groups_left_ = most_groups;
        if (!enter(name_)) return false;
        while (!levels_.empty()) {
            Level &level = levels_.top();
            if (level.position >= level.size)
                leave();
            else if (!append_member(level.group, ++level.position))
                return false;
        }
        return true;
    }

private:
    struct Level {
        char name[longest_name + 1];
        kvio_iterator_t *group;  // null if the group cannot be opened; its size is -1 then
        int size;
        int position;  // of the member appended last, from 1
    };

    bool enter(const char *name) {
        if (groups_left_-- == 0) {
            kvlog(USER_OP, "[%s]Group:%s is nested too deeply.", function_, shown(name_));
            return false;
        }
        Group group(kvio_open_group(document_, group_scope, group_type, name));
        if (!group && kvio_errno == KVIO_NO_MEMORY) return out_of_memory(function_);
        Level level{"", group.get(), kvio_size(group.get()), 0};
        copy_if_fits(level.name, sizeof level.name, shown(name));
        if (!levels_.push(level)) return out_of_memory(function_);
        group.release();
        return true;
    }

    void leave() {
        Group group(levels_.top().group);
        levels_.pop();
    }

    // A member that the document gives no name for is skipped.
    bool append_member(kvio_iterator_t *group, int position) {
        char name[longest_name + 2];  // One byte more than a name may have, to recognise names that were cut.
        int kind = kvio_regain_index2(group, static_cast<unsigned>(position), name, sizeof name);
        if (kind < 0 && kvio_errno == KVIO_XML) return out_of_memory(function_);
        if (kind == 0) return append_user(name);
        return kind < 0 || append_nested(name);
    }

    bool append_user(const char *name) {
        if (!name_fits(name, function_)) return true;
        if (record_.member_count < 0 || record_.member_count >= capacity) {
            kvlog(USER_OP, "[%s]Group:%s has more than %d members.", function_, name_, capacity);
            return false;
        }
        return set_name(record_.members[record_.member_count++], name, function_);
    }

    bool append_nested(const char *name) {
        if (std::strlen(name) > longest_name) {
            kvlog(USER_OP, "[%s]Group name is too long:%s.", function_, name);
            return true;
        }
        for (const Level &level : levels_)
            if (same(level.name, name)) return true;
        return enter(name);
    }

    kvio_config_t *document_;
    const char *name_;
    user_group_t &record_;
    const char *function_;
    int groups_left_ = 0;
    Array<Level> levels_;
};

// The members of a group of the template file; null after a message. Needs the buffer lock.
UserGroup read_group(const char *name, const char *function) {
    Snapshot document = open_template(paths::group_template);
    if (!document) {
        kvlog(USER_OP, "[%s]Open backup file has failed.", function);
        return nullptr;
    }
    Group group(kvio_open_group(document.get(), group_scope, group_type, name));
    if (!group) {
        kvlog(USER_OP, "[%s]Open group has failed.", function);
        return nullptr;
    }
    // Only to see that the group is sound, without loops.
    Entities entities(kvio_retrieve_all(group.get()));
    if (!entities) {
        kvlog(USER_OP, "[%s]Retrieve group's entities has failed.", function);
        return nullptr;
    }
    auto record = zeroed<UserGroup>();
    if (!record) {
        kvlog(USER_OP, "[%s]Insufficient memory.", function);
        return nullptr;
    }
    if (!Expansion(document.get(), name, *record, function).run(INT_MAX)) return nullptr;
    return record;
}

}  // namespace

user_group_t *retrieve_user_group(const char *group) {
    if (!group) return nullptr;
    BufferLock lock(__func__);
    if (!lock) return nullptr;
    StoreCodeKept kept;
    return read_group(group, __func__).release();
}

int get_member(kvio_config_t *document, const char *group, user_group_t *record) {
    StoreCodeKept kept;
    if (record) Expansion(document, group, *record, __func__).run(most_unchecked_groups);
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
    BufferLock lock(__func__, BufferLock::without_reason);
    if (!lock) return -1;
    StoreCodeKept kept;
    Snapshot document = open_template(paths::group_template);
    if (!document) {
        kvlog(USER_OP, "[%s]Retrieve backup file has failed:%s.", __func__, std::strerror(errno));
        return -1;
    }
    bool is_defined = kvio_retrieve_entity(document.get(), group_scope, "group_description_t", group);
    document.reset();
    if (lock.unlock() < 0) {
        kvlog(USER_OP, "[%s]Unlock buffer has failed:%s.", __func__, std::strerror(errno));
        return -1;
    }
    return is_defined ? 1 : 0;
}

void free_user_group(user_group_t *group) { std::free(group); }
