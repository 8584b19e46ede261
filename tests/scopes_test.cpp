// From a scope and a name to an element: the answer is that of the XPath expression, whatever way it was found.
#include <libxml/parser.h>
#include <libxml/xpathInternals.h>

#include <algorithm>
#include <functional>
#include <random>
#include <vector>

#include "base/text.h"
#include "tests/open_document.h"

namespace {

class Scopes : public OpenDocument {
protected:
    // Asks what takes a scope and nothing else; each has its own line for the same answer.
    void expect_no_scope(const char *scope) {
        const std::string line = " fatal error: scope not existed or multiple instances\n";
        EXPECT_EQ(call([&] { return kvio_define(config, scope, "t", "n"); }),
                  (Outcome{0, 7, "do_kvio_define" + line}));
        EXPECT_EQ(create_checkpoint(scope), (Outcome{0, 7, "kvio_create_checkpoint" + line})) << (scope ? scope : "");
    }
    Outcome create_checkpoint(const char *scope) {
        kvio_checkpoint_t *copy = nullptr;
        Outcome outcome = call([&] { return copy = kvio_create_checkpoint(config, scope); });
        kvio_release_checkpoint(copy);
        return outcome;
    }
    Outcome find(const char *scope, const char *type, const char *name) {
        found = nullptr;
        return call([&] { return found = kvio_retrieve_entity(config, scope, type, name); });
    }
    Outcome undefine(const char *scope, const char *type, const char *name) {
        return call([&] { return kvio_undefine(config, scope, type, name); });
    }
    // The number of entities, whose array has no room for more.
    Outcome list(const char *scope, const char *type) {
        return call([&] {
            kvio_entities_t *all = kvio_list_entities(config, scope, type);
            const int count = !all ? -1 : all->count == all->capacity ? all->count : -2;
            kvio_free_entities(all);
            return count;
        });
    }
    static std::string place(xmlNode *node) {
        if (!node) return "";
        xmlChar *path = xmlGetNodePath(node);
        std::string text = reinterpret_cast<char *>(path);
        xmlFree(path);
        return text;
    }

