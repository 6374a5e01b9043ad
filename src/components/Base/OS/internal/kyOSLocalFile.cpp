// kyOSLocalFile.cpp - the local-disk file transport, built on the system-call table.
#include <Base/OS/internal/kyOSLocalFile.h>

#include <Base/OS/internal/kyOSFileUtil.h>
#include <Base/OS/internal/kyOSPath.h>

#include <cerrno>
#include <string>
#include <vector>

namespace kyOS {
namespace detail {

kyUtil::Error fileErrorFor(int error, bool writing) {
    switch (error) {
    case ENOENT:
        return File::getError(kFileErrDoesNotExist);
    case EEXIST:
        return File::getError(kFileErrExists);
    case EACCES:
    case EPERM:
    case EROFS:
        return File::getError(writing ? kFileErrNoWritePermission : kFileErrNoReadPermission);
    case EISDIR:
        return File::getError(kFileErrNotAFile);
    case ENOTDIR:
        return File::getError(kFileErrNotADirectory);
    case ENAMETOOLONG:
        return File::getError(kFileErrPathTooLong);
    case ENOTEMPTY:
        return File::getError(kFileErrDirectoryNotEmpty);
    default:
        return runtimeError(error);
    }
}

namespace {

// The system deletes files with its own error numbers on Windows (DeleteFileW).
kyUtil::Error removeFile(const std::wstring& name) {
    FileCalls& calls = fileCalls();
    int error = 0;
    if (retryInterrupted([&] { return calls.unlink(name, &error); }, &error) != 0) {
        return fileErrorFor(calls.runtimeErrorOf(error), true);
    }
    return kyUtil::Error();
}

// Some systems say "exists" for a directory that is not empty.
kyUtil::Error removeEmptyDirectory(const std::wstring& name) {
    int error = 0;
    if (retryInterrupted([&] { return fileCalls().rmdir(name, &error); }, &error) != 0) {
        return fileErrorFor(error == EEXIST ? ENOTEMPTY : error, true);
    }
    return kyUtil::Error();
}

class LocalFileTransport : public FileTransport {
public:
    explicit LocalFileTransport(const kyString::IString& name) : name_(name), fd_(-1), mode_(0) {}
    ~LocalFileTransport() override {
        if (fd_ >= 0) {
            closeQuietly(fd_);
        }
    }

    kyUtil::Error open(int mode) override;
    kyUtil::Error openTemp(int mode) override;
    kyUtil::Error close() override;
    kyUtil::Error read(void* buffer, std::size_t size, std::size_t* count) override;
    kyUtil::Error write(const void* buffer, std::size_t size, std::size_t* count) override;
    kyUtil::Error seek(std::int64_t offset, int origin) override;
    kyUtil::Error tell(std::int64_t* position) override;
    kyUtil::Error sync() override;
    kyUtil::Error makeDirectory() override;
    kyUtil::Error makeDirectoryAll() override;
    kyUtil::Error makeTempDirectory() override;
    kyUtil::Error deleteSelf(int flags) override;
    kyUtil::Error copyTo(FileTransport& target) override;
    kyUtil::Error moveTo(FileTransport& target) override;
    kyUtil::Error readDir(ky::vector<kyString::IString>& names, bool fullNames) override;
    kyUtil::Error query(FileStatus& status, bool withOwner) override;
    bool isOpen() const override { return fd_ >= 0; }
    bool isDirectory() override {
        NativeStat info{};
        int error = 0;
        return fileCalls().stat(native(), &info, &error) == 0 && info.isDirectory;
    }
    kyString::IString getFullName() const override { return name_.name(); }
    kyString::IString getNameTitle() const override { return name_.basename(); }
    kyString::IString getNameBase() const override { return name_.baseTrunk(); }
    kyString::IString transportId() const override { return kyString::IString(L"file"); }
    wchar_t getSeparator() const override { return name_.getSeparator(); }

private:
    std::wstring native() const { return name_.name().str(); }
    bool tooLong() const { return name_.name().length() > Filename::maxLength(); }
    kyUtil::Error removeTree(const std::wstring& name);

