// ioChecksum.cpp - the ones'-complement sum, sixteen bytes at a time. Ones'-complement addition
// is associative and commutative and folds from wider words exactly: adding 32-bit
// little-endian words into a 64-bit accumulator and folding at the end gives the sum of the
// 16-bit words.
#include <Base/IO/internal/ioChecksum.h>

namespace ioDetail {

namespace {

inline std::uint64_t fold(std::uint64_t acc) {
    while ((acc >> 16) != 0) {
        acc = (acc & 0xFFFF) + (acc >> 16);
    }
    return acc;
}

// A little-endian 32-bit word (compilers make this one load).
inline std::uint32_t little32(const unsigned char* p) {
    return static_cast<std::uint32_t>(p[0] | (p[1] << 8) | (p[2] << 16)) +
           (static_cast<std::uint32_t>(p[3]) << 24);
}

} // namespace

std::uint16_t checksumAdd(std::uint16_t sum, const void* data, std::size_t size) {
    const unsigned char* p = static_cast<const unsigned char*>(data);
    std::uint64_t acc = sum;
    // Four independent lanes of 32-bit words, sixteen bytes a round: the adds do not wait for
    // one another. Each pass adds at most 2^18 words to a lane: no overflow of 64 bits.
    while (size >= 16) {
        std::size_t words = (size / 16) * 4;
        if (words > (std::size_t{1} << 20)) {
            words = std::size_t{1} << 20;
        }
        std::uint64_t lane[4] = {0, 0, 0, 0};
        for (std::size_t i = 0; i < words; i += 4, p += 16) {
            for (int j = 0; j < 4; ++j) {
                lane[j] += little32(p + 4 * j);
            }
        }
        acc = fold(acc + fold(lane[0]) + fold(lane[1]) + fold(lane[2]) + fold(lane[3]));
        size -= words * 4;
    }
    for (; size >= 2; size -= 2, p += 2) {
        acc += static_cast<std::uint32_t>(p[0] | (p[1] << 8));
    }
    if (size == 1) {
        acc += p[0];
    }
    return static_cast<std::uint16_t>(fold(acc));
}

} // namespace ioDetail
