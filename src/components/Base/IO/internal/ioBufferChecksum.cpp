// ioBufferChecksum.cpp - the checksum filter: every block framed with its length twice and the
// running sum.
#include <Base/IO/internal/ioChecksum.h>
#include <Base/IO/internal/ioFilterBuffers.h>

namespace {

constexpr int kFrameHead = 10;

void putBig32(unsigned char* p, std::uint32_t v) {
    p[0] = static_cast<unsigned char>(v >> 24);
    p[1] = static_cast<unsigned char>(v >> 16);
    p[2] = static_cast<unsigned char>(v >> 8);
    p[3] = static_cast<unsigned char>(v);
}

std::uint32_t getBig32(const unsigned char* p) {
    return static_cast<std::uint32_t>(p[0]) << 24 | static_cast<std::uint32_t>(p[1]) << 16 |
           static_cast<std::uint32_t>(p[2]) << 8 | p[3];
}

} // namespace

ioBufferChecksum::ioBufferChecksum(bool reading) : ioBuffer(reading, ioDetail::kFilterCapacity) {}

void ioBufferChecksum::writeBlock(const char* data, int length) {
    if (reading_ || next_ == nullptr) {
        setStatus(ioBufferError);
        return;
    }
    const std::uint32_t n = static_cast<std::uint32_t>(length);
    sum_ = ioDetail::checksumAdd(sum_, data, n);
    unsigned char head[kFrameHead];
    putBig32(head, n);
    putBig32(head + 4, ~n);
    head[8] = static_cast<unsigned char>(sum_);
    head[9] = static_cast<unsigned char>(sum_ >> 8);
    next_->write(reinterpret_cast<const char*>(head), kFrameHead);
    next_->write(data, length);
    promoteStatusFromNext(false);
}

void ioBufferChecksum::finish() {
    if (reading_ || !good()) {
        return;
    }
    flush();
    if (next_ != nullptr && good()) {
        next_->flushChain();
        promoteStatusFromNext(false);
    }
}

void ioBufferChecksum::close() {
    finish();
    if (next_ != nullptr) {
        next_->close();
        promoteStatusFromNext(false);
    }
}

int ioBufferChecksum::readBlock(char* data, int length) {
    if (!reading_ || next_ == nullptr) {
        setStatus(ioBufferError);
        return -1;
    }
    unsigned char head[kFrameHead];
    const int got = next_->read(reinterpret_cast<char*>(head), kFrameHead);
    if (got != kFrameHead) {
        // No frame at all is the end of the data; part of a head is a failure.
        promoteStatusFromNext(got == 0);
        if (good()) {
            setStatus(ioBufferError);
        }
        return got == 0 && getStatus() == ioBufferEndOfData ? 0 : -1;
    }
    const std::uint32_t n = getBig32(head);
    if (n != ~getBig32(head + 4) || n < 1 || n > static_cast<std::uint32_t>(length)) {
        setStatus(ioBufferChecksumMismatch);
        return -1;
    }
    const int size = static_cast<int>(n);
    if (next_->read(data, size) != size) {
        promoteStatusFromNext(false);
        if (good()) {
            setStatus(ioBufferError);
        }
        return -1;
    }
    sum_ = ioDetail::checksumAdd(sum_, data, n);
    if (sum_ != static_cast<std::uint16_t>(head[8] | head[9] << 8)) {
        setStatus(ioBufferChecksumMismatch);
    }
    return size;
}
