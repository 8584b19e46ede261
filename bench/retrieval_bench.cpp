// Sizes, loops, retrieval and appending against the plain walk: an XPath evaluation and a search of the scope for each
// nested container, a search of the scope for each member, a count of the members for each append.
//
//     scripts/appliance-root --ro BUILD -- BUILD/bench/retrieval_bench
//
// Both sides take turns within one run; `times_faster` is the ratio of their shortest times. A ratio below its `goal`
// fails the program, and so does a result that differs.
#include <benchmark/benchmark.h>
#include <kavex/store.h>
#include <libxml/tree.h>
#include <libxml/xpath.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <random>
#include <string>
#include <vector>

namespace {

[[noreturn]] void give_up(const char *why) {
    std::fprintf(stderr, "%s\n", why);
    std::exit(2);
}

// ---------------------------------------------------------------------------------------------------- documents

using Names = std::vector<std::string>;

Names numbered(int count) {
    Names names;
    for (int i = 0; i < count; ++i) names.push_back("address-" + std::to_string(i));
    return names;
}

Names shuffled(Names names) {
    std::shuffle(names.begin(), names.end(), std::mt19937(1));
    return names;
}

std::string entities(int count) {
    std::string text;
    for (const std::string &name : numbered(count))
        text += "<address_t name=\"" + name + "\"><ip>10.0.0.1</ip></address_t>\n";
    return text;
}

std::string container(const char *kind, const std::string &name, const Names &members, const Names &nested = {}) {
    std::string text = std::string("<") + kind + " name=\"" + name + "\" type=\"address_t\">";
    for (const std::string &member : nested) text += "<container>" + member + "</container>";
    for (const std::string &member : members) text += "<entity>" + member + "</entity>";
    return text + "</" + kind + ">\n";
}

// A thousand groups, ten in each, with ten entities each.
std::string thousand_groups() {
    const Names names = shuffled(numbered(10000));
    std::string text;
    for (int i = 0; i < 1000; ++i) {
        Names nested;
        for (int j = 10 * i + 1; j <= 10 * i + 10 && j < 1000; ++j) nested.push_back("group" + std::to_string(j));
        text += container("group", i ? "group" + std::to_string(i) : "top", Names(&names[10 * i], &names[10 * i] + 10),
                          nested);
    }
    return text;
}

// An open document with one container to work on.
class Document {
public:
    Document(const std::string &scope, const char *container_kind) : kind(container_kind) {
        const std::string text = "<kavex><system/><address>\n" + scope + "</address></kavex>";
        std::FILE *file = std::fopen("/etc/kavex/conf/bench.xml", "w");
        if (!file || std::fwrite(text.data(), 1, text.size(), file) != text.size() || std::fclose(file) != 0)
            give_up("run me with scripts/appliance-root");
        kvio_initialize();
        config = kvio_open_config("bench.xml", 0);
        bool is_list = !std::strcmp(kind, "list");
        top = (is_list ? kvio_open_list : kvio_open_group)(config, "address", "address_t", "top");
        kvio_entities_t *containers = kvio_list_entities(config, "address", kind);
        if (!top || !containers) give_up("no document");
        element = containers->items[0];
        kvio_free_entities(containers);
    }
    ~Document() {
        kvio_close_list(top);
        kvio_close_config(config);
    }
    Document(const Document &) = delete;
    Document &operator=(const Document &) = delete;

    const char *kind;
    kvio_config_t *config;
    kvio_iterator_t *top;
    xmlNode *element;
};

// ----------------------------------------------------------------------------------------------- the plain walk

bool is(const xmlNode *node, const char *name) {
    return node->type == XML_ELEMENT_NODE && std::strcmp(reinterpret_cast<const char *>(node->name), name) == 0;
}

// The text of a node or attribute, in place: nothing is made slower here than it has to be.
const char *text_of(const xmlNode *first) { return first ? reinterpret_cast<const char *>(first->content) : ""; }

const char *attribute(const xmlNode *node, const char *name) {
    for (const xmlAttr *at = node->properties; at; at = at->next)
        if (std::strcmp(reinterpret_cast<const char *>(at->name), name) == 0) return text_of(at->children);
    return nullptr;
}

bool has(const xmlNode *node, const char *name, const char *value) {
    const char *text = attribute(node, name);
    return text && std::strcmp(text, value) == 0;
}

class PlainWalk {
public:
    explicit PlainWalk(const Document &document) : kind_(document.kind), top_(document.element) {}

    int real_size() { return real_size(top_); }

    int check_loop() {
        int result = visit(top_);
        const std::string all = "/kavex/address/" + std::string(kind_) + "[@type=\"address_t\"]";
        select(all.c_str(), [](xmlNode *node) { node->_private = nullptr; });
        return result;
    }

