// The verbs for whole files: copies, names, dumps and backups.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <set>

#include "document.h"
#include "output.h"

namespace kvio {
namespace {

std::string directory_of(const std::string &path) {
    std::string directory = path.substr(0, path.find_last_of('/') + 1);
    return directory.empty() ? "." : directory;
}

// Bytes that are free where a file is, or is to be.
unsigned long long room_for(const std::string &path) {
    struct statvfs system;
    if (statvfs(directory_of(path).c_str(), &system) != 0) return ~0ULL;
    return static_cast<unsigned long long>(system.f_bavail) * system.f_frsize;
}

// The store does not say why. It has given back what it took, so that the room left is compared with what was needed.
[[noreturn]] void write_failure(const std::string &path, unsigned long long needed = 0) {
    int reason = 0;
    if (faccessat(AT_FDCWD, path.c_str(), F_OK, AT_EACCESS) == 0)
        reason = faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0 ? 0 : errno;
    else if (faccessat(AT_FDCWD, directory_of(path).c_str(), W_OK | X_OK, AT_EACCESS) != 0)
        reason = errno;
    if (!reason && room_for(path) < std::max(needed, 4096ULL)) reason = ENOSPC;
    throw Failure{reason == EACCES ? denied : io_error,
                  path + ": " + (reason ? std::strerror(reason) : "it cannot be written")};
}

bool is_missing(const std::string &path) { return access(path.c_str(), F_OK) != 0 && errno == ENOENT; }

void run_on_files(int (*operation)(const char *, const char *), Call &call) {
    if (call[0] == call[1]) throw Failure{misused, call[0] + " twice"};
    Undisturbed undisturbed;
    kvio_errno = 0;
    if (operation(call[0].c_str(), call[1].c_str()) == 0) return;
    if (kvio_errno == KVIO_LOCKED || kvio_errno == KVIO_EXISTS) store_failure(call[0] + " to " + call[1]);
    if (kvio_errno == KVIO_NO_FILE) store_failure(call[0]);
    // What is wrong with the source, if anything, is its permissions; else it is the target.
    std::string source = config_directory + call[0];
    if (faccessat(AT_FDCWD, source.c_str(), R_OK, AT_EACCESS) != 0) file_failure(call[0], source);
    write_failure(config_directory + call[1]);
}

// Gives a file for the store to write to, or a copy of it on standard output when there is none.
class Target {
public:
    explicit Target(const std::string &path) : path_(path), is_new_(path != "-" && is_missing(path)) {
        if (path == "-") path_ = memory_.emplace(memory_file()).path();
    }

    ~Target() {
        if (is_new_) unlink(path_.c_str());
    }
    Target(const Target &) = delete;
    Target &operator=(const Target &) = delete;

