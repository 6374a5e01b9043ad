// kyLinearParamPlane.h - a parametric plane: an origin and two direction vectors.
#ifndef KY_LINEAR_PARAMPLANE_H
#define KY_LINEAR_PARAMPLANE_H

#include <Base/Linear/kyLinearTolerance.h>
#include <Base/Linear/kyLinearVector.h>

namespace kyLinear {

/// The plane origin + s u + t v, with u and v neither normalised nor necessarily orthogonal.
/// Plain value; not synchronised. `orthogonalize` reports degenerate directions by returning
/// false.
class ParamPlane {
public:
    Point origin;
    Vector u;
    Vector v;

    ParamPlane() = default;
    ParamPlane(const Point& o, const Vector& du, const Vector& dv) : origin(o), u(du), v(dv) {}

    constexpr Point eval(double s, double t) const { return origin + u * s + v * t; }
    /// The unit normal cross(u, v) (invalid when u and v are parallel or zero).
    Normal normal() const { return Normal(cross(u, v)); }
    /// Makes v orthogonal to u by removing its component along u (Gram-Schmidt; u and the plane
    /// are unchanged). False, and nothing changed, when u is shorter than epsilonTol; false when
    /// v is zero or within degreeTol of parallel to u (v is then left nearly zero).
    bool orthogonalize() {
        const double u2 = u.length2();
        if (!(u2 > epsilon2Tol)) {
            return false;
        }
        const double v2 = v.length2();
        v -= u * (dot(u, v) / u2);
        return v2 > epsilon2Tol && v.length2() > perpendicular2Tol * v2;
    }
};

} // namespace kyLinear

#endif // KY_LINEAR_PARAMPLANE_H
