#include "document.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <libxml/tree.h>

#include <cerrno>
#include <cstring>
#include <ctime>

#include "locks.h"
#include "output.h"

namespace kvio {
namespace {

struct Meaning {
    kvio_code code;
    Status status;
    const char *text;
};

constexpr Meaning meanings[] = {
    {KVIO_LOCKED, locked, "somebody else has it open (kvio lock status says more)"},
    {KVIO_NO_MEMORY, io_error, "out of memory"},
    {KVIO_MALFORMED, inconsistent, "not well-formed XML"},
    {KVIO_NO_KEY, not_found, "there is no such file"},
    {KVIO_IO, io_error, "it cannot be written"},
    {KVIO_BAD_SCOPE, inconsistent, "the name is not unique"},
    {KVIO_XML, misused, "the XML library does not take it"},
    {KVIO_EXISTS, not_found, "it exists already"},
    {KVIO_BAD_ITERATOR, inconsistent, "broken container"},
    {KVIO_OUT_OF_RANGE, not_found, "there is no such position"},
    {KVIO_BAD_ENTITY, inconsistent, "broken entity"},
    {KVIO_LOOP, inconsistent, "nested containers form a loop"},
    {KVIO_EMPTY_ITEM, inconsistent, "there is a member without a name"},
    {KVIO_NO_FILE, not_found, "there is no such file"},
    {KVIO_NOT_FOUND, not_found, "not found"},
    {KVIO_UNRESOLVED, inconsistent, "a nested container is missing or a member has no name"},
};

// A directory that may not be entered, or a file that may not be read or written, comes before what the store says.
std::optional<Failure> system_failure(const std::string &what, const std::string &path) {
    struct stat file;
    if (stat(path.c_str(), &file) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) return Failure{not_found, what + ": there is no such file"};
        return Failure{errno == EACCES ? denied : io_error, what + ": " + std::strerror(errno)};
    }
    if (S_ISDIR(file.st_mode)) return Failure{io_error, what + ": " + std::strerror(EISDIR)};
    if (faccessat(AT_FDCWD, path.c_str(), R_OK, AT_EACCESS) != 0)
        return Failure{denied, what + ": " + std::strerror(errno)};
    return std::nullopt;
}

// The store says the same of a file that is broken and of memory that was short for it.
bool was_short_of_memory = false;

void note_shortage(void *, xmlError *error) {
    if (error->code == XML_ERR_NO_MEMORY) was_short_of_memory = true;
    xmlGenericError(xmlGenericErrorContext, "%s", error->message ? error->message : "\n");
}

struct Version {
    off_t size;
    timespec time;

    static std::optional<Version> of(const std::string &path) {
        struct stat file;
        if (stat(path.c_str(), &file) != 0) return std::nullopt;
        return Version{file.st_size, file.st_mtim};
    }
    bool operator==(const Version &other) const {
        return size == other.size && time.tv_sec == other.time.tv_sec && time.tv_nsec == other.time.tv_nsec;
    }
    long age() const {  // in microseconds
        timespec now;
        clock_gettime(CLOCK_REALTIME_COARSE, &now);
        if (now.tv_sec - time.tv_sec > 1) return 1'000'000;
        return static_cast<long>(now.tv_sec - time.tv_sec) * 1'000'000 + (now.tv_nsec - time.tv_nsec) / 1000;
    }
};

// Somebody may just be saving it, and what is read then may be half the old document and half the new one. What did not
// change for a while before, nor while it was read, is whole.
kvio_config_t *open_whole(const std::string &path) {
    constexpr long a_while = 20'000;  // longer than the clock of the file system stands still
    for (int attempt = 0; attempt < 100; ++attempt) {
        std::optional<Version> before = Version::of(path);
        long age = before ? before->age() : a_while;
        if (age >= 0 && age < a_while) {
            usleep(static_cast<useconds_t>(a_while - age));
            continue;
        }
        kvio_config_t *config = kvio_restore_scope(path.c_str());
        if (Version::of(path) == before) return config;
        if (config) kvio_close_config(config);
    }
    throw Failure{locked, path + ": somebody saves it all the time"};
}

}  // namespace

