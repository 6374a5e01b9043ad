// kyStringFormatImpl.h - the growing-buffer formatting behind CString/IString::format.
#ifndef KY_STRING_INTERNAL_FORMATIMPL_H
#define KY_STRING_INTERNAL_FORMATIMPL_H

#include <cstdarg>
#include <string>

namespace kyString {
namespace detail {

/// Formats into `out` starting with a buffer of `initialSize` characters and growing it by
/// steps of 1024 while the output does not fit (under the `TN_vsnprintf` rule: a count of
/// n - 1 does not fit). Returns false, leaving `out` as it was, when the result is empty, when
/// the size would pass 32 bits or when formatting fails.
/// When the C library cannot convert an argument for this width ("%s" bytes the locale cannot
/// decode into wide output, "%S" characters it cannot encode into narrow output), the text is
/// made through the other width and converted with the usual "?" replacements, so a message
/// loses characters rather than vanishing.
bool formatNarrow(std::string& out, unsigned int initialSize, const char* fmt, va_list args);
bool formatWide(std::wstring& out, unsigned int initialSize, const wchar_t* fmt, va_list args);

/// True when the C run-time's wide printf reads "%s" as a wide string (Microsoft's legacy
/// convention), so that wide formats must be rewritten by `TN_convert_string_format`.
bool wideFormatNeedsRewrite();

} // namespace detail
} // namespace kyString

#endif // KY_STRING_INTERNAL_FORMATIMPL_H
