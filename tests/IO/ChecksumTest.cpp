// ChecksumTest.cpp - the running ones'-complement sum against the RFC 1071 example and a plain
// word-by-word model.
#include <Base/IO/internal/ioChecksum.h>

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

// The definition, one word at a time with the end-around carry; an odd block ends in a word
// whose high byte is zero, and the sum is never complemented.
std::uint16_t model(std::uint16_t sum, const std::vector<unsigned char>& data) {
    std::uint32_t s = sum;
    for (std::size_t i = 0; i < data.size(); i += 2) {
        s += data[i] | (i + 1 < data.size() ? data[i + 1] << 8 : 0);
        s = (s & 0xFFFF) + (s >> 16);
    }
    return static_cast<std::uint16_t>(s);
}

TEST(Checksum, ExampleOfRfc1071) {
    // The RFC sums these bytes as big-endian words to 0xDDF2; as little-endian words the same
    // sum comes out byte-swapped.
    const unsigned char bytes[] = {0x00, 0x01, 0xF2, 0x03, 0xF4, 0xF5, 0xF6, 0xF7};
    EXPECT_EQ(ioDetail::checksumAdd(0, bytes, sizeof bytes), 0xF2DD);
    EXPECT_EQ(ioDetail::checksumAdd(0, bytes, 0), 0);
}

TEST(Checksum, MatchesTheWordByWordModelOnEverySize) {
    std::mt19937 random(3);
    for (std::size_t size :
         {1u, 2u, 3u, 7u, 8u, 9u, 15u, 16u, 17u, 1000u, 4096u, 4097u, (1u << 23) + 5u}) {
        std::vector<unsigned char> data(size);
        for (unsigned char& b : data) {
            b = static_cast<unsigned char>(size > 4096 ? 0xFF : random());
        }
        const std::uint16_t start = static_cast<std::uint16_t>(random());
        EXPECT_EQ(ioDetail::checksumAdd(start, data.data(), size), model(start, data)) << size;
    }
}

// Blocks go sixteen bytes a round: every start and every length around those rounds.
TEST(Checksum, MatchesTheModelAtEveryAlignmentAndLength) {
    std::mt19937 random(4);
    std::vector<unsigned char> area(200);
    for (unsigned char& b : area) {
        b = static_cast<unsigned char>(random());
    }
    for (std::size_t offset = 0; offset < 16; ++offset) {
        for (std::size_t size = 0; size + offset <= area.size(); ++size) {
            const std::vector<unsigned char> data(area.begin() + static_cast<long>(offset),
                                                  area.begin() + static_cast<long>(offset + size));
            EXPECT_EQ(ioDetail::checksumAdd(0x8001, area.data() + offset, size),
                      model(0x8001, data))
                << offset << " " << size;
        }
    }
}

} // namespace
