// `user`: who has logged in and what they may do. These print no secrets: no password is part of a profile, and the log
// of a look-up, which has the directory's bind password in it, does not get to the terminal either.
#include <kavex/users.h>

#include "base/paths.h"
#include "document.h"
#include "output.h"

namespace kvio {
namespace {

using Profile = Owned<user_profile_t, free_user_profile>;
using Group = Owned<user_group_t, free_user_group>;

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
    messages::silence_library();
    Profile profile(get_user_profile(call["USER"].c_str()));
    if (!profile) {
        logged_in(call["USER"]);
        throw Failure{not_found, "no profile of " + call["USER"] + " (the system log has the reason)"};
    }
    Rows rows(call);
    auto put_row = [&](const char *field, const std::string &value) { rows.add({{"field", field}, {"value", value}}); };
    put_row("name", profile->name);
    put_row("account", profile->account);
    put_row("type", type_word(profile->type));
    put_row("access", std::to_string(profile->access));
    put_row("visibility", std::to_string(profile->visibility));
    put_row("lease_time", std::to_string(profile->lease_time));
    put_row("re_auth", std::to_string(profile->re_auth));
    put_row("remote_admin", std::to_string(profile->remote_admin));
    put_row("remote_access", std::to_string(profile->remote_access));
    return rows.finish();
}

// Reads one slot of the buffer without the lock, which only the look-ups of the library take.
int user_method(Call &call) {
    messages::silence_library();
    int method = logged_in(call["USER"]);
    Rows rows(call);
    rows.add({{"method", method_word(method)}, {"number", std::to_string(method)}});
    return rows.finish();
}

int user_release(Call &call) {
    messages::silence_library();
    logged_in(call["USER"]);
    if (release_auth_list(call["USER"].c_str()) == 0) return success;
    throw Failure{io_error, "the authentication buffer or its lock cannot be used"};
}

int user_groups(Call &call) {
    messages::silence_library();
    const std::string &name = call["GROUP"];
    if (call.given("USER")) {
        int member = check_user_in_group(name.c_str(), call["USER"].c_str());
        if (member >= 0) return member ? success : not_found;
    } else if (Group group{retrieve_user_group(name.c_str())}) {
        Rows rows(call);
        for (int i = 0; i < group->member_count; ++i) rows.add({{"user", group->members[i].name}});
        return rows.finish();
    }
    int known = verify_user_group(name.c_str());
    if (known == 0) throw Failure{not_found, "no user group " + name};
    if (known > 0)
        throw Failure{inconsistent, "user group " + name + " cannot be read: its nesting loops or it is missing"};
    Document::file(paths::group_template);  // throws what is wrong with it, if anything is
    throw Failure{io_error, "the user groups or the lock that guards them cannot be used"};
}

int user_types(Call &call) {
    Rows rows(call);
    rows.add({{"type", "type"},
              {"access", "access"},
              {"visibility", "visibility"},
              {"remote_admin", "remote_admin"},
              {"remote_access", "remote_access"}});
    for (const user_type_def_t *row = def_user_profile; row->type_name; ++row)
        rows.add({{"type", row->type_name},
                  {"access", std::to_string(row->access)},
                  {"visibility", std::to_string(row->visibility)},
                  {"remote_admin", std::to_string(row->remote_admin)},
                  {"remote_access", std::to_string(row->remote_access)}});
    return rows.finish();
}

}  // namespace kvio
