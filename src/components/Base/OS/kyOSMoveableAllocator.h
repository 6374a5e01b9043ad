// kyOSMoveableAllocator.h - kyOS::MoveableAllocator, small chunks sub-allocated from moveable
// memory, and kyOS::MoveableChunk, one such chunk.
#ifndef KY_OS_MOVEABLEALLOCATOR_H
#define KY_OS_MOVEABLEALLOCATOR_H

#include <Base/BaseExport.h>
#include <Base/OS/kyOSMoveableMemory.h>

#include <cstddef>
#include <cstdint>

namespace kyOS {

namespace detail {
class MoveableAllocatorImpl;
struct ChunkBlock;
} // namespace detail

/// One chunk of a `MoveableAllocator`: a range of one of its segments that is addressable
/// between `map()` and `unmap()`. Made only by `MoveableAllocator::allocate`; `delete` frees
/// it (its bytes return to the allocator). Created and deleted through the class's own
/// `operator new`/`operator delete`, so the library's heap serves chunks whichever module
/// allocates or deletes them. Not synchronised: the chunk belongs to its allocator's thread.
class KY_BASE_API MoveableChunk {
public:
    ~MoveableChunk();
    MoveableChunk(const MoveableChunk&) = delete;
    MoveableChunk& operator=(const MoveableChunk&) = delete;

    static void* operator new(std::size_t size);
    static void operator delete(void* p) noexcept;

    /// The requested size rounded up to 32 bytes (or more when the block was given out
    /// whole); a chunk above the small-chunk limit has exactly its requested size.
    std::uint64_t getSize() const;
    /// Maps the chunk's segment if needed (it becomes the most recent cached mapping) and
    /// returns the chunk's start; null when the system refuses a view.
    void* map();
    /// Ends this chunk's use of its segment's view. The view itself stays cached until the
    /// allocator evicts it, `unmapCachedMappings()` runs or the segment is freed.
    void unmap();
    bool isMapped() const;

private:
    friend class detail::MoveableAllocatorImpl;
    MoveableChunk(detail::MoveableAllocatorImpl* allocator, detail::ChunkBlock* block)
        : allocator_(allocator), block_(block) {}
    detail::MoveableAllocatorImpl* allocator_;
    detail::ChunkBlock* block_;
};

/// Sub-allocates small chunks from moveable memory with the memory's own algorithm one level
/// up: segments are 1 MiB mappings obtained from the `MoveableMemory`, requests are rounded to
/// 32 bytes and served best-fit with splitting and merging, requests above 256 KiB get a
/// mapping of their own (not rounded), and no spare segment is kept.
///
/// Mapped segments form a list, most recent last. A chunk pins its segment's view while it
/// is mapped; when mapping one more segment makes the list longer than its bound
/// (`maxCachedMappings`, 64 by default: 64 MiB of address space), the oldest views that no
/// mapped chunk pins are unmapped. Pinned views are never evicted, so the list may exceed the
/// bound while more chunks than that are mapped at once. `unmapCachedMappings()` unmaps every
/// listed view, pinned or not (every chunk is then unmapped).
///
/// The `MoveableMemory` must outlive every call of `allocate`; chunks that outlive the
/// allocator keep its state alive until the last is deleted. Not synchronised: one thread at
/// a time for the allocator and its chunks. No operation throws; failures give null.
///
/// @code
///   kyOS::MoveableAllocator chunks(memory);
///   kyOS::MoveableChunk* c = chunks.allocate(100); // 128 bytes of a 1 MiB segment
///   if (c != nullptr && c->map() != nullptr) { /* ... */ c->unmap(); }
///   delete c;
/// @endcode
class KY_BASE_API MoveableAllocator {
public:
    static constexpr std::uint64_t kSegmentSize = 0x100000;      ///< 1 MiB
    static constexpr std::uint64_t kSmallChunkLimit = 0x40000;   ///< 256 KiB
    static constexpr std::uint64_t kGranule = 32;                ///< chunk sizes round to it
    static constexpr std::size_t kDefaultMaxCachedMappings = 64; ///< the list's default bound

    explicit MoveableAllocator(MoveableMemory& memory,
                               std::size_t maxCachedMappings = kDefaultMaxCachedMappings);
    ~MoveableAllocator();
    MoveableAllocator(const MoveableAllocator&) = delete;
    MoveableAllocator& operator=(const MoveableAllocator&) = delete;

    /// A new, unmapped chunk; null for size 0 or when the memory cannot give a segment.
    MoveableChunk* allocate(std::uint64_t size);
    /// Live chunks.
    unsigned int getNumAllocated() const;
    /// Unmaps every listed segment view, most recent first, and empties the list.
    void unmapCachedMappings();
    /// Segment views listed now.
    std::size_t getNumCachedMappings() const;

private:
    detail::MoveableAllocatorImpl* impl_;
};

} // namespace kyOS

#endif // KY_OS_MOVEABLEALLOCATOR_H
