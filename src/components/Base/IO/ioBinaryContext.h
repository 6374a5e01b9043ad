// ioBinaryContext.h - the binary encoding of packet files and its tagged debug forms.
#ifndef KY_IO_BINARYCONTEXT_H
#define KY_IO_BINARYCONTEXT_H

#include <Base/BaseExport.h>
#include <Base/IO/ioContext.h>

class ioPacketFileBinaryBuffer;

/// Writes packets as length-prefixed blocks of raw little-endian values. Each packet is
/// assembled in memory (its 12-byte head: type id, reference flag, body length) and handed to
/// the stream in one call. Chunks are "," and sub-packets "." followed by a 32-bit length that
/// counts itself. Arrays carry no element count.
class KY_BASE_API ioWriteContextBinary : public ioWriteContext {
public:
    explicit ioWriteContextBinary(ioBufferedStreamOutput& stream);
    ~ioWriteContextBinary() override;

    void writeBool(bool value) override;
    void writeChar(char value) override;
    void writeUChar(unsigned char value) override;
    void writeShort(short value) override;
    void writeUShort(unsigned short value) override;
    void writeInt(int value) override;
    void writeUInt(unsigned int value) override;
    void writeInt64(std::int64_t value) override;
    void writeUInt64(std::uint64_t value) override;
    void writeFloat(float value) override;
    void writeDouble(double value) override;
    void writeCString(const char* text) override;
    void writeBoolArray(const bool* values, int count) override;
    void writeCharArray(const char* values, int count) override;
    void writeUCharArray(const unsigned char* values, int count) override;
    void writeShortArray(const short* values, int count) override;
    void writeUShortArray(const unsigned short* values, int count) override;
    void writeIntArray(const int* values, int count) override;
    void writeUIntArray(const unsigned int* values, int count) override;
    void writeInt64Array(const std::int64_t* values, int count) override;
    void writeUInt64Array(const std::uint64_t* values, int count) override;
    void writeFloatArray(const float* values, int count) override;
    void writeDoubleArray(const double* values, int count) override;
    void writeReferenceNumber(int number) override;
    void writeTag(char tag) override;
    ioHeader supplyHeader() const override { return ioHeader(ioWriteBinary); }

protected:
    ioPacketFileBuffer* createState() override;
    void makeCurrent(ioPacketFileBuffer* state) override;
    void openPacket(int typeId, bool hasObject) override;
    void openChunk() override;
    void closeChunk() override;
    void openSubPacket() override;
    void closeSubPacket() override;
    void closePacket() override;

private:
    void put(const void* bytes, int count);
    template <class T>
    void putValue(T value);
    void putArray(const void* values, int size, int count);
    void writeInt32Placeholder();
    void writeBoolValue(bool value);
    ioPacketFileBinaryBuffer* buffer_;
};

/// Reads the binary encoding; the two subclasses differ in byte order only. A packet's body
/// is read whole before its values are (growing the area as bytes arrive, never ahead of
/// them), and every value is checked against the end of its packet or sub-packet.
class KY_BASE_API ioReadContextBinary : public ioReadContext {
public:
    ~ioReadContextBinary() override;

protected:
    ioReadContextBinary(ioReadMethod method, ioBufferedStreamInput& stream, bool swapped);

    ioPacketFileBuffer* createState() override;
    void makeCurrent(ioPacketFileBuffer* state) override;
    int readPacketOpening() override;
    void finishPacket() override;
    bool readNextChunk() override;
    bool enterSubPacket() override;
    void leaveSubPacket() override;
    std::int64_t bytesRead() const override { return bytesRead_; }

