// ioBufferFD.cpp - descriptor and file-range buffers, through the file layer's call table.
#include <Base/IO/internal/ioBufferFD.h>

#include <Base/OS/kyOSFile.h>
#include <Base/OS/kyOSFileStatus.h>
#include <Base/OS/shared/kyOSDescriptorCalls.h>

#include <cerrno>

namespace ioDetail {

// A descriptor that keeps answering "interrupted" or "try again" gets this many more
// attempts; after that the call counts as failed rather than spinning for ever.
constexpr int kRetryLimit = 10000;

bool isRetryable(int error) {
    return error == EINTR || error == EAGAIN;
}

} // namespace ioDetail

ioBufferFD::ioBufferFD(bool reading)
    : ioBuffer(reading, kCapacity), fd_(-1), isOpen_(false), truncate_(true), attached_(false) {}

ioBufferFD::~ioBufferFD() {
    if (fd_ >= 0 && isOpen_ && !attached_) {
        int error = 0;
        // Destruction has nobody to report to; the descriptor is released either way.
        (void)kyOS::shared::closeDescriptor(fd_, &error);
    }
}

void ioBufferFD::open(const kyString::IString& path) {
    const kyOS::shared::DescriptorMode mode =
        reading_
            ? kyOS::shared::kDescriptorRead
            : (truncate_ ? kyOS::shared::kDescriptorWriteTruncate : kyOS::shared::kDescriptorWrite);
    int fd = -1;
    for (int attempt = 0; attempt < ioDetail::kRetryLimit; ++attempt) {
        int error = 0;
        fd = kyOS::shared::openDescriptor(path, mode, &error);
        if (fd >= 0 || error != EINTR) {
            break;
        }
    }
    if (fd < 0) {
        status_ = ioBufferOpenFailed;
        return;
    }
    fd_ = fd;
    isOpen_ = true;
    attached_ = false;
}

void ioBufferFD::attach(int fd) {
    if (fd < 0) {
        status_ = ioBufferOpenFailed;
        return;
    }
    fd_ = fd;
    isOpen_ = true;
    attached_ = true;
}

bool ioBufferFD::seek(std::int64_t position) {
    if (fd_ < 0) {
        return false;
    }
    int error = 0;
    const long long at = position < 0 ? kyOS::shared::seekDescriptor(fd_, 0, 2, &error)
                                      : kyOS::shared::seekDescriptor(fd_, position, 0, &error);
    return at >= 0;
}

std::int64_t ioBufferFD::tell() {
    if (fd_ < 0) {
        return -1;
    }
    int error = 0;
    return kyOS::shared::seekDescriptor(fd_, 0, 1, &error);
}

int ioBufferFD::readBlock(char* data, int length) {
    if (fd_ < 0) {
        status_ = ioBufferError;
    }
    int retries = 0;
    while (status_ == ioBufferGood) {
        int error = 0;
        const long long got =
            kyOS::shared::readDescriptor(fd_, data, static_cast<std::size_t>(length), &error);
        if (got < 0) {
            if (ioDetail::isRetryable(error) && ++retries < ioDetail::kRetryLimit) {
                continue;
            }
            status_ = ioBufferError;
            return -1;
        }
        if (got == 0) {
            status_ = ioBufferEndOfData;
        }
        return static_cast<int>(got);
    }
    return -1;
}

void ioBufferFD::writeBlock(const char* data, int length) {
    if (fd_ < 0) {
        status_ = ioBufferError;
    }
    int retries = 0;
    while (length > 0 && status_ == ioBufferGood) {
        int error = 0;
        const long long put =
            kyOS::shared::writeDescriptor(fd_, data, static_cast<std::size_t>(length), &error);
        if (put > 0) {
            data += put;
            length -= static_cast<int>(put);
            retries = 0;
            continue;
        }
        // A write that moves nothing without failing is retried like an interruption.
        if ((put == 0 || ioDetail::isRetryable(error)) && ++retries < ioDetail::kRetryLimit) {
            continue;
        }
        status_ = put < 0 && error == ENOSPC ? ioBufferDiskFull : ioBufferError;
    }
}

bool ioBufferFD::sync() {
    if (fd_ < 0 || !isOpen_) {
        status_ = ioBufferError;
        return false;
    }
    for (int attempt = 0; attempt < ioDetail::kRetryLimit; ++attempt) {
        int error = 0;
        if (kyOS::shared::syncDescriptor(fd_, &error) == 0) {
            return true;
        }
        // Standard output on a pipe or terminal cannot be synced, and needs not be.
        if (error == EINVAL || error == EROFS) {
            return true;
        }
        if (error != EINTR) {
            break;
        }
    }
    status_ = ioBufferError;
    return false;
}

void ioBufferFD::close() {
    if (fd_ < 0) {
        return;
    }
    if (isOpen_) {
        int error = 0;
        // The system releases the descriptor whatever close reports, and the call table
        // already treats an interrupted close as done: a second close could only hit a
        // descriptor that another thread has been given meanwhile.
        if (kyOS::shared::closeDescriptor(fd_, &error) < 0 && error != EINTR &&
            status_ == ioBufferGood) {
            status_ = ioBufferError;
        }
    }
    fd_ = -1;
    isOpen_ = false;
    attached_ = false;
}

ioBufferFileSubset::ioBufferFileSubset()
    : ioBuffer(true, kCapacity), file_(true), offset_(-1), size_(-1), current_(-1) {}

ioBufferFileSubset::~ioBufferFileSubset() = default;

void ioBufferFileSubset::open(const kyString::IString& path, std::int64_t offset,
                              std::int64_t size) {
    file_.open(path);
    offset_ = offset;
    size_ = size;
    status_ = file_.getStatus();
    if (status_ != ioBufferGood) {
        return;
    }
    kyOS::FileStatus info;
    if (kyOS::File::query(path, info).failed() || !info.exists()) {
        status_ = ioBufferError;
        return;
    }
    // Compared without adding, so that a hostile offset cannot overflow.
    const std::int64_t fileSize = info.getSize();
    if (offset < 0 || size < 0 || offset > fileSize || size > fileSize - offset) {
        status_ = ioBufferEndOfData;
        return;
    }
    seek(0);
}

bool ioBufferFileSubset::seek(std::int64_t position) {
    // Exactly the end is refused too, deliberately.
    if (position >= size_ || position < 0) {
        current_ = -1;
        if (position >= size_) {
            status_ = ioBufferEndOfData;
        }
        return false;
    }
    const bool moved = file_.seek(offset_ + position);
    current_ = moved ? position : -1;
    return moved;
}

std::int64_t ioBufferFileSubset::tell() {
    return file_.tell() - offset_;
}

int ioBufferFileSubset::readBlock(char* data, int length) {
    if (status_ != ioBufferGood) {
        return -1;
    }
    if (current_ < 0) {
        current_ = tell();
    }
    const std::int64_t left = size_ - current_;
    const int count = left < length ? static_cast<int>(left < 0 ? 0 : left) : length;
    if (count <= 0) {
        status_ = ioBufferEndOfData;
        return 0;
    }
    const int got = file_.readBlock(data, count);
    if (got < 1) {
        status_ = file_.getStatus();
    } else {
        current_ += got;
    }
    return got;
}

void ioBufferFileSubset::writeBlock(const char*, int) {}

void ioBufferFileSubset::close() {
    file_.close();
    if (file_.getStatus() != ioBufferGood && status_ == ioBufferGood) {
        status_ = file_.getStatus();
    }
}
