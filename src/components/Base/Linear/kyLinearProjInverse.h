// kyLinearProjInverse.h - the double 4 x 4 inverse, inline where the compiler has vectors.
#ifndef KY_LINEAR_PROJINVERSE_H
#define KY_LINEAR_PROJINVERSE_H

#include <Base/Linear/kyLinearTolerance.h>

#include <cmath>
#include <cstring>

// Inverting is a few dozen vector operations, so a call, and the copy of the result out of a
// returned temporary, are a noticeable share of it: `ProjMatrix::invert` and `inverse` use
// this inline form where GCC or Clang vector extensions exist (two-lane SSE2 registers on
// x86-64), and the library's out-of-line routine elsewhere.
#if defined(__GNUC__)
#define KY_LINEAR_INLINE_INVERSE 1
#define KY_LINEAR_ALWAYS_INLINE inline __attribute__((always_inline))
#else
#define KY_LINEAR_INLINE_INVERSE 0
#define KY_LINEAR_ALWAYS_INLINE inline
#endif

namespace kyLinear {
namespace detail {

/// Whether a determinant allows inversion: at least the tolerance in magnitude, or (for the
/// fast variants, which skip the tolerance) merely non-zero and finite.
template <class T>
bool acceptDeterminant(T det, bool checkTolerance) {
    return checkTolerance ? std::fabs(det) >= Tolerance<T>::epsilon()
                          : det != 0 && std::isfinite(det);
}

#if KY_LINEAR_INLINE_INVERSE
namespace proj4 {

// The double 4 x 4 inverse by 2 x 2 blocks on two-lane vectors (GCC and Clang vector
// extensions; SSE2 registers on x86-64), about half the instructions of the scalar cofactors.
// With M = [A B; C D] and # the adjugate:
//   |M| = |A||D| + |B||C| - tr((A#B)(D#C)),
//   M^-1 = [X# Y#; Z# W#] / |M| with X = |D|A - B(D#C), W = |A|D - C(A#B),
//                                    Y = |B|C - D(A#B)#, Z = |C|B - A(D#C)#.
typedef double Lanes __attribute__((vector_size(16)));
typedef long long LaneIndex __attribute__((vector_size(16)));

#if defined(__clang__)
#define KY_LINEAR_SHUFFLE(a, b, i, j) __builtin_shufflevector(a, b, i, j)
#else
#define KY_LINEAR_SHUFFLE(a, b, i, j) __builtin_shuffle(a, b, LaneIndex{i, j})
#endif

// A 2 x 2 block as its two rows.
struct Block {
    Lanes r0, r1;
};

inline Lanes low(Lanes x) {
    return KY_LINEAR_SHUFFLE(x, x, 0, 0);
}
inline Lanes high(Lanes x) {
    return KY_LINEAR_SHUFFLE(x, x, 1, 1);
}
inline Lanes swapped(Lanes x) {
    return KY_LINEAR_SHUFFLE(x, x, 1, 0);
}
inline double det(const Block& p) {
    const Lanes t = p.r0 * swapped(p.r1);
    return t[0] - t[1];
}
// P Q
inline Block mul(const Block& p, const Block& q) {
    return {low(p.r0) * q.r0 + high(p.r0) * q.r1, low(p.r1) * q.r0 + high(p.r1) * q.r1};
}
// P# Q, with P# = [p11 -p01; -p10 p00]
inline Block adjMul(const Block& p, const Block& q) {
    return {high(p.r1) * q.r0 - high(p.r0) * q.r1, low(p.r0) * q.r1 - low(p.r1) * q.r0};
}
// P Q#: row i is (p_i0 q11 - p_i1 q10, p_i1 q00 - p_i0 q01), which needs no sign changes
// when written as p_i (q11, q00) - swapped(p_i) (q10, q01).
inline Block mulAdj(const Block& p, const Block& q) {
    const Lanes diagonal = KY_LINEAR_SHUFFLE(q.r1, q.r0, 1, 2); // (q11, q00)
    const Lanes cross = KY_LINEAR_SHUFFLE(q.r1, q.r0, 0, 3);    // (q10, q01)
    return {p.r0 * diagonal - swapped(p.r0) * cross, p.r1 * diagonal - swapped(p.r1) * cross};
}
// s P - Q
inline Block scaleSub(double s, const Block& p, const Block& q) {
    return {s * p.r0 - q.r0, s * p.r1 - q.r1};
}
// The two rows of P# / |M|.
inline void adjugateRows(const Block& p, double inv, Lanes& row0, Lanes& row1) {
    row0 = KY_LINEAR_SHUFFLE(p.r1, p.r0, 1, 3) * Lanes{inv, -inv};
    row1 = KY_LINEAR_SHUFFLE(p.r1, p.r0, 0, 2) * Lanes{-inv, inv};
}

} // namespace proj4

/// The inverse of the row-major 4 x 4 matrix `m` into `dst` (which may be `m`): false, and dst
/// untouched, when |det| is below the tolerance (kCheckTolerance) or is 0 or not finite.
template <bool kCheckTolerance>
KY_LINEAR_ALWAYS_INLINE bool invertProj4(const double* m, double* dst) {
    using namespace proj4;
    Lanes in[8]; // row i is in[2 i] (columns 0 and 1) and in[2 i + 1] (columns 2 and 3)
    std::memcpy(in, m, sizeof in);
    const Block a{in[0], in[2]}, b{in[1], in[3]}, c{in[4], in[6]}, d{in[5], in[7]};
    const double detA = det(a), detB = det(b), detC = det(c), detD = det(d);
    const Block dc = adjMul(d, c), ab = adjMul(a, b);
    const Block x = scaleSub(detD, a, mul(b, dc));
    const Block w = scaleSub(detA, d, mul(c, ab));
    const Block y = scaleSub(detB, c, mulAdj(d, ab));
    const Block z = scaleSub(detC, b, mulAdj(a, dc));
    const Lanes trace = ab.r0 * KY_LINEAR_SHUFFLE(dc.r0, dc.r1, 0, 2) +
                        ab.r1 * KY_LINEAR_SHUFFLE(dc.r0, dc.r1, 1, 3);
    const double determinant = detA * detD + detB * detC - (trace[0] + trace[1]);
    if (!acceptDeterminant(determinant, kCheckTolerance)) {
        return false;
    }
    const double inv = 1.0 / determinant;
    Lanes out[8];
    adjugateRows(x, inv, out[0], out[2]);
    adjugateRows(y, inv, out[1], out[3]);
    adjugateRows(z, inv, out[4], out[6]);
    adjugateRows(w, inv, out[5], out[7]);
    std::memcpy(dst, out, sizeof out);
    return true;
}

#undef KY_LINEAR_SHUFFLE
#endif

} // namespace detail
} // namespace kyLinear

#endif // KY_LINEAR_PROJINVERSE_H
