// TupleTest.cpp - generic tuples of 2, 3 and 4 doubles.
#include <Base/Linear/kyLinearTuple.h>

#include <gtest/gtest.h>

#include <type_traits>

using namespace kyLinear;

static_assert(std::is_trivially_copyable_v<Tuple4> && sizeof(Tuple4) == 4 * sizeof(double));
static_assert(Tuple3(1, 2, 3)[2] == 3 && Tuple3().asPoint() == Point());

TEST(LinearTuple, ElementAccessAndSet) {
    Tuple3 t;
    t.set(1, 2, 3);
    t[1] = 7;
    EXPECT_EQ(t.data()[1], 7);
    EXPECT_EQ(Tuple3::size(), 3);
    Tuple4 v(1, 2, 3, 4);
    v[3] = 8;
    EXPECT_EQ(v, Tuple4(1, 2, 3, 8));
    EXPECT_NE(v, Tuple4(1, 2, 3, 4));
}

TEST(LinearTuple, ComponentWiseArithmetic) {
    Tuple3 t(1, 2, 3);
    t += Tuple3(1, 1, 1);
    t -= Tuple3(0, 1, 2);
    t *= Tuple3(1, 2, 3);
    EXPECT_EQ(t, Tuple3(2, 4, 6));
    t /= Tuple3(2, 4, 3);
    t *= 3;
    t /= 2;
    EXPECT_EQ(t, Tuple3(1.5, 1.5, 3));
    Tuple4 q(1, 2, 3, 4);
    q *= Tuple4(2, 2, 2, 0.5);
    EXPECT_EQ(q, Tuple4(2, 4, 6, 2));
    Tuple2 p(1, 2);
    (p += Tuple2(1, 1)) *= 2;
    EXPECT_EQ(p, Tuple2(4, 6));
}

TEST(LinearTuple, ConversionsToPointsAndVectors) {
    const Tuple3 t(1, 2, 3);
    EXPECT_EQ(Tuple3(t.asVector()), Tuple3(t.asPoint()));
    EXPECT_EQ(Tuple3(0, 0, 2).asNormal().asVector(), Vector(0, 0, 1));
    EXPECT_FALSE(Tuple3().asNormal().isValid());
    const Tuple2 u(1, 2);
    EXPECT_EQ(Tuple2(u.asVector()), Tuple2(u.asPoint()));
    const Tuple4 h(2, 4, 6, 2);
    EXPECT_EQ(h.asRPoint(), RPoint(2, 4, 6, 2));
    EXPECT_EQ(Tuple4(h.asHPoint()), Tuple4(h.asRPoint()));
}
