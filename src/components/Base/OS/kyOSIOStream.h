// kyOSIOStream.h - kyOS::IOStream, the byte-stream interface of files and memory streams.
#ifndef KY_OS_IOSTREAM_H
#define KY_OS_IOSTREAM_H

#include <Base/BaseExport.h>
#include <Base/Utility/kyUtilError.h>

#include <cstddef>

namespace kyOS {

/// A sequential source and sink of bytes. Files (`kyOS::File`) and in-memory streams
/// (`kyOS::MemoryIOStream`) derive from it; the serialization buffers read and write through
/// it without owning it.
///
/// Contract of both operations: they transfer up to `size` bytes, store the count actually
/// transferred in `*count` when `count` is not null (0 on failure before any transfer) and
/// return an empty error on success. `read` returns fewer bytes than asked only at the end of
/// the data; asked to read at the end it returns 0 bytes and the error "End Of File" (code 3
/// of the file error table). `write` transfers everything or fails. A null buffer with a
/// non-zero size fails with "An I/O problem has occurred" (code 4). Not thread-safe: one
/// thread at a time per stream.
class KY_BASE_API IOStream {
public:
    IOStream() = default;
    IOStream(const IOStream&) = delete;
    IOStream& operator=(const IOStream&) = delete;
    virtual ~IOStream();

    virtual kyUtil::Error read(void* buffer, std::size_t size, std::size_t* count) = 0;
    virtual kyUtil::Error write(const void* buffer, std::size_t size, std::size_t* count) = 0;
};

} // namespace kyOS

#endif // KY_OS_IOSTREAM_H
