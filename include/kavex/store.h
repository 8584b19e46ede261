/**
 * @file store.h
 * @brief The configuration store: XML configuration files under an exclusive lock between processes.
 *
 * A configuration is an XML file in "/etc/kavex/conf/". kvio_open_config() parses it into memory and locks it;
 * everything else works on the document in memory; kvio_save_config() writes it back; kvio_close_config() gives the
 * lock back and frees the document, without saving.
 *
 * @code{.xml}
 * <kavex>                                             the root element
 *   <object>                                          a scope: "object"
 *     <address>                                       a scope in a scope: "object/address"
 *       <address_t name="lan" reference="1">          an entity: type "address_t", name "lan", one attribute
 *         <ip>192.168.1.0</ip>                        a value: field "ip"
 *       </address_t>
 *       <group name="inside" type="address_t">        a container: kind "group", name "inside"
 *         <entity>lan</entity>                        a member that names an entity of the container's type
 *         <container>branch</container>               a member that names a container of the same kind and type
 *       </group>
 *     </address>
 *   </object>
 * </kavex>
 * @endcode
 *
 * What holds for all functions, and is not repeated at each:
 *
 * **Codes and messages.** Every call sets #kvio_errno, to 0 on success, except where its description says that it
 * leaves it alone. Every failure writes one line to the standard error stream, except where the description says
 * "no message". In the messages below the first `%%s` is the name of the reporting function.
 *
 * **Results.** Calls that return a handle, a node or an array return null on failure. Counts, positions and saves
 * return -1, file operations 0 or -1, actions and predicates 1 or 0. kvio_close_config() is the exception.
 *
 * **Texts.** All strings are NUL-terminated bytes and are compared byte for byte. They are UTF-8 (RFC 3629); values
 * may hold any text but control characters other than tab and line feed, and types, fields and attribute names must
 * be XML names (https://www.w3.org/TR/xml/#NT-Name): the XML writer stores other texts as something that does not
 * read back. A null name counts as one that names nothing: the call fails, it does not crash. Buffers must not be
 * null.
 *
 * **Scopes.** A scope is an element below the root, given as the path of element names after "/kavex/", such as
 * "object/address". Any XPath 1.0 expression is taken, as long as "/kavex/" and the scope together select exactly one
 * element, which is not the root; else the call fails with #KVIO_BAD_SCOPE. Plain paths of element names are by far
 * the fastest. "/kavex/" and the scope together are at most 255 bytes; a longer scope is refused with that code.
 *
 * **Ownership.** Handles belong to the caller and are released only through the store. Entity nodes belong to the
 * document: never free them. A node is valid until its entity is undefined, its scope is replaced by
 * kvio_rollback_checkpoint(), or its document is closed. No string argument is kept after a call.
 *
 * **Bounded copies.** A getter whose name ends in "2" takes the size of its buffer in bytes, at least 1 (with 0 it
 * writes nothing). Byte size-1 is set to 0, then at most size-1 bytes of the text are copied; a shorter text is
 * followed by zero bytes, so that the whole buffer is written; a longer one is cut. Getters without the "2" copy the
 * whole text with its NUL: the caller knows that the buffer is large enough, or uses the bounded getter.
 *
 * **Threads.** The store starts none and takes no lock within a process. A document, and everything reached through
 * it, is used by one thread at a time; #kvio_errno is one integer for the whole process.
 *
 * **Locks.** The lock on a file is a System V semaphore set (semget(2)) whose key is ftok(3) of the full path with
 * project id 0 (id 1 where that gives 0, which is IPC_PRIVATE and would exclude nobody). It exists while the lock is
 * held; nobody waits for it. Two files whose keys coincide share one lock. The lock does not end with its process: a
 * process that dies with an open handle leaves the file locked until somebody removes the semaphore, with
 * `ipcrm -S` and the file's key (ipcs(1) lists the keys). A process that is killed while it makes a new file can leave
 * the lock of one that has not got its name yet, which no file's key leads to, or, where it makes one from the
 * template, a file whose name is ".new." and six characters.
 *
 * **Saving.** Files are written in place, since the lock hangs on the inode, and without a temporary file. The document
 * is serialised in memory first, room on the disk is reserved, then the file is overwritten in one go, cut to its
 * length and synced (fdatasync(2)); its old contents are in memory meanwhile, and are put back when a write fails. So a
 * full disk, a shortage of memory or an unwritable file leaves the old contents.
 * The overwriting itself is done by a short-lived helper process that shares the caller's memory, so that a signal that
 * kills the caller does not stop it half-way; wait(2) does not see the helper. What is left are a machine that loses
 * power in that moment, somebody who kills helper and caller together, and systems that let no process be started:
 * they can leave the beginning of the new document before the rest of the old one. Keep a kvio_dump() where that
 * matters.
 */
