// kyStringConvert.h - conversion between narrow (code page or UTF-8) and wide text.
#ifndef KY_STRING_CONVERT_H
#define KY_STRING_CONVERT_H

#include <Base/BaseExport.h>

namespace kyString {

// Counts are `unsigned int`; a source length of 0xFFFFFFFF means the source is NUL-terminated.
// With a null `dst` each conversion returns the number of characters the output needs
// (without the terminator); with a `dst` it returns the number written (a terminator follows
// when there is room), or 0 when the output does not fit. `lossless` (optional) tells whether
// every character was kept. Nothing is allocated; reentrant (the code-page conversions read
// the C library's current locale, which the library never changes).

/// Narrow text in the process's code page to wide. A `srcLen` shorter than the source's
/// NUL-terminated length is refused with 0 (deliberately); beyond that test the conversion runs
/// to the NUL. Invalid bytes become `getDefaultWChar()`, one per byte. The output fits only
/// when its count is below `dstSize`.
KY_BASE_API unsigned int MBStoWCS(const char* src, unsigned int srcLen, wchar_t* dst,
                                  unsigned int dstSize, bool* lossless = nullptr);
/// Wide text to the process's code page; the mirror of `MBStoWCS`. Characters the code page
/// lacks become `getDefaultMBChar()`; so does any character that needs two bytes once one
/// conversion has failed (kept on purpose).
KY_BASE_API unsigned int WCStoMBS(const wchar_t* src, unsigned int srcLen, char* dst,
                                  unsigned int dstSize, bool* lossless = nullptr);
/// UTF-8 to wide (surrogate pairs where `wchar_t` is 16-bit). `srcLen` bytes exactly, or up to
/// the NUL. A leading byte-order mark is skipped unless `keepBOM`. Malformed, overlong and
/// surrogate sequences become U+FFFD, one per maximal malformed subsequence, and make
/// `*lossless` false. The output fits when its count is at most `dstSize`.
KY_BASE_API unsigned int UTF8toWCS(const char* src, unsigned int srcLen, wchar_t* dst,
                                   unsigned int dstSize, bool keepBOM = false,
                                   bool* lossless = nullptr);
/// Wide to UTF-8. Unpaired surrogates and values beyond U+10FFFF become U+FFFD and make
/// `*lossless` false. The output fits when its count is at most `dstSize`.
KY_BASE_API unsigned int WCStoUTF8(const wchar_t* src, unsigned int srcLen, char* dst,
                                   unsigned int dstSize, bool* lossless = nullptr);
/// 3 when `buf` starts with the UTF-8 byte-order mark EF BB BF, else 0. Checked only when
/// `len` is at least 3 or is -1 (NUL-terminated); a null `buf` gives 0.
KY_BASE_API int detectUTF8BOM(const char* buf, int len);
/// The C library's `mbstowcs(dst, src, len)` as it stands ((size_t)-1 becomes 0xFFFFFFFF).
KY_BASE_API unsigned int getMultiByteStringSize(wchar_t* dst, const char* src, unsigned int len);
/// The replacement for characters that narrow output cannot hold: '?'.
KY_BASE_API char getDefaultMBChar();
/// The replacement for bytes that wide output cannot decode from the code page: L'?'.
KY_BASE_API wchar_t getDefaultWChar();

} // namespace kyString

#endif // KY_STRING_CONVERT_H
