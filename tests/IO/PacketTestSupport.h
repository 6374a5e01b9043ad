// PacketTestSupport.h - bytes written by hand, memory streams and message capture for the
// packet-file tests.
#ifndef KY_TESTS_IO_PACKETSUPPORT_H
#define KY_TESTS_IO_PACKETSUPPORT_H

#include <Base/IO/ioBufferedStream.h>
#include <Base/IO/ioContext.h>
#include <Base/IO/ioPacketRegistry.h>
#include <Base/OS/kyOSMemoryIOStream.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

namespace packettest {

/// Appends values in either byte order, so one script gives a file and its other-order twin.
class Bytes {
public:
    explicit Bytes(bool bigEndian = false) : big_(bigEndian) {}
    Bytes& raw(const std::string& text) {
        out += text;
        return *this;
    }
    Bytes& u8(unsigned v) {
        out += static_cast<char>(v);
        return *this;
    }
    template <class T>
    Bytes& val(T v) {
        char b[sizeof(T)];
        std::memcpy(b, &v, sizeof(T));
        for (std::size_t i = 0; i < sizeof(T); ++i) {
            out += b[big_ ? sizeof(T) - 1 - i : i];
        }
        return *this;
    }
    Bytes& i32(std::int32_t v) { return val(v); }
    std::string out;

private:
    bool big_;
};

inline std::string contents(const kyOS::MemoryIOStream& memory) {
    std::string bytes(memory.size(), '\0');
    memory.copyOut(0, &bytes[0], bytes.size());
    return bytes;
}

inline void fill(kyOS::MemoryIOStream& memory, const std::string& bytes) {
    std::size_t put = 0;
    if (!bytes.empty()) {
        (void)memory.write(bytes.data(), bytes.size(), &put); // memory writes do not fail here
    }
}

/// A packet file written to memory with `method` through `registry`: `body` runs between the
/// file's start and end, and the context must end good.
inline std::string writeFile(ioWriteMethod method, ioPacketRegistry& registry,
                             const std::function<void(ioWriteContext&)>& body) {
    kyOS::MemoryIOStream memory;
    ioBufferedStreamOutput out;
    out.openIOStream(&memory);
    std::unique_ptr<ioWriteContext> w(ioWriteContextAlloc(out, method, &registry));
    w->startFile();
    body(*w);
    w->endFile();
    EXPECT_EQ(w->getStatus(), ioGood);
    out.close();
    return contents(memory);
}

/// Reads `bytes` through `registry`; `after` sees the context before it goes. The final
/// status, or `ioOpenFailed` when the header does not read.
inline ioStatus readFile(const std::string& bytes, ioPacketRegistry& registry,
                         const std::function<void(ioReadContext&)>& after = nullptr) {
    kyOS::MemoryIOStream memory;
    fill(memory, bytes);
    ioBufferedStreamInput in;
    in.openIOStream(&memory);
    std::unique_ptr<ioReadContext> r(ioReadContextAlloc(in, &registry));
    if (r == nullptr) {
        return ioOpenFailed;
    }
    ioClientReadContext client(*r);
    r->readFile(client);
    if (after) {
        after(*r);
    }
    return r->getStatus();
}

/// Collects `ioPacketFileError` text and turns `fatalError`'s abort into an exception, for the
/// life of the object.
class Capture {
public:
    struct Stopped : std::runtime_error {
        Stopped() : std::runtime_error("fatal error") {}
    };
    Capture() {
        text().clear();
        ioPacketFileErrorInit(&sink);
        ioPacketFileAbortInit(&stop);
    }
    ~Capture() {
        ioPacketFileErrorInit(nullptr);
        ioPacketFileAbortInit(nullptr);
    }
    static std::string& text() {
        static std::string collected;
        return collected;
    }

private:
    static void sink(char* message) { text() += message; }
    static void stop() { throw Stopped(); }
};

} // namespace packettest

#endif // KY_TESTS_IO_PACKETSUPPORT_H
