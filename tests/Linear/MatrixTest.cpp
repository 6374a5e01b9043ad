// MatrixTest.cpp - what the five matrix types share (storage, products, transposition,
// determinants, inversion, transforming points), checked against a plain 4 x 4 reference.
#include "LinearTestUtil.h"

#include <Base/Linear/kyLinearAffineMatrix.h>
#include <Base/Linear/kyLinearAffineMatrix2.h>
#include <Base/Linear/kyLinearProjMatrix.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

using namespace kyLinear;
using kyLinearTest::maxDiff;
using kyLinearTest::Random;
using kyLinearTest::Ref;
using kyLinearTest::toRef;

namespace {

// Per type: its stored shape, determinant, a random well-conditioned draw, a point type, the
// tolerance of its scalar, and a matrix whose determinant is s with other entries around it.
struct Affine {
    using M = AffineMatrix;
    static constexpr int rows = 4, cols = 3, dims = 3;
    static constexpr double tol = 1e-12, eps = 1e-12;
    static double det(const M& m) { return m.det3x3(); }
    static M draw(Random& r) { return r.affine(0.05); }
    static Point point(const Point& p) { return p; }
    static M withDet(double s) { return M().scale(Vector(s, 1, 1)).translate(Vector(1, 2, 3)); }
};
struct AffineFlt {
    using M = AffineMatrixFlt;
    static constexpr int rows = 4, cols = 3, dims = 3;
    static constexpr double tol = 1e-4, eps = 1e-6;
    static double det(const M& m) { return m.det3x3(); }
    static M draw(Random& r) { return M(r.affine(0.1)); }
    static PointFlt point(const Point& p) { return PointFlt(p); }
    static M withDet(double s) { return M(Affine::withDet(s)); }
};
struct Proj {
    using M = ProjMatrix;
    static constexpr int rows = 4, cols = 4, dims = 3;
    static constexpr double tol = 1e-12, eps = 1e-12;
    static double det(const M& m) { return m.det4x4(); }
    static M draw(Random& r) { return r.projective(0.05); }
    static Point point(const Point& p) { return p; }
    static M withDet(double s) { return M(1, 0, 0, 0.5, 0, 1, 0, 0, 0, 0, s, 0, 0, 5, 0, 1); }
};
struct ProjFlt {
    using M = ProjMatrixFlt;
    static constexpr int rows = 4, cols = 4, dims = 3;
    static constexpr double tol = 1e-4, eps = 1e-6;
    static double det(const M& m) { return m.det4x4(); }
    static M draw(Random& r) { return M(r.projective(0.2)); }
    static PointFlt point(const Point& p) { return PointFlt(p); }
    static M withDet(double s) { return M(Proj::withDet(s)); }
};
struct Affine2 {
    using M = AffineMatrix2;
    static constexpr int rows = 3, cols = 2, dims = 2;
    static constexpr double tol = 1e-12, eps = 1e-12;
    static double det(const M& m) { return m.det2x2(); }
    static M draw(Random& r) {
        for (;;) {
            const M m(r.uniform(-2, 2), r.uniform(-2, 2), r.uniform(-2, 2), r.uniform(-2, 2),
                      r.uniform(-9, 9), r.uniform(-9, 9));
            if (std::fabs(m.det2x2()) >= 0.05) {
                return m;
            }
        }
    }
    static Point2 point(const Point& p) { return Point2(p.x, p.y); }
    static M withDet(double s) { return M().scale(Vector2(s, 1)).translate(Vector2(1, 2)); }
};

template <class K>
class LinearMatrix : public ::testing::Test {};
using Kinds = ::testing::Types<Affine, AffineFlt, Proj, ProjFlt, Affine2>;
TYPED_TEST_SUITE(LinearMatrix, Kinds, );

double largest(const Ref& r) {
    double size = 1;
    for (const auto& row : r.m) {
        for (double x : row) {
            size = std::fmax(size, std::fabs(x));
        }
    }
    return size;
}

TYPED_TEST(LinearMatrix, AgreesWithTheReference) {
    using K = TypeParam;
    using M = typename K::M;
    Random rnd(31);
    for (int i = 0; i < 2000; ++i) {
        const M a = K::draw(rnd), b = K::draw(rnd);
        const Ref ra = toRef(a, K::rows, K::cols), rb = toRef(b, K::rows, K::cols);
        // Row-major storage, read three ways.
        for (int k = 0; k < K::rows * K::cols; ++k) {
            ASSERT_EQ(a.data()[k], a[k / K::cols][k % K::cols]);
            ASSERT_EQ(a.data()[k], a(k / K::cols, k % K::cols));
        }
        // a * b applies a first (row vectors); *= and preMult are the same product.
        EXPECT_LE(maxDiff(toRef(a * b, K::rows, K::cols), ra * rb, 4, 4), K::tol * 10);
        M c = a;
        c *= b;
        M d = b;
        d.preMult(a);
        EXPECT_TRUE(c == a * b && d == a * b && !(c != d) && c != a);
        // Transposition swaps the square linear block; an affine translation row stays.
        M t = a;
        t.transpose();
        Ref rt = ra;
        for (int r = 0; r < K::cols; ++r) {
            for (int col = 0; col < K::cols; ++col) {
                rt.m[r][col] = ra.m[col][r];
            }
        }
        EXPECT_LE(maxDiff(toRef(t, K::rows, K::cols), rt, 4, 4), 0.0);
        // Determinant and inverse, relative to the size of the inverse.
        double det;
        const Ref rinv = kyLinearTest::refInverse(ra, det);
        EXPECT_NEAR(K::det(a), det, K::tol * 10 * std::fmax(1, std::fabs(det)));
        ASSERT_TRUE(a.isInvertible());
        const M inv = a.inverse();
        const double size = largest(rinv);
        EXPECT_LE(maxDiff(toRef(inv, K::rows, K::cols), rinv, 4, 4), K::tol * 10 * size * size);
        M copy = a;
        EXPECT_TRUE(copy.invert());
        EXPECT_TRUE(copy == inv);
        // A point: (x, y, z, 1) times the matrix, divided by w.
        const Point q = rnd.point(1);
        const double h[4] = {q.x, q.y, K::dims == 3 ? q.z : 0, 1};
        double image[4] = {};
        for (int col = 0; col < 4; ++col) {
            for (int r = 0; r < 4; ++r) {
                image[col] += h[r] * ra.m[r][col];
            }
        }
        const auto p = K::point(q) * a;
        for (int k = 0; k < K::dims; ++k) {
            const double w = image[3], want = image[k] / w; // w near 0 magnifies rounding
            EXPECT_NEAR(p[k], want, K::tol * 100 * size * (1 + std::fabs(want)) / std::fabs(w));
        }
    }
    // The builders that restore a known state.
    M m = K::draw(rnd);
    EXPECT_EQ(m.identity(), M());
    m.zero();
    EXPECT_TRUE(
        std::all_of(m.data(), m.data() + K::rows * K::cols, [](double x) { return x == 0; }));
}

// Invertible exactly when |det| >= the type's epsilon; a refused matrix is left untouched and
// is what inverse() returns. Non-finite matrices are never invertible.
TYPED_TEST(LinearMatrix, InvertibleFromEpsilonUp) {
    using K = TypeParam;
    using M = typename K::M;
    const double e = K::eps;
    const struct {
        double det;
        bool invertible;
    } cases[] = {{e, true},         {-e, true}, {e * 0.1, false},
                 {-e * 0.1, false}, {0, false}, {std::nan(""), false}};
    for (const auto& c : cases) {
        M m = K::withDet(c.det);
        const M before = m;
        EXPECT_EQ(m.isInvertible(), c.invertible) << c.det;
        EXPECT_EQ(m.invert(), c.invertible) << c.det;
        if (!c.invertible) {
            EXPECT_EQ(std::memcmp(&m, &before, sizeof m), 0) << c.det;
            const M inv = before.inverse();
            EXPECT_EQ(std::memcmp(&inv, &before, sizeof m), 0) << c.det;
        }
    }
}

} // namespace
