// From a scope and a name to an element: the answer is that of the XPath expression, whatever way it was found.
#include <libxml/parser.h>
#include <libxml/xpathInternals.h>

#include <algorithm>
#include <functional>
#include <random>
#include <vector>

#include "tests/support/appliance.h"

namespace {

using Expressions = OpenDocument;

std::string place(xmlNode *node) {
    xmlChar *path = node ? xmlGetNodePath(node) : nullptr;
    std::string text = path ? reinterpret_cast<char *>(path) : "";
    xmlFree(path);
    return text;
}

// Random documents, asked by both ways: duplicates, nested scopes, namespaces declared, taken back and prefixed, names
// in prefixed attributes and in several pieces (libxml2 itself misjudges one whose first piece is a single byte).
TEST_F(Expressions, TheWalkAnswersLikeTheExpression) {
    std::mt19937 random(20240607);
    auto one_of = [&](const std::vector<std::string> &texts) { return texts[random() % texts.size()]; };
    const std::vector<std::string> elements = {"a", "a", "a", "b", "t", "n:a"};
    const std::string longest(135, 'n');
    const std::vector<std::string> attributes = {"",
                                                 " name='x'",
                                                 " name='y'",
                                                 " name=''",
                                                 " name='x' n:name='y'",
                                                 " n:name='x'",
                                                 " name='x&amp;&#121;'",
                                                 " name='xy&e;'",
                                                 " k='x' name='x' xmlns='urn:other'",
                                                 " xmlns='' name='x'",
                                                 " xmlns:n='urn:m'",
                                                 " name='x&quot;] | //a[&quot;'",
                                                 " name='&quot;'",
                                                 " name='\xc3\xa9'",
                                                 " name='" + longest + "'"};
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
    const std::vector<std::string> scopes = {
        "a", "a", "b", "t", "a/b", "a/a", "b/a/t", "n:a", "a/", "*", "*[self::a or self::b]"};
    const std::vector<std::string> names = {"x",   "x",   "x",  "x\"] | //a[\"", "y",     "",
                                            "x&y", "xye", "\"", "\xc3\xa9",      longest, " x "};
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
            kvio_node_t *found = nullptr;
            call([&] { return found = kvio_retrieve_entity(config, scope.c_str(), type.c_str(), name.c_str()); });
            EXPECT_EQ(kvio_errno, count < 0 ? 8 : count == 0 ? 22 : count == 1 ? 0 : 7);
            EXPECT_EQ(place(found), only);
            EXPECT_EQ(call([&] { return kvio_entity_count(config, scope.c_str(), type.c_str()); }).result,
                      std::max(0, select("/kavex/" + scope + "/" + type).first));
            const bool is_scope = select("/kavex/" + scope).first == 1;
            kvio_entities_t *all = nullptr;
            EXPECT_EQ(call([&] { return all = kvio_list_entities(config, scope.c_str(), type.c_str()); }).code,
                      is_scope ? 0 : 7);
            EXPECT_EQ(all ? all->count : -1,
                      is_scope ? select("/kavex/" + scope + "/*[local-name()='" + type + "']").first : -1);
            kvio_free_entities(all);
            unique += count == 1;
            several += count > 1;
        }
        xmlXPathFreeContext(context);
        xmlFreeDoc(same);
    }
    EXPECT_GT(unique, 100);
    EXPECT_GT(several, 10);
}

// A large scope is indexed by name. Its elements change at random between look-ups, which a scope that is an expression
// answers without the index.
TEST_F(Expressions, TheIndexAnswersLikeTheExpression) {
    std::mt19937 random(20240608);
    auto below = [&](unsigned limit) { return static_cast<unsigned>(random() % limit); };
    auto some_name = [&] { return "n" + std::to_string(below(90)); };
    for (int document = 0; document < 100 && !HasFailure(); ++document) {
        std::string text;
        for (unsigned i = 0; i < 70; ++i)
            text += "<" + std::string(below(8) ? "t" : "list") + " name='n" +
                    std::to_string(below(200) ? i : below(i + 1)) + (below(90) ? "'/>" : "' xmlns='urn:n'/>\n");
        open_snapshot(text);
        kvio_checkpoint_t *checkpoint = kvio_create_checkpoint(config, "s");
        for (int step = 0; step < 60 && !HasFailure(); ++step) {
            const std::string name = some_name(), other = some_name(), type = below(4) ? "t" : "list";
            kvio_node_t *found = kvio_retrieve_entity(config, "s", type.c_str(), other.c_str());
            switch (below(8)) {
                case 0:
                    kvio_define(config, "s", type.c_str(), name.c_str());
                    break;
                case 1:
                    kvio_undefine(config, "s", type.c_str(), name.c_str());
                    break;
                case 2:
                    kvio_close_list(kvio_create_list(config, "s", "t", name.c_str()));
                    break;
                case 3:
                    kvio_dispose_list(config, "s", "t", name.c_str());
                    break;
                case 4:
                    kvio_setattr_entity(found, "name", name.c_str());
                    break;
                case 5:
                    if (below(9) == 0) kvio_unsetattr_entity(found, "name");
                    break;
                case 6:
                    kvio_set(found, "v", "w");
                    break;
                default:
                    if (below(9)) break;
                    kvio_rollback_checkpoint(config, "s", checkpoint);
                    checkpoint = kvio_create_checkpoint(config, "s");
            }
            for (const std::string &asked : {name, other, some_name()}) {
                kvio_node_t *entity = kvio_retrieve_entity(config, "s", type.c_str(), asked.c_str());
                const int code = kvio_errno;
                EXPECT_EQ(kvio_retrieve_entity(config, "s[1]", type.c_str(), asked.c_str()), entity) << asked;
                EXPECT_EQ(kvio_errno, code);
            }
        }
        kvio_release_checkpoint(checkpoint);
    }
}

}  // namespace
