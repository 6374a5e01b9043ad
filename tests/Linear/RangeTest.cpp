// RangeTest.cpp - ranges: the unbounded rule, include, contains, intersects and clipping.
#include "LinearTestUtil.h"

#include <Base/Linear/kyLinearRange.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

using namespace kyLinear;
using kyLinearTest::Random;

static_assert(std::is_trivially_copyable_v<Range3d> && sizeof(Range1d) == 2 * sizeof(double));
static_assert(Range1d().isUnbounded() && Range1d(0, 1).contains(0.5));

namespace {

// A reference model of a range: unbounded (the whole line) until set, then what was included.
struct Model {
    bool set = false;
    double lo = 0, hi = 0;
};

} // namespace

TEST(LinearRange, IncludeContainsIntersectsAgreeWithAReferenceModel) {
    Random rnd(71);
    for (int trial = 0; trial < 2000; ++trial) {
        Range1d r;
        Model m;
        const int steps = 1 + rnd.index(8);
        for (int s = 0; s < steps; ++s) {
            const double v = std::round(rnd.uniform(-20, 20));
            const double w = v + std::round(rnd.uniform(0, 10)); // v == w now and then
            const int op = rnd.index(10);
            if (op == 0) {
                r.setUnbounded();
                m.set = false;
            } else if (op < 3 || (op < 5 && !m.set)) {
                op % 2 ? r.set(v, w) : r.setUnordered(w, v);
                m = {true, v, w};
            } else if (op < 7) {
                r.include(op == 5 ? Range1d(v, w) : Range1d()); // the whole line swallows it
                m = {m.set && op == 5, std::min(m.lo, v), std::max(m.hi, w)};
            } else {
                r.include(v); // never starts a range
                m = {m.set, std::min(m.lo, v), std::max(m.hi, v)};
            }
        }
        ASSERT_EQ(r.isBounded(), m.set);
        ASSERT_EQ(r.isUnbounded(), !m.set);
        // Unbounded is min 1, max 0; so is any range with min > max.
        ASSERT_EQ(r.min(), m.set ? m.lo : 1.0);
        ASSERT_EQ(r.max(), m.set ? m.hi : 0.0);
        EXPECT_EQ(r.size(), m.set ? m.hi - m.lo : std::numeric_limits<double>::infinity());
        const double probe = std::round(rnd.uniform(-25, 25));
        const double tol = rnd.index(2) ? 0.0 : 1.0;
        const bool expectedContains = !m.set || (m.lo - tol <= probe && probe <= m.hi + tol);
        EXPECT_EQ(r.contains(probe, tol), expectedContains);
        if (m.set) {
            EXPECT_EQ(r.mid(), (m.lo + m.hi) / 2);
            EXPECT_TRUE(r.contains(m.lo) && r.contains(m.hi)); // every value included
        }
        const double a = std::round(rnd.uniform(-25, 25)), b = a + std::round(rnd.uniform(0, 8));
        const Range1d other(a, b);
        const bool expectedIntersects = !m.set || (a <= m.hi + tol && m.lo - tol <= b);
        EXPECT_EQ(r.intersects(other, tol), expectedIntersects);
        EXPECT_EQ(other.intersects(r, tol), expectedIntersects);
        const bool expectedContainsRange = !m.set || (m.lo - tol <= a && b <= m.hi + tol);
        EXPECT_EQ(r.contains(other, tol), expectedContainsRange);
        // Clipping: to the overlap; unchanged and false when there is none.
        const bool overlap = !m.set || (a <= m.hi && m.lo <= b);
        const Range1d before = r;
        EXPECT_EQ(r.clipTo(other), overlap);
        EXPECT_EQ(r, !overlap ? before
                     : !m.set ? other
                              : Range1d(std::max(m.lo, a), std::min(m.hi, b)));
        EXPECT_TRUE(r.clipTo(Range1d()));
    }
}

TEST(LinearRange, EdgeCases) {
    EXPECT_FALSE(Range1d(0, 1).contains(std::nan(""))); // the model never draws NaN
    EXPECT_TRUE(Range1d(3, 2).isUnbounded());           // min > max, however made
    EXPECT_FALSE(Range1d(-7, 7).contains(Range1d()));
}

