/*
 * Prints the results of the library's user functions, as a management program uses them.
 *
 *     who may USER...            what each user who has logged in may do, and for how long
 *     who in GROUP USER...       which of the users are in the group
 *     who groups GROUP...        which of the groups are defined
 *     who defaults               the default settings
 *
 * It ends with status 1 if one of the look-ups failed.
 */
#include <kavex/users.h>

#include <stdio.h>
#include <string.h>

static int show(const char *user, const user_profile_t *profile) {
    static const char *const types[] = {"administrator", "user", "guest", "external user", "limited administrator"};
    int known = profile->type >= 0 && profile->type < 5;
    printf("%-8s %s, access %d, visibility %d, lease %d, again after %d, remote administration %s, remote access %s",
           user, known ? types[profile->type] : "of no known type", (int)profile->access, (int)profile->visibility,
           (int)profile->lease_time, (int)profile->re_auth, profile->remote_admin ? "yes" : "no",
           profile->remote_access ? "yes" : "no");
    if (*profile->account) printf(", as %s", profile->account);
    printf("\n");
    return 1;
}

static int may(const char *user) {
    user_profile_t *profile = get_user_profile(user);
    if (profile)
        show(user, profile);
    else
        printf("%-8s has not logged in, or has no account\n", user);
    free_user_profile(profile);
    return 1;
}

static int in(const char *group, const char *user) {
    int result = check_user_in_group(group, user);
    if (result < 0)
        printf("%-8s the group %s cannot be read\n", user, group);
    else
        printf("%-8s is %sin the group %s\n", user, result ? "" : "not ", group);
    return result >= 0;
}

static int defined(const char *group) {
    int result = verify_user_group(group);
    if (result < 0)
        printf("%-8s cannot be looked up\n", group);
    else
        printf("%-8s is %sdefined\n", group, result ? "" : "not ");
    return result >= 0;
}

static int defaults(void) {
    user_profile_t profile = {0};
    return get_remote_setting(&profile, "(all)") == 0 && show(profile.name, &profile);
}

int main(int count, char **arguments) {
    int answered = 1, i;

    kvio_initialize();
    if (count == 2 && !strcmp(arguments[1], "defaults")) return !defaults();
    if (count > 2 && !strcmp(arguments[1], "may"))
        for (i = 2; i < count; ++i) answered &= may(arguments[i]);
    else if (count > 3 && !strcmp(arguments[1], "in"))
        for (i = 3; i < count; ++i) answered &= in(arguments[2], arguments[i]);
    else if (count > 2 && !strcmp(arguments[1], "groups"))
        for (i = 2; i < count; ++i) answered &= defined(arguments[i]);
    else
        answered = 0;
    return !answered;
}
