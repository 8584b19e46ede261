/**
 * @file users.h
 * @brief Users who have logged in: what they may do, for how long, and which groups they are in.
 *
 * get_user_profile() is the usual entry. It takes the user's authentication method from the shared authentication
 * buffer, asks the matching source (local account files, RADIUS results, LDAP directory) and falls back to a local
 * account where a remote source has nothing. The functions it is made of can be called on their own.
 *
 * @code{.c}
 * user_profile_t *profile = get_user_profile("alice");
 * if (profile) printf("%s may stay %d minutes\n", profile->name, (int)profile->lease_time);
 * free_user_profile(profile);
 * @endcode
 *
 * What holds for all functions, and is not repeated at each:
 *
 * **Results.** 0 (or 1 for "found") on success, -1 on failure, null for records. A null argument is a failure, without
 * a message.
 *
 * **Messages.** They go to the system log through the appliance's kvlog(), with the leading integers 3, 7, 3, 0, 0, 0,
 * 0 and the tag "USER". Nothing is written to the standard error stream, except by the store where template files are
 * read. In the messages below "[%s]" is the function's own name, unless another one is given, and a "%s" behind
 * "failed:" is the text of errno.
 *
 * **Names.** They are compared byte for byte. A user name of 32 bytes and more fits in no profile and is refused before
 * the profile is touched, with "[%s]User name is too long:%s.": a cut name could be that of another user.
 *
 * **Numbers in texts.** As strtol(3) reads them with base 10 where a long has 32 bits; a text without digits is 0.
 *
 * **Profiles.** A function that fills a profile writes the fields it describes and no others. `account` is written only
 * by get_user_profile(), `reserved` by nobody. No string argument is kept after a call.
 *
 * **The buffer lock.** A System V semaphore set (semget(2)) of one semaphore whose key is ftok(3) of
 * "/lib/security/pam_unix.so" with project id 83. It is created, and set to 1, by the authentication modules; a
 * missing set fails every call that needs it at once. It is taken by one semop(2) of -1 that waits as long as it takes,
 * and given back with +1, both with SEM_UNDO, so that a process that is killed gives it back. A signal whose handler
 * runs while a call waits ends the wait: the call fails with "[%s]Lock buffer has failed:%s." This is a caller's way to
 * bound the wait (alarm(2)).
 *
 * **The shared authentication buffer.** A System V shared memory segment (shmget(2)) of 8,400 bytes, an #auth_buffer_t,
 * whose key is ftok(3) of "/lib/security/pam_auth_admin.so" with project id 83. It is created and filled by the
 * authentication modules under the buffer lock. A slot belongs to a user when its `in_use` is 1 and its `user` is
 * exactly the name; the lowest slot wins. A name that does not end within its field belongs to nobody.
 *
 * **Threads.** One thread of a process at a time. Calls do not disturb the caller's own use of strtok(3).
 */
#ifndef KAVEX_USERS_H
#define KAVEX_USERS_H

#include <kavex/store.h>
#include <stdint.h>
#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* ------------------------------------------------------------------------------------------ profiles and types */

/** The user types, as user_profile_t::type and radius_entry_t::type have them. */
enum user_type {
    USER_TYPE_ADMIN = 0,        /**< Administrator, "admin" in messages and account files. */
    USER_TYPE_USER = 1,         /**< User, "user". */
    USER_TYPE_GUEST = 2,        /**< Guest, "guest". */
    USER_TYPE_EXT_USER = 3,     /**< External user, "ext-user", which is also shown for codes that are none. */
    USER_TYPE_LIMITED_ADMIN = 4 /**< Limited administrator, "limited-admin". */
};

/** Wanted type of get_passwd_line() and get_info_from_local(): an account of any type. */
#define USER_TYPE_ANY (-1)

/** What a user may do. 1,184 bytes. */
typedef struct user_profile_t {
    char name[32];         /**< The user's name, NUL-terminated. */
    char account[1120];    /**< The local account that stands for the user, NUL-terminated; only by get_user_profile().
                                The bytes after the NUL are not used. */
    int32_t type;          /**< One of #user_type. */
    int32_t access;        /**< Access level: 120, 100, 80 or 50 by type, unless the source gives one. */
    int32_t visibility;    /**< Visibility level, with the same defaults. */
    int32_t lease_time;    /**< Lease time. */
    int32_t re_auth;       /**< Re-authentication time. */
    int32_t remote_admin;  /**< Remote administration: 0 or 1 by type, unless the source gives it. */
    int32_t remote_access; /**< Remote access: 0 or 1 by type, unless the source gives it. */
    int32_t reserved;      /**< Not used. */
} user_profile_t;

