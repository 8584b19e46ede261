// Nested containers, read back as a plain model of the documented algorithms does it: recursive, with a search for
// every step.
#include <algorithm>
#include <array>
#include <climits>
#include <random>

#include "tests/support/appliance.h"

namespace {

// A letter is a member: "a" names an entity, "A" a container; "_" and "^" are the same two without a name, "!" is an
// element of another kind.
struct Box {
    std::string kind, type, name, members;
    bool marked = false;
};

bool is_entity(char member) { return islower(member) || member == '_'; }
bool is_container(char member) { return isupper(member) || member == '^'; }
bool is_member(char member) { return member != '!'; }

struct Endless {};  // what the plain recursion would be

struct Model {
    std::vector<Box> boxes;
    std::vector<std::string> records;  // type and name

    // What the latest question did beside its answer.
    int code = untouched;
    std::string err;

    int size(const Box &box) {
        for (char member : box.members) err += is_member(member) ? "" : "kvio_size() warning: check data integrity\n";
        code = 0;
        return static_cast<int>(std::count_if(box.members.begin(), box.members.end(), is_member));
    }

    int real_size(const Box &box, size_t depth = 0) {
        if (box.kind == "table") return size(box);
        if (depth > boxes.size()) throw Endless();
        int total = 0;
        for (char member : box.members) {
            total += is_entity(member);
            if (!is_container(member)) continue;
            if (member == '^' && depth == 0) code = 20;
            const Box *nested = open(box, member);
            if (!nested) return -1;
            total += std::max(0, real_size(*nested, depth + 1));
        }
        return total;
    }

    int check_loop(Box &box) {
        for (Box &any : boxes) any.marked = false;
        const int result = visit(box);
        code = 0;
        return result;
    }

    int visit(Box &box) {
        if (std::exchange(box.marked, true)) return 1;
        for (char member : box.members) {
            if (!is_container(member)) continue;
            Box *nested = open(box, member);
            if (!nested) return -1;
            if (visit(*nested) == 1) return 1;
        }
        return 0;
    }

    // The capacity, and the entities by number.
    int retrieve(Box &box, bool checks, std::string &found) {
        if (checks && box.kind != "table" && check_loop(box) != 0) return code = 19, -1;
        std::vector<size_t> items;
        const int size = real_size(box);
        if (size < 0 || !collect(box, items)) return code = 23, -1;
        code = 0;
        for (size_t number : items) found += std::to_string(number) + " ";
        return std::max(size, static_cast<int>(items.size()));
    }

    bool collect(const Box &box, std::vector<size_t> &items, size_t depth = 0) {
        if (depth > boxes.size()) throw Endless();
        for (char member : box.members) {
            if (member == '_') return false;
            if (is_container(member)) {
                const Box *nested = open(box, member);
                if (!nested || !collect(*nested, items, depth + 1)) return false;
                continue;
            }
            for (size_t i = 0; i < records.size(); ++i) {
                if (records[i] != box.type + member || std::count(items.begin(), items.end(), i)) continue;
                items.push_back(i);
                break;
            }
        }
        return true;
    }

    // The name at a position, and the number of the entity that it stands for.
    static Outcome regain(const Box &box, unsigned position, const std::string &who, std::string &name) {
        const char member = at(box, position, is_member);
        if (!member) return {-1, 14, who + "() error: out of range\n"};
        if (!isalpha(member)) return {-1, 20, who + "() fatal error: empty item\n"};
        name = member;
        return {isupper(member) != 0, untouched};
    }

    Outcome find(const Box &box, unsigned position, std::string &number) const {
        const std::string who = "kvio_retrieve_index()";
        const char name = at(box, position, is_entity);
        if (!name) return {0, 14, who + " error: out of range\n"};
        if (name == '_') return {0, 15, who + " fatal error: empty entity\n"};
        const auto found = std::find(records.begin(), records.end(), box.type + name);
        if (std::count(found, records.end(), box.type + name) != 1)
            return {0, 7, who + " fatal error: entity not existed or multiple instances\n"};
        number = std::to_string(found - records.begin());
        return {1, 0};
    }

    static char at(const Box &box, unsigned position, bool (*counts)(char)) {
        for (char member : box.members)
            if (counts(member) && --position == 0) return member;
        return 0;
    }

    Box *open(const Box &from, char name) {
        if (name == '^') return nullptr;
        for (Box &box : boxes)
            if (box.kind == from.kind && box.type == from.type && box.name[0] == name) return code = 0, &box;
        code = 22;
        err += "kvio_container_create_template(/tmp/snapshot.xml): scope:[s] " + from.kind + ":[" + name + "] type:[" +
               from.type + "] is not existed\n";
        return nullptr;
    }
};

class Nested : public OpenDocument {
protected:
    // Half of them can have cycles, a quarter has few names. So few that a walk of all paths is short.
    void draw() {
        const bool cyclic = below(2), few = below(4) == 0;
        const int letters = few ? 3 : 8;
        for (int i = below(12); i > 0; --i) model.records.push_back((below(5) ? "t" : "u") + letter('a', letters));
        const int count = 1 + below(few ? 2 : 5);
        const std::string kind = std::array{"table", "list", "group"}[static_cast<size_t>(below(3))];
        for (int i = 0; i < count; ++i) {
            // A second one of the same name is never reached.
            const std::string name = letter(few && below(3) == 0 ? 'A' : 'A' + i, 1);
            Box box{below(12) ? kind : "list", below(12) ? "t" : "u", name, ""};
            const int nested = cyclic ? 0 : i + 1;
            for (int j = below(6); j > 0; --j) {
                if (below(12) == 0)
                    box.members += "!_^Z"[below(4)];
                else if (below(3) == 0 && nested < count)
                    box.members += letter('A' + nested, count - nested);
                else
                    box.members += letter('a', letters);
            }
            model.boxes.push_back(box);
        }
    }

