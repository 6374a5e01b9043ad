#include "StringTestSupport.h"

#include <Base/String/kyStringCharacter.h>

#include <gtest/gtest.h>

#include <cctype>
#include <cwctype>
#include <set>

using namespace kyString;

namespace {

// The 178 symbols, as ranges.
const std::set<unsigned int>& symbolSet() {
    static const std::set<unsigned int> symbols = [] {
        const unsigned int ranges[][2] = {
            {0x2103, 0x2103}, {0x2116, 0x2116}, {0x2121, 0x2121}, {0x2190, 0x2193},
            {0x21D2, 0x21D2}, {0x21D4, 0x21D4}, {0x2200, 0x2200}, {0x2202, 0x2203},
            {0x2207, 0x2208}, {0x220B, 0x220B}, {0x2211, 0x2211}, {0x221A, 0x221A},
            {0x221D, 0x2220}, {0x2225, 0x2225}, {0x2227, 0x222C}, {0x222E, 0x222E},
            {0x2234, 0x2235}, {0x223D, 0x223D}, {0x2252, 0x2252}, {0x2260, 0x2261},
            {0x2266, 0x2267}, {0x226A, 0x226B}, {0x2282, 0x2283}, {0x2286, 0x2287},
            {0x22A5, 0x22A5}, {0x22BF, 0x22BF}, {0x2312, 0x2312}, {0x2460, 0x2473},
            {0x2500, 0x2503}, {0x250C, 0x250C}, {0x250F, 0x2510}, {0x2513, 0x2514},
            {0x2517, 0x2518}, {0x251B, 0x251D}, {0x2520, 0x2520}, {0x2523, 0x2525},
            {0x2528, 0x2528}, {0x252B, 0x252C}, {0x252F, 0x2530}, {0x2533, 0x2534},
            {0x2537, 0x2538}, {0x253B, 0x253C}, {0x253F, 0x253F}, {0x2542, 0x2542},
            {0x254B, 0x254B}, {0x25A0, 0x25A1}, {0x25B2, 0x25B3}, {0x25BC, 0x25BD},
            {0x25C6, 0x25C7}, {0x25CB, 0x25CB}, {0x25CE, 0x25CF}, {0x25EF, 0x25EF},
            {0x2605, 0x2606}, {0x2640, 0x2640}, {0x2642, 0x2642}, {0x266A, 0x266A},
            {0x266D, 0x266D}, {0x266F, 0x266F}, {0x3005, 0x3005}, {0x3012, 0x3013},
            {0x309B, 0x309E}, {0x30FC, 0x30FE}, {0x3231, 0x3232}, {0x3239, 0x3239},
            {0x32A4, 0x32A8}, {0x3303, 0x3303}, {0x330D, 0x330D}, {0x3314, 0x3314},
            {0x3318, 0x3318}, {0x3322, 0x3323}, {0x3326, 0x3327}, {0x332B, 0x332B},
            {0x3336, 0x3336}, {0x333B, 0x333B}, {0x3349, 0x334A}, {0x334D, 0x334D},
            {0x3351, 0x3351}, {0x3357, 0x3357}, {0x337B, 0x337E}, {0x338E, 0x338F},
            {0x339C, 0x339E}, {0x33A1, 0x33A1}, {0x33C4, 0x33C4}, {0x33CD, 0x33CD},
            {0xFF04, 0xFF04}, {0xFF0B, 0xFF0B}, {0xFF1C, 0xFF1E}, {0xFF3E, 0xFF3E},
            {0xFF40, 0xFF40}, {0xFF5C, 0xFF5C}, {0xFF5E, 0xFF5E}, {0xFFE0, 0xFFE5},
        };
        std::set<unsigned int> s;
        for (const auto& r : ranges) {
            for (unsigned int c = r[0]; c <= r[1]; ++c) {
                s.insert(c);
            }
        }
        return s;
    }();
    return symbols;
}

// The wide rules against the C library's own predicates, for every BMP character, in the
// current locale.
void checkWideRules() {
    const auto& symbols = symbolSet();
    for (unsigned int u = 0; u <= 0xFFFF; ++u) {
        const wchar_t c = static_cast<wchar_t>(u);
        const std::wint_t w = static_cast<std::wint_t>(u);
        const bool inTable = symbols.count(u) != 0;
        ASSERT_EQ(isLetterModifier(c), inTable) << std::hex << u;
        ASSERT_EQ(isAlnum(c), std::iswalnum(w) != 0 || inTable) << std::hex << u;
        ASSERT_EQ(isAlpha(c), (std::iswalnum(w) != 0 || inTable) && std::iswdigit(w) == 0)
            << std::hex << u;
        ASSERT_EQ(isGraph(c), std::iswgraph(w) != 0 || inTable) << std::hex << u;
        ASSERT_EQ(isPrint(c), u != 9 && (std::iswprint(w) != 0 || inTable)) << std::hex << u;
        ASSERT_EQ(isPunct(c), std::iswpunct(w) != 0 && !inTable) << std::hex << u;
        ASSERT_EQ(isSpace(c), std::iswspace(w) != 0) << std::hex << u;
        ASSERT_EQ(toLower(c), static_cast<wchar_t>(std::towlower(w))) << std::hex << u;
        ASSERT_EQ(toUpper(c), static_cast<wchar_t>(std::towupper(w))) << std::hex << u;
        ASSERT_EQ(isUpper(c), std::iswupper(w) != 0) << std::hex << u;
        ASSERT_EQ(isLower(c), std::iswlower(w) != 0) << std::hex << u;
        ASSERT_EQ(isDigit(c), std::iswdigit(w) != 0) << std::hex << u;
        ASSERT_EQ(isXDigit(c), std::iswxdigit(w) != 0) << std::hex << u;
        ASSERT_EQ(isCntrl(c), std::iswcntrl(w) != 0) << std::hex << u;
        ASSERT_EQ(isAscii(c), u < 0x80) << std::hex << u;
        ASSERT_EQ(isTab(c), u == 9) << std::hex << u;
        ASSERT_EQ(isNewLine(c), u == 10 || u == 13) << std::hex << u;
    }
}

} // namespace

