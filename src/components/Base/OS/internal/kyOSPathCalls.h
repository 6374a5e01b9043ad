// kyOSPathCalls.h - the platform calls behind file names and search paths.
#ifndef KY_OS_INTERNAL_PATHCALLS_H
#define KY_OS_INTERNAL_PATHCALLS_H

#include <Base/BaseExport.h>

#include <string>

namespace kyOS {
namespace detail {

/// What a name refers to on disk.
enum class PathKind { kNone, kFile, kDirectory, kOther };

/// The system calls of Filename and SearchPath, as one table: production code calls through
/// it, and tests replace entries to make a call fail and put the native table back
/// afterwards. Names are the library's wide strings; each platform converts as it must.
struct PathCalls {
    /// The current directory, read into a buffer of `bufferChars` characters; false on
    /// failure (also when it does not fit).
    bool (*getCwd)(std::wstring& out, unsigned int bufferChars);
    bool (*setCwd)(const std::wstring& dir);
    /// Creates one directory (not its parents).
    bool (*makeDir)(const std::wstring& dir);
    /// kNone when the name does not exist or cannot be asked about.
    PathKind (*pathKind)(const std::wstring& name);
    /// The system's full path of a relative name; 0 or the system's error number.
    int (*fullPath)(const std::wstring& name, std::wstring& out);
    /// The system's message for an error number of `fullPath`.
    std::wstring (*errorText)(int error);
};

/// The table in use (the native one unless a test replaced entries).
KY_BASE_API PathCalls& pathCalls();
/// The platform's own table.
KY_BASE_API const PathCalls& nativePathCalls();

} // namespace detail
} // namespace kyOS

#endif // KY_OS_INTERNAL_PATHCALLS_H
