// kyOSMoveableAllocator.cpp - chunks of 1 MiB moveable segments, best fit, and the list of
// cached segment views.
#include <Base/OS/kyOSMoveableAllocator.h>

#include <Base/OS/internal/kyOSBestFitBlocks.h>

#include <Base/Utility/kyImplBase.h>

#include <cstdint>
#include <iterator>
#include <list>
#include <map>
#include <new>
#include <set>

namespace kyOS {
namespace detail {

struct ChunkSegment;

// A range of a segment, as the memory's blocks are, plus whether a chunk has it mapped.
struct ChunkBlock {
    std::uint64_t size;
    std::uint64_t offset;
    ChunkSegment* segment;
    bool free;
    bool mapped;
    ChunkBlock* prev;
    ChunkBlock* next;
    std::multimap<std::uint64_t, ChunkBlock*>::iterator inTree;
    bool listed;
};

struct ChunkSegment {
    ky::Reference<MoveableMapping> mapping;
    std::uint64_t size = 0;
    ChunkBlock* first = nullptr;
    std::size_t pins = 0; // mapped chunks
    bool cached = false;  // in the list of mapped segments
    std::list<ChunkSegment*>::iterator inCache;
};

class MoveableAllocatorImpl : public ky::ImplBase {
public:
    MoveableAllocatorImpl(MoveableMemory& memory, std::size_t bound)
        : memory_(memory), bound_(bound) {}
    ~MoveableAllocatorImpl() override {
        unmapCached();
        for (ChunkSegment* segment : segments_) {
            deleteBlocks(segment);
            delete segment; // its mapping returns to the memory
        }
    }

    MoveableChunk* allocate(std::uint64_t size) {
        if (size == 0) {
            return nullptr;
        }
        ChunkBlock* block = nullptr;
        if (size > MoveableAllocator::kSmallChunkLimit) {
            ChunkSegment* segment = createSegment(size);
            if (segment == nullptr) {
                return nullptr;
            }
            block = segment->first;
        } else {
            const std::uint64_t rounded = roundUp(size);
            block = blocks_.takeFit(rounded); // the first of the smallest that fit
            if (block == nullptr) {
                ChunkSegment* segment = createSegment(MoveableAllocator::kSegmentSize);
                if (segment == nullptr) {
                    return nullptr;
                }
                block = segment->first;
            }
            if (block->size - rounded > kGranule) {
                block = blocks_.split(block, rounded);
            }
        }
        block->free = false;
        ++live_;
        return new MoveableChunk(this, block);
    }

    void* map(ChunkBlock* block) {
        ChunkSegment* segment = block->segment;
        if (!segment->cached) {
            if (segment->mapping->map() == nullptr) {
                return nullptr;
            }
            segment->inCache = cache_.insert(cache_.end(), segment);
            segment->cached = true;
        } else {
            cache_.splice(cache_.end(), cache_, segment->inCache);
        }
        if (!block->mapped) {
            block->mapped = true;
            ++segment->pins;
        }
        evict();
        return static_cast<char*>(segment->mapping->getPtr()) + block->offset;
    }

    void unmap(ChunkBlock* block) {
        if (block->mapped) {
            block->mapped = false;
            --block->segment->pins;
        }
    }

    // A chunk was deleted; true when this state should go too.
    bool release(ChunkBlock* block) {
        unmap(block);
        --live_;
        block = blocks_.release(block);
        ChunkSegment* segment = block->segment;
        if (block->offset == 0 && block->size == segment->size) {
            destroySegment(segment); // no spare at this level
        } else {
            blocks_.list(block);
        }
        return orphaned_ && live_ == 0;
    }

    bool orphan() {
        orphaned_ = true;
        return live_ == 0;
    }

    void unmapCached() {
        while (!cache_.empty()) {
            ChunkSegment* segment = cache_.back();
            cache_.pop_back();
            uncache(segment);
        }
    }

    unsigned int live() const { return live_; }
    std::size_t cached() const { return cache_.size(); }

private:
    static constexpr std::uint64_t kGranule = MoveableAllocator::kGranule;

    static std::uint64_t roundUp(std::uint64_t size) {
        return (size + kGranule - 1) / kGranule * kGranule;
    }

    ChunkSegment* createSegment(std::uint64_t size) {
        ky::Reference<MoveableMapping> mapping = memory_.allocate(size);
        if (!mapping) {
            return nullptr;
        }
        ChunkSegment* segment = new ChunkSegment;
        segment->mapping = mapping;
        segment->size = size;
        segment->first = new ChunkBlock{size, 0, segment, true, false, nullptr, nullptr, {}, false};
        segments_.insert(segment);
        return segment;
    }

    void destroySegment(ChunkSegment* segment) {
        if (segment->cached) {
            cache_.erase(segment->inCache);
            uncache(segment);
        }
        segments_.erase(segment);
        deleteBlocks(segment);
        delete segment;
    }

    // Unmaps a segment's view (already out of the list) and every chunk mapped in it.
    void uncache(ChunkSegment* segment) {
        segment->cached = false;
        segment->mapping->unmap();
        for (ChunkBlock* block = segment->first; block != nullptr; block = block->next) {
            block->mapped = false;
        }
        segment->pins = 0;
    }

    // Keeps the list within its bound by unmapping the oldest views no chunk pins.
    void evict() {
        for (auto it = cache_.begin(); cache_.size() > bound_ && it != cache_.end();) {
            ChunkSegment* segment = *it;
            if (segment->pins != 0) {
                ++it;
                continue;
            }
            it = cache_.erase(it);
            uncache(segment);
        }
    }

    void deleteBlocks(ChunkSegment* segment) {
        for (ChunkBlock* block = segment->first; block != nullptr;) {
            ChunkBlock* next = block->next;
            blocks_.unlist(block);
            delete block;
            block = next;
        }
        segment->first = nullptr;
    }

    MoveableMemory& memory_;
    const std::size_t bound_;
    BestFitBlocks<ChunkBlock> blocks_;
    std::set<ChunkSegment*> segments_;
    std::list<ChunkSegment*> cache_; // mapped segments, most recent last
    unsigned int live_ = 0;
    bool orphaned_ = false;
};

} // namespace detail

void* MoveableChunk::operator new(std::size_t size) {
    return ::operator new(size);
}

void MoveableChunk::operator delete(void* p) noexcept {
    ::operator delete(p);
}

MoveableChunk::~MoveableChunk() {
    if (allocator_->release(block_)) {
        delete allocator_;
    }
}

std::uint64_t MoveableChunk::getSize() const {
    return block_->size;
}

void* MoveableChunk::map() {
    return allocator_->map(block_);
}

void MoveableChunk::unmap() {
    allocator_->unmap(block_);
}

bool MoveableChunk::isMapped() const {
    return block_->mapped;
}

MoveableAllocator::MoveableAllocator(MoveableMemory& memory, std::size_t maxCachedMappings)
    : impl_(new detail::MoveableAllocatorImpl(memory, maxCachedMappings)) {}

MoveableAllocator::~MoveableAllocator() {
    if (impl_->orphan()) {
        delete impl_;
    }
}

MoveableChunk* MoveableAllocator::allocate(std::uint64_t size) {
    return impl_->allocate(size);
}

unsigned int MoveableAllocator::getNumAllocated() const {
    return impl_->live();
}

void MoveableAllocator::unmapCachedMappings() {
    impl_->unmapCached();
}

std::size_t MoveableAllocator::getNumCachedMappings() const {
    return impl_->cached();
}

} // namespace kyOS
