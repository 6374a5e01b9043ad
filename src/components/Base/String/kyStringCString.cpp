// kyStringCString.cpp - kyString::CString.
#include <Base/String/kyStringCString.h>

#include <Base/String/internal/kyStringFormatImpl.h>
#include <Base/String/internal/kyStringOps.h>
#include <Base/String/kyStringCharacter.h>

#include <cstring>
#include <new>
#include <utility>

namespace kyString {

namespace {

constexpr unsigned int kFormatFailed = 0xFFFFFFFFu;
constexpr unsigned int kDefaultFormatSize = 256;

// Target of a non-const `at()` out of range: writes land here instead of past the text.
thread_local char tScratch = 0;

std::size_t lengthOf(const char* text) {
    return text ? std::strlen(text) : 0;
}

} // namespace

CString::CString() : text_(new (std::nothrow) std::string()) {}

CString::CString(const char* text) : text_(new (std::nothrow) std::string()) {
    if (text_ && text) {
        text_->assign(text);
    }
}

CString::CString(const char* text, unsigned int length) : text_(new (std::nothrow) std::string()) {
    if (text_ && text) {
        text_->assign(text, length);
    }
}

CString::CString(char c) : text_(new (std::nothrow) std::string(1, c)) {}

CString::CString(unsigned int count, char c) : text_(new (std::nothrow) std::string()) {
    if (text_) {
        text_->assign(count, c);
    }
}

CString::CString(const CString& other) : String(other), text_(new (std::nothrow) std::string()) {
    if (text_ && other.text_) {
        *text_ = *other.text_;
    }
}

CString::CString(CString&& other) noexcept : String(other), text_(other.text_) {
    other.text_ = new (std::nothrow) std::string();
}

CString::~CString() {
    delete text_;
}

bool CString::isEmpty() const {
    return text_->empty();
}
bool CString::isNull() const {
    return text_->empty();
}
unsigned int CString::length() const {
    return detail::clampLength(text_->size());
}
unsigned int CString::first() const {
    return 0;
}
unsigned int CString::last() const {
    return text_->empty() ? 0 : length() - 1;
}
unsigned int CString::capacity() const {
    return detail::clampLength(text_->capacity());
}
unsigned int CString::reserve(unsigned int n) {
    text_->reserve(n);
    return capacity();
}
unsigned int CString::maxSize() const {
    return detail::clampLength(text_->max_size());
}

CString& CString::append(const CString& other) {
    text_->append(*other.text_);
    return *this;
}

const char* CString::asChar() const {
    return text_->c_str();
}
const char* CString::asMultibyte() const {
    return text_->c_str();
}
unsigned int CString::asCharStoreSize() const {
    return length() + 1;
}
unsigned int CString::asMultibyteStoreSize() const {
    return length() + 1;
}

char* CString::copyAsChar() const {
    char* copy = new (std::nothrow) char[text_->size() + 1];
    if (copy) {
        std::memcpy(copy, text_->c_str(), text_->size() + 1);
    }
    return copy;
}
char* CString::copyAsMultibyte() const {
    return copyAsChar();
}
const std::string& CString::str() const {
    return *text_;
}

char CString::at(unsigned int i) const {
    return doBoundsCheck(i) ? (*text_)[i] : '\0';
}
char& CString::at(unsigned int i) {
    if (doBoundsCheck(i)) {
        return (*text_)[i];
    }
    tScratch = '\0';
    return tScratch;
}
char CString::operator[](unsigned int i) const {
    return (*text_)[i];
}
char& CString::operator[](unsigned int i) {
    return (*text_)[i];
}

CString& CString::append(const char* text) {
    text_->append(text ? text : "");
    return *this;
}
CString& CString::append(const char* text, unsigned int length) {
    if (text) {
        text_->append(text, length);
    }
    return *this;
}
CString& CString::append(char c) {
    text_->push_back(c);
    return *this;
}
CString& CString::prepend(const CString& other) {
    text_->insert(0, *other.text_);
    return *this;
}
CString& CString::prepend(const char* text) {
    text_->insert(0, text ? text : "");
    return *this;
}
CString& CString::prepend(char c) {
    text_->insert(text_->begin(), c);
    return *this;
}
CString& CString::insert(unsigned int pos, const CString& other) {
    detail::insertAt(*text_, pos, other.text_->data(), other.text_->size());
    return *this;
}
CString& CString::insert(unsigned int pos, const char* text) {
    detail::insertAt(*text_, pos, text ? text : "", lengthOf(text));
    return *this;
}
CString& CString::insert(unsigned int pos, char c) {
    detail::insertAt(*text_, pos, &c, 1);
    return *this;
}
CString& CString::replace(unsigned int pos, unsigned int count, const CString& with) {
    detail::replaceAt(*text_, pos, count, with.text_->data(), with.text_->size());
    return *this;
}
CString& CString::replace(unsigned int pos, unsigned int count, const char* with) {
    detail::replaceAt(*text_, pos, count, with ? with : "", lengthOf(with));
    return *this;
}
CString& CString::replace(unsigned int pos, unsigned int count, char with) {
    detail::replaceAt(*text_, pos, count, &with, 1);
    return *this;
}
CString& CString::assign(const CString& other) {
    if (this != &other) {
        *text_ = *other.text_;
    }
    return *this;
}
CString& CString::assign(const char* text) {
    text_->assign(text ? text : "");
    return *this;
}
CString& CString::assign(const char* text, unsigned int length) {
    if (text) {
        text_->assign(text, length);
    } else {
        text_->clear();
    }
    return *this;
}
CString& CString::assign(char c) {
    text_->assign(1, c);
    return *this;
}
CString& CString::operator=(const CString& other) {
    return assign(other);
}
CString& CString::operator=(CString&& other) noexcept {
    std::swap(text_, other.text_);
    return *this;
}
CString& CString::operator=(const char* text) {
    return assign(text);
}
CString& CString::operator=(char c) {
    return assign(c);
}
CString& CString::erase(unsigned int pos, unsigned int count) {
    detail::eraseAt(*text_, pos, count);
    return *this;
}
CString& CString::remove(unsigned int pos, unsigned int count) {
    return erase(pos, count);
}
void CString::clear() {
    text_->clear();
}

CString CString::substr(unsigned int pos, unsigned int count) const {
    CString out;
    *out.text_ = detail::substrOf(*text_, pos, count);
    return out;
}

CString& CString::toUpperCase() {
    for (char& c : *text_) {
        c = toUpper(c);
    }
    return *this;
}
CString& CString::toLowerCase() {
    for (char& c : *text_) {
        c = toLower(c);
    }
    return *this;
}
void CString::swap(CString& other) noexcept {
    std::swap(text_, other.text_);
}

CString& CString::strip(char c) {
    detail::stripLeading(*text_, [c](char x) { return x == c; });
    return *this;
}
CString& CString::stripSpaces() {
    detail::stripLeading(*text_, [](char x) { return isSpace(x); });
    return *this;
}
CString& CString::rstrip(char c) {
    detail::stripTrailing(*text_, [c](char x) { return x == c; });
    return *this;
}
CString& CString::rstripSpaces() {
    detail::stripTrailing(*text_, [](char x) { return isSpace(x); });
    return *this;
}

unsigned int CString::find(const CString& what, unsigned int start) const {
    return detail::toUnsigned(text_->find(*what.text_, start));
}
unsigned int CString::find(const char* what, unsigned int start) const {
    return detail::toUnsigned(text_->find(what ? what : "", start));
}
unsigned int CString::find(char c, unsigned int start) const {
    return detail::toUnsigned(text_->find(c, start));
}
unsigned int CString::find(bool (*predicate)(char), unsigned int start) const {
    return predicate ? detail::findIf(*text_, predicate, start) : kNotFound;
}
unsigned int CString::rfind(const CString& what, unsigned int start) const {
    return detail::toUnsigned(text_->rfind(*what.text_, detail::toReverseStart(start)));
}
unsigned int CString::rfind(const char* what, unsigned int start) const {
    return detail::toUnsigned(text_->rfind(what ? what : "", detail::toReverseStart(start)));
}
unsigned int CString::rfind(char c, unsigned int start) const {
    return detail::toUnsigned(text_->rfind(c, detail::toReverseStart(start)));
}
unsigned int CString::rfind(bool (*predicate)(char), unsigned int start) const {
    return predicate ? detail::rfindIf(*text_, predicate, start) : kNotFound;
}

int CString::compare(const CString& other) const {
    return detail::compareUnits(*text_, *other.text_);
}
int CString::compare(const char* other) const {
    return detail::compareUnits(*text_, std::string(other ? other : ""));
}
int CString::compareNoCase(const CString& other) const {
    return detail::compareUnits(detail::folded(*text_), detail::folded(*other.text_));
}
int CString::collate(const CString& other) const {
    return std::strcoll(text_->c_str(), other.text_->c_str());
}
int CString::collateNoCase(const CString& other) const {
    return std::strcoll(detail::folded(*text_).c_str(), detail::folded(*other.text_).c_str());
}
bool CString::isAscii() const {
    return detail::allAscii(*text_);
}

unsigned int CString::format(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const unsigned int n = vformat(kDefaultFormatSize, fmt, args);
    va_end(args);
    return n;
}
unsigned int CString::format(const CString* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const unsigned int n = vformat(kDefaultFormatSize, fmt ? fmt->asChar() : nullptr, args);
    va_end(args);
    return n;
}
unsigned int CString::format(unsigned int initialSize, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const unsigned int n = vformat(initialSize, fmt, args);
    va_end(args);
    return n;
}
unsigned int CString::format(unsigned int initialSize, const CString* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const unsigned int n = vformat(initialSize, fmt ? fmt->asChar() : nullptr, args);
    va_end(args);
    return n;
}
unsigned int CString::vformat(const char* fmt, va_list args) {
    return vformat(kDefaultFormatSize, fmt, args);
}
unsigned int CString::vformat(unsigned int initialSize, const char* fmt, va_list args) {
    if (!fmt) {
        return kFormatFailed;
    }
    // An empty result is a failure too, deliberately: the text stays as it was.
    if (!detail::formatNarrow(*text_, initialSize, fmt, args)) {
        return kFormatFailed;
    }
    return length();
}

void swap(CString& a, CString& b) noexcept {
    a.swap(b);
}

CString plus(const CString& a, const CString& b) {
    CString out(a);
    out.append(b);
    return out;
}
CString& plusEqual(CString& a, const CString& b) {
    return a.append(b);
}
bool equal(const CString& a, const CString& b) {
    return a.str() == b.str();
}
bool equal(const CString& a, const char* b) {
    return a.str() == (b ? b : "");
}
bool notEqual(const CString& a, const CString& b) {
    return !equal(a, b);
}
bool less(const CString& a, const CString& b) {
    return a.compare(b) < 0;
}
bool lessEqual(const CString& a, const CString& b) {
    return a.compare(b) <= 0;
}
bool greater(const CString& a, const CString& b) {
    return a.compare(b) > 0;
}
bool greaterEqual(const CString& a, const CString& b) {
    return a.compare(b) >= 0;
}

ky::HashValue hashfunction(const CString& s) {
    // The byte hash folds the count into its seed, so the length is part of the value.
    return ky::hashfunction(static_cast<const void*>(s.str().data()), s.str().size());
}

} // namespace kyString

kyString::CString* CString_create(const char* text) {
    kyString::CString* s = new (std::nothrow) kyString::CString(text);
    if (s && !s->valid()) {
        delete s;
        return nullptr;
    }
    return s;
}

void CString_delete(kyString::CString* s) {
    delete s;
}
