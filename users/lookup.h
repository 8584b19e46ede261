#ifndef KAVEX_USERS_LOOKUP_H
#define KAVEX_USERS_LOOKUP_H

// 0 if the user has a local account of type "ext-user", else -1.
int check_local_ext_user(const char *user);

#endif
