// BlockAllocatorTest.cpp - slot sizes, block carving, LIFO reuse, lazy mode and accounting.
#include <Base/Containers/kyBlockAllocator.h>

#include <kyTestSupport.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <set>
#include <vector>

#include <gtest/gtest.h>

namespace {

TEST(BlockAllocatorTest, SlotSizes) {
    struct Case {
        std::size_t requested;
        std::size_t slot;
    };
    for (const Case c :
         {Case{1, 8}, Case{4, 8}, Case{8, 8}, Case{9, 16}, Case{24, 24}, Case{30, 32}}) {
        ky::BlockAllocator pool(c.requested, 10);
        EXPECT_EQ(pool.elementSize(), c.slot) << c.requested;
        EXPECT_EQ(pool.blockBytes(), 10 * c.slot + 16) << c.requested;
    }
    ky::BlockAllocator zero(4, 0);
    EXPECT_EQ(zero.numElementsInBlock(), 1);
}

TEST(BlockAllocatorTest, HandsOutSlotsInOrderThenANewBlock) {
    ky::BlockAllocator pool(4, 10);
    std::vector<char*> slots;
    for (int i = 0; i < 10; ++i) {
        slots.push_back(static_cast<char*>(pool.alloc()));
    }
    for (int i = 1; i < 10; ++i) {
        EXPECT_EQ(slots[i] - slots[i - 1], 8) << "slot " << i;
    }
    char* eleventh = static_cast<char*>(pool.alloc());
    EXPECT_FALSE(eleventh >= slots.front() && eleventh <= slots.back());
    EXPECT_EQ(pool.numAllocated(), 11);
    EXPECT_EQ(pool.numFreed(), 0);
    // Every slot is aligned for pointers and doubles and writable in full.
    for (char* p : slots) {
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 8, 0u);
        std::memset(p, 0xAB, 8);
    }
}

TEST(BlockAllocatorTest, FreedObjectsComeBackLastFreedFirst) {
    ky::BlockAllocator pool(16, 10);
    void* a = pool.alloc();
    void* b = pool.alloc();
    void* c = pool.alloc();
    pool.free(a);
    pool.free(b);
    EXPECT_EQ(pool.numAllocated(), 1);
    EXPECT_EQ(pool.numFreed(), 2);
    EXPECT_EQ(pool.alloc(), b);
    EXPECT_EQ(pool.alloc(), a);
    EXPECT_EQ(pool.numFreed(), 0);
    EXPECT_EQ(pool.numAllocated(), 3);
    pool.free(nullptr); // ignored
    EXPECT_EQ(pool.numAllocated(), 3);
    pool.free(c);
    EXPECT_EQ(pool.alloc(), c);
}

TEST(BlockAllocatorTest, LazyModeDoesNotRecycle) {
    ky::BlockAllocator pool(8, 4);
    pool.setLazy();
    EXPECT_TRUE(pool.isLazy());
    void* a = pool.alloc();
    pool.free(a);
    EXPECT_EQ(pool.numAllocated(), 0);
    EXPECT_EQ(pool.numFreed(), 0);
    EXPECT_NE(pool.alloc(), a);
}

TEST(BlockAllocatorTest, BlockSizeChangesOnlyWhileEmpty) {
    ky::BlockAllocator pool(8, 10);
    pool.setNumElementsInBlock(3);
    EXPECT_EQ(pool.numElementsInBlock(), 3);
    EXPECT_EQ(pool.blockBytes(), 3 * 8 + 16u);
    void* p = pool.alloc();
    pool.setNumElementsInBlock(50); // ignored: a block exists
    EXPECT_EQ(pool.numElementsInBlock(), 3);
    pool.free(p);
    pool.setNumElementsInBlock(50); // still ignored: an object waits on the free list
    EXPECT_EQ(pool.numElementsInBlock(), 3);
    pool.freeEverything();
    EXPECT_EQ(pool.numAllocated(), 0);
    EXPECT_EQ(pool.numFreed(), 0);
    pool.setNumElementsInBlock(50);
    EXPECT_EQ(pool.numElementsInBlock(), 50);
}

TEST(BlockAllocatorTest, SwapExchangesPools) {
    ky::BlockAllocator a(8, 10);
    ky::BlockAllocator b(32, 2);
    void* fromA = a.alloc();
    a.swap(b);
    EXPECT_EQ(a.elementSize(), 32u);
    EXPECT_EQ(b.elementSize(), 8u);
    EXPECT_EQ(b.numAllocated(), 1);
    b.free(fromA);
    EXPECT_EQ(b.alloc(), fromA);
}

TEST(BlockAllocatorTest, RandomUseAgainstASetOfLiveObjects) {
    // Objects handed out are distinct while alive, and the counts always match.
    kytest::Random rnd(3);
    ky::BlockAllocator pool(24, 7);
    std::vector<void*> live;
    std::set<void*> distinct;
    for (int step = 0; step < 20000; ++step) {
        if (live.empty() || rnd.chance(55)) {
            void* p = pool.alloc();
            ASSERT_TRUE(distinct.insert(p).second) << "object handed out twice";
            std::memset(p, step & 0xFF, 24);
            live.push_back(p);
        } else {
            const std::size_t i =
                static_cast<std::size_t>(rnd.range(0, static_cast<int>(live.size()) - 1));
            std::swap(live[i], live.back());
            distinct.erase(live.back());
            pool.free(live.back());
            live.pop_back();
        }
        ASSERT_EQ(pool.numAllocated(), static_cast<int>(live.size()));
    }
}

} // namespace
