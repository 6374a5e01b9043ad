// ioBufferedStream.cpp - the buffered streams: opening chains, filters and the transfers.
#include <Base/IO/ioBufferedStream.h>

#include <Base/IO/internal/ioBuffer.h>
#include <Base/IO/internal/ioBufferFD.h>
#include <Base/IO/internal/ioBufferStream.h>
#include <Base/IO/internal/ioFilters.h>
#include <Base/IO/internal/ioSocket.h>
#include <Base/OS/kyOSFile.h>
#include <Base/OS/kyOSFileStatus.h>
#include <Base/String/kyStringFormat.h>

#include <cstdarg>
#include <cstdlib>
#include <cstring>

namespace ioDetail {

// Buffer statuses and stream statuses are numbered differently on purpose.
ioStreamStatus streamStatusOf(ioBufferStatus status) {
    switch (status) {
    case ioBufferGood:
        return ioStreamGood;
    case ioBufferOpenFailed:
        return ioStreamOpenFailed;
    case ioBufferEndOfData:
        return ioStreamEndOfFile;
    case ioBufferDiskFull:
        return ioStreamDiskFull;
    case ioBufferChecksumMismatch:
        return ioStreamChecksumMismatch;
    case ioBufferEndOfCompressed:
        return ioStreamEndOfCompressed;
    case ioBufferError:
        return ioStreamError;
    }
    return ioStreamError;
}

// The longest text `readInt` collects, sign included.
constexpr int kMaxIntChars = 39;
// The C run-time's descriptors of standard input and output, the same on every platform.
constexpr int kStdinDescriptor = 0;
constexpr int kStdoutDescriptor = 1;
// The area `printf` formats into.
constexpr int kPrintfArea = 1024;

} // namespace ioDetail

// ---------------------------------------------------------------------------------------------
// ioBufferedStream

ioBufferedStream::ioBufferedStream(bool isInput)
    : status_(ioStreamGood), isInput_(isInput), top_(nullptr) {}

ioBufferedStream::~ioBufferedStream() {
    destroyChain();
}

void ioBufferedStream::destroyChain() {
    delete top_;
    top_ = nullptr;
}

void ioBufferedStream::promoteBufferStatus() {
    if (top_ != nullptr && !top_->good()) {
        status_ = ioDetail::streamStatusOf(top_->getStatus());
    }
}

void ioBufferedStream::close() {
    if (top_ == nullptr) {
        return;
    }
    top_->close();
    promoteBufferStatus();
    destroyChain();
}

bool ioBufferedStream::seek(std::int64_t position) {
    if (top_ == nullptr) {
        return false;
    }
    top_->flushChain();
    const bool moved = top_->seek(position);
    promoteBufferStatus();
    return moved;
}

std::int64_t ioBufferedStream::tell() {
    if (top_ == nullptr) {
        return -1;
    }
    top_->flushChain();
    return top_->tell();
}

void ioBufferedStream::addBufferToChain(ioBuffer* buffer) {
    buffer->setNext(top_);
    top_ = buffer;
}

void ioBufferedStream::pushFilter(ioBuffer* filter) {
    if (filter == nullptr || top_ == nullptr) {
        // No such filter in this build, or nothing to put it on.
        delete filter;
        status_ = ioStreamError;
        return;
    }
    addBufferToChain(filter);
}

void ioBufferedStream::popBufferChain(int type) {
    // Only the filter that is on top may come off: popping anything else would drop a buffer
    // that still holds data, or leave the stream without its terminal buffer.
    if (top_ == nullptr || top_->getNext() == nullptr || top_->getBufferType() != type) {
        status_ = ioStreamError;
        return;
    }
    ioBuffer* filter = top_;
    top_ = filter->detachNext();
    // What finishing the filter met (a failed write below, the end of a section) is kept.
    if (!filter->good()) {
        status_ = ioDetail::streamStatusOf(filter->getStatus());
    }
    delete filter;
}

void ioBufferedStream::compress(bool on) {
    if (on) {
        pushFilter(ioDetail::newCompressBuffer(isInput_));
        return;
    }
    popBufferChain(ioBufferTypeCompress);
    if (status_ == ioStreamEndOfCompressed) {
        status_ = ioStreamGood;
    }
}

void ioBufferedStream::checksum(bool on) {
    if (on) {
        pushFilter(ioDetail::newChecksumBuffer(isInput_));
        return;
    }
    popBufferChain(ioBufferTypeChecksum);
}

