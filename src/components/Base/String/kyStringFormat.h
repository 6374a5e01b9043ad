// kyStringFormat.h - printf-style formatting with one meaning of "%s" and "%S" everywhere.
#ifndef KY_STRING_FORMAT_H
#define KY_STRING_FORMAT_H

#include <Base/BaseExport.h>

#include <cstdarg>
#include <cstddef>

// In every formatting call of the library, narrow or wide, "%s"/"%c" take narrow arguments
// and "%S"/"%C" wide ones. Reentrant.
extern "C" {

/// Formats into `buf` (`n` bytes) and returns the character count only when it is at least 0
/// and below `n - 1`; otherwise -1. Output that would exactly fill the buffer with its
/// terminator (count `n - 1`) is therefore reported as not fitting; that margin is kept on
/// purpose. The buffer is always terminated when `n` > 0.
KY_BASE_API int TN_snprintf(char* buf, std::size_t n, const char* fmt, ...);
KY_BASE_API int TN_vsnprintf(char* buf, std::size_t n, const char* fmt, va_list args);
/// The wide counterparts, under the same rule; "%s" still takes a narrow argument.
KY_BASE_API int TN_swprintf(wchar_t* buf, std::size_t n, const wchar_t* fmt, ...);
KY_BASE_API int TN_vswprintf(wchar_t* buf, std::size_t n, const wchar_t* fmt, va_list args);
/// A copy of the wide format with the case of every "%s", "%S", "%c", "%C" conversion swapped
/// (after an optional "-", width digits and "." precision; "%%" is skipped; length modifiers
/// such as "l" stop the scan, so "%ls" stays). The caller frees the copy with `free()`; null
/// gives null.
KY_BASE_API wchar_t* TN_convert_string_format(const wchar_t* fmt);
}

#endif // KY_STRING_FORMAT_H
