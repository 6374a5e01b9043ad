// showcase_linear.cpp - the kyLinear section of the showcase.
#include "showcase.h"

#include <Base/Linear/kyLinearAffineMatrix.h>
#include <Base/Linear/kyLinearLine.h>
#include <Base/Linear/kyLinearMinimum.h>
#include <Base/Linear/kyLinearProjMatrix.h>
#include <Base/Linear/kyLinearQuaternion.h>
#include <Base/Linear/kyLinearRange.h>
#include <Base/Linear/kyLinearVector.h>

#include <cmath>
#include <cstdio>
#include <string>

void showcaseLinear() {
    using namespace kyLinear;
    showcaseSection("Linear: points, vectors, normals, matrices, ranges, quaternions");

    const Point p(1, 2, 3);
    const Vector v = Point(4, 6, 3) - p;
    std::printf("%s - %s = %s, length %g\n", toString(Point(4, 6, 3)).c_str(), toString(p).c_str(),
                toString(v).c_str(), v.length());
    std::printf("normal of %s: %s; of (0,0,1e-13): %s, valid %d\n", toString(v).c_str(),
                toString(v.normalized()).c_str(),
                toString(Vector(0, 0, 1e-13).normalized()).c_str(),
                Vector(0, 0, 1e-13).normalized().isValid());
    std::printf("orthogonalVector of (1,1,1): %s\n",
                toString(Vector(1, 1, 1).orthogonalVector()).c_str());

    AffineMatrix m;
    m.rotateZ(kPi / 2).translate(Vector(10, 0, 0));
    std::printf("rotate a quarter turn about z, then move by (10,0,0) (rows: axes, then "
                "translation):\n%s\n",
                toString(m).c_str());
    std::printf("(1,0,0) * m = %s; back through m.inverse(): %s\n",
                toString(Point(1, 0, 0) * m).c_str(),
                toString(Point(1, 0, 0) * m * m.inverse()).c_str());
    AffineMatrix flat;
    flat.scale(Vector(1, 1, 1e-13));
    std::printf("scale z by 1e-13: det %g, isInvertible %d\n", flat.det3x3(), flat.isInvertible());

    const Quaternion q(kPi / 3, Normal(1, 1, 0));
    double angle;
    Normal axis;
    q.getAngleAxis(angle, axis);
    std::printf("quaternion (x,y,z,w) = (%.4f,%.4f,%.4f,%.4f): %.4f rad about %s\n", q.x, q.y, q.z,
                q.w, angle, toString(axis).c_str());

    const double n = 1, f = 100;
    const ProjMatrix persp(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -(f + n) / (f - n), -1, 0, 0,
                           -2 * f * n / (f - n), 0);
    std::printf("a perspective projection maps %s to %s\n", toString(Point(1, 1, -10)).c_str(),
                toString(Point(1, 1, -10) * persp).c_str());

    Range1d r;
    r.include(5.0);
    std::printf("Range1d: fresh is unbounded (min 1, max 0); after include(5) still "
                "unbounded: %d\n",
                r.isUnbounded());
    r.set(0, 1);
    std::printf("[0,1].contains(1.05, 0.1) = %d, contains(1.2, 0.1) = %d\n", r.contains(1.05, 0.1),
                r.contains(1.2, 0.1));
    Range3d box;
    box.set(Point(0, 0, 0), Point(1, 1, 1));
    box.include(Point(2, -1, 0.5));
    std::printf("box after including (2,-1,0.5): min %s max %s volume %g\n",
                toString(box.min()).c_str(), toString(box.max()).c_str(), box.volume());

    struct Cosine : evalFunction {
        double eval(double x) override { return std::cos(x); }
    } cosine;
    double a = 0.5, b = 1, c, fa, fb, fc;
    if (minimumBracket(cosine, a, b, c, fa, fb, fc)) {
        std::printf("minimumBracket(cos) from 0.5, 1: [%g, %g, %g] (pi lies between)\n", a, b, c);
    }
    std::printf("%s\n", toString(Line(Point(0, 0, 1), Normal(1, 0, 0))).c_str());
    std::printf("tolerances: epsilonTol %g, perpendicularTol %.17g\n", epsilonTol,
                perpendicularTol);
}
