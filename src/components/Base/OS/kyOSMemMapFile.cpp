// kyOSMemMapFile.cpp - whole-file views through the file layer's system calls.
#include <Base/OS/kyOSMemMapFile.h>

#include <Base/OS/internal/kyOSFileCalls.h>
#include <Base/OS/internal/kyOSFileUtil.h>
#include <Base/OS/kyOSFile.h>

namespace kyOS {

namespace {

kyUtil::Error mapError(const detail::FileCalls& calls, int error) {
    if (error == calls.notFoundError) {
        return File::getError(kFileErrDoesNotExist);
    }
    return kyUtil::Error(kFileErrSyscall, detail::toIString(calls.systemErrorText(error)));
}

} // namespace

MemMapFile::MemMapFile(const kyString::IString& filename, bool writable)
    : filename_(filename), writable_(writable) {}

MemMapFile::~MemMapFile() {
    unmap();
}

void* MemMapFile::map(kyUtil::Error& error) {
    error = kyUtil::Error();
    if (mem_ != nullptr) {
        return mem_;
    }
    detail::FileCalls& calls = detail::fileCalls();
    int code = 0;
    std::intptr_t file = 0;
    if (calls.openMapped(filename_.str(), writable_ ? detail::kMapReadWrite : detail::kMapRead,
                         &file, &code) != 0) {
        error = mapError(calls, code);
        return nullptr;
    }
    std::int64_t size = 0;
    std::intptr_t mapping = 0;
    bool haveMapping = false;
    void* view = nullptr;
    if (calls.fileSizeOf(file, &size, &code) != 0) {
        error = mapError(calls, code);
    } else if (size == 0) {
        error = File::getError(kFileErrEndOfFile);
    } else if (calls.createMapping(file, size, writable_, &mapping, &code) != 0) {
        error = mapError(calls, code);
    } else {
        haveMapping = true;
        if (calls.mapView(mapping, 0, static_cast<std::uint64_t>(size), writable_, &view, &code) !=
            0) {
            error = mapError(calls, code);
            view = nullptr;
        }
    }
    // The view keeps what it needs: the handles go either way, and a failed close changes
    // nothing the caller could act on.
    int ignored = 0;
    if (haveMapping) {
        (void)calls.closeMapping(mapping, &ignored);
    }
    (void)calls.closeMapped(file, &ignored);
    if (view != nullptr) {
        mem_ = view;
        size_ = static_cast<std::uint64_t>(size);
    }
    return mem_;
}

void MemMapFile::unmap() {
    if (mem_ != nullptr) {
        int ignored = 0;
        (void)detail::fileCalls().unmapView(mem_, size_, &ignored); // nothing to retry
        mem_ = nullptr;
        size_ = 0;
    }
}

} // namespace kyOS