void ioBufferedStream::encrypt(bool on) {
    if (on) {
        pushFilter(ioDetail::newEncryptBuffer(isInput_));
        return;
    }
    popBufferChain(ioBufferTypeEncrypt);
}

void ioBufferedStream::associateProgressFunction(void (*progress)(int)) {
    if (top_ != nullptr) {
        top_->associateProgressFunction(progress);
    }
}

std::int64_t ioBufferedStream::fileSize(const kyString::IString& path) {
    if (path.length() == 0) {
        return -1;
    }
    kyOS::FileStatus info;
    if (kyOS::File::query(path, info).failed() || !info.exists()) {
        return -1;
    }
    return info.getSize();
}

// ---------------------------------------------------------------------------------------------
// ioBufferedStreamInput

ioBufferedStreamInput::ioBufferedStreamInput() : ioBufferedStream(true) {}

ioBufferedStreamInput::~ioBufferedStreamInput() = default;

void ioBufferedStreamInput::openFile(const kyString::IString& path) {
    close();
    status_ = ioStreamGood;
    auto* buffer = new ioBufferFD(true);
    top_ = buffer;
    buffer->open(path);
    promoteBufferStatus();
    if (!good()) {
        destroyChain();
    }
}

void ioBufferedStreamInput::openSocket(kyTCP::Socket* socket) {
    close();
    status_ = ioStreamGood;
    auto* buffer = new ioBufferTCP(true);
    top_ = buffer;
    buffer->setSocketStream(ioDetail::socketStream(socket));
    promoteBufferStatus();
    if (!good()) {
        destroyChain();
    }
}

void ioBufferedStreamInput::openIOStream(kyOS::IOStream* stream) {
    close();
    status_ = ioStreamGood;
    auto* buffer = new ioBufferIOStream(true);
    top_ = buffer;
    buffer->setStream(stream);
    promoteBufferStatus();
    if (!good()) {
        destroyChain();
    }
}

void ioBufferedStreamInput::openStdin() {
    close();
    status_ = ioStreamGood;
    auto* buffer = new ioBufferFD(true);
    top_ = buffer;
    buffer->attach(ioDetail::kStdinDescriptor);
    promoteBufferStatus();
    if (!good()) {
        destroyChain();
    }
}

void ioBufferedStreamInput::openFileSlice(const kyString::IString& path, std::int64_t offset,
                                          std::int64_t size) {
    close();
    status_ = ioStreamGood;
    auto* buffer = new ioBufferFileSubset();
    top_ = buffer;
    buffer->open(path, offset, size);
    promoteBufferStatus();
    if (!good() && status_ != ioStreamEndOfFile) {
        destroyChain();
    }
}

char ioBufferedStreamInput::readChar() {
    if (!good()) {
        return 0;
    }
    if (top_ == nullptr) {
        status_ = ioStreamError;
        return 0;
    }
    if (top_->getPosition() >= top_->getValid()) {
        top_->fill();
        promoteBufferStatus();
        if (!good()) {
            return 0;
        }
        if (top_->getPosition() >= top_->getValid()) {
            // A source that gives nothing without saying why has ended all the same; readers
            // that loop for a line or a number must not spin on it.
            status_ = ioStreamEndOfFile;
            return 0;
        }
    }
    return top_->takeByte();
}

int ioBufferedStreamInput::readInt() {
    char c = readChar();
    while (good() && (c == ' ' || c == '\t' || c == '\n')) {
        c = readChar();
    }
    char text[ioDetail::kMaxIntChars + 1];
    int n = 0;
    if (good() && c == '-') {
        text[n++] = c;
        c = readChar();
    }
    while (good() && c >= '0' && c <= '9') {
        text[n++] = c;
        if (n >= ioDetail::kMaxIntChars) {
            break;
        }
        c = readChar();
    }
    text[n] = '\0';
    return std::atoi(text);
}

void ioBufferedStreamInput::readLine(char* buffer, int size) {
    if (buffer == nullptr) {
        return;
    }
    if (size < 1 || !good()) {
        buffer[0] = '\0';
        return;
    }
    int n = 0;
    while (n < size - 1) {
        const char c = readChar();
        if (!good()) {
            buffer[n++] = '\0';
            break;
        }
        buffer[n++] = c;
        if (c == '\n') {
            break;
        }
    }
    buffer[n] = '\0';
}

