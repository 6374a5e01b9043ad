// linear_example.cpp - the examples of the kyLinear headers, compiled and checked.
#include "example_check.h"

#include <Base/Linear/kyLinearAffineMatrix.h>
#include <Base/Linear/kyLinearMinimum.h>
#include <Base/Linear/kyLinearProjMatrix.h>
#include <Base/Linear/kyLinearQuaternion.h>
#include <Base/Linear/kyLinearRange.h>
#include <Base/Linear/kyLinearVector.h>

#include <cmath>
#include <cstdio>

namespace {

bool near(const kyLinear::Point& a, const kyLinear::Point& b) {
    return kyLinear::distance(a, b) < 1e-12;
}

} // namespace

int main() {
    {
        // kyLinearAffineMatrix.h
        kyLinear::AffineMatrix m; // identity
        m.rotateZ(kyLinear::kPi / 2).translate(kyLinear::Vector(10, 0, 0));
        kyLinear::Point p = kyLinear::Point(1, 0, 0) * m; // (10, 1, 0) up to rounding
        kyLinear::Point back = p * m.inverse();           // (1, 0, 0) up to rounding
        CHECK(near(p, kyLinear::Point(10, 1, 0)));
        CHECK(near(back, kyLinear::Point(1, 0, 0)));
        CHECK(kyLinear::toString(kyLinear::AffineMatrix()) ==
              "AffineMatrix(\n1,0,0\n0,1,0\n0,0,1\n0,0,0\n)");
    }
    {
        // kyLinearRange.h
        kyLinear::Range1d r; // unbounded
        r.include(5.0);      // still unbounded
        CHECK(r.isUnbounded() && r.contains(-1e9));
        r.set(0.0, 1.0);
        r.include(3.0);                  // [0, 3]
        bool in = r.contains(3.05, 0.1); // true
        CHECK(r.min() == 0.0 && r.max() == 3.0 && in);
    }
    {
        // kyLinearMinimum.h
        struct Parabola : kyLinear::evalFunction {
            double eval(double x) override { return (x - 3) * (x - 3); }
        } f;
        double a = 0, b = 1, c, fa, fb, fc;
        bool found = kyLinear::minimumBracket(f, a, b, c, fa, fb, fc); // 3 in (a, c)
        CHECK(found && std::fmin(a, c) < 3 && 3 < std::fmax(a, c) && fb <= fa && fb < fc);
    }
    {
        // Normals are unit or invalid; a quaternion's matrix is the affine rotation.
        const kyLinear::Normal axis(0, 0, 2);
        CHECK(axis.isValid() && axis.z() == 1.0);
        CHECK(!kyLinear::Vector(1e-13, 0, 0).normalized().isValid());
        const kyLinear::Quaternion q(kyLinear::kPi / 2, axis);
        kyLinear::AffineMatrix r;
        r.rotate(kyLinear::kPi / 2, axis);
        CHECK(near(kyLinear::Point(1, 2, 3) * q.getMatrix(), kyLinear::Point(1, 2, 3) * r));
    }
    std::puts("linear examples: ok");
    return 0;
}