#ifndef KAVEX_STORE_H
#define KAVEX_STORE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/** An open configuration document and the lock on its file. Opaque. */
typedef struct kvio_config_t kvio_config_t;

/** A handle on one container of an open document. Opaque. Valid while the document is open and the container is not
 *  disposed of nor its scope replaced; several handles on one container are independent of each other. */
typedef struct kvio_iterator_t kvio_iterator_t;

/** An entity: an element in the tree of an open document. Opaque, owned by the document. */
typedef struct _xmlNode kvio_node_t;

/** A copy of one scope, owned by the caller and attached to no document. Opaque. */
typedef struct _xmlNode kvio_checkpoint_t;

/** A counted array of entity nodes in one block. The array belongs to the caller (kvio_free_entities()), the nodes
 *  to their document. */
typedef struct kvio_entities_t {
    int32_t count;       /**< Items filled; never more than capacity. */
    int32_t capacity;    /**< Item slots in the block. */
    kvio_node_t **items; /**< The first slot; it lies behind this header in the same block. */
} kvio_entities_t;

/** What #kvio_errno holds after a call. */
enum kvio_code {
    KVIO_OK = 0,            /**< Success. */
    KVIO_LOCKED = 1,        /**< Somebody else holds the file, or its lock semaphore could not be made. */
    KVIO_NO_MEMORY = 2,     /**< Out of memory, or a count beyond what an int holds. */
    KVIO_MALFORMED = 3,     /**< The file is no well-formed XML document. */
    KVIO_NO_KEY = 4,        /**< No key for the file: it does not exist, or its path is null, empty or too long. */
    KVIO_IO = 5,            /**< Writing, copying, renaming or deleting a file failed. */
    KVIO_NULL_CONFIG = 6,   /**< A null kvio_config_t. */
    KVIO_BAD_SCOPE = 7,     /**< A scope, entity or container that is missing, not unique or broken. */
    KVIO_XML = 8,           /**< The XML library failed: an expression that cannot be evaluated, a text that it does
                                 not take, or no memory for a node. */
    KVIO_EXISTS = 10,       /**< What was to be created exists. */
    KVIO_READ_ONLY = 11,    /**< A change through a container handle of a snapshot. */
    KVIO_BAD_ITERATOR = 13, /**< A null container handle, or one without a container. */
    KVIO_OUT_OF_RANGE = 14, /**< A position outside the members; the first one is 1. */
    KVIO_BAD_ENTITY = 15,   /**< A null entity node, or an entity member without text. */
    KVIO_LOOP = 19,         /**< Nested containers form a loop. */
    KVIO_EMPTY_ITEM = 20,   /**< A member without text. */
    KVIO_NO_FILE = 21,      /**< The configuration file does not exist. */
    KVIO_NOT_FOUND = 22,    /**< The addressed container, member, entity or value does not exist. */
    KVIO_UNRESOLVED = 23    /**< The members of a container could not all be resolved. */
};

/** The code of the last store call of this process, one of #kvio_code. */
extern int kvio_errno;

/* ------------------------------------------------------------------------------------------------ documents */

/** Flag of kvio_open_config(): make a missing configuration from the template. The value of O_CREAT. */
#define KVIO_CREATE 64

/**
 * Silences the XML library's own messages (xmlSetGenericErrorFunc() with a handler that does nothing), for the whole
 * process. Call it once before the first other call. #kvio_errno is left alone. The store's own diagnostics stay.
 */
void kvio_initialize(void);

/**
 * Opens a configuration under its lock.
 *
 * @param name   File name relative to "/etc/kavex/conf/"; "__system_default.xml" alone is looked up in "/etc/".
 * @param flags  0, or #KVIO_CREATE: a missing file is made from "/etc/__system_default.xml" when that exists, with
 *               mode 0600. It appears under its name complete, and never replaces a file that appeared meanwhile.
 * @return The handle, to be released with kvio_close_config(); or null.
 *
 * On success the line "%s success. (%s, %d)\n" (function, path, semaphore id) goes to the standard error stream.
 * Codes: #KVIO_NO_KEY "ftok(%s) failed\n" (path), also for a null, empty or over-long name;
 * #KVIO_LOCKED "%s is locked.\n" (name) or "error on semget()\n"; #KVIO_NO_MEMORY "No memory\n";
 * #KVIO_MALFORMED "%s is not well-formed\n" (path). With #KVIO_CREATE and a missing file the line
 * "%s is not existed. Creating from template\n" (name) comes first. A failed open leaves no lock behind.
 *
 * A second open of a file that is open, also in the same process, fails at once. External entities and DTDs that the
 * file names are not loaded. A file whose references to entities stand for more than 1,000,000 bytes in sum, each
 * counting 16 bytes more, is refused as not well-formed, here and wherever else a document is read.
 */
