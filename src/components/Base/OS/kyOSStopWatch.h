// kyOSStopWatch.h - kyOS::StopWatch, wall-clock timing with the high-resolution counter.
#ifndef KY_OS_STOPWATCH_H
#define KY_OS_STOPWATCH_H

#include <Base/BaseExport.h>

#include <cstdint>

namespace kyOS {

/// Measures elapsed wall-clock seconds with the platform's performance counter. Start and stop
/// pairs add up: the accumulated time is kept until `clear`. A plain value: cheap to make and
/// copy. Not synchronised (one thread at a time per watch); reading the counter is thread-safe.
///
/// @code
///   kyOS::StopWatch watch;
///   watch.start();
///   doWork();
///   double seconds = watch.stop();  // the total of every start/stop pair so far
/// @endcode
class KY_BASE_API StopWatch {
public:
    StopWatch() = default;

    /// Starts (or restarts) timing; returns the seconds accumulated so far.
    double start();
    /// Stops timing and returns the new total; on a stopped watch, the same total again.
    double stop();
    /// Stops and forgets the accumulated time; returns what it was.
    double clear();
    /// The accumulated seconds plus, when running, those since the last start; changes nothing.
    double check() const;
    bool running() const { return running_; }

private:
    using CurTime = std::int64_t;
    static void now(CurTime& time);
    static double getDelta(const CurTime& from, const CurTime& to);

    double accumulated_ = 0.0;
    bool running_ = false;
    CurTime startCount_ = 0;
};

} // namespace kyOS

#endif // KY_OS_STOPWATCH_H
