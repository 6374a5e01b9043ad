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
struct Tables {
    std::uint8_t sbox[256] = {};
    std::uint8_t inverse[256] = {};
    std::uint32_t te[256] = {}; // (2s, s, s, 3s): one column of SubBytes + MixColumns
    std::uint32_t td[256] = {}; // (14s, 9s, 13s, 11s) of the inverse S-box
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
        t.te[i] = pack(xtime(s), s, s, static_cast<std::uint8_t>(xtime(s) ^ s));
        const std::uint8_t v = t.inverse[i];
        t.td[i] = pack(gmul(v, 14), gmul(v, 9), gmul(v, 13), gmul(v, 11));
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

void encryptPortable(const unsigned char* schedule, unsigned char* block) {
    std::uint32_t s[4];
    for (int c = 0; c < 4; ++c) {
        s[c] = load32(block + 4 * c) ^ load32(schedule + 4 * c);
    }
    for (int round = 1; round < kRounds; ++round) {
        std::uint32_t t[4];
        for (int c = 0; c < 4; ++c) {
            // Row r of the new column c comes from column c + r (ShiftRows).
            t[c] = kTables.te[byteOf(s[c], 0)] ^ rotl32(kTables.te[byteOf(s[(c + 1) & 3], 1)], 8) ^
                   rotl32(kTables.te[byteOf(s[(c + 2) & 3], 2)], 16) ^
                   rotl32(kTables.te[byteOf(s[(c + 3) & 3], 3)], 24) ^
                   load32(schedule + 16 * round + 4 * c);
        }
        std::memcpy(s, t, sizeof s);
    }
    for (int c = 0; c < 4; ++c) {
        const std::uint32_t w =
            pack(kTables.sbox[byteOf(s[c], 0)], kTables.sbox[byteOf(s[(c + 1) & 3], 1)],
                 kTables.sbox[byteOf(s[(c + 2) & 3], 2)], kTables.sbox[byteOf(s[(c + 3) & 3], 3)]);
        store32(block + 4 * c, w ^ load32(schedule + 16 * kRounds + 4 * c));
    }
}

// The equivalent inverse cipher: round keys in reverse order, the inner ones passed through
// InvMixColumns (see CipherKey).
void decryptPortable(const unsigned char* inverseSchedule, unsigned char* block) {
    std::uint32_t s[4];
    for (int c = 0; c < 4; ++c) {
        s[c] = load32(block + 4 * c) ^ load32(inverseSchedule + 4 * c);
    }
    for (int round = 1; round < kRounds; ++round) {
        std::uint32_t t[4];
        for (int c = 0; c < 4; ++c) {
            // Row r of the new column c comes from column c - r (InvShiftRows).
            t[c] = kTables.td[byteOf(s[c], 0)] ^ rotl32(kTables.td[byteOf(s[(c + 3) & 3], 1)], 8) ^
                   rotl32(kTables.td[byteOf(s[(c + 2) & 3], 2)], 16) ^
                   rotl32(kTables.td[byteOf(s[(c + 1) & 3], 3)], 24) ^
                   load32(inverseSchedule + 16 * round + 4 * c);
        }
        std::memcpy(s, t, sizeof s);
    }
    for (int c = 0; c < 4; ++c) {
        const std::uint32_t w = pack(
            kTables.inverse[byteOf(s[c], 0)], kTables.inverse[byteOf(s[(c + 3) & 3], 1)],
            kTables.inverse[byteOf(s[(c + 2) & 3], 2)], kTables.inverse[byteOf(s[(c + 1) & 3], 3)]);
        store32(block + 4 * c, w ^ load32(inverseSchedule + 16 * kRounds + 4 * c));
    }
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
    for (std::size_t i = 0; i < count; ++i) {
        encryptPortable(key.encrypt, blocks + 16 * i);
    }
}

void decryptBlocks(const CipherKey& key, unsigned char* blocks, std::size_t count) {
    if (cipherUsesHardware()) {
        decryptHardware(key.decrypt, blocks, count);
        return;
    }
    for (std::size_t i = 0; i < count; ++i) {
        decryptPortable(key.decrypt, blocks + 16 * i);
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
        ioDetail::encryptPortable(schedule, block);
    }
}

void fdblhypcos2_(const unsigned char schedule[240], unsigned char block[16]) {
    unsigned char inverse[240];
    ioDetail::makeInverseSchedule(schedule, inverse);
    if (ioDetail::cipherUsesHardware()) {
        ioDetail::decryptHardware(inverse, block, 1);
    } else {
        ioDetail::decryptPortable(inverse, block);
    }
}

} // extern "C"
