// kyOSDescriptorCalls.cpp - the descriptor calls of the areas above OS, through the call table.
#include <Base/OS/shared/kyOSDescriptorCalls.h>

#include <Base/OS/internal/kyOSFileCalls.h>
#include <Base/OS/kyOSFile.h>

namespace kyOS {
namespace shared {

int openDescriptor(const kyString::IString& path, DescriptorMode mode, int* error) {
    int flags = detail::kOpenOwnerOnly;
    switch (mode) {
    case kDescriptorRead:
        flags |= kRead;
        break;
    case kDescriptorWrite:
        flags |= kWrite | kCreate;
        break;
    case kDescriptorWriteTruncate:
        flags |= kWrite | kCreate | kTruncate;
        break;
    }
    return detail::fileCalls().open(path.str(), flags, error);
}

long long readDescriptor(int fd, void* buffer, std::size_t size, int* error) {
    return detail::fileCalls().read(fd, buffer, size, error);
}

long long writeDescriptor(int fd, const void* buffer, std::size_t size, int* error) {
    return detail::fileCalls().write(fd, buffer, size, error);
}

long long seekDescriptor(int fd, long long offset, int origin, int* error) {
    return detail::fileCalls().seek(fd, offset, origin, error);
}

int syncDescriptor(int fd, int* error) {
    return detail::fileCalls().fsync(fd, error);
}

int closeDescriptor(int fd, int* error) {
    return detail::fileCalls().close(fd, error);
}

} // namespace shared
} // namespace kyOS
