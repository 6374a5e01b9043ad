#include "StringTestSupport.h"

#include <Base/String/kyStringCharacter.h>
#include <Base/String/kyStringIString.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <string>
#include <utility>

using kyString::CString;
using kyString::IString;
using kyString::kMultibyte;
using kyString::kNotFound;
using kyString::kUTF8;

namespace {

const wchar_t kZhong[] = {0x4E2D, 0}; // U+4E2D, absent from the ASCII and Latin code pages

} // namespace

// Construction, element access, containers and hashing are in SharedStringTest.cpp.
TEST(IString, ConstructorsFromNarrowText) {
    EXPECT_EQ(IString(L'w').str() + IString(2u, 'y').str() + IString('c').str(), L"wyyc");
    EXPECT_EQ(IString("narrow").str(), L"narrow");
    EXPECT_EQ(IString(CString("from cstring")).str(), L"from cstring");
}

// Narrow text in an encoding, through the constructors and assign alike: the wide text and
// whether it converted without loss. The byte-order mark is dropped; nothing after it is a loss.
TEST(IString, NarrowTextReportsLoss) {
    const struct {
        const char* bytes;
        kyString::Encoding encoding;
        std::wstring wide;
        bool lossless;
    } cases[] = {
        {nullptr, kMultibyte, L"", true},
        {"", kUTF8, L"", true},
        {"caf\xC3\xA9", kUTF8, std::wstring(L"caf") + wchar_t(0xE9), true},
        {"a\xC3", kUTF8, std::wstring(L"a") + wchar_t(0xFFFD), false},
        {"\xEF\xBB\xBFx", kUTF8, L"x", true},
        {"\xEF\xBB\xBF", kUTF8, L"", false},
        {"plain", kMultibyte, L"plain", true},
    };
    for (const auto& c : cases) {
        bool viaConstructor = !c.lossless, viaAssign = !c.lossless, viaCString = !c.lossless;
        const IString s(c.bytes, c.encoding, &viaConstructor);
        IString t(L"old");
        t.assign(c.bytes, c.encoding, &viaAssign);
        const IString u(CString(c.bytes), c.encoding, &viaCString);
        EXPECT_TRUE(s.str() == c.wide && t.str() == c.wide && u.str() == c.wide) << c.wide.size();
        EXPECT_TRUE(viaConstructor == c.lossless && viaAssign == c.lossless) << c.wide.size();
        EXPECT_EQ(viaCString, c.lossless) << c.wide.size();
    }
    bool lossless = false;
    IString fromChar('\x41', kUTF8, &lossless);
    fromChar.assign(CString("B"), kMultibyte, &lossless);
    EXPECT_TRUE(fromChar.str() == L"B" && lossless);
    fromChar = "narrow";
    EXPECT_EQ(fromChar.str(), L"narrow");
}

TEST(IString, UTF8RoundTrip) {
    const char text[] = "\xE4\xB8\xAD\xE6\x96\x87 / \xF0\x9F\x98\x80 / \xC3\xA9";
    bool lossless = false;
    IString s(text, kUTF8, &lossless);
    EXPECT_TRUE(lossless);
    EXPECT_EQ(s.length(), sizeof(wchar_t) == 2 ? 11u : 10u); // U+1F600 is a pair in UTF-16
    lossless = false;
    EXPECT_STREQ(s.asUTF8(&lossless), text);
    EXPECT_TRUE(lossless);
    EXPECT_EQ(s.asUTF8StoreSize(), sizeof(text));
    std::unique_ptr<char[]> copy(s.copyAsMultibyte(kUTF8));
    EXPECT_STREQ(copy.get(), text);
}

TEST(IString, LossyConversionIsCachedAsQuestionMark) {
    kytest::LocaleScope c({"C"});
    ASSERT_TRUE(c.ok());
    IString s(kZhong);
    bool lossless = true;
    const char* narrow = s.asMultibyte(kMultibyte, &lossless);
    EXPECT_STREQ(narrow, "?");
    EXPECT_FALSE(lossless);
    // Asked again without a lossless pointer: the cached "?" comes back.
    EXPECT_EQ(s.asMultibyte(), narrow);
    EXPECT_STREQ(s.asMultibyte(), "?");
    // With a pointer: the answer is known (lost), so the cache stands.
    lossless = true;
    EXPECT_STREQ(s.asMultibyte(kMultibyte, &lossless), "?");
    EXPECT_FALSE(lossless);
    EXPECT_EQ(s.asMultibyteStoreSize(), 2u);
}

