/**
 * @file objects.h
 * @brief Lists and groups: the object layer that management programs use on top of the configuration store.
 *
 * A **list** is a `list` container whose members are entities of one type, at most so many of them. A **group** is a
 * `group` container whose members are entries (entities of the group's type) and other groups; groups nest, count
 * their users, and may keep properties of an entry per membership. The caller describes a list in a #list_desc_t, a
 * group in a #group_desc_t; the callbacks in these records turn an entity of the store into the caller's own entry
 * structure and back, and print.
 *
 * @code{.xml}
 * <address>                                                          the scope, of group->config
 *   <address_t name="gate" reference="2"/>                           an entry, member of 2 groups
 *   <group name="all" type="address_t" reference="0">                a parent or outermost group
 *     <container>office</container>                                  a nested group
 *   </group>
 *   <group name="office" type="address_t" reference="1">             a group with one user
 *     <entity>gate</entity>                                          a membership of "gate"
 *   </group>
 *   <limit_t name="office_gate"/>                                    the properties of that membership: GROUP_ENTRY
 *   <group name="gate_property" type="limit_t">                      the property group of "gate": ENTRY_property
 *     <entity>office_gate</entity>                                   one member for each group that "gate" is in
 *   </group>
 * </address>
 * @endcode
 *
 * **Documents.** The functions work on the caller's open document. They open the containers they need, close them
 * before they return, and never save. The diagnostics and codes of the functions of store.h come on top of what is said
 * here. There are no locks: a document is used by one thread at a time.
 *
 * **Records.** A record is only read, apart from the field `name` in valid_property() and export_group(), and nothing
 * of it is kept after a call. A null record counts as one with no field filled in.
 *
 * **Callbacks** run on the caller's thread, inside the operation. They must not throw, not jump out, and not change
 * the containers, nor delete the entities, that the operation works on. An entity passed to a callback belongs to the
 * document. A buffer from `alloc_entry` or `alloc_property` is released through `free_entry` or `free_property` exactly
 * once, before the operation returns, on every path; a null buffer means that memory was short. Data of the caller is
 * passed on as it is. An operation that *reads entries* needs `alloc_entry`, `get_entry` and `free_entry`; one that
 * *reads properties* needs `property_type`, `alloc_property`, `get_property` and `free_property`.
 *
 * **Names** given to a group operation have 1 to 63 bytes, and so have the names of a group's members: a member with a
 * longer name counts as one that cannot be read. Names in lists may have any length. A name with an ampersand cannot be
 * joined to a group, since kvio_join() takes it for a reference. Do not escape it as in XML either: the name of the
 * member would then differ from that of the entry. The first group of a scope is made with kvio_create_group(), as
 * create_group() needs a parent.
 *
 * **Counts** of references are decimal integers in the attribute "reference" of entries (in how many groups they are)
 * and groups (how many places use them). A missing count is 0. A count that would leave the range of an int is not
 * changed.
 *
 * **Results.** Lists return 0, or -1 on failure. Groups return 0, 1 on failure, or #GROUP_REFERENCE. A record
 * that lacks `config`, `scope`, `type`, `name`, `label`, or another field that the description says is needed, makes
 * group operations and delete_list() do nothing and return 0 (null from export_group()). After that, a name not of 1 to
 * 63 bytes makes group operations do nothing and return 1 (null from export_group(), 0 from valid_property()).
 *
 * **Messages** go to the system log, kvlog(), with the leading integers 5, 7, 5, 0, 0, 0, 0 and the tag "list_op" or
 * "group_op". They are listed before the lists and before the groups.
 */
#ifndef KAVEX_OBJECTS_H
#define KAVEX_OBJECTS_H

#include <kavex/store.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/** Result of group operations: the attribute "reference" could not be read, written or changed by one, or the group to
 *  be disposed of is still referenced. */
#define GROUP_REFERENCE (-18004)

/** The caller's description of one list. Unless said otherwise a callback reports success with 0. */
typedef struct list_desc_t {
    const char *label;     /**< Display name of the list, for messages. */
    kvio_config_t *config; /**< The open document. */
    const char *scope;     /**< Scope of the list and of its entities. */
    const char *type;      /**< Entity type: element name of the entries, `type` of the container. */
    const char *name;      /**< `name` of the container. */
    int max_entries;       /**< Capacity: a list with as many members or more takes no new one. */

    int (*begin)(void);                                           /**< A listing starts; result ignored. */
    int (*print_entry)(int position, void *entry);                /**< Prints a filled entry. */
    int (*end)(void);                                             /**< A listing has ended; result ignored. */
    int (*print_name)(int position, const char *name, int count); /**< Prints a line of the name listing. */
    void *(*alloc_entry)(void);                                   /**< Makes an entry buffer; null on failure. */
    int (*set_entry)(kvio_node_t *entity, void *data);  /**< Writes the data into the entity; negative on failure. */
    void *reserved;                                     /**< Never read. */
    int (*get_entry)(kvio_node_t *entity, void *entry); /**< Fills the buffer from the entity. */
    void (*free_entry)(void *entry);                    /**< Releases a buffer of `alloc_entry`. */
} list_desc_t;

