// What a save leaves when a step of it fails, when its process is killed, and beside others that save and read.
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <random>

#include "tests/support/appliance.h"

namespace {

class Saving : public OpenDocument {
protected:
    Outcome save() {
        return call([&] { return kvio_save_config(config); });
    }
    static Outcome failure(const std::string &path = OpenDocument::path()) {
        return {-1, 5, "Problem occurred on saving XML to " + path + "\n"};
    }
    static bool set(kvio_config_t *of, const std::string &value) {
        return kvio_set(kvio_retrieve_entity(of, "s", "t", "e"), "f", value.c_str()) == 1;
    }
    // The value in a file as a reader without a lock finds it, or "?".
    static std::string loaded(const std::string &path = OpenDocument::path()) {
        kvio_config_t *found = nullptr;
        call([&] { return found = kvio_restore_scope(path.c_str()); });
        std::string text(400'000, '\0');
        if (!found || !kvio_get(kvio_retrieve_entity(found, "s", "t", "e"), "f", text.data())) text = "?";
        call([&] { return kvio_close_config(found); });
        return text.c_str();
    }

    static pid_t start(const std::function<void()> &work) {
        const pid_t child = fork();
        if (child != 0) return child;
        if (!std::freopen("/dev/null", "w", stderr)) _exit(1);
        work();
        _exit(HasFailure());
    }
    static int ended(pid_t child, int how = 0) {
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, how), child);
        return status;
    }
};

// Every error at every step, alone and from then on, and a kill: the old document or the new one is there, whole, and
// the next try works. Where a signal arrives, or a transfer is short, the save itself works.
TEST_F(Saving, EveryStepFailsOrIsTheLast) {
    const std::string old(2000, 'o');
    open("<t name='e'><f>" + old + "</f></t>");
    const std::string before = read_config("a.xml");
    int errors = 0, kills = 0;
    // Saves with a fault in some use of a function, then without. False if there is no such use.
    auto saves = [&](const std::string &value, const char *function, int error, faults::Extent extent, int nth) {
        write_config("a.xml", before);
        faults::fail(function, error, nth, extent);
        const Outcome outcome = save();
        const bool struck = faults::struck();
        EXPECT_TRUE(outcome.code == 0 ? loaded() == value : outcome == failure() && error != EINTR) << outcome.err;
        EXPECT_TRUE(loaded() == value || loaded() == old);
        EXPECT_EQ(save().code, 0);
        EXPECT_EQ(loaded(), value);
        return struck && !HasFailure();
    };
    for (const std::string &value : {std::string(2000, 'n'), std::string(1000, 'n'), std::string(3000, 'n')}) {
        ASSERT_TRUE(set(config, value));
        for (const char *function : {"open", "pread", "pwrite", "ftruncate", "fdatasync", "fsync", "close"}) {
            SCOPED_TRACE(function);
            for (int error : {EIO, ENOSPC, EROFS, EDQUOT, EACCES, EFBIG})
                for (faults::Extent extent : {faults::once, faults::from_then_on})
                    for (int nth = 1; saves(value, function, error, extent, nth); ++nth) ++errors;
            for (int nth = 1, status = SIGKILL; status == SIGKILL && !HasFailure(); ++nth) {
                write_config("a.xml", before);
                status = ended(start([&] {
                    faults::intrude(
                        function, [] { raise(SIGKILL); }, nth);
                    EXPECT_EQ(save().code, 0);
                }));
                kills += status == SIGKILL;
                EXPECT_TRUE(loaded() == value || (status == SIGKILL && loaded() == old)) << nth;
                EXPECT_EQ(save().code, 0);
                EXPECT_EQ(loaded(), value);
            }
        }
        for (const char *function : {"pread", "pwrite"}) {
            int nth = 1;
            while (saves(value, function, EINTR, faults::once, nth)) ++nth;
            EXPECT_GT(nth, 2);
        }
        write_config("a.xml", before);
        faults::shorten("pwrite", 7);
        EXPECT_EQ(save().code, 0);
        EXPECT_EQ(loaded(), value);
    }
    EXPECT_GE(errors, 200);
    EXPECT_GE(kills, 20);
}

