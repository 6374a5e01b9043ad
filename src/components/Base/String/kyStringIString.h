// kyStringIString.h - kyString::IString, the library's wide string with a cached narrow form.
#ifndef KY_STRING_ISTRING_H
#define KY_STRING_ISTRING_H

#include <Base/BaseExport.h>
#include <Base/Containers/kyHashFunction.h>
#include <Base/String/kyStringCString.h>
#include <Base/String/kyStringString.h>

#include <cstdarg>
#include <string>

namespace kyString {

namespace detail {
struct IStringRecord;
} // namespace detail

/// Wide text (`wchar_t`: UTF-16 on Windows, UTF-32 on Linux), the general text type of the
/// library (file names, error messages).
///
/// Owns one separately allocated record: the wide text, and a narrow cache with the encoding
/// it was made in and whether that conversion kept every character. The cache is rebuilt
/// lazily by the const `asMultibyte` / `asUTF8`, so two threads must not convert the same
/// IString at once; otherwise as thread-safe as a standard string (not synchronised). Any
/// change to the text marks the cache stale. Relocatable by copying its bytes.
///
/// Narrow input and output is in the process's multibyte code page (`kMultibyte`, the C
/// library's current locale; the library never sets the locale) or in UTF-8 (`kUTF8`).
/// Conversions that may lose characters report it through an optional `bool* lossless`.
///
/// Failure: nothing throws for bad text; positions past the end make editors do nothing;
/// `format` returns 0xFFFFFFFF and keeps the old text. If the record cannot be allocated the
/// string has none and only destruction is safe.
///
/// @code
///   bool lossless = false;
///   kyString::IString s("caf\xC3\xA9", kyString::kUTF8, &lossless); // 4 characters
///   const char* utf8 = s.asUTF8(&lossless);                          // "caf\xC3\xA9"
///   s.format(L"%s has %d letters", "word", 4);                       // "%s" is narrow
/// @endcode
class KY_BASE_API IString : public String {
public:
    IString();
    /// Narrow `text` converted from `encoding`; a null pointer gives empty (and `*lossless`
    /// true).
    IString(const char* text, Encoding encoding = kMultibyte, bool* lossless = nullptr);
    IString(const wchar_t* text);
    /// The first `length` characters of `text` (which may hold NULs); null gives empty.
    IString(const wchar_t* text, unsigned int length);
    IString(const IString& other);
    /// Leaves `other` empty (it gets a fresh empty record).
    IString(IString&& other) noexcept;
    explicit IString(const CString& text, Encoding encoding = kMultibyte, bool* lossless = nullptr);
    explicit IString(char c, Encoding encoding = kMultibyte, bool* lossless = nullptr);
    explicit IString(wchar_t c);
    /// `count` copies of `c` (converted from `encoding`).
    IString(unsigned int count, char c, Encoding encoding = kMultibyte);
    IString(unsigned int count, wchar_t c);
    ~IString() override;

    bool isEmpty() const override;
    bool isNull() const override;
    unsigned int length() const override;
    unsigned int first() const override;
    unsigned int last() const override;
    unsigned int capacity() const override;
    unsigned int reserve(unsigned int n) override;
    unsigned int maxSize() const override;
    /// The concatenation primitive; `plusEqual(a, b)` calls it.
    virtual IString& append(const IString& other);

    // Access.
    const wchar_t* asWChar() const;
    const wchar_t* asUnicode() const;
    /// `length() + 1`.
    unsigned int asWCharStoreSize() const;
    unsigned int asUnicodeStoreSize() const;
    /// A new NUL-terminated copy that the caller frees with `delete[]`.
    wchar_t* copyAsWChar() const;
    /// The underlying standard wide string.
    const std::wstring& str() const;
    /// False only when the record could not be allocated (then only destruction is safe).
    bool valid() const noexcept { return rec_ != nullptr; }

    /// The text converted to `encoding`, from the narrow cache when it is current. With a
    /// `lossless` pointer, `*lossless` tells whether the conversion kept every character
    /// (characters the code page lacks become "?"); a cache made without one is rebuilt the
    /// first time the answer is asked for. The pointer lives until the string next changes.
    const char* asMultibyte(Encoding encoding = kMultibyte, bool* lossless = nullptr) const;
    const char* asUTF8(bool* lossless = nullptr) const;
    /// A new NUL-terminated converted copy that the caller frees with `delete[]`.
    char* copyAsMultibyte(Encoding encoding = kMultibyte, bool* lossless = nullptr) const;
    /// Size of the converted text + 1.
    unsigned int asMultibyteStoreSize(Encoding encoding = kMultibyte) const;
    unsigned int asUTF8StoreSize() const;

    /// Checked access: out of range gives NUL (const) or a scratch character (non-const).
    wchar_t at(unsigned int i) const;
    wchar_t& at(unsigned int i);
    /// Unchecked access, as `std::wstring::operator[]`.
    wchar_t operator[](unsigned int i) const;
    wchar_t& operator[](unsigned int i);