kvio_config_t *kvio_open_config(const char *name, int flags);

/**
 * Writes the document to the handle's file (see "Saving" above), indented. The lock is not looked at: a snapshot is
 * written to the path it was read from.
 *
 * @return Bytes written, or -1: #KVIO_NULL_CONFIG "%s error: passing NULL argument\n"; #KVIO_IO "Problem occurred on
 *         saving XML to %s\n" (path), with handle and document as before: the call may be repeated.
 */
int kvio_save_config(kvio_config_t *config);

/**
 * Writes the document to another file of "/etc/kavex/conf/" and moves the handle there: from now on it locks and saves
 * to the new file, and the old one is free for others. A missing file is created with mode 0600.
 *
 * @return Bytes written, or -1: #KVIO_NULL_CONFIG as for kvio_save_config(); #KVIO_NO_KEY "ftok(%s) failed\n" (path);
 *         #KVIO_LOCKED "system error message: %s\n" (reason) and "%s is opened by other instance\n" (name), also under
 *         the handle's own name; #KVIO_IO "Problem occurred on saving XML to %s\n" (name). After a failure the handle
 *         keeps its old file and lock; an empty file that was created for the new name stays.
 */
int kvio_save_as(kvio_config_t *config, const char *name);

/**
 * Releases the lock and frees the document and the handle, without saving. Close the container handles first.
 * Writes "Semaphore %d is removed\n" (id, -1 for a snapshot) to the standard error stream.
 *
 * @return -1 in every case; the outcome is in #kvio_errno: 0, or #KVIO_NULL_CONFIG "%s error: passing NULL
 *         argument\n".
 */
int kvio_close_config(kvio_config_t *config);

/**
 * Copies a configuration file that nobody holds open onto another one, which is overwritten if it exists (and created
 * with mode 0600 if not). Both names are relative to "/etc/kavex/conf/". Both files are locked for the time of the
 * call; every lock is released on every path.
 *
 * @return 0, or -1: #KVIO_NO_FILE "copy: %s is not existed\n" (source); #KVIO_NO_KEY "ftok(%s) failed\n" (path);
 *         #KVIO_LOCKED "%s is being opened\n" (the name that is held), also for a copy onto itself; #KVIO_IO "copy:
 *         %s: %s\n" (the name of the file that failed, the system's reason): the target may then be incomplete.
 */
int kvio_copy_config(const char *source, const char *target);

/**
 * Renames a configuration file that nobody holds open. Both names are relative to "/etc/kavex/conf/"; the target must
 * not exist.
 *
 * @return 0, or -1: #KVIO_EXISTS "rename: target file \"%s\" is already existed\n" (target), with neither file touched;
 *         #KVIO_NO_FILE "rename: %s is not existed\n" (source); #KVIO_NO_KEY and #KVIO_LOCKED as for
 *         kvio_copy_config(); #KVIO_IO "rename: %s: %s\n" (source, the system's reason). When the target's lock is not
 *         to be had, an empty file stays under its name.
 */
int kvio_rename_config(const char *source, const char *target);

/**
 * Deletes a configuration file that nobody holds open.
 *
 * @param name  Relative to "/etc/kavex/conf/".
 * @return 0, or -1: #KVIO_NO_FILE "remove: %s is not existed\n" (name); #KVIO_NO_KEY and #KVIO_LOCKED as for
 *         kvio_copy_config(); #KVIO_IO "remove: %s: %s\n" (name, the system's reason).
 */
int kvio_remove_config(const char *name);

/* ----------------------------------------------------------------------------------------------- containers */

/**
 * @name Containers
 * A container is identified within its scope by its kind, its name and its type together; the first match in document
 * order is taken. All of these need a scope (see above) that selects exactly one element:
 * #KVIO_BAD_SCOPE "%s fatal error: scope not existed or multiple instances\n". The function named in the messages is
 * kvio_container_create_template or kvio_container_dispose_template. A null config: #KVIO_NULL_CONFIG, no message. A
 * failure leaves the document as it was.
 *
 * @param scope  At most 63 bytes for create and open; a longer one is refused as a scope that does not exist.
 * @param type   The element name of the entities that the container refers to. At most 63 bytes for create and open;
 *               a longer one: #KVIO_BAD_SCOPE "%s error: name is too long: %s\n" (function, type).
 * @param name   The container's name; it may be empty.
 */
