// showcase_io.cpp - the showcase's tour of the serialization streams and the packet header.
#include "showcase.h"

#include <Base/IO/ioBufferedStream.h>
#include <Base/IO/ioHeader.h>
#include <Base/OS/kyOSFile.h>
#include <Base/OS/kyOSMemoryIOStream.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace {

const char* const kReadMethodNames[] = {
    "unknown",    "binary, same byte order",       "binary, swapped",
    "ASCII",      "binary debug, same byte order", "binary debug, swapped",
    "ASCII debug"};

void showHeader(const char* text) {
    kyOS::MemoryIOStream memory;
    std::size_t put = 0;
    (void)memory.write(text, std::strlen(text), &put); // in memory: fails only without memory
    ioBufferedStreamInput in;
    in.openIOStream(&memory);
    ioHeader header;
    const bool valid = header.readHeader(in);
    std::string shown;
    for (const char* c = text; *c != 0; ++c) {
        shown += *c == '\n' ? std::string("\\n") : std::string(1, *c);
    }
    std::printf("  %-36s valid %-3s reader: %s\n", shown.c_str(), valid ? "yes" : "no",
                kReadMethodNames[header.determineReadMethod()]);
}

} // namespace

void showcaseIO() {
    showcaseSection("IO: buffered streams and the packet-file header");

    // A header and a few lines written into memory, then read back.
    kyOS::MemoryIOStream memory;
    ioBufferedStreamOutput out;
    out.openIOStream(&memory);
    ioHeader(ioWriteBinary).writeHeader(out);
    out.printf("%4d %s\n", 7, "mesh");
    out.writeString("-42 tail\n");
    out.close();
    std::printf("wrote %zu bytes: a 27-byte binary header, a registry line and a number\n",
                memory.size());

    ioBufferedStreamInput in;
    in.openIOStream(&memory);
    ioHeader header;
    const bool valid = header.readHeader(in);
    std::printf("header valid: %s, reader: %s\n", valid ? "yes" : "no",
                kReadMethodNames[header.determineReadMethod()]);
    char line[64];
    in.readLine(line, sizeof line);
    const int number = in.readInt();
    std::printf("next line: \"%.*s\", then readInt() = %d\n", 9, line, number);

    std::printf("headers as a reader sees them:\n");
    showHeader("^@\n1\n1 0 1\n1 2 4 8 4 8 8\n@\n");
    showHeader("^@\n1\n0 1 1\n1 2 4 8 4 8 8\n@\n");
    showHeader("^@\n1\n1 1 1\n1 2 4 4 4 8 8\n@\n");

    // Status codes are sticky: a missing file, and an output file that cannot be created,
    // which shows only at the first flush.
    ioBufferedStreamInput missing;
    missing.openFile(kyString::IString(L"/no/such/dir/scene.pkt"));
    std::printf("open a missing file for reading: status %d, open %s\n", missing.getStatus(),
                missing.isOpen() ? "yes" : "no");
    ioBufferedStreamOutput nowhere;
    nowhere.openFile(kyString::IString(L"/no/such/dir/scene.pkt"));
    std::printf("open it for writing: status %d; ", nowhere.getStatus());
    nowhere.flush();
    std::printf("after the first flush: status %d\n", nowhere.getStatus());
}
