// Sessions with the library as they are read: each call with its outcome, and at the end the documents that changed.
// An empty line begins another session, with no files and nothing open.
//
//     # a remark
//     > <t name="e"/><list name="l" type="t"/>   writes and opens a.xml with these elements in its scope "s", or with
//                                                this whole document; the handle is c, and every entity and container
//                                                of the scope has one of its name
//     file b.xml 640 TEXT                        writes a file, in the configuration directory as long as it has no
//                                                other; directory b and pipe b make these
//     key a.xml 0 0                              gives a file this ftok() key for a project
//     damage l                                   takes the container element from a handle
//     with read 3+ EIO                           the third read of the next call fails, and all that follow; short: it
//                                                moves nothing
//     show b.xml = 640 TEXT                      a file and its mode
//     let NAME = TEXT                            <NAME> stands for this text in outcomes
//     n = kvio_define2 c s t n = s/t=n           a call, whose result may be kept, and its outcome. Room for results is
//                                                not mentioned, other than NULL. A record of a list or group is its
//                                                name and what is changed in it: g-begin+max_groups=3
//     kvio_get2 e f {0,1,2} = 1 | ^ | 1 "\0"     the call with each of these in its place; ^ is the outcome before,
//                                                which goes for those behind the last one, too
//     every use_group g = 0; ~group=g | 1 by kvio_open_group
//                                                the call, and with each callback and each call of the store failing
//                                                in turn; what changed in the scope
//     < <t name="e"/>                            the document c, or that of another handle, if it changed
//
// An outcome is the result; kvio_errno, if it is not 0 ("-" for: as before); the bytes written; a number given; the
// callbacks with their arguments; after a semicolon, files and locks that changed; after a colon, what was written to the
// standard error stream (of the object layer only what begins with "%") and to the log. Nodes are shown as place and
// name, arrays as count, capacity and nodes, "@" is the function and "~" the configuration directory.
//
// The modes play the same sessions with each allocation of each call failing in turn. Then the call does all of its work
// or fails, changes nothing, and leaves nothing behind.
#include <libxml/tree.h>
#include <libxml/xmlerror.h>
#include <sys/ipc.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <tuple>
#include <utility>

#include "base/text.h"
#include "store/store.h"
#include "tests/play/form.h"
#include "tests/play/functions.h"
#include "tests/play/records.h"
#include "tests/support/appliance.h"

namespace {

namespace fs = std::filesystem;
using form::Words;

constexpr char fill = '\xfe';

std::string full_path(const std::string &name) { return name[0] == '/' ? name : config_path(form::expanded(name)); }

std::string replaced(std::string text, const std::string &what, const std::string &with) {
    for (size_t at = 0; (at = text.find(what, at)) != text.npos; at += with.size()) text.replace(at, what.size(), with);
    return text;
}

// The elements of the scope "s", or the whole document where there is more, without indentation.
std::string document_of(const kvio_config_t *config) {
    xmlChar *text = nullptr;
    xmlDocDumpMemory(config->doc, &text, nullptr);
    std::string document = xml::str(text);
    xmlFree(text);
    document = std::regex_replace(document.substr(document.find("<kavex")), std::regex(">\\s*\n\\s*(<|$)"), ">$1");
    std::smatch parts;
    const bool is_scope =
        std::regex_match(document, parts, std::regex("<kavex><s>([^]*)</s></kavex>|<kavex><s/></kavex>"));
    return is_scope ? parts[1].str() : document;
}

// The children of the scope "s", or the first one, by kind and name.
std::map<std::string, std::string> parts_of(const kvio_config_t *config) {
    std::map<std::string, std::string> parts;
    xmlNode *scope = xmlFirstElementChild(xmlDocGetRootElement(config->doc));
    for (xmlNode *node = scope ? xmlFirstElementChild(scope) : nullptr; node; node = xmlNextElementSibling(node)) {
        xml::String name(xmlGetNoNsProp(node, xml::str("name")));
        const std::unique_ptr<xmlBuffer, void (*)(xmlBuffer *)> text(xmlBufferCreate(), xmlBufferFree);
        xmlNodeDump(text.get(), config->doc, node, 0, 0);
        parts[std::string(xml::str(node->name)) + "=" + (name ? xml::str(name.get()) : "")] = xml::str(text->content);
    }
    return parts;
}

// Everything outside a call: files with mode and text, locks, and the document of each handle.
struct State {
    std::map<std::string, std::string> things, documents;
    std::map<std::string, std::string> ids;  // of locks, with their files

