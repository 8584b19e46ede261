// The members of a container: set and sequence operations, what they store, and what they leave behind. And what any
// operation on a container says of a bad handle.
#include <climits>
#include <functional>

#include "tests/open_document.h"

namespace {

class Membership : public OpenDocument {
protected:
    // The list "c" with these members.
    void load(const std::string &members) {
        open("<list name=\"c\" type=\"t\">" + members + "</list>");
        open_list();
    }
};

std::string entity(const std::string &name) { return "<entity>" + name + "</entity>"; }
std::string container(const std::string &name) { return "<container>" + name + "</container>"; }

char buffer[8];

using Handle = kvio_iterator_t *;

// Each has its own spelling of the same complaint.
const std::string error = "() error: bad iterator, no container ", associated = error + "associated\n";
const std::string assoiciated = error + "assoiciated\n", assoicaited = error + "assoicaited\n";
const std::string spaced = " " + assoicaited;

struct Operation {
    std::string who;
    long failure;
    int code;
    std::string without_container;
    bool writes;
    std::function<long(Handle)> run;
};

const Operation operations[] = {
    {"kvio_join", 0, 13, assoiciated, true, [](Handle it) { return kvio_join(it, "n", 1); }},
    {"kvio_remove", 0, 13, assoiciated, true, [](Handle it) { return kvio_remove(it, "m"); }},
    {"kvio_change_container_element", 0, 13, spaced, true,
     [](Handle it) { return kvio_change_container_element(it, "m", "n"); }},
    {"kvio_append", 0, 13, spaced, true, [](Handle it) { return kvio_append(it, "n"); }},
    {"kvio_insert", 0, 13, assoicaited, true, [](Handle it) { return kvio_insert(it, "n", 1); }},
    {"kvio_delete", 0, 13, associated, true, [](Handle it) { return kvio_delete(it, 1); }},
    {"kvio_setattr_container", 0, 13, associated, true, [](Handle it) { return kvio_setattr_container(it, "a", "2"); }},
    {"kvio_unsetattr_container", 0, 13, associated, true, [](Handle it) { return kvio_unsetattr_container(it, "a"); }},
    {"kvio_getattr_container", 0, 13, assoiciated, false,
     [](Handle it) { return kvio_getattr_container(it, "a", buffer); }},
    {"kvio_getattr_container2", 0, 13, assoiciated, false,
     [](Handle it) { return kvio_getattr_container2(it, "a", buffer, 8); }},
    {"kvio_size", -1, 13, associated, false, [](Handle it) { return kvio_size(it); }},
    {"kvio_real_size", -1, 13, associated, false, [](Handle it) { return kvio_real_size(it); }},
    {"do_kvio_check_loop", -1, 0, associated, false, [](Handle it) { return kvio_check_loop(it); }},
    {"do_kvio_check_loop", 0, 19, associated, false, [](Handle it) { return kvio_retrieve_all(it) != nullptr; }},
    {"kvio_real_size", 0, 23, associated, false, [](Handle it) { return kvio_retrieve_all2(it) != nullptr; }},
    {"kvio_regain_index", -1, 13, associated, false, [](Handle it) { return kvio_regain_index(it, 1, buffer); }},
    {"kvio_regain_index2", -1, 13, associated, false, [](Handle it) { return kvio_regain_index2(it, 1, buffer, 8); }},
    {"kvio_retrieve_index", 0, 13, associated, false, [](Handle it) { return kvio_retrieve_index(it, 1) != nullptr; }},
};

TEST_F(Membership, BadHandles) {
    for (const Operation &row : operations) {
        EXPECT_EQ(call([&] { return row.run(nullptr); }),
                  (Outcome{row.failure, row.code, row.who + "() error: NULL iterator\n"}));
        // Only a damaged handle has no container element; this one is damaged here, behind its kind.
        load("");
        void *node = nullptr, **field = reinterpret_cast<void **>(reinterpret_cast<char *>(iterator) + 16);
        std::swap(*field, node);
        EXPECT_EQ(call([&] { return row.run(iterator); }),
                  (Outcome{row.failure, row.code, row.who + row.without_container}));
        std::swap(*field, node);
        if (!row.writes) continue;
        open_snapshot("<list name=\"c\" type=\"t\" a=\"1\"><entity>m</entity></list>");
        open_list();
        const std::string before = scope();
        EXPECT_EQ(call([&] { return row.run(iterator); }),
                  (Outcome{0, 11, row.who + "() error: read-only iterator\n"}));
        EXPECT_EQ(scope(), before);
    }
}

TEST_F(Membership, JoinRefusesNamesOfEitherKindAndAppendNumbersEntities) {
    const std::string stored = entity("a") + "<!-- c --><other>o</other>" + container("b");
    load(stored);
    for (int is_entity : {0, 1})
        for (const char *name : {"a", "b"})
            EXPECT_EQ(call([&] { return kvio_join(iterator, name, is_entity); }),
                      (Outcome{0, 10, std::string("kvio_join error: ") + name + " is already existed\n"}));
    EXPECT_EQ(call([&] { return kvio_join(iterator, nullptr, 1); }),
              (Outcome{0, 8, "kvio_join error on xmlNodeSetContent()\n"}));
    EXPECT_EQ(call([&] { return kvio_join(iterator, "o", 0); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return kvio_join(iterator, "A", -1); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return kvio_join(iterator, "", INT_MIN); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return kvio_join(iterator, "", 0); }).code, 10) << "a member without text has the empty name";
    for (const char *name : {"", static_cast<const char *>(nullptr), "a", ""})
        EXPECT_EQ(call([&] { return kvio_append(iterator, name); }), (Outcome{1, 0}));
    EXPECT_EQ(content(), stored + container("o") + entity("A") + "<entity/>" + entity("#4") + entity("#5") +
                             entity("a") + entity("#7"));
}

// One name through the operations that store it: what the member says afterwards, null where it is refused.
TEST_F(Membership, NamesWithAmpersands) {
    struct Row {
        const char *name, *read_as_data;
    };
    for (const Row &row : {Row{"a&lt;b&#65;&#x42;", "a&lt;bAB"}, Row{"<\"'>", "&lt;\"'&gt;"}, Row{"x&#10;y", "x\ny"},
                           Row{"&#x10FFFF;", "&#x10FFFF;"}, Row{"&known;", "&known;"}, Row{"AT&T", nullptr},
                           Row{"a&", nullptr}, Row{"&foo;", nullptr}, Row{"a&;b", nullptr}, Row{"&#;", nullptr},
                           Row{"&#x;", nullptr}, Row{"&#0;", nullptr}, Row{"&#xD800;", nullptr},
                           Row{"&#x110000;", nullptr}, Row{"&# 65;", nullptr}, Row{"&#99999999999999999999;", nullptr},
                           Row{"&#-1;", nullptr}, Row{"&#x 41;", nullptr}, Row{"&#0x41;", nullptr},
                           Row{"&#65", nullptr}, Row{"&amp;&bar;", nullptr}}) {
        SCOPED_TRACE(row.name);
        auto expect = [&](const std::string &who, const Outcome &outcome) {
            const Outcome refusal{0, 8, who + " error on xmlNodeSetContent()\n"};
            EXPECT_EQ(outcome, (row.read_as_data ? Outcome{1, 0} : refusal));
        };
        open_whole("<!DOCTYPE kavex [<!ENTITY known \"k\">]><kavex><s><list name=\"c\" type=\"t\">" + entity("old") +
                   "</list></s></kavex>");
        open_list();
        const std::string before = saved();
        expect("kvio_join", call([&] { return kvio_join(iterator, row.name, 1); }));
        expect("kvio_insert", call([&] { return kvio_insert(iterator, row.name, 1); }));
        expect("kvio_change_container_element",
               call([&] { return kvio_change_container_element(iterator, "old", row.name); }));
        const std::string now = row.read_as_data ? entity(row.read_as_data) : "";
        const std::string after = before.substr(0, before.find("<entity>")) + now + now + now + "</list></s></kavex>";
        EXPECT_EQ(saved(), row.read_as_data ? after : before);
        // Appended, it is there byte for byte, also to be found.
        EXPECT_EQ(call([&] { return kvio_append(iterator, row.name); }), (Outcome{1, 0}));
        char last[64] = "";
        EXPECT_EQ(kvio_regain_index(iterator, row.read_as_data ? 4 : 2, last), 0);
        EXPECT_STREQ(last, row.name);
    }
}

TEST_F(Membership, RemoveAndChangeTakeTheFirstOfTheName) {
    load(entity("b") + "<other>a</other>" + container("a") + entity("a") + "<entity>x<!-- -->y</entity>" +
         "<entity><![CDATA[z]]></entity><entity/>");
    struct Row {
        const char *name, *new_name;
        Outcome outcome;
    };
    for (const Row &row : {Row{"a", "n", {1, 0}}, Row{"xy", "p", {1, 0}}, Row{"", "q", {1, 0}}, Row{"xy", "p", {0, 22}},
                           Row{nullptr, "p", {0, 22}},
                           Row{"a", nullptr, {0, 8, "kvio_change_container_element error on xmlNodeSetContent()\n"}}})
        EXPECT_EQ(call([&] { return kvio_change_container_element(iterator, row.name, row.new_name); }), row.outcome);
    EXPECT_EQ(content(), entity("b") + "<other>a</other>" + container("n") + entity("a") + entity("p") +
                             "<entity><![CDATA[z]]></entity>" + entity("q"));
    for (const char *name : {"a", "z", "n"})
        EXPECT_EQ(call([&] { return kvio_remove(iterator, name); }), (Outcome{1, 0}));
    for (const char *name : {"a", static_cast<const char *>(nullptr)}) {
        const std::string shown = name ? name : "(null)";
        EXPECT_EQ(call([&] { return kvio_remove(iterator, name); }),
                  (Outcome{0, 22, "kvio_remove() error: " + shown + " is not existed\n"}));
    }
    EXPECT_EQ(content(), entity("b") + "<other>a</other>" + entity("p") + entity("q"));
}

// Every position of [a, G, o, b] with a comment and white space between: what is there afterwards.
TEST_F(Membership, Positions) {
    const std::string a = entity("a"), g = container("G"), o = "<o/>", b = entity("b"), c = "<!-- -->";
    const std::string before = a + c + g + o + b;
    struct Row {
        int position, warnings;
        std::string inserted, deleted;  // as before where the position is out of range
    };
    for (const Row &row : {Row{1, 0, entity("#1") + before, c + g + o + b},
                           Row{2, 1, a + c + entity("#2") + g + o + b, a + c + o + b},
                           Row{3, 2, a + c + g + entity("#3") + o + b, a + c + g + b},
                           Row{4, 2, a + c + g + o + entity("#4") + b, a + c + g + o},
                           Row{5, 2, before + entity("#5"), before}, Row{6, 2, before, before},
                           Row{0, 2, before, before}, Row{INT_MAX, 2, before, before},
                           Row{INT_MIN, 2, before, before}}) {
        SCOPED_TRACE(row.position);
        auto outcome = [&](const std::string &who, bool done) {
            Outcome all{done, done ? 0 : 14};
            for (int i = 0; i < row.warnings; ++i) all.err += who + "() warning: check data integrity\n";
            if (!done) all.err += who + "() error: out of range\n";
            return all;
        };
        const std::string spaced_out = " " + a + c + "\n" + g + o + " " + b + " ";
        load(spaced_out);
        EXPECT_EQ(call([&] { return kvio_insert(iterator, row.position % 2 ? "" : nullptr, row.position); }),
                  outcome("kvio_insert", row.inserted != before));
        EXPECT_EQ(content(), row.inserted);
        load(spaced_out);
        EXPECT_EQ(call([&] { return kvio_delete(iterator, row.position); }),
                  outcome("kvio_delete", row.deleted != before));
        EXPECT_EQ(content(), row.deleted);
    }
    load("");
    EXPECT_EQ(call([&] { return kvio_delete(iterator, 1); }), (Outcome{0, 14, "kvio_delete() error: out of range\n"}));
    EXPECT_EQ(call([&] { return kvio_insert(iterator, "", 2); }).code, 14);
    EXPECT_EQ(call([&] { return kvio_insert(iterator, "x", 1); }), (Outcome{1, 0}));
    EXPECT_EQ(content(), entity("x"));
}

}  // namespace
