// debug_fuzz.cpp - the tagged debug reader (both byte orders) on arbitrary registry blocks and
// packets. A tag mismatch stops through the abort hook (the designed outcome); nothing else
// may crash, hang or allocate without bound. The first byte picks byte order and numbering.
#include "PacketFuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const bool swapped = (data[0] & 1) != 0;
    std::string bytes =
        swapped ? "^@\n1\n0 3 1\n1 2 4 8 4 8 8\n@\n" : "^@\n1\n1 3 1\n1 2 4 8 4 8 8\n@\n";
    bytes.append(reinterpret_cast<const char*>(data) + 1, size - 1);
    packetfuzz::readPacketFile(bytes, (data[0] & 2) != 0);
    return 0;
}
