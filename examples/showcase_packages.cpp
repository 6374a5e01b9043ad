// showcase_packages.cpp - the showcase's tour of package files: entries added plain and
// compressed, a hole left by a deletion reused first-fit, the directory written, the package
// compacted and unpacked.
#include "showcase.h"

#include <Base/IO/ioPackageFile.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

std::string wideToNarrow(const kyString::IString& s) {
    return s.asMultibyte();
}

void listing(const ioPackageFile& package) {
    for (const auto& named : package.getDirectory()) {
        const ioPackageFileEntry* e = package.getEntry(named.second);
        std::printf("    %-12s offset %5lld  size %5lld%s\n", wideToNarrow(e->getName()).c_str(),
                    static_cast<long long>(e->getOffset()), static_cast<long long>(e->getSize()),
                    e->getCompressed() ? "  (compressed)" : "");
    }
}

} // namespace

void showcasePackages() {
    showcaseSection("Package files");
    namespace fs = std::filesystem;
    std::error_code ec;
    const fs::path dir = fs::temp_directory_path(ec) / "ky-showcase-packages";
    fs::remove_all(dir, ec);
    fs::create_directories(dir, ec);
    auto file = [&](const char* leaf, const std::string& bytes) {
        std::ofstream((dir / leaf).string(), std::ios::binary) << bytes;
        return kyString::IString((dir / leaf).wstring().c_str());
    };
    const kyString::IString packageName((dir / "assets.kpf").wstring().c_str());

    ioPackageFile package;
    if (package.open(packageName).failed()) {
        std::printf("could not create the package\n");
        return;
    }
    std::string scene;
    for (int i = 0; i < 200; ++i) {
        scene += "vertex " + std::to_string(i % 10) + " 0 0\n";
    }
    kyUtil::Error e = package.addEntry(file("scene.txt", scene), L"C:\\models\\scene.txt", true);
    if (e.ok())
        e = package.addEntry(file("old.txt", std::string(300, 'o')), L"old.txt", false);
    if (e.ok())
        e = package.addEntry(file("tex.bin", std::string(120, 't')), L"tex.bin", false);
    if (e.ok())
        e = package.deleteEntry(L"old.txt");
    if (e.ok())
        e = package.addEntry(file("note.txt", "reuses the hole"), L"./note.txt", false);
    if (e.ok())
        e = package.update();
    if (e.failed()) {
        std::printf("package edit failed: %s\n", e.message());
        return;
    }
    std::printf("a %zu-byte scene compressed, old.txt deleted, note.txt fitted into its hole:\n",
                scene.size());
    listing(package);
    e = package.write(packageName); // compacted: name order, no gaps
    if (e.ok())
        e = package.expand(kyString::IString((dir / "unpacked").wstring().c_str()));
    std::printf("after write() (compaction through a temporary file):\n");
    listing(package);
    std::ifstream back((dir / "unpacked" / "models" / "scene.txt").string(), std::ios::binary);
    const std::string got((std::istreambuf_iterator<char>(back)), std::istreambuf_iterator<char>());
    std::printf("expanded models/scene.txt matches the original: %s\n",
                e.ok() && got == scene ? "yes" : "no");
    package.close();
    fs::remove_all(dir, ec);
}
