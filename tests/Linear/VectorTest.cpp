// VectorTest.cpp - points, vectors and their algebra, in two and three dimensions.
#include "LinearTestUtil.h"

#include <Base/Linear/kyLinearVector.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>

using namespace kyLinear;
using kyLinearTest::near3;
using kyLinearTest::Random;

// Plain values: trivially copyable, no hidden state, usable in constant expressions.
static_assert(std::is_trivially_copyable_v<Point> && std::is_trivially_copyable_v<VectorFlt>);
static_assert(std::is_trivially_copyable_v<Normal> && std::is_trivially_copyable_v<Point2>);
static_assert(sizeof(Point) == 3 * sizeof(double) && sizeof(VectorFlt) == 3 * sizeof(float));
static_assert(Point(1, 2, 3) - Point(1, 1, 1) == Vector(0, 1, 2));
static_assert(Point(1, 2, 3) + Vector(1, 1, 1) == Point(2, 3, 4));
static_assert(dot(Vector(1, 2, 3), Vector(4, 5, 6)) == 32);
static_assert(cross(Vector(1, 0, 0), Vector(0, 1, 0)) == Vector(0, 0, 1));
static_assert(Vector(1, 1, 1).orthogonalVector() == Vector(0, 2, -2));
// Points and vectors are distinct types.
static_assert(!std::is_convertible_v<Point, Vector> && !std::is_convertible_v<Vector, Point>);
static_assert(std::is_same_v<decltype(Point() - Point()), Vector>);
static_assert(std::is_same_v<decltype(Point() + Vector()), Point>);
static_assert(std::is_same_v<decltype(Point2() - Point2()), Vector2>);

TEST(LinearVector, PointAndVectorArithmetic) {
    Point p(1, 2, 3);
    const Vector v(0.5, -1, 2);
    EXPECT_EQ(p + v, Point(1.5, 1, 5));
    EXPECT_EQ(v + p, Point(1.5, 1, 5));
    EXPECT_EQ(p - v, Point(0.5, 3, 1));
    EXPECT_EQ((p + v) - p, v);
    p += v;
    EXPECT_EQ(p, Point(1.5, 1, 5));
    p -= v;
    EXPECT_EQ(p, Point(1, 2, 3));
    EXPECT_EQ(v * 2.0, Vector(1, -2, 4));
    EXPECT_EQ(2.0 * v, Vector(1, -2, 4));
    EXPECT_EQ(v / 2.0, Vector(0.25, -0.5, 1));
    EXPECT_EQ(-v, Vector(-0.5, 1, -2));
    Vector w = v;
    w += Vector(1, 1, 1);
    w -= Vector(0.5, 0.5, 0.5);
    w *= 2;
    w /= 4;
    EXPECT_EQ(w, Vector(0.5, -0.25, 1.25));
    for (int k = 0; k < 3; ++k) {
        p[k] = k;
    }
    EXPECT_EQ(p, Point(0, 1, 2));
    p.set(4, 5, 6);
    EXPECT_EQ(p.asVector(), Vector(4, 5, 6));
    EXPECT_EQ(Vector(4, 5, 6).asPoint(), p);
    EXPECT_DOUBLE_EQ(distance(Point(1, 1, 1), Point(4, 5, 1)), 5.0);
    EXPECT_DOUBLE_EQ(distance2(Point(1, 1, 1), Point(4, 5, 1)), 25.0);
    w.reverse();
    EXPECT_EQ(w, Vector(-0.5, 0.25, -1.25));
    EXPECT_EQ(Point(PointFlt(1.5f, -2.0f, 0.25f)), Point(1.5, -2.0, 0.25));
    EXPECT_EQ(Vector2(Vector2Flt(3, 4)), Vector2(3, 4));
}

TEST(LinearVector, NormalizingZeroOrTinyGivesZeroAndFalse) {
    Vector zero;
    EXPECT_FALSE(zero.normalize());
    EXPECT_EQ(zero, Vector(0, 0, 0));
    EXPECT_FALSE(zero.normalized().isValid());

    // Squared length exactly 1e-24 (the tolerance) is not enough: "greater than" is the rule.
    Vector tiny(1e-12, 0, 0);
    ASSERT_EQ(tiny.length2(), 1e-24);
    EXPECT_FALSE(tiny.normalize());
    EXPECT_EQ(tiny, Vector(0, 0, 0));

    Vector justAbove(2e-12, 0, 0);
    EXPECT_TRUE(justAbove.normalize());
    EXPECT_EQ(justAbove, Vector(1, 0, 0));
}

