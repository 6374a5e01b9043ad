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

// Code 0 and an empty message for a good line; the failure column otherwise, with the tokens
// taken before the failure.
struct Case {
    bool backslash;
    const char* text;
    int code;
    const char* message;
    std::vector<std::string> tokens;
};

} // namespace

TEST(Split, TokensAndFailures) {
    const Case cases[] = {
        {false, "", 0, "", {}},
        {false, "   \t\n ", 0, "", {}},
        {false, "a \"b c\" d", 0, "", {"a", "b c", "d"}},
        {false, "  lead  and   trail  ", 0, "", {"lead", "and", "trail"}},
        {false, "x \"\" y", 0, "", {"x", "", "y"}},
        {false, "\"a\tb\"", 0, "", {"a\tb"}},
        {false, "\"end\" ", 0, "", {"end"}},
        {false, "mid'single'quote", 0, "", {"mid'single'quote"}},
        {false, "ab\"c", 2, "Unexpected character before a double quote: 'b'", {}},
        {false, "\"abc", 1, "Unmatched double quote", {}},
        {false, "\"x\"y", 4, "Unexpected character after double quote: 'y'", {}},
        {false, "ok \"", 4, "Unmatched double quote", {"ok"}},
        {false, "on tw x\"", 7, "Unexpected character before a double quote: 'x'", {"on", "tw"}},
        {false, "a \"b c", 3, "Unmatched double quote", {"a"}},
        {false, "\"a\"\"b\"", 4, "Unexpected character after double quote: '\"'", {}},
        {true, "", 0, "", {}},
        {true, "a\\\"b \"c d\"", 0, "", {"a\"b", "c d"}},
        {true, "a\\\\b", 0, "", {"a\\b"}},
        {true, "pre\"mid dle\"post x", 0, "", {"premid dlepost", "x"}},
        {true, "\"a\\\"b\"", 0, "", {"a\"b"}},
        {true, "\"\" \"\"", 0, "", {"", ""}},
        {true, "a\\n", 3, "Illegal escape of character 'n'", {}},
        {true, "ab\\", 3, "Single backslash character", {}},
        {true, "\\", 1, "Single backslash character", {}},
        {true, "x \"abc", 3, "Unmatched double quote", {"x"}},
        {true, "x a\"b c", 4, "Unmatched double quote", {"x"}},
        {true, "ok a\\ b", 6, "Illegal escape of character ' '", {"ok"}},
        {true, "\"open\" \"", 8, "Unmatched double quote", {"open"}},
    };
    for (const Case& c : cases) {
        ky::vector<CString> out;
        out.push_back(CString("stale")); // cleared first
        Error e = c.backslash ? kyUtil::splitWithQuotesAndBackslash(c.text, out)
                              : kyUtil::splitWithQuotes(c.text, out);
        EXPECT_EQ(e.code(), c.code) << c.text;
        EXPECT_STREQ(e.message(), c.message) << c.text;
        EXPECT_EQ(tokens(out), c.tokens) << c.text;
    }
    // A byte the code page cannot show still gives a message.
    ky::vector<CString> out;
    Error e = kyUtil::splitWithQuotes("a\xff\"", out);
    EXPECT_EQ(e.code(), 2);
    const std::string message = e.message();
    EXPECT_EQ(message.substr(0, 45), "Unexpected character before a double quote: '");
    ASSERT_EQ(message.size(), 47u);
    EXPECT_TRUE(message[45] == '?' || static_cast<unsigned char>(message[45]) == 0xFF);
    EXPECT_EQ(message[46], '\'');
    // Many tokens grow the vector.
    std::string text;
    for (int i = 0; i < 100; ++i) {
        text += "\"tok " + std::to_string(i) + "\" ";
    }
    ky::vector<CString> many;
    ASSERT_EQ(kyUtil::splitWithQuotes(text.c_str(), many).code(), 0);
    ASSERT_EQ(many.size(), 100u);
    EXPECT_STREQ(many[99].asChar(), "tok 99");
    ky::vector<CString> copy(many);
    EXPECT_STREQ(copy[42].asChar(), "tok 42");
}

TEST(NumMultiLines, CountsLfAndCr) {
    EXPECT_EQ(kyUtil::numMultiLines(""), 1u);
    EXPECT_EQ(kyUtil::numMultiLines("one line"), 1u);
    EXPECT_EQ(kyUtil::numMultiLines("a\nb\r\n"), 4u);
    EXPECT_EQ(kyUtil::numMultiLines("\n\n\n"), 4u);
    EXPECT_EQ(kyUtil::numMultiLines(CString("a\0\nb", 4)), 2u);
}
