#include "tests/object_recorder.h"

#include <dlfcn.h>

#include <cstdlib>
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
class Callback {
public:
    Callback() { running = false; }
    ~Callback() { running = true; }

private:
    faults::Pause pause_;
};

struct Entry {
    char text[64];
};
std::set<void *> buffers;
Entry own;  // the caller's, from no callback
std::deque<std::string> exports;

// Records a callback with its arguments; true when it is to fail.
bool record(const char *function, const std::string &arguments = "") {
    calls += function;
    if (!arguments.empty()) calls += "(" + arguments + ")";
    calls += ' ';
    return due(function);
}

const char *text_of(void *buffer) {
    EXPECT_TRUE(buffer == &own || buffers.count(buffer) == 1) << "not a buffer in use";
    return static_cast<Entry *>(buffer)->text;
}

std::string name_of(kvio_node_t *entity) {
    char name[256] = "";
    EXPECT_EQ(kvio_name2(entity, name, sizeof name), 1);
    return name;
}

std::string number(int value) { return std::to_string(value); }

void *alloc(const char *function) {
    if (record(function)) return nullptr;
    void *buffer = new Entry{};
    buffers.insert(buffer);
    return buffer;
}

void release(const char *function, void *buffer) {
    record(function);
    EXPECT_EQ(buffers.erase(buffer), 1u) << "not a buffer in use";
    delete static_cast<Entry *>(buffer);
}

int get(const char *function, kvio_node_t *entity, void *buffer) {
    text_of(buffer);
    if (record(function, name_of(entity))) return -1;
    if (!kvio_get2(entity, "v", static_cast<Entry *>(buffer)->text, sizeof(Entry::text)))
        static_cast<Entry *>(buffer)->text[0] = '\0';
    return 0;
}

int set(const char *function, kvio_node_t *entity, void *data, void *current) {
    std::string change = name_of(entity) + (current ? std::string(":") + text_of(current) : "") + "=" +
                         static_cast<const char *>(data);
    if (record(function, change)) return -1;
    return kvio_set(entity, "v", static_cast<const char *>(data)) ? 0 : -1;
}

std::string handle_name(void *handle) {
    EXPECT_EQ(handle, &exports) << "not the export handle";
    return "handle";
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
    list.begin = [] {
        Callback callback;
        return record("begin") ? 1 : 7;
    };
    list.end = [] {
        Callback callback;
        return record("end") ? 1 : 7;
    };
    list.print_entry = [](int position, void *entry) {
        Callback callback;
        return record("print_entry", number(position) + "," + text_of(entry)) ? 1 : 0;
    };
    list.print_name = [](int position, const char *entry, int count) {
        Callback callback;
        return record("print_name", number(position) + "," + entry + "," + number(count)) ? 1 : 0;
    };
    list.alloc_entry = [] {
        Callback callback;
        return alloc("alloc_entry");
    };
    list.set_entry = [](kvio_node_t *entity, void *data) {
        Callback callback;
        return set("set_entry", entity, data, nullptr) < 0 ? -1 : 7;
    };
    list.get_entry = [](kvio_node_t *entity, void *entry) {
        Callback callback;
        return get("get_entry", entity, entry);
    };
    list.free_entry = [](void *entry) {
        Callback callback;
        release("free_entry", entry);
    };
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
    group.begin = [] {
        Callback callback;
        record("begin");
    };
    group.end = [] {
        Callback callback;
        record("end");
    };
    group.print_group = [](const char *nested) {
        Callback callback;
        return record("print_group", nested) ? 1 : 0;
    };
    group.print_entry = [](const char *entry, void *buffer) {
        Callback callback;
        return record("print_entry", std::string(entry) + "," + text_of(buffer)) ? 1 : 0;
    };
    group.alloc_entry = [] {
        Callback callback;
        return alloc("alloc_entry");
    };
    group.set_entry = [](kvio_node_t *entity, const char *entry, void *data, void *current) {
        Callback callback;
        EXPECT_EQ(name_of(entity), entry);
        return set("set_entry", entity, data, current);
    };
    group.entry_removed = [](const char *entry, void *buffer) {
        Callback callback;
        return record("entry_removed", std::string(entry) + "," + text_of(buffer)) ? 1 : 0;
    };
    group.get_entry = [](kvio_node_t *entity, void *entry) {
        Callback callback;
        return get("get_entry", entity, entry);
    };
    group.free_entry = [](void *entry) {
        Callback callback;
        release("free_entry", entry);
    };
    group.print_property = [](void *buffer) {
        Callback callback;
        return record("print_property", text_of(buffer)) ? 1 : 0;
    };
    group.alloc_property = [] {
        Callback callback;
        return alloc("alloc_property");
    };
    group.set_property = [](kvio_node_t *entity, void *data, void *current) {
        Callback callback;
        return set("set_property", entity, data, current);
    };
    group.property_removed = [](void *buffer) {
        Callback callback;
        return record("property_removed", text_of(buffer)) ? 1 : 0;
    };
    group.get_property = [](kvio_node_t *entity, void *buffer) {
        Callback callback;
        return get("get_property", entity, buffer);
    };
    group.free_property = [](void *buffer) {
        Callback callback;
        release("free_property", buffer);
    };
    group.export_begin = [](int count) -> void * {
        Callback callback;
        return record("export_begin", number(count)) ? nullptr : &exports;
    };
    group.export_entry = [](int index, void *handle, const char *entry, void *buffer) -> int {
        Callback callback;
        return record("export_entry", number(index) + "," + handle_name(handle) + "," + entry + "," + text_of(buffer));
    };
    group.export_property = [](int index, int property, void *handle, void *buffer) -> int {
        Callback callback;
        return record("export_property",
                      number(index) + "," + number(property) + "," + handle_name(handle) + "," + text_of(buffer));
    };
    group.export_discard = [](void *handle) {
        Callback callback;
        record("export_discard", handle_name(handle));
    };
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
