// kyOSPath.cpp - the path rules of both styles: canonicalisation, joining, splitting.
#include <Base/OS/internal/kyOSPath.h>

#include <Base/OS/internal/kyOSFileCalls.h>

namespace kyOS {
namespace detail {
namespace {

constexpr wchar_t kBackslash = L'\\';
constexpr wchar_t kSlash = L'/';
constexpr wchar_t kColon = L':';
constexpr unsigned int kWindowsMaxPath = 260;
// Linux's PATH_MAX; a constant so that POSIX rules give the same answer on every build.
constexpr unsigned int kPosixMaxPath = 4096;
// "ErrSyscall" of the file status codes.
constexpr int kErrSyscall = 14;

bool isAsciiLetter(wchar_t c) {
    return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z');
}

wchar_t asciiUpper(wchar_t c) {
    return (c >= L'a' && c <= L'z') ? static_cast<wchar_t>(c - L'a' + L'A') : c;
}

} // namespace

PathStyle resolveStyle(PathStyle style) {
    return style == PathStyle::kNative ? nativeStyle() : style;
}

wchar_t defaultSeparator(PathStyle style) {
    return resolveStyle(style) == PathStyle::kWindows ? kBackslash : kSlash;
}

wchar_t listSeparator(PathStyle style) {
    return resolveStyle(style) == PathStyle::kWindows ? L';' : L':';
}

unsigned int maxPathLength(PathStyle style) {
    return resolveStyle(style) == PathStyle::kWindows ? kWindowsMaxPath : kPosixMaxPath;
}

void replaceOtherSeparator(std::wstring& s, wchar_t separator) {
    const wchar_t other = separator == kSlash ? kBackslash : kSlash;
    for (wchar_t& c : s) {
        if (c == other) {
            c = separator;
        }
    }
}

void removeDuplicateSeparators(std::wstring& s, wchar_t separator, PathStyle style) {
    // Any separator other than backslash looks for "//", even one that is not a slash:
    // a kept quirk of the rules.
    const wchar_t* pattern = separator == kBackslash ? L"\\\\" : L"//";
    // Windows rules keep a leading pair: it starts a network path.
    std::size_t at = (resolveStyle(style) == PathStyle::kWindows && s.size() > 1) ? 1 : 0;
    while ((at = s.find(pattern, at)) != std::wstring::npos) {
        s.erase(at, 1);
    }
}

void removeTrailingSeparators(std::wstring& s, wchar_t separator, PathStyle style) {
    if (resolveStyle(style) == PathStyle::kWindows) {
        // "C:\" is the root of a drive, not a directory with a trailing separator.
        if (s.size() == 3 && isAsciiLetter(s[0]) && s[1] == kColon && s[2] == separator) {
            return;
        }
        // "\\server" and "\\server\" name a host; its one separator stays.
        if (s.size() > 2 && s[0] == separator && s[1] == separator) {
            const std::size_t first = s.find(separator, 2);
            if (first == std::wstring::npos || s.rfind(separator) == first) {
                return;
            }
        }
    }
    std::size_t end = s.size();
    while (end > 1 && s[end - 1] == separator) {
        --end;
    }
    s.erase(end);
}

void removeSlashDotDotSlash(std::wstring& s, wchar_t separator) {
    const wchar_t* pattern = separator == kBackslash ? L"\\..\\" : L"/../";
    std::size_t p;
    // Every round shortens the text, so this ends.
    while ((p = s.find(pattern)) != std::wstring::npos) {
        const std::wstring head = s.substr(0, p);
        const std::wstring tail = s.substr(p + 4);
        const std::size_t last = head.rfind(separator);
        if (last != std::wstring::npos) {
            s = head.substr(0, last + 1) + tail;
        } else if (head == L"..") {
            // Never climb above a leading "..": this and every later pattern stay.
            return;
        } else if (head == L".") {
            s = std::wstring(L"..") + separator + tail;
        } else {
            // The first component is consumed together with its drive or root, so
            // "C:\..\x" becomes "x": kept as the library always did it.
            s = tail;
        }
    }
}

std::wstring canonicalize(const std::wstring& source, wchar_t separator, PathStyle style) {
    std::wstring s = source;
    replaceOtherSeparator(s, separator);
    removeDuplicateSeparators(s, separator, style);
    removeTrailingSeparators(s, separator, style);
    removeSlashDotDotSlash(s, separator);
    return s;
}

std::wstring join(const std::wstring& dir, const std::wstring& name, PathStyle style) {
    style = resolveStyle(style);
    const wchar_t separator = defaultSeparator(style);
    std::wstring s;
    if (dir.empty()) {
        s = name;
    } else if (name.empty()) {
        s = dir;
    } else if (style == PathStyle::kWindows && dir.size() == 2 && dir[1] == kColon) {
        // "C:" and "x" give the drive-relative "C:x".
        s = dir + name;
    } else {
        s = dir + separator + name;
    }
    // The other separator is deliberately not converted when joining.
    removeDuplicateSeparators(s, separator, style);
    removeTrailingSeparators(s, separator, style);
    removeSlashDotDotSlash(s, separator);
    return s;
}

PathComponents split(const std::wstring& n, wchar_t separator, PathStyle style) {
    PathComponents c;
    if (n.empty()) {
        return c;
    }
    std::wstring rest;
    bool network = false;
    // Drive and network prefixes are recognised by their literal colon and backslashes,
    // whatever the separator.
    if (resolveStyle(style) == PathStyle::kPosix) {
        rest = n;
    } else if (n.size() >= 2 && n[1] == kColon) {
        c.prefix = n.substr(0, 2);
        rest = n.substr(2);
    } else if (n.size() >= 2 && n[0] == kBackslash && n[1] == kBackslash) {
        const std::size_t q1 = n.find(kBackslash, 2);
        const std::size_t q2 = (q1 == std::wstring::npos || q1 + 1 == n.size())
                                   ? std::wstring::npos
                                   : n.find(kBackslash, q1 + 1);
        if (q2 == std::wstring::npos) {
            c.prefix = n;
        } else {
            c.prefix = n.substr(0, q2);
            if (q2 + 1 < n.size()) {
                rest = n.substr(q2 + 1);
                network = true;
            }
        }
    } else {
        rest = n;
    }

    if (rest.size() == 1 && rest[0] == separator) {
        c.dirname = rest;
    } else {
        const std::size_t q = rest.rfind(separator);
        if (q == std::wstring::npos) {
            c.basename = rest;
        } else if (q == 0) {
            c.dirname = rest.substr(0, 1);
            c.basename = rest.substr(1);
        } else {
            c.dirname = rest.substr(0, q);
            c.basename = rest.substr(q + 1);
        }
    }
    if (network && !c.dirname.empty()) {
        c.dirname = c.prefix + kBackslash + c.dirname;
    } else {
        c.dirname = c.prefix + c.dirname;
    }

    if (!c.basename.empty() && c.basename != L".") {
        const std::size_t d = c.basename.rfind(L'.');
        if (d == std::wstring::npos) {
            c.baseTrunk = c.basename;
        } else if (d == 0) {
            c.baseSuffix = c.basename.substr(1);
        } else {
            c.baseTrunk = c.basename.substr(0, d);
            c.baseSuffix = c.basename.substr(d + 1);
        }
    }
    return c;
}

bool isAbsolute(const std::wstring& n, PathStyle style) {
    if (resolveStyle(style) == PathStyle::kPosix) {
        return !n.empty() && n[0] == kSlash;
    }
    return (n.size() >= 2 && n[0] == kBackslash && n[1] == kBackslash) ||
           (n.size() >= 3 && n[1] == kColon && n[2] == kBackslash);
}

bool isReservedDeviceTrunk(const std::wstring& trunk) {
    std::wstring t;
    for (wchar_t c : trunk) {
        t += asciiUpper(c);
    }
    if (t.size() == 3) {
        return t == L"CON" || t == L"PRN" || t == L"AUX" || t == L"NUL";
    }
    if (t.size() == 4) {
        const std::wstring stem = t.substr(0, 3);
        return (stem == L"COM" || stem == L"LPT") && t[3] >= L'1' && t[3] <= L'9';
    }
    return false;
}

kyUtil::Error longPathForm(const std::wstring& canonical, PathStyle style, std::wstring& out) {
    style = resolveStyle(style);
    out = canonical;
    if (!isAbsolute(out, style)) {
        std::wstring full;
        int error = 0;
        if (fileCalls().fullPath(out, full, &error) != 0) {
            const std::wstring text = fileCalls().systemErrorText(error);
            return kyUtil::Error(
                kErrSyscall,
                kyString::IString(text.c_str(), static_cast<unsigned int>(text.size())));
        }
        out = full;
    }
    if (style == PathStyle::kWindows) {
        // Every length gets the prefix, not only names over the limit.
        if (out.size() >= 2 && out[0] == kBackslash && out[1] == kBackslash) {
            out = L"\\\\?\\UNC\\" + out.substr(2);
        } else {
            out = L"\\\\?\\" + out;
        }
    }
    return kyUtil::Error();
}

} // namespace detail
} // namespace kyOS
