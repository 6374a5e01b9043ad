// kyOSBestFitBlocks.h - the free blocks of the segment allocators (moveable memory and its
// chunk allocator): blocks tile their segment in a linked list; free ones wait in a tree by
// size, so that a request takes the first of the smallest that fit.
#ifndef KY_OS_INTERNAL_BESTFITBLOCKS_H
#define KY_OS_INTERNAL_BESTFITBLOCKS_H

#include <cstdint>
#include <map>

namespace kyOS {
namespace detail {

/// `Block` is an aggregate with `size`, `offset`, `segment` (whose `first` is its first
/// block), `free`, `prev`, `next`, `inTree` (an iterator of the tree) and `listed`. The
/// blocks are the caller's; this class links, splits, joins and deletes them. One thread at a
/// time.
template <class Block>
class BestFitBlocks {
public:
    using Tree = std::multimap<std::uint64_t, Block*>;

    /// Takes the first of the smallest free blocks of at least `size` out of the tree; null
    /// when none is large enough.
    Block* takeFit(std::uint64_t size) {
        auto fit = tree_.lower_bound(size);
        if (fit == tree_.end()) {
            return nullptr;
        }
        Block* block = fit->second;
        unlist(block);
        return block;
    }

    /// A new block of `size` at the block's offset, linked before the rest; the rest is free
    /// and listed.
    Block* split(Block* block, std::uint64_t size) {
        Block* head = new Block{};
        head->size = size;
        head->offset = block->offset;
        head->segment = block->segment;
        head->prev = block->prev;
        head->next = block;
        if (block->prev != nullptr) {
            block->prev->next = head;
        } else {
            block->segment->first = head;
        }
        block->prev = head;
        block->offset += size;
        block->size -= size;
        block->free = true;
        list(block);
        return head;
    }

    /// Marks `block` free and joins it with its free neighbours; the joined block, not listed
    /// (the caller lists it or gives its segment up).
    Block* release(Block* block) {
        block->free = true;
        if (block->prev != nullptr && block->prev->free) {
            block = absorbNext(block->prev);
        }
        if (block->next != nullptr && block->next->free) {
            block = absorbNext(block);
        }
        return block;
    }

    void list(Block* block) {
        block->inTree = tree_.emplace(block->size, block); // after its equals
        block->listed = true;
    }

    void unlist(Block* block) {
        if (block->listed) {
            tree_.erase(block->inTree);
            block->listed = false;
        }
    }

private:
    // Merges the block after `block` into it (both free); returns `block`.
    Block* absorbNext(Block* block) {
        Block* next = block->next;
        unlist(block);
        unlist(next);
        block->size += next->size;
        block->next = next->next;
        if (next->next != nullptr) {
            next->next->prev = block;
        }
        delete next;
        return block;
    }

    Tree tree_;
};

} // namespace detail
} // namespace kyOS

#endif // KY_OS_INTERNAL_BESTFITBLOCKS_H
