// How a document gets into a file without putting the old contents at risk.
//
//  1. Serialise the document into memory: a shortage of memory is met before the file is touched.
//  2. Open the file as it is, without truncation, and reserve the room that the new contents need: a full disk, too,
//     is met before a byte is overwritten.
//  3. Keep the old contents in memory. Not every file system can reserve room, and reserved or not, a write can fail.
//  4. Overwrite in one go and cut the file to its length, uninterrupted by whatever kills the process. Where the new
//     contents are shorter, line feeds fill up to the old length, so that they are well-formed before the cut, too.
//     When this fails, the old contents are put back.
//  5. Sync and close; both can still report that the data did not get there.
#include <fcntl.h>
#include <libxml/encoding.h>
#include <libxml/xmlsave.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <climits>

#include "store/uninterrupted.h"
#include "store/xml.h"

namespace xml {
namespace {

// The serialised document, growing as libxml2 hands it over.
struct Sink {
    Block<char> bytes;
    std::size_t size = 0;
    std::size_t capacity = 0;
    bool whole = true;  // nothing was lost for want of memory

    bool reserve(std::size_t wanted) noexcept {
        if (wanted <= capacity) return true;
        void *grown = std::realloc(bytes.get(), wanted);
        if (!grown) return false;
        bytes.release();
        bytes.reset(static_cast<char *>(grown));
        capacity = wanted;
        return true;
    }

    bool append(const char *data, std::size_t length) noexcept {
        if (length > capacity - size && !reserve(std::max(2 * capacity, size + length + 4096))) return whole = false;
        std::memcpy(bytes.get() + size, data, length);
        size += length;
        return true;
    }

    bool pad_to(std::size_t length) noexcept {
        if (length <= size) return true;
        if (!reserve(length)) return false;
        std::memset(bytes.get() + size, '\n', length - size);
        return true;
    }
};

int take(void *sink, const char *data, int length) noexcept {
    return static_cast<Sink *>(sink)->append(data, static_cast<std::size_t>(length)) ? length : -1;
}

// A converter that meets a character which its encoding lacks may end the document there and report nothing.
bool reads_back(const Sink &sink) noexcept {
    if (sink.size > INT_MAX) return false;
    return bool(guarded<Document>(
        [&] { return xmlReadMemory(sink.bytes.get(), static_cast<int>(sink.size), nullptr, nullptr, 0); }));
}

// The bytes that xmlSaveFormatFile would write with format 1.
bool serialise(xmlDoc *document, Sink &sink) noexcept {
    const char *encoding = str(document->encoding);
    xmlCharEncodingHandler *converter = nullptr;
    xmlResetLastError();
    if (encoding && xmlParseCharEncoding(encoding) != XML_CHAR_ENCODING_UTF8) {  // the tree is UTF-8 already
        converter = xmlFindCharEncodingHandler(encoding);
        if (!converter) return false;
    }
    xmlOutputBuffer *buffer = xmlOutputBufferCreateIO(take, nullptr, &sink, converter);
    if (!buffer) {
        if (converter) xmlCharEncCloseFunc(converter);
        return false;
    }
    bool whole = xmlSaveFormatFileTo(buffer, document, encoding, 1) >= 0 && sink.whole && !out_of_memory();
    return whole && (!converter || reads_back(sink));
}

// Bytes beyond the limit on file sizes would be cut off in the middle, with a signal to boot.
bool within_size_limit(std::size_t size) noexcept {
    rlimit limit;
    if (getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY || size <= limit.rlim_cur) return true;
    errno = EFBIG;
    return false;
}

bool reserve_room(int fd, std::size_t size) noexcept {
    int result;
    do result = fallocate(fd, FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(size));
    while (result != 0 && errno == EINTR);
    return result == 0 || errno == EOPNOTSUPP || errno == ENOSYS;
}

bool cut(int fd, std::size_t size) noexcept { return ftruncate(fd, static_cast<off_t>(size)) == 0; }

// The contents of a file that may be written, but not read, are left out.
bool read_all(int fd, Sink &sink, std::size_t size) noexcept {
    if (!sink.reserve(size)) return false;
    while (sink.size < size) {
        ssize_t got = pread(fd, sink.bytes.get() + sink.size, size - sink.size, static_cast<off_t>(sink.size));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return got == 0 || errno == EBADF;
        sink.size += static_cast<std::size_t>(got);
    }
    return true;
}

bool overwrite(Descriptor file, Sink &sink, std::size_t old_size) noexcept {
    const int fd = file.get();
    std::size_t covered = std::max(sink.size, old_size);
    Sink old;
    if (!sink.pad_to(covered) || !within_size_limit(covered) || !read_all(fd, old, old_size)) return false;
    if (!reserve_room(fd, covered)) {
        cut(fd, old_size);  // gives back what was reserved until then
        return false;
    }
    bool written = store::uninterrupted([&] {
        if (write_all(fd, sink.bytes.get(), covered, 0) && (covered == sink.size || cut(fd, sink.size))) return true;
        write_all(fd, old.bytes.get(), old.size, 0);
        cut(fd, old_size);
        return false;
    });
    return written && fdatasync(fd) == 0 && file.close() == 0;
}

// Compressed documents and targets that are no regular files.
int write_through_libxml(xmlDoc *document, Descriptor file, bool regular) noexcept {
    xmlResetLastError();
    int written = xmlSaveFormatFile(DescriptorName(file.get()).text, document, 1);
    const xmlError *error = xmlGetLastError();
    if (error && (error->domain == XML_FROM_IO || error->code == XML_ERR_NO_MEMORY)) return -1;
    if (regular && fdatasync(file.get()) != 0) return -1;
    return file.close() == 0 ? written : -1;
}

}  // namespace

int write(xmlDoc *document, const char *path, unsigned mode) noexcept {
    if (empty(path)) return -1;
    struct stat now;
    bool regular = stat(path, &now) != 0 ? errno == ENOENT : S_ISREG(now.st_mode);
    Sink sink;
    int compression = document->compression < 0 ? xmlGetCompressMode() : document->compression;
    if (regular && compression <= 0) {
        if (!serialise(document, sink) || sink.size > INT_MAX) return -1;
    }
    Descriptor file(open(path, (regular ? O_RDWR : O_WRONLY) | O_CREAT | O_CLOEXEC, mode));
    if (!file && errno == EACCES) file = Descriptor(open(path, O_WRONLY | O_CREAT | O_CLOEXEC, mode));
    if (!file || fstat(file.get(), &now) != 0) return -1;
    if (!sink.bytes) return write_through_libxml(document, std::move(file), S_ISREG(now.st_mode));
    return overwrite(std::move(file), sink, static_cast<std::size_t>(now.st_size)) ? static_cast<int>(sink.size) : -1;
}

}  // namespace xml
