// AffineMatrixTest.cpp - affine matrices: the row-vector convention, building, inversion,
// frames and normal transforms; and the two-dimensional AffineMatrix2.
#include "LinearTestUtil.h"

#include <Base/Linear/kyLinearAffineMatrix.h>
#include <Base/Linear/kyLinearAffineMatrix2.h>

#include <gtest/gtest.h>

#include <cmath>
#include <type_traits>

using namespace kyLinear;
using kyLinearTest::maxDiff;
using kyLinearTest::near3;
using kyLinearTest::Random;

static_assert(std::is_trivially_copyable_v<AffineMatrix>);
static_assert(sizeof(AffineMatrix) == 12 * sizeof(double));
static_assert(sizeof(AffineMatrixFlt) == 12 * sizeof(float));
static_assert(AffineMatrix() == AffineMatrix(1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0));
static_assert(Point(1, 2, 3) * AffineMatrix().translate(Vector(1, 1, 1)) == Point(2, 3, 4));
static_assert(AffineMatrix().scale(2.0).det3x3() == 8);

TEST(LinearAffineMatrix, RowVectorConventionAndTranslationRow) {
    // Rows 0-2 are the images of the axes, row 3 the translation.
    const AffineMatrix m(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12);
    EXPECT_EQ(Point(0, 0, 0) * m, Point(10, 11, 12));
    for (int k = 0; k < 3; ++k) {
        EXPECT_EQ(Point(k == 0, k == 1, k == 2) * m, Point(11 + 3 * k, 13 + 3 * k, 15 + 3 * k));
    }
    EXPECT_EQ(Point(1, 1, 1) * m, Point(1 + 4 + 7 + 10, 2 + 5 + 8 + 11, 3 + 6 + 9 + 12));
    // Vectors ignore the translation.
    EXPECT_EQ(Vector(1, 0, 0) * m, Vector(1, 2, 3));
    EXPECT_EQ(Vector(0, 0, 2) * m, Vector(14, 16, 18));
    EXPECT_EQ(m.getTranslate(), Vector(10, 11, 12));
    EXPECT_EQ(m[1][2], 6);
    EXPECT_EQ(m(3, 0), 10);
    EXPECT_EQ(m.data()[4], 5);
    Point p(1, 0, 0);
    p *= m;
    EXPECT_EQ(p, Point(11, 13, 15));
    Vector v(1, 0, 0);
    v *= m;
    EXPECT_EQ(v, Vector(1, 2, 3));
}

TEST(LinearAffineMatrix, ProductAppliesLeftOperandFirst) {
    Random rnd(31);
    for (int i = 0; i < 500; ++i) {
        const AffineMatrix a = rnd.affine(), b = rnd.affine();
        const Point p = rnd.point();
        EXPECT_TRUE(near3(p * (a * b), (p * a) * b, 1e-11));
        AffineMatrix c = a;
        c *= b;
        EXPECT_LE(maxDiff(c, a * b, 4, 3), 0.0);
        AffineMatrix d = a;
        d.preMult(b);
        EXPECT_LE(maxDiff(d, b * a, 4, 3), 0.0);
    }
}

TEST(LinearAffineMatrix, BuildingOperationsAppendSteps) {
    AffineMatrix m;
    m.rotateZ(kPi / 2).translate(Vector(10, 0, 0));
    EXPECT_TRUE(near3(Point(1, 0, 0) * m, Point(10, 1, 0), 1e-15));
    AffineMatrix n;
    n.translate(Vector(10, 0, 0)).rotateZ(kPi / 2);
    EXPECT_TRUE(near3(Point(1, 0, 0) * n, Point(0, 11, 0), 1e-14));
    AffineMatrix s;
    s.scale(Vector(2, 3, 4)).translate(Vector(1, 1, 1)).scale(2);
    EXPECT_EQ(Point(1, 1, 1) * s, Point(6, 8, 10));
}