    void look_at(const fs::path &path, const std::string &name, std::map<std::string, std::string> &keys) {
        key_t key = ftok(path.c_str(), 0);
        keys[std::to_string(key ? key : ftok(path.c_str(), 1))] = name;
        if (!fs::is_regular_file(path)) return;
        std::ostringstream text;
        text << std::oct << file_mode(path) << ' ' << form::on_one_line(read_file(path));
        things[name] = text.str();
    }
    State() {
        std::map<std::string, std::string> keys;
        for (const auto &entry : fs::recursive_directory_iterator(config_path("")))
            if (!is_redo_file(entry.path())) look_at(entry, fs::path(entry).lexically_relative(config_path("")), keys);
        for (const char *directory : {"/etc", "/tmp"})
            for (const auto &entry : fs::directory_iterator(directory))
                if (entry.path().extension() == ".xml") look_at(entry, entry.path(), keys);
        std::ifstream locks("/proc/sysvipc/sem");
        std::string line, key, id, mode, count;
        for (std::getline(locks, line); std::getline(locks, line); ids[id] = keys[key]) {
            std::istringstream(line) >> key >> id >> mode >> count;
            things["lock of " + keys[key]] = mode + count == "01" ? "" : mode + " " + count;
        }
    }
    bool operator==(const State &other) const { return things == other.things && documents == other.documents; }
};

// What came, went and changed.
std::string difference(const std::map<std::string, std::string> &before,
                       const std::map<std::string, std::string> &after) {
    std::string text;
    for (const auto &[name, what] : before)
        if (!after.count(name)) text += " -" + name;
    for (const auto &[name, what] : after) {
        if (!before.count(name)) text += " +" + name;
        if (before.count(name) && before.at(name) != what) text += " ~" + name;
    }
    return text.empty() ? "" : ";" + form::on_one_line(text);
}

// What can be seen of a call.
struct Seen {
    std::string text;
    bool failed = false, kept = false;
    int code = 0;
};

// A call that a session has to be played up to.
struct Reached {};

class Session {
public:
    using Observer = std::function<Seen(const Words &)>;

    // Plays the lines of a session from the beginning, with each call left to an observer. Gives the lines as they are
    // to be.
    std::string play(const Words &lines, const Observer &observer);
    // Plays the session until so many calls are done, as they are.
    void play_up_to(const Words &lines, size_t calls);
    // Makes one call.
    Seen call(const Words &words);
    // Closes all and removes all files.
    void reset();
    State state();
    size_t calls() const { return calls_; }
    bool has_fault() const { return !fault_.empty(); }

    // Calls a function with the words at hand for its arguments and says what the result is, which is kept.
    template <class R, class... T>
    std::string run(R (*function)(T...)) {
        std::tuple<T...> arguments{taken(static_cast<T *>(nullptr))...};
        EXPECT_TRUE(rest_.empty() || rest_[0] == "NULL") << "an argument too many: " << rest_[0];
        if constexpr (std::is_void_v<R>) {
            outcome_ = ::call([&] { std::apply(function, arguments); });
            return "void";
        } else {
            R result{};
            outcome_ = ::call([&] { return result = std::apply(function, arguments); });
            seen_.failed = result == R{} || (std::is_integral_v<R> && outcome_.result < 0);
            return given(result);
        }
    }

private:
    template <class T>
    using Handles = std::map<std::string, T *>;
    template <class T>
    Handles<T> &all() {
        return std::get<Handles<T>>(handles_);
    }
    std::string next_word() {
        const std::string word = rest_.empty() ? "NULL" : rest_[0];
        if (!rest_.empty()) rest_.erase(rest_.begin());
        return word;
    }

