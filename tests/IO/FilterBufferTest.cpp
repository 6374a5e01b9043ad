// FilterBufferTest.cpp - the compression, checksum and encryption buffers over a buffer in
// memory: their framing byte for byte, round trips alone and stacked, and damaged input.
#include "IOTestSupport.h"

#include <Base/IO/internal/ioChecksum.h>
#include <Base/IO/internal/ioFilterBuffers.h>
#include <Base/IO/ioCipher.h>

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using iotest::MemoryBuffer;

enum Filter { kCompress, kChecksum, kEncrypt };

ioBuffer* make(Filter f, bool reading) {
    if (f == kCompress) {
        return new ioBufferCompress(reading);
    }
    if (f == kChecksum) {
        return new ioBufferChecksum(reading);
    }
    return new ioBufferEncrypt(reading);
}

// Pushes filters on a buffer as a stream does.
ioBuffer* push(ioBuffer* top, Filter f) {
    ioBuffer* filter = make(f, top->isReading());
    filter->setNext(top);
    return filter;
}

ioBuffer* pop(ioBuffer* top) {
    ioBuffer* below = top->detachNext();
    delete top;
    return below;
}

std::string randomText(std::size_t size, unsigned seed) {
    std::mt19937 random(seed);
    std::string s(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        // Half the blocks compressible, half not.
        s[i] = static_cast<char>((i / 3000) % 2 == 0 ? 'a' + random() % 3 : random());
    }
    return s;
}

// Writes `data` in uneven pieces through the filters, then `tail` plainly after them.
std::string writeThrough(const std::vector<Filter>& filters, const std::string& data,
                         const std::string& tail) {
    MemoryBuffer* memory = new MemoryBuffer(false);
    ioBuffer* top = memory;
    for (Filter f : filters) {
        top = push(top, f);
    }
    for (std::size_t at = 0, piece = 1; at < data.size(); at += piece, piece = piece * 7 % 5003) {
        piece = std::min(piece, data.size() - at);
        top->write(data.data() + at, static_cast<int>(piece));
    }
    for (std::size_t i = 0; i < filters.size(); ++i) {
        top = pop(top);
    }
    top->write(tail.data(), static_cast<int>(tail.size()));
    top->flushChain();
    EXPECT_TRUE(top->good());
    std::string out = memory->sink;
    delete top;
    return out;
}

// Reads it back the same way; returns the status the top filter ended in.
ioBufferStatus readThrough(const std::vector<Filter>& filters, const std::string& stream,
                           std::size_t size, std::string& data, std::string& tail) {
    ioBuffer* top = new MemoryBuffer(true, 4096, stream);
    for (Filter f : filters) {
        top = push(top, f);
    }
    data.assign(size, '\0');
    data.resize(static_cast<std::size_t>(top->read(&data[0], static_cast<int>(size))));
    // Compressed and encrypted data have an end mark to meet; checksum frames have none, so a
    // reader past the last frame would take what follows for a frame.
    char probe;
    if (filters.back() != kChecksum) {
        top->read(&probe, 1);
    }
    const ioBufferStatus status = top->getStatus();
    for (std::size_t i = 0; i < filters.size(); ++i) {
        top = pop(top);
    }
    top->setStatus(ioBufferGood);
    char rest[64];
    tail.assign(rest, static_cast<std::size_t>(top->read(rest, sizeof rest)));
    delete top;
    return status;
}

TEST(FilterBuffers, ChecksumFrameByteForByte) {
    // "abc": sum 0x6261 + 0x0063 = 0x62C4, written low byte first.
    const std::string framed = writeThrough({kChecksum}, "abc", "");
    EXPECT_EQ(framed, std::string("\x00\x00\x00\x03\xFF\xFF\xFF\xFC\xC4\x62"
                                  "abc",
                                  13));
}

TEST(FilterBuffers, EncryptFramingByteForByte) {
    const std::string data = randomText(17, 4);
    const std::string framed = writeThrough({kEncrypt}, data, "");
    ASSERT_EQ(framed.size(), 20u);
    EXPECT_EQ(framed[0], 1);  // word order
    EXPECT_EQ(framed[1], 17); // piece length
    unsigned char schedule[240];
    unsigned char block[16];
    fdblarccos2_(ioDetail::kCipherKey, schedule);
    data.copy(reinterpret_cast<char*>(block), 16);
    fdblhypsin2_(schedule, block);
    EXPECT_EQ(framed.substr(2, 16), std::string(reinterpret_cast<char*>(block), 16));
    EXPECT_EQ(framed[18], data[16]); // the tail goes out as it is
    EXPECT_EQ(framed[19], 0);        // the end of the data
    // A reader told the words were written in the other order reverses them first.
    std::string swapped = framed;
    swapped[0] = 0;
    for (std::size_t i = 2; i < 18; i += 4) {
        std::swap(swapped[i], swapped[i + 3]);
        std::swap(swapped[i + 1], swapped[i + 2]);
    }
    std::string back;
    std::string tail;
    EXPECT_EQ(readThrough({kEncrypt}, swapped, 17, back, tail), ioBufferEndOfData);
    EXPECT_EQ(back, data);
}

