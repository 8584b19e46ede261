// Sessions with the library: each call with its outcome, and at the end the document, if it changed. An empty line begins
// another session, with no files and nothing open; a line that begins with four spaces continues the one before.
//
//     # a remark
//     > <t name="e"/><list name="l" type="t"/>  opens a.xml with these elements in its scope "s", or with this whole
//                                               document, as c, and each entity and container of the scope by its name
//     > a#1=9 g_a=7 g#2[a +h] a_property[g_a] l(a)   such elements in short: entities, the first with the reference
//                                               count 1 and 9 in its field v; a group with the entity a and the nested
//                                               group h; a list. Names with "_" are of the type p, others of t
//     >* 30 <t name="#"/>                       so many of them, "#" being their number and "+" that of the next one
//     file b.xml 640 TEXT                       writes a file, in the configuration directory if it has no other;
//                                               directory b and pipe b make these, remove b takes it away
//     key a.xml 0 0                             gives a file this ftok() key for a project
//     damage l                                  takes the container element from a handle
//     with read 3+ EIO kvio_dump ...            the call, in which the third read and all after it fail
//     with get_entry 1 - list_list ...          the call, in which the first of these callbacks fails
//     let NAME = TEXT                           <NAME> stands for this text in outcomes
//     n = kvio_define2 c s t n = s/t=n          a call, whose result may be kept, and its outcome. Room for results is
//                                               not mentioned, other than NULL. For records see records.h
//     kvio_get2 e f {0,1,2} = 1 | ^ | 1 "\0"    the call with each of these in its place; ^ is the outcome before, and
//                                               the last one goes for all that follow
//     < <t name="e"/>                           the document c
//
// An outcome is the result; kvio_errno, if it is not 0 ("-" for: as before); the bytes written; a number given; the
// callbacks with their arguments; after a semicolon, files and locks that changed; after a colon, what was written to
// the standard error stream (of the object layer only what begins with "%") and to the log. Nodes are shown as place
// and name, arrays as count, capacity and nodes, "@" is the function and "~" the configuration directory.
//
// Each session is played as it is written, and again with each allocation of each call failing in turn, and with each
// callback and each call of the store by the object layer. What fails then must say so; nothing leaves memory behind.
#include <dlfcn.h>
#include <libxml/parser.h>
#include <libxml/xmlerror.h>
#include <libxml/xpath.h>
#include <sys/ipc.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
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

static int xpath_contexts;  // that the latest call made

// libxml2's XPath goes through freed memory when an allocation in it fails: plain scopes must never get there.
xmlXPathContext *xmlXPathNewContext(xmlDoc *document) {
    static const auto real = reinterpret_cast<decltype(&xmlXPathNewContext)>(dlsym(RTLD_NEXT, "xmlXPathNewContext"));
    ++xpath_contexts;
    return real(document);
}

