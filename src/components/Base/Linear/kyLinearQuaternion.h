// kyLinearQuaternion.h - quaternions (x, y, z, w) with the scalar part last, for rotations.
#ifndef KY_LINEAR_QUATERNION_H
#define KY_LINEAR_QUATERNION_H

#include <Base/Linear/kyLinearAffineMatrix.h>
#include <Base/Linear/kyLinearVector.h>

#include <cmath>

namespace kyLinear {

/// A quaternion x i + y j + z k + w, stored as x, y, z, w (scalar part last). Unit quaternions
/// are rotations: the one of angle a about the unit axis n is (sin(a/2) n, cos(a/2)), and its
/// matrix (`getMatrix`) is the `AffineMatrix` that `rotate(a, n)` builds.
///
/// The product is Hamilton's: (a * b) rotates by b first, then by a, so its matrix is
/// b.getMatrix() * a.getMatrix() in the row-vector convention. `normalize` divides by the
/// length without testing it: a zero quaternion deliberately becomes non-finite (NaN) instead
/// of being reported, so callers that may hold one must test `length2()` first. Plain value;
/// the default is the identity rotation (0, 0, 0, 1); not synchronised.
class Quaternion {
public:
    double x = 0;
    double y = 0;
    double z = 0;
    double w = 1;

    constexpr Quaternion() = default;
    constexpr Quaternion(double x, double y, double z, double w) : x(x), y(y), z(z), w(w) {}
    /// The rotation by angle radians about axis.
    Quaternion(double angle, const Normal& axis) { setAngleAxis(angle, axis); }

    /// Component i (0 = x, 1 = y, 2 = z, 3 = w).
    constexpr double& operator[](int i) { return i == 0 ? x : (i == 1 ? y : (i == 2 ? z : w)); }
    constexpr double operator[](int i) const {
        return i == 0 ? x : (i == 1 ? y : (i == 2 ? z : w));
    }

    /// The rotation by angle radians about axis: (sin(angle/2) axis, cos(angle/2)), then
    /// normalize(). An invalid (zero) axis gives (0, 0, 0, cos(angle/2)) normalised: the
    /// identity, or its negation.
    void setAngleAxis(double angle, const Normal& axis) {
        const double s = std::sin(angle / 2);
        x = s * axis.x();
        y = s * axis.y();
        z = s * axis.z();
        w = std::cos(angle / 2);
        normalize();
    }
    /// The angle (radians, 0 to 2 pi) and axis of the rotation. The axis is invalid when the
    /// vector part is too short to normalise (angle 0 or 2 pi: no rotation).
    void getAngleAxis(double& angle, Normal& axis) const {
        const double s = std::sqrt(x * x + y * y + z * z);
        angle = 2 * std::atan2(s, w);
        axis = Normal(x, y, z);
    }
    /// The rotation whose matrix has these rows: the images of the x, y and z axes, which must
    /// be orthonormal and right-handed (not checked).
    void setFrame(const Vector& xAxis, const Vector& yAxis, const Vector& zAxis) {
        // r[i][j] is the column-vector rotation matrix: the transpose of the rows given.
        const double r[3][3] = {
            {xAxis.x, yAxis.x, zAxis.x}, {xAxis.y, yAxis.y, zAxis.y}, {xAxis.z, yAxis.z, zAxis.z}};
        const double trace = r[0][0] + r[1][1] + r[2][2];
        // Shepperd's choice of the largest of w, x, y, z keeps the square root well away from 0.
        if (trace > 0) {
            const double s = 2 * std::sqrt(trace + 1);
            w = s / 4;
            x = (r[2][1] - r[1][2]) / s;
            y = (r[0][2] - r[2][0]) / s;
            z = (r[1][0] - r[0][1]) / s;
        } else if (r[0][0] > r[1][1] && r[0][0] > r[2][2]) {
            const double s = 2 * std::sqrt(1 + r[0][0] - r[1][1] - r[2][2]);
            w = (r[2][1] - r[1][2]) / s;
            x = s / 4;
            y = (r[0][1] + r[1][0]) / s;
            z = (r[0][2] + r[2][0]) / s;
        } else if (r[1][1] > r[2][2]) {
            const double s = 2 * std::sqrt(1 + r[1][1] - r[0][0] - r[2][2]);
            w = (r[0][2] - r[2][0]) / s;
            x = (r[0][1] + r[1][0]) / s;
            y = s / 4;
            z = (r[1][2] + r[2][1]) / s;
        } else {
            const double s = 2 * std::sqrt(1 + r[2][2] - r[0][0] - r[1][1]);
            w = (r[1][0] - r[0][1]) / s;
            x = (r[0][2] + r[2][0]) / s;
            y = (r[1][2] + r[2][1]) / s;
            z = s / 4;
        }
        normalize();
    }
    /// The rotation of the linear part of m (which must be a rotation; translation ignored).
    void setFrame(const AffineMatrix& m) {
        setFrame(Vector(m(0, 0), m(0, 1), m(0, 2)), Vector(m(1, 0), m(1, 1), m(1, 2)),
                 Vector(m(2, 0), m(2, 1), m(2, 2)));
    }
    /// The images of the x, y and z axes under this (unit) rotation: the rows of getMatrix().
    void getFrame(Vector& xAxis, Vector& yAxis, Vector& zAxis) const {
        const double xx = x * x, yy = y * y, zz = z * z;
        const double xy = x * y, xz = x * z, yz = y * z;
        const double wx = w * x, wy = w * y, wz = w * z;
        xAxis = Vector(1 - 2 * (yy + zz), 2 * (xy + wz), 2 * (xz - wy));
        yAxis = Vector(2 * (xy - wz), 1 - 2 * (xx + zz), 2 * (yz + wx));
        zAxis = Vector(2 * (xz + wy), 2 * (yz - wx), 1 - 2 * (xx + yy));
    }
    /// The rotation matrix of this (unit) quaternion, no translation.
    AffineMatrix getMatrix() const {
        AffineMatrix m;
        getMatrix(m);
        return m;
    }
    void getMatrix(AffineMatrix& m) const {
        Vector ax, ay, az;
        getFrame(ax, ay, az);
        m.setFrame(Point(), ax, ay, az);
    }
    /// v rotated by this unit quaternion: the same as v * getMatrix().
    Vector rotate(const Vector& v) const {
        const Vector q(x, y, z);
        const Vector t = cross(q, v) * 2.0;
        return v + t * w + cross(q, t);
    }

