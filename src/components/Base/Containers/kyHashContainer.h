// kyHashContainer.h - the typed layer shared by ky::hash_map, hash_multimap and hash_set.
#ifndef KY_CONTAINERS_HASHCONTAINER_H
#define KY_CONTAINERS_HASHCONTAINER_H

#include <Base/Containers/kyFunctional.h>
#include <Base/Containers/kyHashFunction.h>
#include <Base/Containers/kyHashTableImpl.h>
#include <Base/Containers/kyTypeUtil.h>

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <tuple>
#include <type_traits>
#include <utility>

namespace ky {
namespace detail {

/// The interface that the hash containers share, over `HashTableImpl`. `Hash` and `Equal` are
/// stateless: they are default-constructed wherever a key is hashed or compared. Elements are
/// copied into the table, so they must be copy-constructible. Iteration order is the bucket
/// order; any insertion may rehash and so reorder, but iterators and element pointers stay
/// valid until their element is erased.
template <class Traits, class Hash, class Equal, bool kUnique>
class HashContainer : protected HashTableImpl {
public:
    using key_type = typename Traits::key_type;
    using value_type = typename Traits::value_type;
    using hasher = Hash;
    using key_equal = Equal;
    using size_type = std::size_t;
    using difference_type = std::ptrdiff_t;
    using reference = value_type&;
    using const_reference = const value_type&;

    static_assert(alignof(value_type) <= alignof(std::max_align_t),
                  "over-aligned element types are not supported");
    static_assert(std::is_empty_v<Hash> && std::is_empty_v<Equal>,
                  "hashers and key equalities of the hash containers are stateless");

private:
    template <class V>
    class Iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = typename Traits::value_type;
        using difference_type = std::ptrdiff_t;
        using pointer = V*;
        using reference = V&;

        Iterator() = default;
        Iterator(const HashNodeImpl* node, const HashTableImpl* table, int bucket = -1)
            : node_(const_cast<HashNodeImpl*>(node)), table_(table), bucket_(bucket) {}
        template <class W, class = std::enable_if_t<std::is_const_v<V> && !std::is_const_v<W>>>
        Iterator(const Iterator<W>& other)
            : node_(other.node_), table_(other.table_), bucket_(other.bucket_) {}

        reference operator*() const { return *element(node_); }
        pointer operator->() const { return element(node_); }
        /// The rest of the chain, then the next non-empty bucket (`HashNodeImpl::nextItem`),
        /// remembering the bucket so that a walk costs no division per chain.
        Iterator& operator++() {
            if (node_->next != nullptr) {
                node_ = node_->next;
                return *this;
            }
            int bucket = (bucket_ >= 0 ? bucket_ : table_->bucketOf(node_)) + 1;
            node_ = table_->firstNodeFrom(bucket);
            bucket_ = bucket;
            return *this;
        }
        Iterator operator++(int) {
            Iterator old = *this;
            ++*this;
            return old;
        }
        friend bool operator==(const Iterator& a, const Iterator& b) { return a.node_ == b.node_; }
        friend bool operator!=(const Iterator& a, const Iterator& b) { return a.node_ != b.node_; }

    private:
        static V* element(HashNodeImpl* node) {
            return reinterpret_cast<V*>(reinterpret_cast<char*>(node) + kElementOffset);
        }
        HashNodeImpl* node_ = nullptr;
        const HashTableImpl* table_ = nullptr;
        int bucket_ = -1; // the bucket of node_ when known, -1 when not yet computed
        template <class>
        friend class Iterator;
        friend class HashContainer;
    };

public:
    using iterator =
        std::conditional_t<Traits::kIsMap, Iterator<value_type>, Iterator<const value_type>>;
    using const_iterator = Iterator<const value_type>;
    using insert_return = std::conditional_t<kUnique, std::pair<iterator, bool>, iterator>;

    HashContainer() : HashTableImpl(&kTypeUtil) {}
    /// An empty table with buckets for `n` elements.
    explicit HashContainer(size_type n) : HashTableImpl(&kTypeUtil) { rehash(n); }
    template <class It, class = typename std::iterator_traits<It>::iterator_category>
    HashContainer(It first, It last) : HashTableImpl(&kTypeUtil) {
        insert(first, last);
    }
    HashContainer(std::initializer_list<value_type> values) : HashTableImpl(&kTypeUtil) {
        insert(values.begin(), values.end());
    }
    HashContainer(const HashContainer& other) : HashTableImpl(&kTypeUtil) { copy(other); }
    HashContainer(HashContainer&& other) noexcept : HashTableImpl(&kTypeUtil) {
        HashTableImpl::swap(other);
    }
    ~HashContainer() = default;