TEST(LinearAffineMatrix, AxisRotationsAreRightHanded) {
    const double q = kPi / 2;
    EXPECT_TRUE(near3(Point(1, 0, 0) * AffineMatrix().rotateZ(q), Point(0, 1, 0), 1e-15));
    EXPECT_TRUE(near3(Point(0, 1, 0) * AffineMatrix().rotateX(q), Point(0, 0, 1), 1e-15));
    EXPECT_TRUE(near3(Point(0, 0, 1) * AffineMatrix().rotateY(q), Point(1, 0, 0), 1e-15));
    Random rnd(32);
    for (int i = 0; i < 200; ++i) {
        const double a = rnd.angle();
        const AffineMatrix base = rnd.affine();
        const AffineMatrix byAxis[] = {AffineMatrix(base).rotateX(a), AffineMatrix(base).rotateY(a),
                                       AffineMatrix(base).rotateZ(a)};
        for (int k = 0; k < 3; ++k) {
            const Normal axis(k == 0, k == 1, k == 2);
            EXPECT_LE(maxDiff(byAxis[k], AffineMatrix(base).rotate(a, axis), 4, 3), 1e-14);
        }
    }
}

TEST(LinearAffineMatrix, RotationAboutAnAxisKeepsTheAxisAndLengths) {
    Random rnd(33);
    for (int i = 0; i < 500; ++i) {
        const Normal axis = rnd.normal();
        const double angle = rnd.angle();
        AffineMatrix r;
        r.rotate(angle, axis);
        EXPECT_TRUE(near3(axis.asVector() * r, axis.asVector(), 1e-14));
        EXPECT_NEAR(r.det3x3(), 1.0, 1e-14);
        const Vector v = rnd.vector();
        const Vector w = v * r;
        EXPECT_NEAR(w.length(), v.length(), 1e-13);
        // The angle between the parts of v and w perpendicular to the axis is the rotation
        // angle, counter-clockwise about the axis.
        const Vector vp = v - axis * dot(axis, v), wp = w - axis * dot(axis, w);
        const double measured = std::atan2(dot(axis, cross(vp, wp)), dot(vp, wp));
        EXPECT_NEAR(measured, angle, 1e-10);
    }
    // Degenerate arguments append nothing.
    for (const AffineMatrix& m :
         {AffineMatrix().rotate(1.0, Normal()),
          AffineMatrix().rotate(1.0, Line(Point(1, 2, 3), Normal())),
          AffineMatrix().rotate(Normal(0, 1, 0), Normal(0, 2, 0)),
          AffineMatrix().rotate(Normal(), Normal(1, 0, 0)), AffineMatrix().mirror(Plane()),
          AffineMatrix().scale(3).vectorMatrix(Vector())}) {
        EXPECT_EQ(m, AffineMatrix());
    }
}

TEST(LinearAffineMatrix, RotationAboutALine) {
    const Line line(Point(1, 1, 0), Normal(0, 0, 1));
    AffineMatrix m;
    m.rotate(kPi / 2, line);
    EXPECT_TRUE(near3(Point(2, 1, 0) * m, Point(1, 2, 0), 1e-15));
    EXPECT_TRUE(near3(Point(1, 1, 5) * m, Point(1, 1, 5), 1e-15));
}

TEST(LinearAffineMatrix, RotationTakingOneNormalOntoAnother) {
    Random rnd(34);
    for (int i = 0; i < 500; ++i) {
        const Normal from = rnd.normal(), to = rnd.normal();
        AffineMatrix m;
        m.rotate(from, to);
        EXPECT_TRUE(near3(from.asVector() * m, to.asVector(), 1e-13));
        EXPECT_NEAR(m.det3x3(), 1.0, 1e-13);
    }
    // Opposite directions: a half turn.
    AffineMatrix m;
    m.rotate(Normal(1, 1, 1), Normal(-1, -1, -1));
    EXPECT_TRUE(near3(Vector(1, 1, 1) * m, Vector(-1, -1, -1), 1e-14));
    EXPECT_NEAR(m.det3x3(), 1.0, 1e-14);
}

TEST(LinearAffineMatrix, MirrorReflectsThroughThePlane) {
    const Plane plane(Point(0, 0, 2), Normal(0, 0, 1));
    AffineMatrix m;
    m.mirror(plane);
    EXPECT_TRUE(near3(Point(1, 2, 3) * m, Point(1, 2, 1), 1e-15));
    EXPECT_NEAR(m.det3x3(), -1.0, 1e-15);
    Random rnd(35);
    for (int i = 0; i < 200; ++i) {
        const Plane p(rnd.point(), rnd.normal());
        AffineMatrix r;
        r.mirror(p);
        const Point q = rnd.point();
        const Point image = q * r;
        EXPECT_NEAR(p.eval(image), -p.eval(q), 1e-12);
        EXPECT_TRUE(near3(image * r, q, 1e-12)); // a reflection is its own inverse
    }
}

