#include "StringTestSupport.h"

#include <Base/String/kyStringConvert.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

using kyString::MBStoWCS;
using kyString::UTF8toWCS;
using kyString::WCStoMBS;
using kyString::WCStoUTF8;

namespace {

constexpr unsigned int kNul = 0xFFFFFFFFu;
constexpr bool kWide16 = sizeof(wchar_t) == 2;
constexpr wchar_t kFFFD = static_cast<wchar_t>(0xFFFD);

// Reference encoder for the differential checks: a scalar value as UTF-8 bytes.
void appendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

// Reference: a scalar value as wide units of this platform.
void appendWide(std::wstring& out, char32_t c) {
    if (kWide16 && c > 0xFFFF) {
        c -= 0x10000;
        out += static_cast<wchar_t>(0xD800 + (c >> 10));
        out += static_cast<wchar_t>(0xDC00 + (c & 0x3FF));
    } else {
        out += static_cast<wchar_t>(c);
    }
}

std::wstring decode(const std::string& bytes, bool* lossless = nullptr, bool keepBOM = false) {
    const unsigned int n = UTF8toWCS(bytes.data(), static_cast<unsigned int>(bytes.size()), nullptr,
                                     0, keepBOM, nullptr);
    std::wstring out(n + 1, L'\0');
    const unsigned int written = UTF8toWCS(bytes.data(), static_cast<unsigned int>(bytes.size()),
                                           &out[0], n + 1, keepBOM, lossless);
    EXPECT_EQ(written, n);
    out.resize(written);
    return out;
}

std::string encode(const std::wstring& wide, bool* lossless = nullptr) {
    const unsigned int n =
        WCStoUTF8(wide.data(), static_cast<unsigned int>(wide.size()), nullptr, 0, nullptr);
    std::string out(n + 1, '\0');
    const unsigned int written =
        WCStoUTF8(wide.data(), static_cast<unsigned int>(wide.size()), &out[0], n + 1, lossless);
    EXPECT_EQ(written, n);
    out.resize(written);
    return out;
}

bool cLocaleDecodesHighBytes() {
    return std::mbstowcs(nullptr, "\xE9", 0) != static_cast<size_t>(-1);
}

} // namespace

// MBStoWCS and WCStoMBS share a contract: a null output measures; 0 when the text and its NUL
// do not fit; a length short of the text (0 included) is refused, a longer one does not shorten
// it; a null or empty text is empty and lossless.
template <class To, class From, class Convert>
void expectLocaleConverterContract(Convert convert, const From* abc) {
    kytest::LocaleScope c({"C"});
    To out[8];
    bool lossless = false;
    EXPECT_EQ(convert(abc, kNul, nullptr, 0, &lossless), 3u);
    EXPECT_TRUE(lossless);
    EXPECT_EQ(convert(abc, kNul, out, 4, &lossless), 3u);
    EXPECT_TRUE(out[0] == To('a') && out[2] == To('c') && out[3] == To(0));
    EXPECT_EQ(convert(abc, kNul, out, 3, &lossless), 0u);
    EXPECT_EQ(convert(abc, 2, out, 8, &lossless), 0u);
    EXPECT_EQ(convert(abc, 0, nullptr, 0, nullptr), 0u);
    EXPECT_EQ(convert(abc, 100, out, 8, nullptr), 3u);
    EXPECT_EQ(convert(abc + 3, kNul, nullptr, 0, &lossless), 0u);
    lossless = false;
    EXPECT_EQ(convert(static_cast<const From*>(nullptr), kNul, out, 8, &lossless), 0u);
    EXPECT_TRUE(lossless);
}

TEST(LocaleConversion, MeasureConvertAndFit) {
    expectLocaleConverterContract<wchar_t>(MBStoWCS, "abc");
    expectLocaleConverterContract<char>(WCStoMBS, L"abc");
}

TEST(MBStoWCS, BytesTheLocaleCannotDecode) {
    kytest::LocaleScope c({"C"});
    bool lossless = true;
    wchar_t out[8];
    const unsigned int n = MBStoWCS("a\xE9z", kNul, out, 8, &lossless);
    EXPECT_EQ(n, 3u);
    if (cLocaleDecodesHighBytes()) {
        EXPECT_TRUE(lossless); // the Windows "C" locale maps bytes to U+0000..U+00FF
        EXPECT_EQ(out[1], static_cast<wchar_t>(0xE9));
    } else {
        EXPECT_FALSE(lossless);
        EXPECT_EQ(std::wcscmp(out, L"a?z"), 0);
    }
}

