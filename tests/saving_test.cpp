// What a save leaves when a step of it fails, when its process is killed, when power is lost, and beside others that save
// and read.
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <map>
#include <random>
#include <tuple>

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
    // The value in a configuration as a reader without its lock finds it, or one with the lock.
    static std::string loaded(const std::string &name = "a.xml", bool is_locked = false) {
        kvio_config_t *found = nullptr;
        call([&] {
            return found =
                       is_locked ? kvio_open_config(name.c_str(), 0) : kvio_restore_scope(config_path(name).c_str());
        });
        std::string text(400'000, '\0');
        if (!kvio_get(kvio_retrieve_entity(found, "s", "t", "e"), "f", text.data()))
            text = file_exists(config_path(name)) ? "broken" : "missing";
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

// Every error at every step, alone and from then on: the old document or the new one is there, whole, and the next try
// works. Where a signal arrives, or a transfer is short, the save itself works.
TEST_F(Saving, EveryStepFails) {
    const std::string old(2000, 'o');
    open("<t name='e'><f>" + old + "</f></t>");
    const std::string before = read_config("a.xml");
    int errors = 0;
    // Saves with the faults that are planned, then without. False if none struck.
    auto fails = [&](const std::string &value, bool works = false) {
        write_config("a.xml", before);
        const Outcome outcome = save();
        const bool struck = faults::struck();
        const std::string found = loaded();
        EXPECT_TRUE(outcome.code == 0 ? found == value : outcome == failure() && (found == value || found == old));
        EXPECT_TRUE(outcome.code == 0 || !works) << outcome.err;
        EXPECT_EQ(save().code, 0);
        EXPECT_EQ(loaded(), value);
        return struck && !HasFailure();
    };
    for (const std::string &value : {std::string(2000, 'n'), std::string(1000, 'n'), std::string(3000, 'n')}) {
        ASSERT_TRUE(set(config, value));
        for (const char *function : {"open", "pread", "pwrite", "ftruncate", "fdatasync", "fsync", "close"})
            for (int error : {EIO, ENOSPC, EROFS, EDQUOT, EACCES, EFBIG})
                for (faults::Extent extent : {faults::once, faults::from_then_on}) {
                    int nth = 0;
                    do faults::fail(function, error, ++nth, extent);
                    while (fails(value));
                    errors += nth - 1;
                }
        for (const char *function : {"pread", "pwrite"}) {
            int signals = 0;
            do faults::fail(function, EINTR, ++signals);
            while (fails(value, true));
            EXPECT_GT(signals, 2);
        }
        faults::shorten("pwrite", 7);
        EXPECT_TRUE(fails(value, true));
    }
    EXPECT_GE(errors, 200);
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
    // There is room for the redo file or the growth, then for no redo file: the file is overwritten all the same.
    for (int length : {130'000, 170'000}) {
        ASSERT_TRUE(set(config, std::string(static_cast<size_t>(length), 'w')));
        EXPECT_GT(save().result, length);
    }
    ASSERT_TRUE(set(config, std::string(120'001, 'x')));
    rlimit usual = {};
    getrlimit(RLIMIT_FSIZE, &usual);
    for (rlim_t size : {500u, 110'000u}) {  // met before anything is written, or a signal would end the process
        const rlimit tight = {size, usual.rlim_max};
        setrlimit(RLIMIT_FSIZE, &tight);
        const Outcome limited = save(), fresh = call([&] { return kvio_dump(config, "/tmp/fresh.xml"); });
        setrlimit(RLIMIT_FSIZE, &usual);
        EXPECT_EQ(limited, failure(small));
        EXPECT_EQ(loaded("small/a.xml"), std::string(170'000, 'w')) << size;
        EXPECT_EQ(fresh, failure("/tmp/fresh.xml"));
        EXPECT_FALSE(file_exists("/tmp/fresh.xml"));
    }
    EXPECT_GT(save().result, 120'001);
    faults::fail("pwrite", EIO, 1, faults::from_then_on);
    EXPECT_GT(save().result, 120'001) << "nothing has changed, so nothing is written";
}

// A reader without a lock beside a process that saves without pause, then is stopped in the middle, then killed there.
TEST_F(Saving, ReadersFindWholeDocumentsWhileOthersSave) {
    const std::vector<std::string> values = {std::string(200'000, 'a'), std::string(170'000, 'b'),
                                             std::string(200'000, 'c')};
    open("<t name='e'><f>" + values[0] + "</f></t>");
    std::set<std::string> seen(values.begin(), values.end());
    for (useconds_t round = 0; round < 200 && seen.size() == 3; ++round) {
        const pid_t child = start([&] {
            for (size_t next = round; set(config, values[next % 3]) && kvio_save_config(config) > 0; ++next) {}
        });
        usleep(round * 7919 % 3000);
        for (int reads = 0; reads < 8; ++reads) seen.insert(loaded());
        kill(child, SIGSTOP);
        ended(child, WUNTRACED);
        seen.insert(loaded());
        kill(child, SIGKILL);
        EXPECT_EQ(ended(child), SIGKILL) << "it died by itself";
        seen.insert(loaded());
    }
    EXPECT_EQ(seen.size(), 3u) << "a mixture: " << *seen.rbegin();
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
    EXPECT_GE(loaded("kept.xml").size(), 1000u);
    unlink("/etc/__system_default.xml");
}

// What a loss of power can leave. The changes that a call makes to files are recorded; the states that they may leave on
// a disk are built from them, and read through the library.
//
// A change is lost unless it was synced: what a file was written by fsync() or fdatasync() of that file, in pieces of
// 4 KiB and apart from its size, its name by fsync() of the directory. Of what was not synced any part may be there.
using faults::Change;

// What is on a disk, by inode and by name.
struct Disk {
    std::map<std::uint64_t, std::string> files;
    std::map<std::string, std::uint64_t> names;

    void apply(const Change &change) {
        std::string &file = files[change.file];
        if (change.kind == Change::resize) file.resize(change.offset);
        if (change.kind == Change::name) names[change.data] = change.file;
        if (change.kind == Change::unname) names.erase(change.data);
        if (change.kind != Change::write) return;
        file.resize(std::max(file.size(), change.offset + change.data.size()));
        file.replace(change.offset, change.data.size(), change.data);
    }
};

bool is_sync(const Change &change) { return change.kind == Change::sync || change.kind == Change::sync_names; }

std::uint64_t inode(const std::string &path) {
    struct stat now = {};
    EXPECT_EQ(stat(path.c_str(), &now), 0) << path;
    return now.st_ino;
}

class Crash : public Saving {
protected:
    // A configuration with this value, just made: there is no redo file.
    void make(const std::string &value) {
        close();
        put({});
        open("<t name='e'><f>" + value + "</f></t>");
    }
    // Records what a call changes, writes by their pages. All that is there before is on the disk.
    void record(const std::function<void()> &body) {
        before_ = {};
        changes_.clear();
        for (const std::string &name : names()) before_.files[before_.names[name] = inode(name)] = read_file(name);
        faults::record(true);
        call(body);
        for (const Change &change : faults::changes()) {
            const size_t size = change.data.size();
            if (change.kind != Change::write) changes_.push_back(change);
            for (size_t at = 0, length; change.kind == Change::write && at < size; at += length) {
                length = std::min(size - at, 4096 - (change.offset + at) % 4096);
                changes_.push_back({Change::write, change.file, change.offset + at, change.data.substr(at, length)});
            }
        }
        faults::record(false);
    }
    void record_save(const std::string &value) {
        ASSERT_TRUE(set(config, value));
        record([&] { kvio_save_config(config); });
        close();
    }

    // How many of the states that a crash may leave are none of `allowed`; once the call has ended, only `last` is.
    // Without the sync of this number, 1 being the first, where one is given; crashes before a change are left out.
    int bad_states(const std::set<std::string> &allowed, const std::string &last, int lost_sync = 0, size_t first = 0) {
        Disk disk = before_;
        std::vector<Change> pending;
        int bad = 0;
        for (size_t at = 0; at < changes_.size(); ++at) {
            const Change &change = changes_[at];
            if (!is_sync(change)) pending.push_back(change);
            if (!is_sync(change) || --lost_sync == 0) continue;
            if (at >= first) bad += bad_subsets(disk, pending, allowed);
            const auto rest = std::stable_partition(pending.begin(), pending.end(), [&](const Change &one) {
                const bool is_name = one.kind == Change::name || one.kind == Change::unname;
                return change.kind == Change::sync_names ? is_name : !is_name && one.file == change.file;
            });
            std::for_each(pending.begin(), rest, [&](const Change &one) { disk.apply(one); });
            pending.erase(pending.begin(), rest);
        }
        return bad + bad_subsets(disk, pending, {last});
    }

    int syncs() const { return static_cast<int>(std::count_if(changes_.begin(), changes_.end(), is_sync)); }

    // Puts a state where the library finds it. Files that were there keep their inodes, which redo files name.
    static void put(const Disk &disk) {
        for (const std::string &name : names())
            if (!disk.names.count(name)) unlink(name.c_str());
        for (const auto &[name, file] : disk.names) write_file(name, disk.files.at(file));
    }

    // The state of the recorded save in which one page of the file is new.
    Disk torn() const {
        Disk disk = before_;
        for (const Change &change : changes_) {
            disk.apply(change);
            if (change.kind == Change::write && change.file == before_.names.at(path())) break;
        }
        return disk;
    }

    static std::vector<std::string> names() {
        std::vector<std::string> found;
        for (const auto &entry : std::filesystem::directory_iterator(config_path("")))
            if (entry.is_regular_file()) found.push_back(entry.path());
        return found;
    }

    std::string read() {
        const std::string value = loaded(name_);
        return loaded(name_, true) == value ? value : "differs";
    }

    std::string name_ = "a.xml";
    Disk before_;
    std::vector<Change> changes_;

private:
    // None, all, every prefix, every one lost, every one alone, random ones.
    int bad_subsets(const Disk &disk, const std::vector<Change> &pending, const std::set<std::string> &allowed) {
        int bad = 0;
        auto look = [&](const std::function<bool(size_t)> &is_there) {
            Disk state = disk;
            for (size_t i = 0; i < pending.size(); ++i)
                if (is_there(i)) state.apply(pending[i]);
            put(state);
            bad += allowed.count(read()) == 0;
        };
        for (size_t n = 0; n <= pending.size(); ++n) {
            look([&](size_t i) { return i < n; });
            look([&](size_t i) { return i != n; });
            look([&](size_t i) { return i == n; });
        }
        for (int i = 0; i < 20 && pending.size() > 2; ++i) look([&](size_t) { return random_() % 2 == 0; });
        return bad;
    }

    std::mt19937 random_{20261123};
};

const std::string old(9'000, 'o');

TEST_F(Crash, ASaveLeavesTheOldDocumentOrTheNewOne) {
    std::string changed = old;
    changed[100] = changed[5'000] = changed[8'900] = 'n';
    make(old);
    record_save(changed);
    const size_t around = read_config("a.xml").size() - old.size();
    const std::string cut(4 * 512 - around, 'n');  // at the end of a block
    std::set<int> needed;                          // syncs without which some state is bad
    for (const std::string &value : {changed, std::string(20'000, 'n'), std::string(3'000, 'n'), cut, old + "tail"}) {
        SCOPED_TRACE(value.size());
        make(old);
        record_save(value);
        EXPECT_EQ(inode(path()), before_.names[path()]) << "on which the lock hangs";
        for (const std::string &name : names())
            EXPECT_EQ(file_mode(name), 0600) << "what others may not read: " << name;
        EXPECT_EQ(bad_states({old, value}, value), 0);
        for (int sync = 1; sync <= syncs(); ++sync)
            if (bad_states({old, value}, value, sync) > 0) needed.insert(sync);

        put(torn());
        record([&] { kvio_close_config(kvio_open_config("a.xml", 0)); });
        EXPECT_EQ(bad_states({value}, value), 0) << "the replay is interrupted, too";
        call([&] { return config = kvio_open_config("a.xml", 0); });
        record_save(old + "!");
        EXPECT_EQ(bad_states({value, old + "!"}, old + "!"), 0) << "a save after it, with the same redo file";
    }
    EXPECT_EQ(needed, (std::set<int>{2, 3, 4, 5}));
    // What a save takes as the old contents may be what cp(1) wrote and nothing has synced.
    const std::string copied(9'000, 'c'), saved(9'000, 's');
    make(old);
    const std::string old_text = read_config("a.xml");
    make(copied);
    const Change copy{Change::write, inode(path()), 0, read_config("a.xml")};
    record_save(saved);
    changes_.insert(changes_.begin(), copy);
    before_.files[copy.file] = old_text;
    EXPECT_EQ(bad_states({copied, saved}, saved, 0, 2), 0);
    EXPECT_GT(bad_states({copied, saved}, saved, 1, 2), 0);
}

// A new file has its name when it is whole; one that is there is replaced as by a save.
TEST_F(Crash, ACopyLeavesTheOldDocumentOrTheNewOne) {
    const std::string value(20'000, 'n');
    const std::pair<const char *, std::function<void()>> calls[] = {
        {"save as", [&] { kvio_save_as(config, "b.xml"); }},
        {"copy", [] { kvio_copy_config("c.xml", "b.xml"); }},
        {"dump", [&] { kvio_dump(config, "/etc/kavex/conf/b.xml"); }},
        {"template", [] { kvio_close_config(kvio_open_config("b.xml", KVIO_CREATE)); }},
    };
    name_ = "b.xml";
    for (const auto &[what, body] : calls)
        for (const std::string &before : {std::string("missing"), old}) {
            if (what == std::string("template") && before == old) continue;
            SCOPED_TRACE(what + before.substr(0, 7));
            make(old);
            if (before == old) write_config("b.xml", read_config("a.xml"));
            ASSERT_TRUE(set(config, value));
            for (const char *file : {"/etc/kavex/conf/c.xml", "/etc/__system_default.xml"})
                call([&, target = file] { return kvio_dump(config, target); });
            record(body);
            close();
            EXPECT_EQ(bad_states({before, value}, value), 0);
            for (int sync = 1; sync <= syncs() && before != old; ++sync)
                EXPECT_GT(bad_states({before, value}, value, sync), 0) << sync;
        }
    unlink("/etc/__system_default.xml");
}

// A redo file that a crash left counts for nothing where it is out of date, or where another user could have made it.
TEST_F(Crash, ARedoFileBringsNothingBack) {
    const std::string value(9'000, 'n'), other(9'500, 'x');
    make(other);
    const std::string other_text = read_config("a.xml");
    std::string old_text, redo;
    auto crash = [&] {
        make(old);
        old_text = read_config("a.xml");
        record_save(value);
        put(torn());
        for (const std::string &name : names()) redo = is_redo_file(name) ? name : redo;
    };
    const std::tuple<const char *, std::function<void()>, std::string> rows[] = {
        {"all is in order", [] {}, value},
        {"restored with cp", [&] { write_config("a.xml", other_text); }, other},
        {"restored to what it was", [&] { write_config("a.xml", old_text); }, old},
        {"edited", [&] { write_config("a.xml", std::string(old_text).erase(old_text.find("ooo"), 1)); }, old.substr(1)},
        {"written in the same length",
         [&] { write_config("a.xml", std::string(old_text).replace(old_text.find(old), old.size(), old.size(), 'y')); },
         std::string(9'000, 'y')},
        {"copied with its directory",
         [&] {
             write_config("b.xml", read_config("a.xml"));
             std::rename(config_path("b.xml").c_str(), path().c_str());
             std::rename(redo.c_str(), config_path(".kavex-redo-" + std::to_string(inode(path()))).c_str());
         },
         "broken"},
        {"which its group may write", [&] { EXPECT_EQ(chmod(redo.c_str(), 0620), 0); }, "broken"},
        {"which others may write", [&] { EXPECT_EQ(chmod(redo.c_str(), 0602), 0); }, "broken"},
        {"a link", [&] { std::rename(redo.c_str(), config_path("redo").c_str()), symlink("redo", redo.c_str()); },
         "broken"},
        {"with another name", [&] { EXPECT_EQ(link(redo.c_str(), config_path("redo").c_str()), 0); }, "broken"},
        {"damaged", [&] { write_file(redo, read_file(redo).replace(3'000, 1, "?")); }, "broken"},
        {"cut off", [&] { EXPECT_EQ(truncate(redo.c_str(), 9'000), 0); }, "broken"},
    };
    for (const auto &[what, deed, expected] : rows) {
        crash();
        deed();
        EXPECT_TRUE(read() == expected) << what;
        EXPECT_TRUE(expected != value || read_file(redo)[0] == '\0') << "its header is not cleared";
    }
    // The save is finished before the file gets another name, and its redo file does not stay where it was.
    crash();
    std::filesystem::create_directory(config_path("sub"));
    call([] { return kvio_rename_config("a.xml", "sub/b.xml"); });
    name_ = "sub/b.xml";
    EXPECT_TRUE(read() == value);
    EXPECT_EQ(names(), std::vector<std::string>());
    crash();
    call([] { return kvio_remove_config("a.xml"); });
    EXPECT_EQ(names(), std::vector<std::string>());
}

}  // namespace
