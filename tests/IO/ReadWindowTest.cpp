// ReadWindowTest.cpp - the binary encoding's copy paths: the native reader takes values inline
// from its window, a reader derived from it goes through the virtual reads, and both must read
// every file alike; the writer copies short values by fixed-size moves.
#include "PacketTestSupport.h"

#include <Base/IO/ioBinaryContext.h>
#include <Base/IO/ioPacketType.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using packettest::Capture;

// A reader that the window must not serve: its overrides count what reaches them.
class VirtualReader : public ioReadContextBinarySameEndian {
public:
    using ioReadContextBinarySameEndian::ioReadContextBinarySameEndian;
    int calls = 0;

protected:
    void doReadInt(int& value) override {
        ++calls;
        ioReadContextBinarySameEndian::doReadInt(value);
    }
    void doReadDoubleArray(double* values, int count) override {
        ++calls;
        ioReadContextBinarySameEndian::doReadDoubleArray(values, count);
    }
    const char* doReadCString() override {
        ++calls;
        return ioReadContextBinarySameEndian::doReadCString();
    }
};

// What one packet's reads gave: every value's bytes, the status after each, the texts.
std::string gLog;
unsigned gSeed = 0;
int gAsked = 0; // reads of the kinds VirtualReader overrides

template <class T>
void logValue(ioReadContext& r, const T* values, int count) {
    gLog.append(reinterpret_cast<const char*>(values), sizeof(T) * static_cast<std::size_t>(count));
    gLog += static_cast<char>('0' + r.getStatus());
}

void readText(ioReadContext& r, int) {
    gLog += r.readCString();
    gLog += '|';
    gLog += static_cast<char>('0' + r.getStatus());
}

template <class T, void (ioReadContext::*read)(T&)>
void one(ioReadContext& r, int) {
    T value{};
    (r.*read)(value);
    logValue(r, &value, 1);
}
// A failed read zeroes the values asked for: the area holds all of them.
template <class T, void (ioReadContext::*read)(T*, int)>
void array(ioReadContext& r, int count) {
    T values[64] = {};
    (r.*read)(values, count);
    logValue(r, values, count > 0 ? count : 0);
}

using R = ioReadContext;
using Op = void (*)(ioReadContext&, int count);
// Every read, and the moves between levels and chunks. The first three are the kinds that
// VirtualReader overrides.
const Op kOps[] = {
    &one<int, &R::readInt>,
    &array<double, &R::readDoubleArray>,
    &readText,
    &one<bool, &R::readBool>,
    &one<char, &R::readChar>,
    &one<unsigned char, &R::readUChar>,
    &one<short, &R::readShort>,
    &one<unsigned short, &R::readUShort>,
    &one<unsigned int, &R::readUInt>,
    &one<std::int64_t, &R::readInt64>,
    &one<std::uint64_t, &R::readUInt64>,
    &one<float, &R::readFloat>,
    &one<double, &R::readDouble>,
    &array<bool, &R::readBoolArray>,
    &array<char, &R::readCharArray>,
    &array<unsigned char, &R::readUCharArray>,
    &array<short, &R::readShortArray>,
    &array<unsigned short, &R::readUShortArray>,
    &array<int, &R::readIntArray>,
    &array<unsigned int, &R::readUIntArray>,
    &array<std::int64_t, &R::readInt64Array>,
    &array<std::uint64_t, &R::readUInt64Array>,
    &array<float, &R::readFloatArray>,
    [](R& r, int) { gLog += r.startSubPacket() ? "S" : "s"; },
    [](R& r, int) { r.endSubPacket(), gLog += 'E'; },
    [](R& r, int) { gLog += r.nextChunk() ? "C" : "c"; },
    [](R& r, int) {
        int number = 0;
        (void)r.readReferenceUsage(number);
        logValue(r, &number, 1);
    },
};
constexpr int kOverridden = 3;

// A random sequence of reads, the same for the same seed, whatever the body holds.
void readScript(ioClientReadContext& client) {
    ioReadContext& r = client.getContext();
    std::mt19937 random(gSeed);
    static int object;
    if (r.getPacketReference() != 0) {
        r.definePacketReference(&object);
    }
    static const int kCounts[] = {-1, 0, 1, 2, 3, 7, 64};
    const int ops = static_cast<int>(random() % 16);
    for (int i = 0; i < ops; ++i) {
        const int count = kCounts[random() % (sizeof kCounts / sizeof kCounts[0])];
        const auto op = static_cast<std::size_t>(random() % (sizeof kOps / sizeof kOps[0]));
        gAsked += op < kOverridden ? 1 : 0;
        kOps[op](r, count);
    }
}

class ScriptRegistry : public ioPacketRegistry {
public:
    void registerAllTypes() override {
        supportedType(new ioReadPacketByFunction("script", &readScript));
    }
};

