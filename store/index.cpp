// Indexes of the entities of a scope by name. They hang on the document and are freed with it.
//
//  1. The first look-up of a type in a scope of some size notes the two. The next one makes a table of the names.
//  2. What the store appends, renames or removes afterwards is added to the table or taken out, so that a name which is
//     not in it needs no search.
//  3. Where two entities have one name, one with a name has a namespace, or memory is short, there is no table: the
//     caller searches the scope.
#include <iterator>
#include <new>

#include "base/names.h"
#include "store/store.h"

namespace store {
namespace {

struct Index {
    const xmlNode *scope = nullptr;  // null: not in use
    const xmlNode *last = nullptr;   // the last child of the scope, which another one appended by the caller moves
    enum { noted, usable, useless } state = noted;
    char type[64] = "";
    NameTable<xmlNode *> entities;

    void add(xmlNode *entity) noexcept;
    void remove(const xmlNode *entity) noexcept;
    void build(const xmlNode *parent) noexcept;
    void drop(decltype(state) next) noexcept {
        entities = NameTable<xmlNode *>();
        state = next;
    }
};

struct Indexes {
    Index all[8];
    unsigned oldest = 0;

    Index *begin() noexcept { return all; }
    Index *end() noexcept { return all + std::size(all); }
};

Indexes *indexes_of(const xmlDoc *document) noexcept {
    return document ? static_cast<Indexes *>(document->_private) : nullptr;
}

void Index::add(xmlNode *entity) noexcept {
    const xmlAttr *at = state == usable && is_entity(entity, type, nullptr) ? xml::name_of(entity) : nullptr;
    if (!at) return;
    xml::Text name = xml::Text::of(at);
    auto has_name = [&](const xmlNode *other) { return xml::is_named(other, name.get()); };
    const std::uint32_t hash = hash_of(name.get());
    if (!name || entity->ns || entities.find(hash, has_name) || !entities.add(hash, entity, 2)) drop(useless);
}

void Index::remove(const xmlNode *entity) noexcept {
    const xmlAttr *at = state == usable && is_entity(entity, type, nullptr) ? xml::name_of(entity) : nullptr;
    if (!at) return;
    xml::Text name = xml::Text::of(at);
    if (!name) return drop(noted);
    entities.remove(hash_of(name.get()), [&](const xmlNode *other) { return other == entity; });
}

void Index::build(const xmlNode *parent) noexcept {
    state = usable;
    for (xmlNode *child = parent->children; child && state == usable; child = child->next) add(child);
}

bool is_within(const xmlNode *node, const xmlNode *element) noexcept {
    while (node && node != element) node = node->parent;
    return node;
}

}  // namespace

bool find_indexed(const xmlNode *scope, const char *type, const char *name, Found &found) noexcept {
    Indexes *indexes = indexes_of(scope->doc);
    if (!indexes) return false;
    for (Index &index : *indexes) {
        if (index.scope != scope || !same(index.type, type)) continue;
        if (index.last != scope->last) index.drop(Index::noted);
        index.last = scope->last;
        if (index.state == Index::noted) index.build(scope);
        if (index.state != Index::usable) return false;
        auto is_it = [&](const xmlNode *entity) {
            // A parsed entity has its name right behind it: the memory is fetched at once, not pointer by pointer.
            for (int at = 0; at < 448; at += 64) __builtin_prefetch(reinterpret_cast<const char *>(entity) + at);
            return entity->parent == scope && is_entity(entity, type, name);
        };
        if (xmlNode **entity = index.entities.find(hash_of(name), is_it)) found.add(*entity);
        return true;
    }
    return false;
}

void note_search(const xmlNode *scope, const char *type) noexcept {
    Indexes *indexes = indexes_of(scope->doc);
    if (!indexes) {
        void *block = std::malloc(sizeof(Indexes));
        if (!block) return;
        scope->doc->_private = indexes = new (block) Indexes();
    }
    for (const Index &index : *indexes)
        if (index.scope == scope && same(index.type, type)) return;
    Index fresh;
    if (!copy_if_fits(fresh.type, sizeof fresh.type, type)) return;
    fresh.scope = scope;
    fresh.last = scope->last;
    indexes->all[indexes->oldest++ % std::size(indexes->all)] = std::move(fresh);
}

void learn(xmlNode *element) noexcept {
    Indexes *indexes = indexes_of(element->doc);
    if (!indexes) return;
    for (Index &index : *indexes) {
        if (index.scope != element->parent) continue;
        if (index.last == element->prev) index.last = element;
        index.add(element);
    }
}

void forget(const xmlNode *element) noexcept {
    Indexes *indexes = element && xml::is_element(element) ? indexes_of(element->doc) : nullptr;
    if (!indexes) return;
    for (Index &index : *indexes) {
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
