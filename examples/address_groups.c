/*
 * The page for address groups of a management program: creates groups under a parent with a limit, adds entries with a
 * schedule per membership, nests groups, and prints a group with its entries and nested groups as a table.
 *
 *     address_groups CONFIGURATION
 *
 * It ends with status 1 at the first call with an unexpected result. The diagnostics of the library go to standard
 * error, and those of the system log as well when KVLOG_STDERR is set.
 */
#include <kavex/objects.h>
#include <kavex/store.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define SCOPE "object/address"
#define ENTRY_TYPE "address_object_t"
#define MEMBERSHIP_TYPE "address_membership_t"

/* The fields of an address, and of an address in a group. */
struct address {
    char kind[16];
    char address[64];
};

struct membership {
    char schedule[64];
};

/* What an export makes: the rows of a table. */
struct row {
    char name[64];
    struct address address;
    char groups[256]; /* "GROUP (SCHEDULE)", one after the other */
};

struct table {
    int count, filled;
    struct row *rows;
};

static void expect(int holds, const char *what) {
    if (holds) return;
    fprintf(stderr, "address_groups: %s failed, code %d\n", what, kvio_errno);
    exit(1);
}

static void heading(const char *text) { printf("\n-- %s\n", text); }

/* ------------------------------------------------------------------- between the configuration and the structures */

static void *alloc_address(void) { return calloc(1, sizeof(struct address)); }

static void *alloc_membership(void) { return calloc(1, sizeof(struct membership)); }

static int get_address(kvio_node_t *entity, void *entry) {
    struct address *address = entry;

    return kvio_get2(entity, "kind", address->kind, sizeof address->kind) &&
                   kvio_get2(entity, "address", address->address, sizeof address->address)
               ? 0
               : 1;
}

/* A host that becomes a subnet, or the other way round, is refused: other parts of the configuration rely on it. */
static int set_address(kvio_node_t *entity, const char *name, void *data, void *current) {
    const struct address *wanted = data, *before = current;

    if (before && strcmp(before->kind, wanted->kind) != 0) {
        printf("  %s stays a %s\n", name, before->kind);
        return 1;
    }
    return kvio_set(entity, "kind", wanted->kind) && kvio_set(entity, "address", wanted->address) ? 0 : 1;
}

static int get_membership(kvio_node_t *entity, void *property) {
    struct membership *membership = property;

    return kvio_get2(entity, "schedule", membership->schedule, sizeof membership->schedule) ? 0 : 1;
}

static int set_membership(kvio_node_t *entity, void *data, void *current) {
    (void)current;
    return kvio_set(entity, "schedule", ((struct membership *)data)->schedule) ? 0 : 1;
}

/* -------------------------------------------------------------------------------------------------- the short page */

static int print_group(const char *name) { return printf("  [%s]\n", name) > 0 ? 0 : 1; }

static int print_address(const char *name, void *entry) {
    return printf("  %-12s %s", name, ((struct address *)entry)->address) > 0 ? 0 : 1;
}

static int print_membership(void *property) {
    return printf(", %s\n", ((struct membership *)property)->schedule) > 0 ? 0 : 1;
}

static int tell_removed(const char *name, void *entry) {
    return printf("  %s (%s) leaves\n", name, ((struct address *)entry)->address) > 0 ? 0 : 1;
}

/* ------------------------------------------------------------------------------------------------------- the table */

static group_desc_t *exported;

static void discard_table(void *handle) {
    struct table *table = handle;

    free(table->rows);
    free(table);
}

static void *begin_table(int count) {
    struct table *table = calloc(1, sizeof *table);

    if (!table) return NULL;
    table->rows = calloc((size_t)count + 1, sizeof *table->rows);
    if (!table->rows) {
        free(table);
        return NULL;
    }
    table->count = count;
    return table;
}

static int add_row(int index, void *handle, const char *name, void *entry) {
    struct table *table = handle;
    struct row *row = &table->rows[index];

    snprintf(row->name, sizeof row->name, "%s", name);
    row->address = *(struct address *)entry;
    table->filled++;
    return 0;
}

/* While this runs, the record names the group that the membership belongs to. */
static int add_membership(int index, int property_index, void *handle, void *property) {
    char *groups = ((struct table *)handle)->rows[index].groups;
    size_t length = strlen(groups);

    (void)property_index;
    snprintf(groups + length, sizeof((struct row *)0)->groups - length, "%s%s (%s)", length ? ", " : "", exported->name,
             ((struct membership *)property)->schedule);
    return 0;
}

static void print_table(group_desc_t *group) {
    static const char line[] = "----------------------------------------------------------------";
    struct table *table;
    int i;

    exported = group;
    table = export_group(group);
    expect(table != NULL && table->filled == table->count, "export_group");
    printf("%-12s %-8s %-16s %s\n", "name", "kind", "address", "in group (when)");
    printf("%.12s %.8s %.16s %.40s\n", line, line, line, line);
    for (i = 0; i < table->count; i++) {
        const struct row *row = &table->rows[i];
        printf("%-12s %-8s %-16s %s\n", row->name, row->address.kind, row->address.address, row->groups);
    }
    discard_table(table);
}

