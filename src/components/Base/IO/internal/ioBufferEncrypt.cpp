// ioBufferEncrypt.cpp - the encryption filter: pieces of at most 240 bytes, each behind a
// length byte, whole 16-byte blocks enciphered.
#include <Base/IO/internal/ioFilterBuffers.h>

#include <algorithm>
#include <cstring>

namespace {

constexpr int kPiece = 240;
constexpr unsigned char kSameOrder = 1;
constexpr unsigned char kReversedOrder = 0;

} // namespace

ioBufferEncrypt::ioBufferEncrypt(bool reading)
    : ioBuffer(reading, ioDetail::kFilterCapacity), key_(ioDetail::kCipherKey) {}

bool ioBufferEncrypt::start() {
    if (started_) {
        return true;
    }
    started_ = true;
    if (!reading_) {
        const char order = static_cast<char>(kSameOrder);
        next_->write(&order, 1);
        promoteStatusFromNext(false);
        return good();
    }
    char order = 0;
    if (next_->read(&order, 1) != 1) {
        promoteStatusFromNext(true);
        if (good()) {
            setStatus(ioBufferError);
        }
        return false;
    }
    if (static_cast<unsigned char>(order) == kReversedOrder) {
        swapWords_ = true;
    } else if (static_cast<unsigned char>(order) != kSameOrder) {
        setStatus(ioBufferError);
        return false;
    }
    return true;
}

void ioBufferEncrypt::writeBlock(const char* data, int length) {
    if (reading_ || next_ == nullptr) {
        setStatus(ioBufferError);
        return;
    }
    if (!start()) {
        return;
    }
    // All pieces of the block go down in one write.
    piece_.resize(static_cast<std::size_t>(length) + static_cast<std::size_t>(length) / kPiece + 1);
    unsigned char* out = piece_.data();
    for (int done = 0; done < length;) {
        const int n = std::min(kPiece, length - done);
        *out++ = static_cast<unsigned char>(n);
        std::memcpy(out, data + done, static_cast<std::size_t>(n));
        ioDetail::encryptBlocks(key_, out, static_cast<std::size_t>(n / 16));
        out += n;
        done += n;
    }
    next_->write(reinterpret_cast<const char*>(piece_.data()),
                 static_cast<int>(out - piece_.data()));
    promoteStatusFromNext(false);
}

void ioBufferEncrypt::finish() {
    if (reading_ || !good() || next_ == nullptr) {
        return;
    }
    flush();
    if (!good() || !start()) {
        return;
    }
    const char end = 0;
    next_->write(&end, 1);
    started_ = false; // more data would begin a new run with its own order byte
    next_->flushChain();
    promoteStatusFromNext(false);
}

void ioBufferEncrypt::close() {
    finish();
    if (next_ != nullptr) {
        next_->close();
        promoteStatusFromNext(false);
    }
}

int ioBufferEncrypt::readBlock(char* data, int length) {
    if (!reading_ || next_ == nullptr) {
        setStatus(ioBufferError);
        return -1;
    }
    if (deferred_ != ioBufferGood) {
        setStatus(deferred_);
        return deferred_ == ioBufferEndOfData ? 0 : -1;
    }
    if (!start()) {
        return -1;
    }
    // As many whole pieces as fit; an end or failure after the first is shown on the next call.
    int produced = 0;
    while (length - produced >= 255) {
        char size = 0;
        if (next_->read(&size, 1) != 1 || size == 0) {
            // The end of the data; a failure below other than its own end is passed on.
            const ioBufferStatus below = next_->getStatus();
            deferred_ =
                below == ioBufferGood || below == ioBufferEndOfData ? ioBufferEndOfData : below;
            break;
        }
        const int n = static_cast<unsigned char>(size);
        unsigned char* piece = reinterpret_cast<unsigned char*>(data + produced);
        if (next_->read(reinterpret_cast<char*>(piece), n) != n) {
            deferred_ = ioBufferError;
            break;
        }
        if (swapWords_) {
            for (int i = 0; i < n / 16 * 16; i += 4) {
                std::swap(piece[i], piece[i + 3]);
                std::swap(piece[i + 1], piece[i + 2]);
            }
        }
        ioDetail::decryptBlocks(key_, piece, static_cast<std::size_t>(n / 16));
        produced += n;
    }
    if (produced > 0 || deferred_ == ioBufferGood) {
        return produced;
    }
    setStatus(deferred_);
    return deferred_ == ioBufferEndOfData ? 0 : -1;
}
