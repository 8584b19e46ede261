// What a save leaves when a step of it fails, when its process is killed, when power is lost, and beside others that save
// and read.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <map>
#include <random>

#include "tests/support/appliance.h"

namespace {

namespace fs = std::filesystem;

std::string document(const std::string &value) { return "<kavex><s><t name='e'><f>" + value + "</f></t></s></kavex>"; }

class Saving : public ApplianceTest {
protected:
    // Opens a configuration with this value that was just made.
    void make(const std::string &value) { open_whole(document(value)); }
    static bool set(kvio_config_t *of, const std::string &value) {
        return kvio_set(kvio_retrieve_entity(of, "s", "t", "e"), "f", value.c_str()) == 1;
    }
    Outcome save(const std::string &value) {
        EXPECT_TRUE(set(config, value));
        return call([&] { return kvio_save_config(config); });
    }
    static Outcome failure(const std::string &path) {
        return {-1, 5, "Problem occurred on saving XML to " + path + "\n"};
    }
    // The value in a configuration as a reader without its lock finds it, or one with the lock.
    static std::string loaded(const std::string &name = "a.xml", bool is_locked = false) {
        const std::string path = config_path(name);
        std::string text(400'000, '\0');
        call([&] {
            kvio_config_t *found = is_locked ? kvio_open_config(name.c_str(), 0) : kvio_restore_scope(path.c_str());
            if (!kvio_get(kvio_retrieve_entity(found, "s", "t", "e"), "f", text.data()))
                text = file_exists(path) ? "broken" : "missing";
            kvio_close_config(found);
        });
        return text.c_str();
    }
};

// Every error at every step, alone and from then on: the old document or the new one is there, whole, and the next try
// works. Where a signal arrives (EINTR) or a transfer is short (0), the save itself works.
TEST_F(Saving, EveryStepFails) {
    const std::string old(2000, 'o');
    make(old);
    std::set<std::string> noticed;
    // A dump makes its redo file each time, and removes it.
    auto dump = [&] { return call([&] { return kvio_dump(config, path().c_str()); }); };
    // Dumps with a fault, then without. False if it did not strike.
    auto fails = [&](const std::string &value, const std::string &function, int error, int nth, faults::Extent extent) {
        write_config("a.xml", document(old));
        set(config, value);
        faults::fail(function.c_str(), error, nth, extent);
        const Outcome outcome = dump();
        const bool has_struck = faults::struck(), is_saved = outcome.code == 0;
        const std::string found = loaded();
        EXPECT_TRUE(is_saved || (outcome == failure(path()) && error != EINTR && error != 0)) << outcome.err;
        EXPECT_TRUE(found == value || (found == old && !is_saved));
        EXPECT_FALSE(is_saved && has_struck && error == EIO && nth == 1 && function != "close") << function;
        if (!is_saved) noticed.insert(function);
        EXPECT_EQ(dump().code, 0);
        EXPECT_EQ(loaded(), value);
        return has_struck && !HasFailure();
    };
    for (size_t size : {2000, 1000, 3000})
        for (const char *function : {"open", "pread", "pwrite", "ftruncate", "fdatasync", "fsync", "close"})
            for (int error : {EIO, ENOSPC, EROFS, EDQUOT, EACCES, EFBIG, EINTR, 0})
                for (faults::Extent extent : {faults::once, faults::from_then_on}) {
                    if ((error == EINTR || error == 0) && (extent != faults::once || function[0] != 'p')) continue;
                    for (int nth = 1; fails(std::string(size, 'n'), function, error, nth, extent);) ++nth;
                }
    EXPECT_EQ(noticed.size(), 7u);
}

// On a file system of 256 KiB, and where files may not grow: what does not fit leaves what is there, and no room taken.
TEST_F(Saving, AFullDiskLeavesTheOldFileWhole) {
    const std::string small = config_path("small/a.xml");
    const std::string values[] = {std::string(100'000, 'o'), std::string(170'000, 'n'), std::string(120'001, 'x')};
    make(values[0]);
    ASSERT_GT(call([&] { return kvio_save_as(config, "small/a.xml"); }).result, 0);
    const auto room = fs::space(small).free;
    EXPECT_EQ(save(std::string(300'000, 'n')), failure(small));
    EXPECT_EQ(loaded("small/a.xml"), values[0]);
    EXPECT_EQ(fs::space(small).free, room);
    // There is room for the redo file or the growth, then for no redo file: the file is overwritten all the same.
    EXPECT_GT(save(std::string(130'000, 'n')).result, 130'000);
    EXPECT_GT(save(values[1]).result, 170'000);
    rlimit usual = {};
    getrlimit(RLIMIT_FSIZE, &usual);
    for (rlim_t size : {500u, 110'000u}) {  // met before anything is written, or a signal would end the process
        const rlimit tight = {size, usual.rlim_max};
        setrlimit(RLIMIT_FSIZE, &tight);
        const Outcome limited = save(values[2]);
        setrlimit(RLIMIT_FSIZE, &usual);
        EXPECT_EQ(limited, failure(small));
        EXPECT_EQ(loaded("small/a.xml"), values[1]) << size;
    }
    EXPECT_GT(save(values[2]).result, 120'001);
    faults::fail("pwrite", EIO, 1, faults::from_then_on);
    EXPECT_GT(save(values[2]).result, 120'001) << "nothing has changed, so nothing is written";
}

TEST_F(Saving, AReaderFindsWholeDocumentsWhereASaveComesBetween) {
    make("");
    for (int nth = 1; nth < 12; ++nth) {
        const std::string values[] = {std::string(3000, 'a'), std::string(3000, 'b')};
        EXPECT_GT(save(values[nth % 2]).result, 0);
        set(config, values[1 - nth % 2]);
        faults::intrude(
            "pread", [&] { kvio_save_config(config); }, nth);
        faults::fail("pread", 0, 1, faults::from_then_on);
        const std::string found = loaded();
        EXPECT_TRUE(found == values[0] || found == values[1]) << nth;
    }
}

// Two processes do what they like with the same names, but that the last is neither renamed nor removed, until they are
// stopped in the middle of it and killed there. Whoever reads a file, with its lock or without, finds it whole.
TEST_F(Saving, WhoeverReadsFindsWholeDocumentsWhileOthersSave) {
    const char *const names[] = {"a.xml", "b.xml", "c.xml", "kept.xml"};
    auto is_whole = [](const std::string &value) { return value.find_first_not_of(value[0]) == value.npos; };
    auto work = [&](unsigned seed) {
        std::mt19937 random(seed);
        auto pick = [&](unsigned count = 4) { return names[random() % count]; };
        while (!HasFailure()) {
            const unsigned what = random() % 6;
            if (what == 0) kvio_copy_config(pick(), pick());
            if (what == 1) kvio_rename_config(pick(3), pick());
            if (what == 2 && random() % 4 == 0) kvio_remove_config(pick(3));
            if (what < 3) continue;
            kvio_config_t *mine = kvio_open_config(pick(), random() % 2 ? KVIO_CREATE : 0);
            EXPECT_TRUE(mine || kvio_errno != KVIO_MALFORMED);
            if (!mine) continue;
            std::string value(300'000, '\0');
            EXPECT_EQ(kvio_get(kvio_retrieve_entity(mine, "s", "t", "e"), "f", value.data()), 1);
            EXPECT_TRUE(is_whole(value.c_str())) << "a mixture";
            set(mine, std::string(1000 + random() % 200'000, static_cast<char>('a' + random() % 26)));
            EXPECT_GT(kvio_save_config(mine), 0);
            if (random() % 4 == 0) kvio_save_as(mine, pick());
            kvio_close_config(mine);
        }
        _exit(1);
    };
    write_file("/etc/__system_default.xml", document("x"));
    for (unsigned round = 0; round < 200 && !HasFailure(); ++round) {
        for (const char *name : names) write_config(name, document(std::string(100'000, 'x')));
        pid_t children[2];
        for (pid_t &child : children)
            if ((child = fork()) == 0) work(random());
        usleep(round * 7919 % 3000);
        auto look = [&] { EXPECT_TRUE(is_whole(loaded("kept.xml"))) << loaded("kept.xml").substr(0, 10); };
        for (int reads = 0; reads < 8; ++reads) look();
        for (int signal : {SIGSTOP, SIGKILL}) {
            int status = 0;
            for (pid_t child : children) {
                EXPECT_EQ(kill(child, signal) + waitpid(child, &status, WUNTRACED), child);
                EXPECT_EQ(signal == SIGKILL ? status : WSTOPSIG(status), signal) << "it died by itself";
            }
            look();
        }
        EXPECT_EQ(std::system("awk 'NR > 1 { print \"-s\", $2 }' /proc/sysvipc/sem | xargs -r ipcrm"), 0);
    }
    unlink("/etc/__system_default.xml");
}

// What a loss of power can leave. The changes that a call makes to files are recorded; the states that they may leave on
// a disk are built from them, and read through the library.
//
// A change is lost unless it was synced: what a file was written by fsync() or fdatasync() of that file, in pieces of a
// KiB and apart from its size, its name by fsync() of the directory. Of what was not synced any part may be there.
using faults::Change;
using Changes = std::vector<Change>;
using Syncs = std::set<int>;

struct Disk {
    std::map<std::string, ino_t> names;
    std::map<ino_t, std::string> files;

    void apply(const Change &change) {
        const auto offset = static_cast<size_t>(change.offset);
        std::string &file = files[change.file];
        if (change.kind == Change::name) names[change.data] = static_cast<ino_t>(change.offset);
        if (change.kind == Change::resize) file.resize(offset);
        if (change.kind != Change::write) return;
        file.resize(std::max(file.size(), offset + change.data.size()));
        file.replace(offset, change.data.size(), change.data);
    }
    // Puts the files where the library finds them. Those that are there keep their inodes, which redo files name.
    void put() {
        for (const auto &entry : fs::directory_iterator(config_path("")))
            if (!entry.is_directory() && !names.count(entry.path())) fs::remove(entry);
        for (const auto &[name, inode] : names)
            inode ? write_file(name, files[inode]) : static_cast<void>(unlink(name.c_str()));
    }
    static Disk now() {
        Disk disk;
        struct stat status = {};
        for (const auto &entry : fs::directory_iterator(config_path(""))) {
            if (entry.is_directory() || lstat(entry.path().c_str(), &status) != 0) continue;
            disk.names[entry.path()] = status.st_ino;
            disk.files[status.st_ino] = read_file(entry.path());
        }
        return disk;
    }
};

class Crash : public Saving {
protected:
    // Records what a call changes. All that is there before is on the disk.
    void record(const std::function<void()> &body) {
        before_ = Disk::now();
        changes_.clear();
        faults::changes = &changes_;
        faults::fail("pwrite", 0, 1, faults::from_then_on);
        call(body);
        faults::changes = nullptr;
        close();
        Disk after = Disk::now();
        for (const auto &[name, inode] : before_.names)
            EXPECT_TRUE(is_redo_file(name) || after.names[name] == inode) << "the lock hangs on the inode";
        for (const auto &[name, inode] : after.names) EXPECT_TRUE(!is_redo_file(name) || file_mode(name) == 0600);
    }
    void record_save(const std::string &value) {
        set(config, value);
        record([&] { kvio_save_config(config); });
        EXPECT_EQ(changes_.at(0).kind, Change::sync) << "the old contents may be what cp(1) has just written";
    }
    // Makes a configuration, saves it with another value, and puts the state in which one piece of the file is new.
    void tear(const std::string &value) {
        Disk().put();
        make(old);
        record_save(value);
        Disk disk = before_;
        for (const Change &change : changes_) {
            disk.apply(change);
            if (change.kind == Change::write && change.file == before_.names.at(path())) break;
        }
        disk.put();
    }
    static std::string redo_path() { return config_path(".kavex-redo-" + std::to_string(Disk::now().names[path()])); }
    std::string read() {
        const std::string value = loaded(name_);
        return loaded(name_, true) == value ? value : "differs";
    }

    // Looks at what a crash during the call can leave: one of two values, and after the call the second. Gives the
    // numbers of the syncs without which it leaves something else.
    Syncs needed_syncs(const std::string &first, const std::string &value) {
        Syncs needed;
        for (int lost = 0, syncs = 1; lost < syncs; ++lost) {
            Disk disk = before_;
            Changes pending;
            syncs = 1;
            for (const Change &change : changes_) {
                const bool is_sync = change.kind == Change::sync;
                if (!is_sync) pending.push_back(change);
                if (!is_sync || syncs++ == lost) continue;
                if (leads_elsewhere(disk, pending, {first, value})) needed.insert(lost);
                const auto rest = std::stable_partition(pending.begin(), pending.end(),
                                                        [&](const Change &one) { return one.file == change.file; });
                std::for_each(pending.begin(), rest, [&](const Change &one) { disk.apply(one); });
                pending.erase(pending.begin(), rest);
            }
            if (leads_elsewhere(disk, pending, {value})) needed.insert(lost);
        }
        EXPECT_EQ(needed.count(0), 0u) << "something else with all syncs";
        return needed;
    }
    // Whether a part of the pending changes leads to none of these values. Looked at are none, all, every prefix, every
    // one lost, every one alone, random ones.
    bool leads_elsewhere(const Disk &disk, const Changes &pending, const std::set<std::string> &allowed) {
        for (size_t look = 0; look < 4 * pending.size() + 4; ++look) {
            Disk state = disk;
            for (size_t i = 0, n = look / 4; i < pending.size(); ++i) {
                const bool is_there[] = {i < n, i != n, i == n, random_() % 2 == 0};
                if (is_there[look % 4]) state.apply(pending[i]);
            }
            state.put();
            if (!allowed.count(read())) return true;
        }
        return false;
    }

    const std::string old = std::string(3'000, 'o');
    std::string name_ = "a.xml";
    Disk before_;
    Changes changes_;
    std::mt19937 random_{20261123};
};

TEST_F(Crash, ASaveLeavesTheOldDocumentOrTheNewOne) {
    std::string changed = old;
    changed[100] = changed[1'500] = changed[2'900] = 'n';
    const std::string cut(4 * 512 - document("").size(), 'n');  // at the end of a block
    Syncs saving, replaying, again;
    for (const std::string &value : {changed, std::string(7'000, 'n'), std::string(1'000, 'n'), cut, old + "tail"}) {
        SCOPED_TRACE(value.size());
        tear(value);
        saving.merge(needed_syncs(old, value));
        tear(value);
        record([] { kvio_close_config(kvio_open_config("a.xml", 0)); });
        replaying.merge(needed_syncs(value, value));
        tear(value);
        write_file("/tmp/other.xml", document(old + "!"));
        config = kvio_restore_scope("/tmp/other.xml");
        record([&] { kvio_dump(config, path().c_str()); });
        again.merge(needed_syncs(value, old + "!"));
    }
    EXPECT_EQ(saving, (Syncs{2, 3, 4, 5}));
    EXPECT_EQ(replaying, (Syncs{1, 2}));
    EXPECT_EQ(again, (Syncs{1, 2, 3, 4, 5}));
}

// A new file has its name when it is whole; one that is there is replaced as by a save.
TEST_F(Crash, ACopyLeavesTheOldDocumentOrTheNewOne) {
    const std::string value(7'000, 'n');
    const std::function<void()> calls[] = {
        [&] { kvio_save_as(config, "b.xml"); },
        [&] { kvio_dump(config, config_path("b.xml").c_str()); },
        [] { kvio_copy_config("c.xml", "b.xml"); },
        [] { kvio_close_config(kvio_open_config("b.xml", KVIO_CREATE)); },
    };
    name_ = "b.xml";
    write_file("/etc/__system_default.xml", document(value));
    for (size_t number = 0; number < 7; ++number) {
        SCOPED_TRACE(number);
        const bool is_new = number < 4;
        Disk().put();
        make(value);
        write_config("c.xml", document(value));
        if (!is_new) write_config("b.xml", document(old));
        record(calls[number % 4]);
        EXPECT_EQ(needed_syncs(is_new ? "missing" : old, value), is_new ? Syncs({1, 2}) : Syncs({2, 3, 4}));
    }
    unlink("/etc/__system_default.xml");
}

// A redo file that a crash left counts for nothing where it is out of date, or where another user could have made it.
TEST_F(Crash, ARedoFileBringsNothingBack) {
    const std::string value(3'000, 'n'), file = path(), spare = config_path("spare");
    std::string redo;
    tear(value);
    const std::string torn = read_file(file);
    EXPECT_TRUE(loaded() == value && read_file(file) == torn) << "who has no lock does not write";
    EXPECT_TRUE(read() == value);
    // The file was restored with cp, edited, written in the same length.
    for (const std::string &other : {std::string(3'500, 'x'), old, old.substr(1), std::string(3'000, 'y')}) {
        tear(value);
        write_file(file, document(other));
        record([] { kvio_close_config(kvio_open_config("a.xml", 0)); });
        EXPECT_EQ(changes_.at(0).kind, Change::sync) << "the redo file may be all that the disk has";
        EXPECT_TRUE(read() == other) << other.size() << other[0];
    }
    // A block that is neither old nor new may be half written, but only while the file is locked.
    tear(value);
    write_file(file, read_file(file).replace(1'000, 1, "?"));
    EXPECT_TRUE(loaded() != value);
    const int writer = ::open(file.c_str(), O_RDWR);
    struct flock whole = {};
    whole.l_type = F_WRLCK;
    EXPECT_EQ(fcntl(writer, F_OFD_SETLK, &whole), 0);
    EXPECT_TRUE(loaded() == value);
    ::close(writer);
    const std::pair<const char *, std::function<void()>> rows[] = {
        {"which its group may write", [&] { fs::permissions(redo, fs::perms{0620}); }},
        {"which others may write", [&] { fs::permissions(redo, fs::perms{0602}); }},
        {"with another name", [&] { fs::create_hard_link(redo, spare); }},
        {"damaged", [&] { write_file(redo, read_file(redo).replace(2'000, 1, "?")); }},
        {"cut off", [&] { fs::resize_file(redo, 3'000); }},
        {"a link",
         [&] {
             fs::rename(redo, spare);
             fs::create_symlink(spare, redo);
         }},
        {"copied with its directory",
         [&] {
             fs::copy(file, spare);
             fs::rename(spare, file);
             fs::rename(redo, redo_path());
         }},
    };
    for (const auto &[what, deed] : rows) {
        tear(value);
        redo = redo_path();
        deed();
        EXPECT_EQ(read(), "broken") << what;
        write_file(file, document(old));
        call([&] { return config = kvio_open_config("a.xml", 0); });
        EXPECT_GT(save(value).result, 0);
        for (const auto &[name, inode] : Disk::now().names) EXPECT_EQ(file_mode(name), 0600u) << what;
        close();
    }
    // The save is finished before the file gets another name, and its redo file does not stay where it was.
    tear(value);
    fs::create_directory(config_path("sub"));
    call([] { return kvio_rename_config("a.xml", "sub/b.xml"); });
    name_ = "sub/b.xml";
    EXPECT_TRUE(read() == value);
    EXPECT_TRUE(Disk::now().names.empty());
    tear(value);
    call([] { return kvio_remove_config("a.xml"); });
    EXPECT_TRUE(Disk::now().names.empty());
}

}  // namespace
