// One search of an LDAP directory through the external tool.
#ifndef KAVEX_USERS_LDAP_H
#define KAVEX_USERS_LDAP_H

#include <kavex/users.h>

// Asks one server for the user's entry. The strings are those of the settings file without their line feeds; bind DN
// and password count if bind is not 0. 1 when the entry was found and the profile filled, -1 otherwise. The tool does
// not survive the call, which takes at most the time limit and 2 seconds.
int do_ldapsearch(user_profile_t *profile, const char *user, const char *host, const char *port, const char *base,
                  const char *login_attribute, const char *bind_dn, const char *bind_password, int ssl, int time_limit,
                  int bind);

// What the log shows of a bind password.
#ifdef KAVEX_HIDE_BIND_PASSWORD
inline const char *shown_password(const char *password) { return *password ? "********" : ""; }
#else
inline const char *shown_password(const char *password) { return password; }
#endif

#endif
