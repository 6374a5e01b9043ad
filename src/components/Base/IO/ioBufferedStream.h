// ioBufferedStream.h - buffered input and output streams over a chain of serialization buffers.
#ifndef KY_IO_BUFFEREDSTREAM_H
#define KY_IO_BUFFEREDSTREAM_H

#include <Base/BaseExport.h>
#include <Base/IO/ioTypes.h>
#include <Base/String/kyStringIString.h>

#include <cstdint>

class ioBuffer;
class ioPackageFileEntry;

namespace kyOS {
class IOStream;
}
namespace kyTCP {
class Socket;
}

/// The public face of a chain of buffers: a stream owns the top buffer of its chain, opens it
/// on a file, a byte range of a file, a socket, a `kyOS::IOStream`, standard input or output,
/// and switches compression, checksum and encryption filters on and off in the middle of the
/// data.
///
/// Ownership: the stream owns its chain, never the `kyOS::IOStream` or socket beneath it.
/// Copies share the chain as it stands (copy only closed streams). The destructor destroys
/// the chain without flushing it: close or flush an output stream first.
/// Threading: one thread at a time per stream.
/// Failures: nothing throws. After each operation the top buffer's status is taken over
/// (`getStatus`); once it is not good every transfer is refused until `resetStatus()`. Using
/// a closed stream sets `ioStreamError`. Asking for a filter that the build lacks sets
/// `ioStreamError` too (filter not available) and leaves the chain as it was.
class KY_BASE_API ioBufferedStream {
public:
    explicit ioBufferedStream(bool isInput);
    ioBufferedStream(const ioBufferedStream& other) = default;
    ioBufferedStream& operator=(const ioBufferedStream& other) = default;
    virtual ~ioBufferedStream();

    /// Opens the named file (input: read-only; output: created with mode 0600).
    virtual void openFile(const kyString::IString& path) = 0;
    /// Closes the top buffer, takes over its status and destroys the chain.
    virtual void close();
    /// Opens the stream on a connected socket (not owned).
    virtual void openSocket(kyTCP::Socket* socket) = 0;

    ioStreamStatus getStatus() const { return status_; }
    bool good() const { return status_ == ioStreamGood; }
    void resetStatus() { status_ = ioStreamGood; }
    bool isOpen() const { return top_ != nullptr; }

    /// Moves to `position` of a file or file range (negative: a file's end). False with a
    /// filter on top, on a stream that cannot seek, or when the system refuses.
    bool seek(std::int64_t position);
    /// The position in the file or file range after pending output is written and pending
    /// input dropped; -1 when closed.
    std::int64_t tell();

    /// With `on`, pushes a filter on the chain; with `on` false, finishes and removes the
    /// filter on top. Filters are switched off in the reverse order of switching them on; a
    /// request that does not fit the chain sets `ioStreamError` and changes nothing.
    /// `compress(false)` also turns `ioStreamEndOfCompressed` back into `ioStreamGood`, so
    /// reading goes on after a compressed section.
    void compress(bool on);
    void checksum(bool on);
    void encrypt(bool on);

    /// The function receives the running byte count of the top buffer.
    void associateProgressFunction(void (*progress)(int));

    /// The size of the named file; -1 for an empty path or when its status cannot be read.
    static std::int64_t fileSize(const kyString::IString& path);

protected:
    void setStatus(ioStreamStatus value) { status_ = value; }
    /// Takes over the top buffer's status (a good buffer leaves the stream's status alone).
    void promoteBufferStatus();
    /// Makes `buffer` the top, with the present top below it.
    void addBufferToChain(ioBuffer* buffer);
    /// Removes the filter on top (of buffer type `type`), finishing it first.
    void popBufferChain(int type);
    /// Destroys the chain without closing or flushing it.
    void destroyChain();

    ioStreamStatus status_;
    bool isInput_;
    ioBuffer* top_;

private:
    void pushFilter(ioBuffer* filter);
};

