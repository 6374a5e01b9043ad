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

} // namespace

// The tolerance rule of invert() is in MatrixTest.cpp with the other types'.
TEST(LinearProjMatrix, InvertFastSkipsOnlyTheTolerance) {
    Random rnd(51);
    for (int i = 0; i < 1000; ++i) {
        const ProjMatrix m = rnd.projective(1e-3);
        ProjMatrix fast = m;
        EXPECT_TRUE(fast.invertFast());
        EXPECT_LE(maxDiff(fast, m.inverse(), 4, 4), 0.0); // the same formula without the test
    }
    ProjMatrix m;
    m(2, 2) = 1e-13;
    m(0, 3) = 0.5; // not affine
    ASSERT_FALSE(m.isInvertible());
    EXPECT_EQ(maxDiff(m.inverse(), m, 4, 4), 0.0); // refused: an unchanged copy
    ProjMatrix fast = m;
    EXPECT_TRUE(fast.invertFast());
    EXPECT_LE(maxDiff(fast * m, ProjMatrix(), 4, 4), 1e-3);
    // An exactly singular or non-finite matrix is refused even so.
    ProjMatrix zero;
    zero.zero();
    EXPECT_FALSE(zero.invertFast());
    ProjMatrix nan;
    nan(1, 2) = std::nan("");
    EXPECT_FALSE(nan.invertFast()); // the affine route
    nan(0, 3) = 0.5;
    EXPECT_FALSE(nan.invertFast()); // and the 4 x 4 one
}

TEST(LinearProjMatrix, AffineMatricesAndTheAffineRoute) {
    Random rnd(53);
    for (int i = 0; i < 1000; ++i) {
        const AffineMatrix a = rnd.affine(1e-2);
        const ProjMatrix p(a);
        EXPECT_TRUE(p.isAffine());
        EXPECT_EQ(p.getAffine(), a);
        EXPECT_EQ(p.det3x3(), a.det3x3());
        ProjMatrix fast = p;
        EXPECT_TRUE(fast.invertFast()); // through the 3 x 3 route
        EXPECT_LE(maxDiff(fast.getAffine(), a.inverse(), 4, 3), 0.0);
        EXPECT_EQ(fast(0, 3), 0);
        EXPECT_EQ(fast(3, 3), 1);
    }
    EXPECT_FALSE(perspective().isAffine());
    ProjMatrix almost;
    almost(0, 3) = 1e-13;
    EXPECT_TRUE(almost.isAffine());
    almost(3, 3) = 1 + 1e-11;
    EXPECT_FALSE(almost.isAffine());
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

TEST(LinearHPoint, HomogeneousAndRationalPoints) {
    const HPoint h(2, 4, 6, 2);
    EXPECT_EQ(h.project(), Point(1, 2, 3));
    EXPECT_EQ(HPoint(Point(1, 2, 3)), HPoint(1, 2, 3, 1));
    EXPECT_TRUE(HPoint(2, 2, 2, 2).insideView()); // on the boundary
    EXPECT_FALSE(HPoint(0, 0, 0, -1).insideView());
    EXPECT_FALSE(HPoint(0, 0, 0, 0).insideView());
    EXPECT_FALSE(HPoint(1.5, 0, 0, 1).insideView());
    EXPECT_FALSE(std::isfinite(HPoint(1, 0, 0, 0).project().x)); // a direction
    HPoint m;
    m.set(1, 2, 3, 4);
    m[3] = 5;
    EXPECT_EQ(m, HPoint(1, 2, 3, 5));

    const RPoint r(Point(1, 2, 3), 2);
    EXPECT_TRUE(r.point() == Point(1, 2, 3) && r.weight() == 2);
    EXPECT_EQ(r.homogeneous(), HPoint(2, 4, 6, 2));
    EXPECT_EQ(RPoint(r.homogeneous()), r);
    EXPECT_EQ(RPoint(), RPoint(0, 0, 0, 1));
}
