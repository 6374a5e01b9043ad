// KypacketTest.cpp - the packet-file tool run as a program on files made by the library: each
// command's output for a small file line by line, and every exit code from a real cause.
#include "PacketTestSupport.h"

#include <Base/IO/ioPacketRegistry.h>

#include <kyTestSupport.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

class Kypacket : public kytest::TempDirTest {
protected:
    void SetUp() override {
        kytest::TempDirTest::SetUp();
#ifndef KYPACKET_PATH
        GTEST_SKIP() << "the tools are not part of this build";
#endif
    }

    // Two "node" packets: one with a value, a chunk holding a text and a sub-packet with an
    // array; one using that node and a number never defined.
    std::string writeSample(ioWriteMethod method, const std::string& leaf) {
        kyOS::MemoryIOStream memory;
        ioBufferedStreamOutput out;
        out.openIOStream(&memory);
        ioSimplePacketRegistry registry;
        registry.add("node");
        std::unique_ptr<ioWriteContext> w(ioWriteContextAlloc(out, method, &registry));
        int first = 0;
        int second = 0;
        int never = 0;
        const short values[2] = {7, -7};
        w->startFile();
        w->startPacket("node", &first);
        w->writeInt(-5);
        w->startChunk();
        w->writeCString("a}");
        w->startSubPacket();
        w->writeShortArray(values, 2);
        w->endSubPacket();
        w->endPacket();
        w->startPacket("node", &second);
        w->writeReference(&first, false);
        w->writeReference(&never, false);
        w->endPacket();
        w->endFile();
        EXPECT_EQ(w->getStatus(), ioGood);
        out.close();
        const std::string name = path(leaf);
        std::ofstream(name, std::ios::binary) << packettest::contents(memory);
        return name;
    }

    // Runs the tool; its exit code, standard output and standard error.
    int run(const std::string& arguments, const std::string& input = "") {
#ifdef KYPACKET_PATH
        const char* const program = KYPACKET_PATH;
#else
        const char* const program = "kypacket";
#endif
        std::string exe = program;
        std::string command = "\"" + exe + "\" " + arguments +
                              (input.empty() ? "" : " < \"" + input + "\"") + " > \"" +
                              path("out.txt") + "\" 2> \"" + path("err.txt") + "\"";
        const bool windows = exe.size() > 4 && exe.compare(exe.size() - 4, 4, ".exe") == 0;
        if (windows) {
            // A Windows program built elsewhere and run under the command interpreter: the
            // build tree's POSIX path is reached through drive Z:, and the interpreter takes
            // the outermost quotes off the whole line.
            if (exe[0] == '/') {
                command = "\"Z:" + command.substr(1);
            }
            command = "\"" + command + "\"";
        }
        const int status = std::system(command.c_str());
        out_ = read(path("out.txt"));
        err_ = read(path("err.txt"));
        // POSIX puts the code in the second byte; Windows hands it back as it is.
        return (status & 0xFF) == 0 ? status >> 8 : status;
    }

    static std::string read(const std::string& name) {
        std::ifstream in(name, std::ios::binary);
        std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        std::string clean;
        for (char c : text) {
            if (c != '\r') {
                clean += c;
            }
        }
        return clean;
    }

    static std::vector<std::string> lines(const std::string& text) {
        std::vector<std::string> out;
        std::istringstream in(text);
        for (std::string line; std::getline(in, line);) {
            out.push_back(line);
        }
        return out;
    }

    void expectLines(const std::string& text, const std::vector<std::string>& expected) {
        const std::vector<std::string> got = lines(text);
        ASSERT_EQ(got.size(), expected.size()) << text;
        for (std::size_t i = 0; i < got.size(); ++i) {
            EXPECT_EQ(got[i], expected[i]) << "line " << i + 1;
        }
    }

    std::string out_;
    std::string err_;
};

TEST_F(Kypacket, DumpShowsTheTreeOfADebugFile) {
    const std::string file = writeSample(ioWriteBinaryDebug, "sample.pkt");
    ASSERT_EQ(run("dump \"" + file + "\""), 0) << err_;
    expectLines(out_,
                {file + ": packet file version 1, little-endian, method 3 (binary-debug)",
                 "registry:", "     0 packetFile_string", "     1 packetFile_EOF", "     2 node",
                 "packets:", "  node (2) @82, 42 bytes, reference 1", "    Int -5",
                 "    chunk @105", "      CString \"a}\"", "      sub-packet @114",
                 "        ShortArray 7 -7", "  node (2) @124, 30 bytes, reference 2",
                 "    Reference 1", "    Reference 3", "  packetFile_EOF (1) @154, 12 bytes"});
    EXPECT_EQ(err_, "");
}

