// kyHashSet.h - ky::hash_set and ky::hash_multiset over ky::HashTableImpl.
#ifndef KY_CONTAINERS_HASHSET_H
#define KY_CONTAINERS_HASHSET_H

#include <Base/Containers/kyHashContainer.h>

namespace ky {

/// Unique keys in a chained hash table (see `hash_map` for the growth rules); elements cannot
/// be modified through iterators. Not synchronised.
///
/// @code
///   ky::hash_set<int> s{1, 2, 3};
///   s.count(2);  // 1
/// @endcode
template <class K, class Hash = ky::hash<K>, class Equal = ky::equal_to<K>>
class hash_set : public detail::HashContainer<detail::SetTraits<K>, Hash, Equal, true> {
    using Base = detail::HashContainer<detail::SetTraits<K>, Hash, Equal, true>;

public:
    using Base::Base;
    using Base::operator=;
};

/// Keys in a chained hash table, equal keys allowed (kept next to each other).
template <class K, class Hash = ky::hash<K>, class Equal = ky::equal_to<K>>
class hash_multiset : public detail::HashContainer<detail::SetTraits<K>, Hash, Equal, false> {
    using Base = detail::HashContainer<detail::SetTraits<K>, Hash, Equal, false>;

public:
    using Base::Base;
    using Base::operator=;
};

template <class K, class H, class E>
void swap(hash_set<K, H, E>& a, hash_set<K, H, E>& b) noexcept {
    a.swap(b);
}

} // namespace ky

#endif // KY_CONTAINERS_HASHSET_H
