/**
 * @file users.h
 * @brief Users who have logged in: what they may do, for how long, and which groups they are in.
 *
 * get_user_profile() is the usual entry. It reads the user's authentication method from the shared authentication
 * buffer, asks the matching source (local account files, RADIUS results, LDAP directory) and uses a local account
 * where a remote source fails. The functions it is made of can be called on their own.
 *
 * @code{.c}
 * user_profile_t *profile = get_user_profile("alice");
 * if (profile) printf("%s may stay %d minutes\n", profile->name, (int)profile->lease_time);
 * free_user_profile(profile);
 * @endcode
 *
 * **Results.** 0 (or 1 for "found") on success, -1 on failure, null for records. A null argument is a failure, without
 * a message. #kvio_errno is left as it was. No string argument is kept after a call.
 *
 * **Messages** go to the system log, kvlog(), with the leading integers 3, 7, 3, 0, 0, 0, 0 and the tag "USER". "[%s]"
 * is the function's name unless another one is given, a "%s" behind "failed:" the text of errno. Only the store writes
 * to the standard error stream, where a template file is read. These messages are common to several functions:
 *
 * - "[%s]Get lock id has failed:%s.", "[%s]Lock buffer has failed:%s.", "[%s]Unlock buffer has failed:%s.": the buffer
 *   lock cannot be taken or released.
 * - "[%s]Get shared buffer has failed. User:%s.", "[%s]Attach shared buffer has failed. User:%s.": the shared
 *   authentication buffer cannot be used.
 * - "[%s]User name is too long:%s.": a name of 32 bytes and more fits in no profile, and a cut one could be that of
 *   another user. Every function that fills a profile refuses it, with the profile untouched.
 * - "[%s]Insufficient memory."
 *
 * **Texts.** Names are compared byte for byte. Numbers are read as by strtol(3) with base 10 where a long has 32 bits;
 * a text without digits is 0.
 *
 * **Types.** Each user type has a code, a word, and numbers for its users:
 *
 * | `type` | word            | `access`, `visibility` | `remote_admin` | `remote_access` |
 * |--------|-----------------|------------------------|----------------|-----------------|
 * | 0      | "admin"         | 120                    | 1              | 0               |
 * | 4      | "limited-admin" | 100                    | 1              | 0               |
 * | 1      | "user"          | 80                     | 1              | 1               |
 * | 3      | "ext-user"      | 80                     | 1              | 1               |
 * | 2      | "guest"         | 50                     | 0              | 1               |
 *
 * Accounts and directory entries get the type whose word their type word begins with ("administrator" is an admin),
 * but type 1 for "ext-user", and type 2 for any other word ("ext-group-user"). Only RADIUS servers give type 3.
 * Messages show a code that is in no row as "ext-user".
 *
 * **Files in /tmp** ("/tmp/domuser" and the template files) are read only if root or the effective user owns them and
 * others may not write them (S_IWOTH); a symbolic link at the path must have such an owner, too. Any other file counts
 * as missing. "/tmp" must have the sticky bit, so that no other user can replace them.
 *
 * **The buffer lock** is a System V semaphore set (semget(2)) of one semaphore with the key ftok(3) of
 * "/lib/security/pam_unix.so", project id 83. The authentication modules create it and set it to 1; without it every
 * call that needs it fails at once. It is taken by one semop(2) of -1, which waits without limit, and released by +1,
 * both with SEM_UNDO, so that the lock of a killed process is released. A signal whose handler runs during the wait
 * makes the call fail: a caller can bound the wait with alarm(2).
 *
 * **The shared authentication buffer** is a System V shared memory segment (shmget(2)) of 8,400 bytes, an
 * #auth_buffer_t, with the key ftok(3) of "/lib/security/pam_auth_admin.so", project id 83. The authentication modules
 * create it, and fill it under the buffer lock. A slot belongs to a user when its `in_use` is 1 and its `user` is
 * exactly the name; the lowest slot counts. A name that does not end within its field belongs to no user.
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

/** The user types, as user_profile_t::type and radius_entry_t::type have them. */
enum user_type {
    USER_TYPE_ADMIN = 0,        /**< Administrator. */
    USER_TYPE_USER = 1,         /**< User. */
    USER_TYPE_GUEST = 2,        /**< Guest. */
    USER_TYPE_EXT_USER = 3,     /**< External user. */
    USER_TYPE_LIMITED_ADMIN = 4 /**< Limited administrator. */
};