/**@{*/

/**
 * Makes a new, empty container as the last child of its scope, with the attributes "name" and "type".
 * @return A handle on it, to be released with the close of its kind; or null: #KVIO_EXISTS "%s(%s): scope:[%s]
 *         %s:[%s] type:[%s] is existed\n" (function, path, scope, kind, name, type); #KVIO_XML "%s error on
 *         xmlNewNode(): no memory?\n", "%s error on xmlNewProp(): no memory?\n" or "%s error on xmlAddChild()\n";
 *         #KVIO_NO_MEMORY "%s error: no memory to create a new iterator\n".
 */
kvio_iterator_t *kvio_create_table(kvio_config_t *config, const char *scope, const char *type, const char *name);
kvio_iterator_t *kvio_create_list(kvio_config_t *config, const char *scope, const char *type, const char *name);
kvio_iterator_t *kvio_create_group(kvio_config_t *config, const char *scope, const char *type, const char *name);

/**
 * Finds a container.
 * @return A handle on it, to be released with the close of its kind; or null: #KVIO_NOT_FOUND "%s(%s): scope:[%s]
 *         %s:[%s] type:[%s] is not existed\n" (function, path, scope, kind, name, type); #KVIO_NO_MEMORY "%s error:
 *         no memory to create a new iterator\n". A handle made from a snapshot refuses every change.
 */
kvio_iterator_t *kvio_open_table(kvio_config_t *config, const char *scope, const char *type, const char *name);
kvio_iterator_t *kvio_open_list(kvio_config_t *config, const char *scope, const char *type, const char *name);
kvio_iterator_t *kvio_open_group(kvio_config_t *config, const char *scope, const char *type, const char *name);

/**
 * Removes a container and its members from the document; the entities and containers that the members named stay, and
 * so do members of other containers that name this one. Close the handles on the container first. Works on a snapshot,
 * too.
 * @return 1, or 0: #KVIO_NOT_FOUND as for open.
 */
int kvio_dispose_table(kvio_config_t *config, const char *scope, const char *type, const char *name);
int kvio_dispose_list(kvio_config_t *config, const char *scope, const char *type, const char *name);
int kvio_dispose_group(kvio_config_t *config, const char *scope, const char *type, const char *name);

/** Releases a container handle; null is accepted. Leaves #kvio_errno alone. @return 1. */
int kvio_close_table(kvio_iterator_t *iterator);
int kvio_close_list(kvio_iterator_t *iterator);
int kvio_close_group(kvio_iterator_t *iterator);
/**@}*/

/* -------------------------------------------------------------------- backups, snapshots and checkpoints */

/**
 * Writes the whole document to a file of the caller's choice (see "Saving" above), which is neither locked nor given a
 * particular mode.
 *
 * @param path  Used as it is, relative to the working directory unless it begins with '/'; no name is special.
 * @return Bytes written, or -1: #KVIO_NULL_CONFIG "%s error: passing NULL argument\n"; #KVIO_IO "Problem occurred on
 *         saving XML to %s\n" (path).
 */
int kvio_dump(kvio_config_t *config, const char *path);

/**
 * Reads a dump back: a second handle with the document of that file, for the configuration that the given handle
 * holds. Saving the new handle writes to the configuration's file.
 *
 * The given handle stays as it is. Both handles name one lock, and closing either one releases it. To retire the given
 * handle, save what is to be saved through the new one and then close both, one right after the other: the second
 * close finds the lock released already and frees the rest.
 *
 * @return The new handle, to be released with kvio_close_config(); or null: #KVIO_NULL_CONFIG "%s error: passing NULL
 *         argument\n"; #KVIO_NO_MEMORY "No memory\n"; #KVIO_MALFORMED "restore failed, temporary file is broken.\n",
 *         also for a file that cannot be read.
 */
kvio_config_t *kvio_restore(kvio_config_t *config, const char *path);

/**
 * Writes one scope to a file of its own: a document with the root `kavex`, the ancestors of the scope with their
 * attributes, and the scope with everything below it, so that the same scope string finds it there. The open document
 * is not changed.
 *
 * @param path  As for kvio_dump(). A failure in writing may leave it partly written.
 * @return 1, or 0: #KVIO_NULL_CONFIG, no message; #KVIO_BAD_SCOPE "%s fatal error: scope not existed or multiple
 *         instances\n"; #KVIO_XML "%s error on xmlXPathNewContext()\n", "%s fatal error: cannot create a new XML
 *         document\n", "%s error on xmlCopyNode()\n", "%s error on xmlAddChild()\n" or "%s error on xmlNewNode()\n";
 *         #KVIO_IO "Problem occurred on saving XML to %s\n" (path).
 */
