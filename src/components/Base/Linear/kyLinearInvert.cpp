// kyLinearInvert.cpp - inversion of the affine and projective matrices (closed forms).
#include <Base/Linear/kyLinearAffineMatrix.h>
#include <Base/Linear/kyLinearAffineMatrix2.h>
#include <Base/Linear/kyLinearProjInverse.h>
#include <Base/Linear/kyLinearProjMatrix.h>

#include <cmath>
#include <cstring>

// Every function reads all of src before writing dst, so src and dst may be the same matrix,
// and leaves dst untouched when it returns false.

namespace kyLinear {
namespace detail {

namespace {

// A row-major 4 x 3 affine matrix: rows 0-2 linear, row 3 translation. The inverse of
// p L + t is p L^-1 - t L^-1, and L^-1 is the adjugate over the determinant.
template <class T>
bool invertAffineT(const T* m, T* dst, bool checkTolerance) {
    const T a00 = m[0], a01 = m[1], a02 = m[2];
    const T a10 = m[3], a11 = m[4], a12 = m[5];
    const T a20 = m[6], a21 = m[7], a22 = m[8];
    const T c00 = a11 * a22 - a12 * a21;
    const T c01 = a12 * a20 - a10 * a22;
    const T c02 = a10 * a21 - a11 * a20;
    const T det = a00 * c00 + a01 * c01 + a02 * c02;
    if (!acceptDeterminant(det, checkTolerance)) {
        return false;
    }
    const T inv = T(1) / det;
    const T i00 = c00 * inv;
    const T i01 = (a02 * a21 - a01 * a22) * inv;
    const T i02 = (a01 * a12 - a02 * a11) * inv;
    const T i10 = c01 * inv;
    const T i11 = (a00 * a22 - a02 * a20) * inv;
    const T i12 = (a02 * a10 - a00 * a12) * inv;
    const T i20 = c02 * inv;
    const T i21 = (a01 * a20 - a00 * a21) * inv;
    const T i22 = (a00 * a11 - a01 * a10) * inv;
    const T tx = m[9], ty = m[10], tz = m[11];
    dst[0] = i00;
    dst[1] = i01;
    dst[2] = i02;
    dst[3] = i10;
    dst[4] = i11;
    dst[5] = i12;
    dst[6] = i20;
    dst[7] = i21;
    dst[8] = i22;
    dst[9] = -(tx * i00 + ty * i10 + tz * i20);
    dst[10] = -(tx * i01 + ty * i11 + tz * i21);
    dst[11] = -(tx * i02 + ty * i12 + tz * i22);
    return true;
}

template <class T>
bool isAffineExactly(const T* m) {
    return m[3] == 0 && m[7] == 0 && m[11] == 0 && m[15] == 1;
}

// invertFast's cheaper route for a 4 x 4 matrix whose last column is exactly (0, 0, 0, 1).
template <class T>
bool invertProjAsAffine(const T* m, T* dst) {
    T affine[12] = {m[0], m[1], m[2], m[4], m[5], m[6], m[8], m[9], m[10], m[12], m[13], m[14]};
    if (!invertAffineT(affine, affine, false)) {
        return false;
    }
    for (int r = 0; r < 4; ++r) {
        dst[4 * r] = affine[3 * r];
        dst[4 * r + 1] = affine[3 * r + 1];
        dst[4 * r + 2] = affine[3 * r + 2];
        dst[4 * r + 3] = r == 3 ? T(1) : T(0);
    }
    return true;
}

// A row-major 4 x 4 matrix. Cofactors from the twelve 2 x 2 minors of the top two and the
// bottom two rows (Laplace expansion), about 100 multiplications. Used for floats, and for
// doubles where the compiler has no vector extensions.
template <class T>
bool invertProjT(const T* m, T* dst, bool checkTolerance) {
    const T a00 = m[0], a01 = m[1], a02 = m[2], a03 = m[3];
    const T a10 = m[4], a11 = m[5], a12 = m[6], a13 = m[7];
    const T a20 = m[8], a21 = m[9], a22 = m[10], a23 = m[11];
    const T a30 = m[12], a31 = m[13], a32 = m[14], a33 = m[15];
    const T s0 = a00 * a11 - a10 * a01;
    const T s1 = a00 * a12 - a10 * a02;
    const T s2 = a00 * a13 - a10 * a03;
    const T s3 = a01 * a12 - a11 * a02;
    const T s4 = a01 * a13 - a11 * a03;
    const T s5 = a02 * a13 - a12 * a03;
    const T c5 = a22 * a33 - a32 * a23;
    const T c4 = a21 * a33 - a31 * a23;
    const T c3 = a21 * a32 - a31 * a22;
    const T c2 = a20 * a33 - a30 * a23;
    const T c1 = a20 * a32 - a30 * a22;
    const T c0 = a20 * a31 - a30 * a21;
    const T det = s0 * c5 - s1 * c4 + s2 * c3 + s3 * c2 - s4 * c1 + s5 * c0;
    if (!acceptDeterminant(det, checkTolerance)) {
        return false;
    }
    const T inv = T(1) / det;
    dst[0] = (a11 * c5 - a12 * c4 + a13 * c3) * inv;
    dst[1] = (-a01 * c5 + a02 * c4 - a03 * c3) * inv;
    dst[2] = (a31 * s5 - a32 * s4 + a33 * s3) * inv;
    dst[3] = (-a21 * s5 + a22 * s4 - a23 * s3) * inv;
    dst[4] = (-a10 * c5 + a12 * c2 - a13 * c1) * inv;
    dst[5] = (a00 * c5 - a02 * c2 + a03 * c1) * inv;
    dst[6] = (-a30 * s5 + a32 * s2 - a33 * s1) * inv;
    dst[7] = (a20 * s5 - a22 * s2 + a23 * s1) * inv;
    dst[8] = (a10 * c4 - a11 * c2 + a13 * c0) * inv;
    dst[9] = (-a00 * c4 + a01 * c2 - a03 * c0) * inv;
    dst[10] = (a30 * s4 - a31 * s2 + a33 * s0) * inv;
    dst[11] = (-a20 * s4 + a21 * s2 - a23 * s0) * inv;
    dst[12] = (-a10 * c3 + a11 * c1 - a12 * c0) * inv;
    dst[13] = (a00 * c3 - a01 * c1 + a02 * c0) * inv;
    dst[14] = (-a30 * s3 + a31 * s1 - a32 * s0) * inv;
    dst[15] = (a20 * s3 - a21 * s1 + a22 * s0) * inv;
    return true;
}

bool invertProjDouble(const double* m, double* dst, bool checkTolerance) {
#if KY_LINEAR_INLINE_INVERSE
    return checkTolerance ? invertProj4<true>(m, dst) : invertProj4<false>(m, dst);
#else
    return invertProjT(m, dst, checkTolerance);
#endif
}

} // namespace

bool invertAffine(const double* src, double* dst) {
    return invertAffineT(src, dst, true);
}
bool invertAffine(const float* src, float* dst) {
    return invertAffineT(src, dst, true);
}

bool invertProj(const double* src, double* dst, bool fast) {
    if (!fast) {
        return invertProjDouble(src, dst, true);
    }
    if (isAffineExactly(src)) {
        return invertProjAsAffine(src, dst);
    }
    return invertProjDouble(src, dst, false);
}

bool invertProj(const float* src, float* dst, bool fast) {
    if (fast && isAffineExactly(src)) {
        return invertProjAsAffine(src, dst);
    }
    return invertProjT(src, dst, !fast);
}

bool invertAffine2(const double* src, double* dst) {
    const double a00 = src[0], a01 = src[1], a10 = src[2], a11 = src[3];
    const double det = a00 * a11 - a01 * a10;
    if (!acceptDeterminant(det, true)) {
        return false;
    }
    const double inv = 1.0 / det;
    const double i00 = a11 * inv, i01 = -a01 * inv, i10 = -a10 * inv, i11 = a00 * inv;
    const double tx = src[4], ty = src[5];
    dst[0] = i00;
    dst[1] = i01;
    dst[2] = i10;
    dst[3] = i11;
    dst[4] = -(tx * i00 + ty * i10);
    dst[5] = -(tx * i01 + ty * i11);
    return true;
}

} // namespace detail
} // namespace kyLinear