/// A stream that is read. Byte-wise reads are served from the top buffer; `readInt` and
/// `readLine` read the text of packet-file headers and ASCII packets.
class KY_BASE_API ioBufferedStreamInput : public ioBufferedStream {
public:
    ioBufferedStreamInput();
    ~ioBufferedStreamInput() override;

    /// On failure the stream stays closed with status 1.
    void openFile(const kyString::IString& path) override;
    /// On failure (a null socket among them) the stream stays closed with status 6.
    void openSocket(kyTCP::Socket* socket) override;
    /// The stream is read through, not owned or closed.
    void openIOStream(kyOS::IOStream* stream);
    /// Closing this stream closes the process's standard input descriptor (kept on purpose).
    void openStdin();
    /// `size` bytes of the file from `offset` on. A range beyond the file's end keeps the
    /// stream open with status 2; other failures leave it closed.
    void openFileSlice(const kyString::IString& path, std::int64_t offset, std::int64_t size);
    /// The stored bytes of a package-file entry (`openFileSlice` on its range): status 6 for
    /// null, 1 for an entry without a package name. Compressed entries need `compress(true)`
    /// and `checksum(true)` on top to read their contents.
    void openPackageFileEntry(const ioPackageFileEntry* entry);

    /// The next byte; 0 when the data ended or the status is bad.
    char readChar();
    /// A decimal integer after blanks, tabs and line feeds (not carriage returns), with an
    /// optional '-', at most 39 characters; the character that ends it is consumed.
    int readInt();
    /// Up to `size - 1` bytes through the first line feed (kept), zero-terminated.
    void readLine(char* buffer, int size);
    /// Up to `length` bytes; the count read.
    int readData(char* data, int length);
    /// The next `length` bytes where the stream already holds them in one piece: the stream
    /// moves past them and the pointer stays valid until the stream is next read, moved or
    /// closed. Null (nothing moved) when they are not all there yet or the status is bad:
    /// then `readData` fetches them. Lets a reader parse without copying.
    const char* takeInPlace(int length);
};

/// A stream that is written. Bulk writes fill whole buffers; `writeChar` hands each byte to
/// the buffer below on its own (kept on purpose, see the class's documentation page).
class KY_BASE_API ioBufferedStreamOutput : public ioBufferedStream {
public:
    ioBufferedStreamOutput();
    ~ioBufferedStreamOutput() override;

    /// Whether the next `openFile` empties an existing file (default true).
    void truncateOnOpen(bool truncate) { truncateOnOpen_ = truncate; }
    /// A file that cannot be opened leaves the stream good with the failed buffer on top: the
    /// failure (status 1) shows at the first write or flush (kept on purpose).
    void openFile(const kyString::IString& path) override;
    void openSocket(kyTCP::Socket* socket) override;
    void openIOStream(kyOS::IOStream* stream);
    /// Like `openFile`; closing this stream closes the standard output descriptor.
    void openStdout();
    /// Flushes the whole chain, then closes it.
    void close() override;
    void flush();
    /// Flushes, then asks the system to make the file's bytes durable (fsync). False, with
    /// `ioStreamError` unless the status was already bad, when either fails. Streams on a
    /// socket or a `kyOS::IOStream` have nothing to sync and succeed.
    bool sync();

    void writeChar(char c);
    /// The string's bytes without its terminating zero; nothing for null.
    void writeString(const char* text);
    void writeData(const char* data, int length);
    /// Formats with `TN_vsnprintf` into 1,024 bytes (longer output is cut to 1,023) and
    /// writes the text.
    /// "%s"/"%c" take narrow arguments and "%S"/"%C" wide ones, as everywhere in the library
    /// (so the compiler's printf checks do not apply).
    void printf(const char* format, ...);

private:
    bool truncateOnOpen_;
};

#endif // KY_IO_BUFFEREDSTREAM_H
