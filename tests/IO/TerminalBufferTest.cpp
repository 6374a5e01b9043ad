// TerminalBufferTest.cpp - the buffers over descriptors, file ranges, IOStreams and sockets.
#include <Base/IO/internal/ioBufferFD.h>
#include <Base/IO/internal/ioBufferStream.h>
#include <Base/OS/kyOSMemoryIOStream.h>

#include "IOTestSupport.h"
#include <kyTestSupport.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

using iotest::name;
namespace fs = std::filesystem;

class TerminalBufferTest : public kytest::TempDirTest {};

TEST_F(TerminalBufferTest, DescriptorReadsWritesAndFailsToOpen) {
    iotest::put(path("one"), "z");
    ioBufferFD one(true);
    one.open(name(path("one")));
    char out[10];
    EXPECT_EQ(one.read(out, 10), 1);
    EXPECT_EQ(one.read(out, 10), 0);
    EXPECT_EQ(one.getStatus(), ioBufferEndOfData);
    for (bool truncate : {true, false}) {
        iotest::put(path("f"), "0123456789");
        ioBufferFD b(false);
        b.setTruncate(truncate);
        b.open(name(path("f")));
        b.write("ab", 2);
        EXPECT_EQ(b.tell(), 0);
        b.flush();
        EXPECT_TRUE(b.seek(-1)); // to the end
        EXPECT_EQ(b.tell(), truncate ? 2 : 10);
        b.close();
        EXPECT_TRUE(b.good());
        EXPECT_EQ(b.getFD(), -1);
        EXPECT_EQ(iotest::get(path("f")), truncate ? "ab" : "ab23456789");
    }
    if (!iotest::onWindows()) {
        ioBufferFD created(false);
        created.open(name(path("new")));
        EXPECT_EQ(fs::status(path("new")).permissions() & fs::perms::all,
                  fs::perms::owner_read | fs::perms::owner_write);
    }
    const std::string missing[] = {path("missing"), path("one/below"), ""};
    for (const std::string& p : missing) {
        ioBufferFD b(p != missing[1]);
        b.open(name(p));
        EXPECT_EQ(b.getStatus(), ioBufferOpenFailed) << p;
    }
    ioBufferFD attached(true);
    attached.attach(-1);
    EXPECT_EQ(attached.getStatus(), ioBufferOpenFailed);
    ioBufferFD none(false); // never opened: every use is an error
    none.writeBlock("x", 1);
    EXPECT_EQ(none.getStatus(), ioBufferError);
    EXPECT_FALSE(none.seek(0));
}

TEST_F(TerminalBufferTest, FileSubsetRanges) {
    iotest::put(path("15"), "abcdefghijklmno");
    struct Row {
        std::int64_t offset, size;
        std::string content; // "" for a range refused at open with status 2
    };
    const Row rows[] = {{10, 10, ""},   {0, 15, "abcdefghijklmno"},
                        {3, 4, "defg"}, {14, 1, "o"},
                        {-1, 3, ""},    {15, 0, ""},
                        {2, -5, ""},    {INT64_MAX, 9, ""}};
    for (const Row& row : rows) {
        ioBufferFileSubset s;
        s.open(name(path("15")), row.offset, row.size);
        EXPECT_EQ(s.good(), !row.content.empty()) << row.offset << "+" << row.size;
        char out[64];
        const int n = s.read(out, 64);
        EXPECT_EQ(std::string(out, static_cast<std::size_t>(n)), row.content);
        EXPECT_EQ(s.getStatus(), ioBufferEndOfData);
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
    ioBufferIOStream w(false);
    w.setStream(&memory);
    w.write("hello", 5);
    w.flush();
    w.close();
    EXPECT_EQ(w.getStream(), nullptr);
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
