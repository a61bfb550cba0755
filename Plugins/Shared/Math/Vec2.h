#pragma once

/// A point or vector of the plane. All angles are in degrees and turn from +x towards +y. A member
/// function that returns nothing changes the vector, whatever its name; no other does.

#include "Shared/Math/Float.h"

namespace Vexorel::PrismDrift {

class Vec2 {
public:
    double x = 0.0;
    double y = 0.0;

    constexpr Vec2() = default;
    constexpr Vec2(double xValue, double yValue) : x(xValue), y(yValue) {}

    // Setting

    void set(double xValue, double yValue) { *this = Vec2(xValue, yValue); }
    /// Copies `other`, which stays as it is.
    void set(Vec2& other) { *this = other; }
    void setZero() { *this = Vec2(); }
    /// Reads array[offset] and array[offset + 1]. A null `array` changes nothing.
    void fromArray(double* array, int offset);

    // Comparison. With a NaN every test here is false, and `!=` and `nonNegligible` are true.

    /// Per component within TOLERANCE, inclusive.
    bool operator==(const Vec2& other) const { return equal(other, TOLERANCE); }
    bool operator!=(const Vec2& other) { return !(*this == other); }
    /// Per component within `tolerance`, inclusive.
    bool equal(const Vec2& other, double tolerance) const {
        return equalWithin(x, other.x, tolerance) && equalWithin(y, other.y, tolerance);
    }
    /// Exactly zero, of either sign; no tolerance.
    bool isZero() const { return x == 0.0 && y == 0.0; }
    /// Both components strictly between -TOLERANCE and TOLERANCE.
    bool negligible() const { return negligible(x) && negligible(y); }
    bool nonNegligible() const { return !negligible(); }
    static bool negligible(double value) { return -TOLERANCE < value && value < TOLERANCE; }
    /// The distance of the points is below `tolerance`: Euclidean and strict.
    static bool equalWithTolerance(double x1, double y1, double x2, double y2, double tolerance);
    static bool equalWithTolerance(Vec2 first, Vec2 second, double tolerance);
    /// Whether two points may be merged: less than 0.25 apart, strictly, per component.
    static bool isDuplicate(const Vec2& first, const Vec2& second);
    /// |cross| <= TOLERANCE times the product of the lengths; true where either vector is zero.
    bool isCollinear(const Vec2& other) const;
    /// |dot| <= TOLERANCE times the product of the lengths; true where either vector is zero.
    bool isOrthogonal(const Vec2& other) const;

    // Arithmetic, component by component; a scalar goes to both. Nothing is guarded: a division by
    // zero gives an infinity or NaN. The named and the compound forms change this vector and return
    // nothing; the operators return a new one.

    Vec2 operator+(const Vec2& other) const { return {x + other.x, y + other.y}; }
    Vec2 operator+(double value) const { return {x + value, y + value}; }
    void operator+=(const Vec2& other) { *this = *this + other; }
    void operator+=(double value) { *this = *this + value; }
    void add(const Vec2& other) { *this += other; }
    void add(double value) { *this += value; }

    Vec2 operator-(const Vec2& other) const { return {x - other.x, y - other.y}; }
    Vec2 operator-(double value) const { return {x - value, y - value}; }
    void operator-=(const Vec2& other) { *this = *this - other; }
    void operator-=(double value) { *this = *this - value; }
    void sub(const Vec2& other) { *this -= other; }
    void sub(double value) { *this -= value; }

    Vec2 operator*(const Vec2& other) const { return {x * other.x, y * other.y}; }
    Vec2 operator*(double value) const { return {x * value, y * value}; }
    void operator*=(const Vec2& other) { *this = *this * other; }
    void operator*=(double value) { *this = *this * value; }
    void mult(const Vec2& other) { *this *= other; }
    void mult(double value) { *this *= value; }

    Vec2 operator/(const Vec2& other) const { return {x / other.x, y / other.y}; }
    Vec2 operator/(double value) const { return {x / value, y / value}; }
    void operator/=(const Vec2& other) { *this = *this / other; }
    void operator/=(double value) { *this = *this / value; }
    void divide(const Vec2& other) { *this /= other; }
    void divide(double value) { *this /= value; }

    /// The remainder of each component with the sign of the dividend, as `std::fmod`.
    Vec2 modulo(const Vec2& other) const { return {std::fmod(x, other.x), std::fmod(y, other.y)}; }
    Vec2 operator%(const Vec2& other) const { return modulo(other); }
    Vec2 negate() const { return {-x, -y}; }

    // Products and lengths

    double dot(const Vec2& other) const { return x * other.x + y * other.y; }
    /// The product per component, a vector; the scalar product is `dot`.
    Vec2 dotProduction(const Vec2& other) const { return *this * other; }
    double cross(const Vec2& other) const { return cross(x, y, other.x, other.y); }
    static double cross(double x1, double y1, double x2, double y2) { return x1 * y2 - y1 * x2; }
    /// This vector projected on `other`; the zero vector where `other` is zero.
    Vec2 project(const Vec2& other) const;

