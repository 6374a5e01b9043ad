// kyUtilError.h - kyUtil::Error, the result value of the library's fallible operations.
#ifndef KY_UTILITY_ERROR_H
#define KY_UTILITY_ERROR_H

#include <Base/BaseExport.h>

#include <cstdarg>
#include <utility>

namespace kyString {
class IString;
} // namespace kyString

namespace kyUtil {

namespace detail {
// Never defined: selects the va_list constructors only for arguments that are a va_list.
void takesVaList(va_list args);
} // namespace detail

// Declared [[nodiscard]] here and exported at the definition: compilers do not accept the
// standard attribute and the export attribute on the same declaration.
class [[nodiscard]] Error;

/// The result of a fallible operation, returned by value: an `int` code (0 = success; the
/// meaning of other codes belongs to the producer) and an optional message that the Error
/// owns. Must not be dropped: the library never ignores one silently, and callers that do so
/// on purpose write `(void)` and a word why.
///
/// A success, or a failure without a message, costs nothing to make or copy; copying a message
/// copies its text. An empty message is never stored by the format constructors. If the
/// message cannot be built (memory, or text the code page cannot hold) the Error keeps its code
/// without a message. Not synchronised; reentrant.
///
/// Formats follow the library's rule: "%s"/"%c" narrow, "%S"/"%C" wide, in narrow and wide
/// formats alike. Where `va_list` is `char*` (Windows), a lone modifiable `char*` argument is
/// taken for a `va_list`: pass it as `const char*`.
///
/// @code
///   kyUtil::Error e(2, "cannot open '%s'", "a.txt");
///   if (e.code() != 0) { std::puts(e.message()); } // cannot open 'a.txt'
///   kyUtil::Error ok;                               // code 0, message ""
/// @endcode
class KY_BASE_API Error {
public:
    /// Success: code 0, no message.
    Error() noexcept : code_(0), message_(nullptr) {}
    Error(const Error& other);
    Error(Error&& other) noexcept : code_(other.code_), message_(other.message_) {
        other.message_ = nullptr;
    }
    Error& operator=(const Error& other);
    Error& operator=(Error&& other) noexcept;
    /// The message is the narrow `format` applied to the arguments; null or empty: no message.
    Error(int code, const char* format, ...);
    /// The same from a `va_list`. A template so that only a real `va_list` selects it: where
    /// `va_list` is `char*` (Windows) a string literal argument would otherwise convert to it.
    template <class V, class = decltype(detail::takesVaList(std::declval<V>()))>
    Error(int code, const char* format, V args) : code_(code), message_(nullptr) {
        setMsg(format, args);
    }
    /// The same with a wide format.
    Error(int code, const wchar_t* format, ...);
    template <class V, class = decltype(detail::takesVaList(std::declval<V>()))>
    Error(int code, const wchar_t* format, V args) : code_(code), message_(nullptr) {
        setMsg(format, args);
    }
    /// Copies `message` as given (an empty IString is stored as an empty message).
    Error(int code, const kyString::IString& message);
    virtual ~Error();

    /// Exchanges code and message.
    void swap(Error& other) noexcept;

    int code() const noexcept { return code_; }
    bool ok() const noexcept { return code_ == 0; }
    bool failed() const noexcept { return code_ != 0; }
    /// The message in the process's multibyte code page, or "" when there is none. Valid as
    /// long as the Error is unchanged.
    const char* message() const;
    /// The message itself, or null when there is none.
    const kyString::IString* messageString() const noexcept { return message_; }
    bool hasMessage() const noexcept { return message_ != nullptr; }

    /// Equal when the codes are equal and either neither has a message or both messages are
    /// equal; a message on one side only makes them unequal.
    bool operator==(const Error& other) const;
    bool operator!=(const Error& other) const { return !(*this == other); }

protected:
    /// Replaces the message, or removes it for a null or empty format.
    void setMsg(const char* format, va_list args);
    void setMsg(const wchar_t* format, va_list args);

private:
    int code_;
    kyString::IString* message_;
};

inline void swap(Error& a, Error& b) noexcept {
    a.swap(b);
}

} // namespace kyUtil

#endif // KY_UTILITY_ERROR_H
