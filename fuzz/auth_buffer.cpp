// The shared authentication buffer. Input: user name, a line "%%", and slots: a byte with the slot's number (from 128
// on that of a RADIUS record), a byte with a length, and so many bytes for the record.
#include <algorithm>
#include <cstring>

#include "base/paths.h"
#include "fuzz/fuzz.h"

namespace {

auth_buffer_t *prepare() {
    fuzz::write_file(paths::passwd,
                     "alice:x:1:1:A&admin&120&120&1440&1440&1&0:/:/bin/sh\n"
                     "bob:x:2:2:B&ext-user:/:/bin/sh\nradius-users:x:3:3:R&ext-user&1&2&3&4&1&1:/:\n");
    fuzz::write_file(paths::domain_users, "dora:x:1:1::/:\n");
    return fuzz::make_buffer();
}

void fill(auth_buffer_t &buffer, std::string_view slots) {
    buffer = {};
    while (slots.size() >= 2) {
        auto number = static_cast<unsigned char>(slots[0]), length = static_cast<unsigned char>(slots[1]);
        slots.remove_prefix(2);
        void *slot = &buffer.auth[number % AUTH_BUFFER_SLOTS];
        if (number >= 128) slot = &buffer.radius[number % AUTH_BUFFER_SLOTS];
        size_t room = number < 128 ? sizeof(auth_entry_t) : sizeof(radius_entry_t);
        size_t count = std::min({room, slots.size(), static_cast<size_t>(length)});
        std::memcpy(slot, slots.data(), count);
        slots.remove_prefix(count);
    }
}

// In no more than one slot the mark was cleared, and no bytes were written behind the first `written`.
template <class Entry>
bool one_was_freed(const Entry (&now)[AUTH_BUFFER_SLOTS], const Entry (&before)[AUTH_BUFFER_SLOTS], size_t written) {
    int changed = 0;
    for (int slot = 0; slot < AUTH_BUFFER_SLOTS; ++slot) {
        const char *bytes = reinterpret_cast<const char *>(&now[slot]);
        const char *old = reinterpret_cast<const char *>(&before[slot]);
        if (std::memcmp(bytes, old, sizeof(Entry)) == 0) continue;
        if (now[slot].in_use || std::memcmp(bytes + written, old + written, sizeof(Entry) - written)) return false;
        ++changed;
    }
    return changed <= 1;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static auth_buffer_t *const buffer = prepare();
    std::string_view rest(reinterpret_cast<const char *>(data), size);
    auto user = fuzz::text_of(fuzz::cut(rest));
    fill(*buffer, rest);
    auto before = std::make_unique<auth_buffer_t>(*buffer);

    auto profile = std::make_unique<user_profile_t>();
    get_info_from_radius(profile.get(), user.get());
    int method = get_auth_module(user.get());
    user_profile_t *found = get_user_profile(user.get());
    if (found) {
        MUST(method != -1);
        MUST(std::memchr(found->name, '\0', sizeof found->name));
        MUST(std::memchr(found->account, '\0', sizeof found->account));
    }
    free_user_profile(found);
    MUST(std::memcmp(before.get(), buffer, sizeof *buffer) == 0);
    MUST(fuzz::lock_value() == 1);

    MUST(release_auth_list(user.get()) == 0);
    MUST(fuzz::lock_value() == 1);
    // The mark, and the first byte of a name that has passed.
    MUST(one_was_freed(buffer->auth, before->auth, 5) && one_was_freed(buffer->radius, before->radius, 4));
    return 0;
}