    std::vector<xmlNode *> retrieve_all() {
        items_.clear();
        if (check_loop() != 0) return {};
        items_.reserve(static_cast<size_t>(real_size()));
        collect(top_);
        return items_;
    }

private:
    template <class Use>
    void select(const char *expression, Use use) {
        xmlXPathContext *context = xmlXPathNewContext(top_->doc);
        xmlXPathObject *result = xmlXPathEvalExpression(reinterpret_cast<const xmlChar *>(expression), context);
        if (result && result->nodesetval) std::for_each_n(result->nodesetval->nodeTab, result->nodesetval->nodeNr, use);
        xmlXPathFreeObject(result);
        xmlXPathFreeContext(context);
    }

    xmlNode *open(const char *name) {
        xmlNode *found = nullptr;
        select("/kavex/address", [&](xmlNode *scope) {
            for (xmlNode *child = scope->children; child && !found; child = child->next)
                if (is(child, kind_) && has(child, "name", name) && has(child, "type", "address_t")) found = child;
        });
        return found;
    }

    int real_size(const xmlNode *node) {
        int total = 0;
        for (const xmlNode *child = node->children; child; child = child->next) {
            if (is(child, "entity")) ++total;
            if (is(child, "container")) total += real_size(open(text_of(child->children)));
        }
        return total;
    }

    int visit(xmlNode *node) {
        if (node->_private) return 1;
        node->_private = this;
        for (const xmlNode *child = node->children; child; child = child->next)
            if (is(child, "container") && visit(open(text_of(child->children))) == 1) return 1;
        return 0;
    }

    void collect(const xmlNode *node) {
        for (const xmlNode *child = node->children; child; child = child->next) {
            if (is(child, "container")) collect(open(text_of(child->children)));
            if (is(child, "entity")) collect_entity(node->parent, text_of(child->children));
        }
    }

    void collect_entity(const xmlNode *scope, const char *name) {
        for (xmlNode *child = scope->children; child; child = child->next) {
            if (!is(child, "address_t") || !has(child, "name", name)) continue;
            if (std::find(items_.begin(), items_.end(), child) != items_.end()) continue;
            items_.push_back(child);
            return;
        }
    }

    const char *kind_;
    xmlNode *top_;
    std::vector<xmlNode *> items_;
};

void append_after_counting(xmlNode *container, const char *name) {
    int count = 0;
    for (const xmlNode *child = container->children; child; child = child->next) count += is(child, "entity");
    char fallback[16];
    std::snprintf(fallback, sizeof fallback, "#%d", count + 1);
    xmlNode *member = xmlNewNode(nullptr, reinterpret_cast<const xmlChar *>("entity"));
    xmlChar *escaped =
        xmlEncodeSpecialChars(container->doc, reinterpret_cast<const xmlChar *>(name && *name ? name : fallback));
    xmlNodeSetContent(member, escaped);
    xmlFree(escaped);
    xmlAddChild(container, member);
}

// ------------------------------------------------------------------------------------------------------- the race

bool missed;

// The processor's time, not the wall's: on a busy machine a side must not pay for its turn.
double now() {
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

template <class Work>
double measure(int times, Work work) {
    double start = now();
    for (int i = 0; i < times; ++i) work();
    return (now() - start) / times;
}

void report(benchmark::State &state, double goal, double plain, double store) {
    state.counters["plain_us"] = plain * 1e6;
    state.counters["store_us"] = store * 1e6;
    state.counters["times_faster"] = plain / store;
    state.counters["goal"] = goal;
    if (plain / store < goal) missed = true;
}

// Reports the store's time, and how many times faster it is than the plain side. Each turn of a side lasts ten
// milliseconds at least, so that neither the clock matters nor what the other side left in the caches.
template <class Plain, class Store>
void race(benchmark::State &state, double goal, Plain plain, Store store) {
    const int plain_times = 1 + static_cast<int>(10e-3 / measure(1, plain));
    const int store_times = 1 + static_cast<int>(10e-3 / measure(1, store));
    double plain_best = 1e9, store_best = 1e9;
    for (auto _ : state) {
        plain_best = std::min(plain_best, measure(plain_times, plain));
        double time = measure(store_times, store);
        store_best = std::min(store_best, time);
        state.SetIterationTime(time);
    }
    report(state, goal, plain_best, store_best);
}

void compare_retrieval(const Document &document) {
    std::vector<xmlNode *> plain = PlainWalk(document).retrieve_all();
    kvio_entities_t *array = kvio_retrieve_all(document.top);
    if (!array || plain.size() != static_cast<size_t>(array->count) || plain.empty() ||
        !std::equal(plain.begin(), plain.end(), array->items))
        give_up("the results differ");
    kvio_free_entities(array);
}

void race_retrieval(benchmark::State &state, const Document &document, double goal) {
    compare_retrieval(document);
    race(
        state, goal, [&] { benchmark::DoNotOptimize(PlainWalk(document).retrieve_all()); },
        [&] { kvio_free_entities(kvio_retrieve_all(document.top)); });
}

// A list as it grows when each entity is defined and appended, and the same names in any order: the plain walk does not
// care, while the store then looks its names up all over the memory.
void RetrieveAll(benchmark::State &state) {
    const int count = static_cast<int>(state.range(0));
    const Names names = numbered(count);
    Document document(entities(count) + container("list", "top", state.range(1) ? shuffled(names) : names), "list");
    const double in_order = count >= 10000 ? 1000 : count >= 1000 ? 100 : 1;
    race_retrieval(state, document, state.range(1) && count >= 10000 ? in_order / 2 : in_order);
    state.SetLabel(state.range(1) ? "in any order" : "in order");
}
BENCHMARK(RetrieveAll)
    ->ArgsProduct({{10, 100, 1000}, {0, 1}})
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond)
    ->Iterations(40);
BENCHMARK(RetrieveAll)->ArgsProduct({{10000}, {0, 1}})->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(7);

// A few members of a scope of 10,000 entities; the names stand at the beginning, in the middle, at the end, or apart.
void RetrieveFew(benchmark::State &state) {
    const int count = static_cast<int>(state.range(0)), place = static_cast<int>(state.range(1));
    const int first[] = {0, 5000, 9996, 0}, step = place == 3 ? 3333 : 1;
    Names members;
    for (int i = 0; i < count; ++i) members.push_back("address-" + std::to_string(first[place] + i * step));
    Document document(entities(10000) + container("list", "top", members), "list");
    race_retrieval(state, document, 1);
    const char *const places[] = {"beginning", "middle", "end", "apart"};
    state.SetLabel(places[place]);
}
BENCHMARK(RetrieveFew)
    ->ArgsProduct({{1, 2, 3, 4}, {0, 1, 2, 3}})
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond)
    ->Iterations(20);

