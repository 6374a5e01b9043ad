// ioAsciiContext.h - the text encoding of packet files and its tagged debug forms.
#ifndef KY_IO_ASCIICONTEXT_H
#define KY_IO_ASCIICONTEXT_H

#include <Base/BaseExport.h>
#include <Base/IO/ioBinaryContext.h>
#include <Base/IO/ioContext.h>

#include <cstdint>

class ioPacketFileAsciiBuffer;

/// Writes packets as one line of text each: "{ id flag " then every value as text followed by
/// one blank, then "}" and a line feed. Chunks open with a line feed, two blanks, "[ " and
/// close with "] "; sub-packets likewise with "< " and "> ". Texts are quoted, and the eight
/// characters `"` `<` `>` `[` `\` `]` `{` `}` are escaped with a backslash wherever the
/// character writer puts them (texts and the debug form's tags). Arrays carry no element
/// count. Floats are written with seven significant digits and doubles with sixteen, so a
/// value that needs more does not come back bit for bit (the binary encoding is the exact one).
///
/// Ownership, threading and failures as `ioWriteContext`. The 64-bit conversions go through
/// the shared buffers of `int64ToAscii`, so two writers must not run in parallel threads.
class KY_BASE_API ioWriteContextAscii : public ioWriteContext {
public:
    explicit ioWriteContextAscii(ioBufferedStreamOutput& stream);
    ~ioWriteContextAscii() override;

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
    /// The debug form's tag: the character (escaped) and a blank.
    void writeTag(char tag) override;
    ioHeader supplyHeader() const override { return ioHeader(ioWriteAscii); }

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
    void append(const char* text, int count);
    void appendText(const char* text);
    /// The character writer: a backslash before the eight special characters.
    void appendEscaped(char c);
    void valueSigned(long long value);
    void valueUnsigned(unsigned long long value);
    void valueFloating(double value, int digits);
    ioPacketFileAsciiBuffer* buffer_;
};

/// Reads the text encoding. A packet's text is collected whole (from its "{" to the "}" that
/// is not escaped; anything between packets is ignored), then values are converted from it.
/// Malformed numbers are not reported: a conversion yields what it can (0 for no digits), and
/// values past the packet's end read as zero. A CString read returns text held in one string
/// shared by every text reader of the process, valid until the next CString read anywhere (no
/// allocation per string; the packet types copy it); texts whose quotes are missing read as "".
class KY_BASE_API ioReadContextAscii : public ioReadContext {
public:
    ioReadContextAscii(ioReadMethod method, ioBufferedStreamInput& stream);
    ~ioReadContextAscii() override;

protected:
    ioPacketFileBuffer* createState() override;
    void makeCurrent(ioPacketFileBuffer* state) override;
    int readPacketOpening() override;
    void finishPacket() override;
    bool readNextChunk() override;
    bool enterSubPacket() override;
    void leaveSubPacket() override;
    /// Twice the characters collected: every reference number written takes two or more.
    std::int64_t bytesRead() const override { return 2 * charactersRead_; }

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
    /// The debug form's tag character (unescaped) and the blank after it; -1 past the end.
    int readTag() override;

private:
    long long signedValue();
    unsigned long long unsignedValue();
    double floatingValue(bool single);
    /// Past the blanks and line feeds before a value.
    void skipSpace();
    /// Past the next blank at or before the end (one past the end when there is none).
    void stepPastBlank();
    /// Moves past the rest of the current chunk (to its "] " or the enclosing ">").
    void skipChunk();
    const char* text() const;

    ioPacketFileAsciiBuffer* buffer_;
    std::int64_t charactersRead_;
};

#endif // KY_IO_ASCIICONTEXT_H
