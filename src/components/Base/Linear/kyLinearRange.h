// kyLinearRange.h - one-, two- and three-dimensional ranges (intervals and boxes).
#ifndef KY_LINEAR_RANGE_H
#define KY_LINEAR_RANGE_H

#include <Base/Linear/kyLinearVector.h>

#include <limits>

namespace kyLinear {

/// An interval [min, max] of doubles, or the unbounded range.
///
/// The unbounded range is any range with min greater than max; `setUnbounded()` and the default
/// constructor store exactly min = 1.0, max = 0.0. It stands for "not set yet" and behaves as
/// the whole line: it contains every value and intersects every range, and `include` leaves it
/// unbounded (a range must first be `set`; this is kept on purpose, so that including values in
/// a range that was never set does not quietly start it). Its `size` is infinite; `min`, `max`
/// and `mid` return the stored numbers, which mean nothing then. Plain value; not synchronised.
///
/// @code
///   kyLinear::Range1d r;  // unbounded
///   r.include(5.0);       // still unbounded
///   r.set(0.0, 1.0);
///   r.include(3.0);       // [0, 3]
///   bool in = r.contains(3.05, 0.1); // true
/// @endcode
class Range1d {
public:
    /// The unbounded range.
    constexpr Range1d() = default;
    /// [min, max] as given (unbounded when min > max).
    constexpr Range1d(double min, double max) : min_(min), max_(max) {}

    constexpr void set(double min, double max) {
        min_ = min;
        max_ = max;
    }
    /// The range spanning a and b in either order.
    constexpr void setUnordered(double a, double b) {
        min_ = a < b ? a : b;
        max_ = a < b ? b : a;
    }
    /// Stores min = 1.0, max = 0.0.
    constexpr void setUnbounded() {
        min_ = 1.0;
        max_ = 0.0;
    }
    /// max >= min.
    constexpr bool isBounded() const { return max_ >= min_; }
    /// min > max.
    constexpr bool isUnbounded() const { return min_ > max_; }

    /// Widens a bounded range to take in value; an unbounded range is unchanged.
    constexpr void include(double value) {
        if (isUnbounded()) {
            return;
        }
        if (min_ > value) {
            min_ = value;
        }
        if (value > max_) {
            max_ = value;
        }
    }
    /// Widens a bounded range to take in r; an unbounded r makes this unbounded (the whole
    /// line), and an unbounded range is unchanged.
    constexpr void include(const Range1d& r) {
        if (isUnbounded()) {
            return;
        }
        if (r.isUnbounded()) {
            setUnbounded();
            return;
        }
        include(r.min_);
        include(r.max_);
    }
    /// min - tolerance <= value <= max + tolerance; always true for the unbounded range.
    constexpr bool contains(double value, double tolerance = 0.0) const {
        return isUnbounded() || (min_ - tolerance <= value && value <= max_ + tolerance);
    }
    /// r lies within [min - tolerance, max + tolerance]. The unbounded range contains every
    /// range; a bounded range does not contain the unbounded one.
    constexpr bool contains(const Range1d& r, double tolerance = 0.0) const {
        if (isUnbounded()) {
            return true;
        }
        if (r.isUnbounded()) {
            return false;
        }
        return min_ - tolerance <= r.min_ && r.max_ <= max_ + tolerance;
    }
    /// The ranges overlap (touching within tolerance counts); always true when either is
    /// unbounded.
    constexpr bool intersects(const Range1d& r, double tolerance = 0.0) const {
        if (isUnbounded() || r.isUnbounded()) {
            return true;
        }
        return r.min_ <= max_ + tolerance && min_ - tolerance <= r.max_;
    }
    /// Shrinks this range to its intersection with r. When they do not overlap, nothing changes
    /// and the result is false. Clipping to an unbounded r changes nothing; clipping an
    /// unbounded range to r gives r.
    constexpr bool clipTo(const Range1d& r) {
        if (!intersects(r)) {
            return false;
        }
        if (isUnbounded()) {
            *this = r;
        } else if (!r.isUnbounded()) {
            min_ = min_ < r.min_ ? r.min_ : min_;
            max_ = max_ > r.max_ ? r.max_ : max_;
        }
        return true;
    }

