// What opening, saving and closing a configuration cost over the raw calls of the XML library, and on a disk, over ways
// to save by hand that end with a sync as well.
#include <fcntl.h>
#include <kavex/store.h>
#include <libxml/parser.h>
#include <unistd.h>

#include "bench/measure.h"

namespace {

// Another value of the same length: a document that is as it was would not have to be written.
const char *next_value() {
    static char text[] = "value-A";
    text[6] = text[6] == 'A' ? 'B' : 'A';
    return text;
}

void save_raw(const std::string &file, const std::string &target) {
    xmlDoc *document = xmlParseFile(file.c_str());
    if (!document) give_up("the raw calls failed");
    xmlNode *clock = xmlFirstElementChild(xmlFirstElementChild(xmlDocGetRootElement(document)));
    xmlNodeSetContent(xmlFirstElementChild(clock), xml_text(next_value()));
    if (xmlSaveFormatFile(target.c_str(), document, 1) < 0) give_up("the raw calls failed");
    xmlFreeDoc(document);
}

void save_with_store(kvio_config_t *config) {
    kvio_node_t *clock = kvio_retrieve_entity(config, "system", "setting_t", "clock");
    if (!kvio_set(clock, "zone", next_value()) || kvio_save_config(config) < 0) give_up("the store failed");
    kvio_close_config(config);
}

void sync(const std::string &path, int (*way)(int)) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0 || way(fd) != 0 || close(fd) != 0) give_up("a sync failed");
}

void on_disk(const std::string &directory, int entities) {
    const std::string file = directory + "/bench.xml", temporary = directory + "/bench.new";
    write_configuration(file, entities);
    const auto in_place = [&] {
        save_raw(file, file);
        sync(file, fdatasync);
    };
    const auto renamed = [&] {
        save_raw(file, temporary);
        sync(temporary, fdatasync);
        rename(temporary.c_str(), file.c_str());
        sync(directory, fsync);
    };
    const auto library = [&] { save_with_store(kvio_restore_scope(file.c_str())); };
    const auto least = take_turns(CLOCK_MONOTONIC, 25, 0, {in_place, renamed, library});
    std::printf("%d entities, synced: in place %.2f ms, renamed %.2f ms, library %.2f ms: ratios %.2f and %.2f\n",
                entities, least[0] * 1e3, least[1] * 1e3, least[2] * 1e3, least[2] / least[0], least[2] / least[1]);
    unlink(file.c_str());
}

}  // namespace

void documents() {
    const std::string path = "/etc/kavex/conf/bench.xml";
    for (int entities : {100, 1000, 10000}) {
        write_configuration(path, entities);
        race(
            std::to_string(entities) + " entities", entities < 1000 ? 1.15 : 1.10, entities < 10000 ? 300 : 60, 0,
            [&] { save_raw(path, path); }, [] { save_with_store(kvio_open_config("bench.xml", 0)); });
    }
    if (const char *disk = std::getenv("KAVEX_BENCH_DISK"))
        for (int entities : {100, 1000, 10000}) on_disk(disk, entities);
}