/**
 * @name Lists
 * Every operation opens the list first and fails if there is none; then no callback runs. A callback that is needed and
 * null is a failure without a message. An entry is looked up by its name in `scope` and `type`; that it is a member of
 * this list is not checked. A null name is one that does not exist, "(null)" in messages. A listing calls `begin` first
 * and `end` last, if there are any, and ends at the first failure; positions count from 1.
 *
 * Messages, with the name of the entry unless said otherwise:
 * - "System integrity error!\n" (no argument): the list cannot be opened.
 * - "%s: list is full!\n" (label), "Can't define entry: %s!\n", "Can't append entry: %s!\n", "Can't retrieve entry:
 *   %s!\n", "Can't set entry: %s!\n": append_list(); the last two also change_list().
 * - "Can't undefine %s\n", "Can't remove %s\n": delete_list().
 * - "can't alloc entry: %s!\n", "can't retrieve entry: %s!\n", "can't get entry: %s!\n", "can't print entry: %s!\n":
 *   list_list() of one entry; the second and third also get_list(); all but the second also list_list2() (label).
 * - "%s: cannot retrieve entries from list!\n" (label): list_list() of all, list_list2().
 * - "can't get name for entry %d!\n" (index from 0), "can't get reference count: %s!\n", "can't print entry name:
 *   %s!\n": list_list() of all.
 */
/**@{*/

/** Lists one entry in full, or, for a null name, the names and reference counts of all members. With a name, it reads
 *  entries and needs `print_entry`. Without one, it needs `print_name`, which gets the first 63 bytes of the name, and
 *  the integer in the first 15 bytes of the entity's attribute "refcount", -1 if that is missing or empty. */
int list_list(const list_desc_t *list, const char *name);

/** Lists all members in full, reusing one buffer. Reads entries and needs `print_entry`. */
int list_list2(const list_desc_t *list);

/** Creates an entity, appends it to the list and fills it with `set_entry`, which is needed. A failure leaves neither
 *  the entity nor the membership behind; a full list is found before anything is made. An empty name is refused. */
int append_list(const list_desc_t *list, void *data, const char *name);

/** Rewrites an entity with `set_entry`, which is needed. */
int change_list(const list_desc_t *list, void *data, const char *name);

/** Deletes an entity, then its membership. Reference counts are not looked at, no callback runs. An entity that cannot
 *  be deleted keeps its membership; a membership that cannot be removed does not bring the entity back. */
int delete_list(const list_desc_t *list, const char *name);

/** Fills the caller's buffer with `get_entry`, which is needed. */
int get_list(const list_desc_t *list, const char *name, void *entry);
/**@}*/

/**
 * @name Attributes as integers
 * Integers are stored in decimal, as printf(3) writes "%d", and read from the first 63 bytes of the text as strtol(3)
 * reads base 10: leading white space is skipped, what follows the digits is ignored, a text without digits, or no
 * attribute at all, is 0, and a value beyond 32 bits is the nearest that fits.
 *
 * @return 1; or 0 with the store's message and code: a null entity, a null or (setters) read-only container handle. A
 *         getter that fails leaves `*value` as it was.
 */
/**@{*/
int set_iterator_int(kvio_iterator_t *iterator, const char *attribute, int value);
int get_iterator_int(kvio_iterator_t *iterator, const char *attribute, int *value);
int set_entity_int(kvio_node_t *entity, const char *attribute, int value);
int get_entity_int(kvio_node_t *entity, const char *attribute, int *value);
/**@}*/

/** Other names of kvio_setattr_entity() and kvio_getattr_entity(): the buffer must hold the whole text with its NUL;
 *  use kvio_getattr_entity2() where that is not certain. */
int set_entity_char(kvio_node_t *entity, const char *attribute, const char *text);
int get_entity_char(kvio_node_t *entity, const char *attribute, char *buffer);

/** The caller's description of one group. Callbacks that return int report success with 0, failure with anything
 *  else. */
