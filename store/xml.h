// libxml2, owned and guarded.
//
// libxml2 reports a shortage of memory late or not at all: a truncated document, a node without its text, a copy
// without half of its children come back as if all were well. What it never fails to do is to record the last error.
// Whatever allocates is therefore called through one of the wrappers below, which reset that record before and look at
// it after.
#ifndef KAVEX_STORE_XML_H
#define KAVEX_STORE_XML_H

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>
#include <libxml/xpath.h>

#include <cstring>

#include "base/array.h"
#include "base/owned.h"
#include "base/text.h"

namespace xml {

using Document = Owned<xmlDoc, xmlFreeDoc>;
using Detached = Owned<xmlNode, xmlFreeNode>;  // a node that hangs in no tree
using Context = Owned<xmlXPathContext, xmlXPathFreeContext>;
using Result = Owned<xmlXPathObject, xmlXPathFreeObject>;

struct FreeString {
    void operator()(xmlChar *text) const noexcept { xmlFree(text); }
};
using String = std::unique_ptr<xmlChar, FreeString>;

inline const xmlChar *str(const char *text) noexcept { return reinterpret_cast<const xmlChar *>(text); }
inline const char *str(const xmlChar *text) noexcept { return reinterpret_cast<const char *>(text); }

// Memory has run out in libxml2 since the last xmlResetLastError().
inline bool out_of_memory() noexcept {
    const xmlError *error = xmlGetLastError();
    return error && error->code == XML_ERR_NO_MEMORY;
}

// Makes an object through libxml2: guarded<Detached>([&] { return xmlNewNode(...); }) is null also when memory ran out
// on the way.
template <class Owner, class Make>
Owner guarded(Make make) noexcept {
    xmlResetLastError();
    Owner object(make());
    if (out_of_memory()) object.reset();
    return object;
}

inline bool is_element(const xmlNode *node) noexcept { return node->type == XML_ELEMENT_NODE; }

using ::same;

inline bool same(const xmlChar *text, const char *wanted) noexcept { return same(str(text), wanted); }

inline bool is_element(const xmlNode *node, const char *name) noexcept {
    return is_element(node) && same(node->name, name);
}

// The text of a node or attribute: in place if it is a single text node, as nearly always, else a copy put together
// from several nodes.
class Text {
public:
    // The text of all nodes below an element.
    static Text below(const xmlNode *holder) noexcept { return Text(holder, holder->children); }
    static Text of(const xmlAttr *attribute) noexcept {
        return Text(reinterpret_cast<const xmlNode *>(attribute), attribute->children);
    }
    // The text that a node of any type stands for: the content of a text node, the texts below an element; "" for null.
    static Text content_of(const xmlNode *node) noexcept { return Text(node, node); }

    // False when memory was short; the text is "" then.
    explicit operator bool() const noexcept { return text_ != nullptr; }
    const char *get() const noexcept { return text_ ? text_ : ""; }
    friend bool same(const Text &text, const char *wanted) noexcept { return text && same(text.text_, wanted); }

private:
    Text(const xmlNode *holder, const xmlNode *first) noexcept {
        if (first && (first->next || (first->type != XML_TEXT_NODE && first->type != XML_CDATA_SECTION_NODE)))
            put_together(holder);
        else if (first && first->content)
            text_ = str(first->content);
    }
    void put_together(const xmlNode *node) noexcept;

    const char *text_ = "";
    String owned_;
};

// Returns the attribute of this name as it is written in the file, prefix included; null if there is none.
xmlAttr *attribute(const xmlNode *node, const char *name) noexcept;

// Returns the attribute "name", without a prefix, of an entity or container; null if there is none.
inline xmlAttr *name_of(const xmlNode *node) noexcept {
    for (xmlAttr *at = node->properties; at; at = at->next)
        if (!at->ns && same(at->name, "name")) return at;
    return nullptr;
}

inline bool same(const xmlAttr *attribute, const char *wanted) noexcept { return same(Text::of(attribute), wanted); }

// Whether the element's attribute "name" has this text.
inline bool is_named(const xmlNode *element, const char *name) noexcept {
    const xmlAttr *at = name_of(element);
    return at && same(at, name);
}

// Sets an attribute to a text, taken as it is; an existing one is unchanged when memory is short.
bool set_attribute(xmlNode *node, const char *name, const char *value) noexcept;

// Parses a file as store::load() reads it. Only the path says where it is: no URL, no catalogue, "-" is a file name.
// Null with errno: why the file cannot be read, ENOMEM, EBADMSG when it is not well-formed, or EOVERFLOW when it
// expands too far.
Document parse(const char *path, bool is_locked = false) noexcept;

// The same for the bytes of a file; `path` is for messages, of which there are none where it is null.
Document parse(const Bytes &bytes, const char *path) noexcept;

// Whether what the document's references to entities stand for is more than the store takes.
bool expands_too_far(const xmlDoc *document) noexcept;

// The first node with bytes or names that XML cannot hold, or nested deeper than the parser goes; null if all are fine.
const xmlNode *find_unreadable(const xmlDoc *document) noexcept;

// Appends the bytes that xmlSaveFormatFile() would write with format 1. False with errno: ENOMEM, EFBIG beyond what an
// int holds, or EILSEQ when they would not be read back in the document's encoding or for their length.
bool serialise(xmlDoc *document, Bytes &bytes) noexcept;

}  // namespace xml

#endif
