// registry_fuzz.cpp - the registry block reader on arbitrary text, with both numbering
// rules: a result of good, stream failure or bad data, and a table whose ids look up to
// types that carry them.
#include "PacketFuzzSupport.h"

namespace {

void check(bool ok, const char* what) {
    if (!ok) {
        std::fprintf(stderr, "registry reader: %s\n", what);
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    for (bool numberWhenRead : {false, true}) {
        kyOS::MemoryIOStream memory(4096);
        std::size_t put = 0;
        if (size > 0 && memory.write(data, size, &put).failed()) {
            return 0;
        }
        ioBufferedStreamInput in;
        in.openIOStream(&memory);
        packetfuzz::Registry registry(numberWhenRead);
        registry.init();
        const ioStatus result = registry.readRegistry(in);
        check(result == ioGood || result == ioFailed || result == ioBadData, "result");
        check(static_cast<std::size_t>(registry.numTypes()) <= size + 5, "more types than lines");
        for (int id = 0; id < registry.numTypes(); ++id) {
            ioPacketType* type = registry.lookup(id);
            check(type != nullptr && type->getId() == id, "an id that looks up elsewhere");
            check(registry.lookup(type->getName()) == type, "a name that looks up elsewhere");
        }
        registry.init(); // a second file through the same registry
        check(registry.numMatched() == 0, "matched count not reset");
    }
    return 0;
}
