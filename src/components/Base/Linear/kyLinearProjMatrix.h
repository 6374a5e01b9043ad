// kyLinearProjMatrix.h - projective transformations: four-by-four matrices.
#ifndef KY_LINEAR_PROJMATRIX_H
#define KY_LINEAR_PROJMATRIX_H

#include <Base/BaseExport.h>
#include <Base/Linear/kyLinearAffineMatrix.h>
#include <Base/Linear/kyLinearHPoint.h>
#include <Base/Linear/kyLinearProjInverse.h>
#include <Base/Linear/kyLinearTolerance.h>
#include <Base/Linear/kyLinearVector.h>

#include <cmath>
#include <iosfwd>
#include <string>
#include <type_traits>

namespace kyLinear {

namespace detail {
// Out-of-line inversions (kyLinearInvert.cpp) of a row-major 4 x 4 matrix from src into dst
// (which may be src). With fast false: false, and dst untouched, when |det4x4| is below the
// tolerance. With fast true: no tolerance test (false only for an exactly zero or non-finite
// determinant), and matrices whose last column is exactly (0, 0, 0, 1) take the affine route.
KY_BASE_API bool invertProj(const double* src, double* dst, bool fast);
KY_BASE_API bool invertProj(const float* src, float* dst, bool fast);
} // namespace detail

/// A projective transformation: four rows of four numbers, points as rows multiplied on the
/// left ((x, y, z, 1) * m), `a * b` applying a first. An affine matrix is the projective one
/// whose last column is (0, 0, 0, 1). `ProjMatrix` holds doubles, `ProjMatrixFlt` floats.
///
/// Plain value of sixteen numbers; the default is the identity; not synchronised. Inversion
/// reports a singular matrix (|det4x4| below `epsilonTol`, `epsilonTolFlt` for floats) by
/// returning false and leaving the matrix unchanged.
template <class T>
class TProjMatrix {
public:
    using value_type = T;

    /// The identity.
    constexpr TProjMatrix() : m_{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}} {}
    /// The sixteen values row by row.
    constexpr TProjMatrix(T m00, T m01, T m02, T m03, T m10, T m11, T m12, T m13, T m20, T m21,
                          T m22, T m23, T m30, T m31, T m32, T m33)
        : m_{{m00, m01, m02, m03},
             {m10, m11, m12, m13},
             {m20, m21, m22, m23},
             {m30, m31, m32, m33}} {}
    /// The affine matrix with last column (0, 0, 0, 1).
    constexpr explicit TProjMatrix(const TAffineMatrix<T>& a) : m_{} {
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 3; ++j) {
                m_[i][j] = a(i, j);
            }
            m_[i][3] = i == 3 ? T(1) : T(0);
        }
    }
    /// Converts between float and double matrices.
    template <class U>
    constexpr explicit TProjMatrix(const TProjMatrix<U>& m) : m_{} {
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 4; ++j) {
                m_[i][j] = static_cast<T>(m(i, j));
            }
        }
    }

    /// Element (row, column), both 0 to 3 (not checked).
    constexpr T& operator()(int row, int col) { return m_[row][col]; }
    constexpr T operator()(int row, int col) const { return m_[row][col]; }
    constexpr T* operator[](int row) { return m_[row]; }
    constexpr const T* operator[](int row) const { return m_[row]; }
    /// The sixteen values, row by row.
    constexpr T* data() { return &m_[0][0]; }
    constexpr const T* data() const { return &m_[0][0]; }

    constexpr TProjMatrix& identity() { return *this = TProjMatrix(); }
    constexpr TProjMatrix& zero() {
        for (auto& row : m_) {
            row[0] = row[1] = row[2] = row[3] = 0;
        }
        return *this;
    }
    /// The first three columns as an affine matrix (the last column is dropped).
    constexpr TAffineMatrix<T> getAffine() const {
        return TAffineMatrix<T>(m_[0][0], m_[0][1], m_[0][2], m_[1][0], m_[1][1], m_[1][2],
                                m_[2][0], m_[2][1], m_[2][2], m_[3][0], m_[3][1], m_[3][2]);
    }

    /// The determinant of the upper-left 3 x 3 part.
    constexpr T det3x3() const {
        return m_[0][0] * (m_[1][1] * m_[2][2] - m_[1][2] * m_[2][1]) +
               m_[0][1] * (m_[1][2] * m_[2][0] - m_[1][0] * m_[2][2]) +
               m_[0][2] * (m_[1][0] * m_[2][1] - m_[1][1] * m_[2][0]);
    }
    /// The determinant of the matrix.
    constexpr T det4x4() const {
        const T(&a)[4][4] = m_;
        const T s0 = a[0][0] * a[1][1] - a[1][0] * a[0][1];
        const T s1 = a[0][0] * a[1][2] - a[1][0] * a[0][2];
        const T s2 = a[0][0] * a[1][3] - a[1][0] * a[0][3];
        const T s3 = a[0][1] * a[1][2] - a[1][1] * a[0][2];
        const T s4 = a[0][1] * a[1][3] - a[1][1] * a[0][3];
        const T s5 = a[0][2] * a[1][3] - a[1][2] * a[0][3];
        const T c5 = a[2][2] * a[3][3] - a[3][2] * a[2][3];
        const T c4 = a[2][1] * a[3][3] - a[3][1] * a[2][3];
        const T c3 = a[2][1] * a[3][2] - a[3][1] * a[2][2];
        const T c2 = a[2][0] * a[3][3] - a[3][0] * a[2][3];
        const T c1 = a[2][0] * a[3][2] - a[3][0] * a[2][2];
        const T c0 = a[2][0] * a[3][1] - a[3][0] * a[2][1];
        return s0 * c5 - s1 * c4 + s2 * c3 + s3 * c2 - s4 * c1 + s5 * c0;
    }
    /// A copy on which invert() was called (an unchanged copy when not invertible).
    TProjMatrix inverse() const {
        // The same as invert() on a copy; the result is written once instead of copied and
        // overwritten (128 bytes, which shows in loops of inversions).
        TProjMatrix m{NoInit()};
        if (!invertTo(m.data())) {
            m = *this;
        }
        return m;
    }
    /// Inverts in place. False, and the matrix unchanged, when !isInvertible().
    KY_LINEAR_ALWAYS_INLINE bool invert() { return invertTo(data()); }
    /// Inverts in place without the tolerance test, for matrices known to be invertible: false
    /// (and unchanged) only when the determinant is exactly zero or not finite, so nearly
    /// singular matrices give large values. Affine matrices (last column exactly 0, 0, 0, 1)
    /// take a cheaper route.
    bool invertFast() { return detail::invertProj(data(), data(), true); }
    /// True when the last column is (0, 0, 0, 1) within `epsilonTol` (`epsilonTolFlt`).
    bool isAffine() const {
        const T eps = detail::Tolerance<T>::epsilon();
        return std::fabs(m_[0][3]) <= eps && std::fabs(m_[1][3]) <= eps &&
               std::fabs(m_[2][3]) <= eps && std::fabs(m_[3][3] - 1) <= eps;
    }
    /// True when |det4x4()| is at least `epsilonTol` (`epsilonTolFlt` for floats).
    bool isInvertible() const { return std::fabs(det4x4()) >= detail::Tolerance<T>::epsilon(); }
    /// Makes this b * this: b is applied first.
    constexpr TProjMatrix& preMult(const TProjMatrix& b) { return *this = b * *this; }
    constexpr TProjMatrix& operator*=(const TProjMatrix& b) { return *this = *this * b; }
    /// Transposes the whole matrix.
    constexpr TProjMatrix& transpose() {
        for (int i = 0; i < 4; ++i) {
            for (int j = i + 1; j < 4; ++j) {
                const T t = m_[i][j];
                m_[i][j] = m_[j][i];
                m_[j][i] = t;
            }
        }
        return *this;
    }

    friend constexpr TProjMatrix operator*(const TProjMatrix& a, const TProjMatrix& b) {
        TProjMatrix c;
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 4; ++j) {
                c.m_[i][j] = a.m_[i][0] * b.m_[0][j] + a.m_[i][1] * b.m_[1][j] +
                             a.m_[i][2] * b.m_[2][j] + a.m_[i][3] * b.m_[3][j];
            }
        }
        return c;
    }
    friend constexpr bool operator==(const TProjMatrix& a, const TProjMatrix& b) {
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 4; ++j) {
                if (a.m_[i][j] != b.m_[i][j]) {
                    return false;
                }
            }
        }
        return true;
    }
    friend constexpr bool operator!=(const TProjMatrix& a, const TProjMatrix& b) {
        return !(a == b);
    }