/** One built-in user type: thirteen fields of 32 bits on the 32-bit appliance. */
typedef struct user_type_def_t {
    const char *type_name;    /**< For example "admin". */
    const char *display_name; /**< For example "Administrator". */
    const char *def_set_name; /**< The name of the entity with the type's default settings. */
    int32_t access;           /**< The type's access level, */
    int32_t visibility;       /**< visibility level, */
    int32_t remote_admin;     /**< remote administration flag */
    int32_t remote_access;    /**< and remote access flag. */
    int32_t field8;           /**< Fields 8 to 13 are for the programs that read the table. */
    int32_t field9;           /**< As field8. */
    int32_t field10;          /**< As field8. */
    const char *field11;      /**< As field8. */
    int32_t field12;          /**< As field8. */
    int32_t field13;          /**< As field8. */
} user_type_def_t;

/** The built-in user types: "admin", "limited-admin", "ext-user" and "ext-group-user", then a row of zeros. A row's
 *  index is no type code. Read-only. */
extern const user_type_def_t def_user_profile[5];

/** Releases a profile that get_user_profile() returned; null is ignored. */
void free_user_profile(user_profile_t *profile);

/** @return The display name of a row of #def_user_profile, which stays valid; null for an index above 3. */
const char *get_type_str_for_log(unsigned int index);

/* --------------------------------------------------------------------------------- shared authentication buffer */

/** Numbers of the shared authentication buffer. */
enum {
    AUTH_BUFFER_SLOTS = 50, /**< Slots of each of its two regions. */
    AUTH_METHOD_LOCAL = 1,  /**< auth_entry_t::method: the user passed a local account, */
    AUTH_METHOD_RADIUS = 2  /**< a RADIUS server; any other value: an LDAP server. */
};

/** One user who has logged in. 40 bytes. */
typedef struct auth_entry_t {
    int32_t in_use; /**< 1 when the slot holds a user; any other value: free. */
    char user[32];  /**< The name, NUL-terminated. */
    int32_t method; /**< The authentication method that the user passed. */
} auth_entry_t;

/** What a RADIUS server told about one user. 128 bytes. */
typedef struct radius_entry_t {
    int32_t in_use;       /**< 1 when the slot holds a user. */
    char user[96];        /**< The name, NUL-terminated. */
    int32_t type;         /**< One of #user_type; -1: the server gave no attributes. */
    int32_t reserved1[2]; /**< Not read. */
    int32_t lease_time;   /**< 0: not given. */
    int32_t re_auth;      /**< 0: not given. */
    int32_t reserved2[2]; /**< Not read. */
} radius_entry_t;

/** The whole segment. 8,400 bytes, integers in the machine's byte order. */
typedef struct auth_buffer_t {
    auth_entry_t auth[AUTH_BUFFER_SLOTS];     /**< The authentication list. */
    radius_entry_t radius[AUTH_BUFFER_SLOTS]; /**< The RADIUS results. */
} auth_buffer_t;

/**
 * Tells which authentication method a user passed. Hold the buffer lock.
 * @return The method of the user's slot; -1, no message, if there is none. A method of -1 in the slot is read the same.
 *         -1 also with "[%s]Get shared buffer has failed. User:%s." or "[%s]Attach shared buffer has failed. User:%s."
 */
int get_auth_module(const char *user);

/**
 * Removes a user from the authentication list, and the RADIUS record of a user who passed RADIUS. Takes the buffer lock.
 * Only `in_use` and the first byte of the authentication slot's name are overwritten.
 *
 * @return 0, also if the user had no slot or no RADIUS record, the latter with "[%s]User:%s does not found in RADIUS
 *         database.", or if the RADIUS records could not be attached. -1: "[%s]Get lock id has failed:%s.", "[%s]Lock
 *         buffer has failed:%s.", "[%s]Get shared buffer has failed. User:%s.", "[%s]Attach shared buffer has failed.
 *         User:%s."; "[%s]Unlock buffer has failed:%s." when all is done. What concerns the RADIUS record is reported
 *         as "release_radius_db".
 */
int release_auth_list(const char *user);

/* ------------------------------------------------------------------------------------------------ local accounts */