    HashContainer& operator=(const HashContainer& other) {
        copy(other);
        return *this;
    }
    HashContainer& operator=(HashContainer&& other) noexcept {
        if (this != &other) {
            HashTableImpl::swap(other);
            other.HashTableImpl::clear();
        }
        return *this;
    }
    HashContainer& operator=(std::initializer_list<value_type> values) {
        HashTableImpl::clear();
        insert(values.begin(), values.end());
        return *this;
    }

    iterator begin() noexcept {
        int bucket = 0;
        HashNodeImpl* first = firstNodeFrom(bucket);
        return iterator(first, this, bucket);
    }
    const_iterator begin() const noexcept {
        int bucket = 0;
        HashNodeImpl* first = firstNodeFrom(bucket);
        return const_iterator(first, this, bucket);
    }
    const_iterator cbegin() const noexcept { return begin(); }
    iterator end() noexcept { return iterator(nullptr, this); }
    const_iterator end() const noexcept { return const_iterator(nullptr, this); }
    const_iterator cend() const noexcept { return end(); }

    bool empty() const noexcept { return HashTableImpl::size() == 0; }
    size_type size() const noexcept { return static_cast<size_type>(HashTableImpl::size()); }
    size_type max_size() const noexcept { return 0x7FFFFFFF; }

    /// Destroys every element; the bucket count stays (the table never shrinks).
    void clear() noexcept { HashTableImpl::clear(); }

    insert_return insert(const value_type& value) {
        const key_type& key = Traits::keyOf(value);
        if constexpr (kUnique) {
            bool inserted = false;
            HashNodeImpl* node =
                insertUnique(hashOf(key), &key, Traits::valuePtr(value), &inserted);
            return {iterator(node, this), inserted};
        } else {
            return iterator(insertNonUnique(hashOf(key), &key, Traits::valuePtr(value)), this);
        }
    }
    /// The hint is ignored: a hash table has no better place to start.
    iterator insert(const_iterator, const value_type& value) {
        if constexpr (kUnique) {
            return insert(value).first;
        } else {
            return insert(value);
        }
    }
    template <class It, class = typename std::iterator_traits<It>::iterator_category>
    void insert(It first, It last) {
        for (; first != last; ++first) {
            insert(*first);
        }
    }
    void insert(std::initializer_list<value_type> values) { insert(values.begin(), values.end()); }
    template <class... Args>
    insert_return emplace(Args&&... args) {
        const value_type value(std::forward<Args>(args)...);
        return insert(value);
    }

    iterator erase(const_iterator pos) {
        const_iterator next = pos;
        ++next;
        eraseNode(pos.node_);
        return iterator(next.node_, this, next.bucket_);
    }
    template <class It = iterator, class = std::enable_if_t<!std::is_same_v<It, const_iterator>>>
    iterator erase(iterator pos) {
        return erase(const_iterator(pos));
    }
    iterator erase(const_iterator first, const_iterator last) {
        while (first != last) {
            first = erase(first);
        }
        return iterator(last.node_, this);
    }
    size_type erase(const key_type& key) { return eraseKey(hashOf(key), &key); }

    void swap(HashContainer& other) noexcept { HashTableImpl::swap(other); }

    size_type count(const key_type& key) const {
        if constexpr (kUnique) {
            return lookup(key) == nullptr ? 0 : 1;
        } else {
            return HashTableImpl::count(hashOf(key), &key);
        }
    }
    bool contains(const key_type& key) const { return lookup(key) != nullptr; }
    iterator find(const key_type& key) { return iterator(lookup(key), this); }
    const_iterator find(const key_type& key) const { return const_iterator(lookup(key), this); }
    std::pair<iterator, iterator> equal_range(const key_type& key) {
        const std::pair<HashNodeImpl*, HashNodeImpl*> r = range(key);
        return {iterator(r.first, this), iterator(r.second, this)};
    }
    std::pair<const_iterator, const_iterator> equal_range(const key_type& key) const {
        const std::pair<HashNodeImpl*, HashNodeImpl*> r = range(key);
        return {const_iterator(r.first, this), const_iterator(r.second, this)};
    }

