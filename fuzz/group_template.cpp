// The template files of the user functions. The input is both "/tmp/template_group.xml" and "/tmp/template_user.xml".
#include <cstring>

#include "base/paths.h"
#include "fuzz/fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string_view input(reinterpret_cast<const char *>(data), size);
    fuzz::write_file(paths::group_template, input);
    fuzz::write_file(paths::user_template, input);

    static const auto appended = std::make_unique<user_group_t>();
    for (const char *name : {"g", "h"}) {
        user_group_t *group = retrieve_user_group(name);
        MUST(fuzz::lock_value() == 1);
        appended->member_count = 1020;
        if (kvio_config_t *document = kvio_restore_scope(paths::group_template)) {
            get_member(document, name, appended.get());
            kvio_close_config(document);
        }
        MUST(appended->member_count >= 1020 && appended->member_count <= 1024);
        if (group) {
            MUST(group->member_count >= 0 && group->member_count <= 1024);
            MUST(appended->member_count == 1020 + (group->member_count < 4 ? group->member_count : 4));
            for (int i = 0; i < group->member_count; ++i) {
                MUST(std::memchr(group->members[i].name, '\0', sizeof group->members[i].name));
                if (i < 3) MUST(check_user_in_group(name, group->members[i].name) == 1);
            }
        } else {
            MUST(check_user_in_group(name, "anna") == -1);
        }
        free_user_group(group);
        int defined = verify_user_group(name);
        MUST(defined >= -1 && defined <= 1);
        MUST(fuzz::lock_value() == 1);
    }

    auto profile = std::make_unique<user_profile_t>();
    if (get_remote_setting(profile.get(), "anna") == 0) {
        MUST(std::strcmp(profile->name, "anna") == 0);
        MUST(profile->type >= 0 && profile->type <= 4);
    }
    return 0;
}
