// kyUtilParallelSort.cpp - kyUtil::Ordering.
#include <Base/Utility/kyUtilParallelSort.h>

#include <algorithm>
#include <numeric>

namespace kyUtil {

Ordering::Ordering(int size) {
    resize(size);
}

Ordering::Ordering(const Ordering& other) : size_(other.size_) {
    if (size_ > 0) {
        indices_ = new int[static_cast<std::size_t>(size_)];
        std::copy(other.indices_, other.indices_ + size_, indices_);
    }
}

Ordering& Ordering::operator=(const Ordering& other) {
    if (this != &other) {
        Ordering copy(other);
        std::swap(indices_, copy.indices_);
        std::swap(size_, copy.size_);
    }
    return *this;
}

Ordering::~Ordering() {
    delete[] indices_;
}

void Ordering::resize(int size) {
    size = std::max(size, 0);
    if (size != size_) {
        int* fresh = size > 0 ? new int[static_cast<std::size_t>(size)] : nullptr;
        delete[] indices_;
        indices_ = fresh;
        size_ = size;
    }
    std::iota(indices_, indices_ + size_, 0);
}

} // namespace kyUtil
