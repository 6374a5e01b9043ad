// ioLinear.h - points, vectors, normals, quaternions and matrices through the packet contexts.
#ifndef KY_IO_LINEAR_H
#define KY_IO_LINEAR_H

#include <Base/IO/ioContext.h>
#include <Base/Linear/kyLinearAffineMatrix.h>
#include <Base/Linear/kyLinearProjMatrix.h>
#include <Base/Linear/kyLinearQuaternion.h>
#include <Base/Linear/kyLinearVector.h>

/// Each value travels as one array of its scalars (doubles or floats, no count): x, y, z
/// (and w) for points, vectors, normals and quaternions, the rows of a matrix in order. A
/// value read past the end of its packet comes back zero and the context's status says so.

namespace ioDetail {
inline void writeScalars(ioWriteContext& c, const double* v, int n) {
    c.writeDoubleArray(v, n);
}
inline void writeScalars(ioWriteContext& c, const float* v, int n) {
    c.writeFloatArray(v, n);
}
inline void readScalars(ioReadContext& c, double* v, int n) {
    c.readDoubleArray(v, n);
}
inline void readScalars(ioReadContext& c, float* v, int n) {
    c.readFloatArray(v, n);
}
} // namespace ioDetail

template <class T>
void ioWrite(ioWriteContext& c, const kyLinear::TPoint<T>& p) {
    const T v[3] = {p.x, p.y, p.z};
    ioDetail::writeScalars(c, v, 3);
}
template <class T>
void ioRead(ioReadContext& c, kyLinear::TPoint<T>& p) {
    T v[3];
    ioDetail::readScalars(c, v, 3);
    p.set(v[0], v[1], v[2]);
}

template <class T>
void ioWrite(ioWriteContext& c, const kyLinear::TVector<T>& p) {
    const T v[3] = {p.x, p.y, p.z};
    ioDetail::writeScalars(c, v, 3);
}
template <class T>
void ioRead(ioReadContext& c, kyLinear::TVector<T>& p) {
    T v[3];
    ioDetail::readScalars(c, v, 3);
    p = kyLinear::TVector<T>(v[0], v[1], v[2]);
}

/// A normal is stored as its three components; reading normalises them again.
template <class T>
void ioWrite(ioWriteContext& c, const kyLinear::TNormal<T>& p) {
    const T v[3] = {p.x(), p.y(), p.z()};
    ioDetail::writeScalars(c, v, 3);
}
template <class T>
void ioRead(ioReadContext& c, kyLinear::TNormal<T>& p) {
    T v[3];
    ioDetail::readScalars(c, v, 3);
    p = kyLinear::TNormal<T>(v[0], v[1], v[2]);
}

inline void ioWrite(ioWriteContext& c, const kyLinear::Quaternion& q) {
    const double v[4] = {q.x, q.y, q.z, q.w};
    c.writeDoubleArray(v, 4);
}
inline void ioRead(ioReadContext& c, kyLinear::Quaternion& q) {
    double v[4];
    c.readDoubleArray(v, 4);
    q = kyLinear::Quaternion(v[0], v[1], v[2], v[3]);
}

template <class T>
void ioWrite(ioWriteContext& c, const kyLinear::TAffineMatrix<T>& m) {
    ioDetail::writeScalars(c, m.data(), 12);
}
template <class T>
void ioRead(ioReadContext& c, kyLinear::TAffineMatrix<T>& m) {
    ioDetail::readScalars(c, m.data(), 12);
}

template <class T>
void ioWrite(ioWriteContext& c, const kyLinear::TProjMatrix<T>& m) {
    ioDetail::writeScalars(c, m.data(), 16);
}
template <class T>
void ioRead(ioReadContext& c, kyLinear::TProjMatrix<T>& m) {
    ioDetail::readScalars(c, m.data(), 16);
}

#endif // KY_IO_LINEAR_H
