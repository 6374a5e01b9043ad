// kyTestLibraryWin32.cpp - the module list and loader messages of Windows, for tests.
#include "kyTestLibrary.h"

#include <windows.h>

namespace kytest {

namespace {
std::string backslashed(std::string path) {
    for (char& c : path) {
        if (c == '/') {
            c = '\\';
        }
    }
    return path;
}
} // namespace

bool isLibraryMapped(const std::string& path) {
    return ::GetModuleHandleA(backslashed(path).c_str()) != nullptr;
}

std::string systemLoadError(const std::string& path) {
    const UINT previous = ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
    HMODULE module = ::LoadLibraryA(path.c_str());
    const DWORD code = ::GetLastError();
    ::SetErrorMode(previous);
    if (module != nullptr) {
        ::FreeLibrary(module);
        return std::string();
    }
    char* text = nullptr;
    const DWORD length = ::FormatMessageA(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, code, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), reinterpret_cast<LPSTR>(&text), 0,
        nullptr);
    std::string message;
    if (length != 0 && text != nullptr) {
        message.assign(text, length);
    }
    if (text != nullptr) {
        ::LocalFree(text);
    }
    return message;
}

} // namespace kytest
