// kyStringUTF8.h - the library's own UTF-8 codec, the same on every platform.
#ifndef KY_STRING_INTERNAL_UTF8_H
#define KY_STRING_INTERNAL_UTF8_H

#include <cstddef>

namespace kyString {
namespace detail {

// Decoding is lenient: each maximal malformed subsequence (an invalid lead byte, a sequence cut
// short, an overlong form, an encoded surrogate or a value beyond U+10FFFF) becomes one U+FFFD
// and clears `*valid`. Where `wchar_t` is 16-bit, characters beyond U+FFFF become surrogate
// pairs. Encoding turns unpaired surrogates and values beyond U+10FFFF into U+FFFD (and clears
// `*valid`). `valid` may be null; nothing reads past `n` units.

/// Number of wide units that `n` bytes of UTF-8 decode to.
std::size_t utf8MeasureWide(const unsigned char* s, std::size_t n, bool* valid);
/// Decodes `n` bytes into `out`, which has room for `utf8MeasureWide` units (`n` units always
/// suffice); returns the units written.
std::size_t utf8DecodeWide(const unsigned char* s, std::size_t n, wchar_t* out, bool* valid);

/// Number of bytes that `n` wide units encode to.
std::size_t utf8MeasureNarrow(const wchar_t* s, std::size_t n, bool* valid);
/// Encodes `n` units into `out`, which has room for `utf8MeasureNarrow` bytes
/// (`kMaxBytesPerUnit * n` always suffice); returns the bytes written.
std::size_t utf8EncodeNarrow(const wchar_t* s, std::size_t n, char* out, bool* valid);

/// The most bytes one wide unit can need: 3 for UTF-16 units (a pair needs 4 for 2 units),
/// 4 for UTF-32.
constexpr std::size_t kMaxBytesPerUnit = sizeof(wchar_t) == 2 ? 3 : 4;

} // namespace detail
} // namespace kyString

#endif // KY_STRING_INTERNAL_UTF8_H