int kvio_backup_scope(kvio_config_t *config, const char *scope, const char *path);

/**
 * Opens a file as a read-only snapshot. No lock is taken and none is looked for: a file that somebody holds open can
 * be read this way. Container handles made from a snapshot refuse changes.
 *
 * @return The snapshot, to be released with kvio_close_config(); or null: #KVIO_NO_MEMORY "No memory\n";
 *         #KVIO_MALFORMED "%s is not well-formed\n" (path), also for a file that cannot be read and for a path that is
 *         null, empty or of 4,096 bytes and more.
 */
kvio_config_t *kvio_restore_scope(const char *path);

/**
 * Copies one scope with everything below it.
 * @return The checkpoint, to be given to kvio_rollback_checkpoint() or kvio_release_checkpoint(); or null:
 *         #KVIO_NULL_CONFIG, no message; #KVIO_BAD_SCOPE "%s fatal error: scope not existed or multiple instances\n";
 *         #KVIO_XML "%s error on xmlXPathNewContext()\n" or "%s error on xmlCopyNode()\n".
 */
kvio_checkpoint_t *kvio_create_checkpoint(kvio_config_t *config, const char *scope);

/**
 * Puts a checkpoint in the place of a scope, whatever element it was copied from. Container handles and entity nodes
 * of the replaced scope are invalid afterwards; the checkpoint belongs to the document when the call succeeds, and
 * stays with the caller when it fails.
 *
 * @return 1, or 0: #KVIO_NULL_CONFIG, no message; #KVIO_XML "%s error on xmlXPathNewContext()\n"; #KVIO_BAD_SCOPE "%s
 *         fatal error: scope not existed or multiple instances\n"; #KVIO_BAD_ENTITY "%s() error: NULL checkpoint\n".
 */
int kvio_rollback_checkpoint(kvio_config_t *config, const char *scope, kvio_checkpoint_t *checkpoint);

/** Frees a checkpoint that was not rolled back; null is ignored. Leaves #kvio_errno alone. */
void kvio_release_checkpoint(kvio_checkpoint_t *checkpoint);

/* ------------------------------------------------------------------------------------- entities and values */

/**
 * Creates an entity as the last child of its scope, with the attribute "name" and no values. An empty name is a name.
 *
 * @return kvio_define(): 1, or 0. kvio_define2(): the entity node, or null. #KVIO_NULL_CONFIG, no message;
 *         #KVIO_BAD_SCOPE "%s fatal error: scope not existed or multiple instances\n"; #KVIO_EXISTS "%s(%s): scope:[%s]
 *         type:[%s] name:[%s] is existed\n" (function, path, scope, type, name); #KVIO_XML "%s error on
 *         xmlXPathNewContext()\n", "%s error on xmlNewNode(): no memory?\n" (also for a null or empty type), "%s error
 *         on xmlNewProp(): no memory?\n" (also for a null name) or "%s error on xmlAddChild()\n". The function named is
 *         do_kvio_define. A failed call leaves the document unchanged.
 */
int kvio_define(kvio_config_t *config, const char *scope, const char *type, const char *name);
kvio_node_t *kvio_define2(kvio_config_t *config, const char *scope, const char *type, const char *name);

/**
 * Deletes an entity with its attributes and values. Members of containers that name it stay: remove them with
 * kvio_remove(). Every node held for the entity is invalid afterwards.
 *
 * @return 1, or 0 with nothing removed: #KVIO_NULL_CONFIG, no message; #KVIO_NOT_FOUND "%s error: entity not
 *         existed\n", also when the scope selects nothing; #KVIO_BAD_SCOPE "%s fatal error: multiple instances\n", or
 *         "%s fatal error: scope not existed or multiple instances\n" for a null or over-long scope; #KVIO_XML "%s error
 *         on xmlXPathNewContext()\n" or "%s error on xmlXPathEvalExpression()\n".
 */
int kvio_undefine(kvio_config_t *config, const char *scope, const char *type, const char *name);

/** @return 1 if the entity's name equals the given one, else 0 (also for an entity without the attribute "name");
 *          #KVIO_BAD_ENTITY "%s() error: NULL entity\n". */
int kvio_compare_name(kvio_node_t *entity, const char *name);

