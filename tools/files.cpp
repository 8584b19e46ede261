// The verbs for whole files: copies, names, dumps and backups.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <set>

#include "document.h"
#include "output.h"

namespace kvio {
namespace {

[[noreturn]] void write_failure(const std::string &path) {
    int reason = 0;
    std::string directory = path.substr(0, path.find_last_of('/') + 1);
    if (faccessat(AT_FDCWD, path.c_str(), F_OK, AT_EACCESS) == 0)
        reason = faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0 ? 0 : errno;
    else if (faccessat(AT_FDCWD, directory.empty() ? "." : directory.c_str(), W_OK | X_OK, AT_EACCESS) != 0)
        reason = errno;
    throw Failure{reason == EACCES ? denied : io_error,
                  path + ": " + (reason ? std::strerror(reason) : "it cannot be written")};
}

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
    explicit Target(const std::string &path) : path_(path) {
        if (path == "-") path_ = memory_.emplace(memory_file()).path();
    }

    const std::string &path() const { return path_; }
    void done() {
        char block[65536];
        for (ssize_t size; memory_ && (size = read(memory_->get(), block, sizeof block)) > 0;)
            put(std::string(block, static_cast<std::size_t>(size)));
    }

private:
    std::string path_;
    std::optional<Descriptor> memory_;
};

void restore_scope(Call &call) {
    Document source = Document::file(call[1]), target = Document::change(call[0]);
    source.check_scope(call[2]);
    target.check_scope(call[2]);
    std::unique_ptr<kvio_checkpoint_t, void (*)(kvio_checkpoint_t *)> scope(
        kvio_create_checkpoint(source.get(), call[2].c_str()), kvio_release_checkpoint);
    if (!scope) store_failure("scope " + call[2] + " of " + call[1]);
    if (!kvio_rollback_checkpoint(target.get(), call[2].c_str(), scope.get())) store_failure("scope " + call[2]);
    scope.release();  // the document's now
    target.save();
}

std::set<std::string> scopes_of(Document &document) {
    std::set<std::string> paths;
    document.tree().each_scope([&](Element scope) { paths.insert(scope.scope()); });
    return paths;
}

std::set<std::string> scopes_to_lose(const std::string &name) {
    try {
        Document document = Document::look(name);
        return scopes_of(document);
    } catch (const Failure &) {
        return {};  // missing or broken
    }
}

void refuse_loss(Document &source, Call &call) {
    std::set<std::string> kept = scopes_of(source);
    for (const std::string &scope : scopes_to_lose(call[0]))
        if (!kept.count(scope))
            throw Failure{inconsistent, call[1] + " has no scope " + scope + ", which " + call[0] +
                                            " would lose; name the scope to restore, or say --force"};
}

// What is there is not read, so that it may be broken or missing.
int save_under(Document &document, const std::string &name) {
    if (document.save_as(name)) return success;
    if (kvio_errno == KVIO_LOCKED) store_failure(name);
    write_failure(config_directory + name);
}

}  // namespace

int copy(Call &call) {
    // The store sees to that only when it has made the target.
    const std::string source = config_directory + call[0];
    struct stat file;
    if (stat(source.c_str(), &file) == 0 && !S_ISREG(file.st_mode))
        throw Failure{io_error, call[0] + ": " + (S_ISDIR(file.st_mode) ? std::strerror(EISDIR) : "it is no file")};
    if (faccessat(AT_FDCWD, source.c_str(), R_OK, AT_EACCESS) != 0 && errno == EACCES)
        throw Failure{denied, call[0] + ": " + std::strerror(EACCES)};
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
    if (kvio_dump(document.get(), target.path().c_str()) < 0) write_failure(call[1]);
    return target.done(), success;
}

int backup(Call &call) {
    Document document = Document::look(call[0]);
    document.check_scope(call[1]);
    Target target(call.count() > 2 ? call[2] : "-");
    if (!kvio_backup_scope(document.get(), call[1].c_str(), target.path().c_str())) {
        if (kvio_errno == KVIO_IO) write_failure(call[2]);
        store_failure("scope " + call[1]);
    }
    return target.done(), success;
}

int restore(Call &call) {
    if (call.count() > 2) return restore_scope(call), success;
    Undisturbed undisturbed;
    Document document = Document::file(call[1]);
    if (document.tree().root().tag() != "kavex") throw Failure{inconsistent, call[1] + ": no configuration"};
    if (!call.has('f')) refuse_loss(document, call);
    return save_under(document, call[0]);
}

}  // namespace kvio
