// package_fuzz.cpp - arbitrary bytes opened as a package file, listed and expanded into a
// scratch directory: no crash, and nothing is written outside the target directory whatever
// the entry names say ("../x", "/etc/x", "C:\x", "a/../../x").
#include <Base/IO/ioPackageFile.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace fs = std::filesystem;

namespace {

void fail(const char* what, const std::string& detail) {
    std::fprintf(stderr, "package reader: %s: %s\n", what, detail.c_str());
    std::abort();
}

// root/a/b/package.kpf and root/a/b/out/ are all that may exist under root afterwards. The
// root goes when the process ends.
struct Scratch {
    fs::path root;
    Scratch() {
        std::error_code ec;
        root = fs::temp_directory_path(ec) /
               ("kyfuzz-package-" + std::to_string(std::rand()) + "-" +
                std::to_string(reinterpret_cast<std::uintptr_t>(this) & 0xFFFFF));
        fs::create_directories(root, ec);
    }
    ~Scratch() {
        std::error_code ec;
        fs::remove_all(root, ec);
    }
};

const fs::path& scratchRoot() {
    static const Scratch scratch;
    return scratch.root;
}

kyString::IString wide(const fs::path& p) {
    return kyString::IString(p.wstring().c_str());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fs::path root = scratchRoot();
    const fs::path inner = root / "a" / "b";
    const fs::path file = inner / "package.kpf";
    const fs::path out = inner / "out";
    std::error_code ec;
    fs::remove_all(root / "a", ec);
    fs::create_directories(inner, ec);
    {
        std::ofstream put(file, std::ios::binary);
        put.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    {
        ioPackageFile package;
        if (package.open(wide(file)).ok()) {
            int listed = 0;
            for (const auto& named : package.getDirectory()) {
                const ioPackageFileEntry* entry = package.getEntry(named.second);
                if (entry == nullptr || entry->getName() != named.first) {
                    fail("directory index does not name its entry", named.first.asMultibyte());
                }
                ++listed;
            }
            if (listed != package.size()) {
                fail("size disagrees with the directory", std::to_string(listed));
            }
            (void)package.expand(wide(out)).code();
        }
    }
    // Everything beside the package must lie under out/, and nothing may appear above it.
    for (auto it = fs::recursive_directory_iterator(root, ec);
         !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
        const fs::path p = it->path();
        const std::string rel = p.lexically_relative(inner).generic_string();
        if (p == root / "a" || p == inner || p == file || p == out) {
            continue;
        }
        if (rel.rfind("out/", 0) != 0) {
            fail("a file was written outside the target directory", p.string());
        }
    }
    fs::remove_all(root / "a", ec);
    return 0;
}