    std::string written() {
        std::string text;
        for (size_t i = 0; i < model.records.size(); ++i)
            text += "<" + model.records[i].substr(0, 1) + " name='" + model.records[i][1] + "' i='" +
                    std::to_string(i) + "'/>";
        for (const Box &box : model.boxes) {
            text += "\n<" + box.kind + " name='" + box.name + "' type='" + box.type + "'>";
            for (char member : box.members) {
                const std::string element = is_entity(member) ? "entity" : is_container(member) ? "container" : "other";
                text += "<!-- A --> <?pi a?><" + element + ">" + (isalpha(member) ? spelled({member}) : "") + "</" +
                        element + ">\n";
            }
            text += "</" + box.kind + ">";
        }
        return text;
    }

    // Asks for everything about a container. Where containers are shared a line may come once for several paths.
    void compare(Box &box) {
        close_container();
        const auto open = box.kind == "table" ? kvio_open_table : box.kind == "list" ? kvio_open_list : kvio_open_group;
        ASSERT_TRUE(iterator = open(config, "s", box.type.c_str(), box.name.c_str()));
        expect([&] { return model.check_loop(box); }, [&] { return kvio_check_loop(iterator); });
        expect([&] { return model.size(box); }, [&] { return kvio_size(iterator); });
        const bool shared = model.check_loop(box) == 1;
        expect([&] { return model.real_size(box); }, [&] { return kvio_real_size(iterator); }, shared);
        for (bool checks : {true, false}) {
            std::string expected, seen;
            expect([&] { return model.retrieve(box, checks, expected); }, [&] { return retrieve(checks, seen); },
                   shared);
            EXPECT_EQ(seen, expected);
        }
        for (unsigned position = 0; position <= box.members.size() + 1; ++position) compare(box, position);
        compare(box, UINT_MAX);
    }

    void compare(const Box &box, unsigned position) {
        std::string name, number, text(4, 'z'), whole = text;
        EXPECT_EQ(call([&] { return kvio_regain_index(iterator, position, whole.data()); }),
                  model.regain(box, position, "kvio_regain_index", name));
        EXPECT_EQ(call([&] { return kvio_regain_index2(iterator, position, text.data(), 3); }),
                  model.regain(box, position, "kvio_regain_index2", name));
        EXPECT_EQ(whole, name.empty() ? "zzzz" : name + '\0' + "zz");
        EXPECT_EQ(text, name.empty() ? "zzzz" : name + '\0' + '\0' + "z");
        kvio_node_t *entity = nullptr;
        EXPECT_EQ(call([&] { return entity = kvio_retrieve_index(iterator, position); }),
                  model.find(box, position, number));
        EXPECT_EQ(entity ? number_of(entity) : "", number);
    }

    int retrieve(bool checks, std::string &found) const {
        kvio_entities_t *array = checks ? kvio_retrieve_all(iterator) : kvio_retrieve_all2(iterator);
        const int code = kvio_errno, capacity = array ? array->capacity : -1;
        for (int i = 0; array && i < array->count; ++i) found += number_of(array->items[i]) + " ";
        kvio_free_entities(array);
        kvio_errno = code;
        return capacity;
    }

    static std::string number_of(kvio_node_t *entity) {
        char number[16];
        kvio_getattr_entity(entity, "i", number);
        return number;
    }

    void expect(const std::function<int()> &expected, const std::function<int()> &asked, bool ignores_lines = false) {
        model.code = untouched;
        model.err.clear();
        Outcome documented{-1, 19}, outcome = call(asked);
        try {
            documented.result = expected();
            documented.code = model.code;
        } catch (const Endless &) {}
        documented.err = model.err;
        if (ignores_lines) outcome.err = documented.err = "";
        EXPECT_EQ(outcome, documented);
    }

    int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
    std::string letter(int first, int count) { return std::string(1, static_cast<char>(first + below(count))); }

    // A name as an author may write it.
    std::string spelled(const std::string &name) {
        const std::string texts[] = {name, name, "<![CDATA[" + name + "]]>", name + "<!-- z -->",
                                     "&#" + std::to_string(+name[0]) + ";"};
        return texts[below(5)];
    }

    Model model;
    std::mt19937 random_;
};

// As snapshots: thousands of files under locks would only be slow.
TEST_F(Nested, RandomDocumentsAreReadAsTheModelDoes) {
    for (unsigned seed = 0; seed < 4000 && !HasFailure(); ++seed) {
        random_.seed(seed);
        model = {};
        draw();
        const std::string document = written();
        SCOPED_TRACE(document);
        open_snapshot(document);
        for (Box &box : model.boxes)
            if (model.open(box, box.name[0]) == &box && !HasFailure()) compare(box);
    }
}

}  // namespace
