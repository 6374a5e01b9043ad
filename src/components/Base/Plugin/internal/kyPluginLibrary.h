// kyPluginLibrary.h - the platform boundary of the plug-in loader: dynamic library calls.
#ifndef KY_PLUGIN_INTERNAL_LIBRARY_H
#define KY_PLUGIN_INTERNAL_LIBRARY_H

#include <Base/BaseExport.h>

#include <string>

namespace kyPlugin {
namespace detail {

/// The few dynamic-library operations the loader needs, as a table of function pointers so
/// that tests can replace one entry (a load that fails the first time, a count of attempts).
/// `…Posix.cpp` fills it with dlopen/dlsym/dlclose, `…Win32.cpp` with LoadLibraryA,
/// GetProcAddress and FreeLibrary. Used from one thread, like the loader itself.
struct LibraryCalls {
    /// Loads the library by its multibyte name; null on failure.
    void* (*open)(const char* name);
    /// The address of an exported symbol, or null.
    void* (*symbol)(void* handle, const char* name);
    /// Releases one load of the library.
    void (*close)(void* handle);
    /// The system's message for the last failed open or symbol look-up; empty when the
    /// system has none.
    std::string (*lastError)();
    /// Makes the process fail critical errors silently (no system dialog); returns the mode
    /// to restore.
    unsigned (*silenceErrors)();
    void (*restoreErrors)(unsigned previous);
    void (*sleepMilliseconds)(unsigned ms);
};

/// The table in use. Tests may replace entries and must restore them; not thread-safe.
KY_BASE_API LibraryCalls& libraryCalls();
/// The platform's own table.
KY_BASE_API const LibraryCalls& nativeLibraryCalls();

/// Forgets that the plug-in directories were scanned, so that a test can scan again in the
/// same process. Services already registered stay. Tests only.
KY_BASE_API void resetServiceScanForTesting();

} // namespace detail
} // namespace kyPlugin

#endif // KY_PLUGIN_INTERNAL_LIBRARY_H
