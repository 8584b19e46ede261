// Documents that nobody meant to be read, or that cannot be written: broken, enormous, built to do harm, in other
// encodings, in the wrong place, or changing while they are read.
#include <libxml/parser.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/support/appliance.h"

using namespace std::string_literals;

namespace {

const std::string body = "<kavex><s><t name='a'><f>1</f></t></s></kavex>";

std::string repeat(const std::string &text, size_t times) {
    std::string all;
    while (times--) all += text;
    return all;
}

// A document with such a text, attribute and member behind declarations.
std::string document(const std::string &declarations, const std::string &value, const std::string &name = "a",
                     const std::string &member = "a") {
    return "<!DOCTYPE kavex [" + declarations + "]><kavex><s><t name='a' b='" + name + "'><f>" + value +
           "</f></t><group name='g' type='t'><entity>" + member + "</entity></group></s></kavex>";
}

// Entities e0 to e9, each ten times the one before.
std::string tenfold(const std::string &first) {
    std::string all = "<!ENTITY e0 '" + first + "'>";
    for (int i = 1; i < 10; ++i)
        all += "<!ENTITY e" + std::to_string(i) + " '" + repeat("&e" + std::to_string(i - 1) + ";", 10) + "'>";
    return all;
}

std::string utf16(const std::string &ascii) {
    std::string text = "\xff\xfe";
    for (char c : ascii) text += {c, '\0'};
    return text;
}

std::string in(const std::string &encoding, const std::string &text = body) {
    return "<?xml version='1.0' encoding='" + encoding + "'?>" + text;
}

class Hostile : public OpenDocument {
protected:
    Outcome open_file(const std::string &file) {
        close();
        write_config("a.xml", file);
        return call([&] { return config = kvio_open_config("a.xml", 0); });
    }
    Outcome save() {
        return call([&] { return kvio_save_config(config); });
    }
    kvio_node_t *entity() const { return kvio_retrieve_entity(config, "s", "t", "a"); }
};

TEST_F(Hostile, WhatIsNoDocumentIsRefused) {
    const std::string large = "<!ENTITY e '" + std::string(100'000, 'x') + "'>", padding(4'000'000, ' ');
    std::vector<std::string> files = {
        std::string(4096, '\0'),
        "<kavex><s>a\0b</s></kavex>"s,
        in("x-none"),
        in("UTF-8", "<kavex>\xe4</kavex>"),
        "\xff\xfe<\0k\0a\0v\0e\0x\0/\0>"s,
        "<kavex/><kavex/>",
        "<kavex>&e;</kavex>",
        repeat("<s>", 1'000'000) + repeat("</s>", 1'000'000),
        "<kavex><s>" + std::string(10'000'001, 'x') + "</s></kavex>",
        "\x1f\x8b\x08\0\0\0\0\0\x02\x03\xb3\xc9N,K\xad\xd0\xb7\x03\0\xcbS\xac\x0e\x08\0\0\0"s,  // compressed
        document("<!ENTITY e '&f;'><!ENTITY f '&e;'>", "&e;"),
        document(tenfold("lol"), "&e9;"),
        document(tenfold("lol"), "", "&e9;"),
        document(tenfold("lol"), "", "a", "&e9;"),
        // In a file of this size the XML library's own check lets them pass.
        document(padding + tenfold("lol"), "&e7;"),
        document(padding + tenfold("<b/>"), "&e7;"),
        document(padding + tenfold(""), "&e6;"),
        document(large, "", repeat("&e;", 20'000)),
        document(large, "", "a", repeat("&e;", 11)),
    };
    for (size_t size = 0; size < body.size(); ++size) files.push_back(body.substr(0, size));
    for (const std::string &file : files)
        EXPECT_EQ(open_file(file), (Outcome{0, KVIO_MALFORMED, "/etc/kavex/conf/a.xml is not well-formed\n"}))
            << file.substr(0, 60) << "..." << file.substr(file.size() - std::min<size_t>(file.size(), 60));
}

// What can be read is written as the XML library writes it, and reads back.
TEST_F(Hostile, UnusualDocumentsAreReadAndKept) {
    const std::string all =
        "<kavex a=\"&lt;&#10;&quot;'\"><s>\n <t name='a'>text<f>a&amp;b &#233; &#8364;</f>\n\n<g/></t>";
    for (const std::string &file : {
             all + "</s></kavex>",
             in("UTF-8"),
             in("ISO-8859-1", "<kavex><s><t name='a'>\xe9</t></s></kavex>"),
             in("US-ASCII"),
             in("windows-1252", "<kavex><s><t name='a'>\x80</t></s></kavex>"),
             in("EUC-JP", "<kavex><s><t name='a'>\xc6\xfc</t></s></kavex>"),
             utf16(in("UTF-16")),
             utf16(body),
             "\xef\xbb\xbf" + body,
             body + std::string(4096, '\0'),  // which a crash of the system can leave
             all + "<!-- c --><?pi?><![CDATA[<d>]]><u n:x='1' xmlns:n='u' xml:space='preserve'> </u></s></kavex>",
             "<!DOCTYPE kavex SYSTEM 'none.dtd'><kavex><s>&undeclared;<t name='a'/></s></kavex>"s,
             document("<!ENTITY e 'amp'><!ENTITY f '&e;&e;'>", repeat("&e;", 1000), "a", "&f;"),
             all + repeat("<u>" + std::string(50'000, 'x') + "</u>", 100) + "</s></kavex>",
         }) {
        SCOPED_TRACE(file.substr(0, 80));
        ASSERT_EQ(open_file(file).result, 1);
        const std::string text = "\xc3\xa4 \xe2\x82\xac ]]> <&>";  // the euro sign is in none of the small encodings
        ASSERT_EQ(kvio_set(entity(), "new", text.c_str()), 1);
        xmlDoc *copy = xmlCopyDoc(entity()->doc, 1);
        const int size = xmlSaveFormatFile("/tmp/expected.xml", copy, 1);
        xmlFreeDoc(copy);
        EXPECT_EQ(save(), (Outcome{size, 0}));
        EXPECT_EQ(read_config("a.xml"), read_file("/tmp/expected.xml"));
        ASSERT_EQ(open_file(read_config("a.xml")).result, 1);
        char value[64] = "";
        EXPECT_EQ(kvio_get(entity(), "new", value), 1);
        EXPECT_EQ(value, text);
    }
}

// What the parser would not take back is refused by everything that writes, and named; the file and the document stay.
TEST_F(Hostile, NothingIsSavedThatCannotBeReadBack) {
    auto named = [](const std::string &field) {
        return " error: /kavex/s/t/" + field + " has a name, text or depth that XML cannot hold\n";
    };
    const std::tuple<const char *, std::string, std::string> rows[] = {
        {"f", "Latin-1 \xe9", named("f")},
        {"f", "a control character \x01", named("f")},
        {"f", "an overlong A \xc1\x81", named("f")},
        {"f", "a surrogate \xed\xa0\x80", named("f")},
        {"f", "cut off \xe2\x82", named("f")},
        {"my field", "v", named("my field")},
        {"-f", "v", named("-f")},
        {"f<", "v", named("f<")},
        {"f", std::string(10'000'001, 'x'), " error: it would not be read back\n"},
        {"\xc3\xa9.-1", "\t\n\r \x7f \xe2\x82\xac \xf0\x9f\x98\x80 ]]> <&>", ""},
        {"f", std::string(10'000'000, 'x'), ""},
    };
    for (const auto &[field, value, refusal] : rows) {
        SCOPED_TRACE(std::string(field) + "=" + value.substr(0, 30));
        open_file(body);
        ASSERT_EQ(kvio_set(entity(), field, value.c_str()), 1);
        const std::pair<std::string, std::function<long()>> writers[] = {
            {"kvio_dump", [&] { return kvio_dump(config, "/tmp/dump.xml"); }},
            {"kvio_backup_scope", [&] { return kvio_backup_scope(config, "s", "/tmp/dump.xml"); }},
            {"kvio_save_config", [&] { return kvio_save_config(config); }}};
        for (const auto &[who, write] : writers) {
            const Outcome outcome = call(write);
            EXPECT_EQ(outcome.code, refusal.empty() ? 0 : 5);
            EXPECT_EQ(outcome.err.substr(0, outcome.err.find("Prob")), refusal.empty() ? "" : who + refusal);
        }
        EXPECT_EQ(file_exists("/tmp/dump.xml"), refusal.empty());
        EXPECT_TRUE(refusal.empty() || read_config("a.xml") == body);
        EXPECT_TRUE(!refusal.empty() || open_file(read_config("a.xml")).result);
        uint32_t length = 0;
        EXPECT_EQ(kvio_getlen(entity(), field, &length), 1);
        EXPECT_EQ(length, value.size());
    }
    // An encoding that the XML library reads, but writes only in part.
    if (open_file(in("ISO-885-91")).code != 0) return;
    EXPECT_EQ(kvio_set(entity(), "f", "\xc3\xa4\xe2\x82\xac"), 1);
    EXPECT_TRUE(save().result >= 0 || read_config("a.xml") == in("ISO-885-91"));
    EXPECT_EQ(open_file(read_config("a.xml")).result, 1);
}

TEST_F(Hostile, NothingOutsideTheFileIsRead) {
    write_file("/tmp/outside/x", "<!ENTITY z 'secret'>");
    const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    inotify_add_watch(watch, "/tmp/outside", IN_OPEN | IN_ACCESS);
    char events[4096];
    read_file("/tmp/outside/x");
    ASSERT_GT(read(watch, events, sizeof events), 0) << "this would not show that a file is read";
    for (const std::string place : {"/tmp/outside/x", "file:///tmp/outside/x"})
        for (const std::string &file : {
                 document("<!ENTITY x SYSTEM '" + place + "'>", "&x;", "a", "&x;"),
                 document("<!ENTITY % p SYSTEM '" + place + "'>%p;", ""),
                 "<!DOCTYPE kavex SYSTEM '" + place + "'><kavex><s><t name='a'>&z;</t></s></kavex>",
                 "<kavex xmlns:i='http://www.w3.org/2001/XInclude'><s><i:include href='" + place + "'/></s></kavex>",
             }) {
            EXPECT_EQ(open_file(file).result, 1) << file;
            char text[64];
            call([&] { return kvio_get2(entity(), "f", text, sizeof text); });
            call([&] { return kvio_define(config, "s", "t", "new"); });
            EXPECT_GT(save().result, 0);
            EXPECT_LT(read(watch, events, sizeof events), 0) << "a file outside was opened: " << file;
        }
    ::close(watch);
}

// A name is nothing but a path; pipes and directories are no files.
TEST_F(Hostile, NamesAndPlacesThatAreUnusual) {
    const std::filesystem::path here = std::filesystem::current_path();
    std::filesystem::create_directories("/tmp/names/http:/host");
    std::filesystem::current_path("/tmp/names");
    open_file(body);
    for (const char *name : {"-", "a%41.xml", "http://host/a.xml", "a b.xml.gz", "\xff", "a?b#c"}) {
        EXPECT_GT(call([&] { return kvio_dump(config, name); }).result, 0);
        EXPECT_TRUE(file_exists("/tmp/names/"s + name)) << name;
        kvio_config_t *copy = nullptr;
        EXPECT_EQ(call([&] { return copy = kvio_restore_scope(name); }), (Outcome{1, 0})) << name;
        call([&] { return kvio_close_config(copy); });
    }
    std::filesystem::current_path(here);
    EXPECT_EQ(call([&] { return kvio_dump(config, "/dev/full"); }).code, KVIO_IO);
    EXPECT_GT(call([&] { return kvio_dump(config, "/dev/null"); }).result, 0);
    write_config("b.xml", body);
    ASSERT_EQ(mkfifo(config_path("pipe").c_str(), 0600) | mkdir(config_path("directory").c_str(), 0700), 0);
    for (const char *name : {"pipe", "directory"}) {
        EXPECT_EQ(call([&] { return kvio_open_config(name, 0); }).code, KVIO_MALFORMED);
        EXPECT_EQ(call([&] { return kvio_copy_config(name, "b.xml"); }).code, KVIO_IO);
        EXPECT_EQ(read_config("b.xml"), body);
    }
    EXPECT_EQ(call([] { return kvio_copy_config("b.xml", "directory"); }).code, KVIO_IO);
    EXPECT_EQ(call([] { return kvio_remove_config("directory"); }).code, KVIO_IO);
}

TEST_F(Hostile, FilesThatChangeBetweenTwoSteps) {
    using Act = std::function<long()>;
    const Act remove = [] { return unlink("/etc/kavex/conf/a.xml"); };
    const Act clear = [] { return truncate("/etc/kavex/conf/a.xml", 0); };
    const Act replace = [] { return std::rename("/etc/kavex/conf/other.xml", "/etc/kavex/conf/a.xml"); };
    const Act fill = [] { return write_config("c.xml", "theirs"), 0; };
    const Act opening = [this] { return (config = kvio_open_config("a.xml", 0)) != nullptr; };
    const Act copying = [] { return kvio_copy_config("a.xml", "b.xml"); };
    const Act renaming = [] { return kvio_rename_config("a.xml", "c.xml"); };
    const std::tuple<const char *, int, Act, Act, int> rows[] = {
        {"semget", 1, remove, opening, KVIO_NO_KEY}, {"open", 1, remove, opening, KVIO_MALFORMED},
        {"open", 1, clear, opening, KVIO_MALFORMED}, {"semget", 1, replace, opening, KVIO_OK},
        {"open", 1, remove, copying, KVIO_IO},       {"rename", 1, remove, renaming, KVIO_IO},
        {"ftok", 3, fill, renaming, KVIO_EXISTS},    {"semget", 2, fill, renaming, KVIO_EXISTS},
    };
    for (const auto &[function, nth, deed, run, code] : rows) {
        SCOPED_TRACE(std::string(function) + std::to_string(code));
        unlink(config_path("c.xml").c_str());
        for (const char *name : {"a.xml", "b.xml"}) write_config(name, body);
        write_config("other.xml", "<kavex><other/></kavex>");
        faults::intrude(function, deed, nth);
        EXPECT_EQ(call(run).code, code);
        EXPECT_TRUE(faults::struck());
        EXPECT_EQ(read_config("b.xml"), body);
        EXPECT_TRUE(code != KVIO_EXISTS || read_config("c.xml") == "theirs");
        EXPECT_TRUE(code != KVIO_OK || (locked(path()) && save().code == 0));
        EXPECT_TRUE(code != KVIO_OK || read_config("a.xml").find("<other/>") != std::string::npos);
        close();
        EXPECT_EQ(lock_count(), 0);
    }
}

// The depth of nesting needs no stack, and paths cost no more than their containers.
TEST_F(Hostile, DeepAndManyPaths) {
    const std::string last = "<entity>a</entity>";
    const std::tuple<int, int, std::string, int, Outcome> rows[] = {
        {1, 100'000, last, 0, {1, 0}},
        {1, 100'000, "<container>0</container>", 1, {-1, 19}},
        {2, 30, last, 1, {1 << 30, 0}},
        {2, 31, last, 1, {-1, 2}},
        {2, 200, last, 1, {-1, 2}}};
    rlimit usual;
    getrlimit(RLIMIT_STACK, &usual);
    const rlimit small = {512 * 1024, usual.rlim_max};
    setrlimit(RLIMIT_STACK, &small);
    for (const auto &[times, depth, members, loop, size] : rows) {
        std::string text = "<t name='a'/><list name='" + std::to_string(depth) + "' type='t'>" + members + "</list>";
        for (int i = 0; i < depth; ++i)
            text += "<list name='" + std::to_string(i) + "' type='t'>" +
                    repeat("<container>" + std::to_string(i + 1) + "</container>", static_cast<size_t>(times)) +
                    "</list>";
        open_snapshot(text);
        iterator = kvio_open_list(config, "s", "t", "0");
        EXPECT_EQ(call([&] { return kvio_check_loop(iterator); }), (Outcome{loop, 0}));
        EXPECT_EQ(call([&] { return kvio_real_size(iterator); }), size);
        kvio_entities_t *array = nullptr;
        EXPECT_EQ(call([&] { return array = kvio_retrieve_all2(iterator); }).code, size.code);
        kvio_free_entities(array);
    }
    setrlimit(RLIMIT_STACK, &usual);
}

}  // namespace
