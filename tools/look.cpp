// The verbs that look. They read snapshots, so that they work while somebody else holds the file.
#include <dirent.h>
#include <fnmatch.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <set>

#include "document.h"
#include "output.h"

namespace kvio {
namespace {

Element container_in(const Tree &tree, const std::string &scope, const std::string &kind, const std::string &type,
                     const std::string &name) {
    Element found = find_container(tree.scope(scope), kind_of(kind).name, type, name);
    if (!found) throw Failure{not_found, "no " + kind + ' ' + name + " of " + type + " in " + scope};
    return found;
}

Element entity_in(const Tree &tree, const std::string &scope, const std::string &type, const std::string &name) {
    Element found = find_entity(tree.scope(scope), type, name);
    if (!found) throw Failure{not_found, "no " + type + ' ' + name + " in " + scope};
    return found;
}

// With --default, in the place of what is not there.
template <class Print>
void or_default(Call &call, Print print) {
    try {
        print();
    } catch (const Failure &failure) {
        if (failure.status != not_found || !call.has('d')) throw;
        put(call.options['d'] + '\n');
    }
}

std::string value_of(kvio_node_t *entity, const std::string &field, const std::string &what) {
    uint32_t length = 0;
    if (!kvio_getlen(entity, field.c_str(), &length)) store_failure("field " + field + " of " + what);
    std::string value(length + 1, '\0');
    if (!kvio_get2(entity, field.c_str(), value.data(), length + 1)) store_failure("field " + field + " of " + what);
    value.pop_back();
    return value;
}

// The entity of a tree that holds nothing else but the scopes around it.
Element innermost(Element element, const std::string &type, const std::string &name) {
    while (element && !(element.role() == Role::entity && element.tag() == type && element.name() == name)) {
        std::vector<Element> children = element.children();
        element = children.empty() ? Element(nullptr) : children.front();
    }
    return element;
}

void put_values(Call &call, Document &document) {
    const std::string what = call[2] + ' ' + call[3];
    auto in_store = [&] { return document.entity(call[1], call[2], call[3]); };
    std::optional<Tree> alone = document.alone(call[1], call[2], call[3]);
    Element entity = alone ? innermost(alone->root(), call[2], call[3]) : Element(nullptr);
    if (!entity) {
        try {
            in_store();
        } catch (const Failure &failure) {  // what is there twice is in the tree; what is missing takes none to know
            if (failure.status == not_found) throw;
        }
        entity = entity_in(document.tree(), call[1], call[2], call[3]);
        alone.reset();
    }
    // What an element has below it was indented when the tree was made.
    for (Element field : entity.children())
        put_columns({field.tag(),
                     alone && !field.children().empty() ? value_of(in_store(), field.tag(), what) : field.value()});
}

void put_value(Call &call, Document &document) {
    put(value_of(document.entity(call[1], call[2], call[3]), call[4], call[2] + ' ' + call[3]) + '\n');
}

// The names in a container and in those that it names, once each; the latter need not be there.
void each_name(Element container, std::set<std::string> &walked, std::set<std::string> &names) {
    for (Element member : container.children()) {
        const std::string name = member.text();
        if (member.tag() == "entity" && names.insert(name).second) put(one_line(name) + '\n');
        if (member.tag() != "container" || !walked.insert(name).second) continue;
        if (Element nested = find_container(container.parent(), container.tag(), container.type(), name))
            each_name(nested, walked, names);
    }
}

// ---- show

std::string other_attributes(Element element, const Strings &known) {
    std::string text;
    for (const auto &[name, value] : element.attributes())
        if (std::find(known.begin(), known.end(), name) == known.end())
            text += (text.empty() ? " [" : ", ") + name + '=' + one_line(value);
    return text.empty() ? text : coloured("2", text + ']');
}

std::string label(Element element) {
    switch (element.role()) {
        case Role::container:
            return coloured("1;35", element.tag() + ' ' + one_line(element.name())) + " of " +
                   one_line(element.type()) + other_attributes(element, {"name", "type"});
        case Role::entity:
            return coloured("32", element.tag()) + ' ' + coloured("1", one_line(element.name())) +
                   other_attributes(element, {"name"});
        case Role::scope: {
            std::string text = coloured("1;34", element.tag() + '/') + other_attributes(element, {});
            return element.children().empty() ? text + (element.text().empty() ? "" : " " + one_line(element.text()))
                                              : text;
        }
        case Role::other:
            break;
    }
    if (element.parent() && element.parent().role() == Role::container)
        return one_line(element.text()) + (element.tag() == "entity" ? "" : " (" + element.tag() + ')');
    return element.tag() + " = " + one_line(element.value());
}

// What stands below an entity's values and a container's members is not the store's.
bool opens(Element element) { return element.role() != Role::other; }

void draw(Element element, const std::string &margin, const std::string &below) {
    put(margin + label(element) + '\n');
    if (!opens(element)) return;
    std::vector<Element> children = element.children();
    for (Element child : children) {
        bool last = child == children.back();
        if (decorated())
            draw(child, below + (last ? "└─ " : "├─ "), below + (last ? "   " : "│  "));
        else
            draw(child, below + "  ", below + "  ");
    }
}

std::string json_attributes(Element element, const Strings &known) {
    std::string text;
    for (const auto &[name, value] : element.attributes())
        if (std::find(known.begin(), known.end(), name) == known.end())
            text += (text.empty() ? "" : ", ") + json(name) + ": " + json(value);
    return '{' + text + '}';
}

// Of fields that occur twice the store sees the first.
std::string json_fields(Element entity) {
    std::string text;
    Strings seen;
    for (Element field : entity.children()) {
        if (std::find(seen.begin(), seen.end(), field.tag()) != seen.end()) continue;
        seen.push_back(field.tag());
        text += (text.empty() ? "" : ", ") + json(field.tag()) + ": " + json(field.value());
    }
    return '{' + text + '}';
}

std::string json_members(Element container) {
    std::string text;
    for (Element member : container.children())
        text += (text.empty() ? "{" : ", {") + json(member.tag()) + ": " + json(member.text()) + '}';
    return '[' + text + ']';
}

std::string json_element(Element element, const std::string &indent);

std::string json_list(const char *title, Element scope, Role role, const std::string &indent) {
    std::string text;
    for (Element child : scope.children())
        if (child.role() == role)
            text += (text.empty() ? "" : ",") + ("\n" + indent + "  ") + json_element(child, indent + "  ");
    return ", " + json(title) + ": [" + text + "]";
}

std::string json_element(Element element, const std::string &indent) {
    if (element.role() == Role::entity)
        return "{\"type\": " + json(element.tag()) + ", \"name\": " + json(element.name()) +
               ", \"attributes\": " + json_attributes(element, {"name"}) + ", \"fields\": " + json_fields(element) +
               '}';
    if (element.role() == Role::container)
        return "{\"kind\": " + json(element.tag()) + ", \"type\": " + json(element.type()) +
               ", \"name\": " + json(element.name()) +
               ", \"attributes\": " + json_attributes(element, {"name", "type"}) +
               ", \"members\": " + json_members(element) + '}';
    std::string text = "{\"scope\": " + json(element.scope()) + ", \"attributes\": " + json_attributes(element, {});
    if (element.children().empty() && !element.text().empty()) text += ", \"text\": " + json(element.text());
    return text + json_list("entities", element, Role::entity, indent) +
           json_list("containers", element, Role::container, indent) +
           json_list("scopes", element, Role::scope, indent) + '}';
}

std::vector<Element> top(const Tree &tree, Call &call) {
    if (call.count() > 1) return {tree.scope(call[1])};
    return tree.root().children();
}

// ---- find

struct Search {
    const char *pattern;
    std::string type, field;