/**
 * Copies the entity's name, whole or bounded.
 * @return 1, or 0: #KVIO_BAD_ENTITY "%s() error: NULL entity\n"; #KVIO_BAD_SCOPE "%s() fatal error: attribute 'name' is
 *         missed\n"; #KVIO_XML, no message, when memory is short.
 */
int kvio_name(kvio_node_t *entity, char *buffer);
int kvio_name2(kvio_node_t *entity, char *buffer, unsigned int size);

/**
 * Sets a value. The text is stored as it is, never read as markup. The value keeps its place among the others; a new
 * one becomes the entity's last child. If a document written by hand has comments or elements in front of a value's
 * text, only the first of these is replaced.
 *
 * kvio_set2() works on copies of both strings, so that they may point into the text that is replaced; kvio_set()
 * requires that they do not. kvio_unset() sets the empty text; the value element stays.
 *
 * @return 1, or 0 with the value as it was: #KVIO_BAD_ENTITY "%s() error: NULL entity\n"; #KVIO_XML "%s() error on
 *         xmlNewTextChild()\n", also for a null value and a null or empty field. kvio_set2() without memory for its
 *         copies, or with a null string: "can not alloc memory for name\n" or "can not alloc memory for value\n", with
 *         #kvio_errno left alone. The messages of kvio_unset() name kvio_set.
 */
int kvio_set(kvio_node_t *entity, const char *field, const char *value);
int kvio_set2(kvio_node_t *entity, const char *field, const char *value);
int kvio_unset(kvio_node_t *entity, const char *field);

/**
 * Copies a value, whole or bounded, or gives its length in bytes without the NUL. The value is the text of the value
 * element's first child, or "" if it has none; kvio_get2() then sets only the buffer's first byte.
 * @return 1, or 0: #KVIO_BAD_ENTITY "%s() error: NULL entity\n"; #KVIO_NOT_FOUND "%s() error: element '%s' is not
 *         found\n" (function, field); #KVIO_XML, no message, when memory is short.
 */
int kvio_get(kvio_node_t *entity, const char *field, char *buffer);
int kvio_get2(kvio_node_t *entity, const char *field, char *buffer, unsigned int size);
int kvio_getlen(kvio_node_t *entity, const char *field, uint32_t *length);

/* -------------------------------------------------------------------------------------- container membership */

/**
 * @name Members
 * A member is a name: an entity member names an entity of the container's type in its scope, a container member a
 * container of the same kind and type in the same scope. Membership and existence are independent. All of these check
 * first: #KVIO_BAD_ITERATOR "%s() error: NULL iterator\n"; #KVIO_READ_ONLY "%s() error: read-only iterator\n" (a
 * handle of a snapshot); #KVIO_BAD_ITERATOR "%s() error: bad iterator, no container assoiciated\n" (or a variant of
 * this spelling). A failure leaves the members as they were. No memory for a node: #KVIO_XML "%s error on
 * xmlNewNode(): no memory?\n", "%s error on xmlAddChild()\n" or "%s error on xmlAddPrevSibling()\n".
 *
 * kvio_join(), kvio_insert() and kvio_change_container_element() read the name as XML character data: "&amp;" is
 * stored as one ampersand. A name that is no character data, such as one with a bare ampersand or a reference to an
 * unknown entity or to what is no XML character, is refused with
 * #KVIO_XML "%s error on xmlNodeSetContent()\n". kvio_append() stores the name as it is.
 *
 * @return 1, or 0.
 */
/**@{*/

/** Adds a member at the end: an entity member if is_entity is not 0, else a container member. #KVIO_EXISTS "%s error:
 *  %s is already existed\n" (name) if a member of either kind has the name. A null name is refused with #KVIO_XML. */
int kvio_join(kvio_iterator_t *iterator, const char *name, int is_entity);

/** Removes the first member of either kind with that name. #KVIO_NOT_FOUND "%s() error: %s is not existed\n" (name). */
int kvio_remove(kvio_iterator_t *iterator, const char *name);

/** Renames the first member of either kind with the old name. #KVIO_NOT_FOUND, no message. A null new name is refused
 *  with #KVIO_XML. */
int kvio_change_container_element(kvio_iterator_t *iterator, const char *old_name, const char *new_name);

/** Adds an entity member at the end, without a check for duplicates. A null or empty name stands for "#" and the number
 *  of entity members after the call; with a name the call costs the same however long the container is. #KVIO_XML also
 *  with "%s error on xmlEncodeSpecialChars()\n". */
int kvio_append(kvio_iterator_t *iterator, const char *name);

