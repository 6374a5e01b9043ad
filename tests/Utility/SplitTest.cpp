#include <Base/Utility/kyUtilSplit.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using kyString::CString;
using kyUtil::Error;

namespace {

std::vector<std::string> tokens(const ky::vector<CString>& out) {
    std::vector<std::string> v;
    for (const CString& s : out) {
        v.emplace_back(s.asChar(), s.length());
    }
    return v;
}

struct Good {
    const char* text;
    std::vector<std::string> expected;
};

struct Bad {
    const char* text;
    int code;
    const char* message;
    std::vector<std::string> kept;
};

} // namespace

TEST(SplitWithQuotes, Tokens) {
    const Good cases[] = {
        {"", {}},
        {"   \t\n ", {}},
        {"a", {"a"}},
        {"a \"b c\" d", {"a", "b c", "d"}},
        {"  lead  and   trail  ", {"lead", "and", "trail"}},
        {"\"\"", {""}},
        {"x \"\" y", {"x", "", "y"}},
        {"\"a\tb\"", {"a\tb"}},
        {"\"quoted\"", {"quoted"}},
        {"\"end\" ", {"end"}},
        {"mid'single'quote", {"mid'single'quote"}},
    };
    for (const Good& c : cases) {
        ky::vector<CString> out;
        Error e = kyUtil::splitWithQuotes(c.text, out);
        EXPECT_EQ(e.code(), 0) << c.text << ": " << e.message();
        EXPECT_EQ(tokens(out), c.expected) << c.text;
    }
}

TEST(SplitWithQuotes, Failures) {
    const Bad cases[] = {
        {"ab\"c", 2, "Unexpected character before a double quote: 'b'", {}},
        {"\"abc", 1, "Unmatched double quote", {}},
        {"\"x\"y", 4, "Unexpected character after double quote: 'y'", {}},
        {"\"", 1, "Unmatched double quote", {}},
        {"ok \"", 4, "Unmatched double quote", {"ok"}},
        {"one two x\"", 9, "Unexpected character before a double quote: 'x'", {"one", "two"}},
        {"a \"b c", 3, "Unmatched double quote", {"a"}},
        {"\"a\"\"b\"", 4, "Unexpected character after double quote: '\"'", {}},
    };
    for (const Bad& c : cases) {
        ky::vector<CString> out;
        out.push_back(CString("stale")); // cleared first
        Error e = kyUtil::splitWithQuotes(c.text, out);
        EXPECT_EQ(e.code(), c.code) << c.text;
        EXPECT_STREQ(e.message(), c.message) << c.text;
        EXPECT_EQ(tokens(out), c.kept) << c.text;
    }
}

TEST(SplitWithQuotesAndBackslash, Tokens) {
    const Good cases[] = {
        {"", {}},
        {"a\\\"b \"c d\"", {"a\"b", "c d"}},
        {"a\\\\b", {"a\\b"}},
        {"pre\"mid dle\"post x", {"premid dlepost", "x"}},
        {"\"\"", {""}},
        {"\"a\\\"b\"", {"a\"b"}},
        {"  x  ", {"x"}},
        {"\"\" \"\"", {"", ""}},
    };
    for (const Good& c : cases) {
        ky::vector<CString> out;
        Error e = kyUtil::splitWithQuotesAndBackslash(c.text, out);
        EXPECT_EQ(e.code(), 0) << c.text << ": " << e.message();
        EXPECT_EQ(tokens(out), c.expected) << c.text;
    }
}

TEST(SplitWithQuotesAndBackslash, Failures) {
    const Bad cases[] = {
        {"a\\n", 3, "Illegal escape of character 'n'", {}},
        {"ab\\", 3, "Single backslash character", {}},
        {"\\", 1, "Single backslash character", {}},
        {"x \"abc", 3, "Unmatched double quote", {"x"}},
        {"x a\"b c", 4, "Unmatched double quote", {"x"}},
        {"ok a\\ b", 6, "Illegal escape of character ' '", {"ok"}},
        {"\"open\" \"", 8, "Unmatched double quote", {"open"}},
    };
    for (const Bad& c : cases) {
        ky::vector<CString> out;
        Error e = kyUtil::splitWithQuotesAndBackslash(c.text, out);
        EXPECT_EQ(e.code(), c.code) << c.text;
        EXPECT_STREQ(e.message(), c.message) << c.text;
        EXPECT_EQ(tokens(out), c.kept) << c.text;
    }
}

TEST(Split, ByteThatTheCodePageCannotShowStillGivesAMessage) {
    ky::vector<CString> out;
    Error e = kyUtil::splitWithQuotes("a\xff\"", out);
    EXPECT_EQ(e.code(), 2);
    const std::string message = e.message();
    EXPECT_EQ(message.substr(0, 45), "Unexpected character before a double quote: '");
    ASSERT_EQ(message.size(), 47u);
    EXPECT_TRUE(message[45] == '?' || static_cast<unsigned char>(message[45]) == 0xFF);
    EXPECT_EQ(message[46], '\'');
}

TEST(Split, ManyTokensGrowTheVector) {
    std::string text;
    for (int i = 0; i < 100; ++i) {
        text += "\"tok " + std::to_string(i) + "\" ";
    }
    ky::vector<CString> out;
    ASSERT_EQ(kyUtil::splitWithQuotes(text.c_str(), out).code(), 0);
    ASSERT_EQ(out.size(), 100u);
    EXPECT_STREQ(out[99].asChar(), "tok 99");
    ky::vector<CString> copy(out);
    EXPECT_STREQ(copy[42].asChar(), "tok 42");
}

TEST(NumMultiLines, CountsLfAndCr) {
    EXPECT_EQ(kyUtil::numMultiLines(""), 1u);
    EXPECT_EQ(kyUtil::numMultiLines("one line"), 1u);
    EXPECT_EQ(kyUtil::numMultiLines("a\nb\r\n"), 4u);
    EXPECT_EQ(kyUtil::numMultiLines("\n\n\n"), 4u);
    EXPECT_EQ(kyUtil::numMultiLines(CString("a\0\nb", 4)), 2u);
}
