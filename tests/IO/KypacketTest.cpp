// KypacketTest.cpp - the packet-file tool run as a program on files made by the library: each
// command's output for a small file line by line, and every exit code from a real cause.
#include "IOTestSupport.h"
#include "PacketTestSupport.h"

#include <Base/IO/ioPacketRegistry.h>

#include <kyTestSupport.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace {

#ifdef KYPACKET_PATH
const std::string kTool = KYPACKET_PATH;
#else
const std::string kTool; // the tools are not part of this build
#endif

class Kypacket : public kytest::TempDirTest {
protected:
    void SetUp() override {
        kytest::TempDirTest::SetUp();
        if (kTool.empty()) {
            GTEST_SKIP() << "the tools are not part of this build";
        }
    }

    // Two "node" packets: one with a value, a chunk holding a text and a sub-packet with an
    // array; one using that node and a number never defined.
    std::string writeSample(ioWriteMethod method, const std::string& leaf) {
        ioSimplePacketRegistry registry;
        registry.add("node");
        int first = 0;
        int second = 0;
        int never = 0;
        const short values[2] = {7, -7};
        const std::string file = packettest::writeFile(method, registry, [&](ioWriteContext& w) {
            w.startPacket("node", &first);
            w.writeInt(-5);
            w.startChunk();
            w.writeCString("a}");
            w.startSubPacket();
            w.writeShortArray(values, 2);
            w.endSubPacket();
            w.endPacket();
            w.startPacket("node", &second);
            w.writeReference(&first, false);
            w.writeReference(&never, false);
            w.endPacket();
        });
        iotest::put(path(leaf), file);
        return path(leaf);
    }

    // Runs the tool; its exit code, standard output and standard error.
    int run(const std::string& arguments, const std::string& input = "") {
        const int code = iotest::runTool(kTool, arguments, input, path("out.txt"), path("err.txt"));
        out_ = read(path("out.txt"));
        err_ = read(path("err.txt"));
        return code;
    }
    static std::string read(const std::string& name) {
        return iotest::withoutCR(iotest::get(name));
    }
    static std::vector<std::string> lines(const std::string& text) {
        std::vector<std::string> out;
        std::istringstream in(text);
        for (std::string line; std::getline(in, line);) {
            out.push_back(line);
        }
        return out;
    }

    std::string out_;
    std::string err_;
};

TEST_F(Kypacket, DumpShowsTheTreeOfADebugFile) {
    const std::string file = writeSample(ioWriteBinaryDebug, "sample.pkt");
    ASSERT_EQ(run("dump \"" + file + "\""), 0) << err_;
    EXPECT_EQ(lines(out_),
              (std::vector<std::string>{
                  file + ": packet file version 1, little-endian, method 3 (binary-debug)",
                  "registry:", "     0 packetFile_string", "     1 packetFile_EOF", "     2 node",
                  "packets:", "  node (2) @82, 42 bytes, reference 1", "    Int -5",
                  "    chunk @105", "      CString \"a}\"", "      sub-packet @114",
                  "        ShortArray 7 -7", "  node (2) @124, 30 bytes, reference 2",
                  "    Reference 1", "    Reference 3", "  packetFile_EOF (1) @154, 12 bytes"}));
    EXPECT_EQ(err_, "");
}

TEST_F(Kypacket, DumpShowsTheBytesOfPlainFiles) {
    const std::string binary = writeSample(ioWriteBinary, "plain.pkt");
    ASSERT_EQ(run("dump \"" + binary + "\""), 0) << err_;
    std::vector<std::string> got = lines(out_);
    got.resize(12);
    EXPECT_EQ(got[0], binary + ": packet file version 1, little-endian, method 1 (binary)");
    EXPECT_EQ(got[7], "    values @98, 4 bytes");
    EXPECT_EQ(got[8], "      fb ff ff ff                                      |....|");
    EXPECT_EQ(got[11], "        61 7d 00                                         |a}.|");
    const std::string text = writeSample(ioWriteAscii, "plain.txt");
    ASSERT_EQ(run("dump \"" + text + "\""), 0) << err_;
    got = lines(out_);
    got.resize(9);
    EXPECT_EQ(got[0], text + ": packet file version 1, little-endian, method 0 (ascii)");
    EXPECT_EQ(got[8], "      2d 35                                            |-5|");
}

TEST_F(Kypacket, StatsCountsTypesBytesAndReferences) {
    const std::string file = writeSample(ioWriteAsciiDebug, "sample.txt");
    ASSERT_EQ(run("stats -", file), 0) << err_;
    EXPECT_EQ(lines(out_),
              (std::vector<std::string>{
                  "-: 3 packets", "  type                        packets        bytes",
                  "  packetFile_EOF                    1            7",
                  "  node                              2           72", "references defined: 2",
                  "references used: 2", "references unresolved: 1"}));
}

