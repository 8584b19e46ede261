// Groups read out as a whole: which properties belong to a group, and the export.
#include <search.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "objects/objects.h"

using namespace objects;

namespace {

// Visits the groups nested in a group, depth first in member order.
//
// Stored documents may nest deeply, reach one group along many paths, or lead back to a group under way, so the way
// down is a chain of visits on the heap, and a group that was searched to its end is not searched again:
//
// 1. Open the group entered last and count its members; a group for which that fails is left again and may be tried
//    anew when another group leads to it.
// 2. Take the next member of the innermost open group; entries are passed over. At the end, or at a member that cannot
//    be read, the group is searched: close it and go on with the group around it.
// 3. A nested group that is new is to be entered next. Its name is the visit.
// 4. One that is under way is not entered. One that was searched is not either: the visit is then the one with which
//    searching it again would end.
class Nesting {
public:
    explicit Nesting(const group_desc_t *group) : group_(group), entered_(visit(group->name)) {}
    Nesting(const Nesting &) = delete;
    Nesting &operator=(const Nesting &) = delete;
    ~Nesting() { tdestroy(visits_, release); }

    // The name of the group visited next, valid as long as this object; null at the end, or when memory is short.
    const char *next() {
        enter();
        while (innermost_) {
            char name[name_size];
            Member member = innermost_->position < innermost_->count
                                ? read_member(innermost_->opened, ++innermost_->position, name)
                                : Member::unreadable;
            if (member == Member::unreadable) leave();
            if (member == Member::group) return arrive(name);
        }
        return nullptr;
    }

    // Goes on until a group of that name is visited; false when there is none, or memory is short. The group itself
    // counts as visited.
    bool reaches(std::string_view name) {
        while (!visited(name))
            if (!next()) return false;
        return true;
    }

    bool out_of_memory() const noexcept { return out_of_memory_; }

private:
    struct Visit {
        char name[name_size];
        kvio_iterator_t *opened;  // while under way
        int position, count;      // of its members
        Visit *around;            // the group through which it was entered
        const Visit *latest;      // the last visit of the search through it
        bool searched;
    };

    static int compare(const void *a, const void *b) {
        return std::strcmp(static_cast<const Visit *>(a)->name, static_cast<const Visit *>(b)->name);
    }

    static void release(void *visit) {
        kvio_close_group(static_cast<Visit *>(visit)->opened);
        std::free(visit);
    }

    bool visited(std::string_view name) const {
        Visit key = {};
        if (name.size() >= sizeof key.name) return false;
        *std::copy(name.begin(), name.end(), key.name) = '\0';
        return tfind(&key, &visits_, compare) != nullptr;
    }

    // Finds or makes the visit of a group; null when memory is short.
    Visit *visit(const char *name) {
        auto made = zeroed<Block<Visit>>();
        if (!made) return nullptr;
        copy_if_fits(made->name, sizeof made->name, name);
        made->latest = made.get();
        void **known = static_cast<void **>(tsearch(made.get(), &visits_, compare));
        if (!known) return nullptr;
        return *known == made.get() ? made.release() : static_cast<Visit *>(*known);
    }

    void enter() {
        Visit *entered = std::exchange(entered_, nullptr);
        if (!entered) return;
        Group opened = open_group(group_, entered->name);
        if (!opened) return;
        entered->count = kvio_size(opened.get());
        if (entered->count < 0) {
            kvlog(GROUP_OP, "%s: cannot get size of group\n", shown(group_->label));
            return;
        }
        entered->opened = opened.release();
        entered->around = innermost_;
        innermost_ = entered;
    }

    void leave() {
        Visit *left = innermost_;
        kvio_close_group(std::exchange(left->opened, nullptr));
        left->searched = true;
        innermost_ = left->around;
        if (innermost_) innermost_->latest = left->latest;
    }

    const char *arrive(const char *name) {
        Visit *visited = visit(name);
        if (!visited) {
            out_of_memory_ = true;
            return nullptr;
        }
        if (!visited->searched && !visited->opened) entered_ = visited;
        innermost_->latest = visited->searched ? visited->latest : visited;
        return innermost_->latest->name;
    }

