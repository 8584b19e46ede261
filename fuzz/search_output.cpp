// The output of the LDAP search tool. Input: user name and output, separated by a line "%%".
#include <cstring>
#include <memory>

#include "fuzz/fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string_view rest(reinterpret_cast<const char *>(data), size);
    std::string user = fuzz::text_of(fuzz::cut(rest));
    // A block of its own, on which the sanitizer sees every byte beyond the end.
    std::string_view output = rest.substr(0, rest.find('\0'));
    auto text = std::make_unique<char[]>(output.size() + 1);
    text[output.copy(text.get(), output.size())] = '\0';

    auto profile = std::make_unique<user_profile_t>();
    std::memset(static_cast<void *>(profile.get()), '-', sizeof *profile);
    int result = parse_search_result(text.get(), profile.get(), user.c_str());
    MUST(output == text.get());
    MUST(result == 0 || result == 1);
    if (result == 1) {
        MUST(user == profile->name);
        MUST(profile->type >= 0 && profile->type <= 4);
    }
    return 0;
}