    // The next argument, by its type.
    const char *taken(const char **) { return form::argument(next_word()); }
    char *taken(char **) { return &buffer_[0]; }
    void *taken(void **) { return records::data(form::argument(next_word())); }
    uint32_t *taken(uint32_t **) { return rest_.empty() ? &number_ : nullptr; }
    int *taken(int **) { return reinterpret_cast<int *>(&number_); }
    const list_desc_t *taken(const list_desc_t **) { return record(records::list); }
    const group_desc_t *taken(const group_desc_t **) { return record(records::group); }
    group_desc_t *taken(group_desc_t **) { return group_ = record(records::group); }
    user_profile_t *taken(user_profile_t **) { return &profile_; }
    template <class T>
    T taken(T *) {
        const std::string word = next_word();
        if constexpr (std::is_integral_v<T>)
            return static_cast<T>(std::stoll(word));
        else {
            EXPECT_TRUE(word == "NULL" || all<std::remove_pointer_t<T>>().count(word)) << "no handle " << word;
            return word == "NULL" ? nullptr : all<std::remove_pointer_t<T>>()[word];
        }
    }
    template <class Make>
    auto record(Make make) -> decltype(make(nullptr, "")) {
        const std::string word = form::expanded(next_word());
        return word == "NULL" ? nullptr : make(all<kvio_config_t>()["c"], word);
    }

    // What a result is. A handle is kept by its name, or given back.
    std::string given(long long number) { return std::to_string(number); }
    std::string given(const char *text) { return text ? text : "null"; }
    std::string given(void *handle) { return handle ? "handle" : "null"; }
    template <class T>
    std::string given(T *handle) {
        if (!handle) return "null";
        const std::string text = shown(handle);
        seen_.kept = !kept_as_.empty();
        if (seen_.kept) all<T>()[kept_as_] = handle;
        if constexpr (std::is_same_v<T, kvio_config_t>)
            if (seen_.kept) first_documents_[kept_as_] = document_of(handle);
        if (!seen_.kept) unnamed_ = [=] { release(handle); };
        return text;
    }
    void release(kvio_config_t *config) { kvio_close_config(config); }
    void release(kvio_iterator_t *container) { kvio_close_list(container); }
    void release(kvio_entities_t *array) { kvio_free_entities(array); }
    void release(kvio_node_t *node) {
        if (function_ == "kvio_create_checkpoint") kvio_release_checkpoint(node);
    }
    void release(user_profile_t *profile) { free_user_profile(profile); }
    void release(user_group_t *group) { free_user_group(group); }

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
    static std::string shown(const user_profile_t *profile) { return profile->name; }
    static std::string shown(const user_group_t *group) {
        std::string text = std::to_string(group->member_count);
        for (int i = 0; i < group->member_count; ++i) text += std::string(" ") + group->members[i].name;
        return text;
    }

    void close();
    void load(const std::string &text);
    std::string perform(const Words &words, const Observer &observer);
    std::string every(const Words &words);
    std::string changed_documents();
    void plan_fault();
    std::string messages() const;

