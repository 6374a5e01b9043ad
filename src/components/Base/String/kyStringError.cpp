// kyStringError.cpp - kyUtil::Error's members. Declared in Utility's core, which includes no
// String header (the message is only a forward-declared IString pointer there), and compiled
// here, above String, because keeping and formatting the message needs IString.
#include <Base/String/kyStringIString.h>
#include <Base/Utility/kyUtilError.h>

#include <new>
#include <utility>

namespace kyUtil {

namespace {

kyString::IString* copyOf(const kyString::IString* message) {
    if (!message) {
        return nullptr;
    }
    kyString::IString* copy = new (std::nothrow) kyString::IString(*message);
    if (copy && !copy->valid()) {
        delete copy;
        return nullptr;
    }
    return copy;
}

} // namespace

Error::Error(const Error& other) : code_(other.code_), message_(copyOf(other.message_)) {}

Error& Error::operator=(const Error& other) {
    if (this != &other) {
        Error copy(other);
        swap(copy);
    }
    return *this;
}

Error& Error::operator=(Error&& other) noexcept {
    swap(other);
    return *this;
}

Error::Error(int code, const char* format, ...) : code_(code), message_(nullptr) {
    va_list args;
    va_start(args, format);
    setMsg(format, args);
    va_end(args);
}

Error::Error(int code, const wchar_t* format, ...) : code_(code), message_(nullptr) {
    va_list args;
    va_start(args, format);
    setMsg(format, args);
    va_end(args);
}

Error::Error(int code, const kyString::IString& message)
    : code_(code), message_(copyOf(&message)) {}

Error::~Error() {
    delete message_;
}

void Error::swap(Error& other) noexcept {
    std::swap(code_, other.code_);
    std::swap(message_, other.message_);
}

const char* Error::message() const {
    return message_ ? message_->asMultibyte() : "";
}

bool Error::operator==(const Error& other) const {
    if (code_ != other.code_) {
        return false;
    }
    if (!message_ || !other.message_) {
        return message_ == other.message_;
    }
    return *message_ == *other.message_;
}

namespace {

// The formatted message, or null when there is none: no format, an empty result or no memory
// (the code then stands alone).
template <typename Char>
kyString::IString* formatMessage(const Char* format, va_list args) {
    if (!format || !*format) {
        return nullptr;
    }
    kyString::IString* message = new (std::nothrow) kyString::IString();
    if (!message || !message->valid() || message->vformat(format, args) == 0xFFFFFFFFu) {
        delete message;
        return nullptr;
    }
    return message;
}

} // namespace

void Error::setMsg(const char* format, va_list args) {
    delete message_;
    message_ = formatMessage(format, args);
}

void Error::setMsg(const wchar_t* format, va_list args) {
    delete message_;
    message_ = formatMessage(format, args);
}

} // namespace kyUtil
