// kyOSStopWatch.cpp - stop watches over the performance counter.
#include <Base/OS/kyOSStopWatch.h>

#include <Base/OS/internal/kyOSSystem.h>

namespace kyOS {

void StopWatch::now(CurTime& time) {
    time = detail::systemCalls().performanceCounter();
}

double StopWatch::getDelta(const CurTime& from, const CurTime& to) {
    return detail::countsToSeconds(to - from, detail::systemCalls().counterFrequency);
}

double StopWatch::start() {
    now(startCount_);
    running_ = true;
    return accumulated_;
}

double StopWatch::stop() {
    if (!running_) {
        return accumulated_;
    }
    CurTime end;
    now(end);
    running_ = false;
    accumulated_ += getDelta(startCount_, end);
    return accumulated_;
}

double StopWatch::clear() {
    const double was = check();
    accumulated_ = 0.0;
    running_ = false;
    return was;
}

double StopWatch::check() const {
    if (!running_) {
        return accumulated_;
    }
    CurTime end;
    now(end);
    return accumulated_ + getDelta(startCount_, end);
}

} // namespace kyOS
