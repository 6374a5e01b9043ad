// kyTypeUtil.h - element operations that the typed containers put in their engines' tables.
#ifndef KY_CONTAINERS_TYPEUTIL_H
#define KY_CONTAINERS_TYPEUTIL_H

#include <cstddef>
#include <new>
#include <tuple>
#include <type_traits>
#include <utility>

namespace ky {
namespace detail {

// Each engine keeps a constant table of function pointers per element type; these templates
// are what the typed front ends put there. A null entry means "nothing to do" and is used for
// trivial types, so the engines can copy bytes or skip destruction without a call.

template <class T>
void defaultConstructRange(void* first, std::size_t n) {
    T* p = static_cast<T*>(first);
    for (std::size_t i = 0; i < n; ++i) {
        ::new (static_cast<void*>(p + i)) T();
    }
}

template <class T>
void copyConstructRange(void* dst, const void* src, std::size_t n) {
    T* d = static_cast<T*>(dst);
    const T* s = static_cast<const T*>(src);
    for (std::size_t i = 0; i < n; ++i) {
        ::new (static_cast<void*>(d + i)) T(s[i]);
    }
}

template <class T>
void destructRange(void* first, std::size_t n) {
    T* p = static_cast<T*>(first);
    for (std::size_t i = 0; i < n; ++i) {
        p[i].~T();
    }
}

template <class T>
void defaultConstructOne(void* p) {
    ::new (p) T();
}

template <class T>
void copyConstructOne(void* dst, const void* src) {
    ::new (dst) T(*static_cast<const T*>(src));
}

template <class T>
void destructOne(void* p) {
    static_cast<T*>(p)->~T();
}

template <class T>
constexpr bool kTrivialDefault = std::is_trivially_default_constructible_v<T>;
template <class T>
constexpr bool kTrivialCopy = std::is_trivially_copy_constructible_v<T>;
template <class T>
constexpr bool kTrivialDestroy = std::is_trivially_destructible_v<T>;

// Round `offset` up to the alignment `align`.
constexpr std::size_t alignUp(std::size_t offset, std::size_t align) {
    return (offset + align - 1) / align * align;
}

// Offset of `second` in a std::pair<A, B>: members are laid out in order, each at the next
// offset aligned for its type (the pair's empty base, if any, takes no room).
template <class A, class B>
constexpr std::size_t pairSecondOffset() {
    return alignUp(sizeof(A), alignof(B));
}

// What an element of a map is: a (const key, value) pair. The node engines build elements
// from a key and a value pointer (null: a value-initialised value) and find the value at a
// fixed offset from the element.
template <class K, class V>
struct MapTraits {
    using key_type = K;
    using mapped_type = V;
    using value_type = std::pair<const K, V>;
    static constexpr bool kIsMap = true;
    static constexpr std::size_t kValueOffset = pairSecondOffset<const K, V>();

    static const K& keyOf(const value_type& v) { return v.first; }
    static const void* valuePtr(const value_type& v) { return &v.second; }
    static void construct(void* element, const void* key, const void* value) {
        const K& k = *static_cast<const K*>(key);
        if (value != nullptr) {
            ::new (element) value_type(k, *static_cast<const V*>(value));
        } else {
            ::new (element) value_type(std::piecewise_construct, std::forward_as_tuple(k),
                                       std::forward_as_tuple());
        }
    }
};

// What an element of a set is: the key itself, never modifiable through an iterator.
template <class K>
struct SetTraits {
    using key_type = K;
    using mapped_type = K;
    using value_type = K;
    static constexpr bool kIsMap = false;
    static constexpr std::size_t kValueOffset = 0;

    static const K& keyOf(const value_type& v) { return v; }
    static const void* valuePtr(const value_type&) { return nullptr; }
    static void construct(void* element, const void* key, const void*) {
        ::new (element) value_type(*static_cast<const K*>(key));
    }
};

// The element of a node that starts `elementOffset` bytes into it.
template <class Traits, class NodeType>
const typename Traits::value_type& elementAt(const NodeType* node, std::size_t elementOffset) {
    return *reinterpret_cast<const typename Traits::value_type*>(
        reinterpret_cast<const char*>(node) + elementOffset);
}

} // namespace detail
} // namespace ky

#endif // KY_CONTAINERS_TYPEUTIL_H
