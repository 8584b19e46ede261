// The LDAP settings and the search tool's command line. Input: user name and settings file, separated by a line "%%".
//
// The source of both is compiled in (see CMakeLists.txt); no tool is started.
#include <string>
#include <vector>

#include "fuzz/fuzz.h"
#include "users/users.h"

namespace {
std::vector<std::string> arguments;  // of the first host
}

// In place of the library's search: keeps the arguments that the tool would get for the first host, and fails.
bool search(char (&command)[command_size], const char *, const char *, const char *, int, user_profile_t &) {
    char *parts[command_size];
    if (!arguments.empty()) return false;
    split(command, parts);
    for (char **part = parts; *part; ++part) arguments.push_back(*part);
    return false;
}

namespace {

std::vector<std::string> searched_for(const char *user) {
    arguments.clear();
    auto profile = std::make_unique<user_profile_t>();
    MUST(get_info_from_ldap(profile.get(), user) == -1);
    return arguments;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string_view rest(reinterpret_cast<const char *>(data), size);
    auto user = fuzz::text_of(fuzz::cut(rest));
    fuzz::write_file(paths::ldap_settings, rest);

    // Buffers of exactly the documented sizes. Those of the required settings may hold anything before.
    auto host = std::make_unique<char[]>(128), port = std::make_unique<char[]>(8), base = std::make_unique<char[]>(256),
         login = std::make_unique<char[]>(64), bind_dn = std::make_unique<char[]>(128),
         password = std::make_unique<char[]>(128);
    std::memset(host.get(), 'h', 128);
    int ssl, time_limit;
    int result = get_ldap_server_info(host.get(), port.get(), base.get(), login.get(), bind_dn.get(), password.get(),
                                      &ssl, &time_limit);
    MUST(result >= -1 && result <= 1);

    // A user name stays within one argument, and changes nothing of the filter but the value.
    std::vector<std::string> plain = searched_for("x"), hostile = searched_for(user.get());
    if (plain.empty() || hostile.empty()) return 0;
    MUST(plain[0] == paths::ldap_search);
    MUST(plain.size() == hostile.size() || rest.find_first_of("\"\\") != rest.npos);
    if (rest.find_first_of("\"\\") != rest.npos) return 0;
    // A name that leaves no room for the first of several hosts may leave it for a shorter one.
    for (size_t i = 0; i + 1 < plain.size(); ++i)
        MUST(plain[i] == hostile[i] || (result == 1 && plain[i].rfind("ldap", 0) == 0));
    std::string filter = plain.back();
    size_t at = filter.rfind("=x)");
    MUST(at != filter.npos);
    MUST(hostile.back().compare(0, at + 1, filter, 0, at + 1) == 0);
    std::string value = hostile.back().substr(at + 1);
    MUST(value.find_first_of("*()") == value.size() - 1);
    return 0;
}
