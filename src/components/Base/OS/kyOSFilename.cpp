// kyOSFilename.cpp - kyOS::Filename and the narrow kyOS_Filename helpers.
#include <Base/OS/kyOSFilename.h>

#include <Base/OS/internal/kyOSFileCalls.h>
#include <Base/OS/internal/kyOSFileUtil.h>
#include <Base/OS/internal/kyOSPath.h>

#include <cstring>

namespace kyOS {
namespace detail {

/// The split form of a name, built on first use.
struct FilenameComponents {
    wchar_t separator;
    kyString::IString prefix;
    kyString::IString dirname;
    kyString::IString basename;
    kyString::IString baseTrunk;
    kyString::IString baseSuffix;
};

} // namespace detail

namespace {

using detail::toIString;

wchar_t widen(char c) {
    return static_cast<wchar_t>(static_cast<unsigned char>(c));
}

kyString::IString fromNarrow(const char* text) {
    return text != nullptr ? kyString::IString(text) : kyString::IString();
}

} // namespace

Filename::Filename(PathStyle style, wchar_t separator)
    : impl_(nullptr), separator_(separator), style_(detail::resolveStyle(style)) {}

Filename::Filename() : Filename(PathStyle::kNative, detail::defaultSeparator(PathStyle::kNative)) {}

Filename::Filename(const Filename& other)
    : name_(other.name_), impl_(nullptr), separator_(other.separator_), style_(other.style_) {}

Filename::Filename(const char* name, char separator)
    : Filename(PathStyle::kNative, widen(separator)) {
    assign(fromNarrow(name));
}

Filename::Filename(const kyString::CString& name, char separator)
    : Filename(PathStyle::kNative, widen(separator)) {
    assign(kyString::IString(name));
}

Filename::Filename(const kyString::IString& name)
    : Filename(PathStyle::kNative, detail::defaultSeparator(PathStyle::kNative)) {
    assign(name);
}

Filename::Filename(const kyString::IString& name, wchar_t separator)
    : Filename(PathStyle::kNative, separator) {
    assign(name);
}

Filename::Filename(const kyString::IString& name, wchar_t separator, PathStyle style)
    : Filename(style, separator) {
    assign(name);
}

Filename::Filename(const Filename& dir, const Filename& name)
    : Filename(dir.style_, detail::defaultSeparator(dir.style_)) {
    assign(dir.name_, name.name_);
}

Filename::Filename(const kyString::IString& dir, const kyString::IString& name)
    : Filename(PathStyle::kNative, detail::defaultSeparator(PathStyle::kNative)) {
    assign(dir, name);
}

Filename::Filename(const kyString::IString& dir, const kyString::IString& name, PathStyle style)
    : Filename(style, detail::defaultSeparator(style)) {
    assign(dir, name);
}

Filename::~Filename() {
    deleteImpl();
}

Filename& Filename::operator=(const kyString::IString& name) {
    assign(name);
    return *this;
}

Filename& Filename::operator=(const Filename& other) {
    if (this != &other) {
        deleteImpl();
        separator_ = other.separator_;
        style_ = other.style_;
        name_ = other.name_;
    }
    return *this;
}

void Filename::assign(const kyString::IString& name) {
    deleteImpl();
    name_ = toIString(detail::canonicalize(name.str(), separator_, style_));
}

void Filename::assign(const kyString::IString& dir, const kyString::IString& name) {
    deleteImpl();
    name_ = toIString(detail::join(dir.str(), name.str(), style_));
}

void Filename::split() const {
    if (impl_ != nullptr) {
        return;
    }
    const detail::PathComponents c = detail::split(name_.str(), separator_, style_);
    impl_ = new detail::FilenameComponents{separator_,
                                           toIString(c.prefix),
                                           toIString(c.dirname),
                                           toIString(c.basename),
                                           toIString(c.baseTrunk),
                                           toIString(c.baseSuffix)};
}

void Filename::deleteImpl() {
    delete impl_;
    impl_ = nullptr;
}

const kyString::IString& Filename::prefix() const {
    split();
    return impl_->prefix;
}

const kyString::IString& Filename::dirname() const {
    split();
    return impl_->dirname;
}

const kyString::IString& Filename::basename() const {
    split();
    return impl_->basename;
}

const kyString::IString& Filename::baseTrunk() const {
    split();
    return impl_->baseTrunk;
}

const kyString::IString& Filename::baseSuffix() const {
    split();
    return impl_->baseSuffix;
}

ky::vector<kyString::IString> Filename::components() const {
    split();
    ky::vector<kyString::IString> v;
    v.reserve(5);
    v.push_back(impl_->prefix);
    v.push_back(impl_->dirname);
    v.push_back(impl_->basename);
    v.push_back(impl_->baseTrunk);
    v.push_back(impl_->baseSuffix);
    return v;
}

bool Filename::isAbsolute() const {
    return detail::isAbsolute(name_.str(), style_);
}

void Filename::getCwd() {
    deleteImpl();
    style_ = detail::nativeStyle();
    separator_ = detail::defaultSeparator(style_);
    std::wstring cwd;
    int error = 0;
    if (detail::fileCalls().getCwd(cwd, detail::maxPathLength(style_), &error) != 0) {
        cwd.clear();
    }
    name_ = toIString(detail::canonicalize(cwd, separator_, style_));
}

bool Filename::setCwd() const {
    int error = 0;
    return !name_.isEmpty() && detail::fileCalls().setCwd(name_.str(), &error) == 0;
}

bool Filename::makeDir() const {
    int error = 0;
    return !name_.isEmpty() && detail::fileCalls().mkdir(name_.str(), &error) == 0;
}

wchar_t Filename::separator() {
    return detail::defaultSeparator(PathStyle::kNative);
}

wchar_t Filename::separator(PathStyle style) {
    return detail::defaultSeparator(style);
}

wchar_t Filename::pathSeparator() {
    return detail::listSeparator(PathStyle::kNative);
}

wchar_t Filename::pathSeparator(PathStyle style) {
    return detail::listSeparator(style);
}

unsigned int Filename::maxLength() {
    return detail::maxPathLength(PathStyle::kNative);
}

unsigned int Filename::maxLength(PathStyle style) {
    return detail::maxPathLength(style);
}

kyString::IString Filename::join(const kyString::IString& a, const kyString::IString& b) {
    return toIString(detail::join(a.str(), b.str(), PathStyle::kNative));
}

kyString::IString Filename::join(const kyString::IString& a, const kyString::IString& b,
                                 const kyString::IString& c) {
    return join(join(a, b), c);
}

kyString::IString Filename::join(const kyString::IString& a, const kyString::IString& b,
                                 const kyString::IString& c, const kyString::IString& d) {
    return join(join(join(a, b), c), d);
}

kyString::IString Filename::join(const kyString::IString& a, const kyString::IString& b,
                                 PathStyle style) {
    return toIString(detail::join(a.str(), b.str(), style));
}

void Filename::canonicalize(const kyString::IString& source, wchar_t separator,
                            kyString::IString& out) {
    out = toIString(detail::canonicalize(source.str(), separator, PathStyle::kNative));
}

void Filename::removeDuplicateSeparators(kyString::IString& s, wchar_t separator) {
    std::wstring w = s.str();
    detail::removeDuplicateSeparators(w, separator, PathStyle::kNative);
    s = toIString(w);
}

void Filename::removeTrailingSeparators(kyString::IString& s, wchar_t separator) {
    std::wstring w = s.str();
    detail::removeTrailingSeparators(w, separator, PathStyle::kNative);
    s = toIString(w);
}

void Filename::removeSlashDotDotSlash(kyString::IString& s, wchar_t separator) {
    std::wstring w = s.str();
    detail::removeSlashDotDotSlash(w, separator);
    s = toIString(w);
}

bool isWindowsReservedDeviceName(const Filename& f) {
    return detail::isReservedDeviceTrunk(f.baseTrunk().str());
}

kyUtil::Error toLongPathForm(const kyString::IString& name, kyString::IString& result) {
    return toLongPathForm(name, PathStyle::kNative, result);
}

kyUtil::Error toLongPathForm(const kyString::IString& name, PathStyle style,
                             kyString::IString& result) {
    const Filename f(name, detail::defaultSeparator(style), style);
    std::wstring out;
    kyUtil::Error error = detail::longPathForm(f.name().str(), style, out);
    result = toIString(out);
    return error;
}

} // namespace kyOS

