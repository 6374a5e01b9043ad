#include <Base/Utility/kyUtilProgress.h>
#include <Base/Utility/kyUtilStdThreadPool.h>
#include <Base/Utility/kyUtilThreadPool.h>
#include <Base/Utility/kyUtilThreadedAlg.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

using namespace kyUtil;

namespace {

// Every contract test runs once on the built-in single-threaded services (parameter 0) and once
// on installed std::thread services of 1, 2 and 8 threads.
class ThreadServices : public ::testing::TestWithParam<int> {
protected:
    void SetUp() override {
        if (GetParam() > 0) {
            pool_ = std::make_unique<StdThreadPool>(GetParam());
            queue_ = std::make_unique<StdTaskQueue>(GetParam());
            ThreadPool::install(pool_.get());
            ThreadedTaskQueue::install(queue_.get());
        }
    }
    void TearDown() override {
        ThreadPool::install(nullptr);
        ThreadedTaskQueue::install(nullptr);
    }
    int threads() const { return std::max(GetParam(), 1); }

private:
    std::unique_ptr<StdThreadPool> pool_;
    std::unique_ptr<StdTaskQueue> queue_;
};

// Checks the pool's side of the contract while it happens and counts what it saw.
struct RecordingChunks : ThreadedChunkAlg {
    explicit RecordingChunks(int chunks, int innerChunks = 0)
        : counts(static_cast<std::size_t>(chunks)), nested(innerChunks) {
        setNumChunks(chunks);
    }
    void initialize(int numThreads) override {
        threadsAtInit = numThreads;
        violations += initCalls++ != 0 || finalizeCalls != 0;
    }
    void executeChunk(int chunk, int thread, int numThreads) override {
        violations += initCalls != 1 || finalizeCalls != 0 || numThreads != threadsAtInit ||
                      thread < 0 || thread >= numThreads;
        ++counts[static_cast<std::size_t>(chunk)];
        if (nested != 0) {
            RecordingChunks inner(nested);
            ThreadPool::get().run(inner); // must neither deadlock nor break the contract
            violations += inner.violations + (inner.finalizeCalls != 1);
        }
    }
    void finalize() override {
        violations += initCalls != 1 || finalizeCalls++ != 0;
        for (const std::atomic<int>& c : counts) {
            violations += c != 1;
        }
    }
    std::vector<std::atomic<int>> counts;
    std::atomic<int> violations{0};
    int nested, initCalls = 0, finalizeCalls = 0, threadsAtInit = 0;
};

struct RecordingThreads : ThreadedAlg {
    void initialize(int numThreads) override {
        calls.assign(static_cast<std::size_t>(numThreads), 0);
        ++initCalls;
    }
    void execute(int thread, int numThreads) override {
        violations += finalizeCalls != 0 || numThreads != static_cast<int>(calls.size());
        ++calls[static_cast<std::size_t>(thread)]; // each index has its own slot
    }
    void finalize() override { violations += initCalls != 1 || finalizeCalls++ != 0; }
    std::vector<int> calls;
    std::atomic<int> violations{0};
    int initCalls = 0, finalizeCalls = 0;
};

// Records the threads that call set(); the test compares them with thread 0's thread.
struct WatchedProgress : Progress {
    void set(double value) override {
        Progress::set(value);
        callers.insert(std::this_thread::get_id()); // only thread 0 may get here
        ++sets;
    }
    std::set<std::thread::id> callers;
    int sets = 0;
};

struct CancellingChunks : ThreadedChunkAlg {
    explicit CancellingChunks(WatchedProgress* progress) : progress_(progress) {
        setNumChunks(1000);
        setProgress(progress);
    }
    void executeChunk(int chunk, int thread, int) override {
        ++handed;
        if (thread == 0) {
            thread0 = std::this_thread::get_id();
            ++thread0Chunks;
            progress_->cancel(); // the user presses cancel during thread 0's first chunk
        }
        updateProgress(thread, chunk);
        const bool stop = cancelled(thread);
        if (thread == 0) {
            polled = true;
        }
        while (!polled) {
            std::this_thread::yield(); // the others go on only after thread 0 has polled once
        }
        if (stop || cancelled(thread)) {
            return;
        }
        ++worked;
    }
    WatchedProgress* progress_;
    std::thread::id thread0;
    int thread0Chunks = 0;
    std::atomic<int> worked{0}, handed{0};
    std::atomic<bool> polled{false};
};

TEST_P(ThreadServices, CancellationReachesEveryThreadThroughThreadZero) {
    WatchedProgress progress;
    CancellingChunks alg(&progress);
    ThreadPool::get().run(alg);
    EXPECT_EQ(alg.worked, 0);    // thread 0 saw it at once, the others after its poll
    EXPECT_EQ(alg.handed, 1000); // cancellation is cooperative: every chunk is still handed out
    EXPECT_EQ(progress.sets, alg.thread0Chunks); // only thread 0 reports
    EXPECT_EQ(progress.callers, std::set<std::thread::id>{alg.thread0});
    for (int t = 0; t < threads(); ++t) {
        EXPECT_TRUE(alg.cancelled(t)) << t; // latched for everyone
    }
    if (threads() == 1) {
        EXPECT_DOUBLE_EQ(progress.value(), 999.0);
    }
}

// Each chunk and each thread index once between initialize and finalize, nested runs included.
TEST_P(ThreadServices, RunsCallEachChunkAndThreadOnceBetweenInitializeAndFinalize) {
    for (int chunks : {0, 1, 3, 100, 1000}) {
        RecordingChunks alg(chunks);
        ThreadPool::get().run(alg);
        EXPECT_EQ(alg.initCalls + alg.finalizeCalls, 2);
        EXPECT_EQ(alg.threadsAtInit, threads());
        EXPECT_EQ(alg.violations, 0) << chunks << " chunks";
    }
    for (int round = 0; round < 20; ++round) {
        RecordingThreads alg;
        ThreadPool::get().run(alg);
        EXPECT_EQ(alg.initCalls + alg.finalizeCalls, 2);
        EXPECT_EQ(alg.calls, std::vector<int>(static_cast<std::size_t>(threads()), 1));
        EXPECT_EQ(alg.violations, 0);
    }
    EXPECT_EQ(ThreadPool::get().numThreads(), threads());
    EXPECT_EQ(ThreadedTask::getNumThreads(), threads());
    RecordingChunks outer(8, 5);
    ThreadPool::get().run(outer);
    EXPECT_EQ(outer.violations, 0);
}

std::atomic<int> gTasksMade{0};
std::atomic<int> gTasksDeleted{0};

// Reports cancellation exactly once, when armed.
struct OneShotCancel : Progress {
    bool cancelled() override { return armed.exchange(false); }
    std::atomic<bool> armed{false};
};

// A node of a task tree: `pre` children before its own work and `post` after, down to `depth`
// levels; it appends its events to its tree's log (one tree runs on one thread at a time). With
// `arm`, asking the root for a pre-task arms a one-shot cancellation.
struct Node : ThreadedTask {
    Node(std::vector<int>* log, int id, int depth, int pre, int post)
        : log_(log), id_(id), depth_(depth), pre_(pre), post_(post) {
        ++gTasksMade;
    }
    ~Node() override { ++gTasksDeleted; }
    ThreadedTask* preExecute(int i) override {
        if (arm != nullptr) {
            arm->armed = true;
        }
        return child(i, pre_, 1);
    }
    void execute(int thread) override {
        log_->push_back(thread >= 0 && thread < ThreadedTaskQueue::get().numThreads() ? id_ : -1);
    }
    ThreadedTask* postExecute(int i) override { return child(i, post_, 1 + pre_); }

