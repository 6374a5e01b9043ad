// showcase_packets.cpp - the showcase's tour of packet files: a small graph written in the
// binary encoding and its debug form, the bytes shown, and the graph read back.
#include "showcase.h"

#include <Base/IO/ioBinaryContext.h>
#include <Base/IO/ioBufferedStream.h>
#include <Base/IO/ioPacketRegistry.h>
#include <Base/IO/ioPacketType.h>
#include <Base/OS/kyOSMemoryIOStream.h>

#include <cstdio>
#include <memory>
#include <string>

namespace {

struct Knot {
    int value = 0;
    Knot* next = nullptr;
};

Knot gRead[3];
int gCount = 0;

void readKnot(ioClientReadContext& client) {
    ioReadContext& r = client.getContext();
    Knot& k = gRead[gCount++ % 3];
    r.definePacketReference(&k);
    r.readInt(k.value);
    r.readReferenceUsage(&k.next, 0);
}

class KnotRegistry : public ioPacketRegistry {
public:
    void registerAllTypes() override {
        supportedType(new ioReadPacketByFunction("knot", &readKnot));
    }
};

std::string write(ioWriteMethod method, const Knot* knots) {
    kyOS::MemoryIOStream memory;
    ioBufferedStreamOutput out;
    out.openIOStream(&memory);
    KnotRegistry registry;
    std::unique_ptr<ioWriteContext> w(ioWriteContextAlloc(out, method, &registry));
    w->startFile();
    for (int i = 0; i < 3; ++i) {
        w->startPacket("knot", &knots[i]);
        w->writeInt(knots[i].value);
        w->writeReference(knots[i].next, false);
        w->endPacket();
    }
    w->endFile();
    out.close();
    std::string bytes(memory.size(), '\0');
    memory.copyOut(0, &bytes[0], bytes.size());
    return bytes;
}

void dump(const std::string& bytes, std::size_t from) {
    for (std::size_t i = from; i < bytes.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(bytes[i]);
        std::printf(c >= 0x21 && c < 0x7F ? " %c " : "%02x ", c);
        if ((i - from) % 24 == 23) {
            std::printf("\n    ");
        }
    }
    std::printf("\n");
}

} // namespace

void showcasePackets() {
    showcaseSection("IO: packet files (contexts, references, the binary encoding)");
    Knot knots[3];
    for (int i = 0; i < 3; ++i) {
        knots[i].value = 10 * (i + 1);
        knots[i].next = &knots[(i + 1) % 3]; // a cycle: the last points back at the first
    }
    for (ioWriteMethod method : {ioWriteBinary, ioWriteBinaryDebug}) {
        const std::string bytes = write(method, knots);
        const std::size_t packets = bytes.find("@\n", 27) + 2;
        std::printf("%s: %zu bytes; the packets after the header and registry block:\n    ",
                    method == ioWriteBinary ? "binary" : "binary debug (tagged values)",
                    bytes.size());
        dump(bytes, packets);
        kyOS::MemoryIOStream memory;
        std::size_t put = 0;
        (void)memory.write(bytes.data(), bytes.size(), &put); // in memory: cannot fail here
        ioBufferedStreamInput in;
        in.openIOStream(&memory);
        KnotRegistry registry;
        std::unique_ptr<ioReadContext> r(ioReadContextAlloc(in, &registry));
        ioClientReadContext client(*r);
        gCount = 0;
        r->readFile(client);
        std::printf("  read back (status %d): %d -> %d -> %d -> %d (the cycle closes: %s)\n",
                    static_cast<int>(r->getStatus()), gRead[0].value, gRead[0].next->value,
                    gRead[0].next->next->value, gRead[0].next->next->next->value,
                    gRead[0].next->next->next == &gRead[0] ? "yes" : "no");
    }
}