TEST(LinearAffineMatrix, InverseTimesMatrixIsIdentity) {
    Random rnd(36);
    for (int i = 0; i < 5000; ++i) {
        const AffineMatrix m = rnd.affine(1e-3);
        ASSERT_TRUE(m.isInvertible());
        const AffineMatrix inv = m.inverse();
        // Relative to the size of the inverse, which grows as the determinant shrinks.
        double size = 1;
        for (int r = 0; r < 4; ++r) {
            for (int c = 0; c < 3; ++c) {
                size = std::fmax(size, std::fabs(inv(r, c)));
            }
        }
        EXPECT_LE(maxDiff(inv * m, AffineMatrix(), 4, 3), 1e-13 * size * 10);
        EXPECT_LE(maxDiff(m * inv, AffineMatrix(), 4, 3), 1e-13 * size * 10);
        AffineMatrix copy = m;
        EXPECT_TRUE(copy.invert());
        EXPECT_EQ(copy, inv);
    }
}

TEST(LinearAffineMatrix, FloatInverse) {
    Random rnd(37);
    for (int i = 0; i < 2000; ++i) {
        const AffineMatrixFlt m(rnd.affine(0.1));
        ASSERT_TRUE(m.isInvertible());
        EXPECT_LE(maxDiff(m.inverse() * m, AffineMatrixFlt(), 4, 3), 2e-4);
    }
    AffineMatrixFlt tiny;
    tiny.scale(VectorFlt(1e-7f, 1, 1)); // det 1e-7 < epsilonTolFlt
    EXPECT_FALSE(tiny.isInvertible());
    EXPECT_FALSE(tiny.invert());
}

TEST(LinearAffineMatrix, DeterminantOneEMinus13IsNotInvertible) {
    AffineMatrix m;
    m.scale(Vector(1e-13, 1, 1)).translate(Vector(1, 2, 3));
    EXPECT_DOUBLE_EQ(m.det3x3(), 1e-13);
    EXPECT_FALSE(m.isInvertible());
    const AffineMatrix before = m;
    EXPECT_FALSE(m.invert());
    EXPECT_EQ(m, before); // unchanged
    EXPECT_EQ(m.inverse(), before);

    // The same with a random rotation around it, so the small determinant is not on the
    // diagonal.
    Random rnd(38);
    for (int i = 0; i < 200; ++i) {
        AffineMatrix r = rnd.rigid();
        const double s = std::cbrt(1e-13);
        r.scale(s);
        EXPECT_NEAR(r.det3x3(), 1e-13, 1e-26);
        EXPECT_FALSE(r.isInvertible());
        AffineMatrix at;
        at.scale(std::cbrt(1e-12) * 1.0001).rotate(rnd.angle(), rnd.normal());
        EXPECT_TRUE(at.isInvertible()) << at.det3x3();
    }
    // The boundary: |det| >= epsilonTol is invertible.
    EXPECT_TRUE(AffineMatrix().scale(Vector(1e-12, 1, 1)).isInvertible());
    EXPECT_TRUE(AffineMatrix().scale(Vector(-1e-12, 1, 1)).isInvertible());
    EXPECT_FALSE(AffineMatrix().zero().isInvertible());
    AffineMatrix zero;
    zero.zero();
    EXPECT_FALSE(zero.invert());
}

TEST(LinearAffineMatrix, NonFiniteMatricesAreNotInvertible) {
    AffineMatrix m;
    m(0, 0) = std::nan("");
    EXPECT_FALSE(m.isInvertible());
    EXPECT_FALSE(m.invert());
    AffineMatrix inf;
    inf(1, 1) = HUGE_VAL;
    inf(2, 2) = 0;
    EXPECT_FALSE(inf.invert());
}

