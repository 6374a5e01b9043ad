// ioBufferCompress.cpp - the compression filter: LZW sections over the buffer below.
#include <Base/IO/internal/ioFilterBuffers.h>

namespace {

// The decoder's byte source: the array of the buffer below, taken in place; the decoder
// gives back what it read ahead, so that nothing after the end code leaves it.
struct BelowSource {
    ioBuffer* below;
    const unsigned char* base() const {
        return reinterpret_cast<const unsigned char*>(below->getData());
    }
    const unsigned char* cursor() const { return base() + below->getPosition(); }
    const unsigned char* limit() const { return base() + below->getValid(); }
    void seek(const unsigned char* at) { below->setPosition(static_cast<int>(at - base())); }
    bool more() {
        if (below->getPosition() < below->getValid()) {
            return true;
        }
        if (!below->good()) {
            return false;
        }
        below->fill();
        return below->getPosition() < below->getValid();
    }
};

} // namespace

ioBufferCompress::ioBufferCompress(bool reading) : ioBuffer(reading, ioDetail::kFilterCapacity) {
    if (reading) {
        decoder_.reset(new ioDetail::LzwDecoder);
    } else {
        encoder_.reset(new ioDetail::LzwEncoder);
    }
}

void ioBufferCompress::pass() {
    if (!out_.empty() && next_ != nullptr) {
        next_->write(reinterpret_cast<const char*>(out_.data()), static_cast<int>(out_.size()));
        promoteStatusFromNext(false);
    }
    out_.clear();
}

void ioBufferCompress::writeBlock(const char* data, int length) {
    if (reading_ || next_ == nullptr) {
        setStatus(ioBufferError);
        return;
    }
    encoder_->add(reinterpret_cast<const unsigned char*>(data), static_cast<std::size_t>(length),
                  out_);
    wroteSection_ = true;
    pass();
}

// A writer that was never given a byte still ends one (empty) section, so that its reader
// finds the header and the end code it expects.
void ioBufferCompress::finish() {
    if (reading_ || !good()) {
        return;
    }
    flush();
    if (!good()) {
        return;
    }
    if (encoder_->inSection() || !wroteSection_) {
        encoder_->end(out_);
        wroteSection_ = true;
        pass();
    }
    if (next_ != nullptr && good()) {
        next_->flushChain();
        promoteStatusFromNext(false);
    }
}

void ioBufferCompress::close() {
    finish();
    if (next_ != nullptr) {
        next_->close();
        promoteStatusFromNext(false);
    }
}

int ioBufferCompress::readBlock(char* data, int length) {
    if (!reading_ || next_ == nullptr) {
        setStatus(ioBufferError);
        return -1;
    }
    if (deferred_ != ioBufferGood) {
        setStatus(deferred_);
        return 0;
    }
    BelowSource source{next_};
    unsigned char* out = reinterpret_cast<unsigned char*>(data);
    unsigned char* const begin = out;
    const ioDetail::LzwDecoder::Result result = decoder_->decode(source, out, out + length);
    const int produced = static_cast<int>(out - begin);
    switch (result) {
    case ioDetail::LzwDecoder::kOutputFull:
        return produced;
    case ioDetail::LzwDecoder::kEnd:
        deferred_ = ioBufferEndOfCompressed;
        break;
    case ioDetail::LzwDecoder::kNeedInput:
        // Cut short: a failure below is passed on as it is, an end of data is an error here.
        deferred_ = ioBufferError;
        if (next_->getStatus() != ioBufferEndOfData && !next_->good()) {
            deferred_ = next_->getStatus();
        }
        break;
    case ioDetail::LzwDecoder::kError:
        deferred_ = ioBufferError;
        break;
    }
    if (produced > 0) {
        return produced;
    }
    setStatus(deferred_);
    return deferred_ == ioBufferEndOfCompressed ? 0 : -1;
}
