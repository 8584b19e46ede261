// The verbs that change. Each works on an open document, which batch.cpp opens, saves and closes.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include <libxml/parser.h>
#include <libxml/xmlstring.h>

#include "document.h"
#include "output.h"
#include "references.h"

namespace kvio {
namespace {

// What the XML library reads at most of one text.
constexpr std::size_t longest_text = 10'000'000;

// The store takes any text, and its writer stores what is none as something that does not read back.
const std::string &checked_text(const std::string &text, const std::string &what) {
    if (text.size() > longest_text) throw Failure{misused, what + " is too long to be read back"};
    bool plain = xmlCheckUTF8(reinterpret_cast<const unsigned char *>(text.c_str())) != 0;
    for (std::size_t i = 0; i < text.size() && plain; ++i) {
        auto c = static_cast<unsigned char>(text[i]);
        plain = c >= ' ' ? text.compare(i, 3, "\xEF\xBF\xBE") != 0 && text.compare(i, 3, "\xEF\xBF\xBF") != 0
                         : c == '\t' || c == '\n';
    }
    if (!plain) throw Failure{misused, what + " is no UTF-8 text, or has control characters"};
    return text;
}

const std::string &checked_type(const std::string &type) {
    if (type == "table" || type == "list" || type == "group")
        throw Failure{misused, type + " is a kind of container, no type of entities"};
    return checked_name(type, "type");
}

// Of an entity, a container or a member.
const std::string &checked_label(const std::string &name) {
    if (name.empty()) throw Failure{misused, "the name is empty"};
    return checked_text(name, "the name");
}

// kvio_join() and its like read a name as character data.
std::string character_data(const std::string &name) {
    std::string text;
    for (char c : checked_label(name)) text += c == '&' ? "&amp;" : std::string(1, c);
    return text;
}

// Whether a container (1) or an entity (0) stands at a position, or nothing (-1), and its name.
std::pair<int, std::string> member_at(Container &container, int position) {
    std::string name(64, '\0');
    int kind;
    do {
        name.resize(name.size() * 2);
        kind = kvio_regain_index2(container.get(), static_cast<unsigned>(position), name.data(),
                                  static_cast<unsigned>(name.size()));
    } while (kind >= 0 && std::strlen(name.c_str()) + 1 == name.size());
    return {kind, name.c_str()};
}

int number(const std::string &text, const char *what) {
    errno = 0;
    char *end;
    long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end || errno || value < 1 || value > 0x7fffffff)
        throw Failure{misused, std::string(what) + " is a number from 1, not " + text};
    return static_cast<int>(value);
}

void set_fields(Call &call, kvio_node_t *entity, std::size_t first) {
    for (std::size_t i = first; i + 1 < call.count(); i += 2) {
        const std::string &field = checked_name(call[i], "field"), &value = checked_text(call[i + 1], "the value");
        if (!kvio_set(entity, field.c_str(), value.c_str())) store_failure("field " + field);
    }
}

void need_pairs(Call &call, std::size_t first) {
    if ((call.count() - first) % 2 != 0) throw Failure{misused, "the last field has no value"};
}

Container opened(Call &call, Document &document) { return {document, call[1], call[2], call[3], call[4]}; }

void refuse_if_named(Call &call, Document &document, const Member &member) {
    if (call.has('f')) return;
    std::string container = container_naming(document, member);
    if (!container.empty())
        throw Failure{inconsistent, container + " names " + member.name + "; take it out first, or say --force"};
}

// A member of the container that the call is about.
Member member_of(Call &call, bool entity, const std::string &name) { return {call[1], call[2], call[3], name, entity}; }

void count(Call &call, Document &document, bool entity, const std::string &name, int change) {
    if (call[2] == "group") count_reference(document, member_of(call, entity, name), change);
}

// Something new that groups name already.
void count_those_that_name(Document &document, const Member &member) {
    if (int many = times_named(document, member)) count_reference(document, member, many);
}

// By another name, or type, others name it.
template <class Change>
void renamed(Document &document, const Member &before, const Member &after, Change make) {
    int difference = times_named(document, after) - times_named(document, before);
    make();
    if (difference != 0) count_reference(document, after, difference);
}

bool has_member(Call &call, Document &document, const std::string &name) {
    return times_named(document, member_of(call, true, name), call[4]) +
               times_named(document, member_of(call, false, name), call[4]) >
           0;
}

// A member of this name goes, a container or an entity: which one it was, the number of the latter tells.
template <class Change>
bool goes_as_entity(Call &call, Document &document, const std::string &name, Change make) {
    if (call[2] != "group") return make(), true;  // nobody counts
    int before = times_named(document, member_of(call, true, name), call[4]);
    make();
    return times_named(document, member_of(call, true, name), call[4]) < before;
}

using AttributeChange = int (*)(kvio_node_t *, const char *, uint32_t *);

void count_attribute(Call &call, Document &document, AttributeChange change) {
    uint32_t value = 0;
    kvio_node_t *entity = document.entity(call[1], call[2], call[3]);
    const std::string &attribute = checked_name(call[4], "attribute");
    // The store counts on from 0 behind the largest number, and from what is none.
    char text[16] = "";
    kvio_getattr_entity2(entity, attribute.c_str(), text, sizeof text);
    bool number = text[std::strspn(text, "0123456789")] == '\0';
    if (!number || (change == kvio_increase_entity_attr && std::strtoull(text, nullptr, 10) >= UINT32_MAX))
        throw Failure{inconsistent, "attribute " + attribute + " is " + text + ", which cannot be counted on"};
    if (!change(entity, attribute.c_str(), &value)) store_failure("attribute " + attribute);
    document.output += std::to_string(value) + '\n';
    document.changed();
}

}  // namespace

