// What opening, saving and closing a configuration cost over the raw calls of the XML library: the lock, the copy in
// memory that makes the save safe, and the sync.
//
//     scripts/bench documents
//
// `ratio` is the store's median of processor time in raw ones, `ratio_wall` the same of best times on the clock; a ratio
// above the goal fails the program.
// With KAVEX_BENCH_DISK, a directory on a disk, the price of the sync is shown beside it.
#include <benchmark/benchmark.h>
#include <kavex/store.h>
#include <libxml/parser.h>
#include <malloc.h>
#include <sys/wait.h>

#include <fstream>
#include <map>

#include "bench/measure.h"

namespace {

const char *const path = "/etc/kavex/conf/bench.xml";
std::map<long, double> ratios;

void raw(const char *file) {
    xmlDoc *document = xmlParseFile(file);
    if (!document || xmlSaveFormatFile(file, document, 1) < 0) give_up("the raw calls failed");
    xmlFreeDoc(document);
}

void store() {
    kvio_config_t *config = kvio_open_config("bench.xml", 0);
    if (!config || kvio_save_config(config) < 0) give_up("the store failed");
    kvio_close_config(config);
}

void store_at(const char *file) {
    kvio_config_t *config = kvio_restore_scope(file);
    if (!config || kvio_save_config(config) < 0) give_up("the store failed");
    kvio_close_config(config);
}

long status(const char *field) {
    std::ifstream in("/proc/self/status");
    for (std::string word; in >> word;)
        if (word == field) return in >> word, std::atol(word.c_str());
    give_up("no /proc/self/status");
}

// KiB that a fresh process needs for it at most.
double peak_memory(const std::function<void()> &way) {
    int ends[2];
    if (pipe(ends) != 0) give_up("no pipe");
    if (fork() == 0) {
        malloc_trim(0);
        std::ofstream("/proc/self/clear_refs") << "5";
        const long before = status("VmRSS:");
        way();
        const long needed = status("VmHWM:") - before;
        _exit(write(ends[1], &needed, sizeof needed) != sizeof needed);
    }
    long needed = 0;
    if (read(ends[0], &needed, sizeof needed) != sizeof needed) give_up("no answer");
    close(ends[0]), close(ends[1]);
    wait(nullptr);
    return static_cast<double>(needed);
}

// Argument: entities.
void OpenSaveClose(benchmark::State &state) {
    write_configuration(path, state.range(0));
    raw(path);
    state.counters["peak_KiB"] = peak_memory(store);
    state.counters["raw_peak_KiB"] = peak_memory([] { raw(path); });
    Series theirs, ours;
    bool first = false;
    for (auto _ : state) {  // each is first in turn, and finds the heap without the holes that the other left
        first = !first;
        for (bool own : {first, !first}) {
            malloc_trim(0);
            if (own)
                state.SetIterationTime(ours.time(store));
            else
                theirs.time([] { raw(path); });
        }
    }
    const double ratio = ratios[state.range(0)] = ours.cpu() / theirs.cpu();
    state.counters["raw_us"] = theirs.cpu() * 1e6;
    state.counters["store_us"] = ours.cpu() * 1e6;
    state.counters["ratio"] = ratio;
    state.counters["ratio_wall"] = ours.best() / theirs.best();
}
BENCHMARK(OpenSaveClose)->Arg(100)->Iterations(1500)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(OpenSaveClose)->Arg(1000)->Iterations(300)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(OpenSaveClose)->Arg(10000)->Iterations(60)->UseManualTime()->Unit(benchmark::kMicrosecond);

void OnDisk(benchmark::State &state) {
    const std::string file = std::string(std::getenv("KAVEX_BENCH_DISK")) + "/bench.xml";
    write_configuration(file, state.range(0));
    Series theirs, ours;
    for (auto _ : state) {
        theirs.time([&] { raw(file.c_str()); });
        state.SetIterationTime(ours.time([&] { store_at(file.c_str()); }));
    }
    state.counters["raw_us"] = theirs.wall() * 1e6;
    state.counters["synced_us"] = ours.wall() * 1e6;
    unlink(file.c_str());
}

}  // namespace

int main(int argc, char **argv) {
    if (std::getenv("KAVEX_BENCH_DISK"))
        benchmark::RegisterBenchmark("OnDisk", OnDisk)
            ->Arg(100)
            ->Arg(1000)
            ->Arg(10000)
            ->Iterations(15)
            ->UseManualTime()
            ->Unit(benchmark::kMicrosecond);
    kvio_initialize();
    hide_messages();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    int missed = 0;
    for (const auto &[entities, ratio] : ratios) {
        const double goal = entities < 1000 ? 1.15 : 1.06;
        if (ratio > goal)
            missed = std::printf("%ld entities: %.3f times the raw calls, more than %.2f\n", entities, ratio, goal);
    }
    return missed ? 1 : 0;
}
