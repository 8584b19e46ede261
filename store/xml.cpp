// Texts and attributes of nodes. Parsing is in parse.cpp, writing in save.cpp.
#include "store/xml.h"

namespace xml {

// A node without content, such as a reference to an undeclared entity, has the text "".
void Text::put_together(const xmlNode *node) noexcept {
    owned_ = guarded<String>([&] { return xmlNodeGetContent(node); });
    if (owned_ || out_of_memory()) text_ = str(owned_.get());
}

namespace {

// Compares with "PREFIX:NAME", or with "NAME" for an attribute without a prefix.
bool is_attribute(const xmlAttr *at, const char *name) noexcept {
    if (!at->ns || !at->ns->prefix) return same(at->name, name);
    std::size_t prefix = std::strlen(str(at->ns->prefix));
    return std::strncmp(str(at->ns->prefix), name, prefix) == 0 && name[prefix] == ':' &&
           same(at->name, name + prefix + 1);
}

void replace_children(xmlAttr *at, Detached text) noexcept {
    if (at->atype == XML_ATTRIBUTE_ID) xmlRemoveID(at->doc, at);  // the document's table of IDs has the old text
    xmlFreeNodeList(at->children);
    text->parent = reinterpret_cast<xmlNode *>(at);
    at->children = at->last = text.release();
}

}  // namespace

xmlAttr *attribute(const xmlNode *node, const char *name) noexcept {
    if (!name) return nullptr;
    for (xmlAttr *at = node->properties; at; at = at->next)
        if (is_attribute(at, name)) return at;
    return nullptr;
}

bool set_attribute(xmlNode *node, const char *name, const char *value) noexcept {
    if (empty(name) || !value) return false;
    auto text = guarded<Detached>([&] { return xmlNewDocText(node->doc, str(value)); });
    if (!text) return false;
    if (xmlAttr *existing = attribute(node, name)) {
        replace_children(existing, std::move(text));
        return true;
    }
    // Made outside the document: in its dictionary the name would stay when the attribute is gone.
    auto fresh = guarded<Owned<xmlAttr, xmlFreeProp>>([&] { return xmlNewDocProp(nullptr, str(name), nullptr); });
    if (!fresh || !fresh->name) return false;  // libxml2 does not report a name that it could not copy
    replace_children(fresh.get(), std::move(text));
    xmlAddChild(node, reinterpret_cast<xmlNode *>(fresh.release()));
    return true;
}

}  // namespace xml
