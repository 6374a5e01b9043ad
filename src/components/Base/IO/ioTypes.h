// ioTypes.h - the status and method enumerations of the serialization stack.
#ifndef KY_IO_TYPES_H
#define KY_IO_TYPES_H

#include <cstdint>

/// The sticky status of a buffered stream (`ioBufferedStream::getStatus`). It is taken from
/// the top buffer of the stream's chain after each operation; the first failure stays until
/// `resetStatus()`.
enum ioStreamStatus : std::int32_t {
    ioStreamGood = 0,
    ioStreamOpenFailed = 1,
    ioStreamEndOfFile = 2,
    ioStreamEndOfCompressed = 3, ///< a compressed section ended; `compress(false)` clears it
    ioStreamDiskFull = 4,
    ioStreamChecksumMismatch = 5,
    ioStreamError = 6,
};

/// How a packet file is written; the value is stored in the file's header. -1 in a read
/// header means a method this library does not know.
enum ioWriteMethod : std::int32_t {
    ioWriteAscii = 0,
    ioWriteBinary = 1,
    ioWriteAsciiDebug = 2,
    ioWriteBinaryDebug = 3,
};

/// Which reader a packet file needs, from its header's method and byte order
/// (`ioHeader::determineReadMethod`).
enum ioReadMethod : std::int32_t {
    ioReadUnknown = 0,
    ioReadBinarySameEndian = 1,
    ioReadBinarySwapped = 2,
    ioReadAscii = 3,
    ioReadBinarySameEndianDebug = 4,
    ioReadBinarySwappedDebug = 5,
    ioReadAsciiDebug = 6,
};

#endif // KY_IO_TYPES_H
