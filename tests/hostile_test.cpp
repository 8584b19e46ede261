// Documents that nobody meant to be read, or that cannot be written: broken, enormous, built to do harm, in other
// encodings, or changing while they are read.
#include <libxml/parser.h>
#include <sys/inotify.h>
#include <unistd.h>

#include "tests/support/appliance.h"

using namespace std::string_literals;

namespace {

const std::string body = "<kavex><s><t name='a'><f>1</f></t></s></kavex>";

std::string repeat(const std::string &text, size_t times) {
    std::string all;
    while (times--) all += text;
    return all;
}

// A document with such a text or attribute behind declarations.
std::string document(const std::string &declarations, const std::string &value, const std::string &name = "a") {
    return "<!DOCTYPE kavex [" + declarations + "]><kavex><s><t name='a' b='" + name + "'>" + value +
           "</t></s></kavex>";
}

// Entities e0 to e9, each ten times the one before.
std::string tenfold(const std::string &first) {
    std::string all = "<!ENTITY e0 '" + first + "'>";
    for (int i = 1; i < 10; ++i)
        all += "<!ENTITY e" + std::to_string(i) + " '" + repeat("&e" + std::to_string(i - 1) + ";", 10) + "'>";
    return all;
}

std::string in(const std::string &encoding, const std::string &value = "") {
    return "<?xml version='1.0' encoding='" + encoding + "'?><kavex><s><t name='a'>" + value + "</t></s></kavex>";
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
        "<kavex><s>a\0b</s></kavex>"s,
        in("UTF-8", "\xe4"),
        repeat("<s>", 1'000'000) + repeat("</s>", 1'000'000),
        "<kavex><s>" + std::string(10'000'001, 'x') + "</s></kavex>",
        "\x1f\x8b\x08\0\0\0\0\0\x02\x03\xb3\xc9N,K\xad\xd0\xb7\x03\0\xcbS\xac\x0e\x08\0\0\0"s,  // compressed
        document(tenfold("lol"), "", "&e9;"),
        // In a file of this size the XML library's own check lets them pass.
        document(padding + tenfold("lol"), "&e7;"),
        document(padding + tenfold("<b/>"), "&e7;"),
        document(padding + tenfold(""), "&e6;"),
        document(large, "", repeat("&e;", 11)),
    };
    for (size_t size = 0; size < body.size(); ++size) files.push_back(body.substr(0, size));
    for (const std::string &file : files)
        EXPECT_EQ(open_file(file), (Outcome{0, KVIO_MALFORMED, "/etc/kavex/conf/a.xml is not well-formed\n"}))
            << file.substr(0, 60) << "..." << file.substr(file.size() - std::min<size_t>(file.size(), 60));
}

