// kyOSMemoryMappedFile.cpp - views and backing files through the file layer's system calls.
#include <Base/OS/kyOSMemoryMappedFile.h>

#include <Base/OS/internal/kyOSFileCalls.h>
#include <Base/Utility/kyImplBase.h>

#include <cstdint>
#include <utility>

namespace kyOS {

bool FileMapping::unmap() {
    if (ptr_ == nullptr) {
        return true;
    }
    int error = 0;
    const bool ok = detail::fileCalls().unmapView(ptr_, size_, &error) == 0;
    offset_ = 0;
    size_ = 0;
    ptr_ = nullptr;
    return ok;
}

bool FileMapping::flush(std::uint64_t from, std::uint64_t to) const {
    if (ptr_ == nullptr) {
        return false;
    }
    to = to > size_ ? size_ : to;
    if (from >= to) {
        return true; // nothing in the range
    }
    int error = 0;
    return detail::fileCalls().flushView(static_cast<char*>(ptr_) + from, to - from, &error) == 0;
}

std::uint64_t FileMapping::load(std::uint64_t offset, std::uint64_t end) const {
    return ptr_ == nullptr ? 0 : accessPagesSequentially(offset, end);
}

std::uint64_t FileMapping::accessPagesSequentially(std::uint64_t offset, std::uint64_t end) const {
    std::uint64_t from = offset - offset % kLoadStep;
    std::uint64_t to = end % kLoadStep == 0 ? end : end + (kLoadStep - end % kLoadStep);
    to = to > size_ ? size_ : to;
    const volatile char* base = static_cast<const volatile char*>(ptr_);
    std::uint64_t pages = 0;
    for (std::uint64_t at = from; at < to; at += kPageStride) {
        (void)base[at]; // the read is the point: it faults the page in
        ++pages;
    }
    return pages;
}

std::uint64_t FileMapping::getGranularity() {
    static const std::uint64_t granularity = detail::nativeFileCalls().mapGranularity();
    return granularity;
}

namespace detail {

constexpr std::intptr_t kNoHandle = -1;

class MemoryMappedFileImpl : public ky::ImplBase {
public:
    kyString::IString name;
    std::int64_t size = 0;
    std::intptr_t file = kNoHandle;
    std::intptr_t mapping = kNoHandle;
};

} // namespace detail

MemoryMappedFile::MemoryMappedFile() : impl_(new detail::MemoryMappedFileImpl) {}

MemoryMappedFile::MemoryMappedFile(MemoryMappedFile&& other) noexcept
    : impl_(new detail::MemoryMappedFileImpl) {
    std::swap(impl_, other.impl_);
}

MemoryMappedFile& MemoryMappedFile::operator=(MemoryMappedFile&& other) noexcept {
    if (this != &other) {
        close();
        std::swap(impl_, other.impl_);
    }
    return *this;
}

MemoryMappedFile::~MemoryMappedFile() {
    close();
    delete impl_;
}

void MemoryMappedFile::close() {
    detail::FileCalls& calls = detail::fileCalls();
    int error = 0;
    // A failed close still releases the handle; there is nothing more to do about it.
    if (impl_->mapping != detail::kNoHandle) {
        (void)calls.closeMapping(impl_->mapping, &error);
    }
    if (impl_->file != detail::kNoHandle) {
        (void)calls.closeMapped(impl_->file, &error);
    }
    impl_->mapping = detail::kNoHandle;
    impl_->file = detail::kNoHandle;
    impl_->name = kyString::IString();
    impl_->size = 0;
}

bool MemoryMappedFile::createFile(const kyString::IString& name, std::int64_t size,
                                  bool deleteOnClose) {
    close();
    if (size <= 0) {
        return false;
    }
    detail::FileCalls& calls = detail::fileCalls();
    int error = 0;
    const int how = deleteOnClose ? detail::kMapTemporary : detail::kMapCreate;
    if (calls.openMapped(name.str(), how, &impl_->file, &error) != 0) {
        impl_->file = detail::kNoHandle;
        return false;
    }
    if (calls.setFileSize(impl_->file, size, &error) != 0 ||
        calls.createMapping(impl_->file, size, true, &impl_->mapping, &error) != 0) {
        impl_->mapping = detail::kNoHandle;
        close();
        return false;
    }
    impl_->name = name;
    impl_->size = size;
    return true;
}

FileMapping MemoryMappedFile::map(std::int64_t offset, std::uint64_t size) const {
    if (!valid()) {
        return FileMapping();
    }
    void* view = nullptr;
    int error = 0;
    if (detail::fileCalls().mapView(impl_->mapping, offset, size, true, &view, &error) != 0) {
        return FileMapping();
    }
    return FileMapping(offset, size, view);
}

const kyString::IString& MemoryMappedFile::getFilename() const {
    return impl_->name;
}

std::int64_t MemoryMappedFile::getSize() const {
    return impl_->size;
}

} // namespace kyOS
