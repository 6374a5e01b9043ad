// MemoryIOStreamTest.cpp - kyOS::MemoryIOStream against a plain string.
#include <Base/OS/kyOSFileTypes.h>
#include <Base/OS/kyOSMemoryIOStream.h>

#include <kyTestSupport.h>

#include <gtest/gtest.h>

#include <string>

namespace {

std::size_t below(kytest::Random& random, std::size_t n) {
    return static_cast<std::size_t>(random.range(0, static_cast<int>(n) - 1));
}

std::string readAll(kyOS::MemoryIOStream& s, std::size_t chunk) {
    std::string out;
    std::string buffer(chunk, '\0');
    for (;;) {
        std::size_t got = 0;
        const kyUtil::Error e = s.read(&buffer[0], chunk, &got);
        out.append(buffer, 0, got);
        if (e.failed()) {
            EXPECT_EQ(e.code(), kyOS::kFileErrEndOfFile);
            EXPECT_EQ(got, 0u);
            return out;
        }
        EXPECT_GT(got, 0u);
    }
}

TEST(MemoryIOStream, MatchesAStringForAnyBlockAndChunkSize) {
    kytest::Random random(7);
    for (std::size_t blockSize : {1u, 3u, 16u, 4096u, 65536u}) {
        for (int round = 0; round < 20; ++round) {
            SCOPED_TRACE(std::to_string(blockSize) + "/" + std::to_string(round));
            kyOS::MemoryIOStream s(blockSize);
            std::string reference;
            const int writes = static_cast<int>(below(random, 20));
            for (int w = 0; w < writes; ++w) {
                std::string piece(below(random, 300), '\0');
                for (char& c : piece) {
                    c = static_cast<char>(below(random, 256));
                }
                std::size_t put = 0;
                ASSERT_TRUE(s.write(piece.data(), piece.size(), &put).ok());
                EXPECT_EQ(put, piece.size());
                reference += piece;
            }
            EXPECT_EQ(s.size(), reference.size());
            EXPECT_EQ(s.numBlocks(), (reference.size() + blockSize - 1) / blockSize);
            EXPECT_EQ(readAll(s, 1 + below(random, 100)), reference);
            EXPECT_EQ(s.tell(), reference.size());
            // Random access agrees too.
            if (!reference.empty()) {
                const std::size_t at = below(random, reference.size());
                std::string part(reference.size() - at, '\0');
                EXPECT_EQ(s.copyOut(at, &part[0], part.size()), part.size());
                EXPECT_EQ(part, reference.substr(at));
            }
        }
    }
}

TEST(MemoryIOStream, EndOfData) {
    kyOS::MemoryIOStream s;
    char c = 'x';
    std::size_t got = 9;
    EXPECT_EQ(s.read(&c, 1, &got).code(), kyOS::kFileErrEndOfFile);
    EXPECT_EQ(got, 0u);
    EXPECT_TRUE(s.read(&c, 0, &got).ok()); // nothing asked, nothing wrong
    EXPECT_EQ(s.write(nullptr, 3, &got).code(), kyOS::kFileErrIO);
    EXPECT_EQ(s.size(), 0u);
    ASSERT_TRUE(s.write("ab", 2, nullptr).ok());
    EXPECT_EQ(s.read(nullptr, 1, &got).code(), kyOS::kFileErrIO);
    EXPECT_TRUE(s.read(&c, 1, nullptr).ok());
    EXPECT_EQ(c, 'a');
    EXPECT_FALSE(s.seek(3));
    EXPECT_TRUE(s.seek(2));
    EXPECT_EQ(s.read(&c, 1, &got).code(), kyOS::kFileErrEndOfFile);
    s.rewind();
    EXPECT_EQ(readAll(s, 5), "ab");
    s.clear();
    EXPECT_EQ(s.size(), 0u);
    EXPECT_EQ(s.numBlocks(), 0u);
    EXPECT_EQ(s.copyOut(0, &c, 1), 0u);
}

TEST(MemoryIOStream, CopiesShareBlocksUntilOneWrites) {
    kyOS::MemoryIOStream a(4);
    ASSERT_TRUE(a.write("abcdef", 6, nullptr).ok()); // one full block, one half
    kyOS::MemoryIOStream b(a);
    EXPECT_EQ(&a.block(0), &b.block(0));
    EXPECT_EQ(a.block(0).count(), 2);
    ASSERT_TRUE(a.write("gh", 2, nullptr).ok()); // the shared half block is copied first
    EXPECT_EQ(&a.block(0), &b.block(0));
    EXPECT_NE(&a.block(1), &b.block(1));
    EXPECT_EQ(readAll(a, 3), "abcdefgh");
    EXPECT_EQ(readAll(b, 3), "abcdef");
    ASSERT_TRUE(b.write("XY", 2, nullptr).ok());
    b.rewind();
    EXPECT_EQ(readAll(b, 8), "abcdefXY");
    a.rewind();
    EXPECT_EQ(readAll(a, 8), "abcdefgh");

    kyOS::MemoryIOStream c;
    c = a; // takes the read position as well
    EXPECT_EQ(c.tell(), a.tell());
    c.rewind();
    EXPECT_EQ(readAll(c, 2), "abcdefgh");
    a.clear();
    EXPECT_EQ(c.size(), 8u); // the blocks live while one stream holds them
}

} // namespace
