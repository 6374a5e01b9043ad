// ioFilters.h - where the buffered streams get their filter buffers from.
#ifndef KY_IO_INTERNAL_FILTERS_H
#define KY_IO_INTERNAL_FILTERS_H

#include <Base/IO/internal/ioBuffer.h>

namespace ioDetail {

/// A new filter buffer of the given kind, read or written, with no buffer below it yet; the
/// caller owns it. Null when this build has no such filter: the stream then reports
/// status 6 ("filter not available").
ioBuffer* newCompressBuffer(bool reading);
ioBuffer* newChecksumBuffer(bool reading);
ioBuffer* newEncryptBuffer(bool reading);

} // namespace ioDetail

#endif // KY_IO_INTERNAL_FILTERS_H