TEST(Character, TheSymbolTableHas178Entries) {
    EXPECT_EQ(symbolSet().size(), 178u);
}

TEST(Character, WideRulesInTheCLocale) {
    kytest::LocaleScope c({"C"});
    checkWideRules();
}

TEST(Character, WideRulesInAUTF8Locale) {
    auto utf8 = kytest::utf8Locale();
    if (!utf8.ok()) {
        GTEST_SKIP() << "no UTF-8 locale in this C library";
    }
    checkWideRules();
    // Full-width dollar is punctuation to the C library but a letter-like symbol here.
    EXPECT_NE(std::iswpunct(0xFF04), 0);
    EXPECT_FALSE(isPunct(static_cast<wchar_t>(0xFF04)));
}

TEST(Character, NarrowPredicatesTakeBytesAsUnsigned) {
    kytest::LocaleScope c({"C"});
    for (int b = 0; b < 256; ++b) {
        const char c8 = static_cast<char>(b);
        EXPECT_EQ(isUpper(c8), std::isupper(b) != 0);
        EXPECT_EQ(isLower(c8), std::islower(b) != 0);
        EXPECT_EQ(isDigit(c8), std::isdigit(b) != 0);
        EXPECT_EQ(isXDigit(c8), std::isxdigit(b) != 0);
        EXPECT_EQ(isAlnum(c8), std::isalnum(b) != 0);
        EXPECT_EQ(isAlpha(c8), std::isalnum(b) != 0 && std::isdigit(b) == 0);
        EXPECT_EQ(isPunct(c8), std::ispunct(b) != 0);
        EXPECT_EQ(isPrint(c8), std::isprint(b) != 0);
        EXPECT_EQ(isSpace(c8), std::isspace(b) != 0);
        EXPECT_EQ(isGraph(c8), std::isgraph(b) != 0);
        EXPECT_EQ(isCntrl(c8), std::iscntrl(b) != 0);
        EXPECT_EQ(isAscii(c8), b < 128);
        EXPECT_EQ(isTab(c8), b == 9);
        EXPECT_EQ(isNewLine(c8), b == 10 || b == 13);
        EXPECT_FALSE(isLetterModifier(c8));
        EXPECT_EQ(static_cast<unsigned char>(toUpper(c8)), std::toupper(b));
        EXPECT_EQ(static_cast<unsigned char>(toLower(c8)), std::tolower(b));
    }
}

TEST(Character, AsciiText) {
    EXPECT_TRUE(isAscii("plain text") && isAscii("") && isAscii(static_cast<const char*>(nullptr)));
    EXPECT_FALSE(isAscii("caf\xC3\xA9"));
}
