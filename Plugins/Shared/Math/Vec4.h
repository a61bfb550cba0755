#pragma once

/// A homogeneous coordinate, or any four values. Unlike Vec2 and Vec3 it compares by the distance,
/// strictly, and its `lerp` follows a sphere.

#include "Shared/Math/Vec3.h"

namespace Vexorel::PrismDrift {

class Vec4 {
public:
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    double w = 0.0;

    constexpr Vec4() = default;
    constexpr Vec4(double xValue, double yValue, double zValue, double wValue)
        : x(xValue), y(yValue), z(zValue), w(wValue) {}
    constexpr Vec4(const Vec3& xyz, double wValue) : x(xyz.x), y(xyz.y), z(xyz.z), w(wValue) {}

    // Setting

    void set(double xValue, double yValue, double zValue, double wValue) {
        *this = Vec4(xValue, yValue, zValue, wValue);
    }
    void setZero() { *this = Vec4(); }
    /// (x, y, z), not divided by w.
    Vec3 getVec3() const { return {x, y, z}; }

    // Comparison. With a NaN `==` and `equal` are false and `!=` is true.

    /// The distance is below TOLERANCE: Euclidean and strict.
    bool operator==(const Vec4& other) const {
        constexpr double squaredTolerance = 1e-24;
        return (other - *this).lengthSquare() < squaredTolerance;
    }
    bool operator!=(const Vec4& other) const { return !(*this == other); }
    /// The distance is below `tolerance`: Euclidean and strict.
    bool equal(const Vec4& other, double tolerance) const {
        return (other - *this).lengthSquare() < tolerance * tolerance;
    }
    /// Exactly zero, of either sign; no tolerance.
    bool isZero() const { return x == 0.0 && y == 0.0 && z == 0.0 && w == 0.0; }

    // Arithmetic, component by component; a scalar goes to all four. Nothing is guarded: a division
    // by zero gives an infinity or NaN. The named and the compound forms change this vector and
    // return nothing; the operators return a new one.

    Vec4 operator+(const Vec4& o) const { return {x + o.x, y + o.y, z + o.z, w + o.w}; }
    Vec4 operator+(double value) const { return {x + value, y + value, z + value, w + value}; }
    void operator+=(const Vec4& other) { *this = *this + other; }
    void operator+=(double value) { *this = *this + value; }
    void add(const Vec4& other) { *this += other; }
    void add(double value) { *this += value; }

    Vec4 operator-(const Vec4& o) const { return {x - o.x, y - o.y, z - o.z, w - o.w}; }
    Vec4 operator-(double value) const { return {x - value, y - value, z - value, w - value}; }
    void operator-=(const Vec4& other) { *this = *this - other; }
    void operator-=(double value) { *this = *this - value; }
    void sub(const Vec4& other) { *this -= other; }
    void sub(double value) { *this -= value; }

    Vec4 operator*(const Vec4& o) const { return {x * o.x, y * o.y, z * o.z, w * o.w}; }
    Vec4 operator*(double value) const { return {x * value, y * value, z * value, w * value}; }
    void operator*=(const Vec4& other) { *this = *this * other; }
    void operator*=(double value) { *this = *this * value; }
    void mult(const Vec4& other) { *this *= other; }
    void mult(double value) { *this *= value; }

    Vec4 operator/(const Vec4& o) const { return {x / o.x, y / o.y, z / o.z, w / o.w}; }
    Vec4 operator/(double value) const { return {x / value, y / value, z / value, w / value}; }
    void operator/=(const Vec4& other) { *this = *this / other; }
    void operator/=(double value) { *this = *this / value; }
    void divide(const Vec4& other) { *this /= other; }
    void divide(double value) { *this /= value; }

    Vec4 negate() const { return {-x, -y, -z, -w}; }
    /// The reciprocals, that of 0 an infinity.
    Vec4 invert() const { return {1.0 / x, 1.0 / y, 1.0 / z, 1.0 / w}; }

    // Products and lengths

    double dot(const Vec4& o) const { return x * o.x + y * o.y + z * o.z + w * o.w; }
    double length() const { return std::sqrt(lengthSquare()); }
    double lengthSquare() const { return x * x + y * y + z * z + w * w; }
    /// The sum of the absolute values.
    double lengthManhattan() const { return std::abs(x) + std::abs(y) + std::abs(z) + std::abs(w); }
    double distance(const Vec4& other) const { return (other - *this).length(); }
    /// Scales this vector to a length; the zero vector becomes (length, 0, 0, 0).
    void setLength(double newLength) {
        const double square = lengthSquare();
        if (square == 0.0 && isZero()) { // a square may underflow, so both
            x = newLength;
        } else {
            *this *= newLength / std::sqrt(square);
        }
    }
    /// Scales this vector to length 1; the zero vector becomes (1, 0, 0, 0).
    void normalize() { setLength(1.0); }

    /// From the direction of `a` (t = 0) along the arc to that of `b` or -b, whichever is nearer
    /// (t = 1); t is not clamped. Exactly 0 and 1 give `a` and `b` as they are, every other t a
    /// unit vector. The weights are computed in single precision, good to about seven digits;
    /// directions whose cosine is above 0.99 are blended linearly. The result is nearer to the
    /// longer of two vectors; a zero vector gives NaN.
    static Vec4 lerp(Vec4 a, Vec4 b, double t);
};

static_assert(isPlainRowOfDoubles<Vec4, 4>);

} // namespace Vexorel::PrismDrift