// What can be read is written as the XML library writes it, and reads back. No other file is looked at.
TEST_F(Hostile, UnusualDocumentsAreReadAndKept) {
    write_file("/tmp/outside/x", "<!ENTITY z 'secret'>");
    const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    inotify_add_watch(watch, "/tmp/outside", IN_OPEN | IN_ACCESS);
    char events[4096];
    read_file("/tmp/outside/x");
    ASSERT_GT(read(watch, events, sizeof events), 0) << "this would not show that a file is read";
    const std::string all = "<kavex a=\"&lt;&#10;&quot;'\"><s>\n <t name='a'>text<f>a&amp;b &#233;</f>\n\n<g/></t>",
                      outside = "SYSTEM 'file:///tmp/outside/x'>";
    for (const std::string &file : {
             in("ISO-8859-1", "\xe9"),
             in("windows-1252", "\x80"),
             body + std::string(4096, '\0'),  // which a crash of the system can leave
             all + "<!-- c --><?pi?><![CDATA[<d>]]><u n:x='1' xmlns:n='u' xml:space='preserve'> </u></s></kavex>",
             document("<!ENTITY e 'amp'><!ENTITY f '&e;&e;'>", repeat("&e;", 1000), "&f;"),
             all + repeat("<u>" + std::string(50'000, 'x') + "</u>", 100) + "</s></kavex>",
             document("<!ENTITY x " + outside, "&x;"),
             document("<!ENTITY % p " + outside + "%p;", ""),
             "<!DOCTYPE kavex " + outside + "<kavex><s>&z;<t name='a'/></s></kavex>",
             all + "<i:include xmlns:i='http://www.w3.org/2001/XInclude' href='/tmp/outside/x'/></s></kavex>",
         }) {
        SCOPED_TRACE(file.substr(0, 80));
        ASSERT_EQ(open_file(file).result, 1);
        const std::string text = "\xc3\xa4 \xe2\x82\xac ]]> <&>";  // the euro sign is in few of the small encodings
        ASSERT_EQ(kvio_set(entity(), "new", text.c_str()), 1);
        const int size = xmlSaveFormatFile("/tmp/expected.xml", entity()->doc, 1);
        EXPECT_EQ(save(), (Outcome{size, 0}));
        EXPECT_EQ(read_config("a.xml"), read_file("/tmp/expected.xml"));
        ASSERT_EQ(open_file(read_config("a.xml")).result, 1);
        char value[64] = "";
        EXPECT_EQ(kvio_get(entity(), "new", value), 1);
        EXPECT_EQ(value, text);
        EXPECT_LT(read(watch, events, sizeof events), 0) << "a file outside was opened";
    }
    ::close(watch);
}

// What the parser would not take back is refused by everything that writes, and named; the file and the document stay.
TEST_F(Hostile, NothingIsSavedThatCannotBeReadBack) {
    const std::string huge(10'000'001, 'x');
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {"f", "Latin-1 \xe9", "/kavex/s/t/f has a name, text or depth that XML cannot hold\n"},
        {"f", "a control character \x01", "/kavex/s/t/f has"},
        {"f", "an overlong A \xc1\x81", "/kavex/s/t/f has"},
        {"f", "a surrogate \xed\xa0\x80", "/kavex/s/t/f has"},
        {"my field", "v", "/kavex/s/t/my field has"},
        {"-f", "v", "/kavex/s/t/-f has"},
        {std::string(50'001, 'n'), "v", "/kavex/s/t/nnn"},
        {"f", huge, "it would not be read back\n"},
        {"\xc3\xa9.-1", "\t\n\r \x7f \xe2\x82\xac \xf0\x9f\x98\x80 ]]> <&>", ""},
        {"f", huge.substr(1), ""},
    };
    for (const auto &[field, value, reason] : rows) {
        SCOPED_TRACE(field.substr(0, 30) + "=" + value.substr(0, 30));
        open_file(body);
        ASSERT_EQ(kvio_set(entity(), field.c_str(), value.c_str()), 1);
        for (const Outcome &outcome : {call([&] { return kvio_dump(config, "/tmp/dump.xml"); }),
                                       call([&] { return kvio_backup_scope(config, "s", "/tmp/dump.xml"); }), save()}) {
            EXPECT_EQ(outcome.code, reason.empty() ? 0 : 5);
            EXPECT_EQ(outcome.err.find(" error: " + reason) == std::string::npos, reason.empty()) << outcome.err;
        }
        EXPECT_EQ(file_exists("/tmp/dump.xml"), reason.empty());
        EXPECT_EQ(read_config("a.xml") == body, !reason.empty());
        uint32_t length = 0;
        EXPECT_TRUE(!reason.empty() || open_file(read_config("a.xml")).result);
        EXPECT_EQ(kvio_getlen(entity(), field.c_str(), &length), 1);
        EXPECT_EQ(length, value.size());
    }
    EXPECT_EQ(call([&] { return kvio_dump(config, "/dev/full"); }).code, KVIO_IO);
    open_file("<kavex><s><t name='a' xmlns:n='u'/></s></kavex>");
    EXPECT_EQ(kvio_setattr_entity(entity(), "xmlns:n", "v"), 1);
    EXPECT_EQ(save().code, KVIO_IO);
    // The copy of a scope has no declarations of entities.
    for (const std::string &file : {document("<!ENTITY e 'x'>", "&e;"), document("<!ENTITY e 'x'>", "", "&e;")}) {
        open_file(file);
        EXPECT_EQ(call([&] { return kvio_backup_scope(config, "s", "/tmp/dump.xml"); }).code, KVIO_IO);
        EXPECT_GT(save().result, 0);
    }
    // An encoding that the XML library reads, but writes only in part.
    if (open_file(in("ISO-885-91")).code != 0) return;
    EXPECT_EQ(kvio_set(entity(), "f", "\xc3\xa4\xe2\x82\xac"), 1);
    EXPECT_TRUE(save().result >= 0 || read_config("a.xml") == in("ISO-885-91"));
    EXPECT_EQ(open_file(read_config("a.xml")).result, 1);
}

TEST_F(Hostile, FilesThatChangeBetweenTwoSteps) {
    using Act = std::function<long()>;
    const Act remove = [] { return unlink("/etc/kavex/conf/a.xml"); };
    const Act replace = [] { return std::rename("/etc/kavex/conf/b.xml", "/etc/kavex/conf/a.xml"); };
    const Act fill = [] { return write_config("c.xml", "theirs"), 0; };
    const Act opening = [this] { return (config = kvio_open_config("a.xml", 0)) != nullptr; };
    const Act renaming = [] { return kvio_rename_config("a.xml", "c.xml"); };
    const std::tuple<const char *, int, Act, Act, int> rows[] = {
        {"semget", 1, remove, opening, KVIO_NO_KEY}, {"semget", 1, replace, opening, KVIO_OK},
        {"rename", 1, remove, renaming, KVIO_IO},    {"ftok", 3, fill, renaming, KVIO_EXISTS},
        {"semget", 2, fill, renaming, KVIO_EXISTS},
    };
    for (const auto &[function, nth, deed, run, code] : rows) {
        SCOPED_TRACE(std::string(function) + std::to_string(code));
        unlink(config_path("c.xml").c_str());
        for (const char *name : {"a.xml", "b.xml"}) write_config(name, body);
        faults::intrude(function, deed, nth);
        EXPECT_EQ(call(run).code, code);
        EXPECT_TRUE(faults::struck());
        EXPECT_TRUE(code != KVIO_EXISTS || read_config("c.xml") == "theirs");
        EXPECT_TRUE(code != KVIO_OK ||
                    (call([] { return kvio_open_config("a.xml", 0); }).code == KVIO_LOCKED && save().code == 0));
        close();
        EXPECT_EQ(lock_count(), 0);
    }
}

// The depth of nesting needs no stack, and paths cost no more than their containers.
TEST_F(Hostile, DeepAndManyPaths) {
    const std::string last = "<entity>a</entity>", first = "<container>0</container>";
    const std::tuple<int, size_t, std::string, int, Outcome> rows[] = {{100'000, 1, last, 0, {1, 0}},
                                                                       {100'000, 1, first, 1, {-1, 19}},
                                                                       {30, 2, last, 1, {1 << 30, 0}},
                                                                       {200, 2, last, 1, {-1, 2}}};
    for (const auto &[depth, times, end, loop, size] : rows) {
        std::string text = "<t name='a'/><list name='" + std::to_string(depth) + "' type='t'>" + end + "</list>";
        for (int i = 0; i < depth; ++i)
            text += "<list name='" + std::to_string(i) + "' type='t'>" +
                    repeat("<container>" + std::to_string(i + 1) + "</container>", times) + "</list>";
        open_snapshot(text);
        iterator = kvio_open_list(config, "s", "t", "0");
        EXPECT_EQ(kvio_check_loop(iterator), loop);
        EXPECT_EQ(call([&] { return kvio_real_size(iterator); }), size);
        kvio_entities_t *array = kvio_retrieve_all2(iterator);
        EXPECT_EQ(kvio_errno, size.code);
        kvio_free_entities(array);
    }
}

}  // namespace
