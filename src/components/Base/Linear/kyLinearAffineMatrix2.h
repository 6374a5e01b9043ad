// kyLinearAffineMatrix2.h - affine transformations of the plane.
#ifndef KY_LINEAR_AFFINEMATRIX2_H
#define KY_LINEAR_AFFINEMATRIX2_H

#include <Base/BaseExport.h>
#include <Base/Linear/kyLinearTolerance.h>
#include <Base/Linear/kyLinearVector.h>

#include <cmath>

namespace kyLinear {

namespace detail {
// Out-of-line inversion (kyLinearInvert.cpp) of a row-major 3 x 2 affine matrix from src into
// dst (which may be src); false, and dst untouched, when |det2x2| is below epsilonTol.
KY_BASE_API bool invertAffine2(const double* src, double* dst);
} // namespace detail

/// The two-dimensional counterpart of `AffineMatrix`: three rows of two doubles, rows 0 and 1
/// the linear part and row 2 the translation, points multiplied on the left (`p * m`), `a * b`
/// applying a first. Building operations append a step and return *this. Plain value; the
/// default is the identity; not synchronised. Inversion reports a singular matrix (|det2x2|
/// below `epsilonTol`) by returning false and leaving the matrix unchanged.
class AffineMatrix2 {
public:
    /// The identity.
    constexpr AffineMatrix2() = default;
    /// The six values row by row.
    constexpr AffineMatrix2(double m00, double m01, double m10, double m11, double m20, double m21)
        : m_{{m00, m01}, {m10, m11}, {m20, m21}} {}

    /// Element (row, column); rows 0 to 2, columns 0 and 1 (not checked).
    constexpr double& operator()(int row, int col) { return m_[row][col]; }
    constexpr double operator()(int row, int col) const { return m_[row][col]; }
    constexpr double* operator[](int row) { return m_[row]; }
    constexpr const double* operator[](int row) const { return m_[row]; }
    constexpr double* data() { return &m_[0][0]; }
    constexpr const double* data() const { return &m_[0][0]; }

    constexpr AffineMatrix2& identity() { return *this = AffineMatrix2(); }
    constexpr AffineMatrix2& zero() { return *this = AffineMatrix2(0, 0, 0, 0, 0, 0); }
    /// Appends a move by v.
    constexpr AffineMatrix2& translate(const Vector2& v) {
        m_[2][0] += v.x;
        m_[2][1] += v.y;
        return *this;
    }
    /// Appends a scaling along the axes.
    constexpr AffineMatrix2& scale(const Vector2& s) {
        for (auto& row : m_) {
            row[0] *= s.x;
            row[1] *= s.y;
        }
        return *this;
    }
    constexpr AffineMatrix2& scale(double s) { return scale(Vector2(s, s)); }
    /// Appends a counter-clockwise rotation by angle radians about the origin.
    AffineMatrix2& rotate(double angle) {
        const double c = std::cos(angle), s = std::sin(angle);
        for (auto& row : m_) {
            const double x = row[0], y = row[1];
            row[0] = x * c - y * s;
            row[1] = x * s + y * c;
        }
        return *this;
    }
    /// Transposes the linear part; the translation row is kept.
    constexpr AffineMatrix2& transpose() {
        const double t = m_[0][1];
        m_[0][1] = m_[1][0];
        m_[1][0] = t;
        return *this;
    }
    /// Makes this b * this: b is applied first.
    constexpr AffineMatrix2& preMult(const AffineMatrix2& b) { return *this = b * *this; }
    constexpr AffineMatrix2& operator*=(const AffineMatrix2& b) { return *this = *this * b; }

    /// A copy on which invert() was called.
    AffineMatrix2 inverse() const {
        AffineMatrix2 m(*this);
        detail::invertAffine2(data(), m.data()); // invert() on the copy, reading from *this
        return m;
    }
    /// Inverts in place; false, and unchanged, when !isInvertible().
    bool invert() { return detail::invertAffine2(data(), data()); }
    /// Inverts a rigid transformation (orthonormal linear part, not checked) by transposing.
    constexpr bool invertFast() {
        transpose();
        const double tx = m_[2][0], ty = m_[2][1];
        m_[2][0] = -(tx * m_[0][0] + ty * m_[1][0]);
        m_[2][1] = -(tx * m_[0][1] + ty * m_[1][1]);
        return true;
    }
    /// True when |det2x2()| is at least `epsilonTol`.
    bool isInvertible() const { return std::fabs(det2x2()) >= epsilonTol; }
    /// The determinant of the linear part.
    constexpr double det2x2() const { return m_[0][0] * m_[1][1] - m_[0][1] * m_[1][0]; }
    constexpr Vector2 getTranslate() const { return Vector2(m_[2][0], m_[2][1]); }

    friend constexpr AffineMatrix2 operator*(const AffineMatrix2& a, const AffineMatrix2& b) {
        AffineMatrix2 c;
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 2; ++j) {
                c.m_[i][j] = a.m_[i][0] * b.m_[0][j] + a.m_[i][1] * b.m_[1][j];
            }
        }
        c.m_[2][0] += b.m_[2][0];
        c.m_[2][1] += b.m_[2][1];
        return c;
    }
    friend constexpr bool operator==(const AffineMatrix2& a, const AffineMatrix2& b) {
        for (int i = 0; i < 3; ++i) {
            if (a.m_[i][0] != b.m_[i][0] || a.m_[i][1] != b.m_[i][1]) {
                return false;
            }
        }
        return true;
    }
    friend constexpr bool operator!=(const AffineMatrix2& a, const AffineMatrix2& b) {
        return !(a == b);
    }

private:
    double m_[3][2] = {{1, 0}, {0, 1}, {0, 0}};
};

/// The point transformed: p * linear part + translation.
constexpr Point2 operator*(const Point2& p, const AffineMatrix2& m) {
    return Point2(p.x * m(0, 0) + p.y * m(1, 0) + m(2, 0), p.x * m(0, 1) + p.y * m(1, 1) + m(2, 1));
}
/// The vector transformed by the linear part.
constexpr Vector2 operator*(const Vector2& v, const AffineMatrix2& m) {
    return Vector2(v.x * m(0, 0) + v.y * m(1, 0), v.x * m(0, 1) + v.y * m(1, 1));
}

} // namespace kyLinear

#endif // KY_LINEAR_AFFINEMATRIX2_H
