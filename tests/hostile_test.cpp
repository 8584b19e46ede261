// Documents that nobody meant to be read, or that cannot be written: broken, enormous, built to do harm, or in other
// encodings.
#include <libxml/parser.h>

#include <array>

#include "tests/support/appliance.h"

using namespace std::string_literals;

namespace {

const std::string head = "<kavex><s><t name='a'", tail = "</t></s></kavex>", body = head + ">" + tail;

std::string repeat(const std::string &text, size_t times) {
    std::string all;
    while (times--) all += text;
    return all;
}

std::string document(const std::string &declarations, const std::string &value, const std::string &attribute = "") {
    return "<!DOCTYPE kavex [" + declarations + "]>" + head + " b='" + attribute + "'>" + value + tail;
}

// Entities e0 to e9, each ten times the one before.
std::string tenfold(const std::string &first) {
    std::string all = "<!ENTITY e0 '" + first + "'>";
    for (int i = 1; i < 10; ++i)
        all += "<!ENTITY e" + std::to_string(i) + " '" + repeat("&e" + std::to_string(i - 1) + ";", 10) + "'>";
    return all;
}

std::string in(const std::string &encoding, const std::string &value = "") {
    return "<?xml version='1.0' encoding='" + encoding + "'?>" + head + ">" + value + tail;
}

std::string deep(size_t levels) {
    return "<kavex>" + repeat("<b>", levels) + "<s><t name='a'/></s>" + repeat("</b>", levels) + "</kavex>";
}

class Hostile : public ApplianceTest {
protected:
    Outcome open_file(const std::string &file) {
        close();
        write_config("a.xml", file);
        return call([&] { return config = kvio_open_config("a.xml", 0); });
    }
    Outcome save() {
        return call([&] { return kvio_save_config(config); });
    }
    kvio_node_t *entity() const { return kvio_retrieve_entity(config, "/s", "t", "a"); }
};

TEST_F(Hostile, WhatIsNoDocumentIsRefused) {
    const std::string padding(4'000'000, ' '), large(100'000, 'x');
    std::vector<std::string> files = {
        "<kavex><s>a\0b</s></kavex>"s,
        in("UTF-8", "\xe4"),
        deep(1'000'000),
        "<kavex><s>" + repeat(large, 101) + "</s></kavex>",
        "\x1f\x8b\x08\0\0\0\0\0\x02\x03\xb3\xc9N,K\xad\xd0\xb7\x03\0\xcbS\xac\x0e\x08\0\0\0"s,  // compressed
        document(tenfold("lol"), "", "&e9;"),
        // In a file of this size the XML library's own check lets them pass.
        document(padding + tenfold("lol"), "&e7;"),
        document(padding + tenfold("<b/>"), "&e7;"),
        document(padding + tenfold(""), "&e6;"),
        document("<!ENTITY e '" + large + "'>", "", repeat("&e;", 11)),
    };
    for (size_t size = 0; size < body.size(); ++size) files.push_back(body.substr(0, size));
    for (const std::string &file : files)
        EXPECT_EQ(open_file(file), (Outcome{0, KVIO_MALFORMED, "/etc/kavex/conf/a.xml is not well-formed\n"}))
            << file.substr(0, 60);
}

// What the parser would not take back is refused, and named; the file and the document stay. What it takes is written
// as the XML library writes it.
TEST_F(Hostile, NothingIsSavedThatCannotBeReadBack) {
    const std::string huge(10'000'000, 'x'), odd = "\t\n\r \x7f \xe2\x82\xac \xf0\x9f\x98\x80 ]]> <&>";
    std::string many;
    for (int i = 0; i < 2000; ++i) many += "<f" + std::to_string(i) + "/>";
    const std::array<std::string, 4> rows[] = {
        {body, "f", "Latin-1 \xe9", "/kavex/s/t/f has a name, text or depth that XML cannot hold\n"},
        {body, "f", "a control character \x01", "/kavex/s/t/f has"},
        {body, "f", "an overlong A \xc1\x81", "/kavex/s/t/f has"},
        {body, "f", "a surrogate \xed\xa0\x80", "/kavex/s/t/f has"},
        {head + ">" + many + tail, "my field", "v", "/kavex/s/t/my field has"},
        {body, "-f", "v", "/kavex/s/t/-f has"},
        {body, std::string(50'001, 'n'), "v", "/kavex/s/t/nnn"},
        {body, "f", huge + "x", "it would not be read back\n"},
        {body, "@b", "\x01", "/kavex/s/t has"},
        {head + " xmlns:n='u'>" + tail, "@xmlns:n", "v", "/kavex/s/t has"},
        {in("ISO-885-91"), "f", "\xc3\xa4\xe2\x82\xac", "it would not be read back\n"},  // which is written in part
        {deep(254), "f", "v", "/kavex/b/b"},
        {deep(253), "f", odd, ""},
        {body, "\xc3\xa9.-1\xe2\x81\x80", odd, ""},
        {body, "f", huge, ""},
        {in("windows-1252", "\x80"), "f", "\xe2\x82\xac ]]> <&>", ""},
        {body + std::string(4096, '\0'), "f", odd, ""},  // which a crash of the system can leave
        {document("<!ENTITY e 'amp'><!ENTITY f '&e;&e;'>", repeat("&e;", 1000), "&f;") + "<!-- c -->", "f", odd, ""},
    };
    for (const auto &[file, field, value, reason] : rows) {
        SCOPED_TRACE(file.substr(0, 60) + " " + field.substr(0, 30) + "=" + value.substr(0, 30));
        ASSERT_EQ(open_file(file).result, 1);
        const bool is_attribute = field[0] == '@';
        const auto set = is_attribute ? kvio_setattr_entity : kvio_set;
        ASSERT_EQ(set(entity(), field.c_str() + is_attribute, value.c_str()), 1);
        const int size = xmlSaveFormatFile("/tmp/expected.xml", entity()->doc, 1);
        const Outcome saved = save();
        EXPECT_EQ(saved.result, reason.empty() ? size : -1);
        EXPECT_THAT(saved.err, testing::HasSubstr(reason.empty() ? "" : " error: " + reason));
        EXPECT_EQ(read_config("a.xml"), reason.empty() ? read_file("/tmp/expected.xml") : file);
        if (!reason.empty()) continue;
        ASSERT_EQ(open_file(read_config("a.xml")).result, 1);
        std::string read(value.size(), '?');
        EXPECT_EQ(kvio_get(entity(), field.c_str(), &read[0]), 1);
        EXPECT_EQ(read, value);
    }
    open_file("<!DOCTYPE kavex [<!ENTITY e '" + huge.substr(0, 600'000) +
              "'>]><kavex><s><list name='l' type='t'/></s></kavex>");
    iterator = kvio_open_list(config, "s", "t", "l");
    const std::string refusal = "kvio_save_config error: references to entities stand for too much\n";
    for (const Outcome &outcome :
         {Outcome{600'156, 0}, Outcome{-1, KVIO_IO, refusal + "Problem occurred on saving XML to " + path() + "\n"}}) {
        EXPECT_EQ(kvio_insert(iterator, "&e;", 1), 1);
        EXPECT_EQ(save(), outcome);
    }
    for (const auto &[markup, text] : {std::pair("<!--c-->", "a--b"), {"<?p c?>", "?>"}}) {
        open_file(head + ">" + markup + tail);
        xmlNodeSetContent(entity()->children, reinterpret_cast<const xmlChar *>(text));
        EXPECT_EQ(save().code, KVIO_IO);
    }
}

// The depth of nesting needs no stack, and paths cost no more than their containers.
TEST_F(Hostile, DeepAndManyPaths) {
    const std::tuple<int, size_t, int, Outcome> rows[] = {
        {100'000, 1, 0, {1, 0}}, {30, 2, 1, {1 << 30, 0}}, {200, 2, 1, {-1, 2}}};
    for (const auto &[depth, times, loop, size] : rows) {
        std::string text = "<t name='a'/><list name='" + std::to_string(depth) + "' type='t'><entity>a</entity></list>";
        for (int i = 0; i < depth; ++i)
            text += "<list name='" + std::to_string(i) + "' type='t'>" +
                    repeat("<container>" + std::to_string(i + 1) + "</container>", times) + "</list>";
        open(text);
        iterator = kvio_open_list(config, "s", "t", "0");
        EXPECT_EQ(kvio_check_loop(iterator), loop);
        EXPECT_EQ(call([&] { return kvio_real_size(iterator); }), size);
        kvio_entities_t *array = kvio_retrieve_all2(iterator);
        EXPECT_EQ(kvio_errno, size.code);
        kvio_free_entities(array);
    }
}

}  // namespace
