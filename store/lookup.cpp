// Finds scopes, entities and containers.
//
// A look-up means what an XPath expression means. Nearly all scopes are plain paths of element names: for these a walk
// over the tree gives the same answer about twenty times faster and without an allocation that could fail.
#include <libxml/xpathInternals.h>

#include <cstdio>

#include "store/store.h"

namespace store {
namespace {

// Counts of a look-up that failed.
constexpr int no_context = -1;
constexpr int no_result = -2;

bool is_name_start(char c) noexcept { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }

bool is_name_char(char c) noexcept { return is_name_start(c) || (c >= '0' && c <= '9') || c == '-' || c == '.'; }

// Whether a scope or type consists of element names in ASCII, separated by single slashes.
bool is_plain(const char *path) noexcept {
    do {
        if (!is_name_start(*path)) return false;
        while (is_name_char(*path)) ++path;
    } while (*path == '/' && *++path);
    return !*path && path[-1] != '/';
}

// Returns what follows the first step of a path if the node is an element of that name without a namespace, else null.
const char *behind_step(const xmlNode *node, const char *path) noexcept {
    if (!xml::is_element(node) || node->ns) return nullptr;
    const char *name = xml::str(node->name);
    while (*name && *name == *path) ++name, ++path;
    return !*name && (!*path || *path == '/') ? path : nullptr;
}

// Adds the elements that a plain path selects below a node; for a type their entities, as search_scope() does.
void add_on_path(const xmlNode *parent, const char *path, const char *type, const char *name, Found &found) noexcept {
    for (xmlNode *child = parent->children; child; child = child->next) {
        const char *rest = behind_step(child, path);
        if (!rest) continue;
        if (*rest)
            add_on_path(child, rest + 1, type, name, found);
        else if (type)
            search_scope(child, type, name, false, found);
        else
            found.add(child);
    }
}

// Whether an element is the root.
bool is_root(const xmlNode *element) noexcept { return element && !xml::is_element(element->parent); }

// Evaluates an expression as xmlXPathEvalExpression() does, which frees its state twice when there is no memory for the
// stack of values. Here the stack is allocated first; libxml2 enlarges it.
xml::Result evaluate_expression(const char *expression, xmlXPathContext *context) noexcept {
    auto state = xml::guarded<Owned<xmlXPathParserContext, xmlXPathFreeParserContext>>(
        [&] { return xmlXPathNewParserContext(xml::str(expression), context); });
    if (!state) return nullptr;
    constexpr int values = 10;
    state->valueTab = static_cast<xmlXPathObject **>(xmlMalloc(values * sizeof *state->valueTab));
    if (!state->valueTab) return nullptr;
    state->valueMax = values;
    auto result = xml::guarded<xml::Result>([&]() -> xmlXPathObject * {
        xmlXPathEvalExpr(state.get());
        return state->error == XPATH_EXPRESSION_OK ? valuePop(state.get()) : nullptr;
    });
    while (xmlXPathObject *left = valuePop(state.get())) xmlXPathFreeObject(left);
    return result;
}

// Evaluates "/kavex/SCOPE", "/kavex/SCOPE/TYPE" or "/kavex/SCOPE/TYPE[@name=$name]". The name is a variable because a
// quote in it would end a literal. With "[1]" behind the root the meaning is the same, but libxml2 does not match the
// expression as a pattern, which would hide a shortage of memory.
Found evaluate(xmlDoc *document, const char *scope, const char *type = nullptr, const char *name = nullptr) noexcept {
    char *text = nullptr;
    const char *predicate = name ? "[@name=$name]" : "";
    if (asprintf(&text, "/kavex[1]/%s%s%s%s", scope, type ? "/" : "", type ? type : "", predicate) < 0)
        return {no_result};
    Block<char> expression(text);
    auto context = xml::guarded<xml::Context>([&] { return xmlXPathNewContext(document); });
    if (!context) return {no_context};
    auto value = xml::guarded<xml::Result>([&] { return xmlXPathNewCString(name); });
    if (!value || xmlXPathRegisterVariable(context.get(), xml::str("name"), value.get()) != 0) return {no_result};
    value.release();
    xml::Result result = evaluate_expression(expression.get(), context.get());
    if (!result) return {no_result};
    const xmlNodeSet *nodes = result->type == XPATH_NODESET ? result->nodesetval : nullptr;
    if (!nodes) return {};
    xmlNode *only = nodes->nodeNr == 1 && xml::is_element(nodes->nodeTab[0]) ? nodes->nodeTab[0] : nullptr;
    return {nodes->nodeNr, only};
}

// Selects in the plain way if possible; `type` and `name` as for evaluate().
Found select(xmlDoc *document, const char *scope, const char *type = nullptr, const char *name = nullptr) noexcept {
    if (!is_plain(scope) || (type && (!is_plain(type) || std::strchr(type, '/'))))
        return evaluate(document, scope, type, name);
    Found found;
    const xmlNode *root = xmlDocGetRootElement(document);
    const char *rest = root ? behind_step(root, "kavex") : nullptr;
    if (rest && !*rest) add_on_path(root, scope, type, name, found);
    return found;
}

// Whether "/kavex/" and the scope together have 255 bytes at most.
bool is_usable(const char *scope) noexcept { return scope && strnlen(scope, 256) + std::strlen("/kavex/") <= 255; }

}  // namespace

xmlNode *find_scope(const kvio_config_t *config, const char *scope, const char *who) noexcept {
    if (!config) return fail(nullptr, KVIO_NULL_CONFIG);
    Found found;
    if (is_usable(scope)) found = select(config->doc, scope);
    if (found.count == no_context) return fail(nullptr, KVIO_XML, "%s error on xmlXPathNewContext()\n", who);
    if (!found.only || is_root(found.only))
        return fail(nullptr, KVIO_BAD_SCOPE, "%s fatal error: scope not existed or multiple instances\n", who);
    return found.only;
}

Found find_entities(xmlDoc *document, const char *scope, const char *type, const char *name, const char *who) noexcept {
    // Below the root there are scopes, not entities.
    if (!is_usable(scope) || (!is_plain(scope) && is_root(select(document, scope).only)))
        return fail(Found{-1}, KVIO_BAD_SCOPE, "%s fatal error: scope not existed or multiple instances\n", who);
    if (!type) return {};
    Found found = select(document, scope, type, name);
    if (is_root(found.only)) found.only = nullptr;
    if (found.count >= 0) return found;
    const char *call = found.count == no_result ? "xmlXPathEvalExpression" : "xmlXPathNewContext";
    return fail(found, KVIO_XML, "%s error on %s()\n", who, call);
}

xmlNode *find_entity(const kvio_config_t *config, const char *scope, const char *type, const char *name,
                     const char *who) noexcept {
    if (!config) return fail(nullptr, KVIO_NULL_CONFIG);
    Found found = find_entities(config->doc, scope, name ? type : nullptr, name, who);
    if (found.count < 0) return nullptr;
    if (found.count > 1) return fail(nullptr, KVIO_BAD_SCOPE, "%s fatal error: multiple instances\n", who);
    return found.only ? succeed(found.only) : fail(nullptr, KVIO_NOT_FOUND);
}

bool is_container(const xmlNode *node, const char *kind, const char *type) noexcept {
    if (!xml::is_element(node, kind)) return false;
    const xmlAttr *at = xml::attribute(node, "type");
    return at && xml::same(at, type);
}

xmlNode *find_container(const xmlNode *scope, const char *kind, const char *type, const char *name) noexcept {
    if (!type || !name) return nullptr;
    for (xmlNode *child = scope->children; child; child = child->next)
        if (is_container(child, kind, type) && xml::is_named(child, name)) return child;
    return nullptr;
}

xmlNode *find_container(const kvio_config_t *config, const char *kind, const char *scope, const char *type,
                        const char *name, const char *who) noexcept {
    const xmlNode *parent = find_scope(config, scope, who);
    xmlNode *container = parent ? find_container(parent, kind, type, name) : nullptr;
    if (!parent || container) return container;
    return fail(nullptr, KVIO_NOT_FOUND, "%s(%s): scope:[%s] %s:[%s] type:[%s] is not existed\n", who, config->path,
                scope, kind, shown(name), shown(type));
}

xml::Detached new_element(const char *kind, const char *who) noexcept {
    xml::Detached element;
    if (!empty(kind)) element = xml::guarded<xml::Detached>([&] { return xmlNewNode(nullptr, xml::str(kind)); });
    if (!element) return fail(nullptr, KVIO_XML, "%s error on xmlNewNode(): no memory?\n", who);
    return element;
}

bool set_attribute(const xml::Detached &element, const char *name, const char *value, const char *who) noexcept {
    return xml::set_attribute(element.get(), name, value) ||
           fail(false, KVIO_XML, "%s error on xmlNewProp(): no memory?\n", who);
}

}  // namespace store
