// kyOSFilename.h - kyOS::Filename, the library's canonical path value, and its plain helpers.
#ifndef KY_OS_FILENAME_H
#define KY_OS_FILENAME_H

#include <Base/BaseExport.h>
#include <Base/Containers/kyVector.h>
#include <Base/String/kyStringCString.h>
#include <Base/String/kyStringIString.h>
#include <Base/Utility/kyUtilError.h>

namespace kyOS {

/// Which path rules a name follows. `kWindows`: backslash separator, drive ("C:") and network
/// ("\\server\share") prefixes, ';' between list entries, 260 characters. `kPosix`: slash
/// separator, no prefixes, ':' between list entries, PATH_MAX characters. `kNative` is the
/// rule set of the platform the library was built for. Both sets work on every platform.
enum class PathStyle { kNative, kPosix, kWindows };

namespace detail {
struct FilenameComponents;
} // namespace detail

/// A path held as one canonical wide string and a separator, split on demand into five
/// components: prefix (drive or network share), dirname, basename, baseTrunk, baseSuffix.
///
/// Canonicalisation (every construction or assignment from text) turns the other separator
/// character into the held one, removes doubled and trailing separators and collapses
/// "dir\..\" without ever climbing above the first component. A plain value: copies share
/// nothing. Construction costs one pass over the text; the components are built on first use
/// and freed by every assignment, so even the const accessors write: one thread at a time per
/// object. Nothing here fails: `setCwd` and `makeDir` answer false, `getCwd` leaves the name
/// empty when the system refuses.
///
/// @code
///   kyOS::Filename f(L"C:/data//scenes/../shot.tar.gz", L'\\', kyOS::PathStyle::kWindows);
///   // f.name() "C:\data\shot.tar.gz", prefix "C:", dirname "C:\data",
///   // basename "shot.tar.gz", baseTrunk "shot.tar", baseSuffix "gz"
/// @endcode
class KY_BASE_API Filename {
public:
    /// Empty, with the native separator.
    Filename();
    Filename(const Filename& other);
    /// Narrow text in the process's code page, canonicalised with `separator`.
    Filename(const char* name, char separator);
    Filename(const kyString::CString& name, char separator);
    /// Canonicalised with the native separator.
    Filename(const kyString::IString& name);
    Filename(const kyString::IString& name, wchar_t separator);
    /// Canonicalised with `separator` under the rules of `style`.
    Filename(const kyString::IString& name, wchar_t separator, PathStyle style);
    /// `join(dir, name)` under the rules of `dir`.
    Filename(const Filename& dir, const Filename& name);
    Filename(const kyString::IString& dir, const kyString::IString& name);
    /// `join(dir, name, style)`, with the style's default separator.
    Filename(const kyString::IString& dir, const kyString::IString& name, PathStyle style);
    virtual ~Filename();

    /// Canonicalises `name` with the separator and rules already held.
    Filename& operator=(const kyString::IString& name);
    /// Copies separator, rules and name as they are (no re-canonicalisation).
    Filename& operator=(const Filename& other);

    /// The canonical path.
    const kyString::IString& name() const { return name_; }
    /// The drive ("C:") or network share ("\\server\share"); always empty under POSIX rules.
    const kyString::IString& prefix() const;
    /// Everything before the basename, prefix included ("C:\a" for "C:\a\b", "C:\" for
    /// "C:\a", "C:" for "C:").
    const kyString::IString& dirname() const;
    const kyString::IString& basename() const;
    /// The basename without its last suffix ("a.tar" for "a.tar.gz").
    const kyString::IString& baseTrunk() const;
    /// The text after the last dot of the basename ("profile" for ".profile").
    const kyString::IString& baseSuffix() const;
    /// prefix, dirname, basename, baseTrunk, baseSuffix.
    ky::vector<kyString::IString> components() const;

    /// Windows rules: begins with "\\" or with "X:\" (a bare "C:", "C:x" and "\x" are
    /// relative; "/x" too, whatever the separator). POSIX rules: begins with "/".
    bool isAbsolute() const;
    /// Replaces the name with the process's current directory (native rules and separator);
    /// empty when the system cannot say (on Windows also when it exceeds 260 characters).
    void getCwd();
    /// Makes this name the current directory; false if the system refuses.
    bool setCwd() const;
    /// Creates this one directory, not its parents; true on success.
    bool makeDir() const;

