#include "Shared/Math/Vec3.h"

#include "Shared/Math/Mat4.h"
#include "Shared/Math/Quaternion.h"

namespace Vexorel::PrismDrift {

namespace {

/// The product with the upper left 3×3 block.
Vec3 linearImage(const double* m, const Vec3& v) {
    return {m[0] * v.x + m[4] * v.y + m[8] * v.z, m[1] * v.x + m[5] * v.y + m[9] * v.z,
            m[2] * v.x + m[6] * v.y + m[10] * v.z};
}

} // namespace

double cyclicDifference(double a, double b, double period) {
    const double difference = a - b;
    const double half = 0.5 * period;
    if (difference > half) {
        return difference - period;
    }
    return -half > difference ? difference + period : difference;
}

void Vec3::fromArray(const double* array, int offset) {
    *this = Vec3(array[offset], array[offset + 1], array[offset + 2]);
}

void Vec3::toArray(double* array, int offset) {
    array[offset] = x;
    array[offset + 1] = y;
    array[offset + 2] = z;
}

void Vec3::setFromMatrixPosition(const Mat4& matrix) {
    setFromMatrixColumn(matrix, 3);
}

void Vec3::setFromMatrixColumn(const Mat4& matrix, int index) {
    fromArray(matrix.m, 4 * index);
}

int Vec3::largestAbsComponent() const {
    const bool xAboveY = std::abs(x) > std::abs(y);
    const double larger = xAboveY ? x : y;
    if (std::abs(larger) > std::abs(z)) {
        return xAboveY ? 0 : 1;
    }
    return 2;
}

double Vec3::angleBetween(const Vec3& other) const {
    return std::acos(dot(other) / (length() * other.length()));
}

void Vec3::ortho(const Vec3& other) {
    Vec3 axis;
    axis.set((largestAbsComponent() + 2) % 3, 1.0);
    *this = other.cross(axis);
    setLength(1.0);
}

Vec3 Vec3::rotationalDifference(const Vec3& other) const {
    constexpr double noPeriod = 0.0;
    return {cyclicDifference(x, other.x, noPeriod), cyclicDifference(y, other.y, noPeriod),
            cyclicDifference(z, other.z, noPeriod)};
}

void Vec3::getMin(Vec3 other) {
    x = other.x < x ? other.x : x;
    y = other.y < y ? other.y : y;
    z = other.z < z ? other.z : z;
}

void Vec3::getMax(Vec3 other) {
    x = other.x > x ? other.x : x;
    y = other.y > y ? other.y : y;
    z = other.z > z ? other.z : z;
}

void Vec3::clamp(Vec3 low, Vec3 high) {
    x = clampScalar(x, low.x, high.x);
    y = clampScalar(y, low.y, high.y);
    z = clampScalar(z, low.z, high.z);
}

Vec3 Vec3::floor() {
    return {std::floor(x), std::floor(y), std::floor(z)};
}

void Vec3::applyMatrix4(const Mat4& matrix) {
    const double* m = matrix.m;
    *this = linearImage(m, *this) + Vec3(m[12], m[13], m[14]);
}

void Vec3::applyProjection(const Mat4& matrix) {
    const double* m = matrix.m;
    const double q = 1.0 / (m[3] * x + m[7] * y + m[11] * z + m[15]);
    applyMatrix4(matrix);
    *this *= q;
}

void Vec3::transformDirection(const Mat4& matrix) {
    *this = linearImage(matrix.m, *this);
    setLength(1.0);
}

void Vec3::applyQuaternion(const Quaternion& q) {
    const double ix = q.w * x + q.y * z - q.z * y;
    const double iy = q.w * y + q.z * x - q.x * z;
    const double iz = q.w * z + q.x * y - q.y * x;
    const double iw = -q.x * x - q.y * y - q.z * z;
    *this =
        Vec3(ix * q.w - iw * q.x - iy * q.z + iz * q.y, iy * q.w - iw * q.y - iz * q.x + ix * q.z,
             iz * q.w - iw * q.z - ix * q.y + iy * q.x);
}

} // namespace Vexorel::PrismDrift