/**
 * @name Local accounts
 * Lines of the form of passwd(5) that carry attributes, separated by '&' and ended by ':':
 * "alice:x:500:500:Alice&admin&120&120&1440&1440&1&0:/home/alice:/bin/sh". The attributes are the type word, access,
 * visibility, lease time, re-authentication time, remote administration and remote access. Runs of separators count as
 * one, as with strtok(3). A type word that no '&' follows runs to the end of the line. A line is read in pieces of 254
 * bytes, and each piece counts as a line. A line that consists of separators belongs to nobody.
 *
 * A wanted type asks for exactly this type word: 0 "admin", 1 "user", 2 "guest", 4 "limited-admin", 3 and any other
 * code "ext-user". #USER_TYPE_ANY takes the user's first line whatever its attributes.
 */
/**@{*/

/**
 * Searches a file from its current position for a user's line. The file is left behind the line found.
 *
 * Logs "[%s]User:%s, type=%s." for each line of the user with a type word, and "[%s]User:%s has been found in local
 * database." for the one found; for #USER_TYPE_ANY only "[%s]User:%s does not have attributes.", even if it has.
 *
 * @param line  Receives the line with its line feed; 256 bytes; untouched unless a line is found.
 * @return 0, or -1 at the end of the file.
 */
int get_passwd_line(FILE *file, const char *user, int wanted_type, char *line);

/**
 * Fills a profile from "/etc/passwd": the name; type, levels and flags by the beginning of the type word ("admin",
 * "limited-admin", "user", "ext-user", else those of a guest; also for a line without attributes); lease time 10 and
 * re-authentication time 180; then the numbers that the line has. A user who is not in there with the wanted type but
 * in "/tmp/domuser" gets type 1, levels 80, lease time 10, re-authentication time 180 and both flags, whatever that
 * line says.
 *
 * @return 0; or -1 with the profile untouched: "[%s]Open password file has failed.", or "[%s]User:%s does not found in
 *         local database." followed by "[%s]buf=%s" (the domain line, or nothing) and "[%s]User:%s does not found in
 *         domain database.", or the name is too long. A domain user is reported with "[%s]User:%s found in domain
 *         database."
 */
int get_info_from_local(user_profile_t *profile, const char *user, int wanted_type);
/**@}*/

/* ------------------------------------------------------------------------------------------------ RADIUS results */

/**
 * Fills a profile from the user's record in the shared authentication buffer: the name, the type, the levels and flags
 * of the type (a type that is not 0, 1, 3 or 4 becomes 2), the lease time and the re-authentication time. Hold the
 * buffer lock.
 *
 * @return 0; or -1 with the profile untouched: "[%s]User:%s does not found in RADIUS database.", with "[%s]Get shared
 *         buffer has failed. User:%s." or "[%s]Attach shared buffer has failed. User:%s." before it, as
 *         "check_radius_db", when the buffer was the reason (or alone, if only the second of two attachments fails);
 *         "[%s]RADIUS user:%s does not have attributes."; or the name is too long. -1 with the profile filled: "[%s]Cannot
 *         retrieve lease time/reauth time for RADIUS user:%s.", one of the two being 0.
 */
int get_info_from_radius(user_profile_t *profile, const char *user);

/* ------------------------------------------------------------------------------------------------ LDAP directory */

/**
 * @name LDAP
 * "/etc/http_ldap.conf" has a setting a line, a key and a value with one space between them: "host" (one server, or
 * several separated by single spaces), "port", "base", "pam_login_attribute" (these four are required), "ssl" (ldaps if
 * the value begins with "yes"), "timelimit" (seconds, 10), "binddn" and "bindpw" (an anonymous search without binddn).
 * Spaces before the key are skipped, later lines override earlier ones, lines with other keys or without a space after
 * the key are ignored.
 *
 * The directory is searched by the tool "/bin/ldapsearch" (ldapsearch(1)), with this command line of at most 511 bytes,
 * which no shell sees:
 *
 *     /bin/ldapsearch -z 1 -H SCHEME://HOST:PORT -x -b "BASE" -D "BINDDN" -w "BINDPW" "(ATTRIBUTE=USER)"
 *
 * Arguments are separated by spaces; one in double quotes ends at the next double quote. A backslash before a double
 * quote keeps the quote in the argument and is removed itself; write base, binddn and bindpw in the settings file
 * accordingly. In the user name `*`, `(`, `)` and backslashes become a backslash and two hexadecimal digits (RFC 4515,
 * section 3), and a double quote gets a backslash, so that the name can neither match another user nor add arguments.
 * Only a backslash that stands before a double quote in the name is taken as the one described above.
 *
 * The tool's output may be 1,024 bytes long. It is read once: when something has arrived and the tool has closed its
 * output, at the latest 500 milliseconds after the first bytes, and never beyond the time limit; what comes later is
 * lost. The tool is then ended with SIGTERM, after 2 seconds with SIGKILL, and waited for: it does not survive the call,
 * which takes at most the time limit and 2 seconds for each server. The caller's signal handlers, dispositions and mask
 * play no part in it, nor do its open or closed descriptors 0 to 2.
 *
 * **Warning.** In the output the first "result:", "type:", "leaseTime:" and "reauthTime:" count, wherever they are, also
 * at the end of longer attribute names and within values. A directory in which users may write an attribute that is
 * printed before "type:" lets them choose their own type.
 *
 * **Warning.** The bind password is visible in the log ("ldap info", "ldap cmd") and in the list of processes. If the
 * library is built with KAVEX_HIDE_BIND_PASSWORD, the log has asterisks in its place.
 */