namespace {

namespace fs = std::filesystem;
using form::Words;

// The files with mode and text, the locks, and as "<c" the document of the handle c; or other texts by their names.
using Texts = std::map<std::string, std::string>;

struct Step {
    Words words;
    std::string expected;
};
using Steps = std::vector<Step>;

// What can be seen of a call: the outcome, and of it the result with its code and the callbacks.
struct Seen {
    std::string text, result, told;
    bool failed = false, has_moved = false;  // the call, and handles
    int code = 0, error = 0;                 // kvio_errno and errno
};

std::string joined(const Words &words, size_t begin = 0) {
    std::string text;
    for (size_t at = begin; at < words.size(); ++at) text += (at > begin ? " " : "") + words[at];
    return text;
}

std::string replaced(std::string text, const std::string &what, const std::string &with) {
    for (size_t at = 0; (at = text.find(what, at)) != text.npos; at += with.size()) text.replace(at, what.size(), with);
    return text;
}

int count_of(const std::string &what, const std::string &text) {
    return static_cast<int>(replaced(text, what, what + "*").size() - text.size());
}

// An argument without its quotes and with its runs; null for NULL. It lives as long as the program.
const char *argument(const std::string &word) {
    static std::set<std::string> kept;
    if (word == "NULL") return nullptr;
    std::string text = form::expanded(word);
    if (text[0] == '"') text = replaced(text.substr(1, text.size() - 2), "\\n", "\n");
    if (word[0] == '"') text = std::regex_replace(text, std::regex(R"(\\(.))"), "$1");
    return kept.insert(text).first->c_str();
}

// Bytes as a text of one line: with \n and \0, and long runs of a character as {n*63}.
std::string on_one_line(const std::string &bytes) {
    std::string text;
    for (size_t at = 0, end; at < bytes.size(); at = end) {
        end = std::min(bytes.find_first_not_of(bytes[at], at), bytes.size());
        const std::string one = bytes[at] == '\n' ? "\\n" : bytes[at] == '\0' ? "\\0" : std::string(1, bytes[at]);
        if (end - at >= 40) text += "{" + one + "*" + std::to_string(end - at) + "}";
        for (size_t i = at; i < end && end - at < 40; ++i) text += one;
    }
    return text;
}

// The words with each choice of alternatives, such as {a,"b c",NULL}, from a place on; {n*63} is none.
void choose(Words words, size_t at, std::vector<Words> &choices) {
    if (at == words.size()) return choices.push_back(words);
    const std::string word = words[at];
    const bool is_choice = word[0] == '{' && word.substr(2, 1) != "*";
    for (const std::string &one : is_choice ? form::split(word.substr(1, word.size() - 2), ',') : Words{word}) {
        words[at] = one;
        choose(words, at + 1, choices);
    }
}

// The elements that a line stands for: as they are, in short, or so many of them.
std::string elements_of(const std::string &line) {
    static const std::regex element(R"(([^ #=[(]+)(?:#([^ =[(]+))?(?:=(\S+)|([[(])([^\])]*).)?)"),
        container(R"((?:^| )\+(\S+))"), entity("(?:^| )([^ <]+)");
    std::string text, begin = line.substr(std::min<size_t>(line.size(), 2));
    for (int i = 0; line[1] == '*' && i < std::stoi(begin); ++i)
        text += replaced(replaced(line.substr(line.find('<')), "#", std::to_string(i)), "+", std::to_string(i + 1));
    if (line.find('<', 1) != line.npos) return text.empty() ? begin : text;
    for (std::sregex_iterator at(begin.begin(), begin.end(), element), end; at != end; ++at) {
        const std::smatch &part = *at;
        const std::string name = part[1], type = name.find('_') == name.npos ? "t" : "p",
                          container_kind = part[4] == "[" ? "group" : "list",
                          kind = part[4].matched ? container_kind : type;
        text += "<" + kind + " name=\"" + name + "\"" + (part[4].matched ? " type=\"" + type + "\"" : "");
        if (part[2].matched) text += " reference=\"" + part[2].str() + "\"";
        std::string inner = std::regex_replace(part[5].str(), container, "<container>$1</container>");
        inner = std::regex_replace(inner, entity, "<entity>$1</entity>");
        if (part[3].matched) inner = "<v>" + part[3].str() + "</v>";
        text += inner.empty() ? "/>" : ">" + inner + "</" + kind + ">";
    }
    return text;
}

// Adds what a line says that is neither empty nor a remark; elements and documents go to those before them.
void add(Steps &steps, const std::string &line, Texts &names) {
    static const std::regex bar(" *\\| ");
    const std::string mark = line.substr(0, 1);
    if (mark == ">" || mark == "<") {
        if (steps.empty() || steps.back().words[0] != mark) steps.push_back({{mark, ""}, ""});
        steps.back().words[1] += elements_of(mark == ">" ? form::expanded(line) : line);
        return;
    }
    const Words words = form::split(line);
    const auto equals = std::find(words.begin() + (words[1] == "=" ? 2 : 0), words.end(), "=");
    if (equals == words.end()) return steps.push_back({words, ""});
    std::string text = joined(Words(equals, words.end()), 1), outcome;
    if (words[0] == "let") names["<" + words[1] + ">"] = text;
    if (words[0] == "let") return;
    for (const auto &[name, what] : names) text = replaced(text, name, what);
    const Words outcomes(std::sregex_token_iterator(text.begin(), text.end(), bar, -1), {});
    std::vector<Words> choices;
    choose(Words(words.begin(), equals), 0, choices);
    for (size_t i = 0; i < choices.size(); ++i) {
        if (i < outcomes.size() && outcomes[i] != "^") outcome = outcomes[i];
        steps.push_back({choices[i], outcome});
    }
}

std::vector<Steps> sessions_of(const std::string &path) {
    std::istringstream file(read_file(path));
    std::vector<Steps> sessions(1);
    Texts names;
    for (std::string line, more; std::getline(file, line);) {
        while (file.peek() == ' ' && std::getline(file, more)) line += more.substr(3);
        if (line.empty()) sessions.emplace_back();
        if (!line.empty() && line[0] != '#') add(sessions.back(), line, names);
    }
    return sessions;
}

// The files and locks that came, went and changed.
std::string difference(const Texts &before, const Texts &after) {
    std::string text;
    for (const auto &[name, what] : before)
        if (name[0] != '<' && !after.count(name)) text += " -" + name;
    for (const auto &[name, what] : after) {
        const auto old = before.find(name);
        if (name[0] != '<' && (old == before.end() || old->second != what))
            text += (old == before.end() ? " +" : " ~") + name;
    }
    return text.empty() ? "" : ";" + on_one_line(text);
}

std::string name_of(const xmlNode *node) {
    const xml::String name(xmlGetNoNsProp(node, xml::str("name")));
    return name ? "=" + std::string(xml::str(name.get())) : "";
}

// The elements of the scope "s", or the whole document where there is more, without indentation.
std::string document_of(const kvio_config_t *config) {
    static const std::regex indentation(">\n[ \n]*(?=<|$)");
    xmlChar *dump = nullptr;
    xmlDocDumpMemory(config->doc, &dump, nullptr);
    const xml::String text(dump);
    const std::string document = std::regex_replace(std::strstr(xml::str(dump), "<kavex"), indentation, ">"),
                      begin = "<kavex><s>", end = "</s></kavex>";
    if (document == "<kavex><s/></kavex>") return "";
    const bool is_scope = document.rfind(begin, 0) == 0 && document.find(end) == document.size() - end.size();
    return is_scope ? document.substr(begin.size(), document.size() - begin.size() - end.size()) : document;
}

class Play : public ApplianceTest, public testing::WithParamInterface<const char *> {
protected:
    void SetUp() override {
        ApplianceTest::SetUp();
        umask(022);
        xmlInitParser();  // allocates what libxml2 keeps
    }
    void TearDown() override {
        reset();
        ApplianceTest::TearDown();
    }
    // Plays all sessions, with the first, second, third, ... fault in each call until none strikes.
    void play();

