// The verbs that look. They read snapshots, so that they work while another process holds the file.
#include <fnmatch.h>

#include "document.h"

namespace kvio {
namespace {

// With --default, in the place of what is not there.
template <class Print>
void or_default(const Call &call, Print print) {
    try {
        print();
    } catch (const Failure &failure) {
        if (failure.status != not_found || !call.has('d')) throw;
        put(call.option('d') + '\n');
    }
}

// ---- show

std::string attributes_of(Element element) {
    Strings texts;
    for (const auto &[name, value] : element.other_attributes()) texts.push_back(name + ('=' + one_line(value)));
    return texts.empty() ? "" : coloured("2", " [" + joined(texts, ", ") + ']');
}

std::string drawn(Element element) {
    const std::string tag = element.tag(), name = one_line(element.name());
    switch (element.role()) {
        case Role::container:
            return coloured("1;35", tag + ' ' + name) + " of " + one_line(element.type()) + attributes_of(element);
        case Role::entity:
            return coloured("32", tag) + ' ' + coloured("1", name) + attributes_of(element);
        case Role::scope: {
            const std::string text = element.is_empty() ? one_line(element.text()) : "";
            return coloured("1;34", tag + '/') + attributes_of(element) + (text.empty() ? "" : " " + text);
        }
        case Role::other:
            break;
    }
    if (element.parent() && element.parent().role() == Role::container)
        return one_line(element.text()) + (tag == "entity" ? "" : " (" + tag + ')');
    return tag + " = " + one_line(element.value());
}

// Elements below fields and members are not drawn: the store does not read them.
void draw(Element element, const std::string &margin, const std::string &below) {
    put(margin + drawn(element) + '\n');
    if (element.role() == Role::other) return;
    for (Element child : element) {
        bool last = !child.next();
        if (decorated())
            draw(child, below + (last ? "└─ " : "├─ "), below + (last ? "   " : "│  "));
        else
            draw(child, below + "  ", below + "  ");
    }
}

// Of fields that occur twice the store reads the first.
std::string json_fields(Element entity) {
    Pairs fields;
    for (Element field : entity)
        if (entity.child(field.tag()) == field) fields.emplace_back(field.tag(), field.value());
    return json_texts(fields);
}

std::string json_members(Element container) {
    Strings members;
    for (Element member : container) members.push_back(json_texts({{member.tag(), member.text()}}));
    return json_array(members);
}

std::string json_element(Element element, const std::string &indent);

std::string json_list(Element scope, Role role, const std::string &indent) {
    std::string text;
    for (Element child : scope)
        if (child.role() == role)
            text += (text.empty() ? "" : ",") + ("\n" + indent + "  ") + json_element(child, indent + "  ");
    return '[' + text + ']';
}

std::string json_element(Element element, const std::string &indent) {
    const Role role = element.role();
    Pairs members;
    if (role == Role::scope) members = {{"scope", json(element.scope())}};
    if (role == Role::entity) members = {{"type", json(element.tag())}, {"name", json(element.name())}};
    if (role == Role::container)
        members = {{"kind", json(element.tag())}, {"type", json(element.type())}, {"name", json(element.name())}};
    members.emplace_back("attributes", json_texts(element.other_attributes()));
    if (role == Role::entity) members.emplace_back("fields", json_fields(element));
    if (role == Role::container) members.emplace_back("members", json_members(element));
    if (role != Role::scope) return json_object(members);
    if (element.is_empty() && !element.text().empty()) members.emplace_back("text", json(element.text()));
    members.emplace_back("entities", json_list(element, Role::entity, indent));
    members.emplace_back("containers", json_list(element, Role::container, indent));
    members.emplace_back("scopes", json_list(element, Role::scope, indent));
    return json_object(members);
}

// ---- members

// The names in a user group and in those that it names, once each; the latter may be missing.
void put_names(Element container, Rows &rows) {
    std::map<Identity, Element> groups;
    for (Element one : container.parent()) groups.emplace(one.identity(), one);
    groups.erase(container.identity());
    std::set<std::string> names;
    std::vector<Element> found = {container};
    for (std::size_t i = 0; i < found.size(); ++i) {
        for (Element member : Element(found[i])) {
            const Identity named = named_by(container, member);
            if (member.is("entity") && names.insert(named.name).second) rows.add({{"entity", named.name}});
            auto nested = member.is("container") ? groups.find(named) : groups.end();
            if (nested == groups.end()) continue;
            found.push_back(nested->second);
            groups.erase(nested);
        }
    }
}

// ---- find

// The name of an entity or container, its fields or members, if they match the pattern.
void find_in(Element element, const Call &call, const std::string &pattern, Rows &rows) {
    if (element.role() == Role::scope) return;
    const Identity identity = element.identity();
    const std::string &field = call.option('e');
    const bool container = !identity.kind.empty();
    if ((container && !field.empty()) || (call.has('t') && call.option('t') != identity.type)) return;
    auto add_match = [&](const std::string &text, Element part) {
        if (fnmatch(pattern.c_str(), text.c_str(), 0) != 0) return;
        Pairs row = {{"scope", element.scope()}, {"type", identity.full_type()}, {"name", identity.name}};
        if (part) row.insert(row.end(), {{"field", part.tag()}, {"value", text}});
        rows.add(row);
    };
    if (field.empty()) add_match(identity.name, Element());
    for (Element part : element)
        if (field.empty() || part.is(field)) add_match(container ? part.text() : part.value(), part);
}

}  // namespace

int show(Call &call) {
    const std::string format = format_of(call, true);
    if (format == "xml") return backup(call);
    Document document = Document::look(call.name());
    Strings objects;
    auto print = [&](Element scope) {
        if (format == "text")
            draw(scope, "", "");
        else
            objects.push_back(json_element(scope, "  "));
    };
    if (call.given("SCOPE"))
        print(document.scope(call.scope()));
    else
        for (Element scope : document.root()) print(scope);
    if (format == "json") put(json_lines(objects));
    return success;
}

int get(Call &call) {
    checked_name(call.type(), "type");
    Document document = Document::look(call.name());
    or_default(call, [&] {
        Rows rows(call);
        const std::string &wanted = call["FIELD"];
        const Element entity = document.find(call), field = entity.child(wanted);
        if (!wanted.empty() && !field)
            throw Failure{not_found, "field " + wanted + " of " + entity.label() + ": not found"};
        if (field && !rows.as_json()) return put(field.value() + '\n');
        for (Element one : entity)
            if (!field || one == field) rows.add({{"field", one.tag()}, {"value", one.value()}});
        rows.finish();
    });
    return success;
}

int ls(Call &call) {
    Rows rows(call);
    if (!call.given("NAME")) {
        for (const std::string &name : configurations()) rows.add({{"name", name}});
        return rows.finish();
    }
    Document document = Document::look(call.name());
    if (!call.given("SCOPE")) {
        each_scope(document.root(), [&](Element scope) { rows.add({{"scope", scope.scope()}}); });
        return rows.finish();
    }
    for (Element child : document.scope(call.scope())) {
        Role role = child.role();
        if (call.given("TYPE")) {
            if (role == Role::entity && child.is(call.type())) rows.add({{"name", child.name()}});
        } else if (role == Role::container) {
            rows.add({{"kind", child.tag()}, {"type", child.type()}, {"name", child.name()}});
        } else if (role == Role::scope) {
            rows.add({{"scope", child.tag() + std::string(rows.as_json() ? "" : "/")}});
        } else {
            rows.add({{"type", child.tag()}, {"name", child.name()}});
        }
    }
    return rows.finish();
}

int members(Call &call) {
    Document document = Document::look(call.name());
    Rows rows(call);
    Element container = document.find(call);
    if (!call.has('r')) {
        for (Element member : container) rows.add({{"member", member.tag()}, {"name", member.text()}});
    } else if (holds_entities(call.type())) {
        const Entities found(kvio_retrieve_all2(document.handle_of(call).get()));
        if (!found) store_failure(container.label());
        for (int i = 0; i < found->count; ++i) rows.add({{"entity", Element(found->items[i]).name()}});
    } else {
        put_names(container, rows);
    }
    return rows.finish();
}

int find(Call &call) {
    Document document = Document::look(call.name());
    Rows rows(call, true);
    each_below(call.given("SCOPE") ? document.scope(call.scope()) : document.root(),
               [&](Element one) { find_in(one, call, call["PATTERN"], rows); });
    return rows.finish(not_found);
}

int count(Call &call) {
    Document document = Document::look(call.name());
    const std::string &type = checked_name(call.type(), "type");
    int many = 0;
    for (Element child : document.scope(call.scope())) many += child.role() == Role::entity && child.is(type);
    put(std::to_string(many) + '\n');
    return success;
}

int refs(Call &call) {
    Document document = Document::look(call.name());
    Rows rows(call, true);
    Element last;
    for (Element member : members_naming(document.scope(call.scope()), identity_of(call))) {
        const Element container = member.parent();
        if (container != last)
            rows.add({{"kind", container.tag()}, {"type", container.type()}, {"name", container.name()}});
        last = container;
    }
    return rows.finish(not_found);
}

int attr_get(Call &call) {
    Document document = Document::look(call.name());
    or_default(call, [&] {
        const Element element = document.find(call);
        std::optional<std::string> value = element.attribute(call["ATTRIBUTE"]);
        if (!value) throw Failure{not_found, "no attribute " + call["ATTRIBUTE"] + " of " + element.label()};
        put(*value + '\n');
    });
    return success;
}

}  // namespace kvio
