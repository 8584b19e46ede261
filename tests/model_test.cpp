// Random documents against a plain model of the documented algorithms: recursive, with a search for every step.
#include <algorithm>
#include <climits>
#include <random>
#include <vector>

#include "tests/open_document.h"

namespace {

// ------------------------------------------------------------------------------------------------------- the model

struct Member {
    enum Kind { entity, container, other } kind;
    std::string text;
};

struct Box {
    std::string kind, name, type;
    std::vector<Member> members;
    bool marked = false;
};

struct Record {
    std::string type, name;
    int number;
};

struct Endless {};   // what the plain recursion would be
struct TooLarge {};  // not worth comparing

class Model {
public:
    std::vector<Box> boxes;
    std::vector<Record> records;
    std::string path;
    int code = untouched;
    std::string err;

    int size(const Box &box) {
        int count = 0;
        for (const Member &member : box.members) {
            if (member.kind == Member::other) err += "kvio_size() warning: check data integrity\n";
            else ++count;
        }
        code = 0;
        return count;
    }

    int real_size(const Box &box, size_t depth = 0) {
        if (box.kind == "table") return size(box);
        if (depth > boxes.size()) throw Endless();
        int total = 0;
        for (const Member &member : box.members) {
            if (member.kind == Member::entity) ++total;
            if (member.kind != Member::container) continue;
            if (member.text.empty()) {
                if (depth == 0) code = 20;
                return -1;
            }
            const Box *nested = open(box, member.text);
            if (!nested) return -1;
            total += std::max(0, real_size(*nested, depth + 1));
            if (++steps > 20000) throw TooLarge();
        }
        return total;
    }

    int check_loop(Box &box) {
        for (Box &any : boxes) any.marked = false;
        int result = visit(box);
        code = 0;
        return result;
    }

    bool collect(const Box &box, std::vector<const Record *> &items, size_t depth = 0) {
        if (depth > boxes.size()) throw Endless();
        if (++steps > 20000) throw TooLarge();
        for (const Member &member : box.members) {
            if (member.kind == Member::other) continue;
            if (member.text.empty()) return false;
            if (member.kind == Member::container) {
                const Box *nested = open(box, member.text);
                if (!nested || !collect(*nested, items, depth + 1)) return false;
                continue;
            }
            for (const Record &record : records) {
                if (record.type != box.type || record.name != member.text) continue;
                if (std::find(items.begin(), items.end(), &record) != items.end()) continue;
                items.push_back(&record);
                break;
            }
        }
        return true;
    }

    // "code: entities by number / capacity".
    std::string retrieve(Box &box, bool checks) {
        std::vector<const Record *> items;
        int n = 0;
        steps = 0;
        try {
            if (checks && box.kind != "table" && check_loop(box) != 0) code = 19;
            else if ((n = real_size(box)) < 0 || !collect(box, items)) code = 23;
            else code = 0;
        } catch (const Endless &) {
            code = 19;
        }
        if (code != 0) return std::to_string(code);
        std::string text = "0:";
        for (const Record *record : items) text += " " + std::to_string(record->number);
        return text + "/" + std::to_string(std::max<size_t>(static_cast<size_t>(n), items.size()));
    }

    int steps = 0;

private:
    Box *open(const Box &from, const std::string &name) {
        for (Box &box : boxes)
            if (box.kind == from.kind && box.type == from.type && box.name == name) return code = 0, &box;
        code = 22;
        err += "kvio_container_create_template(" + path + "): scope:[s] " + from.kind + ":[" + name + "] type:[" + from.type +
               "] is not existed\n";
        return nullptr;
    }

    int visit(Box &box) {
        if (box.marked) return 1;
        box.marked = true;
        for (const Member &member : box.members) {
            if (member.kind != Member::container) continue;
            if (member.text.empty()) return -1;
            Box *nested = open(box, member.text);
            if (!nested) return -1;
            if (visit(*nested) == 1) return 1;
        }
        return 0;
    }
};

// ------------------------------------------------------------------------------------------------ random documents

class Generator {
public:
    explicit Generator(unsigned seed) : random_(seed) {}

