#include "Shared/Math/Quaternion.h"

#include "Shared/Math/Euler.h"
#include "Shared/Math/Mat4.h"

namespace Vexorel::PrismDrift {

namespace {

/// The fields of `q` times a factor.
Quaternion scaled(const Quaternion& q, double factor) {
    return {q.x * factor, q.y * factor, q.z * factor, q.w * factor};
}

/// a·weightOfA + b·weightOfB, field by field.
Quaternion blend(const Quaternion& a, double weightOfA, const Quaternion& b, double weightOfB) {
    return {a.x * weightOfA + b.x * weightOfB, a.y * weightOfA + b.y * weightOfB,
            a.z * weightOfA + b.z * weightOfB, a.w * weightOfA + b.w * weightOfB};
}

} // namespace

Quaternion::Quaternion(const Vec3& axis, double angle) {
    const double s = std::sin(angle * 0.5);
    *this = Quaternion(axis.x * s, axis.y * s, axis.z * s, std::cos(angle * 0.5));
}

void Quaternion::set(const Vec3& axis, double angle) {
    Vec3 unit = axis;
    unit.normalize();
    *this = Quaternion(unit, angle);
}

void Quaternion::setWithArray(double* array, int offset) {
    set(array[offset], array[offset + 1], array[offset + 2], array[offset + 3]);
}

void Quaternion::toArray(double* array, int offset) const {
    array[offset] = x;
    array[offset + 1] = y;
    array[offset + 2] = z;
    array[offset + 3] = w;
}

void Quaternion::setWithDirection(const Vec3& from, const Vec3& to) {
    // (from × to, from · to) turns by twice the angle. Adding the identity halves the angle; only
    // the length is left to set.
    double r = from.dot(to) + 1.0;
    Vec3 axis = from.cross(to);
    if (r < TOLERANCE) {
        r = 0.0;
        axis = std::abs(from.x) > std::abs(from.z) ? Vec3(-from.y, from.x, 0.0)
                                                   : Vec3(0.0, -from.z, from.y);
    }
    set(axis.x, axis.y, axis.z, r);
    normalize();
}

void Quaternion::setWithMat4(const Mat4& matrix) {
    // A field that is not small is formed from the diagonal, and the others from it, so that
    // nothing is divided by a small number.
    const double* m = matrix.m;
    const double trace = m[0] + m[5] + m[10];
    if (trace > 0.0) {
        const double s = 0.5 / std::sqrt(trace + 1.0);
        set((m[6] - m[9]) * s, (m[8] - m[2]) * s, (m[1] - m[4]) * s, 0.25 / s);
    } else if (m[0] > m[5] && m[0] > m[10]) {
        const double s = 2.0 * std::sqrt(m[0] + 1.0 - m[5] - m[10]);
        set(0.25 * s, (m[4] + m[1]) / s, (m[8] + m[2]) / s, (m[6] - m[9]) / s);
    } else if (m[5] > m[10]) {
        const double s = 2.0 * std::sqrt(m[5] + 1.0 - m[0] - m[10]);
        set((m[4] + m[1]) / s, 0.25 * s, (m[9] + m[6]) / s, (m[8] - m[2]) / s);
    } else {
        const double s = 2.0 * std::sqrt(m[10] + 1.0 - m[0] - m[5]);
        set((m[8] + m[2]) / s, (m[9] + m[6]) / s, 0.25 * s, (m[1] - m[4]) / s);
    }
}

void Quaternion::setWithEuler(const Euler& euler) {
    if (euler.order == Euler::None) {
        set(0.0, 0.0, 0.0, 0.0);
        return;
    }
    if (euler.order < Euler::XYZ || euler.order > Euler::ZYX) {
        return;
    }
    // The product of the three axis rotations has the same eight terms in every order, and their
    // signs alone differ: x, y, z, w by row, from XYZ on.
    static constexpr float signs[6][4] = {{1, -1, 1, -1}, {1, 1, -1, -1}, {-1, 1, 1, -1},
                                          {-1, -1, 1, 1}, {1, -1, -1, 1}, {-1, 1, -1, 1}};
    const float* sign = signs[euler.order - Euler::XYZ];
    const auto s1 = static_cast<float>(std::sin(euler.x * 0.5));
    const auto c1 = static_cast<float>(std::cos(euler.x * 0.5));
    const auto s2 = static_cast<float>(std::sin(euler.y * 0.5));
    const auto c2 = static_cast<float>(std::cos(euler.y * 0.5));
    const auto s3 = static_cast<float>(std::sin(euler.z * 0.5));
    const auto c3 = static_cast<float>(std::cos(euler.z * 0.5));
    set(s1 * c2 * c3 + sign[0] * (c1 * s2 * s3), c1 * s2 * c3 + sign[1] * (s1 * c2 * s3),
        c1 * c2 * s3 + sign[2] * (s1 * s2 * c3), c1 * c2 * c3 + sign[3] * (s1 * s2 * s3));
}

double Quaternion::getRotationAngle() {
    return 2.0 * std::acos(w) * RAD_TO_DEG;
}

Vec3 Quaternion::getRotationAxis() {
    const double squaredSine = 1.0 - w * w;
    if (squaredSine < TOLERANCE) {
        return {0.0, 0.0, 1.0};
    }
    return Vec3(x, y, z) * (1.0 / std::sqrt(squaredSine));
}

void Quaternion::normalize() {
    const double oldLength = length();
    *this = oldLength == 0.0 ? Quaternion() : scaled(*this, 1.0 / oldLength);
}

void Quaternion::setInverse() {
    conjugate();
    normalize();
}

void Quaternion::multiplyQuaternions(const Quaternion& a, const Quaternion& b) {
    *this = Quaternion(a.x * b.w + a.w * b.x + a.y * b.z - a.z * b.y,
                       a.y * b.w + a.w * b.y + a.z * b.x - a.x * b.z,
                       a.z * b.w + a.w * b.z + a.x * b.y - a.y * b.x,
                       a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z);
}

void Quaternion::slerp(const Quaternion& q, double t) {
    if (t == 1.0) {
        *this = q;
    }
    if (t == 1.0 || t == 0.0) {
        return;
    }
    // Of q and -q, which are the same rotation, the nearer one.
    const double signedCosine = dot(q);
    const double side = signedCosine < 0.0 ? -1.0 : 1.0;
    const double cosine = std::abs(signedCosine);
    if (cosine >= 1.0) {
        return;
    }
    constexpr double nearlyEqual = 0.001;
    const double sine = std::sqrt(1.0 - cosine * cosine);
    if (std::abs(sine) < nearlyEqual) {
        *this = scaled(blend(*this, 1.0, q, side), 0.5);
        return;
    }
    const double angle = std::atan2(sine, cosine);
    *this = blend(*this, std::sin((1.0 - t) * angle) / sine, q, side * std::sin(t * angle) / sine);
}

Vec3 Quaternion::quaternionMulVec3(const Quaternion& q, const Vec3& v) {
    const Vec3 u(q.x, q.y, q.z);
    const Vec3 a = u.cross(v);
    const Vec3 b = u.cross(a);
    return v + (a * q.w + b) * 2.0;
}

Quaternion Quaternion::lerp(const Quaternion& a, const Quaternion& b, double t) {
    Quaternion result = a;
    if (a != b) {
        result.slerp(b, t);
    }
    return result;
}

} // namespace Vexorel::PrismDrift
