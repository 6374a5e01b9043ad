// ioBufferStream.cpp - buffers over a kyOS::IOStream and over a socket's byte stream.
#include <Base/IO/internal/ioBufferStream.h>

#include <cstddef>

ioBufferIOStream::ioBufferIOStream(bool reading) : ioBuffer(reading, kCapacity), stream_(nullptr) {}

ioBufferIOStream::~ioBufferIOStream() = default;

void ioBufferIOStream::close() {
    stream_ = nullptr;
}

int ioBufferIOStream::readBlock(char* data, int length) {
    if (stream_ == nullptr) {
        status_ = ioBufferError;
        return -1;
    }
    std::size_t count = 0;
    error_ = stream_->read(data, static_cast<std::size_t>(length), &count);
    if (error_.failed() && count == 0) {
        status_ = ioBufferEndOfData;
    }
    return static_cast<int>(count);
}

void ioBufferIOStream::writeBlock(const char* data, int length) {
    if (stream_ == nullptr) {
        status_ = ioBufferError;
        return;
    }
    error_ = stream_->write(data, static_cast<std::size_t>(length), nullptr);
    if (error_.failed()) {
        status_ = ioBufferError;
    }
}

ioBufferTCP::ioBufferTCP(bool reading) : ioBuffer(reading, kCapacity), socket_(nullptr) {}

ioBufferTCP::~ioBufferTCP() = default;

void ioBufferTCP::setSocketStream(kyOS::IOStream* socket) {
    if (socket == nullptr) {
        status_ = ioBufferError;
        return;
    }
    socket_ = socket;
}

void ioBufferTCP::close() {
    socket_ = nullptr;
}

int ioBufferTCP::readBlock(char* data, int length) {
    if (socket_ == nullptr) {
        status_ = ioBufferError;
        return 0;
    }
    std::size_t count = 0;
    error_ = socket_->read(data, static_cast<std::size_t>(length), &count);
    if (error_.failed() && count == 0) {
        status_ = ioBufferError;
    }
    return static_cast<int>(count);
}

void ioBufferTCP::writeBlock(const char* data, int length) {
    if (socket_ == nullptr) {
        status_ = ioBufferError;
        return;
    }
    error_ = socket_->write(data, static_cast<std::size_t>(length), nullptr);
    if (error_.failed()) {
        status_ = ioBufferError;
    }
}
