// Documents as the bytes that saving puts into a file.
#include <libxml/encoding.h>
#include <libxml/xmlsave.h>

#include <cerrno>
#include <climits>

#include "store/xml.h"

namespace xml {
namespace {

struct Sink {
    Array<char> &bytes;
    bool whole = true;  // nothing was lost for want of memory
};

int append(void *sink, const char *data, int length) noexcept {
    auto *to = static_cast<Sink *>(sink);
    to->whole = to->whole && to->bytes.append(data, static_cast<std::size_t>(length));
    return to->whole ? length : -1;
}

// A converter that meets a character which its encoding lacks may end the document there and report nothing; of some
// encodings the parser does not know the name under which the writer found them.
bool reads_back(const Array<char> &bytes) noexcept {
    return bool(guarded<Document>([&] {
        return xmlReadMemory(bytes.begin(), static_cast<int>(bytes.size()), nullptr, nullptr, XML_PARSE_NOERROR);
    }));
}

bool refuse(int reason) noexcept {
    errno = reason;
    return false;
}

}  // namespace

bool serialise(xmlDoc *document, Array<char> &bytes) noexcept {
    const char *encoding = str(document->encoding);
    xmlCharEncodingHandler *converter = nullptr;
    xmlResetLastError();
    if (encoding && xmlParseCharEncoding(encoding) != XML_CHAR_ENCODING_UTF8) {  // the tree is UTF-8 already
        converter = xmlFindCharEncodingHandler(encoding);
        if (!converter) return refuse(out_of_memory() ? ENOMEM : EILSEQ);
    }
    Sink sink{bytes};
    xmlOutputBuffer *buffer = xmlOutputBufferCreateIO(append, nullptr, &sink, converter);
    if (!buffer) {
        if (converter) xmlCharEncCloseFunc(converter);
        return refuse(ENOMEM);
    }
    bool saved = xmlSaveFormatFileTo(buffer, document, encoding, 1) >= 0;
    if (!sink.whole || out_of_memory()) return refuse(ENOMEM);
    if (bytes.size() > INT_MAX) return refuse(EFBIG);
    bool is_plain = !encoding || xmlStrcasecmp(document->encoding, str("UTF-8")) == 0;
    return (saved && (is_plain || reads_back(bytes))) || refuse(out_of_memory() ? ENOMEM : EILSEQ);
}

}  // namespace xml
