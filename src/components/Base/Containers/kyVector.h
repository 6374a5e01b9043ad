// kyVector.h - ky::vector, a typed dynamic array over ky::VectorImpl.
#ifndef KY_CONTAINERS_VECTOR_H
#define KY_CONTAINERS_VECTOR_H

#include <Base/Containers/kyTypeUtil.h>
#include <Base/Containers/kyVectorImpl.h>

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <type_traits>
#include <utility>

namespace ky {

/// A dynamic array with the standard library's interface, over the untyped `VectorImpl`.
///
/// Capacity grows by 8 below 32 elements and doubles from there (8, 16, 24, 32, 64, ...).
/// Storage moves with `realloc`: `T` must be relocatable by copying its bytes (it must not
/// hold pointers into itself; `std::string` of libstdc++ does). Iterators are plain pointers
/// and are invalidated by any growth. Sizes are `int`-ranged. Not synchronised.
///
/// @code
///   ky::vector<int> v{3, 1, 2};
///   std::sort(v.begin(), v.end());
///   v.push_back(4); // capacity 8
/// @endcode
template <class T>
class vector : protected VectorImpl {
    static_assert(alignof(T) <= alignof(std::max_align_t),
                  "over-aligned element types are not supported");

public:
    using value_type = T;
    using size_type = std::size_t;
    using difference_type = std::ptrdiff_t;
    using reference = T&;
    using const_reference = const T&;
    using pointer = T*;
    using const_pointer = const T*;
    using iterator = T*;
    using const_iterator = const T*;
    using reverse_iterator = std::reverse_iterator<iterator>;
    using const_reverse_iterator = std::reverse_iterator<const_iterator>;

    vector() : VectorImpl(&kTypeUtil) {}
    explicit vector(size_type n) : VectorImpl(&kTypeUtil) {
        initialize(static_cast<int>(n), true, &kTypeUtil);
    }
    vector(size_type n, const T& value) : VectorImpl(&kTypeUtil) {
        initialize(static_cast<int>(n), &value, &kTypeUtil);
    }
    template <class It, class = typename std::iterator_traits<It>::iterator_category>
    vector(It first, It last) : VectorImpl(&kTypeUtil) {
        insert(end(), first, last);
    }
    vector(std::initializer_list<T> list) : VectorImpl(&kTypeUtil) {
        VectorImpl::assign(list.begin(), static_cast<int>(list.size()));
    }
    vector(const vector& other) : VectorImpl(&kTypeUtil) { initialize(other); }
    vector(vector&& other) noexcept : VectorImpl(&kTypeUtil) { VectorImpl::swap(other); }
    ~vector() = default;

    vector& operator=(const vector& other) {
        if (this != &other) {
            VectorImpl::assign(other.data_, other.size_);
        }
        return *this;
    }
    vector& operator=(vector&& other) noexcept {
        if (this != &other) {
            VectorImpl::swap(other);
            other.freeStorage();
        }
        return *this;
    }
    vector& operator=(std::initializer_list<T> list) {
        VectorImpl::assign(list.begin(), static_cast<int>(list.size()));
        return *this;
    }

    void assign(size_type n, const T& value) {
        vector result(n, value);
        swap(result);
    }
    template <class It, class = typename std::iterator_traits<It>::iterator_category>
    void assign(It first, It last) {
        if constexpr (kContiguousOfT<It>) {
            VectorImpl::assign(static_cast<const void*>(first), static_cast<int>(last - first));
        } else {
            VectorImpl::assign(&first, &last, &distanceOf<It>, &copyRange<It>);
        }
    }
    void assign(std::initializer_list<T> list) { *this = list; }

    // Element access. Positions are trusted, as in the engine.
    reference operator[](size_type i) { return begin()[i]; }
    const_reference operator[](size_type i) const { return begin()[i]; }
    reference front() { return *begin(); }
    const_reference front() const { return *begin(); }
    reference back() { return end()[-1]; }
    const_reference back() const { return end()[-1]; }
    T* data() noexcept { return static_cast<T*>(data_); }
    const T* data() const noexcept { return static_cast<const T*>(data_); }

    iterator begin() noexcept { return data(); }
    const_iterator begin() const noexcept { return data(); }
    const_iterator cbegin() const noexcept { return data(); }
    iterator end() noexcept { return data() + size_; }
    const_iterator end() const noexcept { return data() + size_; }
    const_iterator cend() const noexcept { return data() + size_; }
    reverse_iterator rbegin() noexcept { return reverse_iterator(end()); }
    const_reverse_iterator rbegin() const noexcept { return const_reverse_iterator(end()); }
    reverse_iterator rend() noexcept { return reverse_iterator(begin()); }
    const_reverse_iterator rend() const noexcept { return const_reverse_iterator(begin()); }

    bool empty() const noexcept { return size_ == 0; }
    size_type size() const noexcept { return static_cast<size_type>(size_); }
    size_type capacity() const noexcept { return static_cast<size_type>(capacity_); }
    size_type max_size() const noexcept { return 0x7FFFFFFF; }
    void reserve(size_type n) { VectorImpl::reserve(static_cast<int>(n)); }
    void shrink_to_fit() { setCapacity(size_); }

