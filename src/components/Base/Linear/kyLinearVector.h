// kyLinearVector.h - points, vectors and normals in two and three dimensions.
#ifndef KY_LINEAR_VECTOR_H
#define KY_LINEAR_VECTOR_H

#include <Base/BaseExport.h>
#include <Base/Linear/kyLinearTolerance.h>

#include <cmath>
#include <iosfwd>
#include <string>

namespace kyLinear {

template <class T>
class TVector;
template <class T>
class TNormal;

/// A position in three dimensions (x, y, z). `Point` holds doubles, `PointFlt` floats.
///
/// Points and vectors are distinct types: point - point is a vector, point + vector a point.
/// Plain value: copying is three stores; not synchronised (a value per thread, or read-only
/// sharing). Nothing fails. The default point is the origin.
template <class T>
class TPoint {
public:
    using value_type = T;

    T x = 0;
    T y = 0;
    T z = 0;

    constexpr TPoint() = default;
    constexpr TPoint(T x, T y, T z) : x(x), y(y), z(z) {}
    /// Converts between float and double points.
    template <class U>
    constexpr explicit TPoint(const TPoint<U>& p)
        : x(static_cast<T>(p.x)), y(static_cast<T>(p.y)), z(static_cast<T>(p.z)) {}

    constexpr void set(T px, T py, T pz) {
        x = px;
        y = py;
        z = pz;
    }
    /// Component i (0 = x, 1 = y, 2 = z).
    constexpr T& operator[](int i) { return i == 0 ? x : (i == 1 ? y : z); }
    constexpr T operator[](int i) const { return i == 0 ? x : (i == 1 ? y : z); }

    /// The vector from the origin to this point.
    constexpr TVector<T> asVector() const;

    constexpr TPoint& operator+=(const TVector<T>& v);
    constexpr TPoint& operator-=(const TVector<T>& v);

    friend constexpr bool operator==(const TPoint& a, const TPoint& b) {
        return a.x == b.x && a.y == b.y && a.z == b.z;
    }
    friend constexpr bool operator!=(const TPoint& a, const TPoint& b) { return !(a == b); }
};

/// A displacement in three dimensions (x, y, z). `Vector` holds doubles, `VectorFlt` floats.
///
/// Plain value, like `TPoint`. `normalize` reports a vector too short to normalise (squared
/// length at most `epsilon2Tol`, `epsilon2TolFlt` for floats) by returning false.
template <class T>
class TVector {
public:
    using value_type = T;

    T x = 0;
    T y = 0;
    T z = 0;

    constexpr TVector() = default;
    constexpr TVector(T x, T y, T z) : x(x), y(y), z(z) {}
    /// Converts between float and double vectors.
    template <class U>
    constexpr explicit TVector(const TVector<U>& v)
        : x(static_cast<T>(v.x)), y(static_cast<T>(v.y)), z(static_cast<T>(v.z)) {}

    constexpr void set(T vx, T vy, T vz) {
        x = vx;
        y = vy;
        z = vz;
    }
    /// Component i (0 = x, 1 = y, 2 = z).
    constexpr T& operator[](int i) { return i == 0 ? x : (i == 1 ? y : z); }
    constexpr T operator[](int i) const { return i == 0 ? x : (i == 1 ? y : z); }

    /// The point this vector reaches from the origin.
    constexpr TPoint<T> asPoint() const { return TPoint<T>(x, y, z); }

    T length() const { return std::sqrt(length2()); }
    /// The squared length.
    constexpr T length2() const { return x * x + y * y + z * z; }
    /// Scales this vector to unit length, in place, the way a `TNormal` is built: a vector
    /// whose squared length is at most the squared tolerance becomes (0, 0, 0) and the result
    /// is false.
    bool normalize();
    /// This vector's direction as a normal (invalid for a vector too short to normalise).
    TNormal<T> normalized() const;
    /// A vector perpendicular to this one, not normalised; non-zero for every non-zero vector.
    /// It is the cross product w x v with w = (-z, x, y) when x y > 0 and z y > 0, and
    /// w = (z, x, y) otherwise (the sign flip keeps w from being parallel to v when all three
    /// components share a sign).
    constexpr TVector orthogonalVector() const;
    /// Points this vector the other way, in place.
    constexpr void reverse() {
        x = -x;
        y = -y;
        z = -z;
    }

