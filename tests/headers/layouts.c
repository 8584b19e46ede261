/*
 * Where every field of every public record lies, in bytes: programs that are not compiled again have these numbers
 * in them. First with pointers of 32 bits, as on the appliance, then with those of 64. What moves fails the build.
 */
#include <kavex/objects.h>
#include <kavex/store.h>
#include <kavex/users.h>
#include <stddef.h>

#define BY_WIDTH(narrow, wide) (sizeof(void *) == 4 ? (narrow) : (wide))
#define AT(record, field, narrow, wide) \
    _Static_assert(offsetof(record, field) == BY_WIDTH(narrow, wide), #record "." #field " has moved")
#define SIZE(record, narrow, wide) _Static_assert(sizeof(record) == BY_WIDTH(narrow, wide), #record " has another size")

_Static_assert(sizeof(int) == 4 && (sizeof(void *) == 4 || sizeof(void *) == 8), "numbers for 32 and 64 bits only");

AT(kvio_entities_t, count, 0, 0);
AT(kvio_entities_t, capacity, 4, 4);
AT(kvio_entities_t, items, 8, 8);
SIZE(kvio_entities_t, 12, 16);

AT(list_desc_t, label, 0, 0);
AT(list_desc_t, config, 4, 8);
AT(list_desc_t, scope, 8, 16);
AT(list_desc_t, type, 12, 24);
AT(list_desc_t, name, 16, 32);
AT(list_desc_t, max_entries, 20, 40);
AT(list_desc_t, begin, 24, 48);
AT(list_desc_t, print_entry, 28, 56);
AT(list_desc_t, end, 32, 64);
AT(list_desc_t, print_name, 36, 72);
AT(list_desc_t, alloc_entry, 40, 80);
AT(list_desc_t, set_entry, 44, 88);
AT(list_desc_t, reserved, 48, 96);
AT(list_desc_t, get_entry, 52, 104);
AT(list_desc_t, free_entry, 56, 112);
SIZE(list_desc_t, 60, 120);

AT(group_desc_t, label, 0, 0);
AT(group_desc_t, config, 4, 8);
AT(group_desc_t, scope, 8, 16);
AT(group_desc_t, type, 12, 24);
AT(group_desc_t, property_type, 16, 32);
AT(group_desc_t, name, 20, 40);
AT(group_desc_t, max_groups, 24, 48);
AT(group_desc_t, begin, 28, 56);
AT(group_desc_t, print_group, 32, 64);
AT(group_desc_t, end, 36, 72);
AT(group_desc_t, print_entry, 40, 80);
AT(group_desc_t, alloc_entry, 44, 88);
AT(group_desc_t, set_entry, 48, 96);
AT(group_desc_t, entry_removed, 52, 104);
AT(group_desc_t, get_entry, 56, 112);
AT(group_desc_t, free_entry, 60, 120);
AT(group_desc_t, print_property, 64, 128);
AT(group_desc_t, alloc_property, 68, 136);
AT(group_desc_t, set_property, 72, 144);
AT(group_desc_t, property_removed, 76, 152);
AT(group_desc_t, get_property, 80, 160);
AT(group_desc_t, free_property, 84, 168);
AT(group_desc_t, export_begin, 88, 176);
AT(group_desc_t, export_entry, 92, 184);
AT(group_desc_t, export_property, 96, 192);
AT(group_desc_t, export_discard, 100, 200);
SIZE(group_desc_t, 104, 208);

AT(user_type_def_t, type_name, 0, 0);
AT(user_type_def_t, display_name, 4, 8);
AT(user_type_def_t, def_set_name, 8, 16);
AT(user_type_def_t, access, 12, 24);
AT(user_type_def_t, visibility, 16, 28);
AT(user_type_def_t, remote_admin, 20, 32);
AT(user_type_def_t, remote_access, 24, 36);
AT(user_type_def_t, field8, 28, 40);
AT(user_type_def_t, field9, 32, 44);
AT(user_type_def_t, field10, 36, 48);
AT(user_type_def_t, field11, 40, 56);
AT(user_type_def_t, field12, 44, 64);
AT(user_type_def_t, field13, 48, 68);
SIZE(user_type_def_t, 52, 72);

AT(user_profile_t, name, 0, 0);
AT(user_profile_t, account, 32, 32);
AT(user_profile_t, type, 1152, 1152);
AT(user_profile_t, access, 1156, 1156);
AT(user_profile_t, visibility, 1160, 1160);
AT(user_profile_t, lease_time, 1164, 1164);
AT(user_profile_t, re_auth, 1168, 1168);
AT(user_profile_t, remote_admin, 1172, 1172);
AT(user_profile_t, remote_access, 1176, 1176);
AT(user_profile_t, reserved, 1180, 1180);
SIZE(user_profile_t, 1184, 1184);

AT(auth_entry_t, in_use, 0, 0);
AT(auth_entry_t, user, 4, 4);
AT(auth_entry_t, method, 36, 36);
SIZE(auth_entry_t, 40, 40);

AT(radius_entry_t, in_use, 0, 0);
AT(radius_entry_t, user, 4, 4);
AT(radius_entry_t, type, 100, 100);
AT(radius_entry_t, reserved1, 104, 104);
AT(radius_entry_t, lease_time, 112, 112);
AT(radius_entry_t, re_auth, 116, 116);
AT(radius_entry_t, reserved2, 120, 120);
SIZE(radius_entry_t, 128, 128);

AT(auth_buffer_t, auth, 0, 0);
AT(auth_buffer_t, radius, 2000, 2000);
SIZE(auth_buffer_t, 8400, 8400);

AT(user_group_t, reserved, 0, 0);
AT(user_group_t, members, 1056, 1056);
AT(user_group_t, member_count, 1213472, 1213472);
SIZE(user_group_t, 1213476, 1213476);
