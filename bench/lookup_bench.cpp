// kvio_retrieve_entity() against the plain evaluation of the expression it stands for, and against the best walks that
// one would write by hand.
//
//     scripts/bench lookup
//
// `faster` is how many of the store's look-ups fit in one evaluation, `to_walk` its time in that of the better walk. All
// of them are best times of one run; below or above the goals fails the program.
#include <benchmark/benchmark.h>
#include <kavex/store.h>
#include <libxml/parser.h>
#include <libxml/xpath.h>

#include <cstring>
#include <map>

#include "bench/measure.h"

namespace {

const char *const path = "/tmp/bench.xml";

struct Worst {
    double faster = 1e9, to_walk = 0;
};
std::map<long, Worst> worst;

bool named(const xmlNode *node, const char *name) {
    const char *text = reinterpret_cast<const char *>(node->name);
    return node->type == XML_ELEMENT_NODE && text[0] == name[0] && std::strcmp(text, name) == 0;
}

xmlNode *child(xmlNode *parent, const char *name) {
    for (xmlNode *node = parent->children; node; node = node->next)
        if (named(node, name)) return node;
    return nullptr;
}

bool matches(const xmlNode *node, const char *name) {
    if (!named(node, "address_t")) return false;
    for (const xmlAttr *at = node->properties; at; at = at->next)
        if (std::strcmp(reinterpret_cast<const char *>(at->name), "name") == 0)
            return at->children && std::strcmp(reinterpret_cast<const char *>(at->children->content), name) == 0;
    return false;
}

xmlNode *scope(xmlDoc *document) { return child(child(xmlDocGetRootElement(document), "object"), "address"); }

xmlNode *walk_forward(xmlDoc *document, const char *name) {
    xmlNode *found = nullptr;
    int count = 0;
    for (xmlNode *node = scope(document)->children; node; node = node->next)
        if (matches(node, name)) found = node, ++count;
    return count == 1 ? found : nullptr;
}

xmlNode *walk_from_both_ends(xmlDoc *document, const char *name) {
    xmlNode *parent = scope(document), *found = nullptr;
    int count = 0;
    for (xmlNode *front = parent->children, *back = parent->last; front;) {
        if (matches(front, name)) found = front, ++count;
        if (front == back) break;
        if (matches(back, name)) found = back, ++count;
        front = front->next;
        if (front == back) break;
        back = back->prev;
    }
    return count == 1 ? found : nullptr;
}

xmlNode *evaluation(xmlDoc *document, const char *name) {
    char expression[256];
    std::snprintf(expression, sizeof expression, "/kavex/object/address/address_t[@name=\"%s\"]", name);
    xmlXPathContext *context = xmlXPathNewContext(document);
    xmlXPathObject *result = xmlXPathEvalExpression(reinterpret_cast<const xmlChar *>(expression), context);
    xmlNode *found =
        result && result->nodesetval && result->nodesetval->nodeNr == 1 ? result->nodesetval->nodeTab[0] : nullptr;
    xmlXPathFreeObject(result);
    xmlXPathFreeContext(context);
    return found;
}

// Arguments: entities, and the place of the one looked for in quarters; 5 is absent.
void Lookup(benchmark::State &state) {
    const long entities = state.range(0), last = entities - 1;
    const std::string name = state.range(1) == 5 ? "host-x" : "host-" + std::to_string(last * state.range(1) / 4);
    write_configuration(path, entities);
    kvio_config_t *config = kvio_restore_scope(path);
    xmlDoc *document = kvio_retrieve_entity(config, "object/address", "address_t", "host-0")->doc;
    xmlNode *expected = evaluation(document, name.c_str());
    const long lookups = 2000 / entities + 3;  // each way finds the caches as it left them itself
    auto repeat = [&](auto way) {
        return [&, way] {
            for (long i = 0; i < lookups; ++i)
                if (way() != expected) give_up("a wrong answer");
        };
    };
    const auto ours = repeat([&] { return kvio_retrieve_entity(config, "object/address", "address_t", name.c_str()); });
    const auto forward = repeat([&] { return walk_forward(document, name.c_str()); });
    const auto both = repeat([&] { return walk_from_both_ends(document, name.c_str()); });
    const auto evaluated = [&] {
        if (evaluation(document, name.c_str()) != expected) give_up("a wrong answer");
    };
    Series store_time, forward_time, both_time, evaluation_time;
    for (auto _ : state) {
        forward_time.time(forward);
        state.SetIterationTime(store_time.time(ours) / static_cast<double>(lookups));
        both_time.time(both);
        evaluation_time.time(evaluated);
    }
    const double in_ns = 1e9 / static_cast<double>(lookups);
    const double walk = std::min(forward_time.best(), both_time.best());
    const double faster = evaluation_time.best() * static_cast<double>(lookups) / store_time.best();
    state.counters["store_ns"] = store_time.best() * in_ns;
    state.counters["forward_ns"] = forward_time.best() * in_ns;
    state.counters["both_ends_ns"] = both_time.best() * in_ns;
    state.counters["faster"] = faster;
    state.counters["to_walk"] = store_time.best() / walk;
    Worst &so_far = worst[entities];
    so_far = {std::min(so_far.faster, faster), std::max(so_far.to_walk, store_time.best() / walk)};
    kvio_close_config(config);
}
BENCHMARK(Lookup)
    ->ArgNames({"entities", "place"})
    ->ArgsProduct({{100, 1000, 10000}, {0, 2, 4, 5}})
    ->Iterations(500)
    ->UseManualTime()
    ->Unit(benchmark::kNanosecond);

}  // namespace

int main(int argc, char **argv) {
    kvio_initialize();
    hide_messages();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    const std::map<long, double> goals = {{100, 20}, {1000, 17}, {10000, 8}};
    int missed = 0;
    for (const auto &[entities, figures] : worst) {
        if (figures.faster >= goals.at(entities) && figures.to_walk <= 1.15) continue;
        missed = std::printf("%ld entities: %.1f times faster than the evaluation, %.2f of the best walk\n", entities,
                             figures.faster, figures.to_walk);
    }
    return missed ? 1 : 0;
}