TEST(LinearVector, DotAndCross) {
    const Vector a(1, 2, 3), b(-2, 0.5, 4);
    EXPECT_DOUBLE_EQ(dot(a, b), -2 + 1 + 12);
    const Vector c = cross(a, b);
    EXPECT_EQ(c, Vector(2 * 4 - 3 * 0.5, 3 * -2 - 1 * 4, 1 * 0.5 - 2 * -2));
    EXPECT_EQ(cross(b, a), -c);
    const Normal z(0, 0, 2), x(3, 0, 0);
    EXPECT_EQ(cross(z, x), Vector(0, 1, 0));
    EXPECT_EQ(cross(x, Vector(0, 1, 0)), Vector(0, 0, 1));
    EXPECT_EQ(cross(Vector(0, 1, 0), z), Vector(1, 0, 0));
    EXPECT_DOUBLE_EQ(dot(z, Vector(1, 2, 3)), 3);
    EXPECT_DOUBLE_EQ(dot(Vector(1, 2, 3), x), 1);
}

TEST(LinearVector, OrthogonalVectorFollowsTheRule) {
    Random rnd(11);
    for (int i = 0; i < 1000; ++i) {
        const Vector v = rnd.vector();
        const Vector w =
            (v.x * v.y > 0 && v.z * v.y > 0) ? Vector(-v.z, v.x, v.y) : Vector(v.z, v.x, v.y);
        EXPECT_EQ(v.orthogonalVector(), cross(w, v));
    }
    // Without the flip, all-equal components would give w = v and a zero cross product.
    EXPECT_EQ(Vector(1, 1, 1).orthogonalVector(), Vector(0, 2, -2));
}

namespace {

// The result is not zero and is perpendicular to v, relative to the lengths. Both are first
// scaled by their largest component so that tiny inputs do not underflow in the check itself.
template <class V>
void expectOrthogonal(const V& v, double relTol) {
    const V o = v.orthogonalVector();
    auto unit = [](const V& a) {
        const double m = std::fmax(std::fabs(double(a.x)),
                                   std::fmax(std::fabs(double(a.y)), std::fabs(double(a.z))));
        return Vector(double(a.x) / m, double(a.y) / m, double(a.z) / m);
    };
    ASSERT_TRUE(o.x != 0 || o.y != 0 || o.z != 0) << v;
    const Vector os = unit(o), vs = unit(v);
    EXPECT_LE(std::fabs(dot(os, vs)), relTol * os.length() * vs.length()) << v;
}

} // namespace

TEST(LinearVector, OrthogonalVectorIsPerpendicularAndNonZeroForEveryNonZeroInput) {
    Random rnd(12);
    // Every pattern of zeros and signs, all-equal components among them.
    const double values[] = {0.0, 1.0, -1.0, 2.5, -1e-80, 1e80, 1e-90};
    for (double x : values) {
        for (double y : values) {
            for (double z : values) {
                if (x != 0 || y != 0 || z != 0) {
                    expectOrthogonal(Vector(x, y, z), 1e-15);
                }
            }
        }
    }
    for (int i = 0; i < 20000; ++i) {
        // Random magnitudes over many decades, random signs, sometimes equal components.
        const double scale = std::pow(10.0, rnd.uniform(-80, 80));
        Vector v = rnd.vector(1) * scale;
        switch (rnd.index(5)) {
        case 0:
            v.y = v.x;
            break;
        case 1:
            v.z = v.y = v.x;
            break;
        case 2:
            v.z = -v.x;
            break;
        default:
            break;
        }
        if (v.length2() > 0) {
            expectOrthogonal(v, 1e-14);
        }
    }
    for (int i = 0; i < 5000; ++i) {
        const Vector d = rnd.vector(1);
        const VectorFlt v(d);
        if (v.length2() > 0) {
            expectOrthogonal(v, 1e-6);
        }
    }
    EXPECT_EQ(Vector().orthogonalVector(), Vector());
}

TEST(LinearVector, TwoDimensional) {
    const Point2 p(1, 2);
    const Vector2 v(3, -4);
    EXPECT_EQ(p + v, Point2(4, -2));
    EXPECT_EQ(v + p, Point2(4, -2));
    EXPECT_EQ(p - v, Point2(-2, 6));
    EXPECT_EQ((p + v) - p, v);
    EXPECT_DOUBLE_EQ(v.length(), 5);
    EXPECT_NEAR(v.normalized().x, 0.6, 1e-15);
    EXPECT_EQ(v.orthogonalVector(), Vector2(4, 3));
    EXPECT_DOUBLE_EQ(dot(v, v.orthogonalVector()), 0);
    EXPECT_DOUBLE_EQ(cross(Vector2(1, 0), Vector2(0, 1)), 1);
    EXPECT_DOUBLE_EQ(distance(Point2(0, 0), Point2(3, 4)), 5);
    Vector2 z(1e-13, 0);
    EXPECT_FALSE(z.normalize());
    EXPECT_EQ(z, Vector2());
    Point2 q = p;
    q += v;
    q -= v;
    EXPECT_EQ(q, p);
    EXPECT_EQ(q.asVector().asPoint(), p);
    Vector2 w = v * 2.0 / 2.0 - Vector2(1, 1);
    w += Vector2(1, 1);
    w *= 3;
    w /= 3;
    EXPECT_EQ(w, v);
    w.reverse();
    EXPECT_EQ(-w, v);
    EXPECT_TRUE(w[0] == -3 && w[1] == 4);
}
