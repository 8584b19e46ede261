// The output of the LDAP search tool. Input: user name and output, separated by a line "%%".
#include <cstring>

#include "fuzz/fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string_view rest(reinterpret_cast<const char *>(data), size);
    auto user = fuzz::text_of(fuzz::cut(rest));
    auto text = fuzz::text_of(rest);

    auto profile = std::make_unique<user_profile_t>();
    std::memset(static_cast<void *>(profile.get()), '-', sizeof *profile);
    int result = parse_search_result(text.get(), profile.get(), user.get());
    MUST(rest.substr(0, rest.find('\0')) == text.get());
    MUST(result == 0 || result == 1);
    if (result == 1) {
        MUST(std::strcmp(user.get(), profile->name) == 0);
        MUST(profile->type >= 0 && profile->type <= 4);
    }
    return 0;
}
