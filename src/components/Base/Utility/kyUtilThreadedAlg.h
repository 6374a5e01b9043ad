// kyUtilThreadedAlg.h - base classes of the data-parallel algorithms a thread pool runs.
#ifndef KY_UTILITY_THREADEDALG_H
#define KY_UTILITY_THREADEDALG_H

#include <Base/BaseExport.h>

#include <atomic>

namespace kyUtil {

class Progress;

/// What every threaded algorithm shares: an optional progress object (not owned; it must
/// outlive the run) and a cancellation flag that, once set, stays set.
///
/// Threading: only thread 0 touches the progress object (`getProgress`, `updateProgress` and
/// the polling in `cancelled` do nothing with it on other threads), so the progress object
/// needs no lock. The flag is written by thread 0 and read by all threads; other threads see a
/// cancellation only after thread 0 has polled it, and a late read only delays their reaction.
/// Cancellation is cooperative: an algorithm polls `cancelled(thread)` and returns early.
class KY_BASE_API ThreadedAlgBase {
public:
    ThreadedAlgBase() = default;
    ThreadedAlgBase(const ThreadedAlgBase& other);
    ThreadedAlgBase& operator=(const ThreadedAlgBase& other);
    virtual ~ThreadedAlgBase();

    void setProgress(Progress* progress) { progress_ = progress; }
    /// The progress object for thread 0; null for every other thread.
    Progress* getProgress(int thread) const { return thread == 0 ? progress_ : nullptr; }
    /// Forwards `value` to the progress object's `set`, for thread 0 only.
    void updateProgress(int thread, double value);
    /// Thread 0 polls the progress object and latches a cancellation; every thread then
    /// returns the latched flag.
    bool cancelled(int thread);

    /// First item of `part` when `total` items are split into `numParts` (not 0) parts: the
    /// first `total % numParts` parts get one item more than the others.
    static int getBeginIndex(int part, int numParts, int total);
    /// One past the last item of `part` (the begin of `part + 1`).
    static int getEndIndex(int part, int numParts, int total);

private:
    Progress* progress_ = nullptr;
    std::atomic<bool> cancelledFlag_{false};
};

/// An algorithm that the pool runs as one call per thread: `initialize(numThreads)` once,
/// `execute(thread, numThreads)` once for every thread index 0 .. numThreads − 1 (concurrently
/// on a multi-threaded pool), then `finalize()` once after all of them. `execute` may touch only
/// its own part of the data. Lives on the caller's stack for one run; copies as a plain value.
class KY_BASE_API ThreadedAlg : public ThreadedAlgBase {
public:
    ThreadedAlg() = default;
    ~ThreadedAlg() override;
    virtual void initialize(int numThreads);
    /// The work of one thread.
    virtual void execute(int thread, int numThreads) = 0;
    virtual void finalize();
};

/// An algorithm cut into chunks (100 unless `setNumChunks` says otherwise) that the pool's
/// threads take in any order: `initialize(numThreads)` once, `executeChunk(chunk, thread,
/// numThreads)` exactly once per chunk 0 .. getNumChunks() − 1 (concurrently on a
/// multi-threaded pool; `thread` is the index of the thread that runs it), then `finalize()`
/// once after all chunks. With 0 chunks only `initialize` and `finalize` are called. Lives on
/// the caller's stack for one run; copies as a plain value.
///
/// @code
///   struct Scale : kyUtil::ThreadedChunkAlg {
///       float* data; int n;
///       void executeChunk(int c, int, int) override {
///           for (int i = getBeginIndex(c, getNumChunks(), n); i < getEndIndex(c, getNumChunks(),
///           n); ++i)
///               data[i] *= 2.0f;
///       }
///   } alg;
///   kyUtil::ThreadPool::get().run(alg);
/// @endcode
class KY_BASE_API ThreadedChunkAlg : public ThreadedAlgBase {
public:
    ThreadedChunkAlg() = default;
    ~ThreadedChunkAlg() override;
    virtual void initialize(int numThreads);
    /// The work of one chunk, run by thread `thread` of `numThreads`.
    virtual void executeChunk(int chunk, int thread, int numThreads) = 0;
    virtual void finalize();

    int getNumChunks() const { return numChunks_; }
    void setNumChunks(int numChunks) { numChunks_ = numChunks; }

private:
    int numChunks_ = 100;
};

} // namespace kyUtil

#endif // KY_UTILITY_THREADEDALG_H
