// What the group layer costs over its store calls: a group of 1,000 entries with properties, through two levels of
// nesting, exported and walked by hand.
#include <kavex/objects.h>

#include "bench/measure.h"

namespace {

char buffer[64];
long properties;

// The group "site" holds 100 groups in 10 others, each of them 10 entries.
kvio_config_t *build() {
    std::string text = "<kavex><address>", members[3];
    for (int i = 1; i <= 1000; ++i) {
        const std::string desk = "desk" + std::to_string(i), room = "room" + std::to_string((i - 1) / 10);
        text += "<address_t name=\"" + desk + "\" reference=\"1\"><value>10.0.0.1</value></address_t>\n";
        text += "<limit_t name=\"" + room + "_" + desk + "\"><value>100</value></limit_t>\n";
        text += group(desk + "_property", "limit_t", member(room + "_" + desk));
        members[0] += member(desk);
        if (i % 10 == 0) text += group(room, "address_t", std::exchange(members[0], ""));
        if (i % 10 == 0) members[1] += nested(room);
        if (i % 100 == 0) text += group("floor" + room, "address_t", std::exchange(members[1], ""));
        if (i % 100 == 0) members[2] += nested("floor" + room);
    }
    write_file("/etc/kavex/conf/bench.xml", text + group("site", "address_t", members[2]) + "</address></kavex>");
    return kvio_restore_scope("/etc/kavex/conf/bench.xml");
}

template <class Use>
void each_member(kvio_config_t *config, const char *type, const char *name, Use use) {
    kvio_iterator_t *opened = kvio_open_group(config, "address", type, name);
    kvio_entities_t *members = kvio_retrieve_all(opened);
    for (int i = 0; members && i < members->count; ++i) {
        char member_name[136];
        kvio_get2(members->items[i], "value", buffer, sizeof buffer);
        kvio_name2(members->items[i], member_name, sizeof member_name);
        use(member_name);
    }
    kvio_free_entities(members);
    kvio_close_group(opened);
}

void walk(kvio_config_t *config) {
    each_member(config, "address_t", "site", [=](const char *entry) {
        each_member(config, "limit_t", (std::string(entry) + "_property").c_str(), [](const char *) { ++properties; });
    });
}

void export_all(kvio_config_t *config) {
    static char name[] = "site";
    group_desc_t group = {};
    group.label = "Address group";
    group.config = config;
    group.scope = "address";
    group.type = "address_t";
    group.property_type = "limit_t";
    group.name = name;
    group.alloc_entry = group.alloc_property = []() -> void * { return buffer; };
    group.free_entry = group.free_property = [](void *) {};
    group.get_entry = group.get_property = [](kvio_node_t *entity, void *entry) {
        return kvio_get2(entity, "value", static_cast<char *>(entry), sizeof buffer) ? 0 : 1;
    };
    group.export_begin = [](int) -> void * { return buffer; };
    group.export_entry = [](int, void *, const char *, void *) { return 0; };
    group.export_property = [](int, int, void *, void *) { return ++properties > 0 ? 0 : 1; };
    group.export_discard = [](void *) {};
    export_group(&group);
}

}  // namespace

void objects() {
    kvio_config_t *config = build();
    race(
        "1000 entries with properties", 3, 25, 0, [=] { walk(config); }, [=] { export_all(config); });
    if (properties % 52000 != 0 || properties == 0) give_up("not all properties were met");
    kvio_close_config(config);
}
