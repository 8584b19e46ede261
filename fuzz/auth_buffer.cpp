// The shared authentication buffer. Input: user name, a line "%%", and slots: a byte with the slot's number (from 128
// on that of a RADIUS record), a byte with a length, and so many bytes for the record.
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>

#include "base/paths.h"
#include "fuzz/fuzz.h"

namespace {

constexpr size_t radius_region = offsetof(auth_buffer_t, radius);

void fill(char *buffer, std::string_view slots) {
    std::memset(buffer, 0, sizeof(auth_buffer_t));
    while (slots.size() >= 2) {
        auto number = static_cast<unsigned char>(slots[0]), length = static_cast<unsigned char>(slots[1]);
        slots.remove_prefix(2);
        bool radius = number >= 128;
        size_t size = radius ? sizeof(radius_entry_t) : sizeof(auth_entry_t);
        size_t at = (radius ? radius_region : 0) + number % AUTH_BUFFER_SLOTS * size;
        size_t count = std::min({size, slots.size(), static_cast<size_t>(length)});
        std::memcpy(buffer + at, slots.data(), count);
        slots.remove_prefix(count);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static char *const buffer = fuzz::make_buffer();
    static const bool prepared = [] {
        fuzz::make_lock();
        fuzz::write_file(paths::passwd,
                         "alice:x:1:1:A&admin&120&120&1440&1440&1&0:/:/bin/sh\n"
                         "bob:x:2:2:B&ext-user:/:/bin/sh\nradius-users:x:3:3:R&ext-user&1&2&3&4&1&1:/:\n");
        fuzz::write_file(paths::domain_users, "dora:x:1:1::/:\n");
        return true;
    }();
    (void)prepared;

    std::string_view rest(reinterpret_cast<const char *>(data), size);
    std::string user = fuzz::text_of(fuzz::cut(rest));
    fill(buffer, rest);
    auto before = std::make_unique<char[]>(sizeof(auth_buffer_t));
    std::memcpy(before.get(), buffer, sizeof(auth_buffer_t));

    auto profile = std::make_unique<user_profile_t>();
    get_info_from_radius(profile.get(), user.c_str());
    int method = get_auth_module(user.c_str());
    user_profile_t *found = get_user_profile(user.c_str());
    if (found) {
        MUST(method != -1);
        MUST(std::memchr(found->name, '\0', sizeof found->name));
        MUST(std::memchr(found->account, '\0', sizeof found->account));
    }
    free_user_profile(found);
    MUST(std::memcmp(before.get(), buffer, sizeof(auth_buffer_t)) == 0);
    MUST(fuzz::lock_value() == 1);

    MUST(release_auth_list(user.c_str()) == 0);
    MUST(fuzz::lock_value() == 1);
    // Of one slot in each region no more than the mark was written, and the first byte of a name that has passed.
    int changed[2] = {0, 0};
    for (int region = 0; region < 2; ++region) {
        size_t entry = region ? sizeof(radius_entry_t) : sizeof(auth_entry_t);
        for (int slot = 0; slot < AUTH_BUFFER_SLOTS; ++slot) {
            size_t at = (region ? radius_region : 0) + static_cast<size_t>(slot) * entry;
            if (std::memcmp(buffer + at, before.get() + at, entry) == 0) continue;
            ++changed[region];
            int32_t in_use;
            std::memcpy(&in_use, buffer + at, sizeof in_use);
            MUST(in_use == 0);
            size_t written = region ? 4 : 5;
            MUST(std::memcmp(buffer + at + written, before.get() + at + written, entry - written) == 0);
        }
    }
    MUST(changed[0] <= 1 && changed[1] <= 1);
    MUST(std::memcmp(buffer + radius_region + AUTH_BUFFER_SLOTS * sizeof(radius_entry_t),
                     before.get() + radius_region + AUTH_BUFFER_SLOTS * sizeof(radius_entry_t),
                     sizeof(auth_buffer_t) - radius_region - AUTH_BUFFER_SLOTS * sizeof(radius_entry_t)) == 0);
    return 0;
}