    void (*fail_)(int nth) = nullptr;
    bool (*struck_)() = faults::struck;

private:
    // Calls a function with the words at hand for its arguments and says what the result is, which is kept.
    template <class R, class... T>
    std::string run(R (*function)(T...)) {
        const std::tuple<T...> arguments{taken(static_cast<T *>(nullptr))...};
        EXPECT_TRUE(rest_.empty() || rest_[0] == "NULL") << "an argument too many: " << rest_[0];
        if constexpr (std::is_void_v<R>) {
            outcome_ = ::call([&] { std::apply(function, arguments); });
            return "void";
        } else {
            R result{};
            outcome_ = ::call([&] { return result = std::apply(function, arguments); });
            seen_.failed = outcome_.result <= 0;
            return given(result);
        }
    }

    // The next argument, by its type.
    std::string word() {
        const std::string word = rest_.empty() ? "NULL" : rest_[0];
        if (!rest_.empty()) rest_.erase(rest_.begin());
        return word;
    }
    const char *taken(const char **) { return argument(word()); }
    char *taken(char **) { return &buffer_[0]; }
    void *taken(void **) { return records::data(argument(word())); }
    uint32_t *taken(uint32_t **) { return rest_.empty() ? &number_ : nullptr; }
    int *taken(int **) { return reinterpret_cast<int *>(&number_); }
    const list_desc_t *taken(const list_desc_t **) { return record(records::list); }
    const group_desc_t *taken(const group_desc_t **) { return record(records::group); }
    group_desc_t *taken(group_desc_t **) { return group_ = record(records::group); }
    int taken(int *) { return std::stoi(word()); }
    unsigned taken(unsigned *) { return static_cast<unsigned>(std::stoul(word())); }
    template <class T>
    T *taken(T **) {
        const std::string name = word();
        return name == "NULL" ? nullptr : handle<T>(name);
    }
    template <class Make>
    auto record(Make make) -> decltype(make(nullptr, "")) {
        const char *name = argument(word());
        return name ? make(handle<kvio_config_t>("c"), name) : nullptr;
    }

