// The verbs that change. Each works on an open document, which changes.cpp opens, saves and closes.
#include <libxml/parser.h>
#include <libxml/xmlstring.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "document.h"
#include "output.h"

namespace kvio {
namespace {

constexpr std::size_t max_text = 10'000'000;  // bytes of one text that the XML library reads

// The store takes any text; a document with one that XML cannot hold could not be saved.
const std::string &checked_text(const std::string &text, const std::string &what) {
    if (text.size() > max_text) throw Failure{misused, what + " is too long to be read back"};
    bool plain = xmlCheckUTF8(reinterpret_cast<const unsigned char *>(text.c_str())) != 0;
    for (std::size_t i = 0; i < text.size() && plain; ++i) {
        auto c = static_cast<unsigned char>(text[i]);
        plain = c >= ' ' ? text.compare(i, 3, "\xEF\xBF\xBE") != 0 && text.compare(i, 3, "\xEF\xBF\xBF") != 0
                         : c == '\t' || c == '\n';
    }
    if (!plain) throw Failure{misused, what + " is not UTF-8 text, or has control characters"};
    return text;
}

const std::string &checked_type(const std::string &type) {
    if (is_kind(type)) throw Failure{misused, type + " is a kind of container, no type of entities"};
    return checked_name(type, "type");
}

// The name of an entity, a container or a member.
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

int number(const std::string &text, const char *what) {
    errno = 0;
    char *end;
    long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end || errno || value < 1 || value > 0x7fffffff)
        throw Failure{misused, std::string(what) + " is a number from 1, not " + text};
    return static_cast<int>(value);
}

Element field_of(Element entity, const std::string &field) {
    for (Element one : entity)
        if (one.is(field)) return one;
    return Element();
}

// Mentions on a terminal a field that no entity of the type has, though there are others: it may be misspelt.
void mention_new_field(Element entity, const std::string &field) {
    if (!messages::on_terminal()) return;
    bool others = false;
    for (Element one : entity.parent()) {
        if (!one.is(entity.tag())) continue;
        if (field_of(one, field)) return;
        others = others || !(one == entity);
    }
    if (others) messages::say("new field " + field);
}

void set_fields(kvio_node_t *entity, const Strings &pairs) {
    if (pairs.size() % 2 != 0) throw Failure{misused, "the last field has no value"};
    for (std::size_t i = 0; i < pairs.size(); i += 2) {
        const std::string &field = checked_name(pairs[i], "field"), &value = checked_text(pairs[i + 1], "the value");
        mention_new_field(Element(entity), field);
        if (!kvio_set(entity, field.c_str(), value.c_str())) store_failure("field " + field);
    }
}

Container opened(const Call &call, Document &document) {
    return {document, call.scope(), call.kind(), call.type(), call.container()};
}

// The container that the call is about, which opened() has found, in the tree.
Element container_of(const Call &call, const Document &document) {
    return find_container(document.scope(call.scope()), call.kind(), call.type(), call.container());
}

void refuse_if_named(const Call &call, Element scope, const Member &member) {
    Element container = call.has('f') ? Element() : container_naming(scope, member);
    if (container)
        throw Failure{inconsistent, container.tag() + (' ' + container.name()) + " names " + member.name +
                                        "; remove it from there first, or use --force"};
}

// Counts a member that joins (1) or leaves (-1) the container that the call is about. Only groups count.
void count_member(const Call &call, const Document &document, const std::string &name, bool entity, int change) {
    if (call.kind() == "group")
        count_reference(document.scope(call.scope()), {"group", call.type(), name, entity}, change);
}

// Counts the groups that name a new element already.
void count_those_that_name(Element scope, const Member &member) {
    if (int many = times_named(scope, member)) count_reference(scope, member, many);
}

// Runs a change that gives an element another name or type. Other groups refer to it then: corrects its count by the
// difference.
template <class Change>
void renamed(Element scope, const Member &before, const Member &after, Change make) {
    int difference = times_named(scope, after) - times_named(scope, before);
    make();
    if (difference != 0) count_reference(scope, after, difference);
}

// The first member with this name, entity or container, or null.
Element member_named(Element container, const std::string &name) {
    for (Element member : container)
        if ((member.is("entity") || member.is("container")) && member.has_text(name)) return member;
    return Element();
}

Element member_at(Element container, int position) {
    for (Element member : container)
        if (--position == 0) return member;
    return Element();
}

using AttributeChange = int (*)(kvio_node_t *, const char *, uint32_t *);

// The store counts from 0 after the largest number, and after a text that is no number.
void change_counter(const Call &call, Document &document, AttributeChange change, bool up) {
    const std::string &attribute = checked_name(call["ATTRIBUTE"], "attribute");
    kvio_node_t *entity = document.entity(call.scope(), call.type(), call.entity());
    const std::string text = Element(entity).attribute(attribute).value_or("");
    bool countable = text.size() <= 10 && text.find_first_not_of("0123456789") == std::string::npos;
    if (!countable || (up && std::strtoull(text.c_str(), nullptr, 10) >= UINT32_MAX))
        throw Failure{inconsistent, "attribute " + attribute + " is " + text + ", which cannot be counted on"};
    uint32_t value = 0;
    if (!change(entity, attribute.c_str(), &value)) store_failure("attribute " + attribute);
    document.output += std::to_string(value) + '\n';
}

}  // namespace

