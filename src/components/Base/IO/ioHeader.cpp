// ioHeader.cpp - writing and reading the text header of packet files.
#include <Base/IO/ioHeader.h>

#include <Base/IO/ioBufferedStream.h>

#include <cstdint>
#include <cstring>

namespace ioDetail {

// The header's first line, "^@", and its last, "@".
constexpr char kHeaderMark[] = "^@\n";
constexpr char kHeaderEnd = '@';
constexpr int kHeaderVersion = 1;
// Written after the method; binary readers refuse a header whose flag is 0.
constexpr int kFormatFlag = 1;

// The sizes in bytes of character, short, int, 64-bit integer, float, double and pointer, in
// the order the header lists them.
constexpr int kSizeCount = 7;
constexpr int kSizes[kSizeCount] = {1, 2, 4, 8, 4, 8, 8};

bool isBinary(int method) {
    return method == ioWriteBinary || method == ioWriteBinaryDebug;
}

} // namespace ioDetail

ioHeader::ioHeader() : valid(false), littleEndian(true), writeMethod(ioWriteAscii) {}

ioHeader::ioHeader(ioWriteMethod method) : valid(true), littleEndian(true), writeMethod(method) {}

bool ioHeader::systemIsLittleEndian() {
    const std::uint16_t probe = 1;
    unsigned char first = 0;
    std::memcpy(&first, &probe, 1);
    return first == 1;
}

void ioHeader::writeHeader(ioBufferedStreamOutput& stream) {
    stream.writeString(ioDetail::kHeaderMark);
    stream.printf("%d\n", ioDetail::kHeaderVersion);
    stream.writeString(littleEndian ? "1 " : "0 ");
    stream.printf("%d ", static_cast<int>(writeMethod));
    stream.printf("%d\n", ioDetail::kFormatFlag);
    for (int i = 0; i < ioDetail::kSizeCount; ++i) {
        stream.printf(i + 1 < ioDetail::kSizeCount ? "%d " : "%d\n", ioDetail::kSizes[i]);
    }
    stream.writeString("@\n");
}

bool ioHeader::readHeader(ioBufferedStreamInput& stream) {
    valid = true;
    for (int i = 0; i < 3; ++i) {
        if (stream.readChar() != ioDetail::kHeaderMark[i]) {
            valid = false;
            return false;
        }
    }
    (void)stream.readInt(); // the header version: every version reads the same way
    littleEndian = stream.readInt() != 0;
    const int method = stream.readInt();
    const int formatFlag = stream.readInt();
    int sizes[ioDetail::kSizeCount];
    for (int& size : sizes) {
        size = stream.readInt();
    }
    writeMethod = method >= ioWriteAscii && method <= ioWriteBinaryDebug
                      ? static_cast<ioWriteMethod>(method)
                      : static_cast<ioWriteMethod>(-1);
    const bool binary = ioDetail::isBinary(writeMethod);
    if (binary && formatFlag == 0) {
        valid = false;
    }
    char c = 0;
    do {
        c = stream.readChar();
    } while (stream.good() && c != ioDetail::kHeaderEnd);
    if (c != ioDetail::kHeaderEnd) {
        // The data ended before the header did.
        valid = false;
        return false;
    }
    (void)stream.readChar(); // the line feed after "@"
    // The pointer size is not checked: files move between 32- and 64-bit writers.
    if (binary && (sizes[0] != 1 || sizes[1] != 2 || sizes[2] != 4 || sizes[3] != 8 ||
                   sizes[4] != sizes[2] || sizes[5] != sizes[3])) {
        valid = false;
    }
    return valid;
}

ioReadMethod ioHeader::determineReadMethod() const {
    const bool same = littleEndian == systemIsLittleEndian();
    switch (static_cast<int>(writeMethod)) {
    case ioWriteAscii:
        return ioReadAscii;
    case ioWriteBinary:
        return same ? ioReadBinarySameEndian : ioReadBinarySwapped;
    case ioWriteAsciiDebug:
        return ioReadAsciiDebug;
    case ioWriteBinaryDebug:
        return same ? ioReadBinarySameEndianDebug : ioReadBinarySwappedDebug;
    default:
        return ioReadUnknown;
    }
}
