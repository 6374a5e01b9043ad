// showcase_files.cpp - the showcase's tour of files, status queries and protected writes.
#include "showcase.h"

#include <Base/OS/kyOSFile.h>
#include <Base/OS/kyOSFilesystem.h>
#include <Base/OS/kyOSMemoryIOStream.h>
#include <Base/OS/kyOSProtectedWrite.h>

#include <cstdio>

namespace {

kyOS::Filename inDir(const kyOS::Filename& dir, const wchar_t* leaf) {
    return kyOS::Filename(dir, kyOS::Filename(kyString::IString(leaf)));
}

bool writeAll(const kyOS::Filename& name, const char* text, std::size_t size) {
    kyOS::File out(name);
    kyUtil::Error e = out.open(kyOS::kWrite | kyOS::kCreate | kyOS::kTruncate);
    if (e.ok())
        e = out.write(text, size, nullptr);
    if (e.ok())
        e = out.close();
    return e.ok();
}

void showError(const char* what, const kyUtil::Error& e) {
    std::printf("  %-44s code %2d  \"%s\"\n", what, e.code(), e.hasMessage() ? e.message() : "");
}

} // namespace

void showcaseFiles() {
    showcaseSection("OS: files, status queries and protected writes");
    kyOS::File work(kyString::IString(L"showcase"));
    if (work.makeTempDirectory().failed()) {
        std::printf("no temporary directory to work in\n");
        return;
    }
    const kyOS::Filename dir(work.getFullName());
    std::printf("working in %s\n", dir.name().asMultibyte());

    const kyOS::Filename scene = inDir(dir, L"scene.ma");
    writeAll(scene, "version 1\n", 10);
    kyOS::FileStatus status;
    if (kyOS::File(scene).query(status, true).ok()) {
        std::printf("scene.ma: %lld bytes, %s%s, owner %s\n",
                    static_cast<long long>(status.getSize()), status.isReadable() ? "r" : "-",
                    status.isWritable() ? "w" : "-", status.getOwner().asChar());
    }

    std::printf("errors from the file error table and the whole-file operations:\n");
    kyOS::File missing(inDir(dir, L"missing.ma"));
    showError("open a missing file for reading", missing.open(kyOS::kRead));
    kyOS::File twice(scene);
    static_cast<void>(twice.open(kyOS::kRead));
    showError("open it again", twice.open(kyOS::kRead));
    static_cast<void>(twice.close());
    showError("fileCopy from a missing file",
              kyOS::fileCopy(inDir(dir, L"missing.ma"), inDir(dir, L"x.ma"), false));
    writeAll(inDir(dir, L"copy.ma"), "", 0);
    showError("fileCopy onto an existing file, no overwrite",
              kyOS::fileCopy(scene, inDir(dir, L"copy.ma"), false));
    showError("fileRename of a missing file",
              kyOS::fileRename(inDir(dir, L"missing.ma"), inDir(dir, L"y.ma")));

    kyOS::ProtectedWrite pw(scene);
    bool ok = pw.init() && writeAll(pw.getTempFilename(), "version 2, longer\n", 18);
    ok = pw.finalize() && ok;
    static_cast<void>(kyOS::File(scene).query(status, false));
    std::printf("protected write of scene.ma: %s, now %lld bytes (status %d)\n",
                ok ? "done" : "failed", static_cast<long long>(status.getSize()),
                static_cast<int>(pw.getStatus()));
    kyOS::ProtectedWrite abandoned(scene);
    abandoned.init();
    abandoned.invalidate();
    abandoned.finalize();
    std::printf("an invalidated write leaves it alone: status %d\n",
                static_cast<int>(abandoned.getStatus()));

    ky::vector<kyString::IString> names;
    if (work.readDir(names, false).ok()) {
        std::printf("directory holds %zu entries:", static_cast<std::size_t>(names.size()));
        for (const kyString::IString& n : names) {
            std::printf(" %s", n.asMultibyte());
        }
        std::printf("\n");
    }
    kyOS::Filesystem fs(dir.name());
    if (fs.stat().ok()) {
        std::printf("its file system: %llu KiB, %llu KiB available%s\n",
                    static_cast<unsigned long long>(fs.size()),
                    static_cast<unsigned long long>(fs.avail()), fs.isRemote() ? ", remote" : "");
    }
    kyOS::MemoryIOStream memory(4);
    static_cast<void>(memory.write("in memory", 9, nullptr));
    kyOS::MemoryIOStream shared(memory);
    std::printf("a memory stream of %zu bytes in %zu blocks, shared by a copy (block count %d)\n",
                memory.size(), memory.numBlocks(), memory.block(0).count());
    static_cast<void>(work.deleteSelf(kyOS::kDeleteRecursive));
}
