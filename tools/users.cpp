// `user`: who has logged in and what they may do. No password is part of a profile.
#include <kavex/users.h>

#include "base/paths.h"
#include "document.h"

namespace kvio {
namespace {

using Profile = Owned<user_profile_t, free_user_profile>;
using Group = Owned<user_group_t, free_user_group>;

// The words of codes; the library exports words without codes only (def_user_profile).
std::string type_word(int type) {
    constexpr const char *words[] = {"admin", "user", "guest", "ext-user", "limited-admin"};
    return words[type >= USER_TYPE_ADMIN && type <= USER_TYPE_LIMITED_ADMIN ? type : USER_TYPE_EXT_USER];
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
    Profile profile(get_user_profile(call["USER"].c_str()));
    if (!profile) {
        logged_in(call["USER"]);
        throw Failure{not_found, "no profile of " + call["USER"] + " (the system log has the reason)"};
    }
    Rows rows(call);
    const Pairs fields = {{"name", profile->name},
                          {"account", profile->account},
                          {"type", type_word(profile->type)},
                          {"access", std::to_string(profile->access)},
                          {"visibility", std::to_string(profile->visibility)},
                          {"lease_time", std::to_string(profile->lease_time)},
                          {"re_auth", std::to_string(profile->re_auth)},
                          {"remote_admin", std::to_string(profile->remote_admin)},
                          {"remote_access", std::to_string(profile->remote_access)}};
    for (const auto &[field, value] : fields) rows.add({{"field", field}, {"value", value}});
    return rows.finish();
}

// Reads one slot of the buffer without the lock, which only the look-ups of the library take.
int user_method(Call &call) {
    int method = logged_in(call["USER"]);
    Rows rows(call);
    rows.add({{"method", method_word(method)}, {"number", std::to_string(method)}});
    return rows.finish();
}

int user_release(Call &call) {
    logged_in(call["USER"]);
    if (release_auth_list(call["USER"].c_str()) == 0) return success;
    throw Failure{io_error, "the authentication buffer or its lock cannot be used"};
}

int user_groups(Call &call) {
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
    const Strings columns = {"type", "access", "visibility", "remote_admin", "remote_access"};
    auto put_row = [&](const Strings &texts) {
        Pairs row;
        for (std::size_t i = 0; i < columns.size(); ++i) row.emplace_back(columns[i].c_str(), texts[i]);
        rows.add(row);
    };
    if (!rows.as_json()) put_row(columns);
    for (const user_type_def_t *row = def_user_profile; row->type_name; ++row)
        put_row({row->type_name, std::to_string(row->access), std::to_string(row->visibility),
                 std::to_string(row->remote_admin), std::to_string(row->remote_access)});
    return rows.finish();
}

}  // namespace kvio
