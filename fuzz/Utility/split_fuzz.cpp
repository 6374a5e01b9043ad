// split_fuzz.cpp - both command-line splitters on arbitrary text: no fault, failure codes that
// point into the text, and tokens that split back the same way.
#include <Base/String/kyStringCString.h>
#include <Base/Utility/kyUtilSplit.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

void check(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// Quotes every token so that splitWithQuotesAndBackslash must give it back unchanged.
std::string quoteAll(const ky::vector<kyString::CString>& tokens) {
    std::string out;
    for (const kyString::CString& t : tokens) {
        out += '"';
        for (unsigned int i = 0; i < t.length(); ++i) {
            const char c = t[i];
            if (c == '"' || c == '\\') {
                out += '\\';
            }
            out += c;
        }
        out += "\" ";
    }
    return out;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 1 << 14) {
        return 0;
    }
    // The splitters read a CString, which stops at nothing: embedded NULs are characters.
    const kyString::CString text(reinterpret_cast<const char*>(data),
                                 static_cast<unsigned int>(size));
    const int n = static_cast<int>(text.length());

    ky::vector<kyString::CString> plain;
    kyUtil::Error e = kyUtil::splitWithQuotes(text, plain);
    if (e.code() != 0) {
        check(e.code() >= 1 && e.code() <= n);
        check(e.hasMessage());
    } else {
        // Quotes never reach a token, so quoting every token gives them back unchanged.
        std::string again;
        for (const kyString::CString& t : plain) {
            check(t.find('"') == kyString::kNotFound);
            again += '"' + t.str() + "\" ";
        }
        ky::vector<kyString::CString> twice;
        kyUtil::Error g = kyUtil::splitWithQuotes(
            kyString::CString(again.data(), static_cast<unsigned int>(again.size())), twice);
        check(g.code() == 0 && twice.size() == plain.size());
        for (std::size_t i = 0; i < twice.size(); ++i) {
            check(twice[i].str() == plain[i].str());
        }
    }

    ky::vector<kyString::CString> escaped;
    kyUtil::Error f = kyUtil::splitWithQuotesAndBackslash(text, escaped);
    if (f.code() != 0) {
        check(f.code() >= 1 && f.code() <= n);
        check(f.hasMessage());
    } else {
        const std::string again = quoteAll(escaped);
        ky::vector<kyString::CString> twice;
        kyUtil::Error g = kyUtil::splitWithQuotesAndBackslash(
            kyString::CString(again.data(), static_cast<unsigned int>(again.size())), twice);
        check(g.code() == 0);
        check(twice.size() == escaped.size());
        for (std::size_t i = 0; i < twice.size(); ++i) {
            check(twice[i].str() == escaped[i].str());
        }
    }
    (void)kyUtil::numMultiLines(text);
    return 0;
}
