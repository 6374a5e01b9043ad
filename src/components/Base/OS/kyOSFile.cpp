// kyOSFile.cpp - kyOS::File, its error table and the file factory.
#include <Base/OS/kyOSFile.h>

#include <Base/OS/internal/kyOSFileUtil.h>
#include <Base/OS/internal/kyOSLocalFile.h>

#include <utility>

namespace kyOS {

// ---------------------------------------------------------------------------------------------
// Error table

const char* const File::ErrMsgs[kFileErrCount] = {
    "Not Implemented",
    "File Exists",
    "End Of File",
    "An I/O problem has occurred",
    "No write permission",
    "No read permission",
    "No Overwrite permission",
    "File is not open",
    "File is open",
    "Resource is not a directory",
    "Resource is not a file",
    "The path is too long",
    "The directory is not empty",
    "ErrSyscall",
    "The URL is invalid",
    "Permission Denied",
    "Authentication Failed",
    "File does not exist",
    "Cannot become the parent of a root directory",
};

kyUtil::Error File::getError(int code) {
    if (code == 0) {
        return kyUtil::Error();
    }
    if (code < 1 || code > kFileErrCount) {
        return kyUtil::Error(code, kyString::IString());
    }
    return kyUtil::Error(code, "%s", ErrMsgs[code - 1]);
}

// ---------------------------------------------------------------------------------------------
// Transports and the factory

FileTransport::~FileTransport() = default;
FileFactory::~FileFactory() = default;

namespace {

class LocalFileFactory : public FileFactory {
public:
    FileTransport* createTransport(const kyString::IString& name) override {
        return detail::createLocalTransport(name);
    }
};

FileFactory*& installedFactory() {
    static FileFactory* factory = nullptr;
    return factory;
}

} // namespace

FileFactory& getFileFactory() {
    static LocalFileFactory local;
    FileFactory* installed = installedFactory();
    return installed != nullptr ? *installed : local;
}

void setFileFactory(FileFactory* factory) {
    installedFactory() = factory;
}

// ---------------------------------------------------------------------------------------------
// File

namespace {
kyUtil::Error invalid() {
    return File::getError(kFileErrNotImplemented);
}
} // namespace

kyUtil::Error File::query(const Filename& name, FileStatus& status) {
    File file(name);
    return file.query(status, false);
}

kyUtil::Error File::query(const kyString::IString& name, FileStatus& status) {
    File file(name);
    return file.query(status, false);
}

File::File(const kyString::IString& name) : transport_(getFileFactory().createTransport(name)) {}

File::File(const Filename& name) : File(name.name()) {}

File::File(FileTransport* transport) : transport_(transport) {}

File::~File() {
    if (transport_ != nullptr && transport_->isOpen()) {
        // Nobody is left to hear about a failure here; callers who care close first.
        static_cast<void>(transport_->close());
    }
    delete transport_;
}

kyUtil::Error File::open(int mode) {
    return transport_ ? transport_->open(mode) : invalid();
}
kyUtil::Error File::openTemp(int mode) {
    return transport_ ? transport_->openTemp(mode) : invalid();
}
kyUtil::Error File::close() {
    return transport_ ? transport_->close() : invalid();
}
kyUtil::Error File::read(void* buffer, std::size_t size, std::size_t* count) {
    if (transport_ == nullptr) {
        if (count != nullptr) {
            *count = 0;
        }
        return invalid();
    }
    return transport_->read(buffer, size, count);
}
kyUtil::Error File::write(const void* buffer, std::size_t size, std::size_t* count) {
    if (transport_ == nullptr) {
        if (count != nullptr) {
            *count = 0;
        }
        return invalid();
    }
    return transport_->write(buffer, size, count);
}
kyUtil::Error File::seek(std::int64_t offset, int origin) {
    return transport_ ? transport_->seek(offset, origin) : invalid();
}
kyUtil::Error File::tell(std::int64_t* position) {
    return transport_ ? transport_->tell(position) : invalid();
}
kyUtil::Error File::sync() {
    return transport_ ? transport_->sync() : invalid();
}
kyUtil::Error File::makeDirectory() {
    return transport_ ? transport_->makeDirectory() : invalid();
}
kyUtil::Error File::makeDirectoryAll() {
    return transport_ ? transport_->makeDirectoryAll() : invalid();
}
kyUtil::Error File::makeTempDirectory() {
    return transport_ ? transport_->makeTempDirectory() : invalid();
}
kyUtil::Error File::deleteSelf(int flags) {
    return transport_ ? transport_->deleteSelf(flags) : invalid();
}
kyUtil::Error File::copyTo(File& target) {
    return transport_ && target.transport_ ? transport_->copyTo(*target.transport_) : invalid();
}
kyUtil::Error File::moveTo(File& target) {
    return transport_ && target.transport_ ? transport_->moveTo(*target.transport_) : invalid();
}
kyUtil::Error File::readDir(ky::vector<kyString::IString>& names, bool fullNames) {
    return transport_ ? transport_->readDir(names, fullNames) : invalid();
}
kyUtil::Error File::query(FileStatus& status, bool withOwner) {
    if (transport_ == nullptr) {
        status.reset();
        return invalid();
    }
    return transport_->query(status, withOwner);
}
bool File::isOpen() const {
    return transport_ != nullptr && transport_->isOpen();
}
bool File::isDirectory() {
    return transport_ != nullptr && transport_->isDirectory();
}
kyString::IString File::getFullName() const {
    return transport_ ? transport_->getFullName() : kyString::IString();
}
kyString::IString File::getNameTitle() const {
    return transport_ ? transport_->getNameTitle() : kyString::IString();
}
kyString::IString File::getNameBase() const {
    return transport_ ? transport_->getNameBase() : kyString::IString();
}
kyString::IString File::transportId() const {
    return transport_ ? transport_->transportId() : kyString::IString();
}
wchar_t File::getSeparator() const {
    return transport_ ? transport_->getSeparator() : Filename::separator();
}

// ---------------------------------------------------------------------------------------------
// Questions about names

bool doesFileExist(const Filename& name) {
    FileStatus status;
    return File::query(name, status).ok() && status.exists();
}

bool isFileWritable(const Filename& name) {
    FileStatus status;
    return File::query(name, status).ok() && status.isWritable();
}

} // namespace kyOS

