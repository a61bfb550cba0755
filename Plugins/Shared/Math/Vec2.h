#pragma once

/// A point or vector of the plane.

namespace Vexorel::PrismDrift {

/// Degrees to radians, to the fifteen digits that every angle of the library goes through.
constexpr double DEG_TO_RAD = 0.017453292519943;
constexpr double RAD_TO_DEG = 57.29577951308232;
/// The library's comparison tolerance.
constexpr double TOLERANCE = 1e-12;

class Vec2 {
public:
    double x = 0.0;
    double y = 0.0;

    Vec2() = default;
    Vec2(double xValue, double yValue) : x(xValue), y(yValue) {}

    Vec2 operator+(const Vec2& other) const { return {x + other.x, y + other.y}; }

    /// Turns this vector by `angle` degrees, from +x towards +y. An angle of exactly 0 leaves it
    /// bit for bit; a full turn does not, since DEG_TO_RAD is not exact.
    void rotate(double angle);
};

} // namespace Vexorel::PrismDrift
