// Documents that are deep, wide and large, strings out of a document itself, and little memory.
#include <libxml/tree.h>
#include <sys/resource.h>

#include <functional>

#include "tests/open_document.h"

namespace {

class Limits : public OpenDocument {
protected:
    // The code, and the entities by name and attribute "i".
    std::string resolve(kvio_entities_t *(*retrieve)(kvio_iterator_t *)) {
        kvio_entities_t *array = nullptr;
        std::string text = std::to_string(call([&] { return array = retrieve(iterator); }).code) + ":";
        for (int i = 0; array && i < array->count; ++i) {
            char name[64] = "", number[64] = "";
            EXPECT_EQ(kvio_name2(array->items[i], name, sizeof name), 1);
            kvio_getattr_entity2(array->items[i], "i", number, sizeof number);
            text += std::string(" ") + name + number;
        }
        kvio_free_entities(array);
        return text;
    }
};

TEST_F(Limits, DeepNestingNeedsNoStack) {
    const int depth = 100000;
    std::string text = "<t name=\"a\"/>";
    for (int i = 0; i < depth; ++i)
        text += "<list name=\"" + std::to_string(i) + "\" type=\"t\"><entity>a</entity><container>" +
                std::to_string(i + 1) + "</container></list>";
    rlimit usual, small;
    ASSERT_EQ(getrlimit(RLIMIT_STACK, &usual), 0);
    small = usual;
    small.rlim_cur = 512 * 1024;
    ASSERT_EQ(setrlimit(RLIMIT_STACK, &small), 0);
    for (bool cyclic : {false, true}) {
        const std::string last = cyclic ? "<container>0</container>" : "";
        open_snapshot(text + "<list name=\"" + std::to_string(depth) + "\" type=\"t\">" + last + "</list>");
        open_list("0");
        EXPECT_EQ(call([&] { return kvio_check_loop(iterator); }), (Outcome{cyclic, 0}));
        EXPECT_EQ(call([&] { return kvio_real_size(iterator); }), (cyclic ? Outcome{-1, 19} : Outcome{depth, 0}));
        EXPECT_EQ(resolve(kvio_retrieve_all2), cyclic ? "19:" : "0: a");
    }
    EXPECT_EQ(setrlimit(RLIMIT_STACK, &usual), 0);
}

// So many names that some of them have the same hash of 32 bits.
TEST_F(Limits, ManyNamesStayApart) {
    constexpr int count = 200000;
    auto name = [](int i) { return std::to_string(static_cast<uint64_t>(i) * 0x9E3779B97F4A7C15); };
    auto at = [](int i) { return static_cast<int>(i * int64_t{7919} % count); };
    std::string entities, names;
    for (int i = 0; i < count; ++i) {
        entities += "<t name=\"" + name(i) + "\"/>";
        names += "<entity>" + name(at(i)) + "</entity>";
    }
    open_snapshot(entities + "<list name=\"c\" type=\"t\">" + names + "</list>");
    open_list("c");
    kvio_entities_t *all = kvio_retrieve_all(iterator);
    ASSERT_TRUE(all && all->count == count);
    int right = 0;
    for (int i = 0; i < count; ++i) right += kvio_compare_name(all->items[i], name(at(i)).c_str());
    EXPECT_EQ(right, count);
    kvio_free_entities(all);
}

TEST_F(Limits, ManyPathsCostNoMoreThanTheirContainers) {
    for (int n : {30, 31, 64, 200}) {  // as large as an int, and beyond it, and beyond 64 bits
        // Each level names the next one twice, the last one an entity of a name that several have.
        std::string text = "<t name=\"x\" i=\"1\"/><t name=\"x\" i=\"2\"/><t name=\"x\" i=\"3\"/><t name=\"y\"/>";
        for (int i = 0; i < n; ++i) {
            const std::string next = "<container>" + std::to_string(i + 1) + "</container>";
            text += "<list name=\"" + std::to_string(i) + "\" type=\"t\">" + next + next + "</list>";
        }
        open(text + "<list name=\"" + std::to_string(n) + "\" type=\"t\"><entity>x</entity></list>");
        open_list("0");
        EXPECT_EQ(call([&] { return kvio_check_loop(iterator); }), (Outcome{1, 0}));
        EXPECT_EQ(call([&] { return kvio_real_size(iterator); }), (n == 30 ? Outcome{1 << 30, 0} : Outcome{-1, 2}));
        EXPECT_EQ(resolve(kvio_retrieve_all2), n == 30 ? "0: x1 x2 x3" : "2:");
    }
}

// The second form takes what the change frees.
TEST_F(Limits, StringsOutOfTheDocumentItself) {
    open("<t name=\"e\"><f>name_of_a_field_that_is_long</f></t>");
    kvio_node_t *entity = kvio_retrieve_entity(config, "s", "t", "e");
    const char *name = reinterpret_cast<const char *>(entity->children->name);
    const char *text = reinterpret_cast<const char *>(entity->children->children->content);
    EXPECT_EQ(call([&] { return kvio_set2(entity, name, text + 8); }), (Outcome{1, 0}));
    EXPECT_EQ(scope(), "<t name=\"e\"><f>a_field_that_is_long</f></t>");
}

#ifdef KAVEX_TEST_ALLOCATIONS
// What needs memory that plain scopes and values do not: each failure is told, changes nothing, and is over with the
// next call.
TEST_F(Limits, WithoutMemoryNothingChanges) {
    const std::string stored = "<t name=\"e\"><f>old<!--c-->a tail of some length</f></t>";
    kvio_node_t *entity = nullptr;
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