    // The document's scope; fills the model alike.
    std::string make(Model &model) {
        const int shape = below(4);  // 0: a tree; 1: shared containers; 2: cycles, too; 3: only a few containers and names
        const int names = shape == 3 ? 3 : 8;
        std::vector<std::string> pieces;
        for (int i = below(12); i > 0; --i) {
            Record record{below(5) ? "t" : "u", name("", names), 0};
            pieces.push_back("<" + record.type + " name=\"" + record.name + "\"");
            model.records.push_back(record);
        }
        const int count = 1 + below(shape == 3 ? 2 : 7);
        std::vector<bool> named(static_cast<size_t>(count), false);
        const char *kind = kinds[below(3)].name;
        for (int i = 0; i < count; ++i) {
            Box box{below(12) ? kind : "list", "c" + std::to_string(i), below(12) ? "t" : "u", {}};
            if (shape == 3 && below(3) == 0) box.name = "c0";  // a second one of that name is never reached
            for (int j = below(7); j > 0; --j) box.members.push_back(member(i, count, shape, names, named));
            pieces.push_back(written(box));
            model.boxes.push_back(box);
        }
        // Entities and containers stand in any order, each kind among itself in the order of the model.
        std::string text;
        size_t entity = 0, box = model.records.size();
        while (entity < model.records.size() || box < pieces.size()) {
            text += noise();
            if (box == pieces.size() || (entity < model.records.size() && below(2))) {
                model.records[entity].number = static_cast<int>(entity);
                text += pieces[entity] + " i=\"" + std::to_string(entity) + "\"/>";
                ++entity;
            } else {
                text += pieces[box++];
            }
        }
        return text + noise();
    }

private:
    int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
    std::string name(const char *prefix, int names) { return prefix + std::string(1, static_cast<char>('a' + below(names))); }

    Member member(int box, int count, int shape, int names, std::vector<bool> &named) {
        int choice = below(24);
        if (choice == 0) return {Member::other, "x"};
        if (choice == 1 && below(3) == 0) return {Member::entity, ""};
        if (choice == 2 && below(3) == 0) return {Member::container, ""};
        if (choice == 3 && below(3) == 0) return {Member::container, "missing"};
        if (choice < 16) return {Member::entity, name("", names)};
        int nested = shape < 2 ? box + 1 + below(count) : below(count);
        if (nested >= count || (shape == 0 && named[static_cast<size_t>(nested)])) return {Member::entity, name("", names)};
        named[static_cast<size_t>(nested)] = true;
        return {Member::container, "c" + std::to_string(nested)};
    }

    std::string noise() {
        const char *const texts[] = {"", "", "\n  ", "<!-- c0 -->", "<?pi x?>", " "};
        return texts[below(6)];
    }

    // A name as an author may write it.
    std::string spelled(const std::string &name) {
        if (name.empty()) return "";
        switch (below(8)) {
            case 0: return "<![CDATA[" + name + "]]>";
            case 1: return name + "<!-- z -->";
            case 2: return "&#" + std::to_string(static_cast<int>(name[0])) + ";" + name.substr(1);
            default: return name;
        }
    }

    std::string written(const Box &box) {
        std::string text = "<" + box.kind + " name=\"" + box.name + "\" type=\"" + box.type + "\">";
        const char *const elements[] = {"entity", "container", "other"};
        for (const Member &member : box.members) {
            const std::string element = elements[member.kind];
            text += noise() + "<" + element + ">" + spelled(member.text) + "</" + element + ">";
        }
        return text + noise() + "</" + box.kind + ">";
    }

    std::mt19937 random_;
};

// ------------------------------------------------------------------------------------------------- the comparison

class RandomDocuments : public OpenDocument, public testing::WithParamInterface<unsigned> {
protected:
    // Loads as a snapshot: thousands of files under locks would only be slow.
    void compare(unsigned seed) {
        Model model;
        model.path = "/tmp/snapshot.xml";
        open_snapshot(Generator(seed).make(model));
        for (size_t i = 0; i < model.boxes.size() && !HasFailure(); ++i) {
            Box &box = model.boxes[i];
            bool is_first = std::none_of(model.boxes.begin(), model.boxes.begin() + static_cast<long>(i), [&](const Box &b) {
                return b.kind == box.kind && b.name == box.name && b.type == box.type;
            });
            if (!is_first) continue;
            for (const Kind &kind : kinds)
                if (kind.name == box.kind) iterator = kind.open(config, "s", box.type.c_str(), box.name.c_str());
            ASSERT_TRUE(iterator);
            try {
                compare(model, box);
            } catch (const TooLarge &) {
            }
            close_container();
        }
    }

