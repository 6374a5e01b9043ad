// ioBinaryContext.cpp - the binary encoding: packets assembled in memory, read whole.
#include <Base/IO/ioBinaryContext.h>

#include <Base/IO/internal/ioPacketFileBuffer.h>
#include <Base/IO/ioBufferedStream.h>
#include <Base/IO/ioPacketType.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <typeinfo>

namespace ioDetail {

// Framing marks inside a body.
constexpr char kChunkMark = ',';
constexpr char kSubPacketMark = '.';
// The head of a packet: type id, reference flag, body length.
constexpr std::int32_t kHeadSize = 12;
constexpr std::int32_t kLengthOffset = 8;
// A body arrives in pieces of at most this many bytes, so the area grows only as fast as
// the stream actually delivers (a forged length cannot reserve gigabytes up front).
constexpr int kReadPiece = 1 << 16;

void reverse(char* bytes, int size) {
    std::reverse(bytes, bytes + size);
}

std::uint32_t swap32(std::uint32_t v) {
    return (v >> 24) | ((v >> 8) & 0xFF00u) | ((v << 8) & 0xFF0000u) | (v << 24);
}

// Up to 32 bytes (a name, a small array) as two copies of fixed size that may overlap, which
// the compiler makes plain loads and stores; longer ones through memcpy.
inline void copyBytes(char* to, const char* from, int count) {
    const auto pair = [&](auto word) {
        constexpr int size = static_cast<int>(sizeof word);
        decltype(word) last;
        std::memcpy(&word, from, size);
        std::memcpy(&last, from + count - size, size);
        std::memcpy(to, &word, size);
        std::memcpy(to + count - size, &last, size);
    };
    struct Pair16 {
        std::uint64_t a, b;
    };
    if (count >= 16 && count <= 32) {
        pair(Pair16{});
    } else if (count >= 8 && count < 16) {
        pair(std::uint64_t{});
    } else if (count >= 4 && count < 8) {
        pair(std::uint32_t{});
    } else {
        std::memcpy(to, from, static_cast<std::size_t>(count));
    }
}

} // namespace ioDetail

// ---------------------------------------------------------------------------------------------
// ioWriteContextBinary

ioWriteContextBinary::ioWriteContextBinary(ioBufferedStreamOutput& stream)
    : ioWriteContext(stream), buffer_(nullptr) {}

ioWriteContextBinary::~ioWriteContextBinary() = default;

ioPacketFileBuffer* ioWriteContextBinary::createState() {
    return new ioPacketFileBinaryBuffer();
}

void ioWriteContextBinary::makeCurrent(ioPacketFileBuffer* state) {
    buffer_ = static_cast<ioPacketFileBinaryBuffer*>(state);
}

void ioWriteContextBinary::put(const void* bytes, int count) {
    if (buffer_ != nullptr && count > 0 && buffer_->size - buffer_->position > count) {
        // The common case: room in the packet area.
        ioDetail::copyBytes(buffer_->data.data() + buffer_->position,
                            static_cast<const char*>(bytes), count);
        buffer_->position += count;
        return;
    }
    if (buffer_ == nullptr) {
        setStatus(ioFailed); // a value outside any packet
        return;
    }
    if (count > 0 && !buffer_->reserve(count)) {
        setStatus(ioFailed); // a packet beyond 2 GiB
        return;
    }
    buffer_->putRaw(bytes, count);
}

// A value of fixed size: a plain store when the packet area has room (nearly always), else
// the general path.
template <class T>
inline void ioWriteContextBinary::putValue(T value) {
    ioPacketFileBinaryBuffer* const b = buffer_;
    if (b != nullptr && b->size - b->position > static_cast<std::int32_t>(sizeof value)) {
        std::memcpy(b->data.data() + b->position, &value, sizeof value);
        b->position += static_cast<std::int32_t>(sizeof value);
        return;
    }
    put(&value, static_cast<int>(sizeof value));
}