typedef struct group_desc_t {
    const char *label;         /**< Display name of the kind of group, for messages. */
    kvio_config_t *config;     /**< The open document. */
    const char *scope;         /**< Scope of the group, its entries, nested groups and properties. */
    const char *type;          /**< Entity type of the entries, `type` of the group and of nested groups. */
    const char *property_type; /**< Entity type of the properties; null if entries have none. */
    char *name;                /**< `name` of the group. For valid_property() a writable buffer of 64 bytes. */
    int max_groups;            /**< Of a parent: how many members create_group() allows it; 0 for no limit. */

    void (*begin)(void);                               /**< list_group() starts. */
    int (*print_group)(const char *name);              /**< list_group(): prints a nested group. */
    void (*end)(void);                                 /**< list_group() has ended. */
    int (*print_entry)(const char *name, void *entry); /**< list_group(): prints an entry. */
    void *(*alloc_entry)(void);                        /**< Makes an entry buffer; null on failure. */
    /** Writes the caller's data into the entry; `current` is the entry before the change, null for a new member. */
    int (*set_entry)(kvio_node_t *entity, const char *name, void *data, void *current);
    int (*entry_removed)(const char *name, void *entry); /**< remove_entry(): the entry leaves the group. */
    int (*get_entry)(kvio_node_t *entity, void *entry);  /**< Fills the buffer from the entry. */
    void (*free_entry)(void *entry);                     /**< Releases a buffer of `alloc_entry`. */

    int (*print_property)(void *property); /**< list_group(): prints the properties of the entry just printed. */
    void *(*alloc_property)(void);         /**< Makes a property buffer; null on failure. */
    /** Writes the caller's data into the property entity; `current` as for `set_entry`. */
    int (*set_property)(kvio_node_t *entity, void *data, void *current);
    int (*property_removed)(void *property);                  /**< remove_entry(): the properties are deleted. */
    int (*get_property)(kvio_node_t *entity, void *property); /**< Fills the buffer from the property entity. */
    void (*free_property)(void *property);                    /**< Releases a buffer of `alloc_property`. */

    void *(*export_begin)(int count); /**< export_group() starts: makes the export handle; null on failure. */
    /** Takes an entry, index from 0. */
    int (*export_entry)(int index, void *handle, const char *name, void *entry);
    /** Takes properties of the entry `index`; property_index counts the entry's property entities in all groups. */
    int (*export_property)(int index, int property_index, void *handle, void *property);
    void (*export_discard)(void *handle); /**< Releases the handle of an export that failed. */
} group_desc_t;

/**
 * @name Groups
 * Messages; (both) stands for the label and the name of the entry:
 * - "%s: cannot get size of group\n" (label): list_group(), dispose_group(), valid_property(), export_group().
 * - "cannot create, too many groups (>%d)\n" (`max_groups`): create_group().
 * - "%s: cannot find entry %s\n", "%s: cannot remove entry %s\n" (both): remove_entry(), dispose_group().
 * - "%s: cannot join entry\n" (label): join_entry(), the entity cannot be created. "%s: cannot join entry %s\n" (both):
 *   join_entry(), the join is refused and the count is not 0.
 * - "%s: cannot specify properties for entry %s\n" (both): join_entry(), change_entry(). The latter also prints a
 *   line to the standard error stream, which begins with "% ", the step and the same text. Steps: "kvio_open_group ",
 *   "kvio_retrieve_entity ", "3 " (no buffer), "4 " (`get_property`), "5 " (`set_property`) and "" (closing).
 * - "%s: cannot join group %s, loop detected\n" (the labels of both groups): join_group().
 * - "cannot close property group\n", a failure, and "cannot close group\n", not one: export_group().
 */
/**@{*/

/** Prints the members in their order. Calls `begin` (once the members are counted) and `end` (after all else), if
 *  there are any. With `print_entry` it reads entries, with `print_property` properties.
 *
 *  A nested group goes to `print_group`, an entry to `print_entry` and its properties in this group to
 *  `print_property`, where there are such. The result is 1 if anything failed. The listing goes on after a nested
 *  group that could not be printed, a member that could not be read, and properties that could not be filled or
 *  printed (in this case up to and including the next entry that is printed); it ends at any other failure. */
int list_group(const group_desc_t *group);

/** Makes an empty group with the count 0 and joins it into a parent. A parent that has exactly `max_groups` members: 0,
 *  a message, nothing created. A new group whose count cannot be set, or that cannot be joined, stays. */
int create_group(const group_desc_t *parent, const group_desc_t *group);

/** Counts a user of the group: adds 1 to its count. */
int use_group(const group_desc_t *group);

