// PacketFuzzSupport.h - what the packet-file fuzz targets share: readers that walk every kind
// of value, chunk, sub-packet and reference, and a stop for the designed fatal errors.
//
// `fatalError()` aborts by design (a debug tag mismatch, a packet whose reference its reader
// did not define). That is a defined outcome, not a crash: the targets install an abort hook
// that throws, catch it around `readFile`, and go on. Any other abort is a finding.
#ifndef KY_FUZZ_IO_PACKETSUPPORT_H
#define KY_FUZZ_IO_PACKETSUPPORT_H

#include <Base/IO/ioBinaryContext.h>
#include <Base/IO/ioBufferedStream.h>
#include <Base/IO/ioPacketRegistry.h>
#include <Base/IO/ioPacketType.h>
#include <Base/OS/kyOSMemoryIOStream.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace packetfuzz {

struct Stopped {};

inline void quiet(char*) {}
inline void stop() {
    throw Stopped();
}

struct Object {
    int values[4] = {};
    void* slots[4] = {};
    std::string text;
};

// Objects the readers made; anything else a number defines is a text copy to free.
struct Arena {
    std::vector<std::unique_ptr<Object>> objects;
    std::set<const void*> owned;
};
inline Arena*& arena() {
    static Arena* current = nullptr;
    return current;
}

inline Object& newObject() {
    arena()->objects.emplace_back(new Object());
    Object& o = *arena()->objects.back();
    arena()->owned.insert(&o);
    arena()->owned.insert(&o.values[1]);
    return o;
}

// A reader of every value kind, a chunk and a sub-packet: the golden "node" shape.
inline void readNode(ioClientReadContext& client) {
    ioReadContext& r = client.getContext();
    Object& o = newObject();
    r.definePacketReference(&o);
    r.readReferenceUsage(&o.slots[0], 0);
    r.nextChunk();
    bool b;
    char c;
    unsigned char uc;
    short s;
    unsigned short us;
    int i;
    unsigned u;
    std::int64_t l;
    std::uint64_t ul;
    float f;
    double d;
    r.readBool(b), r.readChar(c), r.readUChar(uc), r.readShort(s), r.readUShort(us);
    r.readInt(i), r.readUInt(u), r.readInt64(l), r.readUInt64(ul), r.readFloat(f), r.readDouble(d);
    o.text = r.readCString();
    if (r.startSubPacket()) {
        bool ab[2];
        char ac[2];
        unsigned char auc[2];
        short as[2];
        unsigned short aus[1];
        int ai[1];
        unsigned au[1];
        std::int64_t al[1];
        std::uint64_t aul[1];
        float af[1];
        double ad[1];
        r.readBoolArray(ab, 2), r.readCharArray(ac, 2), r.readUCharArray(auc, 2);
        r.readShortArray(as, 2), r.readUShortArray(aus, 1), r.readIntArray(ai, 1);
        r.readUIntArray(au, 1), r.readInt64Array(al, 1), r.readUInt64Array(aul, 1);
        r.readFloatArray(af, 1), r.readDoubleArray(ad, 1);
    }
    r.endSubPacket();
    while (r.nextChunk()) {
    }
}

// A graph node: an id, a count, then that many references; an alias for its inner value.
inline void readGraphNode(ioClientReadContext& client) {
    ioReadContext& r = client.getContext();
    Object& o = newObject();
    r.definePacketReference(&o);
    r.defineReferenceAlias(r.getPacketReference(), &o.values[1]);
    r.readInt(o.values[0]);
    int count = 0;
    r.readInt(count);
    for (int e = 0; e < count && e < 4 && r.good(); ++e) {
        r.readReferenceUsage(&o.slots[e], e);
    }
    int number = 0;
    r.readReferenceUsage(number);
    r.useReference(number);
}

inline void readPoint(ioClientReadContext& client) {
    ioReadContext& r = client.getContext();
    Object& o = newObject();
    r.readReferenceDefinition(&o);
    r.readInt(o.values[0]);
}

class Registry : public ioPacketRegistry {
public:
    explicit Registry(bool numberWhenRead) : ioPacketRegistry(numberWhenRead) {}
    void registerAllTypes() override {
        supportedType(new ioReadPacketByFunction("node", &readNode));
        supportedType(new ioReadPacketByFunction("point", &readPoint));
        supportedType(new ioReadPacketByFunction("gnode", &readGraphNode));
    }
};

// Collects the text copies that string packets hand to the receiver, to free them: after
// each packet, a defined address that none of the readers made is such a copy.
class Client : public ioClientReadContext {
public:
    explicit Client(ioReadContext& context) : ioClientReadContext(context) {}
    void postPacketRead() override {
        ioReadContext& r = getContext();
        void* copy = r.getReferenceDefinition(r.getPacketReference());
        if (copy != nullptr && arena()->owned.count(copy) == 0) {
            copies.insert(copy);
        }
    }
    std::set<void*> copies;
};

/// Reads `bytes` as a whole packet file. The status must be one a reader can end in.
inline void readPacketFile(const std::string& bytes, bool numberWhenRead) {
    kyOS::MemoryIOStream memory(4096);
    std::size_t put = 0;
    if (!bytes.empty() && memory.write(bytes.data(), bytes.size(), &put).failed()) {
        return;
    }
    ioBufferedStreamInput in;
    in.openIOStream(&memory);
    Registry registry(numberWhenRead);
    std::unique_ptr<ioReadContext> context(ioReadContextAlloc(in, &registry));
    if (context == nullptr) {
        return;
    }
    Arena objects;
    arena() = &objects;
    Client client(*context);
    ioPacketFileErrorInit(&quiet);
    ioPacketFileAbortInit(&stop);
    try {
        context->readFile(client);
    } catch (const Stopped&) {
    }
    const ioStatus status = context->getStatus();
    if (status != ioGood && status != ioBadData && status != ioFailed) {
        std::fprintf(stderr, "packet reader: unexpected status %d\n", static_cast<int>(status));
        std::abort();
    }
    for (void* copy : client.copies) {
        std::free(copy);
    }
    arena() = nullptr;
}

} // namespace packetfuzz

#endif // KY_FUZZ_IO_PACKETSUPPORT_H
