// NormalTest.cpp - normals: always unit and valid, or zero and invalid.
#include "LinearTestUtil.h"

#include <Base/Linear/kyLinearVector.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

using namespace kyLinear;
using kyLinearTest::Random;

TEST(LinearNormal, InvariantHoldsForRandomInputs) {
    Random rnd(21);
    for (int i = 0; i < 10000; ++i) {
        const double scale = std::pow(10.0, rnd.uniform(-20, 20));
        const Vector v = rnd.vector(1) * scale;
        const Normal n(v);
        if (v.length2() > epsilon2Tol) {
            ASSERT_TRUE(n.isValid()) << v;
            EXPECT_NEAR(n.asVector().length(), 1.0, 1e-15);
            // Same direction as v.
            EXPECT_NEAR(dot(n, v), v.length(), 1e-14 * v.length());
        } else {
            EXPECT_FALSE(n.isValid());
            EXPECT_EQ(n.asVector(), Vector());
        }
    }
}

TEST(LinearNormal, DefaultZeroAndTinyAreInvalid) {
    EXPECT_FALSE(Normal().isValid());
    EXPECT_FALSE(Normal(1e-12, 0, 0).isValid()); // squared length 1e-24: not greater
    EXPECT_TRUE(Normal(1.1e-12, 0, 0).isValid());
}

TEST(LinearNormal, SetInvalidZeroesAllFourFields) {
    Normal n(1, 2, 3);
    ASSERT_TRUE(n.isValid());
    n.setInvalid();
    EXPECT_FALSE(n.isValid());
    EXPECT_EQ(n, Normal());
    // All four fields are zero bytes, validity flag included (padding aside).
    const Normal zero;
    EXPECT_EQ(std::memcmp(&n, &zero, 3 * sizeof(double) + sizeof(bool)), 0);
    static_assert(sizeof(bool) == 1, "the validity flag is one byte");
}

TEST(LinearNormal, ReverseAndConversions) {
    Normal n(0, 0, 2);
    n.reverse();
    EXPECT_TRUE(n.isValid());
    EXPECT_EQ(n.asVector(), Vector(0, 0, -1));
    EXPECT_EQ((-n).asVector(), Vector(0, 0, 1));
    EXPECT_EQ(n.asPoint(), Point(0, 0, -1));
    EXPECT_EQ(n * 2.0, 2.0 * n);
    EXPECT_EQ(Point(1, 1, 1) + n, Point(1, 1, 0));
    Normal invalid;
    invalid.reverse();
    EXPECT_FALSE(invalid.isValid());
}

TEST(LinearNormal, FloatNormals) {
    const NormalFlt n(3, 0, 4);
    EXPECT_TRUE(n.isValid());
    EXPECT_FLOAT_EQ(n.x(), 0.6f);
    EXPECT_FLOAT_EQ(n.z(), 0.8f);
    EXPECT_NEAR(Normal(n).asVector().length(), 1.0, 1e-15);
    EXPECT_FALSE(NormalFlt(Normal()).isValid());
}
