#include <Base/String/kyStringCString.h>
#include <Base/String/kyStringCharacter.h>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <utility>

using kyString::CString;
using kyString::kNotFound;

// Construction, element access, containers and hashing are in SharedStringTest.cpp.
TEST(CString, CopiesOwnTheirBytes) {
    const CString original("copied");
    EXPECT_NE(CString(original).asChar(), original.asChar());
    EXPECT_EQ(CString(static_cast<const char*>(nullptr), 5).length(), 0u);
    EXPECT_EQ(CString("abc")[3], '\0'); // the terminator, as the standard string
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
    EXPECT_TRUE(s.valid());
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

TEST(CString, FormatGrowsPastTheFirstBuffer) {
    CString s("old");
    EXPECT_EQ(s.format(""), 0xFFFFFFFFu);
    EXPECT_EQ(s.format(static_cast<const CString*>(nullptr)), 0xFFFFFFFFu);
    EXPECT_STREQ(s.asChar(), "old");
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
