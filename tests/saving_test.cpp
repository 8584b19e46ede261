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
    Outcome failure() const { return {-1, 5, "Problem occurred on saving XML to " + path() + "\n"}; }
    static int set(kvio_config_t *of, const std::string &value) {
        return kvio_set(kvio_retrieve_entity(of, "s", "t", "e"), "f", value.c_str());
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
    static struct stat status(const std::string &path) {
        struct stat now = {};
        EXPECT_EQ(stat(path.c_str(), &now), 0) << path;
        return now;
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
    // Plans are made for one save, whose outcome is checked; then another one works. True if a fault struck.
    auto check = [&](const std::string &value, const std::function<bool(bool)> &is_expected) {
        write_config("a.xml", before);
        const Outcome outcome = save();
        const bool struck = faults::struck();
        EXPECT_TRUE(outcome.code == 0 ? loaded() == value
                                      : outcome == failure() && (loaded() == old || loaded() == value));
        EXPECT_TRUE(is_expected(outcome.code == 0)) << testing::PrintToString(outcome);
        EXPECT_EQ(save().code, 0);
        EXPECT_EQ(loaded(), value);
        EXPECT_TRUE(locked(path()));
        return struck && !HasFailure();
    };
    for (const std::string &value : {std::string(2000, 'n'), std::string(1000, 'n'), std::string(3000, 'n')}) {
        ASSERT_EQ(set(config, value), 1);
        for (const char *function : {"open", "pread", "pwrite", "ftruncate", "fdatasync", "fsync", "close"}) {
            SCOPED_TRACE(function);
            for (int error : {EIO, ENOSPC, EROFS, EDQUOT, EACCES, EFBIG})
                for (faults::Extent extent : {faults::once, faults::from_then_on}) {
                    int nth = 1;
                    faults::fail(function, error, nth, extent);
                    for (; check(value, [](bool) { return true; }); ++errors)
                        faults::fail(function, error, ++nth, extent);
                }
            for (int nth = 1, status = SIGKILL; status == SIGKILL && !HasFailure(); ++nth) {
                write_config("a.xml", before);
                status = ended(start([&] {
                    faults::intrude(
                        function, [] { raise(SIGKILL); }, nth);
                    EXPECT_EQ(save().code, 0);
                }));
                kills += status == SIGKILL;
                EXPECT_TRUE(status == 0 || status == SIGKILL);
                EXPECT_TRUE(loaded() == value || (status == SIGKILL && loaded() == old)) << nth;
                check(value, [](bool saved) { return saved; });
            }
        }
        auto works = [](bool saved) { return saved; };
        for (const char *function : {"pread", "pwrite"}) {
            int nth = 1;
            faults::fail(function, EINTR, nth);
            while (check(value, works)) faults::fail(function, EINTR, ++nth);
            EXPECT_GT(nth, 2);
        }
        faults::shorten("pwrite", 7);
        EXPECT_TRUE(check(value, works));
    }
    std::printf("%d injected errors, %d kills, each before another step\n", errors, kills);
    EXPECT_GE(errors, 200);
}

// On a file system of 256 KiB, and where files may not grow: what does not fit leaves what is there, and no room taken.
TEST_F(Saving, AFullDiskLeavesTheOldFileWhole) {
    const std::string small = config_path("small/a.xml");
    open("<t name='e'/>");
    ASSERT_EQ(set(config, std::string(100'000, 'o')), 1);
    ASSERT_GT(call([&] { return kvio_save_as(config, "small/a.xml"); }).result, 0);
    const std::string before = read_file(small);
    const auto room = [] { return std::filesystem::space(config_path("small")).free; };
    const auto free = room();
    const Outcome full{-1, 5, "Problem occurred on saving XML to " + small + "\n"};
    ASSERT_EQ(set(config, std::string(300'000, 'n')), 1);
    EXPECT_EQ(save(), full);
    EXPECT_EQ(read_file(small), before);
    EXPECT_EQ(status(small).st_blocks, static_cast<long>((before.size() + 4095) / 4096 * 8));
    EXPECT_EQ(room(), free);
    // There is room for the redo file or the growth, then for no redo file: the file is overwritten all the same.
    for (int length : {130'000, 170'000}) {
        ASSERT_EQ(set(config, std::string(length, 'w')), 1);
        EXPECT_GT(save().result, length);
    }
    const std::string after = read_file(small);
    ASSERT_EQ(set(config, std::string(120'001, 'x')), 1);
    rlimit usual = {};
    getrlimit(RLIMIT_FSIZE, &usual);
    for (rlim_t size : {500u, 110'000u}) {  // met before anything is written, or a signal would end the process
        const rlimit tight = {size, usual.rlim_max};
        setrlimit(RLIMIT_FSIZE, &tight);
        const Outcome limited = save(), fresh = call([&] { return kvio_dump(config, "/tmp/fresh.xml"); });
        setrlimit(RLIMIT_FSIZE, &usual);
        EXPECT_EQ(limited, full) << size;
        EXPECT_EQ(read_file(small), after) << size;
        EXPECT_EQ(fresh.code, 5);
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
        chmod(path().c_str(), mode);
        const ino_t inode = status(path()).st_ino;
        ASSERT_EQ(set(config, std::string(size, 'v')), 1);
        const long written = save().result;
        struct stat now = status(path());
        EXPECT_EQ(written, now.st_size);
        if (most == 1) around = static_cast<size_t>(written) - 1;
        EXPECT_EQ(now.st_ino, inode);
        EXPECT_LE(now.st_blocks * 512, written + 4096) << "reserved room is given back";
        for (const auto &entry : std::filesystem::directory_iterator("/etc/kavex/conf"))
            EXPECT_TRUE(entry.is_directory() || file_mode(entry.path()) == mode) << entry;
        EXPECT_EQ(loaded(), std::string(size, 'v'));
        faults::fail("pwrite", EIO, 1, faults::from_then_on);
        EXPECT_EQ(save().result, written);
        EXPECT_EQ(status(path()).st_mtim.tv_nsec, now.st_mtim.tv_nsec);
        write_config("a.xml", read_config("a.xml") + std::string(5000, '\n'));
        EXPECT_EQ(save().result, written);
        EXPECT_EQ(status(path()).st_size, written) << "what follows the document is cut off";
    }
}

// A reader without a lock beside a process that saves without pause, and beside one that is stopped in the middle.
TEST_F(Saving, ReadersFindWholeDocumentsWhileOthersSave) {
    const std::vector<std::string> values = {std::string(200'000, 'a'), std::string(170'000, 'b'),
                                             std::string(200'000, 'c')};
    open("<t name='e'><f>" + values[0] + "</f></t>");
    const pid_t child = start([&] {
        for (size_t round = 0; set(config, values[round % 3]) && kvio_save_config(config) > 0; ++round) {}
    });
    std::set<std::string> seen;
    for (int reads = 0; (reads < 1000 || seen.size() < 3) && !HasFailure(); ++reads) {
        if (reads % 5 == 0) {
            usleep(static_cast<useconds_t>(reads * 7919 % 3000));
            kill(child, SIGSTOP);
            ended(child, WUNTRACED);
        }
        seen.insert(loaded());
        EXPECT_EQ(std::count(values.begin(), values.end(), *seen.rbegin()), 1) << "a mixture: " << reads;
        EXPECT_LE(seen.size(), 3u);
        if (reads % 5 == 0) kill(child, SIGCONT);
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
    EXPECT_EQ(lock_count(), 0) << "both ended well";
    EXPECT_TRUE(file_exists(config_path("kept.xml")));
    for (const std::string &name : names)
        EXPECT_TRUE(!file_exists(config_path(name)) || loaded(config_path(name)) != "?") << name;
    unlink("/etc/__system_default.xml");
}

}  // namespace
