// Groups read out as a whole: which properties belong to a group, and the export.
#include <cstring>
#include <ostream>
#include <random>
#include <vector>

#include "tests/object_recorder.h"

namespace {

// What valid_property() returns, and the name that it leaves in the record.
struct Found {
    long result;
    std::string name;
};
bool operator==(const Found &a, const Found &b) { return a.result == b.result && a.name == b.name; }
void PrintTo(const Found &found, std::ostream *out) { *out << found.result << " at " << found.name; }

std::string stored(const std::string &name, const std::vector<std::string> &members) {
    std::string text = "<group name=\"" + name + "\" type=\"t\"" + (members.empty() ? "/>" : ">");
    for (const std::string &member : members)
        text +=
            member[0] == '+' ? "<container>" + member.substr(1) + "</container>" : "<entity>" + member + "</entity>";
    return members.empty() ? text : text + "</group>";
}

std::string entity(const std::string &name) { return "<t name=\"" + name + "\"><v>" + name + "</v></t>"; }

class Export : public Objects {
protected:
    Found search(const std::string &property, const std::string &name, const std::string &entry) {
        char buffer[65];
        std::memset(buffer, '#', sizeof buffer);
        std::memcpy(buffer, name.c_str(), name.size() + 1);
        group_desc_t g = group("");
        g.name = buffer;
        long result = run([&] { return valid_property(property.c_str(), &g, entry.c_str()); }).result;
        EXPECT_EQ(buffer[64], '#') << "written beyond 64 bytes";
        return {result, g.name};
    }

    // The record is the caller's again afterwards.
    Seen exported(group_desc_t *g) {
        group_desc_t before = *g;
        std::string name = g->name;
        Seen seen = run([&] { return export_group(g) ? 1 : 0; });
        EXPECT_EQ(std::memcmp(g, &before, sizeof before), 0) << "the record was changed";
        EXPECT_EQ(g->name, name);
        return seen;
    }
};

// ----------------------------------------------------------------------------------------------------- valid_property

TEST_F(Export, MatchingTheGroupItselfOpensNothing) {
    load(stored("g", {}));
    search("g_a", "g", "a");
    EXPECT_EQ(uses().count("kvio_open_group"), 0u);
}

TEST_F(Export, AFailedSizeIsLoggedForTheGroupThatHasIt) {
    NEEDS_FAILING_STORE_CALLS();
    load(stored("top", {"+one", "+two"}) + stored("one", {"+deep"}) + stored("two", {"+one"}) + stored("deep", {}));
    // Of top, one, deep and two it is the second.
    char name[64] = "top";
    group_desc_t g = group("");
    g.name = name;
    fail("kvio_size", 2);
    EXPECT_EQ(run([&] { return valid_property("deep_a", &g, "a"); }).log, group_op("Group: cannot get size of group"));
    EXPECT_STREQ(name, "deep");
}

// The search as it is described, without regard to its cost.
long plain_search(const std::map<std::string, std::vector<std::string>> &groups, const std::string &property,
                  std::string *name, const std::string &entry) {
    if (property == *name + "_" + entry) return 1;
    auto group = groups.find(*name);
    if (group == groups.end()) return 0;
    for (const std::string &member : group->second) {
        if (member == "+") break;
        if (member[0] != '+') continue;
        *name = member.substr(1);
        if (plain_search(groups, property, name, entry)) return 1;
    }
    return 0;
}

TEST_F(Export, TheSearchFindsAndLeavesWhatIsDescribed) {
    std::minstd_rand random(1);
    for (int round = 0; round < 60; ++round) {
        std::map<std::string, std::vector<std::string>> groups;
        std::string scope;
        for (unsigned i = 0; i < 7; ++i) {
            std::vector<std::string> members;
            for (unsigned count = random() % 4; count > 0; --count) {
                unsigned member = i + 1 + random() % 8;  // 7 and above do not exist
                members.push_back(member == 12 ? "+" : member == 13 ? "e" : "+" + std::to_string(member));
            }
            groups[std::to_string(i)] = members;
            scope += stored(std::to_string(i), members);
        }
        load(scope);
        for (const char *property : {"6_a", "5_a", "9_a", "none_a"}) {
            std::string name = "0";
            long result = plain_search(groups, property, &name, "a");
            EXPECT_EQ(search(property, "0", "a"), (Found{result, name})) << property << " in " << scope;
        }
    }
}

// Each level has two paths to the next one: a search that followed them all would open a group 2^30 times.
TEST_F(Export, ASearchOpensNoMoreThan10000Groups) {
    NEEDS_FAILING_STORE_CALLS();
    std::string scope;
    for (int level = 0; level < 30; ++level) {
        const std::string next = std::to_string(level + 1);
        scope += stored(std::to_string(level), {"+" + next, "+" + next});
    }
    load(scope + stored("30", {}) + "<t name=\"a\"/>");
    EXPECT_EQ(search("none_a", "0", "a").result, 0);
    EXPECT_EQ(uses().at("kvio_open_group"), 10000u);
    EXPECT_EQ(search("30_a", "0", "a"), (Found{1, "30"}));
}

TEST_F(Export, ASearchGoesDown1000Levels) {
    constexpr int depth = 1001;
    auto name = [](int level) { return "g" + std::to_string(level); };
    std::string scope = entity("a") + stored(name(depth), {"a"}), properties;
    for (int level = 0; level < depth; ++level) scope += stored(name(level), {"+" + name(level + 1)});
    for (int level : {depth - 1, depth}) {
        scope += "<p name=\"" + name(level) + "_a\"/>";
        properties += "<entity>" + name(level) + "_a</entity>";
    }
    load(scope + "<group name=\"a_property\" type=\"p\">" + properties + "</group>");
    EXPECT_EQ(search("g1000_a", "g0", "a"), (Found{1, "g1000"}));
    EXPECT_EQ(search("g1001_a", "g0", "a"), (Found{0, "g1000"}));
    EXPECT_EQ(search("g1001_a", "g1", "a"), (Found{1, "g1001"}));
    group_desc_t g = group("g0");
    Seen seen = exported(&g);
    EXPECT_EQ(seen.result, 1);
    EXPECT_NE(seen.calls.find("export_property(0,0,"), std::string::npos) << seen.calls;
    EXPECT_EQ(seen.calls.find("export_property(0,1,"), std::string::npos) << seen.calls;
}

// ------------------------------------------------------------------------------------------------------------- export

// The record in use, for callbacks that look at it.
group_desc_t *looked_at;
std::string names_seen;

TEST_F(Export, TheRecordNamesTheGroupOfTheProperties) {
    load(entity("a") +
         "<p name=\"x_a\"/><p name=\"h_a\"/><p name=\"g_a\"/>"
         "<group name=\"a_property\" type=\"p\"><entity>x_a</entity><entity>h_a</entity><entity>g_a</entity>"
         "<entity>h_a</entity></group>" +
         stored("g", {"+h", "a"}) + stored("h", {"a"}) + stored("x", {"a"}));
    group_desc_t g = group("g");
    char *own = g.name;
    looked_at = &g;
    names_seen.clear();
    g.export_property = [](int, int, void *, void *) {
        names_seen += std::string(looked_at->name) + " ";
        return names_seen.size() == 4 ? 5 : 0;
    };
    EXPECT_EQ(exported(&g).result, 0);
    EXPECT_EQ(g.name, own);
    EXPECT_EQ(names_seen, "h g ");
}

}  // namespace