    constexpr TVector& operator+=(const TVector& v) {
        x += v.x;
        y += v.y;
        z += v.z;
        return *this;
    }
    constexpr TVector& operator-=(const TVector& v) {
        x -= v.x;
        y -= v.y;
        z -= v.z;
        return *this;
    }
    constexpr TVector& operator*=(T s) {
        x *= s;
        y *= s;
        z *= s;
        return *this;
    }
    constexpr TVector& operator/=(T s) {
        x /= s;
        y /= s;
        z /= s;
        return *this;
    }
    constexpr TVector operator-() const { return TVector(-x, -y, -z); }

    friend constexpr TVector operator+(const TVector& a, const TVector& b) {
        return TVector(a.x + b.x, a.y + b.y, a.z + b.z);
    }
    friend constexpr TVector operator-(const TVector& a, const TVector& b) {
        return TVector(a.x - b.x, a.y - b.y, a.z - b.z);
    }
    friend constexpr TVector operator*(const TVector& v, T s) {
        return TVector(v.x * s, v.y * s, v.z * s);
    }
    friend constexpr TVector operator*(T s, const TVector& v) {
        return TVector(v.x * s, v.y * s, v.z * s);
    }
    friend constexpr TVector operator/(const TVector& v, T s) {
        return TVector(v.x / s, v.y / s, v.z / s);
    }
    friend constexpr bool operator==(const TVector& a, const TVector& b) {
        return a.x == b.x && a.y == b.y && a.z == b.z;
    }
    friend constexpr bool operator!=(const TVector& a, const TVector& b) { return !(a == b); }
};

/// A direction in three dimensions: always either of unit length and valid, or (0, 0, 0) and
/// invalid. `Normal` holds doubles, `NormalFlt` floats.
///
/// Built from a vector or three components, always normalising: when the squared length is
/// greater than `epsilon2Tol` (`epsilon2TolFlt` for floats) the components are scaled to unit
/// length, otherwise the normal is the invalid (0, 0, 0). The components are read-only so the
/// rule always holds. Plain value (three components and a one-byte validity flag); not
/// synchronised.
template <class T>
class TNormal {
public:
    using value_type = T;

    /// The invalid normal (0, 0, 0).
    constexpr TNormal() = default;
    TNormal(T x, T y, T z) : x_(x), y_(y), z_(z) { normalize(); }
    explicit TNormal(const TVector<T>& v) : x_(v.x), y_(v.y), z_(v.z) { normalize(); }
    /// Converts between float and double normals (normalising again in the new precision).
    template <class U>
    explicit TNormal(const TNormal<U>& n)
        : x_(static_cast<T>(n.x())), y_(static_cast<T>(n.y())), z_(static_cast<T>(n.z())) {
        normalize();
    }

    constexpr T x() const { return x_; }
    constexpr T y() const { return y_; }
    constexpr T z() const { return z_; }
    /// Component i (0 = x, 1 = y, 2 = z).
    constexpr T operator[](int i) const { return i == 0 ? x_ : (i == 1 ? y_ : z_); }

    constexpr bool isValid() const { return valid_; }
    /// Makes this the invalid normal: all four fields become zero.
    constexpr void setInvalid() {
        x_ = y_ = z_ = 0;
        valid_ = false;
    }
    /// Points this normal the other way, in place (validity is unchanged).
    constexpr void reverse() {
        x_ = -x_;
        y_ = -y_;
        z_ = -z_;
    }
    constexpr TPoint<T> asPoint() const { return TPoint<T>(x_, y_, z_); }
    constexpr TVector<T> asVector() const { return TVector<T>(x_, y_, z_); }
    /// A unit vector is a vector.
    constexpr operator TVector<T>() const { return asVector(); }

