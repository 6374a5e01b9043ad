// kyUtilThreadPool.cpp - the install slots and the built-in single-threaded services.
#include <Base/Utility/kyUtilThreadPool.h>

#include <Base/Utility/internal/kyUtilTaskTree.h>
#include <Base/Utility/kyUtilProgress.h>
#include <Base/Utility/kyUtilThreadedAlg.h>

#include <atomic>

namespace kyUtil {

namespace {

// Runs everything at once on the calling thread as thread 0 of 1.
class SimpleThreadPool final : public ThreadPool {
public:
    constexpr SimpleThreadPool() : ThreadPool(1) {}
    void run(ThreadedChunkAlg& alg) override {
        alg.initialize(1);
        const int chunks = alg.getNumChunks();
        for (int c = 0; c < chunks; ++c) {
            alg.executeChunk(c, 0, 1);
        }
        alg.finalize();
    }
    void run(ThreadedAlg& alg) override {
        alg.initialize(1);
        alg.execute(0, 1);
        alg.finalize();
    }
};

// Runs each task tree inside add(), on the calling thread, without locks. `started` and `idle`
// are kept for the contract only; nothing reads them. The flags are relaxed atomics so that
// application threads may share the built-in queue without a data race.
class SimpleQueue final : public ThreadedTaskQueue {
public:
    constexpr SimpleQueue() = default;
    void begin() override { started_.store(true, std::memory_order_relaxed); }
    bool add(ThreadedTask* task) override {
        idle_.store(false, std::memory_order_relaxed);
        return detail::runTaskTree(*this, task, 0);
    }
    void wait() override { idle_.store(true, std::memory_order_relaxed); }
    void reset() override {
        started_.store(false, std::memory_order_relaxed);
        cancellable_.store(true, std::memory_order_relaxed);
        progress_.store(nullptr, std::memory_order_relaxed);
    }
    int numThreads() override { return 1; }
    void setProgress(Progress* progress) override {
        progress_.store(progress, std::memory_order_relaxed);
    }
    bool cancelled() override {
        Progress* progress = progress_.load(std::memory_order_relaxed);
        return progress != nullptr && cancellable_.load(std::memory_order_relaxed) &&
               progress->cancelled();
    }
    void disableCancel() { cancellable_.store(false, std::memory_order_relaxed); }

private:
    std::atomic<bool> started_{false};
    std::atomic<bool> idle_{true};
    std::atomic<bool> cancellable_{true};
    std::atomic<Progress*> progress_{nullptr};
};

// Constant-initialised, so they exist before any other static constructor can ask for them.
SimpleThreadPool gSimplePool;
SimpleQueue gSimpleQueue;
ThreadPool* gInstalledPool = nullptr;
ThreadedTaskQueue* gInstalledQueue = nullptr;

} // namespace

ThreadPool::~ThreadPool() = default;

void ThreadPool::install(ThreadPool* pool) {
    gInstalledPool = pool;
}

ThreadPool& ThreadPool::get() {
    return gInstalledPool != nullptr ? *gInstalledPool : gSimplePool;
}

ThreadPool& ThreadPool::getSingleThreadedPool() {
    return gSimplePool;
}

ThreadedTask::~ThreadedTask() = default;

ThreadedTask* ThreadedTask::preExecute(int) {
    return nullptr;
}

void ThreadedTask::execute(int) {}

ThreadedTask* ThreadedTask::postExecute(int) {
    return nullptr;
}

int ThreadedTask::getNumThreads() {
    return ThreadPool::get().numThreads();
}

ThreadedTaskQueue::~ThreadedTaskQueue() = default;

void ThreadedTaskQueue::install(ThreadedTaskQueue* queue) {
    gInstalledQueue = queue;
}

ThreadedTaskQueue& ThreadedTaskQueue::get() {
    return gInstalledQueue != nullptr ? *gInstalledQueue : gSimpleQueue;
}

ThreadedTaskQueue& ThreadedTaskQueue::getSingleThreaded() {
    return gSimpleQueue;
}

} // namespace kyUtil
