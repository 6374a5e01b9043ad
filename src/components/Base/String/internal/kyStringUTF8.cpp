// kyStringUTF8.cpp - the UTF-8 codec behind UTF8toWCS, WCStoUTF8 and the kUTF8 encoding.
#include <Base/String/internal/kyStringUTF8.h>

#include <cstdint>
#include <cstring>

// Runs of ASCII are the common case (names, paths, messages) and are converted 16 characters at
// a time; SSE2 is part of every x86-64 processor, other processors take the portable loop.
#if defined(__SSE2__)
#include <emmintrin.h>
#define KY_STRING_SSE2 1
#else
#define KY_STRING_SSE2 0
#endif

namespace kyString {
namespace detail {

namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr bool kWide16 = sizeof(wchar_t) == 2;
constexpr std::size_t kBlock = 16;

// True when the 16 bytes at `s` are all ASCII.
inline bool asciiBlock(const unsigned char* s) {
#if KY_STRING_SSE2
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s));
    return _mm_movemask_epi8(v) == 0;
#else
    std::uint64_t a;
    std::uint64_t b;
    std::memcpy(&a, s, 8);
    std::memcpy(&b, s + 8, 8);
    return ((a | b) & 0x8080808080808080ull) == 0;
#endif
}

// Widens 16 ASCII bytes into 16 wide units.
inline void widenBlock(const unsigned char* s, wchar_t* out) {
#if KY_STRING_SSE2
    const __m128i zero = _mm_setzero_si128();
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s));
    const __m128i lo16 = _mm_unpacklo_epi8(v, zero);
    const __m128i hi16 = _mm_unpackhi_epi8(v, zero);
    if constexpr (kWide16) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), lo16);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 8), hi16);
    } else {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_unpacklo_epi16(lo16, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4), _mm_unpackhi_epi16(lo16, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 8), _mm_unpacklo_epi16(hi16, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 12), _mm_unpackhi_epi16(hi16, zero));
    }
#else
    for (std::size_t i = 0; i < kBlock; ++i) {
        out[i] = static_cast<wchar_t>(s[i]);
    }
#endif
}

// True when the 16 wide units at `s` are all below 0x80.
inline bool asciiUnits(const wchar_t* s) {
#if KY_STRING_SSE2
    const __m128i* p = reinterpret_cast<const __m128i*>(s);
    if constexpr (kWide16) {
        const __m128i v = _mm_or_si128(_mm_loadu_si128(p), _mm_loadu_si128(p + 1));
        return _mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(v, _mm_set1_epi16(-128)),
                                                 _mm_setzero_si128())) == 0xFFFF;
    } else {
        const __m128i v =
            _mm_or_si128(_mm_or_si128(_mm_loadu_si128(p), _mm_loadu_si128(p + 1)),
                         _mm_or_si128(_mm_loadu_si128(p + 2), _mm_loadu_si128(p + 3)));
        return _mm_movemask_epi8(_mm_cmpeq_epi32(_mm_and_si128(v, _mm_set1_epi32(-128)),
                                                 _mm_setzero_si128())) == 0xFFFF;
    }
#else
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < kBlock; ++i) {
        bits |= static_cast<std::uint32_t>(s[i]);
    }
    return (bits & ~0x7Fu) == 0;
#endif
}

// Narrows 16 wide units below 0x80 into 16 bytes.
inline void narrowBlock(const wchar_t* s, char* out) {
#if KY_STRING_SSE2
    const __m128i* p = reinterpret_cast<const __m128i*>(s);
    __m128i bytes;
    if constexpr (kWide16) {
        bytes = _mm_packus_epi16(_mm_loadu_si128(p), _mm_loadu_si128(p + 1));
    } else {
        const __m128i a = _mm_packs_epi32(_mm_loadu_si128(p), _mm_loadu_si128(p + 1));
        const __m128i b = _mm_packs_epi32(_mm_loadu_si128(p + 2), _mm_loadu_si128(p + 3));
        bytes = _mm_packus_epi16(a, b);
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), bytes);
#else
    for (std::size_t i = 0; i < kBlock; ++i) {
        out[i] = static_cast<char>(s[i]);
    }