    void doReadBool(bool& value) override;
    void doReadChar(char& value) override;
    void doReadUChar(unsigned char& value) override;
    void doReadShort(short& value) override;
    void doReadUShort(unsigned short& value) override;
    void doReadInt(int& value) override;
    void doReadUInt(unsigned int& value) override;
    void doReadInt64(std::int64_t& value) override;
    void doReadUInt64(std::uint64_t& value) override;
    void doReadFloat(float& value) override;
    void doReadDouble(double& value) override;
    const char* doReadCString() override;
    void doReadBoolArray(bool* values, int count) override;
    void doReadCharArray(char* values, int count) override;
    void doReadUCharArray(unsigned char* values, int count) override;
    void doReadShortArray(short* values, int count) override;
    void doReadUShortArray(unsigned short* values, int count) override;
    void doReadIntArray(int* values, int count) override;
    void doReadUIntArray(unsigned int* values, int count) override;
    void doReadInt64Array(std::int64_t* values, int count) override;
    void doReadUInt64Array(std::uint64_t* values, int count) override;
    void doReadFloatArray(float* values, int count) override;
    void doReadDoubleArray(double* values, int count) override;
    int doReadReferenceNumber() override;
    int readTag() override;

private:
    /// `count` elements of `size` bytes, byte-reversed per element when swapped; zeros and
    /// `ioBadData` when they lie beyond the level's end.
    void take(void* out, int size, int count);
    /// `take` with every check and the byte reversal: the rare path.
    void takeChecked(void* out, int size, int count);
    template <class T>
    void takeValue(T& value);
    int assemble(const unsigned char* bytes) const;
    int readLength();

    ioPacketFileBinaryBuffer* buffer_;
    bool swapped_;
    std::int64_t bytesRead_;
};

/// Files in the writer's byte order.
class KY_BASE_API ioReadContextBinarySameEndian : public ioReadContextBinary {
public:
    ioReadContextBinarySameEndian(ioReadMethod method, ioBufferedStreamInput& stream)
        : ioReadContextBinary(method, stream, false) {}
};

/// Files of the other byte order: every 2-, 4- and 8-byte value is reversed.
class KY_BASE_API ioReadContextBinarySwapped : public ioReadContextBinary {
public:
    ioReadContextBinarySwapped(ioReadMethod method, ioBufferedStreamInput& stream)
        : ioReadContextBinary(method, stream, true) {}
};

/// The debug form of a writer: every typed value is preceded by a one-byte tag naming its
/// kind ('b' Bool ... '0' DoubleArray, 'r' Reference followed by the number as a tagged UInt).
/// `kMethod` is the method stored in the header.
template <class Writer, int kMethod>
class ioWriteContextDebug : public Writer {
public:
    explicit ioWriteContextDebug(ioBufferedStreamOutput& stream) : Writer(stream) {}

    void writeBool(bool v) override { tagged('b'), Writer::writeBool(v); }
    void writeChar(char v) override { tagged('c'), Writer::writeChar(v); }
    void writeUChar(unsigned char v) override { tagged('C'), Writer::writeUChar(v); }
    void writeShort(short v) override { tagged('h'), Writer::writeShort(v); }
    void writeUShort(unsigned short v) override { tagged('H'), Writer::writeUShort(v); }
    void writeInt(int v) override { tagged('i'), Writer::writeInt(v); }
    void writeUInt(unsigned int v) override { tagged('I'), Writer::writeUInt(v); }
    void writeInt64(std::int64_t v) override { tagged('l'), Writer::writeInt64(v); }
    void writeUInt64(std::uint64_t v) override { tagged('L'), Writer::writeUInt64(v); }
    void writeFloat(float v) override { tagged('f'), Writer::writeFloat(v); }
    void writeDouble(double v) override { tagged('d'), Writer::writeDouble(v); }
    void writeCString(const char* v) override { tagged('s'), Writer::writeCString(v); }
    void writeBoolArray(const bool* v, int n) override {
        tagged('B'), Writer::writeBoolArray(v, n);
    }
    void writeCharArray(const char* v, int n) override {
        tagged('1'), Writer::writeCharArray(v, n);
    }
    void writeUCharArray(const unsigned char* v, int n) override {
        tagged('2'), Writer::writeUCharArray(v, n);
    }
    void writeShortArray(const short* v, int n) override {
        tagged('3'), Writer::writeShortArray(v, n);
    }
    void writeUShortArray(const unsigned short* v, int n) override {
        tagged('4'), Writer::writeUShortArray(v, n);
    }
    void writeIntArray(const int* v, int n) override { tagged('5'), Writer::writeIntArray(v, n); }
    void writeUIntArray(const unsigned int* v, int n) override {
        tagged('6'), Writer::writeUIntArray(v, n);
    }
    void writeInt64Array(const std::int64_t* v, int n) override {
        tagged('7'), Writer::writeInt64Array(v, n);
    }
    void writeUInt64Array(const std::uint64_t* v, int n) override {
        tagged('8'), Writer::writeUInt64Array(v, n);
    }
    void writeFloatArray(const float* v, int n) override {
        tagged('9'), Writer::writeFloatArray(v, n);
    }
    void writeDoubleArray(const double* v, int n) override {
        tagged('0'), Writer::writeDoubleArray(v, n);
    }
    // The number goes through the (tagged) UInt write.
    void writeReferenceNumber(int number) override {
        tagged('r'), this->writeUInt(static_cast<unsigned int>(number));
    }
    ioHeader supplyHeader() const override { return ioHeader(static_cast<ioWriteMethod>(kMethod)); }

private:
    int tagged(char tag) {
        this->writeTag(tag);
        return 0;
    }
};

