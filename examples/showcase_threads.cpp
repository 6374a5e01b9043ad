// showcase_threads.cpp - the showcase's tour of the thread pool, task queue and parallel sort.
#include "showcase.h"

#include <Base/OS/kyOSSysInfo.h>
#include <Base/Utility/kyUtilIntRange2d.h>
#include <Base/Utility/kyUtilParallelSort.h>
#include <Base/Utility/kyUtilProgress.h>
#include <Base/Utility/kyUtilStdThreadPool.h>
#include <Base/Utility/kyUtilThreadPool.h>
#include <Base/Utility/kyUtilThreadedAlg.h>

#include <atomic>
#include <cstdio>
#include <mutex>
#include <string>
#include <vector>

namespace {

// Sums 1..n in chunks, one partial sum per thread, and counts the chunks each thread ran.
class ChunkedSum : public kyUtil::ThreadedChunkAlg {
public:
    explicit ChunkedSum(long long n) : n_(n) {}
    void initialize(int numThreads) override {
        partial.assign(static_cast<std::size_t>(numThreads), 0);
        chunksPerThread.assign(static_cast<std::size_t>(numThreads), 0);
    }
    void executeChunk(int chunk, int thread, int) override {
        const int total = static_cast<int>(n_);
        for (int i = getBeginIndex(chunk, getNumChunks(), total);
             i < getEndIndex(chunk, getNumChunks(), total); ++i) {
            partial[static_cast<std::size_t>(thread)] += i + 1;
        }
        ++chunksPerThread[static_cast<std::size_t>(thread)];
        updateProgress(thread, double(chunk + 1) / getNumChunks());
    }
    void finalize() override {
        for (long long p : partial) {
            sum += p;
        }
    }
    std::vector<long long> partial;
    std::vector<int> chunksPerThread;
    long long sum = 0;

private:
    long long n_;
};

void runSum(const char* label) {
    ChunkedSum alg(10000000);
    kyUtil::Progress progress;
    alg.setProgress(&progress);
    kyUtil::ThreadPool::get().run(alg);
    std::printf("%s: sum 1..10,000,000 = %lld, thread 0 last reported %.2f; chunks per thread:",
                label, alg.sum, progress.value());
    for (int c : alg.chunksPerThread) {
        std::printf(" %d", c);
    }
    std::printf("\n");
}

// A task that logs its name; its pre- and post-tasks log theirs around it.
class Step : public kyUtil::ThreadedTask {
public:
    Step(std::string name, std::vector<std::string>* log, std::mutex* lock, int depth)
        : name_(std::move(name)), log_(log), lock_(lock), depth_(depth) {}
    ThreadedTask* preExecute(int i) override {
        return depth_ > 0 && i < 2
                   ? new Step(name_ + ".pre" + std::to_string(i), log_, lock_, depth_ - 1)
                   : nullptr;
    }
    void execute(int) override {
        std::lock_guard<std::mutex> hold(*lock_);
        log_->push_back(name_);
    }
    ThreadedTask* postExecute(int i) override {
        return depth_ > 0 && i == 0 ? new Step(name_ + ".post", log_, lock_, depth_ - 1) : nullptr;
    }

private:
    std::string name_;
    std::vector<std::string>* log_;
    std::mutex* lock_;
    int depth_;
};

} // namespace

void showcaseThreads() {
    showcaseSection("Threads: installable pool and task queue, chunked algorithms, parallel sort");

    std::printf("nothing installed: the pool has %d thread(s)\n",
                kyUtil::ThreadPool::get().numThreads());
    runSum("built-in pool");

    kyOS::SysInfo info; // KY_NUM_CPUS lowers this
    kyUtil::StdThreadPool pool(info.numCPUs());
    kyUtil::StdTaskQueue queue(info.numCPUs());
    kyUtil::ThreadPool::install(&pool);
    kyUtil::ThreadedTaskQueue::install(&queue);
    std::printf("installed StdThreadPool(%d) and StdTaskQueue(%d)\n", pool.numThreads(),
                queue.numThreads());
    runSum("std::thread pool");

    std::vector<std::string> log;
    std::mutex lock;
    kyUtil::ThreadedTaskQueue& q = kyUtil::ThreadedTaskQueue::get();
    q.reset();
    q.begin();
    (void)q.add(new Step("root", &log, &lock, 2)); // accepted: nothing cancels this run
    q.wait();
    std::printf("task tree, depth first, pre-tasks / own work / post-tasks:\n ");
    for (const std::string& s : log) {
        std::printf(" %s", s.c_str());
    }
    std::printf("\n");

    std::vector<kyUtil::IntRange2d> rects;
    unsigned seed = 12345;
    for (int i = 0; i < 200000; ++i) {
        seed = seed * 1103515245u + 12345u;
        const int w = 1 + static_cast<int>((seed >> 8) % 64),
                  h = 1 + static_cast<int>((seed >> 20) % 64);
        rects.emplace_back(0, 0, w, h);
    }
    kyUtil::Ordering order(static_cast<int>(rects.size()));
    kyUtil::parallelSort(order, kyUtil::IndexedBinaryPredicate<kyUtil::IntRange2d>(
                                    rects.data(), &kyUtil::IntRange2d::tallerFirst));
    std::printf(
        "200,000 rectangles sorted tallest first on %d thread(s): first %dx%d, last %dx%d\n",
        std::min(2, pool.numThreads()), rects[order[0]].width(), rects[order[0]].height(),
        rects[order[order.size() - 1]].width(), rects[order[order.size() - 1]].height());

    kyUtil::ThreadedTaskQueue::install(nullptr);
    kyUtil::ThreadPool::install(nullptr);
}
