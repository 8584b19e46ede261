// A configuration and calls of the store on it. Input: the file, a line "%%", and calls: a byte for the function, a
// byte for each argument (see Calls).
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "fuzz/fuzz.h"

namespace {

constexpr char path[] = "/etc/kavex/conf/a.xml";
constexpr char side_path[] = "/tmp/side.xml";

class Calls {
public:
    explicit Calls(std::string_view bytes) : bytes_(bytes) {}

    bool next(unsigned &function) {
        if (bytes_.empty()) return false;
        function = byte();
        return true;
    }
    unsigned byte() {
        if (bytes_.empty()) return 0;
        unsigned value = static_cast<unsigned char>(bytes_[0]);
        bytes_.remove_prefix(1);
        return value;
    }
    int position() { return static_cast<int>(byte() % 64) - 32 - 16; }
    const char *scope() {
        static const char *const scopes[] = {"s",
                                             "s/u",
                                             "object/address",
                                             "*",
                                             "s | /kavex/u",
                                             "..",
                                             "count(s)",
                                             "s[1]",
                                             "descendant::u",
                                             "@a",
                                             "",
                                             "s/text()",
                                             "namespace::x",
                                             "x:s",
                                             "["};
        return pick(scopes);
    }
    const char *type() {
        static const char *const types[] = {"t", "group", "list", "entity", "u", "*", "p:t", "t/f", "address_t"};
        return pick(types);
    }
    const char *name() {
        static const char *const names[] = {"a",   "b",  "c",        "d",     "e",          "f",     "g",
                                            "lan", "#1", "",         "&amp;", "&",          "&#38;", "a'\"b",
                                            "&e;", "<",  "\xc3\xa4", "&#0;",  "&#x110000;", "a\tb"};
        return pick(names);
    }
    const char *field() {
        static const char *const fields[] = {"f",    "ip",  "g",      "reference", "name",
                                             "type", "p:f", "xml:id", "xmlns",     "text"};
        return pick(fields);
    }
    const char *value() {
        static const char *const values[] = {"",
                                             "x",
                                             "4294967295",
                                             "-1",
                                             " 7 ",
                                             "<>&\"'",
                                             "&e;",
                                             "\n",
                                             "]]>",
                                             "a long text that does not fit into small buffers of a caller",
                                             "\xc3\xa4\xe2\x82\xac"};
        return pick(values);
    }

private:
    template <size_t Count>
    const char *pick(const char *const (&texts)[Count]) {
        unsigned index = byte() % (Count + 1);
        return index == Count ? nullptr : texts[index];
    }
    std::string_view bytes_;
};

// Everything that hangs on the document, so that a change that removes nodes drops what might point to them.
struct Session {
    kvio_config_t *config = nullptr;
    kvio_node_t *entity = nullptr;
    std::vector<kvio_iterator_t *> containers;
    kvio_checkpoint_t *checkpoint = nullptr;
    bool readonly = false;
    bool changed = false;

