// ioFilterBuffers.h - the three filter buffers a stream can push on its chain: compression,
// checksum and encryption. Each sits on a buffer below it (`next`), is read or written, and
// holds 4,096 bytes.
//
// Ownership: as every ioBuffer, a filter owns the chain below it. Threading: one thread at a
// time per chain. Failures: statuses only, never an exception; data from below is hostile,
// and every malformed input ends in a status (4 for checksum frames, 6 otherwise).
#ifndef KY_IO_INTERNAL_FILTER_BUFFERS_H
#define KY_IO_INTERNAL_FILTER_BUFFERS_H

#include <Base/IO/internal/ioBuffer.h>
#include <Base/IO/internal/ioCipherBlocks.h>
#include <Base/IO/internal/ioLzw.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace ioDetail {
constexpr int kFilterCapacity = 4096;
} // namespace ioDetail

/// LZW compression in sections (see ioLzw.h). A writer opens a section with its first bytes
/// and ends it with the end code on `finish()`; a reader serves one section and then reports
/// status 5, leaving the bytes after the section to the buffer below. A section cut short by
/// the end of the data below, or malformed, gives status 6.
class KY_BASE_API ioBufferCompress : public ioBuffer {
public:
    explicit ioBufferCompress(bool reading);
    int getBufferType() override { return ioBufferTypeCompress; }
    void finish() override;
    void close() override;
    int readBlock(char* data, int length) override;
    void writeBlock(const char* data, int length) override;

private:
    void pass();                                    // hands `out_` to the buffer below
    std::unique_ptr<ioDetail::LzwEncoder> encoder_; // the writer's
    std::unique_ptr<ioDetail::LzwDecoder> decoder_; // the reader's
    std::vector<unsigned char> out_;
    bool wroteSection_ = false;
    ioBufferStatus deferred_ = ioBufferGood; // shown after the bytes already decoded
};

/// Frames every block it passes down as: the length (4 bytes, big-endian), the length with
/// every bit inverted (4 bytes, big-endian), the running ones'-complement sum of all data so
/// far (2 bytes, little-endian; see ioChecksum.h), then the data. A reader sets status 4 and
/// returns nothing for a frame whose two lengths disagree or whose length is below 1 or above
/// this buffer's capacity; a frame whose sum differs also sets status 4, but its data is still
/// returned by `readBlock`.
class KY_BASE_API ioBufferChecksum : public ioBuffer {
public:
    explicit ioBufferChecksum(bool reading);
    int getBufferType() override { return ioBufferTypeChecksum; }
    void finish() override;
    void close() override;
    int readBlock(char* data, int length) override;
    void writeBlock(const char* data, int length) override;

private:
    std::uint16_t sum_ = 0;
};

/// Enciphers with the library's fixed key (ioCipherBlocks.h). The writer first writes a byte
/// 1 (its word order), then pieces of at most 240 bytes, each as a length byte followed by
/// the piece, whose whole 16-byte blocks are enciphered and whose tail is deliberately left
/// as it is; `finish()` ends the data with a length byte of 0. A reader takes an order byte of
/// 1 as the same word order and 0 as reversed 32-bit words (any other value: status 6); a
/// length of 0 or a missing length byte ends the data (status 2), a short piece is status 6.
class KY_BASE_API ioBufferEncrypt : public ioBuffer {
public:
    explicit ioBufferEncrypt(bool reading);
    int getBufferType() override { return ioBufferTypeEncrypt; }
    void finish() override;
    void close() override;
    int readBlock(char* data, int length) override;
    void writeBlock(const char* data, int length) override;

private:
    bool start(); // the order byte, once
    const ioDetail::CipherKey key_;
    bool started_ = false;
    bool swapWords_ = false;
    ioBufferStatus deferred_ = ioBufferGood;
    std::vector<unsigned char> piece_;
};

#endif // KY_IO_INTERNAL_FILTER_BUFFERS_H
