#pragma once

/// A point, a direction or a triple of factors, one per axis or colour channel. Angles are in
/// radians. A function that returns nothing changes the vector, whatever its name, except
/// `toArray`; no other does.

#include "Shared/Math/Vec2.h"

namespace Vexorel::PrismDrift {

class Mat4;
class Quaternion;

/// a - b, moved once by a period if it is more than half a period from 0. Exactly half a period
/// stays as it is, and a difference beyond one and a half periods stays beyond half of one.
double cyclicDifference(double a, double b, double period);

class Vec3 {
public:
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;

    constexpr Vec3() = default;
    constexpr explicit Vec3(double value) : x(value), y(value), z(value) {}
    constexpr Vec3(double xValue, double yValue, double zValue) : x(xValue), y(yValue), z(zValue) {}
    constexpr Vec3(Vec2 xy, double zValue) : x(xy.x), y(xy.y), z(zValue) {}

    // Setting

    void set(double xValue, double yValue, double zValue) { *this = Vec3(xValue, yValue, zValue); }
    void set(Vec2 xy, double zValue) { *this = Vec3(xy, zValue); }
    /// Index 0 is x, 1 is y, and every other index is z.
    void set(int index, double value) { (index == 0 ? x : index == 1 ? y : z) = value; }
    void setZero() { *this = Vec3(); }
    /// Reads three values from array[offset] on. Unlike Vec2's, it does not test for null.
    void fromArray(const double* array, int offset);
    /// Writes three values from array[offset] on; this vector stays.
    void toArray(double* array, int offset);
    /// The translation of a matrix.
    void setFromMatrixPosition(const Mat4& matrix);
    /// The upper three rows of a column, 0 to 3; the index is not tested.
    void setFromMatrixColumn(const Mat4& matrix, int index);

    // Comparison. With a NaN `==` and `equal` are false and `!=` is true.

    /// Per component within TOLERANCE, inclusive.
    bool operator==(const Vec3& other) const { return equal(other, TOLERANCE); }
    bool operator!=(const Vec3& other) const { return !(*this == other); }
    /// Per component within `tolerance`, inclusive.
    bool equal(const Vec3& other, double tolerance) const {
        return equalWithin(x, other.x, tolerance) && equalWithin(y, other.y, tolerance) &&
               equalWithin(z, other.z, tolerance);
    }
    /// Exactly zero, of either sign; no tolerance.
    bool isZero() const { return x == 0.0 && y == 0.0 && z == 0.0; }
    /// The index, 0 to 2, of the component with the largest absolute value; the later one in a tie.
    int largestAbsComponent() const;

    // Arithmetic, component by component; a scalar goes to all three. Nothing is guarded: a
    // division by zero gives an infinity or NaN. The named and the compound forms change this
    // vector and return nothing; the operators return a new one.

    Vec3 operator+(const Vec3& other) const { return {x + other.x, y + other.y, z + other.z}; }
    Vec3 operator+(double value) const { return {x + value, y + value, z + value}; }
    void operator+=(const Vec3& other) { *this = *this + other; }
    void operator+=(double value) { *this = *this + value; }
    void add(const Vec3& other) { *this += other; }
    void add(double value) { *this += value; }

    Vec3 operator-(const Vec3& other) const { return {x - other.x, y - other.y, z - other.z}; }
    Vec3 operator-(double value) const { return {x - value, y - value, z - value}; }
    void operator-=(const Vec3& other) { *this = *this - other; }
    void operator-=(double value) { *this = *this - value; }
    void sub(const Vec3& other) { *this -= other; }
    void sub(double value) { *this -= value; }

    Vec3 operator*(const Vec3& other) const { return {x * other.x, y * other.y, z * other.z}; }
    Vec3 operator*(double value) const { return {x * value, y * value, z * value}; }
    void operator*=(const Vec3& other) { *this = *this * other; }
    void operator*=(double value) { *this = *this * value; }
    void mult(const Vec3& other) { *this *= other; }
    void mult(double value) { *this *= value; }

    Vec3 operator/(const Vec3& other) const { return {x / other.x, y / other.y, z / other.z}; }
    Vec3 operator/(double value) const { return {x / value, y / value, z / value}; }
    void operator/=(const Vec3& other) { *this = *this / other; }
    void operator/=(double value) { *this = *this / value; }
    void divide(const Vec3& other) { *this /= other; }
    void divide(double value) { *this /= value; }

    // Sign and reciprocal, the reciprocal of 0 an infinity: in place, and as a copy

    void setNegate() { *this = negate(); }
    Vec3 negate() const { return {-x, -y, -z}; }
    void setInvert() { *this = invert(); }
    Vec3 invert() const { return {1.0 / x, 1.0 / y, 1.0 / z}; }

    // Products, lengths, directions

    double dot(const Vec3& other) const { return x * other.x + y * other.y + z * other.z; }
    Vec3 cross(const Vec3& other) const {
        return {y * other.z - z * other.y, z * other.x - x * other.z, x * other.y - y * other.x};
    }
    /// The unsigned angle in radians. NaN with a zero vector, and perhaps with parallel vectors:
    /// the cosine is not clamped, and rounding may take it just past 1.
    double angleBetween(const Vec3& other) const;
    double length() const { return std::sqrt(lengthSquare()); }
    double lengthSquare() const { return x * x + y * y + z * z; }
    double distance(const Vec3& other) const { return (other - *this).length(); }
    double distanceSquare(const Vec3& other) const { return (other - *this).lengthSquare(); }
    /// Scales this vector to a length; the zero vector becomes (length, 0, 0).
    void setLength(double newLength) {
        const double square = lengthSquare();
        if (square == 0.0 && isZero()) { // a square may underflow, so both
            x = newLength;
        } else {
            *this *= newLength / std::sqrt(square);
        }
    }
    /// Scales this vector to length 1; the zero vector becomes (1, 0, 0).
    void normalize() { setLength(1.0); }
    /// Makes this vector a unit vector orthogonal to `other`: the cross product of `other` and an
    /// axis, z, x or y where the largest component of this vector is x, y or z. (1, 0, 0) where
    /// `other` is zero or parallel to that axis.
    void ortho(const Vec3& other);
    /// The difference this - other per component; nothing wraps.
    Vec3 rotationalDifference(const Vec3& other) const;

    // Limits and blending

    /// Lowers each component of this vector to the other's where that is smaller.
    void getMin(Vec3 other);
    /// Raises each component of this vector to the other's where that is larger.
    void getMax(Vec3 other);
    /// Brings each component of this vector into its range, as `clampScalar` does.
    void clamp(Vec3 low, Vec3 high);
    /// t·b + (1 - t)·a, for any t, along a straight line; not normalised.
    static Vec3 lerp(Vec3 a, Vec3 b, double t) { return b * t + a * (1.0 - t); }
    /// A copy with each component rounded down; this vector stays.
    Vec3 floor();
    Vec2 getVec2() const { return {x, y}; }

    // Transforms of this vector in place

    /// As a point, by the upper three rows; the fourth is not read and nothing is divided.
    void applyMatrix4(const Mat4& matrix);
    /// As a point, times 1 / the fourth component: an infinity or NaN where that is 0.
    void applyProjection(const Mat4& matrix);
    /// As a direction, without the translation, then scaled to length 1; (1, 0, 0) where the matrix
    /// takes it to zero.
    void transformDirection(const Mat4& matrix);
    /// q·v·conj(q). A quaternion of length n also scales the vector, by n².
    void applyQuaternion(const Quaternion& q);
};

static_assert(isPlainRowOfDoubles<Vec3, 3>);

} // namespace Vexorel::PrismDrift
