// Which documents the store refuses: to save those that the parser would not take back, to read those whose entities
// stand for too much.
#include <libxml/parserInternals.h>

#include <iterator>

#include "store/xml.h"

namespace xml {
namespace {

struct Range {
    int first, last;
};

// NameStartChar of XML 1.0, fifth edition, and what NameChar has beyond it.
constexpr Range name_start[] = {{':', ':'},       {'A', 'Z'},       {'_', '_'},       {'a', 'z'},
                                {0xC0, 0xD6},     {0xD8, 0xF6},     {0xF8, 0x2FF},    {0x370, 0x37D},
                                {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F}, {0x2C00, 0x2FEF},
                                {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF}};
constexpr Range name_further[] = {{'-', '.'}, {'0', '9'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}};

template <std::size_t N>
bool is_in(const Range (&ranges)[N], int character) noexcept {
    for (const Range &range : ranges)
        if (character >= range.first && character <= range.last) return true;
    return false;
}

// The character at the beginning of a text and its length in bytes; 0 where it is no UTF-8 (RFC 3629) of a character
// that XML allows.
int character_at(const xmlChar *text, int &length) noexcept {
    constexpr int least[] = {0, 0, 0x80, 0x800, 0x10000};  // by length: shorter forms are the only ones
    length = 1;
    if (*text < 0x80) return IS_BYTE_CHAR(*text) ? *text : 0;
    length = 4;
    int character = xmlGetUTF8Char(text, &length);
    return character > 0 && character >= least[length] && IS_CHAR(character) ? character : 0;
}

bool is_text(const xmlChar *text) noexcept {
    for (int length;; text += length) {
        while (*text >= 0x20 && *text < 0x80) ++text;  // nearly all
        if (!*text) return true;
        if (!character_at(text, length)) return false;
    }
}

bool is_name(const xmlChar *name) noexcept {
    const xmlChar *at = name;
    int length;
    for (; *at; at += length) {
        int character = character_at(at, length);
        if (!is_in(name_start, character) && (at == name || !is_in(name_further, character))) return false;
    }
    return at > name && at - name <= XML_MAX_NAME_LENGTH;
}

bool is_comment(const xmlChar *text) noexcept {
    return !std::strstr(str(text), "--") && (!*text || text[std::strlen(str(text)) - 1] != '-');
}

// Whether the name of an attribute is written as a declaration of a namespace that the element declares, too.
bool is_declaration(const xmlNode *element, const xmlAttr *attribute) noexcept {
    if (!element->nsDef || std::strncmp(str(attribute->name), "xmlns", 5) != 0) return false;
    const char *prefix = str(attribute->name) + 5 + (attribute->name[5] == ':');
    for (const xmlNs *ns = element->nsDef; ns; ns = ns->next)
        if (same(prefix, ns->prefix ? str(ns->prefix) : "")) return true;
    return false;
}

// Looks at the nodes of a document in its order.
class Examination {
public:
    // The nodes of a parsed document lie one after another: what is fetched ahead is looked at soon.
    const xmlNode *find_unreadable(const xmlNode *node) noexcept {
        while (node) {
            __builtin_prefetch(reinterpret_cast<const char *>(node) + 4096);
            __builtin_prefetch(reinterpret_cast<const char *>(node) + 4160);
            if (!is_readable(node)) return node;
            if (is_element(node) && node->children) {
                ++depth_;
                node = node->children;
                continue;
            }
            for (; !node->next && is_element(node->parent); --depth_) node = node->parent;
            node = node->next;
        }
        return nullptr;
    }

private:
    // The names of a document are in its dictionary: few texts, each of which has one address.
    bool is_known_name(const xmlChar *name) noexcept {
        const xmlChar *&known = names_[reinterpret_cast<std::size_t>(name) % std::size(names_)];
        if (known != name && !is_name(name)) return false;
        known = name;
        return true;
    }

    bool has_readable_attributes(const xmlNode *element) noexcept {
        for (const xmlAttr *at = element->properties; at; at = at->next) {
            if (!is_known_name(at->name) || is_declaration(element, at)) return false;
            for (const xmlNode *text = at->children; text; text = text->next)
                if (!is_readable(text)) return false;
        }
        return true;
    }

    // Whether a node reads back, apart from what is below it.
    bool is_readable(const xmlNode *node) noexcept {
        switch (node->type) {
            case XML_ELEMENT_NODE:
                return depth_ <= xmlParserMaxDepth && is_known_name(node->name) && has_readable_attributes(node);
            case XML_TEXT_NODE:
            case XML_CDATA_SECTION_NODE:
                return !node->content || is_text(node->content);
            case XML_ENTITY_REF_NODE:
                return node->doc->intSubset;  // which declares it: a copy of a scope lacks it
            case XML_COMMENT_NODE:
                return !node->content || (is_text(node->content) && is_comment(node->content));
            case XML_PI_NODE:
                return is_name(node->name) &&
                       (!node->content || (is_text(node->content) && !std::strstr(str(node->content), "?>")));
            default:
                return true;
        }
    }

    unsigned depth_ = 0;
    const xmlChar *names_[256] = {};  // names that are good, by their addresses
};

// What a node within an entity counts: its text, and elements and references so much that none is free.
std::size_t weight(const xmlNode *node) noexcept {
    if (is_element(node) || node->type == XML_ENTITY_REF_NODE) return 16;
    return node->content && node->type != XML_ENTITY_DECL ? std::strlen(str(node->content)) : 0;
}

// Adds what nodes, each followed by its siblings, stand for beyond what is in the file. libxml2 keeps references to
// entities and expands them each time a text is read: a small file can have texts that no memory holds. False where
// that is too much, or entities are nested deeper than libxml2 goes.
bool add_expansion(const xmlDoc *document, const xmlNode *node, int depth, std::size_t &bytes) noexcept {
    constexpr std::size_t max_bytes = 1'000'000;
    constexpr int max_depth = 40;
    for (; node; node = node->next) {
        if (depth > 0) bytes += weight(node);
        if (bytes > max_bytes || depth > max_depth) return false;
        if (node->type == XML_ENTITY_REF_NODE) {
            const xmlEntity *entity = xmlGetDocEntity(document, node->name);
            if (entity && !add_expansion(document, entity->children, depth + 1, bytes)) return false;
        } else if (is_element(node)) {
            for (const xmlAttr *at = node->properties; at; at = at->next)
                if (!add_expansion(document, at->children, depth, bytes)) return false;
            if (!add_expansion(document, node->children, depth, bytes)) return false;
        }
    }
    return true;
}

}  // namespace

bool expands_too_far(const xmlDoc *document) noexcept {
    std::size_t bytes = 0;
    return document->intSubset && !add_expansion(document, document->children, 0, bytes);
}

const xmlNode *find_unreadable(const xmlDoc *document) noexcept {
    return Examination().find_unreadable(document->children);
}

}  // namespace xml