TEST(IString, CacheIsNotRebuiltUntilTheTextChanges) {
    IString s(kZhong);
    {
        kytest::LocaleScope c({"C"});
        EXPECT_STREQ(s.asMultibyte(kMultibyte, nullptr), "?");
    }
    // A code page that holds U+4E2D: UTF-8 (glibc) or Shift-JIS (Windows).
    kytest::LocaleScope cjk({"C.UTF-8", "C.utf8", "en_US.UTF-8", ".932"});
    if (!cjk.ok()) {
        GTEST_SKIP() << "no code page with U+4E2D in this C library";
    }
    char expected[8] = {};
    const std::size_t bytes = std::wcstombs(expected, kZhong, sizeof expected);
    ASSERT_NE(bytes, static_cast<std::size_t>(-1));
    ASSERT_GT(bytes, 1u); // a multibyte character
    // The locale changed, but the cache is current for encoding 0: it is returned as it is.
    EXPECT_STREQ(s.asMultibyte(), "?");
    // A caller who asks about loss while the state is unknown forces a new conversion.
    bool lossless = false;
    EXPECT_STREQ(s.asMultibyte(kMultibyte, &lossless), expected);
    EXPECT_TRUE(lossless);
    // Any change marks the cache stale.
    s.append(L'!');
    EXPECT_EQ(std::string(s.asMultibyte()), std::string(expected) + "!");
}

TEST(IString, CacheFollowsTheRequestedEncoding) {
    IString s((std::wstring(L"caf") + wchar_t(0xE9)).c_str());
    bool lossless = false;
    EXPECT_STREQ(s.asUTF8(&lossless), "caf\xC3\xA9");
    EXPECT_TRUE(lossless);
    const std::string narrow = s.asMultibyte(kMultibyte, &lossless);
    // In the "C" locale é is lost on Linux and kept (as byte E9) on Windows.
    if (lossless) {
        EXPECT_EQ(narrow, "caf\xE9");
    } else {
        EXPECT_EQ(narrow, "caf?");
    }
    EXPECT_STREQ(s.asUTF8(), "caf\xC3\xA9");
    EXPECT_EQ(s.asMultibyteStoreSize(kUTF8), 6u);
    // The empty text converts to empty text, losslessly.
    lossless = false;
    EXPECT_STREQ(IString().asMultibyte(kMultibyte, &lossless), "");
    EXPECT_TRUE(lossless);
}

TEST(IString, AccessorsAndCopies) {
    IString s(L"hello");
    EXPECT_EQ(s.asWChar(), s.asUnicode());
    EXPECT_EQ(s.asWCharStoreSize(), 6u);
    EXPECT_EQ(s.asUnicodeStoreSize(), 6u);
    std::unique_ptr<wchar_t[]> copy(s.copyAsWChar());
    EXPECT_EQ(std::wcscmp(copy.get(), L"hello"), 0);
    EXPECT_STREQ(s.asMultibyte(), "hello");
    s[0] = L'J'; // a write through operator[] marks the cache stale
    EXPECT_STREQ(s.asMultibyte(), "Jello");
}

// Editing, substrings, case and stripping are in SharedStringTest.cpp; these are IString's own.
TEST(IString, ReplaceEveryOccurrence) {
    IString s(L"a-b-c-");
    s.replace(IString(L"-"), IString(L"--"));
    EXPECT_EQ(s.str(), L"a--b--c--"); // inserted text is not scanned again
    s.replace(IString(L"--"), IString(L""));
    EXPECT_EQ(s.str(), L"abc");
    s.replace(IString(L""), IString(L"x")); // empty pattern: no change
    EXPECT_EQ(s.str(), L"abc");
    s.replace(s, IString(L"whole")); // aliasing is safe
    EXPECT_EQ(s.str(), L"whole");
}