namespace {

void copyOut(const kyString::IString& s, char* out) {
    if (out != nullptr) {
        std::strcpy(out, s.asMultibyte());
    }
}

kyOS::Filename narrowFilename(const char* name) {
    return kyOS::Filename(name != nullptr ? kyString::IString(name) : kyString::IString());
}

} // namespace

extern "C" {

void kyOS_FilenamePrefix(const char* name, char* out) {
    copyOut(narrowFilename(name).prefix(), out);
}

void kyOS_FilenameDirname(const char* name, char* out) {
    copyOut(narrowFilename(name).dirname(), out);
}

void kyOS_FilenameBasename(const char* name, char* out) {
    copyOut(narrowFilename(name).basename(), out);
}

void kyOS_FilenameBaseTrunk(const char* name, char* out) {
    copyOut(narrowFilename(name).baseTrunk(), out);
}

void kyOS_FilenameBaseSuffix(const char* name, char* out) {
    copyOut(narrowFilename(name).baseSuffix(), out);
}

void kyOS_FilenameJoin(const char* dir, const char* name, char* out) {
    copyOut(kyOS::Filename::join(narrowFilename(dir).name(), narrowFilename(name).name()), out);
}

bool kyOS_FilenameMakeDir(const char* name) {
    return narrowFilename(name).makeDir();
}

} // extern "C"
