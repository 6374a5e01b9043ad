// kyHashTableImpl.cpp - chained hash table engine.
#include <Base/Containers/kyHashTableImpl.h>

#include <utility>

namespace ky {
namespace {

// Bucket counts: primes, each roughly twice the one before.
constexpr int kPrimes[] = {7,         13,        29,        53,        97,        193,
                           389,       769,       1543,      3079,      6151,      12289,
                           24593,     49157,     98317,     196613,    393241,    786433,
                           1572869,   3145739,   6291469,   12582917,  25165843,  50331653,
                           100663319, 201326611, 402653189, 805306457, 1610612741};

// The first prime not below `wanted` (the last one when `wanted` is beyond the table).
int nextPrime(long long wanted) {
    for (int prime : kPrimes) {
        if (prime >= wanted) {
            return prime;
        }
    }
    return kPrimes[sizeof kPrimes / sizeof kPrimes[0] - 1];
}

const VectorImpl::TypeUtil kBucketTypeUtil = {sizeof(void*), nullptr, nullptr, nullptr};

} // namespace

HashTableImpl::BucketVector::BucketVector() : VectorImpl(&kBucketTypeUtil) {}

HashTableImpl::HashTableImpl(const TypeUtil* typeUtil)
    : typeUtil_(typeUtil), allocator_(typeUtil->nodeSize, 10) {}

HashTableImpl::~HashTableImpl() {
    destructAll();
}

HashTableImpl::HashNodeImpl* HashTableImpl::firstNode() const {
    int bucket = 0;
    return firstNodeFrom(bucket);
}

HashTableImpl::HashNodeImpl* HashTableImpl::newNode(std::uint64_t hash, const void* key,
                                                    const void* value) {
    HashNodeImpl* node = static_cast<HashNodeImpl*>(allocator_.alloc());
    typeUtil_->construct(keyOf(node), key, value);
    node->hash = hash;
    return node;
}

void HashTableImpl::freeNode(HashNodeImpl* node) {
    if (typeUtil_->destruct != nullptr) {
        typeUtil_->destruct(keyOf(node));
    }
    allocator_.free(node);
}

void HashTableImpl::eraseNode(HashNodeImpl* node) {
    HashNodeImpl** link = &bucketArray()[node->hash % static_cast<std::uint64_t>(bucketCount())];
    while (*link != node) {
        link = &(*link)->next;
    }
    *link = node->next;
    freeNode(node);
    --count_;
}

std::size_t HashTableImpl::eraseKey(std::uint64_t hash, const void* key) {
    const int n = bucketCount();
    if (n == 0) {
        return 0;
    }
    std::size_t erased = 0;
    HashNodeImpl** link = &bucketArray()[hash % static_cast<std::uint64_t>(n)];
    while (*link != nullptr) {
        HashNodeImpl* node = *link;
        if (node->hash == hash && typeUtil_->equal(keyOf(node), key)) {
            *link = node->next;
            freeNode(node);
            --count_;
            ++erased;
        } else {
            link = &node->next;
        }
    }
    return erased;
}

void HashTableImpl::destructAll() {
    if (typeUtil_->destruct != nullptr) {
        const int n = bucketCount();
        HashNodeImpl** heads = bucketArray();
        for (int b = 0; b < n; ++b) {
            for (HashNodeImpl* node = heads[b]; node != nullptr; node = node->next) {
                typeUtil_->destruct(keyOf(node));
            }
        }
    }
}

void HashTableImpl::clear() {
    destructAll();
    // Every node goes at once with the pool's blocks.
    allocator_.freeEverything();
    const int n = bucketCount();
    HashNodeImpl** heads = bucketArray();
    for (int b = 0; b < n; ++b) {
        heads[b] = nullptr;
    }
    count_ = 0;
}

void HashTableImpl::swap(HashTableImpl& other) noexcept {
    buckets_.swap(other.buckets_);
    std::swap(typeUtil_, other.typeUtil_);
    std::swap(count_, other.count_);
    std::swap(maxLoadFactor_, other.maxLoadFactor_);
    allocator_.swap(other.allocator_);
}

void HashTableImpl::copy(const HashTableImpl& other) {
    if (&other == this) {
        return;
    }
    destructAll();
    allocator_.freeEverything();
    typeUtil_ = other.typeUtil_;
    maxLoadFactor_ = other.maxLoadFactor_;
    const int n = other.bucketCount();
    buckets_.setSize(0, false);
    buckets_.setSize(n, true); // null heads: no chains yet
    HashNodeImpl** heads = bucketArray();
    HashNodeImpl* const* sourceHeads = other.buckets();
    for (int b = 0; b < n; ++b) {
        HashNodeImpl** link = &heads[b];
        for (const HashNodeImpl* source = sourceHeads[b]; source != nullptr;
             source = source->next) {
            HashNodeImpl* node = static_cast<HashNodeImpl*>(allocator_.alloc());
            typeUtil_->copyConstruct(keyOf(node), other.keyOf(source));
            node->hash = source->hash;
            node->next = nullptr;
            *link = node;
            link = &node->next;
        }
    }
    count_ = other.count_;
}

std::size_t HashTableImpl::count(std::uint64_t hash, const void* key) const {
    const int n = bucketCount();
    if (n == 0) {
        return 0;
    }
    std::size_t found = 0;
    for (const HashNodeImpl* node = buckets()[hash % static_cast<std::uint64_t>(n)];
         node != nullptr; node = node->next) {
        if (node->hash == hash && typeUtil_->equal(keyOf(node), key)) {
            ++found;
        }
    }
    return found;
}

int HashTableImpl::bucket_size(int i) const {
    if (i < 0 || i >= bucketCount()) {
        return 0;
    }
    int length = 0;
    for (const HashNodeImpl* node = buckets()[i]; node != nullptr; node = node->next) {
        ++length;
    }
    return length;
}

int HashTableImpl::max_bucket_size() const {
    int longest = 0;
    for (int b = 0; b < bucketCount(); ++b) {
        const int length = bucket_size(b);
        if (length > longest) {
            longest = length;
        }
    }
    return longest;
}

float HashTableImpl::load_factor() const {
    const int n = bucketCount();
    return n == 0 ? 0.0f : static_cast<float>(count_) / static_cast<float>(n);
}

void HashTableImpl::max_load_factor(float f) {
    if (!(f > 0.0f)) {
        return;
    }
    maxLoadFactor_ = f;
    rehash(count_);
}

void HashTableImpl::rehash(int n) {
    // No elements fit in any table, whatever the load factor (0 / 0 would be NaN).
    if (n <= 0) {
        return;
    }
    const double wantedReal = static_cast<double>(n) / static_cast<double>(maxLoadFactor_);
    // Truncated (the load factor is always above 0; a huge quotient is capped).
    const long long wanted = wantedReal < 4.0e18 ? static_cast<long long>(wantedReal)
                                                 : static_cast<long long>(kMaxBucketCount);
    const int oldCount = bucketCount();
    if (wanted <= oldCount) {
        return;
    }
    const int newCount = nextPrime(wanted);
    if (newCount <= oldCount) {
        return;
    }
    BucketVector grown;
    grown.setSize(newCount, true); // null heads
    HashNodeImpl** newHeads = static_cast<HashNodeImpl**>(grown.data_);
    HashNodeImpl** oldHeads = bucketArray();
    for (int b = 0; b < oldCount; ++b) {
        HashNodeImpl* node = oldHeads[b];
        while (node != nullptr) {
            HashNodeImpl* next = node->next;
            HashNodeImpl*& head = newHeads[node->hash % static_cast<std::uint64_t>(newCount)];
            node->next = head;
            head = node;
            node = next;
        }
    }
    buckets_.swap(grown);
}

void HashTableImpl::ensureBuckets() {
    // A load factor above 1 lets rehash(1) ask for 0 buckets; an insertion needs one.
    if (bucketCount() == 0) {
        buckets_.setSize(kPrimes[0], true);
    }
}

HashTableImpl::HashNodeImpl* HashTableImpl::get(std::uint64_t hash, const void* key,
                                                bool* inserted) {
    return insertUnique(hash, key, nullptr, inserted);
}

HashTableImpl::HashNodeImpl* HashTableImpl::insertUnique(std::uint64_t hash, const void* key,
                                                         const void* value, bool* inserted) {
    HashNodeImpl* found = findNode(hash, key);
    if (inserted != nullptr) {
        *inserted = found == nullptr;
    }
    if (found != nullptr) {
        return found;
    }
    // Grow only for a key that is really new.
    rehash(count_ + 1);
    ensureBuckets();
    HashNodeImpl* node = newNode(hash, key, value);
    HashNodeImpl*& head = bucketArray()[hash % static_cast<std::uint64_t>(bucketCount())];
    node->next = head;
    head = node;
    ++count_;
    return node;
}

HashTableImpl::HashNodeImpl* HashTableImpl::insertNonUnique(std::uint64_t hash, const void* key,
                                                            const void* value) {
    rehash(count_ + 1);
    return insert_non_unique_noresize(hash, key, value);
}

HashTableImpl::HashNodeImpl* HashTableImpl::insert_unique_noresize(std::uint64_t hash,
                                                                   const void* key,
                                                                   const void* value,
                                                                   bool* inserted) {
    ensureBuckets();
    HashNodeImpl*& head = bucketArray()[hash % static_cast<std::uint64_t>(bucketCount())];
    for (HashNodeImpl* node = head; node != nullptr; node = node->next) {
        if (node->hash == hash && typeUtil_->equal(keyOf(node), key)) {
            if (inserted != nullptr) {
                *inserted = false;
            }
            return node;
        }
    }
    HashNodeImpl* node = newNode(hash, key, value);
    node->next = head;
    head = node;
    ++count_;
    if (inserted != nullptr) {
        *inserted = true;
    }
    return node;
}

HashTableImpl::HashNodeImpl*
HashTableImpl::insert_non_unique_noresize(std::uint64_t hash, const void* key, const void* value) {
    ensureBuckets();
    // Before the first equal key, so that equal keys stay together; at the head otherwise.
    HashNodeImpl** link = &bucketArray()[hash % static_cast<std::uint64_t>(bucketCount())];
    for (HashNodeImpl** probe = link; *probe != nullptr; probe = &(*probe)->next) {
        if ((*probe)->hash == hash && typeUtil_->equal(keyOf(*probe), key)) {
            link = probe;
            break;
        }
    }
    HashNodeImpl* node = newNode(hash, key, value);
    node->next = *link;
    *link = node;
    ++count_;
    return node;
}

} // namespace ky
