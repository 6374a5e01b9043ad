// kyUtilProgress.h - kyUtil::Progress, the progress and cancellation object of long operations.
#ifndef KY_UTILITY_PROGRESS_H
#define KY_UTILITY_PROGRESS_H

#include <Base/BaseExport.h>

#include <atomic>

namespace kyUtil {

/// What a long operation reports to and polls: a fraction done (`set`) and whether the user
/// asked to stop (`cancelled`). The caller owns it and keeps it alive for the whole operation.
/// Applications derive from it to show progress or to wire a cancel button; the base class
/// keeps the last value and a cancellation request.
///
/// Threading: `cancel()` and `cancelled()` may be called from any thread at any time (the
/// request is an atomic flag), so a user-interface thread can cancel a running operation.
/// `set()` and `value()` are meant for one thread at a time: the threaded algorithms call them
/// only from their thread 0. Never fails.
class KY_BASE_API Progress {
public:
    Progress() = default;
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    virtual ~Progress();

    /// Records the fraction done (0 to 1 by convention; not checked).
    virtual void set(double value);
    /// Whether cancellation was requested.
    virtual bool cancelled();

    /// Requests cancellation; it stays requested until `clearCancel()`.
    void cancel() { cancelRequested_.store(true, std::memory_order_relaxed); }
    /// Withdraws a cancellation request (for reusing the object).
    void clearCancel() { cancelRequested_.store(false, std::memory_order_relaxed); }
    /// The last value given to `set`, 0 before the first.
    double value() const { return value_; }

private:
    double value_ = 0.0;
    std::atomic<bool> cancelRequested_{false};
};

} // namespace kyUtil

#endif // KY_UTILITY_PROGRESS_H
