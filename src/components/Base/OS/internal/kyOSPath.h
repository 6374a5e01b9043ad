// kyOSPath.h - the path rules behind kyOS::Filename, for either style, on plain wide strings.
#ifndef KY_OS_INTERNAL_PATH_H
#define KY_OS_INTERNAL_PATH_H

#include <Base/BaseExport.h>
#include <Base/OS/kyOSFilename.h>

#include <string>

namespace kyOS {
namespace detail {

/// The five components of a split name, in the order Filename reports them.
struct PathComponents {
    std::wstring prefix;
    std::wstring dirname;
    std::wstring basename;
    std::wstring baseTrunk;
    std::wstring baseSuffix;
};

/// Windows or POSIX; `kNative` becomes the style of the build.
KY_BASE_API PathStyle resolveStyle(PathStyle style);
/// The style of the build (defined by the platform file).
KY_BASE_API PathStyle nativeStyle();

/// Backslash for Windows rules, slash for POSIX rules.
KY_BASE_API wchar_t defaultSeparator(PathStyle style);
/// ';' for Windows rules, ':' for POSIX rules.
KY_BASE_API wchar_t listSeparator(PathStyle style);
/// 260 for Windows rules, 4096 (Linux's PATH_MAX) for POSIX rules.
KY_BASE_API unsigned int maxPathLength(PathStyle style);

/// Step 1 of canonicalisation: the other separator character becomes `separator`.
KY_BASE_API void replaceOtherSeparator(std::wstring& s, wchar_t separator);
/// Step 2. Windows rules keep a leading pair (a network path); POSIX rules have none.
KY_BASE_API void removeDuplicateSeparators(std::wstring& s, wchar_t separator, PathStyle style);
/// Step 3. Windows rules keep "X:\" and "\\server\" as they are.
KY_BASE_API void removeTrailingSeparators(std::wstring& s, wchar_t separator, PathStyle style);
/// Step 4: collapses "\..\" (or "/../") without climbing above the first component.
KY_BASE_API void removeSlashDotDotSlash(std::wstring& s, wchar_t separator);
/// All four steps.
KY_BASE_API std::wstring canonicalize(const std::wstring& source, wchar_t separator,
                                      PathStyle style);
/// `dir` and `name` joined with the style's default separator, then steps 2 to 4.
KY_BASE_API std::wstring join(const std::wstring& dir, const std::wstring& name, PathStyle style);
/// Splits a canonical name.
KY_BASE_API PathComponents split(const std::wstring& name, wchar_t separator, PathStyle style);
/// Windows rules: "\\..." or "X:\..."; POSIX rules: a leading slash.
KY_BASE_API bool isAbsolute(const std::wstring& name, PathStyle style);
/// CON, PRN, AUX, NUL, COM1-COM9, LPT1-LPT9 in any case.
KY_BASE_API bool isReservedDeviceTrunk(const std::wstring& trunk);

/// The long-path form of a canonical name: with Windows rules the full path prefixed with
/// "\\?\" or "\\?\UNC\", with POSIX rules the absolute path. A failure of the system's full
/// path query gives code 14 with the system's text and leaves `out` as the unprefixed name.
KY_BASE_API kyUtil::Error longPathForm(const std::wstring& canonical, PathStyle style,
                                       std::wstring& out);

} // namespace detail
} // namespace kyOS

#endif // KY_OS_INTERNAL_PATH_H
