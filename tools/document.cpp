// Documents opened through the store, and the failures of its calls as messages and exit statuses.
#include "document.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "base/files.h"
#include "base/paths.h"

namespace kvio {
namespace {

constexpr struct {
    kvio_code code;
    Status status;
    const char *text;
} meanings[] = {
    {KVIO_LOCKED, locked, "another process holds it (see kvio lock status)"},
    {KVIO_NO_MEMORY, io_error, "out of memory"},
    {KVIO_BAD_SCOPE, inconsistent, "the name is not unique"},
    {KVIO_XML, misused, "the XML library refuses it"},
    {KVIO_EXISTS, not_found, "it exists already"},
    {KVIO_BAD_ITERATOR, inconsistent, "broken container"},
    {KVIO_OUT_OF_RANGE, not_found, "there is no such position"},
    {KVIO_BAD_ENTITY, inconsistent, "broken entity"},
    {KVIO_LOOP, inconsistent, "nested containers form a loop"},
    {KVIO_EMPTY_ITEM, inconsistent, "there is a member without a name"},
    {KVIO_NOT_FOUND, not_found, "not found"},
    {KVIO_UNRESOLVED, inconsistent, "a nested container is missing or a member has no name"},
};

[[noreturn]] void parse_failure(const std::string &what) {
    const xmlError *error = xmlGetLastError();
    std::string line = error && error->line > 0 ? ':' + std::to_string(error->line) : "";
    std::string reason = error && error->message ? std::string(": ") + error->message : "";
    throw Failure{inconsistent, what + line + ": not well-formed" + reason.substr(0, reason.find('\n'))};
}

}  // namespace

std::string path_of(const std::string &name) {
    return name == paths::system_default ? paths::system_default_template : paths::config_directory + name;
}

Strings configurations() {
    Strings names;
    std::unique_ptr<DIR, int (*)(DIR *)> directory(opendir(paths::config_directory), closedir);
    if (!directory) system_failure(paths::config_directory, errno);
    while (dirent *entry = readdir(directory.get())) {
        struct stat file;
        const std::string name = entry->d_name;
        if (name.compare(0, std::strlen(paths::redo_prefix), paths::redo_prefix) == 0) continue;
        if (stat(path_of(name).c_str(), &file) == 0 && S_ISREG(file.st_mode)) names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

const std::string &checked_name(const std::string &name, const std::string &what) {
    constexpr std::size_t max_length = 50'000;  // of a name that the XML library reads
    if (name.size() > max_length) throw Failure{misused, what + " is too long to be read back"};
    if (xmlValidateNCName(xml::str(name.c_str()), 0) != 0)
        throw Failure{misused, what + " " + one_line(name) + " is not an XML name"};
    return name;
}

void system_failure(const std::string &what, int reason) {
    Status status = io_error;
    if (reason == ENOENT || reason == ENOTDIR) status = not_found;
    if (reason == EACCES || reason == EPERM) status = denied;
    throw Failure{status, what + ": " + std::strerror(reason)};
}

void store_failure(const std::string &what) {
    const int reason = errno;
    if (kvio_errno == KVIO_LOCKED && (reason == ENOSPC || reason == ENOMEM))
        throw Failure{io_error, what + ": no lock can be made: " + std::strerror(reason)};
    for (const auto &meaning : meanings)
        if (meaning.code == kvio_errno) throw Failure{meaning.status, what + ": " + meaning.text};
    if (kvio_errno == KVIO_NO_FILE) system_failure(what, ENOENT);
    if (kvio_errno == KVIO_IO && reason == EILSEQ)
        throw Failure{misused, what + ": it holds a text or a name that XML cannot hold"};
    if (kvio_errno == KVIO_MALFORMED && reason == EOVERFLOW)
        throw Failure{inconsistent, what + ": its entities expand to too much text"};
    if (kvio_errno == KVIO_MALFORMED && (reason == EBADMSG || reason == 0)) parse_failure(what);
    if (reason == 0) throw Failure{io_error, what + ": store code " + std::to_string(kvio_errno)};
    system_failure(what, reason);
}

std::unique_ptr<SignalsBlocked> with_lock(const Call &call, const std::string &what,
                                          const std::function<bool()> &attempt) {
    const std::string text = call.has('w') ? call.option('w') : environment("KVIO_WAIT", "0");
    char *end;
    const double seconds = std::strtod(text.c_str(), &end);
    if (text.empty() || *end || !(seconds >= 0)) throw Failure{misused, "SECONDS is a number, not " + text};
    for (auto tries = static_cast<long>(seconds * 100);; --tries) {
        auto signals = std::make_unique<SignalsBlocked>();
        xmlResetLastError();
        errno = 0;
        kvio_errno = KVIO_OK;
        if (attempt()) return signals;
        if (kvio_errno != KVIO_LOCKED || tries <= 0) store_failure(what);
        signals.reset();
        usleep(static_cast<useconds_t>(9000 + getpid() % 16 * 200));  // not in step with others
    }
}

// Snapshots stay until the process ends: to free a tree node by node takes half as long as to parse it.
Document Document::snapshot(const std::string &path, const std::string &what) {
    static auto &all = *new std::vector<kvio_config_t *>;
    Document document(what);
    xmlResetLastError();
    errno = 0;
    document.config_ = kvio_restore_scope(path.c_str());
    if (!document.config_) store_failure(what);
    all.push_back(document.config_);
    return document;
}

std::string contents_of(const std::string &path) {
    const Descriptor file(path == "-" ? fcntl(0, F_DUPFD_CLOEXEC, 3) : open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string bytes;
    if (!file || !read_to_end(file.get(), bytes)) system_failure(path, errno);
    return bytes;
}

Document Document::parse(const std::string &bytes, const std::string &what) {
    const Descriptor memory(memfd_create("kvio", MFD_CLOEXEC));
    if (!write_all(memory.get(), bytes.data(), bytes.size(), 0)) system_failure(what, errno);
    return snapshot(DescriptorName(memory.get()).text, what);
}

// The store does not wait for a process that writes into a pipe; this does, and a signal ends it.
Document Document::file(const std::string &path) {
    struct stat file;
    if (path != "-" && (stat(path.c_str(), &file) != 0 || !S_ISFIFO(file.st_mode))) return snapshot(path, path);
    return parse(contents_of(path), path);
}

Document Document::change(const Call &call) {
    Document document(path_of(call.name()));
    document.signals_ = with_lock(call, document.path_, [&] {
        document.owner_.reset(kvio_open_config(call.name().c_str(), 0));
        return document.owner_ != nullptr;
    });
    document.config_ = document.owner_.get();
    return document;
}

void Document::save() {
    if (kvio_save_config(get()) < 0) store_failure(path_);
}

void Document::save_as(const Call &call, const std::string &name) {
    auto signals = with_lock(call, path_of(name), [&] { return kvio_save_as(get(), name.c_str()) >= 0; });
    if (!owner_) {  // a snapshot has a lock now
        signals_ = std::move(signals);
        owner_.reset(config_);
    }
}

Element Document::root() const {
    Element root = any_root();
    if (!root.is("kavex")) throw Failure{inconsistent, path_ + ": no configuration, its root element is not kavex"};
    return root;
}

Element Document::scope(const std::string &path) const {
    const Element top = root();
    const std::string expression = "/kavex/" + path;
    const xml::Context context(xmlXPathNewContext(config_->doc));
    const xml::Result found(context ? xmlXPathEval(xml::str(expression.c_str()), context.get()) : nullptr);
    const xmlNodeSet *nodes = found ? found->nodesetval : nullptr;
    int many = nodes ? nodes->nodeNr : 0;
    xmlNode *first = many > 0 ? nodes->nodeTab[0] : nullptr;
    if (!first || first->type != XML_ELEMENT_NODE || Element(first) == top) {
        Strings known;
        each_scope(top, [&](Element scope) { known.push_back(scope.scope()); });
        throw Failure{not_found, "no scope " + path + " in " + path_ + suggestion(path, known)};
    }
    if (many > 1) throw Failure{inconsistent, "there are " + std::to_string(many) + " scopes " + path};
    if (Element(first).role() != Role::scope) throw Failure{not_found, path + " is an entity or container, no scope"};
    return Element(first);
}

Element Document::find(const std::string &scope_path, const Identity &wanted) const {
    const Element parent = scope(scope_path);
    Strings types, names;
    Element found;
    for (Element child : parent) {
        if (!child.is(wanted)) continue;
        if (found && wanted.kind.empty())
            throw Failure{inconsistent, wanted.label() + " in " + scope_path + ": the name is not unique"};
        if (!found) found = child;
    }
    if (found) return found;
    for (Element child : parent) {
        const Identity its = child.identity();
        if (child.role() == Role::scope || its.kind != wanted.kind) continue;
        (its.type == wanted.type ? names : types).push_back(its.type == wanted.type ? its.name : its.type);
    }
    throw Failure{not_found, "no " + wanted.label() + " in " + scope_path +
                                 (names.empty() ? suggestion(wanted.type, types) : suggestion(wanted.name, names))};
}

Identity identity_of(const Call &call) {
    if (call.given("KIND")) return {kind_of(call.kind()).name, call.type(), call.container()};
    return {call.has('k') ? kind_of(call.option('k')).name : "", call.type(), call.entity()};
}

const Kind &kind_of(const std::string &name) {
    static const Kind kinds[] = {
        {"table", kvio_create_table, kvio_open_table},
        {"list", kvio_create_list, kvio_open_list},
        {"group", kvio_create_group, kvio_open_group},
    };
    for (const Kind &kind : kinds)
        if (kind.name == name) return kind;
    throw Failure{misused, "KIND is table, list or group, not " + name};
}

Handle Document::handle_of(const Call &call) const {
    Element found = find(call);
    Handle handle(
        kind_of(call.kind()).open(get(), call.scope().c_str(), call.type().c_str(), call.container().c_str()));
    if (!handle) store_failure(found.label());
    return handle;
}

}  // namespace kvio