// A file of random bodies: raw bytes (texts' zeros among them), chunks and sub-packets.
std::string randomFile(std::mt19937& random) {
    ScriptRegistry registry;
    return packettest::writeFile(ioWriteBinary, registry, [&](ioWriteContext& w) {
        const int packets = 1 + static_cast<int>(random() % 3);
        static const int kObjects[3] = {};
        for (int p = 0; p < packets; ++p) {
            w.startPacket("script", random() % 2 != 0 ? &kObjects[p] : nullptr);
            int open = 0;
            for (int piece = static_cast<int>(random() % 12); piece > 0; --piece) {
                switch (random() % 6) {
                case 0:
                    w.startSubPacket(), ++open;
                    break;
                case 1:
                    if (open > 0) {
                        w.endSubPacket(), --open;
                    }
                    break;
                case 2:
                    w.startChunk();
                    break;
                default: {
                    char bytes[64];
                    const int n = static_cast<int>(random() % sizeof bytes);
                    for (int i = 0; i < n; ++i) {
                        // Small values often: zeros end texts, small numbers are references.
                        bytes[i] = static_cast<char>(random() % 3 == 0 ? random() % 4 : random());
                    }
                    w.writeCharArray(bytes, n);
                }
                }
            }
            while (open-- > 0) {
                w.endSubPacket();
            }
            w.endPacket();
        }
    });
}

// Reads `bytes` with the script; the log, the messages and the final status.
template <class Reader>
std::string readWith(const std::string& bytes, int* virtualCalls = nullptr) {
    Capture capture;
    gLog.clear();
    kyOS::MemoryIOStream memory;
    packettest::fill(memory, bytes);
    ioBufferedStreamInput in;
    in.openIOStream(&memory);
    ioHeader header;
    if (!header.readHeader(in) || header.determineReadMethod() != ioReadBinarySameEndian) {
        return "no header";
    }
    ScriptRegistry registry;
    Reader reader(ioReadBinarySameEndian, in);
    reader.associateRegistry(&registry);
    ioClientReadContext client(reader);
    reader.readFile(client);
    if constexpr (std::is_same_v<Reader, VirtualReader>) {
        *virtualCalls += reader.calls;
    }
    return gLog + "#" + Capture::text() + "#" + std::to_string(reader.getStatus());
}

TEST(ReadWindow, NativeReaderReadsEveryFileAsTheVirtualReadsDo) {
    int virtualCalls = 0;
    int failed = 0;
    gAsked = 0;
    for (unsigned seed = 1; seed <= 3000; ++seed) {
        std::mt19937 random(seed);
        const std::string file = randomFile(random);
        gSeed = seed;
        const std::string native = readWith<ioReadContextBinarySameEndian>(file);
        const std::string slow = readWith<VirtualReader>(file, &virtualCalls);
        ASSERT_EQ(native, slow) << "seed " << seed;
        failed += native.back() != '0' ? 1 : 0;
    }
    // The sweep must have met bad data and good ends alike, and every read of the derived
    // reader must have reached its override (gAsked counts both readers' asks).
    EXPECT_GT(failed, 300);
    EXPECT_LT(failed, 2700);
    EXPECT_EQ(virtualCalls * 2, gAsked);
}

// Every length a value can have up to well past the writer's short copies, with its bytes
// distinct, through a file and back.
std::string gLengths;

void readLengths(ioClientReadContext& client) {
    ioReadContext& r = client.getContext();
    for (int n = 0; n <= 80; ++n) {
        char bytes[80] = {};
        r.readCharArray(bytes, n);
        gLengths.append(bytes, static_cast<std::size_t>(n));
        gLengths += r.readCString();
    }
}

class LengthsRegistry : public ioPacketRegistry {
public:
    void registerAllTypes() override {
        supportedType(new ioReadPacketByFunction("lengths", &readLengths));
    }
};

TEST(ReadWindow, ValuesOfEveryLengthComeBackByteForByte) {
    std::string expected;
    LengthsRegistry registry;
    const std::string file = packettest::writeFile(ioWriteBinary, registry, [&](ioWriteContext& w) {
        w.startPacket("lengths", nullptr);
        for (int n = 0; n <= 80; ++n) {
            std::string bytes;
            for (int i = 0; i < n; ++i) {
                bytes += static_cast<char>(1 + (n * 31 + i) % 250); // no zero: texts too
            }
            w.writeCharArray(bytes.data(), n);
            w.writeCString(bytes.c_str());
            expected += bytes + bytes;
        }
        w.endPacket();
    });
    gLengths.clear();
    EXPECT_EQ(packettest::readFile(file, registry), ioGood);
    EXPECT_EQ(gLengths, expected);
}

} // namespace
