// Runs the benchmark that is named on the command line. Fails when it misses a goal.
#include <kavex/store.h>

#include <cstring>

#include "bench/measure.h"

int main(int argc, char **argv) {
    if (!std::getenv("KAVEX_PRIVATE_ROOT") || argc != 2) give_up("run me with scripts/bench");
    // The store's lines are part of what a call costs, but need not be seen.
    if (!std::freopen("/dev/null", "w", stderr)) give_up("no /dev/null");
    kvio_initialize();
    const struct {
        const char *name;
        void (*run)();
    } all[] = {
        {"documents", documents}, {"lookup", lookup}, {"retrieval", retrieval}, {"objects", objects}, {"users", users}};
    for (const auto &one : all)
        if (std::strcmp(argv[1], one.name) == 0) one.run();
    return goal_missed;
}
