// The records of lists and groups, with callbacks that tell what they are called with, and faults in these callbacks
// and in the calls of the store that the object layer makes. It is included once, as it defines functions of the store.
#ifndef KAVEX_TESTS_PLAY_RECORDS_H
#define KAVEX_TESTS_PLAY_RECORDS_H

#include <dlfcn.h>
#include <kavex/objects.h>

#include <cstring>
#include <deque>
#include <set>
#include <string>
#include <type_traits>

#include "tests/support/appliance.h"

namespace records {

constexpr size_t entry_size = 64;

inline bool running;        // an operation, and not a callback in it
inline int planned;         // the callback or call of the store that is to fail: the nth from now on, 0 for none,
inline std::string wanted;  // of this name or, where this is empty, of all
inline std::string failed;  // the name of the one that has failed
inline std::string told;    // what the callbacks were called with
inline std::set<void *> buffers;
inline const group_desc_t *in_use;
inline std::string own_name;  // of the group in use

inline bool fails(const char *function) {
    if (planned == 0 || (!wanted.empty() && function != wanted) || --planned > 0) return false;
    faults::Pause pause;
    failed = function;
    return true;
}

// Arguments of callbacks as text. The set of the buffers stands for the handle of an export.
inline std::string text(int number) { return std::to_string(number); }
inline std::string text(const char *name) { return name; }
inline std::string text(void *buffer) {
    return !buffer ? "null" : buffer == &buffers ? "handle" : static_cast<const char *>(buffer);
}
inline std::string text(kvio_node_t *entity) {
    char name[256] = "no name";
    kvio_name2(entity, name, sizeof name);
    return name;
}

template <class... Arguments>
bool tell(const char *name, Arguments... arguments) {
    faults::Pause pause;
    std::string list;
    ((list += "," + text(arguments)), ...);
    told += std::string(" ") + name + (list.empty() ? "" : "(" + list.substr(1) + ")");
    if (in_use && in_use->name && in_use->name != own_name) told += "@" + std::string(in_use->name);
    return fails(name);
}

inline void *allocated(const char *callback) {
    faults::Pause pause;
    return fails(callback) ? nullptr : *buffers.insert(new char[entry_size]()).first;
}
inline void release(void *buffer) {
    faults::Pause pause;
    EXPECT_EQ(buffers.erase(buffer), 1u) << "not a buffer in use";
    delete[] static_cast<char *>(buffer);
}

// What callbacks do, by their arguments: they keep an entry in the field "v". 0 is success.
template <class... Arguments>
int effect(bool, Arguments...) {
    return 0;
}
inline int set(kvio_node_t *entity, void *data) { return kvio_set(entity, "v", static_cast<char *>(data)) ? 0 : 1; }
inline int effect(bool, kvio_node_t *entity, void *data, void *) { return set(entity, data); }
inline int effect(bool, kvio_node_t *entity, const char *, void *data, void *) { return set(entity, data); }
inline int effect(bool sets, kvio_node_t *entity, void *entry) {
    if (sets) return set(entity, entry);
    return kvio_get2(entity, "v", static_cast<char *>(entry), entry_size) || kvio_errno == KVIO_NOT_FOUND ? 0 : 1;
}

// A callback of any type, by its name. The buffers that it makes and releases are not told of.
template <const char *Name, class Result, class... Arguments>
Result callback(Arguments... arguments) {
    struct Restore {
        ~Restore() { running = value; }
        const bool value = std::exchange(running, false);
    } restore;
    if constexpr (Name[0] == 'a') {
        return allocated(Name);
    } else if constexpr (Name[0] == 'f') {
        return release(arguments...);
    } else {
        const bool failing = tell(Name, arguments...);
        if constexpr (std::is_same_v<Result, void *>) return failing ? nullptr : &buffers;
        if constexpr (std::is_same_v<Result, int>) {
            const int result = failing ? 1 : effect(Name[0] == 's', arguments...);
            // A list takes any number that is not negative for success of `set_entry`; elsewhere all but 0 is failure.
            return Name[0] == 's' && sizeof...(arguments) == 2 ? (result ? -1 : 7) : result;
        }
    }
}

#define FIELD(field) \
    if ((word + "-").find("-" #field "-") != word.npos) record.field = {};
#define CALLBACK(field)                               \
    static constexpr char name_of_##field[] = #field; \
    record.field = callback<name_of_##field>;         \
    FIELD(field)

// A record with what lists and groups have in common. Its name has room for 63 bytes.
template <class Record>
Record &record_of(const char *label, kvio_config_t *config, const std::string &word) {
    static std::deque<Record> made;
    static std::deque<std::string> names;
    Record &record = made.emplace_back();
    names.push_back(word.substr(0, word.find_first_of("+-")));
    names.back().reserve(64);
    record.label = label;
    record.config = config;
    record.scope = "s";
    record.type = "t";
    record.name = names.back().data();
    // clang-format off
    FIELD(label) FIELD(config) FIELD(scope) FIELD(type) FIELD(name)
    CALLBACK(begin) CALLBACK(print_entry) CALLBACK(end)
    CALLBACK(alloc_entry) CALLBACK(set_entry) CALLBACK(get_entry) CALLBACK(free_entry)
        // clang-format on
        return record;
}

inline int limit_in(const std::string &word, int usual) {
    return word.find('+') == word.npos ? usual : std::stoi(word.substr(word.find('+') + 1));
}

// A record by its name and what is changed in it: "g-begin-end" has two fields less, "all+3" takes three members at
// most. It lives as long as the program, and so does the data of an entry.
inline const list_desc_t *list(kvio_config_t *config, const std::string &word) {
    auto &record = record_of<list_desc_t>("List", config, word);
    record.max_entries = limit_in(word, 100);
    CALLBACK(print_name)
    return &record;
}

inline group_desc_t *group(kvio_config_t *config, const std::string &word) {
    auto &record = record_of<group_desc_t>("Group", config, word);
    record.max_groups = limit_in(word, 0);
    record.property_type = "p";
    // clang-format off
    FIELD(property_type)
    CALLBACK(print_group) CALLBACK(entry_removed) CALLBACK(print_property) CALLBACK(alloc_property)
    CALLBACK(set_property) CALLBACK(property_removed) CALLBACK(get_property) CALLBACK(free_property)
    CALLBACK(export_begin) CALLBACK(export_entry) CALLBACK(export_property) CALLBACK(export_discard)
        // clang-format on
        in_use = &record;
    own_name = record.name ? record.name : "";
    return &record;
}

inline void *data(const char *text) {
    static std::deque<char[entry_size]> kept;
    return text ? std::strncpy(kept.emplace_back(), text, entry_size - 1) : nullptr;
}

// Around an operation.
inline void begin() {
    told.clear();
    failed.clear();
    running = true;
}
inline void end() {
    running = false;
    planned = 0;
    wanted.clear();
    in_use = nullptr;
    EXPECT_EQ(buffers.size(), 0u) << "buffers not given back";
}

}  // namespace records

// The program's definitions are found before the library's own, also by the library.
#define FAILING(type, function, parameters, arguments, failure)                                      \
    extern "C" type function parameters {                                                            \
        static const auto next = reinterpret_cast<decltype(&function)>(dlsym(RTLD_NEXT, #function)); \
        return records::running && records::fails(&#function[5]) ? failure : next arguments;         \
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

#endif
