// The verbs that change. Each works on an open document, which batch.cpp opens, saves and closes.
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <map>
#include <memory>
#include <utility>

#include <libxml/parser.h>
#include <libxml/xmlstring.h>

#include "document.h"
#include "output.h"

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

// Position of the first member with a name, or 0.
int position_of(kvio_iterator_t *iterator, const std::string &name) {
    std::string buffer(name.size() + 2, '\0');
    for (unsigned position = 1, size = static_cast<unsigned>(kvio_size(iterator)); position <= size; ++position)
        if (kvio_regain_index2(iterator, position, buffer.data(), static_cast<unsigned>(buffer.size())) >= 0 &&
            name == buffer.c_str())
            return static_cast<int>(position);
    return 0;
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

void refuse_if_named(Call &call, Document &document, const std::string &kind, const std::string &type,
                     const std::string &name) {
    if (call.has('f')) return;
    std::string container = document.references().container_naming(document.tree().scope(call[1]), kind, type, name);
    if (!container.empty())
        throw Failure{inconsistent, container + " names " + name + "; take it out first, or say --force"};
}

// ---- counts of references: programs delete an entity that leaves a group when its "reference" says that no other group
// ---- names it

std::string counted(const std::string &before, int change) {
    long count = std::strtol(before.c_str(), nullptr, 10) + change;
    return std::to_string(std::max(count, 0L));
}

// How many groups name something now; for what was not counted so far.
int groups_naming(Call &call, Document &document, bool entity, const std::string &name) {
    document.changed();
    int many = 0;
    for (Element group : document.tree().scope(call[1]).children()) {
        if (group.tag() != "group" || group.type() != call[3]) continue;
        for (Element member : group.children())
            many += (member.tag() == "entity") == entity && member.text() == name;
    }
    return many;
}

void count_reference(Call &call, Document &document, bool entity, const std::string &name, int change) {
    if (call[2] != "group" || change == 0) return;
    const std::string &scope = call[1], &type = call[3];
    char text[16] = "";
    auto next = [&] { return *text ? counted(text, change) : std::to_string(groups_naming(call, document, entity, name)); };
    if (entity) {
        kvio_node_t *node = kvio_retrieve_entity(document.get(), scope.c_str(), type.c_str(), name.c_str());
        if (!node || (kvio_getattr_entity2(node, "reference", text, sizeof text), !*text && change < 0)) return;
        if (!kvio_setattr_entity(node, "reference", next().c_str())) store_failure(type + ' ' + name);
    } else {
        std::unique_ptr<kvio_iterator_t, int (*)(kvio_iterator_t *)> group(
            kvio_open_group(document.get(), scope.c_str(), type.c_str(), name.c_str()), kvio_close_group);
        if (!group || (kvio_getattr_container2(group.get(), "reference", text, sizeof text), !*text && change < 0)) return;
        if (!kvio_setattr_container(group.get(), "reference", next().c_str())) store_failure("group " + name);
    }
}

// The members of a group by kind, entity or not, and name: how often each is there.
using Members = std::map<std::pair<bool, std::string>, int>;

Members members_of(Call &call, Document &document) {
    Members members;
    if (call[2] != "group") return members;
    if (Element group = find_container(document.tree().scope(call[1]), call[2], call[3], call[4]))
        for (Element member : group.children()) ++members[{member.tag() == "entity", member.text()}];
    return members;
}

void count_references(Call &call, Document &document, Members before) {
    document.changed();
    for (const auto &[member, count] : members_of(call, document)) before[member] -= count;
    for (const auto &[member, gone] : before) count_reference(call, document, member.first, member.second, -gone);
    document.changed();
}

using AttributeChange = int (*)(kvio_node_t *, const char *, uint32_t *);

void count_attribute(Call &call, Document &document, AttributeChange change) {
    uint32_t value = 0;
    kvio_node_t *entity = document.entity(call[1], call[2], call[3]);
    if (!change(entity, checked_name(call[4], "attribute").c_str(), &value)) store_failure("attribute " + call[4]);
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
    document.changed();
}

void undefine(Call &call, Document &document) {
    checked_type(call[2]);
    document.entity(call[1], call[2], call[3]);
    refuse_if_named(call, document, "", call[2], call[3]);
    if (!kvio_undefine(document.get(), call[1].c_str(), call[2].c_str(), call[3].c_str()))
        store_failure(call[2] + ' ' + call[3] + " in " + call[1]);
}

// ---- containers

void create(Call &call, Document &document) {
    checked_name(call[3], "type");
    checked_label(call[4]);
    document.check_scope(call[1]);
    Container made(document, call[1], call[2], call[3], call[4], Container::create_it);
    document.changed();
}

void dispose(Call &call, Document &document) {
    { Container there = opened(call, document); }
    refuse_if_named(call, document, call[2], call[3], call[4]);
    Members members = members_of(call, document);
    if (!kind_of(call[2]).dispose(document.get(), call[1].c_str(), call[3].c_str(), call[4].c_str()))
        store_failure(call[2] + ' ' + call[4]);
    count_references(call, document, members);
}

void join(Call &call, Document &document) {
    Container container = opened(call, document);
    bool entities = !call.has('c');
    for (std::size_t i = 5; i < call.count(); ++i) {
        const std::string &name = call[i];
        std::string data = character_data(name);
        // The store looks for the name as it is given, and with an ampersand it is given differently.
        if (data != name && position_of(container.get(), name)) kvio_errno = KVIO_EXISTS;
        else kvio_join(container.get(), data.c_str(), entities);
        if (kvio_errno) store_failure("member " + name + " of " + container.label());
        count_reference(call, document, entities, name, 1);
        if (call.has('f')) continue;
        if (entities && !holds_entities(call[3])) continue;
        if (entities) document.entity(call[1], call[3], name);
        else Container nested(document, call[1], call[2], call[3], name);
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
    if (name) count_reference(call, document, true, name, 1);
    document.changed();
}

void insert(Call &call, Document &document) {
    int position = number(call[5], "the position");
    Container container = opened(call, document);
    std::string name = call.count() > 6 ? character_data(call[6]) : "";
    if (!kvio_insert(container.get(), name.c_str(), position)) store_failure(container.label());
    if (call.count() > 6) count_reference(call, document, true, call[6], 1);
    document.changed();
}

void leave(Call &call, Document &document) {
    if (call.has('p') == (call.count() > 5)) throw Failure{misused, "either members or --position"};
    Container container = opened(call, document);
    Members members = members_of(call, document);
    if (call.has('p') && !kvio_delete(container.get(), number(call.options['p'], "--position")))
        store_failure(container.label());
    for (std::size_t i = 5; i < call.count(); ++i)
        if (!kvio_remove(container.get(), call[i].c_str()))
            store_failure("member " + call[i] + " of " + container.label());
    count_references(call, document, members);
}

void rename_member(Call &call, Document &document) {
    Container container = opened(call, document);
    Members members = members_of(call, document);
    if (call[5] != call[6] && position_of(container.get(), call[6]))
        throw Failure{not_found, "member " + call[6] + " of " + container.label() + ": it exists already"};
    if (!kvio_change_container_element(container.get(), call[5].c_str(), character_data(call[6]).c_str()))
        store_failure("member " + call[5] + " of " + container.label());
    count_references(call, document, members);
}

// ---- attributes

void attr_set(Call &call, Document &document) {
    const std::string &attribute = checked_name(call[4], "attribute"), &value = checked_text(call[5], "the value");
    if (attribute == "name") checked_label(value);
    if (attribute == "type" && call.has('k')) checked_name(value, "type");
    if (attribute == "xmlns") throw Failure{misused, "in a namespace nothing would find it again"};
    if (call.has('k')) {
        Container container(document, call[1], call.options['k'], call[2], call[3]);
        if (!kvio_setattr_container(container.get(), attribute.c_str(), value.c_str()))
            store_failure(container.label());
    } else if (!kvio_setattr_entity(document.entity(call[1], call[2], call[3]), attribute.c_str(), value.c_str())) {
        store_failure(call[2] + ' ' + call[3]);
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
