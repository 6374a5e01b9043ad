// kyVectorImpl.cpp - contiguous storage engine.
#include <Base/Containers/kyVectorImpl.h>

#include <cstdlib>
#include <cstring>
#include <utility>

namespace ky {

void VectorImpl::constructDefault(void* first, int n) const {
    if (n <= 0) {
        return;
    }
    if (typeUtil_->defaultConstruct != nullptr) {
        typeUtil_->defaultConstruct(first, static_cast<std::size_t>(n));
    } else {
        std::memset(first, 0, static_cast<std::size_t>(n) * typeUtil_->elementSize);
    }
}

void VectorImpl::constructCopies(void* dst, const void* src, int n) const {
    if (n <= 0) {
        return;
    }
    if (typeUtil_->copyConstruct != nullptr) {
        typeUtil_->copyConstruct(dst, src, static_cast<std::size_t>(n));
    } else {
        std::memcpy(dst, src, static_cast<std::size_t>(n) * typeUtil_->elementSize);
    }
}

void VectorImpl::destroy(void* first, int n) const {
    if (n > 0 && typeUtil_->destructRange != nullptr) {
        typeUtil_->destructRange(first, static_cast<std::size_t>(n));
    }
}

int VectorImpl::indexOfOwn(const void* p) const {
    const char* base = static_cast<const char*>(data_);
    const char* q = static_cast<const char*>(p);
    const std::size_t bytes = static_cast<std::size_t>(size_) * typeUtil_->elementSize;
    if (data_ == nullptr || q < base || q >= base + bytes) {
        return -1;
    }
    return static_cast<int>(static_cast<std::size_t>(q - base) / typeUtil_->elementSize);
}

void VectorImpl::initialize(int n, bool defaultConstruct, const TypeUtil* typeUtil) {
    freeStorage();
    typeUtil_ = typeUtil;
    if (n <= 0) {
        return;
    }
    setCapacity(n);
    if (defaultConstruct) {
        constructDefault(data_, n);
    }
    size_ = n;
}

void VectorImpl::initialize(int n, const void* value, const TypeUtil* typeUtil) {
    freeStorage();
    typeUtil_ = typeUtil;
    if (n <= 0) {
        return;
    }
    setCapacity(n);
    for (int i = 0; i < n; ++i) {
        constructCopies(elementAt(i), value, 1);
    }
    size_ = n;
}

void VectorImpl::initialize(const VectorImpl& other) {
    if (&other == this) {
        return;
    }
    freeStorage();
    typeUtil_ = other.typeUtil_;
    if (other.size_ == 0) {
        return;
    }
    setCapacity(other.size_);
    constructCopies(data_, other.data_, other.size_);
    size_ = other.size_;
}

void VectorImpl::clear() {
    destroy(data_, size_);
    size_ = 0;
}

void VectorImpl::setSize(int n, bool defaultConstruct) {
    if (n < 0) {
        n = 0;
    }
    if (n <= size_) {
        destroy(elementAt(n), size_ - n);
        size_ = n;
        return;
    }
    growTo(n);
    if (defaultConstruct) {
        constructDefault(elementAt(size_), n - size_);
    }
    size_ = n;
}

void VectorImpl::setSize(int n, const void* value) {
    if (n < 0) {
        n = 0;
    }
    if (n <= size_) {
        destroy(elementAt(n), size_ - n);
        size_ = n;
        return;
    }
    // `value` may live in this vector: keep its index across the reallocation.
    const int own = indexOfOwn(value);
    growTo(n);
    if (own >= 0) {
        value = elementAt(own);
    }
    for (int i = size_; i < n; ++i) {
        constructCopies(elementAt(i), value, 1);
    }
    size_ = n;
}

void VectorImpl::reserve(int n) {
    if (n > capacity_) {
        setCapacity(n);
    }
}

void VectorImpl::growTo(int needed) {
    if (needed <= capacity_) {
        return;
    }
    int capacity = capacity_;
    while (capacity < needed) {
        capacity = grownCapacity(capacity);
    }
    setCapacity(capacity);
}

void VectorImpl::growByOne() {
    if (size_ >= capacity_) {
        setCapacity(grownCapacity(capacity_));
    }
}

void* VectorImpl::append() {
    growByOne();
    void* p = elementAt(size_);
    constructDefault(p, 1);
    ++size_;
    return p;
}

void VectorImpl::append(const void* value) {
    insert(size_, value);
}

void VectorImpl::append(const void* value, CopyFunction copy) {
    if (size_ < capacity_) {
        copy(elementAt(size_), value);
        ++size_;
        return;
    }
    // Copy before growing: `value` may be one of our own elements.
    void* grown = std::malloc(typeUtil_->elementSize);
    copy(grown, value);
    growByOne();
    std::memcpy(elementAt(size_), grown, typeUtil_->elementSize);
    std::free(grown);
    ++size_;
}

void VectorImpl::appendAndAssignPtr(void* ptr) {
    growByOneAndAssignPtr(ptr);
}

void* VectorImpl::appendAndReturnPtr() {
    growByOne();
    return elementAt(size_++);
}

void VectorImpl::append(const VectorImpl& other) {
    if (other.size_ == 0) {
        return;
    }
    if (&other == this) {
        const int n = size_;
        growTo(size_ + n);
        constructCopies(elementAt(size_), data_, n);
        size_ += n;
        return;
    }
    growTo(size_ + other.size_);
    constructCopies(elementAt(size_), other.data_, other.size_);
    size_ += other.size_;
}

void* VectorImpl::insertAndReturnPtr(int pos, int n) {
    if (n <= 0) {
        return elementAt(pos);
    }
    growTo(size_ + n);
    char* at = elementAt(pos);
    std::memmove(at + static_cast<std::size_t>(n) * typeUtil_->elementSize, at,
                 static_cast<std::size_t>(size_ - pos) * typeUtil_->elementSize);
    size_ += n;
    return at;
}

void* VectorImpl::insert(int pos, const void* value) {
    insert(pos, 1, value);
    return elementAt(pos);
}

void VectorImpl::insert(int pos, int n, const void* value) {
    if (n <= 0) {
        return;
    }
    // `value` may be an element that the gap moves: find it again afterwards.
    const std::size_t es = typeUtil_->elementSize;
    int own = indexOfOwn(value);
    char* at = static_cast<char*>(insertAndReturnPtr(pos, n));
    if (own >= pos) {
        own += n;
    }
    const void* source = own >= 0 ? elementAt(own) : value;
    for (int i = 0; i < n; ++i) {
        constructCopies(at + static_cast<std::size_t>(i) * es, source, 1);
    }
}

void VectorImpl::insert(int pos, const void* src, int n) {
    if (n <= 0) {
        return;
    }
    const int index = indexOfOwn(src);
    if (index < 0) {
        constructCopies(insertAndReturnPtr(pos, n), src, n);
        return;
    }
    // Inserting a piece of ourselves: the originals stay alive while the gap opens, so copy
    // them from wherever the gap moved them.
    char* at = static_cast<char*>(insertAndReturnPtr(pos, n));
    if (index >= pos) {
        constructCopies(at, elementAt(index + n), n);
    } else if (index + n <= pos) {
        constructCopies(at, elementAt(index), n);
    } else {
        // The source range straddles the gap: its head stayed, its tail moved past the gap.
        const int head = pos - index;
        constructCopies(at, elementAt(index), head);
        constructCopies(elementAt(pos + head), elementAt(pos + n), n - head);
    }
}

void VectorImpl::insert(int pos, const void* first, const void* last, DistanceFunction distance,
                        CopyRangeFunction copyRange) {
    const int n = distance(first, last);
    if (n <= 0) {
        return;
    }
    copyRange(insertAndReturnPtr(pos, n), first, last);
}

void VectorImpl::insertAndAssignPtr(int pos, void* ptr) {
    void* at = insertAndReturnPtr(pos, 1);
    std::memcpy(at, &ptr, sizeof ptr);
}

void VectorImpl::assign(const void* src, int n) {
    if (n > 0 && indexOfOwn(src) >= 0) {
        // Assigning a piece of ourselves: build the result aside, then take it.
        VectorImpl result(typeUtil_);
        result.setCapacity(n);
        result.constructCopies(result.data_, src, n);
        result.size_ = n;
        swap(result);
        return;
    }
    clear();
    growTo(n);
    constructCopies(data_, src, n);
    size_ = n < 0 ? 0 : n;
}

void VectorImpl::assign(const void* first, const void* last, DistanceFunction distance,
                        CopyRangeFunction copyRange) {
    const int n = distance(first, last);
    VectorImpl result(typeUtil_);
    if (n > 0) {
        result.setCapacity(n);
        copyRange(result.data_, first, last);
        result.size_ = n;
    }
    swap(result);
}

void VectorImpl::growByOneAndAssignPtr(void* ptr) {
    growByOne();
    std::memcpy(elementAt(size_), &ptr, sizeof ptr);
    ++size_;
}

void VectorImpl::setCapacity(int n) {
    if (n <= 0) {
        freeStorage();
        return;
    }
    if (n < size_) {
        destroy(elementAt(n), size_ - n);
        size_ = n;
    }
    if (n == capacity_) {
        return;
    }
    data_ = std::realloc(data_, static_cast<std::size_t>(n) * typeUtil_->elementSize);
    capacity_ = n;
}

void VectorImpl::destruct(int pos) {
    destructRange(pos, pos + 1);
}

void VectorImpl::destructRange(int first, int last) {
    if (last <= first) {
        return;
    }
    destroy(elementAt(first), last - first);
    std::memmove(elementAt(first), elementAt(last),
                 static_cast<std::size_t>(size_ - last) * typeUtil_->elementSize);
    size_ -= last - first;
}

void VectorImpl::freeStorage() {
    destroy(data_, size_);
    std::free(data_);
    data_ = nullptr;
    size_ = 0;
    capacity_ = 0;
}

void VectorImpl::swap(VectorImpl& other) noexcept {
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    std::swap(capacity_, other.capacity_);
    std::swap(typeUtil_, other.typeUtil_);
}

} // namespace ky