// ---- entities

void set(Call &call, Document &document) {
    set_fields(document.entity(call.scope(), call.type(), call.entity()), call.from("FIELD"));
}

void unset(Call &call, Document &document) {
    Element entity(document.entity(call.scope(), call.type(), call.entity()));
    for (const std::string &field : call.from("FIELD")) {
        if (!field_of(entity, field)) throw Failure{not_found, "no field " + field + " of " + entity.label()};
        while (Element found = field_of(entity, field)) found.remove();
    }
}

void define(Call &call, Document &document) {
    const std::string &type = checked_type(call.type()), &name = checked_label(call.entity());
    Element scope = document.scope(call.scope());
    kvio_node_t *entity = kvio_define2(document.get(), call.scope().c_str(), type.c_str(), name.c_str());
    if (!entity) store_failure(type + ' ' + name + " in " + call.scope());
    set_fields(entity, call.from("FIELD"));
    count_those_that_name(scope, {"group", type, name, true});
}

void undefine(Call &call, Document &document) {
    checked_type(call.type());
    document.entity(call.scope(), call.type(), call.entity());
    refuse_if_named(call, document.scope(call.scope()), {"", call.type(), call.entity(), true});
    if (!kvio_undefine(document.get(), call.scope().c_str(), call.type().c_str(), call.entity().c_str()))
        store_failure(call.type() + ' ' + call.entity() + " in " + call.scope());
}

void create_scope(Call &call, Document &document) {
    if (!made_scope(document, call.scope())) throw Failure{not_found, call.scope() + ": it exists already"};
}

// ---- containers

void create(Call &call, Document &document) {
    checked_name(call.type(), "type");
    checked_label(call.container());
    Element scope = document.scope(call.scope());
    Container made(document, call.scope(), call.kind(), call.type(), call.container(), Container::create_it);
    if (call.kind() == "group") count_those_that_name(scope, {"group", call.type(), call.container(), false});
}

void dispose(Call &call, Document &document) {
    const std::string label = opened(call, document).label();
    refuse_if_named(call, document.scope(call.scope()), {call.kind(), call.type(), call.container(), false});
    std::vector<std::pair<std::string, bool>> members;
    for (Element member : container_of(call, document)) members.emplace_back(member.text(), member.is("entity"));
    auto dispose_it = kind_of(call.kind()).dispose;
    if (!dispose_it(document.get(), call.scope().c_str(), call.type().c_str(), call.container().c_str()))
        store_failure(label);
    for (const auto &[name, entity] : members) count_member(call, document, name, entity, -1);
}