    /// Divides all four components by the length. No test for zero, on purpose: a zero
    /// quaternion becomes NaN.
    Quaternion& normalize() {
        const double len = std::sqrt(x * x + y * y + z * z + w * w);
        x /= len;
        y /= len;
        z /= len;
        w /= len;
        return *this;
    }
    double length() const { return std::sqrt(length2()); }
    constexpr double length2() const { return x * x + y * y + z * z + w * w; }
    /// (-x, -y, -z, w): the inverse rotation of a unit quaternion.
    constexpr Quaternion conjugate() const { return Quaternion(-x, -y, -z, w); }

    /// Hamilton product: this = this * q.
    constexpr Quaternion& operator*=(const Quaternion& q) {
        return *this = Quaternion(
                   w * q.x + x * q.w + y * q.z - z * q.y, w * q.y - x * q.z + y * q.w + z * q.x,
                   w * q.z + x * q.y - y * q.x + z * q.w, w * q.w - x * q.x - y * q.y - z * q.z);
    }
    /// this = this * q^-1 (q^-1 = conjugate / length2; a zero q gives non-finite values).
    constexpr Quaternion& operator/=(const Quaternion& q) {
        const double inv = 1 / q.length2();
        const Quaternion c = q.conjugate();
        return *this *= Quaternion(c.x * inv, c.y * inv, c.z * inv, c.w * inv);
    }
    constexpr Quaternion& operator*=(double s) {
        x *= s;
        y *= s;
        z *= s;
        w *= s;
        return *this;
    }
    constexpr Quaternion& operator/=(double s) {
        x /= s;
        y /= s;
        z /= s;
        w /= s;
        return *this;
    }
    constexpr Quaternion operator-() const { return Quaternion(-x, -y, -z, -w); }

    friend constexpr Quaternion operator*(Quaternion a, const Quaternion& b) { return a *= b; }
    friend constexpr Quaternion operator/(Quaternion a, const Quaternion& b) { return a /= b; }
    friend constexpr Quaternion operator*(Quaternion a, double s) { return a *= s; }
    friend constexpr Quaternion operator*(double s, Quaternion a) { return a *= s; }
    friend constexpr Quaternion operator/(Quaternion a, double s) { return a /= s; }
    friend constexpr double dot(const Quaternion& a, const Quaternion& b) {
        return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
    }
    friend constexpr bool operator==(const Quaternion& a, const Quaternion& b) {
        return a.x == b.x && a.y == b.y && a.z == b.z && a.w == b.w;
    }
    friend constexpr bool operator!=(const Quaternion& a, const Quaternion& b) { return !(a == b); }
};

} // namespace kyLinear

#endif // KY_LINEAR_QUATERNION_H
