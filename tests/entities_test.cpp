// Entities: defined, deleted, named, their values set and read; the scope is compared whole after each change.
#include <libxml/tree.h>

#include <cstring>
#include <functional>

#include "tests/open_document.h"

namespace {

class Entities : public OpenDocument {
protected:
    // The entity "e" with these values, behind a declaration of an entity reference.
    void open_entity(const std::string &values) {
        open_whole("<!DOCTYPE kavex SYSTEM \"none.dtd\" [<!ENTITY e \"an &#38;lt;entity>\">]><kavex><s><t name=\"e\">" +
                   values + "</t></s></kavex>");
        entity = kvio_retrieve_entity(config, "s", "t", "e");
    }
    std::string values() const {
        const std::string text = saved(), begin = "<t name=\"e\">";
        const size_t at = text.find(begin) + begin.size();
        return text.substr(at, text.find("</t>") - at);
    }

    kvio_node_t *entity = nullptr;
};

TEST_F(Entities, DefineAppendsAndRefusesDuplicates) {
    open("<u name=\"e\"/><t name=\"first\"><f>v</f></t>");
    const std::string who = "do_kvio_define", at = who + "(" + path() + "): scope:[s] type:[t] name:[";
    const Outcome unmade{0, 8, who + " error on xmlNewNode(): no memory?\n"};
    struct Row {
        const char *type, *name;
        Outcome expected;
        std::string added;
    } rows[] = {
        {"t", "e", {1, 0}, "<t name=\"e\"/>"},
        {"t", "e", {0, 10, at + "e] is existed\n"}, ""},
        {"t", "", {1, 0}, "<t name=\"\"/>"},
        {"t", "", {0, 10, at + "] is existed\n"}, ""},
        {"t", "a\"b'<&amp;]", {1, 0}, "<t name=\"a&quot;b'&lt;&amp;amp;]\"/>"},
        {nullptr, "e", unmade, ""},
        {"", "e", unmade, ""},
        {"t", nullptr, {0, 8, who + " error on xmlNewProp(): no memory?\n"}, ""},
    };
    for (const Row &row : rows) {
        const std::string before = scope();
        EXPECT_EQ(call([&] { return kvio_define(config, "s", row.type, row.name); }), row.expected);
        EXPECT_EQ(scope(), before + row.added);
    }
    EXPECT_EQ(call([&] { return entity = kvio_define2(config, "s", "t", "new"); }), (Outcome{1, 0}));
    EXPECT_EQ(kvio_compare_name(entity, "new"), 1);
    EXPECT_EQ(call([&] { return kvio_define2(config, "s", "t", "new"); }), (Outcome{0, 10, at + "new] is existed\n"}));
}

TEST_F(Entities, SetKeepsTheOrderAndTakesTextLiterally) {
    struct Row {
        const char *before, *field, *value, *after;
    } rows[] = {
        {"", "f", "", "<f></f>"},
        {"<f>1</f><g>2</g>", "f", "new", "<f>new</f><g>2</g>"},
        {"<f>1</f><g>2</g>", "h", "3", "<f>1</f><g>2</g><h>3</h>"},
        {"<f/><f>2</f>", "f", "1", "<f>1</f><f>2</f>"},
        {"<f>1</f>", "f", "", "<f></f>"},
        {"", "f", "a&b<c>]]>\"'&amp;&#65;", "<f>a&amp;b&lt;c&gt;]]&gt;\"'&amp;amp;&amp;#65;</f>"},
        {"<f>1</f>", "f", "&x;", "<f>&amp;x;</f>"},
        {"<f>1</f>text", "text", "2", "<f>1</f>text<text>2</text>"},
        // Only the first child goes, and the value is appended.
        {"<f><!--c--></f>", "f", "v", "<f>v</f>"},
        {"<f><!--c-->old</f>", "f", "v", "<f>oldv</f>"},
        {"<f>old<!--c--></f>", "f", "v", "<f><!--c-->v</f>"},
        {"<f>old<b/>tail</f>", "f", "v", "<f><b/>tailv</f>"},
        {"<f>old<![CDATA[c]]></f>", "f", "v", "<f><![CDATA[c]]>v</f>"},
        {"<f>old&e;</f>", "f", "v", "<f>&e;v</f>"},
    };
    for (const Row &row : rows) {
        for (auto *set : {kvio_set, kvio_set2}) {
            open_entity(row.before);
            EXPECT_EQ(call([&] { return set(entity, row.field, row.value); }), (Outcome{1, 0})) << row.before;
            EXPECT_EQ(values(), row.after) << row.before;
        }
    }
    open_entity("<f>1</f>");
    for (const char *field : {"f", "g"}) EXPECT_EQ(call([&] { return kvio_unset(entity, field); }), (Outcome{1, 0}));
    EXPECT_EQ(values(), "<f></f><g></g>");
    // The second form takes strings out of the document itself.
    open_entity("<f>name_of_a_field_that_is_long</f>");
    const char *name = reinterpret_cast<const char *>(entity->children->name);
    const char *text = reinterpret_cast<const char *>(entity->children->children->content);
    EXPECT_EQ(call([&] { return kvio_set2(entity, name, text + 8); }), (Outcome{1, 0}));
    EXPECT_EQ(values(), "<f>a_field_that_is_long</f>");
}

TEST_F(Entities, RefusedArguments) {
    open_entity("<f>1</f>");
    char text[16] = "kept";
    uint32_t number = 4711;
    const std::string unmade = "() error on xmlNewTextChild()\n", absent = "() error: element '' is not found\n";
    using Node = kvio_node_t *;
    struct Row {
        std::string who;
        int code;  // for an empty field, 0 where there is none
        std::string line;
        std::function<int(Node, const char *)> run;
    };
    for (const Row &row : {
             Row{"kvio_set", 8, unmade, [](Node node, auto field) { return kvio_set(node, field, "v"); }},
             Row{"kvio_set", 8, unmade, [](Node node, auto field) { return kvio_unset(node, field); }},
             Row{"kvio_set2", 8, unmade, [](Node node, auto field) { return kvio_set2(node, field, "v"); }},
             Row{"kvio_get", 22, absent, [&](Node node, auto field) { return kvio_get(node, field, text); }},
             Row{"kvio_get2", 22, absent, [&](Node node, auto field) { return kvio_get2(node, field, text, 16); }},
             Row{"kvio_getlen", 22, absent, [&](Node node, auto field) { return kvio_getlen(node, field, &number); }},
             Row{"kvio_name", 0, "", [&](Node node, auto) { return kvio_name(node, text); }},
             Row{"kvio_name2", 0, "", [&](Node node, auto) { return kvio_name2(node, text, 16); }},
             Row{"kvio_compare_name", 0, "", [](Node node, auto name) { return kvio_compare_name(node, name); }},
             Row{"kvio_setattr_entity", 0, "", [](Node node, auto n) { return kvio_setattr_entity(node, n, "v"); }},
             Row{"kvio_unsetattr_entity", 0, "", [](Node node, auto n) { return kvio_unsetattr_entity(node, n); }},
             Row{"kvio_getattr_entity", 0, "", [&](Node node, auto n) { return kvio_getattr_entity(node, n, text); }},
             Row{"kvio_getattr_entity2", 0, "",
                 [&](Node node, auto n) { return kvio_getattr_entity2(node, n, text, 16); }},
             Row{"kvio_increase_entity_attr", 0, "",
                 [&](Node node, auto n) { return kvio_increase_entity_attr(node, n, &number); }},
             Row{"kvio_decrease_entity_attr", 0, "",
                 [&](Node node, auto n) { return kvio_decrease_entity_attr(node, n, &number); }},
         }) {
        EXPECT_EQ(call([&] { return row.run(nullptr, "f"); }), (Outcome{0, 15, row.who + "() error: NULL entity\n"}));
        if (!row.code) continue;
        EXPECT_EQ(call([&] { return row.run(entity, ""); }), (Outcome{0, row.code, row.who + row.line}));
    }
    for (const char *field : {"g", "text", "F", static_cast<const char *>(nullptr)})
        EXPECT_EQ(call([&] { return kvio_get(entity, field, text); }).code, 22);
    EXPECT_EQ(call([&] { return kvio_set(entity, "f", nullptr); }), (Outcome{0, 8, "kvio_set" + unmade}));
    EXPECT_EQ(call([&] { return kvio_set(entity, nullptr, "v"); }), (Outcome{0, 8, "kvio_set" + unmade}));
    const std::string no_memory = "can not alloc memory for ";
    EXPECT_EQ(call([&] { return kvio_set2(nullptr, nullptr, "v"); }), (Outcome{0, untouched, no_memory + "name\n"}));
    EXPECT_EQ(call([&] { return kvio_set2(entity, "f", nullptr); }), (Outcome{0, untouched, no_memory + "value\n"}));
    EXPECT_EQ(call([&] { return kvio_compare_name(entity, nullptr); }), (Outcome{0, 0}));
    EXPECT_STREQ(text, "kept");
    EXPECT_EQ(number, 4711u);
    EXPECT_EQ(values(), "<f>1</f>");
}

// The value is what the first child says.
TEST_F(Entities, ValuesOfAnyShapeAreRead) {
    const std::pair<const char *, const char *> rows[] = {
        {"<f/>", ""},
        {"<f></f><f>2</f>", ""},
        {"<f> v\n</f>", " v\n"},
        {"<f>&lt;&amp;&#233;</f>", "<&\xc3\xa9"},
        {"<f><!--c-->v</f>", "c"},
        {"<f><!----></f>", ""},
        {"<f><![CDATA[<c>]]>v</f>", "<c>"},
        {"<f><b>1<c>2</c></b>v</f>", "12"},
        {"<f><?p i?></f>", "i"},
        {"<f><?p?></f>", ""},
        {"<f>&e;v</f>", "an <entity>"},
        {"<f>&undeclared;v</f>", ""},
        {"text<!--f--><?f no?><n:f xmlns:n=\"urn:n\">v</n:f>", "v"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.first);
        open_entity(row.first);
        char whole[32] = "?", bounded[32] = "?";
        uint32_t length = 4711;
        EXPECT_EQ(call([&] { return kvio_get(entity, "f", whole); }), (Outcome{1, 0}));
        EXPECT_EQ(call([&] { return kvio_get2(entity, "f", bounded, sizeof bounded); }), (Outcome{1, 0}));
        EXPECT_EQ(call([&] { return kvio_getlen(entity, "f", &length); }), (Outcome{1, 0}));
        EXPECT_STREQ(whole, row.second);
        EXPECT_STREQ(bounded, row.second);
        EXPECT_EQ(length, std::strlen(row.second));
    }
}

TEST_F(Entities, OthersThanTheNameAreNone) {
    for (const char *attribute : {"k=\"e\"", "Name=\"e\"", "xmlns:n=\"urn:n\" n:name=\"e\""}) {
        open(std::string("<t ") + attribute + "/>");
        kvio_entities_t *all = kvio_list_entities(config, "s", "t");
        entity = all->items[0];
        kvio_free_entities(all);
        char text[16] = "kept";
        const std::string missed = "() fatal error: attribute 'name' is missed\n";
        EXPECT_EQ(call([&] { return kvio_name(entity, text); }), (Outcome{0, 7, "kvio_name" + missed}));
        EXPECT_EQ(call([&] { return kvio_name2(entity, text, 16); }), (Outcome{0, 7, "kvio_name2" + missed}));
        EXPECT_STREQ(text, "kept");
        EXPECT_EQ(call([&] { return kvio_compare_name(entity, "e"); }), (Outcome{0, 0}));
    }
}

#ifdef KAVEX_TEST_ALLOCATIONS
// What needs memory that plain scopes and values do not: each failure is told, changes nothing, and is over with the
// next call.
TEST_F(Entities, WithoutMemoryNothingChanges) {
    const std::string stored = "<t name=\"e\"><f>old<!--c-->a tail of some length</f></t>";
    const std::function<int()> operations[] = {
        [&] { return kvio_set(entity, "f", "a new value of some length"); },
        [&] { return kvio_undefine(config, "*[1]", "t", "e"); },
        [&] { return kvio_retrieve_entity(config, "*[1]", "t", "e") != nullptr; },
        [&] { return kvio_define(config, "*[1]", "t", "n"); },
    };
    for (const auto &run : operations)
        for (faults::Extent extent : {faults::once, faults::from_then_on}) {
            int failures = 0;
            faults::each([&](int nth) {
                open(stored);
                entity = kvio_retrieve_entity(config, "s", "t", "e");
                faults::fail_allocation(nth, extent);
                const Outcome outcome = call(run);
                if (outcome.result) return;
                ++failures;
                EXPECT_TRUE((outcome.code == 7 || outcome.code == 8) && !outcome.err.empty());
                EXPECT_EQ(scope(), stored);
                EXPECT_EQ(call(run), (Outcome{1, 0}));
            });
            EXPECT_GT(failures, 0);
        }
    EXPECT_EQ(call([&] { return kvio_retrieve_entity(config, "s", "t", "none"); }).code, 22);
    EXPECT_EQ(faults::allocations(), 0) << "plain scopes need none";
}
#endif

}  // namespace