// ---- entities

void set(Call &call, Document &document) {
    need_pairs(call, 4);
    set_fields(call, document.entity(call[1], call[2], call[3]), 4);
}

void unset(Call &call, Document &document) {
    kvio_node_t *entity = document.entity(call[1], call[2], call[3]);
    for (std::size_t i = 4; i < call.count(); ++i)
        if (!kvio_unset(entity, checked_name(call[i], "field").c_str())) store_failure("field " + call[i]);
}

void define(Call &call, Document &document) {
    need_pairs(call, 4);
    const std::string &type = checked_type(call[2]), &name = checked_label(call[3]);
    document.check_scope(call[1]);
    kvio_node_t *entity = kvio_define2(document.get(), call[1].c_str(), type.c_str(), name.c_str());
    if (!entity) store_failure(type + ' ' + name + " in " + call[1]);
    set_fields(call, entity, 4);
    count_those_that_name(document, {call[1], "group", type, name, true});
    document.changed();
}

void undefine(Call &call, Document &document) {
    checked_type(call[2]);
    document.entity(call[1], call[2], call[3]);
    refuse_if_named(call, document, {call[1], "", call[2], call[3], true});
    if (!kvio_undefine(document.get(), call[1].c_str(), call[2].c_str(), call[3].c_str()))
        store_failure(call[2] + ' ' + call[3] + " in " + call[1]);
}

// ---- containers

void create(Call &call, Document &document) {
    checked_name(call[3], "type");
    checked_label(call[4]);
    document.check_scope(call[1]);
    { Container made(document, call[1], call[2], call[3], call[4], Container::create_it); }
    if (call[2] == "group") count_those_that_name(document, member_of(call, false, call[4]));
    document.changed();
}

void dispose(Call &call, Document &document) {
    { Container there = opened(call, document); }
    refuse_if_named(call, document, member_of(call, false, call[4]));
    std::vector<Element> members = find_container(document.tree().scope(call[1]), call[2], call[3], call[4]).children();
    if (!kind_of(call[2]).dispose(document.get(), call[1].c_str(), call[3].c_str(), call[4].c_str()))
        store_failure(call[2] + ' ' + call[4]);
    for (Element member : members) count(call, document, member.tag() == "entity", member.text(), -1);
    document.changed();
}

void join(Call &call, Document &document) {
    Container container = opened(call, document);
    bool entities = !call.has('c');
    for (std::size_t i = 5; i < call.count(); ++i) {
        const std::string &name = call[i];
        std::string data = character_data(name);
        // The store looks for the name as it is given, and with an ampersand it is given differently.
        if (data != name && has_member(call, document, name))
            kvio_errno = KVIO_EXISTS;
        else
            kvio_join(container.get(), data.c_str(), entities);
        if (kvio_errno) store_failure("member " + name + " of " + container.label());
        count(call, document, entities, name, 1);
        if (call.has('f')) continue;
        if (entities && !holds_entities(call[3])) continue;
        if (entities)
            document.entity(call[1], call[3], name);
        else
            Container nested(document, call[1], call[2], call[3], name);
    }
    document.changed();
    if (entities || call.has('f')) return;
    std::unique_ptr<kvio_entities_t, void (*)(kvio_entities_t *)> found(kvio_retrieve_all2(container.get()),
                                                                        kvio_free_entities);
    if (!found && kvio_errno == KVIO_LOOP) store_failure(container.label());
}

void append(Call &call, Document &document) {
    Container container = opened(call, document);
    const char *name = call.count() > 5 ? checked_label(call[5]).c_str() : nullptr;
    if (!kvio_append(container.get(), name)) store_failure(container.label());
    if (name) count(call, document, true, name, 1);
    document.changed();
}

