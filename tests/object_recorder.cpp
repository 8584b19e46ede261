#include "tests/object_recorder.h"

#include <dlfcn.h>

#include <cstdarg>
#include <deque>
#include <ostream>
#include <regex>
#include <set>

namespace {

std::string calls;
std::map<std::string, int> used;
std::string failing;
int failing_use;
bool running;
int handles, arrays;
std::deque<std::string> names;  // of the records in use

bool due(const char *function) {
    int use = ++used[function];
    return failing == function && use == failing_use;
}

// A use of the store by the operation itself.
bool fails(const char *function) {
    if (!running) return false;
    faults::Pause pause;
    return due(function);
}

// ------------------------------------------------------------------------------------------------------- callbacks

// While it lives the test's own code runs, whose calls of the store and allocations do not count and do not fail.
class Quiet {
public:
    Quiet() { running = false; }
    ~Quiet() { running = true; }

private:
    faults::Pause pause_;
};

struct Entry {
    char text[64];
};
std::set<void *> buffers;
Entry own;  // the caller's, from no callback
int the_handle;

// Records a callback; true when it is to fail.
bool record(const char *function) {
    Quiet quiet;
    calls += std::string(function) + " ";
    return due(function);
}

[[gnu::format(printf, 2, 3)]] bool record(const char *function, const char *format, ...) {
    Quiet quiet;
    char arguments[512];
    va_list list;
    va_start(list, format);
    vsnprintf(arguments, sizeof arguments, format, list);
    va_end(list);
    calls += std::string(function) + "(" + arguments + ") ";
    return due(function);
}

// The last of the callbacks comes when everything is closed.
bool end() {
    EXPECT_EQ(handles, 0) << "a container is open still";
    return record("end");
}

const char *text_of(void *buffer) {
    EXPECT_TRUE(buffer == &own || buffers.count(buffer) == 1) << "not a buffer in use";
    return static_cast<Entry *>(buffer)->text;
}

const char *name_of(kvio_node_t *entity) {
    Quiet quiet;
    static char name[256];
    EXPECT_EQ(kvio_name2(entity, name, sizeof name), 1);
    return name;
}

const char *name_of(void *handle) { return handle == &the_handle ? "handle" : "another handle"; }

void *alloc(const char *function) {
    if (record(function)) return nullptr;
    Quiet quiet;
    return *buffers.insert(new Entry{}).first;
}

void release(const char *function, void *buffer) {
    record(function);
    EXPECT_EQ(buffers.erase(buffer), 1u) << "not a buffer in use";
    delete static_cast<Entry *>(buffer);
}

int get(const char *function, kvio_node_t *entity, void *buffer) {
    text_of(buffer);
    if (record(function, "%s", name_of(entity))) return -1;
    Quiet quiet;
    kvio_get2(entity, "v", static_cast<Entry *>(buffer)->text, sizeof(Entry::text));
    return 0;
}

int set(const char *function, kvio_node_t *entity, void *data, void *current) {
    const char *text = static_cast<const char *>(data);
    if (record(function, "%s%s%s=%s", name_of(entity), current ? ":" : "", current ? text_of(current) : "", text))
        return -1;
    Quiet quiet;
    return kvio_set(entity, "v", text) ? 0 : -1;
}

}  // namespace

list_desc_t Objects::list(const char *name) {
    list_desc_t list = {};
    list.label = "List";
    list.config = config;
    list.scope = "s";
    list.type = "t";
    list.name = name;
    list.max_entries = 100;
    list.begin = [] { return record("begin") ? 1 : 7; };
    list.end = [] { return end() ? 1 : 7; };
    list.print_entry = [](int p, void *b) -> int { return record("print_entry", "%d,%s", p, text_of(b)); };
    list.print_name = [](int p, const char *e, int c) -> int { return record("print_name", "%d,%s,%d", p, e, c); };
    list.alloc_entry = [] { return alloc("alloc_entry"); };
    list.set_entry = [](kvio_node_t *e, void *data) { return set("set_entry", e, data, nullptr) < 0 ? -1 : 7; };
    list.get_entry = [](kvio_node_t *e, void *b) { return get("get_entry", e, b); };
    list.free_entry = [](void *b) { release("free_entry", b); };
    return list;
}

