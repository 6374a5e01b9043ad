// ioCipher.cpp - AES-256 (FIPS-197): key expansion, a portable table-driven cipher, and the
// processor's AES instructions where it has them (checked once at run time; only the two
// functions that use them are compiled for them, so the library needs no special flags).
#include <Base/IO/internal/ioCipherBlocks.h>
#include <Base/IO/ioCipher.h>

#include <atomic>
#include <cstdint>
#include <cstring>

#if (defined(__x86_64__) || defined(__i386__)) && defined(__GNUC__)
#define KY_IO_CIPHER_X86 1
#include <cpuid.h>
#include <emmintrin.h>
#include <wmmintrin.h>
#endif

namespace ioDetail {

// Fixed on purpose: changing a byte makes every encrypted stream written before unreadable.
const unsigned char kCipherKey[32] = {
    0x6b, 0x79, 0x42, 0x61, 0x73, 0x65, 0x2d, 0x69, 0x6f, 0x2d, 0x8e, 0x31, 0xc4, 0x5a, 0x0f, 0x97,
    0x23, 0xd8, 0x71, 0xb6, 0x4e, 0x9a, 0x05, 0xe2, 0x3c, 0x68, 0xf1, 0x1d, 0xa7, 0x52, 0xbe, 0x09,
};

namespace {

constexpr int kRounds = 14;

constexpr std::uint8_t xtime(std::uint8_t a) {
    return static_cast<std::uint8_t>((a << 1) ^ ((a & 0x80) != 0 ? 0x1B : 0));
}

constexpr std::uint8_t gmul(std::uint8_t a, std::uint8_t b) {
    std::uint8_t r = 0;
    while (b != 0) {
        if ((b & 1) != 0) {
            r ^= a;
        }
        a = xtime(a);
        b = static_cast<std::uint8_t>(b >> 1);
    }
    return r;
}

constexpr std::uint8_t rotl8(std::uint8_t x, int s) {
    return static_cast<std::uint8_t>((x << s) | (x >> (8 - s)));
}

constexpr std::uint32_t rotl32(std::uint32_t x, int s) {
    return (x << s) | (x >> (32 - s));
}

constexpr std::uint32_t pack(std::uint8_t b0, std::uint8_t b1, std::uint8_t b2, std::uint8_t b3) {
    return static_cast<std::uint32_t>(b0) | (static_cast<std::uint32_t>(b1) << 8) |
           (static_cast<std::uint32_t>(b2) << 16) | (static_cast<std::uint32_t>(b3) << 24);
}

// The S-box from its definition (multiplicative inverse in GF(2^8), then the affine map),
// walking the field with the generator 3 and its inverse; and the round tables built on it.
// Each round table comes in four rotations, one per row, so that a round is lookups and
// exclusive ors only.
struct Tables {
    std::uint8_t sbox[256] = {};
    std::uint8_t inverse[256] = {};
    std::uint32_t te[4][256] = {}; // (2s, s, s, 3s) rotated by 8 * row: SubBytes + MixColumns
    std::uint32_t td[4][256] = {}; // (14s, 9s, 13s, 11s) of the inverse S-box, rotated alike
};

constexpr Tables makeTables() {
    Tables t;
    std::uint8_t p = 1;
    std::uint8_t q = 1;
    do {
        p = static_cast<std::uint8_t>(p ^ xtime(p)); // p * 3
        q = static_cast<std::uint8_t>(q ^ (q << 1)); // q / 3
        q = static_cast<std::uint8_t>(q ^ (q << 2));
        q = static_cast<std::uint8_t>(q ^ (q << 4));
        if ((q & 0x80) != 0) {
            q ^= 0x09;
        }
        const std::uint8_t x =
            static_cast<std::uint8_t>(q ^ rotl8(q, 1) ^ rotl8(q, 2) ^ rotl8(q, 3) ^ rotl8(q, 4));
        t.sbox[p] = static_cast<std::uint8_t>(x ^ 0x63);
    } while (p != 1);
    t.sbox[0] = 0x63;
    for (int i = 0; i < 256; ++i) {
        t.inverse[t.sbox[i]] = static_cast<std::uint8_t>(i);
    }
    for (int i = 0; i < 256; ++i) {
        const std::uint8_t s = t.sbox[i];
        const std::uint32_t e = pack(xtime(s), s, s, static_cast<std::uint8_t>(xtime(s) ^ s));
        const std::uint8_t v = t.inverse[i];
        const std::uint32_t d = pack(gmul(v, 14), gmul(v, 9), gmul(v, 13), gmul(v, 11));
        for (int r = 0; r < 4; ++r) {
            t.te[r][i] = r == 0 ? e : rotl32(e, 8 * r);
            t.td[r][i] = r == 0 ? d : rotl32(d, 8 * r);
        }
    }
    return t;
}

constexpr Tables kTables = makeTables();

inline std::uint32_t load32(const unsigned char* p) {
    return pack(p[0], p[1], p[2], p[3]);
}

inline void store32(unsigned char* p, std::uint32_t v) {
    p[0] = static_cast<unsigned char>(v);
    p[1] = static_cast<unsigned char>(v >> 8);
    p[2] = static_cast<unsigned char>(v >> 16);
    p[3] = static_cast<unsigned char>(v >> 24);
}

inline std::uint8_t byteOf(std::uint32_t w, int i) {
    return static_cast<std::uint8_t>(w >> (8 * i));
}

// The round keys as words, loaded once for a run of blocks.
struct RoundKeys {
    std::uint32_t w[4 * (kRounds + 1)];
    explicit RoundKeys(const unsigned char* schedule) {
        for (int i = 0; i < 4 * (kRounds + 1); ++i) {
            w[i] = load32(schedule + 4 * i);
        }
    }
};

void encryptPortable(const RoundKeys& keys, unsigned char* block) {
    const std::uint32_t* k = keys.w;
    std::uint32_t s0 = load32(block) ^ k[0];
    std::uint32_t s1 = load32(block + 4) ^ k[1];
    std::uint32_t s2 = load32(block + 8) ^ k[2];
    std::uint32_t s3 = load32(block + 12) ^ k[3];
    const auto& te = kTables.te;
    for (int round = 1; round < kRounds; ++round) {
        k += 4;
        const std::uint32_t t0 = te[0][byteOf(s0, 0)] ^ te[1][byteOf(s1, 1)] ^
                                 te[2][byteOf(s2, 2)] ^ te[3][byteOf(s3, 3)] ^ k[0];
        const std::uint32_t t1 = te[0][byteOf(s1, 0)] ^ te[1][byteOf(s2, 1)] ^
                                 te[2][byteOf(s3, 2)] ^ te[3][byteOf(s0, 3)] ^ k[1];
        const std::uint32_t t2 = te[0][byteOf(s2, 0)] ^ te[1][byteOf(s3, 1)] ^
                                 te[2][byteOf(s0, 2)] ^ te[3][byteOf(s1, 3)] ^ k[2];
        const std::uint32_t t3 = te[0][byteOf(s3, 0)] ^ te[1][byteOf(s0, 1)] ^
                                 te[2][byteOf(s1, 2)] ^ te[3][byteOf(s2, 3)] ^ k[3];
        s0 = t0;
        s1 = t1;
        s2 = t2;
        s3 = t3;
    }
    k += 4;
    const std::uint8_t* const sbox = kTables.sbox;
    store32(block, pack(sbox[byteOf(s0, 0)], sbox[byteOf(s1, 1)], sbox[byteOf(s2, 2)],
                        sbox[byteOf(s3, 3)]) ^
                       k[0]);
    store32(block + 4, pack(sbox[byteOf(s1, 0)], sbox[byteOf(s2, 1)], sbox[byteOf(s3, 2)],
                            sbox[byteOf(s0, 3)]) ^
                           k[1]);
    store32(block + 8, pack(sbox[byteOf(s2, 0)], sbox[byteOf(s3, 1)], sbox[byteOf(s0, 2)],
                            sbox[byteOf(s1, 3)]) ^
                           k[2]);
    store32(block + 12, pack(sbox[byteOf(s3, 0)], sbox[byteOf(s0, 1)], sbox[byteOf(s1, 2)],
                             sbox[byteOf(s2, 3)]) ^
                            k[3]);
}

// The equivalent inverse cipher: round keys in reverse order, the inner ones passed through
// InvMixColumns (see CipherKey).
void decryptPortable(const RoundKeys& keys, unsigned char* block) {
    const std::uint32_t* k = keys.w;
    std::uint32_t s0 = load32(block) ^ k[0];
    std::uint32_t s1 = load32(block + 4) ^ k[1];
    std::uint32_t s2 = load32(block + 8) ^ k[2];
    std::uint32_t s3 = load32(block + 12) ^ k[3];
    const auto& td = kTables.td;
    for (int round = 1; round < kRounds; ++round) {
        k += 4;
        const std::uint32_t t0 = td[0][byteOf(s0, 0)] ^ td[1][byteOf(s3, 1)] ^
                                 td[2][byteOf(s2, 2)] ^ td[3][byteOf(s1, 3)] ^ k[0];
        const std::uint32_t t1 = td[0][byteOf(s1, 0)] ^ td[1][byteOf(s0, 1)] ^
                                 td[2][byteOf(s3, 2)] ^ td[3][byteOf(s2, 3)] ^ k[1];
        const std::uint32_t t2 = td[0][byteOf(s2, 0)] ^ td[1][byteOf(s1, 1)] ^
                                 td[2][byteOf(s0, 2)] ^ td[3][byteOf(s3, 3)] ^ k[2];
        const std::uint32_t t3 = td[0][byteOf(s3, 0)] ^ td[1][byteOf(s2, 1)] ^
                                 td[2][byteOf(s1, 2)] ^ td[3][byteOf(s0, 3)] ^ k[3];
        s0 = t0;
        s1 = t1;
        s2 = t2;
        s3 = t3;
    }
    k += 4;
    const std::uint8_t* const inv = kTables.inverse;
    store32(block,
            pack(inv[byteOf(s0, 0)], inv[byteOf(s3, 1)], inv[byteOf(s2, 2)], inv[byteOf(s1, 3)]) ^
                k[0]);
    store32(block + 4,
            pack(inv[byteOf(s1, 0)], inv[byteOf(s0, 1)], inv[byteOf(s3, 2)], inv[byteOf(s2, 3)]) ^
                k[1]);
    store32(block + 8,
            pack(inv[byteOf(s2, 0)], inv[byteOf(s1, 1)], inv[byteOf(s0, 2)], inv[byteOf(s3, 3)]) ^
                k[2]);
    store32(block + 12,
            pack(inv[byteOf(s3, 0)], inv[byteOf(s2, 1)], inv[byteOf(s1, 2)], inv[byteOf(s0, 3)]) ^
                k[3]);
}

std::uint32_t invMixColumn(std::uint32_t w) {
    const std::uint8_t a0 = byteOf(w, 0), a1 = byteOf(w, 1), a2 = byteOf(w, 2), a3 = byteOf(w, 3);
    return pack(
        static_cast<std::uint8_t>(gmul(a0, 14) ^ gmul(a1, 11) ^ gmul(a2, 13) ^ gmul(a3, 9)),
        static_cast<std::uint8_t>(gmul(a0, 9) ^ gmul(a1, 14) ^ gmul(a2, 11) ^ gmul(a3, 13)),
        static_cast<std::uint8_t>(gmul(a0, 13) ^ gmul(a1, 9) ^ gmul(a2, 14) ^ gmul(a3, 11)),
        static_cast<std::uint8_t>(gmul(a0, 11) ^ gmul(a1, 13) ^ gmul(a2, 9) ^ gmul(a3, 14)));
}

void makeInverseSchedule(const unsigned char* schedule, unsigned char* inverse) {
    std::memcpy(inverse, schedule + 16 * kRounds, 16);
    for (int round = 1; round < kRounds; ++round) {
        for (int c = 0; c < 4; ++c) {
            store32(inverse + 16 * round + 4 * c,
                    invMixColumn(load32(schedule + 16 * (kRounds - round) + 4 * c)));
        }
    }
    std::memcpy(inverse + 16 * kRounds, schedule, 16);
}

#ifdef KY_IO_CIPHER_X86

bool detectHardware() {
    unsigned int a = 0, b = 0, c = 0, d = 0;
    return __get_cpuid(1, &a, &b, &c, &d) != 0 && (c & bit_AES) != 0;
}

// Eight blocks at a time keep the AES unit's pipeline busy; the rest one by one.
__attribute__((target("aes,sse2"))) void encryptHardware(const unsigned char* schedule,
                                                         unsigned char* blocks, std::size_t count) {
    __m128i k[kRounds + 1];
    for (int i = 0; i <= kRounds; ++i) {
        k[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(schedule + 16 * i));
    }
    __m128i* p = reinterpret_cast<__m128i*>(blocks);
    std::size_t i = 0;
    for (; i + 8 <= count; i += 8) {
        __m128i x[8];
        for (int j = 0; j < 8; ++j) {
            x[j] = _mm_xor_si128(_mm_loadu_si128(p + i + j), k[0]);
        }
        for (int r = 1; r < kRounds; ++r) {
            for (int j = 0; j < 8; ++j) {
                x[j] = _mm_aesenc_si128(x[j], k[r]);
            }
        }
        for (int j = 0; j < 8; ++j) {
            _mm_storeu_si128(p + i + j, _mm_aesenclast_si128(x[j], k[kRounds]));
        }
    }
    for (; i < count; ++i) {
        __m128i x = _mm_xor_si128(_mm_loadu_si128(p + i), k[0]);
        for (int r = 1; r < kRounds; ++r) {
            x = _mm_aesenc_si128(x, k[r]);
        }
        _mm_storeu_si128(p + i, _mm_aesenclast_si128(x, k[kRounds]));
    }
}

__attribute__((target("aes,sse2"))) void decryptHardware(const unsigned char* inverseSchedule,
                                                         unsigned char* blocks, std::size_t count) {
    __m128i k[kRounds + 1];
    for (int i = 0; i <= kRounds; ++i) {
        k[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(inverseSchedule + 16 * i));
    }
    __m128i* p = reinterpret_cast<__m128i*>(blocks);
    std::size_t i = 0;
    for (; i + 8 <= count; i += 8) {
        __m128i x[8];
        for (int j = 0; j < 8; ++j) {
            x[j] = _mm_xor_si128(_mm_loadu_si128(p + i + j), k[0]);
        }
        for (int r = 1; r < kRounds; ++r) {
            for (int j = 0; j < 8; ++j) {
                x[j] = _mm_aesdec_si128(x[j], k[r]);
            }
        }
        for (int j = 0; j < 8; ++j) {
            _mm_storeu_si128(p + i + j, _mm_aesdeclast_si128(x[j], k[kRounds]));
        }
    }
    for (; i < count; ++i) {
        __m128i x = _mm_xor_si128(_mm_loadu_si128(p + i), k[0]);
        for (int r = 1; r < kRounds; ++r) {
            x = _mm_aesdec_si128(x, k[r]);
        }
        _mm_storeu_si128(p + i, _mm_aesdeclast_si128(x, k[kRounds]));
    }
}

#else

bool detectHardware() {
    return false;
}

void encryptHardware(const unsigned char*, unsigned char*, std::size_t) {}
void decryptHardware(const unsigned char*, unsigned char*, std::size_t) {}

#endif

const bool kHardware = detectHardware();
std::atomic<bool> forcePortable{false};

} // namespace

CipherKey::CipherKey(const unsigned char key[32]) {
    fdblarccos2_(key, encrypt);
    makeInverseSchedule(encrypt, decrypt);
}

bool cipherHardwareAvailable() {
    return kHardware;
}

bool cipherUsesHardware() {
    return kHardware && !forcePortable.load(std::memory_order_relaxed);
}

void cipherForcePortable(bool portable) {
    forcePortable.store(portable, std::memory_order_relaxed);
}

void encryptBlocks(const CipherKey& key, unsigned char* blocks, std::size_t count) {
    if (cipherUsesHardware()) {
        encryptHardware(key.encrypt, blocks, count);
        return;
    }
    const RoundKeys keys(key.encrypt);
    for (std::size_t i = 0; i < count; ++i) {
        encryptPortable(keys, blocks + 16 * i);
    }
}

void decryptBlocks(const CipherKey& key, unsigned char* blocks, std::size_t count) {
    if (cipherUsesHardware()) {
        decryptHardware(key.decrypt, blocks, count);
        return;
    }
    const RoundKeys keys(key.decrypt);
    for (std::size_t i = 0; i < count; ++i) {
        decryptPortable(keys, blocks + 16 * i);
    }
}

} // namespace ioDetail

