// kyBlockAllocator.h - a pool of fixed-size objects carved from malloc'ed blocks.
#ifndef KY_CONTAINERS_BLOCKALLOCATOR_H
#define KY_CONTAINERS_BLOCKALLOCATOR_H

#include <Base/BaseExport.h>

#include <cstddef>

namespace ky {

/// Hands out objects of one size from blocks of `numElementsInBlock` slots. Freed objects go on
/// a free list and are reused last-freed first; memory returns to the system only through
/// `freeEverything` or the destructor. The node containers take their nodes from one of these.
///
/// Each block is one `malloc` of `numElementsInBlock * elementSize + 16` bytes: a 16-byte header
/// (slots handed out so far, next block) and then the slots. Slots are at least 8 bytes (a
/// returned object holds the free-list link in its first 8 bytes) and a multiple of 8, so every
/// slot is aligned for pointers and doubles; blocks are aligned as `malloc` aligns them.
///
/// Allocation failure is not reported. Not synchronised: one thread at a time.
class KY_BASE_API BlockAllocator {
public:
    /// A pool of objects of `elementSize` bytes, `numElementsInBlock` (at least 1) per block.
    explicit BlockAllocator(std::size_t elementSize, int numElementsInBlock = 10);
    /// Frees every block, whether or not its objects were returned.
    ~BlockAllocator();
    BlockAllocator(const BlockAllocator&) = delete;
    BlockAllocator& operator=(const BlockAllocator&) = delete;

    /// Exchanges the pools, blocks and settings included.
    void swap(BlockAllocator& other) noexcept;

    /// Lazy mode: `free` only counts; the slot is not put back for reuse, and its memory
    /// returns with `freeEverything` or the destructor. For pools whose objects die together,
    /// it saves writing free-list links into memory that is about to be discarded.
    void setLazy(bool lazy = true) { lazy_ = lazy; }
    bool isLazy() const { return lazy_; }

    /// Changes the slots per block (at least 1). Takes effect only while the pool holds no
    /// block, i.e. before the first `alloc` or after `freeEverything`; otherwise ignored.
    void setNumElementsInBlock(int n);
    int numElementsInBlock() const { return numElementsInBlock_; }

    /// One object's memory, uninitialised; null only when a new block cannot be allocated.
    void* alloc() {
        if (freeList_ != nullptr) {
            FreeSlot* slot = freeList_;
            freeList_ = slot->next;
            return slot;
        }
        if (blocks_ != nullptr && blocks_->used < numElementsInBlock_) {
            ++numCarved_;
            return reinterpret_cast<char*>(blocks_) + kHeaderBytes +
                   static_cast<std::size_t>(blocks_->used++) * elementSize_;
        }
        return allocFromNewBlock();
    }

    /// Returns an object to the pool; a null pointer is ignored.
    void free(void* p) {
        if (p == nullptr) {
            return;
        }
        if (lazy_) {
            ++numDropped_;
            return;
        }
        FreeSlot* slot = static_cast<FreeSlot*>(p);
        slot->next = freeList_;
        freeList_ = slot;
    }

    /// Frees every block and forgets every object, handed out or returned.
    void freeEverything();

    /// Objects handed out and not returned. Counted from the free list, in time proportional to
    /// its length: a diagnostic, so that `alloc` and `free` keep no count (see the fields).
    int numAllocated() const { return numCarved_ - numDropped_ - numFreed(); }
    /// Objects waiting on the free list (walked, as for `numAllocated`).
    int numFreed() const;
    /// Bytes per slot (the requested size raised to at least 8 and to a multiple of 8).
    std::size_t elementSize() const { return elementSize_; }
    /// Bytes per block, header included.
    std::size_t blockBytes() const { return blockBytes_; }

    /// Size of the header at the start of every block.
    static constexpr std::size_t kHeaderBytes = 16;

private:
    struct Block {
        int used;    // slots handed out so far
        Block* next; // next older block
    };
    struct FreeSlot {
        FreeSlot* next;
    };
    static_assert(sizeof(Block) <= kHeaderBytes, "block header must fit in 16 bytes");

    void* allocFromNewBlock();

    Block* blocks_ = nullptr;      // newest first
    FreeSlot* freeList_ = nullptr; // last freed first
    std::size_t elementSize_;
    int numElementsInBlock_;
    std::size_t blockBytes_;
    // Reusing a returned object touches no count: a count updated by every alloc and free is
    // a chain of dependent memory updates that costs a quarter of the time of a random
    // alloc/free pattern. The counts the accessors give follow from these two and the list.
    int numCarved_ = 0;  // slots ever taken from blocks since the last freeEverything
    int numDropped_ = 0; // slots freed in lazy mode (not on the free list)
    bool lazy_ = false;
};

} // namespace ky

#endif // KY_CONTAINERS_BLOCKALLOCATOR_H
