// BlockAllocatorTest.cpp - slot sizes, block carving, LIFO reuse, lazy mode and accounting.
#include <Base/Containers/kyBlockAllocator.h>

#include <kyTestSupport.h>

#include <cstdint>
#include <cstring>
#include <set>
#include <utility>
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
    // Every slot is aligned for pointers and doubles and writable in full.
    for (int i = 0; i < 10; ++i) {
        slots.push_back(static_cast<char*>(pool.alloc()));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(slots[i]) % 8, 0u);
        EXPECT_TRUE(i == 0 || slots[i] - slots[i - 1] == 8) << "slot " << i;
        std::memset(slots[i], 0xAB, 8);
    }
    char* eleventh = static_cast<char*>(pool.alloc());
    EXPECT_FALSE(eleventh >= slots.front() && eleventh <= slots.back());
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
    pool.free(pool.alloc());
    pool.free(p); // returned twice: the list loops on itself, and the counts still end
    EXPECT_EQ(pool.numFreed(), 1);
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

// Random allocations and frees, in lazy mode now and then, against a model: a freed object comes
// back last freed first, a lazily freed one never; nothing is handed out twice otherwise.
TEST(BlockAllocatorTest, RandomUseAgainstAModel) {
    kytest::Random rnd(3);
    ky::BlockAllocator pool(24, 7);
    std::vector<void*> live, freed; // freed: the free list, its head at the back
    std::set<void*> handedOut;
    for (int step = 0; step < 20000; ++step) {
        if (step % 1000 == 0) {
            pool.setLazy(rnd.chance(30));
        }
        if (live.empty() || rnd.chance(55)) {
            void* p = pool.alloc();
            if (!freed.empty()) {
                ASSERT_EQ(p, freed.back());
                freed.pop_back();
            } else {
                ASSERT_TRUE(handedOut.insert(p).second) << "object handed out twice";
            }
            std::memset(p, step & 0xFF, 24);
            live.push_back(p);
        } else {
            std::swap(live[static_cast<std::size_t>(rnd.range(0, int(live.size()) - 1))],
                      live.back());
            pool.free(live.back());
            if (!pool.isLazy()) {
                freed.push_back(live.back());
            }
            live.pop_back();
        }
        pool.free(nullptr); // ignored
        ASSERT_EQ(pool.numAllocated(), static_cast<int>(live.size()));
        ASSERT_EQ(pool.numFreed(), static_cast<int>(freed.size()));
    }
}

} // namespace
