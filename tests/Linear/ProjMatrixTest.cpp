// ProjMatrixTest.cpp - projective matrices and homogeneous and rational points.
#include "LinearTestUtil.h"

#include <Base/Linear/kyLinearHPoint.h>
#include <Base/Linear/kyLinearProjMatrix.h>

#include <gtest/gtest.h>

#include <cmath>
#include <type_traits>

using namespace kyLinear;
using kyLinearTest::maxDiff;
using kyLinearTest::near3;
using kyLinearTest::Random;

static_assert(std::is_trivially_copyable_v<ProjMatrix> &&
              sizeof(ProjMatrix) == 16 * sizeof(double));
static_assert(ProjMatrix().det4x4() == 1);

namespace {

// A perspective projection looking down -z (row-vector form), near 1, far 100.
ProjMatrix perspective() {
    const double n = 1, f = 100;
    return ProjMatrix(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -(f + n) / (f - n), -1, 0, 0,
                      -2 * f * n / (f - n), 0);
}

double inverseSize(const ProjMatrix& inv) {
    double size = 1;
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c) {
            size = std::fmax(size, std::fabs(inv(r, c)));
        }
    }
    return size;
}

} // namespace

TEST(LinearProjMatrix, InverseTimesMatrixIsIdentity) {
    Random rnd(51);
    for (int i = 0; i < 5000; ++i) {
        const ProjMatrix m = rnd.projective(1e-3);
        ASSERT_TRUE(m.isInvertible());
        const ProjMatrix inv = m.inverse();
        const double tol = 1e-12 * inverseSize(inv);
        EXPECT_LE(maxDiff(inv * m, ProjMatrix(), 4, 4), tol);
        EXPECT_LE(maxDiff(m * inv, ProjMatrix(), 4, 4), tol);
        ProjMatrix fast = m;
        EXPECT_TRUE(fast.invertFast());
        EXPECT_LE(maxDiff(fast, inv, 4, 4), 0.0); // the same formula without the test
    }
    const ProjMatrix p = perspective();
    EXPECT_LE(maxDiff(p.inverse() * p, ProjMatrix(), 4, 4), 1e-14);
}

TEST(LinearProjMatrix, DoubleAndFloatInversionsAgree) {
    // Doubles take the two-lane block route where the compiler has vector extensions, floats
    // the scalar cofactors: the two must give the same inverse.
    Random rnd(55);
    for (int i = 0; i < 2000; ++i) {
        const ProjMatrix m = rnd.projective(0.2);
        const ProjMatrix viaDouble = m.inverse();
        const ProjMatrix viaFloat(ProjMatrixFlt(m).inverse());
        double size = 1;
        for (int r = 0; r < 4; ++r) {
            for (int c = 0; c < 4; ++c) {
                size = std::fmax(size, std::fabs(viaDouble(r, c)));
            }
        }
        EXPECT_LE(maxDiff(viaDouble, viaFloat, 4, 4), 1e-4 * size * size);
    }
}

TEST(LinearProjMatrix, DeterminantOneEMinus13IsNotInvertible) {
    ProjMatrix m;
    m(2, 2) = 1e-13;
    m(3, 1) = 5;
    m(0, 3) = 0.5; // not affine, and the determinant is still 1e-13
    EXPECT_NEAR(m.det4x4(), 1e-13, 1e-28);
    EXPECT_FALSE(m.isInvertible());
    const ProjMatrix before = m;
    EXPECT_FALSE(m.invert());
    EXPECT_EQ(m, before);
    EXPECT_EQ(m.inverse(), before);
    // invertFast has no tolerance: it inverts anyway.
    ProjMatrix fast = m;
    EXPECT_TRUE(fast.invertFast());
    EXPECT_LE(maxDiff(fast * before, ProjMatrix(), 4, 4), 1e-3);
    // An exactly singular matrix is refused by both.
    ProjMatrix zero;
    zero.zero();
    EXPECT_FALSE(zero.isInvertible());
    EXPECT_FALSE(zero.invert());
    EXPECT_FALSE(zero.invertFast());
    EXPECT_EQ(zero, ProjMatrix().zero());
    ProjMatrix nan;
    nan(1, 2) = std::nan("");
    EXPECT_FALSE(nan.invert());
    EXPECT_FALSE(nan.invertFast());
}

TEST(LinearProjMatrix, AffineMatricesAndTheAffineRoute) {
    Random rnd(53);
    for (int i = 0; i < 1000; ++i) {
        const AffineMatrix a = rnd.affine(1e-2);
        const ProjMatrix p(a);
        EXPECT_TRUE(p.isAffine());
        EXPECT_EQ(p.getAffine(), a);
        EXPECT_NEAR(p.det4x4(), a.det3x3(), 1e-12);
        EXPECT_EQ(p.det3x3(), a.det3x3());
        const Point q = rnd.point();
        EXPECT_TRUE(near3(q * p, q * a, 1e-12));
        ProjMatrix fast = p;
        EXPECT_TRUE(fast.invertFast()); // through the 3 x 3 route
        EXPECT_LE(maxDiff(fast.getAffine(), a.inverse(), 4, 3), 0.0);
        EXPECT_EQ(fast(0, 3), 0);
        EXPECT_EQ(fast(3, 3), 1);
        EXPECT_LE(maxDiff(p.inverse(), fast, 4, 4), 1e-9);
    }
    EXPECT_FALSE(perspective().isAffine());
    ProjMatrix almost;
    almost(0, 3) = 1e-13;
    EXPECT_TRUE(almost.isAffine());
    almost(3, 3) = 1 + 1e-11;
    EXPECT_FALSE(almost.isAffine());
}

