// LinearTestUtil.h - seeded random geometry and closeness checks for the kyLinear tests.
#ifndef KY_TESTS_LINEAR_TESTUTIL_H
#define KY_TESTS_LINEAR_TESTUTIL_H

#include <Base/Linear/kyLinearAffineMatrix.h>
#include <Base/Linear/kyLinearProjMatrix.h>
#include <Base/Linear/kyLinearQuaternion.h>
#include <Base/Linear/kyLinearVector.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <utility>

namespace kyLinearTest {

using namespace kyLinear;

/// Random numbers that are the same on every platform: mt19937_64's sequence is fixed by the
/// standard, and the conversion to double is done here, not by a distribution.
class Random {
public:
    explicit Random(std::uint64_t seed) : gen_(seed) {}

    /// Uniform in [lo, hi).
    double uniform(double lo, double hi) {
        return lo + (hi - lo) * (static_cast<double>(gen_() >> 11) * 0x1.0p-53);
    }
    int index(int n) { return static_cast<int>(gen_() % static_cast<std::uint64_t>(n)); }
    Vector vector(double range = 10) {
        return Vector(uniform(-range, range), uniform(-range, range), uniform(-range, range));
    }
    Point point(double range = 10) { return vector(range).asPoint(); }
    Normal normal() {
        for (;;) {
            const Vector v = vector(1);
            if (v.length2() > 0.01) {
                return Normal(v);
            }
        }
    }
    /// An angle in (-pi, pi).
    double angle() { return uniform(-kPi, kPi); }
    /// A matrix with random entries whose linear part has |det| >= minDet.
    AffineMatrix affine(double minDet = 0.05) {
        for (;;) {
            AffineMatrix m;
            for (int i = 0; i < 4; ++i) {
                for (int j = 0; j < 3; ++j) {
                    m(i, j) = uniform(i == 3 ? -10 : -2, i == 3 ? 10 : 2);
                }
            }
            if (std::fabs(m.det3x3()) >= minDet) {
                return m;
            }
        }
    }
    /// A rotation followed by a translation.
    AffineMatrix rigid() {
        AffineMatrix m;
        m.rotate(angle(), normal()).translate(vector());
        return m;
    }
    ProjMatrix projective(double minDet = 0.05) {
        for (;;) {
            ProjMatrix m;
            for (int i = 0; i < 4; ++i) {
                for (int j = 0; j < 4; ++j) {
                    m(i, j) = uniform(-2, 2);
                }
            }
            if (std::fabs(m.det4x4()) >= minDet) {
                return m;
            }
        }
    }
    /// A unit quaternion, uniformly spread.
    Quaternion quaternion() {
        for (;;) {
            Quaternion q(uniform(-1, 1), uniform(-1, 1), uniform(-1, 1), uniform(-1, 1));
            if (q.length2() > 0.01 && q.length2() <= 1) {
                return q.normalize();
            }
        }
    }

private:
    std::mt19937_64 gen_;
};

template <class A, class B>
::testing::AssertionResult near3(const A& a, const B& b, double tol) {
    const double d = std::fabs(double(a[0]) - double(b[0])) +
                     std::fabs(double(a[1]) - double(b[1])) +
                     std::fabs(double(a[2]) - double(b[2]));
    if (d <= tol) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << a << " and " << b << " differ by " << d;
}

/// Largest element difference between two matrices of the same shape.
template <class M>
double maxDiff(const M& a, const M& b, int rows, int cols) {
    double d = 0;
    for (int i = 0; i < rows; ++i) {
        for (int j = 0; j < cols; ++j) {
            d = std::fmax(d, std::fabs(double(a(i, j)) - double(b(i, j))));
        }
    }
    return d;
}

/// The obviously-right model the matrix types are checked against: a plain 4 x 4 array of
/// doubles in the row-vector convention. An affine matrix's missing column is (0, 0, 0, 1); a
/// two-dimensional one keeps its translation in row 3 and leaves z alone.
struct Ref {
    double m[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
    double operator()(int i, int j) const { return m[i][j]; }
};

/// The rows x cols stored elements of any matrix type as a Ref.
template <class M>
Ref toRef(const M& a, int rows, int cols) {
    Ref r;
    for (int i = 0; i < rows; ++i) {
        for (int j = 0; j < cols; ++j) {
            r.m[rows == 3 && i == 2 ? 3 : i][j] = double(a(i, j));
        }
    }
    return r;
}

inline Ref operator*(const Ref& a, const Ref& b) {
    Ref r;
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            r.m[i][j] = 0;
            for (int k = 0; k < 4; ++k) {
                r.m[i][j] += a.m[i][k] * b.m[k][j];
            }
        }
    }
    return r;
}

/// Gauss-Jordan elimination with partial pivoting: the inverse, and the determinant in `det`.
inline Ref refInverse(Ref a, double& det) {
    Ref inv;
    det = 1;
    for (int c = 0; c < 4; ++c) {
        int p = c;
        for (int r = c + 1; r < 4; ++r) {
            p = std::fabs(a.m[r][c]) > std::fabs(a.m[p][c]) ? r : p;
        }
        if (p != c) {
            std::swap(a.m[p], a.m[c]);
            std::swap(inv.m[p], inv.m[c]);
            det = -det;
        }
        const double d = a.m[c][c];
        det *= d;
        for (int j = 0; j < 4; ++j) {
            a.m[c][j] /= d;
            inv.m[c][j] /= d;
        }
        for (int r = 0; r < 4; ++r) {
            const double f = r == c ? 0 : a.m[r][c];
            for (int j = 0; j < 4; ++j) {
                a.m[r][j] -= f * a.m[c][j];
                inv.m[r][j] -= f * inv.m[c][j];
            }
        }
    }
    return inv;
}

} // namespace kyLinearTest

#endif // KY_TESTS_LINEAR_TESTUTIL_H