group_desc_t Objects::group(const char *name) {
    group_desc_t group = {};
    names.emplace_back(name);
    names.back().reserve(64);
    group.label = "Group";
    group.config = config;
    group.scope = "s";
    group.type = "t";
    group.property_type = "p";
    group.name = names.back().data();
    group.begin = [] { record("begin"); };
    group.end = [] { end(); };
    group.print_group = [](const char *g) -> int { return record("print_group", "%s", g); };
    group.print_entry = [](const char *e, void *b) -> int { return record("print_entry", "%s,%s", e, text_of(b)); };
    group.alloc_entry = [] { return alloc("alloc_entry"); };
    group.set_entry = [](kvio_node_t *entity, const char *e, void *data, void *current) {
        EXPECT_STREQ(name_of(entity), e);
        return set("set_entry", entity, data, current);
    };
    group.entry_removed = [](const char *e, void *b) -> int { return record("entry_removed", "%s,%s", e, text_of(b)); };
    group.get_entry = [](kvio_node_t *e, void *b) { return get("get_entry", e, b); };
    group.free_entry = [](void *b) { release("free_entry", b); };
    group.print_property = [](void *b) -> int { return record("print_property", "%s", text_of(b)); };
    group.alloc_property = [] { return alloc("alloc_property"); };
    group.set_property = [](kvio_node_t *p, void *data, void *current) {
        return set("set_property", p, data, current);
    };
    group.property_removed = [](void *b) -> int { return record("property_removed", "%s", text_of(b)); };
    group.get_property = [](kvio_node_t *p, void *b) { return get("get_property", p, b); };
    group.free_property = [](void *b) { release("free_property", b); };
    group.export_begin = [](int n) -> void * { return record("export_begin", "%d", n) ? nullptr : &the_handle; };
    group.export_entry = [](int i, void *handle, const char *e, void *b) -> int {
        return record("export_entry", "%d,%s,%s,%s", i, name_of(handle), e, text_of(b));
    };
    group.export_property = [](int i, int p, void *handle, void *b) -> int {
        return record("export_property", "%d,%d,%s,%s", i, p, name_of(handle), text_of(b));
    };
    group.export_discard = [](void *handle) { record("export_discard", "%s", name_of(handle)); };
    return group;
}

void *Objects::own_entry() { return &own; }

void Objects::without_callbacks(group_desc_t *group) {
    group_desc_t bare = {};
    bare.label = group->label;
    bare.config = group->config;
    bare.scope = group->scope;
    bare.type = group->type;
    bare.name = group->name;
    bare.max_groups = group->max_groups;
    *group = bare;
}

void Objects::without_properties(group_desc_t *group) {
    group->property_type = nullptr;
    group->print_property = nullptr;
    group->property_removed = nullptr;
    group->export_property = nullptr;
}

// -------------------------------------------------------------------------------------------------------- the store

// The program's definitions are found before the library's own, also by the library.
#define NEXT(function) static const auto next = reinterpret_cast<decltype(&function)>(dlsym(RTLD_NEXT, #function))