private:
    KY_LINEAR_ALWAYS_INLINE bool invertTo(T* dst) const {
#if KY_LINEAR_INLINE_INVERSE
        if constexpr (std::is_same_v<T, double>) {
            return detail::invertProj4<true>(data(), dst);
        }
#endif
        return detail::invertProj(data(), dst, false);
    }

    struct NoInit {};
    // Leaves the elements unset, for a result that is written at once.
    explicit TProjMatrix(NoInit) {}

    T m_[4][4];
};

using ProjMatrix = TProjMatrix<double>;
using ProjMatrixFlt = TProjMatrix<float>;

/// The point p transformed and projected: (x, y, z, 1) * m divided by its w. No test for
/// w = 0: points mapped to infinity get infinite or NaN components.
template <class T>
TPoint<T> operator*(const TPoint<T>& p, const TProjMatrix<T>& m) {
    const T x = p.x * m(0, 0) + p.y * m(1, 0) + p.z * m(2, 0) + m(3, 0);
    const T y = p.x * m(0, 1) + p.y * m(1, 1) + p.z * m(2, 1) + m(3, 1);
    const T z = p.x * m(0, 2) + p.y * m(1, 2) + p.z * m(2, 2) + m(3, 2);
    const T w = p.x * m(0, 3) + p.y * m(1, 3) + p.z * m(2, 3) + m(3, 3);
    const T inv = T(1) / w;
    return TPoint<T>(x * inv, y * inv, z * inv);
}
/// The homogeneous point h transformed: (x, y, z, w) * m.
inline HPoint operator*(const HPoint& h, const ProjMatrix& m) {
    HPoint r;
    for (int j = 0; j < 4; ++j) {
        r[j] = h.x * m(0, j) + h.y * m(1, j) + h.z * m(2, j) + h.w * m(3, j);
    }
    return r;
}
template <class T>
TPoint<T>& operator*=(TPoint<T>& p, const TProjMatrix<T>& m) {
    return p = p * m;
}

/// "ProjMatrix(", a line break, four lines of four values joined by "," each ended by a line
/// break, then ")"; "ProjMatrixFlt(" likewise. Values use the stream's formatting.
KY_BASE_API std::ostream& operator<<(std::ostream& os, const ProjMatrix& m);
KY_BASE_API std::ostream& operator<<(std::ostream& os, const ProjMatrixFlt& m);
KY_BASE_API std::string toString(const ProjMatrix& m);
KY_BASE_API std::string toString(const ProjMatrixFlt& m);

} // namespace kyLinear

#endif // KY_LINEAR_PROJMATRIX_H
