// header_fuzz.cpp - the packet-file header reader on arbitrary bytes: it never crashes or
// reads past the data, a header it accepts reads back the same after being written again,
// and the stream is left good or at a defined status.
#include <Base/IO/ioBufferedStream.h>
#include <Base/IO/ioHeader.h>
#include <Base/OS/kyOSMemoryIOStream.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

void fail(const char* what) {
    std::fprintf(stderr, "header reader: %s\n", what);
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kyOS::MemoryIOStream memory(size == 0 ? 1 : size);
    std::size_t put = 0;
    if (size > 0 && memory.write(data, size, &put).failed()) {
        return 0;
    }
    ioBufferedStreamInput in;
    in.openIOStream(&memory);
    ioHeader header;
    const bool valid = header.readHeader(in);
    if (valid != header.valid) {
        fail("result and valid flag disagree");
    }
    const ioStreamStatus status = in.getStatus();
    if (status != ioStreamGood && status != ioStreamEndOfFile) {
        fail("a memory stream ended in a status other than good or end of file");
    }
    const ioReadMethod method = header.determineReadMethod();
    if (method < ioReadUnknown || method > ioReadAsciiDebug) {
        fail("read method out of range");
    }
    if (!valid || static_cast<int>(header.writeMethod) < 0) {
        return 0;
    }
    // An accepted header with a known method survives being written and read again.
    kyOS::MemoryIOStream again;
    ioBufferedStreamOutput out;
    out.openIOStream(&again);
    header.writeHeader(out);
    out.close();
    ioBufferedStreamInput back;
    back.openIOStream(&again);
    ioHeader copy;
    if (!copy.readHeader(back) || copy.writeMethod != header.writeMethod ||
        copy.littleEndian != header.littleEndian ||
        copy.determineReadMethod() != header.determineReadMethod()) {
        fail("an accepted header does not round-trip");
    }
    return 0;
}
