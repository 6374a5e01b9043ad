// kyOSFileCalls.h - the one table through which the library makes its file system calls.
#ifndef KY_OS_INTERNAL_FILECALLS_H
#define KY_OS_INTERNAL_FILECALLS_H

#include <Base/BaseExport.h>
#include <Base/OS/kyOSFileTypes.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kyOS {
namespace detail {

/// What the system tells about a name (`FileCalls::stat`).
struct NativeStat {
    bool isDirectory;
    bool isFile;
    std::int64_t size;
    std::int64_t creation;     ///< seconds since 1970; the modification time where unknown
    std::int64_t modification; ///< seconds since 1970
};

/// An open flag beside the `OpenMode` bits (kyOSFile.h): a created file gets read and write
/// permission for its owner only (0600) instead of 0666 less the umask. Windows' run-time
/// gives owner read and write either way.
constexpr int kOpenOwnerOnly = 0x10000;

/// Every call the file layer makes, one entry per system call. Names are the library's wide
/// strings; each platform converts them as its calls need. Each entry returns -1 (or false)
/// on failure and puts the system's error number in `*error`: errno for the run-time
/// library's calls, the Windows error code for the Win32 ones (`unlink`, `copyFile`,
/// `tempPath`, `tempFile`, `diskFree` on Windows). `systemErrorText` and `runtimeErrorText`
/// turn them into the system's messages; `runtimeErrorOf` turns a Win32 code into the errno
/// value that means the same (the identity on POSIX).
///
/// Production code calls through `fileCalls()`; tests replace entries, or install a
/// `FaultHook` that every native entry consults first (one predictable branch when none is
/// installed), and put the native table back afterwards.
struct FileCalls {
    /// A descriptor; `flags` are `OpenMode` bits, optionally `kOpenOwnerOnly`.
    int (*open)(const std::wstring& name, int flags, int* error);
    long long (*read)(int fd, void* buffer, std::size_t size, int* error);
    long long (*write)(int fd, const void* buffer, std::size_t size, int* error);
    long long (*seek)(int fd, long long offset, int origin, int* error); ///< the new offset
    int (*fsync)(int fd, int* error);
    /// The descriptor is released even when the call reports a failure.
    int (*close)(int fd, int* error);
    int (*stat)(const std::wstring& name, NativeStat* info, int* error);
    int (*fstat)(int fd, NativeStat* info, int* error);
    /// 0 when the caller's effective rights allow `mode` (2 write, 4 read).
    int (*access)(const std::wstring& name, int mode, int* error);
    int (*rename)(const std::wstring& from, const std::wstring& to, int* error);
    int (*unlink)(const std::wstring& name, int* error);
    /// Contents, permission bits and modification time; `failIfExists` refuses an existing
    /// target. POSIX builds it from the entries of this table, so each of its steps counts.
    int (*copyFile)(const std::wstring& from, const std::wstring& to, bool failIfExists,
                    int* error);
    /// Copies up to `size` bytes inside the kernel; -1 with ENOSYS/EXDEV/EINVAL when the
    /// system cannot, and the caller falls back to read and write.
    long long (*copyRange)(int in, int out, std::size_t size, int* error);
    /// Gives `to` the permission bits and modification time of `from`.
    int (*copyAttributes)(int from, int to, int* error);
    int (*mkdir)(const std::wstring& name, int* error);
    int (*rmdir)(const std::wstring& name, int* error);
    /// The entries of a directory without "." and "..", in the system's order.
    int (*listDirectory)(const std::wstring& name, std::vector<std::wstring>& names, int* error);
    /// Makes a rename in the directory durable; nothing to do on Windows.
    int (*syncDirectory)(const std::wstring& name, int* error);
    /// The system's temporary directory as it gives it (may be empty).
    int (*tempPath)(std::wstring& out, int* error);
    /// Creates a new empty file with a unique name for `prefix` in `dir` and returns the name.
    int (*tempFile)(const std::wstring& dir, const std::wstring& prefix, std::wstring& out,
                    int* error);
    /// Total bytes and bytes available to the caller on the file system of `path`.
    int (*diskFree)(const std::wstring& path, std::uint64_t* total, std::uint64_t* avail,
                    int* error);
    /// True when `path` lies on a network file system (for a Windows drive root such as
    /// "C:\": the drive type is remote).
    bool (*isRemote)(const std::wstring& path);
    /// Owner and group names of a name (narrow, the system's names).
    int (*owner)(const std::wstring& name, std::string& owner, std::string& group, int* error);
    /// The system's full path of a name (relative names completed with the current directory).
    int (*fullPath)(const std::wstring& name, std::wstring& out, int* error);
    /// The current directory, read into a buffer of `bufferChars` characters (a longer one
    /// is a failure).
    int (*getCwd)(std::wstring& out, unsigned int bufferChars, int* error);
    int (*setCwd)(const std::wstring& dir, int* error);
    std::wstring (*systemErrorText)(int error);
    std::wstring (*runtimeErrorText)(int error);
    int (*runtimeErrorOf)(int systemError);
    int (*processId)();
    int notFoundError; ///< the system's "file not found" (Win32 2, ENOENT)
    int existsError;   ///< the system's "file exists" (Win32 80, EEXIST)
    /// Moves `from` over an existing or missing `to` in one step, so that `to` names the old
    /// or the new file at every moment (POSIX rename; Windows MoveFileEx with replace and
    /// write-through). Errors are run-time error numbers.
    int (*replace)(const std::wstring& from, const std::wstring& to, int* error);
};

/// The table in use (the native one unless a test replaced entries).
KY_BASE_API FileCalls& fileCalls();
/// The platform's own table.
KY_BASE_API const FileCalls& nativeFileCalls();

/// Which entry a native call belongs to, for the fault hook.
enum class FileCall {
    kOpen,
    kRead,
    kWrite,
    kSeek,
    kFsync,
    kClose,
    kStat,
    kFstat,
    kAccess,
    kRename,
    kUnlink,
    kCopyFile,
    kCopyRange,
    kCopyAttributes,
    kMkdir,
    kRmdir,
    kListDirectory,
    kSyncDirectory,
    kTempPath,
    kTempFile,
    kDiskFree,
    kOwner,
    kFullPath,
    kGetCwd,
    kSetCwd,
    kIsRemote,
    kReplace,
    kCount
};

/// What the fault hook makes of one call.
struct Fault {
    enum Kind {
        kNone,  ///< make the call
        kFail,  ///< do not make it; fail with `error` (an errno value: ENOSPC, EIO, EINTR, ...)
        kShort, ///< read or write: transfer at most `limit` bytes (other calls: make them)
        kCrash, ///< as if the process died just before the call: fail with EIO, change nothing
    };
    Kind kind;
    int error;
    std::size_t limit;
};

/// The errno value a simulated crash reports.
constexpr int kCrashError = EIO;

/// Consulted by every native entry before it calls the system; `context` is the hook's own.
using FaultHook = Fault (*)(FileCall call, void* context);

/// Installs (or with null removes) the hook. Tests only; not thread-safe.
KY_BASE_API void setFaultHook(FaultHook hook, void* context);

struct FaultSlot {
    FaultHook hook;
    void* context;
};
KY_BASE_API extern FaultSlot gFaultSlot;

/// The hook's verdict for `call` (kNone when no hook is installed).
inline Fault faultFor(FileCall call) {
    if (gFaultSlot.hook == nullptr) {
        return Fault{Fault::kNone, 0, 0};
    }
    return gFaultSlot.hook(call, gFaultSlot.context);
}

/// What every native entry does first: true when the hook says the call must not be made
/// (`*error` then holds the errno value to report: the hook's, or EIO for a crash); a short
/// transfer narrows `*size`.
inline bool injectedFault(FileCall call, int* error, std::size_t* size = nullptr) {
    const Fault fault = faultFor(call);
    switch (fault.kind) {
    case Fault::kNone:
        return false;
    case Fault::kShort:
        if (size != nullptr && *size > fault.limit) {
            *size = fault.limit;
        }
        return false;
    case Fault::kCrash:
        *error = kCrashError;
        return true;
    case Fault::kFail:
        *error = fault.error;
        return true;
    }
    return false;
}

} // namespace detail
} // namespace kyOS

#endif // KY_OS_INTERNAL_FILECALLS_H
