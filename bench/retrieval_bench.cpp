// Sizes, loops, retrieval and appending against the plain walk: a search of the scope for each member and each nested
// container, marks on the elements that are cleared after a loop check, a count of the members for each append.
#include <kavex/store.h>
#include <libxml/tree.h>

#include <cstring>
#include <random>

#include "bench/measure.h"

namespace {

using Names = std::vector<std::string>;

Names numbered(int count, int first = 0, int step = 1) {
    Names names;
    for (int i = 0; i < count; ++i) names.push_back("address-" + std::to_string(first + i * step));
    return names;
}

std::string entities(int count) {
    std::string text;
    for (const std::string &name : numbered(count))
        text += "<address_t name=\"" + name + "\"><ip>10.0.0.1</ip></address_t>\n";
    return text;
}

std::string group_of(const Names &names, const std::string &group_name = "top", std::string members = "") {
    for (const std::string &name : names) members += member(name);
    return group(group_name, "address_t", members);
}

// A thousand groups, ten in each, with ten entities each.
std::string thousand_groups() {
    Names names = numbered(10000);
    std::shuffle(names.begin(), names.end(), std::mt19937(1));
    std::string text;
    for (int i = 0; i < 1000; ++i) {
        std::string groups;
        for (int j = 10 * i + 1; j <= 10 * i + 10 && j < 1000; ++j) groups += nested("group" + std::to_string(j));
        const Names ten(&names[10 * i], &names[10 * i] + 10);
        text += group_of(ten, i ? "group" + std::to_string(i) : "top", groups);
    }
    return text;
}

// An open document and its group "top".
struct Document {
    explicit Document(const std::string &scope) {
        write_file("/etc/kavex/conf/bench.xml", "<kavex><system/><address>\n" + scope + "</address></kavex>");
        config = kvio_open_config("bench.xml", 0);
        top = kvio_open_group(config, "address", "address_t", "top");
        element = kvio_retrieve_entity(config, "address", "group", "top");
        if (!top || !element) give_up("no document");
    }
    ~Document() {
        kvio_close_group(top);
        kvio_close_config(config);
    }
    Document(const Document &) = delete;

    kvio_config_t *config;
    kvio_iterator_t *top;
    xmlNode *element;
};

bool is(const xmlNode *node, const char *name) {
    return node->type == XML_ELEMENT_NODE && std::strcmp(reinterpret_cast<const char *>(node->name), name) == 0;
}

// The text of an element or attribute, in place: the plain walk is not made slower than it has to be.
const char *text_of(const xmlNode *first) { return first ? reinterpret_cast<const char *>(first->content) : ""; }

// The attribute "name" comes first in these documents.
xmlNode *find(const xmlNode *scope, const char *element, const char *name) {
    for (xmlNode *child = scope->children; child; child = child->next)
        if (is(child, element) && std::strcmp(text_of(child->properties->children), name) == 0) return child;
    return nullptr;
}

// The plain walk. Ends with false as soon as a container must not be entered.
template <class Enter, class Meet>
bool walk(xmlNode *container, Enter enter, Meet meet) {
    if (!enter(container)) return false;
    for (xmlNode *child = container->children; child; child = child->next) {
        if (is(child, "entity")) meet(child);
        if (is(child, "container") && !walk(find(container->parent, "group", text_of(child->children)), enter, meet))
            return false;
    }
    return true;
}

bool enter_all(xmlNode *) { return true; }

int real_size(xmlNode *container) {
    int count = 0;
    walk(container, enter_all, [&](xmlNode *) { ++count; });
    return count;
}

bool has_loop(xmlNode *container) {
    const auto enter = [](xmlNode *node) { return !std::exchange(node->_private, node); };
    const bool result = !walk(container, enter, [](xmlNode *) {});
    for (xmlNode *node = container->parent->children; node; node = node->next) node->_private = nullptr;
    return result;
}

std::vector<xmlNode *> retrieve_all(xmlNode *container) {
    std::vector<xmlNode *> found;
    if (has_loop(container)) return found;
    found.reserve(static_cast<size_t>(real_size(container)));
    walk(container, enter_all, [&](xmlNode *member) {
        xmlNode *entity = find(container->parent, "address_t", text_of(member->children));
        if (std::find(found.begin(), found.end(), entity) == found.end()) found.push_back(entity);
    });
    return found;
}

void append_after_counting(xmlNode *container, const std::string &name) {
    int count = 0;
    for (const xmlNode *child = container->children; child; child = child->next) count += is(child, "entity");
    const std::string text = name.empty() ? "#" + std::to_string(count + 1) : name;
    xmlNewTextChild(container, nullptr, xml_text("entity"), xml_text(text));
}

void race_retrieval(const std::string &what, double goal, const Document &document) {
    const auto expected = retrieve_all(document.element);
    kvio_entities_t *array = kvio_retrieve_all(document.top);
    if (!array || !std::equal(expected.begin(), expected.end(), array->items, array->items + array->count))
        give_up("the results differ");
    kvio_free_entities(array);
    race(
        what, goal, expected.size() < 10000 ? 20 : 5, 10e-3, [&] { retrieve_all(document.element); },
        [&] { kvio_free_entities(kvio_retrieve_all(document.top)); });
}

// From an empty group to one of so many members.
void append(int count, double goal) {
    const Names names = numbered(count);
    Document document(group_of({}));
    const auto empty = [&] {
        xmlFreeNodeList(document.element->children);
        document.element->children = document.element->last = nullptr;
    };
    const auto plain = [&] {
        for (const std::string &name : names) append_after_counting(document.element, name);
    };
    const auto library = [&] {
        for (const std::string &name : names) kvio_append(document.top, name.c_str());
    };
    race(std::to_string(count) + " appended", goal, 25, 0, plain, library, empty);
}

}  // namespace

void retrieval() {
    // The same names in any order: the store then looks them up all over the memory, the plain walk costs the same.
    for (int count : {100, 1000, 10000}) {
        Names names = numbered(count);
        const double goal = count == 100 ? 1 : 10.0 / count;
        const std::string what = std::to_string(count) + " members", all = entities(count);
        race_retrieval(what, goal, Document(all + group_of(names)));
        std::shuffle(names.begin(), names.end(), std::mt19937(1));
        race_retrieval(what + " in any order", count == 10000 ? 2 * goal : goal, Document(all + group_of(names)));
    }
    const std::string all = entities(10000);
    for (int first : {0, 5000, 9996})
        race_retrieval("4 of 10000, from " + std::to_string(first), 1, Document(all + group_of(numbered(4, first))));
    race_retrieval("4 of 10000, far apart", 1, Document(all + group_of(numbered(4, 0, 3333))));
    {
        const Document nested(all + thousand_groups());
        race_retrieval("1000 nested groups", 1.0 / 100, nested);
        race(
            "their size", 1.0 / 100, 5, 0, [&] { real_size(nested.element); }, [&] { kvio_real_size(nested.top); });
        race(
            "their loops", 1.0 / 100, 5, 0, [&] { has_loop(nested.element); }, [&] { kvio_check_loop(nested.top); });
    }
    append(1000, 1.0 / 15);
    append(10000, 1.0 / 150);
}