TEST(IString, SubstrIntoAnotherString) {
    IString out(L"old");
    EXPECT_EQ(IString(L"Hello, World").substr(out, 7, 3).str(), L"Wor");
    EXPECT_EQ(out.str(), L"Wor");
}

// The rules shared with CString are in SharedStringTest.cpp; these are IString's own.
TEST(IString, SearchingAnyAndComparingWideText) {
    IString mixed(L"ab12cd3");
    EXPECT_EQ(mixed.find(L"12"), 2u);
    EXPECT_EQ(mixed.findAny(IString(L"dc")), 4u);
    EXPECT_EQ(mixed.findAny(IString(L"31"), 3), 6u);
    EXPECT_EQ(mixed.findAny(IString(L"21"), 3), 3u);
    EXPECT_EQ(mixed.rfindAny(IString(L"ab")), 1u);
    EXPECT_EQ(mixed.rfindAny(IString(L"ab"), 0), 0u);
    EXPECT_EQ(mixed.findAny(IString(L"xyz")), kNotFound);
    EXPECT_EQ(mixed.findAny(IString()), kNotFound);
    EXPECT_EQ(mixed.rfindAny(IString()), kNotFound);
    EXPECT_EQ(IString(L"abc").compare(L"abc"), 0);
    EXPECT_GT(IString(kZhong).compare(IString(L"z")), 0);
    EXPECT_FALSE(IString(kZhong).isAscii());
    EXPECT_TRUE(IString(L"a") == L"a");
}

// The library's format contract, checked on every platform: "%s"/"%c" take narrow arguments
// and "%S"/"%C" wide ones, in narrow and in wide formats alike.
TEST(IString, FormatContractNarrowAndWide) {
    IString s;
    EXPECT_EQ(s.format(L"%s|%S|%c|%C|%d", "n", L"w", 'c', L'C', 5), 9u);
    EXPECT_EQ(s.str(), L"n|w|c|C|5");
    EXPECT_EQ(s.format("%s|%S|%c|%C|%d", "n", L"w", 'c', L'C', 6), 9u);
    EXPECT_EQ(s.str(), L"n|w|c|C|6");
    EXPECT_EQ(s.format(L"%-4s|%5.2S|%ls", "ab", L"wxyz", L"long"), 15u);
    EXPECT_EQ(s.str(), L"ab  |   wx|long");
    // A wide argument outside the code page goes through a wide format unharmed.
    EXPECT_EQ(s.format(L"<%S>", kZhong), 3u);
    EXPECT_EQ(s.str(), std::wstring(L"<") + wchar_t(0x4E2D) + L">");
}

TEST(IString, WideFormatsFailOnEmptyOutputAndGrow) {
    const std::wstring bigWide(70000, L'w');
    IString s(L"old");
    EXPECT_EQ(s.format(L"%S", L""), 0xFFFFFFFFu); // the narrow formats are shared with CString
    EXPECT_EQ(s.format(static_cast<const wchar_t*>(nullptr)), 0xFFFFFFFFu);
    EXPECT_EQ(s.str(), L"old");
    EXPECT_EQ(s.format("%S", bigWide.c_str()), 70000u);
    EXPECT_EQ(s.str(), bigWide);
    EXPECT_EQ(s.format(L"%s", std::string(255, 'e').c_str()), 255u); // exactly 256 - 1
    EXPECT_EQ(s.length(), 255u);
}

TEST(IString, FormatWithUndecodableNarrowArgumentKeepsTheRest) {
    kytest::LocaleScope c({"C"});
    IString s;
    // The byte FF is no character in the "C" locale of Linux; it shows as "?" rather than
    // making the whole result vanish. (The Windows "C" locale decodes it as U+00FF.)
    ASSERT_NE(s.format(L"file '%s' missing", "a\xff"), 0xFFFFFFFFu);
    const std::wstring got = s.str();
    EXPECT_EQ(got.size(), 17u);
    EXPECT_EQ(got.substr(0, 7), L"file 'a");
    EXPECT_TRUE(got[7] == L'?' || got[7] == wchar_t(0xFF));
    EXPECT_EQ(got.substr(8), L"' missing");
}
