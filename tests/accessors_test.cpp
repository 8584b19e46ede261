// Attributes that hold integers or texts.
#include "tests/object_recorder.h"

namespace {

class Accessors : public Objects {};

TEST_F(Accessors, IntegersAreReadAsFarAsTheyGo) {
    struct Row {
        const char *text;
        int value;
    };
    const std::string zeros(62, '0');
    const std::string beyond = zeros + "123";  // the 64th byte is cut off
    for (const Row &row :
         {Row{"12abc", 12}, Row{"abc", 0}, Row{"", 0}, Row{"  -7", -7}, Row{"+8", 8}, Row{"0x10", 0},
          Row{"2147483647", 2147483647}, Row{"2147483648", 2147483647}, Row{"-2147483649", -2147483647 - 1},
          Row{"99999999999999999999", 2147483647}, Row{beyond.c_str(), 1}}) {
        SCOPED_TRACE(row.text);
        std::string attribute = std::string(" n=\"") + row.text + "\"/>";
        load("<t name=\"a\"" + attribute + "<group name=\"g\" type=\"t\"" + attribute);
        kvio_node_t *entity = kvio_retrieve_entity(config, "s", "t", "a");
        kvio_iterator_t *group = kvio_open_group(config, "s", "t", "g");
        int of_entity = 55, of_group = 55;
        EXPECT_EQ(call([&] { return get_entity_int(entity, "n", &of_entity); }), (Outcome{1, 0}));
        EXPECT_EQ(call([&] { return get_iterator_int(group, "n", &of_group); }), (Outcome{1, 0}));
        EXPECT_EQ(of_entity, row.value);
        EXPECT_EQ(of_group, row.value);
        EXPECT_EQ(get_entity_int(entity, "absent", &of_entity), 1);
        EXPECT_EQ(of_entity, 0);
        kvio_close_group(group);
    }
}

TEST_F(Accessors, WriteAndRefuse) {
    load("<t name=\"a\"/><group name=\"g\" type=\"t\"/>");
    kvio_node_t *entity = kvio_retrieve_entity(config, "s", "t", "a");
    kvio_iterator_t *group = kvio_open_group(config, "s", "t", "g");
    char text[16];
    EXPECT_EQ(call([&] { return set_entity_int(entity, "n", -2147483647 - 1); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return set_iterator_int(group, "n", -1); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return set_entity_char(entity, "c", "<&"); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return get_entity_char(entity, "c", text); }), (Outcome{1, 0}));
    EXPECT_STREQ(text, "<&");
    EXPECT_EQ(call([&] { return get_entity_char(entity, "d", text); }), (Outcome{1, 0}));
    EXPECT_STREQ(text, "");
    EXPECT_EQ(scope(), "<t name=\"a\" n=\"-2147483648\" c=\"&lt;&amp;\"/><group name=\"g\" type=\"t\" n=\"-1\"/>");
    kvio_close_group(group);

    int value = 55;
    EXPECT_EQ(call([&] { return get_iterator_int(nullptr, "n", &value); }),
              (Outcome{0, 13, "kvio_getattr_container() error: NULL iterator\n"}));
    EXPECT_EQ(call([&] { return get_entity_int(nullptr, "n", &value); }),
              (Outcome{0, 15, "kvio_getattr_entity() error: NULL entity\n"}));
    EXPECT_EQ(value, 55);
    EXPECT_EQ(call([&] { return set_iterator_int(nullptr, "n", 1); }),
              (Outcome{0, 13, "kvio_setattr_container() error: NULL iterator\n"}));
    EXPECT_EQ(call([&] { return set_entity_int(nullptr, "n", 1); }),
              (Outcome{0, 15, "kvio_setattr_entity() error: NULL entity\n"}));
}

}  // namespace
