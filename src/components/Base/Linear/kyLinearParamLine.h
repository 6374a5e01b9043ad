// kyLinearParamLine.h - parametric lines in three (ParamLine) and two (ParamLine2) dimensions.
#ifndef KY_LINEAR_PARAMLINE_H
#define KY_LINEAR_PARAMLINE_H

#include <Base/Linear/kyLinearTolerance.h>
#include <Base/Linear/kyLinearVector.h>

namespace kyLinear {

/// The line origin + t direction, with the direction not normalised: t = 0 is the origin and
/// t = 1 the origin plus the direction, so a segment is the range t in [0, 1]. A zero direction
/// makes every parameter the origin. Plain value; not synchronised; nothing fails.
class ParamLine {
public:
    Point origin;
    Vector direction;

    ParamLine() = default;
    ParamLine(const Point& o, const Vector& d) : origin(o), direction(d) {}
    /// The segment from a (t = 0) to b (t = 1).
    ParamLine(const Point& a, const Point& b) : origin(a), direction(b - a) {}

    constexpr Point eval(double t) const { return origin + direction * t; }
    /// The parameter of the point of the line closest to q (0 when the direction is shorter
    /// than epsilonTol).
    double project(const Point& q) const {
        const double d2 = direction.length2();
        return d2 > epsilon2Tol ? dot(q - origin, direction) / d2 : 0.0;
    }
};

/// The plane line origin + t direction; as `ParamLine`, in two dimensions.
class ParamLine2 {
public:
    Point2 origin;
    Vector2 direction;

    ParamLine2() = default;
    ParamLine2(const Point2& o, const Vector2& d) : origin(o), direction(d) {}
    ParamLine2(const Point2& a, const Point2& b) : origin(a), direction(b - a) {}

    constexpr Point2 eval(double t) const { return origin + direction * t; }
    /// The parameter of the point of the line closest to q (0 for a zero direction).
    double project(const Point2& q) const {
        const double d2 = direction.length2();
        return d2 > epsilon2Tol ? dot(q - origin, direction) / d2 : 0.0;
    }
    /// The parameter of the point of the segment t in [0, 1] closest to q: `project` clamped to
    /// [0, 1].
    double projectBounded(const Point2& q) const {
        const double t = project(q);
        return t < 0.0 ? 0.0 : (t > 1.0 ? 1.0 : t);
    }
    /// The signed distance of q from the line (positive on the left of the direction; 0 for a
    /// zero direction).
    double side(const Point2& q) const {
        const double len = direction.length();
        return len > epsilonTol ? cross(direction, q - origin) / len : 0.0;
    }
};

} // namespace kyLinear

#endif // KY_LINEAR_PARAMLINE_H
