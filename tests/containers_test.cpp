// Containers made, found and removed: the three kinds are one family, tested as rows.
#include "tests/open_document.h"

namespace {

class Containers : public OpenDocument {
protected:
    static std::string told(const char *who, const std::string &kind, const std::string &name, const std::string &type,
                            const char *what) {
        return std::string(who) + "(" + config_path("a.xml") + "): scope:[s] " + kind + ":[" + name + "] type:[" + type +
               "] is " + what + "\n";
    }
    static constexpr const char *make = "kvio_container_create_template";
    static constexpr const char *drop = "kvio_container_dispose_template";
};

TEST_F(Containers, EachKindIsMadeFoundAndRemoved) {
    for (const Kind &kind : kinds) {
        SCOPED_TRACE(kind.name);
        const std::string name = kind.name;
        open("<x/>");
        EXPECT_EQ(call([&] { return kind.open(config, "s", "t", "c"); }),
                  (Outcome{0, 22, told(make, name, "c", "t", "not existed")}));
        EXPECT_EQ(call([&] { return iterator = kind.create(config, "s", "t", "c"); }), (Outcome{1, 0}));
        EXPECT_EQ(scope(), "<x/><" + name + " name=\"c\" type=\"t\"/>");
        EXPECT_EQ(call([&] { return kvio_join(iterator, "m", 1); }), (Outcome{1, 0})) << "the handle can write";
        EXPECT_EQ(call([&] { return kind.create(config, "s", "t", "c"); }),
                  (Outcome{0, 10, told(make, name, "c", "t", "existed")}));
        EXPECT_EQ(call([&] { return kind.close(iterator); }), (Outcome{1, untouched}));
        EXPECT_EQ(call([&] { return iterator = kind.open(config, "s", "t", "c"); }), (Outcome{1, 0}));
        EXPECT_EQ(call([&] { return kvio_size(iterator); }), (Outcome{1, 0}));
        close_container();
        EXPECT_EQ(call([&] { return kind.dispose(config, "s", "t", "c"); }), (Outcome{1, 0}));
        EXPECT_EQ(scope(), "<x/>");
        EXPECT_EQ(call([&] { return kind.dispose(config, "s", "t", "c"); }),
                  (Outcome{0, 22, told(drop, name, "c", "t", "not existed")}));
        EXPECT_EQ(call([&] { return kind.close(nullptr); }), (Outcome{1, untouched}));
        for (auto function : {kind.create, kind.open})
            EXPECT_EQ(call([&] { return function(nullptr, "s", "t", "c"); }), (Outcome{0, 6}));
        EXPECT_EQ(call([&] { return kind.dispose(nullptr, "s", "t", "c"); }), (Outcome{0, 6}));
    }
}

TEST_F(Containers, KindNameAndTypeTogetherAreTheIdentity) {
    const std::string others =
        "<list name=\"C\" type=\"t\"/><list name=\"c\" type=\"T\"/><table name=\"c\" type=\"t\"/><list name=\"c\"/>"
        "<list type=\"t\"/><o><list name=\"c\" type=\"t\"/></o><list name=\"\" type=\"t\"><entity>empty</entity></list>";
    open(others);
    EXPECT_EQ(call([&] { return kvio_open_list(config, "s", "t", "c"); }).code, 22);
    EXPECT_EQ(call([&] { return iterator = kvio_create_list(config, "s", "t", "c"); }), (Outcome{1, 0}));
    EXPECT_EQ(scope(), others + "<list name=\"c\" type=\"t\"/>");
    open_list("");
    EXPECT_EQ(kvio_size(iterator), 1) << "an empty name is a name";

    open("<list name=\"c\" type=\"t\"><entity>first</entity></list><list name=\"c\" type=\"t\"/>");
    open_list();
    EXPECT_EQ(kvio_size(iterator), 1) << "the first in document order";
    EXPECT_EQ(call([&] { return kvio_dispose_list(config, "s", "t", "c"); }).result, 1);
    EXPECT_EQ(scope(), "<list name=\"c\" type=\"t\"/>");
}

TEST_F(Containers, NamesAreTextAsItStands) {
    open("");
    const char *name = "a&b <\"x\"> &amp; \xc3\xa4";
    EXPECT_EQ(call([&] { return iterator = kvio_create_group(config, "s", "t", name); }), (Outcome{1, 0}));
    EXPECT_EQ(scope(), "<group name=\"a&amp;b &lt;&quot;x&quot;&gt; &amp;amp; &#xE4;\" type=\"t\"/>");
    const std::string stored = scope();
    open(stored);
    EXPECT_EQ(call([&] { return iterator = kvio_open_group(config, "s", "t", name); }), (Outcome{1, 0}));
}

TEST_F(Containers, DisposeLeavesEntitiesAndMembersOfOthers) {
    open("<t name=\"e\"/><group name=\"c\" type=\"t\"><entity>e</entity><container>d</container></group>"
         "<group name=\"d\" type=\"t\"><container>c</container></group>");
    EXPECT_EQ(call([&] { return kvio_dispose_group(config, "s", "t", "c"); }), (Outcome{1, 0}));
    EXPECT_EQ(scope(), "<t name=\"e\"/><group name=\"d\" type=\"t\"><container>c</container></group>");
}

TEST_F(Containers, WhatCannotBeAddressedIsRefusedBeforeAnythingChanges) {
    const std::string n63(63, 'n'), n64(64, 'n'), n300(300, 'n');
    const std::string stored = "<kavex><s/><" + n63 + "/><" + n64 + "/><d/><d/><p><d/></p></kavex>";
    open_whole(stored);
    const std::string scope_line = " fatal error: scope not existed or multiple instances\n";
    struct Row {
        const char *scope, *type, *name;
        Outcome made, dropped;  // with the function's name to be put in front
    };
    const Outcome no_scope{0, 7, scope_line};
    for (const Row &row : {
             Row{"missing", "t", "c", no_scope, no_scope},
             Row{"d", "t", "c", no_scope, no_scope},
             Row{"s[", "t", "c", no_scope, no_scope},
             Row{nullptr, "t", "c", no_scope, no_scope},
             Row{n64.c_str(), "t", "c", no_scope, {0, 22, "(" + path() + "): scope:[" + n64 + "] list:[c] type:[t] is not existed\n"}},
             Row{"s", n64.c_str(), "c", {0, 7, " error: name is too long: " + n64 + "\n"},
                 {0, 22, "(" + path() + "): scope:[s] list:[c] type:[" + n64 + "] is not existed\n"}},
             Row{n64.c_str(), n64.c_str(), "c", no_scope,
                 {0, 22, "(" + path() + "): scope:[" + n64 + "] list:[c] type:[" + n64 + "] is not existed\n"}},
             Row{"s", nullptr, "c", {0, 8, " error on xmlNewProp(): no memory?\n"},
                 {0, 22, "(" + path() + "): scope:[s] list:[c] type:[(null)] is not existed\n"}},
             Row{"s", "t", nullptr, {0, 8, " error on xmlNewProp(): no memory?\n"},
                 {0, 22, "(" + path() + "): scope:[s] list:[(null)] type:[t] is not existed\n"}},
         }) {
        SCOPED_TRACE(testing::Message() << (row.scope ? row.scope : "null") << ' ' << (row.type ? row.type : "null") << ' ' << (row.name ? row.name : "null"));
        Outcome made = row.made, dropped = row.dropped;
        made.err = make + made.err;
        dropped.err = drop + dropped.err;
        EXPECT_EQ(call([&] { return kvio_create_list(config, row.scope, row.type, row.name); }), made);
        EXPECT_EQ(call([&] { return kvio_dispose_list(config, row.scope, row.type, row.name); }), dropped);
        Outcome found = row.made.code == 8 ? dropped : made;
        if (row.made.code == 8) found.err = make + row.dropped.err;
        EXPECT_EQ(call([&] { return kvio_open_list(config, row.scope, row.type, row.name); }), found);
        EXPECT_EQ(saved(), stored);
    }
    // The longest that fits, with a name that is never too long; and scopes by path and by predicate.
    for (const char *at : {n63.c_str(), "p/d", "d[2]"}) {
        EXPECT_EQ(call([&] { return iterator = kvio_create_list(config, at, n63.c_str(), n300.c_str()); }), (Outcome{1, 0}));
        EXPECT_EQ(call([&] { return kvio_join(iterator, "m", 0); }).result, 1);
        EXPECT_EQ(call([&] { return kvio_check_loop(iterator); }),
                  (Outcome{-1, 0, std::string(make) + "(" + path() + "): scope:[" + at + "] list:[m] type:[" + n63 +
                                      "] is not existed\n"}));
        close_container();
    }
}

TEST_F(Containers, AHandleOfASnapshotOnlyReads) {
    const std::string stored = "<t name=\"m\"/><list name=\"c\" type=\"t\" a=\"1\"><entity>m</entity></list>";
    open_snapshot(stored);
    open_list();
    kvio_iterator_t *it = iterator;
    const char *const who[] = {"kvio_join", "kvio_remove", "kvio_change_container_element", "kvio_append",
                               "kvio_insert", "kvio_delete", "kvio_setattr_container", "kvio_unsetattr_container"};
    const std::function<long()> writers[] = {
        [&] { return kvio_join(it, "n", 1); },         [&] { return kvio_remove(it, "m"); },
        [&] { return kvio_change_container_element(it, "m", "n"); }, [&] { return kvio_append(it, "n"); },
        [&] { return kvio_insert(it, "n", 1); },       [&] { return kvio_delete(it, 1); },
        [&] { return kvio_setattr_container(it, "a", "2"); }, [&] { return kvio_unsetattr_container(it, "a"); }};
    for (size_t i = 0; i < std::size(writers); ++i)
        EXPECT_EQ(call(writers[i]), (Outcome{0, 11, who[i] + std::string("() error: read-only iterator\n")}));
    EXPECT_EQ(scope(), stored);

    char text[8];
    EXPECT_EQ(call([&] { return kvio_getattr_container(it, "a", text); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return kvio_retrieve_index(it, 1); }), (Outcome{1, 0}));
    close_container();
    // Making and removing containers looks at the document only.
    EXPECT_EQ(call([&] { return kvio_dispose_list(config, "s", "t", "c"); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return iterator = kvio_create_list(config, "s", "t", "c"); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return kvio_append(iterator, "m"); }).code, 11);
}

}  // namespace
