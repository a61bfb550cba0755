#pragma once

/// A rotation as a quaternion: x, y, z are the vector part and w is the scalar part. Angles are in
/// radians, except in `getRotationAngle`. Most operations assume length 1 and don't test for it.

#include "Shared/Math/Vec3.h"

namespace Vexorel::PrismDrift {

class Euler;
class Mat4;

/// Only what is marked `const` can be called on a constant quaternion. Arguments may be this one.
class Quaternion {
public:
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    double w = 1.0;

    // Construction and setting

    /// The identity, (0, 0, 0, 1).
    constexpr Quaternion() = default;
    /// (x, y, z, 1), not normalised.
    constexpr Quaternion(double xValue, double yValue, double zValue)
        : x(xValue), y(yValue), z(zValue) {}
    constexpr Quaternion(double xValue, double yValue, double zValue, double wValue)
        : x(xValue), y(yValue), z(zValue), w(wValue) {}
    /// About an axis of length 1; unlike in `set`, it is used as it is given.
    Quaternion(const Vec3& axis, double angle);
    /// As `setWithDirection`.
    Quaternion(const Vec3& from, const Vec3& to) { setWithDirection(from, to); }

    /// w stays as it is.
    void set(double xValue, double yValue, double zValue) {
        *this = Quaternion(xValue, yValue, zValue, w);
    }
    void set(double xValue, double yValue, double zValue, double wValue) {
        *this = Quaternion(xValue, yValue, zValue, wValue);
    }
    /// About an axis of any length; the zero axis counts as (1, 0, 0).
    void set(const Vec3& axis, double angle);
    /// Reads x, y, z, w from array[offset] on.
    void setWithArray(double* array, int offset);
    /// Writes x, y, z, w from array[offset] on.
    void toArray(double* array, int offset) const;
    /// The shortest rotation between two directions of length 1; for opposite ones the half turn
    /// about a perpendicular of `from`.
    void setWithDirection(const Vec3& from, const Vec3& to);
    /// The rotation of the upper left 3×3 block, which must have no scale and no mirroring.
    void setWithMat4(const Mat4& matrix);
    /// From angles, in their order; computed in single precision, so good to about seven digits.
    /// For the order `None` all four fields become 0, which is no rotation; an order without a name
    /// leaves the quaternion as it is.
    void setWithEuler(const Euler& euler);

    // Comparison: exact, where the other types compare within TOLERANCE

    bool operator==(const Quaternion& q) const {
        return x == q.x && y == q.y && z == q.z && w == q.w;
    }
    /// True with a NaN.
    bool operator!=(const Quaternion& q) const { return !(*this == q); }

    // Measures

    double dot(const Quaternion& q) { return x * q.x + y * q.y + z * q.z + w * q.w; }
    double lengthSq() { return dot(*this); }
    double length() { return std::sqrt(lengthSq()); }
    /// In degrees, 0 to 360; NaN where |w| is above 1.
    double getRotationAngle();
    /// Of length 1; (0, 0, 1) where w² is within TOLERANCE of 1, so that there is next to no
    /// rotation.
    Vec3 getRotationAxis();

    // Changes in place

    /// Scales to length 1; the zero quaternion becomes the identity.
    void normalize();
    /// Negates the vector part; the length stays.
    void conjugate() { *this = Quaternion(-x, -y, -z, w); }
    /// The conjugate scaled to length 1, which is the inverse of a unit quaternion.
    void setInverse();
    /// this × q: q acts first on a vector.
    void multiply(const Quaternion& q) { multiplyQuaternions(*this, q); }
    /// q × this: q acts last on a vector.
    void premultiply(const Quaternion& q) { multiplyQuaternions(q, *this); }
    /// Makes this a × b; either may be this quaternion.
    void multiplyQuaternions(const Quaternion& a, const Quaternion& b);
    /// Moves this quaternion along the shorter arc towards q: 0 changes nothing, 1 gives q itself,
    /// and t is not clamped. Between nearly equal rotations, every other t gives the mean; between
    /// equal ones, this quaternion stays. The result is not normalised.
    void slerp(const Quaternion& q, double t);

    // Static forms

    /// The vector turned by a unit quaternion.
    static Vec3 quaternionMulVec3(const Quaternion& q, const Vec3& v);
    /// A copy of `a` after `slerp(b, t)`, so spherical despite the name.
    static Quaternion lerp(const Quaternion& a, const Quaternion& b, double t);
};

static_assert(isPlainRowOfDoubles<Quaternion, 4>);

} // namespace Vexorel::PrismDrift
