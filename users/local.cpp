// Local accounts: the lines of the account files, and the profiles made from them.
#include "users/users.h"

namespace {

// A line is read in pieces of 254 bytes; with the NUL they fit in the 256 bytes that callers of get_passwd_line() give.
constexpr int piece_size = 255;

// True if the user is the line's first ':' field. A line of separators has none.
bool belongs_to(const char *line, const char *user) {
    line += std::strspn(line, ":");
    std::size_t length = std::strcspn(line, ":");
    return length && line[0] != '\n' && std::strlen(user) == length && std::memcmp(line, user, length) == 0;
}

// Cuts the next field off a text, in place, as strtok(3) does: a run of '&' counts as one. The field ends at the
// separator or with the text; null if it is empty.
const char *cut_field(char *&text, char separator = '&') {
    text += std::strspn(text, "&");
    char *field = text;
    text = strchrnul(text, separator);
    if (text == field) return nullptr;
    if (*text) *text++ = '\0';
    return field;
}

// Fills a profile with what holds for all accounts of a type. False, after a message, if the name does not fit.
bool fill(user_profile_t &profile, const char *user, const UserType &type, const char *function) {
    if (!set_name(profile, user, function)) return false;
    set_type(profile, type);
    profile.lease_time = 10;
    profile.re_auth = 180;
    return true;
}

// Fills a profile from a line, and cuts the line into fields.
bool fill_from_line(user_profile_t &profile, const char *user, char *line, const char *function) {
    cut_field(line);
    if (!fill(profile, user, type_of_word(cut_field(line), false), function)) return false;
    for (std::int32_t *number :
         {&profile.access, &profile.visibility, &profile.lease_time, &profile.re_auth, &profile.remote_admin})
        if (const char *field = cut_field(line)) *number = to_int32(field);
    if (const char *field = cut_field(line, ':')) profile.remote_access = to_int32(field);
    return true;
}

}  // namespace

int get_passwd_line(FILE *file, const char *user, int wanted_type, char *line) {
    if (!file || !user || !line) return -1;
    char piece[piece_size];
    while (std::fgets(piece, sizeof piece, file)) {
        if (!belongs_to(piece, user)) continue;
        if (wanted_type == USER_TYPE_ANY) {
            kvlog(USER_OP, "[%s]User:%s does not have attributes.", __func__, user);
        } else {
            char copy[piece_size], *rest = std::strcpy(copy, piece);
            cut_field(rest);
            const char *word = cut_field(rest);
            if (!word) continue;
            kvlog(USER_OP, "[%s]User:%s, type=%s.", __func__, user, word);
            if (!same(word, word_of_code(wanted_type))) continue;
            kvlog(USER_OP, "[%s]User:%s has been found in local database.", __func__, user);
        }
        std::strcpy(line, piece);
        return 0;
    }
    return -1;
}

int get_info_from_local(user_profile_t *profile, const char *user, int wanted_type) {
    if (!profile || !user) return -1;
    char line[piece_size] = "";

    File file = open_lines(open_to_read(paths::passwd));
    if (!file) return LOGGED(-1, "[%s]Open password file has failed.", __func__);
    if (get_passwd_line(file.get(), user, wanted_type, line) == 0)
        return fill_from_line(*profile, user, line, __func__) ? 0 : -1;
    kvlog(USER_OP, "[%s]User:%s does not found in local database.", __func__, user);

    file.reset();
    file = open_lines(open_trusted(paths::domain_users));
    if (!file) return LOGGED(-1, "[%s]Open password file has failed.", __func__);
    bool is_found = get_passwd_line(file.get(), user, wanted_type, line) == 0;
    kvlog(USER_OP, "[%s]buf=%s", __func__, line);
    if (!is_found) return LOGGED(-1, "[%s]User:%s does not found in domain database.", __func__, user);
    // What a domain user may do is fixed, whatever attributes the line has.
    if (!fill(*profile, user, type_of_code(USER_TYPE_USER), __func__)) return -1;
    return LOGGED(0, "[%s]User:%s found in domain database.", __func__, profile->name);
}
