// kyOSFile.h - kyOS::File, its transports and factory, and the file error table. Includes the
// headers of its status, stream interface, codes and whole-file operations as well.
#ifndef KY_OS_FILE_H
#define KY_OS_FILE_H

#include <Base/BaseExport.h>
#include <Base/Containers/kyVector.h>
#include <Base/OS/kyOSFileOps.h>
#include <Base/OS/kyOSFileStatus.h>
#include <Base/OS/kyOSFileTypes.h>
#include <Base/OS/kyOSFilename.h>
#include <Base/OS/kyOSIOStream.h>
#include <Base/String/kyStringIString.h>
#include <Base/Utility/kyUtilError.h>

#include <cstddef>
#include <cstdint>

namespace kyOS {

/// One way of reaching files: the local disk is the built-in one. A transport is made for
/// one name by a `FileFactory` and owned by the `File` that uses it. Every operation returns
/// an error from the file error table (`File::getError`) or `kFileErrSyscall` with the system's own
/// text. Not thread-safe: one thread at a time per transport.
class KY_BASE_API FileTransport {
public:
    FileTransport() = default;
    FileTransport(const FileTransport&) = delete;
    FileTransport& operator=(const FileTransport&) = delete;
    virtual ~FileTransport();

    virtual kyUtil::Error open(int mode) = 0;
    /// Gives the transport a new temporary name and opens it as `open(mode | kCreate |
    /// kExclusive)` would.
    virtual kyUtil::Error openTemp(int mode) = 0;
    virtual kyUtil::Error close() = 0;
    virtual kyUtil::Error read(void* buffer, std::size_t size, std::size_t* count) = 0;
    virtual kyUtil::Error write(const void* buffer, std::size_t size, std::size_t* count) = 0;
    virtual kyUtil::Error seek(std::int64_t offset, int origin) = 0;
    virtual kyUtil::Error tell(std::int64_t* position) = 0;
    /// Makes the data written so far durable (on the disk, not only in caches).
    virtual kyUtil::Error sync() = 0;
    virtual kyUtil::Error makeDirectory() = 0;
    virtual kyUtil::Error makeDirectoryAll() = 0;
    /// Gives the transport a new temporary name and creates a directory there.
    virtual kyUtil::Error makeTempDirectory() = 0;
    virtual kyUtil::Error deleteSelf(int flags) = 0;
    virtual kyUtil::Error copyTo(FileTransport& target) = 0;
    virtual kyUtil::Error moveTo(FileTransport& target) = 0;
    virtual kyUtil::Error readDir(ky::vector<kyString::IString>& names, bool fullNames) = 0;
    virtual kyUtil::Error query(FileStatus& status, bool withOwner) = 0;
    virtual bool isOpen() const = 0;
    virtual bool isDirectory() = 0;
    virtual kyString::IString getFullName() const = 0;
    virtual kyString::IString getNameTitle() const = 0;
    virtual kyString::IString getNameBase() const = 0;
    virtual kyString::IString transportId() const = 0;
    virtual wchar_t getSeparator() const = 0;
};

/// Makes transports for names. The installed factory (`getFileFactory`) serves every `File`
/// made from a name; the built-in one makes local-disk transports for every name.
class KY_BASE_API FileFactory {
public:
    virtual ~FileFactory();
    /// A new transport for `name`, owned by the caller; never null.
    virtual FileTransport* createTransport(const kyString::IString& name) = 0;
};

/// The factory in use: the built-in local-disk factory unless one was installed.
KY_BASE_API FileFactory& getFileFactory();
/// Installs `factory` (not owned; it must outlive its use) or, with null, the built-in one.
/// Install at start-up, before other threads make files.
KY_BASE_API void setFileFactory(FileFactory* factory);

/// A file or directory, reached through the transport that the factory made for its name.
/// Owns the transport. Opening, reading and writing follow `OpenMode` and the `IOStream`
/// contract; failures come back as `kyUtil::Error` values with the codes of the file error
/// table (`FileError`; `kFileErrSyscall` carries the system's own text). A `File` closes itself
/// when destroyed. Not thread-safe: one thread at a time per object.
///
/// @code
///   kyOS::File out(L"notes.txt");
///   kyUtil::Error e = out.open(kyOS::kWrite | kyOS::kCreate | kyOS::kTruncate);
///   if (e.ok()) e = out.write("hello", 5, nullptr);
///   if (e.ok()) e = out.close();
/// @endcode
class KY_BASE_API File : public IOStream {
public:
    /// Message texts of the file error codes (`FileError`), indexed by code - 1.
    static const char* const ErrMsgs[kFileErrCount];
    /// An error with `code` and its text from `ErrMsgs`; code 0 gives an empty error and a
    /// code outside the table the code alone.
    static kyUtil::Error getError(int code);

