// Searches a scope for entities by name, with an index where it is large. Indexes hang on the document.
//
//  1. The first search for a type in a scope notes the two. The next one makes a table of the names.
//  2. What the store appends, renames or removes afterwards is added to the table or taken out, so that a name which is
//     not in it needs no search.
//  3. Where two entities have one name, one with a name has a namespace, or memory is short, there is no table.
#include <new>

#include "base/names.h"
#include "store/store.h"

namespace store {
namespace {

struct Index {
    const xmlNode *scope = nullptr;  // null: not in use
    const xmlNode *last = nullptr;   // the last child of the scope: another one was not appended by the store
    enum { noted, usable, useless } state = noted;
    char type[64] = "";
    NameTable<xmlNode *> entities;

    // Whether the table can be asked; makes it if need be.
    bool is_ready() noexcept {
        if (state != noted && last == scope->last) return state == usable;
        entities = NameTable<xmlNode *>();
        last = scope->last;
        state = usable;
        for (xmlNode *child = scope->children; child && state == usable; child = child->next) add(child);
        return state == usable;
    }

    xmlNode *find(const char *name) noexcept {
        auto is_it = [&](const xmlNode *entity) {
            // A parsed entity has its name right behind it: the memory is fetched at once, not pointer by pointer.
            for (int at = 0; at < 448; at += 64) __builtin_prefetch(reinterpret_cast<const char *>(entity) + at);
            return entity->parent == scope && is_entity(entity, type, name);
        };
        xmlNode **entity = entities.find(hash_of(name), is_it);
        return entity ? *entity : nullptr;
    }

    // The name of an element that is to be in the table; null if it is not to be.
    const xmlAttr *name_of(const xmlNode *element) const noexcept {
        return state == usable && is_entity(element, type, nullptr) ? xml::name_of(element) : nullptr;
    }

    void add(xmlNode *element) noexcept {
        const xmlAttr *at = name_of(element);
        if (!at) return;
        xml::Text name = xml::Text::of(at);
        if (name && !element->ns && !find(name.get()) && entities.add(hash_of(name.get()), element, 2)) return;
        state = useless;
        entities = NameTable<xmlNode *>();
    }

    void remove(const xmlNode *element) noexcept {
        const xmlAttr *at = name_of(element);
        if (!at) return;
        xml::Text name = xml::Text::of(at);
        if (!name) state = useless;
        entities.remove(hash_of(name.get()), [&](const xmlNode *other) { return other == element; });
    }
};

struct Indexes {
    static constexpr unsigned count = 8;
    Index all[count];
    unsigned oldest = 0;
};

Indexes *indexes_of(const xmlDoc *document) noexcept {
    return document ? static_cast<Indexes *>(document->_private) : nullptr;
}

Index *index_of(const xmlNode *scope, const char *type) noexcept {
    Indexes *indexes = indexes_of(scope->doc);
    if (!indexes) return nullptr;
    for (Index &index : indexes->all)
        if (index.scope == scope && same(index.type, type)) return &index;
    return nullptr;
}

// Notes a type in a scope, in the place of the oldest ones. Without memory for it the next search is a first one, too.
void note(const xmlNode *scope, const char *type) noexcept {
    Indexes *indexes = indexes_of(scope->doc);
    if (!indexes) {
        void *block = std::malloc(sizeof(Indexes));
        if (!block) return;
        scope->doc->_private = indexes = new (block) Indexes();
    }
    Index &index = indexes->all[indexes->oldest++ % Indexes::count];
    index = Index();
    if (!copy_if_fits(index.type, sizeof index.type, type)) return;
    index.scope = scope;
    index.last = scope->last;
}

bool is_within(const xmlNode *node, const xmlNode *element) noexcept {
    while (node && node != element) node = node->parent;
    return node;
}

}  // namespace

void search_scope(const xmlNode *scope, const char *type, const char *name, bool any_namespace, Found &found) noexcept {
    constexpr int few = 64;  // children that are searched faster than they are indexed
    Index *index = name ? index_of(scope, type) : nullptr;
    if (index && index->is_ready()) {
        if (xmlNode *entity = index->find(name)) found.add(entity);
        return;
    }
    int children = 0;
    for (xmlNode *child = scope->children; child; child = child->next, ++children)
        if ((any_namespace || !child->ns) && is_entity(child, type, name)) found.add(child);
    if (name && !index && children >= few) note(scope, type);
}

void learn(xmlNode *element) noexcept {
    Indexes *indexes = indexes_of(element->doc);
    if (!indexes) return;
    for (Index &index : indexes->all) {
        if (index.scope != element->parent) continue;
        if (index.last == element->prev) index.last = element;
        index.add(element);
    }
}

void forget(const xmlNode *element) noexcept {
    Indexes *indexes = element && xml::is_element(element) ? indexes_of(element->doc) : nullptr;
    if (!indexes) return;
    for (Index &index : indexes->all) {
        if (is_within(index.scope, element)) index = Index();
        if (index.scope != element->parent) continue;
        if (index.last == element) index.last = element->prev;
        index.remove(element);
    }
}

void free_indexes(xmlDoc *document) noexcept {
    Indexes *indexes = indexes_of(document);
    if (!indexes) return;
    indexes->~Indexes();
    std::free(indexes);
}

}  // namespace store
