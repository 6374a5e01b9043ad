#include <Base/Utility/kyUtilIntRange2d.h>
#include <Base/Utility/kyUtilParallelSort.h>
#include <Base/Utility/kyUtilStdThreadPool.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

using namespace kyUtil;

namespace {

bool lessInt(const int& a, const int& b) {
    return a < b;
}
using IntPredicate = IndexedBinaryPredicate<int>;

// Resizing, even to the same size, restores the identity; copies own their arrays.
TEST(ThreadsOrdering, ResizeAlwaysRestoresTheIdentity) {
    Ordering order(5);
    std::reverse(order.get(), order.get() + 5);
    Ordering copy(order);
    order.resize(5);
    EXPECT_EQ(std::vector<int>(order.get(), order.get() + 5), (std::vector<int>{0, 1, 2, 3, 4}));
    EXPECT_EQ(copy[0], 4);
    order.resize(0);
    copy = order;
    EXPECT_TRUE(copy.size() == 0 && order.get() == nullptr);
}

// Parameter: the pool's thread count (1 = the built-in pool; 2 and 8 = installed pools, of
// which the sort uses two threads).
class ThreadsSort : public ::testing::TestWithParam<int> {
protected:
    void SetUp() override {
        if (GetParam() > 1) {
            pool_ = std::make_unique<StdThreadPool>(GetParam());
            ThreadPool::install(pool_.get());
        }
    }
    void TearDown() override { ThreadPool::install(nullptr); }

private:
    std::unique_ptr<StdThreadPool> pool_;
};

enum class Shape { Random, FewKeys, Sorted, Reversed, AllEqual };

std::vector<int> makeKeys(Shape shape, int n, std::mt19937& rng) {
    std::vector<int> keys(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
        keys[i] = shape == Shape::Random     ? static_cast<int>(rng() % 1000000000u)
                  : shape == Shape::FewKeys  ? static_cast<int>(rng() % 7u)
                  : shape == Shape::Sorted   ? i / 3
                  : shape == Shape::Reversed ? n - i / 2
                                             : 42;
    }
    return keys;
}

TEST_P(ThreadsSort, SortsAPermutationOfTheIndices) {
    std::mt19937 rng(19);
    for (Shape shape :
         {Shape::Random, Shape::FewKeys, Shape::Sorted, Shape::Reversed, Shape::AllEqual}) {
        for (int n : {0, 1, 2, 3, 4, 17, 1000, 100001}) {
            const std::vector<int> keys = makeKeys(shape, n, rng);
            Ordering order(n);
            parallelSort(order, IntPredicate(keys.data(), &lessInt));

            std::vector<int> got(order.get(), order.get() + n);
            const std::string what =
                "shape " + std::to_string(int(shape)) + ", n " + std::to_string(n);
            EXPECT_TRUE(std::is_sorted(got.begin(), got.end(), [&](int a, int b) {
                return keys[a] < keys[b];
            })) << what;
            std::sort(got.begin(), got.end());
            std::vector<int> identity(static_cast<std::size_t>(n));
            std::iota(identity.begin(), identity.end(), 0);
            EXPECT_EQ(got, identity) << what << ": not a permutation";
            if (GetParam() > 1) {
                // Among equal keys, indices of the first half (< ceil(n/2)) come first.
                const int h = ThreadedAlgBase::getEndIndex(0, 2, n);
                for (int i = 1; i < n; ++i) {
                    if (keys[order[i - 1]] == keys[order[i]]) {
                        ASSERT_FALSE(order[i - 1] >= h && order[i] < h) << what << " at " << i;
                    }
                }
            }
        }
    }
}

// The merge alone, against std::merge (stable: ties from the first range first), on halves
// that are sorted but carry many ties, for every small size and a few large ones.
TEST_P(ThreadsSort, MergeEqualsAStableMergeOfTheHalves) {
    std::mt19937 rng(7);
    std::vector<int> sizes(41);
    std::iota(sizes.begin(), sizes.end(), 0);
    sizes.insert(sizes.end(), {999, 1000, 65537});
    for (int n : sizes) {
        const std::vector<int> keys = makeKeys(Shape::FewKeys, n, rng);
        const auto byKey = [&](int a, int b) { return keys[a] < keys[b]; };
        const int h = ThreadedAlgBase::getEndIndex(0, 2, n);
        std::vector<int> indices(static_cast<std::size_t>(n));
        std::iota(indices.begin(), indices.end(), 0);
        std::shuffle(indices.begin(), indices.end(), rng);
        std::stable_sort(indices.begin(), indices.begin() + h, byKey);
        std::stable_sort(indices.begin() + h, indices.end(), byKey);
        std::vector<int> expected;
        std::merge(indices.begin(), indices.begin() + h, indices.begin() + h, indices.end(),
                   std::back_inserter(expected), byKey);

        SMPSortMerge<int, IntPredicate, Ordering> merge(indices.data(), indices.data() + n,
                                                        IntPredicate(keys.data(), &lessInt));
        ThreadPool::get().run(merge);
        EXPECT_EQ(indices, expected) << "n " << n;
    }
}

TEST_P(ThreadsSort, RectanglesSortTallestFirst) {
    std::mt19937 rng(3);
    std::vector<IntRange2d> rects;
    for (int i = 0; i < 5000; ++i) {
        const int x = static_cast<int>(rng() % 100), y = static_cast<int>(rng() % 100);
        rects.emplace_back(x, y, x + 1 + static_cast<int>(rng() % 20),
                           y + 1 + static_cast<int>(rng() % 20));
    }
    Ordering order(static_cast<int>(rects.size()));
    parallelSort(order, IndexedBinaryPredicate<IntRange2d>(rects.data(), &IntRange2d::tallerFirst));
    for (int i = 1; i < order.size(); ++i) {
        ASSERT_FALSE(IntRange2d::tallerFirst(rects[order[i]], rects[order[i - 1]])) << i;
    }
    EXPECT_EQ(IntRange2d(1, 2, 4, 7).area(), 15);
    EXPECT_TRUE(IntRange2d::largerFirst(IntRange2d(0, 0, 3, 3), IntRange2d(0, 0, 2, 4)));
}

INSTANTIATE_TEST_SUITE_P(Threads, ThreadsSort, ::testing::Values(1, 2, 8),
                         [](const ::testing::TestParamInfo<int>& info) {
                             return "Pool" + std::to_string(info.param);
                         });

} // namespace
