// kyOSMemoryMappedFile.h - kyOS::FileMapping (one mapped view) and kyOS::MemoryMappedFile (one
// file made for mapping, deleted when closed).
#ifndef KY_OS_MEMORYMAPPEDFILE_H
#define KY_OS_MEMORYMAPPEDFILE_H

#include <Base/BaseExport.h>
#include <Base/String/kyStringIString.h>

#include <cstdint>

namespace kyOS {

/// One view of a file in the address space: its offset in the file, its length and its start
/// (null when not mapped). A plain value: copies copy all three fields and so name the same
/// view; exactly one of them may `unmap()` it, after which the others must not be used.
/// Not synchronised; a view may be read and written from any thread the caller chooses.
class KY_BASE_API FileMapping {
public:
    FileMapping() = default;
    FileMapping(std::int64_t offset, std::uint64_t size, void* ptr)
        : offset_(offset), size_(size), ptr_(ptr) {}

    std::int64_t getOffset() const { return offset_; }
    std::uint64_t getSize() const { return size_; }
    void* getPtr() const { return ptr_; }
    explicit operator bool() const { return ptr_ != nullptr; }

    /// When mapped: releases the view and sets all three fields to zero. False when the
    /// system refused (the fields are cleared all the same: the view is unusable either way).
    bool unmap();
    /// Writes the changed pages between the offsets `from` and `to` of the view (clamped to
    /// it) to the file. False when not mapped or the system refused.
    bool flush(std::uint64_t from, std::uint64_t to) const;
    /// Read-ahead: touches one byte of every 4096-byte page from `offset` rounded down to a
    /// multiple of 1 MiB up to `end` rounded up to the next multiple of 1 MiB (clamped to the
    /// view), in increasing order, so that the system reads the file in ahead of use.
    /// Returns the number of pages touched (0 when not mapped).
    std::uint64_t load(std::uint64_t offset, std::uint64_t end) const;

    /// The system's allocation granularity (the alignment of view offsets: 64 KiB on Windows,
    /// the page size on POSIX systems), asked once and remembered.
    static std::uint64_t getGranularity();

    /// The read-ahead step and the page stride of `load`.
    static constexpr std::uint64_t kLoadStep = 0x100000;
    static constexpr std::uint64_t kPageStride = 4096;

private:
    std::uint64_t accessPagesSequentially(std::uint64_t offset, std::uint64_t end) const;

    std::int64_t offset_ = 0;
    std::uint64_t size_ = 0;
    void* ptr_ = nullptr;
};

namespace detail {
class MemoryMappedFileImpl;
}

/// One file made for mapping (the backing file of moveable memory): created for reading and
/// writing, not shared, replacing any file of that name, and sized and mapped as a whole;
/// `map()` hands out read-write views of ranges of it. With delete-on-close the system removes
/// the file when it is closed (on POSIX the name is unlinked right after the open, so nothing
/// is left behind even when the process is killed). Owns its handles; destruction closes the
/// mapping, then the file. Views are the caller's: unmap them before the file goes.
/// Movable, not copyable. Not synchronised: one thread at a time. No operation throws.
///
/// @code
///   kyOS::MemoryMappedFile file;
///   if (file.createFile(L"/tmp/scratch", 1 << 20, true)) {
///       kyOS::FileMapping view = file.map(0, 1 << 20);
///       static_cast<char*>(view.getPtr())[0] = 'x';
///       view.unmap();
///   }
/// @endcode
class KY_BASE_API MemoryMappedFile {
public:
    MemoryMappedFile();
    MemoryMappedFile(MemoryMappedFile&& other) noexcept;
    MemoryMappedFile& operator=(MemoryMappedFile&& other) noexcept;
    MemoryMappedFile(const MemoryMappedFile&) = delete;
    MemoryMappedFile& operator=(const MemoryMappedFile&) = delete;
    ~MemoryMappedFile();

    /// Creates `name` of `size` bytes (sparse where the file system allows) and a read-write
    /// mapping of exactly that size, closing what this object held before. On any failure
    /// both handles are closed, name and size are cleared and the result is false.
    bool createFile(const kyString::IString& name, std::int64_t size, bool deleteOnClose);
    /// A read-write view of `size` bytes from `offset` (a multiple of the granularity); its
    /// pointer is null when the file is not valid or the system refuses.
    FileMapping map(std::int64_t offset, std::uint64_t size) const;

    const kyString::IString& getFilename() const;
    /// 0 when no file is held.
    std::int64_t getSize() const;
    bool valid() const { return getSize() > 0; }

private:
    void close();
    detail::MemoryMappedFileImpl* impl_;
};

} // namespace kyOS

#endif // KY_OS_MEMORYMAPPEDFILE_H
