// The verbs that change. Each works on an open document, which changes.cpp opens, saves and closes.
#include <libxml/xmlstring.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "document.h"

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

// Mentions on a terminal a field that no entity of the type has, though there are others: it may be misspelt.
void mention_new_field(Element entity, const std::string &field) {
    if (!messages::on_terminal()) return;
    bool others = false;
    for (Element one : entity.parent()) {
        if (!one.is(entity.tag())) continue;
        if (one.child(field)) return;
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

[[noreturn]] void refuse_existing(const std::string &what) { throw Failure{not_found, what + ": it exists already"}; }

// A container, or a member of it.
std::string label_of(const Handle &handle, const std::string &member = "") {
    const std::string label = Element(handle->node).label();
    return member.empty() ? label : "member " + member + " of " + label;
}

void refuse_member(const Handle &handle, const std::string &name) {
    for (Element member : Element(handle->node))
        if ((member.is("entity") || member.is("container")) && member.text() == name)
            refuse_existing(label_of(handle, name));
}

}  // namespace

// ---- entities and scopes

void set(Call &call, Document &document) { set_fields(document.find(call).node(), call.from("FIELD")); }

void unset(Call &call, Document &document) {
    const Element entity = document.find(call);
    for (const std::string &field : call.from("FIELD")) {
        if (!entity.child(field)) throw Failure{not_found, "no field " + field + " of " + entity.label()};
        while (Element found = entity.child(field)) found.remove();
    }
}

void define(Call &call, Document &document) {
    const std::string &type = checked_type(call.type()), &name = checked_label(call.entity());
    document.scope(call.scope());
    kvio_node_t *entity = kvio_define2(document.get(), call.scope().c_str(), type.c_str(), name.c_str());
    if (!entity) store_failure(type + ' ' + name + " in " + call.scope());
    set_fields(entity, call.from("FIELD"));
}

// Deletes an entity or container that no container names.
void remove_unnamed(Call &call, Document &document) {
    const Element element = document.find(call);
    const std::vector<Element> named = members_naming(element.parent(), element.identity());
    if (!named.empty() && !call.has('f'))
        throw Failure{inconsistent, named[0].parent().tag() + (' ' + named[0].parent().name()) + " names " +
                                        element.name() + "; remove it from there first, or use --force"};
    document.references.erase(element.node());
    element.remove();
}

// Renames an entity or container and the members that name it.
void rename_all(Call &call, Document &document) {
    const Element element = document.find(call);
    Identity renamed = element.identity();
    const std::vector<Element> members = members_naming(element.parent(), renamed);
    document.renamed.insert(document.renamed.end(), {renamed.name, call["NEW"]});
    renamed.name = checked_label(call["NEW"]);
    for (Element other : element.parent())
        if (other.is(renamed)) refuse_existing(renamed.label());
    for (Element member : members) member.set_text(renamed.name);
    element.set_attribute("name", renamed.name);
}

void create_scope(Call &call, Document &document) {
    if (!made_scope(document, call.scope())) refuse_existing(call.scope());
}

// ---- containers

void create(Call &call, Document &document) {
    checked_name(call.type(), "type");
    checked_label(call.container());
    document.scope(call.scope());
    auto make = kind_of(call.kind()).create;
    const Handle made(make(document.get(), call.scope().c_str(), call.type().c_str(), call.container().c_str()));
    if (!made) store_failure(identity_of(call).label() + " in " + call.scope());
}

void join(Call &call, Document &document) {
    const Handle handle = document.handle_of(call);
    const bool entities = !call.has('c');
    for (const std::string &name : call.from("MEMBER")) {
        const std::string data = character_data(name);
        // The store compares the text that it is given, which is not the name where that has an ampersand.
        if (data != name) refuse_member(handle, name);
        kvio_join(handle.get(), data.c_str(), entities);
        if (kvio_errno) store_failure(label_of(handle, name));
        if (!call.has('f') && (!entities || holds_entities(call.type())))
            document.find(call.scope(), {entities ? "" : call.kind(), call.type(), name});
    }
    if (entities || call.has('f')) return;
    Entities found(kvio_retrieve_all2(handle.get()));
    if (!found && kvio_errno == KVIO_LOOP) store_failure(label_of(handle));
}

void append(Call &call, Document &document) {
    const Handle handle = document.handle_of(call);
    const char *name = call.given("MEMBER") ? checked_label(call["MEMBER"]).c_str() : nullptr;
    if (!kvio_append(handle.get(), name)) store_failure(label_of(handle));
}

void insert(Call &call, Document &document) {
    const Handle handle = document.handle_of(call);
    const std::string name = call.given("MEMBER") ? character_data(call["MEMBER"]) : "";
    if (!kvio_insert(handle.get(), name.c_str(), number(call["NUMBER"], "the position")))
        store_failure(label_of(handle));
}

void leave(Call &call, Document &document) {
    if (call.has('p') == call.given("MEMBER")) throw Failure{misused, "either members or --position"};
    const Handle handle = document.handle_of(call);
    if (call.has('p') && !kvio_delete(handle.get(), number(call.option('p'), "--position")))
        store_failure(label_of(handle));
    for (const std::string &name : call.from("MEMBER"))
        if (!kvio_remove(handle.get(), name.c_str())) store_failure(label_of(handle, name));
}

void rename_member(Call &call, Document &document) {
    const Handle handle = document.handle_of(call);
    const std::string &before = call["MEMBER"], &after = call["NEW"];
    if (before != after) refuse_member(handle, after);
    if (!kvio_change_container_element(handle.get(), before.c_str(), character_data(after).c_str()))
        store_failure(label_of(handle, before));
}

// ---- attributes

void attr_set(Call &call, Document &document) {
    const std::string &attribute = checked_name(call["ATTRIBUTE"], "attribute");
    const std::string &value = checked_text(call["VALUE"], "the value");
    if (attribute == "name") checked_label(value);
    if (attribute == "type" && call.has('k')) checked_name(value, "type");
    if (attribute == "xmlns") throw Failure{misused, "the attribute xmlns cannot be set: it would hide the element"};
    Element target = document.find(call);
    if (!kvio_setattr_entity(target.node(), attribute.c_str(), value.c_str())) store_failure(target.label());
}

void attr_unset(Call &call, Document &document) {
    const std::string &attribute = call["ATTRIBUTE"];
    if (attribute == "name" || (attribute == "type" && call.has('k')))
        throw Failure{misused, "the attribute " + attribute + " cannot be removed"};
    Element target = document.find(call);
    if (!kvio_unsetattr_entity(target.node(), attribute.c_str())) store_failure(target.label());
}

// Adds 1, or subtracts it. The store counts from 0 after the largest number, and after a text that is no number.
void attr_count(Call &call, Document &document) {
    const bool up = call.verb->name == std::string("attr increase");
    const std::string &attribute = checked_name(call["ATTRIBUTE"], "attribute");
    const Element entity = document.find(call);
    const std::string text = entity.attribute(attribute).value_or("");
    bool countable = text.size() <= 10 && text.find_first_not_of("0123456789") == std::string::npos;
    if (!countable || (up && std::strtoull(text.c_str(), nullptr, 10) >= UINT32_MAX))
        throw Failure{inconsistent, "attribute " + attribute + " is " + text + ", which cannot be counted on"};
    uint32_t value = 0;
    auto count = up ? kvio_increase_entity_attr : kvio_decrease_entity_attr;
    if (!count(entity.node(), attribute.c_str(), &value)) store_failure("attribute " + attribute);
    document.output += std::to_string(value) + '\n';
}

}  // namespace kvio
