// kyUtilStdThreadPool.h - multi-threaded pool and task queue on std::thread, ready to install.
#ifndef KY_UTILITY_STDTHREADPOOL_H
#define KY_UTILITY_STDTHREADPOOL_H

#include <Base/BaseExport.h>
#include <Base/Utility/kyUtilThreadPool.h>

namespace kyUtil {

namespace detail {
class StdThreadPoolImpl;
class StdTaskQueueImpl;
} // namespace detail

/// A `ThreadPool` of `numThreads` threads: the thread that calls `run` works as thread 0 and
/// `numThreads − 1` worker threads take the other indices. The workers are started by the first
/// `run` (so a pool that is made but never used creates no thread) and joined by the destructor.
/// Size it from the operating-system layer, which honours `KY_NUM_CPUS`:
///
/// @code
///   kyOS::SysInfo info;
///   static kyUtil::StdThreadPool pool(info.numCPUs());
///   kyUtil::ThreadPool::install(&pool);   // at start-up, before any work
///   ...
///   kyUtil::ThreadPool::install(nullptr); // before the pool is destroyed
/// @endcode
///
/// `run` keeps the pool contract: `initialize(numThreads())` once, each chunk or each thread
/// index exactly once, `finalize()` once after all work has finished, all before it returns;
/// chunks are handed out first come, first served. The calling thread is thread 0, so the
/// progress object is touched only by the caller's thread.
///
/// Threading: `run` may be called from any thread; runs from different threads take turns. A
/// `run` from inside a running algorithm of the same pool (a nested run) executes on the calling
/// thread as a pool of one, instead of waiting for itself. An algorithm must not throw.
/// Construction allocates only; a `numThreads` below 1 counts as 1.
class KY_BASE_API StdThreadPool : public ThreadPool {
public:
    explicit StdThreadPool(int numThreads);
    ~StdThreadPool() override;

    void run(ThreadedChunkAlg& alg) override;
    void run(ThreadedAlg& alg) override;

private:
    detail::StdThreadPoolImpl* impl_;
};

/// A `ThreadedTaskQueue` whose `numThreads` worker threads take added task trees first come,
/// first served; each tree runs depth-first on one worker (pre-tasks, own work, post-tasks, as
/// the single-threaded queue runs it), different trees concurrently. `add` returns at once:
/// true when the task was accepted, false when the queue was cancelled (the task is deleted
/// unrun). A `noCancel` task switches cancellation off when it is added. The workers start
/// with the first `add`; the destructor waits for every added task and joins them.
///
/// Threading: `add`, `wait` and `cancelled` may be called from any thread; `begin`, `reset` and
/// `setProgress` belong between runs. The progress object's `cancelled()` is polled from the
/// worker threads (the base `kyUtil::Progress` allows that). Tasks must not throw, and must not
/// call `wait()` on their own queue (a worker would wait for itself).
class KY_BASE_API StdTaskQueue : public ThreadedTaskQueue {
public:
    explicit StdTaskQueue(int numThreads);
    ~StdTaskQueue() override;

    void begin() override;
    bool add(ThreadedTask* task) override;
    void wait() override;
    void reset() override;
    int numThreads() override;
    void setProgress(Progress* progress) override;
    bool cancelled() override;

private:
    detail::StdTaskQueueImpl* impl_;
};

} // namespace kyUtil

#endif // KY_UTILITY_STDTHREADPOOL_H