TEST(FilterBuffers, RoundTripsAloneAndStacked) {
    const std::vector<std::vector<Filter>> stacks = {{kCompress},
                                                     {kChecksum},
                                                     {kEncrypt},
                                                     {kCompress, kChecksum, kEncrypt},
                                                     {kEncrypt, kChecksum, kCompress}};
    const std::size_t sizes[] = {0, 1, 15, 16, 17, 239, 240, 241, 4095, 4096, 4097, 100000};
    for (const auto& stack : stacks) {
        for (std::size_t size : sizes) {
            const std::string data = randomText(size, static_cast<unsigned>(size));
            const std::string stream = writeThrough(stack, data, "after");
            std::string back;
            std::string tail;
            const ioBufferStatus status = readThrough(stack, stream, size, back, tail);
            EXPECT_EQ(back, data) << stack.size() << " " << size;
            EXPECT_EQ(tail, "after") << stack.size() << " " << size;
            // The top filter meets its end: the end code, or the end of the data.
            const ioBufferStatus expected = stack.back() == kCompress  ? ioBufferEndOfCompressed
                                            : stack.back() == kEncrypt ? ioBufferEndOfData
                                                                       : ioBufferGood;
            EXPECT_EQ(status, expected) << stack.size() << " " << size;
        }
    }
}

TEST(FilterBuffers, DamagedChecksumFrames) {
    const std::string good = writeThrough({kChecksum}, "hello", "");
    struct Case {
        const char* what;
        std::string stream;
        int returned; // what readBlock gives
        ioBufferStatus status;
    };
    std::string badSum = good;
    badSum[8] ^= 1;
    std::string badData = good;
    badData[12] ^= 0x40;
    std::string badLength = good;
    badLength[3] = 6;
    std::string zero = std::string("\x00\x00\x00\x00\xFF\xFF\xFF\xFF\x00\x00", 10);
    std::string huge = std::string("\x00\x01\x00\x00\xFF\xFE\xFF\xFF\x00\x00", 10);
    const Case cases[] = {
        {"good", good, 5, ioBufferGood},
        {"sum", badSum, 5, ioBufferChecksumMismatch},
        {"data", badData, 5, ioBufferChecksumMismatch},
        {"lengths disagree", badLength, -1, ioBufferChecksumMismatch},
        {"length 0", zero, -1, ioBufferChecksumMismatch},
        {"longer than a block", huge, -1, ioBufferChecksumMismatch},
        {"nothing", "", 0, ioBufferEndOfData},
        {"part of a head", good.substr(0, 7), -1, ioBufferError},
        {"part of the data", good.substr(0, 12), -1, ioBufferError},
    };
    for (const Case& c : cases) {
        ioBufferChecksum top(true);
        top.setNext(new MemoryBuffer(true, 4096, c.stream));
        char data[4096];
        EXPECT_EQ(top.readBlock(data, 4096), c.returned) << c.what;
        EXPECT_EQ(top.getStatus(), c.status) << c.what;
        if (c.returned == 5 && c.what[0] != 'd') {
            EXPECT_EQ(std::string(data, 5), "hello") << c.what;
        }
    }
}

TEST(FilterBuffers, DamagedEncryptedData) {
    const std::string good = writeThrough({kEncrypt}, randomText(300, 1), "");
    struct Case {
        const char* what;
        std::string stream;
        ioBufferStatus status;
    };
    std::string order = good;
    order[0] = 2;
    const Case cases[] = {
        {"unknown order", order, ioBufferError},
        {"no order byte", "", ioBufferEndOfData},
        {"short piece", good.substr(0, 100), ioBufferError},
        {"no end byte", good.substr(0, good.size() - 1), ioBufferEndOfData},
    };
    for (const Case& c : cases) {
        ioBuffer* top = push(new MemoryBuffer(true, 4096, c.stream), kEncrypt);
        char data[400];
        top->read(data, sizeof data);
        EXPECT_EQ(top->getStatus(), c.status) << c.what;
        delete top;
    }
}

// Every cut of a compressed section and every flipped bit end in a status, never a crash.
TEST(FilterBuffers, DamagedCompressedData) {
    const std::string data = randomText(2000, 8);
    const std::string stream = writeThrough({kCompress}, data, "");
    for (std::size_t cut = 0; cut < stream.size(); ++cut) {
        std::string back;
        std::string tail;
        EXPECT_EQ(readThrough({kCompress}, stream.substr(0, cut), data.size(), back, tail),
                  ioBufferError)
            << cut;
    }
    for (std::size_t bit = 0; bit < stream.size() * 8; bit += 3) {
        std::string bad = stream;
        bad[bit / 8] = static_cast<char>(bad[bit / 8] ^ (1 << (bit % 8)));
        std::string back;
        std::string tail;
        const ioBufferStatus status = readThrough({kCompress}, bad, data.size() * 2, back, tail);
        EXPECT_TRUE(status == ioBufferError || status == ioBufferEndOfCompressed) << bit;
    }
}

TEST(FilterBuffers, FinishWithoutDataStillEndsASection) {
    const std::string stream = writeThrough({kCompress}, "", "x");
    EXPECT_EQ(stream, std::string("\x1F\x9D\x90\x01\x01x", 6));
    EXPECT_EQ(writeThrough({kEncrypt}, "", ""), std::string("\x01\x00", 2));
}

} // namespace
