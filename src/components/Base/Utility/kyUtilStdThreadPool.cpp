// kyUtilStdThreadPool.cpp - the std::thread pool and task queue.
#include <Base/Utility/kyUtilStdThreadPool.h>

#include <Base/Utility/internal/kyUtilTaskTree.h>
#include <Base/Utility/kyImplBase.h>
#include <Base/Utility/kyUtilProgress.h>
#include <Base/Utility/kyUtilThreadedAlg.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace kyUtil {
namespace detail {

namespace {
// The pool whose algorithm this thread is executing, to run nested calls inline.
thread_local const void* tCurrentPool = nullptr;
} // namespace

class StdThreadPoolImpl : public ky::ImplBase {
public:
    explicit StdThreadPoolImpl(int numThreads) : numThreads_(numThreads) {}

    ~StdThreadPoolImpl() override {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            stop_ = true;
        }
        wake_.notify_all();
        for (std::thread& t : workers_) {
            t.join();
        }
    }

    template <class Alg>
    void run(Alg& alg) {
        if (tCurrentPool == this || numThreads_ == 1) {
            runInline(alg);
            return;
        }
        std::lock_guard<std::mutex> turn(runMutex_);
        alg.initialize(numThreads_);
        {
            std::lock_guard<std::mutex> lock(mutex_);
            startWorkers();
            setJob(alg);
            pending_ = numThreads_ - 1;
            ++generation_;
        }
        wake_.notify_all();
        work(0);
        {
            std::unique_lock<std::mutex> lock(mutex_);
            done_.wait(lock, [this] { return pending_ == 0; });
            alg_ = nullptr;
            chunkAlg_ = nullptr;
        }
        alg.finalize();
    }

private:
    static void runInline(ThreadedAlg& alg) {
        alg.initialize(1);
        alg.execute(0, 1);
        alg.finalize();
    }
    static void runInline(ThreadedChunkAlg& alg) {
        alg.initialize(1);
        const int chunks = alg.getNumChunks();
        for (int c = 0; c < chunks; ++c) {
            alg.executeChunk(c, 0, 1);
        }
        alg.finalize();
    }
    void setJob(ThreadedAlg& alg) { alg_ = &alg; }
    void setJob(ThreadedChunkAlg& alg) {
        chunkAlg_ = &alg;
        numChunks_ = alg.getNumChunks();
        nextChunk_.store(0, std::memory_order_relaxed);
    }

    // Called with mutex_ held.
    void startWorkers() {
        if (!workers_.empty()) {
            return;
        }
        workers_.reserve(static_cast<std::size_t>(numThreads_ - 1));
        for (int t = 1; t < numThreads_; ++t) {
            workers_.emplace_back([this, t] { workerLoop(t); });
        }
    }

    // The share of the current job that thread `thread` does.
    void work(int thread) {
        const void* outer = tCurrentPool;
        tCurrentPool = this;
        if (chunkAlg_ != nullptr) {
            for (;;) {
                const int c = nextChunk_.fetch_add(1, std::memory_order_relaxed);
                if (c >= numChunks_) {
                    break;
                }
                chunkAlg_->executeChunk(c, thread, numThreads_);
            }
        } else {
            alg_->execute(thread, numThreads_);
        }
        tCurrentPool = outer;
    }

    void workerLoop(int thread) {
        unsigned long seen = 0;
        for (;;) {
            {
                std::unique_lock<std::mutex> lock(mutex_);
                wake_.wait(lock, [&] { return stop_ || generation_ != seen; });
                if (stop_) {
                    return;
                }
                seen = generation_;
            }
            work(thread);
            std::lock_guard<std::mutex> lock(mutex_);
            if (--pending_ == 0) {
                done_.notify_one();
            }
        }
    }

    const int numThreads_;
    std::mutex runMutex_; // one run at a time
    std::mutex mutex_;    // guards everything below but nextChunk_
    std::condition_variable wake_;
    std::condition_variable done_;
    std::vector<std::thread> workers_;
    bool stop_ = false;
    unsigned long generation_ = 0;
    int pending_ = 0;
    ThreadedAlg* alg_ = nullptr;
    ThreadedChunkAlg* chunkAlg_ = nullptr;
    int numChunks_ = 0;
    std::atomic<int> nextChunk_{0};
};

