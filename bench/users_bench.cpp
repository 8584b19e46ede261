// The look-up of a local user at the end of a passwd file of 10,000 lines, against a plain walk over the same file.
#include <kavex/users.h>
#include <pwd.h>

#include <cstring>

#include "bench/measure.h"

void users() {
    std::string text;
    for (int i = 0; i < 10000; ++i)
        text += "user" + std::to_string(i) + ":x:500:100:A user&user&80&80&1440&480&0&1:/home/user:/bin/sh\n";
    write_file("/etc/passwd", text);
    const auto walk = [] {
        FILE *file = std::fopen("/etc/passwd", "r");
        const passwd *found = fgetpwent(file);
        while (found && std::strcmp(found->pw_name, "user9999") != 0) found = fgetpwent(file);
        if (!found) give_up("the walk found no user");
        std::fclose(file);
    };
    const auto look_up = [] {
        user_profile_t profile = {};
        if (get_info_from_local(&profile, "user9999", USER_TYPE_ANY) != 0) give_up("the library found no user");
    };
    race("a user among 10000", 1, 50, 0, walk, look_up);
}
