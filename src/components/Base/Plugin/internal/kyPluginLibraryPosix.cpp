// kyPluginLibraryPosix.cpp - dynamic library calls on POSIX systems (dlopen and friends).
#include <Base/Plugin/internal/kyPluginLibrary.h>

#include <dlfcn.h>
#include <time.h>

namespace kyPlugin {
namespace detail {
namespace {

// dlerror() forgets its text once read, so the text of the last failure is kept here.
thread_local std::string gLastError;

void keepError() {
    const char* text = ::dlerror();
    gLastError = text != nullptr ? text : "";
}

void* posixOpen(const char* name) {
    ::dlerror();
    void* handle = ::dlopen(name, RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        keepError();
    }
    return handle;
}

void* posixSymbol(void* handle, const char* name) {
    ::dlerror();
    void* address = ::dlsym(handle, name);
    if (address == nullptr) {
        keepError();
    }
    return address;
}

void posixClose(void* handle) {
    (void)::dlclose(handle);
}

std::string posixLastError() {
    return gLastError;
}

// POSIX systems show no dialog for a library that fails to load: nothing to switch.
unsigned posixSilence() {
    return 0;
}
void posixRestore(unsigned) {}

void posixSleep(unsigned ms) {
    struct timespec delay;
    delay.tv_sec = static_cast<time_t>(ms / 1000);
    delay.tv_nsec = static_cast<long>(ms % 1000) * 1000000L;
    while (::nanosleep(&delay, &delay) != 0) {
    }
}

const LibraryCalls kNative = {posixOpen,    posixSymbol,  posixClose, posixLastError,
                              posixSilence, posixRestore, posixSleep};

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