    void clear() noexcept { VectorImpl::clear(); }

    iterator insert(const_iterator pos, const T& value) {
        return static_cast<T*>(VectorImpl::insert(indexOf(pos), &value));
    }
    iterator insert(const_iterator pos, T&& value) { return emplace(pos, std::move(value)); }
    iterator insert(const_iterator pos, size_type n, const T& value) {
        const int i = indexOf(pos);
        VectorImpl::insert(i, static_cast<int>(n), &value);
        return begin() + i;
    }
    template <class It, class = typename std::iterator_traits<It>::iterator_category>
    iterator insert(const_iterator pos, It first, It last) {
        const int i = indexOf(pos);
        if constexpr (kContiguousOfT<It>) {
            VectorImpl::insert(i, static_cast<const void*>(first), static_cast<int>(last - first));
        } else if constexpr (std::is_base_of_v<
                                 std::forward_iterator_tag,
                                 typename std::iterator_traits<It>::iterator_category>) {
            VectorImpl::insert(i, &first, &last, &distanceOf<It>, &copyRange<It>);
        } else {
            // Single-pass input: one element at a time.
            int at = i;
            for (; first != last; ++first) {
                emplace(begin() + at++, *first);
            }
        }
        return begin() + i;
    }
    iterator insert(const_iterator pos, std::initializer_list<T> list) {
        return insert(pos, list.begin(), list.end());
    }
    template <class... Args>
    iterator emplace(const_iterator pos, Args&&... args) {
        const int i = indexOf(pos);
        if (i == size_) {
            emplace_back(std::forward<Args>(args)...);
            return begin() + i;
        }
        // Build first: the arguments may refer to elements that the gap moves.
        T made(std::forward<Args>(args)...);
        T* at = static_cast<T*>(insertAndReturnPtr(i, 1));
        ::new (static_cast<void*>(at)) T(std::move(made));
        return at;
    }

    iterator erase(const_iterator pos) {
        const int i = indexOf(pos);
        destruct(i);
        return begin() + i;
    }
    iterator erase(const_iterator first, const_iterator last) {
        const int i = indexOf(first);
        destructRange(i, indexOf(last));
        return begin() + i;
    }

    void push_back(const T& value) {
        if (size_ < capacity_) {
            ::new (static_cast<void*>(end())) T(value);
            ++size_;
        } else {
            emplace_back(value);
        }
    }
    void push_back(T&& value) { emplace_back(std::move(value)); }
    template <class... Args>
    reference emplace_back(Args&&... args) {
        if (size_ < capacity_) {
            T* p = ::new (static_cast<void*>(end())) T(std::forward<Args>(args)...);
            ++size_;
            return *p;
        }
        // Build before growing: the arguments may refer to our own elements.
        T made(std::forward<Args>(args)...);
        growByOne();
        T* p = ::new (static_cast<void*>(end())) T(std::move(made));
        ++size_;
        return *p;
    }
    void pop_back() { destruct(size_ - 1); }

    void resize(size_type n) { setSize(static_cast<int>(n), true); }
    void resize(size_type n, const T& value) { setSize(static_cast<int>(n), &value); }

    void swap(vector& other) noexcept { VectorImpl::swap(other); }

private:
    // Pointers to T: ranges the engine can copy in one call.
    template <class It>
    static constexpr bool kContiguousOfT =
        std::is_pointer_v<It>&& std::is_same_v<std::remove_cv_t<std::remove_pointer_t<It>>, T>;

    int indexOf(const_iterator pos) const { return static_cast<int>(pos - begin()); }

    template <class It>
    static int distanceOf(const void* first, const void* last) {
        return static_cast<int>(
            std::distance(*static_cast<const It*>(first), *static_cast<const It*>(last)));
    }
    template <class It>
    static void copyRange(void* dst, const void* first, const void* last) {
        T* out = static_cast<T*>(dst);
        for (It it = *static_cast<const It*>(first); it != *static_cast<const It*>(last); ++it) {
            ::new (static_cast<void*>(out++)) T(*it);
        }
    }

    static inline const TypeUtil kTypeUtil = {
        sizeof(T),
        std::is_trivial_v<T> ? nullptr : &detail::defaultConstructRange<T>,
        detail::kTrivialCopy<T> ? nullptr : &detail::copyConstructRange<T>,
        detail::kTrivialDestroy<T> ? nullptr : &detail::destructRange<T>,
    };
};

template <class T>
bool operator==(const vector<T>& a, const vector<T>& b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin());
}
template <class T>
bool operator!=(const vector<T>& a, const vector<T>& b) {
    return !(a == b);
}
template <class T>
bool operator<(const vector<T>& a, const vector<T>& b) {
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end());
}
template <class T>
bool operator>(const vector<T>& a, const vector<T>& b) {
    return b < a;
}
template <class T>
bool operator<=(const vector<T>& a, const vector<T>& b) {
    return !(b < a);
}
template <class T>
bool operator>=(const vector<T>& a, const vector<T>& b) {
    return !(a < b);
}
template <class T>
void swap(vector<T>& a, vector<T>& b) noexcept {
    a.swap(b);
}

} // namespace ky

#endif // KY_CONTAINERS_VECTOR_H
