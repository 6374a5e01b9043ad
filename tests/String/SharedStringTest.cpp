// SharedStringTest.cpp - the searching and comparison rules CString and IString share, run on
// both through one typed suite; each class's own file keeps only what differs.
#include <Base/String/kyStringCString.h>
#include <Base/String/kyStringCharacter.h>
#include <Base/String/kyStringIString.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using kyString::kNotFound;

// Builds test strings from ASCII literals, so one case reads the same for both classes.
struct Narrow {
    using String = kyString::CString;
    static String of(const char* text) { return String(text); }
    static char ch(char c) { return c; }
    static std::string text(const String& s) { return s.asChar(); }
};

struct Wide {
    using String = kyString::IString;
    static String of(const char* text) {
        const std::string narrow(text);
        return String(std::wstring(narrow.begin(), narrow.end()).c_str());
    }
    static wchar_t ch(char c) { return static_cast<wchar_t>(c); }
    static std::string text(const String& s) { return s.asMultibyte(); }
};

template <class T>
class SharedStringTest : public ::testing::Test {};

using StringKinds = ::testing::Types<Narrow, Wide>;
TYPED_TEST_SUITE(SharedStringTest, StringKinds, );

TYPED_TEST(SharedStringTest, Searching) {
    using T = TypeParam;
    const auto s = T::of("abcabc");
    EXPECT_EQ(s.find(T::of("bc")), 1u);
    EXPECT_EQ(s.find(T::of("bc"), 2), 4u);
    EXPECT_EQ(s.find(T::ch('c')), 2u);
    EXPECT_EQ(s.find(T::ch('z')), kNotFound);
    EXPECT_EQ(s.find(T::of("a"), 99), kNotFound);
    EXPECT_EQ(s.rfind(T::of("bc")), 4u);
    EXPECT_EQ(s.rfind(T::of("ab"), 2), 0u);
    EXPECT_EQ(s.rfind(T::ch('a')), 3u);
    EXPECT_EQ(s.rfind(T::of("zz")), kNotFound);
    const auto mixed = T::of("ab12cd3");
    EXPECT_EQ(mixed.find(kyString::isDigit), 2u);
    EXPECT_EQ(mixed.find(kyString::isDigit, 4), 6u);
    EXPECT_EQ(mixed.find(kyString::isDigit, 100), kNotFound);
    EXPECT_EQ(mixed.rfind(kyString::isDigit), 6u);
    EXPECT_EQ(mixed.rfind(kyString::isDigit, 5), 3u);
    EXPECT_EQ(mixed.rfind(kyString::isUpper), kNotFound);
    EXPECT_EQ(mixed.find(kyString::isUpper), kNotFound);
    EXPECT_EQ(T::of("").rfind(kyString::isDigit), kNotFound);
}

TYPED_TEST(SharedStringTest, Comparison) {
    using T = TypeParam;
    EXPECT_LT(T::of("abc").compare(T::of("abd")), 0);
    EXPECT_GT(T::of("abd").compare(T::of("abc")), 0);
    EXPECT_EQ(T::of("abc").compare(T::of("abc")), 0);
    EXPECT_LT(T::of("ab").compare(T::of("abc")), 0); // the shorter first
    EXPECT_EQ(T::of("HeLLo").compareNoCase(T::of("hello")), 0);
    EXPECT_LT(T::of("APPLE").compareNoCase(T::of("banana")), 0);
    EXPECT_LT(T::of("abc").collate(T::of("abd")), 0);
    EXPECT_EQ(T::of("ABC").collateNoCase(T::of("abc")), 0);
    EXPECT_TRUE(T::of("plain").isAscii());

    const auto a = T::of("a");
    const auto b = T::of("b");
    EXPECT_TRUE(kyString::less(a, b) && kyString::lessEqual(a, a));
    EXPECT_TRUE(kyString::greater(b, a) && kyString::greaterEqual(b, b));
    EXPECT_TRUE(kyString::equal(a, T::of("a")) && kyString::notEqual(a, b));
    EXPECT_FALSE(kyString::less(b, a) || kyString::greater(a, b) || kyString::equal(a, b));
    EXPECT_TRUE(a == T::of("a") && a != b && a < b && b > a && a <= a && b >= a);
    EXPECT_EQ(T::text(kyString::plus(a, b)), "ab");
    EXPECT_EQ(T::text(a + b + a), "aba");
    auto c = T::of("x");
    kyString::plusEqual(c, b);
    EXPECT_EQ(T::text(c), "xb");
}

} // namespace
