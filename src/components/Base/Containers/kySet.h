// kySet.h - ky::set and ky::multiset, ordered sets over ky::RBTreeImpl.
#ifndef KY_CONTAINERS_SET_H
#define KY_CONTAINERS_SET_H

#include <Base/Containers/kyOrderedContainer.h>

namespace ky {

/// Unique keys in order (a red-black tree); elements cannot be modified through iterators.
/// Iterators stay valid until their element is erased. The comparator is stateless. Not
/// synchronised.
///
/// @code
///   ky::set<int> s{5, 1, 3};
///   s.insert(1).second;  // false: already there
///   *s.begin();          // 1
/// @endcode
template <class K, class Compare = ky::less<K>>
class set : public detail::OrderedContainer<detail::SetTraits<K>, Compare, true> {
    using Base = detail::OrderedContainer<detail::SetTraits<K>, Compare, true>;

public:
    using Base::Base;
    using Base::operator=;
};

/// Keys in order, equal keys allowed and kept in insertion order.
template <class K, class Compare = ky::less<K>>
class multiset : public detail::OrderedContainer<detail::SetTraits<K>, Compare, false> {
    using Base = detail::OrderedContainer<detail::SetTraits<K>, Compare, false>;

public:
    using Base::Base;
    using Base::operator=;
};

template <class K, class C>
void swap(set<K, C>& a, set<K, C>& b) noexcept {
    a.swap(b);
}
template <class K, class C>
void swap(multiset<K, C>& a, multiset<K, C>& b) noexcept {
    a.swap(b);
}

} // namespace ky

#endif // KY_CONTAINERS_SET_H
