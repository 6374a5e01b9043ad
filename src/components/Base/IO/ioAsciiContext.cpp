// ioAsciiContext.cpp - the text encoding: one line of text per packet, values as text.
#include <Base/IO/ioAsciiContext.h>

#include <Base/IO/internal/ioPacketFileBuffer.h>
#include <Base/IO/ioBufferedStream.h>
#include <Base/String/kyStringNumber.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

namespace {

const char kChunkStart[] = "\n  [ ";
const char kSubPacketStart[] = "\n  < ";
constexpr int kMarkLength = 5;

bool isSpecial(char c) {
    switch (c) {
    case '"':
    case '<':
    case '>':
    case '[':
    case '\\':
    case ']':
    case '{':
    case '}':
        return true;
    default:
        return false;
    }
}

// The text of every CString read, shared on purpose: no allocation per string.
std::string& sharedText() {
    static std::string text;
    return text;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// ioWriteContextAscii

ioWriteContextAscii::ioWriteContextAscii(ioBufferedStreamOutput& stream)
    : ioWriteContext(stream), buffer_(nullptr) {}

ioWriteContextAscii::~ioWriteContextAscii() = default;

ioPacketFileBuffer* ioWriteContextAscii::createState() {
    return new ioPacketFileAsciiBuffer();
}

void ioWriteContextAscii::makeCurrent(ioPacketFileBuffer* state) {
    buffer_ = static_cast<ioPacketFileAsciiBuffer*>(state);
}

void ioWriteContextAscii::append(const char* text, int count) {
    if (buffer_ == nullptr) {
        setStatus(ioFailed); // a value outside any packet
        return;
    }
    if (count <= 0) {
        return;
    }
    if (!buffer_->reserve(count)) {
        setStatus(ioFailed); // a packet beyond what one area holds
        return;
    }
    std::memcpy(buffer_->data.data() + buffer_->position, text, static_cast<std::size_t>(count));
    buffer_->position += count;
}

void ioWriteContextAscii::appendText(const char* text) {
    append(text, static_cast<int>(std::strlen(text)));
}

void ioWriteContextAscii::appendEscaped(char c) {
    if (isSpecial(c)) {
        const char escaped[2] = {'\\', c};
        append(escaped, 2);
    } else {
        append(&c, 1);
    }
}

void ioWriteContextAscii::valueSigned(long long value) {
    char text[32];
    const int n = std::snprintf(text, sizeof text, "%lld ", value);
    append(text, n);
}

void ioWriteContextAscii::valueUnsigned(unsigned long long value) {
    char text[32];
    const int n = std::snprintf(text, sizeof text, "%llu ", value);
    append(text, n);
}

void ioWriteContextAscii::valueFloating(double value, int digits) {
    // Infinities and NaN are spelled out here, the same on every C library.
    if (std::isnan(value)) {
        appendText(std::signbit(value) ? "-nan " : "nan ");
    } else if (std::isinf(value)) {
        appendText(value < 0 ? "-inf " : "inf ");
    } else {
        char text[48];
        const int n = std::snprintf(text, sizeof text, "%.*g ", digits, value);
        append(text, n);
    }
}

void ioWriteContextAscii::openPacket(int typeId, bool hasObject) {
    buffer_->position = 0;
    appendText("{ ");
    valueSigned(typeId);
    valueSigned(hasObject ? 1 : 0);
}

void ioWriteContextAscii::openChunk() {
    append(kChunkStart, kMarkLength);
}

void ioWriteContextAscii::closeChunk() {
    appendText("] ");
}

void ioWriteContextAscii::openSubPacket() {
    append(kSubPacketStart, kMarkLength);
}

void ioWriteContextAscii::closeSubPacket() {
    appendText("> ");
}

void ioWriteContextAscii::closePacket() {
    appendText("}\n");
    stream_.writeData(buffer_->data.data(), buffer_->position);
}

void ioWriteContextAscii::writeBool(bool value) {
    appendText(value ? "1 " : "0 ");
}
void ioWriteContextAscii::writeChar(char value) {
    valueSigned(static_cast<signed char>(value));
}
void ioWriteContextAscii::writeUChar(unsigned char value) {
    valueSigned(value);
}
void ioWriteContextAscii::writeShort(short value) {
    valueSigned(value);
}
void ioWriteContextAscii::writeUShort(unsigned short value) {
    valueUnsigned(value);
}
void ioWriteContextAscii::writeInt(int value) {
    valueSigned(value);
}
void ioWriteContextAscii::writeUInt(unsigned int value) {
    valueUnsigned(value);
}
void ioWriteContextAscii::writeInt64(std::int64_t value) {
    appendText(int64ToAscii(value, 0));
    append(" ", 1);
}
void ioWriteContextAscii::writeUInt64(std::uint64_t value) {
    appendText(uint64ToAscii(value, 0));
    append(" ", 1);
}
void ioWriteContextAscii::writeFloat(float value) {
    valueFloating(value, 7);
}
void ioWriteContextAscii::writeDouble(double value) {
    valueFloating(value, 16);
}
void ioWriteContextAscii::writeCString(const char* text) {
    append("\"", 1);
    for (const char* c = text == nullptr ? "" : text; *c != 0; ++c) {
        appendEscaped(*c);
    }
    append("\" ", 2);
}

// Arrays: each element through its own operation (not a derived class's tagged one).
void ioWriteContextAscii::writeBoolArray(const bool* values, int count) {
    for (int i = 0; values != nullptr && i < count; ++i) {
        ioWriteContextAscii::writeBool(values[i]);
    }
}
void ioWriteContextAscii::writeCharArray(const char* values, int count) {
    for (int i = 0; values != nullptr && i < count; ++i) {
        ioWriteContextAscii::writeChar(values[i]);
    }
}
void ioWriteContextAscii::writeUCharArray(const unsigned char* values, int count) {
    for (int i = 0; values != nullptr && i < count; ++i) {
        ioWriteContextAscii::writeUChar(values[i]);
    }
}
void ioWriteContextAscii::writeShortArray(const short* values, int count) {
    for (int i = 0; values != nullptr && i < count; ++i) {
        ioWriteContextAscii::writeShort(values[i]);
    }
}
void ioWriteContextAscii::writeUShortArray(const unsigned short* values, int count) {
    for (int i = 0; values != nullptr && i < count; ++i) {
        ioWriteContextAscii::writeUShort(values[i]);
    }
}
void ioWriteContextAscii::writeIntArray(const int* values, int count) {
    for (int i = 0; values != nullptr && i < count; ++i) {
        ioWriteContextAscii::writeInt(values[i]);
    }
}
void ioWriteContextAscii::writeUIntArray(const unsigned int* values, int count) {
    for (int i = 0; values != nullptr && i < count; ++i) {
        ioWriteContextAscii::writeUInt(values[i]);
    }
}
void ioWriteContextAscii::writeInt64Array(const std::int64_t* values, int count) {
    for (int i = 0; values != nullptr && i < count; ++i) {
        ioWriteContextAscii::writeInt64(values[i]);
    }
}
void ioWriteContextAscii::writeUInt64Array(const std::uint64_t* values, int count) {
    for (int i = 0; values != nullptr && i < count; ++i) {
        ioWriteContextAscii::writeUInt64(values[i]);
    }
}
void ioWriteContextAscii::writeFloatArray(const float* values, int count) {
    for (int i = 0; values != nullptr && i < count; ++i) {
        ioWriteContextAscii::writeFloat(values[i]);
    }
}
void ioWriteContextAscii::writeDoubleArray(const double* values, int count) {
    for (int i = 0; values != nullptr && i < count; ++i) {
        ioWriteContextAscii::writeDouble(values[i]);
    }
}
void ioWriteContextAscii::writeReferenceNumber(int number) {
    ioWriteContextAscii::writeUInt(static_cast<unsigned int>(number));
}
void ioWriteContextAscii::writeTag(char tag) {
    appendEscaped(tag);
    append(" ", 1);
}

// ---------------------------------------------------------------------------------------------
// ioReadContextAscii

ioReadContextAscii::ioReadContextAscii(ioReadMethod method, ioBufferedStreamInput& stream)
    : ioReadContext(method, stream), buffer_(nullptr), charactersRead_(0) {}

ioReadContextAscii::~ioReadContextAscii() = default;

ioPacketFileBuffer* ioReadContextAscii::createState() {
    return new ioPacketFileAsciiBuffer();
}

void ioReadContextAscii::makeCurrent(ioPacketFileBuffer* state) {
    buffer_ = static_cast<ioPacketFileAsciiBuffer*>(state);
}

const char* ioReadContextAscii::text() const {
    return buffer_->data.data();
}

int ioReadContextAscii::readPacketOpening() {
    buffer_->position = 0;
    buffer_->end = -1;
    buffer_->chunkHasData = 0;
    std::fill(buffer_->entered.begin(), buffer_->entered.end(), 0);
    // Anything before the opening brace is passed over.
    for (;;) {
        const char c = stream_.readChar();
        if (!stream_.good()) {
            buffer_->data[0] = 0;
            return 0;
        }
        if (c == '{') {
            break;
        }
    }
    // The text up to the closing brace that is not escaped.
    bool complete = false;
    bool escaped = false;
    for (;;) {
        const char c = stream_.readChar();
        if (!stream_.good()) {
            break; // the status tells why; nothing more is reported for this packet
        }
        if (c == '}' && !escaped) {
            complete = true;
            break;
        }
        escaped = c == '\\' && !escaped;
        if (!buffer_->collect(c)) {
            badData("a packet longer than this reader accepts");
            break;
        }
    }
    charactersRead_ += buffer_->position + 2;
    buffer_->end = buffer_->position - 1;
    if (!buffer_->collect(0)) {
        buffer_->data[static_cast<std::size_t>(buffer_->end)] = 0;
        --buffer_->end;
    }
    buffer_->position = 0;
    if (!complete) {
        return 0;
    }
    const long long id = signedValue();
    const long long flag = signedValue();
    buffer_->type =
        id < 0 || id > std::numeric_limits<int>::max() ? nullptr : lookupType(static_cast<int>(id));
    if (buffer_->type == nullptr) {
        return 0; // reported by the caller
    }
    return flag == 0 || flag == 1 ? static_cast<int>(flag) : 2;
}

void ioReadContextAscii::finishPacket() {
    buffer_->position = buffer_->end + 1;
}

void ioReadContextAscii::skipSpace() {
    std::int32_t p = buffer_->position;
    while (p <= buffer_->end && (buffer_->data[static_cast<std::size_t>(p)] == ' ' ||
                                 buffer_->data[static_cast<std::size_t>(p)] == '\n')) {
        ++p;
    }
    buffer_->position = p;
}

void ioReadContextAscii::stepPastBlank() {
    std::int32_t p = buffer_->position;
    while (p <= buffer_->end && buffer_->data[static_cast<std::size_t>(p)] != ' ') {
        ++p;
    }
    buffer_->position = std::min(p + 1, buffer_->end + 1);
}

long long ioReadContextAscii::signedValue() {
    if (buffer_ == nullptr || buffer_->position > buffer_->end) {
        return 0;
    }
    skipSpace();
    const long long value = std::strtoll(text() + buffer_->position, nullptr, 10);
    stepPastBlank();
    return value;
}

unsigned long long ioReadContextAscii::unsignedValue() {
    if (buffer_ == nullptr || buffer_->position > buffer_->end) {
        return 0;
    }
    skipSpace();
    const unsigned long long value = std::strtoull(text() + buffer_->position, nullptr, 10);
    stepPastBlank();
    return value;
}

double ioReadContextAscii::floatingValue(bool single) {
    if (buffer_ == nullptr || buffer_->position > buffer_->end) {
        return 0;
    }
    skipSpace();
    const char* at = text() + buffer_->position;
    const bool negative = *at == '-';
    const char* word = at + (negative || *at == '+' ? 1 : 0);
    // The writer spells these out; read them the same on every C library.
    double value = 0;
    if (std::strncmp(word, "inf", 3) == 0) {
        value = negative ? -std::numeric_limits<double>::infinity()
                         : std::numeric_limits<double>::infinity();
    } else if (std::strncmp(word, "nan", 3) == 0) {
        value = std::numeric_limits<double>::quiet_NaN();
        value = negative ? -value : value;
    } else if (single) {
        value = std::strtof(at, nullptr);
    } else {
        value = std::strtod(at, nullptr);
    }
    stepPastBlank();
    return value;
}

void ioReadContextAscii::doReadBool(bool& value) {
    value = (signedValue() & 0xFF) != 0;
}
void ioReadContextAscii::doReadChar(char& value) {
    value = static_cast<char>(signedValue());
}
void ioReadContextAscii::doReadUChar(unsigned char& value) {
    value = static_cast<unsigned char>(signedValue());
}
void ioReadContextAscii::doReadShort(short& value) {
    value = static_cast<short>(signedValue());
}
void ioReadContextAscii::doReadUShort(unsigned short& value) {
    value = static_cast<unsigned short>(signedValue());
}
void ioReadContextAscii::doReadInt(int& value) {
    value = static_cast<int>(signedValue());
}
void ioReadContextAscii::doReadUInt(unsigned int& value) {
    value = static_cast<unsigned int>(unsignedValue());
}
void ioReadContextAscii::doReadInt64(std::int64_t& value) {
    value = 0;
    if (buffer_ != nullptr && buffer_->position <= buffer_->end) {
        skipSpace();
        value = asciiToInt64(text() + buffer_->position);
        stepPastBlank();
    }
}
void ioReadContextAscii::doReadUInt64(std::uint64_t& value) {
    value = 0;
    if (buffer_ != nullptr && buffer_->position <= buffer_->end) {
        skipSpace();
        value = asciiToUInt64(text() + buffer_->position);
        stepPastBlank();
    }
}
void ioReadContextAscii::doReadFloat(float& value) {
    value = static_cast<float>(floatingValue(true));
}
void ioReadContextAscii::doReadDouble(double& value) {
    value = floatingValue(false);
}

const char* ioReadContextAscii::doReadCString() {
    std::string& out = sharedText();
    out.clear();
    if (buffer_ == nullptr) {
        return "";
    }
    const std::int32_t end = buffer_->end;
    const char* data = text();
    std::int32_t p = buffer_->position;
    while (p <= end && data[p] != '"') {
        ++p;
    }
    if (p > end) {
        buffer_->position = end + 1;
        return ""; // no opening quote
    }
    for (++p; p <= end && data[p] != '"'; ++p) {
        if (data[p] == '\\' && p + 1 <= end) {
            ++p; // the next character taken literally
        }
        out += data[p];
    }
    if (p > end) {
        buffer_->position = end + 1;
        out.clear();
        return ""; // no closing quote
    }
    buffer_->position = p + 1;
    if (buffer_->position <= end && data[buffer_->position] == ' ') {
        ++buffer_->position; // the value's blank, so that a chunk mark is next
    }
    return out.c_str();
}

void ioReadContextAscii::doReadBoolArray(bool* values, int count) {
    for (int i = 0; i < count; ++i) {
        ioReadContextAscii::doReadBool(values[i]);
    }
}
void ioReadContextAscii::doReadCharArray(char* values, int count) {
    for (int i = 0; i < count; ++i) {
        ioReadContextAscii::doReadChar(values[i]);
    }
}
void ioReadContextAscii::doReadUCharArray(unsigned char* values, int count) {
    for (int i = 0; i < count; ++i) {
        ioReadContextAscii::doReadUChar(values[i]);
    }
}
void ioReadContextAscii::doReadShortArray(short* values, int count) {
    for (int i = 0; i < count; ++i) {
        ioReadContextAscii::doReadShort(values[i]);
    }
}
void ioReadContextAscii::doReadUShortArray(unsigned short* values, int count) {
    for (int i = 0; i < count; ++i) {
        ioReadContextAscii::doReadUShort(values[i]);
    }
}
void ioReadContextAscii::doReadIntArray(int* values, int count) {
    for (int i = 0; i < count; ++i) {
        ioReadContextAscii::doReadInt(values[i]);
    }
}
void ioReadContextAscii::doReadUIntArray(unsigned int* values, int count) {
    for (int i = 0; i < count; ++i) {
        ioReadContextAscii::doReadUInt(values[i]);
    }
}
void ioReadContextAscii::doReadInt64Array(std::int64_t* values, int count) {
    for (int i = 0; i < count; ++i) {
        ioReadContextAscii::doReadInt64(values[i]);
    }
}
void ioReadContextAscii::doReadUInt64Array(std::uint64_t* values, int count) {
    for (int i = 0; i < count; ++i) {
        ioReadContextAscii::doReadUInt64(values[i]);
    }
}
void ioReadContextAscii::doReadFloatArray(float* values, int count) {
    for (int i = 0; i < count; ++i) {
        ioReadContextAscii::doReadFloat(values[i]);
    }
}
void ioReadContextAscii::doReadDoubleArray(double* values, int count) {
    for (int i = 0; i < count; ++i) {
        ioReadContextAscii::doReadDouble(values[i]);
    }
}

int ioReadContextAscii::doReadReferenceNumber() {
    return static_cast<int>(static_cast<unsigned int>(unsignedValue()));
}

int ioReadContextAscii::readTag() {
    if (buffer_ == nullptr) {
        return -1;
    }
    const std::int32_t end = buffer_->end;
    const char* data = text();
    std::int32_t p = buffer_->position;
    while (p <= end && data[p] == ' ') {
        ++p;
    }
    if (p > end) {
        buffer_->position = end + 1;
        badData("a value beyond the end of its packet");
        return -1;
    }
    char tag = data[p++];
    if (tag == '\\' && p <= end) {
        tag = data[p++];
    }
    if (p <= end && data[p] == ' ') {
        ++p;
    }
    buffer_->position = p;
    return static_cast<unsigned char>(tag);
}

// ---------------------------------------------------------------------------------------------
// Chunks and sub-packets

void ioReadContextAscii::skipChunk() {
    const std::int32_t end = buffer_->end;
    const char* data = text();
    std::int32_t p = buffer_->position;
    int depth = 0;
    while (p <= end) {
        const char c = data[p];
        if (c == '\\') {
            p += 2;
            continue;
        }
        if (c == '<') {
            ++depth;
        } else if (c == '>') {
            if (depth == 0) {
                break; // the enclosing sub-packet ends: its leaving moves past this
            }
            --depth;
        } else if (c == ']' && depth == 0) {
            ++p;
            if (p <= end && data[p] == ' ') {
                ++p;
            }
            break;
        }
        ++p;
    }
    buffer_->position = std::min(p, end + 1);
}

bool ioReadContextAscii::readNextChunk() {
    unsigned char& open = current_->chunkOpen[static_cast<std::size_t>(current_->level)];
    if (open) {
        skipChunk();
        open = 0;
    }
    buffer_->chunkHasData = 0;
    const std::int32_t end = buffer_->end;
    if (buffer_->position > end) {
        buffer_->position = end + 1;
        return false;
    }
    if (end - buffer_->position + 1 < kMarkLength ||
        std::memcmp(text() + buffer_->position, kChunkStart, kMarkLength) != 0) {
        return false;
    }
    buffer_->position += kMarkLength;
    open = 1;
    buffer_->chunkHasData = buffer_->position <= end && text()[buffer_->position] != ']' ? 1 : 0;
    return buffer_->chunkHasData != 0;
}

bool ioReadContextAscii::enterSubPacket() {
    const auto level = static_cast<std::size_t>(current_->level);
    if (buffer_->entered.size() <= level) {
        buffer_->entered.resize(level * 2 + 1, 0);
    }
    const std::int32_t end = buffer_->end;
    if (buffer_->position > end || end - buffer_->position + 1 < kMarkLength ||
        std::memcmp(text() + buffer_->position, kSubPacketStart, kMarkLength) != 0) {
        buffer_->entered[level] = 0;
        return false;
    }
    buffer_->position += kMarkLength;
    buffer_->entered[level] = 1;
    return buffer_->position <= end && text()[buffer_->position] != '>';
}

void ioReadContextAscii::leaveSubPacket() {
    const auto level = static_cast<std::size_t>(current_->level);
    if (level >= buffer_->entered.size() || !buffer_->entered[level]) {
        return;
    }
    buffer_->entered[level] = 0;
    const std::int32_t end = buffer_->end;
    const char* data = text();
    std::int32_t p = buffer_->position;
    int depth = 0;
    while (p <= end) {
        const char c = data[p];
        if (c == '\\') {
            p += 2;
            continue;
        }
        if (c == '<') {
            ++depth;
        } else if (c == '>') {
            if (depth == 0) {
                ++p;
                if (p <= end && data[p] == ' ') {
                    ++p;
                }
                break;
            }
            --depth;
        }
        ++p;
    }
    buffer_->position = std::min(p, end + 1);
}