    const std::string &path() const { return path_; }
    void done() {
        is_new_ = false;
        char block[65536];
        for (ssize_t size; memory_ && (size = read(memory_->get(), block, sizeof block)) > 0;)
            put(std::string(block, static_cast<std::size_t>(size)));
    }

private:
    std::string path_;
    bool is_new_;  // and not done: nobody wants half of it
    std::optional<Descriptor> memory_;
};

std::set<std::string> scopes_of(Document &document) {
    std::set<std::string> paths;
    document.tree().each_scope([&](Element scope) { paths.insert(scope.scope()); });
    return paths;
}

void refuse_loss(Document &source, Document &target, Call &call) {
    std::set<std::string> kept = scopes_of(source);
    const std::string within = call.count() > 2 ? call[2] + '/' : "";
    for (const std::string &scope : scopes_of(target))
        if (scope.compare(0, within.size(), within) == 0 && !kept.count(scope))
            throw Failure{inconsistent, call[1] + " has no scope " + scope + ", which " + call[0] +
                                            " would lose; name the scope to restore, or say --force"};
}

// What cannot be read has nothing to lose.
std::optional<Document> readable(const std::string &name) {
    try {
        return Document::look(name);
    } catch (const Failure &) { return std::nullopt; }
}

void check_scope_in(Document &document, const std::string &scope, const std::string &name) {
    try {
        document.check_scope(scope);
    } catch (const Failure &failure) {
        if (failure.status != not_found) throw;
        throw Failure{not_found, failure.text + " in " + name};
    }
}

void restore_scope(Call &call) {
    Document source = Document::file(call[1]), target = Document::change(call[0]);
    check_scope_in(source, call[2], call[1]);
    check_scope_in(target, call[2], call[0]);
    if (!call.has('f')) refuse_loss(source, target, call);
    std::unique_ptr<kvio_checkpoint_t, void (*)(kvio_checkpoint_t *)> scope(
        kvio_create_checkpoint(source.get(), call[2].c_str()), kvio_release_checkpoint);
    if (!scope) store_failure("scope " + call[2] + " of " + call[1]);
    if (!kvio_rollback_checkpoint(target.get(), call[2].c_str(), scope.get())) store_failure("scope " + call[2]);
    scope.release();  // the document's now
    target.save();
}

// What is there is not read, so that it may be broken or missing.
int save_under(Document &document, const std::string &name) {
    const std::string path = config_directory + name;
    bool is_new = is_missing(path);
    if (document.save_as(name)) return success;
    if (kvio_errno == KVIO_LOCKED) store_failure(name);
    struct stat file;
    if (is_new && stat(path.c_str(), &file) == 0 && file.st_size == 0) kvio_remove_config(name.c_str());
    write_failure(path, document.size());
}

}  // namespace

int copy(Call &call) {
    // The store sees to that only when it has made the target.
    const std::string source = config_directory + call[0];
    struct stat file = {};
    if (stat(source.c_str(), &file) == 0 && !S_ISREG(file.st_mode))
        throw Failure{io_error, call[0] + ": " + (S_ISDIR(file.st_mode) ? std::strerror(EISDIR) : "it is no file")};
    if (faccessat(AT_FDCWD, source.c_str(), R_OK, AT_EACCESS) != 0 && errno == EACCES)
        throw Failure{denied, call[0] + ": " + std::strerror(EACCES)};
    // It empties the target before it knows whether there is room.
    const std::string target = config_directory + call[1];
    auto size = static_cast<unsigned long long>(file.st_size), room = room_for(target);
    if (stat(target.c_str(), &file) == 0) room += static_cast<unsigned long long>(file.st_blocks) * 512;
    if (size > room) throw Failure{io_error, target + ": " + std::strerror(ENOSPC)};
    return run_on_files(kvio_copy_config, call), success;
}

int rename(Call &call) { return run_on_files(kvio_rename_config, call), success; }

int remove(Call &call) {
    Undisturbed undisturbed;
    if (kvio_remove_config(call[0].c_str()) == 0) return success;
    if (kvio_errno == KVIO_LOCKED) store_failure(call[0]);
    const std::string path = config_directory + call[0];
    if (kvio_errno == KVIO_IO && faccessat(AT_FDCWD, config_directory, W_OK | X_OK, AT_EACCESS) != 0 && errno == EACCES)
        throw Failure{denied, path + ": " + std::strerror(EACCES)};
    file_failure(call[0], path);
}

int save_as(Call &call) {
    if (call[0] == call[1]) throw Failure{misused, call[0] + " twice"};
    Document document = Document::change(call[0]);
    return save_under(document, call[1]);
}

int dump(Call &call) {
    Document document = Document::look(call[0]);
    Target target(call.count() > 1 ? call[1] : "-");
    if (kvio_dump(document.get(), target.path().c_str()) < 0) write_failure(call[1], document.size());
    return target.done(), success;
}

int backup(Call &call) {
    Document document = Document::look(call[0]);
    document.check_scope(call[1]);
    Target target(call.count() > 2 ? call[2] : "-");
    if (!kvio_backup_scope(document.get(), call[1].c_str(), target.path().c_str())) {
        if (kvio_errno == KVIO_IO) write_failure(call[2], document.size());
        store_failure("scope " + call[1]);
    }
    return target.done(), success;
}

int restore(Call &call) {
    if (call.count() > 2) return restore_scope(call), success;
    Undisturbed undisturbed;
    Document document = Document::file(call[1]);
    if (document.tree().root().tag() != "kavex") throw Failure{inconsistent, call[1] + ": no configuration"};
    if (!call.has('f'))
        if (std::optional<Document> target = readable(call[0])) refuse_loss(document, *target, call);
    return save_under(document, call[0]);
}

}  // namespace kvio
