// kyLinearAffineMatrix.h - affine transformations of three-dimensional space.
#ifndef KY_LINEAR_AFFINEMATRIX_H
#define KY_LINEAR_AFFINEMATRIX_H

#include <Base/BaseExport.h>
#include <Base/Linear/kyLinearLine.h>
#include <Base/Linear/kyLinearPlane.h>
#include <Base/Linear/kyLinearTolerance.h>
#include <Base/Linear/kyLinearVector.h>

#include <cmath>
#include <iosfwd>
#include <string>

namespace kyLinear {

namespace detail {
// Out-of-line inversions (kyLinearInvert.cpp) of a row-major 4 x 3 affine matrix from src into
// dst (which may be src). False, and dst untouched, when |det| of the linear part is below the
// tolerance.
KY_BASE_API bool invertAffine(const double* src, double* dst);
KY_BASE_API bool invertAffine(const float* src, float* dst);
} // namespace detail

/// An affine transformation: four rows of three columns. Rows 0 to 2 are the linear part, row 3
/// the translation. Points are rows multiplied on the left (`p * m`):
///   p' = (px, py, pz, 1) * [row0; row1; row2; row3],
/// so rows 0 to 2 are the images of the x, y and z axes and row 3 the image of the origin.
/// `a * b` applies a first, then b. `AffineMatrix` holds doubles, `AffineMatrixFlt` floats.
///
/// The building operations (translate, scale, rotate..., mirror) append a step: `m.translate(v)`
/// makes m "m, then move by v". They return *this so steps chain. Plain value of twelve
/// numbers; the default is the identity; not synchronised. Inversion reports a singular matrix
/// (|det3x3| below `epsilonTol`, `epsilonTolFlt` for floats) by returning false and leaving the
/// matrix unchanged.
///
/// @code
///   kyLinear::AffineMatrix m; // identity
///   m.rotateZ(kyLinear::kPi / 2).translate(kyLinear::Vector(10, 0, 0));
///   kyLinear::Point p = kyLinear::Point(1, 0, 0) * m; // (10, 1, 0) up to rounding
///   kyLinear::Point back = p * m.inverse();           // (1, 0, 0) up to rounding
/// @endcode
template <class T>
class TAffineMatrix {
public:
    using value_type = T;

    /// The identity.
    constexpr TAffineMatrix() = default;
    /// The twelve values row by row.
    constexpr TAffineMatrix(T m00, T m01, T m02, T m10, T m11, T m12, T m20, T m21, T m22, T m30,
                            T m31, T m32)
        : m_{{m00, m01, m02}, {m10, m11, m12}, {m20, m21, m22}, {m30, m31, m32}} {}
    /// Converts between float and double matrices.
    template <class U>
    constexpr explicit TAffineMatrix(const TAffineMatrix<U>& m) {
        for (int r = 0; r < 4; ++r) {
            for (int c = 0; c < 3; ++c) {
                m_[r][c] = static_cast<T>(m(r, c));
            }
        }
    }

    /// Element (row, column); rows 0 to 3, columns 0 to 2 (not checked).
    constexpr T& operator()(int row, int col) { return m_[row][col]; }
    constexpr T operator()(int row, int col) const { return m_[row][col]; }
    /// Row access: m[row][col].
    constexpr T* operator[](int row) { return m_[row]; }
    constexpr const T* operator[](int row) const { return m_[row]; }
    /// The twelve values, row by row.
    constexpr T* data() { return &m_[0][0]; }
    constexpr const T* data() const { return &m_[0][0]; }

    constexpr TAffineMatrix& identity() { return *this = TAffineMatrix(); }
    constexpr TAffineMatrix& zero() {
        for (auto& row : m_) {
            row[0] = row[1] = row[2] = 0;
        }
        return *this;
    }

