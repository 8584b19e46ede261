// Searches a scope for entities by name, with an index where it is large. Indexes hang on the document.
//
//  1. The first search for a type in a scope notes the two. The next one makes a table of the names.
//  2. What the store appends, renames or removes afterwards is added to the table or taken out, so that a name which is
//     not in it needs no search.
//  3. Where two entities have one name, one with a name has a namespace, or memory is short, there is no table.
#include "base/names.h"
#include "store/store.h"

namespace store {
namespace {

struct Index {
    const xmlNode *scope;  // null: not in use, and all else is zero
    const xmlNode *last;   // the last child of the scope: another one was not appended by the store
    char type[64];
    NameTable<xmlNode *> entities;
    bool is_useless;

    // Whether the table can be asked; makes it if need be.
    bool is_ready() noexcept {
        if (last == scope->last) return !is_useless;
        entities = NameTable<xmlNode *>();
        is_useless = false;
        last = scope->last;
        for (xmlNode *child = scope->children; child && !is_useless; child = child->next) add(child);
        return !is_useless;
    }

    xmlNode **find(const char *name) noexcept {
        return entities.find(hash_of(name), [&](const xmlNode *entity) {
            return entity->parent == scope && is_entity(entity, type, name);
        });
    }

    void add(xmlNode *element) noexcept {
        const xmlAttr *at = is_entity(element, type, nullptr) ? xml::name_of(element) : nullptr;
        if (!at || is_useless) return;
        xml::Text name = xml::Text::of(at);
        is_useless = !name || element->ns || find(name.get()) || !entities.add(hash_of(name.get()), element, 2);
    }

    void remove(const xmlNode *element) noexcept {
        const xmlAttr *at = xml::name_of(element);
        if (!at || is_useless) return;
        xml::Text name = xml::Text::of(at);
        is_useless = !name;
        xmlNode **entity = find(name.get());
        if (entity && *entity == element) entities.remove(hash_of(name.get()), entity);
    }
};

struct Indexes {
    static constexpr unsigned count = 8;
    Index all[count];
    unsigned oldest;
};

template <class Visit>
void visit_indexes(const xmlDoc *document, Visit visit) noexcept {
    if (!document || !document->_private) return;
    for (Index &index : static_cast<Indexes *>(document->_private)->all) visit(index);
}

// Notes a type in a scope, in the place of the oldest ones. Without memory for it the next search is a first one, too.
void note(const xmlNode *scope, const char *type) noexcept {
    if (!scope->doc->_private) scope->doc->_private = zeroed<Block<Indexes>>().release();
    auto *indexes = static_cast<Indexes *>(scope->doc->_private);
    if (!indexes) return;
    Index &index = indexes->all[indexes->oldest++ % Indexes::count];
    index = Index();
    if (copy_if_fits(index.type, sizeof index.type, type)) index.scope = scope;
}

}  // namespace

void search_scope(const xmlNode *scope, const char *type, const char *name, bool any_namespace, Found &found) noexcept {
    constexpr int few = 64;  // children that are searched faster than they are indexed
    Index *index = nullptr;
    visit_indexes(name ? scope->doc : nullptr, [&](Index &other) {
        if (other.scope == scope && same(other.type, type)) index = &other;
    });
    if (index && index->is_ready()) {
        if (xmlNode **entity = index->find(name)) found.add(*entity);
        return;
    }
    int children = 0;
    for (xmlNode *child = scope->children; child; child = child->next, ++children)
        if ((any_namespace || !child->ns) && is_entity(child, type, name)) found.add(child);
    if (name && !index && children >= few) note(scope, type);
}

void learn(xmlNode *element) noexcept {
    visit_indexes(element->doc, [&](Index &index) {
        if (index.scope != element->parent) return;
        if (index.last == element->prev) index.last = element;
        index.add(element);
    });
}

void forget(const xmlNode *element) noexcept {
    if (!element || !xml::is_element(element)) return;
    visit_indexes(element->doc, [&](Index &index) {
        const xmlNode *ancestor = index.scope;
        while (ancestor && ancestor != element) ancestor = ancestor->parent;
        if (ancestor) index = Index();
        if (index.scope != element->parent) return;
        if (index.last == element) index.last = element->prev;
        index.remove(element);
    });
}

void free_indexes(xmlDoc *document) noexcept {
    visit_indexes(document, [](Index &index) { index = Index(); });
    if (document) std::free(document->_private);
}

}  // namespace store
