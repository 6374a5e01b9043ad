// kyUtilSplit.cpp - splitWithQuotes, splitWithQuotesAndBackslash and numMultiLines.
#include <Base/Utility/kyUtilSplit.h>

#include <Base/String/kyStringCharacter.h>
#include <Base/String/kyStringIString.h>

namespace kyUtil {

namespace {

constexpr char kQuote = '"';
constexpr char kBackslash = '\\';

const char kUnmatchedQuote[] = "Unmatched double quote";
const char kSingleBackslash[] = "Single backslash character";

// "<prefix>'<c>'" built by concatenation rather than formatting: the character is one byte of
// arbitrary input that a formatting call could refuse to convert, and the message must not be
// lost. A byte the code page cannot decode shows as '?'.
Error characterError(unsigned int code, const char* prefix, char c) {
    kyString::IString message(prefix);
    message.append(kyString::IString(c));
    message.append(L'\'');
    return Error(static_cast<int>(code), message);
}

} // namespace

Error splitWithQuotes(const kyString::CString& text, ky::vector<kyString::CString>& out) {
    out.clear();
    const unsigned int n = text.length();
    const char* s = text.asChar();
    unsigned int i = 0;
    for (;;) {
        kyString::CString token;
        while (i < n && kyString::isSpace(s[i])) {
            ++i;
        }
        if (i == n) {
            return Error();
        }
        bool quoted = false;
        unsigned int q = 0;
        if (s[i] == kQuote) {
            if (i + 1 == n) {
                return Error(static_cast<int>(i + 1), kUnmatchedQuote);
            }
            quoted = true;
            q = i;
            ++i;
        }
        while (i < n) {
            const char c = s[i];
            if (c == kQuote) {
                if (!quoted) {
                    return characterError(i, "Unexpected character before a double quote: '",
                                          s[i - 1]);
                }
                if (i + 1 < n && !kyString::isSpace(s[i + 1])) {
                    return characterError(i + 2, "Unexpected character after double quote: '",
                                          s[i + 1]);
                }
                quoted = false; // the closing quote is dropped
            } else if (kyString::isSpace(c)) {
                if (!quoted) {
                    break;
                }
                token.append(c);
            } else {
                token.append(c);
            }
            ++i;
        }
        if (quoted) {
            return Error(static_cast<int>(q + 1), kUnmatchedQuote);
        }
        out.push_back(token);
    }
}

Error splitWithQuotesAndBackslash(const kyString::CString& text,
                                  ky::vector<kyString::CString>& out) {
    out.clear();
    const unsigned int n = text.length();
    const char* s = text.asChar();
    unsigned int i = 0;
    for (;;) {
        while (i < n && kyString::isSpace(s[i])) {
            ++i;
        }
        if (i == n) {
            return Error();
        }
        kyString::CString token;
        bool quoted = false;
        unsigned int q = 0;
        while (i < n) {
            const char c = s[i];
            if (c == kQuote) {
                if (!quoted) {
                    q = i;
                }
                quoted = !quoted;
            } else if (c == kBackslash) {
                if (i + 1 == n) {
                    return Error(static_cast<int>(i + 1), kSingleBackslash);
                }
                const char next = s[i + 1];
                if (next != kBackslash && next != kQuote) {
                    return characterError(i + 2, "Illegal escape of character '", next);
                }
                token.append(next);
                ++i;
            } else if (!quoted && kyString::isSpace(c)) {
                break;
            } else {
                token.append(c);
            }
            ++i;
        }
        if (quoted) {
            return Error(static_cast<int>(q + 1), kUnmatchedQuote);
        }
        out.push_back(token);
    }
}

unsigned int numMultiLines(const kyString::CString& text) {
    unsigned int lines = 1;
    const char* s = text.asChar();
    const unsigned int n = text.length();
    for (unsigned int i = 0; i < n; ++i) {
        if (s[i] == '\n' || s[i] == '\r') {
            ++lines;
        }
    }
    return lines;
}

} // namespace kyUtil