TEST(MBStoWCS, InvalidBytesInAMultibyteLocale) {
    auto utf8 = kytest::utf8Locale();
    if (!utf8.ok()) {
        GTEST_SKIP() << "no UTF-8 locale in this C library";
    }
    bool lossless = false;
    wchar_t out[16];
    EXPECT_EQ(MBStoWCS("caf\xC3\xA9", kNul, out, 16, &lossless), 4u);
    EXPECT_TRUE(lossless);
    EXPECT_EQ(out[3], static_cast<wchar_t>(0xE9));
    // Each invalid byte counts as one character and becomes '?'.
    EXPECT_EQ(MBStoWCS("a\xFF\xFE"
                       "b\xC3\xA9",
                       kNul, out, 16, &lossless),
              5u);
    EXPECT_FALSE(lossless);
    EXPECT_EQ(std::wstring(out), std::wstring(L"a??b") + wchar_t(0xE9));
    // A sequence cut short by the end of the text is one invalid byte per byte.
    EXPECT_EQ(MBStoWCS("x\xE4\xB8", kNul, out, 16, &lossless), 3u);
    EXPECT_EQ(std::wstring(out), L"x??");
}

TEST(WCStoMBS, CharactersTheCodePageLacksBecomeQuestionMarks) {
    kytest::LocaleScope c({"C"});
    const wchar_t text[] = {L'a', 0x4E2D, L'b', 0};
    bool lossless = true;
    char out[8];
    EXPECT_EQ(WCStoMBS(text, kNul, nullptr, 0, &lossless), 3u);
    EXPECT_EQ(WCStoMBS(text, kNul, out, 8, &lossless), 3u);
    EXPECT_FALSE(lossless);
    EXPECT_STREQ(out, "a?b");
}

TEST(WCStoMBS, TwoByteCharactersAreReplacedOnceConversionFails) {
    auto utf8 = kytest::utf8Locale();
    if (!utf8.ok()) {
        GTEST_SKIP() << "no UTF-8 locale in this C library";
    }
    bool lossless = false;
    char out[16];
    // An unencodable unit makes the whole conversion fall back to one byte per character, and
    // U+00E9, which needs two bytes, becomes '?' too (kept on purpose).
    const wchar_t bad[] = {0xE9, static_cast<wchar_t>(0xD800), L'z', 0};
    EXPECT_EQ(WCStoMBS(bad, kNul, out, 16, &lossless), 3u);
    EXPECT_FALSE(lossless);
    EXPECT_STREQ(out, "??z");
}

// UTF8toWCS and WCStoUTF8 share a contract: a null text gives 0 and is not lossless, an empty one
// is; a null output measures; 0 when the output is smaller than the measure, while an exact fit
// needs no room for a terminator; an explicit length converts only that much.
template <class To, class From, class Convert>
void expectUtfConverterContract(Convert convert, const std::basic_string<From>& text,
                                unsigned int measure, unsigned int prefix, unsigned int prefixOut) {
    bool lossless = true;
    EXPECT_EQ(convert(nullptr, kNul, nullptr, 0, &lossless), 0u);
    EXPECT_FALSE(lossless);
    EXPECT_EQ(convert(text.c_str(), 0, nullptr, 0, &lossless), 0u);
    EXPECT_TRUE(lossless);
    EXPECT_EQ(convert(text.c_str(), kNul, nullptr, 0, &lossless), measure);
    std::vector<To> out(measure + 1, To('x'));
    EXPECT_EQ(convert(text.c_str(), kNul, out.data(), measure - 1, &lossless), 0u);
    EXPECT_EQ(convert(text.c_str(), kNul, out.data(), measure, &lossless), measure);
    EXPECT_EQ(out[measure], To('x'));
    EXPECT_EQ(convert(text.c_str(), prefix, out.data(), measure + 1, &lossless), prefixOut);
}

