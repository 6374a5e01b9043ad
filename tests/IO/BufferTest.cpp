// BufferTest.cpp - ioBuffer's buffered transfers against a plain string, over a buffer in memory.
#include "IOTestSupport.h"

#include <kyTestSupport.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

int gProgressCalls = 0;
int gProgressLast = 0;
void recordProgress(int total) {
    ++gProgressCalls;
    gProgressLast = total;
}

TEST(BufferTest, ExactlyFullIsPendingAndOneMoreWritesOneBlock) {
    iotest::MemoryBuffer b(false, 8);
    gProgressCalls = 0;
    b.associateProgressFunction(&recordProgress);
    b.write("12345678", 8);
    EXPECT_TRUE(b.blocks.empty());
    b.write("9", 1);
    EXPECT_EQ(b.blocks, std::vector<int>{8});
    b.write("", 0);
    b.write("x", -1);
    b.flush();
    EXPECT_EQ(b.sink, "123456789");
    EXPECT_EQ(b.getTotal(), 9);
    EXPECT_EQ(gProgressCalls, 2);
    EXPECT_EQ(gProgressLast, 9);
    iotest::MemoryBuffer big(false, 8); // more than a block at once: whole blocks, the rest pending
    big.write("abcdefghijklmnopqrst", 20);
    EXPECT_EQ(big.blocks, (std::vector<int>{8, 8}));
    EXPECT_EQ(big.getPosition(), 4);
}

TEST(BufferTest, BadStatusRefusesTransfersAndReadingBuffersDropWrites) {
    iotest::MemoryBuffer w(false, 4);
    w.write("ab", 2);
    w.setStatus(ioBufferError);
    w.write("cdefgh", 6);
    w.flush();
    EXPECT_TRUE(w.sink.empty());
    iotest::MemoryBuffer r(true, 4);
    r.source = "abcdef";
    char out[4];
    EXPECT_EQ(r.read(out, 0), 0);
    r.setStatus(ioBufferDiskFull);
    EXPECT_EQ(r.read(out, 4), 0);
    r.fill();
    EXPECT_TRUE(r.blocks.empty());
    r.write("abcdefghij", 10); // a reading buffer drops written bytes, never writes them
    EXPECT_TRUE(r.blocks.empty());
}

TEST(BufferTest, StatusPromotionAndFlushChain) {
    struct Row {
        ioBufferStatus below;
        bool includeEnd;
        ioBufferStatus expected;
    };
    const ioBufferStatus kept = ioBufferChecksumMismatch; // a good status below never clears it
    const Row rows[] = {
        {ioBufferGood, true, kept},
        {ioBufferOpenFailed, false, ioBufferOpenFailed},
        {ioBufferEndOfData, false, kept},
        {ioBufferEndOfData, true, ioBufferEndOfData},
        {ioBufferDiskFull, false, ioBufferDiskFull},
        {ioBufferEndOfCompressed, false, kept},
        {ioBufferEndOfCompressed, true, ioBufferEndOfCompressed},
        {ioBufferError, false, ioBufferError},
    };
    for (const Row& row : rows) {
        iotest::MemoryBuffer top(true, 4);
        top.setNext(new iotest::MemoryBuffer(true, 4));
        top.setStatus(kept);
        top.getNext()->setStatus(row.below);
        top.promoteStatusFromNext(row.includeEnd);
        EXPECT_EQ(top.getStatus(), row.expected) << row.below << " " << row.includeEnd;
    }
    iotest::MemoryBuffer top(false, 4);
    auto* below = new iotest::MemoryBuffer(false, 4);
    top.setNext(below);
    top.write("ab", 2);
    below->write("xyz", 3);
    top.flushChain();
    EXPECT_EQ(top.sink + below->sink, "abxyz");
    below->setStatus(ioBufferEndOfData); // flushChain takes over any failure below
    top.flushChain();
    EXPECT_EQ(top.getStatus(), ioBufferEndOfData);
    EXPECT_EQ(top.detachNext(), below);
    EXPECT_EQ(top.getNext(), nullptr);
    delete below;
}

// Random reads of random sizes through buffers of several capacities, over a source that
// gives short blocks, must see exactly the source; random writes must produce exactly it.
TEST(BufferTest, RandomTransfersMatchAPlainString) {
    kytest::Random random(20261123);
    for (int round = 0; round < 200; ++round) {
        std::string text(static_cast<std::size_t>(random.range(0, 3000)), '\0');
        for (char& c : text) {
            c = static_cast<char>(random.range(0, 255));
        }
        const int capacity = random.range(1, 300);
        iotest::MemoryBuffer r(true, capacity);
        r.source = text;
        r.blockLimit = random.range(1, capacity);
        std::string got;
        while (r.good()) {
            std::vector<char> chunk(static_cast<std::size_t>(random.range(1, 700)));
            got.append(chunk.data(), static_cast<std::size_t>(
                                         r.read(chunk.data(), static_cast<int>(chunk.size()))));
        }
        EXPECT_EQ(got, text) << "round " << round;
        EXPECT_EQ(r.getTotal(), static_cast<int>(text.size()));

        iotest::MemoryBuffer w(false, capacity);
        for (std::size_t at = 0, n = 0; at < text.size(); at += n) {
            n = std::min(text.size() - at, static_cast<std::size_t>(random.range(1, 700)));
            w.write(text.data() + at, static_cast<int>(n));
        }
        w.flush();
        EXPECT_EQ(w.sink, text) << "round " << round;
        EXPECT_TRUE(std::all_of(w.blocks.begin(), w.blocks.end(),
                                [&](int block) { return block <= capacity; }));
    }
}

} // namespace
