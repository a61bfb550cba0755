#include "Shared/Math/Box3.h"

#include <limits>

namespace Vexorel::PrismDrift {

namespace {

/// Whether the first is at or below the second on every axis.
bool isAtOrBelow(const Vec3& first, const Vec3& second) {
    return first.x <= second.x && first.y <= second.y && first.z <= second.z;
}

/// Whether the first is above the second on any axis.
bool isAboveAnywhere(const Vec3& first, const Vec3& second) {
    return first.x > second.x || first.y > second.y || first.z > second.z;
}

} // namespace

Box3::Box3() : min(std::numeric_limits<double>::max()), max(std::numeric_limits<double>::min()) {}

void Box3::setFromArray(float* array, int count) {
    makeEmpty();
    for (int i = 0; i < count; i += 3) {
        expandByPoint(Vec3(array[i], array[i + 1], array[i + 2]));
    }
}

void Box3::setFromPoints(Vec3* points, int count) {
    if (points == nullptr || count < 1) {
        makeEmpty();
        return;
    }
    Box3 bounds(points[0], points[0]);
    for (int i = 1; i < count; ++i) {
        bounds.expandByPoint(points[i]);
    }
    *this = bounds;
}

void Box3::expandByPoint(Vec3 point) {
    min.getMin(point);
    max.getMax(point);
}

void Box3::intersects(Box3 other) {
    min.getMax(other.min);
    max.getMin(other.max);
    if (isEmpty()) {
        makeEmpty();
    }
}

void Box3::unionBox(Box3 other) {
    min.getMin(other.min);
    max.getMax(other.max);
}

bool Box3::isEmpty() const {
    return isAboveAnywhere(min, max) || (min.isZero() && max.isZero());
}

bool Box3::containsPoint(const Vec3& point) const {
    return isAtOrBelow(min, point) && isAtOrBelow(point, max);
}

bool Box3::containsBox(const Box3& other) const {
    return isAtOrBelow(min, other.min) && isAtOrBelow(other.max, max);
}

bool Box3::intersectsBox(const Box3& other) const {
    return !isAboveAnywhere(min, other.max) && !isAboveAnywhere(other.min, max);
}

Vec3 Box3::clampPoint(Vec3 point) const {
    point.clamp(min, max);
    return point;
}

} // namespace Vexorel::PrismDrift