// On a file system of 256 KiB, and where files may not grow: what does not fit leaves what is there, and no room taken.
TEST_F(Saving, AFullDiskLeavesTheOldFileWhole) {
    const std::string small = config_path("small/a.xml");
    auto room = [] { return std::filesystem::space(config_path("small")).free; };
    open("<t name='e'/>");
    ASSERT_TRUE(set(config, std::string(100'000, 'o')));
    ASSERT_GT(call([&] { return kvio_save_as(config, "small/a.xml"); }).result, 0);
    const std::string before = read_file(small);
    const auto free = room();
    ASSERT_TRUE(set(config, std::string(300'000, 'n')));
    EXPECT_EQ(save(), failure(small));
    EXPECT_EQ(read_file(small), before);
    EXPECT_EQ(room(), free);
    // The redo file finds no room: the file is overwritten all the same.
    ASSERT_TRUE(set(config, std::string(170'000, 'w')));
    EXPECT_GT(save().result, 170'000);
    ASSERT_TRUE(set(config, std::string(120'001, 'x')));
    rlimit usual = {};
    getrlimit(RLIMIT_FSIZE, &usual);
    for (rlim_t size : {500u, 110'000u}) {  // met before anything is written, or a signal would end the process
        const rlimit tight = {size, usual.rlim_max};
        setrlimit(RLIMIT_FSIZE, &tight);
        const Outcome limited = save(), fresh = call([&] { return kvio_dump(config, "/tmp/fresh.xml"); });
        setrlimit(RLIMIT_FSIZE, &usual);
        EXPECT_EQ(limited, failure(small));
        EXPECT_EQ(loaded(small), std::string(170'000, 'w')) << size;
        EXPECT_EQ(fresh, failure("/tmp/fresh.xml"));
        EXPECT_FALSE(file_exists("/tmp/fresh.xml"));
    }
    EXPECT_GT(save().result, 120'001);
}

// The file keeps its inode, on which the lock hangs, and its mode; one that has not changed is not written. Nobody
// reads the redo file who may not read the file.
TEST_F(Saving, KeepsTheFile) {
    open("<t name='e'/>");
    size_t around = 0;  // the bytes around the value
    for (size_t most : {1u, 300'000u, 299'000u, 4096u, 0u}) {
        const size_t size = most < 4096 ? most : most - (most + around) % 512;  // the document is whole blocks
        const mode_t mode = most % 4096 ? 0600 : 0644;
        struct stat before = {}, now = {};
        ASSERT_EQ(chmod(path().c_str(), mode) | stat(path().c_str(), &before), 0);
        ASSERT_TRUE(set(config, std::string(size, 'v')));
        const long written = save().result;
        ASSERT_EQ(stat(path().c_str(), &now), 0);
        EXPECT_EQ(written, now.st_size);
        EXPECT_EQ(now.st_ino, before.st_ino);
        if (most == 1) around = static_cast<size_t>(written) - 1;
        for (const auto &entry : std::filesystem::directory_iterator("/etc/kavex/conf"))
            EXPECT_TRUE(entry.is_directory() || file_mode(entry.path()) == mode) << entry;
        EXPECT_EQ(loaded(), std::string(size, 'v'));
        faults::fail("pwrite", EIO, 1, faults::from_then_on);
        EXPECT_EQ(save().result, written);
        write_config("a.xml", read_config("a.xml") + std::string(5000, '\n'));
        EXPECT_EQ(save().result, written);
        EXPECT_EQ(read_config("a.xml").size(), static_cast<size_t>(written)) << "what follows the document is cut off";
    }
}

// A reader without a lock beside a process that saves without pause, and beside one that is stopped in the middle.
TEST_F(Saving, ReadersFindWholeDocumentsWhileOthersSave) {
    const std::set<std::string> values = {std::string(200'000, 'a'), std::string(170'000, 'b'),
                                          std::string(200'000, 'c')};
    open("<t name='e'><f>" + *values.begin() + "</f></t>");
    const pid_t child = start([&] {
        for (auto value = values.begin(); set(config, *value) && kvio_save_config(config) > 0;)
            if (++value == values.end()) value = values.begin();
    });
    std::set<std::string> seen;
    for (int reads = 0; (reads < 1000 || seen.size() < 3) && !HasFailure(); ++reads) {
        if (reads % 5 == 0) {
            usleep(static_cast<useconds_t>(reads * 7919 % 3000));
            kill(child, SIGSTOP);
            ended(child, WUNTRACED);
        }
        EXPECT_EQ(values.count(*seen.insert(loaded()).first), 1) << "a mixture: " << reads;
        kill(child, SIGCONT);
    }
    kill(child, SIGKILL);
    EXPECT_EQ(ended(child), SIGKILL) << "it died by itself";
}

// Two processes do what they like with the same names, but that the last is neither renamed nor removed. A
// configuration is never read half: whoever holds one finds it whole.
TEST_F(Saving, TwoProcessesOverTheSameFiles) {
    const std::string names[] = {"a.xml", "b.xml", "c.xml", "kept.xml"};
    const std::string text = "<kavex><s><t name='e'><f>" + std::string(5000, 'x') + "</f></t></s></kavex>";
    for (const std::string &name : names) write_config(name, text);
    write_file("/etc/__system_default.xml", text);
    auto work = [&](unsigned seed) {
        std::mt19937 random(seed);
        auto pick = [&](unsigned count = 4) { return names[random() % count].c_str(); };
        std::vector<char> value(10'000);
        for (int opened = 0; opened < 1500 && !HasFailure();) {
            const unsigned what = random() % 6;
            if (what == 0) kvio_copy_config(pick(), pick());
            if (what == 1) kvio_rename_config(pick(3), pick());
            if (what == 2 && random() % 4 == 0) kvio_remove_config(pick(3));
            if (what < 3) continue;
            kvio_config_t *mine = kvio_open_config(pick(), random() % 2 ? KVIO_CREATE : 0);
            EXPECT_TRUE(mine || kvio_errno != KVIO_MALFORMED);
            if (!mine) continue;
            ++opened;
            EXPECT_EQ(kvio_get(kvio_retrieve_entity(mine, "s", "t", "e"), "f", value.data()), 1);
            EXPECT_EQ(std::string(value.data()).find_first_not_of(value[0]), std::string::npos) << "a mixture";
            set(mine, std::string(1000 + random() % 8000, static_cast<char>('a' + random() % 26)));
            EXPECT_GT(kvio_save_config(mine), 0);
            if (random() % 4 == 0) kvio_save_as(mine, pick());
            kvio_close_config(mine);
        }
    };
    const pid_t children[] = {start([&] { work(1); }), start([&] { work(2); })};
    for (pid_t child : children) EXPECT_EQ(ended(child), 0);
    EXPECT_NE(loaded(config_path("kept.xml")), "?");
    unlink("/etc/__system_default.xml");
}

}  // namespace
