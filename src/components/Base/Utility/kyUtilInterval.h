// kyUtilInterval.h - kyUtil::Interval, the library's time-out value.
#ifndef KY_UTILITY_INTERVAL_H
#define KY_UTILITY_INTERVAL_H

namespace kyUtil {

/// A span of time in whole seconds and microseconds. A zero interval means "wait without
/// limit" wherever the library takes a time-out (socket reads and writes, `accept`, readiness
/// waits). The value is normalised when made: microseconds carry into seconds, and negative
/// parts count as zero, so a time-out is never negative. A plain value: copy freely; every
/// operation is constexpr and cannot fail.
///
/// @code
///   kyUtil::Interval halfSecond(0, 500000);
///   kyUtil::Interval forever;            // zero: no limit
/// @endcode
class Interval {
public:
    /// Zero: no limit.
    constexpr Interval() noexcept : seconds_(0), microseconds_(0) {}
    constexpr Interval(long seconds, long microseconds) noexcept
        : seconds_(seconds < 0 ? 0 : seconds), microseconds_(microseconds < 0 ? 0 : microseconds) {
        seconds_ += microseconds_ / 1000000;
        microseconds_ %= 1000000;
    }

    /// Whole seconds.
    constexpr long seconds() const noexcept { return seconds_; }
    /// Microseconds beyond the whole seconds, 0 to 999,999.
    constexpr long microseconds() const noexcept { return microseconds_; }
    constexpr bool isZero() const noexcept { return seconds_ == 0 && microseconds_ == 0; }
    /// The whole span in microseconds.
    constexpr long long totalMicroseconds() const noexcept {
        return static_cast<long long>(seconds_) * 1000000 + microseconds_;
    }

    constexpr bool operator==(const Interval& other) const noexcept {
        return seconds_ == other.seconds_ && microseconds_ == other.microseconds_;
    }
    constexpr bool operator!=(const Interval& other) const noexcept { return !(*this == other); }

private:
    long seconds_;
    long microseconds_;
};

} // namespace kyUtil

#endif // KY_UTILITY_INTERVAL_H
