// filename_fuzz.cpp - path rules of both styles on arbitrary text: canonicalisation is
// idempotent, splitting gives components that fit the name, joining never fails.
#include <Base/OS/internal/kyOSPath.h>
#include <Base/OS/kyOSFilename.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

using kyOS::PathStyle;
namespace detail = kyOS::detail;

void check(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "filename_fuzz: %s\n", what);
        std::abort();
    }
}

bool endsWith(const std::wstring& s, const std::wstring& tail) {
    return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

void exercise(const std::wstring& text, const std::wstring& other, wchar_t separator,
              PathStyle style) {
    const std::wstring once = detail::canonicalize(text, separator, style);
    check(detail::canonicalize(once, separator, style) == once, "canonicalisation not idempotent");
    check(once.size() <= text.size(), "canonicalisation grew the name");

    const detail::PathComponents c = detail::split(once, separator, style);
    check(endsWith(once, c.basename), "basename is not the end of the name");
    if (style == PathStyle::kPosix) {
        check(c.prefix.empty(), "prefix under POSIX rules");
    }
    if (!c.basename.empty() && c.basename != L".") {
        const bool dotted = c.basename.find(L'.') != std::wstring::npos;
        check(c.baseTrunk + (dotted ? L"." + c.baseSuffix : std::wstring()) == c.basename,
              "trunk and suffix do not make the basename");
    } else {
        check(c.baseTrunk.empty() && c.baseSuffix.empty(), "trunk or suffix without basename");
    }
    (void)detail::isAbsolute(once, style);
    (void)detail::isReservedDeviceTrunk(c.baseTrunk);

    const std::wstring joined = detail::join(once, other, style);
    check(joined.size() <= once.size() + other.size() + 1, "join grew beyond its parts");

    // The class gives the same answers as the rules it is built on.
    const kyOS::Filename f(kyString::IString(text.c_str(), static_cast<unsigned int>(text.size())),
                           separator, style);
    check(f.name().str() == once, "Filename differs from the rules");
    check(f.dirname().str() == c.dirname, "Filename dirname differs from the rules");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Bytes are characters; a zero byte divides the name from a second one to join with.
    std::wstring text;
    std::wstring other;
    bool second = false;
    for (std::size_t i = 0; i < size && i < 4096; ++i) {
        if (data[i] == 0 && !second) {
            second = true;
            continue;
        }
        (second ? other : text) += static_cast<wchar_t>(data[i]);
    }
    exercise(text, other, L'\\', PathStyle::kWindows);
    exercise(text, other, L'/', PathStyle::kWindows);
    exercise(text, other, L':', PathStyle::kWindows);
    exercise(text, other, L'/', PathStyle::kPosix);
    exercise(text, other, L'\\', PathStyle::kPosix);
    return 0;
}