void ioWriteContextBinary::openPacket(int typeId, bool hasObject) {
    buffer_->position = 0;
    buffer_->clearLevels();
    const std::int32_t head[3] = {typeId, hasObject ? 1 : 0, 0};
    // The area is never smaller than its initial size: the head always fits.
    std::memcpy(buffer_->data.data(), head, ioDetail::kHeadSize);
    buffer_->position = ioDetail::kHeadSize;
    buffer_->pushLevel();
}

void ioWriteContextBinary::openChunk() {
    put(&ioDetail::kChunkMark, 1);
    buffer_->top().chunkStart = buffer_->position;
    writeInt32Placeholder();
}

void ioWriteContextBinary::closeChunk() {
    const std::int32_t at = buffer_->top().chunkStart;
    buffer_->putInt32At(at, buffer_->position - at);
}

void ioWriteContextBinary::openSubPacket() {
    put(&ioDetail::kSubPacketMark, 1);
    buffer_->top().start = buffer_->position;
    writeInt32Placeholder();
    buffer_->pushLevel();
}

void ioWriteContextBinary::closeSubPacket() {
    buffer_->popLevel();
    const std::int32_t at = buffer_->top().start;
    buffer_->putInt32At(at, buffer_->position - at);
}

void ioWriteContextBinary::closePacket() {
    buffer_->popLevel();
    buffer_->putInt32At(ioDetail::kLengthOffset, buffer_->position - ioDetail::kHeadSize);
    stream_.writeData(buffer_->data.data(), buffer_->position);
}

void ioWriteContextBinary::writeInt32Placeholder() {
    putValue(std::int32_t{0});
}

void ioWriteContextBinary::writeBool(bool value) {
    putValue(static_cast<char>(value ? 1 : 0));
}
void ioWriteContextBinary::writeChar(char value) {
    putValue(value);
}
void ioWriteContextBinary::writeUChar(unsigned char value) {
    putValue(value);
}
void ioWriteContextBinary::writeShort(short value) {
    putValue(value);
}
void ioWriteContextBinary::writeUShort(unsigned short value) {
    putValue(value);
}
void ioWriteContextBinary::writeInt(int value) {
    putValue(value);
}
void ioWriteContextBinary::writeUInt(unsigned int value) {
    putValue(value);
}
void ioWriteContextBinary::writeInt64(std::int64_t value) {
    putValue(value);
}
void ioWriteContextBinary::writeUInt64(std::uint64_t value) {
    putValue(value);
}
void ioWriteContextBinary::writeFloat(float value) {
    putValue(value);
}
void ioWriteContextBinary::writeDouble(double value) {
    putValue(value);
}
void ioWriteContextBinary::writeCString(const char* text) {
    if (text == nullptr) {
        text = "";
    }
    put(text, static_cast<int>(std::strlen(text)) + 1);
}
void ioWriteContextBinary::writeBoolArray(const bool* values, int count) {
    for (int i = 0; values != nullptr && i < count; ++i) {
        writeBoolValue(values[i]);
    }
}
void ioWriteContextBinary::writeBoolValue(bool value) {
    ioWriteContextBinary::writeBool(value);
}
void ioWriteContextBinary::writeCharArray(const char* values, int count) {
    putArray(values, 1, count);
}
void ioWriteContextBinary::writeUCharArray(const unsigned char* values, int count) {
    putArray(values, 1, count);
}
void ioWriteContextBinary::writeShortArray(const short* values, int count) {
    putArray(values, 2, count);
}
void ioWriteContextBinary::writeUShortArray(const unsigned short* values, int count) {
    putArray(values, 2, count);
}
void ioWriteContextBinary::writeIntArray(const int* values, int count) {
    putArray(values, 4, count);
}
void ioWriteContextBinary::writeUIntArray(const unsigned int* values, int count) {
    putArray(values, 4, count);
}
void ioWriteContextBinary::writeInt64Array(const std::int64_t* values, int count) {
    putArray(values, 8, count);
}
void ioWriteContextBinary::writeUInt64Array(const std::uint64_t* values, int count) {
    putArray(values, 8, count);
}
void ioWriteContextBinary::writeFloatArray(const float* values, int count) {
    putArray(values, 4, count);
}
void ioWriteContextBinary::writeDoubleArray(const double* values, int count) {
    putArray(values, 8, count);
}
void ioWriteContextBinary::writeReferenceNumber(int number) {
    putValue(static_cast<std::int32_t>(number));
}
void ioWriteContextBinary::writeTag(char tag) {
    put(&tag, 1);
}

