// kyOSFSAllocator.cpp - chunks with their own free lists, found by address.
#include <Base/OS/kyOSFSAllocator.h>

#include <Base/Utility/kyImplBase.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <new>
#include <set>

namespace kyOS {
namespace detail {

class FSAllocatorImpl : public ky::ImplBase {
public:
    FSAllocatorImpl(std::size_t blockSize, std::size_t blocksPerChunk)
        : blockSize_(roundBlock(blockSize)), perChunk_(blocksPerChunk == 0 ? 1 : blocksPerChunk) {}
    ~FSAllocatorImpl() override { freeAll(); }

    void* alloc() {
        if (available_.empty()) {
            char* memory = static_cast<char*>(::operator new(blockSize_* perChunk_, std::nothrow));
            if (memory == nullptr) {
                return nullptr;
            }
            Chunk& chunk = chunks_[memory];
            // Thread the free list through the blocks, first block first.
            for (std::size_t i = perChunk_; i-- > 0;) {
                char* block = memory + i * blockSize_;
                *reinterpret_cast<void**>(block) = chunk.freeList;
                chunk.freeList = block;
            }
            available_.insert(memory);
        }
        char* start = *available_.begin();
        Chunk& chunk = chunks_[start];
        void* block = chunk.freeList;
        chunk.freeList = *static_cast<void**>(block);
        if (++chunk.used == perChunk_) {
            available_.erase(start);
        }
        ++allocated_;
        return block;
    }

    void free(void* pointer) {
        char* p = static_cast<char*>(pointer);
        auto it = chunks_.upper_bound(p);
        if (p == nullptr || it == chunks_.begin()) {
            return;
        }
        --it;
        const std::size_t offset = static_cast<std::size_t>(p - it->first);
        if (offset >= blockSize_ * perChunk_ || offset % blockSize_ != 0 || it->second.used == 0) {
            return; // not a block of this pool
        }
        Chunk& chunk = it->second;
        *reinterpret_cast<void**>(p) = chunk.freeList;
        chunk.freeList = p;
        --chunk.used;
        --allocated_;
        available_.insert(it->first);
        if (chunk.used == 0 && !lazy_) {
            available_.erase(it->first);
            ::operator delete(it->first);
            chunks_.erase(it);
        }
    }

    void freeAll() {
        for (auto& entry : chunks_) {
            ::operator delete(entry.first);
        }
        chunks_.clear();
        available_.clear();
        allocated_ = 0;
    }

    void setLazy(bool lazy) {
        lazy_ = lazy;
        if (!lazy_) {
            for (auto it = chunks_.begin(); it != chunks_.end();) {
                if (it->second.used == 0) {
                    available_.erase(it->first);
                    ::operator delete(it->first);
                    it = chunks_.erase(it);
                } else {
                    ++it;
                }
            }
        }
    }

    std::size_t blockSize() const { return blockSize_; }
    std::size_t allocated() const { return allocated_; }
    std::size_t chunks() const { return chunks_.size(); }

private:
    struct Chunk {
        void* freeList = nullptr;
        std::size_t used = 0;
    };

    static std::size_t roundBlock(std::size_t size) {
        const std::size_t align = alignof(std::max_align_t);
        size = size < sizeof(void*) ? sizeof(void*) : size;
        return (size + align - 1) / align * align;
    }

    const std::size_t blockSize_;
    const std::size_t perChunk_;
    std::map<char*, Chunk> chunks_; // by start address, to find a block's chunk
    std::set<char*> available_;     // chunks with a free block, lowest address first
    std::size_t allocated_ = 0;
    bool lazy_ = false;
};

} // namespace detail

FSAllocator::FSAllocator(std::size_t blockSize, std::size_t blocksPerChunk)
    : impl_(new detail::FSAllocatorImpl(blockSize, blocksPerChunk)) {}

FSAllocator::~FSAllocator() {
    delete impl_;
}

void* FSAllocator::alloc() {
    return impl_->alloc();
}

void FSAllocator::free(void* block) {
    impl_->free(block);
}

void FSAllocator::freeAll() {
    impl_->freeAll();
}

void FSAllocator::setLazy(bool lazy) {
    impl_->setLazy(lazy);
}

std::size_t FSAllocator::blockSize() const {
    return impl_->blockSize();
}

std::size_t FSAllocator::numAllocated() const {
    return impl_->allocated();
}

std::size_t FSAllocator::numChunks() const {
    return impl_->chunks();
}

} // namespace kyOS
