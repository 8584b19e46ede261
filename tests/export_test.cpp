// Groups read out as a whole: which properties belong to a group, and the export.
#include <pthread.h>

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
        text += member[0] == '+' ? "<container>" + member.substr(1) + "</container>"
                                 : "<entity>" + member + "</entity>";
    return members.empty() ? text : text + "</group>";
}

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

TEST_F(Export, PropertiesAreFoundDepthFirst) {
    // top holds one, which holds deep, and two.
    load(stored("top", {"+one", "a", "+two"}) + stored("one", {"a", "+deep"}) + stored("deep", {"a"}) +
         stored("two", {}) + stored("a_b", {}) + stored("holds", {"+a_b"}));
    struct Row {
        const char *property, *group, *entry;
        Found found;
    };
    for (const Row &row : {
             Row{"top_a", "top", "a", {1, "top"}}, Row{"one_a", "top", "a", {1, "one"}},
             Row{"deep_a", "top", "a", {1, "deep"}}, Row{"two_a", "top", "a", {1, "two"}},
             Row{"top_a", "one", "a", {0, "deep"}}, Row{"none_a", "top", "a", {0, "two"}},
             Row{"two_b", "top", "a", {0, "two"}}, Row{"a", "top", "a", {0, "two"}}, Row{"_a", "top", "a", {0, "two"}},
             Row{"", "top", "a", {0, "two"}}, Row{"two-a", "top", "a", {0, "two"}},
             Row{"two_aa", "top", "a", {0, "two"}}, Row{"top_x", "missing", "x", {0, "missing"}},
             Row{"missing_x", "missing", "x", {1, "missing"}}, Row{"none_a", "deep", "a", {0, "deep"}},
             Row{"a_b_c", "holds", "c", {1, "a_b"}}, Row{"a_b_c", "a", "b_c", {1, "a"}},
             Row{"a_b_c", "holds", "b_c", {0, "a_b"}}})
        EXPECT_EQ(search(row.property, row.group, row.entry), row.found) << row.property << " in " << row.group;
}

TEST_F(Export, MatchingTheGroupItselfOpensNothing) {
    load(stored("g", {}));
    search("g_a", "g", "a");
    EXPECT_EQ(uses().count("kvio_open_group"), 0u);
}

TEST_F(Export, AMemberThatCannotBeReadEndsItsGroup) {
    const std::string name63(63, 'n'), name64 = name63 + "n";
    load(stored("top", {"+one", "+two"}) + stored("one", {"+" + name63, "+" + name64, "+after"}) + stored("after", {}) +
         stored(name64, {}) + stored("two", {"+", "+after"}) + stored(name63, {"+gone"}));
    EXPECT_EQ(search("after_a", "top", "a"), (Found{0, "two"}));
    EXPECT_EQ(search(name63 + "_" + name63, "top", name63), (Found{1, name63}));
    EXPECT_EQ(search(name64 + "_a", "top", "a"), (Found{0, "two"}));
    EXPECT_EQ(search("gone_a", "top", "a"), (Found{1, "gone"}));
    EXPECT_EQ(search("none_a", "one", "a"), (Found{0, "gone"}));
    EXPECT_EQ(search("top_" + name64, "top", name64), (Found{0, "top"}));
}

