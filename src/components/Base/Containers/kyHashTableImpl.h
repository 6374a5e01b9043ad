// kyHashTableImpl.h - the untyped chained hash table under ky::hash_map, hash_multimap, hash_set.
#ifndef KY_CONTAINERS_HASHTABLEIMPL_H
#define KY_CONTAINERS_HASHTABLEIMPL_H

#include <Base/BaseExport.h>
#include <Base/Containers/kyBlockAllocator.h>
#include <Base/Containers/kyHashFunction.h>
#include <Base/Containers/kyVectorImpl.h>

#include <cstddef>
#include <cstdint>

namespace ky {

/// A hash table with separate chaining whose key and value types the engine knows only
/// through a `TypeUtil` table. The caller computes hash values; the table stores each node's
/// full 64-bit hash and never hashes a key itself.
///
/// Bucket index = hash modulo bucket count. Bucket counts come from a fixed table of primes
/// (7, 13, 29, 53, 97, ...); the table grows when an insertion would take `count` above
/// `bucket count * max_load_factor` and never shrinks. A new key goes to the head of its chain
/// (a duplicate key right before its first equal, so that equal keys stay together); a rehash
/// moves nodes head-first into their new chains, reversing the order within a chain.
///
/// Nodes come from a `BlockAllocator` (10 per block by default) and never move, so pointers to
/// elements stay valid until their node is erased. Allocation failure is not reported. Not
/// synchronised.
class KY_BASE_API HashTableImpl {
public:
    struct HashNodeImpl {
        std::uint64_t hash; ///< the element's full hash value
        HashNodeImpl* next; ///< next node of the same bucket

        /// The next element in iteration order: the rest of this chain, then the first node of
        /// the next non-empty bucket; null after the last element.
        HashNodeImpl* nextItem(const HashTableImpl& table) const {
            if (next != nullptr) {
                return next;
            }
            int bucket = table.bucketOf(this) + 1;
            return table.firstNodeFrom(bucket);
        }
    };

    /// Key and value operations, as for `RBTreeImpl::TypeUtil`, with key equality in place of
    /// the order.
    struct TypeUtil {
        std::size_t nodeSize;
        std::size_t keyOffset;   ///< also the start of the node's element
        std::size_t valueOffset; ///< the mapped value; equals keyOffset when there is none
        void (*construct)(void* element, const void* key, const void* value);
        void (*copyConstruct)(void* dst, const void* src);
        void (*destruct)(void* element); ///< null when there is nothing to do
        bool (*equal)(const void* a, const void* b);
    };

    /// The largest bucket count (the last entry of the prime table).
    static constexpr int kMaxBucketCount = 1610612741;

    explicit HashTableImpl(const TypeUtil* typeUtil);
    ~HashTableImpl();
    HashTableImpl(const HashTableImpl&) = delete;
    HashTableImpl& operator=(const HashTableImpl&) = delete;

    void setNumElementsInBlock(int n) { allocator_.setNumElementsInBlock(n); }

    /// The first element in iteration order, or null.
    HashNodeImpl* firstNode() const;
    /// The node with an equal key, or null.
    HashNodeImpl* findNode(std::uint64_t hash, const void* key) const {
        const auto equal = typeUtil_->equal;
        return findNodeWith(
            hash, [this, key, equal](const HashNodeImpl* node) { return equal(keyOf(node), key); });
    }
    /// The chain walk of `findNode` with the key test supplied by the caller: typed front ends
    /// pass their equality inline instead of through the table's function pointer.
    template <class KeyMatches>
    HashNodeImpl* findNodeWith(std::uint64_t hash, KeyMatches matches) const {
        const int n = bucketCount();
        if (n == 0) {
            return nullptr;
        }
        for (HashNodeImpl* node = buckets()[hash % static_cast<std::uint64_t>(n)]; node != nullptr;
             node = node->next) {
            if (node->hash == hash && matches(node)) {
                return node;
            }
        }
        return nullptr;
    }
    /// Index of the bucket holding `node`.
    int bucketOf(const HashNodeImpl* node) const {
        return static_cast<int>(node->hash % static_cast<std::uint64_t>(bucketCount()));
    }
    /// The first node of the first non-empty bucket from `bucket` on, or null; `bucket` is
    /// advanced to it.
    HashNodeImpl* firstNodeFrom(int& bucket) const {
        const int n = bucketCount();
        HashNodeImpl* const* heads = buckets();
        for (; bucket < n; ++bucket) {
            if (heads[bucket] != nullptr) {
                return heads[bucket];
            }
        }
        return nullptr;
    }
    /// Destroys and frees `node`.
    void eraseNode(HashNodeImpl* node);
    /// Erases every node with an equal key; returns how many.
    std::size_t eraseKey(std::uint64_t hash, const void* key);
    /// Destroys every element, frees every node; keeps the buckets.
    void clear();
    /// Exchanges contents, tables, settings and node pools.
    void swap(HashTableImpl& other) noexcept;
    /// Deep copy: the same bucket count and chain order, the stored hashes included.
    void copy(const HashTableImpl& other);
    /// Number of elements with an equal key.
    std::size_t count(std::uint64_t hash, const void* key) const;