void ioWriteContextBinary::putArray(const void* values, int size, int count) {
    if (values == nullptr || count <= 0) {
        return;
    }
    const std::int64_t bytes = static_cast<std::int64_t>(size) * count;
    if (bytes > 0x7FFFFFF0) {
        setStatus(ioFailed);
        return;
    }
    put(values, static_cast<int>(bytes));
}

// ---------------------------------------------------------------------------------------------
// ioReadContextBinary

ioReadContextBinary::ioReadContextBinary(ioReadMethod method, ioBufferedStreamInput& stream,
                                         bool swapped)
    : ioReadContext(method, stream), buffer_(nullptr), swapped_(swapped), bytesRead_(0) {}

ioReadContextBinary::~ioReadContextBinary() = default;

ioPacketFileBuffer* ioReadContextBinary::createState() {
    return new ioPacketFileBinaryBuffer();
}

void ioReadContextBinary::makeCurrent(ioPacketFileBuffer* state) {
    buffer_ = static_cast<ioPacketFileBinaryBuffer*>(state);
    // The window serves the native reader itself only: a class derived from it (the debug
    // reader, or an application's) may override the virtual reads, which it would pass by.
    const bool direct = !swapped_ && typeid(*this) == typeid(ioReadContextBinarySameEndian);
    window_ = direct ? buffer_ : nullptr;
}

inline int ioReadContextBinary::assemble(const unsigned char* bytes) const {
    std::uint32_t value;
    std::memcpy(&value, bytes, 4);
    return static_cast<int>(swapped_ ? ioDetail::swap32(value) : value);
}

// A value of fixed size: `take` with constant sizes, so its fast path is one load.
template <class T>
inline void ioReadContextBinary::takeValue(T& value) {
    take(&value, static_cast<int>(sizeof value), 1);
}

int ioReadContextBinary::readPacketOpening() {
    buffer_->clearLevels();
    buffer_->position = 0;
    // The head's three integers, least significant byte first (most significant first when
    // swapped): in place when the stream holds them, else in one transfer.
    unsigned char copied[ioDetail::kHeadSize];
    const auto* head =
        reinterpret_cast<const unsigned char*>(stream_.takeInPlace(ioDetail::kHeadSize));
    if (head == nullptr) {
        if (stream_.readData(reinterpret_cast<char*>(copied), ioDetail::kHeadSize) !=
                ioDetail::kHeadSize ||
            !stream_.good()) {
            return 0;
        }
        head = copied;
    }
    const int id = assemble(head);
    const int flag = assemble(head + 4);
    const int length = assemble(head + 8);
    bytesRead_ += ioDetail::kHeadSize;
    if (id < 0 || length < 0) {
        badData("a packet with a negative type id or length");
        return 0;
    }
    buffer_->type = lookupType(id);
    if (buffer_->type == nullptr) {
        return 0; // reported by the caller
    }
    // The body is parsed where the stream holds it (valid until the stream is next read, which
    // is at the next packet); a body split across the stream's refills is copied.
    std::int32_t got = length;
    buffer_->bytes = stream_.takeInPlace(length);
    if (buffer_->bytes == nullptr) {
        got = 0;
        while (got < length) {
            const int piece = std::min(length - got, ioDetail::kReadPiece);
            buffer_->position = got;
            if (!buffer_->reserve(piece)) {
                badData("a packet longer than this reader accepts");
                return 0;
            }
            const int n = stream_.readData(buffer_->data.data() + got, piece);
            got += n > 0 ? n : 0;
            if (n < piece) {
                break; // the stream's status tells why
            }
        }
        buffer_->bytes = buffer_->data.data();
    }
    bytesRead_ += got;
    buffer_->position = 0;
    buffer_->pushLevel(got);
    if (got < length) {
        return 0;
    }
    return flag == 0 || flag == 1 ? flag : 2;
}

