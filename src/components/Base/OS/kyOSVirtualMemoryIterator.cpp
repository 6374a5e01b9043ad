// kyOSVirtualMemoryIterator.cpp - the walk over a snapshot of the address space.
#include <Base/OS/kyOSVirtualMemoryIterator.h>

#include <Base/OS/internal/kyOSSystem.h>
#include <Base/Utility/kyImplBase.h>

#include <cstddef>
#include <vector>

namespace kyOS {
namespace detail {

class VirtualMemoryIteratorImpl : public ky::ImplBase {
public:
    std::vector<MemoryRegion> regions;
    std::size_t at = 0;
};

} // namespace detail

VirtualMemoryIterator::VirtualMemoryIterator() : impl_(new detail::VirtualMemoryIteratorImpl) {
    reset();
}

VirtualMemoryIterator::~VirtualMemoryIterator() {
    delete impl_;
}

void VirtualMemoryIterator::reset() {
    impl_->at = 0;
    if (!detail::systemCalls().memoryRegions(impl_->regions)) {
        impl_->regions.clear();
    }
}

bool VirtualMemoryIterator::next() {
    if (impl_->at < impl_->regions.size()) {
        ++impl_->at;
    }
    return valid();
}

bool VirtualMemoryIterator::valid() const {
    return impl_->at < impl_->regions.size();
}

std::uint64_t VirtualMemoryIterator::getAddress() const {
    return valid() ? impl_->regions[impl_->at].base : 0;
}

std::uint64_t VirtualMemoryIterator::getSize() const {
    return valid() ? impl_->regions[impl_->at].size : 0;
}

VirtualMemoryIterator::State VirtualMemoryIterator::getState() const {
    return valid() ? static_cast<State>(impl_->regions[impl_->at].state) : kFree;
}

} // namespace kyOS
