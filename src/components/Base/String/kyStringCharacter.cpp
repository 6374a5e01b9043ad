// kyStringCharacter.cpp - character classification with the wide symbol table.
#include <Base/String/kyStringCharacter.h>

#include <algorithm>
#include <cctype>
#include <cwctype>
#include <iterator>

namespace kyString {

namespace {

// Symbols that the wide predicates count as letters: letter-like symbols, arrows, mathematical
// operators, box drawing, geometric shapes, enclosed numbers, CJK symbols and squared units,
// full-width signs. Sorted.
constexpr wchar_t kSymbols[] = {
    0x2103, 0x2116, 0x2121, 0x2190, 0x2191, 0x2192, 0x2193, 0x21D2, 0x21D4, 0x2200, 0x2202, 0x2203,
    0x2207, 0x2208, 0x220B, 0x2211, 0x221A, 0x221D, 0x221E, 0x221F, 0x2220, 0x2225, 0x2227, 0x2228,
    0x2229, 0x222A, 0x222B, 0x222C, 0x222E, 0x2234, 0x2235, 0x223D, 0x2252, 0x2260, 0x2261, 0x2266,
    0x2267, 0x226A, 0x226B, 0x2282, 0x2283, 0x2286, 0x2287, 0x22A5, 0x22BF, 0x2312, 0x2460, 0x2461,
    0x2462, 0x2463, 0x2464, 0x2465, 0x2466, 0x2467, 0x2468, 0x2469, 0x246A, 0x246B, 0x246C, 0x246D,
    0x246E, 0x246F, 0x2470, 0x2471, 0x2472, 0x2473, 0x2500, 0x2501, 0x2502, 0x2503, 0x250C, 0x250F,
    0x2510, 0x2513, 0x2514, 0x2517, 0x2518, 0x251B, 0x251C, 0x251D, 0x2520, 0x2523, 0x2524, 0x2525,
    0x2528, 0x252B, 0x252C, 0x252F, 0x2530, 0x2533, 0x2534, 0x2537, 0x2538, 0x253B, 0x253C, 0x253F,
    0x2542, 0x254B, 0x25A0, 0x25A1, 0x25B2, 0x25B3, 0x25BC, 0x25BD, 0x25C6, 0x25C7, 0x25CB, 0x25CE,
    0x25CF, 0x25EF, 0x2605, 0x2606, 0x2640, 0x2642, 0x266A, 0x266D, 0x266F, 0x3005, 0x3012, 0x3013,
    0x309B, 0x309C, 0x309D, 0x309E, 0x30FC, 0x30FD, 0x30FE, 0x3231, 0x3232, 0x3239, 0x32A4, 0x32A5,
    0x32A6, 0x32A7, 0x32A8, 0x3303, 0x330D, 0x3314, 0x3318, 0x3322, 0x3323, 0x3326, 0x3327, 0x332B,
    0x3336, 0x333B, 0x3349, 0x334A, 0x334D, 0x3351, 0x3357, 0x337B, 0x337C, 0x337D, 0x337E, 0x338E,
    0x338F, 0x339C, 0x339D, 0x339E, 0x33A1, 0x33C4, 0x33CD, 0xFF04, 0xFF0B, 0xFF1C, 0xFF1D, 0xFF1E,
    0xFF3E, 0xFF40, 0xFF5C, 0xFF5E, 0xFFE0, 0xFFE1, 0xFFE2, 0xFFE3, 0xFFE4, 0xFFE5,
};
static_assert(std::size(kSymbols) == 178, "the symbol table has 178 entries");

bool inSymbolTable(wchar_t c) {
    // Everything in the table lies in [U+2103, U+FFE5]; most text never reaches the search.
    if (c < kSymbols[0] || c > kSymbols[std::size(kSymbols) - 1]) {
        return false;
    }
    return std::binary_search(std::begin(kSymbols), std::end(kSymbols), c);
}

// The C library's narrow predicates take an unsigned char value (or EOF).
inline int byte(char c) {
    return static_cast<unsigned char>(c);
}
inline std::wint_t wide(wchar_t c) {
    return static_cast<std::wint_t>(c);
}

} // namespace

bool isAscii(char c) {
    return static_cast<unsigned char>(c) < 128;
}
bool isAscii(wchar_t c) {
    return static_cast<unsigned long>(c) < 128;
}
bool isAscii(const char* text) {
    if (!text) {
        return true;
    }
    for (; *text; ++text) {
        if (!isAscii(*text)) {
            return false;
        }
    }
    return true;
}

bool isUpper(char c) {
    return std::isupper(byte(c)) != 0;
}
bool isUpper(wchar_t c) {
    return std::iswupper(wide(c)) != 0;
}
bool isLower(char c) {
    return std::islower(byte(c)) != 0;
}
bool isLower(wchar_t c) {
    return std::iswlower(wide(c)) != 0;
}
bool isDigit(char c) {
    return std::isdigit(byte(c)) != 0;
}
bool isDigit(wchar_t c) {
    return std::iswdigit(wide(c)) != 0;
}
bool isXDigit(char c) {
    return std::isxdigit(byte(c)) != 0;
}
bool isXDigit(wchar_t c) {
    return std::iswxdigit(wide(c)) != 0;
}

bool isAlnum(char c) {
    return std::isalnum(byte(c)) != 0;
}
bool isAlnum(wchar_t c) {
    return std::iswalnum(wide(c)) != 0 || inSymbolTable(c);
}

bool isAlpha(char c) {
    return isAlnum(c) && !isDigit(c);
}
bool isAlpha(wchar_t c) {
    return isAlnum(c) && !isDigit(c);
}

bool isPunct(char c) {
    return std::ispunct(byte(c)) != 0;
}
bool isPunct(wchar_t c) {
    return std::iswpunct(wide(c)) != 0 && !inSymbolTable(c);
}

bool isPrint(char c) {
    return std::isprint(byte(c)) != 0;
}
bool isPrint(wchar_t c) {
    if (c == L'\t') {
        return false;
    }
    return std::iswprint(wide(c)) != 0 || inSymbolTable(c);
}

bool isSpace(char c) {
    return std::isspace(byte(c)) != 0;
}
bool isSpace(wchar_t c) {
    return std::iswspace(wide(c)) != 0;
}

bool isGraph(char c) {
    return std::isgraph(byte(c)) != 0;
}
bool isGraph(wchar_t c) {
    return std::iswgraph(wide(c)) != 0 || inSymbolTable(c);
}

bool isCntrl(char c) {
    return std::iscntrl(byte(c)) != 0;
}
bool isCntrl(wchar_t c) {
    return std::iswcntrl(wide(c)) != 0;
}

bool isNewLine(char c) {
    return c == '\n' || c == '\r';
}
bool isNewLine(wchar_t c) {
    return c == L'\n' || c == L'\r';
}
bool isTab(char c) {
    return c == '\t';
}
bool isTab(wchar_t c) {
    return c == L'\t';
}

bool isLetterModifier(char) {
    return false;
}
bool isLetterModifier(wchar_t c) {
    return inSymbolTable(c);
}

char toLower(char c) {
    return static_cast<char>(std::tolower(byte(c)));
}
wchar_t toLower(wchar_t c) {
    return static_cast<wchar_t>(std::towlower(wide(c)));
}
char toUpper(char c) {
    return static_cast<char>(std::toupper(byte(c)));
}
wchar_t toUpper(wchar_t c) {
    return static_cast<wchar_t>(std::towupper(wide(c)));
}

} // namespace kyString
