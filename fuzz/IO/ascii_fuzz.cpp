// ascii_fuzz.cpp - the text packet reader and its tagged debug form on arbitrary registry
// blocks and packet text: a defined status and no crash, hang or unbounded allocation. A tag
// mismatch stops through the abort hook (the designed outcome). The first byte picks the plain
// or the debug form and the registry numbering; the header is supplied so that the fuzzer
// spends its time on what follows it.
#include "PacketFuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const bool debug = (data[0] & 1) != 0;
    std::string bytes =
        debug ? "^@\n1\n1 2 1\n1 2 4 8 4 8 8\n@\n" : "^@\n1\n1 0 1\n1 2 4 8 4 8 8\n@\n";
    bytes.append(reinterpret_cast<const char*>(data) + 1, size - 1);
    packetfuzz::readPacketFile(bytes, (data[0] & 2) != 0);
    return 0;
}
