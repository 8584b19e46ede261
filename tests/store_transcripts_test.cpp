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

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <tuple>
#include <utility>

#include "base/text.h"
#include "store/store.h"
#include "tests/support/appliance.h"
#include "tests/support/transcript.h"

namespace {

namespace fs = std::filesystem;
using transcript::argument;
using transcript::Words;

constexpr char fill = '\xfe';

std::string full_path(const std::string &name) { return name[0] == '/' ? name : config_path(name); }

// The XML files that a session may leave elsewhere than in the configuration directory.
std::vector<fs::path> other_files() {
    std::vector<fs::path> found;
    for (const char *directory : {"/etc", "/tmp"})
        for (const auto &entry : fs::directory_iterator(directory))
            if (entry.path().extension() == ".xml") found.push_back(entry);
    return found;
}

// Without indentation.
std::string document_of(const kvio_config_t *config) {
    xmlChar *text = nullptr;
    xmlDocDumpMemory(config->doc, &text, nullptr);
    std::string document = xml::str(text);
    xmlFree(text);
    document.erase(0, document.find("<kavex"));
    return std::regex_replace(document, std::regex(">\\s*\n\\s*<"), "><");
}

// The files and locks there are, and the files of locks by their ids.
struct World {
    std::map<std::string, std::string> things, ids;

    World() {
        std::map<std::string, std::string> names;
        auto look_at = [&](const fs::path &path, const std::string &name) {
            key_t key = ftok(path.c_str(), 0);
            names[std::to_string(key ? key : ftok(path.c_str(), 1))] = name;
            if (!fs::is_regular_file(path)) return;
            std::ostringstream text;
            text << std::oct << file_mode(path) << ' ' << transcript::on_one_line(read_file(path));
            things["file " + name] = text.str();
        };
        for (const auto &entry : fs::recursive_directory_iterator(config_path("")))
            if (!is_redo_file(entry.path())) look_at(entry, fs::path(entry).lexically_relative(config_path("")));
        for (const fs::path &path : other_files()) look_at(path, path);
        std::ifstream locks("/proc/sysvipc/sem");
        std::string line, key, id, mode, count;
        for (std::getline(locks, line); std::getline(locks, line); ids[id] = names[key]) {
            std::istringstream(line) >> key >> id >> mode >> count;
            things["lock " + names[key]] = mode + count == "01" ? "" : "mode " + mode + ", " + count + " semaphores";
        }
    }

    std::string without(const World &other, const std::string &sign) const {
        std::string text;
        for (const auto &[name, what] : things)
            if (!other.things.count(name) || other.things.at(name) != what) text += sign + name + " " + what + "\n";
        return text;
    }
};

class Store : public ApplianceTest, public testing::WithParamInterface<const char *> {
public:
    // Calls with the arguments at hand and says what the result is. It is kept as a handle.
    template <class R, class... T>
    std::string run(R (*function)(T...)) {
        std::tuple<T...> arguments{taken<T>()...};
        EXPECT_TRUE(rest.empty() || rest[0] == "NULL") << "an argument too many: " << rest[0];
        if constexpr (std::is_void_v<R>) {
            outcome = call([&] { std::apply(function, arguments); });
            return "void";
        } else {
            R result{};
            outcome = call([&] { return result = std::apply(function, arguments); });
            if constexpr (std::is_integral_v<R>)
                return std::to_string(result);
            else
                return result ? kept(result) : "null";
        }
    }

protected:
    void SetUp() override {
        ApplianceTest::SetUp();
        for (const fs::path &path : other_files()) fs::remove(path);
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
        static const std::map<std::string, decltype(&kvio_open_list)> openers = {
            {"table", kvio_open_table}, {"list", kvio_open_list}, {"group", kvio_open_group}};
        close();
        write_config("a.xml", text.find("<kavex") == text.npos ? "<kavex><s>" + text + "</s></kavex>" : text);
        kvio_config_t *&config = all<kvio_config_t>()["c"];
        call([&] { return config = kvio_open_config("a.xml", 0); });
        ASSERT_TRUE(config) << text;
        xmlNode *scope = xmlFirstElementChild(xmlDocGetRootElement(config->doc));
        if (!scope || !xml::is_element(scope, "s")) return;
        for (xmlNode *node = xmlFirstElementChild(scope); node; node = xmlNextElementSibling(node)) {
            xml::String name(xmlGetNoNsProp(node, xml::str("name"))), type(xmlGetNoNsProp(node, xml::str("type")));
            const std::string known = xml::str(name ? name.get() : node->name);
            auto opener = openers.find(xml::str(node->name));
            if (opener == openers.end())
                all<kvio_node_t>().emplace(known, node);
            else if (name && type && !all<kvio_iterator_t>().count(known))
                all<kvio_iterator_t>()[known] = opener->second(config, "s", xml::str(type.get()), known.c_str());
        }
    }

