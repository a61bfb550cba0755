#pragma once

/// An axis-aligned box of space, from its lower to its upper corner.

#include "Shared/Math/Vec3.h"

namespace Vexorel::PrismDrift {

/// The empty state is a `min` of the largest double and a `max` of the smallest positive normal one
/// in every component. Since that `max` is practically 0, a box that grows from the empty state
/// reaches at least to 0 on every axis; `setFromPoints` starts from its first point instead.
class Box3 {
public:
    Vec3 min;
    Vec3 max;

    /// The empty state.
    Box3();
    /// The corners as they are, in no order of size.
    constexpr Box3(Vec3 lower, Vec3 upper) : min(lower), max(upper) {}

    // Setting

    void set(Vec3 lower, Vec3 upper) { *this = Box3(lower, upper); }
    void makeEmpty() { *this = Box3(); }
    /// The box of the empty state and `count` floats in triples of x, y, z, so that `max` is never
    /// below the empty one. A `count` below 1 makes it empty; otherwise it is a multiple of 3.
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
    /// Narrows this box to the overlap; where there is none, to the empty state. `intersectsBox` is
    /// the question.
    void intersects(Box3 other);
    /// Grows this box to the bounding box of both.
    void unionBox(Box3 other);

    // Questions

    /// Both corners within TOLERANCE per component. Can't be called on a constant box.
    bool operator==(const Box3& other) { return min == other.min && max == other.max; }
    /// `min` above `max` on an axis, or both corners exactly the origin: a box of zero size there
    /// is empty, elsewhere it is not.
    bool isEmpty() const;
    Vec3 getCenter() const { return (min + max) * 0.5; }
    Vec3 getSize() const { return max - min; }
    /// Points on a face count as inside.
    bool containsPoint(const Vec3& point) const;
    /// A box contains itself.
    bool containsBox(const Box3& other) const;
    /// Whether the boxes overlap or touch. Changes nothing, unlike `intersects`.
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