    kvio_node_t *found = nullptr;
};

TEST_F(Scopes, AScopeIsExactlyOneElementBelowTheRoot) {
    const std::string groesse = "gr\xc3\xb6\xc3\x9f\x65";
    open_whole("<kavex a=\"1\"><!--c--><?p?>text<object v=\"1\" xmlns:n=\"urn:n\"><address/><a-b.c_1/><twice/>"
               "<twice/><n:p/></object><d xmlns=\"urn:d\"/><" + groesse + "/><div/><text/><object2/></kavex>");
    const std::string before = saved();
    for (const char *scope : {"object", "object/address", "object/a-b.c_1", "object/*[1]", "*[@v='1']", " object",
                              "object/address\n/..", "object/.", "/object", groesse.c_str(), "div", "text",
                              "none | /kavex/div", "*[local-name()='d']"})
        EXPECT_EQ(create_checkpoint(scope), (Outcome{1, 0})) << scope;
    const char *null = nullptr;
    for (const char *scope : {"", "none", "object/none", "object/twice", "object/twice/x", "*", "..", ".", "object/..",
                              "object/@v", "text()", "object/namespace::*", "namespace::xml", "object/", "object[",
                              "object\"", "1", "count(object)", "object = 1", "n:p", "object/n:p", "d", "objec",
                              "objects", "$name", "$x", "kavex", "object address", null})
        expect_no_scope(scope);
    EXPECT_EQ(saved(), before);
}

// "/kavex/" and the scope: 255 bytes are taken, 256 are not, on either way to the element.
TEST_F(Scopes, OverlongScopesAreNotCut) {
    const std::string edge(248, 'e'), shorter = edge.substr(1), padding(240, ' ');
    open_whole("<kavex><" + edge + "/><" + shorter + "><e/></" + shorter + "></kavex>");
    const std::string before = saved(), line = " fatal error: scope not existed or multiple instances\n";
    for (const std::string &scope : {edge, padding + "    *[1]"}) {
        EXPECT_EQ(kvio_define(config, scope.c_str(), "t", "n"), 1) << scope.size();
        EXPECT_EQ(kvio_undefine(config, scope.c_str(), "t", "n"), 1) << scope.size();
    }
    for (const std::string &scope : {edge + "e", padding + "     *[1]", shorter + "/e"}) {
        expect_no_scope(scope.c_str());
        EXPECT_EQ(find(scope.c_str(), "e", "n"), (Outcome{0, 7, "kvio_retrieve_entity" + line}));
        EXPECT_EQ(undefine(scope.c_str(), "e", "n"), (Outcome{0, 7, "kvio_undefine" + line}));
    }
    EXPECT_EQ(saved(), before);
}

TEST_F(Scopes, EntitiesByExpressions) {
    open_whole("<kavex><s><t name=\"e\"/><u name=\"d\"/><t/><u name=\"d\"/><n:t xmlns:n=\"urn:n\" name=\"n\"/></s>"
               "<p><t name=\"x\"/></p><p><t name=\"x\"/></p></kavex>");
    const std::string before = saved(), several = " fatal error: multiple instances\n";
    const std::string invalid = " error on xmlXPathEvalExpression()\n";
    const std::string no_scope = " fatal error: scope not existed or multiple instances\n";
    struct Row {
        const char *scope, *type, *name;
        int code;
        std::string line;
        Outcome counted;
    };
    for (const Row &row : {
             Row{"*", "u", "d", 7, several, {2, 0}},
             Row{"p[1]", "t", "x", 0, "", {1, 0}},
             Row{"s", "*", "e", 0, "", {5, 0}},
             Row{"s", "t[not(*)]", "e", 0, "", {2, 0}},
             Row{"s/", "t", "e", 0, "", {2, 0}},
             Row{"s/t", "@name", "e", 22, "", {1, 0}},
             Row{"..", "kavex", "e", 22, "", {1, 0}},
             Row{"s", nullptr, "e", 22, "", {0, 0}},
             Row{"s", "t", nullptr, 22, "", {2, 0}},
             Row{nullptr, "t", "e", 7, no_scope, {0, 7, no_scope}},
             Row{"s[", "t", "e", 8, invalid, {0, 8, invalid}},
             Row{"s", "", "e", 8, invalid, {0, 8, invalid}},
             Row{"s", "n:t", "n", 8, invalid, {0, 8, invalid}},
             Row{"", "/t", "e", 8, invalid, {0, 8, invalid}},
             Row{"s[@x=$other]", "t", "e", 8, invalid, {0, 8, invalid}},
         }) {
        SCOPED_TRACE(testing::Message() << shown(row.scope) << ' ' << shown(row.type) << ' ' << shown(row.name));
        auto told = [&](const std::string &who, const std::string &line) { return line.empty() ? line : who + line; };
        EXPECT_EQ(find(row.scope, row.type, row.name),
                  (Outcome{row.code == 0, row.code, told("kvio_retrieve_entity", row.line)}));
        EXPECT_EQ(call([&] { return kvio_entity_count(config, row.scope, row.type); }),
                  (Outcome{row.counted.result, row.counted.code, told("kvio_entity_count", row.counted.err)}));
        if (row.code == 0) continue;
        const std::string line = row.code == 22 ? " error: entity not existed\n" : row.line;
        EXPECT_EQ(undefine(row.scope, row.type, row.name), (Outcome{0, row.code, "kvio_undefine" + line}));
    }
    EXPECT_EQ(list("s", nullptr), (Outcome{0, 0}));
    EXPECT_EQ(call([&] { return kvio_list_entities(config, nullptr, "t"); }),
              (Outcome{0, 7, "kvio_list_entities" + no_scope}));
    EXPECT_EQ(saved(), before);
    for (const char *scope : {"s", "p[2]"})
        EXPECT_EQ(undefine(scope, "t", *scope == 's' ? "e" : "x"), (Outcome{1, 0}));
    EXPECT_EQ(saved(), "<kavex><s><u name=\"d\"/><t/><u name=\"d\"/><n:t xmlns:n=\"urn:n\" name=\"n\"/></s>"
                       "<p><t name=\"x\"/></p><p/></kavex>");
}

// Random documents, asked by both ways: duplicates, nested scopes, namespaces declared, taken back and prefixed, names
// in prefixed attributes and in several pieces (libxml2 itself misjudges one whose first piece is a single byte).
TEST_F(Scopes, TheWalkAnswersLikeTheExpression) {
    std::mt19937 random(20240607);
    auto one_of = [&](const std::vector<std::string> &texts) { return texts[random() % texts.size()]; };
    const std::vector<std::string> elements = {"a", "a", "a", "b", "t", "n:a"};
    const std::string longest(135, 'n');
    const std::vector<std::string> attributes = {
        "", " name='x'", " name='y'", " name=''", " name='x' n:name='y'", " n:name='x'", " name='x&amp;&#121;'",
        " name='xy&e;'", " k='x' name='x' xmlns='urn:other'", " xmlns='' name='x'", " xmlns:n='urn:m'",
        " name='x&quot;] | //a[&quot;'", " name='&quot;'", " name='\xc3\xa9'", " name='" + longest + "'"};
    std::function<std::string(int)> elements_below = [&](int depth) {
        std::string text;
        for (unsigned count = random() % (depth ? 4 : 2); count--;) {
            std::string name = one_of(elements);
            text += one_of({"", "", "text", "<!--a-->", "<?a?>", "<![CDATA[a]]>"});
            text += "<" + name + one_of(attributes) + ">";
            text += (depth ? elements_below(depth - 1) : "") + "</" + name + ">";
        }
        return text;
    };
    const std::vector<std::string> scopes = {"a", "a", "b", "t", "a/b", "a/a", "b/a/t", "n:a", "a/", "*",
                                             "*[self::a or self::b]"};
    const std::vector<std::string> names = {"x",   "x",   "x",  "x\"] | //a[\"", "y",     "",
                                            "x&y", "xye", "\"", "\xc3\xa9",     longest, " x "};
    int unique = 0, several = 0;
    for (int document = 0; document < 600 && !HasFailure(); ++document) {
        const std::string root = one_of({"<kavex>", "<kavex>", "<kavex>", "<kavex xmlns=\"urn:d\">", "<other>"});
        open_whole("<!DOCTYPE kavex [<!ENTITY e \"e\">]><!--a-->" + root.substr(0, root.size() - 1) +
                   " xmlns:n=\"urn:n\">" + elements_below(3) + elements_below(3) + "</" + root.substr(1, 5) + ">");
        xmlDoc *same = xmlParseFile(path().c_str());
        xmlXPathContext *context = xmlXPathNewContext(same);
        for (int question = 0; question < 20; ++question) {
            const std::string scope = one_of(scopes), type = one_of(elements), name = one_of(names);
            SCOPED_TRACE(read_config("a.xml") + "\n" + scope + " " + type + " " + name);
            auto select = [&](const std::string &expression) {
                xmlXPathObject *result =
                    xmlXPathEvalExpression(reinterpret_cast<const xmlChar *>(expression.c_str()), context);
                const int count = !result ? -1 : result->nodesetval ? result->nodesetval->nodeNr : 0;
                const std::string only = count == 1 ? place(result->nodesetval->nodeTab[0]) : "";
                xmlXPathFreeObject(result);
                return std::make_pair(count, only);
            };
            const xmlChar *value = reinterpret_cast<const xmlChar *>(name.c_str());
            xmlXPathRegisterVariable(context, reinterpret_cast<const xmlChar *>("name"), xmlXPathNewString(value));
            auto [count, only] = select("/kavex/" + scope + "/" + type + "[@name=$name]");
            const Outcome outcome = find(scope.c_str(), type.c_str(), name.c_str());
            EXPECT_EQ(outcome.code, count < 0 ? 8 : count == 0 ? 22 : count == 1 ? 0 : 7);
            EXPECT_EQ(place(found), only);
            EXPECT_EQ(call([&] { return kvio_entity_count(config, scope.c_str(), type.c_str()); }).result,
                      std::max(0, select("/kavex/" + scope + "/" + type).first));
            const bool is_scope = select("/kavex/" + scope).first == 1;
            EXPECT_EQ(create_checkpoint(scope.c_str()).code, is_scope ? 0 : 7);
            EXPECT_EQ(list(scope.c_str(), type.c_str()).result,
                      is_scope ? select("/kavex/" + scope + "/*[local-name()='" + type + "']").first : -1);
            unique += count == 1;
            several += count > 1;
        }
        xmlXPathFreeContext(context);
        xmlFreeDoc(same);
    }
    EXPECT_GT(unique, 100);
    EXPECT_GT(several, 10);
}

}  // namespace
