// Attributes of entities and containers, and the counters in them. Both families are tested as rows of one table.
#include <algorithm>
#include <functional>

#include "base/text.h"
#include "tests/open_document.h"

namespace {

class Attributes : public OpenDocument {
protected:
    void load(const std::string &attributes) {
        open("<t name=\"e\"" + attributes + "><f>abcdef</f><none/><empty/></t>" +
             "<list name=\"c\" type=\"t\"" + attributes + "/>");
        open_list();
        ASSERT_TRUE(entity = kvio_retrieve_entity(config, "s", "t", "e"));
    }

    // The entity's attributes but the name, after a test that the container has the same.
    std::string attributes() const {
        std::string text = scope(), begin = "<t name=\"e\"", list = "<list name=\"c\" type=\"t\"";
        std::string found = text.substr(begin.size(), text.find('>') - begin.size());
        EXPECT_EQ(text.substr(text.find("<list")), list + found + "/>");
        return found;
    }

    kvio_node_t *entity = nullptr;
};

TEST_F(Attributes, SetUnsetAndGetOnEntitiesAndContainersAlike) {
    load(" a=\"1\" b=\"&lt;\" xml:lang=\"de\"");
    const std::string lang = " xml:lang=\"de\"";
    struct Row {
        const char *name, *value;  // null: unset
        std::string after;
    };
    for (const Row &row : {
             Row{"a", "&amp;<\"'\xc3\xa4", " a=\"&amp;amp;&lt;&quot;'&#xE4;\" b=\"&lt;\"" + lang},
             Row{"a", nullptr, " b=\"&lt;\"" + lang},
             Row{"a", nullptr, " b=\"&lt;\"" + lang},
             Row{"b", "", " b=\"\"" + lang},
             Row{"B", "AT&T", " b=\"\"" + lang + " B=\"AT&amp;T\""},
             Row{"lang", nullptr, " b=\"\"" + lang + " B=\"AT&amp;T\""},
             Row{"xml:lang", "en", " b=\"\" xml:lang=\"en\" B=\"AT&amp;T\""},
             Row{"xml:lang", nullptr, " b=\"\" B=\"AT&amp;T\""},
             Row{"", nullptr, " b=\"\" B=\"AT&amp;T\""},
             Row{nullptr, nullptr, " b=\"\" B=\"AT&amp;T\""},
         }) {
        SCOPED_TRACE(row.after);
        char text[2][32] = {"old", "old"};
        const std::function<int()> calls[] = {
            [&] {
                if (!row.value) return kvio_unsetattr_entity(entity, row.name);
                return kvio_setattr_entity(entity, row.name, row.value);
            },
            [&] {
                if (!row.value) return kvio_unsetattr_container(iterator, row.name);
                return kvio_setattr_container(iterator, row.name, row.value);
            },
            [&] { return kvio_getattr_entity(entity, row.name, text[0]); },
            [&] { return kvio_getattr_container(iterator, row.name, text[1]); },
        };
        for (const auto &run : calls) EXPECT_EQ(call(run), (Outcome{1, 0}));
        for (const char *read : text) EXPECT_STREQ(read, row.value ? row.value : "") << "an absent one reads as empty";
        EXPECT_EQ(attributes(), row.after);
    }
    const std::string before = scope();
    EXPECT_EQ(call([&] { return kvio_setattr_entity(entity, nullptr, "v"); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return kvio_setattr_entity(entity, "a", nullptr); }), (Outcome{1, 0}));
    EXPECT_EQ(scope(), before);
    // The name and the type are attributes, too.
    kvio_setattr_entity(entity, "name", "f");
    EXPECT_EQ(kvio_compare_name(entity, "f"), 1);
    kvio_setattr_container(iterator, "type", "u");
    close_container();
    EXPECT_EQ(call([&] { return iterator = kvio_open_list(config, "s", "u", "c"); }), (Outcome{1, 0}));
}

// All getters with a buffer's size: of nothing the first byte is written, of a text, also an empty one, all bytes.
TEST_F(Attributes, BoundedGettersWriteTheWholeBufferAndNoMore) {
    load(" a=\"abcdef\" b=\"\"");
    kvio_setattr_entity(entity, "name", "abcdef");
    kvio_unset(entity, "empty");
    struct Row {
        const char *text;  // null: nothing
        std::function<int(char *, unsigned)> get;
    };
    for (const Row &row : {
             Row{"abcdef", [&](char *to, unsigned size) { return kvio_getattr_entity2(entity, "a", to, size); }},
             Row{"", [&](char *to, unsigned size) { return kvio_getattr_entity2(entity, "b", to, size); }},
             Row{nullptr, [&](char *to, unsigned size) { return kvio_getattr_entity2(entity, "c", to, size); }},
             Row{"abcdef", [&](char *to, unsigned size) { return kvio_getattr_container2(iterator, "a", to, size); }},
             Row{nullptr, [&](char *to, unsigned size) { return kvio_getattr_container2(iterator, "c", to, size); }},
             Row{"abcdef", [&](char *to, unsigned size) { return kvio_get2(entity, "f", to, size); }},
             Row{"", [&](char *to, unsigned size) { return kvio_get2(entity, "empty", to, size); }},
             Row{nullptr, [&](char *to, unsigned size) { return kvio_get2(entity, "none", to, size); }},
             Row{"abcdef", [&](char *to, unsigned size) { return kvio_name2(entity, to, size); }},
         })
        for (unsigned size = 0; size <= 8; ++size) {
            std::string buffer(8, '#'), written = row.text ? std::string(row.text).substr(0, size ? size - 1 : 0) : "";
            written.resize(row.text ? size : std::min(size, 1u));
            EXPECT_EQ(call([&] { return row.get(buffer.data(), size); }), (Outcome{1, 0}));
            EXPECT_EQ(buffer, written + std::string(8 - written.size(), '#')) << size;
        }
}

TEST_F(Attributes, CountersAreReadAsOnThe32BitTarget) {
    struct Row {
        const char *stored;  // null: absent
        const char *increased, *decreased;
    };
    for (const Row &row : {Row{nullptr, "1", nullptr}, Row{"", "1", ""}, Row{"0", "1", "0"}, Row{"1", "2", "0"},
                           Row{"4294967294", "4294967295", "4294967293"}, Row{"4294967295", "0", "4294967294"},
                           Row{"4294967296", "0", "4294967294"}, Row{"99999999999999999999", "0", "4294967294"},
                           Row{"12abc", "13", "11"}, Row{"abc", "1", "abc"}, Row{"  +7", "8", "6"},
                           Row{"-4294967295", "2", "0"}, Row{"--1", "1", "--1"}, Row{"0x10", "1", "0x10"},
                           Row{"007", "8", "6"}, Row{"- 1", "1", "- 1"},
                           // 15 bytes are read, what comes after them is not
                           Row{"0000000000000123", "13", "11"}, Row{"               9", "1", "               9"}}) {
        SCOPED_TRACE(row.stored ? row.stored : "absent");
        const std::string head = "<t name=\"e\" n=\"";
        for (bool increases : {true, false}) {
            const char *expected = increases ? row.increased : row.decreased;
            auto count = increases ? kvio_increase_entity_attr : kvio_decrease_entity_attr;
            for (bool wants_value : {true, false}) {
                open(row.stored ? head + row.stored + "\"/>" : "<t name=\"e\"/>");
                entity = kvio_retrieve_entity(config, "s", "t", "e");
                uint32_t value = 4711;
                EXPECT_EQ(call([&] { return count(entity, "n", wants_value ? &value : nullptr); }), (Outcome{1, 0}));
                EXPECT_EQ(scope(), expected ? head + expected + "\"/>" : "<t name=\"e\"/>");
                // What is not a number above 0 counts as 0, and decreased it stays as it is.
                const bool unchanged = !increases && (!expected || (row.stored && same(expected, row.stored)));
                EXPECT_EQ(value, !wants_value ? 4711 : unchanged ? 0 : std::stoul(expected));
            }
        }
    }
}

}  // namespace
