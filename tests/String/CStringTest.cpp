#include <Base/Containers/kyHashSet.h>
#include <Base/Containers/kyMap.h>
#include <Base/Containers/kyVector.h>
#include <Base/String/kyStringCString.h>
#include <Base/String/kyStringCharacter.h>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <utility>

using kyString::CString;
using kyString::kNotFound;

TEST(CString, Constructors) {
    EXPECT_STREQ(CString().asChar(), "");
    EXPECT_STREQ(CString("text").asChar(), "text");
    EXPECT_STREQ(CString(static_cast<const char*>(nullptr)).asChar(), "");
    EXPECT_STREQ(CString("abcdef", 3).asChar(), "abc");
    EXPECT_EQ(CString("a\0b", 3).length(), 3u);
    EXPECT_EQ(CString(static_cast<const char*>(nullptr), 5).length(), 0u);
    EXPECT_STREQ(CString('x').asChar(), "x");
    EXPECT_STREQ(CString(3u, 'z').asChar(), "zzz");
    EXPECT_STREQ(CString(0u, 'z').asChar(), "");
    CString original("copied");
    CString copy(original);
    EXPECT_STREQ(copy.asChar(), "copied");
    EXPECT_NE(copy.asChar(), original.asChar());
    CString moved(std::move(original));
    EXPECT_STREQ(moved.asChar(), "copied");
    EXPECT_STREQ(original.asChar(), ""); // left empty, still usable
    original.append("again");
    EXPECT_STREQ(original.asChar(), "again");
}

TEST(CString, AccessorsAndCopies) {
    CString s("hello");
    EXPECT_EQ(s.asChar(), s.asMultibyte());
    EXPECT_EQ(s.asCharStoreSize(), 6u);
    EXPECT_EQ(s.asMultibyteStoreSize(), 6u);
    std::unique_ptr<char[]> copy(s.copyAsChar());
    EXPECT_STREQ(copy.get(), "hello");
    EXPECT_NE(copy.get(), s.asChar());
    std::unique_ptr<char[]> copy2(s.copyAsMultibyte());
    EXPECT_STREQ(copy2.get(), "hello");
    EXPECT_EQ(CString().asCharStoreSize(), 1u);
    EXPECT_TRUE(s.valid());
}

TEST(CString, ElementAccess) {
    CString s("abc");
    EXPECT_EQ(s.at(1), 'b');
    EXPECT_EQ(s[2], 'c');
    s[0] = 'A';
    s.at(1) = 'B';
    EXPECT_STREQ(s.asChar(), "ABc");
    const CString& cs = s;
    EXPECT_EQ(cs.at(3), '\0'); // out of range: NUL
    EXPECT_EQ(cs.at(100), '\0');
    s.at(100) = 'q'; // lands in a scratch character, not past the text
    EXPECT_STREQ(s.asChar(), "ABc");
    EXPECT_EQ(cs[3], '\0'); // the terminator, as the standard string
}

// Editing, substrings, case and stripping are in SharedStringTest.cpp; these are CString's own.
TEST(CString, SelfAppendAndMoveAssignment) {
    CString self("ab");
    self.append(self);
    self += CString("e");
    EXPECT_STREQ(self.asChar(), "ababe");
    self.append(static_cast<const char*>(nullptr)).prepend(static_cast<const char*>(nullptr));
    self = CString("moved");
    EXPECT_STREQ(self.asChar(), "moved");
}

// The rules shared with IString are in SharedStringTest.cpp; these are CString's own.
TEST(CString, SearchingAndComparingBytes) {
    CString s("abcabc");
    EXPECT_EQ(s.find("bc", 2), 4u);
    EXPECT_EQ(s.find('c', 3), 5u);
    EXPECT_EQ(s.find("bc", 100), kNotFound);
    EXPECT_EQ(s.find(""), 0u);
    EXPECT_EQ(s.rfind("bc", 3), 1u);
    EXPECT_EQ(s.rfind('a', 2), 0u);
    EXPECT_GT(CString("abc").compare("ab"), 0);
    // Bytes compare unsigned: 0xE9 sorts after 'z'.
    EXPECT_GT(CString("\xE9").compare(CString("z")), 0);
    EXPECT_FALSE(CString("caf\xC3\xA9").isAscii());
    EXPECT_TRUE(CString("a") == "a" && CString("a") != "b");
    EXPECT_TRUE(kyString::equal(CString("a"), "a"));
}

TEST(CString, FormatReturnsTheNewLength) {
    CString s;
    EXPECT_EQ(s.format("%s=%d", "x", 42), 4u);
    EXPECT_STREQ(s.asChar(), "x=42");
    const CString fmt("%03d|%S|%C");
    EXPECT_EQ(s.format(&fmt, 7, L"wide", L'c'), 10u);
    EXPECT_STREQ(s.asChar(), "007|wide|c");
    EXPECT_EQ(s.format(8u, "%s", "longer than eight"), 17u);
    EXPECT_STREQ(s.asChar(), "longer than eight");
    EXPECT_EQ(s.format(2u, &fmt, 1, L"w", L'x'), 7u);
    EXPECT_STREQ(s.asChar(), "001|w|x");
}

