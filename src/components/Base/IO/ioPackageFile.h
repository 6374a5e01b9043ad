// ioPackageFile.h - ioPackageFile, one file holding many named entries, and its entry record.
#ifndef KY_IO_PACKAGEFILE_H
#define KY_IO_PACKAGEFILE_H

#include <Base/BaseExport.h>
#include <Base/Containers/kyFunctional.h>
#include <Base/Containers/kyMap.h>
#include <Base/IO/ioBufferedStream.h>
#include <Base/IO/ioContext.h>
#include <Base/IO/ioPacketRegistry.h>
#include <Base/String/kyStringIString.h>
#include <Base/Utility/kyUtilError.h>

#include <cstdint>
#include <vector>

class ioPackageFile;

/// One block of a package's data area: a named entry, a free block (empty name) or the
/// directory record ("."). A plain record owned by its package's entry vector; callers only
/// ever see const pointers, valid until the package's entry vector next changes.
class KY_BASE_API ioPackageFileEntry {
public:
    /// No package, empty name, zero offset, size and time stamp, not compressed.
    ioPackageFileEntry();
    ioPackageFileEntry(ioPackageFile* package, const kyString::IString& name, std::int64_t offset,
                       std::int64_t size, std::int64_t timeStamp, bool compressed);

    ioPackageFile* getPackage() const { return package_; }
    /// The file name of the owning package; empty without one.
    const kyString::IString& getPackageName() const;
    const kyString::IString& getName() const { return name_; }
    std::int64_t getOffset() const { return offset_; }
    /// Bytes stored in the package (the compressed size when compressed).
    std::int64_t getSize() const { return size_; }
    std::int64_t getTimeStamp() const { return timeStamp_; }
    bool getCompressed() const { return compressed_; }

private:
    friend class ioPackageFile;

    ioPackageFile* package_;
    kyString::IString name_;
    std::int64_t offset_;
    std::int64_t size_;
    std::int64_t timeStamp_;
    bool compressed_;
    // A free block that the directory on disk still names (crash-safe mode): it is handed
    // out only after the next update has moved the pointer past it.
    bool reserved_ = false;
};

/// A package file: many named entries in one file, each stored whole and contiguous
/// (optionally through the compression and checksum filters), and a directory that is itself
/// a binary packet file of "package.entry" packets stored after the last entry.
///
/// Layout: byte 0x8F, "KestrovaPortablePackageFile\n", the same 27 characters reversed and
/// "\n", "1\n", "@\n", then a 24-byte field holding the directory's position in decimal
/// (left-aligned, space-padded, "\n"-terminated; "-1" while none was written), then the data
/// area from byte 85 on: the entry blocks in offset order, then the directory.
///
/// Editing is in place. `addEntry` writes the entry's bytes at once into the first free
/// block that fits or at the end of the data area, which is where the directory on disk
/// lies: new entries overwrite the old directory while the header still points at it.
/// `deleteEntry` only marks bytes free. The directory and its pointer are written only by
/// `update()` (or `write()`), so an edited package must be updated before it is closed, or
/// the file keeps a pointer to a directory that may have been overwritten. `write()`
/// compacts into a new file built under a temporary name beside the target and moved into
/// place only when complete and synced, so the package it replaces is never lost.
///
/// Ownership: the package owns its entries and its output stream. Threading: one thread at
/// a time; two package objects on the same file are not coordinated. Failures: every
/// fallible operation returns a `kyUtil::Error` (code 0 on success) and leaves the in-memory
/// state consistent; directory data read from a file is treated as hostile.
class KY_BASE_API ioPackageFile {
public:
    using Directory = ky::map<kyString::IString, int, ky::less<kyString::IString>>;

    ioPackageFile();
    virtual ~ioPackageFile();
    ioPackageFile(const ioPackageFile&) = delete;
    ioPackageFile& operator=(const ioPackageFile&) = delete;

    /// Reads an existing package's header and directory, or creates the file with a fresh
    /// header. On failure the package stays not opened.
    kyUtil::Error open(const kyString::IString& fileName);
    /// Closes the output stream; the directory is not written and the package stays open.
    void close();
    /// Writes the directory and its pointer when the package was modified.
    kyUtil::Error update();
    /// Writes a compacted copy (entries in name order, no gaps) to `fileName` and makes this
    /// object refer to it. On failure this package is unchanged.
    kyUtil::Error write(const kyString::IString& fileName);
    /// Extracts every named entry under `directoryName`. Names from the file that would land
    /// outside it (a ".." component, a drive, a stream colon) are refused with code 12.
    kyUtil::Error expand(const kyString::IString& directoryName);
    /// Adds or replaces `name` with the contents of `fileName`, compressed when asked and
    /// when that makes it smaller.
    kyUtil::Error addEntry(const kyString::IString& fileName, const kyString::IString& name,
                           bool compress);
    /// Copies the stored bytes of another package's entry in under `name` (never replaces).
    kyUtil::Error addEntry(const ioPackageFileEntry* entry, const kyString::IString& name);
    /// Frees the named entry's block; the name is not cleaned first.
    kyUtil::Error deleteEntry(const kyString::IString& name);
    /// Writes the entry's (decompressed, verified) contents to `fileName`; null does nothing.
    kyUtil::Error extractEntry(const ioPackageFileEntry* entry, const kyString::IString& fileName);
    /// "/" separators; drive prefix and leading "/", "./", "../" removed, repeatedly. "./"
    /// and "../" alone are kept as they are.
    static kyString::IString cleanupName(const kyString::IString& name);

