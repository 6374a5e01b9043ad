// kyLinearMinimum.cpp - bracketing a minimum of a one-dimensional function.
#include <Base/Linear/kyLinearMinimum.h>

#include <cmath>
#include <utility>

namespace kyLinear {

evalFunction::~evalFunction() = default;

namespace {

constexpr double kGold = 1.618033988749895; // step growth: the golden ratio
constexpr double kMaxGrowth = 100.0;        // largest parabolic step, in steps of c - b
constexpr double kTinyDenominator = 1e-20;  // keeps the parabola's vertex finite

bool finite(double v) {
    return std::isfinite(v);
}

} // namespace

bool minimumBracket(evalFunction& f, double& a, double& b, double& c, double& fa, double& fb,
                    double& fc, int maxEvaluations) {
    c = b;
    fa = fb = fc = std::nan("");
    if (!finite(a) || !finite(b) || a == b) {
        return false;
    }
    int evaluations = 0;
    auto eval = [&](double x) {
        ++evaluations;
        return f.eval(x);
    };
    fa = eval(a);
    fb = eval(b);
    if (!finite(fa) || !finite(fb)) {
        return false;
    }
    if (fb > fa) { // walk downhill: from a towards b
        std::swap(a, b);
        std::swap(fa, fb);
    }
    c = b + kGold * (b - a);
    fc = eval(c);
    // Invariant: a, b, c in order along the walk and fb <= fa. Done once fc rises above fb.
    while (!(fc > fb)) {
        if (!finite(c) || !finite(fc) || evaluations >= maxEvaluations) {
            return false;
        }
        // The vertex of the parabola through the three points, limited to kMaxGrowth steps.
        const double r = (b - a) * (fb - fc);
        const double q = (b - c) * (fb - fa);
        double denominator = q - r;
        if (std::fabs(denominator) < kTinyDenominator) {
            denominator = std::copysign(kTinyDenominator, denominator);
        }
        double u = b - ((b - c) * q - (b - a) * r) / (2.0 * denominator);
        const double limit = b + kMaxGrowth * (c - b);
        double fu;
        if ((b - u) * (u - c) > 0.0) { // vertex between b and c
            fu = eval(u);
            if (fu < fc) { // the minimum is between b and c
                a = b;
                fa = fb;
                b = u;
                fb = fu;
                return finite(fu);
            }
            if (fu > fb) { // the minimum is between a and u
                c = u;
                fc = fu;
                return true;
            }
            u = c + kGold * (c - b); // the parabola did not help: a golden step
            fu = eval(u);
        } else if ((c - u) * (u - limit) > 0.0) { // vertex beyond c, within the limit
            fu = eval(u);
            if (fu < fc) {
                b = c;
                fb = fc;
                c = u;
                fc = fu;
                u = c + kGold * (c - b);
                fu = eval(u);
            }
        } else if ((u - limit) * (limit - c) >= 0.0) { // vertex past the limit
            u = limit;
            fu = eval(u);
        } else { // vertex behind b: a golden step
            u = c + kGold * (c - b);
            fu = eval(u);
        }
        a = b;
        fa = fb;
        b = c;
        fb = fc;
        c = u;
        fc = fu;
    }
    return finite(fc);
}

} // namespace kyLinear
