// Saving: a document that reads back, serialised and put into a file.
#include <fcntl.h>
#include <sys/stat.h>
#include <cerrno>

#include "base/files.h"
#include "store/store.h"

namespace store {
namespace {

// Writes to a pipe, a terminal or a device; waits for the reader of a pipe.
bool write_stream(const char *path, const Bytes &contents) noexcept {
    Descriptor file(open(path, O_WRONLY | O_CLOEXEC));
    return file && write_all(file.get(), contents.begin(), contents.size(), -1) && file.close() == 0;
}

}  // namespace

bool serialise(xmlDoc *document, Bytes &bytes, const char *who) noexcept {
    if (const xmlNode *node = xml::find_unreadable(document)) {
        while (!xml::is_element(node) && xml::is_element(node->parent)) node = node->parent;
        auto path = xml::guarded<xml::String>([&] { return xmlGetNodePath(node); });
        say("%s error: %s has a name, text or depth that XML cannot hold\n", who, path ? xml::str(path.get()) : "");
        return refuse(EILSEQ);
    }
    if (xml::expands_too_far(document)) {
        say("%s error: references to entities stand for too much\n", who);
        return refuse(EOVERFLOW);
    }
    if (xml::serialise(document, bytes)) return true;
    if (errno == EILSEQ) say("%s error: it would not be read back\n", who);
    return false;
}

int save(xmlDoc *document, const char *path, mode_t mode, RedoFile redo, const char *who) noexcept {
    Bytes bytes;
    struct stat now;
    bool exists = !empty(path) && stat(path, &now) == 0, is_stream = exists && !S_ISREG(now.st_mode);
    if (exists && !is_stream) bytes.reserve(static_cast<std::size_t>(now.st_size) + 4096);  // about what it will be
    if (empty(path))
        errno = ENOENT;
    else if (serialise(document, bytes, who) &&
             (is_stream ? write_stream(path, bytes) : replace(path, bytes, mode, redo)))
        return succeed(static_cast<int>(bytes.size()));
    return fail(-1, KVIO_IO, "Problem occurred on saving XML to %s\n", shown(path));
}

}  // namespace store
