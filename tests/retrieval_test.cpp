// Containers and scopes read back: sizes, loops, positions and entities.
#include <pthread.h>

#include <climits>
#include <vector>

#include "tests/open_document.h"

namespace {

// What a retrieval gives: the code, the entities by name and attribute "i", the capacity, and the lines.
struct Resolved {
    int code = 0;
    std::string entities = {};
    int capacity = 0;
    std::string err = {};
};
bool operator==(const Resolved &a, const Resolved &b) {
    return a.code == b.code && a.entities == b.entities && a.capacity == b.capacity && a.err == b.err;
}
void PrintTo(const Resolved &resolved, std::ostream *out) {
    *out << "{" << resolved.code << ", \"" << resolved.entities << "\", " << resolved.capacity << ", \"" << resolved.err << "\"}";
}

class Retrieval : public OpenDocument {
protected:
    template <class Retrieve>
    Resolved resolve(Retrieve retrieve) {
        kvio_entities_t *array = nullptr;
        Outcome outcome = call([&] { return array = retrieve(iterator); });
        Resolved resolved{outcome.code, "", 0, outcome.err};
        for (int i = 0; array && i < array->count; ++i) resolved.entities += described(array->items[i]) + ' ';
        if (array) resolved.capacity = array->capacity;
        EXPECT_EQ(call([&] { kvio_free_entities(array); }), (Outcome{0, 0}));
        return resolved;
    }

    static std::string described(kvio_node_t *entity) {
        char name[64] = "", i[64] = "";
        EXPECT_EQ(kvio_name2(entity, name, sizeof name), 1);
        kvio_getattr_entity2(entity, "i", i, sizeof i);
        return name + std::string(i);
    }