    double length() const { return std::sqrt(lengthSquare()); }
    double lengthSquare() const { return x * x + y * y; }
    double distance(const Vec2& other) const { return (other - *this).length(); }
    static double distanceSquared(const Vec2& first, const Vec2& second) {
        return (second - first).lengthSquare();
    }
    /// Scales this vector to a length; the zero vector becomes (length, 0).
    void setLength(double newLength);
    /// Scales this vector to length 1; the zero vector becomes (1, 0).
    void normalize() { setLength(1.0); }
    /// Scales the pair to length 1, but leaves it alone at a length of TOLERANCE or less.
    static void normalize(double* px, double* py);
    /// y / x: an infinity or NaN where x is 0.
    double slope() const { return y / x; }

    // Angles, in degrees

    /// The direction, -180 to 180; 0 for the zero vector.
    double getAngle() const;
    /// Turns this vector to a direction and keeps its length; the zero vector stays zero.
    void setAngle(double angle);
    /// From this vector to `other`, -180 to 180, positive from +x towards +y.
    double angleBetween(const Vec2& other) const;
    /// 1 to 4, counted from +x towards +y. A component of 0 counts as positive, so the origin lies
    /// in 1.
    int getQuadrant() const;
    /// Turns this vector by `angle`. An angle of exactly 0 leaves it bit for bit; a full turn does
    /// not, since DEG_TO_RAD is not exact.
    void rotate(double angle);
    /// A copy turned about `centre`; at exactly 0 a plain copy.
    Vec2 rotateRound(double angle, const Vec2& centre) const;
    /// Turns this point about `centre`.
    void rotateAround(double angle, const Vec2& centre) { *this = rotateRound(angle, centre); }

    // Perpendiculars: a quarter turn from +x towards +y, and for the right one the other way

    Vec2 normal() const { return {-y, x}; }
    Vec2 perpindicularLeft() const { return {-y, x}; }
    Vec2 perpindicularRight() const { return {y, -x}; }
    /// Turns this vector itself to the left.
    void prepen() { *this = normal(); }

    // Limits and blending

    /// Lowers each component of this vector to the other's where that is strictly smaller.
    void getMin(const Vec2& other);
    /// Raises each component of this vector to the other's where that is strictly larger.
    void getMax(const Vec2& other);
    /// Brings each component of this vector into its range, as `clampScalar` does.
    void clamp(const Vec2& low, const Vec2& high);
    /// t·b + (1 - t)·a, for any t.
    static Vec2 lerp(Vec2 a, Vec2 b, double t) { return b * t + a * (1.0 - t); }
    /// Negates each component of this vector that is above 0 where the other's is not, or the
    /// reverse; 0 itself is not above 0.
    void followSigns(const Vec2& other);

    // Lines and points. A line through `a` and `b` has no ends; NaN where a = b.

    /// From this point to the nearest point of the line.
    double distanceToLine(const Vec2& a, const Vec2& b);
    /// From `a` to the point of the line that is nearest to this one: a distance, never negative.
    double lineProjectionLength(const Vec2& a, const Vec2& b);
    /// Coordinates about the centre, y up, to coordinates from the top left corner, y down.
    static Vec2 centerToTopLefetPoint(const Vec2& point, const Vec2& size);
    /// Coordinates from the top left corner, y down, to coordinates about the centre, y up.
    static Vec2 topLeftToCenterPoint(const Vec2& point, const Vec2& size);
    /// Twice the triangle's area, positive where a, b, c turn from +x towards +y.
    static double signedArea(const Vec2& a, const Vec2& b, const Vec2& c);
    /// Whether c and d lie on different sides of the line through a and b, by the sign of
    /// cross(b - a, point - a); a point on the line counts as negative. It does not tell whether
    /// the segments meet.
    static bool intersecting(const Vec2& a, const Vec2& b, const Vec2& c, const Vec2& d);
    /// Crosses the lines of the segments a b and c d. `ua` and `ub`, where not null, get the
    /// crossing's place along the first and the second segment, 0 at its start and 1 at its end,
    /// both on it. Returns, with what `out` gets:
    /// - 1: on both segments; 3: off the first; 4: off the second; 5: off both: the crossing;
    /// - 0: parallel: (0, 0); 2: the same line: the middle of a b; `ua` and `ub` stay as they are.
    static int intersect(const Vec2& a, const Vec2& b, const Vec2& c, const Vec2& d, Vec2& out,
                         double* ua, double* ub);
    /// By the signs, -1, 0 or 1, of the components: true where those of x and those of y differ,
    /// and where those of one differ and those of the other are both 0.
    static bool oppositeQuadrant(const Vec2& p, const Vec2& q);
    /// Whether v points from b towards a, strictly. Changes nothing.
    static bool anchorOutwardD(Vec2& v, const Vec2& a, const Vec2& b);
    /// Negates v and returns true if `anchorOutwardD` equals `flag`; otherwise v stays.
    static bool anchorOutward(Vec2& v, const Vec2& a, const Vec2& b, bool flag);
    /// Negates v if it points from b towards a, and tells whether it did.
    static bool anchorInward(Vec2& v, const Vec2& a, const Vec2& b) {
        return anchorOutward(v, a, b, true);
    }
};

static_assert(isPlainRowOfDoubles<Vec2, 2>);

} // namespace Vexorel::PrismDrift
