// BufferTest.cpp - ioBuffer's buffered transfers against a plain string, over a buffer in memory.
#include <Base/IO/internal/ioBuffer.h>

#include <kyTestSupport.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

// A terminal buffer over a string: reads serve `source` in blocks of at most `blockLimit`
// bytes, writes append to `sink`; every block size is recorded.
class MemoryBuffer : public ioBuffer {
public:
    MemoryBuffer(bool reading, int capacity) : ioBuffer(reading, capacity) {}
    int getBufferType() override { return 99; }
    void close() override { closed = true; }
    int readBlock(char* data, int length) override {
        const int n =
            std::min<int>(std::min(length, blockLimit), static_cast<int>(source.size() - offset));
        blocks.push_back(n);
        if (n == 0) {
            setStatus(ioBufferEndOfData);
            return 0;
        }
        source.copy(data, static_cast<std::size_t>(n), offset);
        offset += static_cast<std::size_t>(n);
        return n;
    }
    void writeBlock(const char* data, int length) override {
        blocks.push_back(length);
        sink.append(data, static_cast<std::size_t>(length));
    }

    std::string source;
    std::size_t offset = 0;
    int blockLimit = 1 << 30;
    std::string sink;
    std::vector<int> blocks;
    bool closed = false;
};

std::string pattern(std::size_t n) {
    std::string s(n, '\0');
    for (std::size_t i = 0; i < n; ++i) {
        s[i] = static_cast<char>((i * 131 + 7) & 0xFF);
    }
    return s;
}

int gProgressCalls = 0;
int gProgressLast = 0;
void recordProgress(int total) {
    ++gProgressCalls;
    gProgressLast = total;
}

TEST(BufferTest, OneByteSourceReadsOneThenEnds) {
    MemoryBuffer b(true, 16);
    b.source = "x";
    char out[10] = {};
    EXPECT_EQ(b.read(out, 10), 1);
    EXPECT_EQ(out[0], 'x');
    EXPECT_EQ(b.getStatus(), ioBufferEndOfData);
    EXPECT_EQ(b.read(out, 10), 0);
    EXPECT_EQ(b.getStatus(), ioBufferEndOfData);
}

TEST(BufferTest, ExactlyFullIsPendingAndOneMoreWritesOneBlock) {
    MemoryBuffer b(false, 8);
    b.write("12345678", 8);
    EXPECT_TRUE(b.blocks.empty());
    EXPECT_EQ(b.getPosition(), 8);
    b.write("9", 1);
    ASSERT_EQ(b.blocks, std::vector<int>{8});
    EXPECT_EQ(b.sink, "12345678");
    EXPECT_EQ(b.getPosition(), 1);
    b.flush();
    EXPECT_EQ(b.sink, "123456789");
    EXPECT_EQ(b.getTotal(), 9);
}

TEST(BufferTest, LengthsBelowOneMoveNothing) {
    MemoryBuffer r(true, 4);
    r.source = "abc";
    char c = 0;
    EXPECT_EQ(r.read(&c, 0), 0);
    EXPECT_EQ(r.read(&c, -3), 0);
    EXPECT_TRUE(r.blocks.empty());
    MemoryBuffer w(false, 4);
    w.write("abc", 0);
    w.write("abc", -1);
    EXPECT_EQ(w.getPosition(), 0);
}

TEST(BufferTest, BadStatusRefusesTransfers) {
    MemoryBuffer w(false, 4);
    w.write("ab", 2);
    w.setStatus(ioBufferError);
    w.write("cdefgh", 6);
    w.flush();
    EXPECT_TRUE(w.sink.empty());
    EXPECT_EQ(w.getPosition(), 2);
    MemoryBuffer r(true, 4);
    r.source = "abcdef";
    r.setStatus(ioBufferDiskFull);
    char out[4];
    EXPECT_EQ(r.read(out, 4), 0);
    r.fill();
    EXPECT_TRUE(r.blocks.empty());
}

TEST(BufferTest, WritingIntoAReadingBufferDropsTheBytes) {
    MemoryBuffer b(true, 4);
    b.write("abcdefghij", 10);
    EXPECT_TRUE(b.blocks.empty());
    EXPECT_EQ(b.getPosition(), 2);
    b.flush();
    EXPECT_EQ(b.getPosition(), 0);
    EXPECT_EQ(b.getValid(), 0);
}

