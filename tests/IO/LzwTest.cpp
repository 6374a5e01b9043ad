// LzwTest.cpp - the LZW codec: a stream worked out by hand, round trips of many kinds of data
// fed in pieces of every size, and malformed streams.
#include <Base/IO/internal/ioLzw.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;
using ioDetail::LzwDecoder;

Bytes compress(const Bytes& data, std::size_t piece) {
    ioDetail::LzwEncoder encoder;
    Bytes out;
    for (std::size_t at = 0; at < data.size(); at += piece) {
        encoder.add(data.data() + at, std::min(piece, data.size() - at), out);
    }
    encoder.end(out);
    return out;
}

// Decodes one section fed `inPiece` bytes and given `outPiece` bytes of room at a time;
// `used` is how many input bytes the decoder took.
LzwDecoder::Result expand(const Bytes& in, Bytes& out, std::size_t inPiece, std::size_t outPiece,
                          std::size_t* used = nullptr) {
    LzwDecoder decoder;
    out.clear();
    std::size_t at = 0;
    std::vector<unsigned char> room(outPiece);
    for (;;) {
        const std::size_t inEnd = std::min(in.size(), at + inPiece);
        LzwDecoder::Range range{in.data() + at, in.data() + inEnd};
        unsigned char* o = room.data();
        const LzwDecoder::Result r = decoder.decode(range, o, room.data() + outPiece);
        out.insert(out.end(), room.data(), o);
        at = static_cast<std::size_t>(range.p - in.data());
        if (r == LzwDecoder::kEnd || r == LzwDecoder::kError ||
            (r == LzwDecoder::kNeedInput && at == in.size())) {
            if (used != nullptr) {
                *used = at;
            }
            return r;
        }
    }
}

// No repeats, few symbols, one run, or text.
Bytes sample(std::size_t size, int kind, unsigned seed) {
    std::mt19937 random(seed);
    Bytes data(size);
    for (std::size_t i = 0; i < size; ++i) {
        const unsigned r = kind < 2 ? static_cast<unsigned>(random()) : 0;
        data[i] = static_cast<unsigned char>(kind == 0   ? r
                                             : kind == 1 ? 'a' + r % 4
                                             : kind == 2 ? 'x'
                                                         : "the quick brown fox "[i % 20]);
    }
    return data;
}

// "aaa": 'a' (97) goes out alone and enters "aa" as 258; the next "aa" goes out as 258, the
// code the decoder is about to define (the KwKwK case); then the end code 257. Three 9-bit
// codes least significant bit first:
//   97 = 0 0110 0001, 258 = 1 0000 0010, 257 = 1 0000 0001
//   byte 0: 97's bits 0-7                            = 0x61
//   byte 1: 97's bit 8 (0), 258's bits 0-6 (0000010) = 0000010 0 = 0x04
//   byte 2: 258's bits 7-8 (10), 257's bits 0-5      = 000001 10 = 0x06
//   byte 3: 257's bits 6-8 (100), padding            = 0x04
TEST(Lzw, StreamWorkedOutByHand) {
    const Bytes stream = {0x1F, 0x9D, 0x90, 0x61, 0x04, 0x06, 0x04};
    EXPECT_EQ(compress({'a', 'a', 'a'}, 1), stream);
    Bytes out;
    EXPECT_EQ(expand(stream, out, 1, 1), LzwDecoder::kEnd);
    EXPECT_EQ(out, Bytes({'a', 'a', 'a'}));
    // An empty section is the header and the end code alone.
    EXPECT_EQ(compress({}, 1), Bytes({0x1F, 0x9D, 0x90, 0x01, 0x01}));
}

TEST(Lzw, RoundTripsInPiecesOfAnySize) {
    const std::size_t sizes[] = {1, 2, 255, 256, 511, 5000, 70000, 400000};
    for (int kind = 0; kind < 4; ++kind) {
        for (std::size_t size : sizes) {
            const Bytes data = sample(size, kind, static_cast<unsigned>(size));
            const std::size_t piece = 1 + size % 977;
            const Bytes stream = compress(data, piece);
            EXPECT_EQ(stream, compress(data, size)) << "pieces change the stream";
            Bytes out;
            std::size_t used = 0;
            ASSERT_EQ(expand(stream, out, 1 + size % 13, 1 + size % 61, &used), LzwDecoder::kEnd)
                << kind << " " << size;
            EXPECT_EQ(out, data) << kind << " " << size;
            EXPECT_EQ(used, stream.size());
            if (kind == 2 && size >= 5000) {
                EXPECT_LT(stream.size(), size / 20);
            }
        }
    }
}

