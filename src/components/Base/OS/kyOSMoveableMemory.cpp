// kyOSMoveableMemory.cpp - segments, the best-fit free tree and the mappings of moveable memory.
#include <Base/OS/kyOSMoveableMemory.h>

#include <Base/OS/internal/kyOSBestFitBlocks.h>
#include <Base/OS/internal/kyOSFileCalls.h>
#include <Base/OS/kyOSFile.h>
#include <Base/OS/kyOSFileStatus.h>
#include <Base/OS/kyOSFilename.h>
#include <Base/OS/kyOSMemoryMappedFile.h>
#include <Base/OS/kyOSUuid.h>
#include <Base/Utility/kyImplBase.h>

#include <cstdint>
#include <map>
#include <set>
#include <utility>

namespace kyOS {
namespace detail {

struct MoveableSegment;

// A range of a segment, free or given out; the blocks of a segment form a list in offset
// order that covers it without gaps.
struct MoveableBlock {
    std::uint64_t size;
    std::uint64_t offset;
    MoveableSegment* segment;
    bool free;
    MoveableBlock* prev;
    MoveableBlock* next;
    std::multimap<std::uint64_t, MoveableBlock*>::iterator inTree; // valid while free and listed
    bool listed;
};

struct MoveableSegment {
    MemoryMappedFile file;
    std::uint64_t size = 0;
    MoveableBlock* first = nullptr;
};

class MoveableMappingImpl {
public:
    MoveableMemoryImpl* memory;
    MoveableBlock* block;
    FileMapping view;
};

class MoveableMemoryImpl : public ky::ImplBase {
public:
    MoveableMemoryImpl(std::uint64_t segmentSize, std::uint64_t limit)
        : segmentSize_(roundUp(segmentSize == 0 ? kGranule : segmentSize)),
          smallLimit_(limit > segmentSize_ ? segmentSize_ : limit) {
        stats_ = MoveableMemory::Stats{FileMapping::getGranularity(), 0, 0, 0, 0, 0};
    }
    ~MoveableMemoryImpl() override {
        for (MoveableSegment* segment : segments_) {
            deleteBlocks(segment);
            delete segment;
        }
    }

    bool initializeFiles(const kyString::IString& directory, const kyString::IString& prefix) {
        FileStatus status;
        if (directory.isEmpty() || prefix.isEmpty() || File::query(directory, status).code() != 0 ||
            !status.isDirectory()) {
            return false;
        }
        directory_ = directory;
        prefix_ = prefix;
        filesReady_ = true;
        return true;
    }

    ky::Reference<MoveableMapping> allocate(std::uint64_t size) {
        if (size == 0 || !filesReady_) {
            return ky::Reference<MoveableMapping>();
        }
        MoveableBlock* block = nullptr;
        if (size > smallLimit_) {
            MoveableSegment* segment = createSegment(size);
            if (segment == nullptr) {
                return ky::Reference<MoveableMapping>();
            }
            block = segment->first;
        } else {
            const std::uint64_t rounded = roundUp(size);
            block = blocks_.takeFit(rounded); // the first of the smallest that fit
            if (block == nullptr) {
                MoveableSegment* segment = spare_;
                spare_ = nullptr;
                if (segment == nullptr && (segment = createSegment(segmentSize_)) == nullptr) {
                    return ky::Reference<MoveableMapping>();
                }
                block = segment->first;
            }
            if (block->size - rounded > kGranule) {
                block = blocks_.split(block, rounded);
            } // else the excess, one granule at most, deliberately stays in the allocation
        }
        block->free = false;
        stats_.allocations += 1;
        stats_.allocatedBytes += block->size;
        return ky::Reference<MoveableMapping>(
            new MoveableMapping(new MoveableMappingImpl{this, block, FileMapping()}));
    }

    void* map(MoveableMappingImpl& m) {
        if (!m.view) {
            m.view = m.block->segment->file.map(static_cast<std::int64_t>(m.block->offset),
                                                m.block->size);
            if (m.view) {
                stats_.mappedBytes += m.block->size;
            }
        }
        return m.view.getPtr();
    }

    void unmap(MoveableMappingImpl& m) {
        if (m.view) {
            (void)m.view.unmap(); // a refused unmap leaves nothing this object could retry
            stats_.mappedBytes -= m.block->size;
        }
    }

    // The last reference to a mapping went. Returns true when this state should go too (its
    // memory was destroyed and this was its last allocation).
    bool release(MoveableMappingImpl& m) {
        unmap(m);
        MoveableBlock* block = m.block;
        stats_.allocations -= 1;
        stats_.allocatedBytes -= block->size;
        block = blocks_.release(block);
        MoveableSegment* segment = block->segment;
        if (block->offset == 0 && block->size == segment->size) {
            if (keepSpare_ && spare_ == nullptr && segment->size == segmentSize_ && !orphaned_) {
                spare_ = segment;
            } else {
                destroySegment(segment);
            }
        } else {
            blocks_.list(block);
        }
        return orphaned_ && stats_.allocations == 0;
    }