TEST(CString, FormatMayReadItsOwnText) {
    CString s("abc");
    EXPECT_EQ(s.format("%s%s", s.asChar(), s.asChar()), 6u);
    EXPECT_STREQ(s.asChar(), "abcabc");
    const std::string big(600, 'b'); // past the first buffer
    s = big.c_str();
    EXPECT_EQ(s.format("<%s>", s.asChar()), 602u);
    EXPECT_EQ(std::string(s.asChar()), "<" + big + ">");
}

TEST(CString, FormatFailsOnEmptyOutputAndKeepsTheText) {
    CString s("old");
    EXPECT_EQ(s.format("%s", ""), 0xFFFFFFFFu);
    EXPECT_STREQ(s.asChar(), "old");
    EXPECT_EQ(s.format(""), 0xFFFFFFFFu);
    EXPECT_EQ(s.format(static_cast<const char*>(nullptr)), 0xFFFFFFFFu);
    EXPECT_EQ(s.format(static_cast<const CString*>(nullptr)), 0xFFFFFFFFu);
    EXPECT_STREQ(s.asChar(), "old");
}

TEST(CString, FormatGrowsPastTheFirstBuffer) {
    const std::string big(5000, 'q');
    CString s;
    EXPECT_EQ(s.format("<%s>", big.c_str()), 5002u);
    EXPECT_EQ(std::string(s.asChar()), "<" + big + ">");
    // Exactly n - 1 characters do not fit the first buffer (the TN_vsnprintf margin), and the
    // retry gets them right.
    EXPECT_EQ(s.format(4u, "%s", "abc"), 3u);
    EXPECT_STREQ(s.asChar(), "abc");
    EXPECT_EQ(s.format(0u, "%s", "from zero"), 9u);
    EXPECT_STREQ(s.asChar(), "from zero");
    // Output with an embedded NUL keeps its length.
    EXPECT_EQ(s.format("a%cb", 0), 3u);
    EXPECT_EQ(s.length(), 3u);
}

TEST(CString, VformatFromAVaList) {
    struct Helper {
        static unsigned int run(CString& s, const char* fmt, ...) {
            va_list args;
            va_start(args, fmt);
            const unsigned int n = s.vformat(fmt, args);
            va_end(args);
            return n;
        }
    };
    CString s;
    EXPECT_EQ(Helper::run(s, "%d-%d", 1, 2), 3u);
    EXPECT_STREQ(s.asChar(), "1-2");
}

TEST(CString, LivesInKyContainers) {
    // A CString is relocatable by copying its bytes: the vector moves it with realloc.
    ky::vector<CString> v;
    for (int i = 0; i < 100; ++i) {
        v.push_back(CString(std::to_string(i).c_str()));
    }
    EXPECT_STREQ(v[0].asChar(), "0");
    EXPECT_STREQ(v[99].asChar(), "99");
    v.erase(v.begin() + 10);
    EXPECT_STREQ(v[10].asChar(), "11");
    v.insert(v.begin(), CString("first"));
    EXPECT_STREQ(v[0].asChar(), "first");

    ky::hash_set<CString> set;
    set.insert(CString("alpha"));
    set.insert(CString("beta"));
    set.insert(CString("alpha"));
    EXPECT_EQ(set.size(), 2u);
    EXPECT_EQ(set.count(CString("beta")), 1u);
    EXPECT_EQ(set.count(CString("gamma")), 0u);

    ky::map<CString, int> m;
    m[CString("b")] = 2;
    m[CString("a")] = 1;
    EXPECT_STREQ(m.begin()->first.asChar(), "a");
}

TEST(CString, HashCoversCharactersAndLength) {
    EXPECT_EQ(kyString::hashfunction(CString("same")), kyString::hashfunction(CString("same")));
    EXPECT_NE(kyString::hashfunction(CString("same")), kyString::hashfunction(CString("Same")));
    EXPECT_NE(kyString::hashfunction(CString("a", 1)), kyString::hashfunction(CString("a\0", 2)));
    EXPECT_EQ(ky::hash<CString>()(CString("x")), kyString::hashfunction(CString("x")));
}

TEST(CString, CreateAndDelete) {
    CString* s = CString_create("made");
    ASSERT_NE(s, nullptr);
    EXPECT_STREQ(s->asChar(), "made");
    CString_delete(s);
    CString* empty = CString_create(nullptr);
    ASSERT_NE(empty, nullptr);
    EXPECT_TRUE(empty->isEmpty());
    CString_delete(empty);
    CString_delete(nullptr); // ignored
}