TEST(UTF8, ConverterContract) {
    auto decodeTo = [](const char* s, unsigned int n, wchar_t* d, unsigned int size, bool* l) {
        return UTF8toWCS(s, n, d, size, false, l);
    };
    expectUtfConverterContract<wchar_t>(decodeTo, std::string("caf\xC3\xA9"), 4, 3, 3);
    const std::wstring wide = {L'c', wchar_t(0xE9), wchar_t(0x4E2D)};
    expectUtfConverterContract<char>(WCStoUTF8, wide, 6, 2, 3);
}

TEST(UTF8toWCS, CutSequencesEmbeddedNulsAndNoLosslessPointer) {
    bool lossless = true;
    wchar_t out[8];
    EXPECT_EQ(UTF8toWCS("caf\xC3\xA9", 4, out, 8, false, &lossless), 4u); // cut inside é
    EXPECT_FALSE(lossless);
    EXPECT_EQ(out[3], kFFFD);
    EXPECT_EQ(UTF8toWCS("a\0b", 3, out, 8, false, &lossless), 3u);
    EXPECT_EQ(std::wstring(out, 3), std::wstring(L"a\0b", 3));
    // Without a lossless pointer the conversion still runs (leniently).
    EXPECT_EQ(UTF8toWCS("\xFF", kNul, out, 8, false, nullptr), 1u);
    EXPECT_EQ(out[0], kFFFD);
}

TEST(UTF8toWCS, ByteOrderMark) {
    wchar_t out[8];
    bool lossless = false;
    EXPECT_EQ(UTF8toWCS("\xEF\xBB\xBFhi", kNul, out, 8, false, &lossless), 2u);
    EXPECT_EQ(std::wstring(out), L"hi");
    EXPECT_EQ(UTF8toWCS("\xEF\xBB\xBFhi", kNul, out, 8, true, &lossless), 3u);
    EXPECT_EQ(out[0], static_cast<wchar_t>(0xFEFF));
    // Nothing after the mark: 0, and not lossless.
    lossless = true;
    EXPECT_EQ(UTF8toWCS("\xEF\xBB\xBF", kNul, out, 8, false, &lossless), 0u);
    EXPECT_FALSE(lossless);
    // Fewer than three bytes are never a mark.
    EXPECT_EQ(UTF8toWCS("\xEF\xBB", 2, out, 8, false, &lossless), 1u);
    EXPECT_EQ(out[0], kFFFD);
}

// Each malformed sequence becomes U+FFFD per maximal malformed subsequence.
TEST(UTF8toWCS, MalformedSequences) {
    struct Case {
        std::string bytes;
        std::vector<char32_t> expected;
    };
    const char32_t R = 0xFFFD;
    const Case cases[] = {
        {"\x80", {R}},
        {"a\x80"
         "b",
         {'a', R, 'b'}},
        {"\xC0\x80", {R, R}}, // overlong NUL: C0 is never a lead byte
        {"\xC1\xBF", {R, R}},
        {"\xE0\x80\x80", {R, R, R}}, // overlong three-byte form
        {"\xE0\x9F\xBF", {R, R, R}},
        {"\xED\xA0\x80", {R, R, R}},        // encoded surrogate U+D800
        {"\xED\xBF\xBF", {R, R, R}},        // encoded surrogate U+DFFF
        {"\xF0\x80\x80\x80", {R, R, R, R}}, // overlong four-byte form
        {"\xF4\x90\x80\x80", {R, R, R, R}}, // beyond U+10FFFF
        {"\xF5\x80\x80\x80", {R, R, R, R}},
        {"\xFF", {R}},
        {"\xE4\xB8", {R}}, // cut short at the end: one replacement
        {"\xE4\xB8"
         "A",
         {R, 'A'}},
        {"\xF0\x9F\x98", {R}},
        {"\xF0\x9F\x98"
         "\xF0\x9F\x98\x80",
         {R, 0x1F600}},
        {"\xC3", {R}},
        {"\xC3\xC3\xA9", {R, 0xE9}},
        {"\xED\x9F\xBF", {0xD7FF}}, // the last scalar below the surrogates
        {"\xEE\x80\x80", {0xE000}},
        {"\xF4\x8F\xBF\xBF", {0x10FFFF}},
    };
    for (const Case& c : cases) {
        bool lossless = true;
        const std::wstring got = decode(c.bytes, &lossless);
        std::wstring expected;
        bool clean = true;
        for (char32_t x : c.expected) {
            appendWide(expected, x);
            clean = clean && x != R;
        }
        EXPECT_EQ(got, expected) << "bytes of length " << c.bytes.size();
        EXPECT_EQ(lossless, clean) << "bytes of length " << c.bytes.size();
    }
}

