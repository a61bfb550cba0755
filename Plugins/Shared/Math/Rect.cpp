#include "Shared/Math/Rect.h"

#include <algorithm>

namespace Vexorel::PrismDrift {

namespace {

Rect fromEdges(double left, double top, double right, double bottom) {
    return {left, top, right - left, bottom - top};
}

} // namespace

void Rect::setCenter(Vec2 center) {
    setCenterX(center.x);
    setCenterY(center.y);
}

bool Rect::operator==(const Rect& other) const {
    return getPoint().equal(other.getPoint(), TOLERANCE) &&
           getSize().equal(other.getSize(), TOLERANCE);
}

bool Rect::containsRect(Rect other) const {
    return other.getLeft() >= getLeft() && other.getTop() >= getTop() &&
           getRight() >= other.getRight() && getBottom() >= other.getBottom();
}

bool Rect::containsPoint(Vec2 point) const {
    return point.x >= getLeft() && point.y >= getTop() && getRight() >= point.x &&
           getBottom() >= point.y;
}

bool Rect::intersects(Rect other) const {
    return other.getRight() > getLeft() && other.getBottom() > getTop() &&
           getRight() > other.getLeft() && getBottom() > other.getTop();
}

bool Rect::touches(Rect other) const {
    return other.getRight() >= getLeft() && other.getBottom() >= getTop() &&
           getRight() >= other.getLeft() && getBottom() >= other.getTop();
}

Rect Rect::intersect(Rect other) {
    return fromEdges(std::max(getLeft(), other.getLeft()), std::max(getTop(), other.getTop()),
                     std::min(getRight(), other.getRight()),
                     std::min(getBottom(), other.getBottom()));
}

Rect Rect::unite(Rect other) {
    return fromEdges(std::min(getLeft(), other.getLeft()), std::min(getTop(), other.getTop()),
                     std::max(getRight(), other.getRight()),
                     std::max(getBottom(), other.getBottom()));
}

Rect Rect::expand(Vec2 amount) {
    return {getLeft() - amount.x, getTop() - amount.y, mBounds.z + 2.0 * amount.x,
            mBounds.w + 2.0 * amount.y};
}

Rect Rect::scale(float sx, float sy) {
    const Vec2 size = getSize();
    return expand(Vec2(sx, sy) * size - size);
}

} // namespace Vexorel::PrismDrift