    /// Status of the name through the installed factory's transport (without owner and
    /// group). A missing name is not an error: the status says it does not exist.
    static kyUtil::Error query(const Filename& name, FileStatus& status);
    static kyUtil::Error query(const kyString::IString& name, FileStatus& status);

    explicit File(const kyString::IString& name);
    explicit File(const Filename& name);
    /// Adopts `transport` (may be null: the file is then not valid).
    explicit File(FileTransport* transport);
    ~File() override;

    bool isValid() const { return transport_ != nullptr; }

    kyUtil::Error open(int mode);
    kyUtil::Error openTemp(int mode);
    kyUtil::Error close();
    kyUtil::Error read(void* buffer, std::size_t size, std::size_t* count) override;
    kyUtil::Error write(const void* buffer, std::size_t size, std::size_t* count) override;
    kyUtil::Error seek(std::int64_t offset, int origin);
    kyUtil::Error tell(std::int64_t* position);
    kyUtil::Error sync();
    kyUtil::Error makeDirectory();
    /// Creates the directory and every missing parent.
    kyUtil::Error makeDirectoryAll();
    kyUtil::Error makeTempDirectory();
    kyUtil::Error deleteSelf(int flags = 0);
    kyUtil::Error copyTo(File& target);
    kyUtil::Error moveTo(File& target);
    /// The entries of this directory, without "." and "..", in the order the system gives
    /// them; with `fullNames` each joined to the directory's name.
    kyUtil::Error readDir(ky::vector<kyString::IString>& names, bool fullNames);
    /// Status of this file; `withOwner` also looks up owner and group names.
    kyUtil::Error query(FileStatus& status, bool withOwner);

    bool isOpen() const;
    bool isDirectory();
    kyString::IString getFullName() const;
    /// The name without its directory ("shot.ma" for "/data/shot.ma").
    kyString::IString getNameTitle() const;
    /// The title without its last suffix ("shot").
    kyString::IString getNameBase() const;
    /// Which transport serves the file ("file" for the local disk).
    kyString::IString transportId() const;
    wchar_t getSeparator() const;
    FileTransport* getTransport() const { return transport_; }

private:
    FileTransport* transport_;
};

/// `File::query` answered without error and the name exists.
KY_BASE_API bool doesFileExist(const Filename& name);
/// `File::query` answered without error and the name may be written.
KY_BASE_API bool isFileWritable(const Filename& name);

} // namespace kyOS

// Entry points for C callers; narrow names are in the process's code page.
extern "C" {
KY_BASE_API bool kyOS_DoesFileExist(const char* name);
KY_BASE_API bool kyOS_DoesFileExistW(const wchar_t* name);
/// The exists flag of the status: deliberately true for a plain file as well.
KY_BASE_API bool kyOS_DoesDirectoryExist(const char* name);
KY_BASE_API bool kyOS_IsFileWriteable(const char* name);
KY_BASE_API bool kyOS_IsFileWriteableW(const wchar_t* name);
/// Reads up to `size` leading bytes of the file into `buffer`; returns the number read
/// (fewer for a shorter file), or -1 when the file cannot be opened or read.
KY_BASE_API long long kyOS_ReadHeaderFromFile(const char* name, void* buffer, std::size_t size);
KY_BASE_API long long kyOS_ReadHeaderFromFileW(const wchar_t* name, void* buffer, std::size_t size);
}

#endif // KY_OS_FILE_H
