// Dumps, scope backups with their snapshots, and checkpoints.
#include "tests/open_document.h"

namespace {

class Backups : public OpenDocument {
protected:
    static std::string no_scope(const std::string &who) {
        return who + " fatal error: scope not existed or multiple instances\n";
    }
    static std::string bare(const std::string &path) { return plain(read_file(path)); }

    const std::string deep_scope = "<s d=\"3\"><t name=\"e\"><f>v &amp; w</f></t><!-- note -->"
                                   "<list name=\"c\" type=\"t\"><entity>e</entity></list></s>";
    const std::string deep = "<kavex version=\"1\"><top a=\"1\" b=\"&lt;\"><other/><t name=\"stray\"/><mid c=\"2\">" +
                             deep_scope + "<after/></mid></top><last/></kavex>";
    kvio_config_t *copy = nullptr;
};

TEST_F(Backups, AScopeBackupHoldsTheScopeAndItsBareAncestors) {
    open_whole(deep);
    EXPECT_EQ(call([&] { return kvio_backup_scope(config, "top/mid/s", "/tmp/backup.xml"); }), (Outcome{1, 0}));
    EXPECT_EQ(bare("/tmp/backup.xml"),
              "<kavex><top a=\"1\" b=\"&lt;\"><mid c=\"2\">" + deep_scope + "</mid></top></kavex>");
    EXPECT_EQ(call([&] { return kvio_backup_scope(config, "last", "/tmp/last.xml"); }), (Outcome{1, 0}));
    EXPECT_EQ(read_file("/tmp/last.xml"), "<?xml version=\"1.0\"?>\n<kavex>\n  <last/>\n</kavex>\n");
    EXPECT_EQ(saved(), deep);

    // The snapshot answers under the same scope string, holds no lock, and is saved to its own path.
    EXPECT_EQ(call([&] { return copy = kvio_restore_scope("/tmp/backup.xml"); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return iterator = kvio_open_list(copy, "top/mid/s", "t", "c"); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return kvio_append(iterator, "x"); }).code, 11);
    close_container();
    EXPECT_EQ(kvio_set(kvio_retrieve_entity(copy, "top/mid/s", "t", "e"), "f", "new"), 1);
    EXPECT_GT(call([&] { return kvio_save_config(copy); }).result, 0);
    EXPECT_NE(read_file("/tmp/backup.xml").find("<f>new</f>"), std::string::npos);
    EXPECT_EQ(call([&] { return kvio_close_config(copy); }), (Outcome{-1, 0, "Semaphore -1 is removed\n"}));
    EXPECT_EQ(call([&] { return copy = kvio_restore_scope(path().c_str()); }), (Outcome{1, 0})) << "locked or not";
    call([&] { return kvio_close_config(copy); });
    EXPECT_TRUE(locked(path()));
}

TEST_F(Backups, DumpAndRestoreOfAWholeDocument) {
    open_whole(deep);
    const Outcome dumped = call([&] { return kvio_dump(config, "/tmp/dump.xml"); });
    EXPECT_EQ(dumped, (Outcome{static_cast<long>(read_file("/tmp/dump.xml").size()), 0}));
    EXPECT_EQ(kvio_undefine(config, "top/mid/s", "t", "e"), 1);
    EXPECT_EQ(call([&] { return copy = kvio_restore(config, "/tmp/dump.xml"); }), (Outcome{1, 0}));
    EXPECT_EQ(kvio_entity_count(config, "top/mid/s", "t"), 0);
    iterator = kvio_open_list(copy, "top/mid/s", "t", "c");
    EXPECT_EQ(call([&] { return kvio_insert(iterator, "e", 1); }).result, 1) << "it holds the lock, so it may write";
    EXPECT_EQ(call([&] { return kvio_delete(iterator, 1); }).result, 1);
    close_container();
    EXPECT_GT(call([&] { return kvio_save_config(copy); }).result, 0);
    EXPECT_EQ(bare(path()), deep);
    // The documented way to retire the first one: both are closed, whichever comes first.
    EXPECT_TRUE(locked(path()));
    EXPECT_EQ(call([&] { return kvio_close_config(config); }).code, 0);
    EXPECT_EQ(call([&] { return kvio_close_config(copy); }).code, 0);
    config = nullptr;
    EXPECT_FALSE(locked(path()));
}

TEST_F(Backups, PathsThatCannotBeReadOrWritten) {
    open("<t name=\"e\"/>");
    write_file("/tmp/broken.xml", "<kavex><s></kavex>");
    const std::string long_path = "/tmp/" + std::string(4091, 'x');
    const char *null = nullptr;
    for (const char *path : {"/tmp/broken.xml", "/tmp/none.xml", "", "/tmp", long_path.c_str(), null}) {
        EXPECT_EQ(call([&] { return kvio_restore(config, path); }),
                  (Outcome{0, 3, "restore failed, temporary file is broken.\n"}));
        EXPECT_EQ(call([&] { return kvio_restore_scope(path); }),
                  (Outcome{0, 3, std::string(path ? path : "(null)") + " is not well-formed\n"}));
    }
    for (const char *path : {"/tmp/none/x.xml", "/tmp", "/tmp/broken.xml/x.xml", "", null}) {
        const std::string line = "Problem occurred on saving XML to " + std::string(path ? path : "(null)") + "\n";
        EXPECT_EQ(call([&] { return kvio_dump(config, path); }), (Outcome{-1, 5, line}));
        EXPECT_EQ(call([&] { return kvio_backup_scope(config, "s", path); }), (Outcome{0, 5, line}));
    }
    EXPECT_EQ(scope(), "<t name=\"e\"/>");
    EXPECT_TRUE(locked(path()));
}

TEST_F(Backups, ARollbackTakesThePlaceOfTheScope) {
    const std::string before = "<kavex><a/><s k=\"1\"><t name=\"e\"/><list name=\"c\" type=\"t\"/></s><b/></kavex>";
    open_whole(before);
    kvio_checkpoint_t *kept = kvio_create_checkpoint(config, "s"), *checkpoint = nullptr;
    EXPECT_EQ(call([&] { return checkpoint = kvio_create_checkpoint(config, "s"); }), (Outcome{1, 0}));
    EXPECT_EQ(saved(), before);
    open_whole("<kavex><a/><s><u/></s><b/></kavex>");  // closes the document of the checkpoints
    EXPECT_EQ(call([&] { return kvio_rollback_checkpoint(config, "missing", checkpoint); }),
              (Outcome{0, 7, no_scope("kvio_rollback_checkpoint")}));
    EXPECT_EQ(call([&] { return kvio_rollback_checkpoint(config, "s", nullptr); }),
              (Outcome{0, 15, "kvio_rollback_checkpoint() error: NULL checkpoint\n"}));
    EXPECT_EQ(call([&] { return kvio_rollback_checkpoint(config, "s", checkpoint); }), (Outcome{1, 0}));
    EXPECT_EQ(saved(), before);
    open_list();
    EXPECT_EQ(call([&] { return kvio_append(iterator, "e"); }), (Outcome{1, 0})) << "the new scope is a full part";
    EXPECT_EQ(call([&] { return kvio_retrieve_index(iterator, 1); }), (Outcome{1, 0}));
    close_container();

    // Whatever it was copied from, it goes where it is told.
    checkpoint = kvio_create_checkpoint(config, "b");
    EXPECT_EQ(call([&] { return kvio_rollback_checkpoint(config, "s", checkpoint); }), (Outcome{1, 0}));
    EXPECT_EQ(saved(), "<kavex><a/><b/><b/></kavex>");
    EXPECT_EQ(call([&] { return kvio_backup_scope(config, "b", "/tmp/b.xml"); }),
              (Outcome{0, 7, no_scope("kvio_backup_scope")}));
    EXPECT_FALSE(file_exists("/tmp/b.xml"));
    EXPECT_EQ(call([&] { kvio_release_checkpoint(kept); }), (Outcome{0, untouched}));
    EXPECT_EQ(call([&] { kvio_release_checkpoint(nullptr); }), (Outcome{0, untouched}));
}

}  // namespace
