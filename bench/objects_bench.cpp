// What the group layer costs over its store calls: a group of 1,000 entries with properties, through two levels of
// nesting, exported and walked by hand.
//
//     scripts/appliance-root --ro BUILD -- BUILD/bench/objects_bench
//
// The counter `to_walk` of ExportGroup is its time in walks of the same run; more than 3 fails the program.
#include <benchmark/benchmark.h>
#include <kavex/objects.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr int entries = 1000;
constexpr double most_walks = 3.0;
double worst;

struct Entry {
    char address[64];
};
Entry buffer;
long seen;

// The group "site" holds `floors` groups, each of these `rooms` groups, and the entries are spread over the rooms.
kvio_config_t *build(int floors, int rooms) {
    std::string text = "<kavex><address>", containers;
    auto group = [](const std::string &name, const std::string &members) {
        return "<group name=\"" + name + "\" type=\"address_t\" reference=\"1\">" + members + "</group>";
    };
    std::string site;
    for (int f = 0; f < floors; ++f) {
        std::string floor = "floor" + std::to_string(f), members;
        site += "<container>" + floor + "</container>";
        for (int r = 0; r < rooms; ++r) {
            std::string room = floor + "-room" + std::to_string(r), desks;
            members += "<container>" + room + "</container>";
            for (int e = 0; e < entries / floors / rooms; ++e) {
                std::string desk = room + "-desk" + std::to_string(e);
                desks += "<entity>" + desk + "</entity>";
                text += "<address_t name=\"" + desk + "\" reference=\"1\"><ip>10.0.0.1</ip></address_t>";
                text += "<limit_t name=\"" + room + "_" + desk + "\"><rate>100</rate></limit_t>";
                containers += "<group name=\"" + desk + "_property\" type=\"limit_t\"><entity>" + room + "_" + desk +
                              "</entity></group>";
            }
            containers += group(room, desks);
        }
        containers += group(floor, members);
    }
    text += containers + group("site", site) + "</address></kavex>";
    std::FILE *file = std::fopen("/etc/kavex/conf/bench.xml", "w");
    if (!file || std::fwrite(text.data(), 1, text.size(), file) != text.size() || std::fclose(file) != 0) {
        std::fprintf(stderr, "run me with scripts/appliance-root\n");
        std::exit(2);
    }
    kvio_initialize();
    return kvio_restore_scope("/etc/kavex/conf/bench.xml");
}

bool walk(kvio_config_t *config) {
    kvio_iterator_t *site = kvio_open_group(config, "address", "address_t", "site");
    kvio_entities_t *members = kvio_retrieve_all(site);
    for (int i = 0; members && i < members->count; ++i) {
        char name[64], group[76];
        kvio_get2(members->items[i], "ip", buffer.address, sizeof buffer.address);
        kvio_name2(members->items[i], name, sizeof name);
        std::snprintf(group, sizeof group, "%s_property", name);
        kvio_iterator_t *opened = kvio_open_group(config, "address", "limit_t", group);
        kvio_entities_t *properties = kvio_retrieve_all(opened);
        for (int j = 0; properties && j < properties->count; ++j) {
            char property[136];
            kvio_name2(properties->items[j], property, sizeof property);
            kvio_get2(properties->items[j], "rate", buffer.address, sizeof buffer.address);
            ++seen;
        }
        kvio_free_entities(properties);
        kvio_close_group(opened);
    }
    kvio_free_entities(members);
    return kvio_close_group(site);
}

bool export_all(kvio_config_t *config) {
    static char name[] = "site";
    group_desc_t group = {};
    group.label = "Address group";
    group.config = config;
    group.scope = "address";
    group.type = "address_t";
    group.property_type = "limit_t";
    group.name = name;
    group.alloc_entry = group.alloc_property = []() -> void * { return &buffer; };
    group.free_entry = group.free_property = [](void *) {};
    group.get_entry = [](kvio_node_t *entity, void *entry) {
        return kvio_get2(entity, "ip", static_cast<Entry *>(entry)->address, sizeof(Entry::address)) ? 0 : 1;
    };
    group.get_property = [](kvio_node_t *entity, void *entry) {
        return kvio_get2(entity, "rate", static_cast<Entry *>(entry)->address, sizeof(Entry::address)) ? 0 : 1;
    };
    group.export_begin = [](int) -> void * { return &seen; };
    group.export_entry = [](int, void *, const char *, void *) { return 0; };
    group.export_property = [](int, int, void *, void *) { return ++seen, 0; };
    group.export_discard = [](void *) {};
    return export_group(&group);
}

// Runs one of the two and gives its seconds; ends the program when it does not meet all properties.
double timed(bool (*run)(kvio_config_t *), kvio_config_t *config) {
    seen = 0;
    auto begin = std::chrono::steady_clock::now();
    bool done = run(config);
    std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    if (done && seen == entries) return took.count();
    std::fprintf(stderr, "met %ld properties of %d\n", seen, entries);
    std::exit(2);
}

// Arguments: groups in the group, and groups in each of these.
void ExportGroup(benchmark::State &state) {
    kvio_config_t *config = build(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    double exporting = 0, walking = 0;
    for (auto _ : state) {
        walking += timed(walk, config);
        double took = timed(export_all, config);
        exporting += took;
        state.SetIterationTime(took);
    }
    state.counters["walk"] = benchmark::Counter(walking / static_cast<double>(state.iterations()));
    state.counters["to_walk"] = benchmark::Counter(exporting / walking);
    worst = std::max(worst, exporting / walking);
    kvio_close_config(config);
}
BENCHMARK(ExportGroup)->Args({1, 1})->Args({10, 10})->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    if (worst <= most_walks) return 0;
    std::fprintf(stderr, "an export took %.2f walks, more than %.0f\n", worst, most_walks);
    return 1;
}
