// SharedStringTest.cpp - the editing, searching and comparison rules CString and IString share,
// run on both through one typed suite; each class's own file keeps only what differs.
#include <Base/Containers/kyHashSet.h>
#include <Base/Containers/kyMap.h>
#include <Base/Containers/kyVector.h>
#include <Base/String/kyStringCString.h>
#include <Base/String/kyStringCharacter.h>
#include <Base/String/kyStringIString.h>

#include <gtest/gtest.h>

#include <cstdarg>
#include <string>
#include <utility>

namespace {

using kyString::kNotFound;

// Builds test strings from ASCII literals, so one case reads the same for both classes.
struct Narrow {
    using String = kyString::CString;
    static String of(const char* text) { return String(text); }
    static std::string raw(const std::string& text) { return text; } // for pointer overloads
    static char ch(char c) { return c; }
    static std::string text(const String& s) { return s.asChar(); }
    static const char* self(const String& s) { return s.asChar(); }
    static constexpr const char* kSelf = "%s|%s";
};

struct Wide {
    using String = kyString::IString;
    static String of(const char* text) { return String(raw(text).c_str()); }
    static std::wstring raw(const std::string& text) {
        return std::wstring(text.begin(), text.end());
    }
    static wchar_t ch(char c) { return static_cast<wchar_t>(c); }
    static std::string text(const String& s) { return s.asMultibyte(); }
    static const wchar_t* self(const String& s) { return s.asWChar(); }
    static constexpr const char* kSelf = "%S|%S";
};

// Formats through vformat, as a caller holding a va_list does.
template <class S>
unsigned int viaVaList(S& s, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const unsigned int n = s.vformat(fmt, args);
    va_end(args);
    return n;
}

template <class T>
class SharedStringTest : public ::testing::Test {};

using StringKinds = ::testing::Types<Narrow, Wide>;
TYPED_TEST_SUITE(SharedStringTest, StringKinds, );

TYPED_TEST(SharedStringTest, ConstructionCopyAndMove) {
    using T = TypeParam;
    using S = typename T::String;
    EXPECT_EQ(T::text(S(static_cast<decltype(T::raw("").c_str())>(nullptr))), "");
    EXPECT_EQ(T::text(S(T::raw("abcdef").c_str(), 3)), "abc");
    EXPECT_EQ(S(T::raw(std::string("a\0b", 3)).c_str(), 3).length(), 3u);
    EXPECT_EQ(T::text(S(T::ch('x'))) + T::text(S(3u, T::ch('z'))) + T::text(S(0u, T::ch('z'))),
              "xzzz");
    S original = T::of("copied");
    S copy(original);
    S moved(std::move(original));
    EXPECT_EQ(T::text(copy) + T::text(moved), "copiedcopied");
    EXPECT_TRUE(original.isEmpty()); // left empty, still usable
    original.append(T::of("again"));
    EXPECT_EQ(T::text(original), "again");
    moved = T::of("assigned");
    EXPECT_EQ(T::text(moved), "assigned");
}

// Out-of-range reads give NUL; an out-of-range write lands in a scratch character.
TYPED_TEST(SharedStringTest, ElementAccess) {
    using T = TypeParam;
    auto s = T::of("abc");
    s[0] = T::ch('A');
    s.at(1) = T::ch('B');
    s.at(100) = T::ch('q');
    const auto& cs = s;
    EXPECT_EQ(T::text(s), "ABc");
    EXPECT_TRUE(cs.at(1) == T::ch('B') && cs[2] == T::ch('c') && s.at(2) == T::ch('c'));
    EXPECT_TRUE(cs.at(3) == 0 && cs.at(100) == 0);
}

// Relocatable by copying bytes (the vector moves elements with realloc), hashable, ordered.
TYPED_TEST(SharedStringTest, LivesInKyContainersAndHashes) {
    using T = TypeParam;
    using S = typename T::String;
    ky::vector<S> v;
    for (int i = 0; i < 100; ++i) {
        v.push_back(T::of(std::to_string(i).c_str()));
    }
    v.erase(v.begin() + 10);
    v.insert(v.begin(), T::of("first"));
    EXPECT_EQ(T::text(v[0]) + T::text(v[11]) + T::text(v[99]), "first1199");
    ky::hash_set<S> set{T::of("a"), T::of("b"), T::of("a")};
    EXPECT_TRUE(set.size() == 2u && set.count(T::of("b")) == 1u && set.count(T::of("c")) == 0u);
    ky::map<S, int> m{{T::of("b"), 2}, {T::of("a"), 1}};
    EXPECT_EQ(T::text(m.begin()->first), "a");
    EXPECT_EQ(kyString::hashfunction(T::of("k")), ky::hash<S>()(T::of("k")));
    EXPECT_NE(kyString::hashfunction(T::of("k")), kyString::hashfunction(T::of("K")));
    EXPECT_NE(kyString::hashfunction(S(T::raw("a").c_str(), 1)),
              kyString::hashfunction(S(T::raw(std::string("a\0", 2)).c_str(), 2)));
}

// Empty output is a failure that keeps the text; the output may grow past the first buffer and
// may be made from the string's own text.
TYPED_TEST(SharedStringTest, Format) {
    using T = TypeParam;
    auto s = T::of("old");
    EXPECT_EQ(s.format("%s", ""), 0xFFFFFFFFu);
    EXPECT_EQ(s.format(static_cast<const char*>(nullptr)), 0xFFFFFFFFu);
    EXPECT_EQ(T::text(s), "old");
    const std::string big(5000, 'q');
    EXPECT_EQ(viaVaList(s, "<%s>", big.c_str()), 5002u);
    EXPECT_EQ(T::text(s), "<" + big + ">");
    EXPECT_EQ(s.format(T::kSelf, T::self(s), T::self(s)), 10005u);
    EXPECT_EQ(T::text(s), "<" + big + ">|<" + big + ">");
}

TYPED_TEST(SharedStringTest, Editing) {
    using T = TypeParam;
    auto s = T::of("mid");
    s.append(T::of("-end")).append(T::raw("!").c_str()).append(T::ch('?'));
    s.append(T::raw("xyz").c_str(), 1);
    EXPECT_EQ(T::text(s), "mid-end!?x");
    s.prepend(T::of("<")).prepend(T::raw("[").c_str()).prepend(T::ch('{'));
    EXPECT_EQ(T::text(s), "{[<mid-end!?x");
    auto t = T::of("ace");
    t.insert(1, T::ch('b')).insert(3, T::raw("d").c_str()).insert(5, T::of("f"));
    t.insert(6, T::raw("g").c_str());                            // at the end
    t.insert(100, T::raw("no").c_str()).insert(100, T::ch('n')); // past the end: unchanged
    EXPECT_EQ(T::text(t), "abcdefg");
    t.replace(0, 3, T::raw("ABC").c_str());
    t.replace(3, 1, T::ch('D'));
    t.replace(4, 100, T::of("EF"));         // a count past the end is cut
    t.replace(99, 1, T::raw("no").c_str()); // a position past the end: unchanged
    EXPECT_EQ(T::text(t), "ABCDEF");
    t.erase(1, 2);
    t.remove(2);
    t.erase(99, 1);
    EXPECT_EQ(T::text(t), "AD");
    t.assign(T::raw("x").c_str());
    t.assign(T::of("q"));
    EXPECT_EQ(T::text(t), "q");
    t.assign(T::ch('r'));
    EXPECT_EQ(T::text(t), "r");
    t.assign(T::raw("stu").c_str(), 2);
    EXPECT_EQ(T::text(t), "st");
    t = T::raw("v").c_str();
    t = T::ch('w');
    EXPECT_EQ(T::text(t), "w");
    t = t;
    t += T::raw("!").c_str();
    t += T::ch('?');
    t += T::of(".");
    EXPECT_EQ(T::text(t), "w!?.");
    t.clear();
    EXPECT_TRUE(t.isEmpty());
    t.erase();
    EXPECT_EQ(t.length(), 0u);
}

TYPED_TEST(SharedStringTest, SubstrCaseSwapStrip) {
    using T = TypeParam;
    const auto s = T::of("Hello, World");
    EXPECT_EQ(T::text(s.substr(7)), "World");
    EXPECT_EQ(T::text(s.substr(0, 5)), "Hello");
    EXPECT_EQ(T::text(s.substr(7, 100)), "World");
    EXPECT_EQ(T::text(s.substr(12)), "");
    EXPECT_EQ(T::text(s.substr(50)), "");
    auto u = s;
    EXPECT_EQ(T::text(u.toUpperCase()), "HELLO, WORLD");
    EXPECT_EQ(T::text(u.toLowerCase()), "hello, world");
    auto a = T::of("a");
    auto b = T::of("b");
    a.swap(b);
    EXPECT_EQ(T::text(a), "b");
    swap(a, b);
    EXPECT_EQ(T::text(a), "a");
    auto padded = T::of("xx--value--xx");
    EXPECT_EQ(T::text(padded.strip(T::ch('x'))), "--value--xx");
    EXPECT_EQ(T::text(padded.rstrip(T::ch('x'))), "--value--");
    auto spaces = T::of(" \t\n value \r\n");
    EXPECT_EQ(T::text(spaces.stripSpaces()), "value \r\n");
    EXPECT_EQ(T::text(spaces.rstripSpaces()), "value");
    EXPECT_EQ(T::text(T::of("   ").stripSpaces()), "");
    EXPECT_EQ(T::text(T::of("zzz").rstrip(T::ch('z'))), "");
}

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
