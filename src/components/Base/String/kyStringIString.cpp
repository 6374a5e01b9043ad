// kyStringIString.cpp - kyString::IString and its narrow cache.
#include <Base/String/kyStringIString.h>

#include <Base/String/internal/kyStringFormatImpl.h>
#include <Base/String/internal/kyStringOps.h>
#include <Base/String/kyStringCharacter.h>
#include <Base/String/kyStringConvert.h>

#include <cstdint>
#include <cstring>
#include <cwchar>
#include <new>
#include <utility>

namespace kyString {

namespace detail {

/// What an IString owns. `stale` is 1 while `cache` does not reflect `text`;
/// `losslessState` is 0 (not known), 1 (the conversion that made the cache kept every
/// character) or 2 (it lost some).
struct IStringRecord {
    std::wstring text;
    std::uint32_t stale = 1;
    std::uint32_t cacheEncoding = kMultibyte;
    std::string cache;
    std::uint32_t losslessState = 0;
};

} // namespace detail

namespace {

constexpr unsigned int kFormatFailed = 0xFFFFFFFFu;
constexpr unsigned int kDefaultFormatSize = 256;
constexpr std::uint32_t kLosslessUnknown = 0;
constexpr std::uint32_t kLosslessYes = 1;
constexpr std::uint32_t kLosslessNo = 2;

thread_local wchar_t tScratch = 0;

void setFlag(bool* flag, bool value) {
    if (flag) {
        *flag = value;
    }
}

std::size_t lengthOf(const wchar_t* text) {
    return text ? std::wcslen(text) : 0;
}

detail::IStringRecord* newRecord() {
    return new (std::nothrow) detail::IStringRecord();
}

} // namespace

IString::IString() : rec_(newRecord()) {}

IString::IString(const char* text, Encoding encoding, bool* lossless) : rec_(newRecord()) {
    if (rec_) {
        setFromNarrow(text, 0, encoding, lossless);
    }
}

IString::IString(const wchar_t* text) : rec_(newRecord()) {
    if (rec_ && text) {
        rec_->text.assign(text);
    }
}

IString::IString(const wchar_t* text, unsigned int length) : rec_(newRecord()) {
    if (rec_ && text) {
        rec_->text.assign(text, length);
    }
}

IString::IString(const IString& other) : String(other), rec_(newRecord()) {
    if (rec_ && other.rec_) {
        rec_->text = other.rec_->text;
    }
}

IString::IString(IString&& other) noexcept : String(other), rec_(other.rec_) {
    other.rec_ = newRecord();
    if (rec_) {
        touch();
    }
}

IString::IString(const CString& text, Encoding encoding, bool* lossless) : rec_(newRecord()) {
    if (rec_) {
        setFromNarrow(text.asChar(), 0, encoding, lossless);
    }
}

IString::IString(char c, Encoding encoding, bool* lossless) : rec_(newRecord()) {
    if (rec_) {
        const char text[2] = {c, '\0'};
        setFromNarrow(text, 0, encoding, lossless);
    }
}

IString::IString(wchar_t c) : rec_(newRecord()) {
    if (rec_) {
        rec_->text.assign(1, c);
    }
}

IString::IString(unsigned int count, char c, Encoding encoding) : rec_(newRecord()) {
    if (rec_) {
        const std::string text(count, c);
        setFromNarrow(text.c_str(), 0, encoding, nullptr);
    }
}

IString::IString(unsigned int count, wchar_t c) : rec_(newRecord()) {
    if (rec_) {
        rec_->text.assign(count, c);
    }
}

IString::~IString() {
    delete rec_;
}

void IString::touch() {
    rec_->stale = 1;
    rec_->losslessState = kLosslessUnknown;
}

void IString::setFromNarrow(const char* text, unsigned int, Encoding encoding, bool* lossless) {
    touch();
    setFlag(lossless, false);
    if (!text || !*text) {
        rec_->text.clear();
        setFlag(lossless, true);
        return;
    }
    const bool utf8 = encoding == kUTF8;
    const unsigned int size = utf8 ? UTF8toWCS(text, kToEnd, nullptr, 0, false, lossless)
                                   : MBStoWCS(text, kToEnd, nullptr, 0, lossless);
    std::wstring converted(static_cast<std::size_t>(size) + 1, L'\0');
    const unsigned int written =
        utf8 ? UTF8toWCS(text, kToEnd, &converted[0], size + 1, false, lossless)
             : MBStoWCS(text, kToEnd, &converted[0], size + 1, lossless);
    converted.resize(written);
    rec_->text.swap(converted);
}

const std::string& IString::narrow(Encoding encoding, bool* lossless) const {
    detail::IStringRecord& r = *rec_;
    // A caller who asks whether the conversion was lossless gets a real answer: a cache made
    // without that question is rebuilt once.
    if (lossless && r.losslessState == kLosslessUnknown) {
        r.stale = 1;
    }
    if (!r.stale && r.cacheEncoding == static_cast<std::uint32_t>(encoding)) {
        setFlag(lossless, r.losslessState == kLosslessYes);
        return r.cache;
    }
    setFlag(lossless, false);
    r.losslessState = kLosslessUnknown;
    if (r.text.empty()) {
        r.cache.clear();
        r.losslessState = kLosslessYes;
        setFlag(lossless, true);
    } else {
        const bool utf8 = encoding == kUTF8;
        const unsigned int length = detail::clampLength(r.text.size());
        const unsigned int size = utf8 ? WCStoUTF8(r.text.c_str(), length, nullptr, 0, nullptr)
                                       : WCStoMBS(r.text.c_str(), kToEnd, nullptr, 0, nullptr);
        if (size == 0) {
            r.cache.clear();
            r.losslessState = kLosslessNo;
        } else {
            std::string converted(size, '\0');
            // The string's own terminator gives the conversion its room for one.
            const unsigned int written =
                utf8 ? WCStoUTF8(r.text.c_str(), length, &converted[0], size + 1, lossless)
                     : WCStoMBS(r.text.c_str(), kToEnd, &converted[0], size + 1, lossless);
            converted.resize(written);
            if (lossless) {
                r.losslessState = *lossless ? kLosslessYes : kLosslessNo;
            }
            r.cache.swap(converted);
        }
    }
    r.cacheEncoding = static_cast<std::uint32_t>(encoding);
    r.stale = 0;
    return r.cache;
}

bool IString::isEmpty() const {
    return rec_->text.empty();
}
bool IString::isNull() const {
    return rec_->text.empty();
}
unsigned int IString::length() const {
    return detail::clampLength(rec_->text.size());
}
unsigned int IString::first() const {
    return 0;
}
unsigned int IString::last() const {
    return rec_->text.empty() ? 0 : length() - 1;
}
unsigned int IString::capacity() const {
    return detail::clampLength(rec_->text.capacity());
}
unsigned int IString::reserve(unsigned int n) {
    rec_->text.reserve(n);
    return capacity();
}
unsigned int IString::maxSize() const {
    return detail::clampLength(rec_->text.max_size());
}

IString& IString::append(const IString& other) {
    touch();
    rec_->text.append(other.rec_->text);
    return *this;
}

const wchar_t* IString::asWChar() const {
    return rec_->text.c_str();
}
const wchar_t* IString::asUnicode() const {
    return rec_->text.c_str();
}
unsigned int IString::asWCharStoreSize() const {
    return length() + 1;
}
unsigned int IString::asUnicodeStoreSize() const {
    return length() + 1;
}

wchar_t* IString::copyAsWChar() const {
    const std::size_t n = rec_->text.size() + 1;
    wchar_t* copy = new (std::nothrow) wchar_t[n];
    if (copy) {
        std::memcpy(copy, rec_->text.c_str(), n * sizeof(wchar_t));
    }
    return copy;
}

const std::wstring& IString::str() const {
    return rec_->text;
}

const char* IString::asMultibyte(Encoding encoding, bool* lossless) const {
    return narrow(encoding, lossless).c_str();
}
const char* IString::asUTF8(bool* lossless) const {
    return narrow(kUTF8, lossless).c_str();
}

char* IString::copyAsMultibyte(Encoding encoding, bool* lossless) const {
    const std::string& text = narrow(encoding, lossless);
    char* copy = new (std::nothrow) char[text.size() + 1];
    if (copy) {
        std::memcpy(copy, text.c_str(), text.size() + 1);
    }
    return copy;
}

unsigned int IString::asMultibyteStoreSize(Encoding encoding) const {
    return detail::clampLength(narrow(encoding, nullptr).size()) + 1;
}
unsigned int IString::asUTF8StoreSize() const {
    return asMultibyteStoreSize(kUTF8);
}

wchar_t IString::at(unsigned int i) const {
    return doBoundsCheck(i) ? rec_->text[i] : L'\0';
}
wchar_t& IString::at(unsigned int i) {
    if (doBoundsCheck(i)) {
        touch();
        return rec_->text[i];
    }
    tScratch = L'\0';
    return tScratch;
}
wchar_t IString::operator[](unsigned int i) const {
    return rec_->text[i];
}
wchar_t& IString::operator[](unsigned int i) {
    touch();
    return rec_->text[i];
}

IString& IString::append(const wchar_t* text) {
    touch();
    rec_->text.append(text ? text : L"");
    return *this;
}
IString& IString::append(const wchar_t* text, unsigned int length) {
    touch();
    if (text) {
        rec_->text.append(text, length);
    }
    return *this;
}
IString& IString::append(wchar_t c) {
    touch();
    rec_->text.push_back(c);
    return *this;
}
IString& IString::prepend(const IString& other) {
    touch();
    rec_->text.insert(0, other.rec_->text);
    return *this;
}
IString& IString::prepend(const wchar_t* text) {
    touch();
    rec_->text.insert(0, text ? text : L"");
    return *this;
}
IString& IString::prepend(wchar_t c) {
    touch();
    rec_->text.insert(rec_->text.begin(), c);
    return *this;
}
IString& IString::insert(unsigned int pos, const IString& other) {
    touch();
    detail::insertAt(rec_->text, pos, other.rec_->text.data(), other.rec_->text.size());
    return *this;
}
IString& IString::insert(unsigned int pos, const wchar_t* text) {
    touch();
    detail::insertAt(rec_->text, pos, text ? text : L"", lengthOf(text));
    return *this;
}
IString& IString::insert(unsigned int pos, wchar_t c) {
    touch();
    detail::insertAt(rec_->text, pos, &c, 1);
    return *this;
}
IString& IString::replace(unsigned int pos, unsigned int count, const IString& with) {
    touch();
    detail::replaceAt(rec_->text, pos, count, with.rec_->text.data(), with.rec_->text.size());
    return *this;
}
IString& IString::replace(unsigned int pos, unsigned int count, const wchar_t* with) {
    touch();
    detail::replaceAt(rec_->text, pos, count, with ? with : L"", lengthOf(with));
    return *this;
}
IString& IString::replace(unsigned int pos, unsigned int count, wchar_t with) {
    touch();
    detail::replaceAt(rec_->text, pos, count, &with, 1);
    return *this;
}
IString& IString::replace(const IString& what, const IString& with) {
    touch();
    const std::wstring from = what.rec_->text; // copies: `what` or `with` may be *this
    const std::wstring to = with.rec_->text;
    if (from.empty()) {
        return *this;
    }
    std::wstring& text = rec_->text;
    std::size_t pos = text.find(from);
    while (pos != std::wstring::npos) {
        text.replace(pos, from.size(), to);
        pos = text.find(from, pos + to.size());
    }
    return *this;
}
IString& IString::assign(const IString& other) {
    touch();
    if (this != &other) {
        rec_->text = other.rec_->text;
    }
    return *this;
}
IString& IString::assign(const wchar_t* text) {
    touch();
    rec_->text.assign(text ? text : L"");
    return *this;
}
IString& IString::assign(const wchar_t* text, unsigned int length) {
    touch();
    if (text) {
        rec_->text.assign(text, length);
    } else {
        rec_->text.clear();
    }
    return *this;
}
IString& IString::assign(wchar_t c) {
    touch();
    rec_->text.assign(1, c);
    return *this;
}
IString& IString::assign(const CString& text, Encoding encoding, bool* lossless) {
    setFromNarrow(text.asChar(), 0, encoding, lossless);
    return *this;
}
IString& IString::assign(const char* text, Encoding encoding, bool* lossless) {
    setFromNarrow(text, 0, encoding, lossless);
    return *this;
}
IString& IString::operator=(const IString& other) {
    return assign(other);
}
IString& IString::operator=(IString&& other) noexcept {
    std::swap(rec_, other.rec_);
    if (rec_) {
        touch();
    }
    if (other.rec_) {
        other.touch();
    }
    return *this;
}
IString& IString::operator=(const wchar_t* text) {
    return assign(text);
}
IString& IString::operator=(wchar_t c) {
    return assign(c);
}
IString& IString::erase(unsigned int pos, unsigned int count) {
    touch();
    detail::eraseAt(rec_->text, pos, count);
    return *this;
}
IString& IString::remove(unsigned int pos, unsigned int count) {
    return erase(pos, count);
}
void IString::clear() {
    touch();
    rec_->text.clear();
}

IString IString::substr(unsigned int pos, unsigned int count) const {
    IString out;
    out.rec_->text = detail::substrOf(rec_->text, pos, count);
    return out;
}
IString& IString::substr(IString& out, unsigned int pos, unsigned int count) const {
    std::wstring part = detail::substrOf(rec_->text, pos, count);
    out.touch();
    out.rec_->text.swap(part);
    return out;
}

IString& IString::toUpperCase() {
    touch();
    for (wchar_t& c : rec_->text) {
        c = toUpper(c);
    }
    return *this;
}
IString& IString::toLowerCase() {
    touch();
    for (wchar_t& c : rec_->text) {
        c = toLower(c);
    }
    return *this;
}
void IString::swap(IString& other) noexcept {
    std::swap(rec_, other.rec_);
    if (rec_) {
        touch();
    }
    if (other.rec_) {
        other.touch();
    }
}

IString& IString::strip(wchar_t c) {
    touch();
    detail::stripLeading(rec_->text, [c](wchar_t x) { return x == c; });
    return *this;
}
IString& IString::stripSpaces() {
    touch();
    detail::stripLeading(rec_->text, [](wchar_t x) { return isSpace(x); });
    return *this;
}
IString& IString::rstrip(wchar_t c) {
    touch();
    detail::stripTrailing(rec_->text, [c](wchar_t x) { return x == c; });
    return *this;
}
IString& IString::rstripSpaces() {
    touch();
    detail::stripTrailing(rec_->text, [](wchar_t x) { return isSpace(x); });
    return *this;
}

unsigned int IString::find(const IString& what, unsigned int start) const {
    return detail::toUnsigned(rec_->text.find(what.rec_->text, start));
}
unsigned int IString::find(const wchar_t* what, unsigned int start) const {
    return detail::toUnsigned(rec_->text.find(what ? what : L"", start));
}
unsigned int IString::find(wchar_t c, unsigned int start) const {
    return detail::toUnsigned(rec_->text.find(c, start));
}
unsigned int IString::find(bool (*predicate)(wchar_t), unsigned int start) const {
    return predicate ? detail::findIf(rec_->text, predicate, start) : kNotFound;
}
unsigned int IString::rfind(const IString& what, unsigned int start) const {
    return detail::toUnsigned(rec_->text.rfind(what.rec_->text, detail::toReverseStart(start)));
}
unsigned int IString::rfind(const wchar_t* what, unsigned int start) const {
    return detail::toUnsigned(rec_->text.rfind(what ? what : L"", detail::toReverseStart(start)));
}
unsigned int IString::rfind(wchar_t c, unsigned int start) const {
    return detail::toUnsigned(rec_->text.rfind(c, detail::toReverseStart(start)));
}
unsigned int IString::rfind(bool (*predicate)(wchar_t), unsigned int start) const {
    return predicate ? detail::rfindIf(rec_->text, predicate, start) : kNotFound;
}
unsigned int IString::findAny(const IString& set, unsigned int start) const {
    if (set.rec_->text.empty()) {
        return kNotFound;
    }
    return detail::toUnsigned(rec_->text.find_first_of(set.rec_->text, start));
}
unsigned int IString::rfindAny(const IString& set, unsigned int start) const {
    if (set.rec_->text.empty()) {
        return kNotFound;
    }
    return detail::toUnsigned(
        rec_->text.find_last_of(set.rec_->text, detail::toReverseStart(start)));
}

int IString::compare(const IString& other) const {
    return detail::compareUnits(rec_->text, other.rec_->text);
}
int IString::compare(const wchar_t* other) const {
    return detail::compareUnits(rec_->text, std::wstring(other ? other : L""));
}
int IString::compareNoCase(const IString& other) const {
    return detail::compareUnits(detail::folded(rec_->text), detail::folded(other.rec_->text));
}
int IString::collate(const IString& other) const {
    return std::wcscoll(rec_->text.c_str(), other.rec_->text.c_str());
}
int IString::collateNoCase(const IString& other) const {
    return std::wcscoll(detail::folded(rec_->text).c_str(),
                        detail::folded(other.rec_->text).c_str());
}
bool IString::isAscii() const {
    return detail::allAscii(rec_->text);
}

unsigned int IString::format(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const unsigned int n = vformat(fmt, args);
    va_end(args);
    return n;
}
unsigned int IString::format(const wchar_t* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const unsigned int n = vformat(fmt, args);
    va_end(args);
    return n;
}
unsigned int IString::vformat(const char* fmt, va_list args) {
    if (!fmt) {
        return kFormatFailed;
    }
    // The narrow format is widened from the process's code page first.
    const IString wideFormat(fmt, kMultibyte, nullptr);
    if (!wideFormat.rec_) {
        return kFormatFailed;
    }
    return vformat(wideFormat.asWChar(), args);
}
unsigned int IString::vformat(const wchar_t* fmt, va_list args) {
    if (!fmt) {
        return kFormatFailed;
    }
    // An empty result is a failure too, deliberately: the text stays as it was.
    if (!detail::formatWide(rec_->text, kDefaultFormatSize, fmt, args)) {
        return kFormatFailed;
    }
    touch();
    return length();
}

void swap(IString& a, IString& b) noexcept {
    a.swap(b);
}

IString plus(const IString& a, const IString& b) {
    IString out(a);
    out.append(b);
    return out;
}
IString& plusEqual(IString& a, const IString& b) {
    return a.append(b);
}
bool equal(const IString& a, const IString& b) {
    return a.str() == b.str();
}
bool notEqual(const IString& a, const IString& b) {
    return !equal(a, b);
}
bool less(const IString& a, const IString& b) {
    return a.compare(b) < 0;
}
bool lessEqual(const IString& a, const IString& b) {
    return a.compare(b) <= 0;
}
bool greater(const IString& a, const IString& b) {
    return a.compare(b) > 0;
}
bool greaterEqual(const IString& a, const IString& b) {
    return a.compare(b) >= 0;
}

ky::HashValue hashfunction(const IString& s) {
    return ky::hashfunction(s.str().data(), s.str().size());
}

} // namespace kyString
