// kyOSFileUtil.cpp - small helpers shared by the file layer's implementation files.
#include <Base/OS/internal/kyOSFileUtil.h>
#include <Base/OS/kyOSFile.h>

#include <Base/String/kyStringIString.h>

namespace kyOS {
namespace detail {

kyString::IString toIString(const std::wstring& s) {
    return kyString::IString(s.c_str(), static_cast<unsigned int>(s.size()));
}

bool toNarrow(const std::wstring& name, std::string& out) {
    if (name.find(L'\0') != std::wstring::npos) {
        return false;
    }
    bool lossless = false;
    out = toIString(name).asMultibyte(kyString::kMultibyte, &lossless);
    return lossless;
}

std::wstring toWide(const char* text) {
    return kyString::IString(text).str();
}

Filename filenameFrom(const char* name) {
    return Filename(kyString::IString(name != nullptr ? name : ""));
}

Filename filenameFrom(const wchar_t* name) {
    return Filename(kyString::IString(name != nullptr ? name : L""));
}

int writeAll(int fd, const void* buffer, std::size_t size, int* error) {
    FileCalls& calls = fileCalls();
    const char* at = static_cast<const char*>(buffer);
    while (size > 0) {
        const long long put =
            retryInterrupted([&] { return calls.write(fd, at, size, error); }, error);
        if (put < 0) {
            return -1;
        }
        if (put == 0) {
            // The system took nothing and said nothing: it will not do better next time.
            *error = EIO;
            return -1;
        }
        at += put;
        size -= static_cast<std::size_t>(put);
    }
    return 0;
}

long long readFully(int fd, void* buffer, std::size_t size, int* error) {
    FileCalls& calls = fileCalls();
    char* at = static_cast<char*>(buffer);
    std::size_t done = 0;
    while (done < size) {
        const long long got =
            retryInterrupted([&] { return calls.read(fd, at + done, size - done, error); }, error);
        if (got < 0) {
            return -1;
        }
        if (got == 0) {
            break;
        }
        done += static_cast<std::size_t>(got);
    }
    return static_cast<long long>(done);
}

int syncFile(const std::wstring& name, int* error) {
    FileCalls& calls = fileCalls();
    const int fd =
        static_cast<int>(retryInterrupted([&] { return calls.open(name, kWrite, error); }, error));
    if (fd < 0) {
        return -1;
    }
    int result = static_cast<int>(retryInterrupted([&] { return calls.fsync(fd, error); }, error));
    int closeError = 0;
    if (calls.close(fd, &closeError) != 0 && result == 0) {
        *error = closeError;
        result = -1;
    }
    return result;
}

void closeQuietly(int fd) {
    int ignored = 0;
    fileCalls().close(fd, &ignored);
}

bool nameExists(const std::wstring& name) {
    NativeStat info{};
    int error = 0;
    return retryInterrupted([&] { return fileCalls().stat(name, &info, &error); }, &error) == 0;
}

bool removeLeftover(const std::wstring& name) {
    FileCalls& calls = fileCalls();
    for (int attempt = 0; attempt < 2; ++attempt) {
        int error = 0;
        if (retryInterrupted([&] { return calls.unlink(name, &error); }, &error) == 0 ||
            calls.runtimeErrorOf(error) == ENOENT) {
            return true;
        }
    }
    return false;
}

kyUtil::Error runtimeError(int error) {
    return kyUtil::Error(kFileErrSyscall, toIString(fileCalls().runtimeErrorText(error)));
}

} // namespace detail
} // namespace kyOS
