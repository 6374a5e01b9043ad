// FilterStreamTest.cpp - the filters as a stream switches them on and off in the middle of
// its data, over a stream in memory.
#include <Base/IO/ioBufferedStream.h>
#include <Base/OS/kyOSMemoryIOStream.h>

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

TEST(FilterStream, StackedSectionsBetweenPlainBytes) {
    std::mt19937 random(21);
    std::string data(50000, '\0');
    for (std::size_t i = 0; i < data.size(); ++i) {
        data[i] = static_cast<char>(i % 7000 < 3500 ? 'a' + random() % 5 : random());
    }
    kyOS::MemoryIOStream memory;
    {
        ioBufferedStreamOutput out;
        out.openIOStream(&memory);
        out.writeString("head");
        out.compress(true);
        out.checksum(true);
        out.encrypt(true);
        out.writeData(data.data(), static_cast<int>(data.size()));
        out.encrypt(false);
        out.checksum(false);
        out.compress(false);
        out.writeString("tail");
        EXPECT_TRUE(out.good());
        out.close();
        EXPECT_TRUE(out.good());
    }

    ioBufferedStreamInput in;
    in.openIOStream(&memory);
    char head[4];
    EXPECT_EQ(in.readData(head, 4), 4);
    in.compress(true);
    in.checksum(true);
    in.encrypt(true);
    std::string back(data.size(), '\0');
    EXPECT_EQ(in.readData(&back[0], static_cast<int>(back.size())), static_cast<int>(data.size()));
    EXPECT_TRUE(back == data);
    in.encrypt(false);
    EXPECT_EQ(in.getStatus(), ioStreamGood);
    in.checksum(false);
    EXPECT_EQ(in.getStatus(), ioStreamGood);
    in.compress(false);
    EXPECT_EQ(in.getStatus(), ioStreamGood);
    char tail[5] = {};
    EXPECT_EQ(in.readData(tail, 4), 4);
    EXPECT_EQ(std::string(tail), "tail");
}

} // namespace
