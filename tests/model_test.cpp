// Random documents. What a scope and a name lead to is what the XPath expression selects; nested containers read as a
// plain model of the documented algorithms reads them: recursive, with a search for every step.
#include <libxml/parser.h>
#include <libxml/xpathInternals.h>

#include <algorithm>
#include <map>
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
    std::vector<Box> boxes;
    std::vector<std::string> records;  // type and name
    int code = untouched;              // which the latest question left

    // The entity members, once for each path that leads to them; no answer where a path meets a container again, or
    // where any path does and each container is to be met `once`.
    int real_size(const Box &box, std::set<const Box *> *once = nullptr, size_t depth = 0) {
        if (once ? !once->insert(&box).second : depth > boxes.size()) throw Endless();
        if (box.kind == "table" && !once) return code = 0, static_cast<int>(box.members.size());
        int total = 0;
        for (char member : box.members) {
            total += is_entity(member);
            if (is_entity(member)) continue;
            if (member == '^' && depth == 0) code = 20;
            const Box *nested = open(box, member);
            if (!nested) return -1;
            total += std::max(0, real_size(*nested, once, depth + 1));
        }
        return total;
    }

    int check_loop(const Box &box) {
        std::set<const Box *> met;
        int result = 1;
        try {
            result = real_size(box, &met) < 0 ? -1 : 0;
        } catch (const Endless &) {}
        code = 0;
        return result;
    }

    // The capacity, and the entities by number.
    int retrieve(const Box &box, bool checks, std::string &found) {
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
            if (!is_entity(member)) {
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

    const Box *open(const Box &from, char name) {
        for (const Box &box : boxes)
            if (box.kind == from.kind && box.type == from.type && box.name[0] == name) return code = 0, &box;
        if (name == '^') return nullptr;
        return code = 22, nullptr;
    }
};

class Documents : public OpenDocument {
protected:
    // Records and containers for the model, in the scope "s". Half of the documents can have cycles, a quarter has few
    // names. So few that a walk of all paths is short.
    std::string draw() {
        const bool cyclic = below(2), few = below(4) == 0;
        const int letters = few ? 3 : 8, count = 1 + below(few ? 2 : 5);
        const std::string kind = one_of({"table", "list", "group"});
        std::string text;
        for (int i = 0, records = below(12); i < records; ++i) {
            const std::string type = one_of({"t", "t", "t", "t", "u"}), name = letter('a', letters);
            text += element(type, "name='" + name + "' i='" + std::to_string(i) + "'", others(1));
            model.records.push_back(type + name);
        }
        for (int i = 0; i < count; ++i) {
            // A second one of the same name is never reached.
            const std::string name = letter(few && below(3) == 0 ? 'A' : 'A' + i, 1);
            Box box{below(12) ? kind : "list", below(12) ? "t" : "u", name, ""};
            const int nested = cyclic ? 0 : i + 1;
            std::string members;
            for (int j = below(6); j > 0; --j) {
                const std::string odd(1, "_^Z"[below(3)]),
                    usual = below(3) || nested == count ? letter('a', letters) : letter('A' + nested, count - nested),
                    member = below(12) ? usual : odd, code = "&#" + std::to_string(+member[0]) + ";",
                    written = one_of({member, "<![CDATA[" + member + "]]>", member + "<!-- z -->", code});
                box.members += member;
                members += "<!-- A --> <?pi a?>" + element(is_entity(member[0]) ? "entity" : "container", "",
                                                           isalpha(member[0]) ? written : "");
            }
            text += element(box.kind, "name='" + name + "' type='" + box.type + "'", members);
            model.boxes.push_back(box);
        }
        return element("s", "", text);
    }

    static std::string element(const std::string &kind, const std::string &attributes, const std::string &content) {
        return "<" + kind + " " + attributes + ">" + content + "</" + kind + ">\n";
    }

    // Other elements: duplicates, nested scopes, namespaces declared, taken back and prefixed, names in prefixed
    // attributes and in several pieces (libxml2 itself misjudges one whose first piece is a single byte).
    std::string others(int depth) {
        std::string text;
        for (int count = below(depth ? 4 : 2); count > 0; --count) {
            const std::string number = "i='" + std::to_string(below(1'000'000)) + "' ",
                              attributes =
                                  one_of({"", "name='x'", "name='y'", "name=''", "name='x' n:name='y'", "n:name='x'",
                                          "name='x&amp;&#121;'", "name='xy&e;'", "k='x' name='x' xmlns='urn:other'",
                                          "xmlns='' name='x'", "xmlns:n='urn:m'", "name='x&quot;] | //a[&quot;'",
                                          "name='&quot;'", "name='\u00e9'"});
            text += one_of({"", "", "text", "<!--a-->", "<?a?>", "<![CDATA[a]]>"});
            text +=
                element(one_of({"a", "a", "a", "b", "t", "n:a"}), number + attributes, depth ? others(depth - 1) : "");
        }
        return text;
    }

    // Asks for everything about a container.
    void compare(const Box &box) {
        close_container();
        const auto open = box.kind == "table" ? kvio_open_table : box.kind == "list" ? kvio_open_list : kvio_open_group;
        ASSERT_TRUE(iterator = open(config, "s", box.type.c_str(), box.name.c_str()));
        expect([&] { return model.check_loop(box); }, [&] { return kvio_check_loop(iterator); });
        expect([&] { return model.real_size(box); }, [&] { return kvio_real_size(iterator); });
        for (bool checks : {true, false}) {
            std::string expected, seen;
            expect([&] { return model.retrieve(box, checks, expected); }, [&] { return retrieve(checks, seen); });
            EXPECT_EQ(seen, expected);
        }
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
        char number[16] = "none";
        call([&] { return kvio_getattr_entity(entity, "i", number); });
        return number;
    }

    void expect(const std::function<int()> &expected, const std::function<int()> &asked) {
        const Outcome seen = call(asked);
        int result = -1;
        model.code = untouched;
        try {
            result = expected();
        } catch (const Endless &) { model.code = 19; }
        EXPECT_EQ(std::make_pair(seen.result, seen.code), std::make_pair<long>(result, +model.code));
    }

    // How many elements an expression selects in the same document, -1 where it is none, and the number of the only one.
    static std::pair<int, std::string> select(xmlDoc *document, const std::string &expression, const char *name = "") {
        auto text = [](const char *chars) { return reinterpret_cast<const xmlChar *>(chars); };
        xmlXPathContext *context = xmlXPathNewContext(document);
        xmlXPathRegisterVariable(context, text("name"), xmlXPathNewString(text(name)));
        xmlXPathObject *result = xmlXPathEvalExpression(text(expression.c_str()), context);
        const int count = !result ? -1 : result->nodesetval ? result->nodesetval->nodeNr : 0;
        const std::string only = number_of(count == 1 ? result->nodesetval->nodeTab[0] : nullptr);
        xmlXPathFreeObject(result);
        xmlXPathFreeContext(context);
        return {count, only};
    }

    // Asks for entities in some scope.
    void look_up(xmlDoc *document) {
        const std::string scope = one_of({"a", "a", "b", "t", "a/b", "a/a", "b/a/t", "n:a", "a/", "s", "s/t", "*",
                                          "*[self::a or self::b]"}),
                          type = one_of({"a", "a", "b", "t", "t", "n:a"}),
                          name = one_of({"x", "x", "x", "x\"] | //a[\"", "y", "", "a", "x&y", "xye", "\"", "\u00e9"}),
                          path = "/kavex/" + scope;
        SCOPED_TRACE(scope + " " + type + " " + name);
        const auto [count, only] = select(document, path + "/" + type + "[@name=$name]", name.c_str());
        ++answers[std::min(count, 2)];
        kvio_node_t *found = nullptr;
        kvio_entities_t *all = nullptr;
        call([&] { return found = kvio_retrieve_entity(config, scope.c_str(), type.c_str(), name.c_str()); });
        const int code = count < 0 ? 8 : count == 0 ? 22 : count == 1 ? 0 : 7;
        EXPECT_EQ(kvio_errno, code);
        EXPECT_EQ(number_of(found), only);
        call([&] { return all = kvio_list_entities(config, scope.c_str(), type.c_str()); });
        const int size = kvio_errno ? -1 : all->count;
        kvio_free_entities(all);
        const std::string listed = path + "/*[local-name()='" + type + "']";
        EXPECT_EQ(size, select(document, path).first == 1 ? select(document, listed).first : -1);
        EXPECT_EQ(call([&] { return kvio_entity_count(config, scope.c_str(), type.c_str()); }).result,
                  std::max(0, select(document, path + "/" + type).first));
    }

    int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
    std::string letter(int first, int count) { return std::string(1, static_cast<char>(first + below(count))); }
    std::string one_of(const std::vector<std::string> &texts) { return texts[random_() % texts.size()]; }

    Model model;
    std::map<int, int> answers;  // how many entities look-ups led to
    std::mt19937 random_;
};

// Read without locks: thousands of files under locks would only be slow.
TEST_F(Documents, AreReadAsTheModelDoes) {
    for (unsigned seed = 0; seed < 2000 && !HasFailure(); ++seed) {
        random_.seed(seed);
        model = {};
        const std::string root = one_of({"kavex", "kavex", "kavex", "other"}),
                          space = one_of({"", "", "", "xmlns='urn:d'"}), content = others(3) + draw() + others(3),
                          document = "<!DOCTYPE kavex [<!ENTITY e 'e'>]><!--a-->" +
                                     element(root, space + " xmlns:n='urn:n'", content);
        SCOPED_TRACE(document);
        close();
        write_file("/tmp/random.xml", document);
        ASSERT_TRUE(config = kvio_restore_scope("/tmp/random.xml"));
        for (const Box &box : model.boxes)
            if (root + space == "kavex" && model.open(box, box.name[0]) == &box && !HasFailure()) compare(box);
        xmlDoc *same = xmlParseFile("/tmp/random.xml");
        for (int question = 0; question < 5; ++question) look_up(same);
        xmlFreeDoc(same);
    }
    EXPECT_TRUE(answers[1] > 50 && answers[2] > 20) << answers[1] << " entities, " << answers[2] << " ambiguities";
}

// A large scope is indexed by name. Its elements change at random between look-ups, which a scope that is an expression
// answers without the index.
TEST_F(Documents, LargeScopesAnswerLikeTheExpression) {
    random_.seed(20240608);
    auto some_name = [&] { return "n" + std::to_string(below(90)); };
    for (int document = 0; document < 100 && !HasFailure(); ++document) {
        std::string text;
        for (int i = 0; i < 70; ++i)
            text += element(
                below(8) ? "t" : "list",
                "name='n" + std::to_string(below(200) ? i : below(i + 1)) + "'" + (below(90) ? "" : " xmlns='urn:n'"),
                "");
        open_snapshot(text);
        kvio_checkpoint_t *checkpoint = kvio_create_checkpoint(config, "s");
        for (int step = 0; step < 60 && !HasFailure(); ++step) {
            const std::string name = some_name(), other = some_name(), type = below(4) ? "t" : "list";
            kvio_node_t *found = kvio_retrieve_entity(config, "s", type.c_str(), other.c_str());
            const std::function<void()> changes[] = {
                [&] { kvio_define(config, "s", type.c_str(), name.c_str()); },
                [&] { kvio_undefine(config, "s", type.c_str(), name.c_str()); },
                [&] { kvio_close_list(kvio_create_list(config, "s", "t", name.c_str())); },
                [&] { kvio_dispose_list(config, "s", "t", name.c_str()); },
                [&] { kvio_setattr_entity(found, "name", name.c_str()); },
                [&] { below(9) ? 0 : kvio_unsetattr_entity(found, "name"); },
                [&] { kvio_set(found, "v", "w"); },
                [&] {
                    if (below(9)) return;
                    kvio_rollback_checkpoint(config, "s", checkpoint);
                    checkpoint = kvio_create_checkpoint(config, "s");
                },
            };
            changes[below(8)]();
            for (const std::string &asked : {name, other, some_name()}) {
                kvio_node_t *entity = kvio_retrieve_entity(config, "s", type.c_str(), asked.c_str());
                const int code = kvio_errno;
                EXPECT_EQ(kvio_retrieve_entity(config, "s[1]", type.c_str(), asked.c_str()), entity) << asked;
                EXPECT_EQ(kvio_errno, code);
            }
        }
        kvio_release_checkpoint(checkpoint);
    }
}

}  // namespace
