// kyUtilThreadPool.cpp - the install slots and the built-in single-threaded services.
#include <Base/Utility/kyUtilThreadPool.h>

#include <Base/Utility/internal/kyUtilTaskTree.h>
#include <Base/Utility/kyUtilProgress.h>
#include <Base/Utility/kyUtilThreadedAlg.h>

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
// are kept for the contract only; nothing reads them.
class SimpleQueue final : public ThreadedTaskQueue {
public:
    constexpr SimpleQueue() = default;
    void begin() override { started_ = true; }
    bool add(ThreadedTask* task) override {
        idle_ = false;
        return detail::runTaskTree(*this, task, 0);
    }
    void wait() override { idle_ = true; }
    void reset() override {
        started_ = false;
        cancellable_ = true;
        progress_ = nullptr;
    }
    int numThreads() override { return 1; }
    void setProgress(Progress* progress) override { progress_ = progress; }
    bool cancelled() override {
        return progress_ != nullptr && cancellable_ && progress_->cancelled();
    }
    void disableCancel() { cancellable_ = false; }

private:
    bool started_ = false;
    bool idle_ = true;
    bool cancellable_ = true;
    Progress* progress_ = nullptr;
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
