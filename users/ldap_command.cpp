// The search tool's command line: written from settings and user name, and cut into arguments.
#include "users/users.h"

namespace {

// Writes a user name so that the filter compares it literally (RFC 4515, section 3) and its argument does not end in
// it. A backslash before a double quote is the splitter's own and stays.
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

// Finds the first character that can begin an argument; null if there is none.
char *find_initial(char *text) {
    text += std::strcspn(text, "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ./-+:\"");
    return *text ? text : nullptr;
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

// An argument in double quotes, which the first one cannot be, runs to the next quote, any other to the next space. At
// least one character stands between two arguments, so that the array is large enough for any command line.
Arguments::Arguments(char *line) {
    for (char *start = find_initial(line); start; start = find_initial(start)) {
        bool is_quoted = count && *start == '"';
        if (is_quoted) ++start;
        items[count++] = start;
        start = find_separator(start, is_quoted ? '"' : ' ');
        if (!start) break;
        *start++ = '\0';
    }
    items[count] = nullptr;
}
