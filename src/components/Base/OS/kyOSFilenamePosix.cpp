// kyOSFilenamePosix.cpp - current directory, directory creation and name queries on POSIX.
#include <Base/OS/internal/kyOSPath.h>
#include <Base/OS/internal/kyOSPathCalls.h>

#include <Base/String/kyStringIString.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace kyOS {
namespace detail {
namespace {

// The name in the C library's locale; false when it holds a NUL or a character the locale
// cannot express (the system would otherwise be asked about a different name).
bool toNarrow(const std::wstring& name, std::string& out) {
    if (name.find(L'\0') != std::wstring::npos) {
        return false;
    }
    bool lossless = false;
    const kyString::IString wide(name.c_str(), static_cast<unsigned int>(name.size()));
    out = wide.asMultibyte(kyString::kMultibyte, &lossless);
    return lossless;
}

std::wstring toWide(const char* text) {
    return kyString::IString(text).str();
}

int currentDirectory(std::wstring& out, unsigned int bufferChars) {
    std::string buffer(bufferChars + 1, '\0');
    if (::getcwd(&buffer[0], buffer.size()) == nullptr) {
        return errno != 0 ? errno : ERANGE;
    }
    out = toWide(buffer.c_str());
    return 0;
}

bool posixGetCwd(std::wstring& out, unsigned int bufferChars) {
    return currentDirectory(out, bufferChars) == 0;
}

bool posixSetCwd(const std::wstring& dir) {
    std::string narrow;
    return toNarrow(dir, narrow) && ::chdir(narrow.c_str()) == 0;
}

bool posixMakeDir(const std::wstring& dir) {
    std::string narrow;
    return toNarrow(dir, narrow) && ::mkdir(narrow.c_str(), 0777) == 0;
}

PathKind posixPathKind(const std::wstring& name) {
    std::string narrow;
    struct stat st;
    if (!toNarrow(name, narrow) || ::stat(narrow.c_str(), &st) != 0) {
        return PathKind::kNone;
    }
    if (S_ISDIR(st.st_mode)) {
        return PathKind::kDirectory;
    }
    return S_ISREG(st.st_mode) ? PathKind::kFile : PathKind::kOther;
}

// The absolute form of a relative name: the current directory joined with it.
int posixFullPath(const std::wstring& name, std::wstring& out) {
    std::wstring cwd;
    const int error = currentDirectory(cwd, maxPathLength(PathStyle::kPosix));
    if (error != 0) {
        return error;
    }
    out = join(cwd, name, PathStyle::kPosix);
    return 0;
}

std::wstring posixErrorText(int error) {
    return toWide(std::strerror(error));
}

const PathCalls kNativeCalls = {posixGetCwd,   posixSetCwd,   posixMakeDir,
                                posixPathKind, posixFullPath, posixErrorText};

} // namespace

PathStyle nativeStyle() {
    return PathStyle::kPosix;
}

const PathCalls& nativePathCalls() {
    return kNativeCalls;
}

PathCalls& pathCalls() {
    static PathCalls calls = kNativeCalls;
    return calls;
}

} // namespace detail
} // namespace kyOS
