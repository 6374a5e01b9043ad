// kyOSFSAllocator.h - kyOS::FSAllocator, a pool of fixed-size blocks.
#ifndef KY_OS_FSALLOCATOR_H
#define KY_OS_FSALLOCATOR_H

#include <Base/BaseExport.h>

#include <cstddef>

namespace kyOS {

namespace detail {
class FSAllocatorImpl;
}

/// Fixed-size blocks carved from chunks of `blocksPerChunk` blocks each: `alloc()` and
/// `free()` cost a few pointer moves, and many small equal objects share few heap
/// allocations. Blocks are aligned for any fundamental type. By default a chunk whose blocks
/// are all free goes back to the heap at once; `setLazy()` keeps emptied chunks for reuse
/// until `freeAll()` or destruction. `free()` ignores null and pointers that are not blocks
/// of this pool. Owns its chunks: `freeAll()` and destruction release every block. Not
/// synchronised: one thread at a time. `alloc()` returns null only when the heap is exhausted.
///
/// @code
///   kyOS::FSAllocator pool(48, 256); // 48-byte blocks, 256 per chunk
///   void* a = pool.alloc();
///   pool.free(a);
/// @endcode
class KY_BASE_API FSAllocator {
public:
    FSAllocator(std::size_t blockSize, std::size_t blocksPerChunk);
    ~FSAllocator();
    FSAllocator(const FSAllocator&) = delete;
    FSAllocator& operator=(const FSAllocator&) = delete;

    void* alloc();
    void free(void* block);
    /// Releases every chunk; all blocks become invalid.
    void freeAll();
    /// Lazy: emptied chunks stay until `freeAll()`; not lazy (the default): they go at once.
    void setLazy(bool lazy = true);

    /// The block size as served (the request rounded up for alignment).
    std::size_t blockSize() const;
    std::size_t numAllocated() const;
    std::size_t numChunks() const;

private:
    detail::FSAllocatorImpl* impl_;
};

} // namespace kyOS

#endif // KY_OS_FSALLOCATOR_H