TEST(Lzw, SectionsFollowOneAnotherAndLeaveWhatComesAfter) {
    Bytes stream = compress(sample(3000, 3, 1), 100);
    const std::size_t first = stream.size();
    const Bytes second = compress(sample(100, 1, 2), 7);
    stream.insert(stream.end(), second.begin(), second.end());
    stream.push_back(0xEE);
    LzwDecoder decoder;
    Bytes out(4000);
    LzwDecoder::Range range{stream.data(), stream.data() + stream.size()};
    unsigned char* o = out.data();
    EXPECT_EQ(decoder.decode(range, o, out.data() + out.size()), LzwDecoder::kEnd);
    EXPECT_EQ(range.p, stream.data() + first);
    EXPECT_EQ(Bytes(out.data(), o), sample(3000, 3, 1));
    o = out.data();
    EXPECT_EQ(decoder.decode(range, o, out.data() + out.size()), LzwDecoder::kEnd);
    EXPECT_EQ(Bytes(out.data(), o), sample(100, 1, 2));
    EXPECT_EQ(range.end - range.p, 1);
}

// The classic coder, written the plain way: entries from 257, and its ratio check (noted when
// the table fills, then every 10,000 input bytes; a new table when the ratio fell). Returns
// the input offsets at which it starts new tables, and sets `size` to its output's size.
std::vector<std::size_t> classicTables(const Bytes& data, std::size_t& size) {
    std::unordered_map<std::uint32_t, int> table;
    std::vector<std::size_t> clears;
    std::uint64_t bitsOut = 24;
    int bits = 9;
    int free = 257;
    unsigned group = 0;
    std::uint64_t checkpoint = 0;
    std::uint64_t ratio = 0;
    auto put = [&] {
        bitsOut += static_cast<unsigned>(bits);
        ++group;
    };
    auto pad = [&] {
        bitsOut += ((8 - group % 8) % 8) * static_cast<unsigned>(bits);
        group = 0;
    };
    auto ratioAt = [&](std::uint64_t in) {
        const std::uint64_t out = bitsOut / 8;
        return in > 0x007FFFFF ? in / (out >> 8) : (in << 8) / out;
    };
    int prefix = data[0];
    for (std::size_t i = 1; i < data.size(); ++i) {
        const std::uint32_t key = static_cast<std::uint32_t>(prefix) << 8 | data[i];
        const auto found = table.find(key);
        if (found != table.end()) {
            prefix = found->second;
            continue;
        }
        put();
        if (free > (bits >= 16 ? 65536 : (1 << bits) - 1)) {
            pad();
            ++bits;
        }
        prefix = data[i];
        if (free < 65536) {
            table[key] = free++;
            if (free == 65536) {
                checkpoint = i + 10000;
                ratio = ratioAt(i);
            }
        } else if (i >= checkpoint) {
            checkpoint = i + 10000;
            const std::uint64_t now = ratioAt(i);
            if (now >= ratio) {
                ratio = now;
            } else {
                put();
                pad();
                clears.push_back(i);
                table.clear();
                free = 257;
                bits = 9;
                ratio = 0;
            }
        }
    }
    put();
    size = static_cast<std::size_t>((bitsOut + 7) / 8);
    return clears;
}

// The format decoded the plain way, a whole string per table entry: the model for the
// decoder on damaged streams, where round trips say nothing. `clears` receives the output
// offsets at which new tables start.
LzwDecoder::Result modelExpand(const Bytes& in, Bytes& out,
                               std::vector<std::size_t>* clears = nullptr) {
    out.clear();
    for (std::size_t i = 0; i < 3; ++i) {
        if (i >= in.size()) {
            return LzwDecoder::kNeedInput;
        }
        if (in[i] != ioDetail::kLzwMagic[i]) {
            return LzwDecoder::kError;
        }
    }
    std::vector<Bytes> table(ioDetail::kLzwTableSize);
    std::size_t at = 24; // in bits
    int bits = 9;
    int free = ioDetail::kLzwFirst;
    int previous = -1;
    unsigned group = 0;
    auto pad = [&] {
        at += ((8 - group % 8) % 8) * static_cast<std::size_t>(bits);
        group = 0;
    };
    for (;;) {
        if (at + static_cast<std::size_t>(bits) > in.size() * 8) {
            return LzwDecoder::kNeedInput;
        }
        int code = 0;
        for (int b = 0; b < bits; ++b, ++at) {
            code |= (in[at / 8] >> (at % 8) & 1) << b;
        }
        ++group;
        if (code == ioDetail::kLzwEnd) {
            return LzwDecoder::kEnd;
        }
        if (code == ioDetail::kLzwClear) {
            if (clears != nullptr) {
                clears->push_back(out.size());
            }
            pad();
            bits = 9;
            free = ioDetail::kLzwFirst;
            previous = -1;
            continue;
        }
        if (code > (previous < 0 ? 255 : free) ||
            (code == free && free >= ioDetail::kLzwTableSize)) {
            return LzwDecoder::kError;
        }
        const auto string = [&](int c) {
            return c < 256 ? Bytes{static_cast<unsigned char>(c)} : table[c];
        };
        Bytes s = code < free ? string(code) : string(previous);
        if (code == free) {
            s.push_back(s[0]);
        }
        if (previous >= 0 && free < ioDetail::kLzwTableSize) {
            table[free] = string(previous);
            table[free++].push_back(s[0]);
        }
        out.insert(out.end(), s.begin(), s.end());
        previous = code;
        if (free > (bits >= 16 ? ioDetail::kLzwTableSize : (1 << bits) - 1)) {
            pad();
            ++bits;
        }
    }
}