    constexpr TNormal operator-() const {
        TNormal n(*this);
        n.reverse();
        return n;
    }
    friend constexpr TVector<T> operator*(const TNormal& n, T s) {
        return TVector<T>(n.x_ * s, n.y_ * s, n.z_ * s);
    }
    friend constexpr TVector<T> operator*(T s, const TNormal& n) { return n * s; }
    friend constexpr bool operator==(const TNormal& a, const TNormal& b) {
        return a.x_ == b.x_ && a.y_ == b.y_ && a.z_ == b.z_ && a.valid_ == b.valid_;
    }
    friend constexpr bool operator!=(const TNormal& a, const TNormal& b) { return !(a == b); }

private:
    void normalize() {
        const T s = x_ * x_ + y_ * y_ + z_ * z_;
        if (s > detail::Tolerance<T>::epsilon2()) {
            const T inv = T(1) / std::sqrt(s);
            x_ *= inv;
            y_ *= inv;
            z_ *= inv;
            valid_ = true;
        } else {
            setInvalid();
        }
    }

    T x_ = 0;
    T y_ = 0;
    T z_ = 0;
    bool valid_ = false;
};

/// A position in two dimensions (x, y). `Point2` holds doubles, `Point2Flt` floats.
/// Plain value, like `TPoint`.
template <class T>
class TPoint2;

/// A displacement in two dimensions (x, y). `Vector2` holds doubles, `Vector2Flt` floats.
/// Plain value, like `TVector`; there is no two-dimensional normal, so `normalized` returns a
/// vector (unit, or zero when too short).
template <class T>
class TVector2 {
public:
    using value_type = T;

    T x = 0;
    T y = 0;

    constexpr TVector2() = default;
    constexpr TVector2(T x, T y) : x(x), y(y) {}
    template <class U>
    constexpr explicit TVector2(const TVector2<U>& v)
        : x(static_cast<T>(v.x)), y(static_cast<T>(v.y)) {}

    constexpr void set(T vx, T vy) {
        x = vx;
        y = vy;
    }
    /// Component i (0 = x, 1 = y).
    constexpr T& operator[](int i) { return i == 0 ? x : y; }
    constexpr T operator[](int i) const { return i == 0 ? x : y; }
    constexpr TPoint2<T> asPoint() const;

    T length() const { return std::sqrt(length2()); }
    constexpr T length2() const { return x * x + y * y; }
    /// Scales to unit length in place; a vector whose squared length is at most the squared
    /// tolerance becomes (0, 0) and the result is false.
    bool normalize() {
        const T s = length2();
        if (s > detail::Tolerance<T>::epsilon2()) {
            const T inv = T(1) / std::sqrt(s);
            x *= inv;
            y *= inv;
            return true;
        }
        x = y = 0;
        return false;
    }
    TVector2 normalized() const {
        TVector2 v(*this);
        v.normalize();
        return v;
    }
    /// This vector turned a quarter turn counter-clockwise: (-y, x).
    constexpr TVector2 orthogonalVector() const { return TVector2(-y, x); }
    constexpr void reverse() {
        x = -x;
        y = -y;
    }

    constexpr TVector2& operator+=(const TVector2& v) {
        x += v.x;
        y += v.y;
        return *this;
    }
    constexpr TVector2& operator-=(const TVector2& v) {
        x -= v.x;
        y -= v.y;
        return *this;
    }
    constexpr TVector2& operator*=(T s) {
        x *= s;
        y *= s;
        return *this;
    }
    constexpr TVector2& operator/=(T s) {
        x /= s;
        y /= s;
        return *this;
    }
    constexpr TVector2 operator-() const { return TVector2(-x, -y); }

    friend constexpr TVector2 operator+(const TVector2& a, const TVector2& b) {
        return TVector2(a.x + b.x, a.y + b.y);
    }
    friend constexpr TVector2 operator-(const TVector2& a, const TVector2& b) {
        return TVector2(a.x - b.x, a.y - b.y);
    }
    friend constexpr TVector2 operator*(const TVector2& v, T s) {
        return TVector2(v.x * s, v.y * s);
    }
    friend constexpr TVector2 operator*(T s, const TVector2& v) {
        return TVector2(v.x * s, v.y * s);
    }
    friend constexpr TVector2 operator/(const TVector2& v, T s) {
        return TVector2(v.x / s, v.y / s);
    }
    friend constexpr bool operator==(const TVector2& a, const TVector2& b) {
        return a.x == b.x && a.y == b.y;
    }
    friend constexpr bool operator!=(const TVector2& a, const TVector2& b) { return !(a == b); }
};

template <class T>
class TPoint2 {
public:
    using value_type = T;

