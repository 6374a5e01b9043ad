// kyTestLibraryPosix.cpp - the module list and loader messages of POSIX systems, for tests.
#include "kyTestLibrary.h"

#include <dlfcn.h>
#include <link.h>

#include <filesystem>
#include <system_error>

namespace kytest {

namespace {
struct Search {
    std::filesystem::path wanted;
    bool found = false;
};

int visit(struct dl_phdr_info* info, size_t, void* data) {
    auto* search = static_cast<Search*>(data);
    if (info->dlpi_name != nullptr && info->dlpi_name[0] != '\0') {
        std::error_code ec;
        if (std::filesystem::equivalent(info->dlpi_name, search->wanted, ec)) {
            search->found = true;
            return 1;
        }
    }
    return 0;
}
} // namespace

bool isLibraryMapped(const std::string& path) {
    Search search;
    search.wanted = path;
    ::dl_iterate_phdr(visit, &search);
    return search.found;
}

std::string systemLoadError(const std::string& path) {
    ::dlerror();
    void* handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle != nullptr) {
        ::dlclose(handle);
        return std::string();
    }
    const char* text = ::dlerror();
    return text != nullptr ? text : "";
}

} // namespace kytest
