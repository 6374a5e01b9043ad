// kyStringString.h - kyString::String, the abstract base of the narrow and wide string classes.
#ifndef KY_STRING_STRING_H
#define KY_STRING_STRING_H

#include <Base/BaseExport.h>

namespace kyString {

/// As a count: "up to the end of the string".
constexpr unsigned int kToEnd = 0xFFFFFFFFu;
/// As a position returned by a search: "not found".
constexpr unsigned int kNotFound = 0xFFFFFFFFu;

/// The encoding of narrow text handed to or asked of a wide string.
enum Encoding : int {
    kMultibyte = 0, ///< the process's multibyte code page (the C library's current locale)
    kUTF8 = 1,      ///< UTF-8, converted by the library's own codec on every platform
};

/// Abstract base of `CString` and `IString`: emptiness, length and bounds checks. Positions and
/// counts are `unsigned int`; 0xFFFFFFFF (`kToEnd`, `kNotFound`) means "to the end" as a count
/// and "not found" as a result. Holds no data of its own. Not synchronised.
class KY_BASE_API String {
public:
    virtual ~String();

    /// True when `length()` is 0.
    virtual bool isEmpty() const = 0;
    /// The same answer as `isEmpty()`: a string is never null apart from being empty.
    virtual bool isNull() const = 0;
    /// Number of characters (code units for a wide string).
    virtual unsigned int length() const = 0;
    /// Always 0.
    virtual unsigned int first() const = 0;
    /// `length() - 1`, or 0 when the string is empty.
    virtual unsigned int last() const = 0;
    virtual unsigned int capacity() const = 0;
    /// Makes room for `n` characters; returns the new capacity.
    virtual unsigned int reserve(unsigned int n) = 0;
    virtual unsigned int maxSize() const = 0;

protected:
    String() = default;
    String(const String&) = default;
    String& operator=(const String&) = default;

    /// `index < length()`.
    bool doBoundsCheck(unsigned int index) const;
    /// `index < length()` and (`count` is `kToEnd` or `count <= length()`). The count is
    /// compared with the whole length, not with the room left after `index`; kept that way on
    /// purpose, callers clamp the count themselves.
    bool doBoundsCheck(unsigned int index, unsigned int count) const;
};

} // namespace kyString

#endif // KY_STRING_STRING_H
