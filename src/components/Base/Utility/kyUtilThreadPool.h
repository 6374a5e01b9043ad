// kyUtilThreadPool.h - the installable thread-pool and task-queue services and threaded tasks.
#ifndef KY_UTILITY_THREADPOOL_H
#define KY_UTILITY_THREADPOOL_H

#include <Base/BaseExport.h>

namespace kyUtil {

class Progress;
class ThreadedAlg;
class ThreadedChunkAlg;

/// The process-wide service that runs one data-parallel algorithm at a time. The library owns
/// no worker threads: until the application installs a pool (for example a `StdThreadPool`
/// sized with `kyOS::SysInfo::numCPUs()`), `get()` answers with a built-in pool of one thread
/// that runs everything on the calling thread.
///
/// Contract for every implementation: `run` calls `initialize` once with `numThreads()`, each
/// chunk (or each thread index) exactly once, and `finalize` once after all of them, all before
/// it returns; only thread 0 may touch the algorithm's progress object.
///
/// Threading: `install` is meant for start-up, before any work is submitted; the slot is a
/// plain pointer and is not guarded. The library never deletes an installed pool.
class KY_BASE_API ThreadPool {
public:
    explicit constexpr ThreadPool(int numThreads) : numThreads_(numThreads) {}
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;
    virtual ~ThreadPool();

    /// Runs a chunked algorithm to completion.
    virtual void run(ThreadedChunkAlg& alg) = 0;
    /// Runs a one-call-per-thread algorithm to completion.
    virtual void run(ThreadedAlg& alg) = 0;

    int numThreads() const { return numThreads_; }

    /// Sets the process-wide pool (not owned); null restores the single-threaded one.
    static void install(ThreadPool* pool);
    /// The installed pool, or the single-threaded one.
    static ThreadPool& get();
    /// Always the built-in single-threaded pool.
    static ThreadPool& getSingleThreadedPool();

private:
    int numThreads_;
};

/// A unit of work for a `ThreadedTaskQueue`: optional sub-tasks before its own work
/// (`preExecute(0)`, `preExecute(1)`, … until null), its own `execute`, then optional sub-tasks
/// after it (`postExecute`). A queue runs a task tree depth-first in that order and deletes
/// every task (the one added and every sub-task returned) exactly once, also when it skips it
/// because the run was cancelled. `noExecute` skips the task's own work; `noCancel` switches
/// cancellation off for the rest of the queue's run once the task has started.
///
/// Ownership: a task given to `add`, and every sub-task it returns, belongs to the queue.
/// Threading: a tree runs on one thread at a time; different trees may run concurrently on a
/// multi-threaded queue.
class KY_BASE_API ThreadedTask {
public:
    ThreadedTask() = default;
    ThreadedTask(const ThreadedTask&) = default;
    ThreadedTask& operator=(const ThreadedTask&) = default;
    virtual ~ThreadedTask();

    /// The `i`-th sub-task to run before this task's own work, or null when there is none.
    virtual ThreadedTask* preExecute(int i);
    /// The task's own work, on the thread with index `thread`.
    virtual void execute(int thread);
    /// The `i`-th sub-task to run after this task's own work, or null.
    virtual ThreadedTask* postExecute(int i);

    void setNoExecute() { noExecute_ = true; }
    bool getNoExecute() const { return noExecute_; }
    void setNoCancel() { noCancel_ = true; }
    bool isCancellable() const { return !noCancel_; }
    /// `ThreadPool::get().numThreads()`.
    static int getNumThreads();

private:
    bool noExecute_ = false;
    bool noCancel_ = false;
};

/// The process-wide service that runs task trees. A run goes `reset()` (and `setProgress` when
/// cancellation is wanted), `begin()`, any number of `add(task)`, `wait()`. Until the
/// application installs a queue (for example a `StdTaskQueue`), `get()` answers with a built-in
/// queue that runs each task tree at once inside `add`, on the calling thread, without locks.
/// Application threads may share the built-in queue; the settings of a run (`reset`,
/// `setProgress`, the `noCancel` switch) are then shared by them too.
///
/// Cancellation is the only failure: a cancelled queue deletes the tasks it is given without
/// running them and `add` returns false. `install` is meant for start-up and is not guarded;
/// the library never deletes an installed queue.
class KY_BASE_API ThreadedTaskQueue {
public:
    ThreadedTaskQueue(const ThreadedTaskQueue&) = delete;
    ThreadedTaskQueue& operator=(const ThreadedTaskQueue&) = delete;
    virtual ~ThreadedTaskQueue();

    /// Marks the run as started.
    virtual void begin() = 0;
    /// Takes ownership of `task` and runs it (or schedules it); false when it was cancelled
    /// and deleted unrun.
    virtual bool add(ThreadedTask* task) = 0;
    /// Returns when every added task has finished.
    virtual void wait() = 0;
    /// Ready for a new run: not started, cancellation enabled, no progress object.
    virtual void reset() = 0;
    /// The number of threads that execute tasks.
    virtual int numThreads() = 0;
    /// The progress object polled for cancellation (not owned; null for none).
    virtual void setProgress(Progress* progress) = 0;
    /// Whether the run has been cancelled: a progress object is set, cancellation has not been
    /// switched off by a `noCancel` task, and the progress object reports cancellation.
    virtual bool cancelled() = 0;

    /// Sets the process-wide queue (not owned); null restores the single-threaded one.
    static void install(ThreadedTaskQueue* queue);
    /// The installed queue, or the single-threaded one.
    static ThreadedTaskQueue& get();
    /// Always the built-in single-threaded queue.
    static ThreadedTaskQueue& getSingleThreaded();

protected:
    constexpr ThreadedTaskQueue() = default;
};

} // namespace kyUtil

#endif // KY_UTILITY_THREADPOOL_H
