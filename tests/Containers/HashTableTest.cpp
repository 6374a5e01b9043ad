// HashTableTest.cpp - the hash containers: growth rules, chain order, and differential runs
// against std::unordered_map / unordered_multimap / unordered_set.
#include <Base/Containers/kyHashMap.h>
#include <Base/Containers/kyHashSet.h>

#include <kyContainerTestSupport.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <map>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

using kytest::Counted;

namespace {

// Every key in one bucket: makes the chain order observable through iteration.
struct SameHash {
    ky::HashValue operator()(int) const { return 5; }
};

// Few hash values, so unequal keys with equal hashes share chains.
struct CountedHash {
    ky::HashValue operator()(const Counted& c) const { return ky::hashfunction(c.value() % 16); }
};

template <class K, class V>
std::vector<K> keysInOrder(const ky::hash_map<K, V, SameHash>& h) {
    std::vector<K> out;
    for (const auto& entry : h) {
        out.push_back(entry.first);
    }
    return out;
}

using HashTableTest = kytest::ContainerTest;

TEST_F(HashTableTest, BucketCountsFollowThePrimeTable) {
    ky::hash_map<int, int> h; // 7 elements fit 7 buckets at load factor 1; the 8th makes 13
    std::vector<std::size_t> seen;
    for (int i = 0; i < 200; ++i) {
        h[i] = i;
        if (seen.empty() || seen.back() != h.bucket_count()) {
            seen.push_back(h.bucket_count());
        }
    }
    EXPECT_EQ(seen, (std::vector<std::size_t>{7, 13, 29, 53, 97, 193, 389}));
    EXPECT_EQ(h.max_bucket_count(), 1610612741u);
}

TEST_F(HashTableTest, MaxLoadFactorRehashesAtOnce) {
    ky::hash_map<int, int> h;
    for (int i = 0; i < 7; ++i) {
        h[i] = i;
    }
    ASSERT_EQ(h.bucket_count(), 7u);
    h.max_load_factor(0.5f); // wanted 14: the first prime not below it is 29
    EXPECT_EQ(h.bucket_count(), 29u);
    EXPECT_EQ(h.max_load_factor(), 0.5f);
    h.max_load_factor(4.0f); // never shrinks
    EXPECT_EQ(h.bucket_count(), 29u);
}

TEST_F(HashTableTest, RehashTruncatesAndPicksTheFirstPrimeNotBelow) {
    struct Case {
        float maxLoad;
        int request;
        std::size_t buckets;
    };
    const Case cases[] = {{1.0f, 0, 0},         {1.0f, 1, 7},         {1.0f, 7, 7},
                          {1.0f, 8, 13},        {1.0f, 13, 13},       {1.0f, 14, 29},
                          {2.0f, 15, 7},        {2.0f, 29, 29},       {0.75f, 100, 193},
                          {1.0f, 98317, 98317}, {1.0f, 98318, 196613}};
    for (const Case& c : cases) {
        ky::hash_set<int> s;
        s.max_load_factor(c.maxLoad);
        s.rehash(static_cast<std::size_t>(c.request));
        EXPECT_EQ(s.bucket_count(), c.buckets) << c.maxLoad << " " << c.request;
    }
}

TEST_F(HashTableTest, NewKeysGoToTheHeadAndRehashReversesChains) {
    ky::hash_map<int, int, SameHash> h;
    h.rehash(7); // room for 7: no growth below
    for (int k = 1; k <= 5; ++k) {
        h[k] = k;
    }
    EXPECT_EQ(keysInOrder(h), (std::vector<int>{5, 4, 3, 2, 1}));
    h.rehash(8); // 13 buckets; every node moves head-first: the chain comes out reversed
    ASSERT_EQ(h.bucket_count(), 13u);
    EXPECT_EQ(keysInOrder(h), (std::vector<int>{1, 2, 3, 4, 5}));
    EXPECT_EQ(h.bucket_size(5), 5u);
    EXPECT_EQ(h.bucket_size(0), 0u);
    // A copy keeps the chain order and bucket count.
    ky::hash_map<int, int, SameHash> copy(h);
    EXPECT_EQ(copy.bucket_count(), 13u);
    EXPECT_EQ(keysInOrder(copy), (std::vector<int>{1, 2, 3, 4, 5}));
}

TEST_F(HashTableTest, StoredHashIsNeverRecomputed) {
    // A hasher that counts its calls: growth must move nodes by their stored hash.
    static int calls = 0;
    struct CountingHash {
        ky::HashValue operator()(int k) const {
            ++calls;
            return static_cast<ky::HashValue>(k) * 2654435761u;
        }
    };
    ky::hash_set<int, CountingHash> s;
    calls = 0;
    for (int i = 0; i < 1000; ++i) {
        s.insert(i);
    }
    EXPECT_EQ(calls, 1000); // one hash per insertion, none for the eight rehashes
}

TEST_F(HashTableTest, FreedNodesAreReusedLastFreedFirst) {
    ky::hash_map<int, int> h;
    for (int i = 0; i < 6; ++i) {
        h[i] = i;
    }
    const void* nodeOf2 = &*h.find(2);
    const void* nodeOf4 = &*h.find(4);
    h.erase(2);
    h.erase(4);
    h[100] = 0;
    h[101] = 0;
    EXPECT_EQ(static_cast<const void*>(&*h.find(100)), nodeOf4);
    EXPECT_EQ(static_cast<const void*>(&*h.find(101)), nodeOf2);
}

TEST_F(HashTableTest, MapDifferentialAgainstUnorderedMap) {
    for (std::uint32_t seed = 1; seed <= 10; ++seed) {
        kytest::Random rnd(seed);
        ky::hash_map<int, Counted> h;
        std::unordered_map<int, Counted> r;
        for (int step = 0; step < 1500; ++step) {
            const int key = rnd.range(0, 300);
            const int value = rnd.range(0, 1000);
            switch (rnd.range(0, 7)) {
            case 0:
            case 1: {
                auto mine = h.insert({key, Counted(value)});
                auto ref = r.insert({key, Counted(value)});
                ASSERT_EQ(mine.second, ref.second);
                ASSERT_EQ(mine.first->second.value(), ref.first->second.value());
                break;
            }
            case 2:
                h[key] = Counted(value);
                r[key] = Counted(value);
                break;
            case 3:
                ASSERT_EQ(h.erase(key), r.erase(key));
                break;
            case 4: {
                auto it = h.find(key);
                ASSERT_EQ(it == h.end(), r.find(key) == r.end());
                if (it != h.end()) {
                    h.erase(it);
                    r.erase(key);
                }
                break;
            }
            case 5: {
                ky::hash_map<int, Counted> copy(h);
                ASSERT_TRUE(copy == h);
                const std::size_t buckets = h.bucket_count();
                h.clear(); // keeps the buckets
                ASSERT_TRUE(h.empty() && h.begin() == h.end() && h.bucket_count() == buckets);
                h = copy;
                break;
            }
            case 6: {
                ky::hash_map<int, Counted> other{{-5, Counted(1)}};
                h.swap(other);
                other.swap(h);
                ky::hash_map<int, Counted> moved(std::move(h));
                h = std::move(moved);
                break;
            }
            default:
                ASSERT_EQ(h.count(key), r.count(key));
                break;
            }
            ASSERT_EQ(h.size(), r.size());
            std::map<int, int> mine;
            for (const auto& entry : h) {
                ASSERT_TRUE(mine.emplace(entry.first, entry.second.value()).second)
                    << "key visited twice";
            }
            std::map<int, int> ref;
            for (const auto& entry : r) {
                ref.emplace(entry.first, entry.second.value());
            }
            ASSERT_EQ(mine, ref);
            ASSERT_LE(h.load_factor(), h.max_load_factor());
            ASSERT_EQ(Counted::live, static_cast<int>(2 * r.size()));
        }
    }
}

TEST_F(HashTableTest, MultimapDifferentialAgainstUnorderedMultimap) {
    for (std::uint32_t seed = 1; seed <= 10; ++seed) {
        kytest::Random rnd(seed + 100);
        ky::hash_multimap<Counted, int, CountedHash> h;
        std::unordered_multimap<int, int> r;
        for (int step = 0; step < 1500; ++step) {
            const int key = rnd.range(0, 60);
            const int value = rnd.range(0, 1000);
            switch (rnd.range(0, 5)) {
            case 0:
            case 1:
            case 2:
                h.insert({Counted(key), value});
                r.insert({key, value});
                break;
            case 3:
                ASSERT_EQ(h.erase(Counted(key)), r.erase(key));
                break;
            case 4: {
                auto mine = h.equal_range(Counted(key));
                auto ref = r.equal_range(key);
                std::vector<int> a;
                std::vector<int> b;
                for (auto it = mine.first; it != mine.second; ++it) {
                    ASSERT_EQ(it->first.value(), key);
                    a.push_back(it->second);
                }
                for (auto it = ref.first; it != ref.second; ++it) {
                    b.push_back(it->second);
                }
                std::sort(a.begin(), a.end());
                std::sort(b.begin(), b.end());
                ASSERT_EQ(a, b);
                if (!a.empty() && rnd.chance(50)) {
                    // Erase one element found through the range.
                    const int victim = mine.first->second;
                    h.erase(mine.first);
                    for (auto it = ref.first; it != ref.second; ++it) {
                        if (it->second == victim) {
                            r.erase(it);
                            break;
                        }
                    }
                }
                break;
            }
            default: {
                auto copy = h;
                ASSERT_TRUE(copy == h);
                h = copy;
                break;
            }
            }
            // Multimaps compare by value sets per key: normalise the order of equal keys.
            std::vector<std::pair<int, int>> a;
            for (const auto& entry : h) {
                a.emplace_back(entry.first.value(), entry.second);
            }
            std::vector<std::pair<int, int>> b(r.begin(), r.end());
            std::sort(a.begin(), a.end());
            std::sort(b.begin(), b.end());
            ASSERT_EQ(a, b);
            ASSERT_EQ(Counted::live, static_cast<int>(r.size()));
        }
    }
}

TEST_F(HashTableTest, SetWithStringKeysAgainstUnorderedSet) {
    kytest::Random rnd(5);
    ky::hash_set<std::string> s;
    std::unordered_set<std::string> r;
    for (int step = 0; step < 5000; ++step) {
        const std::string key = "k" + std::to_string(rnd.range(0, 800));
        if (rnd.chance(70)) {
            ASSERT_EQ(s.insert(key).second, r.insert(key).second);
        } else {
            ASSERT_EQ(s.erase(key), r.erase(key));
        }
    }
    ASSERT_EQ(s.size(), r.size());
    for (const std::string& key : r) {
        ASSERT_TRUE(s.contains(key)) << key;
    }
    // Hash quality: no chain much longer than the load factor suggests.
    std::size_t longest = 0;
    for (std::size_t b = 0; b < s.bucket_count(); ++b) {
        longest = std::max(longest, s.bucket_size(b));
    }
    EXPECT_LE(longest, 10u);
}

} // namespace

