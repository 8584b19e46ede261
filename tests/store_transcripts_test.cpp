// The store as transcripts: tests/store/NAME.t holds sessions with it, each operation followed by all that can be seen.
//
//     > <t name="e"/><list name="l" type="t"/>    writes and opens a.xml with these elements in its scope "s", or with
//                                                 this whole document; the handle is c, and every entity and container
//                                                 of the scope has one of its name
//     file b.xml 640 TEXT                         writes a file, in the configuration directory as long as it has no
//                                                 other; directory b and pipe b make these
//     key a.xml 0 0                               gives a file this ftok() key for a project
//     damage l                                    takes the container element from a handle
//     with read 3 EIO                             the third read of the next operation fails, 3+: all from that one on;
//                                                 short: it moves nothing
//     $ n = kvio_define2 c s t n                  an operation, whose result may be kept. Room for results is not
//                                                 mentioned, other than NULL
//     $ kvio_get2 e f {0,1,2}                     the same with each of these in its place
//         1 0 "v\0" =7                            its result, kvio_errno or - when that is as before, the bytes that
//                                                 it wrote, a number that it gave. Nodes are shown as their place and
//                                                 name, arrays as count, capacity and nodes
//         err kvio_get2() ...                     what it wrote to the standard error stream, and log: to the log
//         - 3 <t name="a" ...                     the nodes that went from the document, and, with +, those that came,
//                                                 with their places
//         + lock a.xml                            locks, and files with mode and text, that came (+) and went (-)
#include <libxml/tree.h>
#include <sys/ipc.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <tuple>

#include "base/text.h"
#include "store/store.h"
#include "tests/support/appliance.h"
#include "tests/support/transcript.h"

namespace {

namespace fs = std::filesystem;
using transcript::argument;
using transcript::Words;

constexpr uint32_t unset = 4711;
constexpr char fill = '\xfe';

std::string full_path(const std::string &name) { return name[0] == '/' ? name : config_path(name); }

// Without indentation.
std::string document_of(const kvio_config_t *config) {
    xmlChar *text = nullptr;
    int size = 0;
    xmlDocDumpMemory(config->doc, &text, &size);
    std::string document(reinterpret_cast<char *>(text), static_cast<size_t>(size));
    xmlFree(text);
    document.erase(0, document.find("<kavex"));
    return std::regex_replace(document, std::regex(">\\s*\n\\s*<"), "><");
}

// The files and locks there are, and the locks by their ids.
struct World {
    std::map<std::string, std::string> things, ids;

    World() {
        std::map<std::string, std::string> names;
        auto look_at = [&](const fs::directory_entry &entry, const std::string &name) {
            key_t key = ftok(entry.path().c_str(), 0);
            names[std::to_string(key ? key : ftok(entry.path().c_str(), 1))] = name;
            if (!entry.is_regular_file()) return;
            std::ostringstream mode;
            mode << std::oct << file_mode(entry.path());
            things["file " + name] = mode.str() + " " + transcript::on_one_line(read_file(entry.path()));
        };
        for (const auto &entry : fs::recursive_directory_iterator(config_path("")))
            look_at(entry, fs::path(entry).lexically_relative(config_path("")));
        for (const char *directory : {"/etc", "/tmp"})
            for (const auto &entry : fs::directory_iterator(directory))
                if (entry.path().extension() == ".xml") look_at(entry, entry.path());
        std::ifstream locks("/proc/sysvipc/sem");
        std::string line, key, id, mode, count;
        for (std::getline(locks, line); std::getline(locks, line);) {
            std::istringstream(line) >> key >> id >> mode >> count;
            things["lock " + names[key]] = mode + count == "01" ? "" : "mode " + mode + ", " + count + " semaphores";
            ids[id] = names[key];
        }
    }
};

std::string difference(const World &before, const World &after) {
    std::string text;
    auto lacking = [&](const char *sign, const World &a, const World &b) {
        for (const auto &[name, what] : a.things)
            if (!b.things.count(name) || b.things.at(name) != what)
                text += std::string("    ") + sign + " " + name + " " + what + "\n";
    };
    lacking("-", before, after);
    lacking("+", after, before);
    return text;
}

class Store : public ApplianceTest, public testing::WithParamInterface<const char *> {
public:
    template <class T>
    using Handles = std::map<std::string, T *>;

    template <class T>
    Handles<T> &all() {
        return std::get<Handles<T>>(handles);
    }