    // What a result is. A handle is kept by its name, one without a name until the outcome is seen.
    std::string given(long long number) { return std::to_string(number); }
    std::string given(const char *text) { return text ? text : "null"; }
    std::string given(void *handle) { return handle ? "handle" : "null"; }
    template <class T>
    std::string given(T *handle) {
        if (!handle) return "null";
        seen_.has_moved = !kept_as_.empty();
        std::get<T *>(handles_[kept_as_]) = handle;
        std::get<bool>(handles_[kept_as_]) = function_ == "kvio_create_checkpoint";
        return shown(handle);
    }
    static std::string shown(const kvio_config_t *config) { return config->path; }
    static std::string shown(const kvio_iterator_t *container) { return shown(container->node); }
    static std::string shown(const kvio_node_t *node) {
        const xml::String path(xmlGetNodePath(node));
        const std::string place = xml::str(path.get()), root = "/kavex/";
        return place.substr(place.rfind(root, 0) == 0 ? root.size() : 0) + name_of(node);
    }
    static std::string shown(const kvio_entities_t *array) {
        std::string text = std::to_string(array->count) + " of " + std::to_string(array->capacity);
        EXPECT_EQ(static_cast<const void *>(array->items), array + 1);
        for (int i = 0; i < array->count; ++i) text += " " + shown(array->items[i]);
        for (int i = array->count; i < array->capacity; ++i) array->items[i] = nullptr;  // there is room
        return text;
    }

    template <class T>
    T *handle(const std::string &name) {
        EXPECT_TRUE(std::get<T *>(handles_[name])) << "no handle " << name;
        return std::get<T *>(handles_[name]);
    }
    void release(std::string name);
    void load(const std::string &text);
    bool prepare(const Words &words);
    Texts state();
    std::string messages() const;
    std::string given_back();
    Seen call(Words words, const std::function<void()> &plan = nullptr);
    Seen call_with_fault(const Words &words);
    void reset();
    void sweep(const Steps &steps, size_t at, const Texts &before, const Seen &whole);

