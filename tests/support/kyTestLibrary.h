// kyTestLibrary.h - what the plug-in tests ask the platform about dynamic libraries.
#ifndef KY_TESTS_SUPPORT_LIBRARY_H
#define KY_TESTS_SUPPORT_LIBRARY_H

#include <string>

namespace kytest {

/// True while the library at `path` is mapped into this process (the platform's module
/// list: dl_iterate_phdr on POSIX, GetModuleHandleA on Windows).
bool isLibraryMapped(const std::string& path);

/// The system's own message for loading `path` as a library, obtained by loading it directly
/// (dlopen/dlerror, LoadLibraryA/FormatMessageA); empty when it loads. A library that loads is
/// released again.
std::string systemLoadError(const std::string& path);

} // namespace kytest

#endif // KY_TESTS_SUPPORT_LIBRARY_H