    constexpr double(min)() const { return min_; }
    constexpr double(max)() const { return max_; }
    /// (min + max) / 2.
    constexpr double mid() const { return (min_ + max_) / 2; }
    /// max - min; infinite for the unbounded range.
    constexpr double size() const {
        return isUnbounded() ? std::numeric_limits<double>::infinity() : max_ - min_;
    }

    friend constexpr bool operator==(const Range1d& a, const Range1d& b) {
        return a.min_ == b.min_ && a.max_ == b.max_;
    }
    friend constexpr bool operator!=(const Range1d& a, const Range1d& b) { return !(a == b); }

private:
    double min_ = 1.0;
    double max_ = 0.0;
};

/// An axis-aligned rectangle: one `Range1d` per axis (`x`, `y`), each following the rules of
/// `Range1d` on its own. The rectangle is bounded when every axis is, unbounded otherwise; an
/// unbounded axis takes in every coordinate. Plain value; not synchronised.
class Range2d {
public:
    Range1d x;
    Range1d y;

    /// Unbounded on both axes.
    constexpr Range2d() = default;
    constexpr Range2d(const Range1d& rx, const Range1d& ry) : x(rx), y(ry) {}
    /// The rectangle [min, max] (unbounded on an axis where min > max).
    constexpr Range2d(const Point2& min, const Point2& max) : x(min.x, max.x), y(min.y, max.y) {}

    constexpr void set(const Point2& min, const Point2& max) {
        x.set(min.x, max.x);
        y.set(min.y, max.y);
    }
    /// The rectangle with corners a and b in any order.
    constexpr void setUnordered(const Point2& a, const Point2& b) {
        x.setUnordered(a.x, b.x);
        y.setUnordered(a.y, b.y);
    }
    constexpr void setUnbounded() {
        x.setUnbounded();
        y.setUnbounded();
    }
    constexpr bool isBounded() const { return x.isBounded() && y.isBounded(); }
    constexpr bool isUnbounded() const { return x.isUnbounded() || y.isUnbounded(); }

    constexpr void include(const Point2& p) {
        x.include(p.x);
        y.include(p.y);
    }
    constexpr void include(const Range2d& r) {
        x.include(r.x);
        y.include(r.y);
    }
    constexpr bool contains(const Point2& p, double tolerance = 0.0) const {
        return x.contains(p.x, tolerance) && y.contains(p.y, tolerance);
    }
    constexpr bool contains(const Range2d& r, double tolerance = 0.0) const {
        return x.contains(r.x, tolerance) && y.contains(r.y, tolerance);
    }
    constexpr bool intersects(const Range2d& r, double tolerance = 0.0) const {
        return x.intersects(r.x, tolerance) && y.intersects(r.y, tolerance);
    }
    /// Shrinks this rectangle to its intersection with r, axis by axis; false, and nothing
    /// changed, when they do not overlap.
    constexpr bool clipTo(const Range2d& r) {
        if (!intersects(r)) {
            return false;
        }
        x.clipTo(r.x);
        y.clipTo(r.y);
        return true;
    }

    constexpr Point2(min)() const { return Point2((x.min)(), (y.min)()); }
    constexpr Point2(max)() const { return Point2((x.max)(), (y.max)()); }
    constexpr Point2 mid() const { return Point2(x.mid(), y.mid()); }
    /// The extent along each axis (infinite on an unbounded axis).
    constexpr Vector2 size() const { return Vector2(x.size(), y.size()); }
    /// The area; infinite when unbounded.
    constexpr double area() const {
        return isBounded() ? x.size() * y.size() : std::numeric_limits<double>::infinity();
    }

