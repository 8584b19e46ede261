// How the contents of a file are replaced so that a crash at any instant leaves the old ones or the new ones.
//
// The file is overwritten in place, since the lock hangs on its inode. Beside it, in the same directory and named after
// its inode, lies its redo file:
//
//  1. Read the old contents and sync the file: what counts as old must be on the disk. Where the new contents are the
//     same, this is all.
//  2. Write the redo file and sync it, with its directory when it is new: a header, a checksum of each old block, and
//     the new contents. This is the commit point.
//  3. Write what goes beyond the old end, which fails on a full disk while all old contents are there, then overwrite
//     the file in place from the first difference on, and sync it. A file that becomes shorter is cut only after that,
//     and synced again.
//  4. Clear the header of the redo file, which may stay for the next save.
//
// After a crash the file is one of these, as a comparison block by block tells:
//
//  - old throughout: step 3 has not begun. The redo file is dropped.
//  - begun, each block being old, new, or zero beyond the old end: the new contents come from the redo file.
//  - anything else: another program has written the file since. It stays as it is, and the redo file is dropped.
//
// So a redo file brings nothing back over what cp(1) or an editor has written since, nor into another file with the
// same inode number: some block is neither old nor new then. (A program that writes nothing but old and new blocks in
// place, in a mixture of its own, looks like the save.) A copy of the directory, or a file that moved to another one,
// has no redo file under its inode number. A redo file that another user could have written is ignored.
//
// A file without a place for a redo file (the directory cannot be written, the disk has no room for it, the writer is
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

using Checksum = std::uint32_t;

constexpr std::size_t block_size = 512;  // bytes that a disk writes as one

// A checksum against torn contents, not against forged ones.
Checksum checksum(const void *data, std::size_t size) noexcept {
    const char *bytes = static_cast<const char *>(data);
    auto sum = static_cast<Checksum>(size);
    while (size > 0) {
        Checksum word = 0;
        std::size_t length = std::min(size, sizeof word);
        std::memcpy(&word, bytes, length);
        sum = (sum ^ word) * 0x9E3779B1u;
        sum ^= sum >> 15;
        bytes += length;
        size -= length;
    }
    return sum;
}

// In the byte order of the machine, which alone reads it. A cleared header is all zeros. The number of the device is
// left out: on some file systems it changes with each mount.
struct Header {
    char magic[8];
    std::uint64_t inode;  // of the file
    std::uint32_t old_size, new_size;
    Checksum payload;  // of the checksums and contents that follow the header
    Checksum header;   // of all above

    std::size_t sums_size() const noexcept { return (old_size + block_size - 1) / block_size * sizeof(Checksum); }
    std::size_t payload_size() const noexcept { return sums_size() + new_size; }
    Checksum own_sum() const noexcept { return checksum(this, offsetof(Header, header)); }
};

constexpr char magic[8] = {'k', 'v', 'x', 'r', 'e', 'd', 'o', '1'};

// A regular file, open, and the path of its redo file.
struct Target {
    Descriptor file;
    struct stat status;
    char redo_path[PATH_MAX + sizeof paths::redo_prefix + 20];

    // Opens the file; false with errno, EINVAL or EISDIR where it is no regular one.
    bool open(const char *path, int flags) noexcept;
};

