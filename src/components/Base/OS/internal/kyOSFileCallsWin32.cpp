// kyOSFileCallsWin32.cpp - the file system calls on Windows.
#include <Base/OS/internal/kyOSFileCalls.h>
#include <Base/OS/internal/kyOSFileUtil.h>
#include <Base/OS/internal/kyOSPath.h>
#include <Base/OS/kyOSFileTypes.h>

#include <Base/String/kyStringIString.h>

#include <aclapi.h>
#include <cerrno>
#include <climits>
#include <cstring>
#include <direct.h>
#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>
#include <vector>
#include <windows.h>

namespace kyOS {
namespace detail {
namespace {

// A name with an embedded NUL would reach the system cut short.
bool usable(const std::wstring& name) {
    return name.find(L'\0') == std::wstring::npos;
}

// The Win32 code that means what an injected errno value means.
int win32For(int error) {
    switch (error) {
    case ENOSPC:
        return ERROR_DISK_FULL;
    case EIO:
        return ERROR_GEN_FAILURE;
    case EACCES:
        return ERROR_ACCESS_DENIED;
    case ENOENT:
        return ERROR_FILE_NOT_FOUND;
    default:
        return error; // EINTR stays recognisable, so the caller's retry absorbs it
    }
}

// The hook's verdict, reported in the code space of the call: errno for the run-time
// library's calls, Win32 codes for the others.
bool faulted(FileCall call, int* error, bool win32, std::size_t* size = nullptr) {
    if (!injectedFault(call, error, size)) {
        return false;
    }
    if (win32) {
        *error = win32For(*error);
    }
    return true;
}

int failWithErrno(int* error) {
    *error = errno;
    return -1;
}

int failWithLastError(int* error) {
    *error = static_cast<int>(GetLastError());
    return -1;
}

int winOpen(const std::wstring& name, int flags, int* error) {
    if (faulted(FileCall::kOpen, error, false)) {
        return -1;
    }
    if (!usable(name)) {
        *error = EINVAL;
        return -1;
    }
    int oflags = _O_BINARY | _O_NOINHERIT;
    const bool reading = (flags & kRead) != 0;
    const bool writing = (flags & (kWrite | kAppend)) != 0;
    oflags |= reading && writing ? _O_RDWR : (writing ? _O_WRONLY : _O_RDONLY);
    if ((flags & kCreate) != 0) {
        oflags |= _O_CREAT;
    }
    if ((flags & kTruncate) != 0) {
        oflags |= _O_TRUNC;
    }
    if ((flags & kExclusive) != 0) {
        oflags |= _O_EXCL;
    }
    if ((flags & kAppend) != 0) {
        oflags |= _O_APPEND;
    }
    int fd = -1;
    const errno_t e = _wsopen_s(&fd, name.c_str(), oflags, _SH_DENYNO, _S_IREAD | _S_IWRITE);
    if (e != 0 || fd < 0) {
        *error = e != 0 ? e : errno;
        return -1;
    }
    return fd;
}

// The run-time library moves at most INT_MAX bytes per call.
unsigned int clampSize(std::size_t size) {
    return size > static_cast<std::size_t>(INT_MAX) ? INT_MAX : static_cast<unsigned int>(size);
}

long long winRead(int fd, void* buffer, std::size_t size, int* error) {
    if (faulted(FileCall::kRead, error, false, &size)) {
        return -1;
    }
    const int n = _read(fd, buffer, clampSize(size));
    return n >= 0 ? n : failWithErrno(error);
}

long long winWrite(int fd, const void* buffer, std::size_t size, int* error) {
    if (faulted(FileCall::kWrite, error, false, &size)) {
        return -1;
    }
    const int n = _write(fd, buffer, clampSize(size));
    return n >= 0 ? n : failWithErrno(error);
}

long long winSeek(int fd, long long offset, int origin, int* error) {
    if (faulted(FileCall::kSeek, error, false)) {
        return -1;
    }
    const int whence = origin == 1 ? SEEK_CUR : (origin == 2 ? SEEK_END : SEEK_SET);
    const __int64 at = _lseeki64(fd, offset, whence);
    return at >= 0 ? static_cast<long long>(at) : failWithErrno(error);
}

int winFsync(int fd, int* error) {
    if (faulted(FileCall::kFsync, error, false)) {
        return -1;
    }
    return _commit(fd) == 0 ? 0 : failWithErrno(error);
}

int winClose(int fd, int* error) {
    // The descriptor goes whatever is reported, as on every system; an interruption is no
    // failure of a close.
    const bool fail = faulted(FileCall::kClose, error, false) && *error != EINTR;
    const int result = _close(fd);
    if (fail) {
        return -1;
    }
    return result == 0 ? 0 : failWithErrno(error);
}

void fillStat(const struct _stat64& st, NativeStat* info) {
    info->isDirectory = (st.st_mode & _S_IFDIR) != 0;
    info->isFile = (st.st_mode & _S_IFREG) != 0;
    info->size = static_cast<std::int64_t>(st.st_size);
    info->modification = static_cast<std::int64_t>(st.st_mtime);
    info->creation = static_cast<std::int64_t>(st.st_ctime); // creation time on Windows
}

int winStat(const std::wstring& name, NativeStat* info, int* error) {
    if (faulted(FileCall::kStat, error, false)) {
        return -1;
    }
    if (!usable(name)) {
        *error = ENOENT;
        return -1;
    }
    struct _stat64 st;
    if (_wstat64(name.c_str(), &st) != 0) {
        return failWithErrno(error);
    }
    fillStat(st, info);
    return 0;
}

int winFstat(int fd, NativeStat* info, int* error) {
    if (faulted(FileCall::kFstat, error, false)) {
        return -1;
    }
    struct _stat64 st;
    if (_fstat64(fd, &st) != 0) {
        return failWithErrno(error);
    }
    fillStat(st, info);
    return 0;
}

int winAccess(const std::wstring& name, int mode, int* error) {
    if (faulted(FileCall::kAccess, error, false)) {
        return -1;
    }
    if (!usable(name)) {
        *error = ENOENT;
        return -1;
    }
    return _waccess(name.c_str(), mode & 6) == 0 ? 0 : failWithErrno(error);
}

int winRename(const std::wstring& from, const std::wstring& to, int* error) {
    if (faulted(FileCall::kRename, error, false)) {
        return -1;
    }
    if (!usable(from) || !usable(to)) {
        *error = EINVAL;
        return -1;
    }
    return _wrename(from.c_str(), to.c_str()) == 0 ? 0 : failWithErrno(error);
}

int runtimeErrorFor(int code);

int winReplace(const std::wstring& from, const std::wstring& to, int* error) {
    if (faulted(FileCall::kReplace, error, false)) {
        return -1;
    }
    if (!usable(from) || !usable(to)) {
        *error = EINVAL;
        return -1;
    }
    if (MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
        return 0;
    }
    *error = runtimeErrorFor(static_cast<int>(GetLastError()));
    return -1;
}

int winUnlink(const std::wstring& name, int* error) {
    if (faulted(FileCall::kUnlink, error, true)) {
        return -1;
    }
    if (!usable(name)) {
        *error = ERROR_INVALID_NAME;
        return -1;
    }
    return DeleteFileW(name.c_str()) ? 0 : failWithLastError(error);
}

int winCopyFile(const std::wstring& from, const std::wstring& to, bool failIfExists, int* error) {
    if (faulted(FileCall::kCopyFile, error, true)) {
        return -1;
    }
    if (!usable(from) || !usable(to)) {
        *error = ERROR_INVALID_NAME;
        return -1;
    }
    return CopyFileW(from.c_str(), to.c_str(), failIfExists ? TRUE : FALSE)
               ? 0
               : failWithLastError(error);
}

long long winCopyRange(int, int, std::size_t, int* error) {
    *error = ENOSYS; // CopyFileW copies inside the system already
    return -1;
}

int winCopyAttributes(int, int, int*) {
    return 0; // CopyFileW keeps them
}

int winMkdir(const std::wstring& name, int* error) {
    if (faulted(FileCall::kMkdir, error, false)) {
        return -1;
    }
    if (!usable(name)) {
        *error = EINVAL;
        return -1;
    }
    return _wmkdir(name.c_str()) == 0 ? 0 : failWithErrno(error);
}

int winRmdir(const std::wstring& name, int* error) {
    if (faulted(FileCall::kRmdir, error, false)) {
        return -1;
    }
    if (!usable(name)) {
        *error = EINVAL;
        return -1;
    }
    return _wrmdir(name.c_str()) == 0 ? 0 : failWithErrno(error);
}

int runtimeErrorFor(int code) {
    switch (code) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
        return ENOENT;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_WRITE_PROTECT:
        return EACCES;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
        return EEXIST;
    case ERROR_DIRECTORY:
        return ENOTDIR;
    case ERROR_DIR_NOT_EMPTY:
        return ENOTEMPTY;
    case ERROR_FILENAME_EXCED_RANGE:
        return ENAMETOOLONG;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
        return ENOSPC;
    case ERROR_INVALID_NAME:
        return EINVAL;
    default:
        return code == EINTR ? EINTR : EIO;
    }
}

int winListDirectory(const std::wstring& name, std::vector<std::wstring>& names, int* error) {
    if (faulted(FileCall::kListDirectory, error, false)) {
        return -1;
    }
    if (!usable(name)) {
        *error = EINVAL;
        return -1;
    }
    std::wstring pattern = name;
    if (!pattern.empty() && pattern.back() != L'\\' && pattern.back() != L'/') {
        pattern += L'\\';
    }
    pattern += L'*';
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW(pattern.c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) {
        *error = runtimeErrorFor(static_cast<int>(GetLastError()));
        return -1;
    }
    names.clear();
    do {
        if (std::wcscmp(found.cFileName, L".") != 0 && std::wcscmp(found.cFileName, L"..") != 0) {
            names.push_back(found.cFileName);
        }
    } while (FindNextFileW(search, &found));
    const DWORD last = GetLastError();
    FindClose(search);
    if (last != ERROR_NO_MORE_FILES) {
        *error = runtimeErrorFor(static_cast<int>(last));
        return -1;
    }
    return 0;
}

int winSyncDirectory(const std::wstring&, int* error) {
    // A rename is durable once it returns here: nothing to do, but the call still counts.
    return faulted(FileCall::kSyncDirectory, error, false) ? -1 : 0;
}

int winTempPath(std::wstring& out, int* error) {
    if (faulted(FileCall::kTempPath, error, true)) {
        return -1;
    }
    char buffer[260 + 1];
    const DWORD n = GetTempPathA(260, buffer);
    if (n == 0) {
        return failWithLastError(error);
    }
    // A path that does not fit the buffer is not in it: the caller falls back.
    out = n <= 260 ? toWide(buffer) : std::wstring();
    return 0;
}

int winTempFile(const std::wstring& dir, const std::wstring& prefix, std::wstring& out,
                int* error) {
    if (faulted(FileCall::kTempFile, error, true)) {
        return -1;
    }
    std::string narrowDir;
    std::string narrowPrefix;
    if (!toNarrow(dir, narrowDir) || !toNarrow(prefix, narrowPrefix)) {
        *error = ERROR_INVALID_NAME;
        return -1;
    }
    char buffer[MAX_PATH + 1];
    if (GetTempFileNameA(narrowDir.c_str(), narrowPrefix.c_str(), 0, buffer) == 0) {
        return failWithLastError(error);
    }
    out = toWide(buffer);
    return 0;
}

int winDiskFree(const std::wstring& path, std::uint64_t* total, std::uint64_t* avail, int* error) {
    if (faulted(FileCall::kDiskFree, error, true)) {
        return -1;
    }
    std::string narrow;
    if (!toNarrow(path, narrow)) {
        *error = ERROR_INVALID_NAME;
        return -1;
    }
    ULARGE_INTEGER toCaller;
    ULARGE_INTEGER totalBytes;
    ULARGE_INTEGER freeBytes;
    if (!GetDiskFreeSpaceExA(narrow.c_str(), &toCaller, &totalBytes, &freeBytes)) {
        return failWithLastError(error);
    }
    *total = totalBytes.QuadPart;
    *avail = toCaller.QuadPart;
    return 0;
}

bool winIsRemote(const std::wstring& path) {
    int error = 0;
    if (faulted(FileCall::kIsRemote, &error, false)) {
        return false;
    }
    return usable(path) && GetDriveTypeW(path.c_str()) == DRIVE_REMOTE;
}

std::string accountName(PSID sid) {
    char name[256];
    char domain[256];
    DWORD nameSize = sizeof name;
    DWORD domainSize = sizeof domain;
    SID_NAME_USE use;
    if (sid == nullptr ||
        !LookupAccountSidA(nullptr, sid, name, &nameSize, domain, &domainSize, &use)) {
        return std::string();
    }
    return name;
}

int winOwner(const std::wstring& name, std::string& owner, std::string& group, int* error) {
    if (faulted(FileCall::kOwner, error, true)) {
        return -1;
    }
    std::string narrow;
    if (!toNarrow(name, narrow)) {
        *error = ERROR_INVALID_NAME;
        return -1;
    }
    PSID ownerSid = nullptr;
    PSID groupSid = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    const DWORD result = GetNamedSecurityInfoA(
        narrow.c_str(), SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION,
        &ownerSid, &groupSid, nullptr, nullptr, &descriptor);
    if (result != ERROR_SUCCESS) {
        *error = static_cast<int>(result);
        return -1;
    }
    owner = accountName(ownerSid);
    group = accountName(groupSid);
    LocalFree(descriptor);
    return 0;
}

int winFullPath(const std::wstring& name, std::wstring& out, int* error) {
    if (faulted(FileCall::kFullPath, error, true)) {
        return -1;
    }
    if (!usable(name)) {
        *error = ERROR_INVALID_NAME;
        return -1;
    }
    const DWORD size = GetFullPathNameW(name.c_str(), 0, nullptr, nullptr);
    if (size == 0) {
        return failWithLastError(error);
    }
    std::vector<wchar_t> buffer(size + 1, L'\0');
    const DWORD got = GetFullPathNameW(name.c_str(), size, buffer.data(), nullptr);
    if (got == 0 || got > size) {
        return failWithLastError(error);
    }
    out.assign(buffer.data(), got);
    return 0;
}

int winGetCwd(std::wstring& out, unsigned int bufferChars, int* error) {
    if (faulted(FileCall::kGetCwd, error, false)) {
        return -1;
    }
    std::vector<wchar_t> buffer(bufferChars + 1, L'\0');
    if (_wgetcwd(buffer.data(), static_cast<int>(bufferChars)) == nullptr) {
        return failWithErrno(error);
    }
    out = buffer.data();
    return 0;
}

int winSetCwd(const std::wstring& dir, int* error) {
    if (faulted(FileCall::kSetCwd, error, true)) {
        return -1;
    }
    if (!usable(dir)) {
        *error = ERROR_INVALID_NAME;
        return -1;
    }
    return SetCurrentDirectoryW(dir.c_str()) ? 0 : failWithLastError(error);
}

std::wstring winSystemErrorText(int error) {
    wchar_t* text = nullptr;
    const DWORD n = FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, static_cast<DWORD>(error), 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    std::wstring message;
    if (n != 0 && text != nullptr) {
        message.assign(text, n);
    }
    if (text != nullptr) {
        LocalFree(text);
    }
    // The system ends its messages with a line break; an error message carries none.
    while (!message.empty() && (message.back() == L'\n' || message.back() == L'\r')) {
        message.pop_back();
    }
    if (message.empty()) {
        message = L"system error " + std::to_wstring(error);
    }
    return message;
}

std::wstring winRuntimeErrorText(int error) {
    return toWide(std::strerror(error));
}

int winProcessId() {
    return static_cast<int>(GetCurrentProcessId());
}

} // namespace

PathStyle nativeStyle() {
    return PathStyle::kWindows;
}

const FileCalls& nativeFileCalls() {
    static const FileCalls calls = {
        winOpen,
        winRead,
        winWrite,
        winSeek,
        winFsync,
        winClose,
        winStat,
        winFstat,
        winAccess,
        winRename,
        winUnlink,
        winCopyFile,
        winCopyRange,
        winCopyAttributes,
        winMkdir,
        winRmdir,
        winListDirectory,
        winSyncDirectory,
        winTempPath,
        winTempFile,
        winDiskFree,
        winIsRemote,
        winOwner,
        winFullPath,
        winGetCwd,
        winSetCwd,
        winSystemErrorText,
        winRuntimeErrorText,
        runtimeErrorFor,
        winProcessId,
        ERROR_FILE_NOT_FOUND,
        ERROR_FILE_EXISTS,
        winReplace,
    };
    return calls;
}

} // namespace detail
} // namespace kyOS