// Differential check: every scalar value, encoded by the reference encoder, decodes to the
// reference units and encodes back to the same bytes.
TEST(UTF8, EveryScalarValueRoundTrips) {
    std::string bytes;
    std::wstring wide;
    for (char32_t c = 1; c <= 0x10FFFF; ++c) {
        if (c >= 0xD800 && c <= 0xDFFF) {
            continue;
        }
        appendUtf8(bytes, c);
        appendWide(wide, c);
    }
    bool lossless = false;
    const std::wstring decoded = decode(bytes, &lossless);
    EXPECT_TRUE(lossless);
    ASSERT_EQ(decoded.size(), wide.size());
    EXPECT_TRUE(decoded == wide);
    lossless = false;
    const std::string encoded = encode(wide, &lossless);
    EXPECT_TRUE(lossless);
    EXPECT_TRUE(encoded == bytes);
}

TEST(WCStoUTF8, UnpairedSurrogatesBecomeReplacementCharacters) {
    bool lossless = true;
    const std::wstring lone = {L'a', static_cast<wchar_t>(0xD800), L'b'};
    EXPECT_EQ(encode(lone, &lossless), "a\xEF\xBF\xBD"
                                       "b");
    EXPECT_FALSE(lossless);
    const std::wstring lowFirst = {static_cast<wchar_t>(0xDC00), static_cast<wchar_t>(0xD800)};
    EXPECT_EQ(encode(lowFirst, &lossless), "\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_FALSE(lossless);
    if (kWide16) {
        const std::wstring pair = {static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(0xDE00)};
        EXPECT_EQ(encode(pair, &lossless), "\xF0\x9F\x98\x80");
        EXPECT_TRUE(lossless);
        const std::wstring cut = {static_cast<wchar_t>(0xD83D)};
        EXPECT_EQ(encode(cut, &lossless), "\xEF\xBF\xBD");
        EXPECT_FALSE(lossless);
    } else {
        const std::wstring big = {static_cast<wchar_t>(0x110000), static_cast<wchar_t>(-1)};
        EXPECT_EQ(encode(big, &lossless), "\xEF\xBF\xBD\xEF\xBF\xBD");
        EXPECT_FALSE(lossless);
        const std::wstring astral = {static_cast<wchar_t>(0x1F600)};
        EXPECT_EQ(encode(astral, &lossless), "\xF0\x9F\x98\x80");
        EXPECT_TRUE(lossless);
    }
}

TEST(DetectUTF8BOM, Rules) {
    EXPECT_EQ(kyString::detectUTF8BOM("\xEF\xBB\xBFx", 4), 3);
    EXPECT_EQ(kyString::detectUTF8BOM("\xEF\xBB\xBF", -1), 3);
    EXPECT_EQ(kyString::detectUTF8BOM("\xEF\xBB\xBF", 2), 0);
    EXPECT_EQ(kyString::detectUTF8BOM("\xEF\xBB", -1), 0); // stops at the NUL
    EXPECT_EQ(kyString::detectUTF8BOM("abc", 3), 0);
    EXPECT_EQ(kyString::detectUTF8BOM("\xEF\xBB\xBF", 0), 0);
    EXPECT_EQ(kyString::detectUTF8BOM("\xEF\xBB\xBF", -2), 0);
    EXPECT_EQ(kyString::detectUTF8BOM(nullptr, -1), 0);
}

TEST(Convert, DefaultsAndPlatformMeasure) {
    EXPECT_EQ(kyString::getDefaultMBChar(), '?');
    EXPECT_EQ(kyString::getDefaultWChar(), L'?');
    EXPECT_EQ(kyString::getMultiByteStringSize(nullptr, "abcd", 0), 4u);
    wchar_t out[8];
    EXPECT_EQ(kyString::getMultiByteStringSize(out, "abcd", 8), 4u);
    EXPECT_EQ(std::wcscmp(out, L"abcd"), 0);
    EXPECT_EQ(kyString::getMultiByteStringSize(out, "abcd", 2), 2u);
    EXPECT_EQ(kyString::getMultiByteStringSize(nullptr, nullptr, 0), 0xFFFFFFFFu);
}