    // The owning MoveableMemory is gone; true when nothing else holds this state.
    bool orphan() {
        orphaned_ = true;
        if (spare_ != nullptr) {
            destroySegment(spare_);
            spare_ = nullptr;
        }
        return stats_.allocations == 0;
    }

    MoveableMemory::Stats getStats() {
        if (spare_ != nullptr) {
            destroySegment(spare_);
            spare_ = nullptr;
        }
        return stats_;
    }

    const MoveableMemory::Stats& stats() const { return stats_; }
    std::uint64_t segmentSize() const { return segmentSize_; }
    std::uint64_t smallLimit() const { return smallLimit_; }

private:
    static constexpr std::uint64_t kGranule = MoveableMemory::kGranule;

    static std::uint64_t roundUp(std::uint64_t size) {
        return (size + kGranule - 1) / kGranule * kGranule;
    }

    MoveableSegment* createSegment(std::uint64_t size) {
        if (!filesReady_) {
            return nullptr;
        }
        Uuid id;
        (void)id.generate(); // an all-zero identifier still gives a usable name
        kyString::IString leaf;
        leaf.format(L"%S-%d-%s", prefix_.asWChar(), fileCalls().processId(),
                    id.asString().asChar());
        MoveableSegment* segment = new MoveableSegment;
        if (!segment->file.createFile(Filename::join(directory_, leaf),
                                      static_cast<std::int64_t>(size), true)) {
            delete segment;
            return nullptr;
        }
        segment->size = size;
        segment->first = new MoveableBlock{size, 0, segment, true, nullptr, nullptr, {}, false};
        segments_.insert(segment);
        ++segmentsCreated_;
        stats_.segments += 1;
        stats_.segmentBytes += size;
        return segment;
    }

    void destroySegment(MoveableSegment* segment) {
        stats_.segments -= 1;
        stats_.segmentBytes -= segment->size;
        segments_.erase(segment);
        deleteBlocks(segment);
        delete segment; // closing the file deletes it
    }

    void deleteBlocks(MoveableSegment* segment) {
        for (MoveableBlock* block = segment->first; block != nullptr;) {
            MoveableBlock* next = block->next;
            blocks_.unlist(block);
            delete block;
            block = next;
        }
        segment->first = nullptr;
    }

    const std::uint64_t segmentSize_;
    const std::uint64_t smallLimit_;
    const bool keepSpare_ = true;
    BestFitBlocks<MoveableBlock> blocks_;
    MoveableSegment* spare_ = nullptr;
    std::set<MoveableSegment*> segments_;
    std::uint64_t segmentsCreated_ = 0;
    bool filesReady_ = false;
    bool orphaned_ = false;
    kyString::IString directory_;
    kyString::IString prefix_;
    MoveableMemory::Stats stats_;
};

} // namespace detail

MoveableMapping::~MoveableMapping() {
    if (impl_->memory->release(*impl_)) {
        delete impl_->memory;
    }
    delete impl_;
}

std::uint64_t MoveableMapping::getSize() const {
    return impl_->block->size;
}

void* MoveableMapping::map() {
    return impl_->memory->map(*impl_);
}

void MoveableMapping::unmap() {
    impl_->memory->unmap(*impl_);
}

void* MoveableMapping::getPtr() const {
    return impl_->view.getPtr();
}

bool MoveableMapping::flush(const void* ptr, const void* end) {
    const char* base = static_cast<const char*>(impl_->view.getPtr());
    if (base == nullptr || ptr == nullptr || end == nullptr) {
        return false;
    }
    const char* from = static_cast<const char*>(ptr);
    const char* to = static_cast<const char*>(end);
    const std::uint64_t size = impl_->view.getSize();
    const std::uint64_t a = from <= base ? 0 : static_cast<std::uint64_t>(from - base);
    const std::uint64_t b = to <= base ? 0 : static_cast<std::uint64_t>(to - base);
    return impl_->view.flush(a > size ? size : a, b > size ? size : b);
}

std::uint64_t MoveableMapping::load(std::uint64_t from, std::uint64_t to) {
    return impl_->view.load(from, to);
}

MoveableMemory::MoveableMemory(std::uint64_t segmentSize, std::uint64_t smallAllocationLimit)
    : impl_(new detail::MoveableMemoryImpl(segmentSize, smallAllocationLimit)) {}

MoveableMemory::~MoveableMemory() {
    if (impl_->orphan()) {
        delete impl_;
    }
}

bool MoveableMemory::initializeFiles(const kyString::IString& directory,
                                     const kyString::IString& prefix) {
    return impl_->initializeFiles(directory, prefix);
}

ky::Reference<MoveableMapping> MoveableMemory::allocate(std::uint64_t size) {
    return impl_->allocate(size);
}

MoveableMemory::Stats MoveableMemory::getStats() {
    return impl_->getStats();
}

MoveableMemory::Stats MoveableMemory::peekStats() const {
    return impl_->stats();
}

std::uint64_t MoveableMemory::getSegmentSize() const {
    return impl_->segmentSize();
}

std::uint64_t MoveableMemory::getSmallAllocationLimit() const {
    return impl_->smallLimit();
}

} // namespace kyOS
