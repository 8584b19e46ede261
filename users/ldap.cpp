#include "users/ldap.h"

#include <initializer_list>

#include "base/paths.h"
#include "users/file.h"
#include "users/profile.h"

namespace {

// The buffers of the settings, each with room for the line feed that a value is read with, and the NUL.
struct LdapSettings {
    char host[128], port[8], base[256], login_attribute[64], bind_dn[128], bind_password[128];
    int ssl, time_limit, bind;
};

// A setting whose value is text.
struct TextSetting {
    const char *key;
    char *buffer;
    std::size_t size;
};

// A line of the settings file: at most 254 characters, the line feed and the NUL.
constexpr int line_size = 256;

// Reads to the end of a line that is too long for its buffer. False if it was.
bool read_whole(const char *line, std::FILE *file) {
    std::size_t length = std::strlen(line);
    if (length < line_size - 1 || line[length - 1] == '\n') return true;
    for (int c = std::getc(file); c != EOF && c != '\n';) c = std::getc(file);
    return false;
}

// Cuts the line at the space behind its key and gives the value behind that space, with its line feed; null if there
// is no space.
char *split_setting(char *&line) {
    line += std::strspn(line, " ");
    char *space = std::strchr(line, ' ');
    if (!space) return nullptr;
    *space = '\0';
    return space + 1;
}

bool has_several_words(const char *text) {
    text += std::strspn(text, " ");
    text += std::strcspn(text, " ");
    text += std::strspn(text, " ");
    return *text != '\0';
}

// The last line of a file may have none.
void remove_line_feed(char *value) {
    std::size_t length = std::strlen(value);
    if (length && value[length - 1] == '\n') value[length - 1] = '\0';
}

// A base that no line can set: the empty one is lawful, an absent one is not.
constexpr char absent[] = "\n\n";

bool read_settings(LdapSettings &settings, bool &several_hosts) {
    copy_if_fits(settings.base, sizeof settings.base, absent);
    int result = get_ldap_server_info(settings.host, settings.port, settings.base, settings.login_attribute,
                                      settings.bind_dn, settings.bind_password, &settings.ssl, &settings.time_limit);
    if (result < 0) return false;
    if (same(settings.base, absent)) return false;
    several_hosts = result == 1;
    settings.bind = *settings.bind_dn ? 1 : 0;
    for (char *value : {settings.host, settings.port, settings.base, settings.login_attribute, settings.bind_dn,
                        settings.bind_password})
        remove_line_feed(value);
    return *settings.host && *settings.port && *settings.login_attribute;
}

// The value behind a marker: one character after the marker's colon, but not past the end of the text.
const char *find_value(const char *text, const char *marker) {
    const char *found = std::strstr(text, marker);
    if (!found) return nullptr;
    found += std::strlen(marker);
    return *found ? found + 1 : found;
}

}  // namespace

int get_ldap_server_info(char *host, char *port, char *base, char *login_attribute, char *bind_dn, char *bind_password,
                         int *ssl, int *time_limit) {
    if (!host || !port || !base || !login_attribute || !bind_dn || !bind_password || !ssl || !time_limit) return -1;
    File file = open_lines(open_to_read(paths::ldap_settings));
    if (!file) {
        kvlog(USER_OP, "Open http_ldap configuration file has failed.");
        return -1;
    }
    const TextSetting texts[] = {
        {"host", host, sizeof(LdapSettings::host)},
        {"port", port, sizeof(LdapSettings::port)},
        {"base", base, sizeof(LdapSettings::base)},
        {"pam_login_attribute", login_attribute, sizeof(LdapSettings::login_attribute)},
        {"binddn", bind_dn, sizeof(LdapSettings::bind_dn)},
        {"bindpw", bind_password, sizeof(LdapSettings::bind_password)},
    };
    *bind_dn = *bind_password = '\0';
    *ssl = 0;
    *time_limit = 10;

    char buffer[line_size];
    while (std::fgets(buffer, sizeof buffer, file.get())) {
        bool fits = read_whole(buffer, file.get());
        char *key = buffer;
        const char *value = split_setting(key);
        if (!value) continue;
        if (same(key, "ssl")) *ssl = std::strncmp(value, "yes", 3) == 0;
        if (same(key, "timelimit")) *time_limit = to_int32(value);
        for (const TextSetting &text : texts) {
            if (!same(key, text.key) || (fits && copy_if_fits(text.buffer, text.size, value))) continue;
            kvlog(USER_OP, "LDAP setting %s is too long.", key);
            return -1;
        }
    }
    char hosts[sizeof(LdapSettings::host)];
    bounded_copy(hosts, sizeof hosts, host);  // The caller's, with no end, perhaps, if no line has set it.
    return has_several_words(hosts) ? 1 : 0;
}

int parse_search_result(char *text, user_profile_t *profile, const char *user) {
    if (!text || !profile || !user) return 0;
    const char *result = find_value(text, "result:");
    if (!result) {
        kvlog(USER_OP, "LDAP search result does not found.");
        return 0;
    }
    std::int32_t code = to_int32(result);
    if (code != 0 && code != 4) {
        kvlog(USER_OP, "LDAP search result does not be zero:%d.", code);
        return 0;
    }
    if (!set_name(*profile, user, __func__)) return 0;

    const char *type = find_value(text, "type:");
    if (!type) {
        kvlog(USER_OP, "Cannot find type in LDAP search result.");
        return 0;
    }
    set_type(*profile, type_of_beginning(type));

    const char *lease_time = find_value(text, "leaseTime:");
    if (!lease_time) {
        kvlog(USER_OP, "Cannot find leaseTime in LDAP search result.");
        return 0;
    }
    profile->lease_time = to_int32(lease_time);

    const char *re_auth = find_value(text, "reauthTime:");
    if (!re_auth) {
        kvlog(USER_OP, "Cannot find reauthTime in LDAP search result.");
        return 0;
    }
    profile->re_auth = to_int32(re_auth);
    return 1;
}

int get_info_from_ldap(user_profile_t *profile, const char *user) {
    if (!profile || !user || !name_fits(user, __func__)) return -1;
    LdapSettings settings{};
    bool several_hosts = false;
    if (!read_settings(settings, several_hosts)) {
        kvlog(USER_OP, "Get LDAP server information has failed.");
        return -1;
    }
    kvlog(USER_OP, "ldap info: %s %s %s %s %s %s %d %d\n", settings.host, settings.port, settings.base,
          settings.login_attribute, settings.bind_dn, shown_password(settings.bind_password), settings.ssl,
          settings.time_limit);

    auto search = [&](const char *host) {
        return do_ldapsearch(profile, user, host, settings.port, settings.base, settings.login_attribute,
                             settings.bind_dn, settings.bind_password, settings.ssl, settings.time_limit,
                             settings.bind);
    };
    if (!several_hosts) return search(settings.host) < 0 ? -1 : 0;
    char *rest = nullptr;
    for (const char *host = strtok_r(settings.host, " ", &rest); host; host = strtok_r(nullptr, " ", &rest))
        if (search(host) >= 0) return 0;
    return -1;
}
