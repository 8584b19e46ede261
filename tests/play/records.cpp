#include "tests/play/records.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>
#include <deque>
#include <set>
#include <sstream>

#include "tests/support/faults.h"

namespace {

struct Entry {
    char text[64];
};

bool running;  // an operation, not a callback in it
std::string told, failing;
int failing_use;
std::map<std::string, int> used;
std::set<void *> buffers;
std::deque<Entry> kept;  // entries of the caller, from no callback
group_desc_t *in_use;
std::string own_name;  // of the group in use

bool due(const char *function) {
    const int use = ++used[function];
    return failing == function && use == failing_use;
}

// A use of the store by the operation itself.
bool fails(const char *function) {
    faults::Pause pause;
    return running && due(function);
}

// While it lives the calls of the store are those of a callback: they do not count.
struct Quiet {
    const bool before = running;
    Quiet() { running = false; }
    ~Quiet() { running = before; }
};

// Tells of a callback and its arguments; true when it is to fail.
template <class... Arguments>
bool tell(const char *function, Arguments... arguments) {
    faults::Pause pause;
    std::ostringstream text;
    ((text << "," << arguments), ...);
    told += std::string(" ") + function + (sizeof...(arguments) ? "(" + text.str().substr(1) + ")" : "");
    return due(function);
}

const char *text_of(void *buffer) {
    const Entry *entry = static_cast<Entry *>(buffer);
    const bool is_own = !kept.empty() && entry == &kept.back();
    EXPECT_TRUE(is_own || buffers.count(buffer) == 1) << "not a buffer in use";
    return entry->text;
}

std::string name_of(kvio_node_t *entity) {
    faults::Pause pause;
    Quiet quiet;
    char name[256] = "no name";
    kvio_name2(entity, name, sizeof name);
    const bool has_moved = in_use && in_use->name && in_use->name != own_name;
    return name + (has_moved ? "@" + std::string(in_use->name) : "");
}

void *alloc(const char *function) {
    faults::Pause pause;
    return due(function) ? nullptr : *buffers.insert(new Entry{}).first;
}

void release(void *buffer) {
    faults::Pause pause;
    EXPECT_EQ(buffers.erase(buffer), 1u) << "not a buffer in use";
    delete static_cast<Entry *>(buffer);
}

int get(const char *function, kvio_node_t *entity, void *buffer) {
    Quiet quiet;
    text_of(buffer);
    if (tell(function, name_of(entity))) return -1;
    kvio_get2(entity, "v", static_cast<Entry *>(buffer)->text, sizeof(Entry::text));
    return 0;
}

int set(const char *function, kvio_node_t *entity, void *data, void *current) {
    Quiet quiet;
    const char *text = static_cast<Entry *>(data)->text;
    if (tell(function, name_of(entity) + (current ? std::string(":") + text_of(current) : "") + "=" + text)) return -1;
    return kvio_set(entity, "v", text) ? 0 : -1;
}

const list_desc_t whole_list = [] {
    list_desc_t list = {};
    list.label = "List";
    list.scope = "s";
    list.type = "t";
    list.max_entries = 100;
    list.begin = [] { return tell("begin") ? 1 : 7; };
    list.end = [] { return tell("end") ? 1 : 7; };
    list.print_entry = [](int position, void *b) -> int { return tell("print_entry", position, text_of(b)); };
    list.print_name = [](int position, const char *e, int count) -> int {
        return tell("print_name", position, e, count);
    };
    list.alloc_entry = [] { return alloc("alloc_entry"); };
    list.set_entry = [](kvio_node_t *e, void *data) { return set("set_entry", e, data, nullptr) < 0 ? -1 : 7; };
    list.get_entry = [](kvio_node_t *e, void *b) { return get("get_entry", e, b); };
    list.free_entry = release;
    return list;
}();

const group_desc_t whole_group = [] {
    group_desc_t group = {};
    group.label = "Group";
    group.scope = "s";
    group.type = "t";
    group.property_type = "p";
    group.begin = [] { tell("begin"); };
    group.end = [] { tell("end"); };
    group.print_group = [](const char *g) -> int { return tell("print_group", g); };
    group.print_entry = [](const char *e, void *b) -> int { return tell("print_entry", e, text_of(b)); };
    group.alloc_entry = [] { return alloc("alloc_entry"); };
    group.set_entry = [](kvio_node_t *entity, const char *e, void *data, void *current) {
        EXPECT_EQ(name_of(entity), e);
        return set("set_entry", entity, data, current);
    };
    group.entry_removed = [](const char *e, void *b) -> int { return tell("entry_removed", e, text_of(b)); };
    group.get_entry = [](kvio_node_t *e, void *b) { return get("get_entry", e, b); };
    group.free_entry = release;
    group.print_property = [](void *b) -> int { return tell("print_property", text_of(b)); };
    group.alloc_property = [] { return alloc("alloc_property"); };
    group.set_property = [](kvio_node_t *p, void *data, void *c) { return set("set_property", p, data, c); };
    group.property_removed = [](void *b) -> int { return tell("property_removed", text_of(b)); };
    group.get_property = [](kvio_node_t *p, void *b) { return get("get_property", p, b); };
    group.free_property = release;
    group.export_begin = [](int count) -> void * { return tell("export_begin", count) ? nullptr : &buffers; };
    group.export_entry = [](int index, void *handle, const char *e, void *b) -> int {
        EXPECT_EQ(handle, &buffers);
        return tell("export_entry", index, e, text_of(b));
    };
    group.export_property = [](int index, int property, void *handle, void *b) -> int {
        EXPECT_EQ(handle, &buffers);
        return tell("export_property", index, property, text_of(b), in_use->name);
    };
    group.export_discard = [](void *handle) { EXPECT_EQ(handle, &buffers), tell("export_discard"); };
    return group;
}();

// The fields in the order of the record; each has a slot as wide as a pointer.
constexpr char list_fields[] =
    "label config scope type name max_entries begin print_entry end print_name alloc_entry set_entry reserved "
    "get_entry "
    "free_entry";
constexpr char group_fields[] =
    "label config scope type property_type name max_groups begin print_group end print_entry alloc_entry set_entry "
    "entry_removed get_entry free_entry print_property alloc_property set_property property_removed get_property "
    "free_property export_begin export_entry export_property export_discard";

template <class Record>
Record *changed(Record record, kvio_config_t *config, const char *fields, const std::string &word) {
    static std::deque<Record> made;
    static std::deque<std::string> texts;
    size_t at = word.find_first_of("+-");
    texts.push_back(word.substr(0, at));
    texts.back().reserve(64);
    record.name = texts.back().data();
    record.config = config;
    for (size_t next; at < word.size(); at = next) {
        next = std::min(word.find_first_of("+-", at + 1), word.size());
        const std::string change = word.substr(at + 1, next - at - 1), name = change.substr(0, change.find('='));
        std::istringstream names(fields);
        size_t slot = 0;
        for (std::string field; names >> field && field != name;) ++slot;
        EXPECT_LT(slot * sizeof(void *), sizeof record) << "no field " << name;
        const int number = word[at] == '+' ? std::stoi(change.substr(name.size() + 1)) : 0;
        char *place = reinterpret_cast<char *>(&record) + slot * sizeof(void *);
        std::memset(place, 0, sizeof(void *));
        std::memcpy(place, &number, sizeof number);
    }
    return &made.emplace_back(record);
}

}  // namespace