    /// Appends a move by v.
    constexpr TAffineMatrix& translate(const TVector<T>& v) {
        m_[3][0] += v.x;
        m_[3][1] += v.y;
        m_[3][2] += v.z;
        return *this;
    }
    /// Appends a scaling by s.x, s.y, s.z along the axes.
    constexpr TAffineMatrix& scale(const TVector<T>& s) {
        for (auto& row : m_) {
            row[0] *= s.x;
            row[1] *= s.y;
            row[2] *= s.z;
        }
        return *this;
    }
    /// Appends a uniform scaling.
    constexpr TAffineMatrix& scale(T s) { return scale(TVector<T>(s, s, s)); }
    /// Appends a rotation by angle radians about the axis through the origin, counter-clockwise
    /// when the axis points at the viewer. An invalid axis appends nothing.
    TAffineMatrix& rotate(T angle, const TNormal<T>& axis) {
        if (!axis.isValid()) {
            return *this;
        }
        return *this *= rotation(angle, axis);
    }
    /// Appends a rotation by angle radians about the line (through its point, along its
    /// direction). A line with an invalid direction appends nothing.
    TAffineMatrix& rotate(T angle, const Line& line) {
        if (!line.direction.isValid()) {
            return *this;
        }
        const TVector<T> p(static_cast<T>(line.point.x), static_cast<T>(line.point.y),
                           static_cast<T>(line.point.z));
        translate(-p);
        rotate(angle, TNormal<T>(line.direction));
        return translate(p);
    }
    /// Appends the shortest rotation taking the direction `from` onto `to` (a half turn about
    /// from.orthogonalVector() when they are opposite). Appends nothing when either is invalid.
    TAffineMatrix& rotate(const TNormal<T>& from, const TNormal<T>& to) {
        if (!from.isValid() || !to.isValid()) {
            return *this;
        }
        const TVector<T> axis = cross(from, to);
        const T c = dot(from, to);
        const T s = axis.length();
        if (s <= static_cast<T>(perpendicularTol)) {
            if (c > 0) {
                return *this;
            }
            return rotate(static_cast<T>(kPi), TNormal<T>(from.asVector().orthogonalVector()));
        }
        return rotate(std::atan2(s, c), TNormal<T>(axis));
    }
    /// Appends a rotation about the x axis (y towards z).
    TAffineMatrix& rotateX(T angle) {
        const T c = std::cos(angle), s = std::sin(angle);
        for (auto& row : m_) {
            const T y = row[1], z = row[2];
            row[1] = y * c - z * s;
            row[2] = y * s + z * c;
        }
        return *this;
    }
    /// Appends a rotation about the y axis (z towards x).
    TAffineMatrix& rotateY(T angle) {
        const T c = std::cos(angle), s = std::sin(angle);
        for (auto& row : m_) {
            const T z = row[2], x = row[0];
            row[2] = z * c - x * s;
            row[0] = z * s + x * c;
        }
        return *this;
    }
    /// Appends a rotation about the z axis (x towards y).
    TAffineMatrix& rotateZ(T angle) {
        const T c = std::cos(angle), s = std::sin(angle);
        for (auto& row : m_) {
            const T x = row[0], y = row[1];
            row[0] = x * c - y * s;
            row[1] = x * s + y * c;
        }
        return *this;
    }
    /// Appends the reflection through the plane. An invalid plane appends nothing.
    TAffineMatrix& mirror(const Plane& plane) {
        if (!plane.isValid()) {
            return *this;
        }
        const T n[3] = {static_cast<T>(plane.normal.x()), static_cast<T>(plane.normal.y()),
                        static_cast<T>(plane.normal.z())};
        const T d = static_cast<T>(plane.calculateD());
        TAffineMatrix r;
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) {
                r.m_[i][j] = (i == j ? T(1) : T(0)) - 2 * n[i] * n[j];
            }
            r.m_[3][i] = -2 * d * n[i];
        }
        return *this *= r;
    }
    /// Transposes the linear part; the translation row is kept.
    constexpr TAffineMatrix& transpose() {
        swap(m_[0][1], m_[1][0]);
        swap(m_[0][2], m_[2][0]);
        swap(m_[1][2], m_[2][1]);
        return *this;
    }
    /// Makes this b * this: b is applied first.
    constexpr TAffineMatrix& preMult(const TAffineMatrix& b) { return *this = b * *this; }
    /// Makes this this * b: b is applied after.
    constexpr TAffineMatrix& operator*=(const TAffineMatrix& b) { return *this = *this * b; }

    /// The inverse: a copy on which invert() was called (so an unchanged copy when the matrix
    /// is not invertible).
    TAffineMatrix inverse() const {
        TAffineMatrix m(*this);
        detail::invertAffine(data(), m.data()); // invert() on the copy, reading from *this
        return m;
    }
    /// Inverts in place. False, and the matrix unchanged, when !isInvertible().
    bool invert() { return detail::invertAffine(data(), data()); }
    /// Inverts a rigid transformation in place: the linear part must be orthonormal (rotations
    /// and reflections only), which is not checked. The linear part is transposed and the
    /// translation moved back; for other matrices the result is not the inverse. Always true.
    constexpr bool invertFast() {
        transpose();
        const T tx = m_[3][0], ty = m_[3][1], tz = m_[3][2];
        for (int j = 0; j < 3; ++j) {
            m_[3][j] = -(tx * m_[0][j] + ty * m_[1][j] + tz * m_[2][j]);
        }
        return true;
    }
    /// True when |det3x3()| is at least `epsilonTol` (`epsilonTolFlt` for floats).
    bool isInvertible() const { return std::fabs(det3x3()) >= detail::Tolerance<T>::epsilon(); }
    /// The determinant of the linear part.
    constexpr T det3x3() const {
        return m_[0][0] * (m_[1][1] * m_[2][2] - m_[1][2] * m_[2][1]) +
               m_[0][1] * (m_[1][2] * m_[2][0] - m_[1][0] * m_[2][2]) +
               m_[0][2] * (m_[1][0] * m_[2][1] - m_[1][1] * m_[2][0]);
    }
    /// The determinant of the full 4 x 4 matrix (last column 0, 0, 0, 1): equal to det3x3().
    constexpr T det4x4() const { return det3x3(); }

    /// The frame of the matrix: the images of the origin and of the three axes (row 3 and
    /// rows 0 to 2).
    constexpr void getFrame(TPoint<T>& origin, TVector<T>& xAxis, TVector<T>& yAxis,
                            TVector<T>& zAxis) const {
        origin = TPoint<T>(m_[3][0], m_[3][1], m_[3][2]);
        xAxis = row(0);
        yAxis = row(1);
        zAxis = row(2);
    }
    /// The matrix taking the standard frame to this one (axes need not be orthonormal).
    constexpr TAffineMatrix& setFrame(const TPoint<T>& origin, const TVector<T>& xAxis,
                                      const TVector<T>& yAxis, const TVector<T>& zAxis) {
        setRow(0, xAxis);
        setRow(1, yAxis);
        setRow(2, zAxis);
        setRow(3, origin.asVector());
        return *this;
    }
    /// The translation row.
    constexpr TVector<T> getTranslate() const { return row(3); }
    constexpr TAffineMatrix& setTranslate(const TVector<T>& t) {
        setRow(3, t);
        return *this;
    }

    /// The matrix that transforms normals: the inverse transpose of the linear part, with no
    /// translation. For a singular linear part it is the cofactor matrix (times the sign of
    /// the determinant), which still maps the normals of what remains of a surface correctly up
    /// to length. Apply it with `normal * m.normalMatrix()`, which renormalises.
    TAffineMatrix normalMatrix() const {
        const T(&a)[4][3] = m_;
        TAffineMatrix n(
            a[1][1] * a[2][2] - a[1][2] * a[2][1], a[1][2] * a[2][0] - a[1][0] * a[2][2],
            a[1][0] * a[2][1] - a[1][1] * a[2][0], a[0][2] * a[2][1] - a[0][1] * a[2][2],
            a[0][0] * a[2][2] - a[0][2] * a[2][0], a[0][1] * a[2][0] - a[0][0] * a[2][1],
            a[0][1] * a[1][2] - a[0][2] * a[1][1], a[0][2] * a[1][0] - a[0][0] * a[1][2],
            a[0][0] * a[1][1] - a[0][1] * a[1][0], 0, 0, 0);
        const T det = a[0][0] * n.m_[0][0] + a[0][1] * n.m_[0][1] + a[0][2] * n.m_[0][2];
        const T f = std::fabs(det) >= detail::Tolerance<T>::epsilon() ? T(1) / det
                                                                      : (det < 0 ? T(-1) : T(1));
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) {
                n.m_[i][j] *= f;
            }
        }
        return n;
    }
    /// Sets the linear part to the outer product a^T b (element (i, j) = a_i b_j), so that
    /// u * m = dot(u, a) b; no translation.
    constexpr TAffineMatrix& outerProduct(const TVector<T>& a, const TVector<T>& b) {
        for (int i = 0; i < 3; ++i) {
            setRow(i, b * a[i]);
        }
        setRow(3, TVector<T>());
        return *this;
    }
    /// Sets the linear part to the cross-product matrix of v, so that u * m = cross(u, v); no
    /// translation.
    constexpr TAffineMatrix& crossMatrix(const TVector<T>& v) {
        *this = TAffineMatrix(0, -v.z, v.y, v.z, 0, -v.x, -v.y, v.x, 0, 0, 0, 0);
        return *this;
    }
    /// Sets the matrix to a rotation taking the z axis onto the direction of v, with the x axis
    /// going to the direction of v.orthogonalVector(); no translation. The identity for a
    /// vector too short to normalise.
    TAffineMatrix& vectorMatrix(const TVector<T>& v) {
        const TNormal<T> z(v);
        if (!z.isValid()) {
            return identity();
        }
        const TNormal<T> x(v.orthogonalVector());
        setRow(0, x.asVector());
        setRow(1, cross(z, x));
        setRow(2, z.asVector());
        setRow(3, TVector<T>());
        return *this;
    }

    friend constexpr TAffineMatrix operator*(const TAffineMatrix& a, const TAffineMatrix& b) {
        TAffineMatrix c;
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 3; ++j) {
                c.m_[i][j] =
                    a.m_[i][0] * b.m_[0][j] + a.m_[i][1] * b.m_[1][j] + a.m_[i][2] * b.m_[2][j];
            }
        }
        for (int j = 0; j < 3; ++j) {
            c.m_[3][j] += b.m_[3][j];
        }
        return c;
    }
    friend constexpr bool operator==(const TAffineMatrix& a, const TAffineMatrix& b) {
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 3; ++j) {
                if (a.m_[i][j] != b.m_[i][j]) {
                    return false;
                }
            }
        }
        return true;
    }
    friend constexpr bool operator!=(const TAffineMatrix& a, const TAffineMatrix& b) {
        return !(a == b);
    }

