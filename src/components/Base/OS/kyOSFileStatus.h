// kyOSFileStatus.h - kyOS::FileStatus, what a status query tells about a path.
#ifndef KY_OS_FILESTATUS_H
#define KY_OS_FILESTATUS_H

#include <Base/BaseExport.h>
#include <Base/String/kyStringCString.h>

#include <cstdint>

namespace kyOS {

/// The answer of a status query (`File::query`): existence, access for the caller, kind,
/// size and times, owner and group. A plain value: copies share nothing. The size is 64-bit
/// so that files over 2 GiB report correctly. Times are seconds since 1970-01-01 UTC.
/// "Readable" and "writable" are the caller's effective rights (the superuser passes both).
class KY_BASE_API FileStatus {
public:
    /// Every flag false, every number 0, both names empty.
    FileStatus();
    FileStatus(const FileStatus& other);
    FileStatus(FileStatus&& other) noexcept;
    FileStatus& operator=(const FileStatus& other);
    FileStatus& operator=(FileStatus&& other) noexcept;
    ~FileStatus();

    /// Back to the state of a new object.
    void reset();

    bool exists() const { return exists_; }
    bool isReadable() const { return isReadable_; }
    bool isWritable() const { return isWritable_; }
    bool isDirectory() const { return isDirectory_; }
    bool isFile() const { return isFile_; }
    /// On a network file system.
    bool isRemote() const { return isRemote_; }
    /// Checked out of a revision store; only transports that know the notion set it.
    bool isCheckedout() const { return isCheckedout_; }
    std::int64_t getSize() const { return size_; }
    std::int64_t getCreationDate() const { return creationDate_; }
    std::int64_t getLastModifiedDate() const { return lastModification_; }
    const kyString::CString& getOwner() const { return owner_; }
    const kyString::CString& getGroup() const { return group_; }

    void setExists(bool value) { exists_ = value; }
    void setIsReadable(bool value) { isReadable_ = value; }
    void setIsWritable(bool value) { isWritable_ = value; }
    void setIsDirectory(bool value) { isDirectory_ = value; }
    void setIsFile(bool value) { isFile_ = value; }
    void setIsRemote(bool value) { isRemote_ = value; }
    void setIsCheckedout(bool value) { isCheckedout_ = value; }
    void setSize(std::int64_t value) { size_ = value; }
    void setCreationDate(std::int64_t value) { creationDate_ = value; }
    void setLastModification(std::int64_t value) { lastModification_ = value; }
    void setOwner(const kyString::CString& value) { owner_ = value; }
    void setGroup(const kyString::CString& value) { group_ = value; }

private:
    bool exists_;
    bool isReadable_;
    bool isWritable_;
    bool isDirectory_;
    bool isFile_;
    bool isRemote_;
    bool isCheckedout_;
    std::int64_t size_;
    std::int64_t creationDate_;
    std::int64_t lastModification_;
    kyString::CString owner_;
    kyString::CString group_;
};

} // namespace kyOS

#endif // KY_OS_FILESTATUS_H
