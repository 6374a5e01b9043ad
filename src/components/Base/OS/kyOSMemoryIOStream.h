// kyOSMemoryIOStream.h - kyOS::MemoryIOStream, a byte stream held in memory.
#ifndef KY_OS_MEMORYIOSTREAM_H
#define KY_OS_MEMORYIOSTREAM_H

#include <Base/BaseExport.h>
#include <Base/Containers/kyReferenceCount.h>
#include <Base/Containers/kyVector.h>
#include <Base/OS/kyOSIOStream.h>

#include <cstddef>

namespace kyOS {

/// An `IOStream` over memory: writes append at the end, reads consume from a read position
/// that starts at 0. The data lives in fixed-size blocks that are reference-counted, so a
/// copy of a stream (or `share`) costs one count per block, not a copy of the data; a block
/// is copied only when a stream appends to a block that another stream still holds.
///
/// For the serialization layer (a packet file assembled or parsed in memory) and for tests.
/// Reads at the end give 0 bytes and "End Of File" (code 3). Writing fails only when memory
/// runs out ("An I/O problem has occurred", code 4). Not thread-safe: one thread per stream
/// (two streams that share blocks may be used from two threads only if neither writes).
class KY_BASE_API MemoryIOStream : public IOStream {
public:
    /// One block of data: `capacity` bytes of which `used` are filled.
    class KY_BASE_API Block : public ky::ReferenceCount {
    public:
        explicit Block(std::size_t capacity);
        ~Block() override;
        Block(const Block&) = delete;
        Block& operator=(const Block&) = delete;
        char* data() { return data_; }
        const char* data() const { return data_; }
        std::size_t capacity() const { return capacity_; }
        std::size_t used;

    private:
        char* data_;
        std::size_t capacity_;
    };

    /// Blocks of `blockSize` bytes (at least 1; 64 KiB by default).
    explicit MemoryIOStream(std::size_t blockSize = 65536);
    /// Shares the data of `other` and takes its read position.
    MemoryIOStream(const MemoryIOStream& other);
    MemoryIOStream& operator=(const MemoryIOStream& other);
    ~MemoryIOStream() override;

    kyUtil::Error read(void* buffer, std::size_t size, std::size_t* count) override;
    kyUtil::Error write(const void* buffer, std::size_t size, std::size_t* count) override;

    /// Bytes written so far.
    std::size_t size() const { return size_; }
    /// The read position.
    std::size_t tell() const { return position_; }
    /// Moves the read position; false (nothing moves) past the end.
    bool seek(std::size_t position);
    void rewind() { position_ = 0; }
    /// Drops every block.
    void clear();
    /// Copies up to `size` bytes from `offset` into `out`; the number copied.
    std::size_t copyOut(std::size_t offset, void* out, std::size_t size) const;
    /// Number of blocks and one of them (for inspection and zero-copy readers).
    std::size_t numBlocks() const { return blocks_.size(); }
    const Block& block(std::size_t i) const { return *blocks_[static_cast<unsigned int>(i)]; }

private:
    ky::vector<ky::Reference<Block>> blocks_;
    std::size_t blockSize_;
    std::size_t size_;
    std::size_t position_;
};

} // namespace kyOS

#endif // KY_OS_MEMORYIOSTREAM_H