TEST_F(Export, AFailedSizeIsLoggedForTheGroupThatHasIt) {
    load(stored("top", {"+one", "+two"}) + stored("one", {"+deep"}) + stored("two", {"+one"}) + stored("deep", {}));
    // Of top, one, deep and two it is the second.
    char name[64] = "top";
    group_desc_t g = group("");
    g.name = name;
    fail("kvio_size", 2);
    EXPECT_EQ(run([&] { return valid_property("deep_a", &g, "a"); }).log,
              group_op("Group: cannot get size of group"));
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

TEST_F(Export, SearchingEachGroupOnceFindsAndLeavesTheSame) {
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

TEST_F(Export, LoopsEnd) {
    load(stored("top", {"+one", "+last"}) + stored("one", {"+two", "+one"}) + stored("two", {"+top", "+one"}) +
         stored("last", {}) + stored("self", {"+self"}));
    EXPECT_EQ(search("last_a", "top", "a"), (Found{1, "last"}));
    EXPECT_EQ(search("none_a", "top", "a"), (Found{0, "last"}));
    EXPECT_EQ(search("none_a", "self", "a"), (Found{0, "self"}));
    EXPECT_EQ(search("none_a", "one", "a"), (Found{0, "one"}));
}

// The second path to a chain ends where the first did.
TEST_F(Export, AChainThatWasSearchedEndsWithItsLastGroup) {
    load(stored("top", {"+a", "+z"}) + stored("a", {"+b"}) + stored("b", {"+c"}) + stored("c", {"+d"}) +
         stored("d", {}) + stored("z", {"+a"}));
    EXPECT_EQ(search("none_a", "top", "a"), (Found{0, "d"}));
}

// A plain search would pass the last level 2^30 times.
TEST_F(Export, ManyPathsAreWalkedOnce) {
    std::string scope;
    for (int level = 0; level < 30; ++level) {
        std::string left = std::to_string(level + 1) + "l", right = std::to_string(level + 1) + "r";
        scope += stored(std::to_string(level) + "l", {"+" + left, "+" + right});
        scope += stored(std::to_string(level) + "r", {"+" + left, "+" + right});
    }
    // The search of a level ends with the last group of the lowest one.
    load(scope + stored("30l", {}) + stored("30r", {"+bottom"}) + "<t name=\"a\"/>");
    EXPECT_EQ(search("none_a", "0l", "a"), (Found{0, "bottom"}));
    EXPECT_EQ(search("none_a", "29r", "a"), (Found{0, "bottom"}));
    EXPECT_EQ(search("30r_a", "0l", "a"), (Found{1, "30r"}));
    group_desc_t g = group("0l");
    EXPECT_EQ(exported(&g).result, 0);
}

// The nesting is deeper than this stack could follow.
TEST_F(Export, DeepNestingNeedsNoStack) {
    constexpr int depth = 3000;
    std::string scope = "<t name=\"a\" reference=\"1\"><v>1</v></t>", last = "g" + std::to_string(depth);
    for (int level = 0; level < depth; ++level)
        scope += stored("g" + std::to_string(level), {"+g" + std::to_string(level + 1)});
    scope += stored(last, {"a"});
    scope += "<p name=\"" + last + "_a\"><v>7</v></p><group name=\"a_property\" type=\"p\"><entity>" + last +
             "_a</entity></group>";
    load(scope);
    struct Work {
        std::string property;
        group_desc_t searched, top, bottom;
        int found, exported, joined;
    } work = {last + "_a", group("g0"), group("g0"), group(last.c_str()), -1, -1, -1};
    pthread_attr_t small;
    pthread_attr_init(&small);
    ASSERT_EQ(pthread_attr_setstacksize(&small, 128 * 1024), 0);
    pthread_t thread;
    auto body = [](void *argument) -> void * {
        Work *w = static_cast<Work *>(argument);
        w->found = valid_property(w->property.c_str(), &w->searched, "a");
        w->exported = export_group(&w->top) ? 1 : 0;
        w->joined = join_group(&w->bottom, &w->top);
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &small, body, &work), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&small);
    EXPECT_EQ(work.found, 1);
    EXPECT_EQ(work.searched.name, last);
    EXPECT_EQ(work.exported, 1);
    EXPECT_EQ(work.joined, 1);
}

// ------------------------------------------------------------------------------------------------------------- export

std::string entity(const std::string &name) { return "<t name=\"" + name + "\"><v>" + name + "</v></t>"; }

// The properties of an entry in these groups, with the value GROUP.
std::string properties(const std::string &entry, const std::vector<std::string> &groups) {
    std::string text, members;
    for (const std::string &group : groups) {
        text += "<p name=\"" + group + "_" + entry + "\"><v>" + group + "</v></p>";
        members += "<entity>" + group + "_" + entry + "</entity>";
    }
    text += "<group name=\"" + entry + "_property\" type=\"p\"";
    return text + (groups.empty() ? "/>" : ">" + members + "</group>");
}

TEST_F(Export, HandsOutEntriesAndTheirProperties) {
    // a is in g, in h which is nested in g, and in x; b in h and, through it, once; c in x.
    const std::string before = entity("a") + entity("b") + entity("c") + properties("a", {"x", "h", "g"}) +
                               properties("b", {"h"}) + properties("c", {"x"}) + stored("g", {"+h", "a"}) +
                               stored("h", {"b", "a"}) + stored("x", {"a", "c"});
    load(before);
    group_desc_t g = group("g"), h = group("h");
    EXPECT_EQ(exported(&g),
              (Seen{1, "",
                    "export_begin(2) "
                    "alloc_entry get_entry(b) export_entry(0,handle,b,b) free_entry "
                    "alloc_property get_property(h_b) export_property(0,0,handle,h) free_property "
                    "alloc_entry get_entry(a) export_entry(1,handle,a,a) free_entry "
                    "alloc_property get_property(h_a) export_property(1,1,handle,h) free_property "
                    "alloc_property get_property(g_a) export_property(1,2,handle,g) free_property ",
                    before}));
    EXPECT_EQ(exported(&h),
              (Seen{1, "",
                    "export_begin(2) "
                    "alloc_entry get_entry(b) export_entry(0,handle,b,b) free_entry "
                    "alloc_property get_property(h_b) export_property(0,0,handle,h) free_property "
                    "alloc_entry get_entry(a) export_entry(1,handle,a,a) free_entry "
                    "alloc_property get_property(h_a) export_property(1,1,handle,h) free_property ",
                    before}));
    without_properties(&h);
    EXPECT_EQ(exported(&h).calls,
              "export_begin(2) alloc_entry get_entry(b) export_entry(0,handle,b,b) free_entry "
              "alloc_entry get_entry(a) export_entry(1,handle,a,a) free_entry ");
    h.export_entry = nullptr;
    EXPECT_EQ(exported(&h), (Seen{1, "", "export_begin(2) ", before}));
}

// The record in use, for callbacks that look at it.
group_desc_t *looked_at;
std::string names_seen;

TEST_F(Export, TheRecordNamesTheGroupOfTheProperties) {
    load(entity("a") + properties("a", {"x", "h", "g", "h"}) + stored("g", {"+h", "a"}) + stored("h", {"a"}) +
         stored("x", {"a"}));
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

TEST_F(Export, AnEmptyGroupGivesItsHandle) {
    load(stored("g", {}) + stored("h", {"+g", "gone"}));
    group_desc_t g = group("g"), h = group("h");
    EXPECT_EQ(exported(&g), (Seen{1, "", "export_begin(0) ", scope()}));
    EXPECT_EQ(exported(&h), (Seen{1, "", "export_begin(0) ", scope()}));
}

#ifdef KAVEX_TEST_ALLOCATIONS
TEST_F(Export, MemoryRunsOut) {
    // h, in which the properties of b are, is found by a search through 0, 1 and 2.
    const std::string before = entity("b") + properties("b", {"h"}) + stored("g", {"+0", "+h"}) + stored("0", {"+1"}) +
                               stored("1", {"+2"}) + stored("2", {}) + stored("h", {"b"});
    load(before);
    group_desc_t g = group("g");
    faults::each([&](int nth) {
        faults::fail_allocation(nth);
        Seen seen = exported(&g);
        bool begun = seen.calls.find("export_begin") != std::string::npos;
        bool discarded = seen.calls.find("export_discard") != std::string::npos;
        EXPECT_EQ(seen.result == 1, begun && !discarded) << seen.calls;
        EXPECT_EQ(seen.scope, before);
        if (!faults::struck()) {
            EXPECT_NE(seen.calls.find("export_property(0,0,handle,h)"), std::string::npos);
        }
    });
    const std::string initial = g.name;
    faults::each([&](int nth) {
        std::strcpy(g.name, initial.c_str());
        faults::fail_allocation(nth);
        Seen seen = run([&] { return valid_property("h_b", &g, "b"); });
        EXPECT_TRUE(faults::struck() || seen.result == 1);
        EXPECT_EQ(seen.result == 1, std::string(g.name) == "h");
    });
}
#endif

TEST_F(Export, WhatCannotBeExported) {
    const std::string name63(63, 'n'), name64 = name63 + "n", name136(136, 'p');
    const std::string a = entity("a") + properties("a", {"g"});
    const std::string first = "alloc_entry get_entry(a) export_entry(0,handle,a,a) free_entry ";
    const std::string first_property = "alloc_property get_property(g_a) export_property(0,0,handle,g) free_property ";
    const std::string discard = "export_discard(handle) ";
    struct Row {
        std::string before;
        long result;
        std::string calls;
    };
    const Row rows[] = {
        {stored("h", {}), 0, ""},
        {stored("g", {"+g"}), 0, ""},
        {stored("g", {"+x", "+y"}) + stored("x", {"+z"}) + stored("y", {"+z"}) + stored("z", {}), 0, ""},
        {stored("g", {"+gone"}), 0, ""},
        // A member without a property group.
        {a + entity("b") + stored("g", {"a", "b"}), 0,
         "export_begin(2) " + first + first_property +
             "alloc_entry get_entry(b) export_entry(1,handle,b,b) free_entry " + discard},
        {entity("a") + stored("g", {"a"}) +
             "<group name=\"a_property\" type=\"p\"><container>a_property</container></group>",
         0, "export_begin(1) " + first + discard},
        {entity("a") + stored("g", {"a"}) + properties("a", {}), 1, "export_begin(1) " + first},
        // Names at their limit, and beyond it.
        {entity(name63) + properties(name63, {"g"}) + stored("g", {name63}), 1,
         "export_begin(1) alloc_entry get_entry(" + name63 + ") export_entry(0,handle," + name63 + "," +
             name63 + ") free_entry alloc_property get_property(g_" + name63 +
             ") export_property(0,0,handle,g) free_property "},
        {entity(name64) + properties(name64, {"g"}) + stored("g", {name64}), 0,
         "export_begin(1) alloc_entry get_entry(" + name64 + ") free_entry " + discard},
        {entity("a") + stored("g", {"a"}) + properties("a", {name136, "g"}), 1,
         "export_begin(1) " + first + "alloc_property get_property(g_a) export_property(0,1,handle,g) free_property "},
    };
    for (const Row &row : rows) {
        load(row.before);
        group_desc_t g = group("g");
        const std::string before = scope();
        Seen seen = exported(&g);
        EXPECT_EQ(seen, (Seen{row.result, "", row.calls, before})) << &row - rows;
    }
}

}  // namespace
