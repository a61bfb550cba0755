#pragma once

/// The weights of a point with respect to the corners of a triangle, for interpolating values that
/// are given at the corners. A Color counts as a point (r, g, b, a) of colour space.

#include "Shared/Math/Color.h"
#include "Shared/Math/Vec4.h"

namespace Vexorel::PrismDrift {

class Barycentric {
public:
    double u = 0.0;
    double v = 0.0;
    double w = 0.0;

    /// Any three weights; their sum need not be 1.
    constexpr Barycentric(double uValue, double vValue, double wValue)
        : u(uValue), v(vValue), w(wValue) {}

    // The weights of p in the triangle a, b, c; w is 1 - u - v. In more than two dimensions a point
    // outside the triangle's plane gets the weights of its projection onto that plane. Infinities
    // or NaN for a triangle without an area.

    Barycentric(const Vec2& a, const Vec2& b, const Vec2& c, const Vec2& p);
    Barycentric(const Vec3& a, const Vec3& b, const Vec3& c, const Vec3& p);
    Barycentric(const Vec4& a, const Vec4& b, const Vec4& c, const Vec4& p);
    Barycentric(const Color& a, const Color& b, const Color& c, const Color& p);

    /// Whether the point lies in the triangle or on an edge: u and v from 0 to 1 and w at least 0,
    /// all inclusive. w has no upper bound. False with a NaN.
    bool isInside();

    // Interpolation: a·u + b·v + c·w for the values of the three corners, in that order

    Vec2 interpolate(const Vec2& a, const Vec2& b, const Vec2& c) { return a * u + b * v + c * w; }
    Vec3 interpolate(const Vec3& a, const Vec3& b, const Vec3& c) { return a * u + b * v + c * w; }
    Vec4 interpolate(const Vec4& a, const Vec4& b, const Vec4& c) { return a * u + b * v + c * w; }
    Color interpolate(const Color& a, const Color& b, const Color& c) {
        return a * u + b * v + c * w;
    }
};

static_assert(isPlainRowOfDoubles<Barycentric, 3>);

} // namespace Vexorel::PrismDrift