// The directory is that of the file itself, wherever symbolic links to it lie. Without /proc there is no redo file.
bool Target::open(const char *path, int flags) noexcept {
    file = Descriptor(::open(path, flags | O_NONBLOCK | O_CLOEXEC));
    if (!file || fstat(file.get(), &status) != 0) return false;
    if (!S_ISREG(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return false;
    }
    ssize_t length = readlink(DescriptorName(file.get()).text, redo_path, PATH_MAX);
    while (length > 0 && redo_path[length - 1] != '/') --length;
    redo_path[0] = length > 0 ? redo_path[0] : '\0';
    if (length > 0)
        std::sprintf(redo_path + length, "%s%llu", paths::redo_prefix, static_cast<unsigned long long>(status.st_ino));
    return true;
}

// Whether the owner of a redo file could have written the file itself, and no other user could have written the redo
// file: in a directory like /tmp every user can make a file of this name.
bool is_trusted(const struct stat &redo, const struct stat &file) noexcept {
    return S_ISREG(redo.st_mode) && redo.st_nlink == 1 && (redo.st_uid == 0 || redo.st_uid == file.st_uid) &&
           (redo.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

// Opens the redo file; none with errno, EPERM where it is not trusted.
Descriptor open_redo(const Target &target, int flags) noexcept {
    Descriptor redo(open(target.redo_path, flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status;
    if (!redo || (fstat(redo.get(), &status) == 0 && is_trusted(status, target.status))) return redo;
    errno = EPERM;
    return Descriptor();
}

// Whether an open failed for what is there, and not for what the process lacks at the moment.
bool is_absent(int reason) noexcept {
    for (int one : {EIO, ENOMEM, EMFILE, ENFILE})
        if (reason == one) return false;
    return true;
}

// The header of a file's redo file; all zeros where there is none that is valid.
Header read_header(const Target &target, int redo) noexcept {
    Header header;
    bool valid = redo >= 0 && read_all(redo, &header, sizeof header, 0) == sizeof header &&
                 std::memcmp(header.magic, magic, sizeof magic) == 0 && header.header == header.own_sum() &&
                 header.inode == target.status.st_ino && header.old_size <= INT_MAX && header.new_size <= INT_MAX;
    return valid ? header : Header{};
}

// A piece of a file: a block, of which the end of the old contents can cut off a part.
struct Piece {
    std::size_t begin, end;
};

enum class State { untouched, begun, written_by_others };

// A save that was committed: the contents that the file is to have.
class Redo {
public:
    // Reads a file's redo file. False with errno where it cannot be read now.
    bool read(const Target &target) noexcept;

    explicit operator bool() const noexcept { return valid_; }
    const Header &header() const noexcept { return header_; }
    const char *contents() const noexcept { return payload_.begin() + header_.sums_size(); }
    std::size_t size() const noexcept { return header_.new_size; }

    // What the save has done to a file that has these contents now.
    State state_of(const Bytes &now) const noexcept;

private:
    Piece piece_at(const Bytes &now, std::size_t at) const noexcept;
    bool is_old(const Bytes &now, Piece piece) const noexcept;
    bool is_new(const Bytes &now, Piece piece) const noexcept;

    Header header_ = {};
    Bytes payload_;
    bool valid_ = false;
};

bool Redo::read(const Target &target) noexcept {
    Descriptor redo = open_redo(target, O_RDONLY);
    if (!redo && !is_absent(errno)) return false;
    header_ = read_header(target, redo.get());
    struct stat status;
    std::size_t size = header_.payload_size();
    if (size == 0 || fstat(redo.get(), &status) != 0 || status.st_size < static_cast<off_t>(sizeof header_ + size))
        return true;
    if (!payload_.fill(size, 0)) return false;
    ssize_t got = read_all(redo.get(), payload_.begin(), size, sizeof header_);
    valid_ = got == static_cast<ssize_t>(size) && checksum(payload_.begin(), size) == header_.payload;
    return got >= 0;
}

Piece Redo::piece_at(const Bytes &now, std::size_t at) const noexcept {
    std::size_t end = std::min((at / block_size + 1) * block_size, now.size());
    return {at, at < header_.old_size ? std::min<std::size_t>(end, header_.old_size) : end};
}

// Whether a piece is as it was; beyond the end of the old contents there may be zeros.
bool Redo::is_old(const Bytes &now, Piece piece) const noexcept {
    const char *begin = now.begin() + piece.begin, *end = now.begin() + piece.end;
    if (piece.begin >= header_.old_size) return std::all_of(begin, end, [](char byte) { return byte == 0; });
    Checksum expected;
    std::memcpy(&expected, payload_.begin() + piece.begin / block_size * sizeof expected, sizeof expected);
    return checksum(begin, piece.end - piece.begin) == expected;
}

// Whether a piece is as it is to be; what it has beyond the end of the new contents is to be cut off.
bool Redo::is_new(const Bytes &now, Piece piece) const noexcept {
    std::size_t end = std::min(piece.end, size());
    return piece.begin < end &&
           std::memcmp(now.begin() + piece.begin, contents() + piece.begin, end - piece.begin) == 0;
}

State Redo::state_of(const Bytes &now) const noexcept {
    if (now.size() < std::min(header_.old_size, header_.new_size) ||
        now.size() > std::max(header_.old_size, header_.new_size))
        return State::written_by_others;
    bool all_old = now.size() == header_.old_size;
    for (std::size_t at = 0; at < now.size();) {
        Piece piece = piece_at(now, at);
        bool old_piece = is_old(now, piece);
        if (!old_piece && !is_new(now, piece)) return State::written_by_others;
        all_old = all_old && old_piece;
        at = piece.end;
    }
    return all_old ? State::untouched : State::begun;
}

bool read_contents(const Target &target, Bytes &contents) noexcept {
    contents.shorten(0);
    if (target.status.st_size > INT_MAX) {
        errno = EFBIG;
        return false;
    }
    if (!contents.fill(static_cast<std::size_t>(target.status.st_size), 0)) return false;
    ssize_t got = read_all(target.file.get(), contents.begin(), contents.size(), 0);
    if (got >= 0) contents.shorten(static_cast<std::size_t>(got));
    return got >= 0;
}

bool same_time(const timespec &a, const timespec &b) noexcept { return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec; }

bool is_unchanged(const Target &target) noexcept {
    struct stat now;
    return fstat(target.file.get(), &now) == 0 && now.st_size == target.status.st_size &&
           same_time(now.st_mtim, target.status.st_mtim) && same_time(now.st_ctim, target.status.st_ctim);
}

bool same_contents(const Bytes &a, const Bytes &b) noexcept {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin());
}

// Reads a file while others may save it. `settled` says whether no save has made a mixture of what was read. Where a
// save is under way, contents that are neither old nor new may be those of a page that is just being written: they
// count only if they are the same at a second look.
bool try_to_load(const char *path, Bytes &contents, bool &settled) noexcept {
    Target target;
    Redo redo;
    Bytes again;
    if (!target.open(path, O_RDONLY) || !redo.read(target) || !read_contents(target, contents)) return false;
    State state = redo ? redo.state_of(contents) : State::untouched;
    if (state == State::written_by_others && !read_contents(target, again)) return false;
    Header now = read_header(target, open_redo(target, O_RDONLY).get());
    settled = std::memcmp(&now, &redo.header(), sizeof now) == 0 && (redo || is_unchanged(target)) &&
              (state != State::written_by_others || same_contents(contents, again));
    if (!settled || state != State::begun) return true;
    contents.shorten(0);
    return contents.append(redo.contents(), redo.size());
}

// Gives the redo file the owner and the readers of the file; false where it cannot be trusted even so.
bool take_over_rights(int redo, const Target &target) noexcept {
    struct stat status;
    fchown(redo, target.status.st_uid, target.status.st_gid);
    return fchmod(redo, (target.status.st_mode & 0444) | 0600) == 0 && fstat(redo, &status) == 0 &&
           is_trusted(status, target.status);
}

// Opens the redo file to write it, and makes it where there is none or one that is not to be trusted.
Descriptor open_or_create_redo(const Target &target, bool &created) noexcept {
    Descriptor redo = open_redo(target, O_RDWR);
    created = !redo;
    if (created) {
        unlink(target.redo_path);
        redo = Descriptor(open(target.redo_path, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    }
    if (!redo || take_over_rights(redo.get(), target)) return redo;
    unlink(target.redo_path);
    errno = EPERM;
    return Descriptor();
}

// What follows the header; false when memory is short.
bool make_payload(const Bytes &old, const Bytes &contents, Bytes &payload) noexcept {
    for (std::size_t at = 0; at < old.size(); at += block_size) {
        Checksum sum = checksum(old.begin() + at, std::min(block_size, old.size() - at));
        if (!payload.append(reinterpret_cast<const char *>(&sum), sizeof sum)) return false;
    }
    return payload.append(contents.begin(), contents.size());
}

enum class Commit { done, no_place, failed };

// Writes and syncs the redo file. Where there is no place for it, or it fails with errno, none is left.
Commit commit(const Target &target, const Bytes &old, const Bytes &contents) noexcept {
    Bytes payload;
    if (!make_payload(old, contents, payload)) return Commit::failed;
    Header header = {};
    std::memcpy(header.magic, magic, sizeof magic);
    header.inode = target.status.st_ino;
    header.old_size = static_cast<std::uint32_t>(old.size());
    header.new_size = static_cast<std::uint32_t>(contents.size());
    header.payload = checksum(payload.begin(), payload.size());
    header.header = header.own_sum();

    bool created;
    Descriptor redo = open_or_create_redo(target, created);
    if (!redo) return is_absent(errno) ? Commit::no_place : Commit::failed;
    if (write_all(redo.get(), payload.begin(), payload.size(), sizeof header) &&
        write_all(redo.get(), &header, sizeof header, 0) && fdatasync(redo.get()) == 0 &&
        (!created || sync_directory(target.redo_path)))
        return Commit::done;
    int reason = errno;
    unlink(target.redo_path);
    errno = reason;
    return reason == ENOSPC || reason == EDQUOT || reason == EFBIG ? Commit::no_place : Commit::failed;
}

// Clears or removes a redo file whose save is complete; false with errno where neither can be done. Not synced: where
// the clearing is lost, the next call finds the file as the save has left it.
bool drop(const Target &target, RedoFile wanted) noexcept {
    Header cleared = {};
    Descriptor redo = wanted == RedoFile::stays ? open_redo(target, O_RDWR) : Descriptor();
    if (redo && write_all(redo.get(), &cleared, sizeof cleared, 0)) return true;
    return unlink(target.redo_path) == 0 || errno == ENOENT;
}

// Gives the file a modification time of its own: the kernel's clock ticks so slowly that two saves would share one, by
// which load() tells whether the file was saved while it read.
void stamp(int fd) noexcept {
    timespec times[2] = {};
    times[0].tv_nsec = UTIME_OMIT;
    clock_gettime(CLOCK_REALTIME, &times[1]);
    futimens(fd, times);
}

// Writes what goes beyond the end of a file; where that fails the file is as it was.
bool extend(const Target &target, const char *contents, std::size_t size) noexcept {
    const auto old_size = static_cast<std::size_t>(target.status.st_size);
    const int fd = target.file.get();
    if (size <= old_size || write_all(fd, contents + old_size, size - old_size, target.status.st_size)) return true;
    int reason = errno;
    bool cut = ftruncate(fd, target.status.st_size) == 0;
    errno = cut ? reason : EIO;
    return false;
}

// Writes the contents over those of a file, whose first `same` bytes they share, and syncs it. Where they are in a redo
// file, the file is cut only when they are on the disk.
bool overwrite(const Target &target, const char *contents, std::size_t size, std::size_t same, bool in_redo) noexcept {
    const int fd = target.file.get();
    const auto old_size = static_cast<std::size_t>(target.status.st_size);
    if (!extend(target, contents, size) ||
        !write_all(fd, contents + same, std::min(size, old_size) - same, static_cast<off_t>(same)))
        return false;
    if (size < old_size && ((in_redo && fdatasync(fd) != 0) || ftruncate(fd, static_cast<off_t>(size)) != 0))
        return false;
    stamp(fd);
    return fdatasync(fd) == 0;
}

// Finishes an interrupted save of a file. New contents are written again even where the file shows them: they may not
// be on the disk, after a sync that failed.
bool finish(Target &target) noexcept {
    Redo redo;
    Bytes now;
    if (!redo.read(target)) return false;
    if (!redo) return true;
    if (!read_contents(target, now)) return false;
    bool done = redo.state_of(now) == State::begun ? overwrite(target, redo.contents(), redo.size(), 0, true)
                                                   : fdatasync(target.file.get()) == 0;
    return done && drop(target, RedoFile::stays) && fstat(target.file.get(), &target.status) == 0;
}

std::size_t common_length(const Bytes &a, const Bytes &b) noexcept {
    const char *end = a.begin() + std::min(a.size(), b.size());
    return static_cast<std::size_t>(std::mismatch(a.begin(), end, b.begin()).first - a.begin());
}

bool replace_existing(Target &target, const Bytes &contents, RedoFile redo) noexcept {
    Bytes old;
    if (!finish(target) || !read_contents(target, old)) return false;
    std::size_t same = common_length(old, contents);
    if (fdatasync(target.file.get()) != 0) return false;
    if (same == old.size() && same == contents.size()) return true;
    Commit committed = commit(target, old, contents);
    if (committed == Commit::failed ||
        !overwrite(target, contents.begin(), contents.size(), same, committed == Commit::done))
        return false;
    if (committed == Commit::done) drop(target, redo);
    return true;
}

}  // namespace

bool load(const char *path, Bytes &contents) noexcept {
    constexpr int most_tries = 1000;  // each fails only if a save ended or began meanwhile
    for (int tries = 0; tries < most_tries; ++tries) {
        bool settled = false;
        if (!try_to_load(path, contents, settled)) return false;
        if (settled) return true;
    }
    errno = EAGAIN;
    return false;
}

bool finish_save(const char *path) noexcept {
    Target target;
    if (!target.open(path, O_RDWR)) return errno == EISDIR || errno == EINVAL;
    return finish(target);
}

bool write_new(int fd, const char *path, const Bytes &contents) noexcept {
    return write_all(fd, contents.begin(), contents.size(), 0) && fdatasync(fd) == 0 && give_name(fd, path);
}

bool replace(const char *path, const Bytes &contents, mode_t mode, RedoFile redo) noexcept {
    struct stat now;
    if (stat(path, &now) != 0 && errno == ENOENT) {
        Descriptor file = unnamed_file(path, mode);
        if (file && write_new(file.get(), path, contents)) return true;
        if (file && errno != EEXIST && errno != ENOENT) return false;
        // No file can be made without a name, or another process has made one of this name.
        Descriptor(open(path, O_WRONLY | O_CREAT | O_CLOEXEC, mode)).close();
    }
    Target target;
    return target.open(path, O_RDWR) && replace_existing(target, contents, redo) && target.file.close() == 0;
}

void remove_redo_file(const char *path) noexcept {
    Target target;
    if (target.open(path, O_RDONLY)) unlink(target.redo_path);
}

bool remove_file(const char *path) noexcept {
    Target target;
    bool has_redo = finish_save(path) && target.open(path, O_RDONLY);
    if (unlink(path) != 0) return false;
    if (has_redo) unlink(target.redo_path);
    return sync_directory(path);
}

}  // namespace store