TEST(LinearProjMatrix, ProductTransposeAndPreMult) {
    Random rnd(54);
    for (int i = 0; i < 300; ++i) {
        const ProjMatrix a = rnd.projective(), b = rnd.projective();
        const Point q = rnd.point(1);
        const HPoint h(q);
        const HPoint viaProduct = h * (a * b);
        const HPoint stepwise = (h * a) * b;
        for (int k = 0; k < 4; ++k) {
            EXPECT_NEAR(viaProduct[k], stepwise[k], 1e-12);
        }
        ProjMatrix c = b;
        c.preMult(a);
        EXPECT_EQ(c, a * b);
        ProjMatrix d = a;
        d *= b;
        EXPECT_EQ(d, a * b);
        ProjMatrix t = a;
        t.transpose();
        for (int r = 0; r < 4; ++r) {
            for (int col = 0; col < 4; ++col) {
                EXPECT_EQ(t(r, col), a(col, r));
            }
        }
        EXPECT_NEAR(t.det4x4(), a.det4x4(), 1e-12);
        t.transpose();
        EXPECT_EQ(t, a);
    }
}

TEST(LinearProjMatrix, ProjectingPoints) {
    const ProjMatrix p = perspective();
    // A point on the near plane maps to z = -1, one on the far plane to z = 1.
    const Point nearP = Point(0.5, 0.25, -1) * p;
    EXPECT_TRUE(near3(nearP, Point(0.5, 0.25, -1), 1e-14));
    const Point farP = Point(50, 0, -100) * p;
    EXPECT_TRUE(near3(farP, Point(0.5, 0, 1), 1e-13));
    const HPoint h = HPoint(Point(0.5, 0.25, -2)) * p;
    EXPECT_TRUE(h.insideView());
    EXPECT_TRUE(near3(h.project(), Point(0.5, 0.25, -2) * p, 1e-15));
    EXPECT_FALSE((HPoint(Point(5, 0, -2)) * p).insideView());   // off to the side
    EXPECT_FALSE((HPoint(Point(0, 0, -0.5)) * p).insideView()); // before the near plane
    EXPECT_FALSE((HPoint(Point(0, 0, 1)) * p).insideView());    // behind the eye
    Point q(0.5, 0.25, -1);
    q *= p;
    EXPECT_TRUE(near3(q, nearP, 0));
    // A point mapped to w = 0 goes to infinity rather than failing.
    const Point inf = Point(1, 0, 0) * perspective();
    EXPECT_FALSE(std::isfinite(inf.x));
}

TEST(LinearProjMatrix, ElementAccessAndConversions) {
    ProjMatrix m(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16);
    EXPECT_EQ(m(2, 3), 12);
    EXPECT_EQ(m[3][0], 13);
    EXPECT_EQ(m.data()[5], 6);
    EXPECT_EQ(m.det4x4(), 0);
    EXPECT_FALSE(m.isInvertible());
    const ProjMatrixFlt f(m);
    EXPECT_EQ(f(3, 3), 16.0f);
    EXPECT_EQ(ProjMatrix(f), m);
    m.identity();
    EXPECT_EQ(m, ProjMatrix());
}

TEST(LinearHPoint, HomogeneousAndRationalPoints) {
    const HPoint h(2, 4, 6, 2);
    EXPECT_EQ(h.project(), Point(1, 2, 3));
    EXPECT_EQ(HPoint(Point(1, 2, 3)), HPoint(1, 2, 3, 1));
    EXPECT_TRUE(HPoint(0.5, -0.5, 1, 1).insideView());
    EXPECT_TRUE(HPoint(2, 2, 2, 2).insideView()); // on the boundary
    EXPECT_FALSE(HPoint(0, 0, 0, -1).insideView());
    EXPECT_FALSE(HPoint(0, 0, 0, 0).insideView());
    EXPECT_FALSE(HPoint(1.5, 0, 0, 1).insideView());
    EXPECT_FALSE(std::isfinite(HPoint(1, 0, 0, 0).project().x)); // a direction
    HPoint m;
    EXPECT_EQ(m, HPoint(0, 0, 0, 1));
    m.set(1, 2, 3, 4);
    m[3] = 5;
    EXPECT_EQ(m.w, 5);

    const RPoint r(Point(1, 2, 3), 2);
    EXPECT_EQ(r.point(), Point(1, 2, 3));
    EXPECT_EQ(r.weight(), 2);
    EXPECT_EQ(r.homogeneous(), HPoint(2, 4, 6, 2));
    EXPECT_EQ(RPoint(r.homogeneous()), r);
    EXPECT_EQ(RPoint(), RPoint(0, 0, 0, 1));
}