#define FAILING(type, function, parameters, arguments, failure) \
    extern "C" type function parameters {                       \
        NEXT(function);                                         \
        if (fails(#function)) return failure;                   \
        return next arguments;                                  \
    }

#define MAKING(type, function, parameters, arguments, counter) \
    extern "C" type function parameters {                      \
        NEXT(function);                                        \
        if (fails(#function)) return nullptr;                  \
        type made = next arguments;                            \
        counter += made ? 1 : 0;                               \
        return made;                                           \
    }

#define IDENTITY (kvio_config_t * c, const char *s, const char *t, const char *n)

MAKING(kvio_iterator_t *, kvio_open_list, IDENTITY, (c, s, t, n), handles)
MAKING(kvio_iterator_t *, kvio_open_group, IDENTITY, (c, s, t, n), handles)
MAKING(kvio_iterator_t *, kvio_create_group, IDENTITY, (c, s, t, n), handles)
MAKING(kvio_entities_t *, kvio_retrieve_all, (kvio_iterator_t * i), (i), arrays)
FAILING(int, kvio_dispose_group, IDENTITY, (c, s, t, n), 0)
FAILING(int, kvio_define, IDENTITY, (c, s, t, n), 0)
FAILING(kvio_node_t *, kvio_define2, IDENTITY, (c, s, t, n), nullptr)
FAILING(int, kvio_undefine, IDENTITY, (c, s, t, n), 0)
FAILING(kvio_node_t *, kvio_retrieve_entity, IDENTITY, (c, s, t, n), nullptr)
FAILING(int, kvio_size, (kvio_iterator_t * i), (i), -1)
FAILING(int, kvio_append, (kvio_iterator_t * i, const char *n), (i, n), 0)
FAILING(int, kvio_join, (kvio_iterator_t * i, const char *n, int e), (i, n, e), 0)
FAILING(int, kvio_remove, (kvio_iterator_t * i, const char *n), (i, n), 0)
FAILING(int, kvio_check_loop, (kvio_iterator_t * i), (i), -1)
FAILING(int, kvio_regain_index2, (kvio_iterator_t * i, unsigned p, char *b, unsigned s), (i, p, b, s), -1)
FAILING(int, kvio_name2, (kvio_node_t * e, char *b, unsigned s), (e, b, s), 0)
FAILING(int, kvio_getattr_entity2, (kvio_node_t * e, const char *a, char *b, unsigned s), (e, a, b, s), 0)
FAILING(int, kvio_setattr_entity, (kvio_node_t * e, const char *a, const char *v), (e, a, v), 0)
FAILING(int, kvio_getattr_container2, (kvio_iterator_t * i, const char *a, char *b, unsigned s), (i, a, b, s), 0)
FAILING(int, kvio_setattr_container, (kvio_iterator_t * i, const char *a, const char *v), (i, a, v), 0)

extern "C" int kvio_close_list(kvio_iterator_t *iterator) {
    NEXT(kvio_close_list);
    handles -= iterator ? 1 : 0;
    return next(iterator);
}

extern "C" int kvio_close_group(kvio_iterator_t *iterator) {
    NEXT(kvio_close_group);
    handles -= iterator ? 1 : 0;
    int result = next(iterator);
    return fails("kvio_close_group") ? 0 : result;
}

extern "C" void kvio_free_entities(kvio_entities_t *entities) {
    NEXT(kvio_free_entities);
    arrays -= entities ? 1 : 0;
    next(entities);
}

// -------------------------------------------------------------------------------------------------------- the fixture

bool operator==(const Seen &a, const Seen &b) {
    return a.result == b.result && a.log == b.log && a.calls == b.calls && a.scope == b.scope;
}

void PrintTo(const Seen &seen, std::ostream *out) {
    *out << seen.result << "\nlog:   " << seen.log << "\ncalls: " << seen.calls << "\nscope: " << seen.scope << "\n";
}

void Objects::SetUp() {
    ApplianceTest::SetUp();
    call(kvio_initialize);
    failing.clear();
}

void Objects::TearDown() {
    unload();
    names.clear();
    ApplianceTest::TearDown();
}

void Objects::unload() {
    if (config) call([&] { return kvio_close_config(config); });
    config = nullptr;
}

void Objects::load(const std::string &scope) {
    unload();
    write_config("a.xml", "<kavex><s>" + scope + "</s></kavex>");
    call([&] { return config = kvio_open_config("a.xml", 0); });
    ASSERT_TRUE(config);
}

std::string Objects::scope() const {
    call([&] { return kvio_dump(config, "/tmp/scope.xml"); });
    std::string text = std::regex_replace(read_file("/tmp/scope.xml"), std::regex(">\\s+<"), "><");
    size_t begin = text.find("<s>"), end = text.rfind("</s>");
    return begin < end && end != std::string::npos ? text.substr(begin + 3, end - begin - 3) : "";
}

Seen Objects::run(const std::function<long()> &operation) {
    calls.clear();
    used.clear();
    running = true;
    Outcome outcome = call(operation);
    running = false;
    failing.clear();
    err.clear();
    std::smatch match;
    for (std::string rest = outcome.err; std::regex_search(rest, match, std::regex("(^|\n)(%[^\n]*\n)"));
         rest = "\n" + match.suffix().str())
        err += match[2];
    if (err.empty()) err = outcome.err;
    EXPECT_EQ(handles, 0) << "container handles left open";
    EXPECT_EQ(arrays, 0) << "entity arrays not freed";
    EXPECT_EQ(buffers.size(), 0u) << "buffers not given back";
    return {outcome.result, outcome.log, calls, scope()};
}

void Objects::fail(const std::string &function, int nth) {
    failing = function;
    failing_use = nth;
}

std::map<std::string, int> Objects::uses() const { return used; }
