// AsciiPacketTest.cpp - text packet files character for character: escapes, extreme numbers,
// chunks and sub-packets, the debug tags, and what they read back as.
#include "PacketTestSupport.h"

#include <Base/IO/ioAsciiContext.h>
#include <Base/IO/ioPacketRegistry.h>
#include <Base/IO/ioPacketType.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

using packettest::Capture;

namespace {

const char kAsciiHead[] = "^@\n1\n1 0 1\n1 2 4 8 4 8 8\n@\n"
                          "   0 packetFile_string\n   1 packetFile_EOF\n   2 node\n@\n";
const char kEnd[] = "{ 1 0 }\n";

// What a "node" packet does when read; set by each test.
std::function<void(ioReadContext&)> gScript;

class ScriptRegistry : public ioPacketRegistry {
public:
    using ioPacketRegistry::ioPacketRegistry;
    void registerAllTypes() override {
        supportedType(new ioReadPacketByFunction(
            "node", [](ioClientReadContext& c) { gScript(c.getContext()); }));
    }
};

std::string writeFile(ioWriteMethod method, const std::function<void(ioWriteContext&)>& body) {
    ScriptRegistry registry;
    return packettest::writeFile(method, registry, body);
}

ioStatus readFile(const std::string& bytes, const std::function<void(ioReadContext&)>& script) {
    gScript = script;
    ScriptRegistry registry;
    return packettest::readFile(bytes, registry);
}

// One value of every kind at its extremes, written and read in the same order.
struct Extremes {
    bool b = true;
    char c = -128;
    unsigned char uc = 255;
    short s = -32768;
    unsigned short us = 65535;
    int i = std::numeric_limits<int>::min();
    unsigned int u = 4294967295u;
    std::int64_t l = std::numeric_limits<std::int64_t>::min();
    std::uint64_t ul = std::numeric_limits<std::uint64_t>::max();
    float f[4] = {-0.0f, std::numeric_limits<float>::denorm_min(),
                  std::numeric_limits<float>::infinity(), 3.4028235e38f};
    double d[6] = {0.0,
                   -0.0,
                   std::numeric_limits<double>::denorm_min(),
                   -std::numeric_limits<double>::infinity(),
                   std::numeric_limits<double>::quiet_NaN(),
                   0.1};
};

void writeExtremes(ioWriteContext& w, const Extremes& e) {
    w.writeBool(e.b), w.writeChar(e.c), w.writeUChar(e.uc), w.writeShort(e.s);
    w.writeUShort(e.us), w.writeInt(e.i), w.writeUInt(e.u), w.writeInt64(e.l);
    w.writeUInt64(e.ul), w.writeFloatArray(e.f, 4), w.writeDoubleArray(e.d, 6);
}

void readExtremes(ioReadContext& r, Extremes& e) {
    r.readBool(e.b), r.readChar(e.c), r.readUChar(e.uc), r.readShort(e.s);
    r.readUShort(e.us), r.readInt(e.i), r.readUInt(e.u), r.readInt64(e.l);
    r.readUInt64(e.ul), r.readFloatArray(e.f, 4), r.readDoubleArray(e.d, 6);
}

const char kExtremesText[] = "1 -128 255 -32768 65535 -2147483648 4294967295 "
                             "-9223372036854775808 18446744073709551615 "
                             "-0 1.401298e-45 inf 3.402823e+38 "
                             "0 -0 4.940656458412465e-324 -inf nan 0.1 ";

TEST(AsciiPacket, WriterProducesTheHandWrittenText) {
    const Extremes e;
    const std::string all = std::string("\"<>[\\]{}") + "\n\t~";
    const std::string text = writeFile(ioWriteAscii, [&](ioWriteContext& w) {
        w.startPacket("node", nullptr);
        w.writeInt(-5), w.writeDouble(0.1), w.writeCString("a\"b{c}");
        w.writeCString(all.c_str()), w.writeCString(""), w.writeCString(nullptr);
        w.startChunk(); // left empty
        w.startChunk();
        writeExtremes(w, e);
        w.startSubPacket();
        w.writeBool(false);
        w.endSubPacket();
        w.endPacket();
    });
    const std::string expected = std::string(kAsciiHead) +
                                 "{ 2 0 -5 0.1 \"a\\\"b\\{c\\}\" "
                                 "\"\\\"\\<\\>\\[\\\\\\]\\{\\}\n\t~\" \"\" \"\" "
                                 "\n  [ ] \n  [ " +
                                 kExtremesText + "\n  < 0 > ] }\n" + kEnd;
    EXPECT_EQ(text, expected);

    // And back: every value, the escapes undone, the empty chunk without data.
    std::vector<std::string> texts;
    Extremes got;
    std::memset(static_cast<void*>(&got), 0, sizeof got);
    bool emptyChunk = true;
    bool inner = true;
    int i = 0;
    double d = 0;
    ASSERT_EQ(readFile(expected,
                       [&](ioReadContext& r) {
                           r.readInt(i), r.readDouble(d);
                           for (int n = 0; n < 4; ++n) {
                               texts.emplace_back(r.readCString());
                           }
                           emptyChunk = r.nextChunk();
                           EXPECT_TRUE(r.nextChunk());
                           readExtremes(r, got);
                           EXPECT_TRUE(r.startSubPacket());
                           r.readBool(inner);
                           r.endSubPacket();
                       }),
              ioGood);
    EXPECT_EQ(i, -5);
    EXPECT_EQ(d, 0.1);
    EXPECT_EQ(texts, (std::vector<std::string>{"a\"b{c}", all, "", ""}));
    EXPECT_FALSE(emptyChunk);
    EXPECT_FALSE(inner);
    // Written again, the values give the same text: signs of zero, infinities, NaN and the
    // denormals all came back. Seven digits do not bring the largest float back, though.
    const auto asText = [](const Extremes& values) {
        return writeFile(ioWriteAscii, [&](ioWriteContext& w) {
            w.startPacket("node", nullptr);
            writeExtremes(w, values);
            w.endPacket();
        });
    };
    EXPECT_EQ(asText(got), asText(e));
    EXPECT_EQ(got.f[3], 3.402823e38f);
    EXPECT_NE(got.f[3], e.f[3]);
}

TEST(AsciiPacket, DebugFormTagsEveryValueAndReference) {
    int object = 0;
    const short values[2] = {7, -7};
    const std::string text = writeFile(ioWriteAsciiDebug, [&](ioWriteContext& w) {
        w.startPacket("node", &object);
        w.writeInt(-5), w.writeCString("x}"), w.writeShortArray(values, 2);
        w.writeReference(&object, false);
        w.endPacket();
    });
    EXPECT_EQ(text, "^@\n1\n1 2 1\n1 2 4 8 4 8 8\n@\n"
                    "   0 packetFile_string\n   1 packetFile_EOF\n   2 node\n@\n"
                    "{ 2 1 r I 1 i -5 s \"x\\}\" 3 7 -7 r I 1 }\n{ 1 0 }\n");
    std::string got;
    short back[2] = {};
    void* self = nullptr;
    int i = 0;
    ASSERT_EQ(readFile(text,
                       [&](ioReadContext& r) {
                           r.definePacketReference(&object);
                           r.readInt(i);
                           got = r.readCString();
                           r.readShortArray(back, 2);
                           self = r.readReferenceUsage();
                       }),
              ioGood);
    EXPECT_EQ(i, -5);
    EXPECT_EQ(got, "x}");
    EXPECT_EQ(back[1], -7);
    EXPECT_EQ(self, &object);
}

TEST(AsciiPacket, ReaderPassesOverTextBetweenPacketsAndSkipsWhatIsNotRead) {
    // Junk before a packet; the first chunk read only in part, with escaped marks inside a
    // text and a sub-packet nested in it; the second chunk read whole.
    const std::string file = std::string(kAsciiHead) +
                             "junk } ] >\n{ 2 0 1 \n  [ 4 \"\\]\\>\" \n  < 9 \n  [ 8 ] > ] "
                             "\n  [ 6 ] }\nmore junk\n" +
                             kEnd;
    std::vector<int> seen;
    bool flag = false;
    ASSERT_EQ(readFile(file,
                       [&](ioReadContext& r) {
                           r.readBool(flag);
                           EXPECT_TRUE(r.nextChunk());
                           int v = 0;
                           r.readInt(v), seen.push_back(v);
                           EXPECT_TRUE(r.nextChunk());
                           r.readInt(v), seen.push_back(v);
                           EXPECT_FALSE(r.nextChunk());
                           EXPECT_FALSE(r.startSubPacket()); // none left
                           r.endSubPacket();
                       }),
              ioGood);
    EXPECT_TRUE(flag);
    EXPECT_EQ(seen, (std::vector<int>{4, 6}));

    // A sub-packet left half read is passed over to its end.
    const std::string nested = std::string(kAsciiHead) + "{ 2 0 \n  < 1 \n  < 2 > 3 > 5 }\n" + kEnd;
    seen.clear();
    ASSERT_EQ(readFile(nested,
                       [&](ioReadContext& r) {
                           int v = 0;
                           EXPECT_TRUE(r.startSubPacket());
                           r.readInt(v), seen.push_back(v);
                           r.endSubPacket();
                           r.readInt(v), seen.push_back(v);
                       }),
              ioGood);
    EXPECT_EQ(seen, (std::vector<int>{1, 5}));
}

TEST(AsciiPacket, MalformedTextReadsWhatItCan) {
    struct Case {
        const char* body;
        int value;       // the Int read first
        std::string str; // then a CString
        ioStatus status;
    };
    const Case cases[] = {
        {"{ 2 0 x7 \"s\" }\n", 0, "s", ioGood},  // no digits: 0
        {"{ 2 0 12abc \"s }\n", 12, "", ioGood}, // digits stop at a letter; no closing quote
        {"{ 2 0 }\n", 0, "", ioGood},            // values past the end
        {"{ 2 0 -99999999999 }\n", -1215752191, "", ioGood}, // cut to the Int's width
        {"{ 9 0 1 }\n", 0, "", ioBadData},                   // a type the registry lacks
        {"{ -1 0 1 }\n", 0, "", ioBadData},                  // a negative id
        {"{ 2 0 5 \"never closed", 5, "", ioBadData},        // the stream ends in a packet
    };
    for (const Case& c : cases) {
        Capture capture;
        int v = -1;
        std::string s = "unread";
        const std::string file =
            std::string(kAsciiHead) + c.body + (c.status == ioGood ? kEnd : "");
        const ioStatus status = readFile(file, [&](ioReadContext& r) {
            r.readInt(v);
            s = r.readCString();
        });
        EXPECT_EQ(status, c.status) << c.body;
        if (c.status == ioGood) {
            EXPECT_EQ(v, c.value) << c.body;
            EXPECT_EQ(s, c.str) << c.body;
        }
    }
}

TEST(AsciiPacket, PacketsBeyondTheInitialAreaGrowIt) {
    std::string longText(120000, 'q');
    longText[5] = '}';
    longText[70000] = '"';
    std::vector<int> values(30000);
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = static_cast<int>(i * 7919 % 100003) - 50000;
    }
    const std::string file = writeFile(ioWriteAscii, [&](ioWriteContext& w) {
        w.startPacket("node", nullptr);
        w.writeCString(longText.c_str());
        w.writeIntArray(values.data(), static_cast<int>(values.size()));
        w.endPacket();
    });
    std::string gotText;
    std::vector<int> got(values.size());
    ASSERT_EQ(readFile(file,
                       [&](ioReadContext& r) {
                           gotText = r.readCString();
                           r.readIntArray(got.data(), static_cast<int>(got.size()));
                       }),
              ioGood);
    EXPECT_EQ(gotText, longText);
    EXPECT_EQ(got, values);
}

} // namespace
