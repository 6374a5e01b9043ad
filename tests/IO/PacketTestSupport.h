// PacketTestSupport.h - bytes written by hand, memory streams and message capture for the
// packet-file tests.
#ifndef KY_TESTS_IO_PACKETSUPPORT_H
#define KY_TESTS_IO_PACKETSUPPORT_H

#include <Base/IO/ioBufferedStream.h>
#include <Base/IO/ioContext.h>
#include <Base/OS/kyOSMemoryIOStream.h>

#include <cstdint>
#include <cstring>
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