/** Adds an entity member before the member at a position, or at the end when the position is one past the last. A null
 *  or empty name stands for "#" and the position. #KVIO_OUT_OF_RANGE "%s() error: out of range\n". For every child
 *  passed that is no entity member, the line "%s() warning: check data integrity\n" is written. */
int kvio_insert(kvio_iterator_t *iterator, const char *name, int position);

/** Removes the member at a position; both kinds are counted. Warnings and #KVIO_OUT_OF_RANGE as for kvio_insert(). */
int kvio_delete(kvio_iterator_t *iterator, int position);
/**@}*/

/* ---------------------------------------------------------------------------------- sizes, loops, retrieval */

/**
 * @name Reading containers
 * Those that take a container handle check first: #KVIO_BAD_ITERATOR "%s() error: NULL iterator\n" or "%s() error: bad
 * iterator, no container associated\n". Nothing is indexed or cached between calls. Nesting may be as deep as memory
 * allows. Positions begin with 1. A member without any text names nothing.
 */
/**@{*/

/** @return The number of members of both kinds, or -1. Other elements are not counted: "%s() warning: check data
 *          integrity\n" for each. */
int kvio_size(kvio_iterator_t *iterator);

/**
 * Counts the entity members through nested containers, an entity once for each path that leads to it. For a table this
 * is kvio_size().
 * @return The number, or -1: #KVIO_NOT_FOUND, with the message of a failed open, for a container member that names no
 *         container; #KVIO_EMPTY_ITEM, no message, for one without text; #KVIO_LOOP, no message, when a container
 *         contains itself; #KVIO_NO_MEMORY, no message, also when the number is beyond an int. A container below the
 *         first level that cannot be counted counts as 0, after the message. On success #kvio_errno is what opening
 *         the last nested container left there, 0 if that was found; without nested containers it is left alone.
 */
int kvio_real_size(kvio_iterator_t *iterator);

/**
 * Tells whether nested containers lead back to one that was passed already. A container that is reached on two paths
 * counts as a loop, too, even if there is no cycle.
 * @return 1, 0, or -1 for a null handle, one without a container, and a direct container member that has no text or
 *         cannot be opened. #kvio_errno is 0 afterwards in every case.
 */
int kvio_check_loop(kvio_iterator_t *iterator);

/**
 * Resolves the members into entity nodes, container members expanded in their place, each entity once, at its first
 * occurrence. Members whose entity does not exist are left out. Where several entities have a member's name, each
 * member of that name takes the next one. kvio_retrieve_all() checks lists and groups with kvio_check_loop() first,
 * kvio_retrieve_all2() does not: it takes containers that are reached on several paths.
 *
 * The array's capacity is kvio_real_size(). It is the number of entities found instead for a table, when that number is
 * larger, and where containers are reached on so many paths that there is no memory for that capacity.
 *
 * @return The array, to be released with kvio_free_entities(); or null, no message of their own: #KVIO_LOOP (the loop
 *         check gave anything but 0, or a container contains itself); #KVIO_NO_MEMORY; #KVIO_UNRESOLVED (a member
 *         without text, a member container that cannot be opened, or a bad handle).
 */
kvio_entities_t *kvio_retrieve_all(kvio_iterator_t *iterator);
kvio_entities_t *kvio_retrieve_all2(kvio_iterator_t *iterator);

/**
 * Finds an entity by name.
 * @return The node, or null: #KVIO_NULL_CONFIG, no message; #KVIO_NOT_FOUND, no message, also when the scope selects
 *         nothing; #KVIO_BAD_SCOPE "%s fatal error: multiple instances\n", or "%s fatal error: scope not existed or
 *         multiple instances\n" for a null or over-long scope; #KVIO_XML "%s error on xmlXPathNewContext()\n" or "%s
 *         error on xmlXPathEvalExpression()\n" (a scope or type that makes no expression).
 */
kvio_node_t *kvio_retrieve_entity(kvio_config_t *config, const char *scope, const char *type, const char *name);

/**
 * Copies the name of the member at a position, whole or bounded. Entity and container members are counted.
 * @return 0 for an entity member, 1 for a container member, both with #kvio_errno left alone; or -1: #KVIO_OUT_OF_RANGE
 *         "%s() error: out of range\n"; #KVIO_EMPTY_ITEM "%s() fatal error: empty item\n"; #KVIO_XML, no message, when
 *         memory is short.
 *
 * Each call walks the members from the first: to read a long container use kvio_retrieve_all().
 */
int kvio_regain_index(kvio_iterator_t *iterator, unsigned int position, char *buffer);
int kvio_regain_index2(kvio_iterator_t *iterator, unsigned int position, char *buffer, unsigned int size);