    void drop_handles() {
        entity = nullptr;
        for (kvio_iterator_t *container : containers) kvio_close_group(container);
        containers.clear();
    }
    kvio_iterator_t *container() { return containers.empty() ? nullptr : containers.back(); }
    void keep(kvio_iterator_t *container) {
        if (container) containers.push_back(container);
    }
    ~Session() {
        drop_handles();
        kvio_release_checkpoint(checkpoint);
        if (config) kvio_close_config(config);
    }
};

void check_array(kvio_entities_t *array) {
    if (!array) return;
    MUST(array->count >= 0 && array->count <= array->capacity);
    char name[16];
    for (int i = 0; i < array->count; ++i) kvio_name2(array->items[i], name, sizeof name);
    kvio_free_entities(array);
}

// A bounded getter into a block of exactly its size, against the whole text.
template <class Bounded, class Whole>
void check_getters(unsigned size, Bounded bounded, Whole whole, bool cleared) {
    auto small = std::make_unique<char[]>(size);
    std::memset(small.get(), '-', size);
    static char large[1 << 20];
    bool has_whole = whole(large) >= (cleared ? 1 : 0);
    bool has_small = bounded(small.get(), size) >= (cleared ? 1 : 0);
    MUST(has_whole == has_small);
    if (!has_whole) return;
    size_t length = std::min<size_t>(std::strlen(large), size - 1);
    MUST(std::memcmp(small.get(), large, length) == 0 && small[length] == '\0');
}

void container_call(Session &session, Calls &calls, unsigned function) {
    kvio_iterator_t *c = session.container();
    switch (function) {
        case 0:
            kvio_join(c, calls.name(), calls.byte() & 1);
            break;
        case 1:
            kvio_remove(c, calls.name());
            break;
        case 2: {
            const char *old_name = calls.name();
            kvio_change_container_element(c, old_name, calls.name());
            break;
        }
        case 3:
            kvio_append(c, calls.name());
            break;
        case 4: {
            const char *name = calls.name();
            kvio_insert(c, name, calls.position());
            break;
        }
        case 5:
            kvio_delete(c, calls.position());
            break;
        case 6:
            kvio_size(c);
            break;
        case 7:
            kvio_real_size(c);
            break;
        case 8:
            kvio_check_loop(c);
            break;
        case 9:
            check_array(kvio_retrieve_all(c));
            break;
        case 10:
            check_array(kvio_retrieve_all2(c));
            break;
        case 11: {
            unsigned position = calls.byte() % 16, size = 1 + calls.byte() % 40;
            if (!c) break;
            check_getters(
                size, [&](char *b, unsigned n) { return kvio_regain_index2(c, position, b, n); },
                [&](char *b) { return kvio_regain_index(c, position, b); }, false);
            break;
        }
        case 12:
            session.entity = kvio_retrieve_index(c, calls.byte() % 16);
            break;
        case 13: {
            const char *attribute = calls.field();
            const char *value = calls.value();
            // A namespace declaration or prefix written as an attribute does not read back.
            if (attribute && std::strchr(attribute, ':')) break;
            if (attribute && std::strcmp(attribute, "xmlns") == 0) break;
            kvio_setattr_container(c, attribute, value);
            break;
        }
        case 14:
            kvio_unsetattr_container(c, calls.field());
            break;
        default: {
            const char *attribute = calls.field();
            unsigned size = 1 + calls.byte() % 40;
            if (!c) break;
            check_getters(
                size, [&](char *b, unsigned n) { return kvio_getattr_container2(c, attribute, b, n); },
                [&](char *b) { return kvio_getattr_container(c, attribute, b); }, true);
        }
    }
}

void entity_call(Session &session, Calls &calls, unsigned function) {
    kvio_node_t *e = session.entity;
    uint32_t number;
    switch (function) {
        case 0:
            kvio_compare_name(e, calls.name());
            break;
        case 1: {
            unsigned size = 1 + calls.byte() % 40;
            check_getters(
                size, [&](char *b, unsigned n) { return kvio_name2(e, b, n); },
                [&](char *b) { return kvio_name(e, b); }, true);
            break;
        }
        case 2:
        case 3: {
            const char *field = calls.field();
            const char *value = calls.value();
            if (field && std::strchr(field, ':')) break;
            int result = function == 2 ? kvio_set(e, field, value) : kvio_set2(e, field, value);
            if (!result) break;
            char text[256];
            MUST(kvio_get2(e, field, text, sizeof text) == 1);
            break;
        }
        case 4:
            kvio_unset(e, calls.field());
            break;
        case 5: {
            const char *field = calls.field();
            unsigned size = 1 + calls.byte() % 40;
            static char text[1 << 20];
            check_getters(
                size, [&](char *b, unsigned n) { return kvio_get2(e, field, b, n); },
                [&](char *b) { return kvio_get(e, field, b); }, true);
            if (kvio_getlen(e, field, &number) == 1) MUST(kvio_get(e, field, text) == 1 && std::strlen(text) == number);
            break;
        }
        case 6: {
            const char *attribute = calls.field();
            const char *value = calls.value();
            if (attribute && (std::strchr(attribute, ':') || std::strcmp(attribute, "xmlns") == 0)) break;
            kvio_setattr_entity(e, attribute, value);
            break;
        }
        case 7:
            kvio_unsetattr_entity(e, calls.field());
            break;
        case 8: {
            const char *attribute = calls.field();
            unsigned size = 1 + calls.byte() % 40;
            check_getters(
                size, [&](char *b, unsigned n) { return kvio_getattr_entity2(e, attribute, b, n); },
                [&](char *b) { return kvio_getattr_entity(e, attribute, b); }, true);
            break;
        }
        case 9:
            kvio_increase_entity_attr(e, calls.byte() & 1 ? "reference" : "name", &number);
            break;
        default:
            kvio_decrease_entity_attr(e, calls.byte() & 1 ? "reference" : "name", nullptr);
    }
}

void document_call(Session &session, Calls &calls, unsigned function) {
    kvio_config_t *config = session.config;
    const char *scope = calls.scope();
    switch (function) {
        case 0:
        case 1: {
            using Make = kvio_iterator_t *(*)(kvio_config_t *, const char *, const char *, const char *);
            static constexpr Make makes[] = {kvio_open_group,   kvio_open_list,   kvio_open_table,
                                             kvio_create_group, kvio_create_list, kvio_create_table};
            Make make = makes[calls.byte() % 6];
            const char *type = calls.type();
            session.keep(make(config, scope, type, calls.name()));
            break;
        }
        case 2: {
            const char *type = calls.type(), *name = calls.name();
            session.drop_handles();
            static constexpr decltype(&kvio_dispose_group) disposes[] = {kvio_dispose_group, kvio_dispose_list,
                                                                         kvio_dispose_table};
            disposes[calls.byte() % 3](config, scope, type, name);
            break;
        }
        case 3: {
            const char *type = calls.type();
            if (type && std::strpbrk(type, ":/*")) break;  // no name of an element: does not read back
            if (kvio_node_t *made = kvio_define2(config, scope, type, calls.name())) session.entity = made;
            break;
        }
        case 4: {
            const char *type = calls.type();
            session.drop_handles();
            kvio_undefine(config, scope, type, calls.name());
            break;
        }
        case 5: {
            const char *type = calls.type();
            kvio_node_t *found = kvio_retrieve_entity(config, scope, type, calls.name());
            if (found) session.entity = found;
            break;
        }
        case 6:
            check_array(kvio_list_entities(config, scope, calls.type()));
            break;
        case 7:
            MUST(kvio_entity_count(config, scope, calls.type()) >= 0);
            break;
        case 8:
            kvio_backup_scope(config, scope, side_path);
            break;
        case 9:
            kvio_release_checkpoint(session.checkpoint);
            session.checkpoint = kvio_create_checkpoint(config, scope);
            break;
        case 10:
            session.drop_handles();
            if (kvio_rollback_checkpoint(config, scope, session.checkpoint)) session.checkpoint = nullptr;
            break;
        case 11:
            session.drop_handles();
            if (kvio_config_t *snapshot = kvio_restore_scope(side_path)) {
                kvio_entity_count(snapshot, scope, "t");
                kvio_close_config(snapshot);
            }
            break;
        case 12:
            if (kvio_dump(config, side_path) > 0) {
                session.drop_handles();
                kvio_config_t *restored = kvio_restore(config, side_path);
                MUST(restored);
                session.config = restored;
                kvio_config_t *old = config;  // they share the lock: the old one is closed first
                kvio_close_config(old);
            }
            break;
        case 13:
            kvio_save_as(config, calls.byte() % 2 ? "b.xml" : "c.xml");
            break;
        case 14: {
            // Not of the one that is open: a restored document may have given its lock up.
            const char *file = calls.byte() % 2 ? "b.xml" : "c.xml", *other = calls.byte() % 2 ? "b.xml" : "c.xml";
            switch (calls.byte() % 4) {
                case 0:
                    kvio_copy_config(file, other);
                    break;
                case 1:
                    kvio_rename_config(file, other);
                    break;
                case 2:
                    kvio_remove_config(file);
                    break;
                default:
                    if (kvio_config_t *made = kvio_open_config(file, KVIO_CREATE)) kvio_close_config(made);
            }
            break;
        }
        default:
            if (session.container()) {
                kvio_close_group(session.container());
                session.containers.pop_back();
            }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size > 1 << 16) return 0;
    std::string_view rest(reinterpret_cast<const char *>(data), size);
    for (const char *other : {side_path, "/etc/kavex/conf/b.xml", "/etc/kavex/conf/c.xml"}) unlink(other);
    fuzz::write_file(path, fuzz::cut(rest));
    Calls calls(rest);
    {
        Session session;
        session.config = kvio_open_config("a.xml", 0);
        if (!session.config) return 0;
        unsigned function;
        while (calls.next(function)) {
            unsigned which = function % 16;
            switch (function / 16 % 4) {
                case 0:
                case 1:
                    document_call(session, calls, which);
                    break;
                case 2:
                    container_call(session, calls, which);
                    break;
                default:
                    entity_call(session, calls, which % 11);
            }
        }
        // What was saved can be opened, and where a save fails, what was there before.
        kvio_save_config(session.config);
    }
    kvio_config_t *again = kvio_open_config("a.xml", 0);
    MUST(again);
    kvio_close_config(again);
    return 0;
}