    // What is known by a name; the last tells whether the node is a checkpoint.
    using Handles = std::tuple<kvio_config_t *, kvio_iterator_t *, kvio_entities_t *, kvio_node_t *, bool>;
    std::map<std::string, Handles> handles_;
    Texts lock_ids_;      // of which the names are known
    std::string opened_;  // the document c then
    long lost_ = 0;       // blocks
    // Of the call:
    static constexpr char fill = '\xfe';
    std::string function_, kept_as_, buffer_;
    Words rest_;  // the arguments that are not taken yet
    uint32_t number_ = 0;
    group_desc_t *group_ = nullptr;
    Outcome outcome_;
    Seen seen_;
};

void Play::release(std::string name) {
    const Handles handles = handles_[name];
    ::call([&] {
        if (const auto document = std::get<kvio_config_t *>(handles)) kvio_close_config(document);
        kvio_close_list(std::get<kvio_iterator_t *>(handles));
        kvio_free_entities(std::get<kvio_entities_t *>(handles));
        if (std::get<bool>(handles)) kvio_release_checkpoint(std::get<kvio_node_t *>(handles));
    });
    handles_.erase(name);
}

// Closes all and removes all files.
void Play::reset() {
    while (!handles_.empty()) release(handles_.begin()->first);
    ::call(xmlResetLastError);
    opened_.clear();
    faults::clear();
    for (const char *directory : {"/etc/kavex/conf", "/etc/kavex/conf/small", "/etc", "/tmp"})
        for (const auto &entry : fs::directory_iterator(directory))
            if (std::strlen(directory) > 5 ? entry.path().filename() != "small" : entry.path().extension() == ".xml")
                fs::remove_all(entry);
}

void Play::load(const std::string &text) {
    static const std::map<std::string, decltype(&kvio_open_list)> kinds = {
        {"table", kvio_open_table}, {"list", kvio_open_list}, {"group", kvio_open_group}};
    write_config("a.xml", text.find("<kavex") == text.npos ? "<kavex><s>" + text + "</s></kavex>" : text);
    call({"c", "=", "kvio_open_config", "a.xml", "0"});
    kvio_config_t *const document = handle<kvio_config_t>("c");
    ASSERT_TRUE(document) << text;
    xmlNode *node = xmlFirstElementChild(xmlFirstElementChild(xmlDocGetRootElement(document->doc)));
    for (; node; node = xmlNextElementSibling(node)) {
        const xml::String type(xmlGetNoNsProp(node, xml::str("type")));
        const std::string kind = xml::str(node->name), name = name_of(node).empty() ? kind : name_of(node).substr(1);
        auto &container = std::get<kvio_iterator_t *>(handles_[name]);
        auto &entity = std::get<kvio_node_t *>(handles_[name]);
        if (!kinds.count(kind))
            entity = entity ? entity : node;
        else if (!container && !name.empty() && type)
            ::call([&] { return container = kinds.at(kind)(document, "s", xml::str(type.get()), name.c_str()); });
    }
}

// Does what a step says that is no call.
bool Play::prepare(const Words &words) {
    const std::string verb = words[0], name = words.at(1);
    const std::string path = name[0] == '/' ? name : config_path(form::expanded(name));
    if (verb == ">")
        load(name);
    else if (verb == "file")
        write_file(path, form::expanded(joined(words, 3)), static_cast<mode_t>(std::stoul(words[2], nullptr, 8)));
    else if (verb == "directory")
        fs::create_directory(path);
    else if (verb == "pipe")
        mkfifo(path.c_str(), 0600);
    else if (verb == "key")
        faults::set_key(path.c_str(), std::stoi(words[2]), std::stoi(words[3]));
    else if (verb == "damage")
        handle<kvio_iterator_t>(name)->node = nullptr;
    else if (verb == "remove")
        fs::remove(path);
    else
        return verb == "<";
    return true;
}

// Locks are called by their files, of which the ids are noted: they are other ones in every run.
Texts Play::state() {
    Texts state, keys;
    const auto look_at = [&](const fs::path &path, const std::string &name) {
        const key_t key = ftok(path.c_str(), 0);
        keys[std::to_string(key ? key : ftok(path.c_str(), 1))] = name;
        std::ostringstream mode;
        if (!fs::is_directory(path) && file_mode(path) != 0600) mode << std::oct << '(' << file_mode(path) << ')';
        state[name + mode.str()] = fs::is_regular_file(path) ? read_file(path) : "";
    };
    for (const auto &entry : fs::recursive_directory_iterator(config_path("")))
        if (!is_redo_file(entry.path())) look_at(entry, fs::path(entry).lexically_relative(config_path("")));
    for (const char *directory : {"/etc", "/tmp"})
        for (const auto &entry : fs::directory_iterator(directory))
            if (entry.path().extension() == ".xml") look_at(entry, entry.path());
    std::ifstream locks("/proc/sysvipc/sem");
    std::string line, key, id, mode, count;
    for (std::getline(locks, line); std::getline(locks, line); lock_ids_[id] = keys[key]) {
        std::istringstream(line) >> key >> id >> mode >> count;
        state["lock of " + keys[key] + (mode + count == "01" ? "" : "(" + mode + " " + count + ")")] = "";
    }
    for (const auto &[name, handles] : handles_)
        if (const auto *document = std::get<kvio_config_t *>(handles)) state["<" + name] = document_of(document);
    return state;
}

std::string Play::messages() const {
    std::string text;
    std::istringstream err(outcome_.err), log(replaced(outcome_.log, " 5,7,5,0,0,0,0:", ":"));
    for (std::string line; std::getline(err, line);) {
        for (const auto &[id, file] : lock_ids_)
            for (const char *end : {")", " is removed"})
                line = replaced(line, " " + id + end, " lock of " + file + end);
        if (line.rfind(function_, 0) == 0 && !std::isdigit(line[function_.size()]))
            line.replace(0, function_.size(), "@");
        const bool is_shown = function_.rfind("kvio_", 0) == 0 || line[0] == '%';
        if (is_shown) text += " / " + line + (err.eof() ? " without end" : "");
    }
    for (std::string line; std::getline(log, line);) text += " / " + line;
    return text.empty() ? "" : ": " + on_one_line(text.substr(3));
}

// What was written to the buffer, the number and the name that were given, and the callbacks.
std::string Play::given_back() {
    buffer_.erase(buffer_.find_last_not_of(fill) + 1);
    std::string text = buffer_.empty() ? "" : " \"" + on_one_line(buffer_) + "\"";
    if (number_ != untouched) text += " =" + std::to_string(number_);
    return text + on_one_line(seen_.told + (group_ && group_->name ? " at " + std::string(group_->name) : ""));
}

Seen Play::call(Words words, const std::function<void()> &plan) {
    static const std::regex closing("kvio_(close|free|release).*");
    kept_as_ = words[1] == "=" ? words[0] : "";
    words.erase(words.begin(), words.begin() + (kept_as_.empty() ? 0 : 2));
    function_ = words[0];
    rest_.assign(words.begin() + 1, words.end());
    buffer_.assign(1024, fill);
    number_ = untouched;
    group_ = nullptr;
    seen_ = {};
    const Texts before = state();
    if (plan) plan();
    xpath_contexts = 0;
    records::begin();
    each_function([&](const char *name, auto function) {
        if (name == function_) seen_.result = on_one_line(run(function));
    });
    records::end();
    seen_.told = records::told;
    if (std::regex_match(function_, closing)) seen_.has_moved = handles_.erase(words[1]) > 0;
    if (function_ == "kvio_rollback_checkpoint" && !seen_.failed) seen_.has_moved = handles_.erase(words[3]) > 0;
    if (kept_as_ == "c" && seen_.has_moved) opened_ = document_of(handle<kvio_config_t>("c"));
    if (outcome_.code != 0) seen_.result += outcome_.code == untouched ? " -" : " " + std::to_string(outcome_.code);
    seen_.text = seen_.result + given_back() + difference(before, state());
    seen_.text = replaced(seen_.text + messages(), "/etc/kavex/conf/", "~");
    seen_.text.erase(seen_.text.find_last_not_of(' ') + 1);
    seen_.code = outcome_.code;
    seen_.error = outcome_.error;
    release("");
    ::call(xmlResetLastError);  // its text was allocated inside a call, too
    return seen_;
}

// Calls a function as a step says, with the fault that it may ask for.
Seen Play::call_with_fault(const Words &words) {
    if (words[0] != "with") return call(words);
    const int nth = std::stoi(words[2]);
    const auto extent = words[2].back() == '+' ? faults::from_then_on : faults::once;
    int error = 133;
    while (error > 0 && words[3] != ::shown(strerrorname_np(error))) --error;
    const Seen seen = call(Words(words.begin() + 4, words.end()), [&] {
        if (error) faults::fail(words[1].c_str(), error, nth, extent);
        records::planned = error ? 0 : nth;
        records::wanted = words[1];
    });
    // One that struck in another process shows in the outcome alone.
    EXPECT_TRUE(faults::struck() || !records::failed.empty() || seen.code) << "no fault in " << joined(words);
    return seen;
}

// A call of the store without memory does nothing and says so. The writers of attributes do not notice, and an array may have less
// room.
bool store_call_may(const std::string &function, const Seen &seen, const Seen &whole, const Texts &before,
                    Texts after) {
    static const std::regex unnoticing("kvio_(setattr|increase|decrease).*|kvio_retrieve_all2?"),
        making("kvio_(open_config|save_as)"), without_code("kvio_(check_loop|set2|alloc_entities)");
    const bool has_reason = seen.code == KVIO_MALFORMED || seen.code == KVIO_IO,
               has_code = has_reason ? seen.error == ENOMEM || seen.error == whole.error
                                     : seen.code == KVIO_NO_MEMORY || seen.code == KVIO_XML;
    if (std::regex_match(function, making))  // a file that was made stays
        for (auto at = after.begin(); at != after.end();)
            at = before.count(at->first) || at->first.rfind("lock", 0) == 0 ? std::next(at) : after.erase(at);
    return after == before && (seen.failed ? has_code || std::regex_match(function, without_code)
                                           : std::regex_match(function, unnoticing));
}

// An operation on a list or group may do a part of its work, and says so; an entry that has not become a member goes
// again. It does not notice that members cannot be counted or checked for loops, nor, when a group is disposed of, whether
// all members could be removed. What cannot be found may be made, and the properties of a nested group left out.
bool object_call_may(const std::string &function, const Seen &seen, const Seen &whole, Texts before, Texts after,
                     Texts done) {
    static const std::set<std::string> unnoticed = {"size", "check_loop", "begin", "end"},
                                       unclear = {"dispose_group", "valid_property"},
                                       absent = {"", "open_group", "retrieve_entity", "regain_index2"};
    static const std::regex count(" reference=\"[^\"]*\"");
    const std::string &failed = records::failed;
    if (function.rfind("set_", 0) == 0) return after == before;
    if ((whole.result != "0" && whole.result != "handle") || unnoticed.count(failed) || unclear.count(function))
        return true;
    if (seen.result == whole.result)
        return absent.count(failed) && (seen.told == whole.told || !failed.empty() || function == "export_group") &&
               std::regex_replace(after["<c"], count, "") == std::regex_replace(done["<c"], count, "");
    const auto more = [&](const char *what) { return count_of(what, after["<c"]) - count_of(what, before["<c"]); };
    const int entities = more("<t name=");
    if (function == "join_entry" && entities != 0 && (entities != 1 || more("<entity>") < 1)) return false;
    if (function.find("_list") != function.npos)
        return seen.text.find(": list_op: ") != seen.text.npos && (after == before || function == "delete_list");
    const char *result = failed.find("attr_") != failed.npos ? "-18004" : whole.result == "handle" ? "null" : "1";
    return failed.empty() || seen.result.rfind(result, 0) == 0;
}

void Play::play() {
    for (const Steps &steps : sessions_of(std::string(SESSIONS) + GetParam() + ".t")) {
        if (fail_ && steps[0].words[1].size() > 20'000) continue;  // takes too long
        const long blocks = faults::blocks();
        lost_ = 0;
        for (size_t at = 0; at < steps.size(); ++at) {
            const Words &words = steps[at].words;
            if (prepare(words)) continue;
            const Texts before = state();
            const Seen seen = call_with_fault(words);
            EXPECT_EQ(seen.text, steps[at].expected) << joined(words);
            if (fail_ && words[0] != "with" && xpath_contexts == 0) sweep(steps, at, before, seen);
        }
        const Words &last = steps.back().words;
        const std::string wanted = last[0] == "<" ? last[1] : on_one_line(opened_);
        if (const Texts after = state(); after.count("<c")) { EXPECT_EQ(on_one_line(after.at("<c")), wanted); }
        reset();
        EXPECT_EQ(faults::blocks(), blocks + lost_) << "left behind: " << joined(steps[0].words);
    }
}

// Repeats a call with faults, and begins the session again where the call has done something.
void Play::sweep(const Steps &steps, size_t at, const Texts &before, const Seen &whole) {
    // In Debian's 2.9.14 libxml2 loses blocks when memory is short in these: of copied nodes and the name of a reference.
    static const std::regex losing("kvio_(backup_scope|create_checkpoint|join|change_container_element|insert)");
    const Words &words = steps[at].words;
    const std::string function = function_;
    const Texts done = state();
    Texts after = done;
    bool has_moved = whole.has_moved;
    for (int nth = 1;; ++nth) {
        const bool begins_again = has_moved || after != before;
        if (begins_again) reset();
        for (size_t i = 0; begins_again && i < at; ++i)
            if (!prepare(steps[i].words)) call_with_fault(steps[i].words);
        const long used = faults::blocks();
        const Seen seen = call(words, [=] { fail_(nth); });
        if (!struck_()) break;
        after = state();
        has_moved = seen.has_moved;
        const bool is_allowed =
            (seen.text == whole.text && after == done) ||
            (function.rfind("kvio_", 0) == 0 ? store_call_may(function, seen, whole, before, after)
                                             : object_call_may(function, seen, whole, before, after, done));
        EXPECT_TRUE(is_allowed && xpath_contexts == 0) << joined(words) << " = " << seen.text << " instead of "
                                                       << whole.text << on_one_line(after["<c"]) << ", fault " << nth;
        if (has_moved || after != before) continue;
        const long left = faults::blocks() - used;
        EXPECT_TRUE(left == 0 || std::regex_match(function, losing)) << left << " left behind by " << function;
        lost_ += left;
    }
}

TEST_P(Play, ShowsWhatIsWritten) { play(); }
TEST_P(Play, LivesWithoutMemoryOnce) {
    fail_ = [](int nth) { faults::fail_allocation(nth); };
    play();
}
TEST_P(Play, LivesWithoutMemoryForGood) {
    fail_ = [](int nth) { faults::fail_allocation(nth, faults::from_then_on); };
    play();
}

class Objects : public Play {};
TEST_P(Objects, LivesWithFailingCallbacks) {
    fail_ = [](int nth) { records::planned = nth; };
    struck_ = [] { return !records::failed.empty(); };
    play();
}

const char *const store_sessions[] = {"store/documents", "store/containers", "store/backups",   "store/entities",
                                      "store/scopes",    "store/membership", "store/retrieval", "store/attributes"};
const char *const object_sessions[] = {"objects/lists", "objects/groups", "objects/joins", "objects/export"};
std::string name_of_test(const testing::TestParamInfo<const char *> &of) { return replaced(of.param, "/", "_"); }
INSTANTIATE_TEST_SUITE_P(Store, Play, testing::ValuesIn(store_sessions), name_of_test);
INSTANTIATE_TEST_SUITE_P(Objects, Play, testing::ValuesIn(object_sessions), name_of_test);
INSTANTIATE_TEST_SUITE_P(Objects, Objects, testing::ValuesIn(object_sessions), name_of_test);

}  // namespace