#endif
}

// The decoder runs once for measuring and once for writing: Out is a counter or a writer.
struct Counter {
    std::size_t n = 0;
    void block(const unsigned char*) { n += kBlock; }
    void put(char32_t c) { n += (kWide16 && c > 0xFFFF) ? 2 : 1; }
};

struct Writer {
    wchar_t* out;
    wchar_t* start;
    void block(const unsigned char* s) {
        widenBlock(s, out);
        out += kBlock;
    }
    void put(char32_t c) {
        if (kWide16 && c > 0xFFFF) {
            c -= 0x10000;
            *out++ = static_cast<wchar_t>(0xD800 + (c >> 10));
            *out++ = static_cast<wchar_t>(0xDC00 + (c & 0x3FF));
        } else {
            *out++ = static_cast<wchar_t>(c);
        }
    }
};

inline bool continuation(unsigned int b) {
    return (b & 0xC0) == 0x80;
}

template <class Out>
void decode(const unsigned char* s, std::size_t n, Out& out, bool* valid) {
    bool ok = true;
    const unsigned char* p = s;
    const unsigned char* const end = s + n;
    while (p < end) {
        const unsigned int lead = *p;
        if (lead < 0x80) {
            // A few characters one by one (mixed text has short ASCII runs); a longer run goes
            // on in blocks.
            const unsigned char* const stop = end - p > 8 ? p + 8 : end;
            while (p < stop && *p < 0x80) {
                out.put(*p++);
            }
            if (p == stop) {
                while (end - p >= static_cast<std::ptrdiff_t>(kBlock) && asciiBlock(p)) {
                    out.block(p);
                    p += kBlock;
                }
            }
            continue;
        }
        // Runs of well-formed two- and three-byte sequences (the bulk of European and CJK
        // text) take a tight loop; anything else the careful code below.
        const unsigned char* const runStart = p;
        if (lead >= 0xE1 && lead <= 0xEF) {
            while (end - p >= 3) {
                const unsigned int a = p[0];
                const unsigned int b = p[1];
                const unsigned int c = p[2];
                if (a < 0xE1 || a > 0xEF || a == 0xED || !continuation(b) || !continuation(c)) {
                    break;
                }
                out.put(((a & 0x0Fu) << 12) | ((b & 0x3Fu) << 6) | (c & 0x3Fu));
                p += 3;
            }
        } else if (lead >= 0xC2 && lead <= 0xDF) {
            while (end - p >= 2) {
                const unsigned int a = p[0];
                const unsigned int b = p[1];
                if (a < 0xC2 || a > 0xDF || !continuation(b)) {
                    break;
                }
                out.put(((a & 0x1Fu) << 6) | (b & 0x3Fu));
                p += 2;
            }
        }
        if (p != runStart) {
            continue;
        }
        // The allowed range of the first continuation byte excludes overlong forms (E0, F0),
        // surrogates (ED) and values beyond U+10FFFF (F4).
        unsigned int need;
        char32_t cp;
        unsigned int lo = 0x80;
        unsigned int hi = 0xBF;
        if (lead >= 0xC2 && lead <= 0xDF) {
            need = 1;
            cp = lead & 0x1F;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            need = 2;
            cp = lead & 0x0F;
            if (lead == 0xE0) {
                lo = 0xA0;
            } else if (lead == 0xED) {
                hi = 0x9F;
            }
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            need = 3;
            cp = lead & 0x07;
            if (lead == 0xF0) {
                lo = 0x90;
            } else if (lead == 0xF4) {
                hi = 0x8F;
            }
        } else {
            out.put(kReplacement);
            ok = false;
            ++p;
            continue;
        }
        const unsigned char* q = p + 1;
        unsigned int got = 0;
        while (got < need && q < end) {
            const unsigned int b = *q;
            if (b < lo || b > hi) {
                break;
            }
            cp = (cp << 6) | (b & 0x3F);
            lo = 0x80;
            hi = 0xBF;
            ++got;
            ++q;
        }
        if (got < need) {
            // The lead and the continuation bytes that fitted form one malformed subsequence;
            // decoding resumes at the byte that broke it.
            out.put(kReplacement);
            ok = false;
        } else {
            out.put(cp);
        }
        p = q;
    }
    if (valid) {
        *valid = ok;
    }
}