void insert(Call &call, Document &document) {
    int position = number(call[5], "the position");
    Container container = opened(call, document);
    std::string name = call.count() > 6 ? character_data(call[6]) : "";
    if (!kvio_insert(container.get(), name.c_str(), position)) store_failure(container.label());
    if (call.count() > 6) count(call, document, true, call[6], 1);
    document.changed();
}

void leave(Call &call, Document &document) {
    if (call.has('p') == (call.count() > 5)) throw Failure{misused, "either members or --position"};
    Container container = opened(call, document);
    if (call.has('p')) {
        int position = number(call.options['p'], "--position");
        auto [kind, name] = member_at(container, position);
        if (kind < 0 || !kvio_delete(container.get(), position)) store_failure(container.label());
        count(call, document, kind == 0, name, -1);
    }
    for (std::size_t i = 5; i < call.count(); ++i) {
        bool entity = goes_as_entity(call, document, call[i], [&] {
            if (!kvio_remove(container.get(), call[i].c_str()))
                store_failure("member " + call[i] + " of " + container.label());
        });
        count(call, document, entity, call[i], -1);
    }
    document.changed();
}

void rename_member(Call &call, Document &document) {
    Container container = opened(call, document);
    if (call[5] != call[6] && has_member(call, document, call[6]))
        throw Failure{not_found, "member " + call[6] + " of " + container.label() + ": it exists already"};
    std::string data = character_data(call[6]);
    bool entity = goes_as_entity(call, document, call[5], [&] {
        if (!kvio_change_container_element(container.get(), call[5].c_str(), data.c_str()))
            store_failure("member " + call[5] + " of " + container.label());
    });
    count(call, document, entity, call[5], -1);
    count(call, document, entity, call[6], 1);
    document.changed();
}

// ---- attributes

namespace {

// The members of a group of another type are other ones, too.
template <class Change>
void set_of_group(Call &call, Document &document, Change make) {
    Member before = {call[1], "group", call[2], call[3], false}, after = before;
    if (call[4] == "name") after.name = call[5];
    if (call[4] == "type") after.type = call[5];
    std::vector<Element> members;
    if (before.type != after.type)
        members = find_container(document.tree().scope(call[1]), "group", call[2], call[3]).children();
    renamed(document, before, after, make);
    for (Element one : members)
        for (const Member &group : {before, after})
            count_reference(document, {call[1], "group", group.type, one.text(), one.tag() == "entity"},
                            group.type == after.type ? 1 : -1);
}

}  // namespace

void attr_set(Call &call, Document &document) {
    const std::string &attribute = checked_name(call[4], "attribute"), &value = checked_text(call[5], "the value");
    if (attribute == "name") checked_label(value);
    if (attribute == "type" && call.has('k')) checked_name(value, "type");
    if (attribute == "xmlns") throw Failure{misused, "in a namespace nothing would find it again"};
    if (call.has('k')) {
        Container container(document, call[1], call.options['k'], call[2], call[3]);
        auto make = [&] {
            if (!kvio_setattr_container(container.get(), attribute.c_str(), value.c_str()))
                store_failure(container.label());
        };
        if (call.options['k'] == "group")
            set_of_group(call, document, make);
        else
            make();
    } else {
        kvio_node_t *entity = document.entity(call[1], call[2], call[3]);
        Member before = {call[1], "group", call[2], call[3], true}, after = before;
        if (attribute == "name") after.name = value;
        renamed(document, before, after, [&] {
            if (!kvio_setattr_entity(entity, attribute.c_str(), value.c_str())) store_failure(call[2] + ' ' + call[3]);
        });
    }
    document.changed();  // of "name" and "type" the other verbs depend
}

void attr_unset(Call &call, Document &document) {
    const std::string &attribute = call[4];
    if (attribute == "name" || (attribute == "type" && call.has('k')))
        throw Failure{misused, "without its " + attribute + " nothing would find it again"};
    if (call.has('k')) {
        Container container(document, call[1], call.options['k'], call[2], call[3]);
        if (!kvio_unsetattr_container(container.get(), attribute.c_str())) store_failure(container.label());
    } else if (!kvio_unsetattr_entity(document.entity(call[1], call[2], call[3]), attribute.c_str())) {
        store_failure(call[2] + ' ' + call[3]);
    }
    document.changed();
}

void attr_increase(Call &call, Document &document) { count_attribute(call, document, kvio_increase_entity_attr); }
void attr_decrease(Call &call, Document &document) { count_attribute(call, document, kvio_decrease_entity_attr); }

}  // namespace kvio
