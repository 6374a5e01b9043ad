// ioPacketFileBuffer.cpp - the per-packet states.
#include <Base/IO/internal/ioPacketFileBuffer.h>

#include <cstring>

ioPacketFileBuffer::~ioPacketFileBuffer() = default;

void ioPacketFileBuffer::raiseLevel() {
    ++level;
    if (static_cast<std::size_t>(level) >= chunkOpen.size()) {
        chunkOpen.resize(chunkOpen.size() * 2, 0);
    }
    chunkOpen[static_cast<std::size_t>(level)] = 0;
}

ioPacketFileBinaryBuffer::ioPacketFileBinaryBuffer()
    : data(static_cast<std::size_t>(kInitialSize)), size(kInitialSize) {}

ioPacketFileBinaryBuffer::~ioPacketFileBinaryBuffer() = default;

bool ioPacketFileBinaryBuffer::reserve(std::int64_t count) {
    const std::int64_t need = static_cast<std::int64_t>(position) + count;
    if (need < size) {
        return true;
    }
    constexpr std::int64_t kLimit = 0x7FFFFFF0;
    if (need >= kLimit) {
        return false;
    }
    // Doubling keeps appends amortised constant; the area is kept for the next packet.
    std::int64_t grown = static_cast<std::int64_t>(size) * 2;
    while (grown <= need) {
        grown *= 2;
    }
    if (grown > kLimit) {
        grown = kLimit;
    }
    data.resize(static_cast<std::size_t>(grown));
    size = static_cast<std::int32_t>(grown);
    return true;
}

void ioPacketFileBinaryBuffer::putRaw(const void* bytes, int count) {
    if (count <= 0 || !reserve(count)) {
        return;
    }
    std::memcpy(data.data() + position, bytes, static_cast<std::size_t>(count));
    position += count;
}

ioPacketFileAsciiBuffer::ioPacketFileAsciiBuffer()
    : data(static_cast<std::size_t>(kInitialSize)), capacity(kInitialSize), size(kInitialSize) {}

ioPacketFileAsciiBuffer::~ioPacketFileAsciiBuffer() = default;

namespace {
constexpr std::int64_t kAsciiLimit = 0x40000000;
}

bool ioPacketFileAsciiBuffer::reserve(std::int64_t count) {
    const std::int64_t need = static_cast<std::int64_t>(position) + count;
    if (need <= size) {
        return true; // an append that ends exactly at the size does not grow it
    }
    if (need > kAsciiLimit) {
        return false;
    }
    std::int64_t grown = size;
    while (grown < need) {
        grown *= 2;
    }
    size = static_cast<std::int32_t>(grown);
    if (size > capacity) {
        data.resize(static_cast<std::size_t>(size)); // keeps the old contents
        capacity = size;
    }
    return true;
}

bool ioPacketFileAsciiBuffer::collect(char c) {
    if (position >= capacity) {
        if (static_cast<std::int64_t>(capacity) * 2 > kAsciiLimit) {
            return false;
        }
        capacity *= 2;
        size = capacity;
        data.resize(static_cast<std::size_t>(capacity));
    }
    data[static_cast<std::size_t>(position++)] = c;
    return true;
}
