// Containers read back: what a handle sees, and documents that are deep, wide and large. What nested containers give in
// general is in model_test.cpp.
#include <sys/resource.h>

#include "tests/open_document.h"

namespace {

class Retrieval : public OpenDocument {
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

TEST_F(Retrieval, AHandleReadsWhatIsThereNow) {
    const std::string entities = "<t name=\"a\"/><t name=\"b\"/>";
    open(entities + "<list name=\"c\" type=\"t\"><entity>a</entity></list>");
    open_list();
    EXPECT_EQ(resolve(kvio_retrieve_all), "0: a");
    kvio_undefine(config, "s", "t", "a");
    EXPECT_EQ(resolve(kvio_retrieve_all), "0:");
    // The type is read from the document where a single entity is looked for.
    const std::string who = "kvio_retrieve_index";
    kvio_setattr_container(iterator, "type", "u[");
    EXPECT_EQ(call([&] { return kvio_retrieve_index(iterator, 1); }),
              (Outcome{0, 8, who + " error on xmlXPathEvalExpression()\n"}));
    kvio_unsetattr_container(iterator, "type");
    EXPECT_EQ(call([&] { return kvio_retrieve_index(iterator, 1); }),
              (Outcome{0, 7, who + "() fatal error: container is broken\n"}));
    // The identity of a handle is that of its opening: renamed to the name of another one, it is not that other one.
    open(entities + "<list name=\"c\" type=\"t\"><entity>a</entity></list>"
                    "<list name=\"d\" type=\"t\"><entity>b</entity><container>c</container></list>");
    open_list("d");
    kvio_setattr_container(iterator, "name", "c");
    EXPECT_EQ(resolve(kvio_retrieve_all), "0: b a");
}

TEST_F(Retrieval, ArraysAreOneBlock) {
    for (int n : {0, 1000}) {
        kvio_entities_t *array = nullptr;
        EXPECT_EQ(call([&] { return array = kvio_alloc_entities(n); }), (Outcome{1, untouched}));
        EXPECT_EQ(array->count, 0);
        EXPECT_EQ(array->capacity, n);
        EXPECT_EQ(static_cast<void *>(array->items), static_cast<void *>(array + 1));
        for (int i = 0; i < n; ++i) array->items[i] = nullptr;
        EXPECT_EQ(call([&] { kvio_free_entities(array); }), (Outcome{0, 0}));
    }
    EXPECT_EQ(call([&] { return kvio_alloc_entities(-1); }), (Outcome{0, untouched}));
}

TEST_F(Retrieval, DeepNestingNeedsNoStack) {
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
TEST_F(Retrieval, ManyNamesStayApart) {
    constexpr int count = 200000;
    auto name = [](int i) { return std::to_string(static_cast<uint64_t>(i) * 0x9E3779B97F4A7C15); };
    auto at = [](int i) { return static_cast<int>(i * int64_t{7919} % count); };
    std::string entities, names;
    for (int i = 0; i < count; ++i) {
        entities += "<t name=\"" + name(i) + "\"/>";
        names += "<entity>" + name(at(i)) + "</entity>";
    }
    open_snapshot(entities + "<list name=\"c\" type=\"t\">" + names + "</list>");
    open_list();
    kvio_entities_t *all = kvio_retrieve_all(iterator);
    ASSERT_TRUE(all && all->count == count);
    int right = 0;
    for (int i = 0; i < count; ++i) right += kvio_compare_name(all->items[i], name(at(i)).c_str());
    EXPECT_EQ(right, count);
    kvio_free_entities(all);
}

TEST_F(Retrieval, ManyPathsCostNoMoreThanTheirContainers) {
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

}  // namespace