// The encoder, likewise for measuring and writing.
struct ByteCounter {
    std::size_t n = 0;
    void block(const wchar_t*) { n += kBlock; }
    void put1(unsigned char) { ++n; }
    void put(char32_t c) { n += c < 0x800 ? 2 : c < 0x10000 ? 3 : 4; }
};

struct ByteWriter {
    char* out;
    char* start;
    void block(const wchar_t* s) {
        narrowBlock(s, out);
        out += kBlock;
    }
    void put1(unsigned char b) { *out++ = static_cast<char>(b); }
    // `c` is at least 0x80.
    void put(char32_t c) {
        if (c < 0x800) {
            out[0] = static_cast<char>(0xC0 | (c >> 6));
            out[1] = static_cast<char>(0x80 | (c & 0x3F));
            out += 2;
        } else if (c < 0x10000) {
            out[0] = static_cast<char>(0xE0 | (c >> 12));
            out[1] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out[2] = static_cast<char>(0x80 | (c & 0x3F));
            out += 3;
        } else {
            out[0] = static_cast<char>(0xF0 | (c >> 18));
            out[1] = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            out[2] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out[3] = static_cast<char>(0x80 | (c & 0x3F));
            out += 4;
        }
    }
};

// The unit as an unsigned code value (wchar_t is signed on Linux).
inline char32_t unitValue(wchar_t w) {
    if constexpr (kWide16) {
        return static_cast<char16_t>(w);
    } else {
        return static_cast<char32_t>(w);
    }
}

template <class Out>
void encode(const wchar_t* s, std::size_t n, Out& out, bool* valid) {
    bool ok = true;
    std::size_t i = 0;
    while (i < n) {
        const char32_t c = unitValue(s[i]);
        if (c < 0x80) {
            const std::size_t stop = n - i > 8 ? i + 8 : n;
            while (i < stop && unitValue(s[i]) < 0x80) {
                out.put1(static_cast<unsigned char>(s[i]));
                ++i;
            }
            if (i == stop) {
                while (n - i >= kBlock && asciiUnits(s + i)) {
                    out.block(s + i);
                    i += kBlock;
                }
            }
            continue;
        }
        if (c >= 0xD800 && c <= 0xDFFF) {
            if (kWide16 && c <= 0xDBFF && i + 1 < n) {
                const char32_t low = unitValue(s[i + 1]);
                if (low >= 0xDC00 && low <= 0xDFFF) {
                    out.put(0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00));
                    i += 2;
                    continue;
                }
            }
            out.put(kReplacement);
            ok = false;
            ++i;
            continue;
        }
        if (c > 0x10FFFF) {
            out.put(kReplacement);
            ok = false;
            ++i;
            continue;
        }
        out.put(c);
        ++i;
    }
    if (valid) {
        *valid = ok;
    }
}

} // namespace

std::size_t utf8MeasureWide(const unsigned char* s, std::size_t n, bool* valid) {
    Counter c;
    decode(s, n, c, valid);
    return c.n;
}

std::size_t utf8DecodeWide(const unsigned char* s, std::size_t n, wchar_t* out, bool* valid) {
    Writer w{out, out};
    decode(s, n, w, valid);
    return static_cast<std::size_t>(w.out - w.start);
}

std::size_t utf8MeasureNarrow(const wchar_t* s, std::size_t n, bool* valid) {
    ByteCounter c;
    encode(s, n, c, valid);
    return c.n;
}

std::size_t utf8EncodeNarrow(const wchar_t* s, std::size_t n, char* out, bool* valid) {
    ByteWriter w{out, out};
    encode(s, n, w, valid);
    return static_cast<std::size_t>(w.out - w.start);
}

} // namespace detail
} // namespace kyString