/** Wanted type of get_passwd_line() and get_info_from_local(): an account of any type. */
#define USER_TYPE_ANY (-1)

/** What a user may do. 1,184 bytes. A function that fills a profile writes the fields it describes and no others. */
typedef struct user_profile_t {
    char name[32];      /**< The user's name, NUL-terminated. */
    char account[1120]; /**< The local account that stands for the user, NUL-terminated; by get_user_profile() only. */
    int32_t type;       /**< One of #user_type. */
    int32_t access;     /**< Access level. */
    int32_t visibility; /**< Visibility level. */
    int32_t lease_time; /**< Lease time: minutes by convention (1,440 are a day), and passed on as the source has it. */
    int32_t re_auth;    /**< Re-authentication time, as `lease_time`. */
    int32_t remote_admin;  /**< Remote administration: 1 or 0 by type, or the source's number. */
    int32_t remote_access; /**< Remote access, as `remote_admin`. */
    int32_t reserved;      /**< Not written. */
} user_profile_t;

/** One built-in user type: thirteen fields of 32 bits on the 32-bit appliance. */
typedef struct user_type_def_t {
    const char *type_name;    /**< For example "admin". */
    const char *display_name; /**< For example "Administrator". */
    const char *def_set_name; /**< The name of the entity with the type's default settings. */
    int32_t access, visibility, remote_admin, remote_access; /**< As in #user_profile_t. */
    int32_t field8, field9, field10; /**< Fields 8 to 13 are for programs that read the table. */
    const char *field11;             /**< As field8. */
    int32_t field12, field13;        /**< As field8. */
} user_type_def_t;

/** The built-in user types: "admin", "limited-admin", "ext-user" and "ext-group-user", then a row of zeros. A row's
 *  index is no type code. Read-only. */
extern const user_type_def_t def_user_profile[5];

/** Releases a profile that get_user_profile() returned; null is ignored. */
void free_user_profile(user_profile_t *profile);

/** @return The display name of a row of #def_user_profile, which stays valid; null for an index above 3. */
const char *get_type_str_for_log(unsigned int index);

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

/** What a RADIUS server (RFC 2865) returned for one user. 128 bytes. */
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

/** Hold the buffer lock.
 *  @return The authentication method that the user passed; -1 if the user has no slot (no message), or if the buffer
 *          cannot be used. */
int get_auth_module(const char *user);

/** Removes a user from the authentication list, and the RADIUS record of a user who passed RADIUS. Takes the buffer
 *  lock. Only `in_use` and the first byte of the authentication slot's name are overwritten.
 *  @return 0, also if the user had no slot; -1 if the lock or the buffer cannot be used, or, after all, if the lock
 *          cannot be released. A RADIUS record that is missing ("[%s]User:%s does not found in RADIUS database.") or
 *          cannot be reached is reported as "release_radius_db" and does not change the result. */
int release_auth_list(const char *user);

/**
 * @name Local accounts
 * Lines of the form of passwd(5) that carry attributes, separated by '&' and ended by ':':
 * "alice:x:500:500:Alice&admin&120&120&1440&1440&1&0:/home/alice:/bin/sh". The attributes are the type word, access,
 * visibility, lease time, re-authentication time, remote administration and remote access. Runs of '&' count as one,
 * as with strtok(3), so that an attribute cannot be left out in the middle. A type word that no '&' follows runs to
 * the end of the line and includes its line feed. A line is read in pieces of 254 bytes, and each piece counts as a
 * line. A line that consists of separators belongs to no user.
 *
 * A wanted type asks for exactly the word of its code, any code without a word for "ext-user". #USER_TYPE_ANY takes
 * the user's first line whatever its attributes.
 */
