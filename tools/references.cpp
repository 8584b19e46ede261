#include "references.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace kvio {
namespace {

// A text in a path, where nothing stands for the quotes themselves.
std::string quoted(const std::string &text) {
    if (text.find('\'') == std::string::npos) return '\'' + text + '\'';
    std::string pieces;
    for (char c : text) pieces += c == '\'' ? "',\"'\",'" : std::string(1, c);
    return "concat('" + pieces + "')";
}

std::string next(const std::string &count, int change) {
    return std::to_string(std::max(std::strtol(count.c_str(), nullptr, 10) + change, 0L));
}

}  // namespace

int times_named(Document &document, const Member &member, const std::string &container) {
    int many = 0;
    for (const char *kind : {"table", "list", "group"}) {
        if (!member.kind.empty() && member.kind != kind) continue;
        std::string path = std::string(kind) + "[@type=" + quoted(member.type) + ']';
        if (!container.empty()) path += "[@name=" + quoted(container) + ']';
        path += (member.entity ? "/entity[.=" : "/container[.=") + quoted(member.name) + ']';
        many += kvio_entity_count(document.get(), member.scope.c_str(), path.c_str());
    }
    return many;
}

std::string container_naming(Document &document, const Member &member) {
    if (times_named(document, member) == 0) return "";
    for (Element container : document.tree().scope(member.scope).children()) {
        if (container.role() != Role::container || container.type() != member.type) continue;
        if (!member.kind.empty() && container.tag() != member.kind) continue;
        for (Element one : container.children())
            if (one.tag() == (member.entity ? "entity" : "container") && one.text() == member.name)
                return container.tag() + ' ' + container.name();
    }
    return "a container";
}

void count_reference(Document &document, const Member &member, int change) {
    const std::string &scope = member.scope, &type = member.type, &name = member.name;
    char text[16] = "";
    auto right = [&] { return *text ? next(text, change) : std::to_string(times_named(document, member)); };
    if (member.entity) {
        kvio_node_t *node = kvio_retrieve_entity(document.get(), scope.c_str(), type.c_str(), name.c_str());
        if (!node) return;
        kvio_getattr_entity2(node, "reference", text, sizeof text);
        if (!*text && change < 0) return;
        if (!kvio_setattr_entity(node, "reference", right().c_str())) store_failure(type + ' ' + name);
    } else {
        std::unique_ptr<kvio_iterator_t, int (*)(kvio_iterator_t *)> group(
            kvio_open_group(document.get(), scope.c_str(), type.c_str(), name.c_str()), kvio_close_group);
        if (!group) return;
        kvio_getattr_container2(group.get(), "reference", text, sizeof text);
        if (!*text && change < 0) return;
        if (!kvio_setattr_container(group.get(), "reference", right().c_str())) store_failure("group " + name);
    }
}

}  // namespace kvio