void join(Call &call, Document &document) {
    Container container = opened(call, document);
    bool entities = !call.has('c');
    for (const std::string &name : call.from("MEMBER")) {
        const std::string data = character_data(name), label = "member " + name + " of " + container.label();
        // The store compares the text that it is given, which is not the name where that has an ampersand.
        if (data != name && member_named(container_of(call, document), name))
            throw Failure{not_found, label + ": it exists already"};
        kvio_join(container.get(), data.c_str(), entities);
        if (kvio_errno) store_failure(label);
        count_member(call, document, name, entities, 1);
        if (call.has('f')) continue;
        if (!entities)
            Container nested(document, call.scope(), call.kind(), call.type(), name);
        else if (holds_entities(call.type()))
            document.entity(call.scope(), call.type(), name);
    }
    if (entities || call.has('f')) return;
    Owned<kvio_entities_t, kvio_free_entities> found(kvio_retrieve_all2(container.get()));
    if (!found && kvio_errno == KVIO_LOOP) store_failure(container.label());
}

void append(Call &call, Document &document) {
    Container container = opened(call, document);
    const char *name = call.given("MEMBER") ? checked_label(call["MEMBER"]).c_str() : nullptr;
    if (!kvio_append(container.get(), name)) store_failure(container.label());
    if (name) count_member(call, document, name, true, 1);
}

void insert(Call &call, Document &document) {
    int position = number(call["NUMBER"], "the position");
    Container container = opened(call, document);
    std::string name = call.given("MEMBER") ? character_data(call["MEMBER"]) : "";
    if (!kvio_insert(container.get(), name.c_str(), position)) store_failure(container.label());
    if (call.given("MEMBER")) count_member(call, document, call["MEMBER"], true, 1);
}

void leave(Call &call, Document &document) {
    if (call.has('p') == call.given("MEMBER")) throw Failure{misused, "either members or --position"};
    Container container = opened(call, document);
    Element element = container_of(call, document);
    if (call.has('p')) {
        int position = number(call.option('p'), "--position");
        Element member = member_at(element, position);
        std::string name = member ? member.text() : "";
        bool entity = member && member.is("entity");
        if (!kvio_delete(container.get(), position)) store_failure(container.label());
        return count_member(call, document, name, entity, -1);
    }
    for (const std::string &name : call.from("MEMBER")) {
        Element member = member_named(element, name);
        bool entity = member && member.is("entity");
        if (!kvio_remove(container.get(), name.c_str())) store_failure("member " + name + " of " + container.label());
        count_member(call, document, name, entity, -1);
    }
}

void rename_member(Call &call, Document &document) {
    Container container = opened(call, document);
    const std::string &before = call["MEMBER"], &after = call["NEW"];
    Element element = container_of(call, document), member = member_named(element, before);
    if (before != after && member_named(element, after))
        throw Failure{not_found, "member " + after + " of " + container.label() + ": it exists already"};
    bool entity = member && member.is("entity");
    if (!kvio_change_container_element(container.get(), before.c_str(), character_data(after).c_str()))
        store_failure("member " + before + " of " + container.label());
    count_member(call, document, before, entity, -1);
    count_member(call, document, after, entity, 1);
}

// ---- names with all that refer to them

namespace {

// Renames an element and the members that name it. The groups that name it so already are counted, too.
void rename_all(Element scope, Element element, const Member &before, const std::string &name) {
    const int earlier = times_named(scope, {"group", before.type, name, before.entity});
    for (Element container : scope) {
        if (!before.may_stand_in(container)) continue;
        for (Element member : container)
            if (before.is_named_by(member)) member.set_text(name);
    }
    element.set_attribute("name", name);
    if (earlier > 0) count_reference(scope, {"group", before.type, name, before.entity}, earlier);
}

}  // namespace

