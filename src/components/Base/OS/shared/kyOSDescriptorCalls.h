// kyOSDescriptorCalls.h - the descriptor calls that the OS layer offers the areas above it.
#ifndef KY_OS_SHARED_DESCRIPTORCALLS_H
#define KY_OS_SHARED_DESCRIPTORCALLS_H

#include <Base/BaseExport.h>
#include <Base/String/kyStringIString.h>

#include <cstddef>

namespace kyOS {
namespace shared {

/// Plain descriptor calls for the library's own areas above OS (the serialization buffers),
/// made through the file layer's one system-call table, so they share its fault hook and its
/// platform halves. Not installed and not for applications: `<Area>/shared/` headers are the
/// part of an area's private code that the areas above it may include.
///
/// Each call returns -1 on failure and stores the C run-time's error number (errno, or the
/// Windows run-time's equivalent) in `*error`; none retries an interruption: the caller
/// decides. Thread-safe as the system calls are.

/// How `openDescriptor` opens a name.
enum DescriptorMode {
    kDescriptorRead,          ///< binary, read-only
    kDescriptorWrite,         ///< binary, write-only, created when missing
    kDescriptorWriteTruncate, ///< as kDescriptorWrite, emptied when it exists
};

/// Opens `path` close-on-exec and shared with other openers; a created file may be read and
/// written by its owner only (0600).
KY_BASE_API int openDescriptor(const kyString::IString& path, DescriptorMode mode, int* error);
KY_BASE_API long long readDescriptor(int fd, void* buffer, std::size_t size, int* error);
KY_BASE_API long long writeDescriptor(int fd, const void* buffer, std::size_t size, int* error);
/// `origin`: 0 start, 1 current offset, 2 end. Returns the new offset.
KY_BASE_API long long seekDescriptor(int fd, long long offset, int origin, int* error);
/// Asks the system to make the descriptor's written bytes durable (fsync).
KY_BASE_API int syncDescriptor(int fd, int* error);
/// The descriptor is released even when a failure is reported.
KY_BASE_API int closeDescriptor(int fd, int* error);

} // namespace shared
} // namespace kyOS

#endif // KY_OS_SHARED_DESCRIPTORCALLS_H