TEST_F(Kypacket, DumpShowsTheBytesOfPlainFiles) {
    const std::string binary = writeSample(ioWriteBinary, "plain.pkt");
    ASSERT_EQ(run("dump \"" + binary + "\""), 0) << err_;
    const std::vector<std::string> got = lines(out_);
    ASSERT_GE(got.size(), 15u);
    EXPECT_EQ(got[0], binary + ": packet file version 1, little-endian, method 1 (binary)");
    EXPECT_EQ(got[6], "  node (2) @82, 37 bytes, reference 1");
    EXPECT_EQ(got[7], "    values @98, 4 bytes");
    EXPECT_EQ(got[8], "      fb ff ff ff                                      |....|");
    EXPECT_EQ(got[9], "    chunk @102");
    EXPECT_EQ(got[10], "      values @107, 3 bytes");
    EXPECT_EQ(got[11], "        61 7d 00                                         |a}.|");
    EXPECT_EQ(got[12], "      sub-packet @110");

    const std::string text = writeSample(ioWriteAscii, "plain.txt");
    ASSERT_EQ(run("dump \"" + text + "\""), 0) << err_;
    const std::vector<std::string> words = lines(out_);
    ASSERT_GE(words.size(), 10u);
    EXPECT_EQ(words[0], text + ": packet file version 1, little-endian, method 0 (ascii)");
    EXPECT_EQ(words[6], "  node (2) @82, 37 bytes, reference 1");
    EXPECT_EQ(words[7], "    values @90, 2 bytes");
    EXPECT_EQ(words[8], "      2d 35                                            |-5|");
}

TEST_F(Kypacket, StatsCountsTypesBytesAndReferences) {
    const std::string file = writeSample(ioWriteAsciiDebug, "sample.txt");
    ASSERT_EQ(run("stats -", file), 0) << err_;
    expectLines(out_, {"-: 3 packets", "  type                        packets        bytes",
                       "  packetFile_EOF                    1            7",
                       "  node                              2           72",
                       "references defined: 2", "references used: 2", "references unresolved: 1"});
}

TEST_F(Kypacket, CheckAndExitCodes) {
    const std::string file = writeSample(ioWriteBinaryDebug, "sample.pkt");
    EXPECT_EQ(run("check \"" + file + "\""), 0);
    EXPECT_EQ(out_, file + ": ok, 3 packets, 3 types\n");

    // Cut inside the second packet's body; a wrong tag; a type id beyond the registry.
    const std::string bytes = read(file);
    const std::string cut = path("cut.pkt");
    std::ofstream(cut, std::ios::binary) << bytes.substr(0, 140);
    EXPECT_EQ(run("check \"" + cut + "\""), 1);
    EXPECT_EQ(err_, cut + ": offset 132: a packet body that runs past the end of the file\n");
    std::string bad = bytes;
    bad[82 + 12 + 6] = 'x'; // the Int's tag
    std::ofstream(path("tag.pkt"), std::ios::binary) << bad;
    EXPECT_EQ(run("check \"" + path("tag.pkt") + "\""), 1);
    EXPECT_EQ(err_, path("tag.pkt") + ": offset 100: values that do not read as tagged values\n");
    bad = bytes;
    bad[124] = 9;
    std::ofstream(path("id.pkt"), std::ios::binary) << bad;
    EXPECT_EQ(run("check \"" + path("id.pkt") + "\""), 1);
    EXPECT_EQ(err_, path("id.pkt") + ": offset 124: type id 9 is not in the registry\n");
    const std::string text = read(writeSample(ioWriteAscii, "sample.txt"));
    std::ofstream(path("open.txt"), std::ios::binary) << text.substr(0, text.size() - 3);
    EXPECT_EQ(run("check \"" + path("open.txt") + "\""), 1);
    EXPECT_NE(err_.find("a packet without its closing brace"), std::string::npos) << err_;

    EXPECT_EQ(run("check \"" + path("missing.pkt") + "\""), 2);
    EXPECT_EQ(err_, path("missing.pkt") + ": offset 0: cannot be read\n");
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
