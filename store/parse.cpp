// How a document gets out of a file that anybody may have written.
//
//  1. Open it oneself: only the path says where it is, and nothing is waited for.
//  2. Parse the descriptor, and notice a shortage of memory even where the parser goes on without what it lost.
//  3. Refuse a document that is small only as long as nobody reads it.
#include <fcntl.h>
#include <unistd.h>

#include "store/xml.h"

namespace xml {
namespace {

// Documents that came compressed are left to xmlParseFile, which knows how; nobody else begins with these bytes.
bool is_compressed(int fd) noexcept {
    unsigned char head[2];
    if (pread(fd, head, sizeof head, 0) != sizeof head) return false;
    return (head[0] == 0x1f && head[1] == 0x8b) || (head[0] == 0xfd && head[1] == '7');
}

// Notes a shortage of memory while it lives. In the record of the last error it would be lost when something else is
// reported after it: a namespace that found no memory is missed, as undeclared, by the elements in it.
class MemoryWatch {
public:
    MemoryWatch() noexcept : handler_(xmlStructuredError), context_(xmlStructuredErrorContext) {
        xmlSetStructuredErrorFunc(this, note);
    }
    MemoryWatch(const MemoryWatch &) = delete;
    MemoryWatch &operator=(const MemoryWatch &) = delete;
    ~MemoryWatch() { xmlSetStructuredErrorFunc(context_, handler_); }

    bool was_short() const noexcept { return short_; }

private:
    // Passes the error on to where it would have gone.
    static void note(void *self, xmlError *error) noexcept {
        auto *watch = static_cast<MemoryWatch *>(self);
        if (error->code == XML_ERR_NO_MEMORY) watch->short_ = true;
        if (watch->handler_)
            watch->handler_(watch->context_, error);
        else
            xmlGenericError(xmlGenericErrorContext, "%s:%d: %s", error->file ? error->file : "", error->line,
                            error->message ? error->message : "\n");
    }

    xmlStructuredErrorFunc handler_;
    void *context_;
    bool short_ = false;
};

// What a document's references to entities stand for. libxml2 keeps them as references, and whoever reads a text gets
// them expanded, each time: a small file can have texts that no memory holds. Its own check lets pass what is in
// proportion to the size of the file.
class Expansion {
public:
    explicit Expansion(const xmlDoc *document) noexcept : document_(document) {}

    // Whether all of it together is small enough to be read again and again.
    bool is_bearable() noexcept { return !document_->intSubset || take(document_->children, 0); }

private:
    static constexpr long most = 1'000'000;  // bytes
    static constexpr long reference = 16;    // what one counts for, however little it stands for
    static constexpr int deepest = 40;       // entities within entities, as libxml2 has it

    bool take(const xmlNode *first, int depth) noexcept {
        for (const xmlNode *node = first; node; node = node->next) {
            if (node->type == XML_ENTITY_REF_NODE) {
                const xmlEntity *entity = xmlGetDocEntity(document_, node->name);
                taken_ += reference;
                if (taken_ > most || depth == deepest || (entity && !take(entity->children, depth + 1))) return false;
            } else if (node->type == XML_ELEMENT_NODE) {
                for (const xmlAttr *at = node->properties; at; at = at->next)
                    if (!take(at->children, depth)) return false;
                if (!take(node->children, depth)) return false;
            } else if (depth > 0 && node->content && node->type != XML_ENTITY_DECL) {
                taken_ += static_cast<long>(std::strlen(str(node->content)));
                if (taken_ > most) return false;
            }
        }
        return true;
    }

    const xmlDoc *document_;
    long taken_ = 0;
};

}  // namespace

Document parse(const char *path) noexcept {
    Descriptor file = path ? open_to_read(path) : Descriptor();
    if (!file) return nullptr;
    MemoryWatch memory;
    Document document(is_compressed(file.get()) ? xmlParseFile(DescriptorName(file.get()).text)
                                                : xmlReadFd(file.get(), path, nullptr, 0));
    if (memory.was_short() || (document && !Expansion(document.get()).is_bearable())) document.reset();
    return document;
}

}  // namespace xml
