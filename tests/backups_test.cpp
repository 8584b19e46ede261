// Dumps, scope backups with their snapshots, and checkpoints.
#include "tests/open_document.h"

namespace {

class Backups : public OpenDocument {
protected:
    static constexpr const char *deep =
        "<kavex version=\"1\"><top a=\"1\" b=\"&lt;\"><other/><t name=\"stray\"/><mid c=\"2\">text<s d=\"3\"><t name=\"e\"><f>v &amp; "
        "w</f></t><!-- note --><list name=\"c\" type=\"t\"><entity>e</entity></list></s><after/></mid></top><last/></kavex>";

    static std::string no_scope(const char *who) {
        return std::string(who) + " fatal error: scope not existed or multiple instances\n";
    }

    kvio_checkpoint_t *checkpoint = nullptr;
};

TEST_F(Backups, AScopeBackupHoldsTheScopeAndItsBareAncestors) {
    open_whole(deep);
    const std::string before = saved();
    EXPECT_EQ(call([&] { return kvio_backup_scope(config, "top/mid/s", "/tmp/backup.xml"); }), (Outcome{1, 0}));
    EXPECT_EQ(plain(read_file("/tmp/backup.xml")),
              "<kavex><top a=\"1\" b=\"&lt;\"><mid c=\"2\"><s d=\"3\"><t name=\"e\"><f>v &amp; w</f></t><!-- note -->"
              "<list name=\"c\" type=\"t\"><entity>e</entity></list></s></mid></top></kavex>");
    EXPECT_EQ(read_file("/tmp/backup.xml").rfind("<?xml version=\"1.0\"?>\n<kavex>\n  <top ", 0), 0u) << "it is indented";
    EXPECT_EQ(call([&] { return kvio_backup_scope(config, "last", "/tmp/last.xml"); }), (Outcome{1, 0}));
    EXPECT_EQ(read_file("/tmp/last.xml"), "<?xml version=\"1.0\"?>\n<kavex>\n  <last/>\n</kavex>\n");
    EXPECT_EQ(saved(), before);

    // The snapshot answers under the same scope string.
    kvio_config_t *snapshot = nullptr;
    EXPECT_EQ(call([&] { return snapshot = kvio_restore_scope("/tmp/backup.xml"); }), (Outcome{1, 0}));
    kvio_node_t *entity = kvio_retrieve_entity(snapshot, "top/mid/s", "t", "e");
    char text[16];
    EXPECT_EQ(kvio_get(entity, "f", text), 1);
    EXPECT_STREQ(text, "v & w");
    EXPECT_EQ(call([&] { return iterator = kvio_open_list(snapshot, "top/mid/s", "t", "c"); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return kvio_append(iterator, "x"); }).code, 11);
    close_container();
    // Saving looks at no lock: it writes to the snapshot's own path.
    EXPECT_EQ(kvio_set(entity, "f", "new"), 1);
    EXPECT_GT(call([&] { return kvio_save_config(snapshot); }).result, 0);
    EXPECT_NE(read_file("/tmp/backup.xml").find("<f>new</f>"), std::string::npos);
    EXPECT_EQ(call([&] { return kvio_close_config(snapshot); }), (Outcome{-1, 0, "Semaphore -1 is removed\n"}));
}

TEST_F(Backups, SnapshotsLookForNoLock) {
    open("<t name=\"e\"/>");
    kvio_config_t *snapshot = nullptr;
    EXPECT_EQ(call([&] { return snapshot = kvio_restore_scope(path().c_str()); }), (Outcome{1, 0}));
    EXPECT_EQ(kvio_entity_count(snapshot, "s", "t"), 1);
    call([&] { return kvio_close_config(snapshot); });
    EXPECT_TRUE(locked(path()));
}

TEST_F(Backups, DumpAndRestoreOfAWholeDocument) {
    open_whole(deep);
    const std::string before = saved();
    Outcome dumped = call([&] { return kvio_dump(config, "/tmp/dump.xml"); });
    EXPECT_EQ(dumped, (Outcome{static_cast<long>(read_file("/tmp/dump.xml").size()), 0}));
    EXPECT_EQ(call([&] { return kvio_undefine(config, "top/mid/s", "t", "e"); }).result, 1);
    kvio_config_t *restored = nullptr;
    EXPECT_EQ(call([&] { return restored = kvio_restore(config, "/tmp/dump.xml"); }), (Outcome{1, 0}));
    EXPECT_EQ(kvio_entity_count(config, "top/mid/s", "t"), 0);
    EXPECT_EQ(kvio_entity_count(restored, "top/mid/s", "t"), 1);
    EXPECT_EQ(call([&] { return iterator = kvio_open_list(restored, "top/mid/s", "t", "c"); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return kvio_append(iterator, "e"); }).result, 1) << "it holds the lock, so it may write";
    EXPECT_EQ(call([&] { return kvio_delete(iterator, 2); }).result, 1);
    close_container();
    EXPECT_GT(call([&] { return kvio_save_config(restored); }).result, 0);
    EXPECT_EQ(plain(read_config("a.xml")), before);
    // The documented way to retire the first one: both are closed, whichever comes first.
    EXPECT_TRUE(locked(path()));
    EXPECT_EQ(call([&] { return kvio_close_config(config); }).code, 0);
    EXPECT_EQ(call([&] { return kvio_close_config(restored); }).code, 0);
    config = nullptr;
    EXPECT_FALSE(locked(path()));
}

TEST_F(Backups, FilesThatAreNoDocuments) {
    open("<t name=\"e\"/>");
    const std::string long_path = "/tmp/" + std::string(4091, 'x');
    for (const char *text : {"", "<kavex><s></kavex>", "no document"}) {
        write_file("/tmp/broken.xml", text);
        EXPECT_EQ(call([&] { return kvio_restore(config, "/tmp/broken.xml"); }),
                  (Outcome{0, 3, "restore failed, temporary file is broken.\n"}));
        EXPECT_EQ(call([&] { return kvio_restore_scope("/tmp/broken.xml"); }),
                  (Outcome{0, 3, "/tmp/broken.xml is not well-formed\n"}));
    }
    for (const char *path : {"/tmp/none.xml", "", "/tmp", long_path.c_str(), static_cast<const char *>(nullptr)}) {
        EXPECT_EQ(call([&] { return kvio_restore(config, path); }),
                  (Outcome{0, 3, "restore failed, temporary file is broken.\n"}));
        EXPECT_EQ(call([&] { return kvio_restore_scope(path); }),
                  (Outcome{0, 3, std::string(path ? path : "(null)") + " is not well-formed\n"}));
    }
    EXPECT_EQ(call([&] { return kvio_restore(nullptr, path().c_str()); }),
              (Outcome{0, 6, "kvio_restore error: passing NULL argument\n"}));
    EXPECT_EQ(scope(), "<t name=\"e\"/>");
    EXPECT_TRUE(locked(path()));
}

TEST_F(Backups, WhatCannotBeWritten) {
    open("<t name=\"e\"/>");
    write_file("/tmp/file", "old");
    for (const char *path : {"/tmp/none/x.xml", "/tmp", "/tmp/file/x.xml", ""}) {
        const std::string line = "Problem occurred on saving XML to " + std::string(path) + "\n";
        EXPECT_EQ(call([&] { return kvio_dump(config, path); }), (Outcome{-1, 5, line}));
        EXPECT_EQ(call([&] { return kvio_backup_scope(config, "s", path); }), (Outcome{0, 5, line}));
    }
    EXPECT_EQ(read_file("/tmp/file"), "old");
}

TEST_F(Backups, ARollbackTakesThePlaceOfTheScope) {
    open_whole("<kavex><a/><s k=\"1\"><t name=\"e\"/><list name=\"c\" type=\"t\"/></s><b/></kavex>");
    const std::string before = saved();
    EXPECT_EQ(call([&] { return checkpoint = kvio_create_checkpoint(config, "s"); }), (Outcome{1, 0}));
    EXPECT_EQ(saved(), before);
    open_list();
    kvio_append(iterator, "x");
    close_container();
    kvio_define(config, "s", "t", "f");
    kvio_undefine(config, "s", "t", "e");
    EXPECT_NE(saved(), before);
    EXPECT_EQ(call([&] { return kvio_rollback_checkpoint(config, "missing", checkpoint); }),
              (Outcome{0, 7, no_scope("kvio_rollback_checkpoint")}));
    EXPECT_EQ(call([&] { return kvio_rollback_checkpoint(config, "s", checkpoint); }), (Outcome{1, 0}));
    EXPECT_EQ(saved(), before);
    open_list();
    EXPECT_EQ(call([&] { return kvio_append(iterator, "e"); }), (Outcome{1, 0})) << "the new scope is a full part";
    kvio_entities_t *all = nullptr;
    EXPECT_EQ(call([&] { return all = kvio_retrieve_all(iterator); }), (Outcome{1, 0}));
    EXPECT_EQ(all->count, 1);
    kvio_free_entities(all);
    close_container();

    // Whatever it was copied from, it goes where it is told.
    EXPECT_EQ(call([&] { return checkpoint = kvio_create_checkpoint(config, "b"); }), (Outcome{1, 0}));
    EXPECT_EQ(call([&] { return kvio_rollback_checkpoint(config, "s", checkpoint); }), (Outcome{1, 0}));
    EXPECT_EQ(saved(), "<kavex><a/><b/><b/></kavex>");
    EXPECT_EQ(call([&] { return kvio_create_checkpoint(config, "b"); }), (Outcome{0, 7, no_scope("kvio_create_checkpoint")}));
    EXPECT_EQ(call([&] { return kvio_backup_scope(config, "b", "/tmp/b.xml"); }), (Outcome{0, 7, no_scope("kvio_backup_scope")}));
    EXPECT_FALSE(file_exists("/tmp/b.xml"));
}

TEST_F(Backups, CheckpointsBelongToNoDocument) {
    open("<t name=\"e\"><f>v</f></t>");
    kvio_checkpoint_t *kept = kvio_create_checkpoint(config, "s");
    ASSERT_TRUE(checkpoint = kvio_create_checkpoint(config, "s"));
    open("<u/>");  // closes the document of the checkpoints
    EXPECT_EQ(call([&] { return kvio_rollback_checkpoint(config, "s", checkpoint); }), (Outcome{1, 0}));
    EXPECT_EQ(scope(), "<t name=\"e\"><f>v</f></t>");
    EXPECT_EQ(call([&] { return kvio_rollback_checkpoint(config, "s", nullptr); }),
              (Outcome{0, 15, "kvio_rollback_checkpoint() error: NULL checkpoint\n"}));
    EXPECT_EQ(scope(), "<t name=\"e\"><f>v</f></t>");
    EXPECT_EQ(call([&] { return kvio_rollback_checkpoint(nullptr, "s", kept); }), (Outcome{0, 6}));
    EXPECT_EQ(call([&] { kvio_release_checkpoint(kept); }), (Outcome{0, untouched}));
    EXPECT_EQ(call([&] { kvio_release_checkpoint(nullptr); }), (Outcome{0, untouched}));
    EXPECT_EQ(call([&] { return kvio_create_checkpoint(nullptr, "s"); }), (Outcome{0, 6}));
    EXPECT_EQ(call([&] { return kvio_backup_scope(nullptr, "s", "/tmp/x"); }), (Outcome{0, 6}));
    EXPECT_EQ(call([&] { return kvio_dump(nullptr, "/tmp/x"); }), (Outcome{-1, 6, "kvio_dump error: passing NULL argument\n"}));
}

}  // namespace