/**
 * Resolves the entity member at a position; only entity members are counted.
 * @return The node, or null: #KVIO_OUT_OF_RANGE "%s() error: out of range\n"; #KVIO_BAD_ENTITY "%s() fatal error: empty
 *         entity\n"; #KVIO_BAD_SCOPE "%s() fatal error: container is broken\n" (it has no type) or "%s() fatal error:
 *         entity not existed or multiple instances\n"; #KVIO_XML "%s error on xmlXPathNewContext()\n" or "%s error on
 *         xmlXPathEvalExpression()\n", and without a message when memory is short.
 */
kvio_node_t *kvio_retrieve_index(kvio_iterator_t *iterator, unsigned int position);

/**
 * Lists all entities of one type in a scope, in document order.
 * @return The array, possibly empty, to be released with kvio_free_entities(); or null: #KVIO_NULL_CONFIG, no message;
 *         #KVIO_XML "%s error on xmlXPathNewContext()\n"; #KVIO_BAD_SCOPE "%s fatal error: scope not existed or
 *         multiple instances\n"; #KVIO_NO_MEMORY, no message.
 */
kvio_entities_t *kvio_list_entities(kvio_config_t *config, const char *scope, const char *type);

/**
 * Counts the elements that "/kavex/SCOPE/TYPE" selects; here the scope may select several elements.
 * @return The number, 0 if none; 0 also on failure: #KVIO_NULL_CONFIG, no message; #KVIO_BAD_SCOPE "%s fatal error:
 *         scope not existed or multiple instances\n" for a null or over-long scope; #KVIO_XML "%s error on
 *         xmlXPathNewContext()\n" or "%s error on xmlXPathEvalExpression()\n".
 */
int kvio_entity_count(kvio_config_t *config, const char *scope, const char *type);

/** Makes an empty array with n slots, for callers that build arrays of their own. Leaves #kvio_errno alone.
 *  @return The array, or null when memory is short or n is negative. */
kvio_entities_t *kvio_alloc_entities(int n);

/** Releases an array, not its nodes; null is accepted. Sets #kvio_errno to 0. */
void kvio_free_entities(kvio_entities_t *entities);
/**@}*/

/* ------------------------------------------------------------------------------------------------ attributes */

/**
 * @name Attributes
 * Texts are stored as they are. An attribute that does not exist reads as "" (the bounded getters then set only the
 * buffer's first byte) and removing it succeeds. "name" and, on containers, "type" are the store's own; setting them
 * renames without a check for duplicates. A prefix in an attribute's name is part of the name.
 *
 * The functions for entities fail with #KVIO_BAD_ENTITY "%s() error: NULL entity\n". Those for containers with
 * #KVIO_BAD_ITERATOR "%s() error: NULL iterator\n"; only the writers with #KVIO_READ_ONLY "%s() error: read-only
 * iterator\n"; #KVIO_BAD_ITERATOR "%s() error: bad iterator, no container associated\n" (the readers write
 * "assoiciated"). A failed call leaves the element unchanged.
 *
 * @return 1, or 0. The writers return 1 whenever the element exists, also if memory for the new text was short: the
 *         attribute is then as it was.
 */
/**@{*/
int kvio_setattr_entity(kvio_node_t *entity, const char *attribute, const char *value);
int kvio_unsetattr_entity(kvio_node_t *entity, const char *attribute);
int kvio_getattr_entity(kvio_node_t *entity, const char *attribute, char *buffer);
int kvio_getattr_entity2(kvio_node_t *entity, const char *attribute, char *buffer, unsigned int size);

int kvio_setattr_container(kvio_iterator_t *iterator, const char *attribute, const char *value);
int kvio_unsetattr_container(kvio_iterator_t *iterator, const char *attribute);
int kvio_getattr_container(kvio_iterator_t *iterator, const char *attribute, char *buffer);
int kvio_getattr_container2(kvio_iterator_t *iterator, const char *attribute, char *buffer, unsigned int size);

/**
 * Adds 1 to, or subtracts 1 from, an unsigned 32-bit decimal counter kept in an attribute. Its first 15 bytes are read
 * as strtoul(3) does with base 10 where a long has 32 bits: a missing counter and one without digits are 0, a larger
 * one is 4294967295. Adding 1 to that gives 0; a counter that is 0 is not decreased, nor written.
 * @param value  Receives the new value; may be null.
 */
int kvio_increase_entity_attr(kvio_node_t *entity, const char *attribute, uint32_t *value);
int kvio_decrease_entity_attr(kvio_node_t *entity, const char *attribute, uint32_t *value);
/**@}*/

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
