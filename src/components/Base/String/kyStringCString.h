// kyStringCString.h - kyString::CString, the library's narrow (8-bit) string.
#ifndef KY_STRING_CSTRING_H
#define KY_STRING_CSTRING_H

#include <Base/BaseExport.h>
#include <Base/Containers/kyHashFunction.h>
#include <Base/String/kyStringString.h>

#include <cstdarg>
#include <string>

namespace kyString {

/// Narrow text, taken to be in the process's multibyte code page unless an operation says
/// UTF-8.
///
/// Owns one separately allocated standard narrow string (texts of up to 15 characters are kept
/// inside it), so a CString is one pointer plus the vtable and is relocatable by copying its
/// bytes (it may live in a `ky::vector`). A default-constructed CString holds the empty text.
/// Copying copies the text; construction costs one allocation. Pointers returned by
/// `asChar()` stay valid until the string is next changed or destroyed. Not synchronised.
///
/// Failure: nothing throws for bad input. Out-of-range positions make editors do nothing and
/// searches return `kNotFound`; `format` returns 0xFFFFFFFF and keeps the old text. If the
/// record cannot be allocated the string has none and only destruction is safe.
///
/// @code
///   kyString::CString s("  hello");
///   s.stripSpaces().append(", world"); // "hello, world"
///   s.find(',');                       // 5
///   s.format("%s=%d", "x", 42);        // returns 4, s is "x=42"
/// @endcode
class KY_BASE_API CString : public String {
public:
    CString();
    /// A null pointer gives the empty string.
    CString(const char* text);
    /// The first `length` characters of `text` (which may hold NULs); null gives empty.
    CString(const char* text, unsigned int length);
    explicit CString(char c);
    /// `count` copies of `c`.
    CString(unsigned int count, char c);
    CString(const CString& other);
    /// Leaves `other` empty (it gets a fresh empty record).
    CString(CString&& other) noexcept;
    ~CString() override;

    bool isEmpty() const override;
    bool isNull() const override;
    unsigned int length() const override;
    unsigned int first() const override;
    unsigned int last() const override;
    unsigned int capacity() const override;
    unsigned int reserve(unsigned int n) override;
    unsigned int maxSize() const override;
    /// The concatenation primitive; `plusEqual(a, b)` calls it.
    virtual CString& append(const CString& other);

    // Access. The text is NUL-terminated; narrow text is in the process's code page.
    const char* asChar() const;
    const char* asMultibyte() const;
    /// `length() + 1`.
    unsigned int asCharStoreSize() const;
    unsigned int asMultibyteStoreSize() const;
    /// A new NUL-terminated copy that the caller frees with `delete[]`.
    char* copyAsChar() const;
    char* copyAsMultibyte() const;
    /// The underlying standard string.
    const std::string& str() const;
    /// False only when the record could not be allocated (then only destruction is safe).
    bool valid() const noexcept { return text_ != nullptr; }

    /// Checked access: out of range gives NUL (const) or a scratch character (non-const).
    char at(unsigned int i) const;
    char& at(unsigned int i);
    /// Unchecked access, as `std::string::operator[]`.
    char operator[](unsigned int i) const;
    char& operator[](unsigned int i);

    // Editing. Each returns the string. Positions past the end make the call do nothing; a
    // count running past the end is cut at the end.
    CString& append(const char* text);
    CString& append(const char* text, unsigned int length);
    CString& append(char c);
    CString& prepend(const CString& other);
    CString& prepend(const char* text);
    CString& prepend(char c);
    CString& insert(unsigned int pos, const CString& other);
    CString& insert(unsigned int pos, const char* text);
    CString& insert(unsigned int pos, char c);
    CString& replace(unsigned int pos, unsigned int count, const CString& with);
    CString& replace(unsigned int pos, unsigned int count, const char* with);
    CString& replace(unsigned int pos, unsigned int count, char with);
    CString& assign(const CString& other);
    CString& assign(const char* text);
    CString& assign(const char* text, unsigned int length);
    CString& assign(char c);
    CString& operator=(const CString& other);
    CString& operator=(CString&& other) noexcept;
    CString& operator=(const char* text);
    CString& operator=(char c);
    CString& operator+=(const CString& other) { return append(other); }
    CString& operator+=(const char* text) { return append(text); }
    CString& operator+=(char c) { return append(c); }
    CString& erase(unsigned int pos = 0, unsigned int count = kToEnd);
    /// The same as `erase`.
    CString& remove(unsigned int pos, unsigned int count = kToEnd);
    /// Empties the string.
    void clear();

