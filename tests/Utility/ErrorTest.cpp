#include <Base/String/kyStringIString.h>
#include <Base/Utility/kyUtilError.h>

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstring>
#include <string>
#include <utility>

using kyUtil::Error;

namespace {

template <class C>
Error makeWithVaList(int code, const C* format, ...) {
    va_list args;
    va_start(args, format);
    Error e(code, format, args);
    va_end(args);
    return e;
}

// Reaches the protected setMsg.
struct MessageEditor : Error {
    using Error::Error;
    template <class C>
    void set(const C* format, ...) {
        va_list args;
        va_start(args, format);
        setMsg(format, args);
        va_end(args);
    }
};

} // namespace

TEST(Error, FormatsBuildTheMessage) {
    Error none;
    EXPECT_TRUE(none.ok());
    EXPECT_FALSE(none.failed() || none.hasMessage());
    EXPECT_EQ(none.messageString(), nullptr);
    EXPECT_STREQ(none.message(), "");

    Error narrow(2, "cannot open '%s' (%d)", "a.txt", 7);
    EXPECT_TRUE(narrow.failed());
    EXPECT_EQ(narrow.messageString()->str(), std::wstring(L"cannot open 'a.txt' (7)"));
    const struct {
        Error error;
        int code;
        const char* message;
    } rows[] = {
        {Error(4, L"%S and %s, %c%C", L"wide", "narrow", 'x', L'y'), 4, "wide and narrow, xy"},
        {Error(4, "%S/%s/%C", L"w", "n", L'c'), 4, "w/n/c"},
        {makeWithVaList(9, "%s-%d", "x", 3), 9, "x-3"},
        {makeWithVaList(8, L"%s-%d", "y", 4), 8, "y-4"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.error.code(), row.code);
        EXPECT_STREQ(row.error.message(), row.message);
    }
}

TEST(Error, EmptyMessagesAreNoneAndEqualityNeedsBoth) {
    const Error errors[] = {Error(3, ""), Error(3, static_cast<const char*>(nullptr)),
                            Error(3, L""), Error(3, static_cast<const wchar_t*>(nullptr)),
                            Error(3, "%s", "")};
    for (const Error& e : errors) {
        EXPECT_FALSE(e.hasMessage());
        EXPECT_EQ(e.code(), 3);
        EXPECT_EQ(e, errors[0]);
        EXPECT_STREQ(e.message(), "");
    }
    // A message present on one side only makes them unequal.
    EXPECT_NE(Error(3, "x"), Error(3, ""));
    EXPECT_NE(Error(3, ""), Error(3, "x"));
    EXPECT_EQ(Error(3, "x"), Error(3, L"x"));
    EXPECT_NE(Error(3, "x"), Error(3, "y"));
    EXPECT_NE(Error(3, "x"), Error(4, "x"));
    EXPECT_NE(Error(3, static_cast<const char*>(nullptr)), Error(4, ""));
}

TEST(Error, IStringMessageIsCopiedAsGiven) {
    Error empty(5, kyString::IString());
    EXPECT_TRUE(empty.hasMessage()); // an empty IString is stored as an empty message
    EXPECT_STREQ(empty.message(), "");
    EXPECT_NE(empty, Error(5, ""));
    EXPECT_EQ(empty, Error(5, kyString::IString(L"")));

    kyString::IString text(L"100% sure");
    Error e(6, text);
    EXPECT_STREQ(e.message(), "100% sure"); // not used as a format
    text.append(L"!");
    EXPECT_STREQ(e.message(), "100% sure"); // a copy
}

TEST(Error, CopyIsDeepSwapAndMoveTransfer) {
    Error a(1, "first");
    Error b(a);
    Error c;
    c = a;
    c = c; // self-assignment keeps the message
    EXPECT_TRUE(a == b && a == c && a.messageString() != b.messageString() &&
                a.messageString() != c.messageString());
    const Error none(2, "");
    c = none;
    const kyString::IString* message = a.messageString();
    a.swap(c);
    EXPECT_TRUE(a == none && !a.hasMessage() && c.messageString() == message);
    swap(a, c);
    Error moved(std::move(a));
    c = std::move(moved);
    EXPECT_EQ(c.messageString(), message);
    EXPECT_EQ(c.code(), 1);
}

TEST(Error, SetMsgReplacesOrRemoves) {
    MessageEditor e(7, "old");
    e.set("new %d", 1);
    EXPECT_STREQ(e.message(), "new 1");
    e.set(L"wide %s", "x");
    EXPECT_STREQ(e.message(), "wide x");
    e.set("");
    EXPECT_FALSE(e.hasMessage());
    e.set("again");
    e.set(static_cast<const char*>(nullptr));
    EXPECT_FALSE(e.hasMessage());
    EXPECT_EQ(e.code(), 7);
}

TEST(Error, MessageIsInTheProcessCodePage) {
    // U+00E9 cannot be shown in the "C" locale's ASCII code page on Linux; it becomes "?".
    // On Windows the "C" locale keeps bytes up to 255, so it stays.
    Error e(1, L"caf%C", static_cast<wchar_t>(0xE9));
    ASSERT_TRUE(e.hasMessage());
    EXPECT_EQ(e.messageString()->length(), 4u);
    const std::string shown = e.message();
    EXPECT_EQ(shown.size(), 4u);
    EXPECT_EQ(shown.substr(0, 3), "caf");
    EXPECT_TRUE(shown[3] == '?' || static_cast<unsigned char>(shown[3]) == 0xE9);
    // A byte that the locale cannot decode as an argument of a narrow "%s" must not make the
    // message vanish: it shows as "?" (or as itself where the code page holds it).
    Error narrow(2, "cannot open '%s'", "a\xff.txt");
    ASSERT_TRUE(narrow.hasMessage());
    EXPECT_EQ(narrow.messageString()->length(), std::wcslen(L"cannot open 'a?.txt'"));
    EXPECT_EQ(std::string(narrow.message()).substr(0, 13), "cannot open '");
}