// A table without buckets (every table before its first insertion, and one whose load factor
// lets rehash(1) ask for none) must answer every operation without dividing by its bucket
// count, and its first insertion must make the first prime, 7, whatever the load factor.
TEST_F(HashTableTest, BucketlessTablesAnswerEveryOperation) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    const float big = std::numeric_limits<float>::max();
    // Load factors that keep the table bucketless until an insertion; the ones not above 0
    // (and NaN) are ignored, so the table keeps 1.
    struct Case {
        float maxLoad;
        float kept;
    };
    const Case cases[] = {{1.0f, 1.0f},  {0.25f, 0.25f}, {1.5f, 1.5f}, {5.25f, 5.25f},
                          {1e6f, 1e6f},  {big, big},     {inf, inf},   {0.0f, 1.0f},
                          {-1.0f, 1.0f}, {-inf, 1.0f},   {nan, 1.0f}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.maxLoad);
        ky::hash_multimap<int, int> h;
        h.max_load_factor(c.maxLoad); // rehash(0): nothing to make room for
        ASSERT_EQ(h.max_load_factor(), c.kept);
        ASSERT_EQ(h.bucket_count(), 0u);
        EXPECT_EQ(h.find(3), h.end());
        EXPECT_EQ(h.count(3), 0u);
        EXPECT_EQ(h.erase(3), 0u);
        EXPECT_EQ(h.begin(), h.end());
        EXPECT_EQ(h.equal_range(3).first, h.end());
        EXPECT_EQ(h.bucket_size(0), 0u);
        EXPECT_EQ(h.bucket_size(~std::size_t{0}), 0u);
        EXPECT_EQ(h.bucket(3), 0u);
        EXPECT_EQ(h.load_factor(), 0.0f);
        h.clear();
        ky::hash_multimap<int, int> copy(h);
        EXPECT_EQ(copy.bucket_count(), 0u);
        copy.swap(h);
        EXPECT_EQ(h.size(), 0u);
        // Each way in: unique insert, operator[], non-unique insert.
        ky::hash_set<int> s;
        s.max_load_factor(c.maxLoad);
        EXPECT_TRUE(s.insert(11).second);
        ky::hash_map<int, int> m;
        m.max_load_factor(c.maxLoad);
        m[11] = 4;
        h.insert({11, 1});
        EXPECT_EQ(s.bucket_count(), 7u);
        EXPECT_EQ(m.bucket_count(), 7u);
        EXPECT_EQ(h.bucket_count(), 7u);
        h.insert({11, 2}); // 0.25 makes 13 for two elements; the rest keep 7
        EXPECT_EQ(s.count(11), 1u);
        EXPECT_EQ(m.find(11)->second, 4);
        EXPECT_EQ(h.count(11), 2u);
        EXPECT_EQ(h.bucket_size(h.bucket(11)), 2u);
        const std::size_t grown = h.bucket_count();
        EXPECT_EQ(h.erase(11), 2u);
        EXPECT_EQ(h.bucket_count(), grown); // never shrinks
    }
}

