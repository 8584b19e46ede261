// From a scope and a name to an element.
//
// The meaning of a look-up is that of an XPath expression. Nearly all scopes are plain paths of element names, though,
// and for these a walk over the tree gives the same answer twenty times faster, without an allocation that could fail.
#include <libxml/xpathInternals.h>

#include <cstdio>

#include "store/store.h"

namespace store {
namespace {

bool is_name_start(char c) noexcept { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }

bool is_name_char(char c) noexcept { return is_name_start(c) || (c >= '0' && c <= '9') || c == '-' || c == '.'; }

// Element names of ASCII letters, separated by single slashes: what every XPath reader takes as just that.
bool is_plain(const char *path) noexcept {
    do {
        if (!is_name_start(*path)) return false;
        while (is_name_char(*path)) ++path;
    } while (*path == '/' && *++path);
    return !*path && path[-1] != '/';
}

// Visits all children of a node from both ends at once. That exactly one of them matches is known only after all were
// seen, and since each step waits for memory, two walks side by side take little longer than one.
template <class Visit>
void for_each_child(const xmlNode *parent, Visit visit) {
    xmlNode *front = parent->children;
    xmlNode *back = parent->last;
    while (front) {
        visit(front);
        if (front == back) return;
        visit(back);
        front = front->next;
        if (front == back) return;
        back = back->prev;
    }
}

// An element without a namespace whose name is the text up to a slash or the end; gives the rest of the path.
const char *match_step(const xmlNode *node, const char *path) noexcept {
    if (!xml::is_element(node) || node->ns) return nullptr;
    const char *name = xml::str(node->name);
    while (*name && *name == *path) ++name, ++path;
    return !*name && (!*path || *path == '/') ? path : nullptr;
}

// Visits every element that a plain path selects below a node.
template <class Visit>
void for_each_on_path(const xmlNode *parent, const char *path, Visit &visit) {
    for_each_child(parent, [&](xmlNode *child) {
        const char *rest = match_step(child, path);
        if (!rest) return;
        if (*rest)
            for_each_on_path(child, rest + 1, visit);
        else
            visit(child);
    });
}

template <class Visit>
void for_each_scope(const xmlDoc *document, const char *scope, Visit visit) {
    auto below_root = [&](xmlNode *root) { for_each_on_path(root, scope, visit); };
    for_each_on_path(reinterpret_cast<const xmlNode *>(document), "kavex", below_root);
}

struct Evaluation {
    enum Status { done, no_context, failed } status = done;
    std::size_t count = 0;
    xmlNode *only = nullptr;  // the element below the root, if it is all that was selected
};

// An element below the root; namespace nodes, which die with the result they stand in, are none.
bool is_below_root(const xmlNode *node) noexcept {
    return xml::is_element(node) && node->parent && xml::is_element(node->parent);
}

// The value of the variable $name; there is no other one.
xmlXPathObject *name_variable(void *value, const xmlChar *variable, const xmlChar *) noexcept {
    return xml::equal(variable, "name") ? xmlXPathNewString(static_cast<const xmlChar *>(value)) : nullptr;
}

// xmlXPathEvalExpression() frees its own state twice when there is no memory for the stack of values in it; so
// the stack is made here.
xml::Result evaluate_expression(const char *expression, xmlXPathContext *context) noexcept {
    auto state = xml::guarded<Owned<xmlXPathParserContext, xmlXPathFreeParserContext>>(
        [&] { return xmlXPathNewParserContext(xml::str(expression), context); });
    if (!state) return nullptr;
    constexpr int values = 10;  // it grows
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

// Evaluates "/kavex/SCOPE", "/kavex/SCOPE/TYPE" or "/kavex/SCOPE/TYPE[@name=$name]". The name is passed as a variable:
// inside the expression a quote in it could select another entity. The "[1]" changes nothing but that libxml2 does not
// take the expression for a pattern, whose matching hides a shortage of memory.
Evaluation evaluate(xmlDoc *document, const char *scope, const char *type, const char *name) noexcept {
    char *text = nullptr;
    const char *predicate = name ? "[@name=$name]" : "";
    if (asprintf(&text, "/kavex[1]/%s%s%s%s", scope, type ? "/" : "", type ? type : "", predicate) < 0)
        return {Evaluation::failed};
    Block<char> expression(text);
    auto context = xml::guarded<xml::Context>([&] { return xmlXPathNewContext(document); });
    if (!context) return {Evaluation::no_context};
    if (name) xmlXPathRegisterVariableLookup(context.get(), name_variable, const_cast<char *>(name));
    xml::Result result = evaluate_expression(expression.get(), context.get());
    if (!result) return {Evaluation::failed};
    const xmlNodeSet *nodes = result->type == XPATH_NODESET ? result->nodesetval : nullptr;
    if (!nodes) return {};
    Evaluation all{Evaluation::done, static_cast<std::size_t>(nodes->nodeNr)};
    if (all.count == 1 && is_below_root(nodes->nodeTab[0])) all.only = nodes->nodeTab[0];
    return all;
}

// Compares names of entities. In a document without a DTD all that an attribute holds is text: a single node needs no
// look at its type, which lies in another cache line than its content, and memory is what the walk waits for.
class EntityName {
public:
    EntityName(const xmlDoc *document, const char *name) noexcept : only_text_(!document->intSubset), name_(name) {}

    bool is_of(const xmlNode *node) noexcept {
        for (const xmlAttr *at = node->properties; at; at = at->next)
            if (attribute_.is(at->name) && !at->ns) return is(at);
        return false;
    }

private:
    bool is(const xmlAttr *at) const noexcept {
        const xmlNode *text = at->children;
        if (only_text_ && text && text == at->last && text->content) return xml::equal(text->content, name_);
        return xml::equals(at, name_);
    }

    const bool only_text_;
    const char *name_;
    xml::Name attribute_{"name"};
};

bool is_usable(const char *scope) noexcept { return scope && strnlen(scope, max_scope + 1) <= max_scope; }

Found find(xmlDoc *document, const char *scope, const char *type, const char *name, const char *who) noexcept {
    if (!is_usable(scope))
        return fail(Found{}, KVIO_BAD_SCOPE, "%s fatal error: scope not existed or multiple instances\n", who);
    if (!type) return {true};
    if (is_plain(scope) && is_plain(type) && !std::strchr(type, '/')) {
        Found found{true};
        xml::Name wanted(type);
        EntityName entity_name(document, name);
        for_each_scope(document, scope, [&](const xmlNode *parent) {
            for_each_child(parent, [&](xmlNode *child) {
                if (!wanted.is_of(child) || child->ns || (name && !entity_name.is_of(child))) return;
                ++found.count;
                found.only = child;
            });
        });
        return found;
    }
    Evaluation all = evaluate(document, scope, type, name);
    if (all.status == Evaluation::no_context) return fail(Found{}, KVIO_XML, "%s error on xmlXPathNewContext()\n", who);
    if (all.status == Evaluation::failed) return fail(Found{}, KVIO_XML, "%s error on xmlXPathEvalExpression()\n", who);
    return {true, all.count, all.only};
}

Evaluation select_scope(const kvio_config_t *config, const char *scope) noexcept {
    if (!is_usable(scope)) return {};
    if (!is_plain(scope)) return evaluate(config->doc, scope, nullptr, nullptr);
    Evaluation selected;
    for_each_scope(config->doc, scope, [&](xmlNode *element) { selected.only = selected.count++ ? nullptr : element; });
    return selected;
}

}  // namespace

xmlNode *find_scope(const kvio_config_t *config, const char *scope, const char *who) noexcept {
    Evaluation selected = select_scope(config, scope);
    if (selected.status == Evaluation::no_context)
        return fail(nullptr, KVIO_XML, "%s error on xmlXPathNewContext()\n", who);
    if (!selected.only)
        return fail(nullptr, KVIO_BAD_SCOPE, "%s fatal error: scope not existed or multiple instances\n", who);
    return selected.only;
}

xmlNode *scope_or_null(const kvio_config_t *config, const char *scope) noexcept {
    return select_scope(config, scope).only;
}

Found find_entities(xmlDoc *document, const char *scope, const char *type, const char *name, const char *who) noexcept {
    Found found = find(document, scope, name ? type : nullptr, name, who);
    // A single node that is no element below the root is no entity.
    if (found.count == 1 && !found.only) found.count = 0;
    return found;
}

Found find_all(xmlDoc *document, const char *scope, const char *type, const char *who) noexcept {
    return find(document, scope, type, nullptr, who);
}

xmlNode *find_container(const xmlNode *scope, const char *kind, const char *type, const char *name) noexcept {
    if (!type || !name) return nullptr;
    for (xmlNode *child = scope->children; child; child = child->next) {
        if (!xml::is_element(child, kind) || !xml::is_named(child, name)) continue;
        const xmlAttr *at = xml::attribute(child, "type");
        if (at && xml::equals(at, type)) return child;
    }
    return nullptr;
}

}  // namespace store