    /// The separator this name was canonicalised with.
    wchar_t getSeparator() const { return separator_; }
    /// The rules this name follows (never `kNative`).
    PathStyle style() const { return style_; }

    /// The native separator: backslash on Windows, slash on POSIX.
    static wchar_t separator();
    static wchar_t separator(PathStyle style);
    /// The separator between the entries of a path list: ';' on Windows, ':' on POSIX.
    static wchar_t pathSeparator();
    static wchar_t pathSeparator(PathStyle style);
    /// 260 on Windows, PATH_MAX (4096) on POSIX.
    static unsigned int maxLength();
    static unsigned int maxLength(PathStyle style);

    /// `a` and `b` joined with the native separator, then normalised (doubled and trailing
    /// separators, "\..\"). The other separator is deliberately left alone: "a/" and "b"
    /// give "a/\b" under Windows rules. "C:" and "x" give "C:x"; an empty side gives the
    /// other side, normalised.
    static kyString::IString join(const kyString::IString& a, const kyString::IString& b);
    /// join(join(a, b), c).
    static kyString::IString join(const kyString::IString& a, const kyString::IString& b,
                                  const kyString::IString& c);
    static kyString::IString join(const kyString::IString& a, const kyString::IString& b,
                                  const kyString::IString& c, const kyString::IString& d);
    /// The same under the rules of `style`.
    static kyString::IString join(const kyString::IString& a, const kyString::IString& b,
                                  PathStyle style);

protected:
    /// Canonicalise `name` with the separator and rules held.
    void assign(const kyString::IString& name);
    /// Join under the rules held.
    void assign(const kyString::IString& dir, const kyString::IString& name);

    // The canonicalisation steps under native rules.
    static void canonicalize(const kyString::IString& source, wchar_t separator,
                             kyString::IString& out);
    static void removeDuplicateSeparators(kyString::IString& s, wchar_t separator);
    static void removeTrailingSeparators(kyString::IString& s, wchar_t separator);
    static void removeSlashDotDotSlash(kyString::IString& s, wchar_t separator);

private:
    Filename(PathStyle style, wchar_t separator);
    void split() const;
    void deleteImpl();

    kyString::IString name_;
    mutable detail::FilenameComponents* impl_;
    wchar_t separator_;
    PathStyle style_;
};

/// True when the baseTrunk of `f`, upper-cased, is CON, PRN, AUX, NUL, COM1-COM9 or
/// LPT1-LPT9. Only the trunk counts: "nul.txt" is reserved, "con.tar.gz" is not. Applies
/// on every platform, so that names the library creates stay usable on Windows.
KY_BASE_API bool isWindowsReservedDeviceName(const Filename& f);

/// The long-path form of `name` under native rules. Windows: the full path (relative names
/// are completed by the system), prefixed with "\\?\", or with "\\?\UNC\" in place of the
/// leading "\\" of a network path, whatever its length. POSIX: the absolute path. When the
/// system cannot complete a relative name the result is code 14 with the system's message
/// and `result` holds the canonical name without prefix.
KY_BASE_API kyUtil::Error toLongPathForm(const kyString::IString& name, kyString::IString& result);
/// The same under the rules of `style`.
KY_BASE_API kyUtil::Error toLongPathForm(const kyString::IString& name, PathStyle style,
                                         kyString::IString& result);

} // namespace kyOS

// Narrow helpers for C callers. Each builds a Filename with the native separator from `name`
// (in the process's code page) and copies the component, with its terminating zero and
// without any bound, into `out`: the caller makes room for the whole component. A null
// `name` counts as empty; a null `out` receives nothing.
extern "C" {
KY_BASE_API void kyOS_FilenamePrefix(const char* name, char* out);
KY_BASE_API void kyOS_FilenameDirname(const char* name, char* out);
KY_BASE_API void kyOS_FilenameBasename(const char* name, char* out);
KY_BASE_API void kyOS_FilenameBaseTrunk(const char* name, char* out);
KY_BASE_API void kyOS_FilenameBaseSuffix(const char* name, char* out);
/// `Filename::join(dir, name)`.
KY_BASE_API void kyOS_FilenameJoin(const char* dir, const char* name, char* out);
/// True if the single directory `name` was created.
KY_BASE_API bool kyOS_FilenameMakeDir(const char* name);
}

#endif // KY_OS_FILENAME_H
