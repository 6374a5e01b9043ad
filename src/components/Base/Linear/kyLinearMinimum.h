// kyLinearMinimum.h - bracketing a minimum of a one-dimensional function.
#ifndef KY_LINEAR_MINIMUM_H
#define KY_LINEAR_MINIMUM_H

#include <Base/BaseExport.h>

namespace kyLinear {

/// A function of one variable for the minimisation helpers: derive and implement `eval`.
/// The helpers call it from the caller's thread only.
class KY_BASE_API evalFunction {
public:
    virtual ~evalFunction();
    /// The function's value at x.
    virtual double eval(double x) = 0;
};

/// Finds three abscissae a, b, c around a minimum of f, starting from the two distinct points a
/// and b: on success b lies strictly between a and c (a may be on either side: the points are
/// swapped so that the search goes downhill), f(b) <= f(a) and f(b) < f(c), so a minimum lies
/// between a and c; fa, fb, fc hold the three function values. The search walks downhill from a
/// towards b with steps that grow by the golden ratio, shortened by parabolic extrapolation, and
/// evaluates f at most maxEvaluations times.
///
/// Returns false when no bracket was found: a == b, a non-finite start point or function
/// value, or the evaluation limit reached (a function that keeps decreasing, or is constant).
/// a, b, c, fa, fb, fc then hold the last points tried. Reentrant; nothing is thrown.
///
/// @code
///   struct Parabola : kyLinear::evalFunction {
///       double eval(double x) override { return (x - 3) * (x - 3); }
///   } f;
///   double a = 0, b = 1, c, fa, fb, fc;
///   bool found = kyLinear::minimumBracket(f, a, b, c, fa, fb, fc); // 3 in (a, c)
/// @endcode
KY_BASE_API bool minimumBracket(evalFunction& f, double& a, double& b, double& c, double& fa,
                                double& fb, double& fc, int maxEvaluations = 200);

} // namespace kyLinear

#endif // KY_LINEAR_MINIMUM_H
