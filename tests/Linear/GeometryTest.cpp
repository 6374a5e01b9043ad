// GeometryTest.cpp - planes, lines, parametric lines and parametric planes.
#include "LinearTestUtil.h"

#include <Base/Linear/kyLinearLine.h>
#include <Base/Linear/kyLinearParamLine.h>
#include <Base/Linear/kyLinearParamPlane.h>
#include <Base/Linear/kyLinearPlane.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace kyLinear;
using kyLinearTest::near3;
using kyLinearTest::Random;

TEST(LinearPlane, CalculateDAndEval) {
    const Plane p(Point(1, 2, 3), Normal(0, 0, 2));
    EXPECT_EQ(p.eval(Point(0, 0, 10)), 7);

    Random rnd(81);
    for (int i = 0; i < 1000; ++i) {
        const Point q = rnd.point();
        const Normal n = rnd.normal();
        const Plane plane(q, n);
        // d = -(a px + b py + c pz).
        EXPECT_EQ(plane.calculateD(), -(n.x() * q.x + n.y() * q.y + n.z() * q.z));
        const Point r = rnd.point();
        EXPECT_NEAR(plane.eval(r), dot(n, r - q), 1e-12);
        EXPECT_NEAR(plane.eval(plane.project(r)), 0, 1e-12);
    }
}

TEST(LinearPlane, ThroughThreePointsAndValidity) {
    const Plane p(Point(0, 0, 1), Point(1, 0, 1), Point(0, 1, 1));
    EXPECT_TRUE(p.isValid());
    EXPECT_EQ(p.normal.asVector(), Vector(0, 0, 1));
    EXPECT_EQ(p.calculateD(), -1);
    const Plane collinear(Point(0, 0, 0), Point(1, 1, 1), Point(2, 2, 2));
    EXPECT_FALSE(collinear.isValid());
    EXPECT_EQ(collinear.eval(Point(5, 6, 7)), 0);
    EXPECT_FALSE(Plane().isValid());
}

TEST(LinearLine, EvalProjectAndDistance) {
    const Line line(Point(1, 0, 0), Normal(0, 3, 0));
    EXPECT_EQ(line.eval(2), Point(1, 2, 0));
    EXPECT_EQ(line.project(Point(5, 7, 0)), 7);
    EXPECT_DOUBLE_EQ(line.distance(Point(4, 7, 4)), 5);
    const Line through(Point(0, 0, 0), Point(0, 0, 4));
    EXPECT_EQ(through.direction.asVector(), Vector(0, 0, 1));
    EXPECT_FALSE(Line(Point(1, 1, 1), Point(1, 1, 1)).direction.isValid());
    EXPECT_EQ(Line(Point(1, 1, 1), Normal()).eval(5), Point(1, 1, 1));
}

TEST(LinearParamLine, EvalAndProject) {
    const ParamLine l(Point(1, 1, 1), Point(3, 1, 1));
    EXPECT_EQ(l.eval(1), Point(3, 1, 1));
    EXPECT_EQ(l.project(Point(-1, 0, 0)), -1);
    EXPECT_EQ(ParamLine(Point(1, 2, 3), Vector()).project(Point(9, 9, 9)), 0);
    Random rnd(82);
    for (int i = 0; i < 500; ++i) {
        const ParamLine r(rnd.point(), rnd.vector());
        const Point q = rnd.point();
        const Point foot = r.eval(r.project(q));
        EXPECT_NEAR(dot(q - foot, r.direction), 0, 1e-10);
    }
}

TEST(LinearParamLine2, ProjectBoundedClampsToTheSegment) {
    const ParamLine2 seg(Point2(0, 0), Point2(4, 0));
    EXPECT_EQ(seg.eval(0.25), Point2(1, 0));
    EXPECT_EQ(seg.project(Point2(-4, 1)), -1);
    EXPECT_EQ(seg.projectBounded(Point2(-4, 1)), 0);
    EXPECT_EQ(seg.projectBounded(Point2(12, -1)), 1);
    EXPECT_EQ(seg.side(Point2(1, 2)), 2);
    EXPECT_EQ(seg.side(Point2(1, -3)), -3);
    const ParamLine2 point(Point2(1, 1), Vector2());
    EXPECT_EQ(point.projectBounded(Point2(5, 5)), 0);
    EXPECT_EQ(point.side(Point2(5, 5)), 0);
    Random rnd(83);
    for (int i = 0; i < 1000; ++i) {
        const ParamLine2 l(Point2(rnd.uniform(-5, 5), rnd.uniform(-5, 5)),
                           Vector2(rnd.uniform(-5, 5), rnd.uniform(-5, 5)));
        const Point2 q(rnd.uniform(-9, 9), rnd.uniform(-9, 9));
        const double t = l.projectBounded(q);
        EXPECT_GE(t, 0);
        EXPECT_LE(t, 1);
        // No point of the segment is closer than the one found (checked on a fine sampling).
        const double best = distance(l.eval(t), q);
        for (int k = 0; k <= 20; ++k) {
            EXPECT_GE(distance(l.eval(k / 20.0), q), best - 1e-12);
        }
    }
}

TEST(LinearParamPlane, EvalAndOrthogonalize) {
    ParamPlane p(Point(1, 0, 0), Vector(2, 0, 0), Vector(1, 3, 0));
    EXPECT_EQ(p.eval(0.5, 1), Point(3, 3, 0));
    EXPECT_EQ(p.normal().asVector(), Vector(0, 0, 1));
    EXPECT_TRUE(p.orthogonalize());
    EXPECT_EQ(p.u, Vector(2, 0, 0));
    EXPECT_EQ(p.v, Vector(0, 3, 0));
    Random rnd(84);
    for (int i = 0; i < 500; ++i) {
        ParamPlane r(rnd.point(), rnd.vector(), rnd.vector());
        const Normal before = r.normal();
        EXPECT_TRUE(r.orthogonalize());
        EXPECT_NEAR(dot(r.u, r.v), 0, 1e-12 * r.u.length() * (1 + r.v.length()));
        // The plane itself is unchanged.
        EXPECT_TRUE(near3(r.normal(), before, 1e-10));
    }
    ParamPlane parallel(Point(), Vector(1, 1, 0), Vector(-2, -2, 0));
    EXPECT_FALSE(parallel.orthogonalize());
    ParamPlane degenerate(Point(), Vector(), Vector(1, 0, 0));
    EXPECT_FALSE(degenerate.orthogonalize());
    EXPECT_EQ(degenerate.v, Vector(1, 0, 0)); // nothing changed
    EXPECT_FALSE(ParamPlane(Point(), Vector(1, 0, 0), Vector()).orthogonalize());
    EXPECT_FALSE(parallel.normal().isValid());
}
