// kyLinearTuple.h - generic tuples of 2, 3 and 4 doubles.
#ifndef KY_LINEAR_TUPLE_H
#define KY_LINEAR_TUPLE_H

#include <Base/Linear/kyLinearHPoint.h>
#include <Base/Linear/kyLinearVector.h>

namespace kyLinear {

namespace detail {

/// The shared body of Tuple2, Tuple3 and Tuple4: N doubles with element access and
/// component-wise arithmetic.
template <int N, class Derived>
class TupleBase {
public:
    /// Element i, 0 <= i < N (not checked).
    constexpr double& operator[](int i) { return v_[i]; }
    constexpr double operator[](int i) const { return v_[i]; }
    constexpr double* data() { return v_; }
    constexpr const double* data() const { return v_; }
    static constexpr int size() { return N; }

    constexpr Derived& operator+=(const Derived& t) {
        for (int i = 0; i < N; ++i) {
            v_[i] += t.v_[i];
        }
        return self();
    }
    constexpr Derived& operator-=(const Derived& t) {
        for (int i = 0; i < N; ++i) {
            v_[i] -= t.v_[i];
        }
        return self();
    }
    /// Component-wise product.
    constexpr Derived& operator*=(const Derived& t) {
        for (int i = 0; i < N; ++i) {
            v_[i] *= t.v_[i];
        }
        return self();
    }
    /// Component-wise quotient.
    constexpr Derived& operator/=(const Derived& t) {
        for (int i = 0; i < N; ++i) {
            v_[i] /= t.v_[i];
        }
        return self();
    }
    constexpr Derived& operator*=(double s) {
        for (int i = 0; i < N; ++i) {
            v_[i] *= s;
        }
        return self();
    }
    constexpr Derived& operator/=(double s) {
        for (int i = 0; i < N; ++i) {
            v_[i] /= s;
        }
        return self();
    }

    friend constexpr bool operator==(const Derived& a, const Derived& b) {
        for (int i = 0; i < N; ++i) {
            if (a.v_[i] != b.v_[i]) {
                return false;
            }
        }
        return true;
    }
    friend constexpr bool operator!=(const Derived& a, const Derived& b) { return !(a == b); }

protected:
    constexpr Derived& self() { return static_cast<Derived&>(*this); }

    double v_[N] = {};
};

} // namespace detail

/// Two doubles with element access and component-wise arithmetic, convertible to the point and
/// vector kinds. Plain value; not synchronised; nothing fails. The default is (0, 0).
class Tuple2 : public detail::TupleBase<2, Tuple2> {
public:
    constexpr Tuple2() = default;
    constexpr Tuple2(double a, double b) { set(a, b); }
    constexpr explicit Tuple2(const Point2& p) { set(p.x, p.y); }
    constexpr explicit Tuple2(const Vector2& v) { set(v.x, v.y); }
    constexpr void set(double a, double b) {
        v_[0] = a;
        v_[1] = b;
    }
    constexpr Point2 asPoint() const { return Point2(v_[0], v_[1]); }
    constexpr Vector2 asVector() const { return Vector2(v_[0], v_[1]); }
};

/// Three doubles with element access and component-wise arithmetic, convertible to the point
/// and vector kinds. Plain value; not synchronised; nothing fails. The default is (0, 0, 0).
class Tuple3 : public detail::TupleBase<3, Tuple3> {
public:
    constexpr Tuple3() = default;
    constexpr Tuple3(double a, double b, double c) { set(a, b, c); }
    constexpr explicit Tuple3(const Point& p) { set(p.x, p.y, p.z); }
    constexpr explicit Tuple3(const Vector& v) { set(v.x, v.y, v.z); }
    constexpr void set(double a, double b, double c) {
        v_[0] = a;
        v_[1] = b;
        v_[2] = c;
    }
    constexpr Point asPoint() const { return Point(v_[0], v_[1], v_[2]); }
    constexpr Vector asVector() const { return Vector(v_[0], v_[1], v_[2]); }
    /// The normal of this tuple's direction (normalised, or invalid when too short).
    Normal asNormal() const { return Normal(v_[0], v_[1], v_[2]); }
};

/// Four doubles with element access and component-wise arithmetic, convertible to the
/// homogeneous and rational point kinds. Plain value; not synchronised; nothing fails. The
/// default is (0, 0, 0, 0).
class Tuple4 : public detail::TupleBase<4, Tuple4> {
public:
    constexpr Tuple4() = default;
    constexpr Tuple4(double a, double b, double c, double d) { set(a, b, c, d); }
    constexpr explicit Tuple4(const HPoint& p) { set(p.x, p.y, p.z, p.w); }
    constexpr explicit Tuple4(const RPoint& p) { set(p.x, p.y, p.z, p.w); }
    constexpr void set(double a, double b, double c, double d) {
        v_[0] = a;
        v_[1] = b;
        v_[2] = c;
        v_[3] = d;
    }
    constexpr HPoint asHPoint() const { return HPoint(v_[0], v_[1], v_[2], v_[3]); }
    constexpr RPoint asRPoint() const { return RPoint(v_[0], v_[1], v_[2], v_[3]); }
};

} // namespace kyLinear

#endif // KY_LINEAR_TUPLE_H