    int bucketCount() const { return buckets_.size_; }
    static int max_bucket_count() { return kMaxBucketCount; }
    /// Length of chain `i`; 0 for an index outside the table (a table may have no buckets).
    int bucket_size(int i) const;
    /// Length of the longest chain.
    int max_bucket_size() const;
    /// count / bucket count (0 without buckets).
    float load_factor() const;
    float max_load_factor() const { return maxLoadFactor_; }
    /// Stores `f` and grows the table for the current count (`rehash(count)`). A value that is
    /// not above 0 (0, a negative number, NaN) is ignored: no table can keep it, and taking
    /// it would ask for the largest table (about 13 GB of bucket heads) at the next insertion.
    void max_load_factor(float f);
    /// Grows the table so that `n` elements fit under the maximum load factor. A table may
    /// still have no buckets after it (a load factor above 1 with few elements); the insertions
    /// give it its first ones.
    void rehash(int n);

    /// The node with an equal key, inserted (default value) if absent; `inserted` tells which.
    HashNodeImpl* get(std::uint64_t hash, const void* key, bool* inserted = nullptr);
    /// Inserts a copy of key and value (a default value when null) unless an equal key is
    /// present, growing first for the new element; `inserted` tells which.
    HashNodeImpl* insertUnique(std::uint64_t hash, const void* key, const void* value,
                               bool* inserted = nullptr);
    /// Inserts always, growing first for the new element.
    HashNodeImpl* insertNonUnique(std::uint64_t hash, const void* key, const void* value);
    /// Inserts unless an equal key is present; no growth (the caller rehashed for count + 1)
    /// beyond the first buckets of a table that has none.
    HashNodeImpl* insert_unique_noresize(std::uint64_t hash, const void* key, const void* value,
                                         bool* inserted = nullptr);
    /// Inserts always; no growth beyond the first buckets of a table that has none.
    HashNodeImpl* insert_non_unique_noresize(std::uint64_t hash, const void* key,
                                             const void* value);

    int size() const { return count_; }
    HashNodeImpl* const* buckets() const {
        return static_cast<HashNodeImpl* const*>(buckets_.data_);
    }
    void* keyOf(const HashNodeImpl* node) const {
        return reinterpret_cast<char*>(const_cast<HashNodeImpl*>(node)) + typeUtil_->keyOffset;
    }
    void* valueOf(const HashNodeImpl* node) const {
        return reinterpret_cast<char*>(const_cast<HashNodeImpl*>(node)) + typeUtil_->valueOffset;
    }
    const BlockAllocator& allocator() const { return allocator_; }

private:
    // A vector of bucket heads, with VectorImpl's storage rules.
    struct BucketVector : VectorImpl {
        BucketVector();
        using VectorImpl::data_;
        using VectorImpl::setSize;
        using VectorImpl::size_;
        using VectorImpl::swap;
    };
    // Gives a table without buckets its first prime count, so that an insertion can index.
    void ensureBuckets();
    HashNodeImpl** bucketArray() { return static_cast<HashNodeImpl**>(buckets_.data_); }
    HashNodeImpl* newNode(std::uint64_t hash, const void* key, const void* value);
    void freeNode(HashNodeImpl* node);
    void destructAll();

    BucketVector buckets_;
    const TypeUtil* typeUtil_;
    int count_ = 0;
    float maxLoadFactor_ = 1.0f;
    BlockAllocator allocator_;
};

} // namespace ky

#endif // KY_CONTAINERS_HASHTABLEIMPL_H
