// kyOSFileStatus.cpp - kyOS::FileStatus.
#include <Base/OS/kyOSFileStatus.h>

namespace kyOS {

FileStatus::FileStatus() {
    reset();
}

FileStatus::FileStatus(const FileStatus& other) = default;
FileStatus::FileStatus(FileStatus&& other) noexcept = default;
FileStatus& FileStatus::operator=(const FileStatus& other) = default;
FileStatus& FileStatus::operator=(FileStatus&& other) noexcept = default;
FileStatus::~FileStatus() = default;

void FileStatus::reset() {
    exists_ = isReadable_ = isWritable_ = isDirectory_ = isFile_ = isRemote_ = isCheckedout_ =
        false;
    size_ = creationDate_ = lastModification_ = 0;
    owner_ = kyString::CString();
    group_ = kyString::CString();
}

} // namespace kyOS