    T x = 0;
    T y = 0;

    constexpr TPoint2() = default;
    constexpr TPoint2(T x, T y) : x(x), y(y) {}
    template <class U>
    constexpr explicit TPoint2(const TPoint2<U>& p)
        : x(static_cast<T>(p.x)), y(static_cast<T>(p.y)) {}

    constexpr void set(T px, T py) {
        x = px;
        y = py;
    }
    /// Component i (0 = x, 1 = y).
    constexpr T& operator[](int i) { return i == 0 ? x : y; }
    constexpr T operator[](int i) const { return i == 0 ? x : y; }
    constexpr TVector2<T> asVector() const { return TVector2<T>(x, y); }

    constexpr TPoint2& operator+=(const TVector2<T>& v) {
        x += v.x;
        y += v.y;
        return *this;
    }
    constexpr TPoint2& operator-=(const TVector2<T>& v) {
        x -= v.x;
        y -= v.y;
        return *this;
    }
    friend constexpr bool operator==(const TPoint2& a, const TPoint2& b) {
        return a.x == b.x && a.y == b.y;
    }
    friend constexpr bool operator!=(const TPoint2& a, const TPoint2& b) { return !(a == b); }
};

using Point = TPoint<double>;
using PointFlt = TPoint<float>;
using Vector = TVector<double>;
using VectorFlt = TVector<float>;
using Normal = TNormal<double>;
using NormalFlt = TNormal<float>;
using Point2 = TPoint2<double>;
using Point2Flt = TPoint2<float>;
using Vector2 = TVector2<double>;
using Vector2Flt = TVector2<float>;

// ---- members that need the other classes -------------------------------------------------

template <class T>
constexpr TVector<T> TPoint<T>::asVector() const {
    return TVector<T>(x, y, z);
}
template <class T>
constexpr TPoint<T>& TPoint<T>::operator+=(const TVector<T>& v) {
    x += v.x;
    y += v.y;
    z += v.z;
    return *this;
}
template <class T>
constexpr TPoint<T>& TPoint<T>::operator-=(const TVector<T>& v) {
    x -= v.x;
    y -= v.y;
    z -= v.z;
    return *this;
}
template <class T>
bool TVector<T>::normalize() {
    const TNormal<T> n(*this);
    x = n.x();
    y = n.y();
    z = n.z();
    return n.isValid();
}
template <class T>
TNormal<T> TVector<T>::normalized() const {
    return TNormal<T>(*this);
}
template <class T>
constexpr TPoint2<T> TVector2<T>::asPoint() const {
    return TPoint2<T>(x, y);
}

// ---- point and vector arithmetic ---------------------------------------------------------

template <class T>
constexpr TVector<T> operator-(const TPoint<T>& a, const TPoint<T>& b) {
    return TVector<T>(a.x - b.x, a.y - b.y, a.z - b.z);
}
template <class T>
constexpr TPoint<T> operator+(const TPoint<T>& p, const TVector<T>& v) {
    return TPoint<T>(p.x + v.x, p.y + v.y, p.z + v.z);
}
template <class T>
constexpr TPoint<T> operator+(const TVector<T>& v, const TPoint<T>& p) {
    return p + v;
}
template <class T>
constexpr TPoint<T> operator-(const TPoint<T>& p, const TVector<T>& v) {
    return TPoint<T>(p.x - v.x, p.y - v.y, p.z - v.z);
}
template <class T>
constexpr TPoint<T> operator+(const TPoint<T>& p, const TNormal<T>& n) {
    return p + n.asVector();
}
template <class T>
constexpr TVector2<T> operator-(const TPoint2<T>& a, const TPoint2<T>& b) {
    return TVector2<T>(a.x - b.x, a.y - b.y);
}
template <class T>
constexpr TPoint2<T> operator+(const TPoint2<T>& p, const TVector2<T>& v) {
    return TPoint2<T>(p.x + v.x, p.y + v.y);
}
template <class T>
constexpr TPoint2<T> operator+(const TVector2<T>& v, const TPoint2<T>& p) {
    return p + v;
}
template <class T>
constexpr TPoint2<T> operator-(const TPoint2<T>& p, const TVector2<T>& v) {
    return TPoint2<T>(p.x - v.x, p.y - v.y);
}

/// Dot products of vectors and normals.
template <class T>
constexpr T dot(const TVector<T>& a, const TVector<T>& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
template <class T>
constexpr T dot(const TNormal<T>& a, const TVector<T>& b) {
    return a.x() * b.x + a.y() * b.y + a.z() * b.z;
}
template <class T>
constexpr T dot(const TVector<T>& a, const TNormal<T>& b) {
    return dot(b, a);
}
template <class T>
constexpr T dot(const TNormal<T>& a, const TNormal<T>& b) {
    return a.x() * b.x() + a.y() * b.y() + a.z() * b.z();
}
template <class T>
constexpr T dot(const TVector2<T>& a, const TVector2<T>& b) {
    return a.x * b.x + a.y * b.y;
}

/// Cross products (right-handed: cross(x axis, y axis) is the z axis).
template <class T>
constexpr TVector<T> cross(const TVector<T>& a, const TVector<T>& b) {
    return TVector<T>(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x);
}
template <class T>
constexpr TVector<T> cross(const TNormal<T>& a, const TVector<T>& b) {
    return cross(a.asVector(), b);
}
template <class T>
constexpr TVector<T> cross(const TVector<T>& a, const TNormal<T>& b) {
    return cross(a, b.asVector());
}
template <class T>
constexpr TVector<T> cross(const TNormal<T>& a, const TNormal<T>& b) {
    return cross(a.asVector(), b.asVector());
}
/// The z component of the three-dimensional cross product of two plane vectors.
template <class T>
constexpr T cross(const TVector2<T>& a, const TVector2<T>& b) {
    return a.x * b.y - a.y * b.x;
}

template <class T>
constexpr TVector<T> TVector<T>::orthogonalVector() const {
    const TVector w = (x * y > 0 && z * y > 0) ? TVector(-z, x, y) : TVector(z, x, y);
    return cross(w, *this);
}

/// Distances between points.
template <class T>
T distance(const TPoint<T>& a, const TPoint<T>& b) {
    return (a - b).length();
}
template <class T>
constexpr T distance2(const TPoint<T>& a, const TPoint<T>& b) {
    return (a - b).length2();
}
template <class T>
T distance(const TPoint2<T>& a, const TPoint2<T>& b) {
    return (a - b).length();
}

// ---- printing ----------------------------------------------------------------------------
// Written with the stream's own number formatting, values separated by "," with no blanks:
// "Point(1,2,3)". toString() uses a default-formatted stream in the classic locale (six
// significant digits).

KY_BASE_API std::ostream& operator<<(std::ostream& os, const Point& p);
KY_BASE_API std::ostream& operator<<(std::ostream& os, const PointFlt& p);
KY_BASE_API std::ostream& operator<<(std::ostream& os, const Vector& v);
KY_BASE_API std::ostream& operator<<(std::ostream& os, const VectorFlt& v);
KY_BASE_API std::ostream& operator<<(std::ostream& os, const Normal& n);
KY_BASE_API std::ostream& operator<<(std::ostream& os, const Point2& p);

KY_BASE_API std::string toString(const Point& p);
KY_BASE_API std::string toString(const PointFlt& p);
KY_BASE_API std::string toString(const Vector& v);
KY_BASE_API std::string toString(const VectorFlt& v);
KY_BASE_API std::string toString(const Normal& n);
KY_BASE_API std::string toString(const Point2& p);

} // namespace kyLinear

#endif // KY_LINEAR_VECTOR_H