// Our table holds one entry less and our codes widen one code earlier; on data whose ratio
// hovers, the ratio check must still start new tables where the classic coder does, or the
// two drift apart; and the decoder follows them. Pieces of text, noisy numbers and random bytes
// make the ratio rise and fall.
TEST(Lzw, NewTablesStartWhereTheClassicCoderStartsThem) {
    std::mt19937 random(21);
    Bytes data;
    for (int piece = 0; data.size() < (6u << 20); ++piece) {
        const std::size_t end = data.size() + (64u << 10) * (1 + random() % 4);
        while (data.size() < end) {
            switch (piece % 3) {
            case 0:
                data.push_back(static_cast<unsigned char>("the quick brown fox "[random() % 20]));
                break;
            case 1:
                data.push_back(static_cast<unsigned char>(data.size() / 97 + random() % 3));
                break;
            default:
                data.push_back(static_cast<unsigned char>(random() % 64));
            }
        }
    }
    std::size_t classicSize = 0;
    const std::vector<std::size_t> classic = classicTables(data, classicSize);
    const Bytes stream = compress(data, 4096);
    EXPECT_GE(classic.size(), 3u);
    std::vector<std::size_t> ours;
    Bytes decoded;
    ASSERT_EQ(modelExpand(stream, decoded, &ours), LzwDecoder::kEnd);
    EXPECT_EQ(ours, classic);
    // Full tables and new ones, through the decoder too.
    ASSERT_EQ(expand(stream, decoded, 1u << 20, 64), LzwDecoder::kEnd);
    EXPECT_TRUE(decoded == data);
    EXPECT_NEAR(static_cast<double>(stream.size()), static_cast<double>(classicSize),
                classicSize * 0.001);
}

// A long run makes strings whose total outgrows the decoder's history long before the table
// is full: later strings come from their prefix chains, the data after the run refers to
// strings made on both sides of that point, and a new table starts a new history.
TEST(Lzw, StringsBeyondTheHistory) {
    Bytes data(12u << 20, 'x');
    const Bytes mixed = sample(300000, 1, 4);
    data.insert(data.end(), mixed.begin(), mixed.end());
    data.insert(data.end(), 20000, 'x');
    const Bytes stream = compress(data, 1u << 16);
    Bytes out;
    ASSERT_EQ(expand(stream, out, 4096, 64), LzwDecoder::kEnd);
    EXPECT_TRUE(out == data);
    // All at once, into one area with room to spare.
    std::size_t used = 0;
    ASSERT_EQ(expand(stream, out, stream.size(), data.size() + 100, &used), LzwDecoder::kEnd);
    EXPECT_TRUE(out == data);
    EXPECT_EQ(used, stream.size());
}

TEST(Lzw, DamagedStreamsDecodeAsTheModelSays) {
    std::mt19937 random(11);
    for (int kind = 0; kind < 4; ++kind) {
        const Bytes clean = compress(sample(3000, kind, 7), 3000);
        for (int trial = 0; trial < 150; ++trial) {
            Bytes bad = clean;
            for (int flips = 1 + trial % 3; flips > 0; --flips) {
                const std::size_t bit = 24 + random() % ((bad.size() - 3) * 8);
                bad[bit / 8] ^= static_cast<unsigned char>(1u << (bit % 8));
            }
            Bytes ours;
            Bytes model;
            EXPECT_EQ(expand(bad, ours, 1 + trial % 50, 1 + trial % 64), modelExpand(bad, model))
                << kind << " " << trial;
            EXPECT_TRUE(ours == model) << kind << " " << trial;
        }
    }
}

// Every cut of a stream needs more input; every single flipped bit, the header's too, decodes
// as the model says.
TEST(Lzw, EveryTruncationAndEveryFlippedBit) {
    const Bytes stream = compress(sample(600, 1, 9), 600);
    for (std::size_t cut = 0; cut < stream.size(); ++cut) {
        Bytes out;
        EXPECT_EQ(
            expand(Bytes(stream.begin(), stream.begin() + static_cast<long>(cut)), out, 3, 64),
            LzwDecoder::kNeedInput)
            << cut;
    }
    for (std::size_t bit = 0; bit < stream.size() * 8; ++bit) {
        Bytes bad = stream;
        bad[bit / 8] ^= static_cast<unsigned char>(1u << (bit % 8));
        Bytes ours;
        Bytes model;
        EXPECT_EQ(expand(bad, ours, 5, 64), modelExpand(bad, model)) << bit;
        EXPECT_TRUE(ours == model) << bit;
    }
}

} // namespace
