// One open document for a test of the store: its scope "s" is written in the test and compared whole.
#ifndef KAVEX_TESTS_OPEN_DOCUMENT_H
#define KAVEX_TESTS_OPEN_DOCUMENT_H

#include <regex>
#include <string>

#include "tests/support/appliance.h"

// What an opened container can be asked and told, whatever its kind.
struct Kind {
    const char *name;
    kvio_iterator_t *(*create)(kvio_config_t *, const char *, const char *, const char *);
    kvio_iterator_t *(*open)(kvio_config_t *, const char *, const char *, const char *);
    int (*dispose)(kvio_config_t *, const char *, const char *, const char *);
    int (*close)(kvio_iterator_t *);
};

inline const Kind kinds[] = {
    {"table", kvio_create_table, kvio_open_table, kvio_dispose_table, kvio_close_table},
    {"list", kvio_create_list, kvio_open_list, kvio_dispose_list, kvio_close_list},
    {"group", kvio_create_group, kvio_open_group, kvio_dispose_group, kvio_close_group},
};

class OpenDocument : public ApplianceTest {
protected:
    void SetUp() override {
        ApplianceTest::SetUp();
        kvio_initialize();
    }

    void TearDown() override {
        close();
        ApplianceTest::TearDown();
    }

    // Opens a document with these elements in its scope "s"; the one before is closed.
    void open(const std::string &scope) { open_whole("<kavex><s>" + scope + "</s></kavex>"); }

    void open_whole(const std::string &document) {
        close();
        write_config("a.xml", document);
        call([&] { return config = kvio_open_config("a.xml", 0); });
        ASSERT_TRUE(config) << document;
    }

    // The same as a snapshot.
    void open_snapshot(const std::string &scope) {
        close();
        write_file("/tmp/snapshot.xml", "<kavex><s>" + scope + "</s></kavex>");
        ASSERT_TRUE(config = kvio_restore_scope("/tmp/snapshot.xml"));
    }

    void close() {
        close_container();
        if (config) call([&] { return kvio_close_config(config); });
        config = nullptr;
    }

    // Opens the list "c" (or another one) of type "t"; the one before is closed.
    void open_list(const char *name = "c") {
        close_container();
        ASSERT_TRUE(iterator = kvio_open_list(config, "s", "t", name));
    }

    void close_container() {
        kvio_close_list(iterator);
        iterator = nullptr;
    }

    // The document as it would be saved, without declaration and indentation.
    std::string saved() const {
        kvio_dump(config, "/tmp/saved.xml");
        return plain(read_file("/tmp/saved.xml"));
    }

    std::string scope() const {
        std::string text = saved(), open = "<kavex><s>", end = "</s></kavex>";
        if (text == "<kavex><s/></kavex>") return "";
        if (text.rfind(open, 0) != 0) return text;
        return text.substr(open.size(), text.size() - open.size() - end.size());
    }

    // What is in the scope's only element.
    std::string content() const {
        std::string text = scope();
        size_t begin = text.find('>') + 1, end = text.rfind("</");
        return end == text.npos ? "" : text.substr(begin, end - begin);
    }

    static std::string plain(std::string text) {
        const std::string declaration = "<?xml version=\"1.0\"?>\n";
        if (text.rfind(declaration, 0) == 0) text.erase(0, declaration.size());
        return std::regex_replace(text, std::regex(">[ \n]+(?=<|$)"), ">");
    }

    std::string path() const { return config_path("a.xml"); }

    kvio_config_t *config = nullptr;
    kvio_iterator_t *iterator = nullptr;
};

#endif
