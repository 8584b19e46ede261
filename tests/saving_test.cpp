// What saving puts into a file: the bytes, and above all what is left of the old ones when it fails.
#include <fcntl.h>
#include <libxml/parser.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <thread>
#include <tuple>
#include <utility>

#include "tests/open_document.h"

namespace {

class Saving : public OpenDocument {
protected:
    Outcome save() {
        return call([&] { return kvio_save_config(config); });
    }
    Outcome failure() const { return {-1, 5, "Problem occurred on saving XML to " + path() + "\n"}; }
    // The document as any reader finds it, also where a save that failed has left the file torn.
    std::string loaded() const {
        kvio_config_t *found = nullptr;
        call([&] { return found = kvio_restore_scope(path().c_str()); });
        if (!found) return "";
        kvio_dump(found, "/tmp/loaded.xml");
        call([&] { return kvio_close_config(found); });
        return read_file("/tmp/loaded.xml");
    }
    // What a save is to write.
    std::string pending() const {
        kvio_dump(config, "/tmp/pending.xml");
        return read_file("/tmp/pending.xml");
    }
    void set(const std::string &value) {
        ASSERT_EQ(kvio_set(kvio_retrieve_entity(config, "s", "t", "e"), "f", value.c_str()), 1);
    }
    uint32_t length_ = 0;
    static struct stat status(const std::string &path) {
        struct stat now = {};
        EXPECT_EQ(stat(path.c_str(), &now), 0);
        return now;
    }
};

std::string utf16(const std::string &ascii) {
    std::string text = "\xff\xfe";
    for (char c : ascii) text += {c, '\0'};
    return text;
}

TEST_F(Saving, WritesTheBytesOfTheLibrary) {
    const std::string body =
        "<kavex a=\"&lt;&#10;&quot;'\"><s><t name=\"e\"><f>a&amp;b &#233; &#8364;</f><g/><h></h></t></s></kavex>";
    const std::string documents[] = {
        body,
        body + "\n\n",
        "<kavex/>",
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + body,
        "<?xml version=\"1.0\" encoding=\"utf-8\" standalone=\"yes\"?>" + body,
        "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><kavex><s>\xe9<t name=\"\xe9\">&#8364;</t></s></kavex>",
        "<?xml version=\"1.0\" encoding=\"US-ASCII\"?>" + body,
        "<?xml version=\"1.0\" encoding=\"windows-1252\"?><kavex><s>\x80</s></kavex>",
        "<?xml version=\"1.0\" encoding=\"EUC-JP\"?><kavex><s>\xc6\xfc</s></kavex>",
        utf16("<?xml version=\"1.0\" encoding=\"UTF-16\"?>" + body),
        utf16(body),
        "<kavex>\n  <s>\n\t<t name=\"e\"><f>1</f>\n\n</t>text<u><v/></u></s>\n</kavex>",
        "<kavex><s>mixed <b>content</b> here</s><s xml:space=\"preserve\"><a> <b/></a></s></kavex>",
        "<!DOCTYPE kavex [<!ENTITY x \"<y/>\"><!ELEMENT kavex ANY><!ATTLIST t id ID #IMPLIED>]><kavex>&x;<t "
        "id=\"i\"/></kavex>",
        "<!DOCTYPE kavex SYSTEM \"none.dtd\"><kavex><s>&undeclared;</s></kavex>",
        "<!-- a --><?pi b?>\n<kavex><!-- c --><?pi?><![CDATA[<d>]]></kavex><!-- e -->",
        "<n:kavex xmlns:n=\"urn:n\" xmlns=\"urn:d\"><s n:a=\"1\"/></n:kavex>",
    };
    for (const std::string &document : documents) {
        open_whole(document);
        xmlDoc *same = xmlParseFile(path().c_str());
        const int expected = xmlSaveFormatFile("/tmp/expected.xml", same, 1);
        xmlFreeDoc(same);
        const struct stat before = status(path());
        EXPECT_EQ(save(), (Outcome{static_cast<long>(read_file("/tmp/expected.xml").size()), 0})) << document;
        EXPECT_EQ(read_config("a.xml"), read_file("/tmp/expected.xml")) << document;
        EXPECT_EQ(expected, static_cast<long>(read_file("/tmp/expected.xml").size())) << document;
        EXPECT_EQ(status(path()).st_ino, before.st_ino) << "the lock hangs on it";
        EXPECT_EQ(status(path()).st_mode, before.st_mode);
    }
}

TEST_F(Saving, ShorterAndLongerDocuments) {
    open("<t name=\"e\"/>");
    for (std::size_t size : {1u, 300000u, 299999u, 4096u, 4097u, 0u}) {
        set(std::string(size, 'v'));
        const std::string wanted = pending();
        EXPECT_EQ(save(), (Outcome{static_cast<long>(wanted.size()), 0}));
        EXPECT_EQ(read_config("a.xml"), wanted);
        EXPECT_LE(status(path()).st_blocks * 512, static_cast<long>(wanted.size() / 4096 + 1) * 4096) << "no room kept";
    }
    // What has not changed is not written.
    const struct stat before = status(path());
    for (const char *function : {"pwrite", "ftruncate"}) faults::fail(function, EIO, 1, faults::from_then_on);
    EXPECT_EQ(save().code, 0);
    EXPECT_EQ(status(path()).st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    EXPECT_EQ(status(path()).st_ctim.tv_nsec, before.st_ctim.tv_nsec);
    // Nobody reads the redo file who may not read the file.
    for (mode_t mode : {0644u, 0600u}) {
        chmod(path().c_str(), mode);
        set(std::to_string(mode));
        EXPECT_EQ(save().code, 0);
        for (const auto &entry : std::filesystem::directory_iterator("/etc/kavex/conf"))
            EXPECT_EQ(is_redo_file(entry.path()) ? file_mode(entry.path()) : mode, mode);
    }
    // A file that went away meanwhile is made again.
    unlink(path().c_str());
    EXPECT_EQ(save().code, 0);
    EXPECT_EQ(file_mode(path()), 0600u);
    EXPECT_EQ(call([] { return kvio_save_config(nullptr); }),
              (Outcome{-1, 6, "kvio_save_config error: passing NULL argument\n"}));
}

// Every error at every step, alone and from then on: the old document or the new one is there, whole, and the next try
// works. Where a signal arrives the save itself works.
TEST_F(Saving, EveryStepFails) {
    const std::string values[] = {"old valuE" + std::string(100, '!'), "v", "new value" + std::string(200, '?')};
    open("<t name=\"e\"><f>old value" + std::string(100, '!') + "</f></t>");
    const std::string before = pending();
    int points = 0;
    for (const std::string &value : values) {
        set(value);
        const std::string wanted = pending();
        const Outcome success{static_cast<long>(wanted.size()), 0};
        auto check = [&](bool done) {
            write_config("a.xml", before);
            Outcome outcome = save();
            EXPECT_EQ(outcome, done || !outcome.code ? success : failure());
            const std::string now = loaded();
            EXPECT_TRUE(now == wanted || (outcome.code && now == before)) << now;
            EXPECT_TRUE(locked(path()));
            const bool struck = faults::struck();
            points += struck;
            EXPECT_EQ(save(), success);
            EXPECT_EQ(read_config("a.xml"), wanted);
            return struck;
        };
        for (const char *function : {"open", "pread", "pwrite", "ftruncate", "fdatasync", "fsync", "close"})
            for (int error : {EIO, ENOSPC, EROFS, EDQUOT, EACCES, EFBIG})
                for (faults::Extent extent : {faults::once, faults::from_then_on}) {
                    SCOPED_TRACE(testing::Message() << function << " " << error << " " << extent);
                    faults::each([&](int nth) {
                        faults::fail(function, error, nth, extent);
                        check(false);
                    });
                }
        const std::pair<const char *, int> harmless[] = {{"pread", EINTR}, {"pwrite", EINTR}, {"pwrite", 0}};
        for (auto [function, error] : harmless) {
            SCOPED_TRACE(testing::Message() << function << " " << error);
            if (error)
                faults::fail(function, error);
            else
                faults::shorten(function, 7);
            EXPECT_TRUE(check(true));
        }
    }
    std::printf("%d injected errors\n", points);
    EXPECT_GE(points, 200);
}

// A file system of 256 KiB, and a limit on the size of files: what does not fit leaves what is there.
TEST_F(Saving, AFullDiskLeavesTheOldFileWhole) {
    open("<t name=\"e\"/>");
    set(std::string(100000, 'o'));
    const std::string small = small_disk("a.xml"), small_path = config_path(small),
                      elsewhere = config_path(small_disk("b.xml"));
    ASSERT_GT(call([&] { return kvio_save_as(config, small.c_str()); }).result, 0);
    const std::string before = read_file(small_path);
    const Outcome full{-1, 5, "Problem occurred on saving XML to " + small_path + "\n"};
    set(std::string(300000, 'n'));
    EXPECT_EQ(save(), full);
    EXPECT_EQ(read_file(small_path), before);
    EXPECT_EQ(status(small_path).st_blocks, static_cast<long>((before.size() + 4095) / 4096 * 8))
        << "gives the room back";
    EXPECT_EQ(call([&] { return kvio_dump(config, elsewhere.c_str()); }),
              (Outcome{-1, 5, "Problem occurred on saving XML to " + elsewhere + "\n"}));
    set(std::string(120000, 'w'));
    EXPECT_GT(save().result, 120000);
    const std::string after = read_file(small_path);
    set(std::string(120001, 'x'));
    rlimit before_limit = {};
    getrlimit(RLIMIT_FSIZE, &before_limit);
    for (rlim_t size : {500u, 110000u}) {  // met before anything is written, or a signal would end the process
        const rlimit tight = {size, before_limit.rlim_max};
        setrlimit(RLIMIT_FSIZE, &tight);
        Outcome limited = save();
        setrlimit(RLIMIT_FSIZE, &before_limit);
        EXPECT_EQ(limited, full) << size;
        EXPECT_EQ(read_file(small_path), after) << size;
    }
    const rlimit tight = {500, before_limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &tight);
    Outcome fresh = call([&] { return kvio_dump(config, "/tmp/fresh.xml"); });
    setrlimit(RLIMIT_FSIZE, &before_limit);
    EXPECT_EQ(fresh.code, 5);
    EXPECT_FALSE(file_exists("/tmp/fresh.xml"));
    EXPECT_GT(save().result, 120001);
}

TEST_F(Saving, ANameIsNothingButAPath) {
    const std::string text = "<?xml version=\"1.0\"?>\n<kavex/>\n";
    const std::filesystem::path here = std::filesystem::current_path();
    std::filesystem::create_directories("/tmp/names/http:/host");
    std::filesystem::create_directories("/tmp/names/file:/tmp");
    std::filesystem::current_path("/tmp/names");
    for (const char *name : {"-", "a%41.xml", "http://host/a.xml", "file:/tmp/a.xml", "a b.xml.gz", "\xff", "a?b#c"}) {
        open_whole("<kavex/>");
        EXPECT_EQ(call([&] { return kvio_dump(config, name); }), (Outcome{static_cast<long>(text.size()), 0})) << name;
        EXPECT_EQ(read_file(std::string("/tmp/names/") + name), text);
        kvio_config_t *read = nullptr;
        EXPECT_EQ(call([&] { return read = kvio_restore_scope(name); }), (Outcome{1, 0})) << name;
        EXPECT_EQ(call([&] { return kvio_save_config(read); }), (Outcome{static_cast<long>(text.size()), 0})) << name;
        call([&] { return kvio_close_config(read); });
        if (std::string(name).find('/') != std::string::npos) continue;
        EXPECT_GT(call([&] { return kvio_save_as(config, name); }).result, 0) << name;
        EXPECT_EQ(read_config(name), text);
        EXPECT_GT(save().result, 0);
    }
    EXPECT_FALSE(file_exists("/tmp/names/aA.xml") || file_exists(config_path("aA.xml")));
    std::filesystem::current_path(here);
}

TEST_F(Saving, TargetsThatAreNoFiles) {
    open("<t name=\"e\"><f>" + std::string(200000, 'v') + "</f></t>");
    EXPECT_EQ(call([&] { return kvio_dump(config, "/dev/full"); }),
              (Outcome{-1, 5, "Problem occurred on saving XML to /dev/full\n"}));
    EXPECT_GT(call([&] { return kvio_dump(config, "/dev/null"); }).result, 200000);
    ASSERT_EQ(mkfifo("/tmp/fifo", 0600), 0);
    std::string arrived;
    std::thread reader([&] { arrived = read_file("/tmp/fifo"); });
    Outcome outcome = call([&] { return kvio_dump(config, "/tmp/fifo"); });
    reader.join();
    EXPECT_EQ(outcome, (Outcome{static_cast<long>(arrived.size()), 0}));
    EXPECT_EQ(arrived, pending());
}

// What the parser would not take back is refused by everything that writes, and named; the file and the document stay.
TEST_F(Saving, NothingIsSavedThatCannotBeReadBack) {
    const std::string long_text(10'000'000, 'x');
    const std::tuple<const char *, std::string, const char *> rows[] = {
        {"f", "Latin-1 \xe9", "/kavex/s/t/f"},
        {"f", "a control character \x01", "/kavex/s/t/f"},
        {"f", "an overlong A \xc1\x81", "/kavex/s/t/f"},
        {"f", "a surrogate \xed\xa0\x80", "/kavex/s/t/f"},
        {"f", "cut off \xe2\x82", "/kavex/s/t/f"},
        {"my field", "v", "/kavex/s/t/my field"},
        {"-f", "v", "/kavex/s/t/-f"},
        {"f<", "v", "/kavex/s/t/f<"},
    };
    const std::string before = "<kavex><s><t name=\"e\"/></s></kavex>";
    for (const auto &[field, value, culprit] : rows) {
        SCOPED_TRACE(std::string(field) + "=" + value.substr(0, 30));
        open_whole(before);
        kvio_node_t *entity = kvio_retrieve_entity(config, "s", "t", "e");
        ASSERT_EQ(kvio_set(entity, field, value.c_str()), 1);
        auto refused = [&, place = culprit](const std::string &who, const std::string &target) {
            return who + " error: " + place + " has a name, text or depth that XML cannot hold\n" +
                   "Problem occurred on saving XML to " + target + "\n";
        };
        EXPECT_EQ(save(), (Outcome{-1, 5, refused("kvio_save_config", path())}));
        EXPECT_EQ(errno, EILSEQ);
        EXPECT_EQ(call([&] { return kvio_dump(config, "/tmp/dump.xml"); }),
                  (Outcome{-1, 5, refused("kvio_dump", "/tmp/dump.xml")}));
        EXPECT_EQ(call([&] { return kvio_backup_scope(config, "s", "/tmp/dump.xml"); }),
                  (Outcome{0, 5, refused("kvio_backup_scope", "/tmp/dump.xml")}));
        EXPECT_EQ(read_config("a.xml"), before);
        EXPECT_FALSE(file_exists("/tmp/dump.xml"));
        EXPECT_EQ(kvio_getlen(entity, field, &length_), 1);
    }
    // What only the parser knows: its limits on texts, also where they are longer once written.
    const std::string refused_whole =
        "kvio_save_config error: it would not be read back\nProblem occurred on saving XML to ";
    for (const std::string &value : {long_text + "x", std::string(4'000'000, '<')}) {
        open_whole(before);
        ASSERT_EQ(kvio_setattr_entity(kvio_retrieve_entity(config, "s", "t", "e"), "a", value.c_str()), 1);
        EXPECT_EQ(save(), (Outcome{-1, 5, refused_whole + path() + "\n"}));
        EXPECT_EQ(read_config("a.xml"), before);
    }
    open_whole("<kavex><s><t name=\"e\" xmlns:p=\"u\"/></s></kavex>");
    EXPECT_EQ(kvio_setattr_entity(kvio_retrieve_entity(config, "s", "t", "e"), "xmlns:p", "v"), 1);
    EXPECT_EQ(save().code, 5) << "declared twice";
    // Names and texts that only look strange.
    open_whole(before);
    kvio_node_t *entity = kvio_retrieve_entity(config, "s", "t", "e");
    for (const char *field : {"\xc3\xa9", "a:b", "_", "f.-1\xc2\xb7", "\xf0\x9f\x98\x80"})
        EXPECT_EQ(kvio_set(entity, field, "\t\n\r \x7f \xe2\x82\xac \xf0\x9f\x98\x80 ]]> <&>"), 1);
    EXPECT_EQ(kvio_set(entity, "long", long_text.c_str()), 1);
    EXPECT_GT(save().result, 10'000'000);
    kvio_config_t *copy = nullptr;
    call([&] { return copy = kvio_restore_scope(path().c_str()); });
    ASSERT_TRUE(copy);
    EXPECT_EQ(kvio_getlen(kvio_retrieve_entity(copy, "s", "t", "e"), "long", &length_), 1);
    EXPECT_EQ(length_, long_text.size());
    call([&] { return kvio_close_config(copy); });
    // Attributes and types by the same rules; an encoding whose name the parser does not know.
    open_whole(before);
    EXPECT_EQ(kvio_setattr_entity(kvio_retrieve_entity(config, "s", "t", "e"), "a b", "v"), 1);
    EXPECT_EQ(save().code, 5);
    open_whole(before);
    EXPECT_EQ(kvio_define(config, "s", "1t", "e"), 1);
    EXPECT_EQ(save().err.substr(0, 37), "kvio_save_config error: /kavex/s/1t h");
}

}  // namespace