    // The next argument of an operation, by its type.
    template <class T>
    T taken() {
        if constexpr (std::is_same_v<T, char *>) return &buffer[0];
        else if constexpr (std::is_same_v<T, uint32_t *>) return rest.empty() ? &number : nullptr;
        else {
            const std::string word = rest.empty() ? "" : rest[0];
            EXPECT_FALSE(rest.empty());
            if (!rest.empty()) rest.erase(rest.begin());
            if constexpr (std::is_integral_v<T>) return static_cast<T>(std::stoll(word));
            else if constexpr (std::is_same_v<T, const char *>) return argument(word);
            else {
                auto found = all<std::remove_pointer_t<T>>().find(word);
                const bool is_known = found != all<std::remove_pointer_t<T>>().end();
                EXPECT_TRUE(is_known || word == "NULL") << "no handle " << word;
                return is_known ? found->second : nullptr;
            }
        }
    }

    std::string shown(int result) { return std::to_string(result); }
    std::string shown(const kvio_config_t *config) { return config->path; }
    std::string shown(const kvio_iterator_t *container) { return shown(container->node); }
    std::string shown(const kvio_node_t *node) {
        xmlChar *path = xmlGetNodePath(const_cast<kvio_node_t *>(node)), *name = xmlGetNoNsProp(node, xml::str("name"));
        std::string text = xml::str(path);
        if (text.rfind("/kavex/", 0) == 0) text.erase(0, 7);
        if (name) text += std::string("=") + xml::str(name);
        xmlFree(path);
        xmlFree(name);
        return text;
    }
    std::string shown(const kvio_entities_t *array) {
        std::string text = std::to_string(array->count) + " of " + std::to_string(array->capacity);
        EXPECT_EQ(static_cast<const void *>(array->items), array + 1);
        for (int i = 0; i < array->count; ++i) text += " " + shown(array->items[i]);
        for (int i = array->count; i < array->capacity; ++i) array->items[i] = nullptr;  // there is room
        return text;
    }

    // Calls with the arguments at hand, keeps a handle under `name`, and says what the result is.
    template <class R, class... T>
    std::string run(R (*function)(T...), const std::string &name, Outcome &outcome) {
        std::tuple<T...> arguments{taken<T>()...};
        EXPECT_TRUE(rest.empty() || rest[0] == "NULL") << "an argument too many: " << rest[0];
        if constexpr (std::is_void_v<R>) {
            outcome = call([&] { std::apply(function, arguments); });
            return "void";
        } else {
            R result{};
            outcome = call([&] { return result = std::apply(function, arguments); });
            if constexpr (std::is_pointer_v<R>) {
                if (!result) return "null";
                auto &known = all<std::remove_pointer_t<R>>();
                known[name.empty() ? std::to_string(known.size()) : name] = result;
            }
            const std::string text = shown(result);
            if constexpr (std::is_same_v<R (*)(T...), decltype(&kvio_create_checkpoint)>)
                if (name.empty()) kvio_release_checkpoint(result);
            return text;
        }
    }

    Words rest;  // the arguments that are not taken yet

private:
    std::string buffer;
    uint32_t number = unset;
    std::tuple<Handles<kvio_config_t>, Handles<kvio_iterator_t>, Handles<kvio_node_t>, Handles<kvio_entities_t>> handles;
    std::map<std::string, std::string> ids;  // of the locks that were there
    std::function<void()> fault;

protected:
    void SetUp() override {
        ApplianceTest::SetUp();
        for (const char *directory : {"/etc", "/tmp"})
            for (const auto &entry : fs::directory_iterator(directory))
                if (entry.path().extension() == ".xml") fs::remove(entry);
        umask(022);
        kvio_initialize();
    }

    void TearDown() override {
        close();
        ApplianceTest::TearDown();
    }

    void close() {
        for (auto &[name, container] : all<kvio_iterator_t>()) kvio_close_list(container);
        for (auto &[name, array] : all<kvio_entities_t>()) kvio_free_entities(array);
        for (auto &[name, config] : all<kvio_config_t>()) call([closed = config] { return kvio_close_config(closed); });
        handles = {};
    }