    size_type bucket_count() const noexcept { return static_cast<size_type>(bucketCount()); }
    size_type max_bucket_count() const noexcept {
        return static_cast<size_type>(HashTableImpl::max_bucket_count());
    }
    /// Length of chain `i`; 0 for an index outside the table.
    size_type bucket_size(size_type i) const {
        return i < bucket_count()
                   ? static_cast<size_type>(HashTableImpl::bucket_size(static_cast<int>(i)))
                   : 0;
    }
    /// The bucket that `key` hashes to; 0 for a table without buckets.
    size_type bucket(const key_type& key) const {
        const int n = bucketCount();
        return n == 0 ? 0 : static_cast<size_type>(hashOf(key) % static_cast<std::uint64_t>(n));
    }
    float load_factor() const noexcept { return HashTableImpl::load_factor(); }
    float max_load_factor() const noexcept { return HashTableImpl::max_load_factor(); }
    void max_load_factor(float f) { HashTableImpl::max_load_factor(f); }
    /// Grows to the first prime bucket count that holds `n` elements under the maximum load
    /// factor; never shrinks.
    void rehash(size_type n) {
        HashTableImpl::rehash(static_cast<int>(std::min<size_type>(n, 0x7FFFFFFF)));
    }
    void reserve(size_type n) { rehash(n); }
    hasher hash_function() const { return Hash(); }
    key_equal key_eq() const { return Equal(); }

    /// Nodes per block of the node pool (10 by default); see `BlockAllocator`.
    void setNumElementsInBlock(int n) { HashTableImpl::setNumElementsInBlock(n); }

    /// Equal when both hold the same elements, whatever their order.
    friend bool operator==(const HashContainer& a, const HashContainer& b) {
        if (a.size() != b.size()) {
            return false;
        }
        for (const_iterator it = a.begin(); it != a.end();) {
            const std::pair<const_iterator, const_iterator> mine =
                a.equal_range(Traits::keyOf(*it));
            const std::pair<const_iterator, const_iterator> theirs =
                b.equal_range(Traits::keyOf(*it));
            if (std::distance(mine.first, mine.second) !=
                    std::distance(theirs.first, theirs.second) ||
                !std::is_permutation(mine.first, mine.second, theirs.first)) {
                return false;
            }
            it = mine.second;
        }
        return true;
    }
    friend bool operator!=(const HashContainer& a, const HashContainer& b) { return !(a == b); }

protected:
    using mapped_type = typename Traits::mapped_type;

    static constexpr std::size_t kElementOffset =
        alignUp(sizeof(HashNodeImpl), alignof(value_type));

    static std::uint64_t hashOf(const key_type& key) { return Hash()(key); }
    mapped_type& valueAt(const key_type& key) {
        return *static_cast<mapped_type*>(valueOf(get(hashOf(key), &key)));
    }

private:
    static const key_type& keyAt(const HashNodeImpl* node) {
        return Traits::keyOf(elementAt<Traits>(node, kElementOffset));
    }
    // The engine's chain walk with the key equality inline.
    HashNodeImpl* lookup(const key_type& key) const {
        return findNodeWith(hashOf(key),
                            [&key](const HashNodeImpl* node) { return Equal()(keyAt(node), key); });
    }
    // Equal keys are adjacent in their chain: the range is the first equal node up to the
    // first node after the run (which may be in a later bucket).
    std::pair<HashNodeImpl*, HashNodeImpl*> range(const key_type& key) const {
        const std::uint64_t hash = hashOf(key);
        HashNodeImpl* first = lookup(key);
        if (first == nullptr) {
            return {nullptr, nullptr};
        }
        HashNodeImpl* last = first;
        while (last->next != nullptr && last->next->hash == hash &&
               Equal()(keyAt(last->next), key)) {
            last = last->next;
        }
        return {first, last->nextItem(*this)};
    }

    static bool equalKeys(const void* a, const void* b) {
        return Equal()(*static_cast<const key_type*>(a), *static_cast<const key_type*>(b));
    }
    static inline const TypeUtil kTypeUtil = {
        kElementOffset + sizeof(value_type),
        kElementOffset,
        kElementOffset + Traits::kValueOffset,
        &Traits::construct,
        &copyConstructOne<value_type>,
        kTrivialDestroy<value_type> ? nullptr : &destructOne<value_type>,
        &equalKeys,
    };
};

} // namespace detail
} // namespace ky

#endif // KY_CONTAINERS_HASHCONTAINER_H
