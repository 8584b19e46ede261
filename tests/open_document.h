// One open document for a test of the store: its scope "s" is written in the test and compared whole.
#ifndef KAVEX_TESTS_OPEN_DOCUMENT_H
#define KAVEX_TESTS_OPEN_DOCUMENT_H

#include <regex>
#include <string>

#include "tests/support/appliance.h"

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

    // Opens a list of type "t"; the container opened before is closed.
    void open_list(const char *name) {
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
