// QuaternionTest.cpp - quaternions: angle-axis, frames and matrices, products, normalize.
#include "LinearTestUtil.h"

#include <Base/Linear/kyLinearQuaternion.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace kyLinear;
using kyLinearTest::maxDiff;
using kyLinearTest::near3;
using kyLinearTest::Random;

namespace {

// q and -q are the same rotation.
double quaternionDistance(const Quaternion& a, const Quaternion& b) {
    double plus = 0, minus = 0;
    for (int i = 0; i < 4; ++i) {
        plus = std::fmax(plus, std::fabs(a[i] - b[i]));
        minus = std::fmax(minus, std::fabs(a[i] + b[i]));
    }
    return std::fmin(plus, minus);
}

} // namespace

TEST(LinearQuaternion, ScalarPartIsLast) {
    const Quaternion identity;
    EXPECT_EQ(identity[3], 1);
    const Quaternion half(kPi / 2, Normal(1, 0, 0));
    EXPECT_DOUBLE_EQ(half.x, std::sin(kPi / 4));
    EXPECT_DOUBLE_EQ(half.w, std::cos(kPi / 4));
}

TEST(LinearQuaternion, AngleAxisRoundTrip) {
    Random rnd(61);
    for (int i = 0; i < 5000; ++i) {
        const Normal axis = rnd.normal();
        const double angle = rnd.uniform(1e-3, 2 * kPi - 1e-3);
        Quaternion q;
        q.setAngleAxis(angle, axis);
        EXPECT_NEAR(q.length(), 1.0, 1e-15);
        double a2;
        Normal axis2;
        q.getAngleAxis(a2, axis2);
        ASSERT_TRUE(axis2.isValid());
        EXPECT_NEAR(a2, angle, 1e-12);
        EXPECT_TRUE(near3(axis2, axis, 1e-11));
    }
    double angle;
    Normal axis;
    Quaternion().getAngleAxis(angle, axis);
    EXPECT_EQ(angle, 0);
    EXPECT_FALSE(axis.isValid());
}

TEST(LinearQuaternion, MatrixRoundTripAndAgreementWithAffineRotate) {
    Random rnd(62);
    for (int i = 0; i < 5000; ++i) {
        const Quaternion q = rnd.quaternion();
        const AffineMatrix m = q.getMatrix();
        Quaternion back;
        back.setFrame(m);
        EXPECT_LE(quaternionDistance(back, q), 1e-14);
        // Angle-axis -> quaternion -> matrix is the AffineMatrix rotation.
        double angle;
        Normal axis;
        q.getAngleAxis(angle, axis);
        AffineMatrix r;
        r.rotate(angle, axis);
        EXPECT_LE(maxDiff(r, m, 4, 3), 1e-13);
        // Rotating a vector directly agrees with the matrix.
        const Vector v = rnd.vector();
        EXPECT_TRUE(near3(q.rotate(v), v * m, 1e-13));
        Vector x, y, z;
        q.getFrame(x, y, z);
        EXPECT_EQ(x, Vector(m(0, 0), m(0, 1), m(0, 2)));
        EXPECT_EQ(z, Vector(m(2, 0), m(2, 1), m(2, 2)));
    }
}

TEST(LinearQuaternion, ProductIsHamiltonsAndComposesRotations) {
    const Quaternion i(1, 0, 0, 0), j(0, 1, 0, 0), k(0, 0, 1, 0), one;
    EXPECT_EQ(i * j, k);
    EXPECT_EQ(j * k, i);
    EXPECT_EQ(k * i, j);
    EXPECT_EQ(j * i, -k);
    EXPECT_EQ(i * i, -one);
    Random rnd(63);
    for (int n = 0; n < 2000; ++n) {
        const Quaternion a = rnd.quaternion(), b = rnd.quaternion();
        // (a * b) rotates by b first: its matrix is b's matrix times a's.
        EXPECT_LE(maxDiff((a * b).getMatrix(), b.getMatrix() * a.getMatrix(), 4, 3), 1e-14);
        const Quaternion q = (a * b) / b;
        EXPECT_LE(quaternionDistance(q, a), 1e-14);
        Quaternion c = a;
        c *= b;
        c /= b;
        EXPECT_LE(quaternionDistance(c, a), 1e-14);
        EXPECT_LE(quaternionDistance(a * a.conjugate(), one), 1e-15);
    }
    Quaternion s(1, 2, 3, 4);
    s *= 2;
    s /= 4;
    EXPECT_TRUE(s == Quaternion(0.5, 1, 1.5, 2) && 2.0 * s == s / 0.5 && s * 2.0 == s / 0.5);
    EXPECT_DOUBLE_EQ(dot(s, s), s.length2());
}

TEST(LinearQuaternion, NormalizeDividesWithoutTestingForZero) {
    Quaternion q(1, 2, 2, 4);
    q.normalize();
    EXPECT_DOUBLE_EQ(q.x, 0.2);
    EXPECT_DOUBLE_EQ(q.y, 0.4);
    EXPECT_DOUBLE_EQ(q.w, 0.8);
    // A zero quaternion becomes non-finite: kept on purpose, not reported.
    Quaternion zero(0, 0, 0, 0);
    zero.normalize();
    EXPECT_TRUE(std::isnan(zero.x) && std::isnan(zero.y) && std::isnan(zero.z) &&
                std::isnan(zero.w));
    // setAngleAxis normalises too, so a tiny but non-zero result is scaled up.
    Quaternion t;
    t.setAngleAxis(2 * kPi, Normal()); // (0, 0, 0, cos(pi)) = (0, 0, 0, -1)
    EXPECT_EQ(t, Quaternion(0, 0, 0, -1));
}
