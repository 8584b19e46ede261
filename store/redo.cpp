// How the contents of a file are replaced so that a crash at any instant leaves the old ones or the new ones.
//
// The file is overwritten in place, since the lock hangs on its inode. Beside it, in the same directory and named after
// its inode, lies its redo file:
//
//  1. Read the old contents and sync the file: what counts as old must be on the disk. If the new ones are the same,
//     this is all.
//  2. Write the redo file and sync it, with its directory when it is new: a header, a checksum of each old block, and
//     the new contents. This is the commit point.
//  3. Write what goes beyond the old end, which fails on a full disk while all old contents are there. Overwrite the
//     file from the first block that differs, and sync it. Then cut one that becomes shorter, and sync it again.
//  4. Clear the header of the redo file, which may stay for the next save.
//
// After a crash each block of the file is compared:
//
//  - All are old: step 3 has not begun. The redo file is dropped.
//  - Each is old, new, or zero beyond the old end: the new contents come from the redo file.
//  - Otherwise another program has written the file since. It stays as it is, and the redo file is dropped.
//
// So a redo file brings nothing back over what cp(1) or an editor has written since, nor into another file with the
// same inode number. A copy of the directory, or a file that moved to another one, has no redo file under its inode
// number. A redo file that another user could have written is ignored.
//
// A file without a place for a redo file (the directory cannot be written, the disk has no room for both, the writer is
// neither root nor the owner) is overwritten all the same: a crash then can tear it. A file that is saved through a
// link in one directory and read through a link in another has its redo file in the first.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "base/files.h"
#include "base/paths.h"
#include "store/files.h"

namespace store {
namespace {

using Checksum = std::size_t;

constexpr std::size_t block_size = 512;  // bytes that a disk writes as one

// A checksum against torn contents, not against forged ones: four sums, which a processor works out side by side.
Checksum checksum(const void *data, std::size_t size, Checksum seed = 0) noexcept {
    constexpr auto factor = static_cast<Checksum>(0x9E3779B97F4A7C15u);
    const char *bytes = static_cast<const char *>(data);
    Checksum sums[4] = {seed, size, 1, 2}, words[4] = {};
    for (std::size_t at = 0; at < size; at += sizeof words) {
        std::memcpy(words, bytes + at, std::min(sizeof words, size - at));
        for (int i = 0; i < 4; ++i) {
            sums[i] = (sums[i] ^ words[i]) * factor;
            sums[i] ^= sums[i] >> (4 * sizeof(Checksum));
        }
    }
    return ((sums[0] * factor + sums[1]) * factor + sums[2]) * factor + sums[3];
}

// In the byte order of the machine, which alone reads it. A cleared header is all zeros. The number of the device is
// left out: on some file systems it changes with each mount.
struct Header {
    std::uint64_t magic;
    std::uint64_t inode;  // of the file
    std::uint32_t old_size, new_size;
    Checksum payload;  // of the checksums and contents that follow the header
    Checksum header;   // of all above

    std::size_t sums_size() const noexcept { return (old_size + block_size - 1) / block_size * sizeof(Checksum); }
    Checksum own_sum() const noexcept { return checksum(this, offsetof(Header, header)); }
};

constexpr std::uint64_t magic = 0x326F64657278766B;  // "kvxredo2"

// A regular file, open, and the path of its redo file.
struct Target {
    Descriptor file;
    struct stat status;
    char redo_path[PATH_MAX + sizeof paths::redo_prefix + 20];

