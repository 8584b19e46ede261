// Containers made, found and removed: the three kinds are one family, tested as rows.
#include "tests/open_document.h"

namespace {

class Containers : public OpenDocument {
protected:
    static std::string told(const std::string &what, const std::string &scope, const std::string &kind,
                            const std::string &name, const std::string &type) {
        return "(" + config_path("a.xml") + "): scope:[" + scope + "] " + kind + ":[" + name + "] type:[" + type +
               "] is " + what + "\n";
    }
    const std::string make = "kvio_container_create_template", drop = "kvio_container_dispose_template";
};

TEST_F(Containers, EachKindIsMadeFoundAndRemoved) {
    // A name is text as it stands; what else names it, or is called the same, stays.
    const char *name = "a&b <\"x\"> &amp; \xc3\xa4";
    for (const Kind &kind : kinds) {
        const std::string in_file = "name=\"a&amp;b &lt;&quot;x&quot;&gt; &amp;amp; &#xE4;\"", tag = kind.name;
        const std::string others = "<t " + in_file + "/><group name=\"d\" type=\"t\"><container>c</container></group>" +
                                   "<heap " + in_file + " type=\"t\"/><" + tag + " " + in_file + "/><" + tag +
                                   " type=\"t\"/><" + tag + " " + in_file + " type=\"T\"/><o><" + tag + " " + in_file +
                                   " type=\"t\"/></o><" + tag + " name=\"\" type=\"t\"/>";
        const std::string absent = told("not existed", "s", tag, name, "t");
        open(others);
        EXPECT_EQ(call([&] { return kind.open(config, "s", "t", name); }), (Outcome{0, 22, make + absent}));
        EXPECT_EQ(call([&] { return kind.dispose(config, "s", "t", name); }), (Outcome{0, 22, drop + absent}));
        EXPECT_EQ(call([&] { return iterator = kind.create(config, "s", "t", name); }), (Outcome{1, 0}));
        EXPECT_EQ(call([&] { return kvio_join(iterator, "m", 1); }), (Outcome{1, 0})) << "the handle can write";
        EXPECT_EQ(scope(), others + "<" + tag + " " + in_file + " type=\"t\"><entity>m</entity></" + tag + ">");
        EXPECT_EQ(call([&] { return kind.create(config, "s", "t", name); }),
                  (Outcome{0, 10, make + told("existed", "s", tag, name, "t")}));
        EXPECT_EQ(call([&] { return kind.close(iterator); }), (Outcome{1, untouched}));
        iterator = nullptr;
        const std::string stored = scope();
        open(stored);
        EXPECT_EQ(call([&] { return iterator = kind.open(config, "s", "t", name); }), (Outcome{1, 0}));
        EXPECT_EQ(call([&] { return kvio_size(iterator); }), (Outcome{1, 0}));
        close_container();
        EXPECT_EQ(call([&] { return kind.dispose(config, "s", "t", name); }), (Outcome{1, 0}));
        EXPECT_EQ(scope(), others);
        EXPECT_EQ(call([&] { return iterator = kind.open(config, "s", "t", ""); }), (Outcome{1, 0}));
        close_container();
        EXPECT_EQ(call([&] { return kind.close(nullptr); }), (Outcome{1, untouched}));
    }
    open("<list name=\"c\" type=\"t\"><entity>first</entity></list><list name=\"c\" type=\"t\"/>");
    open_list();
    EXPECT_EQ(kvio_size(iterator), 1) << "the first in document order";
    EXPECT_EQ(call([&] { return kvio_dispose_list(config, "s", "t", "c"); }), (Outcome{1, 0}));
    EXPECT_EQ(scope(), "<list name=\"c\" type=\"t\"/>");
}

TEST_F(Containers, WhatCannotBeAddressedIsRefusedBeforeAnythingChanges) {
    const std::string n63(63, 'n'), n64(64, 'n'), n300(300, 'n');
    const std::string stored = "<kavex><s/><" + n63 + "/><" + n64 + "/><d/><d/><p><d/></p></kavex>";
    open_whole(stored);
    auto absent = [](const std::string &scope, const std::string &name, const std::string &type) {
        return Outcome{0, 22, told("not existed", scope, "list", name, type)};
    };
    const Outcome no_scope{0, 7, " fatal error: scope not existed or multiple instances\n"};
    const Outcome too_long{0, 7, " error: name is too long: " + n64 + "\n"};
    const Outcome unmade{0, 8, " error on xmlNewProp(): no memory?\n"};
    struct Row {
        const char *scope, *type, *name;
        Outcome made, found, dropped;  // with the function's name to be put in front
    };
    for (Row row : {
             Row{"d", "t", "c", no_scope, no_scope, no_scope},
             Row{nullptr, "t", "c", no_scope, no_scope, no_scope},
             Row{n64.c_str(), n64.c_str(), "c", no_scope, no_scope, absent(n64, "c", n64)},
             Row{"s", n64.c_str(), "c", too_long, too_long, absent("s", "c", n64)},
             Row{"s", nullptr, "c", unmade, absent("s", "c", "(null)"), absent("s", "c", "(null)")},
             Row{"s", "t", nullptr, unmade, absent("s", "(null)", "t"), absent("s", "(null)", "t")},
         }) {
        row.made.err.insert(0, make);
        row.found.err.insert(0, make);
        row.dropped.err.insert(0, drop);
        EXPECT_EQ(call([&] { return kvio_create_list(config, row.scope, row.type, row.name); }), row.made);
        EXPECT_EQ(call([&] { return kvio_open_list(config, row.scope, row.type, row.name); }), row.found);
        EXPECT_EQ(call([&] { return kvio_dispose_list(config, row.scope, row.type, row.name); }), row.dropped);
        EXPECT_EQ(saved(), stored);
    }
    // The longest that fits, with a name that is never too long; and scopes by path and by predicate.
    for (const char *at : {n63.c_str(), "p/d", "d[2]"}) {
        EXPECT_EQ(call([&] { return iterator = kvio_create_list(config, at, n63.c_str(), n300.c_str()); }).code, 0);
        EXPECT_EQ(call([&] { return kvio_join(iterator, "m", 0); }).result, 1);
        EXPECT_EQ(call([&] { return kvio_check_loop(iterator); }),
                  (Outcome{-1, 0, make + told("not existed", at, "list", "m", n63)}));
        close_container();
    }
}

}  // namespace
