// Every path that is compiled in.
#ifndef KAVEX_BASE_PATHS_H
#define KAVEX_BASE_PATHS_H

namespace paths {

// Configuration store.
inline constexpr char config_directory[] = "/etc/kavex/conf/";
inline constexpr char system_directory[] = "/etc/";
inline constexpr char system_default[] = "__system_default.xml";
inline constexpr char system_default_template[] = "/etc/__system_default.xml";
inline constexpr char redo_prefix[] = ".kavex-redo-";  // and the number of the configuration's inode

// Accounts and directories.
inline constexpr char passwd[] = "/etc/passwd";
inline constexpr char domain_users[] = "/tmp/domuser";
inline constexpr char ldap_settings[] = "/etc/http_ldap.conf";
inline constexpr char ldap_search[] = "/bin/ldapsearch";

// Scope backups that other programs of the appliance leave for the user functions.
inline constexpr char user_template[] = "/tmp/template_user.xml";
inline constexpr char group_template[] = "/tmp/template_group.xml";

// Key files of the shared authentication buffer and of its lock, for ftok(3).
inline constexpr char auth_buffer_key[] = "/lib/security/pam_auth_admin.so";
inline constexpr char auth_lock_key[] = "/lib/security/pam_unix.so";

}  // namespace paths

#endif
