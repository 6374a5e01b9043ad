// ToleranceTest.cpp - the shared tolerances: exact values, and changing them at run time.
#include <Base/Linear/kyLinearTolerance.h>
#include <Base/Linear/kyLinearVector.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace kyLinear;

TEST(LinearTolerance, ExactValues) {
    EXPECT_EQ(epsilonTol, 1e-12);
    EXPECT_EQ(epsilon2Tol, 1e-24);
    EXPECT_EQ(epsilonTolFlt, 1e-6f);
    EXPECT_EQ(epsilon2TolFlt, 1e-12f);
    EXPECT_EQ(degreeTol, 1e-5);
    volatile double radians = 1.7453292519943297e-7; // computed at run time, as the library does
    EXPECT_EQ(degreeTol * (kPi / 180.0), 1.7453292519943297e-7);
    EXPECT_EQ(perpendicularTol, std::sin(radians));
    EXPECT_EQ(perpendicular2Tol, perpendicularTol * perpendicularTol);
    EXPECT_EQ(parallelTol, std::cos(radians));
    EXPECT_EQ(parallel2Tol, parallelTol * parallelTol);
}

TEST(LinearTolerance, ChangingEpsilon2TolChangesWhatNormalises) {
    const double saved = epsilon2Tol;
    EXPECT_TRUE(Normal(1e-6, 0, 0).isValid()); // 1e-12 > 1e-24
    epsilon2Tol = 1e-10;
    EXPECT_FALSE(Normal(1e-6, 0, 0).isValid()); // 1e-12 <= 1e-10
    epsilon2Tol = saved;
}

TEST(LinearTolerance, FloatTypesUseTheFloatTolerance) {
    // 1e-7 squared is 1e-14: above epsilon2Tol, below epsilon2TolFlt.
    EXPECT_TRUE(Normal(1e-7, 0, 0).isValid());
    EXPECT_FALSE(NormalFlt(1e-7f, 0, 0).isValid());
    VectorFlt v(0, 1e-7f, 0);
    EXPECT_FALSE(v.normalize());
    EXPECT_EQ(v, VectorFlt(0, 0, 0));
}