    const Words *lines_ = nullptr;  // of the session that is played
    size_t calls_ = 0;              // that it has made
    std::tuple<Handles<kvio_config_t>, Handles<kvio_iterator_t>, Handles<kvio_node_t>, Handles<kvio_entities_t>,
               Handles<user_profile_t>, Handles<user_group_t>>
        handles_;
    std::map<std::string, std::string> first_documents_;  // of the handles
    std::set<std::string> checkpoints_;                   // among the nodes
    std::map<std::string, std::string> ids_;              // of all locks there were
    std::map<std::string, std::string> texts_;            // and their names
    Words fault_;                                         // of the next call
    // Of the call:
    std::string function_, kept_as_, buffer_;
    Words rest_;  // the arguments that are not taken yet
    uint32_t number_ = 0;
    group_desc_t *group_ = nullptr;
    user_profile_t profile_ = {};
    std::function<void()> unnamed_;  // gives the result back
    Outcome outcome_;
    Seen seen_;
};

const std::map<std::string, std::function<std::string(Session &)>> functions = [] {
    std::map<std::string, std::function<std::string(Session &)>> table;
    each_function([&](const char *name, auto function) {
        table[name] = [=](Session &session) { return session.run(function); };
    });
    return table;
}();

void Session::close() {
    ::call([&] {
        for (auto &[name, container] : all<kvio_iterator_t>()) release(container);
        for (auto &[name, array] : all<kvio_entities_t>()) release(array);
        for (const std::string &name : checkpoints_) kvio_release_checkpoint(all<kvio_node_t>()[name]);
        for (auto &[name, config] : all<kvio_config_t>()) release(config);
        xmlResetLastError();
    });
    handles_ = {};
    checkpoints_.clear();
    first_documents_.clear();
}

void Session::reset() {
    close();
    faults::clear();
    fault_.clear();
    texts_.clear();
    for (const char *directory : {"/etc/kavex/conf", "/etc/kavex/conf/small", "/etc", "/tmp"})
        for (const auto &entry : fs::directory_iterator(directory))
            if (std::strlen(directory) > 5 ? entry.path().filename() != "small" : entry.path().extension() == ".xml")
                fs::remove_all(entry);
}

void Session::load(const std::string &text) {
    close();
    write_config("a.xml", text.find("<kavex") == text.npos ? "<kavex><s>" + text + "</s></kavex>" : text);
    kvio_config_t *&config = all<kvio_config_t>()["c"];
    ::call([&] { return config = kvio_open_config("a.xml", 0); });
    ASSERT_TRUE(config) << text;
    first_documents_["c"] = document_of(config);
    xmlNode *scope = xmlFirstElementChild(xmlDocGetRootElement(config->doc));
    if (!scope || !xml::is_element(scope, "s")) return;
    for (xmlNode *node = xmlFirstElementChild(scope); node; node = xmlNextElementSibling(node)) {
        xml::String name(xmlGetNoNsProp(node, xml::str("name"))), type(xmlGetNoNsProp(node, xml::str("type")));
        const std::string known = xml::str(name ? name.get() : node->name), kind = xml::str(node->name);
        if (kind != "table" && kind != "list" && kind != "group")
            all<kvio_node_t>().emplace(known, node);
        else if (name && type && !all<kvio_iterator_t>().count(known)) {
            const auto open = kind == "table" ? kvio_open_table : kind == "list" ? kvio_open_list : kvio_open_group;
            ::call([&] { all<kvio_iterator_t>()[known] = open(config, "s", xml::str(type.get()), known.c_str()); });
        }
    }
}

State Session::state() {
    ::call(xmlResetLastError);  // its text was allocated inside a call, too
    State state;
    for (const auto &[name, config] : all<kvio_config_t>()) state.documents[name] = document_of(config);
    for (const auto &[id, file] : state.ids) ids_[id] = file;
    return state;
}

std::string Session::changed_documents() {
    std::string text;
    for (const auto &[name, config] : all<kvio_config_t>()) {
        const std::string now = document_of(config), begin = name == "c" ? "< " : "< " + name + ": ";
        if (now != std::exchange(first_documents_[name], now))
            text += form::wrapped_document(begin, form::on_one_line(now));
    }
    return text;
}

std::string Session::play(const Words &lines, const Observer &observer) {
    reset();
    lines_ = &lines;
    calls_ = 0;
    std::string seen, loaded;
    for (const std::string &line : lines) {
        if (line[0] == '>') {
            if (loaded.empty()) seen += changed_documents();
            loaded += form::expanded(line).substr(2);
        } else if (!loaded.empty()) {
            load(std::exchange(loaded, ""));
        }
        const bool is_said = line[0] == '>' || line[0] == '#';
        seen += is_said ? line + "\n" : form::wrapped(perform(form::split(line), observer));
    }
    return seen + changed_documents();
}

void Session::play_up_to(const Words &lines, size_t calls) {
    try {
        play(lines, [&](const Words &words) { return calls_ == calls ? throw Reached() : call(words); });
    } catch (const Reached &) {}
}

using Choices = std::vector<Words>;
void choose(Words words, size_t at, Choices &choices) {
    if (at == words.size()) return choices.push_back(words);
    for (const std::string &one : form::alternatives(words[at])) {
        words[at] = one;
        choose(words, at + 1, choices);
    }
}

// A line as it is to be: of a call, with its outcome.
std::string Session::perform(const Words &words, const Observer &observer) {
    const std::string &verb = words[0];
    auto word = [&](size_t i) { return i < words.size() ? words[i] : ""; };
    auto number = [&](size_t i) { return std::stoi(word(i)); };
    if (verb == "file")
        write_file(full_path(word(1)), form::expanded(form::joined(words, 3)),
                   static_cast<mode_t>(std::stoul(word(2), nullptr, 8)));
    else if (verb == "directory")
        fs::create_directory(full_path(word(1)));
    else if (verb == "pipe")
        EXPECT_EQ(mkfifo(full_path(word(1)).c_str(), 0600), 0);
    else if (verb == "key")
        faults::set_key(full_path(word(1)).c_str(), number(2), number(3));
    else if (verb == "damage")
        all<kvio_iterator_t>().at(word(1))->node = nullptr;
    else if (verb == "with")
        fault_ = words;
    else if (verb == "let")
        texts_[word(1)] = form::joined(words, 3);
    else if (verb == "show")
        return "show " + word(1) + " = " + State().things[word(1)];
    else {
        const size_t function = word(1) == "=" ? 2 : 0;
        const auto end = std::find(words.begin() + static_cast<int>(function), words.end(), "=");
        const Words input(words.begin(), end);
        if (verb == "every") return form::joined(input) + " = " + every(Words(input.begin() + 1, input.end()));
        Choices choices;
        choose(input, 0, choices);
        std::string text = form::joined(input) + " =", latest, repeated;
        for (const Words &chosen : choices) {
            const std::string now = observer(chosen).text;
            ++calls_;
            repeated += latest == now ? " | ^" : "";
            if (latest != now) text += (latest.empty() ? " " : std::exchange(repeated, "") + " | ") + now;
            latest = now;
        }
        return text;
    }
    return form::joined(words);
}

void Session::plan_fault() {
    int error = 0;
    for (int known = 1; known < 134; ++known)
        if (fault_[3] == ::shown(strerrorname_np(known))) error = known;
    const faults::Extent extent = fault_[2].back() == '+' ? faults::from_then_on : faults::once;
    if (error)
        faults::fail(form::argument(fault_[1]), error, std::stoi(fault_[2]), extent);
    else
        faults::shorten(form::argument(fault_[1]), 0, std::stoi(fault_[2]), extent);
}

// A lock is called by its file: its id is another one in every run.
std::string Session::messages() const {
    std::string text;
    const bool is_store = function_.rfind("kvio_", 0) == 0;
    std::istringstream err(outcome_.err), log(replaced(outcome_.log, " 5,7,5,0,0,0,0:", ":"));
    for (std::string line; std::getline(err, line);) {
        for (const auto &[id, file] : ids_)
            for (const char *end : {")", " is removed"}) {
                const size_t at = line.rfind(" " + id + end);
                if (at != line.npos) line.replace(at + 1, id.size(), "lock of " + file);
            }
        line = std::regex_replace(line, std::regex("^" + function_ + "\\b"), "@");
        if (is_store || line[0] == '%') text += (text.empty() ? "" : " / ") + line + (err.eof() ? " without end" : "");
    }
    for (std::string line; std::getline(log, line);) text += (text.empty() ? "" : " / ") + line;
    return text.empty() ? "" : ": " + text;
}

Seen Session::call(const Words &words) {
    const size_t at = words.size() > 1 && words[1] == "=" ? 2 : 0;
    kept_as_ = at == 2 ? words[0] : "";
    function_ = words[at];
    const std::string of = words.size() > at + 1 ? words[at + 1] : "";
    if (!functions.count(function_)) return {"no function", true, false, 0};
    rest_.assign(words.begin() + static_cast<int>(at) + 1, words.end());
    buffer_.assign(1024, fill);
    number_ = untouched;
    group_ = nullptr;
    unnamed_ = nullptr;
    seen_ = {};
    const State before = state();
    if (!fault_.empty()) plan_fault();
    records::begin();
    std::string text = form::on_one_line(functions.at(function_)(*this));
    const std::string callbacks = records::end();
    // One that struck in another process shows in the outcome alone.
    EXPECT_TRUE(fault_.empty() || faults::struck() || outcome_.code != 0) << "no fault in " << function_;
    fault_.clear();
    if (function_.rfind("kvio_close", 0) == 0 || function_ == "kvio_free_entities")
        std::apply([&](auto &...kinds) { (kinds.erase(of), ...); }, handles_);
    if (function_ == "kvio_create_checkpoint" && seen_.kept) checkpoints_.insert(kept_as_);
    if (function_ == "kvio_release_checkpoint") checkpoints_.erase(of);
    if (function_ == "kvio_rollback_checkpoint" && !seen_.failed) checkpoints_.erase(words.back());
    seen_.code = outcome_.code;
    if (outcome_.code != 0) text += " " + (outcome_.code == untouched ? "-" : std::to_string(outcome_.code));
    buffer_.erase(buffer_.find_last_not_of(fill) + 1);
    if (!buffer_.empty()) text += " \"" + form::on_one_line(buffer_) + "\"";
    if (number_ != untouched) text += " =" + std::to_string(number_);
    text += form::on_one_line(callbacks + (group_ && group_->name ? " at " + std::string(group_->name) : ""));
    const State after = state();
    text += difference(before.things, after.things) + form::on_one_line(messages());
    if (unnamed_) ::call(unnamed_);
    text = replaced(text, "/etc/kavex/conf/", "~");
    for (const auto &[name, what] : texts_) text = replaced(text, what, "<" + name + ">");
    seen_.text = text;
    return seen_;
}

// The call with all of its callbacks and calls of the store failing in turn, those of one outcome together.
std::string Session::every(const Words &words) {
    const Words &lines = *lines_;
    const size_t before = calls_;
    auto called = [&] {
        const auto parts = parts_of(all<kvio_config_t>()["c"]);
        const Seen seen = call(words);
        return seen.text + difference(parts, parts_of(all<kvio_config_t>()["c"]));
    };
    std::string text = called();
    const std::map<std::string, int> uses = records::uses();
    std::vector<std::pair<std::string, std::string>> outcomes;
    for (const auto &[function, count] : uses) {
        for (int nth = 1; nth <= count; ++nth) {
            play_up_to(lines, before);
            records::fail(function, nth);
            const std::string outcome = called();
            auto same = std::find_if(outcomes.begin(), outcomes.end(), [&](auto &one) { return one.first == outcome; });
            if (same == outcomes.end()) same = outcomes.insert(same, {outcome, ""});
            same->second += " " + function + (nth > 1 ? std::to_string(nth) : "");
        }
    }
    play_up_to(lines, before);
    call(words);
    ++calls_;
    for (const auto &[outcome, failing] : outcomes) text += " | " + outcome + " by" + failing;
    return text;
}

// ----------------------------------------------------------------------------------------------------------- the tests

// The lines of each session; those that are continued are one, and those that tell of documents are left out.
std::vector<Words> sessions_of(const std::string &path) {
    std::ifstream file(path);
    EXPECT_TRUE(file) << path;
    std::vector<Words> sessions(1);
    for (std::string line; std::getline(file, line);) {
        if (line.empty())
            sessions.emplace_back();
        else if (line[0] == ' ')
            sessions.back().back() += line.substr(3);
        else if (line[0] != '<')
            sessions.back().push_back(line);
    }
    return sessions;
}

class Play : public ApplianceTest, public testing::WithParamInterface<const char *> {
protected:
    void SetUp() override {
        ApplianceTest::SetUp();
        umask(022);
        ::call(kvio_initialize);
        session.reset();
    }
    void TearDown() override {
        session.reset();
        ApplianceTest::TearDown();
    }

    const std::string path = std::string(SESSIONS) + GetParam() + ".t";
    Session session;
};

TEST_P(Play, ShowsWhatIsWritten) {
    std::string seen;
    for (const Words &lines : sessions_of(path))
        seen +=
            (seen.empty() ? "" : "\n") + session.play(lines, [&](const Words &words) { return session.call(words); });
    const std::string expected = read_file(path);
    const auto parted = std::mismatch(seen.begin(), seen.end(), expected.begin(), expected.end()).first;
    EXPECT_TRUE(seen == expected) << "from line " << std::count(seen.begin(), parted, '\n') + 1 << " on, instead of "
                                  << path << ":\n"
                                  << seen << "<<<";
}

#ifdef KAVEX_TEST_ALLOCATIONS
#endif

INSTANTIATE_TEST_SUITE_P(Of, Play,
                         testing::Values("store/documents", "store/containers", "store/backups", "store/entities",
                                         "store/scopes", "store/membership", "store/retrieval", "store/attributes"),
                         [](const auto &of) { return replaced(of.param, "/", "_"); });

}  // namespace
