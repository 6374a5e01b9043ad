// kyOSFileOps.cpp - whole-file operations, temporary names and their C entry points.
#include <Base/OS/kyOSFileOps.h>

#include <Base/OS/internal/kyOSFileUtil.h>
#include <Base/OS/internal/kyOSPath.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

namespace kyOS {

namespace {

using detail::FileCalls;
using detail::fileCalls;
using detail::retryInterrupted;

using detail::filenameFrom;
using detail::toIString;

// The failure text of copies and moves: "Error copying <from> to <to>: <system message>".
kyUtil::Error copyError(int code, const Filename& from, const Filename& to,
                        const std::wstring& message) {
    return kyUtil::Error(code, "Error copying %S to %S: %S", from.name().asWChar(),
                         to.name().asWChar(), message.c_str());
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Delete, copy, move, rename

kyUtil::Error fileDelete(const Filename& name) {
    int error = 0;
    const std::wstring native = name.name().str();
    if (retryInterrupted([&] { return fileCalls().unlink(native, &error); }, &error) == 0) {
        return kyUtil::Error();
    }
    return kyUtil::Error(kFileOpFailed, toIString(fileCalls().systemErrorText(error)));
}

kyUtil::Error fileDelete(const char* name) {
    return fileDelete(filenameFrom(name));
}

kyUtil::Error fileDelete(const wchar_t* name) {
    return fileDelete(filenameFrom(name));
}

kyUtil::Error fileCopy(const Filename& from, const Filename& to, bool overwrite) {
    FileCalls& calls = fileCalls();
    int error = 0;
    const std::wstring source = from.name().str();
    const std::wstring target = to.name().str();
    if (retryInterrupted([&] { return calls.copyFile(source, target, !overwrite, &error); },
                         &error) == 0) {
        return kyUtil::Error();
    }
    // The system's numbers for "not found" and "exists" get the copy's own codes.
    const int code = error == calls.notFoundError
                         ? kCopySourceMissing
                         : (error == calls.existsError ? kCopyTargetExists : kFileOpFailed);
    return copyError(code, from, to, calls.systemErrorText(error));
}

kyUtil::Error fileCopy(const char* from, const char* to, bool overwrite) {
    return fileCopy(filenameFrom(from), filenameFrom(to), overwrite);
}

kyUtil::Error fileCopy(const wchar_t* from, const wchar_t* to, bool overwrite) {
    return fileCopy(filenameFrom(from), filenameFrom(to), overwrite);
}

kyUtil::Error fileMove(const Filename& from, const Filename& to, bool overwrite) {
    kyUtil::Error e = fileCopy(from, to, overwrite);
    if (e.failed()) {
        return e;
    }
    // The copy must be on the disk before the original goes, or a crash could lose both.
    int error = 0;
    if (detail::syncFile(to.name().str(), &error) != 0) {
        // A failed move leaves no copy behind: the source is still there, and a retry
        // without overwrite would otherwise find the target taken.
        static_cast<void>(detail::removeLeftover(to.name().str()));
        return copyError(kFileOpFailed, from, to, fileCalls().runtimeErrorText(error));
    }
    // The copy is complete and durable: a source that will not go away is not a failure.
    static_cast<void>(fileDelete(from));
    return kyUtil::Error();
}

kyUtil::Error fileMove(const char* from, const char* to, bool overwrite) {
    return fileMove(filenameFrom(from), filenameFrom(to), overwrite);
}

kyUtil::Error fileMove(const wchar_t* from, const wchar_t* to, bool overwrite) {
    return fileMove(filenameFrom(from), filenameFrom(to), overwrite);
}

kyUtil::Error fileRename(const Filename& from, const Filename& to) {
    if (from.dirname() != to.dirname()) {
        return fileMove(from, to, true);
    }
    int error = 0;
    const std::wstring source = from.name().str();
    const std::wstring target = to.name().str();
    if (retryInterrupted([&] { return fileCalls().rename(source, target, &error); }, &error) == 0) {
        return kyUtil::Error();
    }
    // The run-time library's error numbers, with the texts (and typos) callers know.
    switch (error) {
    case ENOENT:
        return kyUtil::Error(kRenameFailed, "File or path specified by %S name not found.",
                             to.name().asWChar());
    case EACCES:
        return kyUtil::Error(kRenameFailed, "%s",
                             "A component of either path prefix deniessearch permission");
    case EINVAL:
        return kyUtil::Error(kRenameFailed, "%s",
                             "source is a parent directory of target, or an attempt is made to "
                             "rename the .  or ..  directory.");
    default:
        return kyUtil::Error(kRenameFailed, "%s", "Unkown system error.");
    }
}

kyUtil::Error fileReplace(const Filename& from, const Filename& to) {
    int error = 0;
    const std::wstring source = from.name().str();
    const std::wstring target = to.name().str();
    if (retryInterrupted([&] { return fileCalls().replace(source, target, &error); }, &error) ==
        0) {
        // Then the move itself is made durable. It has happened either way, so a failure of
        // this request is not reported: the caller could do nothing different with it.
        const std::wstring dir = to.dirname().isEmpty() ? std::wstring(L".") : to.dirname().str();
        int syncError = 0;
        static_cast<void>(retryInterrupted(
            [&] { return fileCalls().syncDirectory(dir, &syncError); }, &syncError));
        return kyUtil::Error();
    }
    return kyUtil::Error(kRenameFailed, toIString(fileCalls().runtimeErrorText(error)));
}

kyUtil::Error fileRename(const char* from, const char* to) {
    return fileRename(filenameFrom(from), filenameFrom(to));
}

kyUtil::Error fileRename(const wchar_t* from, const wchar_t* to) {
    return fileRename(filenameFrom(from), filenameFrom(to));
}

// ---------------------------------------------------------------------------------------------
// Temporary directory and names

Filename getTempDirectory() {
    std::wstring dir;
    int error = 0;
    if (fileCalls().tempPath(dir, &error) != 0) {
        dir.clear();
    }
    if (dir.empty()) {
        dir = detail::nativeStyle() == PathStyle::kWindows ? L"C:\\" : L"/tmp";
    }
    return Filename(toIString(dir));
}

Filename createTmpFilename(const kyString::IString& suffix, const wchar_t* prefix) {
    static std::atomic<unsigned int> fallbackCounter{0};
    FileCalls& calls = fileCalls();
    const Filename dir = getTempDirectory();
    const std::wstring stem = prefix != nullptr ? prefix : L"KYTMP";
    std::wstring unique;
    int error = 0;
    std::wstring name;
    if (calls.tempFile(dir.name().str(), stem, unique, &error) == 0) {
        // Only the name is wanted; the system made the file to reserve it.
        static_cast<void>(detail::removeLeftover(unique));
        const Filename made(toIString(unique));
        name = made.dirname().str() + made.getSeparator() + made.baseTrunk().str();
    } else {
        const unsigned int n = ++fallbackCounter;
        name = detail::join(dir.name().str(),
                            stem + std::to_wstring(calls.processId()) + L"_" + std::to_wstring(n),
                            dir.style());
    }
    if (!suffix.isEmpty()) {
        name += L'.';
        name += suffix.str();
    }
    return Filename(toIString(name));
}

Filename createNewFilenameVariant(const Filename& name, const wchar_t* suffix,
                                  const kyString::IString& separator) {
    const std::wstring dir = name.dirname().str();
    const std::wstring trunk = name.baseTrunk().str();
    const std::wstring ext = suffix != nullptr ? std::wstring(suffix) : name.baseSuffix().str();
    const std::wstring between = separator.isEmpty() ? std::wstring(L"_") : separator.str();
    for (unsigned int n = 1;; ++n) {
        std::wstring base = trunk + between + std::to_wstring(n);
        if (!ext.empty()) {
            base += L'.';
            base += ext;
        }
        const std::wstring candidate = dir.empty() ? base : detail::join(dir, base, name.style());
        if (!detail::nameExists(candidate) || n == 0xFFFFFFFFu) {
            return Filename(toIString(candidate), name.getSeparator(), name.style());
        }
    }
}

namespace {

bool endsWith(const std::wstring& s, const wchar_t* tail) {
    const std::size_t n = std::wcslen(tail);
    return s.size() >= n && s.compare(s.size() - n, n, tail) == 0;
}

// The names this library gives its temporary files. Windows keeps only the first three
// characters of the default prefix "KYTMP".
bool isOwnTemporary(const std::wstring& name) {
    return name.compare(0, 3, L"KYT") == 0 || endsWith(name, L".0.tmp") ||
           endsWith(name, L".1.tmp");
}

} // namespace

int cleanupTempDirectory(const kyString::IString& directory) {
    // Files younger than this may belong to a writer that is still at work.
    const std::int64_t kMinimumAge = 3600;
    FileCalls& calls = fileCalls();
    std::vector<std::wstring> entries;
    int error = 0;
    const std::wstring dir = directory.str();
    if (calls.listDirectory(dir, entries, &error) != 0) {
        return 0;
    }
    const std::int64_t now = static_cast<std::int64_t>(std::time(nullptr));
    int deleted = 0;
    for (const std::wstring& entry : entries) {
        if (!isOwnTemporary(entry)) {
            continue;
        }
        const std::wstring path = detail::join(dir, entry, detail::nativeStyle());
        detail::NativeStat info{};
        if (calls.stat(path, &info, &error) != 0 || !info.isFile ||
            now - info.modification < kMinimumAge) {
            continue;
        }
        if (retryInterrupted([&] { return calls.unlink(path, &error); }, &error) == 0) {
            ++deleted;
        }
    }
    return deleted;
}

int cleanupTempDirectory() {
    return cleanupTempDirectory(getTempDirectory().name());
}

} // namespace kyOS

namespace {

template <typename Char>
bool copyOut(const std::basic_string<Char>& s, Char* out, std::size_t size) {
    if (out == nullptr || s.size() + 1 > size) {
        return false;
    }
    std::memcpy(out, s.c_str(), (s.size() + 1) * sizeof(Char));
    return true;
}

} // namespace

using kyOS::detail::filenameFrom;

extern "C" {

bool kyOS_CopyFileTo(const char* from, const char* to, bool overwrite) {
    return kyOS::fileCopy(filenameFrom(from), filenameFrom(to), overwrite).ok();
}

bool kyOS_CopyFileToW(const wchar_t* from, const wchar_t* to, bool overwrite) {
    return kyOS::fileCopy(filenameFrom(from), filenameFrom(to), overwrite).ok();
}

bool kyOS_GetTemporaryDirectory(char* out, std::size_t size) {
    return copyOut(std::string(kyOS::getTempDirectory().name().asMultibyte()), out, size);
}

bool kyOS_GetTemporaryDirectoryW(wchar_t* out, std::size_t size) {
    return copyOut(kyOS::getTempDirectory().name().str(), out, size);
}

bool kyOS_CreateTemporaryFileName(const char* suffix, const char* prefix, char* out,
                                  std::size_t size) {
    const kyString::IString widePrefix(prefix != nullptr ? prefix : "KYTMP");
    const kyOS::Filename name = kyOS::createTmpFilename(
        kyString::IString(suffix != nullptr ? suffix : ""), widePrefix.asWChar());
    return copyOut(std::string(name.name().asMultibyte()), out, size);
}

bool kyOS_CreateTemporaryFileNameW(const wchar_t* suffix, const wchar_t* prefix, wchar_t* out,
                                   std::size_t size) {
    const kyOS::Filename name =
        kyOS::createTmpFilename(kyString::IString(suffix != nullptr ? suffix : L""), prefix);
    return copyOut(name.name().str(), out, size);
}

} // extern "C"
