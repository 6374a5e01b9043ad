// ioBufferFD.h - the terminal buffers over a file descriptor and over a byte range of a file.
#ifndef KY_IO_INTERNAL_BUFFERFD_H
#define KY_IO_INTERNAL_BUFFERFD_H

#include <Base/IO/internal/ioBuffer.h>
#include <Base/String/kyStringIString.h>

#include <cstdint>

/// A buffer over a C run-time file descriptor: a file it opens itself, or standard input or
/// output attached to it. Interrupted and would-block calls are made again; a write that
/// finds the disk full sets status 3, every other failure status 6.
///
/// Ownership: owns a descriptor it opened; `close` also closes an attached descriptor, so
/// closing a stream on standard input or output closes that descriptor (kept on purpose).
/// Destroying the buffer without `close` releases only a descriptor it opened. Calls go
/// through the file layer's system-call table. One thread at a time.
class KY_BASE_API ioBufferFD : public ioBuffer {
public:
    static constexpr int kCapacity = 0x40000;

    explicit ioBufferFD(bool reading);
    ~ioBufferFD() override;

    /// A negative `position` goes to the end of the file. False when the system refuses.
    bool seek(std::int64_t position) override;
    /// The descriptor's offset, -1 when there is none or the system refuses.
    std::int64_t tell() override;
    int getBufferType() override { return ioBufferTypeFD; }
    void close() override;
    bool sync() override;
    int readBlock(char* data, int length) override;
    void writeBlock(const char* data, int length) override;

    /// Reading: read-only. Writing: write-only, created with mode 0600 when missing, emptied
    /// when the truncate flag is set. Failure sets status 1.
    void open(const kyString::IString& path);
    /// Takes a descriptor the caller opened (standard input or output); a negative one sets
    /// status 1.
    void attach(int fd);
    /// Whether an output file is emptied by `open` (default true).
    void setTruncate(bool truncate) { truncate_ = truncate; }
    int getFD() const { return fd_; }
    bool isOpen() const { return isOpen_; }

protected:
    int fd_;
    bool isOpen_;
    bool truncate_;

private:
    bool attached_;
};

/// A read-only view of `size` bytes of a file from `offset` on (a package-file entry). Seeking
/// to exactly the end of the range is refused (kept on purpose) and so is anything past it;
/// a range that reaches beyond the file's end fails at `open` with status 2.
///
/// Ownership: owns its inner descriptor buffer. One thread at a time.
class KY_BASE_API ioBufferFileSubset : public ioBuffer {
public:
    static constexpr int kCapacity = 4096;

    ioBufferFileSubset();
    ~ioBufferFileSubset() override;

    /// Positions are relative to the range's start.
    bool seek(std::int64_t position) override;
    std::int64_t tell() override;
    int getBufferType() override { return ioBufferTypeFileSubset; }
    void close() override;
    int readBlock(char* data, int length) override;
    /// A subset is never written: does nothing.
    void writeBlock(const char* data, int length) override;

    void open(const kyString::IString& path, std::int64_t offset, std::int64_t size);
    std::int64_t getOffset() const { return offset_; }
    std::int64_t getSize() const { return size_; }

protected:
    ioBufferFD file_;
    std::int64_t offset_;
    std::int64_t size_;
    std::int64_t current_;
};

#endif // KY_IO_INTERNAL_BUFFERFD_H
