// Local accounts: the lines of the account files, and the profiles made from them.
#include "users/users.h"

namespace {

// A line is read in pieces of 254 bytes; with the NUL they fit in the 256 bytes that callers of get_passwd_line() give.
constexpr int piece_size = 255;

// True if the user is the line's first ':' field. A line of separators has none.
bool belongs_to(const char *line, const char *user) {
    line += std::strspn(line, ":");
    std::size_t length = std::strcspn(line, ":");
    if (length == 0 || line[0] == '\n') return false;
    return std::strlen(user) == length && std::memcmp(line, user, length) == 0;
}

// The attributes of a line, split as strtok(3) does: a run of '&' counts as one.
class Attributes {
public:
    explicit Attributes(const char *line) {
        copy_if_fits(copy_, sizeof copy_, line);  // A piece always fits.
        field("&");
    }
    Attributes(const Attributes &) = delete;

    // The next attribute; null when there are no more.
    const char *next() { return field("&"); }

    // The last attribute, which ends at the next ':' instead; null when it is missing or empty.
    const char *last() { return field(":"); }

private:
    const char *field(const char *separator) {
        rest_ += std::strspn(rest_, "&");
        char *start = rest_;
        rest_ += std::strcspn(rest_, separator);
        if (rest_ == start) return nullptr;
        if (*rest_) *rest_++ = '\0';
        return start;
    }

    char copy_[piece_size] = "";
    char *rest_ = copy_;
};

void set_number(std::int32_t &field, const char *text) {
    if (text) field = to_int32(text);
}

bool fill(user_profile_t &profile, const char *user, const UserType &type, const char *function) {
    if (!set_name(profile, user, function)) return false;
    set_type(profile, type);
    profile.lease_time = 10;
    profile.re_auth = 180;
    return true;
}

bool fill_from_line(user_profile_t &profile, const char *user, const char *line, const char *function) {
    Attributes attributes(line);
    if (!fill(profile, user, type_of_beginning(attributes.next()), function)) return false;
    for (std::int32_t *field :
         {&profile.access, &profile.visibility, &profile.lease_time, &profile.re_auth, &profile.remote_admin})
        set_number(*field, attributes.next());
    set_number(profile.remote_access, attributes.last());
    return true;
}

// Opens an account file; null after a message.
File open_accounts(Descriptor descriptor, const char *function) {
    File file = open_lines(std::move(descriptor));
    if (!file) kvlog(USER_OP, "[%s]Open password file has failed.", function);
    return file;
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
            Attributes attributes(piece);
            const char *word = attributes.next();
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

    File file = open_accounts(open_to_read(paths::passwd), __func__);
    if (!file) return -1;
    if (get_passwd_line(file.get(), user, wanted_type, line) == 0)
        return fill_from_line(*profile, user, line, __func__) ? 0 : -1;
    kvlog(USER_OP, "[%s]User:%s does not found in local database.", __func__, user);

    file.reset();
    file = open_accounts(open_trusted(paths::domain_users), __func__);
    if (!file) return -1;
    bool is_found = get_passwd_line(file.get(), user, wanted_type, line) == 0;
    kvlog(USER_OP, "[%s]buf=%s", __func__, line);
    if (!is_found) {
        kvlog(USER_OP, "[%s]User:%s does not found in domain database.", __func__, user);
        return -1;
    }
    // What a domain user may do is fixed, whatever attributes the line has.
    if (!fill(*profile, user, type_of_code(USER_TYPE_USER), __func__)) return -1;
    kvlog(USER_OP, "[%s]User:%s found in domain database.", __func__, profile->name);
    return 0;
}
