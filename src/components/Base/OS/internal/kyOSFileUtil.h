// kyOSFileUtil.h - small helpers shared by the file layer's implementation files.
#ifndef KY_OS_INTERNAL_FILEUTIL_H
#define KY_OS_INTERNAL_FILEUTIL_H

#include <Base/OS/internal/kyOSFileCalls.h>
#include <Base/OS/kyOSFilename.h>
#include <Base/String/kyStringIString.h>
#include <Base/Utility/kyUtilError.h>

#include <cerrno>
#include <cstddef>
#include <string>

namespace kyOS {
namespace detail {

/// The wide text as the library's string (embedded NULs kept).
kyString::IString toIString(const std::wstring& s);
/// The name in the process's code page (the C library's locale on POSIX systems); false
/// when it holds a NUL or a character the code page cannot express, since the system would
/// otherwise be asked about a different name.
bool toNarrow(const std::wstring& name, std::string& out);
/// Narrow text in the process's code page, widened.
std::wstring toWide(const char* text);
/// The name of a C caller's narrow or wide argument; null counts as empty.
Filename filenameFrom(const char* name);
Filename filenameFrom(const wchar_t* name);

/// How often an interrupted call is made again before its failure counts. A bound, because
/// on Windows the Win32 calls report their own codes and one of them has EINTR's number.
constexpr int kInterruptRetries = 64;

/// Makes `call` (which returns -1 and sets `*error` on failure) again while it reports an
/// interruption.
template <typename Call>
long long retryInterrupted(Call call, int* error) {
    long long result = -1;
    for (int attempt = 0; attempt < kInterruptRetries; ++attempt) {
        *error = 0;
        result = static_cast<long long>(call());
        if (result >= 0 || *error != EINTR) {
            break;
        }
    }
    return result;
}

/// Writes all of `buffer`, absorbing interruptions and short writes; 0 or -1 with `*error`.
KY_BASE_API int writeAll(int fd, const void* buffer, std::size_t size, int* error);
/// Reads until `size` bytes or the end of the file; the count or -1 with `*error`.
KY_BASE_API long long readFully(int fd, void* buffer, std::size_t size, int* error);
/// Opens `name`, makes its data durable and closes it again.
KY_BASE_API int syncFile(const std::wstring& name, int* error);
/// Closes a descriptor whose result no longer matters (cleanup after another failure).
KY_BASE_API void closeQuietly(int fd);
/// True when the name exists (a failing query counts as missing).
KY_BASE_API bool nameExists(const std::wstring& name);
/// Deletes a file the library made for its own use (a reserved name, a temp or backup file)
/// once it is no longer needed. No query first, and a failed delete is tried once more: such
/// a file is litter nobody will look for. True when the name is gone.
KY_BASE_API bool removeLeftover(const std::wstring& name);
/// Code 14 ("ErrSyscall") with the system's own text for a run-time-library error number.
KY_BASE_API kyUtil::Error runtimeError(int error);

} // namespace detail
} // namespace kyOS

#endif // KY_OS_INTERNAL_FILEUTIL_H