void ioReadContextBinary::finishPacket() {
    if (buffer_->depth > 0) {
        buffer_->position = buffer_->levels[0].end;
    }
    buffer_->clearLevels();
}

bool ioReadContextBinary::readNextChunk() {
    if (buffer_->depth == 0) {
        return false;
    }
    ioPacketFileBinaryBuffer::Level& level = buffer_->top();
    if (level.chunkEnd >= 0 && level.chunkEnd > buffer_->position) {
        buffer_->position = level.chunkEnd; // what the reader left of the last chunk
    }
    if (buffer_->position >= level.end) {
        buffer_->position = level.end;
        level.chunkEnd = level.end;
        level.chunkHasData = false;
        return false;
    }
    if (buffer_->bytes[buffer_->position] != ioDetail::kChunkMark) {
        badData("a chunk without its mark");
        return false;
    }
    ++buffer_->position;
    const std::int32_t start = buffer_->position;
    const int length = readLength();
    if (length < 4 || static_cast<std::int64_t>(start) + length > level.end) {
        badData("a chunk length beyond its packet");
        level.chunkEnd = level.end;
        return false;
    }
    level.chunkStart = start;
    level.chunkEnd = start + length;
    level.chunkHasData = level.chunkEnd > buffer_->position;
    return level.chunkHasData;
}

bool ioReadContextBinary::enterSubPacket() {
    if (buffer_->depth == 0) {
        return false;
    }
    const std::int32_t outerEnd = buffer_->limit;
    bool entered = false;
    std::int32_t end = buffer_->position;
    if (buffer_->position < outerEnd) {
        if (buffer_->bytes[buffer_->position] != ioDetail::kSubPacketMark) {
            badData("a sub-packet without its mark");
        } else {
            ++buffer_->position;
            const std::int32_t start = buffer_->position;
            const int length = readLength();
            if (length < 4 || static_cast<std::int64_t>(start) + length > outerEnd) {
                badData("a sub-packet length beyond its packet");
            } else {
                end = start + length;
                entered = true;
            }
        }
    }
    buffer_->pushLevel(entered ? end : buffer_->position).start = buffer_->position;
    return entered && buffer_->limit > buffer_->position;
}

void ioReadContextBinary::leaveSubPacket() {
    if (buffer_->depth > 1) {
        buffer_->position = std::max(buffer_->position, buffer_->limit);
        buffer_->popLevel();
    }
}

int ioReadContextBinary::readLength() {
    std::int32_t length = 0;
    takeValue(length);
    return length;
}

inline void ioReadContextBinary::take(void* out, int size, int count) {
    ioPacketFileBinaryBuffer* const b = buffer_;
    if (b != nullptr && !swapped_ && count > 0 && count <= 0x10000000 / size &&
        b->position + size * count <= b->limit) {
        // The common case, checked in 32 bits: inside the level, in the writer's byte order.
        std::memcpy(out, b->bytes + b->position, static_cast<std::size_t>(size * count));
        b->position += size * count;
        return;
    }
    takeChecked(out, size, count);
}

void ioReadContextBinary::takeChecked(void* out, int size, int count) {
    if (count <= 0) {
        return;
    }
    const std::int64_t bytes = static_cast<std::int64_t>(size) * count;
    const std::int64_t end = buffer_ == nullptr ? 0 : buffer_->limit;
    const std::int64_t position = buffer_ == nullptr ? 0 : buffer_->position;
    if (position + bytes > end) {
        std::memset(out, 0, static_cast<std::size_t>(bytes));
        badData("a value beyond the end of its packet");
        if (buffer_ != nullptr) {
            buffer_->position = static_cast<std::int32_t>(std::max(position, end));
        }
        return;
    }
    char* target = static_cast<char*>(out);
    std::memcpy(target, buffer_->bytes + position, static_cast<std::size_t>(bytes));
    if (swapped_ && size > 1) {
        for (int i = 0; i < count; ++i) {
            ioDetail::reverse(target + static_cast<std::ptrdiff_t>(i) * size, size);
        }
    }
    buffer_->position += static_cast<std::int32_t>(bytes);
}