/** Takes back a use_group(): subtracts 1. A count below 1: 1, nothing changed. */
int unuse_group(const group_desc_t *group);

/** Removes an entry from the group. An entry that leaves its last group (its count is 1 or less) is deleted, else its
 *  count is decreased. With a `property_type` its properties in this group are deleted, too, and its property group
 *  when that has become empty. With `entry_removed` it reads entries; `property_removed` needs `alloc_property`,
 *  `get_property` and `free_property`.
 *
 *  `entry_removed` and `property_removed`, if there are any, get the contents before the deletion. If they, or the
 *  reading for them, fail, the result is 1 but the removal goes on. Any other failure stops it and leaves done what
 *  was done so far; an entry without properties in a group with a `property_type` is such a failure. */
int remove_entry(const group_desc_t *group, const char *name);

/** Removes a nested group: subtracts 1 from its count, without a lower bound, then removes the membership. A failure to
 *  remove leaves the count decreased. */
int remove_group(const group_desc_t *group, const char *name);

/** Deletes a group with a count of 0 or less: takes it out of its parent, removes its members as remove_entry() and
 *  remove_group() do, with the group record's callbacks, and deletes the container.
 *
 *  Each removal is tried on the first member, and its result is ignored; a member that cannot be removed keeps those
 *  behind it. If a member cannot be read the result is 1. If the members cannot be counted the group is out of its
 *  parent, but stays. */
int dispose_group(const group_desc_t *parent, const group_desc_t *group);

/** Adds an entry to the group, and makes its entity if there is none. Entry data, unless null, needs `set_entry`, which
 *  gets null for the current entry. Property data, unless null, needs `set_property` and `property_type`, and makes the
 *  properties of this membership: the entry's property group if need be, a property entity, and what `set_property`
 *  does with null for the current properties. The entry's count is raised last.
 *
 *  An entity with the count 0 is deleted again when `set_entry` or the join fails. A failure in the property steps
 *  leaves the entry joined and its count not raised, and what those steps made in place. A join that the store refuses
 *  leaves the store's code: #KVIO_EXISTS for a name that is a member already, #KVIO_XML for one with an ampersand. */
int join_entry(const group_desc_t *group, const char *name, void *entry_data, void *property_data);

/** Nests one group in another and raises the nested group's count. A nesting that leads back to a group, or to one
 *  group on two paths, is undone: 1 and #KVIO_LOOP. If the count cannot be read or changed the membership stays. The
 *  codes of a join that the store refuses are those of join_entry(). */
int join_group(const group_desc_t *group, const group_desc_t *nested);

/** Rewrites an entry and its properties in this group, each if there is data for it. `set_entry` and `set_property`
 *  get the current contents, too. With entry data it reads entries and needs `set_entry`, with property data it reads
 *  properties and needs `set_property`. Nothing is created, and that the entry is a member is not checked. If the
 *  entry cannot be changed the properties are not. */
int change_entry(const group_desc_t *group, const char *name, void *entry_data, void *property_data);

/** Returns whether a property entity of an entry belongs to a group or to one nested in it, by its name: GROUP_ENTRY.
 *  The search is depth first in member order and ends at the first match; a member that cannot be read ends it for the
 *  group whose member it is.
 *
 *  A group that leads back to itself is not entered again. A search goes down 1,000 levels at most and opens 10,000
 *  groups at most; what lies beyond counts as not found.
 *
 *  @param group Its `name` points to a writable buffer of at least 64 bytes, and is left holding the name of
 *          the last nested group visited. The basic fields are not checked.
 *  @return 1 if it belongs to one, or 0; 0 also when a container cannot be opened. */
int valid_property(const char *property, group_desc_t *group, const char *entry);

/** Passes every entry that is reachable from a group to `export_entry`, and its properties in this group and in nested
 *  ones to `export_property`, where there are such. The entries come in the order of kvio_retrieve_all(), each once,
 *  after `export_begin` with their number. Needs `export_begin` and `export_discard`; with `export_entry` it reads
 *  entries, with `export_property` properties.
 *
 *  With `export_property` every entry must have a property group. Which of the properties in it belong to the group is
 *  found as by valid_property(); a nested group that cannot be opened or read is no failure. While `get_property` and
 *  `export_property` run, the record's `name` points to a copy of the name of the group that the properties belong to;
 *  afterwards it points to the caller's string again, on every path.
 *
 *  @return The handle from `export_begin`, which is the caller's now; or null after the first failure, such as a
 *          nesting that leads to one group on two paths: the handle, if there was one, went to `export_discard`. */
void *export_group(group_desc_t *group);
/**@}*/

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