    bool matches(const std::string &text) const { return fnmatch(pattern, text.c_str(), 0) == 0; }

    int in_scope(Element scope) const {
        int found = 0;
        for (Element child : scope.children()) {
            if (child.role() == Role::scope) found += in_scope(child);
            if (child.role() == Role::entity && (type.empty() || child.tag() == type))
                found += in_entity(child, scope.scope());
        }
        return found;
    }

    int in_entity(Element entity, const std::string &scope) const {
        int found = 0;
        if (field.empty() && matches(entity.name())) put_columns({scope, entity.tag(), entity.name()}), ++found;
        for (Element value : entity.children())
            if ((field.empty() || value.tag() == field) && matches(value.value()))
                put_columns({scope, entity.tag(), entity.name(), value.tag(), value.value()}), ++found;
        return found;
    }
};

std::string attribute_of(kvio_node_t *entity, const std::string &attribute) {
    std::string text(256, '\0');
    do {
        text.resize(text.size() * 2);
        kvio_getattr_entity2(entity, attribute.c_str(), text.data(), static_cast<unsigned>(text.size()));
        text.back() = '\0';
    } while (std::char_traits<char>::length(text.c_str()) + 1 == text.size());
    text.resize(std::char_traits<char>::length(text.c_str()));
    return text;
}

}  // namespace

Strings configurations() {
    Strings names;
    std::unique_ptr<DIR, int (*)(DIR *)> directory(opendir(config_directory), closedir);
    if (!directory)
        throw Failure{errno == EACCES ? denied : not_found, std::string(config_directory) + " cannot be read"};
    while (dirent *entry = readdir(directory.get())) {
        struct stat file;
        if (stat((config_directory + std::string(entry->d_name)).c_str(), &file) == 0 && S_ISREG(file.st_mode))
            names.emplace_back(entry->d_name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

int show(Call &call) {
    std::string format = call.has('F') ? call.options['F'] : "text";
    Document document = Document::look(call[0]);
    if (format == "xml") {
        Call file = call;
        file.arguments.resize(1);
        if (call.count() > 1) file.arguments.push_back(call[1]);
        return call.count() > 1 ? backup(file) : dump(file);
    }
    std::vector<Element> shown = top(document.tree(), call);
    if (format == "text") {
        for (Element element : shown) draw(element, "", "");
    } else if (format == "json") {
        std::string text;
        for (Element element : shown) text += (text.empty() ? "\n  " : ",\n  ") + json_element(element, "  ");
        put("[" + text + "\n]\n");
    } else {
        throw Failure{misused, "FORMAT is text, json or xml, not " + format};
    }
    return success;
}

int get(Call &call) {
    checked_name(call[2], "type");
    Document document = Document::look(call[0]);
    or_default(call, [&] { call.count() == 4 ? put_values(call, document) : put_value(call, document); });
    document.abandon();
    return success;
}

int ls(Call &call) {
    if (call.count() == 0) {
        for (const std::string &name : configurations()) put(one_line(name) + '\n');
        return success;
    }
    Document document = Document::look(call[0]);
    if (call.count() == 1) {
        document.tree().each_scope([](Element scope) { put(scope.scope() + '\n'); });
        return success;
    }
    for (Element child : document.tree().scope(call[1]).children()) {
        if (call.count() > 2) {
            if (child.role() == Role::entity && child.tag() == call[2]) put(one_line(child.name()) + '\n');
        } else if (child.role() == Role::container) {
            put_columns({child.tag(), child.type(), child.name()});
        } else {
            child.role() == Role::scope ? put(child.tag() + "/\n") : put_columns({child.tag(), child.name()});
        }
    }
    return success;
}

int members(Call &call) {
    Document document = Document::look(call[0]);
    if (!call.has('r')) {
        for (Element member : container_in(document.tree(), call[1], call[2], call[3], call[4]).children())
            put_columns({member.tag(), member.text()});
        return success;
    }
    if (!holds_entities(call[3])) {
        std::set<std::string> walked{call[4]}, names;
        return each_name(container_in(document.tree(), call[1], call[2], call[3], call[4]), walked, names), success;
    }
    Container container(document, call[1], call[2], call[3], call[4]);
    std::unique_ptr<kvio_entities_t, void (*)(kvio_entities_t *)> found(kvio_retrieve_all2(container.get()),
                                                                        kvio_free_entities);
    if (!found) store_failure(container.label());
    for (int i = 0; i < found->count; ++i) put(one_line(attribute_of(found->items[i], "name")) + '\n');
    return success;
}

int find(Call &call) {
    Document document = Document::look(call[0]);
    Search search{call[1].c_str(), call.options['t'], call.options['e']};
    int found = 0;
    if (call.count() > 2)
        found = search.in_scope(document.tree().scope(call[2]));
    else
        for (Element scope : document.tree().root().children()) found += search.in_scope(scope);
    return found ? success : not_found;
}

int count(Call &call) {
    Document document = Document::look(call[0]);
    document.check_scope(call[1]);
    const std::string type = checked_name(call[2], "type") + "[@name]";  // scopes in the scope have none
    put(std::to_string(kvio_entity_count(document.get(), call[1].c_str(), type.c_str())) + '\n');
    return success;
}

int refs(Call &call) {
    Document document = Document::look(call[0]);
    Element scope = document.tree().scope(call[1]);
    std::string kind = call.has('k') ? kind_of(call.options['k']).name : "";
    int found = 0;
    for (Element container : scope.children()) {
        if (container.role() != Role::container || container.type() != call[2]) continue;
        if (!kind.empty() && container.tag() != kind) continue;
        for (Element member : container.children()) {
            if (member.tag() != (kind.empty() ? "entity" : "container") || member.text() != call[3]) continue;
            put_columns({container.tag(), container.type(), container.name()});
            ++found;
            break;
        }
    }
    return found ? success : not_found;
}

int attr_get(Call &call) {
    Document document = Document::look(call[0]);
    or_default(call, [&] {
        Element element = call.has('k') ? container_in(document.tree(), call[1], call.options['k'], call[2], call[3])
                                        : entity_in(document.tree(), call[1], call[2], call[3]);
        std::optional<std::string> value = element.attribute(call[4].c_str());
        if (!value) throw Failure{not_found, "no attribute " + call[4] + " at " + call[2] + " " + call[3]};
        put(*value + '\n');
    });
    return success;
}

}  // namespace kvio