    Filename name_;
    int fd_;
    int mode_;
};

kyUtil::Error LocalFileTransport::open(int mode) {
    if (fd_ >= 0) {
        return File::getError(kFileErrIsOpen);
    }
    const bool reading = (mode & kRead) != 0;
    const bool writing = (mode & (kWrite | kAppend)) != 0;
    if ((!reading && !writing) || name_.name().isEmpty()) {
        return File::getError(kFileErrNotImplemented);
    }
    if (tooLong()) {
        return File::getError(kFileErrPathTooLong);
    }
    // The modifiers only mean something to a writer.
    const int flags = writing ? mode : kRead;
    int error = 0;
    const std::wstring name = native();
    const int fd = static_cast<int>(
        retryInterrupted([&] { return fileCalls().open(name, flags, &error); }, &error));
    if (fd < 0) {
        // Windows refuses a directory as "access denied": say what it really is.
        NativeStat info{};
        int statError = 0;
        if ((error == EACCES || error == EISDIR) &&
            fileCalls().stat(name, &info, &statError) == 0 && info.isDirectory) {
            return File::getError(kFileErrNotAFile);
        }
        return fileErrorFor(error, writing);
    }
    // A directory opens for reading on POSIX systems; it is not a file to read bytes from.
    NativeStat info{};
    if (fileCalls().fstat(fd, &info, &error) == 0 && info.isDirectory) {
        closeQuietly(fd);
        return File::getError(kFileErrNotAFile);
    }
    fd_ = fd;
    mode_ = mode;
    return kyUtil::Error();
}

kyUtil::Error LocalFileTransport::openTemp(int mode) {
    if (fd_ >= 0) {
        return File::getError(kFileErrIsOpen);
    }
    kyUtil::Error e;
    // The name is free when made; another process may take it before we open: try again.
    for (int attempt = 0; attempt < 16; ++attempt) {
        name_ = createTmpFilename(kyString::IString()).name();
        e = open(mode | kCreate | kExclusive);
        if (e.code() != 2) {
            break;
        }
    }
    return e;
}

kyUtil::Error LocalFileTransport::close() {
    if (fd_ < 0) {
        return File::getError(kFileErrNotOpen);
    }
    int error = 0;
    const int result = fileCalls().close(fd_, &error);
    fd_ = -1;
    mode_ = 0;
    return result == 0 ? kyUtil::Error() : runtimeError(error);
}

kyUtil::Error LocalFileTransport::read(void* buffer, std::size_t size, std::size_t* count) {
    if (count != nullptr) {
        *count = 0;
    }
    if (fd_ < 0) {
        return File::getError(kFileErrNotOpen);
    }
    if ((mode_ & kRead) == 0) {
        return File::getError(kFileErrNoReadPermission);
    }
    if (size == 0) {
        return kyUtil::Error();
    }
    if (buffer == nullptr) {
        return File::getError(kFileErrIO); // nowhere to put the bytes
    }
    int error = 0;
    const long long got = readFully(fd_, buffer, size, &error);
    if (got < 0) {
        return runtimeError(error);
    }
    if (count != nullptr) {
        *count = static_cast<std::size_t>(got);
    }
    return got == 0 ? File::getError(kFileErrEndOfFile) : kyUtil::Error();
}

kyUtil::Error LocalFileTransport::write(const void* buffer, std::size_t size, std::size_t* count) {
    if (count != nullptr) {
        *count = 0;
    }
    if (fd_ < 0) {
        return File::getError(kFileErrNotOpen);
    }
    if ((mode_ & (kWrite | kAppend)) == 0) {
        return File::getError(kFileErrNoWritePermission);
    }
    if (buffer == nullptr && size > 0) {
        return File::getError(kFileErrIO); // nothing to take the bytes from
    }
    int error = 0;
    if (writeAll(fd_, buffer, size, &error) != 0) {
        return runtimeError(error);
    }
    if (count != nullptr) {
        *count = size;
    }
    return kyUtil::Error();
}

kyUtil::Error LocalFileTransport::seek(std::int64_t offset, int origin) {
    if (fd_ < 0) {
        return File::getError(kFileErrNotOpen);
    }
    int error = 0;
    return fileCalls().seek(fd_, offset, origin, &error) < 0 ? runtimeError(error)
                                                             : kyUtil::Error();
}

kyUtil::Error LocalFileTransport::tell(std::int64_t* position) {
    if (fd_ < 0) {
        return File::getError(kFileErrNotOpen);
    }
    int error = 0;
    const long long at = fileCalls().seek(fd_, 0, kSeekCurrent, &error);
    if (at < 0) {
        return runtimeError(error);
    }
    if (position != nullptr) {
        *position = at;
    }
    return kyUtil::Error();
}

kyUtil::Error LocalFileTransport::sync() {
    if (fd_ < 0) {
        return File::getError(kFileErrNotOpen);
    }
    int error = 0;
    return retryInterrupted([&] { return fileCalls().fsync(fd_, &error); }, &error) != 0
               ? runtimeError(error)
               : kyUtil::Error();
}

kyUtil::Error LocalFileTransport::makeDirectory() {
    if (tooLong()) {
        return File::getError(kFileErrPathTooLong);
    }
    int error = 0;
    const std::wstring name = native();
    if (retryInterrupted([&] { return fileCalls().mkdir(name, &error); }, &error) == 0) {
        return kyUtil::Error();
    }
    return fileErrorFor(error, true);
}

kyUtil::Error LocalFileTransport::makeDirectoryAll() {
    if (tooLong()) {
        return File::getError(kFileErrPathTooLong);
    }
    NativeStat info{};
    int error = 0;
    const std::wstring name = native();
    if (fileCalls().stat(name, &info, &error) == 0) {
        return info.isDirectory ? kyUtil::Error() : File::getError(kFileErrNotADirectory);
    }
    const kyString::IString& parent = name_.dirname();
    if (!parent.isEmpty() && parent != name_.name() && parent != name_.prefix()) {
        LocalFileTransport up(parent);
        const kyUtil::Error e = up.makeDirectoryAll();
        if (e.failed()) {
            return e;
        }
    }
    const kyUtil::Error e = makeDirectory();
    // Someone else may have made it meanwhile; that is as good.
    if (e.code() == 2 && isDirectory()) {
        return kyUtil::Error();
    }
    return e;
}

kyUtil::Error LocalFileTransport::makeTempDirectory() {
    kyUtil::Error e;
    for (int attempt = 0; attempt < 16; ++attempt) {
        name_ = createTmpFilename(kyString::IString()).name();
        e = makeDirectory();
        if (e.code() != 2) {
            break;
        }
    }
    return e;
}

kyUtil::Error LocalFileTransport::removeTree(const std::wstring& name) {
    FileCalls& calls = fileCalls();
    int error = 0;
    std::vector<std::wstring> entries;
    if (calls.listDirectory(name, entries, &error) != 0) {
        return fileErrorFor(error, true);
    }
    for (const std::wstring& entry : entries) {
        const std::wstring child = join(name, entry, name_.style());
        NativeStat info{};
        // lstat semantics are not needed: links to directories are removed as files below
        // when the system says they are not directories.
        if (calls.stat(child, &info, &error) == 0 && info.isDirectory) {
            const kyUtil::Error e = removeTree(child);
            if (e.failed()) {
                return e;
            }
        } else {
            const kyUtil::Error e = removeFile(child);
            if (e.failed()) {
                return e;
            }
        }
    }
    return removeEmptyDirectory(name);
}

kyUtil::Error LocalFileTransport::deleteSelf(int flags) {
    if (fd_ >= 0) {
        return File::getError(kFileErrIsOpen);
    }
    FileCalls& calls = fileCalls();
    NativeStat info{};
    int error = 0;
    const std::wstring name = native();
    if (calls.stat(name, &info, &error) != 0) {
        return fileErrorFor(error, true);
    }
    if (info.isDirectory) {
        return (flags & kDeleteRecursive) != 0 ? removeTree(name) : removeEmptyDirectory(name);
    }
    return removeFile(name);
}

kyUtil::Error LocalFileTransport::copyTo(FileTransport& target) {
    if (target.transportId() != transportId()) {
        return File::getError(kFileErrNotImplemented);
    }
    if (!nameExists(native())) {
        return File::getError(kFileErrDoesNotExist);
    }
    const kyUtil::Error e = fileCopy(name_, Filename(target.getFullName()), true);
    return e.ok() ? e : kyUtil::Error(kFileErrSyscall, *e.messageString());
}

kyUtil::Error LocalFileTransport::moveTo(FileTransport& target) {
    if (target.transportId() != transportId()) {
        return File::getError(kFileErrNotImplemented);
    }
    const std::wstring from = native();
    const std::wstring to = target.getFullName().str();
    int error = 0;
    if (retryInterrupted([&] { return fileCalls().rename(from, to, &error); }, &error) == 0) {
        return kyUtil::Error();
    }
    if (error != EXDEV) {
        return fileErrorFor(error, true);
    }
    // Another file system: copy, make the copy durable, then let the original go.
    const kyUtil::Error e = fileMove(name_, Filename(target.getFullName()), true);
    return e.ok() ? e : kyUtil::Error(kFileErrSyscall, *e.messageString());
}

kyUtil::Error LocalFileTransport::readDir(ky::vector<kyString::IString>& names, bool fullNames) {
    names.clear();
    FileCalls& calls = fileCalls();
    NativeStat info{};
    int error = 0;
    const std::wstring name = native();
    if (calls.stat(name, &info, &error) != 0) {
        return fileErrorFor(error, false);
    }
    if (!info.isDirectory) {
        return File::getError(kFileErrNotADirectory);
    }
    std::vector<std::wstring> entries;
    if (calls.listDirectory(name, entries, &error) != 0) {
        return fileErrorFor(error, false);
    }
    names.reserve(static_cast<unsigned int>(entries.size()));
    for (const std::wstring& entry : entries) {
        names.push_back(fullNames ? kyString::IString(join(name, entry, name_.style()).c_str())
                                  : kyString::IString(entry.c_str()));
    }
    return kyUtil::Error();
}

kyUtil::Error LocalFileTransport::query(FileStatus& status, bool withOwner) {
    status.reset();
    if (name_.name().isEmpty()) {
        return kyUtil::Error();
    }
    if (tooLong()) {
        return File::getError(kFileErrPathTooLong);
    }
    FileCalls& calls = fileCalls();
    NativeStat info{};
    int error = 0;
    const std::wstring name = native();
    if (retryInterrupted([&] { return calls.stat(name, &info, &error); }, &error) != 0) {
        // Not there (or a plain file stands where a directory should): an answer, not a
        // failure.
        if (error == ENOENT || error == ENOTDIR) {
            return kyUtil::Error();
        }
        return fileErrorFor(error, false);
    }
    status.setExists(true);
    status.setIsDirectory(info.isDirectory);
    status.setIsFile(info.isFile);
    status.setSize(info.size);
    status.setCreationDate(info.creation);
    status.setLastModification(info.modification);
    const auto allowed = [&](int how) {
        return retryInterrupted([&] { return calls.access(name, how, &error); }, &error) == 0;
    };
    status.setIsReadable(allowed(4));
    status.setIsWritable(allowed(2));
    status.setIsRemote(calls.isRemote(name));
    if (withOwner) {
        std::wstring longName;
        if (longPathForm(name_.name().str(), name_.style(), longName).failed()) {
            longName = name;
        }
        std::string owner;
        std::string group;
        if (calls.owner(longName, owner, group, &error) == 0) {
            status.setOwner(kyString::CString(owner.c_str()));
            status.setGroup(kyString::CString(group.c_str()));
        }
    }
    return kyUtil::Error();
}

} // namespace

FileTransport* createLocalTransport(const kyString::IString& name) {
    return new LocalFileTransport(name);
}

} // namespace detail
} // namespace kyOS
