// ioChecksum.cpp - the ones'-complement sum, eight bytes at a time. Ones'-complement addition
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

} // namespace

std::uint16_t checksumAdd(std::uint16_t sum, const void* data, std::size_t size) {
    const unsigned char* p = static_cast<const unsigned char*>(data);
    std::uint64_t acc = sum;
    // Each round adds at most 2^20 words of 32 bits: no overflow of the 64-bit accumulator.
    while (size >= 8) {
        std::size_t words = (size / 8) * 2;
        if (words > (std::size_t{1} << 20)) {
            words = std::size_t{1} << 20;
        }
        std::uint64_t a = 0;
        std::uint64_t b = 0;
        for (std::size_t i = 0; i < words; i += 2, p += 8) {
            a += static_cast<std::uint32_t>(p[0] | (p[1] << 8) | (p[2] << 16)) +
                 (static_cast<std::uint32_t>(p[3]) << 24);
            b += static_cast<std::uint32_t>(p[4] | (p[5] << 8) | (p[6] << 16)) +
                 (static_cast<std::uint32_t>(p[7]) << 24);
        }
        acc = fold(acc + fold(a) + fold(b));
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