/**@{*/

/** Searches a file from its current position for a user's line. The file is left behind the line found.
 *  Logs "[%s]User:%s, type=%s." for each line of the user with a type word, and "[%s]User:%s has been found in local
 *  database." for the one found; for #USER_TYPE_ANY only "[%s]User:%s does not have attributes.", even if it has.
 *  @param line  Receives the line with its line feed; 256 bytes; untouched unless a line is found.
 *  @return 0, or -1 at the end of the file. */
int get_passwd_line(FILE *file, const char *user, int wanted_type, char *line);

/** Fills a profile from the user's line with the wanted type in "/etc/passwd": the name; the numbers of the type (a
 *  guest's for a line without attributes), lease time 10 and re-authentication time 180; then the numbers that the
 *  line has. If there is no such line, but one of the user with the wanted type in "/tmp/domuser", the profile gets
 *  type 1 with its numbers, lease time 10 and re-authentication time 180, whatever that line has ("[%s]User:%s found
 *  in domain database.").
 *  Logs "[%s]User:%s does not found in local database." and "[%s]buf=%s" (the domain line, or nothing) on the way.
 *  @return 0; or -1 with the profile untouched: a needed file is missing ("[%s]Open password file has failed."), or
 *          neither has the line ("[%s]User:%s does not found in domain database."). */
int get_info_from_local(user_profile_t *profile, const char *user, int wanted_type);
/**@}*/

/** Fills a profile from the user's record in the shared authentication buffer: the name, the type (2 for what is not
 *  0, 1, 3 or 4) with its numbers, the lease time and the re-authentication time. Hold the buffer lock. The buffer is
 *  attached twice, first for a search that is reported as "check_radius_db".
 *  @return 0; or -1 with the profile untouched: there is no record, or the search cannot use the buffer ("[%s]User:%s
 *          does not found in RADIUS database."), the second attachment fails, or the record has type -1 ("[%s]RADIUS
 *          user:%s does not have attributes."); or -1 with the profile filled: lease time or re-authentication time is
 *          0 ("[%s]Cannot retrieve lease time/reauth time for RADIUS user:%s."). */
int get_info_from_radius(user_profile_t *profile, const char *user);

/**
 * @name LDAP directory
 * "/etc/http_ldap.conf" has a setting a line, a key and a value with one space between them: "host" (one server, or
 * several separated by single spaces), "port", "base" and "pam_login_attribute", which are required and, except base,
 * not empty; "ssl" (ldaps if the value begins with "yes"), "timelimit" (seconds, 10), "binddn" and "bindpw" (an
 * anonymous search without binddn). Spaces before the key are skipped, later lines override earlier ones, lines with
 * other keys or without a space after the key are ignored.
 *
 * The directory is searched by the tool "/bin/ldapsearch" (ldapsearch(1)), with this command line of at most 511
 * bytes, which no shell sees:
 *
 *     /bin/ldapsearch -z 1 -H SCHEME://HOST:PORT -x -b "BASE" -D "BINDDN" -w "BINDPW" "(ATTRIBUTE=USER)"
 *
 * Arguments are separated by spaces; one in double quotes ends at the next double quote. A backslash before a double
 * quote keeps the quote in the argument and is removed itself; write base, binddn and bindpw accordingly. In the user
 * name `*`, `(`, `)` and backslashes become a backslash and two hexadecimal digits (RFC 4515, section 3), and a double
 * quote gets a backslash, unless it has one: the name can neither match another user nor add arguments.
 *
 * The tool's output, at most 1,024 bytes, is read once: when something has arrived and the tool has closed its output,
 * at the latest 500 milliseconds after the first bytes, and never beyond the time limit; what comes later is lost. The
 * tool is then ended with SIGTERM, after 2 seconds with SIGKILL, and waited for: a search takes at most the time limit
 * and 2 seconds for each server. The tool inherits the caller's descriptors but 1, and so writes its own diagnostics to
 * descriptor 2; it inherits no signal handlers, dispositions or mask.
 *
 * **Warning.** In the output the first "result:", "type:", "leaseTime:" and "reauthTime:" count, wherever they are,
 * also at the end of longer attribute names and within values. A directory in which users may write an attribute that
 * is printed before "type:" lets them choose their own type.
 *
 * **Warning.** The bind password is visible in the log ("ldap info", "ldap cmd") and in the list of processes. If the
 * library is built with KAVEX_HIDE_BIND_PASSWORD, the log has asterisks in its place.
 */