    void load(const std::string &text) {
        close();
        write_config("a.xml", text.find("<kavex") == text.npos ? "<kavex><s>" + text + "</s></kavex>" : text);
        kvio_config_t *config = nullptr;
        call([&] { return config = kvio_open_config("a.xml", 0); });
        ASSERT_TRUE(config) << text;
        all<kvio_config_t>()["c"] = config;
        const xmlNode *scope = xml::first_element(xmlDocGetRootElement(config->doc)->children);
        if (scope && !xml::is_element(scope, "s")) return;
        for (xmlNode *node = scope ? xml::first_element(scope->children) : nullptr; node;
             node = xml::first_element(node->next)) {
            xml::String name(xmlGetNoNsProp(node, xml::str("name"))), type(xmlGetNoNsProp(node, xml::str("type")));
            const std::string known = xml::str(name ? name.get() : node->name);
            const auto open = xml::is_element(node, "table")   ? kvio_open_table
                              : xml::is_element(node, "list")  ? kvio_open_list
                              : xml::is_element(node, "group") ? kvio_open_group
                                                               : nullptr;
            if (!open) all<kvio_node_t>().emplace(known, node);
            else if (name && type && !all<kvio_iterator_t>().count(known))
                all<kvio_iterator_t>()[known] = open(config, "s", xml::str(type.get()), known.c_str());
        }
    }

    std::string perform(const Words &words) {
        const std::string &verb = words[0], &name = words[1];
        if (verb == "$") return each(words);
        if (verb == "file") write_file(full_path(name), words[3] == "-" ? "" : argument(words[3]), static_cast<mode_t>(std::stoul(words[2], nullptr, 8)));
        else if (verb == "directory") fs::create_directory(full_path(name));
        else if (verb == "pipe") EXPECT_EQ(mkfifo(full_path(name).c_str(), 0600), 0);
        else if (verb == "key") faults::set_key(full_path(name).c_str(), std::stoi(words[2]), std::stoi(words[3]));
        else if (verb == "damage") all<kvio_iterator_t>().at(name)->node = nullptr;
        else if (verb == "with") fault = [this, words] { plan(words); };
        else ADD_FAILURE() << "no " << verb;
        return "";
    }

    static void plan(const Words &words) {
        const faults::Extent extent = words[2].back() == '+' ? faults::from_then_on : faults::once;
        const char *function = argument(words[1]);
        if (words[3] == "short") return faults::shorten(function, 0, std::stoi(words[2]), extent);
        int error = 0;
        for (int known = 1; known < 134; ++known)
            if (words[3] == ::shown(strerrorname_np(known))) error = known;
        EXPECT_NE(error, 0) << "no " << words[3];
        faults::fail(function, error, std::stoi(words[2]), extent);
    }

    // The operation with the first alternative of each word, then with each other one; what shows the same is shown
    // once.
    std::string each(const Words &words) {
        std::vector<std::pair<std::string, Words>> all = {{"", {}}};
        for (const std::string &word : words) {
            std::vector<std::pair<std::string, Words>> longer;
            for (const auto &[label, chosen] : all)
                for (const std::string &alternative : transcript::alternatives(word)) {
                    longer.emplace_back(label, chosen);
                    longer.back().second.push_back(alternative);
                    if (word[0] == '{') longer.back().first += (label.empty() ? "" : " ") + alternative;
                }
            all = longer;
        }
        std::string text, latest;
        for (const auto &[label, chosen] : all) {
            const std::string shown = (label.empty() ? "" : ": ") + performed(chosen);
            if (shown == latest) text.insert(text.size() - latest.size(), ", " + label);
            else text += "    " + label + shown;
            latest = shown;
        }
        return text;
    }

