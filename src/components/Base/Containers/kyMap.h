// kyMap.h - ky::map and ky::multimap, ordered associative arrays over ky::RBTreeImpl.
#ifndef KY_CONTAINERS_MAP_H
#define KY_CONTAINERS_MAP_H

#include <Base/Containers/kyOrderedContainer.h>

namespace ky {

/// Unique keys mapped to values, in key order (a red-black tree). Elements are
/// `std::pair<const K, V>`; iterators stay valid until their element is erased; erased nodes
/// are reused last-freed first. The comparator is stateless. Not synchronised.
///
/// @code
///   ky::map<int, double> m;
///   m[2] = 0.5;                  // inserts a value-initialised double, then assigns
///   auto it = m.lower_bound(1);  // -> {2, 0.5}
/// @endcode
template <class K, class V, class Compare = ky::less<K>>
class map : public detail::OrderedContainer<detail::MapTraits<K, V>, Compare, true> {
    using Base = detail::OrderedContainer<detail::MapTraits<K, V>, Compare, true>;

public:
    using mapped_type = V;
    using Base::Base;
    using Base::operator=;

    /// The value at `key`, inserted value-initialised if absent.
    V& operator[](const K& key) { return this->valueAt(key); }
};

/// Keys mapped to values, equal keys allowed and kept in insertion order.
template <class K, class V, class Compare = ky::less<K>>
class multimap : public detail::OrderedContainer<detail::MapTraits<K, V>, Compare, false> {
    using Base = detail::OrderedContainer<detail::MapTraits<K, V>, Compare, false>;

public:
    using mapped_type = V;
    using Base::Base;
    using Base::operator=;
};

template <class K, class V, class C>
void swap(map<K, V, C>& a, map<K, V, C>& b) noexcept {
    a.swap(b);
}
template <class K, class V, class C>
void swap(multimap<K, V, C>& a, multimap<K, V, C>& b) noexcept {
    a.swap(b);
}

} // namespace ky

#endif // KY_CONTAINERS_MAP_H
