// kyHashFunction.cpp - byte hashing for the hash containers.
#include <Base/Containers/kyHashFunction.h>

#include <cstring>
#include <cwchar>

namespace ky {
namespace {

constexpr std::uint64_t kMul1 = 0x9E3779B97F4A7C15ull;
constexpr std::uint64_t kMul2 = 0xC2B2AE3D27D4EB4Full;

inline std::uint64_t rotl(std::uint64_t x, int r) {
    return (x << r) | (x >> (64 - r));
}

inline std::uint64_t load32(const unsigned char* p) {
    std::uint32_t w;
    std::memcpy(&w, p, 4);
    return w;
}

inline std::uint64_t load64(const unsigned char* p) {
    std::uint64_t w;
    std::memcpy(&w, p, 8);
    return w;
}

// Final avalanche, so that every input bit affects the low bits that pick the bucket.
inline std::uint64_t finish(std::uint64_t h) {
    h ^= h >> 33;
    h *= 0xFF51AFD7ED558CCDull;
    h ^= h >> 33;
    h *= 0xC4CEB9FE1A85EC53ull;
    h ^= h >> 33;
    return h;
}

} // namespace

HashValue hashfunction(const void* bytes, std::size_t count) {
    const unsigned char* p = static_cast<const unsigned char*>(bytes);
    std::uint64_t h = kMul1 ^ (count * kMul2);
    if (count >= 8) {
        // Whole words, then the last eight bytes (which may overlap the last whole word): no
        // byte-by-byte tail.
        const unsigned char* last = p + count - 8;
        while (p < last) {
            h = rotl(h ^ (load64(p) * kMul2), 31) * kMul1;
            p += 8;
        }
        h = rotl(h ^ (load64(last) * kMul2), 31) * kMul1;
    } else if (count >= 4) {
        const std::uint64_t w =
            load32(p) | (static_cast<std::uint64_t>(load32(p + count - 4)) << 32);
        h = rotl(h ^ (w * kMul2), 31) * kMul1;
    } else if (count > 0) {
        const std::uint64_t w = static_cast<std::uint64_t>(p[0]) |
                                (static_cast<std::uint64_t>(p[count / 2]) << 8) |
                                (static_cast<std::uint64_t>(p[count - 1]) << 16);
        h = rotl(h ^ (w * kMul2), 31) * kMul1;
    }
    return finish(h);
}

HashValue hashfunction(const unsigned int* words, std::size_t count) {
    return hashfunction(static_cast<const void*>(words), count * sizeof(unsigned int));
}

HashValue hashfunction(const char* text) {
    return hashfunction(static_cast<const void*>(text), std::strlen(text));
}

HashValue hashfunction(const wchar_t* text, std::size_t count) {
    return hashfunction(static_cast<const void*>(text), count * sizeof(wchar_t));
}

HashValue hashfunction(const char* begin, const char* end) {
    return hashfunction(static_cast<const void*>(begin), static_cast<std::size_t>(end - begin));
}

} // namespace ky