    void compare(Model &model, Box &box) {
        expect(model, [&] { return model.check_loop(box); }, [&] { return kvio_check_loop(iterator); });
        const bool shared = model.check_loop(box) == 1;
        expect(model, [&] { return model.size(box); }, [&] { return kvio_size(iterator); });
        model.steps = 0;
        expect(model,
               [&] {
                   try {
                       return model.real_size(box);
                   } catch (const Endless &) {
                       model.code = 19;
                       return -1;
                   }
               },
               [&] { return kvio_real_size(iterator); }, shared);
        for (bool checks : {true, false}) {
            std::string expected, seen;
            expect(model, [&] { return (expected = model.retrieve(box, checks)).size(); },
                   [&] { return (seen = retrieved(checks)).size(); }, shared);
            EXPECT_EQ(seen, expected);
        }
        compare_positions(model, box);
    }

    // What the store gives, with the code; where containers are shared, a line may come once for several paths.
    template <class Expected, class Seen>
    void expect(Model &model, Expected expected, Seen seen, bool ignores_lines = false) {
        model.code = untouched;
        model.err.clear();
        Outcome documented{static_cast<long>(expected()), 0};
        documented.code = model.code;
        documented.err = model.err;
        Outcome outcome = call(seen);
        if (ignores_lines) outcome.err = documented.err = "";
        EXPECT_EQ(outcome, documented);
    }

    std::string retrieved(bool checks) {
        kvio_entities_t *array = checks ? kvio_retrieve_all(iterator) : kvio_retrieve_all2(iterator);
        if (!array) return std::to_string(kvio_errno);
        std::string text = std::to_string(kvio_errno) + ":";
        for (int i = 0; i < array->count; ++i) text += " " + number_of(array->items[i]);
        text += "/" + std::to_string(array->capacity);
        kvio_free_entities(array);
        return text;
    }

    static std::string number_of(kvio_node_t *entity) {
        char number[16];
        int code = kvio_errno;
        kvio_getattr_entity(entity, "i", number);
        kvio_errno = code;
        return number;
    }

    void compare_positions(Model &model, const Box &box) {
        std::vector<const Member *> all, entities;
        for (const Member &member : box.members) {
            if (member.kind != Member::other) all.push_back(&member);
            if (member.kind == Member::entity) entities.push_back(&member);
        }
        for (unsigned position = 0; position <= all.size() + 1; ++position) {
            char text[16] = "";
            Outcome seen = call([&] { return kvio_regain_index(iterator, position, text); });
            if (position == 0 || position > all.size()) {
                EXPECT_EQ(seen, (Outcome{-1, 14, "kvio_regain_index() error: out of range\n"}));
            } else if (all[position - 1]->text.empty()) {
                EXPECT_EQ(seen, (Outcome{-1, 20, "kvio_regain_index() fatal error: empty item\n"}));
            } else {
                EXPECT_EQ(seen, (Outcome{all[position - 1]->kind == Member::container, untouched}));
                EXPECT_EQ(text, all[position - 1]->text);
            }
            kvio_node_t *entity = nullptr;
            seen = call([&] { return entity = kvio_retrieve_index(iterator, position); });
            if (position == 0 || position > entities.size()) {
                EXPECT_EQ(seen, (Outcome{0, 14, "kvio_retrieve_index() error: out of range\n"}));
                continue;
            }
            const std::string &name = entities[position - 1]->text;
            std::vector<int> found;
            for (const Record &record : model.records)
                if (record.type == box.type && record.name == name) found.push_back(record.number);
            if (name.empty())
                EXPECT_EQ(seen, (Outcome{0, 15, "kvio_retrieve_index() fatal error: empty entity\n"}));
            else if (found.size() != 1)
                EXPECT_EQ(seen, (Outcome{0, 7, "kvio_retrieve_index() fatal error: entity not existed or multiple instances\n"}));
            else
                EXPECT_EQ(std::to_string(found[0]) + testing::PrintToString(seen),
                          number_of(entity) + testing::PrintToString(Outcome{1, 0}));
        }
    }
};

TEST_P(RandomDocuments, AreReadAsDocumented) {
    for (unsigned i = 0; i < 1000 && !HasFailure(); ++i) {
        SCOPED_TRACE(testing::Message() << "document " << GetParam() * 1000 + i);
        compare(GetParam() * 1000 + i);
    }
}
INSTANTIATE_TEST_SUITE_P(Thousands, RandomDocuments, testing::Range(0u, 4u));

}  // namespace