using kyOS::detail::filenameFrom;

extern "C" {

bool kyOS_DoesFileExist(const char* name) {
    return kyOS::doesFileExist(filenameFrom(name));
}

bool kyOS_DoesFileExistW(const wchar_t* name) {
    return kyOS::doesFileExist(filenameFrom(name));
}

bool kyOS_DoesDirectoryExist(const char* name) {
    // Kept as it always was: the exists flag, so a plain file answers true as well.
    return kyOS::doesFileExist(filenameFrom(name));
}

bool kyOS_IsFileWriteable(const char* name) {
    return kyOS::isFileWritable(filenameFrom(name));
}

bool kyOS_IsFileWriteableW(const wchar_t* name) {
    return kyOS::isFileWritable(filenameFrom(name));
}

static long long readHeader(const kyOS::Filename& name, void* buffer, std::size_t size) {
    if (buffer == nullptr && size > 0) {
        return -1;
    }
    kyOS::File file(name);
    if (file.open(kyOS::kRead).failed()) {
        return -1;
    }
    std::size_t got = 0;
    const kyUtil::Error e = size > 0 ? file.read(buffer, size, &got) : kyUtil::Error();
    // An empty file has no header, which is not a failure: 0 bytes.
    const bool ok = e.ok() || e.code() == kyOS::kFileErrEndOfFile;
    return file.close().ok() && ok ? static_cast<long long>(got) : -1;
}

long long kyOS_ReadHeaderFromFile(const char* name, void* buffer, std::size_t size) {
    return readHeader(filenameFrom(name), buffer, size);
}

long long kyOS_ReadHeaderFromFileW(const wchar_t* name, void* buffer, std::size_t size) {
    return readHeader(filenameFrom(name), buffer, size);
}

} // extern "C"