    std::string missing(const char *kind, const char *name) const {
        return "kvio_container_create_template(" + path() + "): scope:[s] " + kind + ":[" + name + "] type:[t] is not existed\n";
    }
};

// Shorthand for documents: every lower-case letter is an entity member, every upper-case one a container member, "_" an
// entity member without text, "^" a container member without text, "!" another element.
std::string members(const std::string &letters) {
    std::string text;
    for (char c : letters) {
        if (c == '_') text += "<entity/>";
        else if (c == '^') text += "<container/>";
        else if (c == '!') text += "<!-- c --><other>a</other> ";
        else if (isupper(c)) text += "<container>" + std::string(1, c) + "</container>";
        else text += "<entity>" + std::string(1, c) + "</entity>";
    }
    return text;
}

std::string box(const std::string &kind, const std::string &name, const std::string &letters) {
    const std::string head = "<" + kind + " name=\"" + name + "\" type=\"t\"";
    return letters.empty() ? head + "/>" : head + ">" + members(letters) + "</" + kind + ">";
}

const std::string abc = "<t name=\"a\"/><t name=\"b\"/><u name=\"d\"/><t name=\"c\"/>";

TEST_F(Retrieval, NestedContainers) {
    const std::string wrong = "kvio_size() warning: check data integrity\n";
    struct Row {
        const char *what;
        const char *kind;
        std::vector<std::string> contents;  // of the containers "C", which is asked, "D", "E" and "F"
        Outcome real_size, loop;
        Resolved all, all2;
    };
    const std::string no_x = missing("group", "X"), no_table = missing("table", "X");
    for (const Row &row : {
             Row{"empty", "list", {""}, {0, untouched}, {0, 0}, {0, "", 0}, {0, "", 0}},
             Row{"flat", "group", {"bxab!d"}, {5, untouched}, {0, 0}, {0, "b a ", 5}, {0, "b a ", 5}},
             Row{"nested", "list", {"aDb", "ca"}, {4, 0}, {0, 0}, {0, "a c b ", 4}, {0, "a c b ", 4}},
             Row{"cycle of two", "group", {"aD", "bC"}, {-1, 19}, {1, 0}, {19}, {19}},
             Row{"cycle of one", "list", {"C"}, {-1, 19}, {1, 0}, {19}, {19}},
             Row{"cycle further down", "group", {"aD", "E", "bD"}, {-1, 19}, {1, 0}, {19}, {19}},
             Row{"diamond", "group", {"DE", "F", "Fb", "a"}, {3, 0}, {1, 0}, {19}, {0, "a b ", 3}},
             Row{"one container twice", "group", {"DDc", "a"}, {3, 0}, {1, 0}, {19}, {0, "a c ", 3}},
             Row{"missing", "group", {"aXD", "b"}, {-1, 22, no_x}, {-1, 0, no_x}, {19, "", 0, no_x}, {23, "", 0, no_x}},
             Row{"missing further down", "group", {"aD", "bXc"}, {1, 22, no_x}, {0, 0, no_x},
                 {23, "", 0, no_x + no_x + no_x}, {23, "", 0, no_x + no_x}},
             Row{"found after missing further down", "group", {"DE", "X", "a"}, {1, 0, no_x}, {0, 0, no_x},
                 {23, "", 0, no_x + no_x + no_x}, {23, "", 0, no_x + no_x}},
             Row{"cycle behind missing", "group", {"aD", "XC"}, {1, 22, no_x}, {0, 0, no_x},
                 {23, "", 0, no_x + no_x + no_x}, {23, "", 0, no_x + no_x}},
             Row{"container without text", "group", {"a^"}, {-1, 20}, {-1, 0}, {19}, {23}},
             Row{"the same further down", "group", {"aD", "b^"}, {1, 0}, {0, 0}, {23}, {23}},
             Row{"entity without text", "group", {"a_"}, {2, untouched}, {0, 0}, {23}, {23}},
             Row{"other kinds are not followed", "group", {"a"}, {1, untouched}, {0, 0}, {0, "a ", 1}, {0, "a ", 1}},
             Row{"table", "table", {"aD", "bc"}, {2, 0}, {0, 0}, {0, "a b c ", 3}, {0, "a b c ", 3}},
             Row{"table with few entities", "table", {"aaD", ""}, {3, 0}, {0, 0}, {0, "a ", 3}, {0, "a ", 3}},
             Row{"table with others", "table", {"a!"}, {1, 0, wrong}, {0, 0}, {0, "a ", 1, wrong}, {0, "a ", 1, wrong}},
             Row{"table in itself", "table", {"aC"}, {2, 0}, {1, 0}, {19}, {19}},
             Row{"table with a missing one", "table", {"aX"}, {2, 0}, {-1, 0, no_table}, {23, "", 0, no_table}, {23, "", 0, no_table}},
             Row{"table with two paths", "table", {"DDc", "a"}, {3, 0}, {1, 0}, {0, "a c ", 3}, {0, "a c ", 3}},
         }) {
        SCOPED_TRACE(row.what);
        std::string text = box("other", "D", "c") + abc;
        const char *names[] = {"C", "D", "E", "F"};
        for (size_t i = 0; i < row.contents.size(); ++i) text += box(row.kind, names[i], row.contents[i]);
        open(text);
        const Kind *kind = kinds;
        while (row.kind != std::string(kind->name)) ++kind;
        open_container(*kind, "C");
        for (int again = 0; again < 2; ++again) {  // nothing is left behind in the tree
            EXPECT_EQ(call([&] { return kvio_check_loop(iterator); }), row.loop);
            EXPECT_EQ(call([&] { return kvio_real_size(iterator); }), row.real_size);
            EXPECT_EQ(resolve(kvio_retrieve_all), row.all);
            EXPECT_EQ(resolve(kvio_retrieve_all2), row.all2);
        }
        EXPECT_EQ(scope(), plain(text));
    }
}

TEST_F(Retrieval, EntitiesOfOneName) {
    const std::string entities = "<t name=\"x\" i=\"1\"/><t name=\"y\" i=\"2\"/><u name=\"x\" i=\"3\"/><t name=\"x\" i=\"4\"/>"
                                 "<t i=\"5\"/><t name=\"\" i=\"6\"/><o><t name=\"x\" i=\"7\"/></o>";
    struct Row {
        const char *letters, *nested;
        Resolved all2;
    };
    for (const Row &row : {Row{"xyxx", "", {0, "x1 y2 x4 ", 4}}, Row{"DD", "x", {0, "x1 x4 ", 2}},
                           Row{"DDDy", "x", {0, "x1 x4 y2 ", 4}}, Row{"xDx", "xy", {0, "x1 x4 y2 ", 4}},
                           Row{"DyD", "yx", {0, "y2 x1 x4 ", 5}}}) {
        SCOPED_TRACE(row.letters);
        open(entities + box("group", "C", row.letters) + box("group", "D", row.nested));
        open_group("C");
        EXPECT_EQ(resolve(kvio_retrieve_all2), row.all2);
    }
}

TEST_F(Retrieval, NamesWrittenInPieces) {
    open_whole("<!DOCTYPE kavex [<!ENTITY x \"ab\">]><kavex><s><t name=\"abc\" i=\"1\"/><t name=\"&x;&amp;\" i=\"2\"/>"
               "<list name=\"&x;\" type=\"t\"><entity>&x;<![CDATA[&]]></entity></list>"
               "<list name=\"c\" type=\"t\"><entity>a<!-- -->b<![CDATA[c]]></entity><container>a<!-- -->b</container></list></s></kavex>");
    open_list();
    EXPECT_EQ(resolve(kvio_retrieve_all), (Resolved{0, "abc1 ab&2 ", 2}));
    char text[8];
    EXPECT_EQ(call([&] { return kvio_regain_index(iterator, 2, text); }), (Outcome{1, untouched}));
    EXPECT_STREQ(text, "ab");
    EXPECT_EQ(call([&] { return kvio_retrieve_index(iterator, 1); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return kvio_join(iterator, "abc", 0); }).code, 10);
}

TEST_F(Retrieval, Positions) {
    open(abc + "<t name=\"b\"/>" + box("table", "c", "a!Db_^x"));
    open_container(kinds[0]);
    auto error = [](const char *who, const char *what) { return std::string(who) + "()" + what + "\n"; };
    const char *range = " error: out of range", *item = " fatal error: empty item";
    const char *none = " fatal error: entity not existed or multiple instances";
    struct Row {
        unsigned int position;
        int kind;  // of kvio_regain_index, or its code less 100
        const char *name;
        int code;  // of kvio_retrieve_index
        const char *what;
    };
    for (const Row &row : {Row{0, 14 - 100, range, 14, range}, Row{1, 0, "a", 0, "a"}, Row{2, 1, "D", 7, none},
                           Row{3, 0, "b", 15, " fatal error: empty entity"}, Row{4, 20 - 100, item, 7, none},
                           Row{5, 20 - 100, item, 14, range}, Row{6, 0, "x", 14, range}, Row{7, 14 - 100, range, 14, range},
                           Row{UINT_MAX, 14 - 100, range, 14, range}, Row{INT_MAX, 14 - 100, range, 14, range}}) {
        SCOPED_TRACE(row.position);
        char whole[8] = "zzzzzzz";
        std::string bounded(8, 'z');
        Outcome first = call([&] { return kvio_regain_index(iterator, row.position, whole); });
        Outcome second = call([&] { return kvio_regain_index2(iterator, row.position, bounded.data(), 7); });
        if (row.kind >= 0) {
            EXPECT_EQ(first, (Outcome{row.kind, untouched}));
            EXPECT_EQ(second, first);
            EXPECT_STREQ(whole, row.name);
            EXPECT_EQ(bounded, row.name + std::string(6, '\0') + "z");
        } else {
            EXPECT_EQ(first, (Outcome{-1, row.kind + 100, error("kvio_regain_index", row.name)}));
            EXPECT_EQ(second, (Outcome{-1, row.kind + 100, error("kvio_regain_index2", row.name)}));
            EXPECT_EQ(whole + bounded, std::string(15, 'z'));
        }
        kvio_node_t *entity = nullptr;
        Outcome found = call([&] { return entity = kvio_retrieve_index(iterator, row.position); });
        EXPECT_EQ(found, (row.code ? Outcome{0, row.code, error("kvio_retrieve_index", row.what)} : Outcome{1, 0}));
        EXPECT_EQ(entity ? described(entity) : row.what, row.what);
    }
    EXPECT_EQ(call([&] { return kvio_size(iterator); }),
              (Outcome{6, 0, "kvio_size() warning: check data integrity\n"}));
    kvio_unsetattr_container(iterator, "type");
    EXPECT_EQ(call([&] { return kvio_retrieve_index(iterator, 1); }),
              (Outcome{0, 7, "kvio_retrieve_index() fatal error: container is broken\n"}));
    kvio_setattr_container(iterator, "type", "u[");
    EXPECT_EQ(call([&] { return kvio_retrieve_index(iterator, 1); }),
              (Outcome{0, 8, "kvio_retrieve_index error on xmlXPathEvalExpression()\n"}));
}

TEST_F(Retrieval, NullHandles) {
    char text[8];
    auto null = [](const char *who) { return std::string(who) + "() error: NULL iterator\n"; };
    EXPECT_EQ(call([&] { return kvio_size(nullptr); }), (Outcome{-1, 13, null("kvio_size")}));
    EXPECT_EQ(call([&] { return kvio_real_size(nullptr); }), (Outcome{-1, 13, null("kvio_real_size")}));
    EXPECT_EQ(call([&] { return kvio_check_loop(nullptr); }), (Outcome{-1, 0, null("do_kvio_check_loop")}));
    EXPECT_EQ(call([&] { return kvio_retrieve_all(nullptr); }), (Outcome{0, 19, null("do_kvio_check_loop")}));
    EXPECT_EQ(call([&] { return kvio_retrieve_all2(nullptr); }), (Outcome{0, 23, null("kvio_real_size")}));
    EXPECT_EQ(call([&] { return kvio_regain_index(nullptr, 1, text); }), (Outcome{-1, 13, null("kvio_regain_index")}));
    EXPECT_EQ(call([&] { return kvio_regain_index2(nullptr, 1, text, 8); }), (Outcome{-1, 13, null("kvio_regain_index2")}));
    EXPECT_EQ(call([&] { return kvio_retrieve_index(nullptr, 1); }), (Outcome{0, 13, null("kvio_retrieve_index")}));
    EXPECT_EQ(call([&] { return kvio_retrieve_entity(nullptr, "s", "t", "x"); }), (Outcome{0, 6}));
    EXPECT_EQ(call([&] { return kvio_list_entities(nullptr, "s", "t"); }), (Outcome{0, 6}));
    EXPECT_EQ(call([&] { return kvio_entity_count(nullptr, "s", "t"); }), (Outcome{0, 6}));
}

TEST_F(Retrieval, EntitiesOfAScope) {
    open_whole("<kavex><s><t name=\"a\" i=\"1\"/><t/><t name='\"' i=\"2\"/><u name=\"a\" i=\"3\"/><t name=\"d\"/><t name=\"d\"/>"
               "<t name=\"&amp;&apos;\" i=\"4\"/><in><t name=\"a\" i=\"5\"/></in></s><p><t name=\"x\"/></p><p><t name=\"x\"/></p></kavex>");
    const std::string who = "kvio_retrieve_entity";
    const std::string no_scope = " fatal error: scope not existed or multiple instances\n";
    struct Row {
        const char *scope, *type, *name;
        Outcome outcome;
        const char *found;
        Outcome listed;   // the result is the count
        Outcome counted;
    };
    const Outcome unlisted{-1, 7, "kvio_list_entities" + no_scope}, uncounted{0, 7, "kvio_entity_count" + no_scope};
    const Outcome six{6, 0}, nothing{0, 0};
    for (const Row &row : {
             Row{"s", "t", "a", {1, 0}, "a1", six, six},
             Row{"s", "t", "\"", {1, 0}, "\"2", six, six},
             Row{"s", "t", "&'", {1, 0}, "&'4", six, six},
             Row{"s", "t", "", {0, 22}, "", six, six},
             Row{"s", "t", "a\"] | /kavex/s/u[@name=\"a", {0, 22}, "", six, six},
             Row{"s", "t", "d", {0, 7, who + " fatal error: multiple instances\n"}, "", six, six},
             Row{"p", "t", "x", {0, 7, who + " fatal error: multiple instances\n"}, "", unlisted, {2, 0}},
             Row{"p[1]", "t", "x", {1, 0}, "x", {1, 0}, {1, 0}},
             Row{"s", "v", "a", {0, 22}, "", nothing, nothing},
             Row{"none", "t", "a", {0, 22}, "", unlisted, nothing},
             Row{nullptr, "t", "a", {0, 7, who + no_scope}, "", unlisted, uncounted},
             Row{"s", nullptr, "a", {0, 22}, "", nothing, nothing},
             Row{"s", "t", nullptr, {0, 22}, "", six, six},
         }) {
        SCOPED_TRACE(testing::Message() << (row.scope ? row.scope : "null") << ' ' << (row.type ? row.type : "null") << ' '
                                        << (row.name ? row.name : "null"));
        kvio_node_t *entity = nullptr;
        EXPECT_EQ(call([&] { return entity = kvio_retrieve_entity(config, row.scope, row.type, row.name); }), row.outcome);
        EXPECT_EQ(entity ? described(entity) : "", row.found);
        kvio_entities_t *array = nullptr;
        Outcome listed = call([&] {
            array = kvio_list_entities(config, row.scope, row.type);
            return array ? array->count : -1;
        });
        EXPECT_EQ(listed, row.listed);
        EXPECT_TRUE(!array || array->capacity == array->count);
        kvio_free_entities(array);
        EXPECT_EQ(call([&] { return kvio_entity_count(config, row.scope, row.type); }), row.counted);
    }
    kvio_entities_t *array = kvio_list_entities(config, "s", "t");
    EXPECT_EQ(described(array->items[0]) + described(array->items[5]), "a1&'4") << "in document order";
    kvio_free_entities(array);
}

TEST_F(Retrieval, ArraysAreOneBlock) {
    for (int n : {0, 1, 1000}) {
        kvio_entities_t *array = nullptr;
        EXPECT_EQ(call([&] { return array = kvio_alloc_entities(n); }), (Outcome{1, untouched}));
        EXPECT_EQ(array->count, 0);
        EXPECT_EQ(array->capacity, n);
        EXPECT_EQ(static_cast<void *>(array->items), static_cast<void *>(array + 1));
        for (int i = 0; i < n; ++i) array->items[i] = nullptr;
        EXPECT_EQ(call([&] { kvio_free_entities(array); }), (Outcome{0, 0}));
    }
    for (int n : {-1, INT_MIN}) EXPECT_EQ(call([&] { return kvio_alloc_entities(n); }), (Outcome{0, untouched}));
    EXPECT_EQ(call([&] { kvio_free_entities(nullptr); }), (Outcome{0, 0}));
}

TEST_F(Retrieval, AHandleReadsWhatIsThereNow) {
    open(abc + box("group", "C", "aD") + box("group", "D", "b"));
    open_group("C");
    EXPECT_EQ(resolve(kvio_retrieve_all), (Resolved{0, "a b ", 2}));
    kvio_undefine(config, "s", "t", "a");
    EXPECT_EQ(resolve(kvio_retrieve_all), (Resolved{0, "b ", 2}));
    call([&] { return kvio_retrieve_index(iterator, 1); });
    EXPECT_EQ(kvio_errno, 7);
    kvio_dispose_group(config, "s", "t", "D");
    EXPECT_EQ(resolve(kvio_retrieve_all), (Resolved{19, "", 0, missing("group", "D")}));
    // The identity of a handle is that of its opening: renamed to the name of another one, it is not that other one.
    open(abc + box("group", "C", "a") + box("group", "D", "bC"));
    open_group("D");
    kvio_setattr_container(iterator, "name", "C");
    EXPECT_EQ(resolve(kvio_retrieve_all), (Resolved{0, "b a ", 2}));
}

// --------------------------------------------------------------------------------------- deep, wide and large

TEST_F(Retrieval, DeepNestingNeedsNoStack) {
    const int depth = 100000;
    std::string text = "<t name=\"a\"/>";
    for (int i = 0; i < depth; ++i)
        text += "<group name=\"" + std::to_string(i) + "\" type=\"t\"><entity>a</entity><container>" +
                std::to_string((i + 1) % depth) + "</container></group>";
    const std::string last = "<container>0</container>", chain = text.substr(0, text.size() - last.size() - 8) + "</group>";
    struct Results {
        kvio_iterator_t *iterator;
        int size, loop, count, code;
    } results{};
    auto body = [](void *argument) -> void * {
        auto *all = static_cast<Results *>(argument);
        all->size = kvio_real_size(all->iterator);
        all->loop = kvio_check_loop(all->iterator);
        kvio_entities_t *array = kvio_retrieve_all2(all->iterator);
        all->code = kvio_errno;
        all->count = array ? array->count : -1;
        kvio_free_entities(array);
        return nullptr;
    };
    auto run_on_a_small_stack = [&](const std::string &document) {
        open(document);
        open_group("0");
        results = {iterator, 0, 0, 0, 0};
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        ASSERT_EQ(pthread_attr_setstacksize(&attributes, 128 * 1024), 0);
        pthread_t thread;
        ASSERT_EQ(pthread_create(&thread, &attributes, body, &results), 0);
        pthread_join(thread, nullptr);
        pthread_attr_destroy(&attributes);
    };
    run_on_a_small_stack(chain);
    EXPECT_EQ(results.size, depth);
    EXPECT_EQ(results.loop, 0);
    EXPECT_EQ(results.count, 1);
    run_on_a_small_stack(text);  // the last one leads back to the first
    EXPECT_EQ(results.size, -1);
    EXPECT_EQ(results.loop, 1);
    EXPECT_EQ(results.code, 19);
}

// So many names that some of them have the same hash of 32 bits.
TEST_F(Retrieval, ManyNamesStayApart) {
    constexpr int count = 200000;
    auto name = [](int i) { return std::to_string(static_cast<uint64_t>(i) * 0x9E3779B97F4A7C15); };
    auto at = [](int i) { return static_cast<int>(i * int64_t{7919} % count); };
    std::string entities, names;
    for (int i = 0; i < count; ++i) {
        entities += "<t name=\"" + name(i) + "\"/>";
        names += "<entity>" + name(at(i)) + "</entity>";
    }
    open_snapshot(entities + "<list name=\"c\" type=\"t\">" + names + "</list>");
    open_list();
    kvio_entities_t *all = kvio_retrieve_all(iterator);
    ASSERT_TRUE(all);
    EXPECT_EQ(all->count, count);
    int wrong = 0;
    for (int i = 0; i < all->count; ++i) wrong += kvio_compare_name(all->items[i], name(at(i)).c_str()) != 1;
    EXPECT_EQ(wrong, 0);
    kvio_free_entities(all);
}

TEST_F(Retrieval, ManyPathsCostNoMoreThanTheirContainers) {
    // Each level names the next one twice, the last one two entities of one name and one more.
    auto levels = [](int n) {
        std::string text = "<t name=\"x\" i=\"1\"/><t name=\"x\" i=\"2\"/><t name=\"x\" i=\"3\"/><t name=\"y\"/>";
        for (int i = 0; i < n; ++i) {
            const std::string next = "<container>" + std::to_string(i + 1) + "</container>";
            text += "<group name=\"" + std::to_string(i) + "\" type=\"t\">" + next + next + "</group>";
        }
        return text + "<group name=\"" + std::to_string(n) + "\" type=\"t\"><entity>x</entity></group>";
    };
    open(levels(30));
    open_group("0");
    EXPECT_EQ(call([&] { return kvio_real_size(iterator); }), (Outcome{1 << 30, 0}));
    EXPECT_EQ(call([&] { return kvio_check_loop(iterator); }), (Outcome{1, 0}));
    Resolved resolved = resolve(kvio_retrieve_all2);
    EXPECT_EQ(resolved.code, 0);
    EXPECT_EQ(resolved.entities, "x1 x2 x3 ");
    EXPECT_TRUE(resolved.capacity == 1 << 30 || resolved.capacity == 3) << resolved.capacity << " as memory allows";
    for (int n : {31, 64, 200}) {  // beyond an int, and beyond 64 bits
        open(levels(n));
        open_group("0");
        EXPECT_EQ(call([&] { return kvio_real_size(iterator); }), (Outcome{-1, 2}));
        EXPECT_EQ(resolve(kvio_retrieve_all2), (Resolved{2}));
    }
}

}  // namespace
