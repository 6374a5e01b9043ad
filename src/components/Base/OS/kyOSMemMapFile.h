// kyOSMemMapFile.h - kyOS::MemMapFile, a mapped view of a whole existing file.
#ifndef KY_OS_MEMMAPFILE_H
#define KY_OS_MEMMAPFILE_H

#include <Base/BaseExport.h>
#include <Base/String/kyStringIString.h>
#include <Base/Utility/kyUtilError.h>

#include <cstdint>

namespace kyOS {

/// A whole existing file seen as memory: `map()` maps it read-only, or read-write when made
/// writable (writes then reach the file), and `unmap()` or destruction ends the view. The
/// file's handles are closed as soon as the view exists; the view alone keeps the data.
/// Owns its view. Not copyable. Not synchronised: one thread at a time. No operation throws.
///
/// @code
///   kyOS::MemMapFile file(L"scene.dat");
///   kyUtil::Error error;
///   const char* bytes = static_cast<const char*>(file.map(error));
///   if (bytes != nullptr) { /* file.getSize() bytes */ }
/// @endcode
class KY_BASE_API MemMapFile {
public:
    explicit MemMapFile(const kyString::IString& filename, bool writable = false);
    ~MemMapFile();
    MemMapFile(const MemMapFile&) = delete;
    MemMapFile& operator=(const MemMapFile&) = delete;

    /// Maps the file (once; later calls return the same view). The start of the view, or null
    /// with `error` set: "File does not exist" (18) for a missing file, "End Of File" (3) for
    /// an empty one (there is nothing to map), otherwise code 14 with the system's text.
    /// `error` is cleared on success.
    void* map(kyUtil::Error& error);
    /// Ends the view (nothing when not mapped).
    void unmap();
    const kyString::IString& filename() const { return filename_; }
    /// The view's start, null when not mapped.
    void* getMem() const { return mem_; }
    /// The mapped size, 0 when not mapped.
    std::uint64_t getSize() const { return size_; }

private:
    kyString::IString filename_;
    bool writable_;
    void* mem_ = nullptr;
    std::uint64_t size_ = 0;
};

} // namespace kyOS

#endif // KY_OS_MEMMAPFILE_H