/// The debug form of a reader: every typed read first checks the value's tag. A mismatch
/// reports "Packet file type mismatch:" with both kinds and stops through `fatalError()`;
/// a tag byte that is negative as a signed character passes unchecked.
template <class Reader>
class ioReadContextDebug : public Reader {
public:
    ioReadContextDebug(ioReadMethod method, ioBufferedStreamInput& stream)
        : Reader(method, stream) {}

protected:
    void doReadBool(bool& v) override { this->expectTag('b'), Reader::doReadBool(v); }
    void doReadChar(char& v) override { this->expectTag('c'), Reader::doReadChar(v); }
    void doReadUChar(unsigned char& v) override { this->expectTag('C'), Reader::doReadUChar(v); }
    void doReadShort(short& v) override { this->expectTag('h'), Reader::doReadShort(v); }
    void doReadUShort(unsigned short& v) override { this->expectTag('H'), Reader::doReadUShort(v); }
    void doReadInt(int& v) override { this->expectTag('i'), Reader::doReadInt(v); }
    void doReadUInt(unsigned int& v) override { this->expectTag('I'), Reader::doReadUInt(v); }
    void doReadInt64(std::int64_t& v) override { this->expectTag('l'), Reader::doReadInt64(v); }
    void doReadUInt64(std::uint64_t& v) override { this->expectTag('L'), Reader::doReadUInt64(v); }
    void doReadFloat(float& v) override { this->expectTag('f'), Reader::doReadFloat(v); }
    void doReadDouble(double& v) override { this->expectTag('d'), Reader::doReadDouble(v); }
    const char* doReadCString() override {
        this->expectTag('s');
        return Reader::doReadCString();
    }
    void doReadBoolArray(bool* v, int n) override {
        this->expectTag('B'), Reader::doReadBoolArray(v, n);
    }
    void doReadCharArray(char* v, int n) override {
        this->expectTag('1'), Reader::doReadCharArray(v, n);
    }
    void doReadUCharArray(unsigned char* v, int n) override {
        this->expectTag('2'), Reader::doReadUCharArray(v, n);
    }
    void doReadShortArray(short* v, int n) override {
        this->expectTag('3'), Reader::doReadShortArray(v, n);
    }
    void doReadUShortArray(unsigned short* v, int n) override {
        this->expectTag('4'), Reader::doReadUShortArray(v, n);
    }
    void doReadIntArray(int* v, int n) override {
        this->expectTag('5'), Reader::doReadIntArray(v, n);
    }
    void doReadUIntArray(unsigned int* v, int n) override {
        this->expectTag('6'), Reader::doReadUIntArray(v, n);
    }
    void doReadInt64Array(std::int64_t* v, int n) override {
        this->expectTag('7'), Reader::doReadInt64Array(v, n);
    }
    void doReadUInt64Array(std::uint64_t* v, int n) override {
        this->expectTag('8'), Reader::doReadUInt64Array(v, n);
    }
    void doReadFloatArray(float* v, int n) override {
        this->expectTag('9'), Reader::doReadFloatArray(v, n);
    }
    void doReadDoubleArray(double* v, int n) override {
        this->expectTag('0'), Reader::doReadDoubleArray(v, n);
    }
    // The number comes through the (tagged) UInt read.
    int doReadReferenceNumber() override {
        this->expectTag('r');
        unsigned int number = 0;
        this->doReadUInt(number);
        return static_cast<int>(number);
    }
};

#endif // KY_IO_BINARYCONTEXT_H
