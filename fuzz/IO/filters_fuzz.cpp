// filters_fuzz.cpp - the compression, checksum and encryption filters on arbitrary bytes. The
// first byte picks the filter (0 compress, 1 checksum, 2 encrypt, 3 all three stacked); the
// rest is read through it: nothing crashes or reads out of bounds, and the read ends in one
// of the statuses a damaged or finished section may give. The same bytes, written through
// the filters and read back, must come back unchanged.
#include <Base/IO/ioBufferedStream.h>
#include <Base/OS/kyOSMemoryIOStream.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

void fail(const char* what) {
    std::fprintf(stderr, "filters: %s\n", what);
    std::abort();
}

void push(ioBufferedStream& s, int which) {
    if (which == 0 || which == 3) {
        s.compress(true);
    }
    if (which == 1 || which == 3) {
        s.checksum(true);
    }
    if (which == 2 || which == 3) {
        s.encrypt(true);
    }
}

void pop(ioBufferedStream& s, int which) {
    if (which == 2 || which == 3) {
        s.encrypt(false);
    }
    if (which == 1 || which == 3) {
        s.checksum(false);
    }
    if (which == 0 || which == 3) {
        s.compress(false);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const int which = data[0] & 3;
    const char* bytes = reinterpret_cast<const char*>(data + 1);
    const int length = static_cast<int>(size - 1);

    // Hostile input: read until the filter gives up, a bounded number of bytes.
    {
        kyOS::MemoryIOStream memory;
        std::size_t put = 0;
        if (length > 0 && memory.write(bytes, static_cast<std::size_t>(length), &put).failed()) {
            return 0;
        }
        ioBufferedStreamInput in;
        in.openIOStream(&memory);
        push(in, which);
        std::vector<char> out(65536);
        long long total = 0;
        while (in.good() && total < (4 << 20)) {
            const int got = in.readData(out.data(), static_cast<int>(out.size()));
            if (got < 0 || got > static_cast<int>(out.size())) {
                fail("impossible count");
            }
            total += got;
        }
        const ioStreamStatus status = in.getStatus();
        if (!in.good() && status != ioStreamEndOfFile && status != ioStreamEndOfCompressed &&
            status != ioStreamChecksumMismatch && status != ioStreamError) {
            fail("unexpected status");
        }
        pop(in, which);
        in.close();
    }

    // The same bytes as plain data: written and read back through the filters.
    kyOS::MemoryIOStream memory;
    ioBufferedStreamOutput out;
    out.openIOStream(&memory);
    push(out, which);
    out.writeData(bytes, length);
    pop(out, which);
    out.close();
    if (!out.good()) {
        fail("writing failed");
    }
    ioBufferedStreamInput in;
    in.openIOStream(&memory);
    push(in, which);
    std::string back(static_cast<std::size_t>(length), '\0');
    const int got = length > 0 ? in.readData(&back[0], length) : 0;
    if (got != length || back != std::string(bytes, static_cast<std::size_t>(length))) {
        fail("round trip changed the data");
    }
    return 0;
}
