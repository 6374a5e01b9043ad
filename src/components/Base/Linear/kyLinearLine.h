// kyLinearLine.h - an infinite line given by a point and a unit direction.
#ifndef KY_LINEAR_LINE_H
#define KY_LINEAR_LINE_H

#include <Base/BaseExport.h>
#include <Base/Linear/kyLinearVector.h>

#include <iosfwd>
#include <string>

namespace kyLinear {

/// The line through `point` along the unit `direction`; `eval(t)` is the point at distance t
/// along it. A line with an invalid direction is the single point `point`. Plain value; not
/// synchronised; nothing fails.
class Line {
public:
    Point point;
    Normal direction;

    Line() = default;
    Line(const Point& p, const Normal& d) : point(p), direction(d) {}
    /// The line through a towards b (direction invalid when a = b).
    Line(const Point& a, const Point& b) : point(a), direction(b - a) {}

    constexpr Point eval(double t) const { return point + direction * t; }
    /// The parameter of the point of the line closest to q.
    constexpr double project(const Point& q) const { return dot(direction, q - point); }
    /// The distance of q from the line.
    double distance(const Point& q) const { return (q - eval(project(q))).length(); }
};

/// "Line(" point "," normal ")", e.g. "Line(Point(0,0,1),Normal(1,0,0))".
KY_BASE_API std::ostream& operator<<(std::ostream& os, const Line& line);
KY_BASE_API std::string toString(const Line& line);

} // namespace kyLinear

#endif // KY_LINEAR_LINE_H
