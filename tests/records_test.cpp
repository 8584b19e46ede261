// Records of lists and groups that lack a field, and names that are too long.
#include <tuple>

#include "tests/object_recorder.h"

namespace {

class Records : public Objects {};

std::string stored(const std::string &name, const std::vector<std::string> &members) {
    std::string text = "<group name=\"" + name + "\" type=\"t\"" + (members.empty() ? "/>" : ">");
    for (const std::string &member : members)
        text +=
            member[0] == '+' ? "<container>" + member.substr(1) + "</container>" : "<entity>" + member + "</entity>";
    return members.empty() ? text : text + "</group>";
}

const std::string a1 = "<t name=\"a\" reference=\"1\"><v>1</v></t>";
const std::string ga = "<p name=\"g_a\"><v>7</v></p><group name=\"a_property\" type=\"p\"><entity>g_a</entity></group>";

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

TEST_F(Records, IncompleteRecordsDoNothing) {
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

TEST_F(Records, DeletingFromAListNeedsEveryBasicField) {
    const std::string before = a1 + "<list name=\"l\" type=\"t\"><entity>a</entity></list>";
    load(before);
    const list_desc_t whole = list();
    list_desc_t rows[] = {whole, whole, whole, whole, whole};
    rows[0].label = rows[1].scope = rows[2].type = rows[3].name = nullptr;
    rows[4].config = nullptr;
    for (const list_desc_t &row : rows)
        EXPECT_EQ(run([&] { return delete_list(&row, "a"); }), (Seen{0, "", "", before})) << &row - rows;
    EXPECT_EQ(run([&] { return delete_list(nullptr, "a"); }), (Seen{0, "", "", before}));
    for (const list_desc_t *list :
         {static_cast<const list_desc_t *>(&rows[4]), static_cast<const list_desc_t *>(nullptr)})
        EXPECT_EQ(run([&] { return list_list2(list); }), (Seen{-1, list_op("System integrity error!"), "", before}));
}

TEST_F(Records, WorkThatLacksAFieldIsNotBegun) {
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
    std::map<std::string, std::vector<Field>> needed = {{"list_group", reading},
                                                        {"remove_entry", reading},
                                                        {"join_entry", {set_entry, set_property, type}},
                                                        {"change_entry", reading},
                                                        {"export_group", reading}};
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

TEST_F(Records, NamesHaveOneTo63Bytes) {
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

TEST_F(Records, ARefusedJoinLeavesItsCode) {
    group_desc_t g = group("g"), h = group("h");
    const std::string before = a1 + stored("g", {"a", "+h"}) + stored("h", {});
    const std::tuple<const char *, std::function<int()>, int> joins[] = {
        {"a member", [&] { return join_entry(&g, "a", nullptr, nullptr); }, KVIO_EXISTS},
        {"a new entry by the name of a group", [&] { return join_entry(&g, "h", nullptr, nullptr); }, KVIO_EXISTS},
        {"an ampersand", [&] { return join_entry(&g, "x&", data, nullptr); }, KVIO_XML},
        {"a loop", [&] { return join_group(&h, &g); }, KVIO_LOOP},
    };
    for (const auto &[what, join, code] : joins) {
        load(before);
        g.config = h.config = group("g").config;
        int left = 0;
        Seen seen = run([&, &call = join] {
            int result = call();
            left = kvio_errno;
            return result;
        });
        EXPECT_EQ(seen.result, 1) << what;
        EXPECT_EQ(left, code) << what;
        EXPECT_EQ(seen.scope, before) << what;
    }
}

}  // namespace
