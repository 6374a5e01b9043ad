// VectorTest.cpp - ky::vector against std::vector, growth rules and element lifetimes.
#include <Base/Containers/kyList.h>
#include <Base/Containers/kyVector.h>

#include <kyContainerTestSupport.h>

#include <algorithm>
#include <list>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

using kytest::Counted;

namespace {

[[maybe_unused]] int toInt(int x) {
    return x;
}
int toInt(const Counted& x) {
    return x.value();
}

template <class T>
void expectSame(const ky::vector<T>& mine, const std::vector<T>& reference) {
    ASSERT_EQ(mine.size(), reference.size());
    ASSERT_LE(mine.size(), mine.capacity());
    for (std::size_t i = 0; i < reference.size(); ++i) {
        ASSERT_EQ(toInt(mine[i]), toInt(reference[i])) << "at " << i;
    }
}

using VectorTest = kytest::ContainerTest;

TEST_F(VectorTest, GrowsByEightBelowThirtyTwoThenDoubles) {
    ky::vector<int> v;
    EXPECT_EQ(v.capacity(), 0u);
    std::vector<std::size_t> seen;
    for (int i = 0; i < 300; ++i) {
        v.push_back(i);
        if (seen.empty() || seen.back() != v.capacity()) {
            seen.push_back(v.capacity());
        }
    }
    EXPECT_EQ(seen, (std::vector<std::size_t>{8, 16, 24, 32, 64, 128, 256, 512}));
    ky::vector<Counted> c;
    for (int i = 0; i < 33; ++i) {
        c.emplace_back(i);
    }
    EXPECT_EQ(c.capacity(), 64u);
}

TEST_F(VectorTest, ValueInitialisesTrivialElements) {
    ky::vector<int> v(100);
    EXPECT_TRUE(std::all_of(v.begin(), v.end(), [](int x) { return x == 0; }));
    v.resize(200);
    EXPECT_TRUE(std::all_of(v.begin(), v.end(), [](int x) { return x == 0; }));
    const ky::vector<Counted> filled(5, Counted(7));
    EXPECT_TRUE(filled.size() == 5u && filled[4].value() == 7);
}

TEST_F(VectorTest, InsertingOwnElementsIsSafe) {
    // Every insertion below reads from the vector it changes, across a reallocation.
    ky::vector<Counted> v;
    std::vector<Counted> r;
    for (int i = 0; i < 8; ++i) {
        v.emplace_back(i);
        r.emplace_back(i);
    }
    ASSERT_EQ(v.capacity(), v.size());
    v.push_back(v[3]);
    r.push_back(r[3]);
    expectSame(v, r);
    v.insert(v.begin() + 1, v[6]);
    r.insert(r.begin() + 1, r[6]);
    expectSame(v, r);
    v.insert(v.begin() + 2, 20, v[0]);
    r.insert(r.begin() + 2, 20, r[0]);
    expectSame(v, r);
    // A range of ourselves straddling the insertion point.
    std::vector<Counted> piece(r.begin() + 1, r.begin() + 6);
    v.insert(v.begin() + 3, v.begin() + 1, v.begin() + 6);
    r.insert(r.begin() + 3, piece.begin(), piece.end());
    expectSame(v, r);
    v.resize(v.size() + 40, v[1]);
    r.resize(r.size() + 40, r[1]);
    expectSame(v, r);
    v.emplace(v.begin(), v.back());
    r.emplace(r.begin(), r.back());
    expectSame(v, r);
    v.assign(v.begin() + 2, v.begin() + 9);
    r.assign(r.begin() + 2, r.begin() + 9);
    expectSame(v, r);
}

TEST_F(VectorTest, RangesFromOtherIteratorKinds) {
    std::list<int> source{5, 6, 7, 8};
    ky::vector<Counted> v(source.begin(), source.end());
    EXPECT_EQ(v.size(), 4u);
    v.insert(v.begin() + 2, source.rbegin(), source.rend());
    expectSame(v, std::vector<Counted>{5, 6, 8, 7, 6, 5, 7, 8});
    ky::list<int> kyList{1, 2, 3};
    v.assign(kyList.begin(), kyList.end());
    EXPECT_EQ(v.size(), 3u);
    EXPECT_EQ(v.back().value(), 3);
}

TEST_F(VectorTest, StandardAlgorithms) {
    EXPECT_TRUE((ky::vector<int>{1, 2, 3} < ky::vector<int>{1, 2, 4}));
    ky::vector<int> big(1000);
    std::iota(big.begin(), big.end(), 0);
    std::reverse(big.begin(), big.end());
    std::sort(big.begin(), big.end());
    EXPECT_TRUE(std::is_sorted(big.begin(), big.end()));
    EXPECT_EQ(*std::lower_bound(big.begin(), big.end(), 500), 500);
    EXPECT_EQ(std::accumulate(big.rbegin(), big.rend(), 0), 999 * 1000 / 2);
}

// Random operations applied to both containers; contents compared after every step.
TEST_F(VectorTest, DifferentialAgainstStdVector) {
    for (std::uint32_t seed = 1; seed <= 20; ++seed) {
        kytest::Random rnd(seed);
        ky::vector<Counted> v;
        std::vector<Counted> r;
        for (int step = 0; step < 600; ++step) {
            const int size = static_cast<int>(r.size());
            const int pos = rnd.range(0, size);
            const int value = rnd.range(-1000, 1000);
            switch (rnd.range(0, 15)) {
            case 0:
            case 1:
                v.push_back(value);
                r.push_back(value);
                break;
            case 2:
                v.insert(v.begin() + pos, value);
                r.insert(r.begin() + pos, value);
                break;
            case 3: {
                const int n = rnd.range(0, 12);
                v.insert(v.begin() + pos, static_cast<std::size_t>(n), Counted(value));
                r.insert(r.begin() + pos, static_cast<std::size_t>(n), Counted(value));
                break;
            }
            case 4:
                if (size > 0) {
                    const int at = rnd.range(0, size - 1);
                    v.erase(v.begin() + at);
                    r.erase(r.begin() + at);
                }
                break;
            case 5: {
                const int last = rnd.range(pos, size);
                v.erase(v.begin() + pos, v.begin() + last);
                r.erase(r.begin() + pos, r.begin() + last);
                break;
            }
            case 6:
                if (size > 0) {
                    v.pop_back();
                    r.pop_back();
                }
                break;
            case 7: {
                const int n = rnd.range(0, 60);
                v.resize(static_cast<std::size_t>(n));
                r.resize(static_cast<std::size_t>(n));
                break;
            }
            case 8: {
                const int n = rnd.range(0, 60);
                v.resize(static_cast<std::size_t>(n), Counted(value));
                r.resize(static_cast<std::size_t>(n), Counted(value));
                break;
            }
            case 9: {
                ky::vector<Counted> copy(v);
                v.clear();
                expectSame(copy, r);
                v = copy;
                ASSERT_TRUE(v == copy && !(v != copy) && !(v < copy) && !(copy < v));
                copy.push_back(value);
                ASSERT_TRUE(v < copy && v != copy && !(v == copy));
                break;
            }
            case 10: {
                ky::vector<Counted> other{1, 2, 3};
                other.swap(v);
                v.swap(other);
                ky::vector<Counted> moved(std::move(v));
                v = std::move(moved);
                break;
            }
            case 11:
                v.reserve(static_cast<std::size_t>(rnd.range(0, 100)));
                break;
            case 12:
                if (size > 0) {
                    const int at = rnd.range(0, size - 1);
                    v[static_cast<std::size_t>(at)] = value;
                    r[static_cast<std::size_t>(at)] = value;
                }
                break;
            case 13: {
                const int n = rnd.range(0, 5);
                std::vector<Counted> extra;
                for (int i = 0; i < n; ++i) {
                    extra.emplace_back(value + i);
                }
                v.insert(v.begin() + pos, extra.begin(), extra.end());
                r.insert(r.begin() + pos, extra.begin(), extra.end());
                break;
            }
            case 14:
                v.shrink_to_fit(); // an empty vector gives its storage back
                ASSERT_TRUE(v.capacity() == v.size() && (v.data() == nullptr) == v.empty());
                break;
            default:
                v.emplace_back(value);
                r.emplace_back(value);
                break;
            }
            expectSame(v, r);
            ASSERT_EQ(Counted::live, static_cast<int>(2 * r.size()));
        }
    }
}

} // namespace
