// AffineMatrixTest.cpp - affine matrices: the row-vector convention, building, inversion,
// frames and normal transforms; and the two-dimensional AffineMatrix2.
#include "LinearTestUtil.h"

#include <Base/Linear/kyLinearAffineMatrix.h>
#include <Base/Linear/kyLinearAffineMatrix2.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
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

// The products, storage and inversion all five matrix types share are in MatrixTest.cpp.
TEST(LinearAffineMatrix, VectorsIgnoreTheTranslationRowPointsDoNot) {
    const AffineMatrix m(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12);
    EXPECT_EQ(Vector(0, 0, 2) * m, Vector(14, 16, 18));
    EXPECT_EQ(m.getTranslate(), Vector(10, 11, 12));
    Vector v(1, 0, 0);
    Point p(1, 0, 0);
    v *= m;
    p *= m;
    EXPECT_TRUE(v == Vector(1, 2, 3) && p == Point(11, 13, 15));
    EXPECT_EQ(VectorFlt(1, 0, 0) * AffineMatrixFlt(m), VectorFlt(1, 2, 3));
    EXPECT_EQ(AffineMatrix(AffineMatrixFlt(m)), m);
    EXPECT_EQ(m.det4x4(), m.det3x3());
}

namespace {

// v turned by angle about the unit axis k, counter-clockwise when k points at the viewer.
Vector turned(const Vector& v, const Vector& k, double angle) {
    return v * std::cos(angle) + cross(k, v) * std::sin(angle) +
           k * (dot(k, v) * (1 - std::cos(angle)));
}

} // namespace

// Each builder appends its step: q * (B.step) is the step's geometric map applied to q * B.
TEST(LinearAffineMatrix, BuildersAppendTheirGeometricStep) {
    Random rnd(33);
    for (int i = 0; i < 300; ++i) {
        const double a = rnd.angle(), k = rnd.uniform(-3, 3);
        const Vector v = rnd.vector(), n = rnd.normal(), to = rnd.normal();
        const Point c = rnd.point();
        const Vector axis = Normal(cross(n, to));
        const double between = std::atan2(cross(n, to).length(), dot(n, to));
        const struct {
            std::function<void(AffineMatrix&)> step;
            std::function<Point(const Point&)> image;
        } steps[] = {
            {[&](AffineMatrix& m) { m.translate(v); }, [&](const Point& p) { return p + v; }},
            {[&](AffineMatrix& m) { m.scale(v); },
             [&](const Point& p) { return Point(p.x * v.x, p.y * v.y, p.z * v.z); }},
            {[&](AffineMatrix& m) { m.scale(k); },
             [&](const Point& p) { return (p.asVector() * k).asPoint(); }},
            {[&](AffineMatrix& m) { m.rotateX(a); },
             [&](const Point& p) { return turned(p.asVector(), Vector(1, 0, 0), a).asPoint(); }},
            {[&](AffineMatrix& m) { m.rotateY(a); },
             [&](const Point& p) { return turned(p.asVector(), Vector(0, 1, 0), a).asPoint(); }},
            {[&](AffineMatrix& m) { m.rotateZ(a); },
             [&](const Point& p) { return turned(p.asVector(), Vector(0, 0, 1), a).asPoint(); }},
            {[&](AffineMatrix& m) { m.rotate(a, Normal(n)); },
             [&](const Point& p) { return turned(p.asVector(), n, a).asPoint(); }},
            {[&](AffineMatrix& m) { m.rotate(a, Line(c, Normal(n))); },
             [&](const Point& p) { return c + turned(p - c, n, a); }},
            {[&](AffineMatrix& m) { m.rotate(Normal(n), Normal(to)); },
             [&](const Point& p) { return turned(p.asVector(), axis, between).asPoint(); }},
            {[&](AffineMatrix& m) { m.mirror(Plane(c, Normal(n))); },
             [&](const Point& p) { return p - n * (2 * dot(n, p - c)); }},
        };
        const AffineMatrix base = rnd.affine();
        const Point q = rnd.point();
        for (const auto& s : steps) {
            AffineMatrix m = base;
            s.step(m);
            EXPECT_TRUE(near3(q * m, s.image(q * base), 1e-11)) << &s - steps;
        }
    }
    // Opposite directions: a half turn.
    AffineMatrix m;
    m.rotate(Normal(1, 1, 1), Normal(-1, -1, -1));
    EXPECT_TRUE(near3(Vector(1, 1, 1) * m, Vector(-1, -1, -1), 1e-14));
    EXPECT_NEAR(m.det3x3(), 1.0, 1e-14);
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
    n.setTranslate(Vector(1, 2, 3));
    EXPECT_EQ(Point() * n, Point(1, 2, 3));
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
    r.setTranslate(Vector());
    EXPECT_LE(maxDiff(n, r, 4, 3), 1e-15);
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

TEST(LinearAffineMatrix2, BuildersAndFastInversion) {
    AffineMatrix2 m;
    m.rotate(kPi / 2).translate(Vector2(10, 0));
    const Point2 p = Point2(1, 0) * m;
    EXPECT_NEAR(p.x, 10, 1e-15);
    EXPECT_NEAR(p.y, 1, 1e-15);
    EXPECT_EQ(Vector2(1, 0) * AffineMatrix2(1, 2, 3, 4, 5, 6), Vector2(1, 2));
    EXPECT_EQ(AffineMatrix2(1, 2, 3, 4, 5, 6).getTranslate(), Vector2(5, 6));
    Random rnd(44);
    for (int i = 0; i < 500; ++i) {
        AffineMatrix2 rigid;
        rigid.rotate(rnd.angle()).translate(Vector2(rnd.uniform(-5, 5), rnd.uniform(-5, 5)));
        AffineMatrix2 fast = rigid;
        EXPECT_TRUE(fast.invertFast());
        EXPECT_LE(maxDiff(fast, rigid.inverse(), 3, 2), 1e-13);
    }
    AffineMatrix2 s;
    s.scale(2).scale(Vector2(1, 3));
    EXPECT_EQ(s, AffineMatrix2(2, 0, 0, 6, 0, 0));
}
