// The LDAP look-up: the settings file, the search tool's command line, and the servers asked in turn.
#include <initializer_list>

#include "users/users.h"

namespace {

// The settings for a search, in buffers with room for the line feed that a value is read with.
struct LdapSettings {
    char host[128], port[8], base[256], login_attribute[64], bind_dn[128], bind_password[128];
    int ssl, time_limit;
    bool bind;  // with bind_dn and bind_password
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

bool has_several_words(const char *text) {
    text += std::strspn(text, " ");
    text += std::strcspn(text, " ");
    return text[std::strspn(text, " ")];
}

// Stands for a missing base, which is refused: an empty one is valid, and no line has two line feeds.
constexpr char absent[] = "\n\n";

// Reads the settings for a search. 1 for several hosts, 0 for one, -1 if the file cannot be used or a required setting
// is missing.
int read_settings(LdapSettings &settings) {
    copy_if_fits(settings.base, sizeof settings.base, absent);
    int result = get_ldap_server_info(settings.host, settings.port, settings.base, settings.login_attribute,
                                      settings.bind_dn, settings.bind_password, &settings.ssl, &settings.time_limit);
    if (result < 0 || same(settings.base, absent)) return -1;
    settings.bind = *settings.bind_dn;
    for (char *value : {settings.host, settings.port, settings.base, settings.login_attribute, settings.bind_dn,
                        settings.bind_password})
        value[std::strcspn(value, "\n")] = '\0';
    return *settings.host && *settings.port && *settings.login_attribute ? result : -1;
}

// What the log shows of a bind password.
const char *shown_password(const char *password) {
    return KAVEX_HIDE_BIND_PASSWORD && *password ? "********" : password;
}

// Writes a user name so that the filter compares it literally (RFC 4515, section 3) and its argument does not end in
// it. Leaves a backslash before a double quote to the splitter of arguments.
void write_escaped(char *text, const char *name) {
    for (const char *c = name; *c; ++c) {
        bool is_escaped = c != name && c[-1] == '\\';
        if (*c == '*' || *c == '(' || *c == ')' || (*c == '\\' && c[1] != '"')) {
            text += std::sprintf(text, "\\%02x", *c);
            continue;
        }
        if (*c == '"' && !is_escaped) *text++ = '\\';
        *text++ = *c;
    }
    *text = '\0';
}

// Writes the search tool's command line; false if it is longer than its buffer. The user name fits in a profile.
bool write_command(char (&line)[command_size], const LdapSettings &settings, const char *host, const char *user,
                   const char *password) {
    char bind[sizeof " -D \"\" -w \"\"" + sizeof settings.bind_dn + sizeof settings.bind_password] = "";
    if (settings.bind) std::snprintf(bind, sizeof bind, " -D \"%s\" -w \"%s\"", settings.bind_dn, password);
    char name[3 * sizeof(user_profile_t::name)];
    write_escaped(name, user);
    int length = std::snprintf(line, sizeof line, "%s -z 1 -H %s://%s:%s -x -b \"%s\"%s \"(%s=%s)\"",
                               paths::ldap_search, settings.ssl ? "ldaps" : "ldap", host, settings.port, settings.base,
                               bind, settings.login_attribute, name);
    return length >= 0 && static_cast<std::size_t>(length) < sizeof line;
}

// Asks one server for the user's entry, with the result of search().
bool ask(const LdapSettings &settings, const char *host, const char *user, user_profile_t &profile) {
    char command[command_size], shown_command[command_size];
    write_command(shown_command, settings, host, user, shown_password(settings.bind_password));
    if (!write_command(command, settings, host, user, settings.bind_password))
        return LOGGED(false, "[%s]LDAP command line is too long. User:%s.", "do_ldapsearch", user);
    kvlog(USER_OP, "ldap cmd: %s\n", shown_command);
    return search(command, shown_command, host, user, settings.time_limit, profile);
}

// Finds the end of an argument. A separating double quote behind a backslash belongs to the argument and loses the
// backslash.
char *find_separator(char *text, char separator) {
    for (char *end = std::strchr(text, separator); end; end = std::strchr(end, separator)) {
        if (separator != '"' || end[-1] != '\\') return end;
        std::memmove(end - 1, end, std::strlen(end) + 1);
    }
    return nullptr;
}

}  // namespace

void split(char *line, char *(&arguments)[command_size]) {
    constexpr char initials[] = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ./-+:\"";
    std::size_t count = 0;
    for (char *start = std::strpbrk(line, initials); start; start = std::strpbrk(start, initials)) {
        bool is_quoted = count && *start == '"';
        if (is_quoted) ++start;
        arguments[count++] = start;
        start = find_separator(start, is_quoted ? '"' : ' ');
        if (!start) break;
        *start++ = '\0';
    }
    arguments[count] = nullptr;
}

int get_ldap_server_info(char *host, char *port, char *base, char *login_attribute, char *bind_dn, char *bind_password,
                         int *ssl, int *time_limit) {
    if (!host || !port || !base || !login_attribute || !bind_dn || !bind_password || !ssl || !time_limit) return -1;
    File file = open_lines(open_to_read(paths::ldap_settings));
    if (!file) return LOGGED(-1, "Open http_ldap configuration file has failed.");
    const struct {
        const char *key;
        char *buffer;
        std::size_t size;
    } texts[] = {{"host", host, sizeof(LdapSettings::host)},
                 {"port", port, sizeof(LdapSettings::port)},
                 {"base", base, sizeof(LdapSettings::base)},
                 {"pam_login_attribute", login_attribute, sizeof(LdapSettings::login_attribute)},
                 {"binddn", bind_dn, sizeof(LdapSettings::bind_dn)},
                 {"bindpw", bind_password, sizeof(LdapSettings::bind_password)}};
    *bind_dn = *bind_password = '\0';
    *ssl = 0;
    *time_limit = 10;

    bool several_hosts = false;
    char buffer[line_size];
    while (std::fgets(buffer, sizeof buffer, file.get())) {
        bool is_whole = read_to_end(buffer, file.get());
        char *key = buffer + std::strspn(buffer, " "), *value = std::strchr(key, ' ');
        if (!value) continue;
        *value++ = '\0';
        if (same(key, "host")) several_hosts = has_several_words(value);
        if (same(key, "ssl")) *ssl = std::strncmp(value, "yes", 3) == 0;
        if (same(key, "timelimit")) *time_limit = to_int32(value);
        for (const auto &text : texts) {
            bool is_stored = !same(key, text.key) || (is_whole && copy_if_fits(text.buffer, text.size, value));
            if (!is_stored) return LOGGED(-1, "LDAP setting %s is too long.", key);
        }
    }
    return several_hosts;
}

int get_info_from_ldap(user_profile_t *profile, const char *user) {
    if (!profile || !user || !name_fits(user, __func__)) return -1;
    LdapSettings settings{};
    int several_hosts = read_settings(settings);
    if (several_hosts < 0) return LOGGED(-1, "Get LDAP server information has failed.");
    kvlog(USER_OP, "ldap info: %s %s %s %s %s %s %d %d\n", settings.host, settings.port, settings.base,
          settings.login_attribute, settings.bind_dn, shown_password(settings.bind_password), settings.ssl,
          settings.time_limit);
    const char *separator = several_hosts ? " " : "";  // The value of a single host is taken as it stands.
    char *rest = nullptr;
    for (const char *host = strtok_r(settings.host, separator, &rest); host; host = strtok_r(nullptr, separator, &rest))
        if (ask(settings, host, user, *profile)) return 0;
    return -1;
}
