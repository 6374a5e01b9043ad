// kyLinearHPoint.h - homogeneous points (HPoint) and rational points (RPoint).
#ifndef KY_LINEAR_HPOINT_H
#define KY_LINEAR_HPOINT_H

#include <Base/Linear/kyLinearVector.h>

namespace kyLinear {

/// A homogeneous point (x, y, z, w): the point (x/w, y/w, z/w), or a direction when w is 0.
/// What a projective matrix makes of a point. Plain value; not synchronised; nothing fails.
/// The default is the origin (0, 0, 0, 1).
class HPoint {
public:
    double x = 0;
    double y = 0;
    double z = 0;
    double w = 1;

    constexpr HPoint() = default;
    constexpr HPoint(double x, double y, double z, double w) : x(x), y(y), z(z), w(w) {}
    /// The point with weight 1.
    constexpr explicit HPoint(const Point& p) : x(p.x), y(p.y), z(p.z), w(1) {}

    constexpr void set(double hx, double hy, double hz, double hw) {
        x = hx;
        y = hy;
        z = hz;
        w = hw;
    }
    /// Component i (0 = x, 1 = y, 2 = z, 3 = w).
    constexpr double& operator[](int i) { return i == 0 ? x : (i == 1 ? y : (i == 2 ? z : w)); }
    constexpr double operator[](int i) const {
        return i == 0 ? x : (i == 1 ? y : (i == 2 ? z : w));
    }

    /// The Euclidean point (x/w, y/w, z/w). No test for w = 0: a point at infinity gives
    /// infinite or NaN components.
    Point project() const {
        const double inv = 1.0 / w;
        return Point(x * inv, y * inv, z * inv);
    }
    /// True when the point lies in the canonical view volume of clip space:
    /// -w <= x, y, z <= w with w > 0.
    constexpr bool insideView() const {
        return w > 0 && -w <= x && x <= w && -w <= y && y <= w && -w <= z && z <= w;
    }

    friend constexpr bool operator==(const HPoint& a, const HPoint& b) {
        return a.x == b.x && a.y == b.y && a.z == b.z && a.w == b.w;
    }
    friend constexpr bool operator!=(const HPoint& a, const HPoint& b) { return !(a == b); }
};

/// A rational point: a Euclidean position (x, y, z) with a weight w, as the control points of
/// rational curves and surfaces hold them. Its homogeneous form is (x w, y w, z w, w).
/// Plain value; not synchronised; nothing fails. The default is the origin with weight 1.
class RPoint {
public:
    double x = 0;
    double y = 0;
    double z = 0;
    double w = 1;

    constexpr RPoint() = default;
    constexpr RPoint(double x, double y, double z, double w) : x(x), y(y), z(z), w(w) {}
    constexpr explicit RPoint(const Point& p, double w = 1) : x(p.x), y(p.y), z(p.z), w(w) {}
    /// The rational point of a homogeneous one (no test for w = 0, as in HPoint::project).
    explicit RPoint(const HPoint& h) : RPoint(h.project(), h.w) {}

    constexpr Point point() const { return Point(x, y, z); }
    constexpr double weight() const { return w; }
    /// The homogeneous form (x w, y w, z w, w).
    constexpr HPoint homogeneous() const { return HPoint(x * w, y * w, z * w, w); }

    friend constexpr bool operator==(const RPoint& a, const RPoint& b) {
        return a.x == b.x && a.y == b.y && a.z == b.z && a.w == b.w;
    }
    friend constexpr bool operator!=(const RPoint& a, const RPoint& b) { return !(a == b); }
};

} // namespace kyLinear

#endif // KY_LINEAR_HPOINT_H