TEST(LinearRange, TwoDimensional) {
    Range2d r;
    EXPECT_TRUE(r.isUnbounded());
    r.include(Point2(1, 1));
    EXPECT_TRUE(r.isUnbounded()); // include never starts a range
    EXPECT_TRUE(r.contains(Point2(-100, 100)));
    r.set(Point2(0, 0), Point2(2, 1));
    r.include(Point2(3, -1));
    EXPECT_EQ(r, Range2d(Point2(0, -1), Point2(3, 1)));
    EXPECT_EQ(r.mid(), Point2(1.5, 0));
    EXPECT_EQ(r.size(), Vector2(3, 2));
    EXPECT_EQ(r.area(), 6);
    EXPECT_TRUE(r.contains(Point2(3.05, 1.05), 0.1));
    EXPECT_FALSE(r.contains(Point2(3.2, 0), 0.1));
    EXPECT_TRUE(r.contains(Range2d(Point2(1, 0), Point2(2, 1))));
    EXPECT_TRUE(r.intersects(Range2d(Point2(2, 0), Point2(5, 5))));
    EXPECT_FALSE(r.intersects(Range2d(Point2(4, 0), Point2(5, 5))));

    r.setUnordered(Point2(2, 5), Point2(-1, 3));
    EXPECT_EQ(r, Range2d(Point2(-1, 3), Point2(2, 5)));
    Range2d clip(Point2(0, 0), Point2(10, 10));
    EXPECT_TRUE(clip.clipTo(Range2d(Point2(5, -5), Point2(20, 5))));
    EXPECT_EQ(clip, Range2d(Point2(5, 0), Point2(10, 5)));
    EXPECT_FALSE(clip.clipTo(Range2d(Point2(0, 6), Point2(20, 9)))); // disjoint in y only
    EXPECT_EQ(clip, Range2d(Point2(5, 0), Point2(10, 5)));

    // One unbounded axis: unbounded overall, that axis takes in everything.
    Range2d half(Range1d(0, 1), Range1d());
    EXPECT_TRUE(half.isUnbounded());
    EXPECT_TRUE(half.contains(Point2(0.5, 1e9)));
    EXPECT_FALSE(half.contains(Point2(2, 0)));
    EXPECT_EQ(half.area(), std::numeric_limits<double>::infinity());
    half.include(clip);
    EXPECT_EQ(half.x, Range1d(0, 10));
    EXPECT_TRUE(half.y.isUnbounded());
    half.setUnbounded();
    EXPECT_EQ(half, Range2d());
}

TEST(LinearRange, ThreeDimensional) {
    Range3d r;
    EXPECT_TRUE(r.isUnbounded());
    r.set(Point(0, 0, 0), Point(1, 2, 3));
    EXPECT_TRUE(r.isBounded());
    r.include(Point(-1, 0, 4));
    EXPECT_EQ(r, Range3d(Point(-1, 0, 0), Point(1, 2, 4)));
    EXPECT_EQ(r.size(), Vector(2, 2, 4));
    EXPECT_EQ(r.volume(), 16);
    EXPECT_EQ(r.mid(), Point(0, 1, 2));
    EXPECT_TRUE(r.contains(Point(1.05, 2, 4), 0.1));
    r.include(Range3d(Point(0, 0, 0), Point(5, 1, 1)));
    EXPECT_EQ(r.max(), Point(5, 2, 4));
    EXPECT_TRUE(r.contains(Range3d(Point(0, 0, 0), Point(1, 1, 1))));
    EXPECT_TRUE(r.intersects(Range3d(Point(4, 1, 3), Point(9, 9, 9))));
    EXPECT_FALSE(r.intersects(Range3d(Point(4, 1, 5), Point(9, 9, 9))));
    Range3d c = r;
    EXPECT_TRUE(c.clipTo(Range3d(Point(4, 1, 3), Point(9, 9, 9))));
    EXPECT_EQ(c, Range3d(Point(4, 1, 3), Point(5, 2, 4)));
    EXPECT_FALSE(c.clipTo(Range3d(Point(0, 0, 0), Point(1, 1, 1))));
    c.setUnordered(Point(1, 1, 1), Point(0, 2, 0));
    EXPECT_EQ(c, Range3d(Point(0, 1, 0), Point(1, 2, 1)));
    c.setUnbounded();
    EXPECT_EQ(c.volume(), std::numeric_limits<double>::infinity());
    EXPECT_TRUE(c.contains(Point(1e9, -1e9, 0)));
}
