#pragma once

/// An axis-aligned rectangle where y grows downwards, so that the top edge has the smaller y. Width
/// and height may be negative; nothing normalises them.

#include "Shared/Math/Vec4.h"

namespace Vexorel::PrismDrift {

class Rect {
public:
    /// Left, top, width, height.
    Vec4 mBounds;

    constexpr Rect() = default;
    constexpr Rect(Vec2 topLeft, Vec2 size) : mBounds(topLeft.x, topLeft.y, size.x, size.y) {}
    constexpr Rect(double left, double top, double width, double height)
        : mBounds(left, top, width, height) {}

    // Reading

    Vec2 getPoint() const { return {getLeft(), getTop()}; }
    Vec2 getSize() const { return {mBounds.z, mBounds.w}; }
    double getLeft() const { return mBounds.x; }
    double getTop() const { return mBounds.y; }
    double getRight() const { return mBounds.x + mBounds.z; }
    double getBottom() const { return mBounds.y + mBounds.w; }
    double getCenterX() const { return mBounds.z * 0.5 + mBounds.x; }
    double getCenterY() const { return mBounds.w * 0.5 + mBounds.y; }
    Vec2 getCenter() const { return {getCenterX(), getCenterY()}; }
    Vec2 getTopLeft() const { return {getLeft(), getTop()}; }
    Vec2 getTopRight() const { return {getRight(), getTop()}; }
    Vec2 getBottomLeft() const { return {getLeft(), getBottom()}; }
    Vec2 getBottomRight() const { return {getRight(), getBottom()}; }
    /// Width times height, with its sign.
    double getArea() const { return mBounds.z * mBounds.w; }
    /// Whether width and height are both exactly 0; one of them is not enough.
    bool isEmpty() const { return mBounds.z == 0.0 && mBounds.w == 0.0; }

    // Moving: the size stays, so that `setLeft` moves the right edge too, and `setTop` the bottom

    void setPoint(Vec2 topLeft) { *this = Rect(topLeft, getSize()); }
    void setLeft(double left) { mBounds.x = left; }
    void setTop(double top) { mBounds.y = top; }
    void setCenterX(double centerX) { mBounds.x = mBounds.z * -0.5 + centerX; }
    void setCenterY(double centerY) { mBounds.y = mBounds.w * -0.5 + centerY; }
    void setCenter(Vec2 center);

    // Resizing: the left and the top edge stay

    void setSize(Vec2 size) { *this = Rect(getPoint(), size); }
    void setRight(double right) { mBounds.z = right - mBounds.x; }
    /// Takes a `float`, where the other setters take a `double`.
    void setBottom(float bottom) { mBounds.w = static_cast<double>(bottom) - mBounds.y; }

    // Comparison

    /// Left, top, width and height within TOLERANCE each, inclusive; false with a NaN.
    bool operator==(const Rect& other) const;
    bool operator!=(const Rect& other) const { return !(*this == other); }

    // Tests

    /// All edges included, so a rectangle contains itself and its corners.
    bool containsRect(Rect other) const;
    bool containsPoint(Vec2 point) const;
    /// Whether the insides overlap; a shared edge is not enough.
    bool intersects(Rect other) const;
    /// Whether they overlap or share an edge or a corner.
    bool touches(Rect other) const;

    // Combining. Only `include` changes this rectangle; the others return a new one.

    /// The overlap; for disjoint rectangles its width or height is negative.
    Rect intersect(Rect other);
    /// The bounding box of both. An empty rectangle counts as a point.
    Rect unite(Rect other);
    /// Grows this rectangle to the bounding box of itself and the point.
    void include(Vec2 point) { *this = getInclude(point); }
    Rect getInclude(Vec2 point) { return unite(Rect(point, Vec2())); }
    /// Moves the left and right edges outwards by `amount.x`, the top and bottom ones by
    /// `amount.y`.
    Rect expand(Vec2 amount);
    Rect expand(float amount) { return expand(Vec2(amount, amount)); }
    /// Expands every side by (factor - 1) times the size; the centre stays. The new size is
    /// 2·factor - 1 times the old one: a factor of 1 changes nothing, 0.5 gives a size of 0.
    Rect scale(float sx, float sy);
};

static_assert(isPlainRowOfDoubles<Rect, 4>);

} // namespace Vexorel::PrismDrift
