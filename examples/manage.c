/*
 * A management program: changes a configuration under its lock, as in the session of an administrator, and shows the
 * results that another process gets meanwhile.
 *
 *     manage CONFIGURATION             the whole session
 *     manage --open CONFIGURATION      the part of a second process: opens it, prints the result, closes it
 *     manage --read FILE               the same: prints the services in a backup of their scope
 *
 * It ends with status 1 at the first call with an unexpected result. The diagnostics of the library go to standard
 * error.
 */
#include <kavex/store.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#define SERVICES_BACKUP "/tmp/services.xml"

static const char *program;

static void expect(int holds, const char *what) {
    if (holds) return;
    fprintf(stderr, "manage: %s failed, code %d\n", what, kvio_errno);
    exit(1);
}

static void heading(const char *text) { printf("\n-- %s\n", text); }

/* Runs this program again, in another process. */
static void second_process(const char *mode, const char *argument) {
    int status = 0;
    pid_t child;

    fflush(stdout);
    child = fork();
    if (child == 0) {
        execl(program, program, mode, argument, (char *)NULL);
        _exit(127);
    }
    expect(child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0,
           "running a second process");
}

static void print_entities(const char *title, kvio_entities_t *entities) {
    char name[128], port[16];
    int i;

    expect(entities != NULL, title);
    printf("%s:", title);
    for (i = 0; i < entities->count; i++) {
        expect(kvio_name2(entities->items[i], name, sizeof name), "kvio_name2");
        expect(kvio_get2(entities->items[i], "port", port, sizeof port), "kvio_get2");
        printf(" %s (%s)", name, port);
    }
    printf("\n");
    kvio_free_entities(entities);
}

static void change_values(kvio_config_t *config) {
    kvio_node_t *entity;
    char old[64];
    uint32_t references;

    entity = kvio_retrieve_entity(config, "interface", "interface_t", "wan");
    expect(entity != NULL, "kvio_retrieve_entity");
    expect(kvio_get2(entity, "mode", old, sizeof old), "kvio_get2");
    expect(kvio_set(entity, "mode", "static") && kvio_set(entity, "address", "203.0.113.6/30"), "kvio_set");
    printf("wan: mode %s -> static, with an address\n", old);

    entity = kvio_retrieve_entity(config, "object/address", "address_object_t", "printer");
    expect(kvio_unset(entity, "description"), "kvio_unset");
    expect(kvio_increase_entity_attr(entity, "reference", &references), "kvio_increase_entity_attr");
    printf("printer: description emptied, %u reference\n", (unsigned)references);

    expect(kvio_undefine(config, "object/address", "address_object_t", "desk-15-28"), "kvio_undefine");
    printf("desk-15-28: removed\n");

    entity = kvio_define2(config, "object/address", "address_object_t", "camera & door");
    expect(entity != NULL, "kvio_define2");
    expect(kvio_set(entity, "kind", "host") && kvio_set(entity, "address", "192.168.1.77"), "kvio_set");
    printf("camera & door: new\n");
}

/* A group whose members are services and other groups of services, and what it comes to. */
static void make_nested_group(kvio_config_t *config) {
    kvio_iterator_t *group = kvio_create_group(config, "object/service", "service_object_t", "branch-office");

    expect(group != NULL, "kvio_create_group");
    expect(kvio_join(group, "outgoing", 0), "kvio_join");
    expect(kvio_join(group, "ipp/tcp", 1), "kvio_join");
    expect(kvio_join(group, "https/tcp", 1), "kvio_join");
    printf("branch-office: %d members", kvio_size(group));
    printf(", %d through nested groups", kvio_real_size(group));
    printf(", %s loop\n", kvio_check_loop(group) == 0 ? "no" : "a");
    print_entities("resolved, each once", kvio_retrieve_all(group));
    kvio_close_group(group);
}

static void change_and_roll_back(kvio_config_t *config) {
    int before = kvio_entity_count(config, "object/user_group", "group_description_t");
    kvio_checkpoint_t *checkpoint = kvio_create_checkpoint(config, "object/user_group");

    expect(checkpoint != NULL, "kvio_create_checkpoint");
    expect(kvio_dispose_group(config, "object/user_group", "user_group_object_t", "office"), "kvio_dispose_group");
    expect(kvio_undefine(config, "object/user_group", "group_description_t", "office"), "kvio_undefine");
    printf("group descriptions: %d, after a change %d", before,
           kvio_entity_count(config, "object/user_group", "group_description_t"));
    expect(kvio_rollback_checkpoint(config, "object/user_group", checkpoint), "kvio_rollback_checkpoint");
    printf(", rolled back %d\n", kvio_entity_count(config, "object/user_group", "group_description_t"));
    expect(kvio_entity_count(config, "object/user_group", "group_description_t") == before, "the roll-back");
}

static int session(const char *name) {
    kvio_config_t *config;
    int bytes;

    heading("a management program opens the configuration");
    config = kvio_open_config(name, 0);
    expect(config != NULL, "kvio_open_config");
    heading("a second process tries to open it meanwhile");
    second_process("--open", name);

    heading("values change");
    change_values(config);
    heading("a group of groups");
    make_nested_group(config);
    heading("a checkpoint, a change, and back");
    change_and_roll_back(config);

    heading("the services are backed up; a second process reads the backup while the configuration is locked");
    expect(kvio_backup_scope(config, "object/service", SERVICES_BACKUP), "kvio_backup_scope");
    second_process("--read", SERVICES_BACKUP);

    heading("save and close");
    bytes = kvio_save_config(config);
    expect(bytes > 0, "kvio_save_config");
    printf("%d bytes\n", bytes);
    kvio_close_config(config);
    expect(kvio_errno == KVIO_OK, "kvio_close_config");
    heading("the second process tries again");
    second_process("--open", name);
    return 0;
}

static int try_to_open(const char *name) {
    kvio_config_t *config = kvio_open_config(name, 0);

    printf("%s: %s, code %d\n", name, config ? "opened" : "not opened", kvio_errno);
    if (config) kvio_close_config(config);
    return 0;
}

static int read_services(const char *path) {
    kvio_config_t *snapshot = kvio_restore_scope(path);
    kvio_iterator_t *group;

    expect(snapshot != NULL, "kvio_restore_scope");
    printf("%s: %d services\n", path, kvio_entity_count(snapshot, "object/service", "service_object_t"));
    group = kvio_open_group(snapshot, "object/service", "service_object_t", "branch-office");
    expect(group != NULL, "kvio_open_group");
    print_entities("branch-office", kvio_retrieve_all(group));
    expect(!kvio_join(group, "telnet/tcp", 1) && kvio_errno == KVIO_READ_ONLY, "refusing to change a snapshot");
    kvio_close_group(group);
    kvio_close_config(snapshot);
    return 0;
}

int main(int count, char **arguments) {
    program = arguments[0];
    setvbuf(stdout, NULL, _IOLBF, BUFSIZ); /* in order with the diagnostics, wherever both go */
    kvio_initialize();
    if (count == 2) return session(arguments[1]);
    if (count == 3 && strcmp(arguments[1], "--open") == 0) return try_to_open(arguments[2]);
    if (count == 3 && strcmp(arguments[1], "--read") == 0) return read_services(arguments[2]);
    fprintf(stderr, "usage: manage CONFIGURATION | --open CONFIGURATION | --read FILE\n");
    return 2;
}
