// Groups: listed, created, used, emptied and disposed of.
#include <climits>

#include "tests/object_recorder.h"

namespace {

class Groups : public Objects {
protected:
    // One line for a group with members, written as "a" for entries and "+b" for groups.
    static std::string stored(const std::string &name, const std::vector<std::string> &members,
                              const char *count = "") {
        std::string text = "<group name=\"" + name + "\" type=\"t\"" + count + (members.empty() ? "/>" : ">");
        for (const std::string &member : members)
            text += member[0] == '+' ? "<container>" + member.substr(1) + "</container>"
                                     : "<entity>" + member + "</entity>";
        return members.empty() ? text : text + "</group>";
    }
};

const std::string a1 = "<t name=\"a\" reference=\"1\"><v>1</v></t>";
const std::string b2 = "<t name=\"b\" reference=\"2\"><v>2</v></t>";
const std::string ga = "<p name=\"g_a\"><v>7</v></p><group name=\"a_property\" type=\"p\"><entity>g_a</entity></group>";
const std::string gb = "<p name=\"g_b\"><v>8</v></p><p name=\"h_b\"><v>9</v></p>"
                       "<group name=\"b_property\" type=\"p\"><entity>h_b</entity><entity>g_b</entity></group>";

TEST_F(Groups, ListPrintsMembersInOrder) {
    const std::string before = a1 + b2 + ga + gb + stored("g", {"b", "+h", "a"}) + stored("h", {"b"});
    load(before);
    group_desc_t g = group("g");
    EXPECT_EQ(run([&] { return list_group(&g); }),
              (Seen{0, "",
                    "begin alloc_entry get_entry(b) print_entry(b,2) free_entry alloc_property get_property(g_b) "
                    "print_property(8) free_property print_group(h) alloc_entry get_entry(a) print_entry(a,1) "
                    "free_entry alloc_property get_property(g_a) print_property(7) free_property end ",
                    before}));
    without_properties(&g);
    g.begin = nullptr;
    g.end = nullptr;
    g.print_group = nullptr;
    EXPECT_EQ(run([&] { return list_group(&g); }),
              (Seen{0, "",
                    "alloc_entry get_entry(b) print_entry(b,2) free_entry alloc_entry get_entry(a) print_entry(a,1) "
                    "free_entry ",
                    before}));
    g.print_entry = nullptr;
    EXPECT_EQ(run([&] { return list_group(&g); }), (Seen{0, "", "", before}));
    g.print_property = group("g").print_property;
    g.property_type = "p";
    EXPECT_EQ(run([&] { return list_group(&g); }),
              (Seen{0, "",
                    "alloc_property get_property(g_b) print_property(8) free_property alloc_property get_property(g_a) "
                    "print_property(7) free_property ",
                    before}));
}

TEST_F(Groups, ListGoesOnAfterMembersThatCannotBeRead) {
    const std::string name63(63, 'n'), name64(64, 'm');
    const std::string entity63 = "<t name=\"" + name63 + "\"/>", entity64 = "<t name=\"" + name64 + "\"/>";
    struct Row {
        std::vector<std::string> members;
        Seen seen;
    };
    const std::string printed = "alloc_entry get_entry(a) print_entry(a,1) free_entry ";
    const Row rows[] = {
        {{}, {0, "", "begin end "}},
        {{name63, "+" + name63},
         {0, "", "begin alloc_entry get_entry(" + name63 + ") print_entry(" + name63 + ",) free_entry print_group(" +
                     name63 + ") end "}},
        // A result of 1 from before ends the listing after the next entry.
        {{name64, "+h", "+" + name64, "a", "a"}, {1, "", "begin print_group(h) " + printed + "end "}},
        {{"+", "a", "+h"}, {1, "", "begin " + printed + "end "}},
        {{"gone", "a"}, {1, "", "begin end "}},
    };
    for (const Row &row : rows) {
        load(a1 + entity63 + entity64 + stored("g", row.members));
        group_desc_t g = group("g");
        without_properties(&g);
        Seen seen = row.seen;
        seen.scope = scope();
        EXPECT_EQ(run([&] { return list_group(&g); }), seen) << &row - rows;
    }
}

TEST_F(Groups, CreateStopsAtTheLimit) {
    const std::string parent = stored("all", {"+x", "+y", "z"});
    struct Row {
        int limit;
        long result;
        std::string log;
        bool created;
    };
    const Row rows[] = {{0, 0, "", true},
                        {2, 0, "", true},
                        {3, 0, group_op("cannot create, too many groups (>3)"), false},
                        {4, 0, "", true},
                        {-1, 0, "", true}};
    for (const Row &row : rows) {
        SCOPED_TRACE(row.limit);
        load(parent);
        group_desc_t all = group("all"), g = group("g");
        all.max_groups = row.limit;
        g.max_groups = 1;
        EXPECT_EQ(run([&] { return create_group(&all, &g); }),
                  (Seen{row.result, row.log, "",
                        row.created ? stored("all", {"+x", "+y", "z", "+g"}) + stored("g", {}, " reference=\"0\"")
                                    : parent}));
    }
}

TEST_F(Groups, CreateLeavesWhatItMade) {
    load(stored("all", {"+g"}));
    group_desc_t all = group("all"), g = group("g"), missing = group("missing");
    EXPECT_EQ(run([&] { return create_group(&all, &g); }),
              (Seen{1, "", "", stored("all", {"+g"}) + stored("g", {}, " reference=\"0\"")}));
    const std::string before = scope();
    EXPECT_EQ(run([&] { return create_group(&all, &g); }), (Seen{1, "", "", before}));
    EXPECT_EQ(run([&] { return create_group(&missing, &g); }), (Seen{1, "", "", before}));
}

TEST_F(Groups, UseAndUnuseCount) {
    struct Row {
        const char *count;
        int used_result;
        const char *used;
        int unused_result;
        const char *unused;
    };
    const char *most = " reference=\"2147483647\"";
    for (const Row &row : {Row{"", 0, " reference=\"1\"", 1, ""},
                           Row{" reference=\"0\"", 0, " reference=\"1\"", 1, " reference=\"0\""},
                           Row{" reference=\"1\"", 0, " reference=\"2\"", 0, " reference=\"0\""},
                           Row{" reference=\"-5\"", 0, " reference=\"-4\"", 1, " reference=\"-5\""},
                           Row{" reference=\"x\"", 0, " reference=\"1\"", 1, " reference=\"x\""},
                           Row{most, -18004, most, 0, " reference=\"2147483646\""}}) {
        SCOPED_TRACE(row.count);
        load(stored("g", {}, row.count));
        group_desc_t g = group("g");
        EXPECT_EQ(run([&] { return use_group(&g); }), (Seen{row.used_result, "", "", stored("g", {}, row.used)}));
        load(stored("g", {}, row.count));
        g = group("g");
        EXPECT_EQ(run([&] { return unuse_group(&g); }), (Seen{row.unused_result, "", "", stored("g", {}, row.unused)}));
    }
    group_desc_t missing = group("missing");
    EXPECT_EQ(run([&] { return use_group(&missing); }).result, 1);
    EXPECT_EQ(run([&] { return unuse_group(&missing); }).result, 1);
}

TEST_F(Groups, RemoveGroupCountsDownWithoutABound) {
    struct Row {
        const char *count;
        int result;
        const char *after;
        bool removed;
    };
    const char *least = " reference=\"-2147483648\"";
    for (const Row &row : {Row{" reference=\"2\"", 0, " reference=\"1\"", true},
                           Row{"", 0, " reference=\"-1\"", true}, Row{least, -18004, least, false}}) {
        SCOPED_TRACE(row.count);
        load(stored("g", {"a", "+h", "b"}) + stored("h", {}, row.count));
        group_desc_t g = group("g");
        EXPECT_EQ(run([&] { return remove_group(&g, "h"); }),
                  (Seen{row.result, "", "",
                        (row.removed ? stored("g", {"a", "b"}) : stored("g", {"a", "+h", "b"})) +
                            stored("h", {}, row.after)}));
    }
    load(stored("g", {"+gone"}) + stored("h", {}));
    group_desc_t g = group("g"), missing = group("missing");
    EXPECT_EQ(run([&] { return remove_group(&g, "h"); }),
              (Seen{1, "", "", stored("g", {"+gone"}) + stored("h", {}, " reference=\"-1\"")}));
    const std::string before = scope();
    EXPECT_EQ(run([&] { return remove_group(&g, "gone"); }), (Seen{1, "", "", before}));
    EXPECT_EQ(run([&] { return remove_group(&missing, "h"); }), (Seen{1, "", "", before}));
}

TEST_F(Groups, RemoveEntryDeletesItWithItsLastGroup) {
    load(b2 + gb + stored("g", {"b"}) + stored("h", {"b"}));
    group_desc_t g = group("g"), h = group("h");
    EXPECT_EQ(run([&] { return remove_entry(&g, "b"); }),
              (Seen{0, "",
                    "alloc_entry get_entry(b) entry_removed(b,2) free_entry alloc_property get_property(g_b) "
                    "property_removed(8) free_property ",
                    "<t name=\"b\" reference=\"1\"><v>2</v></t><p name=\"h_b\"><v>9</v></p>"
                    "<group name=\"b_property\" type=\"p\"><entity>h_b</entity></group>" +
                        stored("g", {}) + stored("h", {"b"})}));
    h.entry_removed = nullptr;
    h.property_removed = nullptr;
    EXPECT_EQ(run([&] { return remove_entry(&h, "b"); }), (Seen{0, "", "", stored("g", {}) + stored("h", {})}));
}

// Properties that were never made are missed; a count that was never raised is no reason to keep the entry.
TEST_F(Groups, RemoveEntryAfterAJoinWithoutProperties) {
    for (const char *count : {" reference=\"1\"", " reference=\"0\"", " reference=\"-1\"", ""}) {
        load(std::string("<t name=\"a\"") + count + "><v>1</v></t>" + stored("g", {"a"}));
        group_desc_t g = group("g");
        EXPECT_EQ(run([&] { return remove_entry(&g, "a"); }),
                  (Seen{1, "", "alloc_entry get_entry(a) entry_removed(a,1) free_entry ", stored("g", {})}));
    }
}

TEST_F(Groups, DisposeReleasesAllMembers) {
    const std::string other = stored("h", {"b"}, " reference=\"1\"");
    load(a1 + b2 + ga + gb + stored("all", {"+g", "+h"}) + stored("g", {"a", "+h", "b"}, " reference=\"0\"") + other);
    group_desc_t all = group("all"), g = group("g");
    EXPECT_EQ(run([&] { return dispose_group(&all, &g); }),
              (Seen{0, "",
                    "alloc_entry get_entry(a) entry_removed(a,1) free_entry alloc_property get_property(g_a) "
                    "property_removed(7) free_property alloc_entry get_entry(b) entry_removed(b,2) free_entry "
                    "alloc_property get_property(g_b) property_removed(8) free_property ",
                    "<t name=\"b\" reference=\"1\"><v>2</v></t><p name=\"h_b\"><v>9</v></p>"
                    "<group name=\"b_property\" type=\"p\"><entity>h_b</entity></group>" +
                        stored("all", {"+h"}) + stored("h", {"b"}, " reference=\"0\"")}));
}

TEST_F(Groups, DisposeRefusesAndStops) {
    const std::string name64(64, 'n');
    const std::string cannot_find = group_op("Group: cannot find entry gone");
    struct Row {
        std::string before, after;
        long result;
        std::string log;
    };
    const std::string used = stored("all", {"+g"}) + stored("g", {}, " reference=\"1\"");
    const Row rows[] = {
        {used, used, -18004, ""},
        {stored("all", {"+g"}) + stored("g", {}, " reference=\"-1\""), stored("all", {}), 0, ""},
        {stored("all", {}) + stored("g", {"a"}), stored("all", {}) + stored("g", {"a"}), 1, ""},
        {stored("all", {"+g"}), stored("all", {"+g"}), 1, ""},
        {stored("g", {}), stored("g", {}), 1, ""},
        // A member that cannot be removed stands in front of the others each time.
        {a1 + stored("all", {"+g"}) + stored("g", {"gone", "a"}), a1 + stored("all", {}), 0, cannot_find + cannot_find},
        {a1 + stored("all", {"+g"}) + stored("g", {name64, "a"}), a1 + stored("all", {}), 1, ""},
    };
    for (const Row &row : rows) {
        load(row.before);
        group_desc_t all = group("all"), g = group("g");
        without_properties(&g);
        EXPECT_EQ(run([&] { return dispose_group(&all, &g); }), (Seen{row.result, row.log, "", row.after}))
            << &row - rows;
    }
}

// Each operation on a record; those of two records get it in both places, with a good one in the other.
using Operation = std::function<long(group_desc_t *, group_desc_t *)>;
struct Named {
    const char *name;
    Operation operation;
};
char data[] = "9";
const Named operations[] = {
    {"list_group", [](group_desc_t *g, group_desc_t *) { return list_group(g); }},
    {"create_group in", [](group_desc_t *g, group_desc_t *good) { return create_group(g, good); }},
    {"create_group", [](group_desc_t *g, group_desc_t *good) { return create_group(good, g); }},
    {"use_group", [](group_desc_t *g, group_desc_t *) { return use_group(g); }},
    {"unuse_group", [](group_desc_t *g, group_desc_t *) { return unuse_group(g); }},
    {"remove_entry", [](group_desc_t *g, group_desc_t *) { return remove_entry(g, "a"); }},
    {"remove_group", [](group_desc_t *g, group_desc_t *) { return remove_group(g, "h"); }},
    {"dispose_group from", [](group_desc_t *g, group_desc_t *good) { return dispose_group(g, good); }},
    {"dispose_group", [](group_desc_t *g, group_desc_t *good) { return dispose_group(good, g); }},
    {"join_entry", [](group_desc_t *g, group_desc_t *) { return join_entry(g, "z", data, data); }},
    {"join_group in", [](group_desc_t *g, group_desc_t *good) { return join_group(g, good); }},
    {"join_group", [](group_desc_t *g, group_desc_t *good) { return join_group(good, g); }},
    {"change_entry", [](group_desc_t *g, group_desc_t *) { return change_entry(g, "a", data, data); }},
    {"export_group", [](group_desc_t *g, group_desc_t *) { return export_group(g) ? 1 : 0; }},
};

TEST_F(Groups, IncompleteRecordsDoNothing) {
    const std::string before = a1 + ga + stored("g", {"a", "+h"}) + stored("h", {}) + stored("good", {"+g"});
    load(before);
    group_desc_t good = group("good");
    const std::vector<std::pair<const char *, std::function<void(group_desc_t *)>>> fields = {
        {"config", [](group_desc_t *g) { g->config = nullptr; }},
        {"scope", [](group_desc_t *g) { g->scope = nullptr; }},
        {"type", [](group_desc_t *g) { g->type = nullptr; }},
        {"name", [](group_desc_t *g) { g->name = nullptr; }},
        {"label", [](group_desc_t *g) { g->label = nullptr; }},
    };
    for (const Named &row : operations) {
        for (const auto &[field, remove] : fields) {
            group_desc_t g = group("g");
            remove(&g);
            EXPECT_EQ(run([&] { return row.operation(&g, &good); }), (Seen{0, "", "", before}))
                << row.name << " without " << field;
        }
        EXPECT_EQ(run([&] { return row.operation(nullptr, &good); }), (Seen{0, "", "", before})) << row.name;
    }
}

TEST_F(Groups, WorkThatLacksAFieldIsNotBegun) {
    const std::string before = a1 + ga + stored("g", {"a"}) + stored("h", {});
    load(before);
    using Field = std::pair<const char *, std::function<void(group_desc_t *)>>;
    const Field alloc_entry = {"alloc_entry", [](group_desc_t *g) { g->alloc_entry = nullptr; }};
    const Field set_entry = {"set_entry", [](group_desc_t *g) { g->set_entry = nullptr; }};
    const Field get_entry = {"get_entry", [](group_desc_t *g) { g->get_entry = nullptr; }};
    const Field free_entry = {"free_entry", [](group_desc_t *g) { g->free_entry = nullptr; }};
    const Field type = {"property_type", [](group_desc_t *g) { g->property_type = nullptr; }};
    const Field alloc_property = {"alloc_property", [](group_desc_t *g) { g->alloc_property = nullptr; }};
    const Field set_property = {"set_property", [](group_desc_t *g) { g->set_property = nullptr; }};
    const Field get_property = {"get_property", [](group_desc_t *g) { g->get_property = nullptr; }};
    const Field free_property = {"free_property", [](group_desc_t *g) { g->free_property = nullptr; }};
    const Field export_begin = {"export_begin", [](group_desc_t *g) { g->export_begin = nullptr; }};
    const Field export_discard = {"export_discard", [](group_desc_t *g) { g->export_discard = nullptr; }};
    const std::vector<Field> reading = {alloc_entry,    get_entry,    free_entry,
                                        alloc_property, get_property, free_property};
    std::map<std::string, std::vector<Field>> needed = {
        {"list_group", reading}, {"remove_entry", reading}, {"join_entry", {set_entry, set_property, type}},
        {"change_entry", reading}, {"export_group", reading}};
    needed["list_group"].push_back(type);
    needed["export_group"].insert(needed["export_group"].end(), {type, export_begin, export_discard});
    needed["change_entry"].insert(needed["change_entry"].end(), {type, set_entry, set_property});
    for (const Named &row : operations) {
        for (const Field &field : needed[row.name]) {
            group_desc_t g = group("g");
            field.second(&g);
            EXPECT_EQ(run([&] { return row.operation(&g, nullptr); }), (Seen{0, "", "", before}))
                << row.name << " without " << field.first;
        }
    }
    group_desc_t bare = group("g");
    without_callbacks(&bare);
    EXPECT_EQ(run([&] { return join_entry(&bare, "a", nullptr, nullptr); }).result, 1);
    EXPECT_EQ(run([&] { return change_entry(&bare, "a", nullptr, nullptr); }), (Seen{0, "", "", before}));
}

TEST_F(Groups, NamesHaveOneTo63Bytes) {
    const std::string name63(63, 'n'), name64 = name63 + "n";
    const std::string before = "<t name=\"" + name64 + "\" reference=\"1\"/><t name=\"\"/><t name=\"a\"/>" +
                               stored("g", {name64, "a", "+" + name64}) + stored(name64, {"a", "+h"}) +
                               stored("h", {}) + stored("good", {"+" + name64}) + stored("", {"a"});
    load(before);
    group_desc_t g = group("g"), good = group("good");
    for (const std::string &bad : {name64, std::string()}) {
        for (const Named &row : operations) {
            group_desc_t named = group(bad.c_str());
            long result = std::string(row.name) == "export_group" ? 0 : 1;
            EXPECT_EQ(run([&] { return row.operation(&named, &good); }), (Seen{result, "", "", before}))
                << row.name << " of " << bad;
        }
        EXPECT_EQ(run([&] { return remove_entry(&g, bad.c_str()); }), (Seen{1, "", "", before}));
        EXPECT_EQ(run([&] { return remove_group(&g, bad.c_str()); }), (Seen{1, "", "", before}));
        EXPECT_EQ(run([&] { return join_entry(&g, bad.c_str(), data, data); }), (Seen{1, "", "", before}));
        EXPECT_EQ(run([&] { return change_entry(&g, bad.c_str(), data, data); }), (Seen{1, "", "", before}));
    }
    EXPECT_EQ(run([&] { return join_entry(&g, nullptr, data, data); }), (Seen{1, "", "", before}));

    const std::string both = name63 + "_" + name63;
    load(stored(name63, {}));
    group_desc_t longest = group(name63.c_str());
    EXPECT_EQ(run([&] { return join_entry(&longest, name63.c_str(), data, data); }),
              (Seen{0, "", "set_entry(" + name63 + "=9) set_property(" + both + "=9) ",
                    stored(name63, {name63}) + "<t name=\"" + name63 + "\" reference=\"1\"><v>9</v></t><group name=\"" +
                        name63 + "_property\" type=\"p\"><entity>" + both + "</entity></group><p name=\"" + both +
                        "\"><v>9</v></p>"}));
    EXPECT_EQ(run([&] { return remove_entry(&longest, name63.c_str()); }).scope, stored(name63, {}));
}

}  // namespace