extern "C" {

void fdblarccos2_(const unsigned char key[32], unsigned char schedule[240]) {
    using namespace ioDetail;
    std::memcpy(schedule, key, 32);
    std::uint8_t rcon = 1;
    for (int i = 8; i < 60; ++i) {
        unsigned char t[4];
        std::memcpy(t, schedule + 4 * (i - 1), 4);
        if (i % 8 == 0) {
            const unsigned char first = t[0];
            t[0] = static_cast<unsigned char>(kTables.sbox[t[1]] ^ rcon);
            t[1] = kTables.sbox[t[2]];
            t[2] = kTables.sbox[t[3]];
            t[3] = kTables.sbox[first];
            rcon = xtime(rcon);
        } else if (i % 8 == 4) {
            for (unsigned char& b : t) {
                b = kTables.sbox[b];
            }
        }
        for (int j = 0; j < 4; ++j) {
            schedule[4 * i + j] = static_cast<unsigned char>(schedule[4 * (i - 8) + j] ^ t[j]);
        }
    }
}

void fdblhypsin2_(const unsigned char schedule[240], unsigned char block[16]) {
    if (ioDetail::cipherUsesHardware()) {
        ioDetail::encryptHardware(schedule, block, 1);
    } else {
        ioDetail::encryptPortable(ioDetail::RoundKeys(schedule), block);
    }
}

void fdblhypcos2_(const unsigned char schedule[240], unsigned char block[16]) {
    unsigned char inverse[240];
    ioDetail::makeInverseSchedule(schedule, inverse);
    if (ioDetail::cipherUsesHardware()) {
        ioDetail::decryptHardware(inverse, block, 1);
    } else {
        ioDetail::decryptPortable(ioDetail::RoundKeys(inverse), block);
    }
}

} // extern "C"