void watch_memory() { xmlSetStructuredErrorFunc(nullptr, note_shortage); }

std::string path_of(const std::string &name) {
    return name == "__system_default.xml" ? system_default : config_directory + name;
}

Undisturbed::Undisturbed() {
    sigset_t ending;
    sigemptyset(&ending);
    for (int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGPIPE, SIGTSTP, SIGALRM}) sigaddset(&ending, signal);
    sigprocmask(SIG_BLOCK, &ending, &before_);
}

Undisturbed::~Undisturbed() { sigprocmask(SIG_SETMASK, &before_, nullptr); }

const std::string &checked_name(const std::string &name, const std::string &what) {
    constexpr std::size_t longest = 50'000;  // what the XML library reads of a name
    if (name.size() > longest) throw Failure{misused, what + " is too long to be read back"};
    if (xmlValidateNCName(reinterpret_cast<const xmlChar *>(name.c_str()), 0) != 0)
        throw Failure{misused, what + " " + one_line(name) + " is no XML name"};
    return name;
}

Descriptor::~Descriptor() {
    if (fd_ >= 0) close(fd_);
}

Descriptor memory_file() {
    Descriptor file(memfd_create("kvio", MFD_CLOEXEC));
    if (file.get() < 0) throw Failure{io_error, std::string("memory file: ") + std::strerror(errno)};
    return file;
}

void store_failure(const std::string &what) {
    for (const Meaning &meaning : meanings)
        if (meaning.code == kvio_errno) throw Failure{meaning.status, what + ": " + meaning.text};
    throw Failure{io_error, what + ": store code " + std::to_string(kvio_errno)};
}

void file_failure(const std::string &what, const std::string &path) {
    if (kvio_errno == KVIO_LOCKED && !lock_of(path))
        throw Failure{io_error, what + ": its lock cannot be made (semaphores used up?)"};
    if (kvio_errno == KVIO_MALFORMED && was_short_of_memory) kvio_errno = KVIO_NO_MEMORY;
    if (kvio_errno != KVIO_LOCKED)
        if (std::optional<Failure> failure = system_failure(what, path)) throw Failure(*failure);
    if (kvio_errno == KVIO_IO && faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0 && errno == EACCES)
        throw Failure{denied, what + ": " + std::strerror(EACCES)};
    store_failure(what);
}

Document Document::snapshot(const std::string &path, const std::string &what, bool in_use) {
    Document document(what);
    document.owner_.reset(document.config_ = in_use ? open_whole(path) : kvio_restore_scope(path.c_str()));
    if (!document.config_) file_failure(what, path);
    return document;
}