private:
    static constexpr void swap(T& a, T& b) {
        const T t = a;
        a = b;
        b = t;
    }
    constexpr TVector<T> row(int i) const { return TVector<T>(m_[i][0], m_[i][1], m_[i][2]); }
    constexpr void setRow(int i, const TVector<T>& v) {
        m_[i][0] = v.x;
        m_[i][1] = v.y;
        m_[i][2] = v.z;
    }
    static TAffineMatrix rotation(T angle, const TNormal<T>& k) {
        const T c = std::cos(angle), s = std::sin(angle), t = 1 - c;
        const T x = k.x(), y = k.y(), z = k.z();
        return TAffineMatrix(t * x * x + c, t * x * y + s * z, t * x * z - s * y, //
                             t * x * y - s * z, t * y * y + c, t * y * z + s * x, //
                             t * x * z + s * y, t * y * z - s * x, t * z * z + c, //
                             0, 0, 0);
    }

    T m_[4][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}};
};

using AffineMatrix = TAffineMatrix<double>;
using AffineMatrixFlt = TAffineMatrix<float>;

/// The point p transformed: p * linear part + translation.
template <class T>
constexpr TPoint<T> operator*(const TPoint<T>& p, const TAffineMatrix<T>& m) {
    return TPoint<T>(p.x * m(0, 0) + p.y * m(1, 0) + p.z * m(2, 0) + m(3, 0),
                     p.x * m(0, 1) + p.y * m(1, 1) + p.z * m(2, 1) + m(3, 1),
                     p.x * m(0, 2) + p.y * m(1, 2) + p.z * m(2, 2) + m(3, 2));
}
/// The vector v transformed by the linear part (translation does not move vectors).
template <class T>
constexpr TVector<T> operator*(const TVector<T>& v, const TAffineMatrix<T>& m) {
    return TVector<T>(v.x * m(0, 0) + v.y * m(1, 0) + v.z * m(2, 0),
                      v.x * m(0, 1) + v.y * m(1, 1) + v.z * m(2, 1),
                      v.x * m(0, 2) + v.y * m(1, 2) + v.z * m(2, 2));
}
/// The normal n transformed by the linear part and renormalised. Pass the normal matrix
/// (m.normalMatrix()) to keep normals perpendicular to transformed surfaces.
template <class T>
TNormal<T> operator*(const TNormal<T>& n, const TAffineMatrix<T>& m) {
    return TNormal<T>(n.asVector() * m);
}
template <class T>
constexpr TPoint<T>& operator*=(TPoint<T>& p, const TAffineMatrix<T>& m) {
    return p = p * m;
}
template <class T>
constexpr TVector<T>& operator*=(TVector<T>& v, const TAffineMatrix<T>& m) {
    return v = v * m;
}
template <class T>
TNormal<T>& operator*=(TNormal<T>& n, const TAffineMatrix<T>& m) {
    return n = n * m;
}

/// "AffineMatrix(", a line break, four lines of three values joined by "," each ended by a line
/// break, then ")". Values use the stream's formatting.
KY_BASE_API std::ostream& operator<<(std::ostream& os, const AffineMatrix& m);
KY_BASE_API std::string toString(const AffineMatrix& m);

} // namespace kyLinear

#endif // KY_LINEAR_AFFINEMATRIX_H
