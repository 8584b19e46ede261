// Random documents. Nested containers read as a plain model of the documented algorithms reads them: recursive, with a
// search for every step. The index of a large scope answers like an expression.
#include <libxml/tree.h>

#include <algorithm>
#include <random>

#include "tests/support/appliance.h"

namespace {

// A letter is a member: "a" names an entity, "A" a container; "_" and "^" are the same two without a name.
struct Box {
    std::string kind, type, name, members;
};

bool is_entity(char member) { return islower(member) || member == '_'; }

struct Endless {};  // what the plain recursion would be

struct Model {
    enum Task { count, count_once, collect };
    std::vector<Box> boxes;
    std::vector<std::string> records;  // type and name
    std::vector<size_t> items;         // the numbers of the records that are collected
    std::set<const Box *> met;
    int code = untouched;  // which the latest question left

    // The entity members, once for each path that leads to them; no answer where a path meets a container again, or
    // where any path does and each container is to be met once.
    int walk(const Box &box, Task task, size_t depth = 0) {
        if (task == count_once ? !met.insert(&box).second : depth > boxes.size()) throw Endless();
        if (box.kind == "table" && task == count) return code = 0, static_cast<int>(box.members.size());
        int total = 0;
        for (char member : box.members) {
            if (is_entity(member)) {
                if (task == collect && !take(box.type + member)) return -1;
                ++total;
                continue;
            }
            if (member == '^' && depth == 0) code = 20;
            const Box *nested = open(box, member);
            const int inside = nested ? walk(*nested, task, depth + 1) : -1;
            if (inside < 0 && (!nested || task == collect)) return -1;
            total += std::max(0, inside);
        }
        return total;
    }

    bool take(const std::string &wanted) {
        for (size_t i = 0; i < records.size(); ++i)
            if (records[i] == wanted && !std::count(items.begin(), items.end(), i)) return items.push_back(i), true;
        return wanted[1] != '_';
    }

    const Box *open(const Box &from, char name) {
        for (const Box &box : boxes)
            if (box.kind == from.kind && box.type == from.type && box.name[0] == name) return code = 0, &box;
        if (name != '^') code = 22;
        return nullptr;
    }

    int check_loop(const Box &box) {
        int result = 1;
        met.clear();
        try {
            result = std::min(0, walk(box, count_once));
        } catch (const Endless &) {}
        return code = 0, result;
    }

    // The capacity.
    int retrieve(const Box &box, bool checks) {
        items.clear();
        if (checks && box.kind != "table" && check_loop(box) != 0) return code = 19, -1;
        const int size = walk(box, count);
        if (size < 0 || walk(box, collect) < 0) return code = 23, -1;
        return code = 0, std::max(size, static_cast<int>(items.size()));
    }
};

class Documents : public ApplianceTest {
protected:
    int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
    std::string letter(int first, int count) { return std::string(1, static_cast<char>(first + below(count))); }
    std::string one_of(const std::vector<std::string> &texts) { return texts[random_() % texts.size()]; }

    static std::string element(const std::string &kind, const std::string &attributes, const std::string &name,
                               const std::string &content = "") {
        return "<" + kind + " name='" + name + "' " + attributes + ">" + content + "</" + kind + ">";
    }

    // Records and containers for the model. Half of the documents can have cycles.
    std::string draw() {
        const bool cyclic = below(2);
        const int letters = below(4) ? 8 : 3, count = 5, records = below(12);
        const std::string kind = one_of({"table", "list", "group"});
        std::string text;
        for (int i = 0; i < records; ++i) {
            const std::string type = below(5) ? "t" : "u", name = letter('a', letters);
            text += element(type, "i='" + std::to_string(i) + "'", name);
            model.records.push_back(type + name);
        }
        for (int i = 0; i < count; ++i) {
            // A second one of the same name is never reached.
            Box box{below(12) ? kind : "list", below(12) ? "t" : "u", letter(below(8) ? 'A' + i : 'A', 1), ""};
            const int nested = cyclic ? 0 : i + 1;
            std::string members;
            for (int j = below(6); j > 0; --j) {
                const std::string member = below(12) == 0                ? one_of({"_", "^", "Z"})
                                           : below(3) || nested == count ? letter('a', letters)
                                                                         : letter('A' + nested, count - nested),
                                  code = "&#" + std::to_string(+member[0]) + ";",
                                  written = one_of({member, "<![CDATA[" + member + "]]>", member + "<!-- z -->", code}),
                                  tag = is_entity(member[0]) ? "entity>" : "container>";
                box.members += member;
                members += "<!-- A --> <?pi a?><" + tag + (isalpha(member[0]) ? written : "") + "</" + tag;
            }
            text += element(box.kind, "type='" + box.type + "'", box.name, members);
            model.boxes.push_back(box);
        }
        return text;
    }

