// kyLinearTolerance.cpp - the process-wide tolerances of kyLinear.
#include <Base/Linear/kyLinearTolerance.h>

#include <cmath>

namespace kyLinear {

KY_BASE_API double epsilonTol = 1e-12;
KY_BASE_API double epsilon2Tol = 1e-24;
KY_BASE_API float epsilonTolFlt = 1e-6f;
KY_BASE_API float epsilon2TolFlt = 1e-12f;
KY_BASE_API double degreeTol = 1e-5;
// degreeTol in radians is 1.7453292519943297e-7; these are set when the library is loaded.
KY_BASE_API double perpendicularTol = std::sin(degreeTol * (kPi / 180.0));
KY_BASE_API double perpendicular2Tol = perpendicularTol * perpendicularTol;
KY_BASE_API double parallelTol = std::cos(degreeTol * (kPi / 180.0));
KY_BASE_API double parallel2Tol = parallelTol * parallelTol;

} // namespace kyLinear
