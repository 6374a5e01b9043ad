#include <Base/String/kyStringFormat.h>
#include <Base/String/kyStringNumber.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <string>

namespace {

struct FreeDeleter {
    void operator()(wchar_t* p) const { std::free(p); }
};

std::wstring converted(const wchar_t* fmt) {
    std::unique_ptr<wchar_t, FreeDeleter> out(TN_convert_string_format(fmt));
    return out ? std::wstring(out.get()) : std::wstring(L"<null>");
}

} // namespace

// The narrow and wide forms share the legacy contract: the count only when it is below n - 1,
// otherwise -1 with the output truncated and terminated; -1 without a buffer or a format.
template <class C, class Print>
void expectCountOnlyBelowNMinusOne(Print print, const C* abc, const C* fmt) {
    C buf[16];
    EXPECT_EQ(print(buf, 4, abc), -1); // "abc" and its NUL fit, yet -1: the margin
    EXPECT_EQ(print(buf, 5, abc), 3);
    EXPECT_EQ(std::basic_string<C>(buf), abc);
    EXPECT_EQ(print(buf, 3, abc), -1);
    EXPECT_EQ(std::basic_string<C>(buf), std::basic_string<C>(abc, 2));
    EXPECT_EQ(print(buf, 16, abc + 3), 0);
    EXPECT_EQ(print(buf, 1, abc + 3), -1);
    EXPECT_EQ(print(buf, 0, abc), -1);
    EXPECT_EQ(print(nullptr, 0, abc), -1);
    EXPECT_EQ(print(buf, 16, static_cast<const C*>(nullptr)), -1);
    EXPECT_EQ(print(buf, 16, fmt, 12), 3);
}

TEST(TN_printf, CountOnlyBelowNMinusOne) {
    expectCountOnlyBelowNMinusOne<char>(TN_snprintf, "abc", "%d-");
    expectCountOnlyBelowNMinusOne<wchar_t>(TN_swprintf, L"abc", L"%d-");
}

// The format contract on this platform's C library: "%s"/"%c" narrow and "%S"/"%C" wide in
// narrow and wide formats alike.
TEST(TN_printf, FormatContract) {
    char narrow[32];
    EXPECT_EQ(TN_snprintf(narrow, sizeof narrow, "%s|%S|%c|%C", "n", L"w", 'c', L'C'), 7);
    EXPECT_STREQ(narrow, "n|w|c|C");
    wchar_t wide[32];
    EXPECT_EQ(TN_swprintf(wide, 32, L"%s|%S|%c|%C", "n", L"w", 'c', L'C'), 7);
    EXPECT_EQ(std::wcscmp(wide, L"n|w|c|C"), 0);
    EXPECT_EQ(TN_swprintf(wide, 32, L"%-3s|%4S|%ls", "a", L"b", L"c"), 10);
    EXPECT_EQ(std::wcscmp(wide, L"a  |   b|c"), 0);
}

TEST(TN_convert_string_format, SwapsTheCaseOfStringConversions) {
    EXPECT_EQ(converted(L"%-10.3s %S %% %ls %c"), L"%-10.3S %s %% %ls %C");
    EXPECT_EQ(converted(L"%s%S%c%C"), L"%S%s%C%c");
    EXPECT_EQ(converted(L""), L"");
    EXPECT_EQ(converted(L"%d %5d %.2f %x"), L"%d %5d %.2f %x");
    EXPECT_EQ(converted(L"%%s"), L"%%s"); // an escaped percent, then text
    EXPECT_EQ(converted(L"%%%s"), L"%%%S");
    EXPECT_EQ(converted(L"%"), L"%"); // a lone percent at the end
    EXPECT_EQ(converted(L"%12."), L"%12.");
    EXPECT_EQ(converted(L"%.5c|%hs|%ws"), L"%.5C|%hs|%ws"); // modifiers stop the scan
    EXPECT_EQ(converted(L"% s"), L"% s");                   // a space flag is not skipped either
    EXPECT_EQ(converted(L"%-s"), L"%-S");
    EXPECT_EQ(std::wstring(L"<null>"), converted(nullptr));
}

TEST(Int64ToAscii, SlotsAndLimits) {
    const char* a = int64ToAscii(-42, 0);
    const char* b = int64ToAscii(LLONG_MIN, 1);
    const char* c = int64ToAscii(LLONG_MAX, 2);
    EXPECT_STREQ(a, "-42");
    EXPECT_STREQ(b, "-9223372036854775808");
    EXPECT_STREQ(c, "9223372036854775807");
    EXPECT_NE(a, b);
    EXPECT_EQ(int64ToAscii(7, 0), a); // the same slot is the same buffer
    EXPECT_STREQ(a, "7");
    const char* u = uint64ToAscii(ULLONG_MAX, 0);
    EXPECT_STREQ(u, "18446744073709551615");
    EXPECT_NE(static_cast<const void*>(u), static_cast<const void*>(a)); // separate tables
    EXPECT_STREQ(uint64ToAscii(0, 1), "0");
    EXPECT_STREQ(uint64ToAscii(12345678901234ULL, 2), "12345678901234");
    // A slot outside 0..2 wraps instead of writing past the table.
    EXPECT_EQ(int64ToAscii(1, 3), int64ToAscii(1, 0));
    EXPECT_EQ(int64ToAscii(1, -1), int64ToAscii(1, static_cast<int>(0xFFFFFFFFu % 3)));
}

TEST(AsciiToInt64, ScansDecimal) {
    EXPECT_EQ(asciiToInt64("123"), 123);
    EXPECT_EQ(asciiToInt64("  -77xyz"), -77);
    EXPECT_EQ(asciiToInt64("+5"), 5);
    EXPECT_EQ(asciiToInt64("-9223372036854775808"), LLONG_MIN);
    EXPECT_EQ(asciiToInt64("9223372036854775807"), LLONG_MAX);
    EXPECT_EQ(asciiToInt64("abc"), 0);
    EXPECT_EQ(asciiToInt64(nullptr), 0);
    EXPECT_EQ(asciiToUInt64("18446744073709551615"), ULLONG_MAX);
    EXPECT_EQ(asciiToUInt64("42 rest"), 42u);
    EXPECT_EQ(asciiToUInt64(nullptr), 0u);
    // Round trip through the slots.
    for (long long v : {0LL, 1LL, -1LL, 1234567890123LL, -987654321LL}) {
        EXPECT_EQ(asciiToInt64(int64ToAscii(v, 0)), v);
    }
}
