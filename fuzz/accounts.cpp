// The account files. Input: user name, type code as a character from '0' ('6' is any), "/etc/passwd", "/tmp/domuser",
// separated by lines "%%".
#include <cstdio>
#include <cstring>

#include "base/paths.h"
#include "fuzz/fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string_view rest(reinterpret_cast<const char *>(data), size);
    auto user = fuzz::text_of(fuzz::cut(rest));
    std::string_view type_part = fuzz::cut(rest);
    int type = type_part.empty() || type_part[0] == '6' ? USER_TYPE_ANY : type_part[0] - '0';
    fuzz::write_file(paths::passwd, fuzz::cut(rest));
    fuzz::write_file(paths::domain_users, fuzz::cut(rest));

    auto profile = std::make_unique<user_profile_t>();
    int result = get_info_from_local(profile.get(), user.get(), type);
    MUST(result == 0 || result == -1);
    if (result == 0) {
        MUST(std::strcmp(user.get(), profile->name) == 0);
        MUST(profile->type >= 0 && profile->type <= 4);
    }

    auto line = std::make_unique<char[]>(256);
    FILE *accounts = std::fopen(paths::passwd, "r");
    while (get_passwd_line(accounts, user.get(), type, line.get()) == 0) {
        std::string_view name = line.get() + std::strspn(line.get(), ":");
        MUST(name.substr(0, name.find(':')) == user.get());
    }
    std::fclose(accounts);
    return 0;
}