    const group_desc_t *group_;
    void *visits_ = nullptr;
    Visit *innermost_ = nullptr;
    Visit *entered_;
    bool out_of_memory_ = !entered_;
};

// What stands in front of "_ENTRY" in the name of a property entity, its group's name; empty if it is not so named.
std::string_view group_of(std::string_view property, std::string_view entry) {
    if (property.size() <= entry.size()) return {};
    std::string_view group = property;
    group.remove_suffix(entry.size() + 1);
    property.remove_prefix(group.size());
    if (property.front() != '_') return {};
    property.remove_prefix(1);
    return property == entry ? group : std::string_view();
}

// Points a record's name at a buffer of its own, and back in the end.
class BorrowedName {
public:
    explicit BorrowedName(group_desc_t *group) : group_(group), name_(group->name) { group->name = buffer_; }
    BorrowedName(const BorrowedName &) = delete;
    BorrowedName &operator=(const BorrowedName &) = delete;
    ~BorrowedName() { group_->name = name_; }

    // The name has at most 63 bytes.
    void set(std::string_view name) { *std::copy(name.begin(), name.end(), buffer_) = '\0'; }

private:
    group_desc_t *group_;
    char *name_;
    char buffer_[name_size] = {};
};

bool can_export(const group_desc_t *group) {
    return group->export_begin && group->export_discard && (!group->export_entry || reads_entries(group)) &&
           (!group->export_property || (group->property_type && reads_properties(group)));
}

bool export_entry(const group_desc_t *group, kvio_node_t *entity, int index, void *handle) {
    Buffer buffer = entry_buffer(group);
    char name[name_size];
    return buffer && group->get_entry(entity, buffer.get()) == 0 && read_name(entity, name) &&
           group->export_entry(index, handle, name, buffer.get()) == 0;
}

// Hands out those of an entry's properties that belong to a group of the nesting.
bool export_properties(group_desc_t *group, Nesting &nesting, kvio_node_t *member, int index, void *handle) {
    char entry[name_size];
    if (!read_name(member, entry)) return false;
    Group opened = PropertyGroup(group, entry).open();
    if (!opened) return false;
    Entities properties(kvio_retrieve_all(opened.get()));
    if (!properties) return false;
    BorrowedName name(group);
    for (int i = 0; i < properties->count; ++i) {
        char property[property_size];
        if (!kvio_name2(properties->items[i], property, sizeof property)) return false;
        std::string_view owner = group_of(property, entry);
        if (!nesting.reaches(owner)) {
            if (nesting.out_of_memory()) return false;
            continue;
        }
        name.set(owner);
        Buffer buffer = property_buffer(group);
        if (!buffer || group->get_property(properties->items[i], buffer.get()) != 0 ||
            group->export_property(index, i, handle, buffer.get()) != 0)
            return false;
    }
    if (opened.close()) return true;
    kvlog(GROUP_OP, "cannot close property group\n");
    return false;
}

}  // namespace

int valid_property(const char *property, group_desc_t *group, const char *entry) {
    if (!property || !group || !good_name(group->name) || !good_name(entry)) return 0;
    std::string_view owner = group_of(property, entry);
    if (owner == group->name) return 1;
    Nesting nesting(group);
    while (const char *name = nesting.next()) {
        copy_if_fits(group->name, name_size, name);
        if (owner == name) return 1;
    }
    return 0;
}

void *export_group(group_desc_t *group) {
    if (!complete(group) || !can_export(group) || !good_name(group->name)) return nullptr;
    Group opened = open_group(group);
    if (!opened) return nullptr;
    Entities members(kvio_retrieve_all(opened.get()));
    if (!members) return nullptr;
    Buffer handle(group->export_begin(members->count), group->export_discard);
    if (!handle) return nullptr;
    Nesting nesting(group);
    for (int i = 0; i < members->count; ++i) {
        kvio_node_t *member = members->items[i];
        if (group->export_entry && !export_entry(group, member, i, handle.get())) return nullptr;
        if (group->export_property && !export_properties(group, nesting, member, i, handle.get())) return nullptr;
    }
    members.reset();
    if (!opened.close()) kvlog(GROUP_OP, "cannot close group\n");
    return handle.release();
}