    // Asks the model and the store. The numbers of the entities they find are noted in their lists.
    void compare(const std::function<int()> &expected, const std::function<int()> &asked) {
        found.clear();
        model.items.clear();
        model.code = untouched;
        int result = -1;
        try {
            result = expected();
        } catch (const Endless &) { model.code = 19; }
        const Outcome seen = call(asked);
        EXPECT_EQ(std::make_pair(seen.result, seen.code), std::make_pair<long>(result, +model.code));
        EXPECT_TRUE(result < 0 || found == model.items);
    }

    int retrieve(bool checks) {
        kvio_entities_t *array = checks ? kvio_retrieve_all(iterator) : kvio_retrieve_all2(iterator);
        const int code = kvio_errno, capacity = array ? array->capacity : -1;
        char number[16];
        for (int i = 0; array && i < array->count; ++i) {
            kvio_getattr_entity(array->items[i], "i", number);
            found.push_back(std::stoul(number));
        }
        kvio_free_entities(array);
        kvio_errno = code;
        return capacity;
    }

    Model model;
    std::vector<size_t> found;
    std::mt19937 random_;
};

TEST_F(Documents, AreReadAsTheModelDoes) {
    for (unsigned seed = 0; seed < 2000 && !HasFailure(); ++seed) {
        random_.seed(seed);
        model = {};
        const std::string text = draw();
        SCOPED_TRACE(text);
        open(text);
        for (const Box &box : model.boxes) {
            if (model.open(box, box.name[0]) != &box || HasFailure()) continue;
            close_container();
            const auto open = box.kind == "table"  ? kvio_open_table
                              : box.kind == "list" ? kvio_open_list
                                                   : kvio_open_group;
            ASSERT_TRUE(iterator = open(config, "s", box.type.c_str(), box.name.c_str()));
            compare([&] { return model.check_loop(box); }, [&] { return kvio_check_loop(iterator); });
            compare([&] { return model.walk(box, Model::count); }, [&] { return kvio_real_size(iterator); });
            for (bool checks : {true, false})
                compare([&] { return model.retrieve(box, checks); }, [&] { return retrieve(checks); });
        }
    }
}

// A large scope is indexed by name. Its elements, some of which have a name in several pieces, change at random between
// look-ups, which a scope that is an expression answers without the index.
TEST_F(Documents, LargeScopesAnswerLikeTheExpression) {
    auto some_name = [&] { return "name" + std::to_string(below(90)); };
    for (int document = 0; document < 100 && !HasFailure(); ++document) {
        std::string text;
        for (int i = 1; i < 70; ++i)
            text += element(below(8) ? "t" : "list", below(90) ? "" : "xmlns='urn:n'",
                            (below(9) ? "name" : "na&e;") + std::to_string(below(200) ? i : below(i)));
        open_whole("<!DOCTYPE kavex [<!ENTITY e 'me'>]><kavex><s>" + text + "</s></kavex>");
        kvio_checkpoint_t *checkpoint = kvio_create_checkpoint(config, "s");
        for (int step = 0; step < 60 && !HasFailure(); ++step) {
            const std::string name = some_name(), other = some_name(), type = below(4) ? "t" : "list";
            kvio_node_t *entity = kvio_retrieve_entity(config, "s", type.c_str(), other.c_str());
            const std::function<void()> changes[] = {
                [&] { kvio_define(config, "s", type.c_str(), name.c_str()); },
                [&] { kvio_undefine(config, "s", type.c_str(), name.c_str()); },
                [&] { kvio_close_list(kvio_create_list(config, "s", "t", name.c_str())); },
                [&] { kvio_dispose_list(config, "s", "t", name.c_str()); },
                [&] { kvio_setattr_entity(entity, "name", name.c_str()); },
                [&] { below(9) ? 0 : kvio_unsetattr_entity(entity, "name"); },
                [&] {  // by hand
                    const auto as = [](const char *chars) { return reinterpret_cast<const xmlChar *>(chars); };
                    xmlNode *added = entity ? xmlNewChild(entity->parent, nullptr, as("t"), nullptr) : nullptr;
                    if (added) xmlNewProp(added, as("name"), as(name.c_str()));
                    kvio_close_list(kvio_create_list(config, "s", "t", name.c_str()));
                },
                [&] {
                    if (below(9)) return;
                    kvio_rollback_checkpoint(config, "s", checkpoint);
                    checkpoint = kvio_create_checkpoint(config, "s");
                }};
            changes[below(8)]();
            for (const std::string &asked : {name, other, some_name()}) {
                entity = kvio_retrieve_entity(config, "s", type.c_str(), asked.c_str());
                const int code = kvio_errno;
                EXPECT_EQ(kvio_retrieve_entity(config, "s[1]", type.c_str(), asked.c_str()), entity) << asked;
                EXPECT_EQ(kvio_errno, code);
            }
        }
        kvio_release_checkpoint(checkpoint);
    }
}

}  // namespace
