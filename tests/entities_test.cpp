// Entities: defined, deleted, named, their values set and read; the scope is compared whole after each change.
#include <libxml/tree.h>

#include <cstring>

#include "tests/open_document.h"

namespace {

class Entities : public OpenDocument {
protected:
    void open_entity(const std::string &values, const std::string &attributes = " name=\"e\"") {
        open("<t" + attributes + ">" + values + "</t>");
        kvio_entities_t *all = kvio_list_entities(config, "s", "t");
        entity = all->items[0];
        kvio_free_entities(all);
    }
    std::string values() const {
        std::string text = scope(), begin = "<t name=\"e\">";
        return text == "<t name=\"e\"/>" ? "" : text.substr(begin.size(), text.size() - begin.size() - sizeof "</t>" + 1);
    }
    std::string get(const char *field) const {
        char text[4096];
        return kvio_get(entity, field, text) ? text : "none";
    }

    kvio_node_t *entity = nullptr;
};

TEST_F(Entities, DefineAppendsAndRefusesDuplicates) {
    open("<u name=\"e\"/><t name=\"first\"><f>v</f></t>");
    const std::string who = "do_kvio_define", at = "(" + path() + "): scope:[s] type:[t] name:[";
    struct Row {
        const char *scope, *type, *name;
        Outcome expected;
        std::string added;
    } rows[] = {
        {"s", "t", "e", {1, 0}, "<t name=\"e\"/>"},
        {"s", "t", "e", {0, 10, who + at + "e] is existed\n"}, ""},
        {"s", "t", "first", {0, 10, who + at + "first] is existed\n"}, ""},
        {"s", "t", "E", {1, 0}, "<t name=\"E\"/>"},
        {"s", "t", "", {1, 0}, "<t name=\"\"/>"},
        {"s", "t", "", {0, 10, who + at + "] is existed\n"}, ""},
        {"s", "t", "a\"b'<&]", {1, 0}, "<t name=\"a&quot;b'&lt;&amp;]\"/>"},
        {"s", "t", "a\"b'<&]", {0, 10, who + at + "a\"b'<&]] is existed\n"}, ""},
        {"s", "t", "&amp;", {1, 0}, "<t name=\"&amp;amp;\"/>"},
        {"s", "v", "e", {1, 0}, "<v name=\"e\"/>"},
        {"none", "t", "e", {0, 7, who + " fatal error: scope not existed or multiple instances\n"}, ""},
        {nullptr, "t", "e", {0, 7, who + " fatal error: scope not existed or multiple instances\n"}, ""},
        {"s", nullptr, "e", {0, 8, who + " error on xmlNewNode(): no memory?\n"}, ""},
        {"s", "", "e", {0, 8, who + " error on xmlNewNode(): no memory?\n"}, ""},
        {"s", "t", nullptr, {0, 8, who + " error on xmlNewProp(): no memory?\n"}, ""},
    };
    for (const Row &row : rows) {
        const std::string before = scope();
        EXPECT_EQ(call([&] { return kvio_define(config, row.scope, row.type, row.name); }), row.expected);
        EXPECT_EQ(scope(), before + row.added);
    }
    EXPECT_EQ(call([&] { return entity = kvio_define2(config, "s", "t", "new"); }), (Outcome{1, 0}));
    EXPECT_EQ(kvio_compare_name(entity, "new"), 1);
    EXPECT_EQ(call([&] { return kvio_define2(config, "s", "t", "new"); }), (Outcome{0, 10, who + at + "new] is existed\n"}));
    EXPECT_EQ(call([&] { return kvio_define(nullptr, "s", "t", "e"); }), (Outcome{0, 6}));
    EXPECT_EQ(call([&] { return kvio_define2(nullptr, "s", "t", "e"); }), (Outcome{0, 6}));
    EXPECT_EQ(call([&] { return kvio_undefine(nullptr, "s", "t", "e"); }), (Outcome{0, 6}));
}

TEST_F(Entities, UndefineDeletesExactlyOne) {
    const std::string stored = "<t name=\"d\"/><t name=\"e\" k=\"1\"><f>v</f></t><u name=\"e\"/><t name=\"d\"/>"
                               "<list name=\"c\" type=\"t\"><entity>e</entity></list><t/>";
    open(stored);
    const Outcome none{0, 22, "kvio_undefine error: entity not existed\n"};
    for (const char *name : {"x", "", "E", "d\" or \"\"=\"", static_cast<const char *>(nullptr)})
        EXPECT_EQ(call([&] { return kvio_undefine(config, "s", "t", name); }), none);
    EXPECT_EQ(call([&] { return kvio_undefine(config, "s", nullptr, "e"); }), none);
    EXPECT_EQ(call([&] { return kvio_undefine(config, "none", "t", "e"); }), none);
    EXPECT_EQ(call([&] { return kvio_undefine(config, "..", "kavex", "e"); }), none);
    EXPECT_EQ(call([&] { return kvio_undefine(config, "s", "t", "d"); }),
              (Outcome{0, 7, "kvio_undefine fatal error: multiple instances\n"}));
    EXPECT_EQ(scope(), stored);
    EXPECT_EQ(call([&] { return kvio_undefine(config, "s", "t", "e"); }), (Outcome{1, 0}));
    EXPECT_EQ(scope(), "<t name=\"d\"/><u name=\"e\"/><t name=\"d\"/><list name=\"c\" type=\"t\"><entity>e</entity></list><t/>");
    EXPECT_EQ(call([&] { return kvio_undefine(config, "s", "t", "e"); }), none);
}

TEST_F(Entities, SetKeepsTheOrderAndTakesTextLiterally) {
    struct Row {
        const char *before, *field, *value, *after;
    } rows[] = {
        {"", "f", "v", "<f>v</f>"},
        {"", "f", "", "<f></f>"},
        {"<f>1</f><g>2</g>", "f", "new", "<f>new</f><g>2</g>"},
        {"<f>1</f><g>2</g>", "h", "3", "<f>1</f><g>2</g><h>3</h>"},
        {"<f/><f>2</f>", "f", "1", "<f>1</f><f>2</f>"},
        {"<f>1</f>", "f", "", "<f></f>"},
        {"", "f", "a&b<c>]]>\"'&amp;&#65;", "<f>a&amp;b&lt;c&gt;]]&gt;\"'&amp;amp;&amp;#65;</f>"},
        {"<f>1</f>", "f", "&x;", "<f>&amp;x;</f>"},
        {"<!--f--><f>1</f>", "comment", "2", "<!--f--><f>1</f><comment>2</comment>"},
        {"<f>1</f>text", "text", "2", "<f>1</f>text<text>2</text>"},
        // Only the first child goes, and the value is appended.
        {"<f><!--c--></f>", "f", "v", "<f>v</f>"},
        {"<f><![CDATA[c]]></f>", "f", "v", "<f>v</f>"},
        {"<f>&e;</f>", "f", "v", "<f>v</f>"},
        {"<f><!--c-->old</f>", "f", "v", "<f>oldv</f>"},
        {"<f>old<!--c--></f>", "f", "v", "<f><!--c-->v</f>"},
        {"<f>old<b/>tail</f>", "f", "v", "<f><b/>tailv</f>"},
        {"<f>old<![CDATA[c]]></f>", "f", "v", "<f><![CDATA[c]]>v</f>"},
        {"<f>old&e;</f>", "f", "v", "<f>&e;v</f>"},
    };
    const std::string head = "<!DOCTYPE kavex [\n<!ENTITY e \"entity\">\n]><kavex><s>";
    for (const Row &row : rows) {
        for (auto *set : {kvio_set, kvio_set2}) {
            open_whole(head + "<t name=\"e\">" + row.before + "</t></s></kavex>");
            entity = kvio_retrieve_entity(config, "s", "t", "e");
            EXPECT_EQ(call([&] { return set(entity, row.field, row.value); }), (Outcome{1, 0})) << row.before;
            EXPECT_EQ(saved(), plain(head + "<t name=\"e\">" + row.after + "</t></s></kavex>")) << row.before << row.value;
            EXPECT_TRUE(std::string(get(row.field)) == row.value || row.before[3] != '1') << row.before;
        }
    }
    open_entity("<f>1</f>");
    EXPECT_EQ(call([&] { return kvio_unset(entity, "f"); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return kvio_unset(entity, "g"); }), (Outcome{1, 0}));
    EXPECT_EQ(values(), "<f></f><g></g>");
}

TEST_F(Entities, Set2TakesStringsOutOfTheDocument) {
    open_entity("<f>name_of_a_field_that_is_long</f>");
    const char *text = reinterpret_cast<const char *>(entity->children->children->content);
    EXPECT_EQ(call([&] { return kvio_set2(entity, reinterpret_cast<const char *>(entity->children->name), text + 8); }),
              (Outcome{1, 0}));
    EXPECT_EQ(values(), "<f>a_field_that_is_long</f>");
}

TEST_F(Entities, RefusedArguments) {
    open_entity("<f>1</f>");
    char text[16] = "kept";
    uint32_t length = 4711;
    auto null = [](const char *who) { return Outcome{0, 15, std::string(who) + "() error: NULL entity\n"}; };
    auto unmade = [](const char *who) { return Outcome{0, 8, std::string(who) + "() error on xmlNewTextChild()\n"}; };
    auto absent = [](const char *who, const char *field) {
        return Outcome{0, 22, std::string(who) + "() error: element '" + field + "' is not found\n"};
    };
    EXPECT_EQ(call([&] { return kvio_set(nullptr, "f", "v"); }), null("kvio_set"));
    EXPECT_EQ(call([&] { return kvio_set2(nullptr, "f", "v"); }), null("kvio_set2"));
    EXPECT_EQ(call([&] { return kvio_unset(nullptr, "f"); }), null("kvio_set"));
    EXPECT_EQ(call([&] { return kvio_get(nullptr, "f", text); }), null("kvio_get"));
    EXPECT_EQ(call([&] { return kvio_get2(nullptr, "f", text, 16); }), null("kvio_get2"));
    EXPECT_EQ(call([&] { return kvio_getlen(nullptr, "f", &length); }), null("kvio_getlen"));
    EXPECT_EQ(call([&] { return kvio_name(nullptr, text); }), null("kvio_name"));
    EXPECT_EQ(call([&] { return kvio_name2(nullptr, text, 16); }), null("kvio_name2"));
    EXPECT_EQ(call([&] { return kvio_compare_name(nullptr, "e"); }), null("kvio_compare_name"));
    EXPECT_EQ(call([&] { return kvio_compare_name(entity, nullptr); }), (Outcome{0, 0}));
    EXPECT_EQ(call([&] { return kvio_set(entity, "f", nullptr); }), unmade("kvio_set"));
    EXPECT_EQ(call([&] { return kvio_set(entity, nullptr, "v"); }), unmade("kvio_set"));
    EXPECT_EQ(call([&] { return kvio_set(entity, "", "v"); }), unmade("kvio_set"));
    EXPECT_EQ(call([&] { return kvio_set2(entity, "", "v"); }), unmade("kvio_set2"));
    EXPECT_EQ(call([&] { return kvio_set2(nullptr, nullptr, "v"); }), (Outcome{0, untouched, "can not alloc memory for name\n"}));
    EXPECT_EQ(call([&] { return kvio_set2(entity, "f", nullptr); }), (Outcome{0, untouched, "can not alloc memory for value\n"}));
    for (const char *field : {"g", "", "text", "F"}) {
        EXPECT_EQ(call([&] { return kvio_get(entity, field, text); }), absent("kvio_get", field));
        EXPECT_EQ(call([&] { return kvio_get2(entity, field, text, 16); }), absent("kvio_get2", field));
        EXPECT_EQ(call([&] { return kvio_getlen(entity, field, &length); }), absent("kvio_getlen", field));
    }
    EXPECT_EQ(call([&] { return kvio_get(entity, nullptr, text); }), absent("kvio_get", "(null)"));
    EXPECT_STREQ(text, "kept");
    EXPECT_EQ(length, 4711u);
    EXPECT_EQ(values(), "<f>1</f>");
}

// The value is what the first child says.
TEST_F(Entities, ValuesOfAnyShapeAreRead) {
    const std::pair<const char *, const char *> rows[] = {
        {"<f>v</f>", "v"},
        {"<f/>", ""},
        {"<f></f><f>2</f>", ""},
        {"<f> v\n</f>", " v\n"},
        {"<f>&lt;&amp;&#233;</f>", "<&\xc3\xa9"},
        {"<f><!--c-->v</f>", "c"},
        {"<f><!----></f>", ""},
        {"<f><![CDATA[<c>]]>v</f>", "<c>"},
        {"<f><b>1<c>2</c></b>v</f>", "12"},
        {"<f><b/>v</f>", ""},
        {"<f><?p i?></f>", "i"},
        {"<f><?p?></f>", ""},
        {"<f>&e;v</f>", "an <entity>"},
        {"<f>&undeclared;v</f>", ""},
        {"text<!--f--><?f no?><n:f xmlns:n=\"urn:n\">v</n:f>", "v"},
    };
    for (const auto &[stored, value] : rows) {
        open_whole("<!DOCTYPE kavex SYSTEM \"none.dtd\" [<!ENTITY e \"an &#38;lt;entity>\">]><kavex><s><t name=\"e\">" +
                   std::string(stored) + "</t></s></kavex>");
        entity = kvio_retrieve_entity(config, "s", "t", "e");
        char whole[32] = "?", bounded[32] = "?";
        uint32_t length = 4711;
        EXPECT_EQ(call([&] { return kvio_get(entity, "f", whole); }), (Outcome{1, 0})) << stored;
        EXPECT_STREQ(whole, value) << stored;
        EXPECT_EQ(call([&] { return kvio_get2(entity, "f", bounded, sizeof bounded); }), (Outcome{1, 0})) << stored;
        EXPECT_STREQ(bounded, value) << stored;
        EXPECT_EQ(call([&] { return kvio_getlen(entity, "f", &length); }), (Outcome{1, 0})) << stored;
        EXPECT_EQ(length, std::strlen(value)) << stored;
    }
}

TEST_F(Entities, BoundedCopiesWriteTheWholeBufferAndNoMore) {
    open_entity("<f>abcdef</f><empty/><unset></unset>", " name=\"abcdef\"");
    const std::string rest = "########";
    const std::pair<unsigned, std::string> rows[] = {
        {0, rest}, {1, {"\0#######", 8}}, {2, {"a\0######", 8}}, {4, {"abc\0####", 8}},
        {6, {"abcde\0##", 8}}, {7, {"abcdef\0#", 8}}, {8, {"abcdef\0\0", 8}},
    };
    for (const auto &row : rows) {
        const unsigned size = row.first;
        const std::string expected = row.second;
        std::string buffer = rest;
        EXPECT_EQ(call([&] { return kvio_get2(entity, "f", buffer.data(), size); }), (Outcome{1, 0}));
        EXPECT_EQ(buffer, expected);
        buffer = rest;
        EXPECT_EQ(call([&] { return kvio_name2(entity, buffer.data(), size); }), (Outcome{1, 0}));
        EXPECT_EQ(buffer, expected);
        // Without any content only the first byte is written, with an empty one all are.
        buffer = rest;
        EXPECT_EQ(call([&] { return kvio_get2(entity, "empty", buffer.data(), size); }), (Outcome{1, 0}));
        EXPECT_EQ(buffer, size ? std::string("\0#######", 8) : rest);
        buffer = rest;
        kvio_unset(entity, "unset");
        EXPECT_EQ(call([&] { return kvio_get2(entity, "unset", buffer.data(), size); }), (Outcome{1, 0}));
        EXPECT_EQ(buffer, std::string(size, '\0') + rest.substr(size));
    }
}

TEST_F(Entities, Names) {
    const std::pair<const char *, const char *> rows[] = {
        {" name=\"e\"", "e"},  {" name=\"\"", ""},  {" k=\"1\" name=\"a&amp;b&quot;\"", "a&b\""},
        {" k=\"e\"", nullptr}, {"", nullptr},       {" xmlns:n=\"urn:n\" n:name=\"e\"", nullptr},
        {" Name=\"e\"", nullptr},
    };
    for (const auto &row : rows) {
        const char *attributes = row.first, *name = row.second;
        open_entity("", attributes);
        char text[16] = "kept";
        auto missed = [](const char *who) { return Outcome{0, 7, std::string(who) + "() fatal error: attribute 'name' is missed\n"}; };
        EXPECT_EQ(call([&] { return kvio_name(entity, text); }), name ? (Outcome{1, 0}) : missed("kvio_name")) << attributes;
        EXPECT_STREQ(text, name ? name : "kept");
        EXPECT_EQ(call([&] { return kvio_name2(entity, text, 16); }), name ? (Outcome{1, 0}) : missed("kvio_name2"));
        EXPECT_EQ(call([&] { return kvio_compare_name(entity, name ? name : "e"); }), (Outcome{name != nullptr, 0})) << attributes;
        EXPECT_EQ(call([&] { return kvio_compare_name(entity, "other"); }), (Outcome{0, 0}));
    }
}

#ifdef KAVEX_TEST_ALLOCATIONS
TEST_F(Entities, WithoutMemoryNothingChanges) {
    const std::string stored = "<group name=\"c\" type=\"t\"/><t name=\"e\"><f>old</f><m>old<!--c-->a tail of some length</m></t>";
    auto find = [&] { return config ? kvio_retrieve_entity(config, "s", "t", "e") : nullptr; };
    auto unmade = [](const std::string &who) {
        return [who](const Outcome &outcome) {
            return outcome == Outcome{0, 8, who + "() error on xmlNewTextChild()\n"} ||
                   (who == "kvio_set2" && (outcome == Outcome{0, untouched, "can not alloc memory for name\n"} ||
                                           outcome == Outcome{0, untouched, "can not alloc memory for value\n"}));
        };
    };
    for (const char *field : {"f", "m", "new"}) {
        auto with = [&](auto *set) {
            return [&, set]() -> long {
                kvio_node_t *found;
                { faults::Pause pause; found = find(); kvio_errno = untouched; }
                return set(found, field, "a new value of some length");
            };
        };
        expect_failures_without_memory(stored, with(kvio_set), unmade("kvio_set"));
        expect_failures_without_memory(stored, with(kvio_set2), unmade("kvio_set2"));
    }
    const std::string who = "do_kvio_define";
    expect_failures_without_memory(
        stored, [&]() -> long { return kvio_define(config, "s", "t", "a name of some length"); },
        [&](const Outcome &outcome) {
            return outcome == Outcome{0, 8, who + " error on xmlNewNode(): no memory?\n"} ||
                   outcome == Outcome{0, 8, who + " error on xmlNewProp(): no memory?\n"};
        });
    // Scopes that are evaluated need memory for it, plain ones do not.
    auto evaluated = [](const std::string &function) {
        return [function](const Outcome &outcome) {
            return outcome == Outcome{0, 8, function + " error on xmlXPathNewContext()\n"} ||
                   outcome == Outcome{0, 8, function + " error on xmlXPathEvalExpression()\n"};
        };
    };
    expect_failures_without_memory(stored, [&]() -> long { return kvio_undefine(config, "*[1]", "t", "e"); }, evaluated("kvio_undefine"));
    expect_failures_without_memory(
        stored, [&]() -> long { return kvio_retrieve_entity(config, "*[1]", "t", "e") != nullptr; }, evaluated("kvio_retrieve_entity"));
    expect_failures_without_memory(
        stored, [&]() -> long { return kvio_define(config, "*[1]", "t", "n"); },
        [&](const Outcome &outcome) { return outcome.result == 0 && (outcome.code == 7 || outcome.code == 8); });
    open(stored);
    EXPECT_EQ(call([&] { return kvio_retrieve_entity(config, "s", "t", "e"); }), (Outcome{1, 0}));
    EXPECT_EQ(faults::allocations(), 0);
}
#endif

}  // namespace
