// kyStringCharacter.h - character classification and case mapping for narrow and wide text.
#ifndef KY_STRING_CHARACTER_H
#define KY_STRING_CHARACTER_H

#include <Base/BaseExport.h>

namespace kyString {

// Classification follows the C library's current locale (`isalpha`, `iswalpha`, ...), with
// two additions for wide characters: a table of 178 symbols (letter-like symbols, arrows,
// mathematical operators, box drawing, enclosed numbers, CJK and full-width signs) that count
// as letters, and TAB, which is never printable. Narrow characters are taken as unsigned
// bytes, so text with bytes above 127 is safe to classify. Reentrant.

KY_BASE_API bool isAscii(char c);
KY_BASE_API bool isAscii(wchar_t c);
/// True when every character of the NUL-terminated `text` is below 128 (null: true).
KY_BASE_API bool isAscii(const char* text);
KY_BASE_API bool isUpper(char c);
KY_BASE_API bool isUpper(wchar_t c);
KY_BASE_API bool isLower(char c);
KY_BASE_API bool isLower(wchar_t c);
KY_BASE_API bool isDigit(char c);
KY_BASE_API bool isDigit(wchar_t c);
KY_BASE_API bool isXDigit(char c);
KY_BASE_API bool isXDigit(wchar_t c);
/// Wide: the locale's test, or one of the table's symbols.
KY_BASE_API bool isAlnum(char c);
KY_BASE_API bool isAlnum(wchar_t c);
/// Alphanumeric (for wide: or in the symbol table) and not a digit.
KY_BASE_API bool isAlpha(char c);
KY_BASE_API bool isAlpha(wchar_t c);
/// Wide: the locale's test and not in the symbol table.
KY_BASE_API bool isPunct(char c);
KY_BASE_API bool isPunct(wchar_t c);
/// Wide: false for TAB, else the locale's test or in the symbol table.
KY_BASE_API bool isPrint(char c);
KY_BASE_API bool isPrint(wchar_t c);
KY_BASE_API bool isSpace(char c);
KY_BASE_API bool isSpace(wchar_t c);
/// Wide: the locale's test or in the symbol table.
KY_BASE_API bool isGraph(char c);
KY_BASE_API bool isGraph(wchar_t c);
KY_BASE_API bool isCntrl(char c);
KY_BASE_API bool isCntrl(wchar_t c);
/// LF or CR.
KY_BASE_API bool isNewLine(char c);
KY_BASE_API bool isNewLine(wchar_t c);
KY_BASE_API bool isTab(char c);
KY_BASE_API bool isTab(wchar_t c);
/// Narrow: always false. Wide: one of the table's symbols.
KY_BASE_API bool isLetterModifier(char c);
KY_BASE_API bool isLetterModifier(wchar_t c);
KY_BASE_API char toLower(char c);
KY_BASE_API wchar_t toLower(wchar_t c);
KY_BASE_API char toUpper(char c);
KY_BASE_API wchar_t toUpper(wchar_t c);

} // namespace kyString

#endif // KY_STRING_CHARACTER_H