/**@{*/

/**
 * Reads the settings file. Values are stored as found, with their line feed, "" if there is none.
 *
 * @param host             128 bytes.
 * @param port             8 bytes.
 * @param base             256 bytes.
 * @param login_attribute  64 bytes.
 * @param bind_dn          128 bytes.
 * @param bind_password    128 bytes.
 * @param ssl              Receives 1 for ldaps, else 0.
 * @param time_limit       Receives the number of seconds.
 * @return 0 for one host name (or none), 1 for several; -1: "Open http_ldap configuration file has failed.", with
 *         nothing stored; or "LDAP setting %s is too long." (the key), for a value that does not fit in its buffer with
 *         line feed and NUL, or whose line has more than 254 bytes.
 */
int get_ldap_server_info(char *host, char *port, char *base, char *login_attribute, char *bind_dn, char *bind_password,
                         int *ssl, int *time_limit);

/**
 * Fills a profile from the output of the search tool: the name; type, levels and flags by the beginning of the type
 * word ("admin", "limited-admin", "user", "ext-user", else those of a guest); lease time and re-authentication time.
 * Each value begins one byte after the colon of its marker.
 *
 * @param text  NUL-terminated; not changed.
 * @return 1; or 0 with the profile untouched: "LDAP search result does not found.", "LDAP search result does not be
 *         zero:%d." (anything but 0 and 4, size limit exceeded), the name is too long; or 0 with a part of the profile
 *         written: "Cannot find type in LDAP search result.", "Cannot find leaseTime in LDAP search result.", "Cannot
 *         find reauthTime in LDAP search result."
 */
int parse_search_result(char *text, user_profile_t *profile, const char *user);

/**
 * Fills a profile as parse_search_result() does, from the first of the servers in the settings file that has the user.
 *
 * Logs "ldap info: %s %s %s %s %s %s %d %d\n" (host, port, base, login attribute, bind DN, bind password, ssl, time
 * limit) and for each server "ldap cmd: %s\n" (the command line) and "[%s]LDAP server %s. Found user record." All with
 * "[%s]" are reported as "do_ldapsearch".
 *
 * @return 0; or -1: "Get LDAP server information has failed.", if get_ldap_server_info() failed or a required setting
 *         is missing or empty. For each server: "[%s]LDAP command line is too long. User:%s."; "[%s]Cannot create pipe
 *         for ldapsearch:%s."; "[%s]Cannot fork for ldapsearch:%s."; "[%s]LDAP server %s. Select error:%s." (a negative
 *         time limit, too); "[%s]LDAP server %s. Timeout %d secs."; "[%s]LDAP server %s. Read return: %d(%s)." (no
 *         output; also after the tool could not be run: "[%s]Cannot execute command:%s (%s).", logged by the child
 *         process); "[%s]LDAP server %s. User:%s does not exist." after a message of parse_search_result().
 */
int get_info_from_ldap(user_profile_t *profile, const char *user);
/**@}*/

/* --------------------------------------------------------------------------------- user groups, default settings */

/** The members of a user group. 1,213,476 bytes: not for the stack. */
typedef struct user_group_t {
    char reserved[1056];          /**< Not used. */
    user_profile_t members[1024]; /**< Only `name` is written. */
    int32_t member_count;         /**< Members filled, from index 0. */
} user_group_t;

