// ioHeader.h - ioHeader, the short text header that opens every packet file.
#ifndef KY_IO_HEADER_H
#define KY_IO_HEADER_H

#include <Base/BaseExport.h>
#include <Base/IO/ioTypes.h>

class ioBufferedStreamInput;
class ioBufferedStreamOutput;

/// The header of a packet file: which encoding follows and in which byte order. A
/// little-endian binary file begins with the 27 bytes "^@\n1\n1 1 1\n1 2 4 8 4 8 8\n@\n":
/// the mark, the header version, byte order / method / format flag, the sizes of character,
/// short, int, 64-bit integer, float, double and pointer, and the closing "@".
///
/// A plain value. Reading treats the text as hostile: anything that is not a header gives
/// `readHeader() == false`, never a crash. Not thread-safe beyond its stream's rules.
class KY_BASE_API ioHeader {
public:
    /// Not valid.
    ioHeader();
    /// Valid, little-endian, the given method.
    explicit ioHeader(ioWriteMethod method);

    void writeHeader(ioBufferedStreamOutput& stream);
    /// Reads and checks a header; the fields tell what was read.
    bool readHeader(ioBufferedStreamInput& stream);
    /// The reader for the method and byte order read; `ioReadUnknown` for anything else.
    ioReadMethod determineReadMethod() const;

    bool valid;
    bool littleEndian;
    ioWriteMethod writeMethod;

private:
    static bool systemIsLittleEndian();
};

#endif // KY_IO_HEADER_H