class StdTaskQueueImpl : public ky::ImplBase {
public:
    explicit StdTaskQueueImpl(int numThreads) : numThreads_(numThreads) {}

    ~StdTaskQueueImpl() override {
        wait();
        {
            std::lock_guard<std::mutex> lock(mutex_);
            stop_ = true;
        }
        wake_.notify_all();
        for (std::thread& t : workers_) {
            t.join();
        }
    }

    bool add(ThreadedTask* task) {
        if (cancelled()) {
            delete task;
            return false;
        }
        if (!task->isCancellable()) {
            disableCancel();
        }
        {
            std::lock_guard<std::mutex> lock(mutex_);
            if (workers_.empty()) {
                for (int t = 0; t < numThreads_; ++t) {
                    workers_.emplace_back([this, t] { workerLoop(t); });
                }
            }
            tasks_.push_back(task);
        }
        wake_.notify_one();
        return true;
    }

    void wait() {
        std::unique_lock<std::mutex> lock(mutex_);
        idle_.wait(lock, [this] { return tasks_.empty() && running_ == 0; });
    }

    void reset() {
        cancellable_.store(true, std::memory_order_relaxed);
        progress_.store(nullptr, std::memory_order_relaxed);
    }

    bool cancelled() {
        Progress* progress = progress_.load(std::memory_order_acquire);
        return progress != nullptr && cancellable_.load(std::memory_order_relaxed) &&
               progress->cancelled();
    }
    void disableCancel() { cancellable_.store(false, std::memory_order_relaxed); }
    void setProgress(Progress* progress) { progress_.store(progress, std::memory_order_release); }
    int numThreads() const { return numThreads_; }

private:
    void workerLoop(int thread) {
        for (;;) {
            ThreadedTask* task = nullptr;
            {
                std::unique_lock<std::mutex> lock(mutex_);
                wake_.wait(lock, [this] { return stop_ || !tasks_.empty(); });
                if (tasks_.empty()) {
                    return; // stopping, and nothing left
                }
                task = tasks_.front();
                tasks_.pop_front();
                ++running_;
            }
            (void)runTaskTree(*this, task, thread); // whether it ran was decided; nobody asks
            std::lock_guard<std::mutex> lock(mutex_);
            if (--running_ == 0 && tasks_.empty()) {
                idle_.notify_all();
            }
        }
    }

    const int numThreads_;
    std::mutex mutex_; // guards the members below up to the atomics
    std::condition_variable wake_;
    std::condition_variable idle_;
    std::vector<std::thread> workers_;
    std::deque<ThreadedTask*> tasks_;
    int running_ = 0;
    bool stop_ = false;

    std::atomic<bool> cancellable_{true};
    std::atomic<Progress*> progress_{nullptr};
};

} // namespace detail

StdThreadPool::StdThreadPool(int numThreads)
    : ThreadPool(std::max(numThreads, 1)),
      impl_(new detail::StdThreadPoolImpl(std::max(numThreads, 1))) {}

StdThreadPool::~StdThreadPool() {
    delete impl_;
}

void StdThreadPool::run(ThreadedChunkAlg& alg) {
    impl_->run(alg);
}

void StdThreadPool::run(ThreadedAlg& alg) {
    impl_->run(alg);
}

StdTaskQueue::StdTaskQueue(int numThreads)
    : impl_(new detail::StdTaskQueueImpl(std::max(numThreads, 1))) {}

StdTaskQueue::~StdTaskQueue() {
    delete impl_;
}

void StdTaskQueue::begin() {
    // Nothing to prepare: the workers start with the first add().
}

bool StdTaskQueue::add(ThreadedTask* task) {
    return impl_->add(task);
}

void StdTaskQueue::wait() {
    impl_->wait();
}

void StdTaskQueue::reset() {
    impl_->reset();
}

int StdTaskQueue::numThreads() {
    return impl_->numThreads();
}

void StdTaskQueue::setProgress(Progress* progress) {
    impl_->setProgress(progress);
}

bool StdTaskQueue::cancelled() {
    return impl_->cancelled();
}

} // namespace kyUtil
