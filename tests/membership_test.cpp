// The members of a container: set and sequence operations, what they store, and what they leave behind.
#include <climits>

#include "tests/open_document.h"

namespace {

class Membership : public OpenDocument {
protected:
    // The list "c" with these members.
    void load(const std::string &members) {
        open("<list name=\"c\" type=\"t\">" + members + "</list>");
        open_list();
    }

    // What is in the list afterwards.
    std::string members() const {
        std::string text = scope(), open = "<list name=\"c\" type=\"t\">";
        if (text == "<list name=\"c\" type=\"t\"/>") return "";
        return text.substr(open.size(), text.size() - open.size() - sizeof "</list>" + 1);
    }
};

std::string entity(const std::string &name) { return "<entity>" + name + "</entity>"; }
std::string container(const std::string &name) { return "<container>" + name + "</container>"; }

TEST_F(Membership, NullHandlesAreToldByEachOperation) {
    EXPECT_EQ(call([&] { return kvio_join(nullptr, "n", 1); }), (Outcome{0, 13, "kvio_join() error: NULL iterator\n"}));
    EXPECT_EQ(call([&] { return kvio_remove(nullptr, "n"); }), (Outcome{0, 13, "kvio_remove() error: NULL iterator\n"}));
    EXPECT_EQ(call([&] { return kvio_change_container_element(nullptr, "n", "m"); }),
              (Outcome{0, 13, "kvio_change_container_element() error: NULL iterator\n"}));
    EXPECT_EQ(call([&] { return kvio_append(nullptr, "n"); }), (Outcome{0, 13, "kvio_append() error: NULL iterator\n"}));
    EXPECT_EQ(call([&] { return kvio_insert(nullptr, "n", 1); }), (Outcome{0, 13, "kvio_insert() error: NULL iterator\n"}));
    EXPECT_EQ(call([&] { return kvio_delete(nullptr, 1); }), (Outcome{0, 13, "kvio_delete() error: NULL iterator\n"}));
}

TEST_F(Membership, HandlesWithoutAContainerAreToldInEachSpelling) {
    load(entity("a"));
    // Only a damaged handle has no container element; this one is damaged here, behind its kind.
    kvio_iterator_t *it = iterator;
    void *node = nullptr, **field = reinterpret_cast<void **>(reinterpret_cast<char *>(it) + 16);
    std::swap(*field, node);
    EXPECT_EQ(call([&] { return kvio_join(it, "n", 1); }),
              (Outcome{0, 13, "kvio_join() error: bad iterator, no container assoiciated\n"}));
    EXPECT_EQ(call([&] { return kvio_remove(it, "n"); }),
              (Outcome{0, 13, "kvio_remove() error: bad iterator, no container assoiciated\n"}));
    EXPECT_EQ(call([&] { return kvio_change_container_element(it, "n", "m"); }),
              (Outcome{0, 13, "kvio_change_container_element () error: bad iterator, no container assoicaited\n"}));
    EXPECT_EQ(call([&] { return kvio_append(it, "n"); }),
              (Outcome{0, 13, "kvio_append () error: bad iterator, no container assoicaited\n"}));
    EXPECT_EQ(call([&] { return kvio_insert(it, "n", 1); }),
              (Outcome{0, 13, "kvio_insert() error: bad iterator, no container assoicaited\n"}));
    EXPECT_EQ(call([&] { return kvio_delete(it, 1); }),
              (Outcome{0, 13, "kvio_delete() error: bad iterator, no container associated\n"}));
    char text[8];
    const std::string reader = "() error: bad iterator, no container associated\n";
    const std::string attribute_reader = "() error: bad iterator, no container assoiciated\n";
    EXPECT_EQ(call([&] { return kvio_setattr_container(it, "a", ""); }), (Outcome{0, 13, "kvio_setattr_container" + reader}));
    EXPECT_EQ(call([&] { return kvio_unsetattr_container(it, "a"); }), (Outcome{0, 13, "kvio_unsetattr_container" + reader}));
    EXPECT_EQ(call([&] { return kvio_getattr_container(it, "a", text); }),
              (Outcome{0, 13, "kvio_getattr_container" + attribute_reader}));
    EXPECT_EQ(call([&] { return kvio_getattr_container2(it, "a", text, 8); }),
              (Outcome{0, 13, "kvio_getattr_container2" + attribute_reader}));
    EXPECT_EQ(call([&] { return kvio_size(it); }), (Outcome{-1, 13, "kvio_size" + reader}));
    EXPECT_EQ(call([&] { return kvio_real_size(it); }), (Outcome{-1, 13, "kvio_real_size" + reader}));
    EXPECT_EQ(call([&] { return kvio_check_loop(it); }), (Outcome{-1, 0, "do_kvio_check_loop" + reader}));
    EXPECT_EQ(call([&] { return kvio_retrieve_all(it); }), (Outcome{0, 19, "do_kvio_check_loop" + reader}));
    EXPECT_EQ(call([&] { return kvio_retrieve_all2(it); }), (Outcome{0, 23, "kvio_real_size" + reader}));
    EXPECT_EQ(call([&] { return kvio_regain_index(it, 1, text); }), (Outcome{-1, 13, "kvio_regain_index" + reader}));
    EXPECT_EQ(call([&] { return kvio_regain_index2(it, 1, text, 8); }), (Outcome{-1, 13, "kvio_regain_index2" + reader}));
    EXPECT_EQ(call([&] { return kvio_retrieve_index(it, 1); }), (Outcome{0, 13, "kvio_retrieve_index" + reader}));
    std::swap(*field, node);
}

TEST_F(Membership, JoinRefusesNamesOfEitherKind) {
    load(entity("a") + "<!-- c --><other>o</other>" + container("b"));
    for (int is_entity : {0, 1})
        for (const char *name : {"a", "b"})
            EXPECT_EQ(call([&] { return kvio_join(iterator, name, is_entity); }),
                      (Outcome{0, 10, std::string("kvio_join error: ") + name + " is already existed\n"}));
    EXPECT_EQ(call([&] { return kvio_join(iterator, "o", 0); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return kvio_join(iterator, "A", -1); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return kvio_join(iterator, "", INT_MIN); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return kvio_join(iterator, "", 0); }).code, 10) << "a member without text has the empty name";
    EXPECT_EQ(members(), entity("a") + "<!-- c --><other>o</other>" + container("b") + container("o") + entity("A") +
                             "<entity/>");
}

// One name through the four operations that store it: what the member says afterwards, null where it is refused.
TEST_F(Membership, NamesWithAmpersands) {
    struct Row {
        const char *name, *read_as_data;
    };
    for (const Row &row : {Row{"&amp;", "&amp;"}, Row{"a&lt;b&#65;&#x42;", "a&lt;bAB"}, Row{"<\"'>", "&lt;\"'&gt;"},
                           Row{"x&#10;y", "x\ny"}, Row{"&#x10FFFF;", "&#x10FFFF;"}, Row{"&known;", "&known;"},
                           Row{"AT&T", nullptr}, Row{"&", nullptr}, Row{"a&", nullptr}, Row{"&foo;", nullptr},
                           Row{"a&;b", nullptr}, Row{"&#;", nullptr}, Row{"&#x;", nullptr}, Row{"&#0;", nullptr},
                           Row{"&#1;", nullptr}, Row{"&#xD800;", nullptr}, Row{"&#x110000;", nullptr}, Row{"&# 65;", nullptr},
                           Row{"&#xFFFE;", nullptr}, Row{"&#99999999999999999999;", nullptr}, Row{"&#-1;", nullptr},
                           Row{"&#x 41;", nullptr}, Row{"&#0x41;", nullptr}, Row{"&#65", nullptr}, Row{"&amp;&bar;", nullptr}}) {
        SCOPED_TRACE(row.name);
        const std::string head = "<!DOCTYPE kavex [<!ENTITY known \"k\">]><kavex><s><list name=\"c\" type=\"t\">";
        const std::string tail = "</list></s></kavex>";
        auto reload = [&] {
            open_whole(head + entity("old") + tail);
            open_list();
        };
        auto expect = [&](const char *who, const Outcome &outcome, const std::string &changed) {
            const std::string refusal = std::string(who) + " error on xmlNodeSetContent()\n";
            EXPECT_EQ(outcome, row.read_as_data ? (Outcome{1, 0}) : (Outcome{0, 8, refusal}));
            const std::string text = saved();
            EXPECT_EQ(text.substr(text.find("<entity>")), (row.read_as_data ? changed : entity("old")) + tail);
        };
        const std::string now = entity(row.read_as_data ? row.read_as_data : "");
        reload();
        expect("kvio_join", call([&] { return kvio_join(iterator, row.name, 1); }), entity("old") + now);
        reload();
        expect("kvio_insert", call([&] { return kvio_insert(iterator, row.name, 1); }), now + entity("old"));
        reload();
        expect("kvio_change_container_element",
               call([&] { return kvio_change_container_element(iterator, "old", row.name); }), now);
        // Appended, it is there byte for byte, also to be found.
        reload();
        EXPECT_EQ(call([&] { return kvio_append(iterator, row.name); }), (Outcome{1, 0}));
        char text[64] = "";
        EXPECT_EQ(kvio_regain_index(iterator, 2, text), 0);
        EXPECT_STREQ(text, row.name);
        EXPECT_EQ(call([&] { return kvio_remove(iterator, row.name); }), (Outcome{1, 0}));
    }
}

TEST_F(Membership, RemoveAndChangeTakeTheFirstOfTheName) {
    const std::string stored = entity("b") + "<other>a</other>" + container("a") + entity("a") + "<entity>x<!-- -->y</entity>" +
                               "<entity><![CDATA[z]]></entity><entity/>";
    load(stored);
    EXPECT_EQ(call([&] { return kvio_change_container_element(iterator, "a", "n"); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return kvio_change_container_element(iterator, "xy", "p"); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return kvio_change_container_element(iterator, "", "q"); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return kvio_change_container_element(iterator, "xy", "p"); }), (Outcome{0, 22}));
    EXPECT_EQ(call([&] { return kvio_change_container_element(iterator, nullptr, "p"); }), (Outcome{0, 22}));
    EXPECT_EQ(call([&] { return kvio_change_container_element(iterator, "a", nullptr); }),
              (Outcome{0, 8, "kvio_change_container_element error on xmlNodeSetContent()\n"}));
    EXPECT_EQ(members(), entity("b") + "<other>a</other>" + container("n") + entity("a") + entity("p") +
                             "<entity><![CDATA[z]]></entity>" + entity("q"));
    for (const char *name : {"a", "z", "n"})
        EXPECT_EQ(call([&] { return kvio_remove(iterator, name); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return kvio_remove(iterator, "a"); }), (Outcome{0, 22, "kvio_remove() error: a is not existed\n"}));
    EXPECT_EQ(call([&] { return kvio_remove(iterator, nullptr); }),
              (Outcome{0, 22, "kvio_remove() error: (null) is not existed\n"}));
    EXPECT_EQ(members(), entity("b") + "<other>a</other>" + entity("p") + entity("q"));
    EXPECT_EQ(call([&] { return kvio_join(iterator, nullptr, 1); }), (Outcome{0, 8, "kvio_join error on xmlNodeSetContent()\n"}));
}

TEST_F(Membership, AppendNumbersEntityMembers) {
    load(entity("a") + container("g") + "<other/>" + entity("a"));
    for (const char *name : {"", static_cast<const char *>(nullptr), "a", ""})
        EXPECT_EQ(call([&] { return kvio_append(iterator, name); }), (Outcome{1, 0}));
    EXPECT_EQ(members(), entity("a") + container("g") + "<other/>" + entity("a") + entity("#3") + entity("#4") + entity("a") +
                             entity("#6"));
}

// Every position of [a, G, o, b] with a comment and white space between: what is there afterwards.
TEST_F(Membership, Positions) {
    const std::string a = entity("a"), g = container("G"), o = "<o/>", b = entity("b"), c = "<!-- -->";
    struct Row {
        int position;
        int warnings;
        std::string inserted, deleted;  // empty where the position is out of range
    };
    auto n = [](const char *name) { return entity(name); };
    for (const Row &row : {Row{1, 0, n("#1") + a + c + g + o + b, c + g + o + b},
                           Row{2, 1, a + c + n("#2") + g + o + b, a + c + o + b},
                           Row{3, 2, a + c + g + n("#3") + o + b, a + c + g + b},
                           Row{4, 2, a + c + g + o + n("#4") + b, a + c + g + o},
                           Row{5, 2, a + c + g + o + b + n("#5"), ""}, Row{6, 2, "", ""}, Row{0, 2, "", ""}, Row{-1, 2, "", ""},
                           Row{INT_MAX, 2, "", ""}, Row{INT_MIN, 2, "", ""}}) {
        SCOPED_TRACE(row.position);
        auto outcome = [&](const std::string &who, bool done) {
            Outcome all{done, done ? 0 : 14};
            for (int i = 0; i < row.warnings; ++i) all.err += who + "() warning: check data integrity\n";
            if (!done) all.err += who + "() error: out of range\n";
            return all;
        };
        const std::string before = a + c + g + o + b;
        for (const char *name : {"", static_cast<const char *>(nullptr)}) {
            load(" " + a + c + "\n" + g + o + " " + b + " ");
            EXPECT_EQ(call([&] { return kvio_insert(iterator, name, row.position); }),
                      outcome("kvio_insert", !row.inserted.empty()));
            EXPECT_EQ(members(), row.inserted.empty() ? before : row.inserted);
        }
        load(" " + a + c + "\n" + g + o + " " + b + " ");
        EXPECT_EQ(call([&] { return kvio_delete(iterator, row.position); }), outcome("kvio_delete", !row.deleted.empty()));
        EXPECT_EQ(members(), row.deleted.empty() ? before : row.deleted);
    }
    load("");
    EXPECT_EQ(call([&] { return kvio_delete(iterator, 1); }), (Outcome{0, 14, "kvio_delete() error: out of range\n"}));
    EXPECT_EQ(call([&] { return kvio_insert(iterator, "", 2); }), (Outcome{0, 14, "kvio_insert() error: out of range\n"}));
    EXPECT_EQ(call([&] { return kvio_insert(iterator, "x", 1); }), (Outcome{1, 0}));
    EXPECT_EQ(members(), entity("x"));
}

}  // namespace