TEST_F(Kypacket, CheckAndExitCodes) {
    const std::string file = writeSample(ioWriteBinaryDebug, "sample.pkt");
    EXPECT_EQ(run("check \"" + file + "\""), 0);
    EXPECT_EQ(out_, file + ": ok, 3 packets, 3 types\n");
    // Cut inside the second packet's body; a wrong tag; a type id beyond the registry; text
    // without its last brace.
    const std::string bytes = read(file);
    std::string tag = bytes;
    tag[82 + 12 + 6] = 'x'; // the Int's tag
    std::string id = bytes;
    id[124] = 9;
    const std::string text = read(writeSample(ioWriteAscii, "sample.txt"));
    const struct {
        std::string leaf, bytes; // the file checked ("" : none)
        int code;
        std::string error;
    } cases[] = {
        {"cut.pkt", bytes.substr(0, 140), 1, "offset 132: a packet body that runs past the end"},
        {"tag.pkt", tag, 1, "offset 100: values that do not read as tagged values\n"},
        {"id.pkt", id, 1, "offset 124: type id 9 is not in the registry\n"},
        {"open.txt", text.substr(0, text.size() - 3), 1, "a packet without its closing brace"},
        {"missing.pkt", "", 2, "missing.pkt: offset 0: cannot be read\n"},
    };
    for (const auto& c : cases) {
        if (!c.bytes.empty()) {
            iotest::put(path(c.leaf), c.bytes);
        }
        EXPECT_EQ(run("check \"" + path(c.leaf) + "\""), c.code) << c.leaf;
        EXPECT_NE(err_.find(c.error), std::string::npos) << err_;
    }
    EXPECT_EQ(run(""), 64);
    EXPECT_NE(err_.find("usage: kypacket"), std::string::npos);
    EXPECT_EQ(run("frobnicate \"" + file + "\""), 64);
    EXPECT_EQ(run("--nosuchoption check \"" + file + "\""), 64);
    EXPECT_EQ(run("--help"), 0);
    EXPECT_NE(out_.find("-help"), std::string::npos) << out_;
}

TEST_F(Kypacket, ConvertCarriesDebugFilesBetweenAllFourMethods) {
    const ioWriteMethod methods[] = {ioWriteAscii, ioWriteBinary, ioWriteAsciiDebug,
                                     ioWriteBinaryDebug};
    const char* const names[] = {"ascii", "binary", "ascii-debug", "binary-debug"};
    for (int from = 2; from < 4; ++from) {
        const std::string source = writeSample(methods[from], "from.pkt");
        for (int to = 0; to < 4; ++to) {
            const std::string target = path(std::string("to-") + names[to]);
            ASSERT_EQ(run("convert \"" + source + "\" \"" + target + "\" --method " + names[to]), 0)
                << err_;
            // What the library itself writes for the same calls.
            EXPECT_EQ(read(target), read(writeSample(methods[to], "direct.pkt")))
                << names[from] << " -> " << names[to];
        }
    }
}

TEST_F(Kypacket, PlainBinaryGoesToTextBytesAndBackIdentical) {
    const std::string binary = writeSample(ioWriteBinary, "plain.pkt");
    ASSERT_EQ(run("convert \"" + binary + "\" \"" + path("plain.txt") + "\" -m ascii"), 0) << err_;
    const std::string text = read(path("plain.txt"));
    // The reference number stays a number; the other bytes become UChar values.
    EXPECT_NE(text.find("{ 2 1 1 251 255 255 255 \n  [ 97 125 0 \n  < 7 0 249 255 > ] }\n"),
              std::string::npos)
        << text;
    ASSERT_EQ(run("convert - - --method binary", path("plain.txt")), 0) << err_;
    EXPECT_EQ(out_, read(binary));

    // Text an application wrote in plain form carries no kinds: refused, saying why.
    const std::string plain = writeSample(ioWriteAscii, "app.txt");
    EXPECT_EQ(run("convert \"" + plain + "\" \"" + path("x.pkt") + "\" --method binary"), 1);
    EXPECT_NE(err_.find("cannot be typed"), std::string::npos) << err_;
    EXPECT_EQ(run("convert \"" + plain + "\" \"" + path("x.pkt") + "\" --method nonsense"), 64);
    EXPECT_EQ(run("convert \"" + plain + "\" \"" + path("x.pkt") + "\""), 64);
    EXPECT_EQ(run("convert \"" + binary + "\" \"" + path("no/such/dir/x.pkt") + "\" -m binary"), 2);
}

} // namespace
