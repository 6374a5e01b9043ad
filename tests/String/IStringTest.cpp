#include "StringTestSupport.h"

#include <Base/Containers/kyHashSet.h>
#include <Base/Containers/kyVector.h>
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

TEST(IString, Constructors) {
    EXPECT_EQ(IString().str(), L"");
    EXPECT_EQ(IString(L"wide").str(), L"wide");
    EXPECT_EQ(IString(static_cast<const wchar_t*>(nullptr)).str(), L"");
    EXPECT_EQ(IString(L"abcdef", 2).str(), L"ab");
    EXPECT_EQ(IString(L"a\0b", 3).length(), 3u);
    EXPECT_EQ(IString(L'w').str(), L"w");
    EXPECT_EQ(IString(3u, L'z').str(), L"zzz");
    EXPECT_EQ(IString(2u, 'y').str(), L"yy");
    EXPECT_EQ(IString('c').str(), L"c");
    EXPECT_EQ(IString("narrow").str(), L"narrow");
    EXPECT_EQ(IString(CString("from cstring")).str(), L"from cstring");
    IString original(L"copied");
    IString copy(original);
    EXPECT_EQ(copy.str(), L"copied");
    IString moved(std::move(original));
    EXPECT_EQ(moved.str(), L"copied");
    EXPECT_EQ(original.str(), L"");
    original.append(L"usable");
    EXPECT_EQ(original.str(), L"usable");
}

TEST(IString, NarrowConstructorsReportLoss) {
    bool lossless = false;
    IString null(static_cast<const char*>(nullptr), kMultibyte, &lossless);
    EXPECT_TRUE(null.isEmpty());
    EXPECT_TRUE(lossless);
    lossless = false;
    IString empty("", kUTF8, &lossless);
    EXPECT_TRUE(lossless);
    IString utf8("caf\xC3\xA9", kUTF8, &lossless);
    EXPECT_TRUE(lossless);
    EXPECT_EQ(utf8.str(), std::wstring(L"caf") + wchar_t(0xE9));
    IString bad("a\xC3", kUTF8, &lossless);
    EXPECT_FALSE(lossless);
    EXPECT_EQ(bad.str(), std::wstring(L"a") + wchar_t(0xFFFD));
    IString bom("\xEF\xBB\xBFx", kUTF8, &lossless); // the byte-order mark is dropped
    EXPECT_EQ(bom.str(), L"x");
    IString fromC(CString("caf\xC3\xA9"), kUTF8, &lossless);
    EXPECT_TRUE(lossless);
    EXPECT_EQ(fromC.length(), 4u);
    IString fromChar('\x41', kUTF8, &lossless);
    EXPECT_EQ(fromChar.str(), L"A");
    EXPECT_TRUE(lossless);
    IString bomOnly("\xEF\xBB\xBF", kUTF8, &lossless); // nothing left: empty, and not lossless
    EXPECT_TRUE(bomOnly.isEmpty());
    EXPECT_FALSE(lossless);
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
}

TEST(IString, EmptyConvertsToEmptyLosslessly) {
    IString s;
    bool lossless = false;
    EXPECT_STREQ(s.asMultibyte(kMultibyte, &lossless), "");
    EXPECT_TRUE(lossless);
    lossless = false;
    EXPECT_STREQ(s.asUTF8(&lossless), "");
    EXPECT_TRUE(lossless);
    EXPECT_EQ(s.asUTF8StoreSize(), 1u);
}

TEST(IString, AccessorsAndCopies) {
    IString s(L"hello");
    EXPECT_EQ(s.asWChar(), s.asUnicode());
    EXPECT_EQ(s.asWCharStoreSize(), 6u);
    EXPECT_EQ(s.asUnicodeStoreSize(), 6u);
    std::unique_ptr<wchar_t[]> copy(s.copyAsWChar());
    EXPECT_EQ(std::wcscmp(copy.get(), L"hello"), 0);
    EXPECT_EQ(s.at(1), L'e');
    EXPECT_EQ(s[4], L'o');
    s[0] = L'H';
    s.at(1) = L'E';
    EXPECT_EQ(s.str(), L"HEllo");
    const IString& cs = s;
    EXPECT_EQ(cs.at(99), L'\0');
    s.at(99) = L'x';
    EXPECT_EQ(s.str(), L"HEllo");
    EXPECT_STREQ(s.asMultibyte(), "HEllo");
    s[0] = L'J'; // a write through operator[] marks the cache stale
    EXPECT_STREQ(s.asMultibyte(), "JEllo");
}

// Editing, substrings, case and stripping are in SharedStringTest.cpp; these are IString's own.
TEST(IString, AssignFromEncodedBytes) {
    IString t;
    bool lossless = false;
    t.assign("caf\xC3\xA9", kUTF8, &lossless);
    EXPECT_TRUE(lossless);
    EXPECT_EQ(t.length(), 4u);
    t.assign(CString("plain"), kMultibyte, &lossless);
    EXPECT_EQ(t.str(), L"plain");
    EXPECT_TRUE(lossless);
    t = IString(L"moved");
    EXPECT_EQ(t.str(), L"moved");
    t = "narrow";
    EXPECT_EQ(t.str(), L"narrow");
}

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

TEST(IString, FormatMayReadItsOwnText) {
    IString s(L"abc");
    EXPECT_EQ(s.format(L"%S-%S", s.asWChar(), s.asWChar()), 7u);
    EXPECT_EQ(s.str(), L"abc-abc");
    EXPECT_STREQ(s.asMultibyte(), "abc-abc");
    EXPECT_EQ(s.format("%S!", s.asWChar()), 8u);
    EXPECT_EQ(s.str(), L"abc-abc!");
}

TEST(IString, FormatFailsOnEmptyOutputAndKeepsTheText) {
    IString s(L"old");
    EXPECT_STREQ(s.asMultibyte(), "old");
    EXPECT_EQ(s.format("%s", ""), 0xFFFFFFFFu);
    EXPECT_STREQ(s.asMultibyte(), "old"); // the cache is still current
    EXPECT_EQ(s.format(L"%S", L""), 0xFFFFFFFFu);
    EXPECT_EQ(s.format(static_cast<const char*>(nullptr)), 0xFFFFFFFFu);
    EXPECT_EQ(s.format(static_cast<const wchar_t*>(nullptr)), 0xFFFFFFFFu);
    EXPECT_EQ(s.str(), L"old");
}

TEST(IString, FormatGrowsPastTheFirstBuffer) {
    const std::string big(3000, 'n');
    const std::wstring bigWide(70000, L'w');
    IString s;
    EXPECT_EQ(s.format(L"[%s]", big.c_str()), 3002u);
    EXPECT_EQ(s.str(), L"[" + std::wstring(3000, L'n') + L"]");
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

TEST(IString, LivesInKyContainers) {
    ky::vector<IString> v;
    for (int i = 0; i < 50; ++i) {
        v.push_back(IString(std::to_wstring(i).c_str()));
    }
    EXPECT_EQ(v[49].str(), L"49");
    ky::hash_set<IString> set{IString(L"a"), IString(L"b"), IString(L"a")};
    EXPECT_EQ(set.size(), 2u);
    EXPECT_EQ(set.count(IString(L"b")), 1u);
    EXPECT_EQ(kyString::hashfunction(IString(L"k")), kyString::hashfunction(IString(L"k")));
    EXPECT_NE(kyString::hashfunction(IString(L"k")), kyString::hashfunction(IString(L"K")));
}
