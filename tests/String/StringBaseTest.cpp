#include <Base/String/kyStringCString.h>
#include <Base/String/kyStringIString.h>

#include <gtest/gtest.h>

using kyString::CString;
using kyString::IString;

namespace {

// Exposes the protected bounds checks.
struct CheckedC : CString {
    using CString::CString;
    using CString::doBoundsCheck;
};
struct CheckedI : IString {
    using IString::doBoundsCheck;
    using IString::IString;
};

} // namespace

TEST(StringBase, FirstAndLastOfEmptyAreZero) {
    CString c;
    IString i;
    EXPECT_TRUE(c.first() == 0u && c.last() == 0u && i.first() == 0u && i.last() == 0u);
    EXPECT_TRUE(c.isNull() && i.isNull());
    EXPECT_EQ(CString("abc").last(), 2u);
    EXPECT_EQ(IString(L"abcd").last(), 3u);
    EXPECT_FALSE(CString("x").isNull());
}

TEST(StringBase, BoundsCheckComparesTheCountWithTheWholeLength) {
    CheckedC c("hello");
    EXPECT_TRUE(c.doBoundsCheck(0u));
    EXPECT_TRUE(c.doBoundsCheck(4u));
    EXPECT_FALSE(c.doBoundsCheck(5u));
    // Deliberately not index + count <= length: 2 + 5 > 5 and still true.
    EXPECT_TRUE(c.doBoundsCheck(2u, 5u));
    EXPECT_TRUE(c.doBoundsCheck(4u, 5u));
    EXPECT_FALSE(c.doBoundsCheck(2u, 6u));
    EXPECT_TRUE(c.doBoundsCheck(3u, 0xFFFFFFFFu));
    EXPECT_FALSE(c.doBoundsCheck(5u, 0u));
    CheckedC empty("");
    EXPECT_FALSE(empty.doBoundsCheck(0u));
    EXPECT_FALSE(empty.doBoundsCheck(0u, 0u));

    CheckedI i(L"hello");
    EXPECT_TRUE(i.doBoundsCheck(2u, 5u));
    EXPECT_FALSE(i.doBoundsCheck(2u, 6u));
    EXPECT_FALSE(i.doBoundsCheck(5u));
}

TEST(StringBase, VirtualInterfaceThroughTheBase) {
    CString c("abc");
    IString i(L"ab");
    kyString::String* strings[] = {&c, &i};
    EXPECT_EQ(strings[0]->length(), 3u);
    EXPECT_EQ(strings[1]->length(), 2u);
    EXPECT_GE(strings[0]->reserve(100), 100u);
    EXPECT_GE(strings[0]->capacity(), 100u);
    EXPECT_GE(strings[1]->reserve(50), 50u);
    EXPECT_GT(strings[1]->maxSize(), 1000u);
}