/* -------------------------------------------------------------------------------------------------------- the page */

static group_desc_t describe(kvio_config_t *config, char *name) {
    group_desc_t group;

    memset(&group, 0, sizeof group);
    group.label = "Address group";
    group.config = config;
    group.scope = SCOPE;
    group.type = ENTRY_TYPE;
    group.property_type = MEMBERSHIP_TYPE;
    group.name = name;
    group.print_group = print_group;
    group.print_entry = print_address;
    group.alloc_entry = alloc_address;
    group.set_entry = set_address;
    group.entry_removed = tell_removed;
    group.get_entry = get_address;
    group.free_entry = free;
    group.print_property = print_membership;
    group.alloc_property = alloc_membership;
    group.set_property = set_membership;
    group.get_property = get_membership;
    group.free_property = free;
    group.export_begin = begin_table;
    group.export_entry = add_row;
    group.export_property = add_membership;
    group.export_discard = discard_table;
    return group;
}

/* Adds an address, which may be in other groups already. */
static void join(const group_desc_t *group, const char *name, const char *text, const char *schedule) {
    struct address address = {"host", ""};
    struct membership membership;

    snprintf(address.address, sizeof address.address, "%s", text);
    snprintf(membership.schedule, sizeof membership.schedule, "%s", schedule);
    expect(join_entry(group, name, &address, &membership) == 0, name);
}

static int exists(kvio_config_t *config, const char *name) {
    kvio_iterator_t *group = kvio_open_group(config, SCOPE, ENTRY_TYPE, name);
    int found = group != NULL;

    kvio_close_group(group);
    return found;
}

static void create_groups(const group_desc_t *page, group_desc_t *groups, int count) {
    int i;

    heading("Groups are created on a page that takes three");
    for (i = 0; i < count; i++) {
        expect(create_group(page, &groups[i]) == 0, "create_group");
        printf("  %-14s %s\n", groups[i].name, exists(groups[i].config, groups[i].name) ? "created" : "not created");
    }
}

static void change_till(const group_desc_t *shop) {
    struct address moved = {"host", "10.0.20.30"}, widened = {"subnet", "10.0.20.0/24"};
    struct membership later = {"until midnight"};

    heading("An entry and its schedule change; another kind of address is refused");
    expect(change_entry(shop, "till-1", &moved, &later) == 0, "change_entry");
    expect(change_entry(shop, "till-1", &widened, NULL) == 1, "refusing the change");
}

static void dispose(const group_desc_t *page, const group_desc_t *partners, const group_desc_t *office) {
    heading("A rule uses office, which cannot be disposed of then; partners can, with its entry");
    expect(use_group(office) == 0, "use_group");
    expect(dispose_group(page, office) == GROUP_REFERENCE, "refusing to dispose of a group in use");
    printf("  %s stays\n", office->name);
    expect(dispose_group(page, partners) == 0, "dispose_group");
}

int main(int argc, char **argv) {
    char page_name[64] = "page", names[4][64] = {"office", "shop", "partners", "one-too-many"};
    group_desc_t page, groups[4], *office = &groups[0], *shop = &groups[1], *partners = &groups[2];
    kvio_config_t *config;
    int i;

    if (argc != 2) {
        fprintf(stderr, "usage: address_groups CONFIGURATION\n");
        return 2;
    }
    setvbuf(stdout, NULL, _IOLBF, BUFSIZ); /* in order with the diagnostics, wherever both go */
    kvio_initialize();
    config = kvio_open_config(argv[1], 0);
    expect(config != NULL, "kvio_open_config");
    page = describe(config, page_name);
    page.max_groups = 3;
    for (i = 0; i < 4; i++) groups[i] = describe(config, names[i]);
    expect(kvio_close_group(kvio_create_group(config, SCOPE, ENTRY_TYPE, page_name)), "kvio_create_group");

    create_groups(&page, groups, 4);

    heading("Entries are joined, with a schedule in each group; a second time is refused");
    join(shop, "till-1", "10.0.20.1", "opening hours");
    join(shop, "backup", "10.0.20.9", "at night");
    join(office, "scanner", "10.0.10.9", "office hours");
    join(office, "backup", "10.0.20.9", "at weekends");
    join(partners, "forwarder", "198.51.100.7", "always");
    expect(join_entry(office, "scanner", NULL, NULL) == 1, "refusing the second join");

    heading("Partners holds office, office holds shop; shop must not hold partners");
    expect(join_group(office, shop) == 0 && join_group(partners, office) == 0, "join_group");
    expect(join_group(shop, partners) == 1, "refusing the loop");

    heading("The group office");
    expect(list_group(office) == 0, "list_group");
    heading("The group partners with all that is in it");
    print_table(partners);
    change_till(shop);
    print_table(shop);

    dispose(&page, partners, office);
    heading("What is left on the page");
    expect(list_group(&page) == 0, "list_group");
    expect(kvio_save_config(config) > 0, "kvio_save_config");
    kvio_close_config(config);
    return 0;
}
