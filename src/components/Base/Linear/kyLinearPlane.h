// kyLinearPlane.h - a plane given by a point on it and its normal.
#ifndef KY_LINEAR_PLANE_H
#define KY_LINEAR_PLANE_H

#include <Base/Linear/kyLinearVector.h>

namespace kyLinear {

/// The plane a x + b y + c z + d = 0 through `point` with unit normal `normal` = (a, b, c);
/// d is derived by `calculateD`. A plane whose normal is invalid is itself invalid (`isValid`
/// false) and evaluates to 0 everywhere. Plain value; not synchronised; nothing fails.
class Plane {
public:
    Point point;
    Normal normal;

    /// The invalid plane (origin, invalid normal).
    Plane() = default;
    Plane(const Point& p, const Normal& n) : point(p), normal(n) {}
    /// The plane through three points, oriented so that a, b, c run counter-clockwise seen from
    /// the side the normal points to (invalid when the points are collinear).
    Plane(const Point& a, const Point& b, const Point& c) : point(a), normal(cross(b - a, c - a)) {}

    /// d = -(a px + b py + c pz) for the stored point p and normal (a, b, c).
    constexpr double calculateD() const {
        return -(normal.x() * point.x + normal.y() * point.y + normal.z() * point.z);
    }
    /// a x + b y + c z + d: the signed distance of q from the plane (positive on the side the
    /// normal points to).
    constexpr double eval(const Point& q) const {
        return normal.x() * q.x + normal.y() * q.y + normal.z() * q.z + calculateD();
    }
    constexpr bool isValid() const { return normal.isValid(); }
    /// The foot of the perpendicular from q onto the plane.
    constexpr Point project(const Point& q) const { return q - normal * eval(q); }
};

} // namespace kyLinear

#endif // KY_LINEAR_PLANE_H
