// kyLinearTolerance.h - the tolerances shared by every kyLinear type, and pi.
#ifndef KY_LINEAR_TOLERANCE_H
#define KY_LINEAR_TOLERANCE_H

#include <Base/BaseExport.h>

namespace kyLinear {

/// Pi, for angles given in radians.
inline constexpr double kPi = 3.14159265358979323846;

// The tolerances are process-wide variables, set when the library is loaded. The application
// may change them, but only while no other thread uses kyLinear (they are read without
// synchronisation). The derived ones are computed once at load time and do not follow later
// changes of `degreeTol`.

/// Lengths and determinants below this count as zero (double): 1e-12.
extern KY_BASE_API double epsilonTol;
/// Squared lengths below or at this count as zero (double): 1e-24, the square of epsilonTol.
extern KY_BASE_API double epsilon2Tol;
/// The float counterpart of epsilonTol: 1e-6.
extern KY_BASE_API float epsilonTolFlt;
/// The float counterpart of epsilon2Tol: 1e-12.
extern KY_BASE_API float epsilon2TolFlt;
/// Angles below this count as zero: 1e-5 degrees.
extern KY_BASE_API double degreeTol;
/// Sine of degreeTol in radians: two unit vectors whose cross product is shorter than this are
/// parallel.
extern KY_BASE_API double perpendicularTol;
/// The square of perpendicularTol.
extern KY_BASE_API double perpendicular2Tol;
/// Cosine of degreeTol in radians: two unit vectors whose dot product exceeds this are parallel.
extern KY_BASE_API double parallelTol;
/// The square of parallelTol.
extern KY_BASE_API double parallel2Tol;

namespace detail {

/// The tolerance of each scalar type, read from the process-wide variables at each call.
template <class T>
struct Tolerance;

template <>
struct Tolerance<double> {
    static double epsilon() { return epsilonTol; }
    static double epsilon2() { return epsilon2Tol; }
};

template <>
struct Tolerance<float> {
    static float epsilon() { return epsilonTolFlt; }
    static float epsilon2() { return epsilon2TolFlt; }
};

} // namespace detail
} // namespace kyLinear

#endif // KY_LINEAR_TOLERANCE_H
