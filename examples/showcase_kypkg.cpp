// showcase_kypkg.cpp - the showcase's tour of crash-safe package editing, the way the kypkg
// tool edits: a package created in a temporary folder, files added, listed and extracted, and
// the directory moving to the end of the data at each update instead of being overwritten.
#include "showcase.h"

#include <Base/IO/ioPackageFile.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

void showcasePackageEditing() {
    showcaseSection("Package files: crash-safe editing (what kypkg does)");
    namespace fs = std::filesystem;
    std::error_code ec;
    const fs::path dir = fs::temp_directory_path(ec) / "ky-showcase-kypkg";
    fs::remove_all(dir, ec);
    fs::create_directories(dir, ec);
    auto name = [&](const char* leaf) { return kyString::IString((dir / leaf).wstring().c_str()); };
    std::ofstream((dir / "a.txt").string(), std::ios::binary) << std::string(2000, 'a');
    std::ofstream((dir / "b.bin").string(), std::ios::binary) << "\x01\x02\x03";

    // kypkg create demo.kpf a.txt -z, then kypkg add demo.kpf b.bin --as data/b.bin
    ioPackageFile package;
    kyUtil::Error e = package.open(name("demo.kpf"));
    package.setCrashSafe(true);
    if (e.ok())
        e = package.addEntry(name("a.txt"), L"a.txt", true);
    if (e.ok())
        e = package.update();
    const ioPackageFileEntry* first = package.getEntry(L"a.txt");
    const long long firstEnd = first != nullptr ? first->getOffset() + first->getSize() : 0;
    if (e.ok())
        e = package.addEntry(name("b.bin"), L"data/b.bin", false);
    if (e.ok())
        e = package.update();
    if (e.failed()) {
        std::printf("package edit failed: %s\n", e.message());
        return;
    }
    // kypkg list demo.kpf
    std::printf("%8s %8s  %s\n", "Stored", "Offset", "Name");
    for (const auto& named : package.getDirectory()) {
        const ioPackageFileEntry* entry = package.getEntry(named.second);
        std::printf("%8lld %8lld  %s%s\n", static_cast<long long>(entry->getSize()),
                    static_cast<long long>(entry->getOffset()), entry->getName().asMultibyte(),
                    entry->getCompressed() ? " (compressed)" : "");
    }
    const ioPackageFileEntry* second = package.getEntry(L"data/b.bin");
    std::printf("a.txt ends at %lld; the first directory was written there, so data/b.bin "
                "went after it, at %lld: a kill before the second update leaves the first\n",
                firstEnd, second != nullptr ? static_cast<long long>(second->getOffset()) : -1LL);
    // kypkg extract demo.kpf -C out
    e = package.expand(name("out"));
    std::ifstream back((dir / "out" / "data" / "b.bin").string(), std::ios::binary);
    const std::string got((std::istreambuf_iterator<char>(back)), std::istreambuf_iterator<char>());
    std::printf("extracted data/b.bin matches: %s\n",
                e.ok() && got == "\x01\x02\x03" ? "yes" : "no");
    package.close();
    fs::remove_all(dir, ec);
}
