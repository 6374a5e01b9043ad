// StreamTest.cpp - buffered streams and the packet-file header, over files and memory.
#include <Base/IO/internal/ioBuffer.h>
#include <Base/IO/ioBufferedStream.h>
#include <Base/IO/ioHeader.h>
#include <Base/OS/kyOSMemoryIOStream.h>
#include <Base/TCP/kyTCPServer.h>
#include <Base/TCP/kyTCPSocket.h>

#include "IOTestSupport.h"
#include <kyTestProcess.h>
#include <kyTestSupport.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

namespace {

using iotest::name;

class StreamTest : public kytest::TempDirTest {
protected:
    // An input stream over `bytes` in memory.
    void feed(ioBufferedStreamInput& in, const std::string& bytes) {
        memory_.clear();
        std::size_t put = 0;
        ASSERT_TRUE(memory_.write(bytes.data(), bytes.size(), &put).ok());
        in.openIOStream(&memory_);
    }
    kyOS::MemoryIOStream memory_;
};

// Reaches the protected chain operations, to put a buffer with a given status or type on top.
class OpenInput : public ioBufferedStreamInput {
public:
    using ioBufferedStream::addBufferToChain;
    using ioBufferedStream::promoteBufferStatus;
    using ioBufferedStream::setStatus;
};

class FakeFilter : public ioBuffer {
public:
    FakeFilter(int type, ioBufferStatus status) : ioBuffer(true, 4), type_(type) {
        setStatus(status);
    }
    int getBufferType() override { return type_; }
    void close() override {}
    int readBlock(char*, int) override { return 0; }
    void writeBlock(const char*, int) override {}
    void finish() override { ++finished; }
    static int finished;

private:
    int type_;
};
int FakeFilter::finished = 0;

TEST_F(StreamTest, BufferStatusesTranslateByTheirTable) {
    const ioStreamStatus expected[] = {
        ioStreamChecksumMismatch, ioStreamOpenFailed,      ioStreamEndOfFile, ioStreamDiskFull,
        ioStreamChecksumMismatch, ioStreamEndOfCompressed, ioStreamError};
    for (int b = 0; b <= 6; ++b) {
        OpenInput in;
        in.setStatus(ioStreamChecksumMismatch); // a good buffer never clears it
        in.addBufferToChain(new FakeFilter(99, static_cast<ioBufferStatus>(b)));
        in.promoteBufferStatus();
        EXPECT_EQ(in.getStatus(), expected[b]) << "buffer status " << b;
    }
}

TEST_F(StreamTest, FiltersSwitchOnAndOff) {
    OpenInput in;
    feed(in, "abc");
    in.compress(true); // a build without the filter refuses it and keeps the chain as it was
    if (in.good()) {
        in.compress(false);
    }
    EXPECT_TRUE(in.good() || in.getStatus() == ioStreamError);
    in.resetStatus();
    struct Row {
        int type;
        void (ioBufferedStream::*off)(bool);
        ioStreamStatus before, after;
    };
    const Row rows[] = {
        {1, &ioBufferedStream::compress, ioStreamEndOfCompressed, ioStreamGood},
        {2, &ioBufferedStream::checksum, ioStreamEndOfCompressed, ioStreamEndOfCompressed},
        {4, &ioBufferedStream::encrypt, ioStreamGood, ioStreamGood},
        {2, &ioBufferedStream::compress, ioStreamGood, ioStreamError}, // not the one on top
    };
    for (const Row& row : rows) {
        FakeFilter::finished = 0;
        in.addBufferToChain(new FakeFilter(row.type, ioBufferGood));
        in.setStatus(row.before);
        (in.*row.off)(false);
        EXPECT_EQ(in.getStatus(), row.after) << row.type;
        EXPECT_EQ(FakeFilter::finished, row.after == ioStreamError ? 0 : 1);
    }
    in.resetStatus();
    in.checksum(false); // the last row's filter, still on top
    EXPECT_EQ(in.readChar(), 'a');
    in.encrypt(false); // only the terminal buffer is left: refused
    EXPECT_EQ(in.getStatus(), ioStreamError);
}

TEST_F(StreamTest, ReadIntReadLineAndReadChar) {
    struct Row {
        std::string text;
        int value;
        char next;
    };
    const Row ints[] = {{"  -42x!", -42, '!'},
                        {"\t\n7 8", 7, '8'},
                        {"\r5", 0, '5'},
                        {"12", 12, 0},
                        {"-", 0, 0},
                        {"--3", 0, '3'},
                        {"", 0, 0},
                        {"00099;", 99, 0},
                        {std::string(45, '1'), std::atoi(std::string(39, '1').c_str()), '1'}};
    for (const Row& row : ints) {
        ioBufferedStreamInput in;
        feed(in, row.text);
        EXPECT_EQ(in.readInt(), row.value) << row.text;
        if (row.next != 0) {
            EXPECT_EQ(in.readChar(), row.next) << row.text;
        }
    }
    ioBufferedStreamInput in;
    feed(in, "ab\ncdefg\nh");
    char line[8];
    // The last two: the data ends, and the byte read then is stored as 0; then a bad status.
    const std::pair<int, const char*> lines[] = {{1, ""},     {8, "ab\n"}, {4, "cde"},
                                                 {8, "fg\n"}, {8, "h"},    {8, ""}};
    for (const auto& expected : lines) {
        std::memset(line, 'x', sizeof line);
        in.readLine(line, expected.first);
        EXPECT_STREQ(line, expected.second) << expected.first;
    }
    EXPECT_EQ(in.getStatus(), ioStreamEndOfFile);
    in.readLine(nullptr, 8);
    char data[4];
    EXPECT_EQ(in.readData(data, 4), 0);
    in.close();
    EXPECT_FALSE(in.isOpen());
    in.resetStatus();
    EXPECT_EQ(in.readChar(), 0);
    EXPECT_EQ(in.getStatus(), ioStreamError); // a closed stream
}

TEST_F(StreamTest, OutputRoundTripsThroughEveryWriter) {
    ioBufferedStreamOutput out;
    out.openFile(name(path("o")));
    out.writeChar('<');
    out.writeString("text ");
    out.writeString(nullptr);
    out.writeData("\0data", 5);
    out.printf("%d-%s-%S", 42, "narrow", L"wide");
    out.printf("%s", std::string(2000, 'L').c_str());
    EXPECT_EQ(out.tell(), 25 + 1023);
    out.close();
    EXPECT_TRUE(out.good());
    EXPECT_EQ(iotest::get(path("o")),
              std::string("<text \0data42-narrow-wide", 25) + std::string(1023, 'L'));
    EXPECT_EQ(ioBufferedStream::fileSize(name(path("o"))), 25 + 1023);
    EXPECT_EQ(ioBufferedStream::fileSize(name("")), -1);
    EXPECT_EQ(ioBufferedStream::fileSize(name(path("none"))), -1);

    ioBufferedStreamInput in;
    in.openFile(name(path("o")));
    EXPECT_TRUE(in.seek(7));
    char got[8];
    EXPECT_EQ(in.readData(got, 4), 4);
    EXPECT_EQ(std::string(got, 4), "data");
    EXPECT_EQ(in.tell(), 25 + 1023);
    in.openFile(name(path("none")));
    EXPECT_EQ(in.getStatus(), ioStreamOpenFailed);
    EXPECT_FALSE(in.isOpen());
    in.openFileSlice(name(path("o")), 1, 4);
    EXPECT_EQ(in.readData(got, 8), 4);
    EXPECT_EQ(std::string(got, 4), "text");
    in.openFileSlice(name(path("o")), 2000, 4); // past the end: open, at end of file
    EXPECT_EQ(in.getStatus(), ioStreamEndOfFile);
    EXPECT_TRUE(in.isOpen());
}

// Output failures from real causes: a path through a plain file (even root cannot create
// it; the failed open shows only at the first transfer, deliberately) and a full device.
TEST_F(StreamTest, OutputFailuresShowAtTheFirstTransfer) {
    iotest::put(path("plain"), "x");
    const std::pair<std::string, ioStreamStatus> rows[] = {
        {path("plain/below"), ioStreamOpenFailed}, {"/dev/full", ioStreamDiskFull}};
    for (const auto& row : rows) {
        for (int how = 0; how < 3; ++how) {
            ioBufferedStreamOutput out;
            out.openFile(name(row.first));
            EXPECT_TRUE(out.good() && out.isOpen());
            how == 0 ? out.flush() : how == 1 ? out.writeString("abc") : out.writeChar('a');
            out.close();
            if (out.getStatus() == ioStreamOpenFailed && row.second == ioStreamDiskFull) {
                GTEST_SKIP() << "no /dev/full on this system";
            }
            EXPECT_EQ(out.getStatus(), how == 0 && row.second == ioStreamDiskFull
                                           ? ioStreamGood // nothing was written
                                           : row.second)
                << row.first << " " << how;
        }
    }
}

TEST_F(StreamTest, ClosingAStdoutStreamClosesTheDescriptor) {
    if (iotest::onWindows()) {
        GTEST_SKIP() << "checked in a forked child";
    }
    const auto seen = kytest::runInChild(
        [] {
            ioBufferedStreamOutput out;
            out.openStdout();
            out.close();
            ioBufferedStreamOutput again;
            again.openStdout();
            again.writeString("lost");
            again.close();
            return std::to_string(out.getStatus()) + " " + std::to_string(again.getStatus());
        },
        false);
    ASSERT_TRUE(seen.has_value());
    EXPECT_EQ(*seen, "0 6");
}

TEST_F(StreamTest, HeaderBytesAndReadMethods) {
    ioBufferedStreamOutput out;
    out.openFile(name(path("h")));
    ioHeader(ioWriteBinary).writeHeader(out);
    ioHeader big(ioWriteAsciiDebug);
    big.littleEndian = false;
    big.writeHeader(out);
    out.close();
    EXPECT_EQ(iotest::get(path("h")),
              std::string("^@\n1\n1 1 1\n1 2 4 8 4 8 8\n@\n^@\n1\n0 2 1\n1 2 4 8 4 8 8\n@\n"));

    struct Row {
        std::string text;
        bool valid;
        int method;
        ioReadMethod read;
    };
    const std::string sizes = "\n1 2 4 8 4 8 8\n@\n";
    const Row rows[] = {
        {"^@\n1\n1 0 1" + sizes, true, 0, ioReadAscii},
        {"^@\n1\n1 1 1" + sizes, true, 1, ioReadBinarySameEndian},
        {"^@\n1\n0 1 1" + sizes, true, 1, ioReadBinarySwapped},
        {"^@\n1\n1 2 1" + sizes, true, 2, ioReadAsciiDebug},
        {"^@\n1\n1 3 1" + sizes, true, 3, ioReadBinarySameEndianDebug},
        {"^@\n1\n0 3 1" + sizes, true, 3, ioReadBinarySwappedDebug},
        {"^@\n1\n1 4 1" + sizes, true, -1, ioReadUnknown},
        {"^@\n1\n1 -7 1" + sizes, true, -1, ioReadUnknown},
        {"^@\n1\n1 1 0" + sizes, false, 1, ioReadBinarySameEndian},
        {"^@\n1\n1 0 0" + sizes, true, 0, ioReadAscii},
        {"^@\n1\n1 1 1\n1 2 4 4 4 8 8\n@\n", false, 1, ioReadBinarySameEndian},
        {"^@\n1\n1 0 1\n1 2 4 4 4 8 8\n@\n", true, 0, ioReadAscii},
        {"^@\n1\n1 1 1\n1 2 4 8 4 8 4\n@\n", true, 1, ioReadBinarySameEndian},
        {"^@\n1\n1 3 1\n1 2 4 8 8 8 8\n@\n", false, 3, ioReadBinarySameEndianDebug},
        {"^@\r\n1\n1 0 1" + sizes, false, 0, ioReadUnknown},
        {"^@\n1\n1 0 1\n1 2 4 8 4 8 8\n", false, 0, ioReadUnknown},
        {"^@", false, 0, ioReadUnknown},
        {"", false, 0, ioReadUnknown},
        {"@@\n", false, 0, ioReadUnknown},
    };
    for (const Row& row : rows) {
        ioBufferedStreamInput in;
        feed(in, row.text + "rest");
        ioHeader h;
        EXPECT_EQ(h.readHeader(in), row.valid) << row.text;
        EXPECT_EQ(h.valid, row.valid) << row.text;
        if (row.read != ioReadUnknown || row.method == -1) {
            EXPECT_EQ(static_cast<int>(h.writeMethod), row.method) << row.text;
            EXPECT_EQ(h.determineReadMethod(), row.read) << row.text;
        }
        if (row.valid) {
            char rest[5] = {};
            EXPECT_EQ(in.readData(rest, 4), 4);
            EXPECT_STREQ(rest, "rest");
        }
    }
}

// A packet-file header and text through a real loopback connection, both ends as streams;
// closing the output stream leaves the socket open (the stream never owns it).
TEST_F(StreamTest, SocketStreamsCarryBytesBothWaysAndLeaveTheSocketOpen) {
    kyTCP::Server server(-1, 4);
    server.setLoopbackOnly();
    ASSERT_TRUE(server.listen().ok());
    kyTCP::ClientSocket client(kyTCP::Address("127.0.0.1", server.getPort()));
    ASSERT_TRUE(client.connect().ok());
    std::pair<kyTCP::Socket*, kyUtil::Error> a = server.accept(kyUtil::Interval(10, 0));
    ASSERT_TRUE(a.second.ok());
    std::unique_ptr<kyTCP::Socket> accepted(a.first);
    ASSERT_NE(accepted, nullptr);

    ioBufferedStreamOutput out;
    out.openSocket(&client);
    ASSERT_TRUE(out.good());
    ioHeader(ioWriteBinary).writeHeader(out);
    out.printf("%d %s\n", -42, "over the wire");
    out.close();
    ASSERT_TRUE(out.good());
    EXPECT_TRUE(client.isConnected());

    ioBufferedStreamInput in;
    in.openSocket(accepted.get());
    ASSERT_TRUE(in.good());
    ioHeader h;
    ASSERT_TRUE(h.readHeader(in));
    EXPECT_EQ(h.determineReadMethod(), ioReadBinarySameEndian);
    EXPECT_EQ(in.readInt(), -42);
    char line[32];
    in.readLine(line, sizeof line);
    EXPECT_STREQ(line, "over the wire\n");

    ioBufferedStreamInput none;
    none.openSocket(nullptr);
    EXPECT_EQ(none.getStatus(), ioStreamError);
}

} // namespace