TEST(LinearAffineMatrix, InvertFastInvertsRigidTransformations) {
    Random rnd(39);
    for (int i = 0; i < 1000; ++i) {
        AffineMatrix m = rnd.rigid();
        if (i % 2) {
            m.mirror(Plane(rnd.point(), rnd.normal()));
        }
        AffineMatrix fast = m;
        EXPECT_TRUE(fast.invertFast());
        EXPECT_LE(maxDiff(fast, m.inverse(), 4, 3), 1e-12);
    }
}

TEST(LinearAffineMatrix, TransposeKeepsTheTranslation) {
    AffineMatrix m(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12);
    m.transpose();
    EXPECT_EQ(m, AffineMatrix(1, 4, 7, 2, 5, 8, 3, 6, 9, 10, 11, 12));
}

TEST(LinearAffineMatrix, FramesRoundTrip) {
    Random rnd(40);
    const AffineMatrix m = rnd.affine();
    Point o;
    Vector x, y, z;
    m.getFrame(o, x, y, z);
    EXPECT_EQ(o, Point(m(3, 0), m(3, 1), m(3, 2)));
    EXPECT_EQ(x, Vector(1, 0, 0) * m);
    EXPECT_EQ(y, Vector(0, 1, 0) * m);
    EXPECT_EQ(z, Vector(0, 0, 1) * m);
    AffineMatrix n;
    n.setFrame(o, x, y, z);
    EXPECT_EQ(n, m);
    AffineMatrix t;
    t.setTranslate(Vector(1, 2, 3));
    EXPECT_EQ(Point() * t, Point(1, 2, 3));
}

TEST(LinearAffineMatrix, NormalTransformKeepsNormalsPerpendicularToTangents) {
    Random rnd(41);
    for (int i = 0; i < 5000; ++i) {
        AffineMatrix m = rnd.affine(1e-2);
        if (i % 3 == 0) {
            m.scale(Vector(rnd.uniform(0.1, 10), rnd.uniform(-10, -0.1), rnd.uniform(0.1, 10)));
        }
        const Normal n = rnd.normal();
        Vector t = n.asVector().orthogonalVector();
        // Any tangent: a random combination of two directions perpendicular to n.
        t = t * rnd.uniform(-1, 1) + cross(n, t) * rnd.uniform(-1, 1);
        const Vector tm = t * m;
        const Normal nm = n * m.normalMatrix();
        ASSERT_TRUE(nm.isValid());
        EXPECT_LE(std::fabs(dot(nm, tm)), 1e-12 * (1 + tm.length())) << i;
        Normal in = n;
        in *= m.normalMatrix();
        EXPECT_EQ(in, nm);
    }
}

TEST(LinearAffineMatrix, NormalMatrixOfRotationIsTheRotationAndKeepsOrientation) {
    Random rnd(42);
    AffineMatrix r;
    r.rotate(rnd.angle(), rnd.normal()).translate(Vector(5, 6, 7));
    const AffineMatrix n = r.normalMatrix();
    EXPECT_EQ(n.getTranslate(), Vector());
    AffineMatrix linear = r;
    linear.setTranslate(Vector());
    EXPECT_LE(maxDiff(n, linear, 4, 3), 1e-15);
    // A mirror keeps outward normals outward: the plane's own normal flips with it.
    AffineMatrix mirror;
    mirror.mirror(Plane(Point(), Normal(0, 0, 1)));
    EXPECT_TRUE(
        near3((Normal(0, 0, 1) * mirror.normalMatrix()).asVector(), Vector(0, 0, -1), 1e-15));
    // A singular (flattening) matrix still gives a usable normal matrix.
    AffineMatrix flat;
    flat.scale(Vector(1, 1, 0));
    EXPECT_TRUE(near3((Normal(0, 0, 1) * flat.normalMatrix()).asVector(), Vector(0, 0, 1), 0));
}

TEST(LinearAffineMatrix, OuterProductCrossAndVectorMatrices) {
    Random rnd(43);
    for (int i = 0; i < 200; ++i) {
        const Vector a = rnd.vector(), b = rnd.vector(), u = rnd.vector();
        AffineMatrix outer;
        outer.translate(Vector(1, 1, 1)).outerProduct(a, b);
        EXPECT_TRUE(near3(u * outer, b * dot(u, a), 1e-11));
        EXPECT_EQ(outer.getTranslate(), Vector());
        AffineMatrix cm;
        cm.crossMatrix(a);
        EXPECT_TRUE(near3(u * cm, cross(u, a), 1e-12));
        AffineMatrix vm;
        vm.vectorMatrix(a);
        EXPECT_TRUE(near3(Vector(0, 0, 1) * vm, Normal(a).asVector(), 1e-14));
        EXPECT_NEAR(vm.det3x3(), 1.0, 1e-14);
        EXPECT_TRUE(near3(Vector(1, 0, 0) * vm, Normal(a.orthogonalVector()).asVector(), 1e-14));
    }
}

