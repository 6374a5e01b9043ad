// kyStringNumber.h - 64-bit integer / text conversion.
#ifndef KY_STRING_NUMBER_H
#define KY_STRING_NUMBER_H

#include <Base/BaseExport.h>

extern "C" {

/// Formats `value` in decimal into slot `slot` (0, 1 or 2) of a static table of three
/// 28-character buffers and returns that buffer. The slot is not checked and the buffers are
/// shared by all threads: not reentrant; a caller that needs two results at once uses two
/// slots. Signed and unsigned values have separate tables.
KY_BASE_API const char* int64ToAscii(long long value, int slot);
KY_BASE_API const char* uint64ToAscii(unsigned long long value, int slot);
/// The decimal number at the start of `text` (after optional whitespace), or 0 when nothing is
/// read (also for null).
KY_BASE_API long long asciiToInt64(const char* text);
KY_BASE_API unsigned long long asciiToUInt64(const char* text);
}

#endif // KY_STRING_NUMBER_H
