// ioFilters.cpp - the filter buffers that the buffered streams push on their chains.
#include <Base/IO/internal/ioFilterBuffers.h>
#include <Base/IO/internal/ioFilters.h>

namespace ioDetail {

ioBuffer* newCompressBuffer(bool reading) {
    return new ioBufferCompress(reading);
}

ioBuffer* newChecksumBuffer(bool reading) {
    return new ioBufferChecksum(reading);
}

ioBuffer* newEncryptBuffer(bool reading) {
    return new ioBufferEncrypt(reading);
}

} // namespace ioDetail
