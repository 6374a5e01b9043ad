// ioBuffer.h - ioBuffer, the fixed-size byte buffer at every level of a serialization chain.
#ifndef KY_IO_INTERNAL_BUFFER_H
#define KY_IO_INTERNAL_BUFFER_H

#include <Base/BaseExport.h>
#include <Base/Utility/kyUtilError.h>

#include <cstdint>
#include <cstring>

/// The sticky status of one buffer. The first failure stays until it is reset from above.
enum ioBufferStatus : std::int32_t {
    ioBufferGood = 0,
    ioBufferOpenFailed = 1,       ///< file open, or attaching a negative descriptor
    ioBufferEndOfData = 2,        ///< a read that gave no bytes; past a subset's end
    ioBufferDiskFull = 3,         ///< a write that failed with ENOSPC
    ioBufferChecksumMismatch = 4, ///< the checksum filter
    ioBufferEndOfCompressed = 5,  ///< the compression filter met its end code
    ioBufferError = 6,            ///< any other read, write, close or use failure
};

/// The type codes that `getBufferType` reports.
enum ioBufferType : int {
    ioBufferTypeFD = 0,
    ioBufferTypeCompress = 1,
    ioBufferTypeChecksum = 2,
    ioBufferTypeTCP = 3,
    ioBufferTypeEncrypt = 4,
    ioBufferTypeIOStream = 5,
    ioBufferTypeFileSubset = 6,
};

/// Called with a buffer's running byte count after each block it moves.
using ioProgressFunction = void (*)(int);

/// A fixed-size byte array in front of one source or sink, with a sticky status, a running
/// byte count and an optional progress callback. Buffers form a chain: each may own the
/// buffer below it (`next`); filters sit on top of one terminal buffer that talks to the
/// outside. A buffer is either read or written, fixed at construction.
///
/// Ownership: a buffer owns its array and the whole chain below it. Threading: one thread at
/// a time per chain. Failures: no operation throws or prints; every failure is a status value
/// and a buffer whose status is not good refuses further transfers (reads return what was
/// copied so far, writes drop their bytes).
///
/// Not part of the library's interface: only the buffered streams use buffers. The classes
/// are exported so that the library's own tests can drive them directly.
class KY_BASE_API ioBuffer {
public:
    virtual ~ioBuffer();
    ioBuffer(const ioBuffer&) = delete;
    ioBuffer& operator=(const ioBuffer&) = delete;

    /// Moves a terminal buffer's position in its source; false where a buffer cannot seek.
    virtual bool seek(std::int64_t position);
    virtual std::int64_t tell();
    /// Brings buffered output down the chain at the end of a section (filters).
    virtual void finish();
    /// One of `ioBufferType`.
    virtual int getBufferType() = 0;
    /// Releases the outside resource.
    virtual void close() = 0;
    /// Makes the bytes already handed to the outside durable (a file's fsync). Buffers
    /// without a file below succeed; a failure sets status 6 and returns false.
    virtual bool sync();
    /// Fetches up to `length` bytes from below: the count, 0 at the end, -1 on error.
    virtual int readBlock(char* data, int length) = 0;
    /// Hands `length` bytes below.
    virtual void writeBlock(const char* data, int length) = 0;

    /// Buffered read: up to `length` bytes; fewer only when the status went bad. Bytes that are
    /// all in the array are copied inline; the rest goes through `readMore`.
    int read(char* data, int length) {
        if (length >= 1 && status_ == ioBufferGood && length <= valid_ - position_) {
            std::memcpy(data, data_ + position_, static_cast<std::size_t>(length));
            position_ += length;
            return length;
        }
        return readMore(data, length);
    }
    /// Buffered write; bytes are dropped once the status is bad. Bytes that fit in the array
    /// are copied inline (it may become exactly full); the rest goes through `writeMore`.
    void write(const char* data, int length) {
        if (length >= 1 && status_ == ioBufferGood && length <= capacity_ - position_) {
            std::memcpy(data_ + position_, data, static_cast<std::size_t>(length));
            position_ += length;
            return;
        }
        writeMore(data, length);
    }
    /// Refills the array from below.
    void fill();
    /// Hands what is pending below (a reading buffer drops what it holds).
    void flush();
    /// `flush` on this buffer and every buffer below, taking over the first failure below.
    void flushChain();

    ioBufferStatus getStatus() const { return status_; }
    bool good() const { return status_ == ioBufferGood; }
    void setStatus(ioBufferStatus status) { status_ = status; }
    /// Takes over the status of `next`: 1, 3, 4 and 6 always, 2 and 5 only with
    /// `includeEnd`, 0 never.
    void promoteStatusFromNext(bool includeEnd);

    /// Makes `buffer` the one below (ownership passes to this buffer).
    void setNext(ioBuffer* buffer);
    /// Calls `finish()`, then hands back the buffer below (ownership passes to the caller).
    ioBuffer* detachNext();
    ioBuffer* getNext() const { return next_; }
    void associateProgressFunction(ioProgressFunction progress) { progress_ = progress; }

    bool isReading() const { return reading_; }
    int getCapacity() const { return capacity_; }
    int getPosition() const { return position_; }
    int getValid() const { return valid_; }
    int getTotal() const { return total_; }
    /// The last error of an underlying stream or socket (stream-backed buffers only).
    const kyUtil::Error& getError() const { return error_; }

    /// The single-byte fast path of the streams: the next unread byte (caller checks
    /// `getPosition() < getValid()`), and the store of one byte (caller checks
    /// `getPosition() < getCapacity()`).
    char takeByte() { return data_[position_++]; }
    /// The array, for a reader above that takes many bytes in place: it reads from
    /// `getData() + getPosition()` up to `getValid()` and then moves the position.
    const char* getData() const { return data_; }
    void setPosition(int position) { position_ = position; }
    void putByte(char c) { data_[position_++] = c; }

private:
    int readMore(char* data, int length);
    void writeMore(const char* data, int length);

protected:
    /// Allocates `capacity` bytes (at least 1) for a buffer that is read or written.
    ioBuffer(bool reading, int capacity);

    kyUtil::Error error_;
    char* data_;
    std::int32_t capacity_;
    std::int32_t position_;
    std::int32_t valid_;
    std::int32_t total_;
    ioBufferStatus status_;
    bool reading_;
    ioBuffer* next_;
    ioProgressFunction progress_;

private:
    void account(int moved);
};

#endif // KY_IO_INTERNAL_BUFFER_H