/**@{*/

/** Reads the settings file. Values are stored as found, with their line feed, in buffers of 128 (host), 8 (port), 256
 *  (base), 64 (login attribute), 128 (bind DN) and 128 bytes (bind password); `ssl` receives 1 for ldaps, else 0, and
 *  `time_limit` the seconds. Without a line for them, bind DN and bind password become empty, the other four texts stay
 *  as the caller has set them.
 *  @return 0 for one host name (or none), 1 for several; -1: "Open http_ldap configuration file has failed.", with
 *          nothing stored; or "LDAP setting %s is too long." (the key), for a value that does not fit in its buffer
 *          with line feed and NUL, or whose line has more than 254 bytes. */
int get_ldap_server_info(char *host, char *port, char *base, char *login_attribute, char *bind_dn, char *bind_password,
                         int *ssl, int *time_limit);

/** Fills a profile from the output of the search tool, a NUL-terminated text that is not changed: the name; the type
 *  with its numbers; lease time and re-authentication time. Each value begins one byte after the colon of its marker.
 *  @return 1; or 0 with the profile untouched: "LDAP search result does not found.", "LDAP search result does not be
 *          zero:%d." (a result code of RFC 4511 but 0 and 4, size limit exceeded); or 0 with a part of it written:
 *          "Cannot find type in LDAP search result.", "Cannot find leaseTime in LDAP search result.", "Cannot find
 *          reauthTime in LDAP search result." */
int parse_search_result(char *text, user_profile_t *profile, const char *user);

/** Fills a profile as parse_search_result() does, from the first server in the settings file that has the user.
 *  Logs "ldap info: %s %s %s %s %s %s %d %d\n" (host, port, base, login attribute, bind DN, bind password, ssl, time
 *  limit), then for each server "ldap cmd: %s\n" (the command line) and, as "do_ldapsearch", "[%s]LDAP server %s.
 *  Found user record." or why not: "[%s]LDAP command line is too long. User:%s."; "[%s]Cannot create pipe for
 *  ldapsearch:%s."; "[%s]Cannot fork for ldapsearch:%s."; "[%s]LDAP server %s. Select error:%s." (a negative time
 *  limit, too); "[%s]LDAP server %s. Timeout %d secs."; "[%s]LDAP server %s. Read return: %d(%s)." (no output; also
 *  after the child process could not run the tool and has logged "[%s]Cannot execute command:%s (%s)."); "[%s]LDAP
 *  server %s. User:%s does not exist." behind a message of parse_search_result().
 *  @return 0; or -1: the settings cannot be read or lack a required one ("Get LDAP server information has failed."),
 *          or no server has the user. */
int get_info_from_ldap(user_profile_t *profile, const char *user);
/**@}*/

/** The members of a user group. 1,213,476 bytes: not for the stack. */
typedef struct user_group_t {
    char reserved[1056];          /**< Not used. */
    user_profile_t members[1024]; /**< Only `name` is written. */
    int32_t member_count;         /**< Members filled, from index 0. */
} user_group_t;

