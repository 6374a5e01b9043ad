// kyOSFileCallsPosix.cpp - the file system calls on POSIX systems.
#include <Base/OS/internal/kyOSFileCalls.h>
#include <Base/OS/internal/kyOSFileUtil.h>
#include <Base/OS/internal/kyOSPath.h>
#include <Base/OS/kyOSFileTypes.h>

#include <Base/String/kyStringIString.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <string>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <vector>

namespace kyOS {
namespace detail {
namespace {

// Converts a name or fails with EILSEQ, the way the system refuses a name it cannot hold.
#define KY_NARROW(wide, narrow)                                                                    \
    std::string narrow;                                                                            \
    if (!toNarrow(wide, narrow)) {                                                                 \
        *error = EILSEQ;                                                                           \
        return -1;                                                                                 \
    }

int failWithErrno(int* error) {
    *error = errno;
    return -1;
}

int posixOpen(const std::wstring& name, int flags, int* error) {
    if (injectedFault(FileCall::kOpen, error)) {
        return -1;
    }
    KY_NARROW(name, narrow)
    int oflags = O_CLOEXEC;
    const bool reading = (flags & kRead) != 0;
    const bool writing = (flags & (kWrite | kAppend)) != 0;
    oflags |= reading && writing ? O_RDWR : (writing ? O_WRONLY : O_RDONLY);
    if ((flags & kCreate) != 0) {
        oflags |= O_CREAT;
    }
    if ((flags & kTruncate) != 0) {
        oflags |= O_TRUNC;
    }
    if ((flags & kExclusive) != 0) {
        oflags |= O_EXCL;
    }
    if ((flags & kAppend) != 0) {
        oflags |= O_APPEND;
    }
    const mode_t mode = (flags & kOpenOwnerOnly) != 0 ? 0600 : 0666;
    const int fd = ::open(narrow.c_str(), oflags, mode);
    return fd >= 0 ? fd : failWithErrno(error);
}

long long posixRead(int fd, void* buffer, std::size_t size, int* error) {
    if (injectedFault(FileCall::kRead, error, &size)) {
        return -1;
    }
    const ssize_t n = ::read(fd, buffer, size);
    return n >= 0 ? n : failWithErrno(error);
}

long long posixWrite(int fd, const void* buffer, std::size_t size, int* error) {
    if (injectedFault(FileCall::kWrite, error, &size)) {
        return -1;
    }
    const ssize_t n = ::write(fd, buffer, size);
    return n >= 0 ? n : failWithErrno(error);
}

long long posixSeek(int fd, long long offset, int origin, int* error) {
    if (injectedFault(FileCall::kSeek, error)) {
        return -1;
    }
    const int whence = origin == 1 ? SEEK_CUR : (origin == 2 ? SEEK_END : SEEK_SET);
    const off_t at = ::lseek(fd, static_cast<off_t>(offset), whence);
    return at >= 0 ? static_cast<long long>(at) : failWithErrno(error);
}

int posixFsync(int fd, int* error) {
    if (injectedFault(FileCall::kFsync, error)) {
        return -1;
    }
    return ::fsync(fd) == 0 ? 0 : failWithErrno(error);
}

int posixClose(int fd, int* error) {
    // Linux releases the descriptor whatever close reports, so a failed close must not be
    // retried; an injected failure releases it too. An interruption comes after the release:
    // the close is done (the data's durability is fsync's business, not close's).
    const bool fail = injectedFault(FileCall::kClose, error) && *error != EINTR;
    const int result = ::close(fd);
    if (fail) {
        return -1;
    }
    return result == 0 || errno == EINTR ? 0 : failWithErrno(error);
}

void fillStat(const struct stat& st, NativeStat* info) {
    info->isDirectory = S_ISDIR(st.st_mode);
    info->isFile = S_ISREG(st.st_mode);
    info->size = static_cast<std::int64_t>(st.st_size);
    info->modification = static_cast<std::int64_t>(st.st_mtime);
    info->creation = info->modification;
}

int posixStat(const std::wstring& name, NativeStat* info, int* error) {
    if (injectedFault(FileCall::kStat, error)) {
        return -1;
    }
    KY_NARROW(name, narrow)
#ifdef STATX_BTIME
    // The birth time where the file system keeps one.
    struct statx sx;
    if (::statx(AT_FDCWD, narrow.c_str(), 0, STATX_BASIC_STATS | STATX_BTIME, &sx) == 0) {
        info->isDirectory = S_ISDIR(sx.stx_mode);
        info->isFile = S_ISREG(sx.stx_mode);
        info->size = static_cast<std::int64_t>(sx.stx_size);
        info->modification = static_cast<std::int64_t>(sx.stx_mtime.tv_sec);
        info->creation = (sx.stx_mask & STATX_BTIME) != 0
                             ? static_cast<std::int64_t>(sx.stx_btime.tv_sec)
                             : info->modification;
        return 0;
    }
    if (errno != ENOSYS) {
        return failWithErrno(error);
    }
#endif
    struct stat st;
    if (::stat(narrow.c_str(), &st) != 0) {
        return failWithErrno(error);
    }
    fillStat(st, info);
    return 0;
}

int posixFstat(int fd, NativeStat* info, int* error) {
    if (injectedFault(FileCall::kFstat, error)) {
        return -1;
    }
    struct stat st;
    if (::fstat(fd, &st) != 0) {
        return failWithErrno(error);
    }
    fillStat(st, info);
    return 0;
}

int posixAccess(const std::wstring& name, int mode, int* error) {
    if (injectedFault(FileCall::kAccess, error)) {
        return -1;
    }
    KY_NARROW(name, narrow)
    const int how = (mode & 2 ? W_OK : 0) | (mode & 4 ? R_OK : 0);
    return ::faccessat(AT_FDCWD, narrow.c_str(), how == 0 ? F_OK : how, AT_EACCESS) == 0
               ? 0
               : failWithErrno(error);
}

// A POSIX rename already replaces its target in one step: the table's rename and replace
// entries differ only in the name the fault hook sees.
int renameAs(FileCall call, const std::wstring& from, const std::wstring& to, int* error) {
    if (injectedFault(call, error)) {
        return -1;
    }
    KY_NARROW(from, narrowFrom)
    KY_NARROW(to, narrowTo)
    return ::rename(narrowFrom.c_str(), narrowTo.c_str()) == 0 ? 0 : failWithErrno(error);
}

int posixRename(const std::wstring& from, const std::wstring& to, int* error) {
    return renameAs(FileCall::kRename, from, to, error);
}

int posixReplace(const std::wstring& from, const std::wstring& to, int* error) {
    return renameAs(FileCall::kReplace, from, to, error);
}

int posixUnlink(const std::wstring& name, int* error) {
    if (injectedFault(FileCall::kUnlink, error)) {
        return -1;
    }
    KY_NARROW(name, narrow)
    return ::unlink(narrow.c_str()) == 0 ? 0 : failWithErrno(error);
}

// Copies the contents with the kernel's copy where it can, else through a buffer.
int copyContents(int in, int out, int* error) {
    FileCalls& calls = fileCalls();
    bool kernelCopy = true;
    for (;;) {
        if (kernelCopy) {
            const long long n =
                retryInterrupted([&] { return calls.copyRange(in, out, 1 << 30, error); }, error);
            if (n > 0) {
                continue;
            }
            if (n == 0) {
                return 0;
            }
            if (*error != ENOSYS && *error != EXDEV && *error != EINVAL && *error != EOPNOTSUPP) {
                return -1;
            }
            kernelCopy = false; // nothing was copied by the failed call: go on from here
        }
        static thread_local std::vector<char> buffer(1 << 20);
        const long long got = retryInterrupted(
            [&] { return calls.read(in, buffer.data(), buffer.size(), error); }, error);
        if (got <= 0) {
            return got == 0 ? 0 : -1;
        }
        long long done = 0;
        while (done < got) {
            const long long put = retryInterrupted(
                [&] {
                    return calls.write(out, buffer.data() + done,
                                       static_cast<std::size_t>(got - done), error);
                },
                error);
            if (put < 0) {
                return -1;
            }
            if (put == 0) {
                *error = EIO;
                return -1;
            }
            done += put;
        }
    }
}

int posixCopyFile(const std::wstring& from, const std::wstring& to, bool failIfExists, int* error) {
    if (injectedFault(FileCall::kCopyFile, error)) {
        return -1;
    }
    FileCalls& calls = fileCalls();
    const int in =
        static_cast<int>(retryInterrupted([&] { return calls.open(from, kRead, error); }, error));
    if (in < 0) {
        return -1;
    }
    NativeStat source{};
    if (calls.fstat(in, &source, error) != 0) {
        int ignored = 0;
        calls.close(in, &ignored);
        return -1;
    }
    if (source.isDirectory) {
        int ignored = 0;
        calls.close(in, &ignored);
        *error = EISDIR;
        return -1;
    }
    const int flags = kWrite | kCreate | (failIfExists ? kExclusive : kTruncate);
    const int out =
        static_cast<int>(retryInterrupted([&] { return calls.open(to, flags, error); }, error));
    if (out < 0) {
        int ignored = 0;
        calls.close(in, &ignored);
        return -1;
    }
    int result = copyContents(in, out, error);
    if (result == 0) {
        result = calls.copyAttributes(in, out, error);
    }
    int closeError = 0;
    if (calls.close(out, &closeError) != 0 && result == 0) {
        *error = closeError;
        result = -1;
    }
    calls.close(in, &closeError);
    if (result != 0) {
        // A partial copy is worse than none: the caller sees the failure and no target.
        int ignored = 0;
        calls.unlink(to, &ignored);
    }
    return result;
}

long long posixCopyRange(int in, int out, std::size_t size, int* error) {
    std::size_t limit = size;
    if (injectedFault(FileCall::kCopyRange, error, &limit)) {
        return -1;
    }
    const ssize_t n = ::copy_file_range(in, nullptr, out, nullptr, limit, 0);
    return n >= 0 ? n : failWithErrno(error);
}

int posixCopyAttributes(int from, int to, int* error) {
    if (injectedFault(FileCall::kCopyAttributes, error)) {
        return -1;
    }
    struct stat st;
    if (::fstat(from, &st) != 0 || ::fchmod(to, st.st_mode & 07777) != 0) {
        return failWithErrno(error);
    }
    const struct timespec times[2] = {st.st_atim, st.st_mtim};
    return ::futimens(to, times) == 0 ? 0 : failWithErrno(error);
}

int posixMkdir(const std::wstring& name, int* error) {
    if (injectedFault(FileCall::kMkdir, error)) {
        return -1;
    }
    KY_NARROW(name, narrow)
    return ::mkdir(narrow.c_str(), 0777) == 0 ? 0 : failWithErrno(error);
}

int posixRmdir(const std::wstring& name, int* error) {
    if (injectedFault(FileCall::kRmdir, error)) {
        return -1;
    }
    KY_NARROW(name, narrow)
    return ::rmdir(narrow.c_str()) == 0 ? 0 : failWithErrno(error);
}

int posixListDirectory(const std::wstring& name, std::vector<std::wstring>& names, int* error) {
    if (injectedFault(FileCall::kListDirectory, error)) {
        return -1;
    }
    KY_NARROW(name, narrow)
    DIR* dir = ::opendir(narrow.c_str());
    if (dir == nullptr) {
        return failWithErrno(error);
    }
    names.clear();
    for (;;) {
        errno = 0;
        const struct dirent* entry = ::readdir(dir);
        if (entry == nullptr) {
            break;
        }
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
            names.push_back(toWide(entry->d_name));
        }
    }
    const int readError = errno;
    ::closedir(dir);
    if (readError != 0) {
        *error = readError;
        return -1;
    }
    return 0;
}

int posixSyncDirectory(const std::wstring& name, int* error) {
    if (injectedFault(FileCall::kSyncDirectory, error)) {
        return -1;
    }
    KY_NARROW(name, narrow)
    const int fd = ::open(narrow.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) {
        return failWithErrno(error);
    }
    const int result = ::fsync(fd) == 0 ? 0 : failWithErrno(error);
    ::close(fd);
    return result;
}

int posixTempPath(std::wstring& out, int* error) {
    if (injectedFault(FileCall::kTempPath, error)) {
        return -1;
    }
    const char* dir = std::getenv("TMPDIR");
    out = toWide(dir != nullptr && dir[0] != '\0' ? dir : "/tmp");
    return 0;
}

int posixTempFile(const std::wstring& dir, const std::wstring& prefix, std::wstring& out,
                  int* error) {
    if (injectedFault(FileCall::kTempFile, error)) {
        return -1;
    }
    KY_NARROW(join(dir, prefix + L"XXXXXX.tmp", PathStyle::kPosix), pattern)
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    const int fd = ::mkstemps(buffer.data(), 4);
    if (fd < 0) {
        return failWithErrno(error);
    }
    ::close(fd);
    out = toWide(buffer.data());
    return 0;
}

int posixDiskFree(const std::wstring& path, std::uint64_t* total, std::uint64_t* avail,
                  int* error) {
    if (injectedFault(FileCall::kDiskFree, error)) {
        return -1;
    }
    KY_NARROW(path, narrow)
    struct statvfs vfs;
    if (::statvfs(narrow.c_str(), &vfs) != 0) {
        return failWithErrno(error);
    }
    *total = static_cast<std::uint64_t>(vfs.f_blocks) * vfs.f_frsize;
    *avail = static_cast<std::uint64_t>(vfs.f_bavail) * vfs.f_frsize;
    return 0;
}

bool posixIsRemote(const std::wstring& path) {
    int error = 0;
    if (injectedFault(FileCall::kIsRemote, &error)) {
        return false;
    }
    std::string narrow;
    struct statfs fs;
    if (!toNarrow(path, narrow) || ::statfs(narrow.c_str(), &fs) != 0) {
        return false;
    }
    // NFS, SMB, CIFS, SMB2, FUSE (sshfs and the like), Coda, AFS, NCP, 9P, Ceph.
    static const unsigned long kRemote[] = {0x6969,     0x517B,     0xFF534D42, 0xFE534D42,
                                            0x65735546, 0x73757245, 0x5346414F, 0x564C,
                                            0x01021997, 0x00C36400};
    const unsigned long type = static_cast<unsigned long>(fs.f_type) & 0xFFFFFFFFul;
    for (unsigned long remote : kRemote) {
        if (type == remote) {
            return true;
        }
    }
    return false;
}

int posixOwner(const std::wstring& name, std::string& owner, std::string& group, int* error) {
    if (injectedFault(FileCall::kOwner, error)) {
        return -1;
    }
    KY_NARROW(name, narrow)
    struct stat st;
    if (::stat(narrow.c_str(), &st) != 0) {
        return failWithErrno(error);
    }
    std::vector<char> buffer(16384);
    struct passwd pw;
    struct passwd* pwFound = nullptr;
    owner = ::getpwuid_r(st.st_uid, &pw, buffer.data(), buffer.size(), &pwFound) == 0 &&
                    pwFound != nullptr
                ? pw.pw_name
                : std::to_string(st.st_uid); // an account without a name: its number
    struct group gr;
    struct group* grFound = nullptr;
    group = ::getgrgid_r(st.st_gid, &gr, buffer.data(), buffer.size(), &grFound) == 0 &&
                    grFound != nullptr
                ? gr.gr_name
                : std::to_string(st.st_gid);
    return 0;
}

int posixFullPath(const std::wstring& name, std::wstring& out, int* error) {
    if (injectedFault(FileCall::kFullPath, error)) {
        return -1;
    }
    if (isAbsolute(name, PathStyle::kPosix)) {
        out = canonicalize(name, L'/', PathStyle::kPosix);
        return 0;
    }
    std::vector<char> buffer(maxPathLength(PathStyle::kPosix) + 1);
    if (::getcwd(buffer.data(), buffer.size()) == nullptr) {
        return failWithErrno(error);
    }
    out = join(toWide(buffer.data()), name, PathStyle::kPosix);
    return 0;
}

int posixGetCwd(std::wstring& out, unsigned int bufferChars, int* error) {
    if (injectedFault(FileCall::kGetCwd, error)) {
        return -1;
    }
    std::vector<char> buffer(bufferChars + 1, '\0');
    if (::getcwd(buffer.data(), buffer.size()) == nullptr) {
        return failWithErrno(error);
    }
    out = toWide(buffer.data());
    return 0;
}

int posixSetCwd(const std::wstring& dir, int* error) {
    if (injectedFault(FileCall::kSetCwd, error)) {
        return -1;
    }
    KY_NARROW(dir, narrow)
    return ::chdir(narrow.c_str()) == 0 ? 0 : failWithErrno(error);
}

int posixProcessId() {
    return static_cast<int>(::getpid());
}

int posixSameError(int error) {
    return error;
}

std::wstring posixErrorText(int error) {
    return toWide(std::strerror(error));
}

} // namespace

PathStyle nativeStyle() {
    return PathStyle::kPosix;
}

const FileCalls& nativeFileCalls() {
    static const FileCalls calls = {
        posixOpen,          posixRead,           posixWrite,     posixSeek,
        posixFsync,         posixClose,          posixStat,      posixFstat,
        posixAccess,        posixRename,         posixUnlink,    posixCopyFile,
        posixCopyRange,     posixCopyAttributes, posixMkdir,     posixRmdir,
        posixListDirectory, posixSyncDirectory,  posixTempPath,  posixTempFile,
        posixDiskFree,      posixIsRemote,       posixOwner,     posixFullPath,
        posixGetCwd,        posixSetCwd,         posixErrorText, posixErrorText,
        posixSameError,     posixProcessId,      ENOENT,         EEXIST,
        posixReplace,
    };
    return calls;
}

} // namespace detail
} // namespace kyOS
