// ioFilters.cpp - the filter buffers this build provides: none yet, so every request is
// answered with null and the stream reports that the filter is not available.
#include <Base/IO/internal/ioFilters.h>

namespace ioDetail {

ioBuffer* newCompressBuffer(bool) {
    return nullptr;
}

ioBuffer* newChecksumBuffer(bool) {
    return nullptr;
}

ioBuffer* newEncryptBuffer(bool) {
    return nullptr;
}

} // namespace ioDetail