// The engine's no-resize insertions, which typed front ends call after their own rehash, also
// give a bucketless table its first buckets.
TEST_F(HashTableTest, NoResizeInsertionsMakeTheFirstBuckets) {
    struct IntNode {
        ky::HashTableImpl::HashNodeImpl header;
        int key;
    };
    static const ky::HashTableImpl::TypeUtil intKeys = {
        sizeof(IntNode),
        offsetof(IntNode, key),
        offsetof(IntNode, key),
        [](void* e, const void* k, const void*) {
            *static_cast<int*>(e) = *static_cast<const int*>(k);
        },
        [](void* d, const void* s) { *static_cast<int*>(d) = *static_cast<const int*>(s); },
        nullptr,
        [](const void* a, const void* b) {
            return *static_cast<const int*>(a) == *static_cast<const int*>(b);
        }};
    for (const bool unique : {true, false}) {
        ky::HashTableImpl table(&intKeys);
        table.max_load_factor(3.0f);
        table.rehash(1); // wanted 1 / 3 = 0: still no buckets
        ASSERT_EQ(table.bucketCount(), 0);
        const int key = 42;
        if (unique) {
            bool inserted = false;
            ASSERT_NE(table.insert_unique_noresize(42, &key, nullptr, &inserted), nullptr);
            EXPECT_TRUE(inserted);
        } else {
            ASSERT_NE(table.insert_non_unique_noresize(42, &key, nullptr), nullptr);
        }
        EXPECT_EQ(table.bucketCount(), 7);
        EXPECT_EQ(table.count(42, &key), 1u);
        EXPECT_EQ(table.bucket_size(42 % 7), 1);
        EXPECT_EQ(table.bucket_size(-1), 0);
        EXPECT_EQ(table.bucket_size(7), 0);
    }
}
