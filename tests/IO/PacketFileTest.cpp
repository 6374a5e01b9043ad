// PacketFileTest.cpp - binary packet files byte for byte, in both byte orders, the debug tags,
// the registry block and what malformed files end in.
#include "IOTestSupport.h"
#include "PacketTestSupport.h"

#include <Base/IO/ioBinaryContext.h>
#include <Base/IO/ioLinear.h>
#include <Base/IO/ioPacketRegistry.h>
#include <Base/IO/ioPacketType.h>
#include <Base/IO/ioReferenceMap.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

using packettest::Bytes;
using packettest::Capture;

namespace {

// The objects of the golden file: a node holding one value of every kind and a pointer to a
// point defined after it.
struct Point {
    int value = 0;
};
struct Node {
    bool b = false;
    char c = 0;
    unsigned char uc = 0;
    short s = 0;
    unsigned short us = 0;
    int i = 0;
    unsigned int u = 0;
    std::int64_t l = 0;
    std::uint64_t ul = 0;
    float f = 0;
    double d = 0;
    std::string text;
    bool ab[2] = {};
    char ac[2] = {};
    unsigned char auc[2] = {};
    short as[2] = {};
    unsigned short aus[1] = {};
    int ai[1] = {};
    unsigned int au[1] = {};
    std::int64_t al[1] = {};
    std::uint64_t aul[1] = {};
    float af[1] = {};
    double ad[1] = {};
    Point* point = nullptr;
};

Node sampleNode() {
    Node n;
    n.b = true, n.c = 'x', n.uc = 200, n.s = -2, n.us = 65000, n.i = -5, n.u = 7;
    n.l = -3000000000LL, n.ul = 0x0102030405060708ULL, n.f = 1.5f, n.d = -0.25, n.text = "hi";
    n.ab[0] = true, n.ac[0] = 'a', n.ac[1] = 'b', n.auc[0] = 1, n.auc[1] = 2;
    n.as[0] = 1, n.as[1] = -1, n.aus[0] = 3, n.ai[0] = 4, n.au[0] = 5, n.al[0] = 6, n.aul[0] = 7;
    n.af[0] = 2.0f, n.ad[0] = 0.5;
    return n;
}

void writeGolden(ioWriteContext& w, const Node& n, const Point& p) {
    w.startPacket("node", &n);
    w.writeReference(n.point, false); // used before its definition
    w.startChunk();
    w.writeBool(n.b), w.writeChar(n.c), w.writeUChar(n.uc), w.writeShort(n.s);
    w.writeUShort(n.us), w.writeInt(n.i), w.writeUInt(n.u), w.writeInt64(n.l);
    w.writeUInt64(n.ul), w.writeFloat(n.f), w.writeDouble(n.d), w.writeCString(n.text.c_str());
    w.startSubPacket();
    w.writeBoolArray(n.ab, 2), w.writeCharArray(n.ac, 2), w.writeUCharArray(n.auc, 2);
    w.writeShortArray(n.as, 2), w.writeUShortArray(n.aus, 1), w.writeIntArray(n.ai, 1);
    w.writeUIntArray(n.au, 1), w.writeInt64Array(n.al, 1), w.writeUInt64Array(n.aul, 1);
    w.writeFloatArray(n.af, 1), w.writeDoubleArray(n.ad, 1);
    w.endSubPacket();
    w.endPacket();
    w.startPacket("point", &p);
    w.writeInt(p.value);
    w.endPacket();
}

// The same file written out by hand from the framing and value tables.
std::string goldenBytes(bool big) {
    Bytes b(big);
    b.raw(big ? "^@\n1\n0 1 1\n1 2 4 8 4 8 8\n@\n" : "^@\n1\n1 1 1\n1 2 4 8 4 8 8\n@\n");
    b.raw("   0 packetFile_string\n   1 packetFile_EOF\n   2 node\n   3 point\n@\n");
    b.i32(2).i32(1).i32(112); // node: type, reference flag, body length
    b.i32(1).i32(2);          // its own number, then the point's (forward)
    b.u8(',').i32(103);       // chunk: 4 + 46 bytes of values + 53 of sub-packet
    b.u8(1).u8('x').u8(200);  // Bool, Char, UChar
    b.val<std::int16_t>(-2).val<std::uint16_t>(65000).i32(-5).val<std::uint32_t>(7);
    b.val<std::int64_t>(-3000000000LL).val<std::uint64_t>(0x0102030405060708ULL);
    b.val(1.5f).val(-0.25).raw(std::string("hi\0", 3));
    b.u8('.').i32(52); // sub-packet: 4 + 48 bytes of arrays
    b.u8(1).u8(0).raw("ab").u8(1).u8(2);
    b.val<std::int16_t>(1).val<std::int16_t>(-1).val<std::uint16_t>(3).i32(4).i32(5);
    b.val<std::int64_t>(6).val<std::uint64_t>(7).val(2.0f).val(0.5);
    b.i32(3).i32(1).i32(8).i32(2).i32(9); // point: its number, its value
    b.i32(1).i32(0).i32(0);               // end of file
    return b.out;
}

// What the readers build; plain functions need a place to put it.
struct Model {
    std::vector<std::unique_ptr<Node>> nodes;
    std::vector<std::unique_ptr<Point>> points;
} gModel;

void readNode(ioClientReadContext& client) {
    ioReadContext& r = client.getContext();
    gModel.nodes.emplace_back(new Node());
    Node& n = *gModel.nodes.back();
    r.definePacketReference(&n);
    r.readReferenceUsage(&n.point, 0);
    r.nextChunk();
    r.readBool(n.b), r.readChar(n.c), r.readUChar(n.uc), r.readShort(n.s), r.readUShort(n.us);
    r.readInt(n.i), r.readUInt(n.u), r.readInt64(n.l), r.readUInt64(n.ul), r.readFloat(n.f);
    r.readDouble(n.d);
    n.text = r.readCString();
    r.startSubPacket();
    r.readBoolArray(n.ab, 2), r.readCharArray(n.ac, 2), r.readUCharArray(n.auc, 2);
    r.readShortArray(n.as, 2), r.readUShortArray(n.aus, 1), r.readIntArray(n.ai, 1);
    r.readUIntArray(n.au, 1), r.readInt64Array(n.al, 1), r.readUInt64Array(n.aul, 1);
    r.readFloatArray(n.af, 1), r.readDoubleArray(n.ad, 1);
    r.endSubPacket();
}

void readPoint(ioClientReadContext& client) {
    ioReadContext& r = client.getContext();
    gModel.points.emplace_back(new Point());
    r.definePacketReference(gModel.points.back().get());
    r.readInt(gModel.points.back()->value);
}

class GoldenRegistry : public ioPacketRegistry {
public:
    using ioPacketRegistry::ioPacketRegistry;
    void registerAllTypes() override {
        supportedType(new ioReadPacketByFunction("node", &readNode));
        supportedType(new ioReadPacketByFunction("point", &readPoint));
    }
};

std::string writeToMemory(ioWriteMethod method, const Node& n, const Point& p) {
    GoldenRegistry registry;
    return packettest::writeFile(method, registry,
                                 [&](ioWriteContext& w) { writeGolden(w, n, p); });
}

// Reads `bytes` with a fresh model; the context's final status.
template <class Registry = GoldenRegistry>
ioStatus readFromMemory(const std::string& bytes, bool numberWhenRead = false,
                        ioReadMethod* method = nullptr) {
    gModel = Model();
    Registry registry(numberWhenRead);
    return packettest::readFile(bytes, registry, [&](ioReadContext& r) {
        if (method != nullptr) {
            *method = r.getReadMethod();
        }
        // Text packets hand their copies to the receiver: anything defined that is not a
        // model object is one.
        for (int n = 1; n <= r.getReferenceMap()->highestNumber(); ++n) {
            void* copy = r.getReferenceDefinition(n);
            bool model = copy == nullptr;
            for (auto& node : gModel.nodes) {
                model |= copy == node.get();
            }
            for (auto& point : gModel.points) {
                model |= copy == point.get();
            }
            if (!model) {
                std::free(copy);
            }
        }
    });
}

// The model read back and written again gives the golden bytes: every value, and the forward
// fix-up (a missing one would write a null reference), in one comparison.
void expectGoldenModel() {
    ASSERT_EQ(gModel.nodes.size(), 1u);
    ASSERT_EQ(gModel.points.size(), 1u);
    EXPECT_EQ(writeToMemory(ioWriteBinary, *gModel.nodes[0], *gModel.points[0]),
              goldenBytes(false));
}

TEST(PacketFile, WriterProducesTheHandWrittenBytes) {
    Node n = sampleNode();
    Point p{9};
    n.point = &p;
    EXPECT_EQ(writeToMemory(ioWriteBinary, n, p), goldenBytes(false));
}

TEST(PacketFile, HandWrittenBytesReadBackInBothByteOrders) {
    for (bool big : {false, true}) {
        SCOPED_TRACE(big ? "big-endian twin" : "machine order");
        ioReadMethod method = ioReadUnknown;
        EXPECT_EQ(readFromMemory(goldenBytes(big), false, &method), ioGood);
        EXPECT_EQ(method, big ? ioReadBinarySwapped : ioReadBinarySameEndian);
        expectGoldenModel();
    }
}

TEST(PacketFile, ReaderFollowsTheFileRegistryWhenNumberingOnRead) {
    // The writer's ids 2 and 3 swapped in the file: a reader numbering on read still maps them.
    std::string bytes = goldenBytes(false);
    const std::string lines = "   2 node\n   3 point\n";
    bytes.replace(bytes.find(lines), lines.size(), "   2 point\n   3 node\n");
    const std::size_t node = bytes.find("@\n", 30) + 2;
    bytes[node] = 3;            // the node packet's type
    bytes[node + 12 + 112] = 2; // the point packet's type
    EXPECT_EQ(readFromMemory(bytes, true), ioGood);
    expectGoldenModel();
}

TEST(PacketFile, DebugFormTagsEveryValue) {
    Node n = sampleNode();
    Point p{9};
    n.point = &p;
    const std::string bytes = writeToMemory(ioWriteBinaryDebug, n, p);
    const std::string registry = "   3 point\n@\n";
    const std::size_t body = bytes.find(registry) + registry.size() + 12;
    // Reference tag, then the number as a tagged UInt; then the forward reference likewise.
    EXPECT_EQ(bytes.substr(body, 12), Bytes().raw("rI").i32(1).raw("rI").i32(2).out);
    EXPECT_EQ(bytes[body + 12], ',');
    EXPECT_EQ(bytes.substr(body + 17, 4), "b\x01"
                                          "cx");
    EXPECT_EQ(bytes.substr(0, 11), "^@\n1\n1 3 1\n");
    EXPECT_EQ(readFromMemory(bytes), ioGood);
    expectGoldenModel();
}

TEST(PacketFile, EmptyPacketIsTwelveBytes) {
    kyOS::MemoryIOStream memory;
    ioBufferedStreamOutput out;
    out.openIOStream(&memory);
    ioSimplePacketRegistry registry;
    for (const char* name : {"a", "b", "c", "five"}) {
        registry.add(name);
    }
    ioWriteContextBinary w(out);
    w.associateRegistry(&registry);
    w.writePacketRegistry(false);
    w.startFile();
    w.startPacket("five", nullptr);
    w.endPacket();
    out.close();
    EXPECT_EQ(packettest::contents(memory).substr(27), Bytes().raw("@\n").i32(5).i32(0).i32(0).out);
}

// --- The registry block ---------------------------------------------------------------------

struct RegistryCase {
    const char* block;
    ioStatus result;
    int types; // types numbered afterwards (reader numbering on read)
};

TEST(PacketRegistry, ReadsBlocksAndRejectsBadOnes) {
    const RegistryCase cases[] = {
        {"@\n", ioGood, 0},
        {"   0 packetFile_string\n   1 packetFile_EOF\n@\n", ioGood, 2},
        {"   0 a\n   1 b\n   3 c\n@\n", ioBadData, 2},
        {"   7 a\n   8 b\n@\n", ioGood, 2},
        {"   0 a\n   0 b\n@\n", ioBadData, 1},
        {"   0 a\n", ioFailed, 1},
        {"", ioFailed, 0},
        {"garbage\n@\n", ioBadData, 0},
        {"   0 a\n   1 a\n@\n", ioGood, 1},
        {"   2147483647 a\n   -2147483648 b\n@\n", ioBadData, 1},
    };
    for (const RegistryCase& c : cases) {
        SCOPED_TRACE(c.block);
        kyOS::MemoryIOStream memory;
        packettest::fill(memory, c.block);
        ioBufferedStreamInput in;
        in.openIOStream(&memory);
        ioPacketRegistry registry(true);
        registry.init();
        EXPECT_EQ(registry.readRegistry(in), c.result);
        EXPECT_EQ(registry.numTypes(), c.types);
    }
}

TEST(PacketRegistry, NumbersAtOnceOrWhenRead) {
    ioSimplePacketRegistry atOnce(false), onRead(true);
    for (ioSimplePacketRegistry* r : {&atOnce, &onRead}) {
        r->add("mesh");
        r->init();
        r->init(); // registers once
    }
    EXPECT_EQ(atOnce.numTypes(), 3);
    EXPECT_EQ(atOnce.lookup("mesh")->getId(), 2);
    EXPECT_EQ(atOnce.lookup(2), atOnce.lookup("mesh"));
    EXPECT_EQ(onRead.numTypes(), 0);
    EXPECT_EQ(onRead.lookup("mesh")->getId(), -1);
    EXPECT_EQ(onRead.lookup(-1), nullptr);
    EXPECT_EQ(atOnce.lookup(3), nullptr);
    EXPECT_EQ(atOnce.lookup("nothing"), nullptr);

    kyOS::MemoryIOStream memory;
    ioBufferedStreamOutput out;
    out.openIOStream(&memory);
    atOnce.writeRegistry(out, true);
    out.close();
    EXPECT_EQ(packettest::contents(memory),
              "   0 packetFile_string\n   1 packetFile_EOF\n   2 mesh\n@\n");
}

// --- Unknown types, strings, callbacks ------------------------------------------------------

int gCallbackCalls = 0;
void countCall() {
    ++gCallbackCalls;
}

TEST(PacketFile, UnknownTypesAreSkippedAndStringsComeBack) {
    ioSimplePacketRegistry writer;
    writer.add("secret");
    writer.add("known");
    int object = 0;
    const std::string file = packettest::writeFile(ioWriteBinary, writer, [&](ioWriteContext& w) {
        w.startPacket("secret", &object); // a reference the reader cannot define: not fatal
        w.writeDouble(1.0);
        w.endPacket();
        w.writeCStringPacket("text");
        w.writeCStringPacket(nullptr);
        w.startPacket("known", nullptr);
        w.endPacket();
    });
    ioSimplePacketRegistry reader(true);
    reader.add("known", &countCall);
    gCallbackCalls = 0;
    EXPECT_EQ(packettest::readFile(file, reader,
                                   [](ioReadContext& r) {
                                       EXPECT_EQ(r.getPacketsRead(), 3);
                                       auto* text = static_cast<char*>(r.getReferenceDefinition(2));
                                       EXPECT_STREQ(text, "text");
                                       std::free(text);
                                   }),
              ioGood);
    EXPECT_EQ(gCallbackCalls, 1);
    EXPECT_EQ(reader.lookup("secret")->getNumUsages(), 1);
}

// --- Statuses and malformed files -----------------------------------------------------------

TEST(PacketFile, MisuseAndStreamEndsGiveTheirStatuses) {
    kyOS::MemoryIOStream memory;
    ioBufferedStreamOutput out;
    out.openIOStream(&memory);
    ioWriteContextBinary noRegistry(out);
    noRegistry.startFile();
    EXPECT_EQ(noRegistry.getStatus(), ioFailed);

    ioPacketRegistry registry;
    ioWriteContextBinary open(out);
    open.associateRegistry(&registry);
    open.startFile();
    open.startPacket("packetFile_string", nullptr);
    open.endFile();
    EXPECT_EQ(open.getStatus(), ioFailed);
    EXPECT_EQ(ioWriteContextAlloc(out, static_cast<ioWriteMethod>(9), &registry), nullptr);
}

TEST(PacketFile, MalformedFilesEndInBadData) {
    const std::string good = goldenBytes(false);
    const std::size_t packets = good.find("@\n", 30) + 2;
    const std::size_t node = packets;
    struct Case {
        const char* what;
        std::string bytes;
    };
    const auto text = [](int number) { // a text packet defining `number`
        return Bytes().i32(0).i32(1).i32(6).i32(number).raw(std::string("a\0", 2)).out;
    };
    auto patched = [&](std::size_t at, const std::string& with) {
        std::string b = good;
        b.replace(at, with.size(), with);
        return b;
    };
    const Case cases[] = {
        {"no end-of-file packet", good.substr(0, good.size() - 12)},
        {"cut inside a body", good.substr(0, node + 40)},
        {"unknown type id", patched(node, Bytes().i32(77).out)},
        {"negative length", patched(node + 8, Bytes().i32(-1).out)},
        {"length beyond the stream", patched(node + 8, Bytes().i32(0x7FFFFF00).out)},
        {"chunk length beyond the packet", patched(node + 21, Bytes().i32(5000).out)},
        {"chunk mark missing", patched(node + 20, "#")},
        {"sub-packet length too small", patched(node + 12 + 8 + 5 + 46 + 1, Bytes().i32(2).out)},
        {"text without its zero",
         good.substr(0, node) + Bytes().i32(0).i32(1).i32(7).i32(1).raw("abc").out},
        {"reference number far beyond the file", patched(node + 16, Bytes().i32(1 << 30).out)},
        {"negative reference number", patched(node + 16, Bytes().i32(-5).out)},
        {"body shorter than its values", patched(node + 8, Bytes().i32(50).out)},
        {"reference numbers that ratchet up",
         good.substr(0, node) + text(5) + text(12) + Bytes().i32(1).i32(0).i32(0).out},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Capture capture;
        EXPECT_EQ(readFromMemory(c.bytes), ioBadData);
    }
}

TEST(PacketFile, StatusesOfStreamsMapOntoContextStatuses) {
    // Each stream status, as the context sees it (first error stays).
    struct Probe : ioReadContextBinarySameEndian {
        using ioReadContextBinarySameEndian::ioReadContextBinarySameEndian;
        using ioReadContextBinarySameEndian::promoteStreamStatus;
    };
    const ioStatus expected[] = {ioGood,     ioOpenFailed,       ioBadData, ioBadData,
                                 ioDiskFull, ioChecksumMismatch, ioFailed};
    for (int s = 0; s <= 6; ++s) {
        struct Stream : ioBufferedStreamInput {
            explicit Stream(int s) { setStatus(static_cast<ioStreamStatus>(s)); }
        } stream(s);
        Probe probe(ioReadBinarySameEndian, stream);
        probe.promoteStreamStatus(stream);
        EXPECT_EQ(probe.getStatus(), expected[s]) << s;
    }
}

// --- The debug reader's stop ----------------------------------------------------------------

std::string debugShortPacket() {
    Bytes b;
    b.raw("^@\n1\n1 3 1\n1 2 4 8 4 8 8\n@\n   0 packetFile_string\n   1 packetFile_EOF\n");
    b.raw("   2 wants-int\n@\n").i32(2).i32(0).i32(3).raw("h").val<std::int16_t>(7);
    return b.i32(1).i32(0).i32(0).out;
}

void readIntFromPacket(ioClientReadContext& client) {
    int value = 0;
    client.getContext().readInt(value);
}

class DebugRegistry : public ioPacketRegistry {
public:
    using ioPacketRegistry::ioPacketRegistry;
    void registerAllTypes() override {
        supportedType(new ioReadPacketByFunction("wants-int", &readIntFromPacket));
    }
};

void readDebugShortPacket() {
    DebugRegistry registry;
    (void)packettest::readFile(debugShortPacket(), registry);
}

TEST(PacketFile, DebugTagMismatchNamesBothKindsAndStops) {
    Capture capture;
    EXPECT_THROW(readDebugShortPacket(), Capture::Stopped);
    EXPECT_NE(
        Capture::text().find("Packet file type mismatch:\n   got: Short (68)\n"
                             "   expected: Int (69)\nioPacketFile: Fatal error.  Aborting.\n"),
        std::string::npos)
        << Capture::text();
}

TEST(PacketFileDeathTest, FatalErrorAbortsWithoutAHook) {
    if (iotest::onWindows()) {
        GTEST_SKIP() << "the abort's exit code under the Windows loader is not a signal";
    }
    EXPECT_DEATH(readDebugShortPacket(), "expected: Int \\(69\\)");
}

TEST(PacketFile, UndefinedPacketReferenceIsFatal) {
    // A known type whose reader does not define the packet's reference.
    Bytes b;
    b.raw("^@\n1\n1 1 1\n1 2 4 8 4 8 8\n@\n   0 packetFile_string\n   1 packetFile_EOF\n");
    b.raw("   2 wants-int\n@\n").i32(2).i32(1).i32(8).i32(1).i32(5).i32(1).i32(0).i32(0);
    Capture capture;
    EXPECT_THROW(readFromMemory<DebugRegistry>(b.out), Capture::Stopped);
    EXPECT_NE(Capture::text().find("A packet type: 'wants-int'\n  had a reference associated "
                                   "with it but no \n  definition was provided by the client "
                                   "code.\n  The undefined reference is: 0.\n"),
              std::string::npos)
        << Capture::text();
}

struct Geometry {
    kyLinear::Point p;
    kyLinear::VectorFlt v;
    kyLinear::Quaternion q;
    kyLinear::AffineMatrix m;
    kyLinear::ProjMatrixFlt pm;
} gGeometry;

std::string writeGeometry(const Geometry& g) {
    ioSimplePacketRegistry registry;
    registry.add("geometry");
    return packettest::writeFile(ioWriteBinary, registry, [&](ioWriteContext& w) {
        w.startPacket("geometry", nullptr);
        ioWrite(w, g.p), ioWrite(w, g.v), ioWrite(w, g.q), ioWrite(w, g.m), ioWrite(w, g.pm);
        w.endPacket();
    });
}

class GeometryRegistry : public ioPacketRegistry {
public:
    using ioPacketRegistry::ioPacketRegistry;
    void registerAllTypes() override {
        supportedType(new ioReadPacketByFunction("geometry", [](ioClientReadContext& c) {
            ioReadContext& r = c.getContext();
            ioRead(r, gGeometry.p), ioRead(r, gGeometry.v), ioRead(r, gGeometry.q);
            ioRead(r, gGeometry.m), ioRead(r, gGeometry.pm);
        }));
    }
};

TEST(PacketFile, LinearTypesTravelAsScalarArrays) {
    Geometry g{{1, 2, 3},
               {4, 5, 6},
               {0.1, 0.2, 0.3, 0.4},
               {},
               {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}};
    g.m[3][0] = 7;
    const std::string file = writeGeometry(g);
    EXPECT_EQ(file.size(), 27u + 59u + 12u + (3 * 8 + 3 * 4 + 4 * 8 + 12 * 8 + 16 * 4) + 12u);
    GeometryRegistry reader(true);
    ASSERT_EQ(packettest::readFile(file, reader), ioGood);
    EXPECT_EQ(writeGeometry(gGeometry), file); // every scalar came back
}

} // namespace