    /// A new string of `count` characters from `pos` (empty when `pos` is past the end).
    CString substr(unsigned int pos, unsigned int count = kToEnd) const;
    /// Maps every character through `toUpper` / `toLower`.
    CString& toUpperCase();
    CString& toLowerCase();
    void swap(CString& other) noexcept;
    /// Removes leading occurrences of `c`.
    CString& strip(char c);
    /// Removes leading whitespace (`isSpace`).
    CString& stripSpaces();
    /// Removes trailing occurrences of `c`.
    CString& rstrip(char c);
    CString& rstripSpaces();

    // Searching: the position of the first (last) match at or after (at or before) `start`,
    // or `kNotFound`.
    unsigned int find(const CString& what, unsigned int start = 0) const;
    unsigned int find(const char* what, unsigned int start = 0) const;
    unsigned int find(char c, unsigned int start = 0) const;
    /// The first character at or after `start` for which `predicate` holds.
    unsigned int find(bool (*predicate)(char), unsigned int start = 0) const;
    unsigned int rfind(const CString& what, unsigned int start = kToEnd) const;
    unsigned int rfind(const char* what, unsigned int start = kToEnd) const;
    unsigned int rfind(char c, unsigned int start = kToEnd) const;
    unsigned int rfind(bool (*predicate)(char), unsigned int start = kToEnd) const;

    // Comparison: negative, zero or positive.
    /// Byte order (unsigned) over the common length, then the shorter string first.
    int compare(const CString& other) const;
    int compare(const char* other) const;
    /// `compare` of copies folded with `toLower`.
    int compareNoCase(const CString& other) const;
    /// The C library's locale collation (`strcoll`).
    int collate(const CString& other) const;
    int collateNoCase(const CString& other) const;
    /// True when every character is below 128.
    bool isAscii() const;

    // Formatting: printf-style through `TN_vsnprintf` ("%s"/"%c" narrow, "%S"/"%C" wide).
    // Each returns the new length, or 0xFFFFFFFF on failure, which leaves the text unchanged.
    // An empty result counts as a failure, deliberately (callers test for 0xFFFFFFFF only).
    unsigned int format(const char* fmt, ...);
    unsigned int format(const CString* fmt, ...);
    /// Starts with a buffer of `initialSize` bytes instead of 256.
    unsigned int format(unsigned int initialSize, const char* fmt, ...);
    unsigned int format(unsigned int initialSize, const CString* fmt, ...);
    unsigned int vformat(const char* fmt, va_list args);
    unsigned int vformat(unsigned int initialSize, const char* fmt, va_list args);

private:
    std::string* text_;
};

KY_BASE_API void swap(CString& a, CString& b) noexcept;

KY_BASE_API CString plus(const CString& a, const CString& b);
/// `a.append(b)`.
KY_BASE_API CString& plusEqual(CString& a, const CString& b);
KY_BASE_API bool equal(const CString& a, const CString& b);
KY_BASE_API bool equal(const CString& a, const char* b);
KY_BASE_API bool notEqual(const CString& a, const CString& b);
KY_BASE_API bool less(const CString& a, const CString& b);
KY_BASE_API bool lessEqual(const CString& a, const CString& b);
KY_BASE_API bool greater(const CString& a, const CString& b);
KY_BASE_API bool greaterEqual(const CString& a, const CString& b);
/// Hash of the characters and the length, with `ky::hashfunction` (found by `ky::hash`).
KY_BASE_API ky::HashValue hashfunction(const CString& s);

inline CString operator+(const CString& a, const CString& b) {
    return plus(a, b);
}
inline bool operator==(const CString& a, const CString& b) {
    return equal(a, b);
}
inline bool operator==(const CString& a, const char* b) {
    return equal(a, b);
}
inline bool operator!=(const CString& a, const CString& b) {
    return notEqual(a, b);
}
inline bool operator!=(const CString& a, const char* b) {
    return !equal(a, b);
}
inline bool operator<(const CString& a, const CString& b) {
    return less(a, b);
}
inline bool operator<=(const CString& a, const CString& b) {
    return lessEqual(a, b);
}
inline bool operator>(const CString& a, const CString& b) {
    return greater(a, b);
}
inline bool operator>=(const CString& a, const CString& b) {
    return greaterEqual(a, b);
}

} // namespace kyString

extern "C" {
/// A new CString holding `text` (null gives empty), or null when allocation fails.
KY_BASE_API kyString::CString* CString_create(const char* text);
/// Destroys a CString made by `CString_create`; a null pointer is ignored.
KY_BASE_API void CString_delete(kyString::CString* s);
}

#endif // KY_STRING_CSTRING_H