void NestedRetrieveAll(benchmark::State &state) {
    Document document(entities(10000) + thousand_groups(), "group");
    race_retrieval(state, document, 100);
}
BENCHMARK(NestedRetrieveAll)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(7);

void NestedRealSize(benchmark::State &state) {
    Document document(entities(10000) + thousand_groups(), "group");
    PlainWalk plain(document);
    if (plain.real_size() != 10000 || kvio_real_size(document.top) != 10000) give_up("the results differ");
    race(
        state, 100, [&] { benchmark::DoNotOptimize(plain.real_size()); }, [&] { kvio_real_size(document.top); });
}
BENCHMARK(NestedRealSize)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(7);

void NestedCheckLoop(benchmark::State &state) {
    Document document(entities(10000) + thousand_groups(), "group");
    PlainWalk plain(document);
    if (plain.check_loop() != 0 || kvio_check_loop(document.top) != 0) give_up("the results differ");
    race(
        state, 100, [&] { benchmark::DoNotOptimize(plain.check_loop()); }, [&] { kvio_check_loop(document.top); });
}
BENCHMARK(NestedCheckLoop)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(7);

// From an empty list to one of so many members.
void Append(benchmark::State &state) {
    const int count = static_cast<int>(state.range(0));
    const Names names = numbered(count);
    Document document(container("list", "top", {}), "list");
    auto empty = [&] {
        xmlFreeNodeList(document.element->children);
        document.element->children = document.element->last = nullptr;
    };
    double plain_best = 1e9, store_best = 1e9;
    for (auto _ : state) {
        empty();
        plain_best = std::min(plain_best, measure(1, [&] {
                                  for (const std::string &name : names)
                                      append_after_counting(document.element, name.c_str());
                              }));
        for (int turn = 0; turn < 5; ++turn) {
            empty();
            double time = measure(1, [&] {
                for (const std::string &name : names) kvio_append(document.top, name.c_str());
            });
            store_best = std::min(store_best, time);
            state.SetIterationTime(time);
        }
    }
    if (kvio_size(document.top) != count) give_up("the results differ");
    report(state, count >= 10000 ? 150 : 15, plain_best, store_best);
}
BENCHMARK(Append)->Arg(1000)->Arg(10000)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(5);

// All positions of a list of 10,000, one call each, and the same names from one array.
void RegainIndex(benchmark::State &state) {
    Document document(entities(10000) + container("list", "top", numbered(10000)), "list");
    char name[64];
    race(
        state, 0,
        [&] {
            for (unsigned i = 1; i <= 10000; ++i) kvio_regain_index(document.top, i, name);
        },
        [&] {
            kvio_entities_t *array = kvio_retrieve_all(document.top);
            for (int i = 0; i < array->count; ++i) kvio_name(array->items[i], name);
            kvio_free_entities(array);
        });
    state.SetLabel("plain: a call for each position; store: one array");
}
BENCHMARK(RegainIndex)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(7);

}  // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    if (missed) std::fprintf(stderr, "a goal was missed\n");
    return missed;
}