int ioBufferedStreamInput::readData(char* data, int length) {
    if (!good()) {
        return 0;
    }
    if (top_ == nullptr) {
        status_ = ioStreamError;
        return 0;
    }
    const int got = top_->read(data, length);
    promoteBufferStatus();
    return got;
}

const char* ioBufferedStreamInput::takeInPlace(int length) {
    if (top_ == nullptr || !good() || !top_->good() || length < 0 ||
        length > top_->getValid() - top_->getPosition()) {
        return nullptr;
    }
    const char* bytes = top_->getData() + top_->getPosition();
    top_->setPosition(top_->getPosition() + length);
    return bytes;
}

// ---------------------------------------------------------------------------------------------
// ioBufferedStreamOutput

ioBufferedStreamOutput::ioBufferedStreamOutput() : ioBufferedStream(false), truncateOnOpen_(true) {}

ioBufferedStreamOutput::~ioBufferedStreamOutput() = default;

void ioBufferedStreamOutput::openFile(const kyString::IString& path) {
    close();
    status_ = ioStreamGood;
    auto* buffer = new ioBufferFD(false);
    top_ = buffer;
    buffer->setTruncate(truncateOnOpen_);
    buffer->open(path);
    // Deliberately not promoted: a failed open shows at the first write or flush.
}

void ioBufferedStreamOutput::openSocket(kyTCP::Socket* socket) {
    close();
    status_ = ioStreamGood;
    auto* buffer = new ioBufferTCP(false);
    top_ = buffer;
    buffer->setSocketStream(ioDetail::socketStream(socket));
    promoteBufferStatus();
    if (!good()) {
        destroyChain();
    }
}

void ioBufferedStreamOutput::openIOStream(kyOS::IOStream* stream) {
    close();
    status_ = ioStreamGood;
    auto* buffer = new ioBufferIOStream(false);
    top_ = buffer;
    buffer->setStream(stream);
    promoteBufferStatus();
    if (!good()) {
        destroyChain();
    }
}

void ioBufferedStreamOutput::openStdout() {
    close();
    status_ = ioStreamGood;
    auto* buffer = new ioBufferFD(false);
    top_ = buffer;
    buffer->attach(ioDetail::kStdoutDescriptor);
}

void ioBufferedStreamOutput::close() {
    if (top_ == nullptr) {
        return;
    }
    top_->flushChain();
    promoteBufferStatus();
    ioBufferedStream::close();
}

void ioBufferedStreamOutput::flush() {
    if (top_ == nullptr) {
        return;
    }
    top_->flushChain();
    promoteBufferStatus();
}

bool ioBufferedStreamOutput::sync() {
    flush();
    if (!good()) {
        return false;
    }
    if (top_ == nullptr) {
        status_ = ioStreamError;
        return false;
    }
    if (!top_->sync()) {
        status_ = ioStreamError;
        return false;
    }
    return true;
}

void ioBufferedStreamOutput::writeChar(char c) {
    if (!good()) {
        return;
    }
    if (top_ == nullptr) {
        status_ = ioStreamError;
        return;
    }
    // On an output buffer `valid` stays 0, so every byte hands the one before it to the
    // buffer below: single-character output goes down one byte at a time, deliberately.
    if (top_->getPosition() >= top_->getValid()) {
        top_->flush();
        promoteBufferStatus();
        if (!good() || top_->getPosition() >= top_->getCapacity()) {
            return;
        }
    }
    top_->putByte(c);
}

void ioBufferedStreamOutput::writeData(const char* data, int length) {
    if (!good()) {
        return;
    }
    if (top_ == nullptr) {
        status_ = ioStreamError;
        return;
    }
    top_->write(data, length);
    promoteBufferStatus();
}

void ioBufferedStreamOutput::writeString(const char* text) {
    if (text == nullptr) {
        return;
    }
    std::size_t left = std::strlen(text);
    // Strings beyond the buffers' 32-bit counts go down in pieces.
    constexpr std::size_t kPiece = 1u << 30;
    do {
        const std::size_t n = left < kPiece ? left : kPiece;
        writeData(text, static_cast<int>(n));
        text += n;
        left -= n;
    } while (left > 0 && good());
}

void ioBufferedStreamOutput::printf(const char* format, ...) {
    char text[ioDetail::kPrintfArea];
    va_list args;
    va_start(args, format);
    (void)TN_vsnprintf(text, sizeof text, format, args); // a cut text is still written
    va_end(args);
    text[sizeof text - 1] = '\0';
    writeString(text);
}
