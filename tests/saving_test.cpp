// What saving puts into a file: the bytes, and above all what is left of the old ones when it fails.
#include <fcntl.h>
#include <libxml/parser.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <thread>
#include <utility>

#include "tests/open_document.h"

namespace {

class Saving : public OpenDocument {
protected:
    Outcome save() {
        return call([&] { return kvio_save_config(config); });
    }
    Outcome failure() const { return {-1, 5, "Problem occurred on saving XML to " + path() + "\n"}; }
    // What a save is to write.
    std::string pending() const {
        kvio_dump(config, "/tmp/pending.xml");
        return read_file("/tmp/pending.xml");
    }
    void set(const std::string &value) {
        ASSERT_EQ(kvio_set(kvio_retrieve_entity(config, "s", "t", "e"), "f", value.c_str()), 1);
    }
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
    // A file that went away meanwhile is made again.
    unlink(path().c_str());
    EXPECT_EQ(save().code, 0);
    EXPECT_EQ(file_mode(path()), 0600u);
    EXPECT_EQ(call([] { return kvio_save_config(nullptr); }),
              (Outcome{-1, 6, "kvio_save_config error: passing NULL argument\n"}));
}

// Every error at every step, alone and from then on: the old document or the new one is there, whole, and the next try
// works. Where the file system only cannot reserve room, or a signal arrives, the save itself works.
TEST_F(Saving, EveryStepFails) {
    const std::string values[] = {"old value" + std::string(100, '!'), "v", "new value" + std::string(200, '?')};
    open("<t name=\"e\"><f>" + values[0] + "</f></t>");
    const std::string before = read_config("a.xml");
    int points = 0;
    for (const std::string &value : values) {
        set(value);
        const std::string wanted = pending();
        const Outcome success{static_cast<long>(wanted.size()), 0};
        auto check = [&](bool done) {
            write_config("a.xml", before);
            Outcome outcome = save();
            EXPECT_EQ(outcome, done || !outcome.code ? success : failure());
            const std::string now = read_config("a.xml");
            EXPECT_TRUE(now == wanted || (outcome.code && now == before)) << now;
            EXPECT_TRUE(locked(path()));
            const bool struck = faults::struck();
            points += struck;
            EXPECT_EQ(save(), success);
            EXPECT_EQ(read_config("a.xml"), wanted);
            return struck;
        };
        for (const char *function : {"open", "pread", "fallocate", "pwrite", "ftruncate", "fdatasync", "close"})
            for (int error : {EIO, ENOSPC, EROFS, EDQUOT, EACCES, EFBIG})
                for (faults::Extent extent : {faults::once, faults::from_then_on}) {
                    SCOPED_TRACE(testing::Message() << function << " " << error << " " << extent);
                    faults::each([&](int nth) {
                        faults::fail(function, error, nth, extent);
                        check(false);
                    });
                }
        // Room could not be reserved, and is then not enough.
        for (int error : {EIO, ENOSPC}) {
            faults::fail("fallocate", EOPNOTSUPP);
            faults::shorten("pwrite", 40);
            faults::fail("pwrite", error);
            EXPECT_TRUE(check(false));
        }
        const std::pair<const char *, int> harmless[] = {{"fallocate", EINTR},      {"pread", EINTR},
                                                         {"fallocate", EOPNOTSUPP}, {"fallocate", ENOSYS},
                                                         {"pwrite", EINTR},         {"pwrite", 0}};
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
    EXPECT_GE(points, 240);
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
    for (bool reserves : {true, true, false}) {
        if (!reserves) faults::fail("fallocate", EOPNOTSUPP);
        EXPECT_EQ(save(), full) << reserves;
        EXPECT_EQ(read_file(small_path), before) << reserves;
        EXPECT_EQ(status(small_path).st_blocks, static_cast<long>((before.size() + 4095) / 4096 * 8))
            << "gives the room back";
    }
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

// Compressed files are read; what is written is the XML library's choice.
TEST_F(Saving, CompressedDocuments) {
    const std::string name = "a%41.xml", file = config_path(name);
    open("<t name=\"e\"><f>" + std::string(1000, 'o') + "</f></t>");
    xmlDoc *document = xmlParseFile(path().c_str());
    xmlSetDocCompressMode(document, 9);
    xmlSaveFormatFile("/tmp/a.gz", document, 1);
    xmlFreeDoc(document);
    close();
    for (int mode : {0, 9}) {
        write_file(file, read_file("/tmp/a.gz"));
        ASSERT_EQ(read_file(file).substr(0, 2), "\x1f\x8b");
        ASSERT_EQ(call([&] { return config = kvio_open_config(name.c_str(), 0); }).result, 1);
        uint32_t length = 0;
        EXPECT_EQ(kvio_getlen(kvio_retrieve_entity(config, "s", "t", "e"), "f", &length), 1);
        EXPECT_EQ(length, 1000u);
        xmlSetCompressMode(mode);
        document = xmlParseFile("/tmp/a.gz");
        const int expected = xmlSaveFormatFile("/tmp/expected", document, 1);
        xmlFreeDoc(document);
        for (const char *failing : {"fdatasync", "close"}) {
            faults::fail(failing, EIO, 1, faults::from_then_on);
            EXPECT_EQ(save(), (Outcome{-1, 5, "Problem occurred on saving XML to " + file + "\n"})) << failing << mode;
        }
        EXPECT_EQ(save(), (Outcome{expected, 0}));
        xmlSetCompressMode(0);
        EXPECT_EQ(read_file(file), read_file("/tmp/expected"));
        EXPECT_EQ(read_file(file).substr(0, 2) == "\x1f\x8b", mode == 9);
        close();
    }
}

// Where no process may be started the save does its work alone; a child of the caller's is not taken for the helper.
TEST_F(Saving, TheCallersChildrenAreLeftAlone) {
    open("<t name=\"e\"/>");
    pid_t child = fork();
    if (child == 0) _exit(7);
    EXPECT_GT(save().result, 0);
    int status = 0;
    EXPECT_EQ(waitpid(-1, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 7);
    signal(SIGCHLD, SIG_IGN);
    EXPECT_GT(save().result, 0);
    signal(SIGCHLD, SIG_DFL);
}

}  // namespace
