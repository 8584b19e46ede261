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
 * - **Codes and messages.** Every call sets #kvio_errno, to 0 on success, except where its description says that it
 *   leaves it alone. A failure writes one line to the standard error stream, except where no line is given. The lines
 *   stand at their codes (enum #kvio_code); a function names its codes. The first `%%s` is the name of the reporting
 *   function, unless an argument is given in parentheses. After some codes errno is the system's reason.
 * - **Results.** Calls that return a handle, a node or an array return null on failure. Counts, positions and saves
 *   return -1, file operations 0 or -1, actions and predicates 1 or 0. kvio_close_config() is the exception.
 * - **Texts.** All strings are NUL-terminated bytes and are compared byte for byte. They are UTF-8 (RFC 3629), of
 *   characters that XML 1.0 allows; types, fields and attribute names are XML names
 *   (https://www.w3.org/TR/xml/#NT-Name). Calls that change the document take other texts, too; saving refuses them. A
 *   null name is one that names nothing: the call fails or finds nothing. Buffers must not be null.
 * - **Scopes.** A scope is an element below the root, given as the path of element names after "/kavex/", such as
 *   "object/address". Any XPath 1.0 expression is taken, as long as "/kavex/" and the scope together select exactly one
 *   element, which is not the root, and have at most 255 bytes; else the call fails with #KVIO_BAD_SCOPE. Plain paths
 *   of element names are by far the fastest. kvio_retrieve_entity(), kvio_undefine() and kvio_entity_count() take a
 *   scope that selects several elements, and one that selects none, as "/kavex/SCOPE/TYPE" is their expression.
 * - **Names.** The name of an entity is unique for its type in its scope; entities of different types may share a name.
 * - **Ownership.** Handles belong to the caller and are released only through the store. Entity nodes belong to the
 *   document: never free them. A node is valid until its entity is undefined, its scope is replaced by
 *   kvio_rollback_checkpoint(), or its document is closed. No string argument is kept after a call.
 *   Programs with libxml2 may read the tree through a node, and change texts and attributes but "name". Elements are
 *   named, added and removed through the store alone, which finds the entities of a large scope by an index and else
 *   notices only what is appended to the scope.
 * - **Bounded copies.** A getter whose name ends in "2" takes the size of its buffer in bytes, at least 1 (with 0 it
 *   writes nothing). Byte size-1 is set to 0, then at most size-1 bytes of the text are copied; a shorter text is
 *   followed by zero bytes, so that the whole buffer is written; a longer one is cut, if need be inside a character.
 *   Getters without the "2" copy the whole text with its NUL: the caller knows that the buffer is large enough.
 * - **Snapshots.** A handle of kvio_restore_scope() holds no lock. Container handles made from it are read-only, as
 *   long as they live. Everything else works on a snapshot as on any document, defining, setting and saving too.
 * - **Threads.** The store starts none and takes no lock within a process. A document, and everything reached through
 *   it, is used by one thread at a time; #kvio_errno is one integer for the whole process.
 * - **Locks.** The lock on a file is a System V semaphore set (semget(2)) whose key is ftok(3) of the full path with
 *   project id 0 (id 1 where that gives 0, which is IPC_PRIVATE and no lock). It exists while the lock is held; no call
 *   waits for it. Two files whose keys coincide share one lock. A process that dies with an open handle leaves the file
 *   locked until the semaphore is removed, with `ipcrm -S` and the file's key (ipcs(1) lists the keys); one that is
 *   killed while it makes a new file can leave the lock of a file that has no name yet.
 * - **Saving.** A save survives a crash at any instant: a kill of the process or of its group, a loss of power.
 *   Readers, also those without a lock, find the old document or the new one, whole. The file keeps its inode (the lock
 *   hangs on it), its links, its owner and its mode, and is written in place. Beside it, in the same directory, a *redo
 *   file* named ".kavex-redo-" and the number of the inode first receives the new contents and is synced
 *   (fdatasync(2)); the next call that opens, copies, renames, removes or replaces the file finishes a save that was
 *   interrupted, and readers take the contents from the redo file. It has the owner and the readers of the file, stays
 *   for the next save of a configuration, and goes with kvio_remove_config(); beside a dump, a backup or a snapshot it
 *   is removed.
 *   Where there is no place for a redo file (the directory cannot be written, the disk is too full, the process is
 *   neither root nor the owner of the file, /proc is missing), the file is overwritten without one: a crash then can
 *   tear it, and a reader can see it half written. So it is where a file is saved through a link in one directory and
 *   read through a link in another, and where two processes dump to one path at a time. A program that writes the file
 *   in place after a crash, old and new blocks of 512 bytes in a mixture of its own, is taken for the save. A new file
 *   has its name once it is complete, where the file system knows O_TMPFILE (open(2)). Contents that are the same are
 *   synced, not written. A save that fails leaves the old document or, where it had begun to overwrite the file, the
 *   new one. A file that is replaced must be readable, too.
 *   A document that could not be read back is refused, with one more line in front of that of #KVIO_IO: "%s error: %s
 *   has a name, text or depth that XML cannot hold\n" (function, path of the first such element), "%s error: references
 *   to entities stand for too much\n", or "%s error: it would not be read back\n" where its encoding lacks a character,
 *   or a text is beyond the limits of the parser (10,000,000 bytes; names 50,000; 256 levels below the root).
 * - **Reading.** Files are read as xmlParseFile() reads them, with the caller's defaults, such as
 *   xmlSubstituteEntitiesDefault(); errors go to the caller's handler, such as xmlSetStructuredErrorFunc(). Unless the
 *   caller's defaults say otherwise, external entities and DTDs are not loaded. Compressed files are not well-formed. A
 *   file whose references to entities stand for more than 1,000,000 bytes in sum is refused (a reference inside an
 *   entity counts 16 bytes more).
 */
#ifndef KAVEX_STORE_H
#define KAVEX_STORE_H

#include <stdint.h>

#define KAVEX_VERSION "1.0.0"                    /**< Of these headers. */
#define KVIO_CONFIG_DIRECTORY "/etc/kavex/conf/" /**< Where configurations lie. */

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

/** What #kvio_errno holds after a call, and the lines that go with it. */
enum kvio_code {
    /** Success. Open also writes "%s success. (%s, %d)\n" (function, path, semaphore id), close "Semaphore %d is
     *  removed\n" (id, -1 for a snapshot). */
    KVIO_OK = 0,
    /** The file is locked, or its lock semaphore could not be made. Open: "%s is locked.\n" (name), else "error on
     *  semget()\n"; save-as: "system error message: %s\n" (reason) and "%s is opened by other instance\n" (name); copy,
     *  rename and remove: "%s is being opened\n" (name). errno is EEXIST, or why there is no semaphore. */
    KVIO_LOCKED = 1,
    /** Out of memory, or a count beyond what an int holds. Opening and restoring: "No memory\n"; containers: "%s error:
     *  no memory to create a new iterator\n"; arrays and counts: no line. */
    KVIO_NO_MEMORY = 2,
    /** The file is no well-formed XML document, or cannot be read. "%s is not well-formed\n" (path); kvio_restore():
     *  "restore failed, temporary file is broken.\n". errno is EBADMSG for what is not well-formed, of which
     *  xmlGetLastError() has line and reason; EOVERFLOW for entities that stand for too much; ENOMEM; EAGAIN if the
     *  file changed at each of 1,000 tries to read it; EFBIG beyond 2 GiB; EISDIR or EINVAL for no regular file; else
     *  the reason of open(2) or read(2). */
    KVIO_MALFORMED = 3,
    /** No key for the file: "ftok(%s) failed\n" (path). errno is that of stat(2), such as ENOENT; ENAMETOOLONG for a
     *  path of 4,096 bytes and more, EINVAL for a null or empty name. */
    KVIO_NO_KEY = 4,
    /** Writing, copying, renaming or deleting a file failed. Saving: "Problem occurred on saving XML to %s\n" (path;
     *  the name at kvio_save_as()); else "copy: %s: %s\n" (the name of the file that failed, reason), "rename: %s:
     *  %s\n" or "remove: %s: %s\n" (name, reason). errno is the reason; EILSEQ, EOVERFLOW or EFBIG for a document that
     *  could not be read back. */
    KVIO_IO = 5,
    /** A null kvio_config_t. Save, save-as, close, dump and restore: "%s error: passing NULL argument\n"; all others:
     *  no line. */
    KVIO_NULL_CONFIG = 6,
    /** A scope, entity or container that is missing, not unique or broken. A scope: "%s fatal error: scope not existed
     *  or multiple instances\n"; two entities of one name: "%s fatal error: multiple instances\n"; an entity without a
     *  name: "%s() fatal error: attribute 'name' is missed\n"; a scope or type that does not fit in a container handle:
     *  "%s error: name is too long: %s\n" (function, type), or the line of a scope; kvio_retrieve_index(): "%s() fatal
     *  error: container is broken\n" (no type), "%s() fatal error: entity not existed or multiple instances\n". */
    KVIO_BAD_SCOPE = 7,
    /** The XML library failed, mostly for want of memory: "%s error on %s\n" with "xmlXPathNewContext()",
     *  "xmlXPathEvalExpression()" (also for a scope or type that makes no expression), "xmlNewNode(): no memory?"
     *  (in kvio_backup_scope() without the question; also for a null or empty type), "xmlNewProp(): no memory?" (also
     *  for a null name), "xmlAddChild()", "xmlAddPrevSibling()", "xmlCopyNode()", "xmlEncodeSpecialChars()",
     *  "xmlNodeSetContent()" (a name that is no character data); "%s() error on xmlNewTextChild()\n" (also for a null
     *  value and a null or empty field); "%s fatal error: cannot create a new XML document\n". Getters and
     *  searches for a member that lack memory for a text: no line. */
    KVIO_XML = 8,
    /** What was to be created exists. Containers: "%s(%s): scope:[%s] %s:[%s] type:[%s] is existed\n" (function, path,
     *  scope, kind, name, type); entities: "%s(%s): scope:[%s] type:[%s] name:[%s] is existed\n" (function, path,
     *  scope, type, name); members: "%s error: %s is already existed\n" (function, name); files: "rename: target file
     *  \"%s\" is already existed\n" (target). */
    KVIO_EXISTS = 10,
    /** A change through a container handle of a snapshot: "%s() error: read-only iterator\n". */
    KVIO_READ_ONLY = 11,
    /** A null container handle: "%s() error: NULL iterator\n"; one without a container: "%s() error: bad iterator, no
     *  container associated\n" (some functions write "assoiciated" or "assoicaited", some "%s ()"). */
    KVIO_BAD_ITERATOR = 13,
    /** A position outside the members; the first one is 1: "%s() error: out of range\n". */
    KVIO_OUT_OF_RANGE = 14,
    /** A null entity node: "%s() error: NULL entity\n"; a null checkpoint: "%s() error: NULL checkpoint\n"; an entity
     *  member without text: "%s() fatal error: empty entity\n". */
    KVIO_BAD_ENTITY = 15,
    /** Nested containers form a loop; no line. */
    KVIO_LOOP = 19,
    /** A member without text: "%s() fatal error: empty item\n"; kvio_real_size(): no line. */
    KVIO_EMPTY_ITEM = 20,
    /** The configuration file does not exist: "copy: %s is not existed\n", "rename: %s is not existed\n" or "remove: %s
     *  is not existed\n" (name). */
    KVIO_NO_FILE = 21,
    /** What is addressed does not exist. Containers: as for #KVIO_EXISTS, with "is not existed\n"; entities: "%s error:
     *  entity not existed\n", kvio_retrieve_entity(): no line; members: "%s() error: %s is not existed\n" (function,
     *  name), kvio_change_container_element(): no line; values: "%s() error: element '%s' is not found\n" (function,
     *  field). */
    KVIO_NOT_FOUND = 22,
    /** The members of a container could not all be resolved; no line of its own. */
    KVIO_UNRESOLVED = 23
};

/** The code of the last store call of this process, one of #kvio_code. */
extern int kvio_errno;

/** A short text for a code, for messages of programs; it lives as long as the program. */
static inline const char *kvio_code_text(int code) {
    /* clang-format off */
    static const char *const texts[] = {
        "success", "locked", "out of memory", "not readable as XML", "no such file", "writing failed", "no document",
        "missing or not unique", "the XML library failed", 0, "exists", "read-only", 0, "no container",
        "position out of range", "no entity", 0, 0, 0, "loop of containers", "member without text",
        "no such configuration", "not found", "members not resolved"};
    /* clang-format on */
    const char *text = code >= KVIO_OK && code <= KVIO_UNRESOLVED ? texts[code] : 0;
    return text ? text : "unknown code";
}

/* ------------------------------------------------------------------------------------------------ documents */

/** Flag of kvio_open_config(): make a missing configuration from the template. The value of O_CREAT. */
#define KVIO_CREATE 64

/** Silences the XML library's own messages in the calling thread (xmlSetGenericErrorFunc() with a handler that does
 *  nothing). Call it once in each thread, before its first other call. #kvio_errno is left alone. The store's own lines
 *  stay. */
void kvio_initialize(void);

/** Opens a configuration under its lock. A second open of a file that is open, also in the same process, fails at once.
 *  @param name   File name relative to #KVIO_CONFIG_DIRECTORY. "__system_default.xml" is looked up in "/etc/" instead,
 *                here alone: for all other functions that name, too, is one in the configuration directory.
 *  @param flags  0, or #KVIO_CREATE: a missing file is made from "/etc/__system_default.xml", with mode 0600, after the
 *                line "%s is not existed. Creating from template\n" (name). It never replaces a file that appeared
 *                meanwhile. Without a template that can be parsed no file is made, and the open fails.
 *  @return The handle, to be released with kvio_close_config(); or null, with no lock left behind: #KVIO_NO_KEY,
 *          #KVIO_LOCKED, #KVIO_NO_MEMORY, #KVIO_MALFORMED. */
kvio_config_t *kvio_open_config(const char *name, int flags);

/** Writes the document to the handle's file (see "Saving" above), indented. The lock is not looked at: a snapshot is
 *  written to the path it was read from.
 *  @return The size of the file in bytes, or -1: #KVIO_NULL_CONFIG, #KVIO_IO, with handle and document as before: the
 *          call may be repeated. */
int kvio_save_config(kvio_config_t *config);

/** Writes the document to another file of the configuration directory and moves the handle there: from now on it locks
 *  and saves to the new file, and the old one is free for others. A missing file is created with mode 0600.
 *  @return The size of the file in bytes, or -1: #KVIO_NULL_CONFIG, #KVIO_NO_KEY, #KVIO_LOCKED (also under the handle's
 *          own name, and when another process makes a file of that name meanwhile), #KVIO_IO. After a failure the
 *          handle keeps its old file and lock; an empty file that was created for the new name stays. */
int kvio_save_as(kvio_config_t *config, const char *name);

/** Releases the lock and frees the document and the handle, without saving. Close the container handles first.
 *  @return -1 in every case; the outcome is in #kvio_errno: 0 or #KVIO_NULL_CONFIG. */
int kvio_close_config(kvio_config_t *config);

/** Copies a configuration file that no handle holds onto another one, which is replaced as by a save if it exists, and
 *  created with mode 0600 if not. Both files are locked for the time of the call. The bytes are copied as they are.
 *  @return 0, or -1 with the target as it was: #KVIO_NO_FILE (source), #KVIO_NO_KEY, #KVIO_LOCKED (also for a copy onto
 *          itself), #KVIO_IO. */
int kvio_copy_config(const char *source, const char *target);

/** Renames a configuration file that no handle holds; the target must not exist.
 *  @return 0, or -1: #KVIO_EXISTS with neither file touched, #KVIO_NO_FILE (source), #KVIO_NO_KEY, #KVIO_LOCKED (where
 *          the target's lock is not to be had, an empty file stays under its name), #KVIO_IO. */
int kvio_rename_config(const char *source, const char *target);

/** Deletes a configuration file that no handle holds. @return 0, or -1: #KVIO_NO_FILE, #KVIO_NO_KEY, #KVIO_LOCKED,
 *  #KVIO_IO. */
int kvio_remove_config(const char *name);

/* ----------------------------------------------------------------------------------------------- containers */

/**
 * @name Containers
 * A container is identified within its scope by its kind, its name and its type together; the first match in document
 * order is taken. The functions named in the lines are kvio_container_create_template (create, open) and
 * kvio_container_dispose_template. A failure leaves the document as it was. All can fail with #KVIO_NULL_CONFIG,
 * #KVIO_BAD_SCOPE and #KVIO_XML.
 *
 * @param scope  At most 63 bytes for create and open.
 * @param type   The element name of the entities that the container refers to. At most 63 bytes for create and open.
 * @param name   The container's name; it may be empty.
 */
/**@{*/

/** Makes a new, empty container as the last child of its scope, with the attributes "name" and "type".
 *  @return A handle on it, to be released with the close of its kind; or null: #KVIO_EXISTS, #KVIO_NO_MEMORY. */
kvio_iterator_t *kvio_create_table(kvio_config_t *config, const char *scope, const char *type, const char *name);
kvio_iterator_t *kvio_create_list(kvio_config_t *config, const char *scope, const char *type, const char *name);
kvio_iterator_t *kvio_create_group(kvio_config_t *config, const char *scope, const char *type, const char *name);

/** Finds a container.
 *  @return A handle on it, to be released with the close of its kind; or null: #KVIO_NOT_FOUND, #KVIO_NO_MEMORY. */
kvio_iterator_t *kvio_open_table(kvio_config_t *config, const char *scope, const char *type, const char *name);
kvio_iterator_t *kvio_open_list(kvio_config_t *config, const char *scope, const char *type, const char *name);
kvio_iterator_t *kvio_open_group(kvio_config_t *config, const char *scope, const char *type, const char *name);

/** Removes a container and its members from the document; the entities and containers that the members named stay, and
 *  so do members of other containers that name this one. Close the handles on the container first.
 *  @return 1, or 0: #KVIO_NOT_FOUND. */
int kvio_dispose_table(kvio_config_t *config, const char *scope, const char *type, const char *name);
int kvio_dispose_list(kvio_config_t *config, const char *scope, const char *type, const char *name);
int kvio_dispose_group(kvio_config_t *config, const char *scope, const char *type, const char *name);

/** Releases a container handle; null is accepted. Leaves #kvio_errno alone. @return 1. */
int kvio_close_table(kvio_iterator_t *iterator);
int kvio_close_list(kvio_iterator_t *iterator);
int kvio_close_group(kvio_iterator_t *iterator);
/**@}*/

/* -------------------------------------------------------------------- backups, snapshots and checkpoints */

/** Writes the whole document to a file of the caller's choice (see "Saving" above), which is not locked. A missing file
 *  gets the mode 0666 less the umask(2). To a pipe, terminal or device the bytes are written as they are; the call
 *  waits for the reader of a pipe.
 *  @param path  Used as it is, relative to the working directory unless it begins with '/'; no name is special.
 *  @return The size in bytes, or -1: #KVIO_NULL_CONFIG, #KVIO_IO. */
int kvio_dump(kvio_config_t *config, const char *path);

/** Reads a dump back: a second handle with the document of that file, for the configuration that the given handle
 *  holds. Saving the new handle writes to the configuration's file.
 *
 *  The given handle stays as it is. Both handles name one lock, and closing either one releases it. To retire the given
 *  handle, save what is to be saved through the new one and then close both, one right after the other: the second
 *  close finds the lock released already and frees the rest.
 *  @return The new handle, to be released with kvio_close_config(); or null: #KVIO_NULL_CONFIG, #KVIO_NO_MEMORY,
 *          #KVIO_MALFORMED. */
kvio_config_t *kvio_restore(kvio_config_t *config, const char *path);

/** Writes one scope to a file of its own: a document with the root `kavex`, the ancestors of the scope with their
 *  attributes, and the scope with everything below it, so that the same scope string finds it there. Declarations of
 *  entities are not in it: a scope that refers to one fails with #KVIO_IO.
 *  @param path  As for kvio_dump().
 *  @return 1, or 0: #KVIO_NULL_CONFIG, #KVIO_BAD_SCOPE, #KVIO_XML, #KVIO_IO. */
int kvio_backup_scope(kvio_config_t *config, const char *scope, const char *path);

/** Opens a file as a snapshot, also one that is locked.
 *  @return The snapshot, to be released with kvio_close_config(); or null: #KVIO_NO_MEMORY; #KVIO_MALFORMED, also for a
 *          path that is null, empty or of 4,096 bytes and more. */
kvio_config_t *kvio_restore_scope(const char *path);

/** Copies one scope with everything below it.
 *  @return The checkpoint, to be given to kvio_rollback_checkpoint() or kvio_release_checkpoint(); or null:
 *          #KVIO_NULL_CONFIG, #KVIO_BAD_SCOPE, #KVIO_XML. */
kvio_checkpoint_t *kvio_create_checkpoint(kvio_config_t *config, const char *scope);

/** Puts a checkpoint in the place of a scope, whatever element it was copied from. The checkpoint belongs to the
 *  document when the call succeeds, and stays with the caller when it fails.
 *  @return 1, or 0: #KVIO_NULL_CONFIG, #KVIO_BAD_SCOPE, #KVIO_XML, #KVIO_BAD_ENTITY. */
int kvio_rollback_checkpoint(kvio_config_t *config, const char *scope, kvio_checkpoint_t *checkpoint);

/** Frees a checkpoint that was not rolled back; null is ignored. Leaves #kvio_errno alone. */
void kvio_release_checkpoint(kvio_checkpoint_t *checkpoint);

/* ------------------------------------------------------------------------------------- entities and values */

/** Creates an entity as the last child of its scope, with the attribute "name" and no values. An empty name is a name.
 *  The function named in the lines is do_kvio_define. A failure leaves the document as it was.
 *  @return kvio_define(): 1, or 0. kvio_define2(): the entity node, or null. #KVIO_NULL_CONFIG, #KVIO_BAD_SCOPE,
 *          #KVIO_EXISTS, #KVIO_XML. */
int kvio_define(kvio_config_t *config, const char *scope, const char *type, const char *name);
kvio_node_t *kvio_define2(kvio_config_t *config, const char *scope, const char *type, const char *name);

/** Deletes an entity with its attributes and values. Members of containers that name it stay: remove them with
 *  kvio_remove().
 *  @return 1, or 0 with nothing removed: #KVIO_NULL_CONFIG; #KVIO_NOT_FOUND, also when the scope selects nothing;
 *          #KVIO_BAD_SCOPE when several entities match, and for a null or over-long scope; #KVIO_XML. */
int kvio_undefine(kvio_config_t *config, const char *scope, const char *type, const char *name);

/** @return 1 if the entity's name equals the given one, else 0 (also for an entity without the attribute "name");
 *          #KVIO_BAD_ENTITY. */
int kvio_compare_name(kvio_node_t *entity, const char *name);

/** Copies the entity's name, whole or bounded. @return 1, or 0: #KVIO_BAD_ENTITY, #KVIO_BAD_SCOPE, #KVIO_XML. */
int kvio_name(kvio_node_t *entity, char *buffer);
int kvio_name2(kvio_node_t *entity, char *buffer, unsigned int size);

/** Sets a value. The text is stored as it is, never read as markup. The value keeps its place among the others; a new
 *  one becomes the entity's last child. The first child node of the value is replaced: if a document written by hand
 *  has comments, elements or several texts in a value, the others stay.
 *
 *  kvio_set2() works on copies of both strings, so that they may point into the text that is replaced; kvio_set()
 *  requires that they do not. kvio_unset() sets the empty text, and its lines name kvio_set; the value element stays.
 *  @return 1, or 0 with the value as it was: #KVIO_BAD_ENTITY, #KVIO_XML. kvio_set2() without memory for its copies, or
 *          with a null string: "can not alloc memory for name\n" or "can not alloc memory for value\n", with
 *          #kvio_errno left alone. */
int kvio_set(kvio_node_t *entity, const char *field, const char *value);
int kvio_set2(kvio_node_t *entity, const char *field, const char *value);
int kvio_unset(kvio_node_t *entity, const char *field);

/** Copies a value, whole or bounded, or gives its length in bytes without the NUL. The value is the text of the value
 *  element's first child, or "" if it has none; kvio_get2() then sets only the buffer's first byte.
 *  @return 1, or 0: #KVIO_BAD_ENTITY, #KVIO_NOT_FOUND, #KVIO_XML. */
int kvio_get(kvio_node_t *entity, const char *field, char *buffer);
int kvio_get2(kvio_node_t *entity, const char *field, char *buffer, unsigned int size);
int kvio_getlen(kvio_node_t *entity, const char *field, uint32_t *length);

/* -------------------------------------------------------------------------------------- container membership */

/**
 * @name Members
 * A member is a name: an entity member names an entity of the container's type in its scope, a container member a
 * container of the same kind and type in the same scope. Membership and existence are independent. All of these can
 * fail with #KVIO_BAD_ITERATOR, #KVIO_READ_ONLY and #KVIO_XML; a failure leaves the members as they were.
 *
 * kvio_join(), kvio_insert() and kvio_change_container_element() read the name as XML character data: "&amp;" is
 * stored as one ampersand. A name that is no character data, such as one with a bare ampersand or a reference to an
 * unknown entity or to what is no XML character, is refused with #KVIO_XML. kvio_append() stores the name as it is.
 *
 * What a position or number counts (the first position is 1):
 * | functions | children counted | other elements |
 * |---|---|---|
 * | kvio_insert(), kvio_delete() | elements of any name | warned of: "%s() warning: check data integrity\n" |
 * | kvio_append() (its default name), kvio_retrieve_index() | entity members | skipped |
 * | kvio_regain_index(), kvio_regain_index2() | entity and container members | skipped |
 * | kvio_size() | entity and container members | warned of in the same way |
 *
 * @return 1, or 0.
 */
/**@{*/

/** Adds a member at the end: an entity member if is_entity is not 0, else a container member. #KVIO_EXISTS if a member
 *  of either kind has the name. */
int kvio_join(kvio_iterator_t *iterator, const char *name, int is_entity);

/** Removes the first member of either kind with that name. #KVIO_NOT_FOUND. */
int kvio_remove(kvio_iterator_t *iterator, const char *name);

/** Renames the first member of either kind with the old name. #KVIO_NOT_FOUND. */
int kvio_change_container_element(kvio_iterator_t *iterator, const char *old_name, const char *new_name);

/** Adds an entity member at the end, without a check for duplicates. A null or empty name stands for "#" and the number
 *  of entity members after the call; with a name the call costs the same however long the container is. */
int kvio_append(kvio_iterator_t *iterator, const char *name);

/** Adds an entity member before the element at a position, or at the end when the position is one past the last. A null
 *  or empty name stands for "#" and the position. #KVIO_OUT_OF_RANGE. */
int kvio_insert(kvio_iterator_t *iterator, const char *name, int position);

/** Removes the element at a position. #KVIO_OUT_OF_RANGE. */
int kvio_delete(kvio_iterator_t *iterator, int position);
/**@}*/

/* ---------------------------------------------------------------------------------- sizes, loops, retrieval */

/**
 * @name Reading containers
 * Those that take a container handle can fail with #KVIO_BAD_ITERATOR. Nesting may be as deep as memory allows. A
 * member without any text names nothing.
 */
/**@{*/

/** @return The number of members of both kinds, or -1. */
int kvio_size(kvio_iterator_t *iterator);

/** Counts the entity members through nested containers, an entity once for each path that leads to it. For a table this
 *  is kvio_size().
 *  @return The number, or -1: #KVIO_NOT_FOUND for a container member that names no container; #KVIO_EMPTY_ITEM;
 *          #KVIO_LOOP when a container contains itself; #KVIO_NO_MEMORY. A container below the first level that cannot
 *          be counted counts as 0, after the line. On success #kvio_errno is what opening the last nested container
 *          left there, 0 if that was found; without nested containers it is left alone. */
int kvio_real_size(kvio_iterator_t *iterator);

/** Checks whether nested containers lead back to one that was passed already. A container that is reached on two paths
 *  counts as a loop, too, even if there is no cycle.
 *  @return 1, 0, or -1 for a null handle, one without a container, and a direct container member that has no text or
 *          cannot be opened. #kvio_errno is 0 afterwards in every case. */
int kvio_check_loop(kvio_iterator_t *iterator);

/** Resolves the members into entity nodes, container members expanded in their place, each entity once, at its first
 *  occurrence. Members whose entity does not exist are left out. Where several entities have a member's name, each
 *  member of that name takes the next one. kvio_retrieve_all() checks lists and groups with kvio_check_loop() first,
 *  kvio_retrieve_all2() does not: it takes containers that are reached on several paths.
 *
 *  The array's capacity is kvio_real_size(). It is the number of entities found instead for a table, when that number
 *  is larger, and where there is no memory for that capacity, which counts every path to a container.
 *  @return The array, to be released with kvio_free_entities(); or null: #KVIO_LOOP (the loop check gave anything but
 *          0, for a bad handle, too, or a container contains itself); #KVIO_NO_MEMORY; #KVIO_UNRESOLVED (a member
 *          without text, a member container that cannot be opened; kvio_retrieve_all2(), or a table: a bad handle). */
kvio_entities_t *kvio_retrieve_all(kvio_iterator_t *iterator);
kvio_entities_t *kvio_retrieve_all2(kvio_iterator_t *iterator);

/** Finds an entity by name.
 *  @return The node, or null: #KVIO_NULL_CONFIG; #KVIO_NOT_FOUND, also when the scope selects nothing; #KVIO_BAD_SCOPE
 *          when several entities match, and for a null or over-long scope; #KVIO_XML. */
kvio_node_t *kvio_retrieve_entity(kvio_config_t *config, const char *scope, const char *type, const char *name);

/** Copies the name of the member at a position, whole or bounded. Each call walks the members from the first: to read a
 *  long container use kvio_retrieve_all().
 *  @return 0 for an entity member, 1 for a container member, both with #kvio_errno left alone; or -1:
 *          #KVIO_OUT_OF_RANGE, #KVIO_EMPTY_ITEM, #KVIO_XML. */
int kvio_regain_index(kvio_iterator_t *iterator, unsigned int position, char *buffer);
int kvio_regain_index2(kvio_iterator_t *iterator, unsigned int position, char *buffer, unsigned int size);

/** Resolves the entity member at a position.
 *  @return The node, or null: #KVIO_OUT_OF_RANGE, #KVIO_BAD_ENTITY, #KVIO_BAD_SCOPE, #KVIO_XML. */
kvio_node_t *kvio_retrieve_index(kvio_iterator_t *iterator, unsigned int position);

/** Lists all entities of one type in a scope, in document order; none for a null type.
 *  @return The array, possibly empty, to be released with kvio_free_entities(); or null: #KVIO_NULL_CONFIG, #KVIO_XML,
 *          #KVIO_BAD_SCOPE, #KVIO_NO_MEMORY. */
kvio_entities_t *kvio_list_entities(kvio_config_t *config, const char *scope, const char *type);

/** Counts the elements that "/kavex/SCOPE/TYPE" selects; none for a null type.
 *  @return The number; 0 also on failure: #KVIO_NULL_CONFIG, #KVIO_BAD_SCOPE (null or over-long scope), #KVIO_XML. */
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
 * Texts are stored as they are. An attribute that does not exist, or whose name is null, reads as "" (the bounded
 * getters then set only the buffer's first byte) and removing it succeeds. "name" and, on containers, "type" are the
 * store's own; setting them renames without a check for duplicates. A prefix is part of an attribute's name.
 *
 * @return 1, or 0 with the element unchanged: for entities #KVIO_BAD_ENTITY, for containers #KVIO_BAD_ITERATOR and, at
 *         the writers, #KVIO_READ_ONLY. The writers return 1 whenever the element exists, also for a null or empty name
 *         or a null text, and when memory for the text was short: the attribute is then as it was.
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

/** Adds 1 to, or subtracts 1 from, an unsigned 32-bit decimal counter kept in an attribute. Its first 15 bytes are read
 *  as strtoul(3) does with base 10 where a long has 32 bits: a missing counter and one without digits are 0, a larger
 *  one is 4294967295. Adding 1 to that gives 0; a counter that is 0 is not decreased, nor written.
 *  @param value  Receives the new value; may be null. */
int kvio_increase_entity_attr(kvio_node_t *entity, const char *attribute, uint32_t *value);
int kvio_decrease_entity_attr(kvio_node_t *entity, const char *attribute, uint32_t *value);
/**@}*/

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