void ioReadContextBinary::doReadBool(bool& value) {
    unsigned char byte = 0;
    take(&byte, 1, 1);
    value = byte != 0;
}
void ioReadContextBinary::doReadChar(char& value) {
    takeValue(value);
}
void ioReadContextBinary::doReadUChar(unsigned char& value) {
    takeValue(value);
}
void ioReadContextBinary::doReadShort(short& value) {
    takeValue(value);
}
void ioReadContextBinary::doReadUShort(unsigned short& value) {
    takeValue(value);
}
void ioReadContextBinary::doReadInt(int& value) {
    takeValue(value);
}
void ioReadContextBinary::doReadUInt(unsigned int& value) {
    takeValue(value);
}
void ioReadContextBinary::doReadInt64(std::int64_t& value) {
    takeValue(value);
}
void ioReadContextBinary::doReadUInt64(std::uint64_t& value) {
    takeValue(value);
}
void ioReadContextBinary::doReadFloat(float& value) {
    takeValue(value);
}
void ioReadContextBinary::doReadDouble(double& value) {
    takeValue(value);
}

const char* ioReadContextBinary::doReadCString() {
    if (buffer_ == nullptr || buffer_->depth == 0) {
        badData("a text outside a packet");
        return "";
    }
    const std::int32_t end = buffer_->limit;
    const char* begin = buffer_->bytes + buffer_->position;
    const void* zero =
        buffer_->position < end
            ? std::memchr(begin, 0, static_cast<std::size_t>(end - buffer_->position))
            : nullptr;
    if (zero == nullptr) {
        badData("a text without its terminating zero");
        buffer_->position = std::max(buffer_->position, end);
        return "";
    }
    buffer_->position += static_cast<std::int32_t>(static_cast<const char*>(zero) - begin) + 1;
    return begin;
}

void ioReadContextBinary::doReadBoolArray(bool* values, int count) {
    for (int i = 0; i < count; ++i) {
        ioReadContextBinary::doReadBool(values[i]);
    }
}
void ioReadContextBinary::doReadCharArray(char* values, int count) {
    take(values, 1, count);
}
void ioReadContextBinary::doReadUCharArray(unsigned char* values, int count) {
    take(values, 1, count);
}
void ioReadContextBinary::doReadShortArray(short* values, int count) {
    take(values, 2, count);
}
void ioReadContextBinary::doReadUShortArray(unsigned short* values, int count) {
    take(values, 2, count);
}
void ioReadContextBinary::doReadIntArray(int* values, int count) {
    take(values, 4, count);
}
void ioReadContextBinary::doReadUIntArray(unsigned int* values, int count) {
    take(values, 4, count);
}
void ioReadContextBinary::doReadInt64Array(std::int64_t* values, int count) {
    take(values, 8, count);
}
void ioReadContextBinary::doReadUInt64Array(std::uint64_t* values, int count) {
    take(values, 8, count);
}
void ioReadContextBinary::doReadFloatArray(float* values, int count) {
    take(values, 4, count);
}
void ioReadContextBinary::doReadDoubleArray(double* values, int count) {
    take(values, 8, count);
}

int ioReadContextBinary::doReadReferenceNumber() {
    std::int32_t number = 0;
    takeValue(number);
    return number;
}

int ioReadContextBinary::readTag() {
    unsigned char tag = 0;
    if (buffer_ == nullptr || buffer_->position >= buffer_->limit) {
        badData("a value beyond the end of its packet");
        return -1;
    }
    take(&tag, 1, 1);
    return tag;
}
