// ListTest.cpp - ky::list against std::list, splicing, sorting and element lifetimes.
#include <Base/Containers/kyList.h>

#include <kyContainerTestSupport.h>

#include <algorithm>
#include <iterator>
#include <list>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

using kytest::Counted;

namespace {

template <class T>
std::vector<int> contents(const T& l) {
    std::vector<int> out;
    for (const auto& x : l) {
        out.push_back(static_cast<int>(x.value()));
    }
    return out;
}

// Walks the ring both ways: the links must agree with each other and with size().
template <class T>
void expectSame(const ky::list<T>& mine, const std::list<T>& reference) {
    ASSERT_EQ(mine.size(), reference.size());
    ASSERT_EQ(contents(mine), contents(reference));
    std::vector<int> backwards;
    for (auto it = mine.rbegin(); it != mine.rend(); ++it) {
        backwards.push_back(it->value());
    }
    std::reverse(backwards.begin(), backwards.end());
    ASSERT_EQ(backwards, contents(reference));
}

template <class L>
typename L::iterator nth(L& l, int n) {
    auto it = l.begin();
    std::advance(it, n);
    return it;
}

using ListTest = kytest::ContainerTest;

TEST_F(ListTest, SortIsStable) {
    // Sort by key only; equal keys must keep their original order (the second member).
    using Tagged = std::pair<int, int>;
    kytest::Random rnd(7);
    ky::list<Tagged> l;
    std::vector<Tagged> r;
    for (int i = 0; i < 2000; ++i) {
        r.emplace_back(rnd.range(0, 20), i);
        l.push_back(r.back());
    }
    auto byKey = [](const Tagged& a, const Tagged& b) { return a.first < b.first; };
    l.sort(byKey);
    std::stable_sort(r.begin(), r.end(), byKey);
    EXPECT_EQ(std::vector<Tagged>(l.begin(), l.end()), r);
}

TEST_F(ListTest, MergeKeepsOursFirstAndEmptiesOther) {
    ky::list<std::pair<int, char>> a{{1, 'a'}, {3, 'a'}, {5, 'a'}};
    ky::list<std::pair<int, char>> b{{1, 'b'}, {2, 'b'}, {5, 'b'}, {9, 'b'}};
    a.merge(b, [](const auto& x, const auto& y) { return x.first < y.first; });
    EXPECT_TRUE(b.empty());
    std::vector<std::pair<int, char>> expected{{1, 'a'}, {1, 'b'}, {2, 'b'}, {3, 'a'},
                                               {5, 'a'}, {5, 'b'}, {9, 'b'}};
    EXPECT_EQ((std::vector<std::pair<int, char>>(a.begin(), a.end())), expected);
}

// Splicing relinks nodes: iterators stay valid, and a node spliced onto its own place stays.
// The other splices are in the differential run below.
TEST_F(ListTest, SpliceKeepsIteratorsValid) {
    ky::list<Counted> a{1, 2, 3};
    ky::list<Counted> b{10, 20, 30};
    auto twenty = nth(b, 1);
    a.splice(nth(a, 1), b, twenty);
    EXPECT_EQ(twenty->value(), 20);
    EXPECT_EQ(std::prev(twenty)->value(), 1);
    a.splice(nth(a, 1), a, nth(a, 1));
    a.splice(nth(a, 2), a, nth(a, 1));
    EXPECT_EQ(contents(a), (std::vector<int>{1, 20, 2, 3}));
    EXPECT_EQ(contents(b), (std::vector<int>{10, 30}));
}

TEST_F(ListTest, RemoveWithValueFromTheListItself) {
    ky::list<Counted> l{4, 1, 4, 4, 2, 4};
    EXPECT_EQ(l.remove(l.front()), 4u);
    EXPECT_EQ(contents(l), (std::vector<int>{1, 2}));
    EXPECT_EQ(l.remove_if([](const Counted& c) { return c.value() > 1; }), 1u);
    EXPECT_EQ(contents(l), (std::vector<int>{1}));
}

TEST_F(ListTest, DifferentialAgainstStdList) {
    for (std::uint32_t seed = 1; seed <= 20; ++seed) {
        kytest::Random rnd(seed * 31u);
        ky::list<Counted> l;
        ky::list<Counted> other;
        std::list<Counted> r;
        std::list<Counted> rOther;
        for (int step = 0; step < 500; ++step) {
            const int size = static_cast<int>(r.size());
            const int pos = rnd.range(0, size);
            const int value = rnd.range(0, 40);
            switch (rnd.range(0, 17)) {
            case 0:
                l.push_back(value);
                r.push_back(value);
                break;
            case 1:
                l.push_front(value);
                r.push_front(value);
                break;
            case 2:
                l.insert(nth(l, pos), value);
                r.insert(nth(r, pos), value);
                break;
            case 3: {
                const std::size_t n = static_cast<std::size_t>(rnd.range(0, 5));
                l.insert(nth(l, pos), n, Counted(value));
                r.insert(nth(r, pos), n, Counted(value));
                break;
            }
            case 4:
                if (size > 0) {
                    const int at = rnd.range(0, size - 1);
                    l.erase(nth(l, at));
                    r.erase(nth(r, at));
                }
                break;
            case 5: {
                const int last = rnd.range(pos, size);
                l.erase(nth(l, pos), nth(l, last));
                r.erase(nth(r, pos), nth(r, last));
                break;
            }
            case 6:
                if (size > 0) {
                    l.pop_back();
                    r.pop_back();
                    if (size > 1) {
                        l.pop_front();
                        r.pop_front();
                    }
                }
                break;
            case 7:
                l.sort();
                r.sort();
                break;
            case 8:
                other.sort();
                rOther.sort();
                l.sort();
                r.sort();
                l.merge(other);
                r.merge(rOther);
                break;
            case 9:
                l.unique();
                r.unique();
                break;
            case 10:
                l.reverse();
                r.reverse();
                break;
            case 11:
                l.remove(Counted(value));
                r.remove(Counted(value));
                break;
            case 12:
                other.push_back(value);
                rOther.push_back(value);
                other.push_front(value + 1);
                rOther.push_front(value + 1);
                break;
            case 13: {
                // Splice a range of `other` into `l`.
                const int otherSize = static_cast<int>(rOther.size());
                const int first = rnd.range(0, otherSize);
                const int last = rnd.range(first, otherSize);
                l.splice(nth(l, pos), other, nth(other, first), nth(other, last));
                r.splice(nth(r, pos), rOther, nth(rOther, first), nth(rOther, last));
                break;
            }
            case 14:
                if (size > 0) {
                    const int from = rnd.range(0, size - 1);
                    l.splice(nth(l, pos), l, nth(l, from));
                    r.splice(nth(r, pos), r, nth(r, from));
                }
                break;
            case 15: {
                ky::list<Counted> copy(l);
                l = other;
                other = copy;
                l.swap(other);
                ky::list<Counted> moved(std::move(l));
                l = std::move(moved);
                break;
            }
            case 16: {
                const std::size_t n = static_cast<std::size_t>(rnd.range(0, 30));
                l.resize(n, Counted(value));
                r.resize(n, Counted(value));
                break;
            }
            default:
                l.splice(nth(l, pos), other);
                r.splice(nth(r, pos), rOther);
                break;
            }
            expectSame(l, r);
            expectSame(other, rOther);
            ASSERT_EQ(Counted::live, static_cast<int>(2 * (r.size() + rOther.size())));
        }
    }
}

} // namespace
