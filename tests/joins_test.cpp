// Entries and groups joined into groups, and entries changed in place.
#include "tests/object_recorder.h"

namespace {

class Joins : public Objects {};

char seven[] = "7", nine[] = "9";

const std::string empty_g = "<group name=\"g\" type=\"t\"/>", empty_h = "<group name=\"h\" type=\"t\"/>";
const std::string g_with_a = "<group name=\"g\" type=\"t\"><entity>a</entity></group>";
const std::string h_with_a = "<group name=\"h\" type=\"t\"><entity>a</entity></group>";

std::string entry(const char *count, const char *value = nullptr) {
    std::string text = std::string("<t name=\"a\" reference=\"") + count + "\"";
    return text + (value ? std::string("><v>") + value + "</v></t>" : "/>");
}

TEST_F(Joins, AnEntryIsMadeOnceAndCountedInEachGroup) {
    load(empty_g + empty_h);
    group_desc_t g = group("g"), h = group("h");
    EXPECT_EQ(run([&] { return join_entry(&g, "a", nine, nullptr); }),
              (Seen{0, "", "set_entry(a=9) ", g_with_a + empty_h + entry("1", "9")}));
    EXPECT_EQ(run([&] { return join_entry(&h, "a", nullptr, nullptr); }),
              (Seen{0, "", "", g_with_a + h_with_a + entry("2", "9")}));
    const Seen refused = {1, group_op("Group: cannot join entry a"), "", g_with_a + h_with_a + entry("2", "9")};
    EXPECT_EQ(run([&] { return join_entry(&h, "a", nullptr, nullptr); }), refused);
    EXPECT_EQ(run([&] { return join_entry(&h, "a", nullptr, seven); }), refused);
}

TEST_F(Joins, PropertiesAreMadePerMembership) {
    load(empty_g + empty_h);
    group_desc_t g = group("g"), h = group("h");
    EXPECT_EQ(run([&] { return join_entry(&g, "a", nine, seven); }),
              (Seen{0, "", "set_entry(a=9) set_property(g_a=7) ",
                    g_with_a + empty_h + entry("1", "9") +
                        "<group name=\"a_property\" type=\"p\"><entity>g_a</entity></group>"
                        "<p name=\"g_a\"><v>7</v></p>"}));
    EXPECT_EQ(run([&] { return join_entry(&h, "a", nullptr, nine); }),
              (Seen{0, "", "set_property(h_a=9) ",
                    g_with_a + h_with_a + entry("2", "9") +
                        "<group name=\"a_property\" type=\"p\"><entity>g_a</entity><entity>h_a</entity></group>"
                        "<p name=\"g_a\"><v>7</v></p><p name=\"h_a\"><v>9</v></p>"}));
}

TEST_F(Joins, WhatAFailedJoinLeaves) {
    const std::string cannot_specify = group_op("Group: cannot specify properties for entry a");
    const std::string member = "<group name=\"a_property\" type=\"p\"><entity>g_a</entity></group>";
    const std::string most = entry("2147483647");
    struct Row {
        std::string before, after;
        Seen seen;
    };
    const Row rows[] = {
        {empty_h, empty_h, {1, "", ""}},
        // A join is refused where a group has the name already: a new entity goes again, also one nobody counts.
        {"<group name=\"g\" type=\"t\"><container>a</container></group>",
         "<group name=\"g\" type=\"t\"><container>a</container></group>", {1, "", "set_entry(a=9) "}},
        {g_with_a + entry("0"), g_with_a, {1, "", "set_entry(a=9) "}},
        {g_with_a + entry("-1"), g_with_a + entry("-1", "9"),
         {1, group_op("Group: cannot join entry a"), "set_entry(a=9) "}},
        // A count at the largest int is not raised, and nothing is done.
        {empty_g + most, empty_g + most, {-18004, "", ""}},
        // The property steps leave the entry joined, not counted, and what they made.
        {empty_g + entry("1") + member, g_with_a + entry("1", "9") + member, {1, "", "set_entry(a=9) "}},
        {empty_g + "<p name=\"g_a\"/>",
         g_with_a + "<p name=\"g_a\"/>" + entry("0", "9") + member, {1, cannot_specify, "set_entry(a=9) "}},
        {empty_g + "<p name=\"g_a\"/><p name=\"g_a\"/>",
         g_with_a + "<p name=\"g_a\"/><p name=\"g_a\"/>" + entry("0", "9") + member,
         {1, cannot_specify, "set_entry(a=9) "}},
    };
    for (const Row &row : rows) {
        load(row.before);
        group_desc_t g = group("g");
        Seen seen = row.seen;
        seen.scope = row.after;
        EXPECT_EQ(run([&] { return join_entry(&g, "a", nine, seven); }), seen) << &row - rows;
    }
}

// ------------------------------------------------------------------------------------------------------------- groups

TEST_F(Joins, AGroupIsNestedAndCounted) {
    load(empty_g + empty_h);
    group_desc_t g = group("g"), h = group("h"), missing = group("missing");
    const std::string nested = "<group name=\"g\" type=\"t\"><container>h</container></group>"
                               "<group name=\"h\" type=\"t\" reference=\"1\"/>";
    EXPECT_EQ(run([&] { return join_group(&g, &h); }), (Seen{0, "", "", nested}));
    EXPECT_EQ(run([&] { return join_group(&g, &h); }), (Seen{1, "", "", nested}));
    EXPECT_EQ(run([&] { return join_group(&g, &missing); }), (Seen{1, "", "", nested}));
    EXPECT_EQ(run([&] { return join_group(&missing, &h); }), (Seen{1, "", "", nested}));
}

TEST_F(Joins, LoopsAreRefusedAndUndone) {
    // a holds b, b holds c; x holds b as well.
    const std::string before =
        "<group name=\"a\" type=\"t\"><container>b</container></group>"
        "<group name=\"b\" type=\"t\"><container>c</container><entity>e</entity></group>"
        "<group name=\"c\" type=\"t\"/><group name=\"x\" type=\"t\"><container>b</container></group>";
    load(before);
    struct Row {
        const char *group, *nested;
    };
    for (const Row &row : {Row{"b", "a"}, Row{"c", "a"}, Row{"a", "a"}, Row{"a", "c"}, Row{"a", "x"}}) {
        group_desc_t outer = group(row.group), inner = group(row.nested);
        inner.label = "Nested";
        EXPECT_EQ(run([&] { return join_group(&outer, &inner); }),
                  (Seen{1, group_op("Group: cannot join group Nested, loop detected"), "", before}))
            << row.nested << " into " << row.group;
    }
}

TEST_F(Joins, ACheckThatFailsOrACountAtItsEnd) {
    // The check of the nesting fails at a member that does not exist; that counts as no loop.
    load("<group name=\"g\" type=\"t\"><container>gone</container></group>" + empty_h);
    group_desc_t g = group("g"), h = group("h");
    EXPECT_EQ(run([&] { return join_group(&g, &h); }),
              (Seen{0, "", "",
                    "<group name=\"g\" type=\"t\"><container>gone</container><container>h</container></group>"
                    "<group name=\"h\" type=\"t\" reference=\"1\"/>"}));
    const std::string most = empty_g + "<group name=\"h\" type=\"t\" reference=\"2147483647\"/>";
    load(most);
    g = group("g"), h = group("h");
    EXPECT_EQ(run([&] { return join_group(&g, &h); }), (Seen{-18004, "", "", most}));
}

// ------------------------------------------------------------------------------------------------------------- changes

const std::string changeable = entry("1", "1") + g_with_a + "<p name=\"g_a\"><v>2</v></p>"
                               "<group name=\"a_property\" type=\"p\"><entity>g_a</entity></group>";

TEST_F(Joins, ChangesSeeWhatWasThere) {
    load(changeable);
    group_desc_t g = group("g");
    EXPECT_EQ(run([&] { return change_entry(&g, "a", nullptr, nullptr); }), (Seen{0, "", "", changeable}));
    EXPECT_EQ(run([&] { return change_entry(&g, "a", nine, seven); }),
              (Seen{0, "",
                    "alloc_entry get_entry(a) set_entry(a:1=9) free_entry alloc_property get_property(g_a) "
                    "set_property(g_a:2=7) free_property ",
                    entry("1", "9") + g_with_a + "<p name=\"g_a\"><v>7</v></p>"
                    "<group name=\"a_property\" type=\"p\"><entity>g_a</entity></group>"}));
    EXPECT_EQ(err, "");
}

TEST_F(Joins, AChangeMakesNoPropertiesAndNeedsNoMember) {
    load(entry("1", "1") + empty_g);
    group_desc_t g = group("g");
    EXPECT_EQ(run([&] { return change_entry(&g, "b", nullptr, nullptr); }),
              (Seen{1, "", "", entry("1", "1") + empty_g}));
    EXPECT_EQ(run([&] { return change_entry(&g, "a", nine, seven); }),
              (Seen{1, group_op("Group: cannot specify properties for entry a"),
                    "alloc_entry get_entry(a) set_entry(a:1=9) free_entry ", entry("1", "9") + empty_g}));
    EXPECT_EQ(err, "% kvio_open_group Group: cannot specify properties for entry a\n");
}

}  // namespace