list_desc_t *records::list(kvio_config_t *config, const std::string &word) {
    return changed(whole_list, config, list_fields, word);
}

group_desc_t *records::group(kvio_config_t *config, const std::string &word) {
    in_use = changed(whole_group, config, group_fields, word);
    own_name = in_use->name ? in_use->name : "";
    return in_use;
}

void *records::data(const char *text) {
    if (!text) return nullptr;
    kept.emplace_back();
    std::snprintf(kept.back().text, sizeof(Entry::text), "%s", text);
    return &kept.back();
}

void records::fail(const std::string &function, int nth) {
    failing = function;
    failing_use = nth;
}

void records::begin() {
    told.clear();
    used.clear();
    running = true;
}

std::string records::end() {
    running = false;
    failing.clear();
    in_use = nullptr;
    EXPECT_EQ(buffers.size(), 0u) << "buffers not given back";
    return told;
}

const std::map<std::string, int> &records::uses() { return used; }

// The program's definitions are found before the library's own, also by the library.
#define FAILING(type, function, parameters, arguments, failure)                                      \
    extern "C" type function parameters {                                                            \
        static const auto next = reinterpret_cast<decltype(&function)>(dlsym(RTLD_NEXT, #function)); \
        return fails(#function) ? failure : next arguments;                                          \
    }
#define IDENTITY (kvio_config_t * c, const char *s, const char *t, const char *n)

FAILING(kvio_iterator_t *, kvio_open_list, IDENTITY, (c, s, t, n), nullptr)
FAILING(kvio_iterator_t *, kvio_open_group, IDENTITY, (c, s, t, n), nullptr)
FAILING(kvio_iterator_t *, kvio_create_group, IDENTITY, (c, s, t, n), nullptr)
FAILING(int, kvio_dispose_group, IDENTITY, (c, s, t, n), 0)
FAILING(kvio_entities_t *, kvio_retrieve_all, (kvio_iterator_t * i), (i), nullptr)
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