    std::string perform(const Words &words) {
        const std::string &verb = words[0], &name = words[1], path = full_path(name);
        if (verb == "$") return each(words);
        if (verb == "file")
            write_file(path, argument(words[3]), static_cast<mode_t>(std::stoul(words[2], nullptr, 8)));
        else if (verb == "directory")
            fs::create_directory(path);
        else if (verb == "pipe")
            EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
        else if (verb == "key")
            faults::set_key(path.c_str(), std::stoi(words[2]), std::stoi(words[3]));
        else if (verb == "damage")
            all<kvio_iterator_t>().at(name)->node = nullptr;
        else if (verb == "with")
            fault = words;
        else
            ADD_FAILURE() << "no " << verb;
        return "";
    }

private:
    template <class T>
    using Handles = std::map<std::string, T *>;
    template <class T>
    Handles<T> &all() {
        return std::get<Handles<T>>(handles);
    }

    // The next argument of an operation, by its type.
    template <class T>
    T taken() {
        if constexpr (std::is_same_v<T, char *>)
            return &buffer[0];
        else if constexpr (std::is_same_v<T, uint32_t *>)
            return rest.empty() ? &number : nullptr;
        else {
            const std::string word = rest.empty() ? "NULL" : rest[0];
            rest.erase(rest.begin(), rest.begin() + (rest.empty() ? 0 : 1));
            if constexpr (std::is_integral_v<T>)
                return static_cast<T>(std::stoll(word));
            else if constexpr (std::is_same_v<T, const char *>)
                return argument(word);
            else {
                EXPECT_TRUE(word == "NULL" || all<std::remove_pointer_t<T>>().count(word)) << "no handle " << word;
                return word == "NULL" ? nullptr : all<std::remove_pointer_t<T>>()[word];
            }
        }
    }

    template <class T>
    std::string kept(T *handle) {
        const bool is_owned = !std::is_same_v<T, kvio_node_t>;
        T *&known = all<T>()[kept_as.empty() && is_owned ? std::to_string(all<T>().size()) : kept_as];
        EXPECT_FALSE(known && is_owned) << "still in use: " << kept_as;
        known = handle;
        return shown(handle);
    }

    static std::string shown(const kvio_config_t *config) { return config->path; }
    static std::string shown(const kvio_iterator_t *container) { return shown(container->node); }
    static std::string shown(const kvio_node_t *node) {
        xml::String path(xmlGetNodePath(const_cast<kvio_node_t *>(node))), name(xmlGetNoNsProp(node, xml::str("name")));
        const std::string place = std::regex_replace(xml::str(path.get()), std::regex("^/kavex/"), "");
        return name ? place + "=" + xml::str(name.get()) : place;
    }
    static std::string shown(const kvio_entities_t *array) {
        std::string text = std::to_string(array->count) + " of " + std::to_string(array->capacity);
        EXPECT_EQ(static_cast<const void *>(array->items), array + 1);
        for (int i = 0; i < array->count; ++i) text += " " + shown(array->items[i]);
        for (int i = array->count; i < array->capacity; ++i) array->items[i] = nullptr;  // there is room
        return text;
    }

    using Choices = std::vector<std::pair<std::string, Words>>;
    static void choose(Words words, size_t at, const std::string &label, Choices &choices) {
        while (at < words.size() && words[at][0] != '{') ++at;
        if (at == words.size()) return static_cast<void>(choices.emplace_back(label, words));
        for (const std::string &one : transcript::alternatives(words[at])) {
            words[at] = one;
            choose(words, at + 1, label.empty() ? one : label + " " + one, choices);
        }
    }

    // The operation with the first alternative of each word, then with each other one; what shows the same is shown
    // once.
    std::string each(const Words &words) {
        Choices choices;
        choose(words, 0, "", choices);
        std::string text, latest;
        for (const auto &[label, chosen] : choices) {
            const std::string now = (label.empty() ? "" : ": ") + performed(chosen);
            if (now == latest)
                text.insert(text.size() - latest.size(), ", " + label);
            else
                text += "    " + label + now;
            latest = now;
        }
        return text;
    }

    void plan_fault() {
        int error = 0;
        for (int known = 1; known < 134; ++known)
            if (fault[3] == ::shown(strerrorname_np(known))) error = known;
        const faults::Extent extent = fault[2].back() == '+' ? faults::from_then_on : faults::once;
        if (error)
            faults::fail(argument(fault[1]), error, std::stoi(fault[2]), extent);
        else
            faults::shorten(argument(fault[1]), 0, std::stoi(fault[2]), extent);
    }

    std::string performed(const Words &words);
    std::string written() const;

