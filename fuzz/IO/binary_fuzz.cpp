// binary_fuzz.cpp - the binary packet reader (both byte orders) on arbitrary registry blocks
// and packets: a defined status and no crash, hang or unbounded allocation. The first byte
// picks the byte order and the registry numbering; the header is supplied so that the
// fuzzer spends its time on what follows it.
#include "PacketFuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const bool swapped = (data[0] & 1) != 0;
    std::string bytes =
        swapped ? "^@\n1\n0 1 1\n1 2 4 8 4 8 8\n@\n" : "^@\n1\n1 1 1\n1 2 4 8 4 8 8\n@\n";
    bytes.append(reinterpret_cast<const char*>(data) + 1, size - 1);
    packetfuzz::readPacketFile(bytes, (data[0] & 2) != 0);
    return 0;
}
