// kyOSLocalFile.h - the local-disk file transport.
#ifndef KY_OS_INTERNAL_LOCALFILE_H
#define KY_OS_INTERNAL_LOCALFILE_H

#include <Base/BaseExport.h>
#include <Base/OS/kyOSFile.h>

namespace kyOS {
namespace detail {

/// A transport for `name` on the local disk; owned by the caller.
KY_BASE_API FileTransport* createLocalTransport(const kyString::IString& name);

/// The file error (table code, or 14 with the system's text) for a run-time-library error
/// number of an operation on a file; `writing` picks "No write permission" over "No read
/// permission" for a refused access.
KY_BASE_API kyUtil::Error fileErrorFor(int error, bool writing);

} // namespace detail
} // namespace kyOS

#endif // KY_OS_INTERNAL_LOCALFILE_H
