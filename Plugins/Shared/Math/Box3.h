#pragma once

/// An axis-aligned box of space, from its lower to its upper corner.

#include "Shared/Math/Vec3.h"

namespace Vexorel::PrismDrift {

/// In the empty state each component of `min` is the largest double and each of `max` the smallest
/// positive normal one, practically 0. So the `max` of a box that grows from the empty state is
/// never below 0, though all its points may be; `setFromPoints` starts from its first point
/// instead.
class Box3 {
public:
    Vec3 min;
    Vec3 max;

    /// The empty state.
    Box3();
    /// The corners as they are given; `lower` may be above `upper`.
    constexpr Box3(Vec3 lower, Vec3 upper) : min(lower), max(upper) {}

    // Setting

    void set(Vec3 lower, Vec3 upper) { *this = Box3(lower, upper); }
    void makeEmpty() { *this = Box3(); }
    /// Grows the box from the empty state by `count` floats, triples of x, y, z; `count` is a
    /// multiple of 3. Empty where it is below 1.
    void setFromArray(float* array, int count);
    /// The bounding box of `count` points; empty where there are none or `points` is null.
    void setFromPoints(Vec3* points, int count);
    void setFromCenterAndSize(Vec3 center, Vec3 size) {
        set(center - size * 0.5, center + size * 0.5);
    }

    // Growing, moving and combining, all in place

    void expandByPoint(Vec3 point);
    /// Moves every face outwards by its component of `amount`.
    void expandByVector(Vec3 amount) { set(min - amount, max + amount); }
    /// Moves every face outwards by `amount`.
    void expandByScalar(float amount) { set(min + -static_cast<double>(amount), max + amount); }
    void translate(Vec3 offset) { set(min + offset, max + offset); }
    /// Narrows this box to the overlap, or to the empty state where there is none. `intersectsBox`
    /// only asks.
    void intersects(Box3 other);
    /// Grows this box to the bounding box of both.
    void unionBox(Box3 other);

    // Questions

    /// Both corners within TOLERANCE per component. Can't be called on a constant box.
    bool operator==(const Box3& other) { return min == other.min && max == other.max; }
    /// Whether `min` is above `max` on an axis, or both corners are exactly the origin. A box of
    /// zero size elsewhere is not empty.
    bool isEmpty() const;
    Vec3 getCenter() const { return (min + max) * 0.5; }
    Vec3 getSize() const { return max - min; }
    /// Points on a face count as inside.
    bool containsPoint(const Vec3& point) const;
    /// A box contains itself.
    bool containsBox(const Box3& other) const;
    /// Whether the boxes overlap or touch.
    bool intersectsBox(const Box3& other) const;
    /// The point as fractions of the box, 0 at `min` and 1 at `max`; infinities or NaN on an axis
    /// of zero size.
    Vec3 getParameter(const Vec3& point) const { return (point - min) / (max - min); }
    /// The nearest point of the box.
    Vec3 clampPoint(Vec3 point) const;
    /// From the point to the box; 0 inside. Changes nothing.
    double distanceToPoint(Vec3 point) { return (clampPoint(point) - point).length(); }
};

static_assert(isPlainRowOfDoubles<Box3, 6>);

} // namespace Vexorel::PrismDrift
