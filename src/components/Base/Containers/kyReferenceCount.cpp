// kyReferenceCount.cpp - the out-of-line parts of ky::ReferenceCount.
#include <Base/Containers/kyReferenceCount.h>

namespace ky {

ReferenceCount::~ReferenceCount() = default;

bool ReferenceCount::decrementCount() noexcept {
    if (count_ <= 0) {
        return false;
    }
    if (--count_ == 0) {
        delete this;
        return true;
    }
    return false;
}

} // namespace ky