/** Collects the members of a group of "/tmp/template_group.xml" (containers "user_group_object_t" of the scope
 *  "object/user_group"), those of a nested group in its place. Groups may be nested as deeply as kvio_retrieve_all()
 *  accepts. A user who is in several of the groups is listed several times. A member whose name is too long is logged
 *  and left out, and so is a nested group with a name of more than 127 bytes ("[%s]Group name is too long:%s."). Holds
 *  the buffer lock while it reads.
 *  @return The members, to be released with free_user_group(); or null: the lock cannot be taken; the file cannot be
 *          read ("[%s]Open backup file has failed."); there is no such group ("[%s]Open group has failed."); the
 *          nesting loops, reaches a group twice or names one that is missing ("[%s]Retrieve group's entities has
 *          failed."); memory is short; or "[%s]Group:%s has more than %d members.", 1,024, since an incomplete list
 *          would hide members. */
user_group_t *retrieve_user_group(const char *group);

/** Appends the members of a group of an open document to a record, as retrieve_user_group() does, but without its
 *  checks and without the lock: hold it. A group that leads back to itself is expanded once; one that cannot be opened
 *  adds nothing. Appending ends, after a message, when the record has its 1,024 members, when memory is short, or at
 *  the 10,001st group, counting each as often as it is reached ("[%s]Group:%s is nested too deeply."): unchecked
 *  groups may multiply without end.
 *  @return 1 in every case. */
int get_member(kvio_config_t *document, const char *group, user_group_t *record);

/** @return 1 if the user is in the group or one of its nested groups, 0 if not; -1 if the name is too long (members of
 *          such names are left out, so that nothing is known of them) or if retrieve_user_group() fails. */
int check_user_in_group(const char *group, const char *user);

/** Checks whether "/tmp/template_group.xml" defines a group: whether it has an entity "group_description_t" of the
 *  name. Holds the buffer lock while it reads.
 *  @return 1 or 0; -1 if the lock cannot be taken (without its semaphore set the message is "[%s]Get lock id has
 *          failed.") or released, or if the file cannot be read ("[%s]Retrieve backup file has failed:%s."). */
int verify_user_group(const char *group);

/** Releases what retrieve_user_group() returned; null is ignored. */
void free_user_group(user_group_t *group);

/** Fills a profile with the default settings for users: the entity "def_set" of type "in_user_setting" in the scope
 *  "system/in_user" of "/tmp/template_user.xml". Takes no lock.
 *
 *  All fields come from the values "type" ("admin" 0, "limited-admin" 4, "user" and "ext-user" 1, else 2), "access"
 *  and "visibility" (at most 5 bytes are read), "lease_time" and "re_auth" (11), "remote_admin" and "remote_access"
 *  (1), in this order. From the first missing one on they count as empty: a guest's type, and 0 for the numbers.
 *  @param name  The user's name, for the profile.
 *  @return 0; or -1 with the profile untouched: no file or no such entity, no message. */
int get_remote_setting(user_profile_t *profile, const char *name);

/** Returns the profile of a user who has logged in. Holds the buffer lock all the time, also during an LDAP search.
 *
 *  A user with the method 1 gets the profile of the user's first local account line, with `account` set to the user.
 *  Method 2 takes get_info_from_radius(), any other but -1 get_info_from_ldap(). Such a remote user with a local
 *  account of type "ext-user" has `account` set to the user's own name, and gets this account's numbers if the remote
 *  source fails. Other remote users have `account` set to "radius-users" or "ldap-users" and get the numbers of this
 *  local account, which must be of type "ext-user", too, if the remote source fails.
 *  Logs "User:%s has passed %d authentication method.", "Get user information from local database use default
 *  radius-user account." (or "ldap-user"), at the end "User:%s, type=%s, lease time=%d, reauth time=%d.", and what the
 *  sources log.
 *  @return The profile, to be released with free_user_profile(); or null: memory is short, the lock cannot be taken,
 *          the user has not logged in, the buffer cannot be used, or no source has the user ("[%s]Get user profile has
 *          failed: %s."). Only the log tells these apart. A lock that cannot be released is only logged: "[%s]Unlock
 *          buffer has failed." */
user_profile_t *get_user_profile(const char *user);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
