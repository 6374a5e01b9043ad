// kyBlockAllocator.cpp - block pool for the node containers.
#include <Base/Containers/kyBlockAllocator.h>

#include <cstdlib>
#include <utility>

namespace ky {
namespace {

std::size_t slotBytes(std::size_t elementSize) {
    if (elementSize < 8) {
        return 8;
    }
    return (elementSize + 7) & ~static_cast<std::size_t>(7);
}

} // namespace

BlockAllocator::BlockAllocator(std::size_t elementSize, int numElementsInBlock)
    : elementSize_(slotBytes(elementSize)),
      numElementsInBlock_(numElementsInBlock < 1 ? 1 : numElementsInBlock),
      blockBytes_(static_cast<std::size_t>(numElementsInBlock_) * elementSize_ + kHeaderBytes) {}

BlockAllocator::~BlockAllocator() {
    freeEverything();
}

void BlockAllocator::swap(BlockAllocator& other) noexcept {
    std::swap(blocks_, other.blocks_);
    std::swap(freeList_, other.freeList_);
    std::swap(elementSize_, other.elementSize_);
    std::swap(numElementsInBlock_, other.numElementsInBlock_);
    std::swap(blockBytes_, other.blockBytes_);
    std::swap(numCarved_, other.numCarved_);
    std::swap(numDropped_, other.numDropped_);
    std::swap(lazy_, other.lazy_);
}

void BlockAllocator::setNumElementsInBlock(int n) {
    if (blocks_ != nullptr) {
        return;
    }
    numElementsInBlock_ = n < 1 ? 1 : n;
    blockBytes_ = static_cast<std::size_t>(numElementsInBlock_) * elementSize_ + kHeaderBytes;
}

int BlockAllocator::numFreed() const {
    // No more than the slots carved can be on the list: an object returned twice links the
    // list into a loop, and the count stops there rather than running forever.
    const int most = numCarved_ - numDropped_;
    int count = 0;
    for (const FreeSlot* slot = freeList_; slot != nullptr && count < most; slot = slot->next) {
        ++count;
    }
    return count;
}

void* BlockAllocator::allocFromNewBlock() {
    Block* block = static_cast<Block*>(std::malloc(blockBytes_));
    if (block == nullptr) {
        return nullptr;
    }
    block->used = 1;
    block->next = blocks_;
    blocks_ = block;
    ++numCarved_;
    return reinterpret_cast<char*>(block) + kHeaderBytes;
}

void BlockAllocator::freeEverything() {
    Block* block = blocks_;
    while (block != nullptr) {
        Block* next = block->next;
        std::free(block);
        block = next;
    }
    blocks_ = nullptr;
    freeList_ = nullptr;
    numCarved_ = 0;
    numDropped_ = 0;
}

} // namespace ky
