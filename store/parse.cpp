// Documents read from files that any program may have written.
#include <libxml/parserInternals.h>

#include <algorithm>
#include <cerrno>

#include "store/files.h"
#include "store/xml.h"

namespace xml {
namespace {

// What errors are reported to while a document is parsed. In the record of the last error a shortage of memory would be
// lost when something else is reported after it: a namespace that found no memory is missed, as undeclared, by the
// elements in it.
struct Watch {
    const bool passes_on;  // errors, to where they would have gone
    const xmlStructuredErrorFunc handler = xmlStructuredError;
    void *const context = xmlStructuredErrorContext;
    bool was_short = false;  // of memory
};

void note(void *to, xmlError *error) noexcept {
    auto *watch = static_cast<Watch *>(to);
    // A text beyond the parser's limit is reported in the same way, as a "huge text node".
    if (error->code == XML_ERR_NO_MEMORY && !(error->message && std::strstr(error->message, "huge")))
        watch->was_short = true;
    if (!watch->passes_on) return;
    if (watch->handler)
        watch->handler(watch->context, error);
    else
        xmlGenericError(xmlGenericErrorContext, "%s:%d: %s", error->file ? error->file : "", error->line,
                        error->message ? error->message : "\n");
}

struct Unread {
    const Bytes &bytes;
    std::size_t begin = 0;
};

int read(void *source, char *buffer, int length) noexcept {
    auto *unread = static_cast<Unread *>(source);
    std::size_t size = std::min(static_cast<std::size_t>(length), unread->bytes.size() - unread->begin);
    if (size) std::memcpy(buffer, unread->bytes.begin() + unread->begin, size);
    unread->begin += size;
    return static_cast<int>(size);
}

using Parser = Owned<xmlParserCtxt, xmlFreeParserCtxt>;

// A parser of bytes, which it reads as it would read a file; null when memory is short.
Parser make_parser(Unread &unread, const char *path) noexcept {
    Parser parser(xmlNewParserCtxt());
    if (!parser) return nullptr;
    xmlParserInputBuffer *buffer = xmlParserInputBufferCreateIO(read, nullptr, &unread, XML_CHAR_ENCODING_NONE);
    xmlParserInput *input = buffer ? xmlNewIOInputStream(parser.get(), buffer, XML_CHAR_ENCODING_NONE) : nullptr;
    if (!input) {
        xmlFreeParserInputBuffer(buffer);
        return nullptr;
    }
    input->filename = reinterpret_cast<char *>(xmlStrdup(str(path)));
    inputPush(parser.get(), input);  // a new parser has room for it
    parser->dictNames = 1;           // the tree shares its names instead of copying each
    return parser;
}

}  // namespace

// As xmlParseFile() parses the bytes of a file, within the same limits and with the defaults that the caller has set.
Document parse(const Bytes &bytes, const char *path) noexcept {
    Watch watch{path != nullptr};
    xmlSetStructuredErrorFunc(&watch, note);
    Unread unread{bytes};
    Parser parser = make_parser(unread, path);
    if (parser) xmlParseDocument(parser.get());
    Document document(parser ? std::exchange(parser->myDoc, nullptr) : nullptr);
    xmlSetStructuredErrorFunc(watch.context, watch.handler);
    if (!parser || watch.was_short)
        errno = ENOMEM;
    else if (!parser->wellFormed)
        errno = EBADMSG;
    else if (expands_too_far(document.get()))
        errno = EOVERFLOW;
    else
        return document;
    return nullptr;
}

Document parse(const char *path, bool is_locked) noexcept {
    Bytes bytes;
    if (empty(path) ? !refuse(EINVAL) : !store::load(path, bytes, is_locked)) return nullptr;
    return parse(bytes, path);
}

}  // namespace xml
