// kyOSMoveableMemory.h - kyOS::MoveableMemory, memory kept in temporary backing files, and
// kyOS::MoveableMapping, one region of it that its owner maps only while working on it.
#ifndef KY_OS_MOVEABLEMEMORY_H
#define KY_OS_MOVEABLEMEMORY_H

#include <Base/BaseExport.h>
#include <Base/Containers/kyReferenceCount.h>
#include <Base/String/kyStringIString.h>

#include <cstdint>

namespace kyOS {

namespace detail {
class MoveableMemoryImpl;
class MoveableMappingImpl;
} // namespace detail

/// One allocation of moveable memory: a block of a backing file that is in the address space
/// only between `map()` and `unmap()`; its bytes stay in the file in between. Handed out as a
/// `ky::Reference<MoveableMapping>` (the handle is copyable and movable; the object itself is
/// not copied): when the last reference goes the view is unmapped and the block returns to
/// its memory. Not synchronised: the mapping belongs to its memory's thread. No operation
/// throws; a refused view gives a null pointer.
class KY_BASE_API MoveableMapping : public ky::ReferenceCount {
public:
    MoveableMapping(const MoveableMapping&) = delete;
    MoveableMapping& operator=(const MoveableMapping&) = delete;

    /// The block's size: the request rounded up to the granule, or more when the block was
    /// given out whole (see `MoveableMemory::allocate`).
    virtual std::uint64_t getSize() const;
    /// Maps the block when it is not mapped; the start of its bytes, or null when the system
    /// refuses a view.
    virtual void* map();
    /// Unmaps the block when it is mapped; its bytes stay in the backing file.
    virtual void unmap();
    /// The start of the mapped bytes, null when not mapped.
    virtual void* getPtr() const;
    /// Writes the changed pages in [ptr, end) of the mapped view to the file (clamped to the
    /// view). False when not mapped or the system refused.
    virtual bool flush(const void* ptr, const void* end);
    /// Read-ahead of the offsets [from, to) of the mapped block (`FileMapping::load`); the
    /// number of pages touched, 0 when not mapped.
    virtual std::uint64_t load(std::uint64_t from, std::uint64_t to);

protected:
    ~MoveableMapping() override;

private:
    friend class detail::MoveableMemoryImpl;
    explicit MoveableMapping(detail::MoveableMappingImpl* impl) : impl_(impl) {}
    detail::MoveableMappingImpl* impl_;
};

/// Large data kept out of memory: hands out blocks of temporary backing files (segments) that
/// are mapped into the address space only while their owner works on them.
///
/// Requests are rounded up to the granule (64 KiB) and served best-fit from the free blocks
/// of standard segments (128 MiB); a block larger than needed by more than one granule is
/// split, and a released block merges with its free neighbours. One emptied standard segment
/// is kept as a spare so that a busy caller does not create and delete backing files over and
/// over. Requests above the small-allocation limit (32 MiB) get a segment of exactly their
/// size. Segment files are named "<prefix>-<process id>-<UUID>" in the directory given to
/// `initializeFiles` and are deleted by the system when closed (on POSIX the name is removed
/// right after it is opened), so no file outlives the process, even a killed one. Segment
/// files are sparse where the file system allows, and blocks cost address space only while
/// mapped.
///
/// Owns its segments. Mappings that outlive the memory keep its state alive until the last
/// one goes. Not synchronised: one thread at a time for the memory and all its mappings.
/// No operation throws: a failure gives a null reference or a null pointer and leaves the
/// statistics unchanged.
///
/// @code
///   kyOS::MoveableMemory memory;
///   if (memory.initializeFiles(L"/var/tmp", L"scene")) {
///       ky::Reference<kyOS::MoveableMapping> block = memory.allocate(1 << 20);
///       if (block && block->map() != nullptr) {
///           static_cast<char*>(block->getPtr())[0] = 1;
///           block->unmap(); // the byte stays in the backing file
///       }
///   }
/// @endcode
class KY_BASE_API MoveableMemory {
public:
    /// Six figures, in this order.
    struct Stats {
        std::uint64_t granularity;    ///< the system's allocation granularity
        std::uint64_t segments;       ///< backing files that exist (the spare included)
        std::uint64_t segmentBytes;   ///< bytes in all of them
        std::uint64_t allocations;    ///< live allocations
        std::uint64_t allocatedBytes; ///< bytes of their blocks (each block whole)
        std::uint64_t mappedBytes;    ///< bytes of the blocks mapped now
    };

    static constexpr std::uint64_t kSmallAllocationLimit = 0x2000000; ///< 32 MiB
    static constexpr std::uint64_t kGranule = 0x10000;                ///< 64 KiB
    static constexpr std::uint64_t kSegmentSize = 0x8000000;          ///< 128 MiB

    /// Statistics zero, granularity read. `segmentSize` and `smallAllocationLimit` are for
    /// callers (and tests) that want smaller backing files: the segment size is rounded up to
    /// a multiple of the granule and the limit is lowered to it when larger.
    explicit MoveableMemory(std::uint64_t segmentSize = kSegmentSize,
                            std::uint64_t smallAllocationLimit = kSmallAllocationLimit);
    ~MoveableMemory();
    MoveableMemory(const MoveableMemory&) = delete;
    MoveableMemory& operator=(const MoveableMemory&) = delete;

    /// Where backing files go and how their names begin. False when either is empty or the
    /// directory is not an existing directory; nothing can be allocated until this succeeds.
    bool initializeFiles(const kyString::IString& directory, const kyString::IString& prefix);
    /// A new, unmapped block of at least `size` bytes; a null reference for size 0, before
    /// `initializeFiles`, or when a backing file cannot be created, sized or mapped.
    ky::Reference<MoveableMapping> allocate(std::uint64_t size);
    /// Destroys the spare segment if one is kept, then returns the statistics.
    Stats getStats();
    /// The statistics as they stand, the spare segment included and kept.
    Stats peekStats() const;

    std::uint64_t getSegmentSize() const;
    std::uint64_t getSmallAllocationLimit() const;

private:
    detail::MoveableMemoryImpl* impl_;
};

} // namespace kyOS

#endif // KY_OS_MOVEABLEMEMORY_H