    // Opens the file; false with errno, EINVAL or EISDIR where it is no regular one. The directory is that of the file
    // itself, wherever symbolic links to it lie. Without /proc there is no redo file.
    bool open(const char *path, int flags) noexcept {
        file = Descriptor(::open(path, flags | O_NONBLOCK | O_CLOEXEC));
        if (!file || fstat(file.get(), &status) != 0) return false;
        if (!S_ISREG(status.st_mode)) return refuse(S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
        ssize_t length = readlink(DescriptorName(file.get()).text, redo_path, PATH_MAX);
        while (length > 0 && redo_path[length - 1] != '/') --length;
        redo_path[0] = length > 0 ? redo_path[0] : '\0';
        if (length > 0)
            std::sprintf(redo_path + length, "%s%llu", paths::redo_prefix,
                         static_cast<unsigned long long>(status.st_ino));
        return true;
    }
};

// Whether the owner of a redo file could have written the file itself, and no other user could have written the redo
// file: in a directory like /tmp every user can make a file of this name. Sets errno to EPERM where it is not so.
bool is_trusted(const Descriptor &redo, const Target &target) noexcept {
    struct stat status;
    return (fstat(redo.get(), &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 1 &&
            (status.st_uid == 0 || status.st_uid == target.status.st_uid) &&
            (status.st_mode & (S_IWGRP | S_IWOTH)) == 0) ||
           refuse(EPERM);
}

// Opens the redo file; none with errno, EPERM where it is not trusted.
Descriptor open_redo(const Target &target, int flags) noexcept {
    Descriptor redo(open(target.redo_path, flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    return redo && !is_trusted(redo, target) ? Descriptor() : std::move(redo);
}

// Whether an open failed for what is there, and not for what the process lacks at the moment.
bool is_absent(int reason) noexcept {
    return reason != EIO && reason != ENOMEM && reason != EMFILE && reason != ENFILE;
}

enum class State { untouched, begun, written_by_others };

// A save that was committed: the contents that the file is to have.
struct Redo {
    Header header = {};
    Bytes payload;

    // Reads a file's redo file. False with errno where it cannot be read now.
    bool read(const Target &target) noexcept {
        Descriptor redo = open_redo(target, O_RDONLY);
        if (!redo) return is_absent(errno);
        Header found = {};
        if (read_all(redo.get(), &found, sizeof found, 0) < 0) return false;
        if (found.magic != magic || found.header != found.own_sum() || found.inode != target.status.st_ino) return true;
        const std::size_t sums_size = found.sums_size(), size = sums_size + found.new_size;
        if (!payload.resize(size)) return false;
        ssize_t got = read_all(redo.get(), payload.begin(), size, sizeof found);
        if (got == static_cast<ssize_t>(size) && checksum(payload.begin() + sums_size, found.new_size,
                                                          checksum(payload.begin(), sums_size)) == found.payload)
            header = found;
        return got >= 0;
    }

    explicit operator bool() const noexcept { return header.inode != 0; }
    const char *contents() const noexcept { return payload.begin() + header.sums_size(); }

    // What the save has done to a file that has these contents now. Beyond the end of the old contents there may be
    // zeros; what is beyond the end of the new ones is to be cut off.
    State state_of(const Bytes &now) const noexcept {
        const std::size_t old_size = header.old_size, new_size = header.new_size;
        if (now.size() < std::min(old_size, new_size) || now.size() > std::max(old_size, new_size))
            return State::written_by_others;
        bool all_old = now.size() == old_size;
        for (std::size_t at = 0, end; at < now.size(); at = end) {
            end = std::min(at - at % block_size + block_size, now.size());
            const char *block = now.begin() + at;
            bool is_old;
            if (at < old_size) {
                end = std::min(end, old_size);
                Checksum sum = checksum(block, end - at);
                is_old = std::memcmp(&sum, payload.begin() + at / block_size * sizeof sum, sizeof sum) == 0;
            } else {
                is_old = std::all_of(block, now.begin() + end, [](char byte) { return byte == 0; });
            }
            all_old = all_old && is_old;
            if (!is_old && (at >= new_size || std::memcmp(block, contents() + at, std::min(end, new_size) - at) != 0))
                return State::written_by_others;
        }
        return all_old ? State::untouched : State::begun;
    }
};

bool read_contents(const Target &target, Bytes &contents) noexcept {
    if (target.status.st_size > INT_MAX) return refuse(EFBIG);
    if (!contents.resize(static_cast<std::size_t>(target.status.st_size))) return false;
    ssize_t got = read_all(target.file.get(), contents.begin(), contents.size(), 0);
    if (got >= 0) contents.shorten(static_cast<std::size_t>(got));
    return got >= 0;
}

bool is_unchanged(const Target &target) noexcept {
    struct stat now;
    const timespec &before = target.status.st_mtim;
    return fstat(target.file.get(), &now) == 0 && now.st_size == target.status.st_size &&
           now.st_mtim.tv_sec == before.tv_sec && now.st_mtim.tv_nsec == before.tv_nsec;
}

// Gives the file a modification time of its own: the kernel's clock ticks so slowly that two saves would share one, by
// which load() tells whether the file was saved while it read.
void stamp(int fd) noexcept {
    timespec times[2] = {};
    times[0].tv_nsec = UTIME_OMIT;
    clock_gettime(CLOCK_REALTIME, &times[1]);
    futimens(fd, times);
}

// Locks the whole file for writing, until it is closed or the process ends, for is_being_overwritten(). Where the file
// system has no such locks, the second look of try_to_load() is all there is.
void announce(const Target &target) noexcept {
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    fcntl(target.file.get(), F_OFD_SETLK, &lock);
}

// Whether a process is about to overwrite the file, perhaps in the middle of a block.
bool is_being_overwritten(const Target &target) noexcept {
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    return fcntl(target.file.get(), F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

// Announces that the file is overwritten, and writes what goes beyond its end; where there is no room for that the file
// is as it was.
bool extend(const Target &target, const char *contents, std::size_t size) noexcept {
    const off_t old_size = target.status.st_size;
    announce(target);
    if (static_cast<off_t>(size) <= old_size ||
        write_all(target.file.get(), contents + old_size, size - static_cast<std::size_t>(old_size), old_size))
        return true;
    KeptErrno kept_errno;
    ftruncate(target.file.get(), old_size);
    return false;
}

// Writes the contents over those of an extended file, whose first `same` bytes they share, and syncs it. Where they are
// in a redo file, the file is cut only when they are on the disk.
bool overwrite(const Target &target, const char *contents, std::size_t size, std::size_t same, bool in_redo) noexcept {
    const int fd = target.file.get();
    const off_t old_size = target.status.st_size, new_size = static_cast<off_t>(size);
    if (!write_all(fd, contents + same, std::min(size, static_cast<std::size_t>(old_size)) - same,
                   static_cast<off_t>(same)))
        return false;
    if (new_size < old_size && ((in_redo && fdatasync(fd) != 0) || ftruncate(fd, new_size) != 0)) return false;
    stamp(fd);
    return fdatasync(fd) == 0;
}

// Clears and perhaps removes a redo file whose save is complete; false with errno where neither can be done. No sync:
// where the clearing is lost, the next call finds the file as the save has left it.
bool drop(const Target &target, Descriptor redo, RedoFile wanted) noexcept {
    Header cleared = {};
    bool is_cleared = redo && write_all(redo.get(), &cleared, sizeof cleared, 0);
    return (is_cleared && wanted == RedoFile::stays) || unlink(target.redo_path) == 0 || errno == ENOENT;
}

// Finishes an interrupted save of a file. New contents are written again even where the file shows them: they may not
// be on the disk, after a sync that failed.
bool finish(Target &target, const Redo &redo) noexcept {
    Bytes now;
    if (!read_contents(target, now)) return false;
    bool done = redo.state_of(now) == State::begun
                    ? extend(target, redo.contents(), redo.header.new_size) &&
                          overwrite(target, redo.contents(), redo.header.new_size, 0, true)
                    : fdatasync(target.file.get()) == 0;
    return done && drop(target, open_redo(target, O_RDWR), RedoFile::stays) &&
           fstat(target.file.get(), &target.status) == 0;
}

// Opens a file, whose lock the caller holds, to write it, and finishes an interrupted save.
bool open_finished(const char *path, Target &target) noexcept {
    Redo redo;
    return target.open(path, O_RDWR) && redo.read(target) && (!redo || finish(target, redo));
}

// Reads a file while others may save it. `settled` says whether no save has made a mixture of what was read: without a
// redo file none was under way at first, and the times of the file tell that none has begun. Where one was under way,
// contents that are neither old nor new may have a block that is just being written: they count only if nobody writes
// the file and they are the same at a second look.
bool try_to_load(const Target &target, Bytes &contents, bool &settled) noexcept {
    Redo redo, after;
    Bytes again;
    if (!redo.read(target) || !read_contents(target, contents)) return false;
    if (!redo) {
        settled = is_unchanged(target);
        return true;
    }
    State state = redo.state_of(contents);
    if (state == State::written_by_others && is_being_overwritten(target)) state = State::begun;
    if (state == State::written_by_others && !read_contents(target, again)) return false;
    if (!after.read(target)) return false;
    settled =
        std::memcmp(&after.header, &redo.header, sizeof after.header) == 0 &&
        (state != State::written_by_others || std::equal(contents.begin(), contents.end(), again.begin(), again.end()));
    if (!settled || state != State::begun) return true;
    contents.shorten(0);
    return contents.append(redo.contents(), redo.header.new_size);
}

// Opens the redo file to write it, and makes it where there is none or one that is not to be trusted. It has the owner
// and the readers of the file; none where it cannot be trusted even so.
Descriptor open_or_create_redo(const Target &target, bool &created) noexcept {
    Descriptor redo = open_redo(target, O_RDWR);
    created = !redo;
    if (created) {
        unlink(target.redo_path);
        redo = Descriptor(open(target.redo_path, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (!redo) return redo;
    }
    fchown(redo.get(), target.status.st_uid, target.status.st_gid);
    if (fchmod(redo.get(), (target.status.st_mode & 0444) | 0600) == 0 && is_trusted(redo, target)) return redo;
    unlink(target.redo_path);
    refuse(EPERM);
    return Descriptor();
}

// Reads the old contents: the checksums of their blocks, and how many bytes there are in the first blocks that stay.
bool read_old(Target &target, const Bytes &contents, Bytes &sums, std::size_t &same) noexcept {
    char part[16 * block_size];
    std::size_t at = 0;
    same = 0;
    for (ssize_t got = 1; got > 0;) {
        got = read_all(target.file.get(), part, sizeof part, static_cast<off_t>(at));
        if (got < 0) return false;
        for (const char *block = part, *end = part + got; block < end; block += block_size) {
            const std::size_t size = std::min(block_size, static_cast<std::size_t>(end - block));
            const Checksum sum = checksum(block, size);
            if (!sums.append(reinterpret_cast<const char *>(&sum), sizeof sum)) return false;
            if (same == at && at + size <= contents.size() && std::memcmp(block, contents.begin() + at, size) == 0)
                same += size;
            at += size;
        }
    }
    target.status.st_size = static_cast<off_t>(at);
    return true;
}

bool is_no_room(int reason) noexcept { return reason == ENOSPC || reason == EDQUOT || reason == EFBIG; }

// Writes and syncs the redo file; none where there is no place for it. Where it fails with errno, none is left.
bool commit(const Target &target, const Bytes &sums, const Bytes &contents, Descriptor &redo) noexcept {
    const auto old_size = static_cast<std::uint32_t>(target.status.st_size);
    const auto new_size = static_cast<std::uint32_t>(contents.size());
    const Checksum payload = checksum(contents.begin(), new_size, checksum(sums.begin(), sums.size()));
    Header header = {magic, target.status.st_ino, old_size, new_size, payload, 0};
    header.header = header.own_sum();

    bool created;
    redo = open_or_create_redo(target, created);
    if (!redo) return is_absent(errno);
    const int fd = redo.get();
    if (write_all(fd, contents.begin(), contents.size(), static_cast<off_t>(sizeof header + sums.size())) &&
        write_all(fd, sums.begin(), sums.size(), sizeof header) && write_all(fd, &header, sizeof header, 0) &&
        fdatasync(fd) == 0 && (!created || sync_directory(target.redo_path)))
        return true;
    KeptErrno reason;
    drop(target, std::move(redo), RedoFile::is_removed);
    return is_no_room(reason.value);
}

bool replace_existing(Target &target, const Bytes &contents, RedoFile wanted) noexcept {
    Bytes sums;
    std::size_t same;
    if (!read_old(target, contents, sums, same) || fdatasync(target.file.get()) != 0) return false;
    if (same == contents.size() && static_cast<off_t>(same) == target.status.st_size) return true;
    Descriptor redo;
    if (!commit(target, sums, contents, redo)) return false;
    bool has_room = extend(target, contents.begin(), contents.size());
    if (!has_room && redo && is_no_room(errno)) {  // the redo file has taken it
        drop(target, std::exchange(redo, Descriptor()), RedoFile::is_removed);
        has_room = extend(target, contents.begin(), contents.size());
    }
    if (!has_room || !overwrite(target, contents.begin(), contents.size(), same, bool(redo))) return false;
    if (redo) drop(target, std::move(redo), wanted);
    return true;
}

}  // namespace

bool load(const char *path, Bytes &contents, bool is_locked) noexcept {
    constexpr int most_tries = 1000;  // each fails only if a save ended or began meanwhile
    Target target;
    if (is_locked) open_finished(path, target);
    bool settled = false;
    for (int tries = 0; tries < most_tries && !settled; ++tries)
        if (!target.open(path, O_RDONLY) || !try_to_load(target, contents, settled)) return false;
    return settled || refuse(EAGAIN);
}

bool write_new(int fd, const char *path, const Bytes &contents) noexcept {
    return write_all(fd, contents.begin(), contents.size(), 0) &&
           ftruncate(fd, static_cast<off_t>(contents.size())) == 0 && fdatasync(fd) == 0 &&
           linkat(AT_FDCWD, DescriptorName(fd).text, AT_FDCWD, path, AT_SYMLINK_FOLLOW) == 0 && sync_directory(path);
}

bool replace(const char *path, const Bytes &contents, mode_t mode, RedoFile wanted) noexcept {
    Target target;
    if (!open_finished(path, target)) {
        if (target.file || errno != ENOENT) return false;
        Descriptor file = unnamed_file(path, mode);
        if (file && write_new(file.get(), path, contents)) return true;
        if (file && errno != EEXIST && errno != ENOENT) return false;
        // No file can be made without a name, or another process has made one of this name.
        Descriptor(open(path, O_WRONLY | O_CREAT | O_CLOEXEC, mode)).close();
        if (!open_finished(path, target)) return false;
    }
    return replace_existing(target, contents, wanted) && target.file.close() == 0;
}

bool move_file(const char *path, const char *new_path) noexcept {
    Target target;
    bool is_finished = open_finished(path, target), is_no_file = !is_finished && (errno == EISDIR || errno == EINVAL);
    if (!new_path && unlink(path) != 0) return false;
    if (new_path && ((!is_finished && !is_no_file) || std::rename(path, new_path) != 0)) return false;
    if (is_finished) unlink(target.redo_path);
    return true;
}

}  // namespace store