    std::string performed(const Words &words);
};

using Operation = std::function<std::string(Store &, const std::string &, Outcome &)>;

template <class R, class... T>
Operation operation(R (*function)(T...)) {
    return [=](Store &store, const std::string &name, Outcome &outcome) { return store.run(function, name, outcome); };
}

#define OPERATION(function) {#function, operation(function)}
const std::map<std::string, Operation> operations = {
    OPERATION(kvio_open_config), OPERATION(kvio_save_config), OPERATION(kvio_save_as), OPERATION(kvio_close_config),
    OPERATION(kvio_copy_config), OPERATION(kvio_rename_config), OPERATION(kvio_remove_config),
    OPERATION(kvio_create_table), OPERATION(kvio_create_list), OPERATION(kvio_create_group),
    OPERATION(kvio_open_table), OPERATION(kvio_open_list), OPERATION(kvio_open_group), OPERATION(kvio_dispose_table),
    OPERATION(kvio_dispose_list), OPERATION(kvio_dispose_group), OPERATION(kvio_close_table),
    OPERATION(kvio_close_list), OPERATION(kvio_close_group), OPERATION(kvio_dump), OPERATION(kvio_restore),
    OPERATION(kvio_backup_scope), OPERATION(kvio_restore_scope), OPERATION(kvio_create_checkpoint),
    OPERATION(kvio_rollback_checkpoint), OPERATION(kvio_release_checkpoint), OPERATION(kvio_define),
    OPERATION(kvio_define2), OPERATION(kvio_undefine), OPERATION(kvio_compare_name), OPERATION(kvio_name),
    OPERATION(kvio_name2), OPERATION(kvio_set), OPERATION(kvio_set2), OPERATION(kvio_unset), OPERATION(kvio_get),
    OPERATION(kvio_get2), OPERATION(kvio_getlen), OPERATION(kvio_join), OPERATION(kvio_remove),
    OPERATION(kvio_change_container_element), OPERATION(kvio_append), OPERATION(kvio_insert), OPERATION(kvio_delete),
    OPERATION(kvio_size), OPERATION(kvio_real_size), OPERATION(kvio_check_loop), OPERATION(kvio_retrieve_all),
    OPERATION(kvio_retrieve_all2), OPERATION(kvio_retrieve_entity), OPERATION(kvio_regain_index),
    OPERATION(kvio_regain_index2), OPERATION(kvio_retrieve_index), OPERATION(kvio_list_entities),
    OPERATION(kvio_entity_count), OPERATION(kvio_alloc_entities), OPERATION(kvio_free_entities),
    OPERATION(kvio_setattr_entity), OPERATION(kvio_unsetattr_entity), OPERATION(kvio_getattr_entity),
    OPERATION(kvio_getattr_entity2), OPERATION(kvio_setattr_container), OPERATION(kvio_unsetattr_container),
    OPERATION(kvio_getattr_container), OPERATION(kvio_getattr_container2), OPERATION(kvio_increase_entity_attr),
    OPERATION(kvio_decrease_entity_attr)};

std::string Store::performed(const Words &words) {
    const bool is_kept = words.size() > 2 && words[2] == "=";
    const std::string name = is_kept ? words[1] : "", &function = words[is_kept ? 3 : 1];
    rest.assign(words.begin() + (is_kept ? 4 : 2), words.end());
    if (!operations.count(function)) return "no operation\n";
    const std::string of = rest.empty() ? "" : rest[0];
    std::map<std::string, std::string> documents;
    for (const auto &[key, config] : all<kvio_config_t>()) documents[key] = document_of(config);
    const World before;
    buffer.assign(1024, fill);
    number = unset;
    if (fault) fault();
    Outcome outcome;
    std::string text = operations.at(function)(*this, name, outcome);
    EXPECT_TRUE(!fault || faults::struck()) << "no fault in " << function;
    fault = nullptr;
    if (function.rfind("kvio_close", 0) == 0 || function == "kvio_free_entities")
        std::apply([&](auto &...kinds) { (kinds.erase(of), ...); }, handles);
    text += " " + (outcome.code == untouched ? "-" : std::to_string(outcome.code));
    const size_t written = buffer.find_last_not_of(fill) + 1;
    if (written) text += " \"" + transcript::on_one_line(buffer.substr(0, written)) + "\"";
    if (number != unset) text += " =" + std::to_string(number);
    text += "\n";
    const World after;
    for (const auto &[id, file] : after.ids) ids[id] = file;
    std::istringstream err(outcome.err), log(outcome.log);
    for (std::string line; std::getline(err, line);) {
        for (const auto &[id, file] : ids)
            for (const char *end : {")", " is removed"}) {
                const size_t at = line.rfind(" " + id + end);
                if (at != line.npos) line.replace(at + 1, id.size(), "<lock of " + file + ">");
            }
        text += "    err " + line + (err.eof() ? " without end" : "") + "\n";
    }
    for (std::string line; std::getline(log, line);) text += "    log " + line + "\n";
    for (const auto &[key, document] : documents)
        if (all<kvio_config_t>().count(key))
            text += transcript::difference_within(document, document_of(all<kvio_config_t>()[key]));
    return text + difference(before, after);
}

TEST_P(Store, ShowsWhatIsSeen) {
    transcript::play(std::string(TRANSCRIPTS) + GetParam() + ".t", [&](const std::string &text) { load(text); },
                     [&](const Words &words) { return perform(words); });
}

INSTANTIATE_TEST_SUITE_P(Of, Store,
                         testing::Values("documents", "containers", "backups", "entities", "scopes", "membership",
                                         "retrieval", "attributes"),
                         [](const auto &of) { return std::string(of.param); });

}  // namespace