TEST(LinearAffineMatrix, IdentityZeroAndConversions) {
    AffineMatrix m(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12);
    EXPECT_EQ(m.det4x4(), m.det3x3());
    m.zero();
    EXPECT_EQ(m, AffineMatrix(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0));
    m.identity();
    EXPECT_EQ(m, AffineMatrix());
    const AffineMatrixFlt f(AffineMatrix(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12.5));
    EXPECT_EQ(f(3, 2), 12.5f);
    EXPECT_EQ(AffineMatrix(f)(3, 2), 12.5);
    EXPECT_EQ(PointFlt(1, 0, 0) * f, PointFlt(11, 13, 15.5f));
    EXPECT_EQ(VectorFlt(1, 0, 0) * f, VectorFlt(1, 2, 3));
}

TEST(LinearAffineMatrix2, BuildingInversionAndConvention) {
    AffineMatrix2 m;
    m.rotate(kPi / 2).translate(Vector2(10, 0));
    const Point2 p = Point2(1, 0) * m;
    EXPECT_NEAR(p.x, 10, 1e-15);
    EXPECT_NEAR(p.y, 1, 1e-15);
    EXPECT_EQ(Vector2(1, 0) * AffineMatrix2(1, 2, 3, 4, 5, 6), Vector2(1, 2));
    EXPECT_EQ(Point2(0, 0) * AffineMatrix2(1, 2, 3, 4, 5, 6), Point2(5, 6));
    EXPECT_EQ(AffineMatrix2(1, 2, 3, 4, 5, 6).getTranslate(), Vector2(5, 6));
    EXPECT_EQ(AffineMatrix2(1, 2, 3, 4, 5, 6).det2x2(), -2);

    Random rnd(44);
    for (int i = 0; i < 2000; ++i) {
        AffineMatrix2 a(rnd.uniform(-2, 2), rnd.uniform(-2, 2), rnd.uniform(-2, 2),
                        rnd.uniform(-2, 2), rnd.uniform(-9, 9), rnd.uniform(-9, 9));
        if (std::fabs(a.det2x2()) < 0.05) {
            continue;
        }
        EXPECT_LE(maxDiff(a.inverse() * a, AffineMatrix2(), 3, 2), 1e-12);
        AffineMatrix2 b = a;
        b.preMult(a.inverse());
        EXPECT_LE(maxDiff(b, AffineMatrix2(), 3, 2), 1e-12);
        AffineMatrix2 rigid;
        rigid.rotate(rnd.angle()).translate(Vector2(rnd.uniform(-5, 5), rnd.uniform(-5, 5)));
        AffineMatrix2 fast = rigid;
        EXPECT_TRUE(fast.invertFast());
        EXPECT_LE(maxDiff(fast, rigid.inverse(), 3, 2), 1e-13);
    }
    AffineMatrix2 singular;
    singular.scale(Vector2(1e-13, 1));
    EXPECT_FALSE(singular.isInvertible());
    const AffineMatrix2 before = singular;
    EXPECT_FALSE(singular.invert());
    EXPECT_EQ(singular, before);
    AffineMatrix2 s;
    s.scale(2).scale(Vector2(1, 3)).transpose();
    EXPECT_EQ(s, AffineMatrix2(2, 0, 0, 6, 0, 0));
    s *= AffineMatrix2(0, 1, 1, 0, 1, 1);
    EXPECT_EQ(s, AffineMatrix2(0, 2, 6, 0, 1, 1));
    s.zero();
    EXPECT_EQ(s, AffineMatrix2(0, 0, 0, 0, 0, 0));
    EXPECT_EQ(s.identity(), AffineMatrix2());
    EXPECT_EQ(s[1][1], 1);
    EXPECT_EQ(s.data()[0], 1);
}
