// kyOSFilesystem.cpp - kyOS::Filesystem.
#include <Base/OS/kyOSFilesystem.h>

#include <Base/OS/internal/kyOSFileCalls.h>
#include <Base/OS/internal/kyOSPath.h>

#include <string>

namespace kyOS {

Filesystem::Filesystem(const kyString::IString& path)
    : path_(path), blockSize_(0), size_(0), avail_(0), isRemote_(false) {}

kyUtil::Error Filesystem::stat() {
    detail::FileCalls& calls = detail::fileCalls();
    const PathStyle style = detail::nativeStyle();
    const wchar_t separator = detail::defaultSeparator(style);
    std::wstring full;
    int error = 0;
    if (path_.isEmpty() || calls.fullPath(path_.str(), full, &error) != 0) {
        return kyUtil::Error(1, "Filesystem::stat(): invalid path %ls\n", path_.asWChar());
    }
    // Drive and directory only, as the system's path splitter gives them: the last component
    // goes and the separator before it stays.
    const detail::PathComponents parts =
        detail::split(detail::canonicalize(full, separator, style), separator, style);
    std::wstring dir = parts.dirname;
    if (dir.empty() || dir.back() != separator) {
        dir += separator;
    }
    std::uint64_t total = 0;
    std::uint64_t available = 0;
    if (calls.diskFree(dir, &total, &available, &error) != 0) {
        const std::wstring message = calls.systemErrorText(error);
        return kyUtil::Error(1, "Filesystem::stat(): GetDiskFreeSpaceEx(%ls) failed: %ls",
                             dir.c_str(), message.c_str());
    }
    // Kibibytes, deliberately; blockSize names the unit.
    blockSize_ = 1024;
    size_ = total >> 10;
    avail_ = available >> 10;
    if (style == PathStyle::kWindows) {
        if (parts.prefix.empty()) {
            isRemote_ = false;
        } else if (parts.prefix.compare(0, 2, L"\\\\") == 0) {
            isRemote_ = true;
        } else {
            isRemote_ = calls.isRemote(parts.prefix + L"\\");
        }
    } else {
        // No drive letters here: the mount itself says whether it is remote.
        isRemote_ = calls.isRemote(dir);
    }
    return kyUtil::Error();
}

} // namespace kyOS
