// The table of the functions of the store, the lists and the groups, which the driver of the sessions and the fuzzer
// share. What a function takes and gives is deduced from its type.
#ifndef KAVEX_TESTS_PLAY_FUNCTIONS_H
#define KAVEX_TESTS_PLAY_FUNCTIONS_H

#include <kavex/objects.h>

// Calls visit(NAME, FUNCTION) for each of them.
template <class Visit>
void each_function(Visit &&visit) {
#define F(function) visit(#function, function);
    // clang-format off
    F(kvio_initialize) F(kvio_open_config) F(kvio_save_config) F(kvio_save_as) F(kvio_close_config)
    F(kvio_copy_config) F(kvio_rename_config) F(kvio_remove_config)
    F(kvio_create_table) F(kvio_create_list) F(kvio_create_group)
    F(kvio_open_table) F(kvio_open_list) F(kvio_open_group)
    F(kvio_dispose_table) F(kvio_dispose_list) F(kvio_dispose_group)
    F(kvio_close_table) F(kvio_close_list) F(kvio_close_group)
    F(kvio_dump) F(kvio_restore) F(kvio_backup_scope) F(kvio_restore_scope)
    F(kvio_create_checkpoint) F(kvio_rollback_checkpoint) F(kvio_release_checkpoint)
    F(kvio_define) F(kvio_define2) F(kvio_undefine) F(kvio_compare_name) F(kvio_name) F(kvio_name2)
    F(kvio_set) F(kvio_set2) F(kvio_unset) F(kvio_get) F(kvio_get2) F(kvio_getlen)
    F(kvio_join) F(kvio_remove) F(kvio_change_container_element) F(kvio_append) F(kvio_insert) F(kvio_delete)
    F(kvio_size) F(kvio_real_size) F(kvio_check_loop) F(kvio_retrieve_all) F(kvio_retrieve_all2)
    F(kvio_retrieve_entity) F(kvio_regain_index) F(kvio_regain_index2) F(kvio_retrieve_index)
    F(kvio_list_entities) F(kvio_entity_count) F(kvio_alloc_entities) F(kvio_free_entities)
    F(kvio_setattr_entity) F(kvio_unsetattr_entity) F(kvio_getattr_entity) F(kvio_getattr_entity2)
    F(kvio_setattr_container) F(kvio_unsetattr_container) F(kvio_getattr_container) F(kvio_getattr_container2)
    F(kvio_increase_entity_attr) F(kvio_decrease_entity_attr)
    F(list_list) F(list_list2) F(append_list) F(change_list) F(delete_list) F(get_list)
    F(set_iterator_int) F(get_iterator_int) F(set_entity_int) F(get_entity_int) F(set_entity_char) F(get_entity_char)
    F(list_group) F(create_group) F(use_group) F(unuse_group) F(remove_entry) F(remove_group) F(dispose_group)
    F(join_entry) F(join_group) F(change_entry) F(valid_property) F(export_group)
    // clang-format on
#undef F
}

#endif
