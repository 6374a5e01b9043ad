// ioChecksum.h - the running sum that the checksum filter puts in front of every block.
#ifndef KY_IO_INTERNAL_CHECKSUM_H
#define KY_IO_INTERNAL_CHECKSUM_H

#include <Base/BaseExport.h>

#include <cstddef>
#include <cstdint>

namespace ioDetail {

/// Adds `size` bytes to a 16-bit ones'-complement sum (end-around carry) and returns the new
/// sum. The bytes are taken as little-endian 16-bit words; an odd `size` counts the last byte
/// as a word whose high byte is 0. The sum is never complemented, so a stream's sum is carried
/// from block to block by passing the previous result as `sum` (start with 0).
KY_BASE_API std::uint16_t checksumAdd(std::uint16_t sum, const void* data, std::size_t size);

} // namespace ioDetail

#endif // KY_IO_INTERNAL_CHECKSUM_H
