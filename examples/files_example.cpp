// files_example.cpp - the examples of the file headers, compiled and checked.
#include "example_check.h"

#include <Base/OS/kyOSFile.h>
#include <Base/OS/kyOSMemoryIOStream.h>
#include <Base/OS/kyOSProtectedWrite.h>

#include <cstring>
#include <string>

int main() {
    // A private working directory in the temporary directory.
    kyOS::File work(kyString::IString(L"ignored"));
    CHECK(work.makeTempDirectory().ok());
    const kyOS::Filename dir(work.getFullName());
    const kyOS::Filename notes(dir, kyOS::Filename(kyString::IString(L"notes.txt")));

    // kyOSFile.h: write, then read back.
    {
        kyOS::File out(notes);
        kyUtil::Error e = out.open(kyOS::kWrite | kyOS::kCreate | kyOS::kTruncate);
        if (e.ok())
            e = out.write("hello", 5, nullptr);
        if (e.ok())
            e = out.close();
        CHECK(e.ok());
    }
    kyOS::FileStatus status;
    CHECK(kyOS::File::query(notes, status).ok());
    CHECK(status.exists() && status.isFile() && status.getSize() == 5);

    // Errors carry the file error table's codes and texts.
    kyOS::File missing(kyOS::Filename(dir, kyOS::Filename(kyString::IString(L"missing"))));
    const kyUtil::Error e = missing.open(kyOS::kRead);
    CHECK(e.code() == kyOS::kFileErrDoesNotExist &&
          std::strcmp(e.message(), "File does not exist") == 0);

    // kyOSProtectedWrite.h: replace the file without ever losing it.
    kyOS::ProtectedWrite pw(notes);
    if (pw.init()) {
        kyOS::File out(pw.getTempFilename());
        kyUtil::Error w = out.open(kyOS::kWrite | kyOS::kCreate | kyOS::kTruncate);
        if (w.ok())
            w = out.write("hello, world", 12, nullptr);
        if (w.ok())
            w = out.close();
        if (w.failed())
            pw.invalidate();
    }
    CHECK(pw.finalize());
    CHECK(kyOS::File::query(notes, status).ok() && status.getSize() == 12);

    // kyOSMemoryIOStream.h: the same stream interface over memory.
    kyOS::MemoryIOStream memory;
    CHECK(memory.write("abc", 3, nullptr).ok());
    char buffer[8] = {};
    std::size_t got = 0;
    CHECK(memory.read(buffer, sizeof buffer, &got).ok() && got == 3);
    CHECK(memory.read(buffer, sizeof buffer, &got).code() == 3); // End Of File

    CHECK(work.deleteSelf(kyOS::kDeleteRecursive).ok());
    return 0;
}
