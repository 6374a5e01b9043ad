// kyPluginLibraryWin32.cpp - dynamic library calls on Windows (LoadLibraryA and friends).
#include <Base/Plugin/internal/kyPluginLibrary.h>

#include <windows.h>

namespace kyPlugin {
namespace detail {
namespace {

// Kept at the failure: later calls (restoring the error mode, sleeping) may change it.
thread_local DWORD gLastError = 0;

void* winOpen(const char* name) {
    HMODULE module = ::LoadLibraryA(name);
    if (module == nullptr) {
        gLastError = ::GetLastError();
    }
    return reinterpret_cast<void*>(module);
}

void* winSymbol(void* handle, const char* name) {
    FARPROC address = ::GetProcAddress(static_cast<HMODULE>(handle), name);
    if (address == nullptr) {
        gLastError = ::GetLastError();
    }
    return reinterpret_cast<void*>(address);
}

void winClose(void* handle) {
    (void)::FreeLibrary(static_cast<HMODULE>(handle));
}

// The system message table's text for the last error, in the default language.
std::string winLastError() {
    const DWORD code = gLastError;
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

unsigned winSilence() {
    return ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
}
void winRestore(unsigned previous) {
    (void)::SetErrorMode(previous);
}
void winSleep(unsigned ms) {
    ::Sleep(ms);
}

const LibraryCalls kNative = {winOpen,    winSymbol,  winClose, winLastError,
                              winSilence, winRestore, winSleep};

} // namespace

const LibraryCalls& nativeLibraryCalls() {
    return kNative;
}

LibraryCalls& libraryCalls() {
    static LibraryCalls calls = kNative;
    return calls;
}

} // namespace detail
} // namespace kyPlugin
