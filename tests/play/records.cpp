#include "tests/play/records.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>
#include <deque>
#include <map>
#include <set>
#include <type_traits>

#include "tests/support/faults.h"

namespace {

struct Entry {
    char text[64];
};

bool running;  // an operation, and not a callback in it
int planned;   // calls until the one that fails
std::string told, what_failed;
std::map<std::string, int> used;
std::set<void *> buffers, data_given;  // of callbacks, and of the caller
group_desc_t *in_use;
std::string own_name;  // of the group in use

bool due(const std::string &function) {
    const int use = ++used[function];
    if (planned == 0 || --planned > 0) return false;
    what_failed = function + (use > 1 ? "#" + std::to_string(use) : "");
    return true;
}

// A use of the store by the operation itself.
bool fails(const char *function) {
    faults::Pause pause;
    return running && due(function);
}

// Arguments of callbacks as text.
std::string text(int number) { return std::to_string(number); }
std::string text(const char *name) { return name; }
std::string text(void *buffer) {
    if (!buffer) return "null";
    if (buffer == &buffers) return "handle";
    EXPECT_EQ(buffers.count(buffer) + data_given.count(buffer), 1u) << "not a buffer in use";
    return static_cast<Entry *>(buffer)->text;
}
std::string text(kvio_node_t *entity) {
    char name[256] = "no name";
    kvio_name2(entity, name, sizeof name);
    return name;
}

int get(kvio_node_t *entity, void *entry) {
    const int got = kvio_get2(entity, "v", static_cast<Entry *>(entry)->text, sizeof(Entry::text));
    return got || kvio_errno == KVIO_NOT_FOUND ? 0 : 1;
}
int set(kvio_node_t *entity, void *data) { return kvio_set(entity, "v", static_cast<Entry *>(data)->text) ? 0 : 1; }

void *allocated() {
    faults::Pause pause;
    return *buffers.insert(new Entry{}).first;
}
void release(void *buffer) {
    faults::Pause pause;
    EXPECT_EQ(buffers.erase(buffer), 1u) << "not a buffer in use";
    delete static_cast<Entry *>(buffer);
}

// A callback of any type, by its name. The buffers it makes and releases are not told of.
template <const char *Name>
struct Callback {
    template <class Result, class... Arguments>
    static Result run(Arguments... arguments) {
        const bool was_running = std::exchange(running, false);
        struct Restore {
            bool value;
            ~Restore() { running = value; }
        } restore{was_running};
        if constexpr (std::is_same_v<Result, void *> && sizeof...(arguments) == 0) {
            return is_due() ? nullptr : allocated();
        } else if constexpr (Name[0] == 'f') {
            return release(arguments...);
        } else {
            const bool failing = told_of(arguments...);
            if constexpr (std::is_same_v<Result, void *>) return failing ? nullptr : &buffers;
            if constexpr (std::is_same_v<Result, int>) return failing ? failure(arguments...) : done(arguments...);
        }
    }

private:
    static bool is_due() {
        faults::Pause pause;
        return due(Name);
    }
    template <class... Arguments>
    static bool told_of(Arguments... arguments) {
        faults::Pause pause;
        std::string list;
        ((list += "," + text(arguments)), ...);
        const bool has_moved = in_use && in_use->name && in_use->name != own_name;
        told += std::string(" ") + Name + (list.empty() ? "" : "(" + list.substr(1) + ")");
        if (has_moved) told += "@" + std::string(in_use->name);
        return due(Name);
    }
    // A list takes any number that is not negative for success of `set_entry`; elsewhere all but 0 is failure.
    template <class... Arguments>
    static int failure(Arguments...) {
        return std::is_same_v<std::tuple<Arguments...>, std::tuple<kvio_node_t *, void *>> && Name[0] == 's' ? -1 : 1;
    }
    static int done() { return 7; }
    template <class... Arguments>
    static int done(Arguments...) {
        return 0;
    }
    static int done(kvio_node_t *entity, void *entry) {
        return Name[0] == 's' ? (set(entity, entry) ? -1 : 7) : get(entity, entry);
    }
    static int done(kvio_node_t *entity, void *data, void *) { return set(entity, data); }
    static int done(kvio_node_t *entity, const char *, void *data, void *) { return set(entity, data); }
};

// The name in a word, with room for 63 bytes.
char *name_in(const std::string &word) {
    static std::deque<std::string> texts;
    texts.push_back(word.substr(0, word.find_first_of("+-")));
    texts.back().reserve(64);
    return texts.back().data();
}

int limit_in(const std::string &word, int usual) {
    const size_t at = word.find('+');
    return at == word.npos ? usual : std::stoi(word.substr(at + 1));
}

bool lacks(const std::string &word, const std::string &field) {
    return (word + "-").find("-" + field + "-") != word.npos;
}

}  // namespace