void rename_entity(Call &call, Document &document) {
    const std::string &name = checked_label(call["NEW"]);
    Element entity(document.entity(call.scope(), call.type(), call["OLD"])), scope = entity.parent();
    if (find_entity(scope, call.type(), name))
        throw Failure{not_found, call.type() + ' ' + name + ": it exists already"};
    rename_all(scope, entity, {"", call.type(), call["OLD"], true}, name);
}

void rename_container(Call &call, Document &document) {
    const std::string &name = checked_label(call["NEW"]), &kind = call.kind();
    Container(document, call.scope(), kind, call.type(), call["OLD"]);
    Element scope = document.scope(call.scope());
    if (find_container(scope, kind, call.type(), name))
        throw Failure{not_found, kind + ' ' + name + ": it exists already"};
    rename_all(scope, find_container(scope, kind, call.type(), call["OLD"]), {kind, call.type(), call["OLD"], false},
               name);
}

// ---- attributes

namespace {

void set_of_container(const Call &call, Document &document, const std::string &attribute, const std::string &value) {
    const std::string &kind = call.option('k');
    Container container(document, call.scope(), kind, call.type(), call.entity());
    Element scope = document.scope(call.scope()), element = find_container(scope, kind, call.type(), call.entity());
    auto make = [&] {
        if (!kvio_setattr_container(container.get(), attribute.c_str(), value.c_str()))
            store_failure(container.label());
    };
    if (kind != "group") return make();
    Member before = {"group", call.type(), call.entity(), false}, after = before;
    if (attribute == "name") after.name = value;
    if (attribute == "type") after.type = value;
    renamed(scope, before, after, make);
    if (before.type == after.type) return;
    // The members of a group of another type are others.
    for (Element one : element) {
        count_reference(scope, {"group", before.type, one.text(), one.is("entity")}, -1);
        count_reference(scope, {"group", after.type, one.text(), one.is("entity")}, 1);
    }
}

}  // namespace

void attr_set(Call &call, Document &document) {
    const std::string &attribute = checked_name(call["ATTRIBUTE"], "attribute");
    const std::string &value = checked_text(call["VALUE"], "the value");
    if (attribute == "name") checked_label(value);
    if (attribute == "type" && call.has('k')) checked_name(value, "type");
    if (attribute == "xmlns") throw Failure{misused, "the attribute xmlns cannot be set: it would hide the element"};
    if (call.has('k')) return set_of_container(call, document, attribute, value);
    kvio_node_t *entity = document.entity(call.scope(), call.type(), call.entity());
    Member before = {"group", call.type(), call.entity(), true}, after = before;
    if (attribute == "name") after.name = value;
    renamed(document.scope(call.scope()), before, after, [&] {
        if (!kvio_setattr_entity(entity, attribute.c_str(), value.c_str()))
            store_failure(call.type() + ' ' + call.entity());
    });
}

void attr_unset(Call &call, Document &document) {
    const std::string &attribute = call["ATTRIBUTE"];
    if (attribute == "name" || (attribute == "type" && call.has('k')))
        throw Failure{misused, "the attribute " + attribute + " cannot be removed"};
    if (call.has('k')) {
        Container container(document, call.scope(), call.option('k'), call.type(), call.entity());
        if (!kvio_unsetattr_container(container.get(), attribute.c_str())) store_failure(container.label());
    } else if (!kvio_unsetattr_entity(document.entity(call.scope(), call.type(), call.entity()), attribute.c_str())) {
        store_failure(call.type() + ' ' + call.entity());
    }
}

void attr_increase(Call &call, Document &document) { change_counter(call, document, kvio_increase_entity_attr, true); }

void attr_decrease(Call &call, Document &document) { change_counter(call, document, kvio_decrease_entity_attr, false); }

}  // namespace kvio