    std::tuple<Handles<kvio_config_t>, Handles<kvio_iterator_t>, Handles<kvio_node_t>, Handles<kvio_entities_t>>
        handles;
    std::map<std::string, std::string> ids;  // of the locks that were there
    Words fault;                             // of the next operation
    // Of the operation:
    Words rest;  // the arguments that are not taken yet
    std::string kept_as, buffer;
    uint32_t number = 0;
    Outcome outcome;
};

using Operation = std::function<std::string(Store &)>;

template <class R, class... T>
Operation operation(R (*function)(T...)) {
    return [=](Store &store) { return store.run(function); };
}

#define KVIO(name) \
    { "kvio_" #name, operation(kvio_##name) }
const std::map<std::string, Operation> operations = {KVIO(open_config),
                                                     KVIO(save_config),
                                                     KVIO(save_as),
                                                     KVIO(close_config),
                                                     KVIO(copy_config),
                                                     KVIO(rename_config),
                                                     KVIO(remove_config),
                                                     KVIO(create_table),
                                                     KVIO(create_list),
                                                     KVIO(create_group),
                                                     KVIO(open_table),
                                                     KVIO(open_list),
                                                     KVIO(open_group),
                                                     KVIO(dispose_table),
                                                     KVIO(dispose_list),
                                                     KVIO(dispose_group),
                                                     KVIO(close_table),
                                                     KVIO(close_list),
                                                     KVIO(close_group),
                                                     KVIO(dump),
                                                     KVIO(restore),
                                                     KVIO(backup_scope),
                                                     KVIO(restore_scope),
                                                     KVIO(create_checkpoint),
                                                     KVIO(rollback_checkpoint),
                                                     KVIO(release_checkpoint),
                                                     KVIO(define),
                                                     KVIO(define2),
                                                     KVIO(undefine),
                                                     KVIO(compare_name),
                                                     KVIO(name),
                                                     KVIO(name2),
                                                     KVIO(set),
                                                     KVIO(set2),
                                                     KVIO(unset),
                                                     KVIO(get),
                                                     KVIO(get2),
                                                     KVIO(getlen),
                                                     KVIO(join),
                                                     KVIO(remove),
                                                     KVIO(change_container_element),
                                                     KVIO(append),
                                                     KVIO(insert),
                                                     KVIO(delete),
                                                     KVIO(size),
                                                     KVIO(real_size),
                                                     KVIO(check_loop),
                                                     KVIO(retrieve_all),
                                                     KVIO(retrieve_all2),
                                                     KVIO(retrieve_entity),
                                                     KVIO(regain_index),
                                                     KVIO(regain_index2),
                                                     KVIO(retrieve_index),
                                                     KVIO(list_entities),
                                                     KVIO(entity_count),
                                                     KVIO(alloc_entities),
                                                     KVIO(free_entities),
                                                     KVIO(setattr_entity),
                                                     KVIO(unsetattr_entity),
                                                     KVIO(getattr_entity),
                                                     KVIO(getattr_entity2),
                                                     KVIO(setattr_container),
                                                     KVIO(unsetattr_container),
                                                     KVIO(getattr_container),
                                                     KVIO(getattr_container2),
                                                     KVIO(increase_entity_attr),
                                                     KVIO(decrease_entity_attr)};

// The lines it wrote. A lock is called by its file: its id is another one in every run.
std::string Store::written() const {
    std::string text;
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
    return text;
}

std::string Store::performed(const Words &words) {
    const size_t at = words.size() > 2 && words[2] == "=" ? 3 : 1;
    kept_as = at == 3 ? words[1] : "";
    const std::string &function = words[at], of = words.size() > at + 1 ? words[at + 1] : "";
    if (!operations.count(function)) return "no operation\n";
    rest.assign(words.begin() + static_cast<int>(at) + 1, words.end());
    buffer.assign(1024, fill);
    number = untouched;
    all<kvio_node_t>().erase("");
    std::map<std::string, std::string> documents;
    for (const auto &[key, config] : all<kvio_config_t>()) documents[key] = document_of(config);
    const World before;
    if (!fault.empty()) plan_fault();
    std::string text = operations.at(function)(*this);
    // One that struck in another process shows in the outcome alone.
    EXPECT_TRUE(fault.empty() || faults::struck() || outcome.code != 0) << "no fault in " << function;
    fault.clear();
    if (function == "kvio_create_checkpoint") kvio_release_checkpoint(std::exchange(all<kvio_node_t>()[""], nullptr));
    if (function.rfind("kvio_close", 0) == 0 || function == "kvio_free_entities")
        std::apply([&](auto &...kinds) { (kinds.erase(of), ...); }, handles);
    const World after;
    for (const auto &[id, file] : after.ids) ids[id] = file;
    text += " " + (outcome.code == untouched ? "-" : std::to_string(outcome.code));
    buffer.erase(buffer.find_last_not_of(fill) + 1);
    if (!buffer.empty()) text += " \"" + transcript::on_one_line(buffer) + "\"";
    if (number != untouched) text += " =" + std::to_string(number);
    text += "\n" + written();
    for (const auto &[key, config] : all<kvio_config_t>())
        if (documents.count(key)) text += transcript::difference_within(documents[key], document_of(config));
    return text + before.without(after, "    - ") + after.without(before, "    + ");
}

TEST_P(Store, ShowsWhatIsSeen) {
    transcript::play(
        std::string(TRANSCRIPTS) + GetParam() + ".t", [&](const std::string &text) { load(text); },
        [&](const Words &words) { return perform(words); });
}

INSTANTIATE_TEST_SUITE_P(Of, Store,
                         testing::Values("documents", "containers", "backups", "entities", "scopes", "membership",
                                         "retrieval", "attributes"),
                         [](const auto &of) { return std::string(of.param); });

}  // namespace
