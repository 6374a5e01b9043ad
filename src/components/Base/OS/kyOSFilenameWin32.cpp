// kyOSFilenameWin32.cpp - current directory, directory creation and name queries on Windows.
#include <Base/OS/internal/kyOSPath.h>
#include <Base/OS/internal/kyOSPathCalls.h>

#include <direct.h>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>
#include <vector>
#include <wchar.h>
#include <windows.h>

namespace kyOS {
namespace detail {
namespace {

// A name with an embedded NUL would reach the system cut short: refuse it instead.
bool usable(const std::wstring& name) {
    return name.find(L'\0') == std::wstring::npos;
}

bool winGetCwd(std::wstring& out, unsigned int bufferChars) {
    std::vector<wchar_t> buffer(bufferChars + 1, L'\0');
    if (_wgetcwd(buffer.data(), static_cast<int>(bufferChars)) == nullptr) {
        return false;
    }
    out = buffer.data();
    return true;
}

bool winSetCwd(const std::wstring& dir) {
    return usable(dir) && SetCurrentDirectoryW(dir.c_str()) != 0;
}

bool winMakeDir(const std::wstring& dir) {
    return usable(dir) && _wmkdir(dir.c_str()) == 0;
}

PathKind winPathKind(const std::wstring& name) {
    struct _stat64i32 st;
    if (!usable(name) || _wstat64i32(name.c_str(), &st) != 0) {
        return PathKind::kNone;
    }
    if ((st.st_mode & _S_IFDIR) != 0) {
        return PathKind::kDirectory;
    }
    return (st.st_mode & _S_IFREG) != 0 ? PathKind::kFile : PathKind::kOther;
}

int winFullPath(const std::wstring& name, std::wstring& out) {
    if (!usable(name)) {
        return ERROR_INVALID_NAME;
    }
    // Asked once for the size, once for the text.
    const DWORD size = GetFullPathNameW(name.c_str(), 0, nullptr, nullptr);
    if (size == 0) {
        return static_cast<int>(GetLastError());
    }
    std::vector<wchar_t> buffer(size + 1, L'\0');
    const DWORD got = GetFullPathNameW(name.c_str(), size, buffer.data(), nullptr);
    if (got == 0 || got >= size + 1) {
        const DWORD error = GetLastError();
        return error != 0 ? static_cast<int>(error) : ERROR_INSUFFICIENT_BUFFER;
    }
    out.assign(buffer.data(), got);
    return 0;
}

std::wstring winErrorText(int error) {
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

const PathCalls kNativeCalls = {winGetCwd,   winSetCwd,   winMakeDir,
                                winPathKind, winFullPath, winErrorText};

} // namespace

PathStyle nativeStyle() {
    return PathStyle::kWindows;
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