TEST(BufferTest, ProgressSeesTheRunningCount) {
    MemoryBuffer b(false, 4);
    gProgressCalls = 0;
    b.associateProgressFunction(&recordProgress);
    b.write("abcdefghij", 10);
    b.flush();
    EXPECT_EQ(gProgressCalls, 3);
    EXPECT_EQ(gProgressLast, 10);
    MemoryBuffer r(true, 4);
    r.source = "abcdef";
    gProgressCalls = 0;
    r.associateProgressFunction(&recordProgress);
    char out[6];
    EXPECT_EQ(r.read(out, 6), 6);
    EXPECT_EQ(gProgressLast, 6);
    EXPECT_EQ(gProgressCalls, 2);
}

TEST(BufferTest, StatusPromotionFollowsItsTable) {
    struct Row {
        ioBufferStatus below;
        bool includeEnd;
        ioBufferStatus expected;
    };
    const Row rows[] = {
        {ioBufferGood, true, ioBufferChecksumMismatch},
        {ioBufferOpenFailed, false, ioBufferOpenFailed},
        {ioBufferEndOfData, false, ioBufferChecksumMismatch},
        {ioBufferEndOfData, true, ioBufferEndOfData},
        {ioBufferDiskFull, false, ioBufferDiskFull},
        {ioBufferChecksumMismatch, false, ioBufferChecksumMismatch},
        {ioBufferEndOfCompressed, false, ioBufferChecksumMismatch},
        {ioBufferEndOfCompressed, true, ioBufferEndOfCompressed},
        {ioBufferError, false, ioBufferError},
    };
    for (const Row& row : rows) {
        MemoryBuffer top(true, 4);
        auto* below = new MemoryBuffer(true, 4);
        top.setNext(below);
        top.setStatus(ioBufferChecksumMismatch); // a status 0 below never clears it
        below->setStatus(row.below);
        top.promoteStatusFromNext(row.includeEnd);
        EXPECT_EQ(top.getStatus(), row.expected) << row.below << " " << row.includeEnd;
    }
}

TEST(BufferTest, FlushChainFlushesEveryLevelAndTakesTheFailureBelow) {
    MemoryBuffer top(false, 4);
    auto* below = new MemoryBuffer(false, 4);
    top.setNext(below);
    top.write("ab", 2);
    below->write("xyz", 3);
    top.flushChain();
    EXPECT_EQ(top.sink, "ab");
    EXPECT_EQ(below->sink, "xyz");
    EXPECT_TRUE(top.good());
    below->setStatus(ioBufferEndOfData);
    top.flushChain();
    EXPECT_EQ(top.getStatus(), ioBufferEndOfData);
    ioBuffer* detached = top.detachNext();
    EXPECT_EQ(detached, below);
    EXPECT_EQ(top.getNext(), nullptr);
    delete detached;
}

// Random reads of random sizes through buffers of several capacities and a source that
// gives short blocks must see exactly the source; random writes must produce exactly it.
TEST(BufferTest, RandomTransfersMatchAPlainString) {
    kytest::Random random(20261123);
    for (int round = 0; round < 200; ++round) {
        const std::string text = pattern(static_cast<std::size_t>(random.range(0, 3000)));
        const int capacity = random.range(1, 300);
        MemoryBuffer r(true, capacity);
        r.source = text;
        r.blockLimit = random.range(1, capacity);
        std::string got;
        while (r.good()) {
            std::vector<char> chunk(static_cast<std::size_t>(random.range(1, 700)));
            const int n = r.read(chunk.data(), static_cast<int>(chunk.size()));
            got.append(chunk.data(), static_cast<std::size_t>(n));
        }
        EXPECT_EQ(got, text) << "round " << round;
        EXPECT_EQ(r.getStatus(), ioBufferEndOfData);

        MemoryBuffer w(false, capacity);
        std::size_t at = 0;
        while (at < text.size()) {
            const std::size_t n =
                std::min(text.size() - at, static_cast<std::size_t>(random.range(1, 700)));
            w.write(text.data() + at, static_cast<int>(n));
            at += n;
        }
        w.flush();
        EXPECT_EQ(w.sink, text) << "round " << round;
        for (int block : w.blocks) {
            EXPECT_LE(block, capacity);
        }
    }
}

} // namespace
