// ioBuffer.cpp - the buffered transfers shared by every buffer of a chain.
#include <Base/IO/internal/ioBuffer.h>

#include <cstring>

ioBuffer::ioBuffer(bool reading, int capacity)
    : error_(), data_(nullptr), capacity_(capacity < 1 ? 1 : capacity), position_(0), valid_(0),
      total_(0), status_(ioBufferGood), reading_(reading), next_(nullptr), progress_(nullptr) {
    data_ = new char[static_cast<std::size_t>(capacity_)];
}

ioBuffer::~ioBuffer() {
    delete next_;
    delete[] data_;
}

bool ioBuffer::sync() {
    return next_ == nullptr || next_->sync();
}

bool ioBuffer::seek(std::int64_t) {
    return false;
}

std::int64_t ioBuffer::tell() {
    return 0;
}

void ioBuffer::finish() {}

void ioBuffer::account(int moved) {
    // The count is a 32-bit running figure for progress display; it wraps rather than
    // overflowing on streams beyond 2 GiB.
    total_ = static_cast<std::int32_t>(static_cast<std::uint32_t>(total_) +
                                       static_cast<std::uint32_t>(moved));
    if (progress_ != nullptr) {
        progress_(total_);
    }
}

int ioBuffer::readMore(char* data, int length) {
    if (length < 1) {
        return 0;
    }
    int copied = 0;
    for (;;) {
        if (status_ != ioBufferGood) {
            return copied;
        }
        const int wanted = length - copied;
        const int avail = valid_ - position_;
        if (wanted <= avail) {
            std::memcpy(data + copied, data_ + position_, static_cast<std::size_t>(wanted));
            position_ += wanted;
            return length;
        }
        if (avail > 0) {
            std::memcpy(data + copied, data_ + position_, static_cast<std::size_t>(avail));
            position_ += avail;
            copied += avail;
        }
        if (status_ == ioBufferGood) {
            // A whole block still wanted goes straight to the caller: the same block from
            // below and the same counts as through the array, without copying it twice.
            const bool direct = length - copied >= capacity_;
            const int got = readBlock(direct ? data + copied : data_, capacity_);
            // A failed block counts as no bytes; a source that gives nothing without saying
            // why must not make this loop spin.
            valid_ = got > 0 ? got : 0;
            position_ = direct ? valid_ : 0;
            copied += direct ? valid_ : 0;
            account(valid_);
            if (got < 1 && status_ == ioBufferGood) {
                return copied;
            }
        }
        if (copied == length) {
            return copied;
        }
    }
}

void ioBuffer::writeMore(const char* data, int length) {
    if (length < 1) {
        return;
    }
    int done = 0;
    while (done < length) {
        if (status_ != ioBufferGood) {
            return;
        }
        const int remaining = length - done;
        if (position_ == 0 && remaining > capacity_ && !reading_) {
            // More than a whole block with nothing pending: the block goes down from the
            // caller's memory, as it would after being copied into the array.
            writeBlock(data + done, capacity_);
            done += capacity_;
            valid_ = 0;
            account(capacity_);
            continue;
        }
        const int space = capacity_ - position_;
        if (remaining <= space) {
            std::memcpy(data_ + position_, data + done, static_cast<std::size_t>(remaining));
            position_ += remaining;
            return;
        }
        if (space > 0) {
            std::memcpy(data_ + position_, data + done, static_cast<std::size_t>(space));
            position_ += space;
            done += space;
        }
        if (status_ == ioBufferGood) {
            if (reading_) {
                position_ = 0;
                valid_ = 0;
            } else if (position_ >= 1) {
                writeBlock(data_, position_);
                const int moved = position_;
                position_ = 0;
                valid_ = 0;
                account(moved);
            }
        }
    }
}

void ioBuffer::fill() {
    if (status_ != ioBufferGood) {
        return;
    }
    position_ = 0;
    const int got = readBlock(data_, capacity_);
    valid_ = got > 0 ? got : 0;
    account(valid_);
}

void ioBuffer::flush() {
    if (status_ != ioBufferGood) {
        return;
    }
    if (reading_) {
        position_ = 0;
        valid_ = 0;
        return;
    }
    if (position_ >= 1) {
        writeBlock(data_, position_);
        const int moved = position_;
        position_ = 0;
        valid_ = 0;
        account(moved);
    }
}

void ioBuffer::flushChain() {
    flush();
    if (next_ != nullptr) {
        next_->flushChain();
        if (next_->status_ != ioBufferGood) {
            status_ = next_->status_;
        }
    }
}

void ioBuffer::promoteStatusFromNext(bool includeEnd) {
    if (next_ == nullptr) {
        return;
    }
    switch (next_->status_) {
    case ioBufferOpenFailed:
    case ioBufferDiskFull:
    case ioBufferChecksumMismatch:
    case ioBufferError:
        status_ = next_->status_;
        break;
    case ioBufferEndOfData:
    case ioBufferEndOfCompressed:
        if (includeEnd) {
            status_ = next_->status_;
        }
        break;
    case ioBufferGood:
        break;
    }
}

void ioBuffer::setNext(ioBuffer* buffer) {
    next_ = buffer;
}

ioBuffer* ioBuffer::detachNext() {
    finish();
    ioBuffer* below = next_;
    next_ = nullptr;
    return below;
}
