// Documents as the bytes that saving puts into a file.
#include <libxml/encoding.h>
#include <libxml/parserInternals.h>
#include <libxml/xmlsave.h>

#include <cerrno>
#include <climits>

#include "store/xml.h"

namespace xml {
namespace {

struct Sink {
    Bytes &bytes;
    bool whole = true;  // nothing was lost for want of memory
};

int append(void *sink, const char *data, int length) noexcept {
    auto *to = static_cast<Sink *>(sink);
    to->whole = to->whole && to->bytes.append(data, static_cast<std::size_t>(length));
    return to->whole ? length : -1;
}

// Whether the parser must be asked if it takes the bytes back. A converter that meets a character which its encoding
// lacks may end the document there and report nothing; short documents are within all limits on texts.
bool is_doubtful(const xmlDoc *document, const Bytes &bytes) noexcept {
    return bytes.size() >= XML_MAX_TEXT_LENGTH ||
           (document->encoding && xmlStrcasecmp(document->encoding, str("UTF-8")) != 0);
}

}  // namespace

bool serialise(xmlDoc *document, Bytes &bytes) noexcept {
    const char *encoding = str(document->encoding);
    Owned<xmlCharEncodingHandler, xmlCharEncCloseFunc> converter;
    xmlResetLastError();
    if (encoding && xmlParseCharEncoding(encoding) != XML_CHAR_ENCODING_UTF8) {  // the tree is UTF-8 already
        converter.reset(xmlFindCharEncodingHandler(encoding));
        if (!converter) return refuse(out_of_memory() ? ENOMEM : EILSEQ);
    }
    Sink sink{bytes};
    xmlOutputBuffer *buffer = xmlOutputBufferCreateIO(append, nullptr, &sink, converter.get());
    if (!buffer) return refuse(ENOMEM);
    converter.release();
    bool saved = xmlSaveFormatFileTo(buffer, document, encoding, 1) >= 0;
    if (!sink.whole || out_of_memory()) return refuse(ENOMEM);
    if (bytes.size() > INT_MAX) return refuse(EFBIG);
    if (!saved) return refuse(EILSEQ);
    if (!is_doubtful(document, bytes) || parse(bytes, nullptr)) return true;
    return refuse(errno == ENOMEM ? ENOMEM : EILSEQ);
}

}  // namespace xml
