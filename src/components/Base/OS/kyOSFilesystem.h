// kyOSFilesystem.h - kyOS::Filesystem, the size and free space of the disk a path lies on.
#ifndef KY_OS_FILESYSTEM_H
#define KY_OS_FILESYSTEM_H

#include <Base/BaseExport.h>
#include <Base/String/kyStringIString.h>
#include <Base/Utility/kyUtilError.h>

#include <cstdint>

namespace kyOS {

/// The file system that holds a path: `stat()` fills its block size, total size and the
/// space available to the caller, and whether it is a network file system. The figures are
/// in kibibytes (`blockSize()` is 1024 and says so). A plain value; not thread-safe.
class KY_BASE_API Filesystem {
public:
    explicit Filesystem(const kyString::IString& path);

    /// Asks the system. Errors: "Filesystem::stat(): invalid path <path>\n" when the path
    /// cannot be made absolute; code 1 with "Filesystem::stat(): GetDiskFreeSpaceEx(<dir>)
    /// failed: <system message>" when the system cannot tell the free space.
    kyUtil::Error stat();

    const kyString::IString& filename() const { return path_; }
    std::uint64_t blockSize() const { return blockSize_; }
    std::uint64_t size() const { return size_; }
    std::uint64_t avail() const { return avail_; }
    bool isRemote() const { return isRemote_; }

private:
    kyString::IString path_;
    std::uint64_t blockSize_;
    std::uint64_t size_;
    std::uint64_t avail_;
    bool isRemote_;
};

} // namespace kyOS

#endif // KY_OS_FILESYSTEM_H
