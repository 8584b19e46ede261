// `user`: who has logged in and what they may do. None of these print secrets: no password is part of what they ask
// for, and the log of a look-up, which has the directory's bind password in it, does not get to the terminal either.
#include <kavex/users.h>

#include <memory>

#include "document.h"
#include "output.h"

namespace kvio {
namespace {

template <class T, void (*Release)(T *)>
struct Releaser {
    void operator()(T *record) const { Release(record); }
};
using Profile = std::unique_ptr<user_profile_t, Releaser<user_profile_t, free_user_profile>>;
using Group = std::unique_ptr<user_group_t, Releaser<user_group_t, free_user_group>>;

// The word of a type code. The library exports words without codes only (def_user_profile).
std::string type_word(int32_t type) {
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

std::string method_word(int method) {
    return method == AUTH_METHOD_LOCAL ? "local" : method == AUTH_METHOD_RADIUS ? "radius" : "ldap";
}

int logged_in(const std::string &user) {
    int method = get_auth_module(user.c_str());
    if (method == -1) throw Failure{not_found, user + " has not logged in, or there is no authentication buffer"};
    return method;
}

}  // namespace

int user_show(Call &call) {
    Messages no_log(false);
    Profile profile(get_user_profile(call[0].c_str()));
    if (!profile) {
        logged_in(call[0]);
        throw Failure{not_found, "no profile of " + call[0] + " (the system log says why)"};
    }
    put_columns({"name", profile->name});
    put_columns({"account", profile->account});
    put_columns({"type", type_word(profile->type)});
    put_columns({"access", std::to_string(profile->access)});
    put_columns({"visibility", std::to_string(profile->visibility)});
    put_columns({"lease_time", std::to_string(profile->lease_time)});
    put_columns({"re_auth", std::to_string(profile->re_auth)});
    put_columns({"remote_admin", std::to_string(profile->remote_admin)});
    put_columns({"remote_access", std::to_string(profile->remote_access)});
    return success;
}

// Reads the buffer without its lock, which only the look-ups of the library take: one slot, for somebody to look at.
int user_method(Call &call) {
    Messages no_log(false);
    int method = logged_in(call[0]);
    put_columns({method_word(method), std::to_string(method)});
    return success;
}

int user_release(Call &call) {
    Messages no_log(false);
    logged_in(call[0]);
    if (release_auth_list(call[0].c_str()) == 0) return success;
    throw Failure{io_error, "the authentication buffer or its lock cannot be used"};
}

int user_groups(Call &call) {
    Messages no_log(false);
    if (call.count() > 1) {
        int member = check_user_in_group(call[0].c_str(), call[1].c_str());
        if (member >= 0) return member ? success : not_found;
    } else if (Group group{retrieve_user_group(call[0].c_str())}) {
        for (int i = 0; i < group->member_count; ++i) put(one_line(group->members[i].name) + '\n');
        return success;
    }
    int known = verify_user_group(call[0].c_str());
    if (known == 0) throw Failure{not_found, "no user group " + call[0]};
    if (known > 0)
        throw Failure{inconsistent, "user group " + call[0] + " cannot be read: its nesting loops or it is missing"};
    Document::file("/tmp/template_group.xml");  // says what is wrong with it, if anything is
    throw Failure{io_error, "the user groups or the lock that guards them cannot be used"};
}

int user_types(Call &) {
    put("type\taccess\tvisibility\tremote_admin\tremote_access\n");
    for (const user_type_def_t *row = def_user_profile; row->type_name; ++row)
        put_columns({row->type_name, std::to_string(row->access), std::to_string(row->visibility),
                     std::to_string(row->remote_admin), std::to_string(row->remote_access)});
    return success;
}

}  // namespace kvio