Document Document::file(const std::string &path) {
    struct stat file;
    if (path != "-" && (stat(path.c_str(), &file) != 0 || !S_ISFIFO(file.st_mode))) return snapshot(path, path, true);
    // The store waits for nobody who writes into a pipe.
    Descriptor pipe(path == "-" ? fcntl(0, F_DUPFD_CLOEXEC, 3) : open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (pipe.get() < 0) throw Failure{errno == EACCES ? denied : io_error, path + ": " + std::strerror(errno)};
    Descriptor memory = memory_file();
    char block[65536];
    for (ssize_t size; (size = read(pipe.get(), block, sizeof block)) != 0;)
        if (size < 0 || write(memory.get(), block, static_cast<std::size_t>(size)) != size)
            throw Failure{io_error, path + ": " + std::strerror(errno)};
    return snapshot(memory.path(), path, false);
}

Document Document::change(const std::string &name) {
    Document document(path_of(name));
    document.undisturbed_ = std::make_unique<Undisturbed>();
    document.owner_.reset(document.config_ = kvio_open_config(name.c_str(), 0));
    if (!document.config_) file_failure(name, document.path_);
    return document;
}

Document Document::again() const {
    Document document(path_);
    document.owner_.reset(document.config_ = kvio_restore(config_, path_.c_str()));
    if (!document.config_) file_failure(path_, path_);
    return document;
}

unsigned long long Document::size() const {
    struct stat file;
    return stat(path_.c_str(), &file) == 0 ? static_cast<unsigned long long>(file.st_size) : 0;
}

void Document::abandon() {
    [[maybe_unused]] static kvio_config_t *volatile kept;  // within the reach of leak checkers
    kept = owner_.release();
}

void Document::save() {
    if (kvio_save_config(get()) < 0) file_failure(path_, path_);
}

bool Document::save_as(const std::string &name) { return kvio_save_as(get(), name.c_str()) >= 0; }

const Tree &Document::tree() {
    if (tree_) return *tree_;
    Descriptor memory = memory_file();
    std::shared_ptr<xmlDoc> document;
    // There is nothing but memory that could be short for it.
    if (kvio_dump(get(), memory.path().c_str()) < 0)
        was_short_of_memory = true;
    else
        document = parse_descriptor(memory.get());
    if (!document && was_short_of_memory) throw Failure{io_error, path_ + ": out of memory"};
    if (!document) throw Failure{inconsistent, path_ + ": cannot be read back"};
    return tree_.emplace(std::move(document));
}

std::optional<Tree> Document::alone(const std::string &scope, const std::string &type, const std::string &name) {
    const char *quote = name.find('\'') == std::string::npos ? "'" : "\"";
    if (name.find(*quote) != std::string::npos) return std::nullopt;
    Descriptor memory = memory_file();
    const std::string path = scope + '/' + checked_name(type, "type") + "[@name=" + quote + name + quote + ']';
    if (!kvio_backup_scope(get(), path.c_str(), memory.path().c_str())) return std::nullopt;
    std::shared_ptr<xmlDoc> document = parse_descriptor(memory.get());
    return document ? std::optional<Tree>(std::move(document)) : std::nullopt;
}

// kvio_entity_count() counts what a path selects, of which a unique scope is the special case.
void Document::check_scope(const std::string &scope) {
    if (scope.empty()) throw Failure{misused, "the scope is empty"};
    int many = kvio_entity_count(get(), scope.c_str(), "self::*");
    if (many == 0 && kvio_entity_count(get(), "..", "kavex") == 0)
        throw Failure{inconsistent, path_ + ": no configuration, there is no root element kavex"};
    if (many == 0 || kvio_entity_count(get(), scope.c_str(), "self::*[not(../..)]") > 0)
        throw Failure{not_found, "no scope " + scope};
    if (many > 1) throw Failure{inconsistent, "there are " + std::to_string(many) + " scopes " + scope};
    // Those directly below the root are scopes whatever their attributes.
    if (kvio_entity_count(get(), scope.c_str(), "self::*[@name][../../..]") > 0)
        throw Failure{not_found, scope + " is an entity or container, no scope"};
}

kvio_node_t *Document::entity(const std::string &scope, const std::string &type, const std::string &name) {
    kvio_node_t *node = kvio_retrieve_entity(get(), scope.c_str(), type.c_str(), name.c_str());
    if (node) return node;
    int code = kvio_errno;
    check_scope(scope);
    kvio_errno = code;
    if (code == KVIO_NOT_FOUND) throw Failure{not_found, "no " + type + " " + name + " in " + scope};
    store_failure(type + " " + name + " in " + scope);
}

const Kind &kind_of(const std::string &name) {
    static const Kind kinds[] = {
        {"table", kvio_create_table, kvio_open_table, kvio_dispose_table},
        {"list", kvio_create_list, kvio_open_list, kvio_dispose_list},
        {"group", kvio_create_group, kvio_open_group, kvio_dispose_group},
    };
    for (const Kind &kind : kinds)
        if (kind.name == name) return kind;
    throw Failure{misused, "KIND is table, list or group, not " + name};
}

Container::Container(Document &document, const std::string &scope, const std::string &kind, const std::string &type,
                     const std::string &name, Mode mode)
    : label_(kind + " " + name + " of " + type + " in " + scope) {
    const Kind &functions = kind_of(kind);
    auto call = mode == create_it ? functions.create : functions.open;
    iterator_ = call(document.get(), scope.c_str(), type.c_str(), name.c_str());
    if (iterator_) return;
    int code = kvio_errno;
    document.check_scope(scope);
    kvio_errno = code;
    if (code == KVIO_NOT_FOUND) throw Failure{not_found, "no " + label_};
    store_failure(label_);
}

}  // namespace kvio