/**
 * Collects the members of a group of "/tmp/template_group.xml" (containers "user_group_object_t" of the scope
 * "object/user_group"), those of a nested group in its place. A user who is in several of the groups is listed several
 * times. Holds the buffer lock while it reads. A member whose name is too long is logged and left out,
 * and so is a nested group with a name of more than 127 bytes ("[%s]Group name is too long:%s.").
 *
 * @return The members, to be released with free_user_group(); or null: "[%s]Get lock id has failed:%s.", "[%s]Lock
 *         buffer has failed:%s.", "[%s]Open backup file has failed.", "[%s]Open group has failed.", "[%s]Retrieve
 *         group's entities has failed." (also for a nesting that loops or reaches a group twice), "[%s]Insufficient
 *         memory.", "[%s]Group:%s has more than %d members." or "[%s]Group:%s is nested too deeply." (more than 1,000
 *         levels or 10,000 groups): an incomplete list would make members look like strangers.
 */
user_group_t *retrieve_user_group(const char *group);

/**
 * Appends the members of a group of an open document to a record, as retrieve_user_group() does, but without its checks
 * and without the lock: hold it. A group that leads back to itself is expanded once. The record never grows beyond its
 * 1,024 members; one that is full, or nested too deeply, is logged and left as far as it came. A group that cannot be
 * opened adds nothing.
 *
 * @return 1 in every case.
 */
int get_member(kvio_config_t *document, const char *group, user_group_t *record);

/** @return 1 if the user is in the group or one of its nested groups, 0 if not; -1 if the name is too long (members of
 *          such names are left out, and nothing can be said of them) or, after a message of retrieve_user_group(), if
 *          the group cannot be read. */
int check_user_in_group(const char *group, const char *user);

/**
 * Tells whether a group is defined: whether "/tmp/template_group.xml" has an entity "group_description_t" of its name.
 * Holds the buffer lock while it reads.
 *
 * @return 1 or 0; -1: "[%s]Get lock id has failed.", "[%s]Lock buffer has failed:%s.", "[%s]Retrieve backup file has
 *         failed:%s." or "[%s]Unlock buffer has failed:%s."
 */
int verify_user_group(const char *group);

/** Releases what retrieve_user_group() returned; null is ignored. */
void free_user_group(user_group_t *group);

/**
 * Fills a profile with the default settings for users: the entity "def_set" of type "in_user_setting" in the scope
 * "system/in_user" of "/tmp/template_user.xml". Takes no lock.
 *
 * All fields come from the values "type" ("admin" 0, "limited-admin" 4, "user" and "ext-user" 1, else 2), "access" and
 * "visibility" (at most 5 bytes are read), "lease_time" and "re_auth" (11), "remote_admin" and "remote_access" (1), in
 * this order. From the first missing one on they count as empty: a guest's type, and 0 for the numbers.
 *
 * @param name  The user's name, for the profile.
 * @return 0; or -1 with the profile untouched: no file or no such entity, no message; or the name is too long.
 */
int get_remote_setting(user_profile_t *profile, const char *name);

/* ----------------------------------------------------------------------------------------------- profile look-up */

/**
 * Tells what a user who has logged in may do. Holds the buffer lock for the whole look-up, an LDAP search included:
 * up to the time limit and 2 seconds for each server.
 *
 * | method of get_auth_module() | the profile comes from                                                        |
 * |-----------------------------|-------------------------------------------------------------------------------|
 * | 1                           | the user's first local account line; `account` is the user                    |
 * | 2                           | get_info_from_radius()                                                        |
 * | any other but -1            | get_info_from_ldap()                                                          |
 * | -1                          | nothing: the result is null                                                   |
 *
 * A remote user with a local account of type "ext-user" has `account` set to its own name and gets this account's
 * numbers if the remote source fails. Other remote users have `account` set to "radius-users" or "ldap-users" and get
 * the numbers of this local account, which must be of type "ext-user", too, if the remote source fails.
 *
 * Logs "User:%s has passed %d authentication method.", "Get user information from local database use default
 * radius-user account." (or "ldap-user"), at the end "User:%s, type=%s, lease time=%d, reauth time=%d.", and what the
 * sources log.
 *
 * @return The profile, to be released with free_user_profile(); or null: "[%s]Insufficient memory.", "[%s]Get lock id
 *         has failed:%s.", "[%s]Lock buffer has failed:%s."; no further message for a user who has not logged in;
 *         "[%s]Get user profile has failed: %s." A lock that cannot be given back is only logged: "[%s]Unlock buffer
 *         has failed."
 */
user_profile_t *get_user_profile(const char *user);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