    const kyString::IString& getPackageFileName() const { return packageFileName_; }
    /// The number of named entries.
    int size() const { return static_cast<int>(directory_.size()); }
    /// Names to indices of `getEntry(int)`, in name order.
    const Directory& getDirectory() const { return directory_; }
    /// The element at `index` (the last is the directory record "."); null out of range and
    /// for free blocks.
    const ioPackageFileEntry* getEntry(int index) const;
    /// The named entry (the name is not cleaned); null when absent.
    const ioPackageFileEntry* getEntry(const kyString::IString& name) const;
    /// True when the file exists, is readable and starts with a valid package header.
    static bool isFilePackageFile(const kyString::IString& fileName);

    /// Crash-safe editing (off by default; the default layout is the one described above).
    /// When on, allocation never hands out bytes that the directory on disk names: neither
    /// the directory itself nor blocks freed since the last `update()`. New blocks go after
    /// the on-disk directory, `update()` writes the new directory after them, syncs the file,
    /// then rewrites and syncs the pointer, and only then do the old directory and the freed
    /// blocks become free space. A crash at any moment leaves the last updated state or the
    /// new one. Cost: each update appends a directory, until free space or `write()` takes
    /// the old ones back.
    void setCrashSafe(bool on) { crashSafe_ = on; }
    bool getCrashSafe() const { return crashSafe_; }

    /// Used by the directory reader: appends one block read from the directory.
    void appendEntry(const kyString::IString& name, std::int64_t offset, std::int64_t size,
                     std::int64_t timeStamp, bool compressed);

private:
    kyUtil::Error readPackageHeader();
    kyUtil::Error writePackageHeader();
    kyUtil::Error readDirectory();
    kyUtil::Error writeDirectory();
    bool writeDirectoryPointer(std::int64_t position, bool durable);
    void reserveDiskDirectory();
    std::vector<ioPackageFileEntry> committedEntries(bool& changed) const;
    void adoptEntries(std::vector<ioPackageFileEntry>&& entries);
    kyUtil::Error openPackageForOutput();
    void closePackageForOutput();
    int createEntry(std::int64_t size);
    void freeEntry(int index);
    void joinEntries(int index);
    kyUtil::Error verifyAddEntry(const kyString::IString& name) const;
    kyUtil::Error copyEntryIntoPackage(const ioPackageFileEntry* entry,
                                       const kyString::IString& name);
    kyUtil::Error copyStreamIntoPackage(ioBufferedStreamInput& input, std::int64_t size,
                                        std::int64_t timeStamp, bool compressed,
                                        const kyString::IString& name);
    bool tilingValid() const;
    void swap(ioPackageFile& other);

    kyString::IString packageFileName_;
    bool writable_;
    bool modified_;
    std::int64_t directoryPointerPosition_;
    Directory directory_;
    std::vector<ioPackageFileEntry> entries_;
    int freeCount_;
    ioBufferedStreamOutput output_;
    bool outputOpen_;
    bool crashSafe_ = false;
    // Where the directory that the on-disk pointer names ends (the file's size after a
    // read, since a shorter directory may leave old bytes behind it); 0 when there is none.
    std::int64_t diskDirectoryEnd_ = 0;
};

namespace ioPackageIO {

/// The registry of a package directory: one type, "package.entry". Constructed with true to
/// read and false to write.
class KY_BASE_API PackageRegistry : public ioPacketRegistry {
public:
    explicit PackageRegistry(bool reading);
    void registerAllTypes() override;
};

/// The read client of a package directory: it carries the package being filled.
class KY_BASE_API PackageReadContext : public ioClientReadContext {
public:
    PackageReadContext(ioReadContext& context, ioPackageFile* package)
        : ioClientReadContext(context), package_(package) {}
    ioPackageFile* getPackage() const { return package_; }

private:
    ioPackageFile* package_;
};

} // namespace ioPackageIO

#endif // KY_IO_PACKAGEFILE_H
