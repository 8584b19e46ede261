// Attributes of entities and containers, and the counters in them. Both families are tested as rows of one table.
#include "tests/open_document.h"

namespace {

class Attributes : public OpenDocument {
protected:
    void load(const std::string &attributes) {
        open("<t name=\"e\"" + attributes + "/><list name=\"c\" type=\"t\"" + attributes + "/>");
        open_list();
        ASSERT_TRUE(entity = kvio_retrieve_entity(config, "s", "t", "e"));
    }

    // The entity's attributes but the name, after a test that the container has the same.
    std::string attributes() const {
        std::string text = scope(), open = "<t name=\"e\"", list = "<list name=\"c\" type=\"t\"";
        std::string found = text.substr(open.size(), text.find("/>") - open.size());
        EXPECT_EQ(text, open + found + "/>" + list + found + "/>");
        return found;
    }

    kvio_node_t *entity = nullptr;
};

TEST_F(Attributes, SetUnsetAndGetOnEntitiesAndContainersAlike) {
    load(" a=\"1\" b=\"&lt;\"");
    struct Row {
        const char *name, *value;  // null: unset
        const char *after;
    };
    for (const Row &row : {Row{"a", "&amp;<\"'\xc3\xa4", " a=\"&amp;amp;&lt;&quot;'&#xE4;\" b=\"&lt;\""},
                           Row{"c", "AT&T", " a=\"&amp;amp;&lt;&quot;'&#xE4;\" b=\"&lt;\" c=\"AT&amp;T\""},
                           Row{"a", nullptr, " b=\"&lt;\" c=\"AT&amp;T\""}, Row{"a", nullptr, " b=\"&lt;\" c=\"AT&amp;T\""},
                           Row{"b", "", " b=\"\" c=\"AT&amp;T\""}, Row{"B", "2", " b=\"\" c=\"AT&amp;T\" B=\"2\""}}) {
        SCOPED_TRACE(row.after);
        for (bool is_entity : {true, false})
            EXPECT_EQ(call([&] {
                          if (row.value)
                              return is_entity ? kvio_setattr_entity(entity, row.name, row.value)
                                               : kvio_setattr_container(iterator, row.name, row.value);
                          return is_entity ? kvio_unsetattr_entity(entity, row.name)
                                           : kvio_unsetattr_container(iterator, row.name);
                      }),
                      (Outcome{1, 0}));
        EXPECT_EQ(attributes(), row.after);
        if (!row.value) continue;
        for (bool is_entity : {true, false}) {
            char text[32] = "old";
            EXPECT_EQ(call([&] {
                          return is_entity ? kvio_getattr_entity(entity, row.name, text)
                                           : kvio_getattr_container(iterator, row.name, text);
                      }),
                      (Outcome{1, 0}));
            EXPECT_STREQ(text, row.value);
        }
    }
}

TEST_F(Attributes, AbsentOnesReadAsEmpty) {
    load(" xml:lang=\"de\"");
    for (const char *name : {"a", "lang", "", "x:lang", static_cast<const char *>(nullptr)}) {
        char whole[4] = "zzz", bounded[4] = "zzz";
        EXPECT_EQ(call([&] { return kvio_getattr_entity(entity, name, whole); }), (Outcome{1, 0}));
        EXPECT_EQ(call([&] { return kvio_getattr_container2(iterator, name, bounded, 4); }), (Outcome{1, 0}));
        EXPECT_EQ(std::string(whole, 4), std::string("\0zz\0", 4));
        EXPECT_EQ(std::string(bounded, 4), std::string("\0zz\0", 4)) << "only the first byte is set";
        EXPECT_EQ(call([&] { return kvio_unsetattr_container(iterator, name); }), (Outcome{1, 0}));
    }
    EXPECT_EQ(call([&] { return kvio_setattr_entity(entity, nullptr, "v"); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return kvio_setattr_entity(entity, "a", nullptr); }), (Outcome{1, 0}));
    EXPECT_EQ(attributes(), " xml:lang=\"de\"");
    char text[8];
    EXPECT_EQ(kvio_getattr_entity(entity, "xml:lang", text), 1);
    EXPECT_STREQ(text, "de");
}

TEST_F(Attributes, BoundedGettersWriteTheWholeBuffer) {
    load(" a=\"abcdef\" b=\"\"");
    struct Row {
        const char *name;
        unsigned int size;
        std::string buffer;  // of eight bytes that were 'z'
    };
    for (const Row &row : {Row{"a", 0, "zzzzzzzz"}, Row{"a", 1, std::string("\0zzzzzzz", 8)},
                           Row{"a", 3, std::string("ab\0zzzzz", 8)}, Row{"a", 6, std::string("abcde\0zz", 8)},
                           Row{"a", 7, std::string("abcdef\0z", 8)}, Row{"a", 8, std::string("abcdef\0\0", 8)},
                           Row{"b", 3, std::string("\0\0\0zzzzz", 8)}, Row{"c", 3, std::string("\0zzzzzzz", 8)},
                           Row{"c", 0, "zzzzzzzz"}}) {
        SCOPED_TRACE(testing::Message() << row.name << row.size);
        std::string buffer(8, 'z');
        EXPECT_EQ(call([&] { return kvio_getattr_entity2(entity, row.name, buffer.data(), row.size); }), (Outcome{1, 0}));
        EXPECT_EQ(buffer, row.buffer);
        buffer.assign(8, 'z');
        EXPECT_EQ(call([&] { return kvio_getattr_container2(iterator, row.name, buffer.data(), row.size); }), (Outcome{1, 0}));
        EXPECT_EQ(buffer, row.buffer);
    }
}

TEST_F(Attributes, NullHandles) {
    const std::string no_entity = "() error: NULL entity\n", no_iterator = "() error: NULL iterator\n";
    char text[8];
    uint32_t value = 7;
    EXPECT_EQ(call([&] { return kvio_setattr_entity(nullptr, "a", "v"); }), (Outcome{0, 15, "kvio_setattr_entity" + no_entity}));
    EXPECT_EQ(call([&] { return kvio_unsetattr_entity(nullptr, "a"); }), (Outcome{0, 15, "kvio_unsetattr_entity" + no_entity}));
    EXPECT_EQ(call([&] { return kvio_getattr_entity(nullptr, "a", text); }), (Outcome{0, 15, "kvio_getattr_entity" + no_entity}));
    EXPECT_EQ(call([&] { return kvio_getattr_entity2(nullptr, "a", text, 8); }),
              (Outcome{0, 15, "kvio_getattr_entity2" + no_entity}));
    EXPECT_EQ(call([&] { return kvio_increase_entity_attr(nullptr, "a", &value); }),
              (Outcome{0, 15, "kvio_increase_entity_attr" + no_entity}));
    EXPECT_EQ(call([&] { return kvio_decrease_entity_attr(nullptr, "a", &value); }),
              (Outcome{0, 15, "kvio_decrease_entity_attr" + no_entity}));
    EXPECT_EQ(value, 7u);
    EXPECT_EQ(call([&] { return kvio_setattr_container(nullptr, "a", "v"); }),
              (Outcome{0, 13, "kvio_setattr_container" + no_iterator}));
    EXPECT_EQ(call([&] { return kvio_unsetattr_container(nullptr, "a"); }),
              (Outcome{0, 13, "kvio_unsetattr_container" + no_iterator}));
    EXPECT_EQ(call([&] { return kvio_getattr_container(nullptr, "a", text); }),
              (Outcome{0, 13, "kvio_getattr_container" + no_iterator}));
    EXPECT_EQ(call([&] { return kvio_getattr_container2(nullptr, "a", text, 8); }),
              (Outcome{0, 13, "kvio_getattr_container2" + no_iterator}));
}

TEST_F(Attributes, CountersAreReadAsOnThe32BitTarget) {
    struct Row {
        const char *stored;  // null: absent
        const char *increased, *decreased;
    };
    for (const Row &row : {Row{nullptr, "1", nullptr}, Row{"", "1", ""}, Row{"0", "1", "0"}, Row{"1", "2", "0"},
                           Row{"4294967294", "4294967295", "4294967293"}, Row{"4294967295", "0", "4294967294"},
                           Row{"4294967296", "0", "4294967294"}, Row{"99999999999999999999", "0", "4294967294"},
                           Row{"12abc", "13", "11"}, Row{"abc", "1", "abc"}, Row{"  7", "8", "6"}, Row{"+7", "8", "6"},
                           Row{"-1", "0", "4294967294"}, Row{"-4294967295", "2", "0"}, Row{"--1", "1", "--1"},
                           Row{"00", "1", "00"}, Row{"0x10", "1", "0x10"}, Row{"007", "8", "6"}, Row{"- 1", "1", "- 1"},
                           // 15 bytes are read, what comes after them is not
                           Row{"000000000000012", "13", "11"}, Row{"0000000000000123", "13", "11"},
                           Row{"               9", "1", "               9"}}) {
        SCOPED_TRACE(row.stored ? row.stored : "absent");
        const std::string before = row.stored ? " n=\"" + std::string(row.stored) + "\"" : "";
        for (bool increases : {true, false}) {
            const char *expected = increases ? row.increased : row.decreased;
            bool is_written = expected && (!row.stored || expected != std::string(row.stored));
            uint32_t number = is_written ? static_cast<uint32_t>(std::stoul(expected)) : 0;
            for (bool wants_value : {true, false}) {
                open("<t name=\"e\"" + before + "/>");
                ASSERT_TRUE(entity = kvio_retrieve_entity(config, "s", "t", "e"));
                uint32_t value = 4711, *out = wants_value ? &value : nullptr;
                EXPECT_EQ(call([&] {
                              return increases ? kvio_increase_entity_attr(entity, "n", out)
                                               : kvio_decrease_entity_attr(entity, "n", out);
                          }),
                          (Outcome{1, 0}));
                EXPECT_EQ(value, wants_value ? number : 4711);
                EXPECT_EQ(scope(), "<t name=\"e\"" + (expected ? " n=\"" + std::string(expected) + "\"" : "") + "/>");
            }
        }
    }
}

TEST_F(Attributes, TheNameIsAnAttributeToo) {
    load("");
    EXPECT_EQ(call([&] { return kvio_setattr_entity(entity, "name", "f"); }), (Outcome{1, 0}));
    EXPECT_EQ(kvio_compare_name(entity, "f"), 1);
    EXPECT_EQ(call([&] { return kvio_retrieve_entity(config, "s", "t", "e"); }), (Outcome{0, 22}));
    EXPECT_EQ(call([&] { return kvio_setattr_container(iterator, "type", "u"); }), (Outcome{1, 0}));
    close_container();
    EXPECT_EQ(call([&] { return iterator = kvio_open_list(config, "s", "u", "c"); }), (Outcome{1, 0}));
}

}  // namespace
