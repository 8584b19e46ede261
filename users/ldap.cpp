// The LDAP settings file, and the look-up that asks its servers in turn.
#include <initializer_list>

#include "users/users.h"

namespace {

// A setting whose value is text.
struct TextSetting {
    const char *key;
    char *buffer;
    std::size_t size;
};

// A line of the settings file: at most 254 characters, the line feed and the NUL.
constexpr int line_size = 256;

// Reads to the end of a line that is longer than its buffer. True if the line was not.
bool read_to_end(const char *line, std::FILE *file) {
    std::size_t length = std::strlen(line);
    if (length < line_size - 1 || line[length - 1] == '\n') return true;
    for (int c = std::getc(file); c != EOF && c != '\n';) c = std::getc(file);
    return false;
}

// Cuts a line at the space behind its key. The value behind that space, with its line feed; null without a space.
char *split_setting(char *&line) {
    line += std::strspn(line, " ");
    char *space = std::strchr(line, ' ');
    if (!space) return nullptr;
    *space = '\0';
    return space + 1;
}

// True if a host value has more than one word. The caller's text may be unterminated where no line has set it.
bool has_several_words(const char *host) {
    char copy[sizeof(LdapSettings::host)];
    bounded_copy(copy, sizeof copy, host);
    char *rest = nullptr;
    return strtok_r(copy, " ", &rest) && strtok_r(nullptr, " ", &rest);
}

// A base that no line can set: an empty one is lawful, an absent one is not.
constexpr char absent[] = "\n\n";

// Reads the settings for a search. False if the file cannot be used or a required setting is missing.
bool read_settings(LdapSettings &settings, bool &several_hosts) {
    copy_if_fits(settings.base, sizeof settings.base, absent);
    int result = get_ldap_server_info(settings.host, settings.port, settings.base, settings.login_attribute,
                                      settings.bind_dn, settings.bind_password, &settings.ssl, &settings.time_limit);
    if (result < 0 || same(settings.base, absent)) return false;
    several_hosts = result == 1;
    settings.bind = *settings.bind_dn;
    for (char *value : {settings.host, settings.port, settings.base, settings.login_attribute, settings.bind_dn,
                        settings.bind_password})
        value[std::strcspn(value, "\n")] = '\0';
    return *settings.host && *settings.port && *settings.login_attribute;
}

}  // namespace

int get_ldap_server_info(char *host, char *port, char *base, char *login_attribute, char *bind_dn, char *bind_password,
                         int *ssl, int *time_limit) {
    if (!host || !port || !base || !login_attribute || !bind_dn || !bind_password || !ssl || !time_limit) return -1;
    File file = open_lines(open_to_read(paths::ldap_settings));
    if (!file) return LOGGED(-1, "Open http_ldap configuration file has failed.");
    const TextSetting texts[] = {{"host", host, sizeof(LdapSettings::host)},
                                 {"port", port, sizeof(LdapSettings::port)},
                                 {"base", base, sizeof(LdapSettings::base)},
                                 {"pam_login_attribute", login_attribute, sizeof(LdapSettings::login_attribute)},
                                 {"binddn", bind_dn, sizeof(LdapSettings::bind_dn)},
                                 {"bindpw", bind_password, sizeof(LdapSettings::bind_password)}};
    *bind_dn = *bind_password = '\0';
    *ssl = 0;
    *time_limit = 10;

    char buffer[line_size];
    while (std::fgets(buffer, sizeof buffer, file.get())) {
        bool is_whole = read_to_end(buffer, file.get());
        char *key = buffer;
        const char *value = split_setting(key);
        if (!value) continue;
        if (same(key, "ssl")) *ssl = std::strncmp(value, "yes", 3) == 0;
        if (same(key, "timelimit")) *time_limit = to_int32(value);
        for (const TextSetting &text : texts) {
            bool is_stored = !same(key, text.key) || (is_whole && copy_if_fits(text.buffer, text.size, value));
            if (!is_stored) return LOGGED(-1, "LDAP setting %s is too long.", key);
        }
    }
    return has_several_words(host) ? 1 : 0;
}

int get_info_from_ldap(user_profile_t *profile, const char *user) {
    if (!profile || !user || !name_fits(user, __func__)) return -1;
    LdapSettings settings{};
    bool several_hosts = false;
    if (!read_settings(settings, several_hosts)) return LOGGED(-1, "Get LDAP server information has failed.");
    kvlog(USER_OP, "ldap info: %s %s %s %s %s %s %d %d\n", settings.host, settings.port, settings.base,
          settings.login_attribute, settings.bind_dn, shown_password(settings.bind_password), settings.ssl,
          settings.time_limit);
    if (!several_hosts) return search(settings, settings.host, user, *profile) < 0 ? -1 : 0;

    char *rest = nullptr;
    for (const char *host = strtok_r(settings.host, " ", &rest); host; host = strtok_r(nullptr, " ", &rest))
        if (search(settings, host, user, *profile) >= 0) return 0;
    return -1;
}
