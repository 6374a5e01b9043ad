// kyHashMap.h - ky::hash_map and ky::hash_multimap over ky::HashTableImpl.
#ifndef KY_CONTAINERS_HASHMAP_H
#define KY_CONTAINERS_HASHMAP_H

#include <Base/Containers/kyHashContainer.h>

namespace ky {

/// Unique keys mapped to values in a chained hash table; keys are hashed with `ky::hash`
/// (`ky::hashfunction`). Elements are `std::pair<const K, V>`. Buckets: 0 when empty, 7 at
/// the first insertion, then the next prime of the table when `size` would exceed
/// `bucket_count * max_load_factor`. Not synchronised.
///
/// @code
///   ky::hash_map<int, int> h;
///   h[42] = 1;             // bucket_count() == 7
///   h.max_load_factor(0.5f);
/// @endcode
template <class K, class V, class Hash = ky::hash<K>, class Equal = ky::equal_to<K>>
class hash_map : public detail::HashContainer<detail::MapTraits<K, V>, Hash, Equal, true> {
    using Base = detail::HashContainer<detail::MapTraits<K, V>, Hash, Equal, true>;

public:
    using mapped_type = V;
    using Base::Base;
    using Base::operator=;

    /// The value at `key`, inserted value-initialised if absent.
    V& operator[](const K& key) { return this->valueAt(key); }
};

/// Keys mapped to values, equal keys allowed (kept next to each other).
template <class K, class V, class Hash = ky::hash<K>, class Equal = ky::equal_to<K>>
class hash_multimap : public detail::HashContainer<detail::MapTraits<K, V>, Hash, Equal, false> {
    using Base = detail::HashContainer<detail::MapTraits<K, V>, Hash, Equal, false>;

public:
    using mapped_type = V;
    using Base::Base;
    using Base::operator=;
};

template <class K, class V, class H, class E>
void swap(hash_map<K, V, H, E>& a, hash_map<K, V, H, E>& b) noexcept {
    a.swap(b);
}
template <class K, class V, class H, class E>
void swap(hash_multimap<K, V, H, E>& a, hash_multimap<K, V, H, E>& b) noexcept {
    a.swap(b);
}

} // namespace ky

#endif // KY_CONTAINERS_HASHMAP_H
