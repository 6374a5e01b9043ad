// TerminalBufferTest.cpp - the buffers over descriptors, file ranges, IOStreams and sockets.
#include <Base/IO/internal/ioBufferFD.h>
#include <Base/IO/internal/ioBufferStream.h>
#include <Base/OS/kyOSMemoryIOStream.h>
#include <Base/OS/shared/kyOSDescriptorCalls.h>

#include "IOTestSupport.h"
#include <kyTestSupport.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

using iotest::name;
namespace fs = std::filesystem;

class TerminalBufferTest : public kytest::TempDirTest {};

TEST_F(TerminalBufferTest, DescriptorReadOfAOneByteFile) {
    iotest::put(path("one"), "z");
    ioBufferFD b(true);
    b.open(name(path("one")));
    ASSERT_TRUE(b.good());
    char out[10];
    EXPECT_EQ(b.read(out, 10), 1);
    EXPECT_EQ(out[0], 'z');
    EXPECT_EQ(b.read(out, 10), 0);
    EXPECT_EQ(b.getStatus(), ioBufferEndOfData);
    b.close();
    EXPECT_EQ(b.getFD(), -1);
    EXPECT_EQ(b.getBufferType(), ioBufferTypeFD);
}

TEST_F(TerminalBufferTest, DescriptorOpenAndAttachFailures) {
    struct Row {
        bool reading;
        std::string path;
    };
    iotest::put(path("plain"), "x");
    const Row rows[] = {{true, path("missing")}, {false, path("plain/below")}, {true, ""}};
    for (const Row& row : rows) {
        ioBufferFD b(row.reading);
        b.open(name(row.path));
        EXPECT_EQ(b.getStatus(), ioBufferOpenFailed) << row.path;
        EXPECT_FALSE(b.isOpen());
    }
    ioBufferFD attached(true);
    attached.attach(-1);
    EXPECT_EQ(attached.getStatus(), ioBufferOpenFailed);
    // Unopened: every transfer is an error.
    ioBufferFD none(false);
    none.writeBlock("x", 1);
    EXPECT_EQ(none.getStatus(), ioBufferError);
    EXPECT_FALSE(none.seek(0));
    EXPECT_EQ(none.tell(), -1);
}

TEST_F(TerminalBufferTest, DescriptorWritesTruncatesOrKeepsAndSeeks) {
    for (bool truncate : {true, false}) {
        iotest::put(path("f"), "0123456789");
        ioBufferFD b(false);
        b.setTruncate(truncate);
        b.open(name(path("f")));
        b.write("ab", 2);
        b.flush();
        EXPECT_EQ(b.tell(), 2);
        EXPECT_TRUE(b.seek(-1));
        EXPECT_EQ(b.tell(), truncate ? 2 : 10);
        b.close();
        EXPECT_TRUE(b.good());
        EXPECT_EQ(iotest::get(path("f")), truncate ? "ab" : "ab23456789");
    }
    if (!iotest::onWindows()) {
        ioBufferFD created(false);
        created.open(name(path("new")));
        created.close();
        EXPECT_EQ(fs::status(path("new")).permissions() & fs::perms::all,
                  fs::perms::owner_read | fs::perms::owner_write);
    }
}

TEST_F(TerminalBufferTest, DiskFullIsStatusThree) {
    ioBufferFD b(false);
    b.open(name("/dev/full"));
    if (!b.good()) {
        GTEST_SKIP() << "no /dev/full on this system";
    }
    b.write("data", 4);
    b.flush();
    EXPECT_EQ(b.getStatus(), ioBufferDiskFull);
}

TEST_F(TerminalBufferTest, ADescriptorClosedUnderTheBufferIsAnError) {
    iotest::put(path("r"), "abc");
    for (bool reading : {true, false}) {
        ioBufferFD b(reading);
        b.open(name(path("r")));
        int error = 0;
        ASSERT_EQ(kyOS::shared::closeDescriptor(b.getFD(), &error), 0);
        char out[4] = {'x', 'y', 'z', 'w'};
        if (reading) {
            EXPECT_EQ(b.read(out, 4), 0);
        } else {
            b.write(out, 4);
            b.flush();
        }
        EXPECT_EQ(b.getStatus(), ioBufferError) << reading;
        b.close(); // the second close fails too
        EXPECT_EQ(b.getFD(), -1);
    }
}

TEST_F(TerminalBufferTest, FileSubsetRanges) {
    std::string bytes;
    for (int i = 0; i < 15; ++i) {
        bytes += static_cast<char>('a' + i);
    }
    iotest::put(path("15"), bytes);
    struct Row {
        std::int64_t offset, size;
        ioBufferStatus afterOpen;
        std::string content;
    };
    const Row rows[] = {
        {10, 10, ioBufferEndOfData, ""}, {0, 15, ioBufferGood, bytes},
        {3, 4, ioBufferGood, "defg"},    {14, 1, ioBufferGood, "o"},
        {-1, 3, ioBufferEndOfData, ""},  {15, 0, ioBufferEndOfData, ""},
        {2, -5, ioBufferEndOfData, ""},  {INT64_MAX, INT64_MAX, ioBufferEndOfData, ""},
    };
    for (const Row& row : rows) {
        ioBufferFileSubset s;
        s.open(name(path("15")), row.offset, row.size);
        EXPECT_EQ(s.getStatus(), row.afterOpen) << row.offset << "+" << row.size;
        if (s.good()) {
            char out[64];
            const int n = s.read(out, 64);
            EXPECT_EQ(std::string(out, static_cast<std::size_t>(n)), row.content);
            EXPECT_EQ(s.getStatus(), ioBufferEndOfData);
        }
    }
    ioBufferFileSubset s;
    s.open(name(path("15")), 3, 4);
    EXPECT_TRUE(s.seek(3));
    EXPECT_EQ(s.tell(), 3);
    char c = 0;
    EXPECT_EQ(s.read(&c, 1), 1);
    EXPECT_EQ(c, 'g');
    EXPECT_FALSE(s.seek(4)); // exactly the end is refused
    EXPECT_EQ(s.getStatus(), ioBufferEndOfData);
    ioBufferFileSubset missing;
    missing.open(name(path("none")), 0, 1);
    EXPECT_EQ(missing.getStatus(), ioBufferOpenFailed);
}

TEST_F(TerminalBufferTest, StreamAndSocketBuffersEndDifferently) {
    kyOS::MemoryIOStream memory;
    {
        ioBufferIOStream w(false);
        w.setStream(&memory);
        w.write("hello", 5);
        w.flush();
        w.close();
        EXPECT_EQ(w.getStream(), nullptr);
    }
    ioBufferIOStream r(true);
    r.setStream(&memory);
    char out[8];
    EXPECT_EQ(r.read(out, 8), 5);
    EXPECT_EQ(r.getStatus(), ioBufferEndOfData);
    EXPECT_EQ(r.getError().code(), 3);

    memory.rewind();
    ioBufferTCP t(true);
    t.setSocketStream(&memory);
    EXPECT_EQ(t.read(out, 8), 5);
    EXPECT_EQ(t.getStatus(), ioBufferError); // a connection does not end quietly

    ioBufferTCP none(true);
    none.setSocketStream(nullptr);
    EXPECT_EQ(none.getStatus(), ioBufferError);
    none.setStatus(ioBufferGood);
    EXPECT_EQ(none.readBlock(out, 8), 0);
    EXPECT_EQ(none.getStatus(), ioBufferError);
    ioBufferIOStream unset(false);
    unset.writeBlock("x", 1);
    EXPECT_EQ(unset.getStatus(), ioBufferError);
}

} // namespace
