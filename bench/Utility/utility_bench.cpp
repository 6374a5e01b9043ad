// utility_bench.cpp - the parallel sort and a chunked parallel-for on the std::thread pool.
//
// sort_10M/<n>thread: parallelSort of an Ordering of 10,000,000 indices into random floats on
// an installed StdThreadPool of n workers, against std::sort of the same identity permutation
// with the same predicate. With one worker parallelSort is an ordinary sort, so the goal is to
// cost nothing (ratio >= 1/1.05); with two the goal is 1.7x.
//
// parallel_for_100M: a ThreadedChunkAlg of 100 chunks applying a degree-8 polynomial to each of
// 100,000,000 floats in place, on two workers, against the same loop on one thread (goal 1.8x).
// The polynomial makes the loop compute-bound rather than memory-bound.
//
// The worker count is min(wanted, kyOS::SysInfo::numCPUs()), so KY_NUM_CPUS lowers it. Only
// the sort or the loop itself is timed (manual time); resetting the permutation is not.
#include <Base/OS/kyOSSysInfo.h>
#include <Base/Utility/kyUtilParallelSort.h>
#include <Base/Utility/kyUtilStdThreadPool.h>

#include <kyBenchSupport.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <random>
#include <vector>

namespace {

constexpr int kSortSize = 10000000;
constexpr int kLoopSize = 100000000;

using Clock = std::chrono::steady_clock;

int workers(int wanted) {
    kyOS::SysInfo info;
    return std::max(1, std::min(wanted, info.numCPUs()));
}

const std::vector<float>& sortKeys() {
    static const std::vector<float> keys = [] {
        std::vector<float> k(kSortSize);
        std::mt19937 rng(42);
        std::uniform_real_distribution<float> dist(0.0f, 1.0f);
        for (float& v : k) {
            v = dist(rng);
        }
        return k;
    }();
    return keys;
}

bool lessFloat(const float& a, const float& b) {
    return a < b;
}

using Predicate = kyUtil::IndexedBinaryPredicate<float>;

void sortBase(benchmark::State& state, int wanted) {
    kyUtil::StdThreadPool pool(workers(wanted));
    kyUtil::ThreadPool::install(&pool);
    const Predicate predicate(sortKeys().data(), &lessFloat);
    kyUtil::Ordering order;
    for (auto _ : state) {
        order.resize(kSortSize);
        const Clock::time_point start = Clock::now();
        kyUtil::parallelSort(order, predicate);
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
        benchmark::DoNotOptimize(order.get());
    }
    kyUtil::ThreadPool::install(nullptr);
    if (!std::is_sorted(order.get(), order.get() + kSortSize, predicate)) {
        state.SkipWithError("not sorted");
    }
    state.counters["threads"] = pool.numThreads();
}

void BM_SortBase2(benchmark::State& state) {
    sortBase(state, 2);
}

void BM_SortBase1(benchmark::State& state) {
    sortBase(state, 1);
}

void BM_SortStd(benchmark::State& state) {
    const Predicate predicate(sortKeys().data(), &lessFloat);
    kyUtil::Ordering order;
    for (auto _ : state) {
        order.resize(kSortSize);
        const Clock::time_point start = Clock::now();
        std::sort(order.get(), order.get() + kSortSize, predicate);
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
        benchmark::DoNotOptimize(order.get());
    }
}

inline float polynomial(float x) {
    return (((((((0.1f * x + 0.2f) * x + 0.3f) * x + 0.4f) * x + 0.5f) * x + 0.6f) * x + 0.7f) * x +
            0.8f) *
               x +
           0.9f;
}

// The loop both sides run. Its count is a run-time value on both sides: with a constant count
// the compiler may vectorise the baseline only, which would compare code generation instead of
// threads.
void applyPolynomial(float* p, int count) {
    for (int i = 0; i < count; ++i) {
        p[i] = polynomial(p[i]);
    }
}

std::vector<float>& loopData() {
    static std::vector<float> data(kLoopSize, 0.5f);
    return data;
}

class PolynomialChunks : public kyUtil::ThreadedChunkAlg {
public:
    PolynomialChunks(float* data, int size) : data_(data), size_(size) {}
    void executeChunk(int chunk, int, int) override {
        const int begin = getBeginIndex(chunk, getNumChunks(), size_);
        applyPolynomial(data_ + begin, getEndIndex(chunk, getNumChunks(), size_) - begin);
    }

private:
    float* data_;
    int size_;
};

void BM_LoopBase(benchmark::State& state) {
    kyUtil::StdThreadPool pool(workers(2));
    kyUtil::ThreadPool::install(&pool);
    std::vector<float>& data = loopData();
    for (auto _ : state) {
        std::fill(data.begin(), data.end(), 0.5f);
        PolynomialChunks alg(data.data(), kLoopSize);
        const Clock::time_point start = Clock::now();
        kyUtil::ThreadPool::get().run(alg);
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
        benchmark::DoNotOptimize(data.data());
    }
    kyUtil::ThreadPool::install(nullptr);
    if (data[kLoopSize - 1] != polynomial(0.5f)) {
        state.SkipWithError("wrong result");
    }
    state.counters["threads"] = pool.numThreads();
}

void BM_LoopPlain(benchmark::State& state) {
    std::vector<float>& data = loopData();
    for (auto _ : state) {
        std::fill(data.begin(), data.end(), 0.5f);
        const int count = static_cast<int>(data.size());
        const Clock::time_point start = Clock::now();
        applyPolynomial(data.data(), count);
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
        benchmark::DoNotOptimize(data.data());
    }
}

BENCHMARK(BM_SortBase2)
    ->Name("sort_10M/2threads/base")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SortStd)
    ->Name("sort_10M/2threads/std")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SortBase1)
    ->Name("sort_10M/1thread/base")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SortStd)->Name("sort_10M/1thread/std")->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoopBase)
    ->Name("parallel_for_100M/2threads/base")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoopPlain)
    ->Name("parallel_for_100M/2threads/loop")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

const bool kGoals[] = {
    kybench::goal("sort_10M/2threads", "std", 1.7),
    kybench::goal("sort_10M/1thread", "std", 1.0 / 1.05),
    kybench::goal("parallel_for_100M/2threads", "loop", 1.8),
};

} // namespace

int main(int argc, char** argv) {
    (void)kGoals;
    return kybench::runBenchmarks(argc, argv, 5);
}