    ThreadedTask* child(int i, int count, int offset) {
        return depth_ == 0 || i >= count
                   ? nullptr
                   : new Node(log_, id_ * 10 + offset + i, depth_ - 1, pre_, post_);
    }
    std::vector<int>* log_;
    int id_, depth_, pre_, post_;
    OneShotCancel* arm = nullptr;
};

// The order a tree's own work must happen in: pre-children, the node, post-children.
void expectedOrder(int id, int depth, int pre, int post, std::vector<int>& out) {
    for (int i = 0; depth > 0 && i < pre; ++i) {
        expectedOrder(id * 10 + 1 + i, depth - 1, pre, post, out);
    }
    out.push_back(id);
    for (int i = 0; depth > 0 && i < post; ++i) {
        expectedOrder(id * 10 + 1 + pre + i, depth - 1, pre, post, out);
    }
}

// Application threads run algorithms on the pool and add task trees to the queue at once; each
// tree does its own work depth first (pre-tasks, the task, post-tasks), and every task is
// deleted once. One root only runs its sub-tasks.
TEST_P(ThreadServices, TaskTreesFromSeveralApplicationThreads) {
    ThreadedTaskQueue& queue = ThreadedTaskQueue::get();
    EXPECT_EQ(queue.numThreads(), threads());
    gTasksMade = gTasksDeleted = 0;
    const int shapes[][3] = {{0, 0, 0}, {1, 1, 0}, {1, 0, 1}, {2, 2, 1}, {3, 1, 2}, {4, 1, 1}};
    std::vector<std::vector<int>> logs(31), expected(31);
    queue.reset();
    queue.begin();
    Node* root = new Node(&logs[30], 5, 1, 1, 1);
    root->setNoExecute();
    EXPECT_TRUE(root->getNoExecute() && queue.add(root));
    std::atomic<int> violations{0};
    std::vector<std::thread> callers;
    for (int c = 0; c < 3; ++c) {
        callers.emplace_back([&, c] {
            for (int t = c * 10; t < c * 10 + 10; ++t) {
                RecordingChunks alg(50);
                ThreadPool::get().run(alg);
                violations += alg.violations + (alg.finalizeCalls != 1);
                const int* s = shapes[t % 6];
                violations += !queue.add(new Node(&logs[t], t % 6 + 1, s[0], s[1], s[2]));
            }
        });
    }
    for (std::thread& t : callers) {
        t.join();
    }
    queue.wait();
    for (int t = 0; t < 30; ++t) {
        expectedOrder(t % 6 + 1, shapes[t % 6][0], shapes[t % 6][1], shapes[t % 6][2], expected[t]);
    }
    expected[30] = {51, 52};
    EXPECT_EQ(violations, 0);
    EXPECT_EQ(logs, expected);
    EXPECT_EQ(gTasksDeleted.load(), gTasksMade.load());
    EXPECT_GT(gTasksMade.load(), 100);
}

TEST_P(ThreadServices, CancelledQueueDeletesTasksUnrunUntilNoCancel) {
    ThreadedTaskQueue& queue = ThreadedTaskQueue::get();
    gTasksMade = gTasksDeleted = 0;
    Progress progress;
    std::vector<int> log;
    progress.cancel();
    queue.reset();
    queue.setProgress(&progress);
    queue.begin();
    EXPECT_TRUE(queue.cancelled());
    EXPECT_FALSE(queue.add(new Node(&log, 1, 2, 1, 1)));
    queue.wait();
    EXPECT_TRUE(log.empty());
    EXPECT_EQ(gTasksMade, 1); // the root only: a skipped task is never asked for sub-tasks
    EXPECT_EQ(gTasksDeleted, 1);

    // A noCancel task switches cancellation off for the rest of the run...
    progress.clearCancel();
    queue.reset();
    queue.setProgress(&progress);
    Node* shield = new Node(&log, 7, 0, 0, 0);
    shield->setNoCancel();
    EXPECT_TRUE(queue.add(shield));
    queue.wait();
    progress.cancel();
    EXPECT_FALSE(queue.cancelled());
    EXPECT_TRUE(queue.add(new Node(&log, 8, 0, 0, 0)));
    queue.wait();
    EXPECT_EQ(log, (std::vector<int>{7, 8}));
    // ...until the next reset.
    queue.reset();
    EXPECT_FALSE(queue.cancelled()); // reset also drops the progress object
    queue.setProgress(&progress);
    EXPECT_FALSE(queue.add(new Node(&log, 9, 0, 0, 0)));
    queue.wait();
    EXPECT_EQ(log.size(), 2u);
    EXPECT_EQ(gTasksDeleted.load(), gTasksMade.load());

    // A pre-task that finds the queue cancelled stops further pre-tasks, not the own work.
    OneShotCancel oneShot;
    log.clear();
    gTasksMade = gTasksDeleted = 0;
    queue.reset();
    queue.setProgress(&oneShot);
    queue.begin();
    Node* parent = new Node(&log, 5, 1, 2, 1);
    parent->arm = &oneShot;
    EXPECT_TRUE(queue.add(parent));
    queue.wait();
    queue.reset();
    EXPECT_EQ(log, (std::vector<int>{5, 53})); // pre-task 51 skipped, 52 never asked for
    EXPECT_EQ(gTasksMade, 3);
    EXPECT_EQ(gTasksDeleted, 3);
}

INSTANTIATE_TEST_SUITE_P(Threads, ThreadServices, ::testing::Values(0, 1, 2, 8),
                         [](const ::testing::TestParamInfo<int>& info) {
                             return info.param == 0 ? std::string("Simple")
                                                    : "Std" + std::to_string(info.param);
                         });

struct Idle : ThreadedAlg {
    void execute(int, int) override {}
};

TEST(ThreadsDefaults, SingleThreadedServicesAnswerUntilSomethingIsInstalled) {
    EXPECT_EQ(&ThreadPool::get(), &ThreadPool::getSingleThreadedPool());
    EXPECT_EQ(&ThreadedTaskQueue::get(), &ThreadedTaskQueue::getSingleThreaded());
    StdThreadPool pool(3);
    StdTaskQueue queue(0); // below 1 counts as 1
    ThreadPool::install(&pool);
    ThreadedTaskQueue::install(&queue);
    EXPECT_EQ(ThreadPool::get().numThreads() * 10 + ThreadedTaskQueue::get().numThreads(), 31);
    ThreadPool::install(nullptr);
    ThreadedTaskQueue::install(nullptr);
    EXPECT_EQ(&ThreadPool::get(), &ThreadPool::getSingleThreadedPool());
    EXPECT_EQ(&ThreadedTaskQueue::get(), &ThreadedTaskQueue::getSingleThreaded());
    ThreadedTask flags;
    flags.setNoCancel();
    flags.setNoExecute();
    const ThreadedTask flagsCopy(flags); // copies carry both flags
    EXPECT_TRUE(flagsCopy.getNoExecute() && !flagsCopy.isCancellable());
    EXPECT_TRUE(ThreadedTask().isCancellable());
    // Without a progress object nothing is cancelled; once latched, cancellation stays, and
    // copies carry the progress object and the flag.
    Progress progress;
    Idle alg;
    EXPECT_FALSE(alg.cancelled(0));
    alg.setProgress(&progress);
    EXPECT_EQ(alg.getProgress(1), nullptr); // other threads never see it
    progress.cancel();
    EXPECT_TRUE(alg.cancelled(0));
    progress.clearCancel();
    Idle copy(alg);
    Idle assigned;
    assigned = alg;
    for (Idle* a : {&alg, &copy, &assigned}) {
        EXPECT_TRUE(a->cancelled(0) && a->cancelled(3) && a->getProgress(0) == &progress);
    }
}

// Part p of a split gets total / parts items, the first total % parts parts one more, in order.
TEST(ThreadsDefaults, SplitsCoverTheTotalInOrder) {
    int mismatches = 0;
    for (int parts = 1; parts <= 64; ++parts) {
        for (int total = 0; total <= 1000; ++total) {
            int begin = 0;
            for (int p = 0; p < parts; ++p) {
                const int size = total / parts + (p < total % parts ? 1 : 0);
                mismatches += ThreadedAlgBase::getBeginIndex(p, parts, total) != begin ||
                              ThreadedAlgBase::getEndIndex(p, parts, total) != begin + size;
                begin += size;
            }
        }
    }
    EXPECT_EQ(mismatches, 0);
}

} // namespace