    // Editing. Each returns the string. Positions past the end make the call do nothing; a
    // count running past the end is cut at the end.
    IString& append(const wchar_t* text);
    IString& append(const wchar_t* text, unsigned int length);
    IString& append(wchar_t c);
    IString& prepend(const IString& other);
    IString& prepend(const wchar_t* text);
    IString& prepend(wchar_t c);
    IString& insert(unsigned int pos, const IString& other);
    IString& insert(unsigned int pos, const wchar_t* text);
    IString& insert(unsigned int pos, wchar_t c);
    IString& replace(unsigned int pos, unsigned int count, const IString& with);
    IString& replace(unsigned int pos, unsigned int count, const wchar_t* with);
    IString& replace(unsigned int pos, unsigned int count, wchar_t with);
    /// Replaces every occurrence of `what` (scanning left to right, not re-scanning inserted
    /// text); an empty `what` changes nothing.
    IString& replace(const IString& what, const IString& with);
    IString& assign(const IString& other);
    IString& assign(const wchar_t* text);
    IString& assign(const wchar_t* text, unsigned int length);
    IString& assign(wchar_t c);
    /// Narrow text converted from `encoding` (see the narrow constructor).
    IString& assign(const CString& text, Encoding encoding = kMultibyte, bool* lossless = nullptr);
    IString& assign(const char* text, Encoding encoding = kMultibyte, bool* lossless = nullptr);
    IString& operator=(const IString& other);
    IString& operator=(IString&& other) noexcept;
    IString& operator=(const wchar_t* text);
    IString& operator=(wchar_t c);
    IString& operator+=(const IString& other) { return append(other); }
    IString& operator+=(const wchar_t* text) { return append(text); }
    IString& operator+=(wchar_t c) { return append(c); }
    IString& erase(unsigned int pos = 0, unsigned int count = kToEnd);
    /// The same as `erase`.
    IString& remove(unsigned int pos, unsigned int count = kToEnd);
    /// Empties the string.
    void clear();

    /// A new string of `count` characters from `pos` (empty when `pos` is past the end).
    IString substr(unsigned int pos, unsigned int count = kToEnd) const;
    /// The same into `out`; returns `out`.
    IString& substr(IString& out, unsigned int pos, unsigned int count = kToEnd) const;
    /// Maps every character through `toUpper` / `toLower`.
    IString& toUpperCase();
    IString& toLowerCase();
    void swap(IString& other) noexcept;
    /// Removes leading occurrences of `c`.
    IString& strip(wchar_t c);
    /// Removes leading whitespace (`isSpace`).
    IString& stripSpaces();
    IString& rstrip(wchar_t c);
    IString& rstripSpaces();

    // Searching: the position of the first (last) match at or after (at or before) `start`,
    // or `kNotFound`.
    unsigned int find(const IString& what, unsigned int start = 0) const;
    unsigned int find(const wchar_t* what, unsigned int start = 0) const;
    unsigned int find(wchar_t c, unsigned int start = 0) const;
    unsigned int find(bool (*predicate)(wchar_t), unsigned int start = 0) const;
    unsigned int rfind(const IString& what, unsigned int start = kToEnd) const;
    unsigned int rfind(const wchar_t* what, unsigned int start = kToEnd) const;
    unsigned int rfind(wchar_t c, unsigned int start = kToEnd) const;
    unsigned int rfind(bool (*predicate)(wchar_t), unsigned int start = kToEnd) const;
    /// Any character of `set`.
    unsigned int findAny(const IString& set, unsigned int start = 0) const;
    unsigned int rfindAny(const IString& set, unsigned int start = kToEnd) const;

    // Comparison: negative, zero or positive.
    /// Code-unit order over the common length, then the shorter string first.
    int compare(const IString& other) const;
    int compare(const wchar_t* other) const;
    int compareNoCase(const IString& other) const;
    /// The C library's locale collation (`wcscoll`).
    int collate(const IString& other) const;
    int collateNoCase(const IString& other) const;
    bool isAscii() const;

    // Formatting: printf-style through `TN_vswprintf`. In narrow and wide formats alike "%s"
    // and "%c" take narrow arguments, "%S" and "%C" wide ones. A narrow format is first
    // widened from the process's code page. Each returns the new length, or 0xFFFFFFFF on
    // failure, which leaves the text unchanged; an empty result counts as a failure,
    // deliberately.
    unsigned int format(const char* fmt, ...);
    unsigned int format(const wchar_t* fmt, ...);
    unsigned int vformat(const char* fmt, va_list args);
    unsigned int vformat(const wchar_t* fmt, va_list args);

private:
    void touch();
    const std::string& narrow(Encoding encoding, bool* lossless) const;
    void setFromNarrow(const char* text, unsigned int length, Encoding encoding, bool* lossless);

    detail::IStringRecord* rec_;
};

KY_BASE_API void swap(IString& a, IString& b) noexcept;

KY_BASE_API IString plus(const IString& a, const IString& b);
/// `a.append(b)`.
KY_BASE_API IString& plusEqual(IString& a, const IString& b);
KY_BASE_API bool equal(const IString& a, const IString& b);
KY_BASE_API bool notEqual(const IString& a, const IString& b);
KY_BASE_API bool less(const IString& a, const IString& b);
KY_BASE_API bool lessEqual(const IString& a, const IString& b);
KY_BASE_API bool greater(const IString& a, const IString& b);
KY_BASE_API bool greaterEqual(const IString& a, const IString& b);
/// Hash of the characters and the length, with `ky::hashfunction` (found by `ky::hash`).
KY_BASE_API ky::HashValue hashfunction(const IString& s);

inline IString operator+(const IString& a, const IString& b) {
    return plus(a, b);
}
inline bool operator==(const IString& a, const IString& b) {
    return equal(a, b);
}
inline bool operator!=(const IString& a, const IString& b) {
    return notEqual(a, b);
}
inline bool operator<(const IString& a, const IString& b) {
    return less(a, b);
}
inline bool operator<=(const IString& a, const IString& b) {
    return lessEqual(a, b);
}
inline bool operator>(const IString& a, const IString& b) {
    return greater(a, b);
}
inline bool operator>=(const IString& a, const IString& b) {
    return greaterEqual(a, b);
}

} // namespace kyString

#endif // KY_STRING_ISTRING_H
