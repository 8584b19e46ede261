// kvio_retrieve_entity() against the plain evaluation of the expression that it stands for.
#include <kavex/store.h>
#include <libxml/parser.h>
#include <libxml/xpath.h>

#include "bench/measure.h"

namespace {

xmlNode *evaluation(xmlDoc *document, const char *name) {
    char expression[256];
    std::snprintf(expression, sizeof expression, "/kavex/object/address/address_t[@name=\"%s\"]", name);
    xmlXPathContext *context = xmlXPathNewContext(document);
    xmlXPathObject *result = xmlXPathEvalExpression(xml_text(expression), context);
    xmlNode *found =
        result && result->nodesetval && result->nodesetval->nodeNr == 1 ? result->nodesetval->nodeTab[0] : nullptr;
    xmlXPathFreeObject(result);
    xmlXPathFreeContext(context);
    return found;
}

void look_up(long entities, const char *name) {
    write_configuration("/tmp/bench.xml", entities);
    kvio_config_t *config = kvio_restore_scope("/tmp/bench.xml");
    xmlDoc *document = kvio_retrieve_entity(config, "object/address", "address_t", "host-0")->doc;
    const auto plain = [=] { return evaluation(document, name); };
    const auto library = [=] { return kvio_retrieve_entity(config, "object/address", "address_t", name); };
    if (plain() != library()) give_up("a wrong answer");
    race(std::to_string(entities) + " entities, " + name, 1.0 / 17, 100, 1e-3, plain, library);
    kvio_close_config(config);
}

}  // namespace

void lookup() {
    for (long entities : {100, 1000, 10000}) {
        for (long place : {0L, entities / 2, entities - 1})
            look_up(entities, ("host-" + std::to_string(place)).c_str());
        look_up(entities, "an absent one");
    }
}
