// The verbs for whole files: copies, names, dumps and backups.

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>

#include "base/files.h"
#include "document.h"

namespace kvio {
namespace {

// A document with one scope: all of it, and its ancestors with their attributes alone. The root has no attributes.
xml::Document document_of(Element scope) {
    xml::Document document(xmlNewDoc(nullptr));
    xmlNode *copy = xmlDocCopyNode(scope.node(), document.get(), 1);
    for (Element above = scope.parent(); copy && above; above = above.parent()) {
        xmlNode *around = above.parent() ? xmlDocCopyNode(above.node(), document.get(), 2)
                                         : xmlNewDocNode(document.get(), nullptr, above.node()->name, nullptr);
        if (!around || !xmlAddChild(around, copy)) throw std::bad_alloc();
        copy = around;
    }
    if (!document || !copy) throw std::bad_alloc();
    xmlDocSetRootElement(document.get(), copy);
    return document;
}

// Refuses what is there but no regular file.
void check_regular(const std::string &path) {
    struct stat file;
    if (stat(path.c_str(), &file) != 0) return;
    if (S_ISDIR(file.st_mode)) system_failure(path, EISDIR);
    if (!S_ISREG(file.st_mode)) throw Failure{io_error, path + ": it is no regular file"};
}

// For NAME and NEW.
int run_on_files(int (*operation)(const char *, const char *), const Call &call) {
    const std::string &from = call.name(), &to = call["NEW"];
    if (from == to) throw Failure{misused, from + " twice"};
    check_regular(path_of(from));
    check_regular(path_of(to));
    with_lock(call, from + " to " + to, [&] { return operation(from.c_str(), to.c_str()) == 0; });
    return success;
}

std::string directory_of(const std::string &path) {
    std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

// The file that a path leads to. A link in a directory that other users may write in is not followed.
std::string target_of(const std::string &path) {
    struct stat file, directory;
    if (lstat(path.c_str(), &file) == 0 && S_ISLNK(file.st_mode) && stat(directory_of(path).c_str(), &directory) == 0 &&
        directory.st_mode & (S_IWGRP | S_IWOTH))
        throw Failure{denied, path + ": it is a symbolic link in a directory that others may write in"};
    check_regular(path);
    if (access(path.c_str(), F_OK) != 0) return path;
    const Block<char> real(realpath(path.c_str(), nullptr));
    if (!real || faccessat(AT_FDCWD, real.get(), W_OK, AT_EACCESS) != 0) system_failure(path, errno);
    return real.get();
}

void refuse_loss(const Document &source, const Document &target, const Call &call) {
    std::set<std::string> lost;
    const std::string within = call.given("SCOPE") ? call.scope() + '/' : "";
    each_scope(target.root(), [&](Element scope) {
        if (scope.scope().compare(0, within.size(), within) == 0) lost.insert(scope.scope());
    });
    each_scope(source.root(), [&](Element scope) { lost.erase(scope.scope()); });
    if (!lost.empty())
        throw Failure{inconsistent, call["FILE"] + " has no scope " + *lost.begin() + ", which " + call.name() +
                                        " would lose; name the scope to restore, or use --force"};
}

// Saves under another name. A failure leaves no empty file under a new one.
void save_under(const Call &call, Document &document, const std::string &name) {
    struct stat file;
    const bool is_new = stat(path_of(name).c_str(), &file) != 0;
    try {
        document.save_as(call, name);
    } catch (const Failure &) {
        if (is_new && stat(path_of(name).c_str(), &file) == 0 && file.st_size == 0) kvio_remove_config(name.c_str());
        throw;
    }
}

// Restores over a file that is missing or broken. What such a file had cannot be compared, so a backup of one scope
// needs --force.
void restore_whole(const Call &call, Document &source, bool broken) {
    const std::string &name = call.name();
    const Element first = source.root().begin();
    if (broken && !(first && first.next()) && !call.has('f'))
        throw Failure{inconsistent, name + " is not well-formed, and " + call["FILE"] +
                                        " has one scope alone; --force restores it and keeps the old file as " + name +
                                        ".broken"};
    if (call.has('n'))
        messages::say(name + (broken ? " is not well-formed" : " is missing") + ": all is new");
    else if (broken)
        replace_broken(call, source);
    else
        save_under(call, source, name);
}

}  // namespace

bool is_broken(const std::string &name) {
    try {
        Document::look(name);
        return false;
    } catch (const Failure &failure) {
        if (failure.status != inconsistent) throw;
        return true;
    }
}

void replace_broken(const Call &call, Document &document) {
    const std::string &name = call.name(), kept = name + ".broken";
    with_lock(call, name + " to " + kept, [&] { return kvio_copy_config(name.c_str(), kept.c_str()) == 0; });
    messages::say("the old file is kept as " + kept);
    save_under(call, document, name);
}

bool made_scope(const Document &document, const std::string &path) {
    Element at = document.root();
    bool made = false;
    for (std::size_t begin = 0, end; begin <= path.size(); begin = end + 1) {
        end = std::min(path.find('/', begin), path.size());
        const std::string tag = checked_name(path.substr(begin, end - begin), "scope");
        if (is_kind(tag)) throw Failure{misused, tag + " is a kind of container, no scope"};
        Element next;
        for (Element child : at)
            if (child.is(tag) && child.role() == Role::scope) next = child;
        made = !next;
        at = next ? next : at.add(tag);
    }
    return made;
}

void put_into(Document &target, Document &source, const std::string &scope) {
    if (scope.empty()) return target.exchange(source);
    Owned<kvio_checkpoint_t, kvio_release_checkpoint> copy(kvio_create_checkpoint(source.get(), scope.c_str()));
    if (!copy) store_failure("scope " + scope + " of " + source.path());
    try {
        target.scope(scope);
    } catch (const Failure &failure) {
        if (failure.status != not_found) throw;
        made_scope(target, scope);
    }
    if (!kvio_rollback_checkpoint(target.get(), scope.c_str(), copy.get())) store_failure("scope " + scope);
    copy.release();  // the document owns it now
}

// kvio_dump() and kvio_backup_scope() do not fit: they write a file in place, which others may be able to read, and follow
// links. These bytes go into a file that is private and complete, or to standard output without one.
std::string bytes_of(const Document &document, const std::string &scope) {
    xml::Document backup;
    if (!scope.empty()) backup = document_of(document.scope(scope));
    xmlChar *text = nullptr;
    int size = 0;
    xmlResetLastError();
    xmlDocDumpFormatMemory(backup ? backup.get() : document.get()->doc, &text, &size, 1);
    const xml::String owner(text);
    if (!text || xml::out_of_memory()) throw std::bad_alloc();
    // An encoding that lacks a character may end the document there, without an error. One scope goes without the
    // entities that the document declares.
    if (!xml::Document(xmlReadMemory(xml::str(text), size, nullptr, nullptr, 0)))
        throw Failure{misused,
                      document.path() + (backup ? ": scope " + scope + " uses entities, which a dump alone keeps"
                                                : ": it holds characters that its encoding lacks")};
    return {xml::str(text), static_cast<std::size_t>(size)};
}

// The bytes get the name when they are complete and on the disk.
void write_file(const std::string &path, const std::string &bytes) {
    if (path.empty() || path == "-") return put(bytes);
    struct stat file;
    if (stat(path.c_str(), &file) == 0 && S_ISFIFO(file.st_mode) && file.st_uid == geteuid()) {
        const Descriptor pipe(open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));  // fails when no process reads it
        if (!pipe) system_failure(path, errno);
        fcntl(pipe.get(), F_SETFL, O_WRONLY);
        dup2(pipe.get(), 1);
        return put(bytes);
    }
    const std::string target = target_of(path);
    std::string temporary = directory_of(target) + "/.kvio.XXXXXX";
    SignalsBlocked signals;
    Descriptor fresh(mkostemp(temporary.data(), O_CLOEXEC));
    if (!fresh) system_failure(path, errno);
    if (write_all(fresh.get(), bytes.data(), bytes.size(), 0) && fsync(fresh.get()) == 0 && fresh.close() == 0 &&
        std::rename(temporary.c_str(), target.c_str()) == 0)
        return;
    int reason = errno;
    unlink(temporary.c_str());
    system_failure(path, reason);
}

int copy(Call &call) { return run_on_files(kvio_copy_config, call); }

int rename(Call &call) { return run_on_files(kvio_rename_config, call); }

int remove(Call &call) {
    with_lock(call, call.name(), [&] { return kvio_remove_config(call.name().c_str()) == 0; });
    return success;
}

int save_as(Call &call) {
    if (call.name() == call["NEW"]) throw Failure{misused, call.name() + " twice"};
    check_regular(path_of(call["NEW"]));
    Document document = Document::change(call);
    save_under(call, document, call["NEW"]);
    return success;
}

int backup(Call &call) {
    write_file(call["FILE"], bytes_of(Document::look(call.name()), call.scope()));
    return success;
}

int restore(Call &call) {
    const std::string &name = call.name();
    Document source = Document::file(call["FILE"]);
    source.root();
    check_regular(path_of(name));
    bool missing = access(path_of(name).c_str(), F_OK) != 0;
    if (!call.given("SCOPE") && (missing || is_broken(name))) {
        restore_whole(call, source, !missing);
        return success;
    }
    return save_change(call, [&](Document &target) {
        if (call.given("SCOPE")) source.scope(call.scope());
        if (!call.has('f')) refuse_loss(source, target, call);
        put_into(target, source, call.scope());
    });
}

}  // namespace kvio