#define FIELD(field) \
    if (lacks(word, #field)) record.field = {};
#define CALLBACK(field)                        \
    {                                          \
        static constexpr char name[] = #field; \
        record.field = Callback<name>::run;    \
        FIELD(field)                           \
    }

list_desc_t *records::list(kvio_config_t *config, const std::string &word) {
    static std::deque<list_desc_t> made;
    list_desc_t &record = made.emplace_back();
    record.label = "List";
    record.config = config;
    record.scope = "s";
    record.type = "t";
    record.name = name_in(word);
    record.max_entries = limit_in(word, 100);
    // clang-format off
    FIELD(label) FIELD(config) FIELD(scope) FIELD(type) FIELD(name)
    CALLBACK(begin) CALLBACK(print_entry) CALLBACK(end) CALLBACK(print_name) CALLBACK(alloc_entry) CALLBACK(set_entry)
    CALLBACK(get_entry) CALLBACK(free_entry)
        // clang-format on
        return &record;
}

group_desc_t *records::group(kvio_config_t *config, const std::string &word) {
    static std::deque<group_desc_t> made;
    group_desc_t &record = made.emplace_back();
    record.label = "Group";
    record.config = config;
    record.scope = "s";
    record.type = "t";
    record.property_type = "p";
    record.name = name_in(word);
    record.max_groups = limit_in(word, 0);
    // clang-format off
    FIELD(label) FIELD(config) FIELD(scope) FIELD(type) FIELD(name) FIELD(property_type)
    CALLBACK(begin) CALLBACK(print_group) CALLBACK(end) CALLBACK(print_entry) CALLBACK(alloc_entry) CALLBACK(set_entry)
    CALLBACK(entry_removed) CALLBACK(get_entry) CALLBACK(free_entry) CALLBACK(print_property) CALLBACK(alloc_property)
    CALLBACK(set_property) CALLBACK(property_removed) CALLBACK(get_property) CALLBACK(free_property)
    CALLBACK(export_begin) CALLBACK(export_entry) CALLBACK(export_property) CALLBACK(export_discard)
        // clang-format on
        in_use = &record;
    own_name = record.name ? record.name : "";
    return &record;
}

void *records::data(const char *text) {
    static std::deque<Entry> kept;
    if (!text) return nullptr;
    std::snprintf(kept.emplace_back().text, sizeof(Entry::text), "%s", text);
    return *data_given.insert(&kept.back()).first;
}

void records::fail(int nth) { planned = nth; }

void records::begin() {
    told.clear();
    used.clear();
    what_failed.clear();
    running = true;
}

std::string records::end() {
    running = false;
    planned = 0;
    in_use = nullptr;
    EXPECT_EQ(buffers.size(), 0u) << "buffers not given back";
    return told;
}

const std::string &records::failed() { return what_failed; }

// The program's definitions are found before the library's own, also by the library.
#define FAILING(type, function, parameters, arguments, failure)                                      \
    extern "C" type function parameters {                                                            \
        static const auto next = reinterpret_cast<decltype(&function)>(dlsym(RTLD_NEXT, #function)); \
        return fails(&#function[5]) ? failure : next arguments;                                      \
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