    friend constexpr bool operator==(const Range2d& a, const Range2d& b) {
        return a.x == b.x && a.y == b.y;
    }
    friend constexpr bool operator!=(const Range2d& a, const Range2d& b) { return !(a == b); }
};

/// An axis-aligned box: one `Range1d` per axis (`x`, `y`, `z`), with the rules of `Range2d`.
/// Plain value; not synchronised.
class Range3d {
public:
    Range1d x;
    Range1d y;
    Range1d z;

    /// Unbounded on every axis.
    constexpr Range3d() = default;
    constexpr Range3d(const Range1d& rx, const Range1d& ry, const Range1d& rz)
        : x(rx), y(ry), z(rz) {}
    /// The box [min, max] (unbounded on an axis where min > max).
    constexpr Range3d(const Point& min, const Point& max)
        : x(min.x, max.x), y(min.y, max.y), z(min.z, max.z) {}

    constexpr void set(const Point& min, const Point& max) {
        x.set(min.x, max.x);
        y.set(min.y, max.y);
        z.set(min.z, max.z);
    }
    /// The box with corners a and b in any order.
    constexpr void setUnordered(const Point& a, const Point& b) {
        x.setUnordered(a.x, b.x);
        y.setUnordered(a.y, b.y);
        z.setUnordered(a.z, b.z);
    }
    constexpr void setUnbounded() {
        x.setUnbounded();
        y.setUnbounded();
        z.setUnbounded();
    }
    constexpr bool isBounded() const { return x.isBounded() && y.isBounded() && z.isBounded(); }
    constexpr bool isUnbounded() const {
        return x.isUnbounded() || y.isUnbounded() || z.isUnbounded();
    }

    constexpr void include(const Point& p) {
        x.include(p.x);
        y.include(p.y);
        z.include(p.z);
    }
    constexpr void include(const Range3d& r) {
        x.include(r.x);
        y.include(r.y);
        z.include(r.z);
    }
    constexpr bool contains(const Point& p, double tolerance = 0.0) const {
        return x.contains(p.x, tolerance) && y.contains(p.y, tolerance) &&
               z.contains(p.z, tolerance);
    }
    constexpr bool contains(const Range3d& r, double tolerance = 0.0) const {
        return x.contains(r.x, tolerance) && y.contains(r.y, tolerance) &&
               z.contains(r.z, tolerance);
    }
    constexpr bool intersects(const Range3d& r, double tolerance = 0.0) const {
        return x.intersects(r.x, tolerance) && y.intersects(r.y, tolerance) &&
               z.intersects(r.z, tolerance);
    }
    /// Shrinks this box to its intersection with r; false, and nothing changed, when they do
    /// not overlap.
    constexpr bool clipTo(const Range3d& r) {
        if (!intersects(r)) {
            return false;
        }
        x.clipTo(r.x);
        y.clipTo(r.y);
        z.clipTo(r.z);
        return true;
    }

    constexpr Point(min)() const { return Point((x.min)(), (y.min)(), (z.min)()); }
    constexpr Point(max)() const { return Point((x.max)(), (y.max)(), (z.max)()); }
    constexpr Point mid() const { return Point(x.mid(), y.mid(), z.mid()); }
    /// The extent along each axis (infinite on an unbounded axis).
    constexpr Vector size() const { return Vector(x.size(), y.size(), z.size()); }
    /// The volume; infinite when unbounded.
    constexpr double volume() const {
        return isBounded() ? x.size() * y.size() * z.size()
                           : std::numeric_limits<double>::infinity();
    }

    friend constexpr bool operator==(const Range3d& a, const Range3d& b) {
        return a.x == b.x && a.y == b.y && a.z == b.z;
    }
    friend constexpr bool operator!=(const Range3d& a, const Range3d& b) { return !(a == b); }
};

} // namespace kyLinear

#endif // KY_LINEAR_RANGE_H
