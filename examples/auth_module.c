/*
 * Takes the place of the authentication modules of the appliance: makes the shared authentication buffer and its lock,
 * and keeps the records of the users who log in.
 *
 *     auth_module start
 *     auth_module login USER local
 *     auth_module login USER radius [TYPE LEASE_TIME RE_AUTH]     with the attributes that the RADIUS server sent
 *     auth_module login USER ldap
 *     auth_module logout USER
 *     auth_module stop
 */
#include <kavex/users.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

#define LOCK_FILE "/lib/security/pam_unix.so"
#define BUFFER_FILE "/lib/security/pam_auth_admin.so"
#define PROJECT 83
#define METHOD_LDAP 3

static int expect(int result, const char *what) {
    if (result >= 0) return result;
    perror(what);
    exit(1);
}

static int lock_set(int flags) {
    return expect(semget(expect(ftok(LOCK_FILE, PROJECT), LOCK_FILE), 1, flags | 0666), "lock");
}

static int segment(int flags) {
    return expect(shmget(expect(ftok(BUFFER_FILE, PROJECT), BUFFER_FILE), sizeof(auth_buffer_t), flags), "buffer");
}

static auth_buffer_t *attach(void) {
    void *buffer = shmat(segment(0), NULL, 0);
    if (buffer != (void *)-1) return buffer;
    perror("buffer");
    exit(1);
}

/* SEM_UNDO: the kernel gives the lock back when this process is killed. */
static void change_lock(short by) {
    struct sembuf operation = {0, by, SEM_UNDO};
    expect(semop(lock_set(0), &operation, 1), "lock");
}

static void start(void) {
    int lock = lock_set(IPC_CREAT | IPC_EXCL);
    expect(semctl(lock, 0, SETVAL, 1), "lock");
    segment(IPC_CREAT | IPC_EXCL | 0666);
}

static void stop(void) {
    expect(shmctl(segment(0), IPC_RMID, NULL), "buffer");
    expect(semctl(lock_set(0), 0, IPC_RMID), "lock");
}

/* Every field before in_use: a slot belongs to a user only when it is complete. */
static int add_radius_record(auth_buffer_t *buffer, const char *user, int type, int lease_time, int re_auth) {
    for (int i = 0; i < AUTH_BUFFER_SLOTS; ++i) {
        radius_entry_t *entry = &buffer->radius[i];
        if (entry->in_use == 1) continue;
        snprintf(entry->user, sizeof entry->user, "%s", user);
        entry->type = type;
        entry->lease_time = lease_time;
        entry->re_auth = re_auth;
        entry->in_use = 1;
        return 1;
    }
    return 0;
}

static int add_user(auth_buffer_t *buffer, const char *user, int method) {
    for (int i = 0; i < AUTH_BUFFER_SLOTS; ++i) {
        auth_entry_t *entry = &buffer->auth[i];
        if (entry->in_use == 1) continue;
        snprintf(entry->user, sizeof entry->user, "%s", user);
        entry->method = method;
        entry->in_use = 1;
        return 1;
    }
    return 0;
}

static int method_of(const char *word) {
    if (!strcmp(word, "local")) return AUTH_METHOD_LOCAL;
    if (!strcmp(word, "radius")) return AUTH_METHOD_RADIUS;
    if (!strcmp(word, "ldap")) return METHOD_LDAP;
    return 0;
}

static int login(char **arguments, int count) {
    const char *user = arguments[0];
    int method = method_of(arguments[1]), done;
    auth_buffer_t *buffer;

    if (!method || strlen(user) >= sizeof buffer->auth[0].user) return 0;
    buffer = attach();
    change_lock(-1);
    done = count < 5 || add_radius_record(buffer, user, atoi(arguments[2]), atoi(arguments[3]), atoi(arguments[4]));
    if (done) done = add_user(buffer, user, method);
    change_lock(+1);
    shmdt(buffer);
    return done;
}

int main(int count, char **arguments) {
    int done = 1;
    if (count == 2 && !strcmp(arguments[1], "start"))
        start();
    else if (count == 2 && !strcmp(arguments[1], "stop"))
        stop();
    else if (count == 3 && !strcmp(arguments[1], "logout"))
        done = release_auth_list(arguments[2]) == 0;
    else if (count >= 4 && !strcmp(arguments[1], "login"))
        done = login(arguments + 2, count - 2);
    else
        done = 0;
    if (!done) fprintf(stderr, "auth_module: not done: %s\n", count > 1 ? arguments[1] : "no command");
    return !done;
}
