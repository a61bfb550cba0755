#include "Shared/Math/Vec2.h"

namespace Vexorel::PrismDrift {

namespace {

int signOf(double value) {
    return (value > 0.0 ? 1 : 0) - (value < 0.0 ? 1 : 0);
}

double productOfLengths(const Vec2& first, const Vec2& second) {
    return std::sqrt(first.lengthSquare() * second.lengthSquare());
}

/// The point of the line through `a` and `b` that is nearest to `p`.
Vec2 footOnLine(const Vec2& p, const Vec2& a, const Vec2& b) {
    const Vec2 along = b - a;
    return a + along * ((p - a).dot(along) / along.lengthSquare());
}

bool isOffSegment(double place) {
    return place < 0.0 || place > 1.0;
}

} // namespace

void Vec2::fromArray(double* array, int offset) {
    if (array != nullptr) {
        *this = Vec2(array[offset], array[offset + 1]);
    }
}

bool Vec2::equalWithTolerance(double x1, double y1, double x2, double y2, double tolerance) {
    return distanceSquared({x1, y1}, {x2, y2}) < tolerance * tolerance;
}

bool Vec2::equalWithTolerance(Vec2 first, Vec2 second, double tolerance) {
    return equalWithTolerance(first.x, first.y, second.x, second.y, tolerance);
}

bool Vec2::isDuplicate(const Vec2& first, const Vec2& second) {
    constexpr double mergeDistance = 0.25;
    return std::abs(second.x - first.x) < mergeDistance &&
           std::abs(second.y - first.y) < mergeDistance;
}

bool Vec2::isCollinear(const Vec2& other) const {
    return std::abs(cross(other)) <= TOLERANCE * productOfLengths(*this, other);
}

bool Vec2::isOrthogonal(const Vec2& other) const {
    return std::abs(dot(other)) <= TOLERANCE * productOfLengths(*this, other);
}

Vec2 Vec2::project(const Vec2& other) const {
    return other.isZero() ? Vec2() : other * (dot(other) / other.lengthSquare());
}

void Vec2::setLength(double newLength) {
    if (isZero()) {
        x = newLength;
    } else {
        *this *= newLength / length();
    }
}

void Vec2::normalize(double* px, double* py) {
    const double length = Vec2(*px, *py).length();
    if (length > TOLERANCE) {
        const double factor = 1.0 / length;
        *px *= factor;
        *py *= factor;
    }
}

double Vec2::getAngle() const {
    return isZero() ? 0.0 : std::atan2(y, x) * RAD_TO_DEG;
}

void Vec2::setAngle(double angle) {
    if (isZero()) {
        return;
    }
    const double radians = angle * DEG_TO_RAD;
    const double kept = length();
    *this = Vec2(kept * std::cos(radians), kept * std::sin(radians));
}

double Vec2::angleBetween(const Vec2& other) const {
    return std::atan2(cross(other), dot(other)) * RAD_TO_DEG;
}

int Vec2::getQuadrant() const {
    if (y >= 0.0) {
        return x >= 0.0 ? 1 : 2;
    }
    return x >= 0.0 ? 4 : 3;
}

void Vec2::rotate(double angle) {
    if (angle == 0.0) {
        return;
    }
    const double radians = angle * DEG_TO_RAD;
    const double s = std::sin(radians);
    const double c = std::cos(radians);
    *this = Vec2(c * x - s * y, c * y + s * x);
}

Vec2 Vec2::rotateRound(double angle, const Vec2& centre) const {
    if (angle == 0.0) {
        return *this;
    }
    Vec2 arm = *this - centre;
    arm.rotate(angle);
    return arm + centre;
}

void Vec2::getMin(const Vec2& other) {
    x = other.x < x ? other.x : x;
    y = other.y < y ? other.y : y;
}

void Vec2::getMax(const Vec2& other) {
    x = other.x > x ? other.x : x;
    y = other.y > y ? other.y : y;
}

void Vec2::clamp(const Vec2& low, const Vec2& high) {
    *this = Vec2(clampScalar(x, low.x, high.x), clampScalar(y, low.y, high.y));
}

void Vec2::followSigns(const Vec2& other) {
    *this = Vec2((x > 0.0) != (other.x > 0.0) ? -x : x, (y > 0.0) != (other.y > 0.0) ? -y : y);
}

double Vec2::distanceToLine(const Vec2& a, const Vec2& b) {
    return distance(footOnLine(*this, a, b));
}

double Vec2::lineProjectionLength(const Vec2& a, const Vec2& b) {
    return a.distance(footOnLine(*this, a, b));
}

Vec2 Vec2::centerToTopLefetPoint(const Vec2& point, const Vec2& size) {
    return {point.x + size.x * 0.5, size.y * 0.5 - point.y};
}

Vec2 Vec2::topLeftToCenterPoint(const Vec2& point, const Vec2& size) {
    return {point.x - size.x * 0.5, size.y * 0.5 - point.y};
}

double Vec2::signedArea(const Vec2& a, const Vec2& b, const Vec2& c) {
    return (b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y);
}

bool Vec2::intersecting(const Vec2& a, const Vec2& b, const Vec2& c, const Vec2& d) {
    const Vec2 along = b - a;
    return (along.cross(c - a) > 0.0) != (along.cross(d - a) > 0.0);
}

int Vec2::intersect(const Vec2& a, const Vec2& b, const Vec2& c, const Vec2& d, Vec2& out,
                    double* ua, double* ub) {
    const Vec2 first = b - a;
    const Vec2 second = d - c;
    const Vec2 gap = a - c;
    const double denominator = first.x * second.y - first.y * second.x;
    const double numerator1 = gap.y * second.x - gap.x * second.y;
    const double numerator2 = gap.y * first.x - gap.x * first.y;
    if (negligible(denominator)) {
        const bool sameLine = negligible(numerator1) && negligible(numerator2);
        out = sameLine ? (a + b) * 0.5 : Vec2();
        return sameLine ? 2 : 0;
    }
    const double place1 = numerator1 / denominator;
    const double place2 = numerator2 / denominator;
    out = a + first * place1;
    if (ua != nullptr) {
        *ua = place1;
    }
    if (ub != nullptr) {
        *ub = place2;
    }
    if (isOffSegment(place1)) {
        return isOffSegment(place2) ? 5 : 3;
    }
    return isOffSegment(place2) ? 4 : 1;
}

bool Vec2::oppositeQuadrant(const Vec2& p, const Vec2& q) {
    const bool xDiffers = signOf(p.x) != signOf(q.x);
    const bool yDiffers = signOf(p.y) != signOf(q.y);
    return (xDiffers && (yDiffers || signOf(p.y) == 0)) ||
           (yDiffers && !xDiffers && signOf(p.x) == 0);
}

bool Vec2::anchorOutwardD(Vec2& v, const Vec2& a, const Vec2& b) {
    return v.dot(a) - v.dot(b) > 0.0;
}

bool Vec2::anchorOutward(Vec2& v, const Vec2& a, const Vec2& b, bool flag) {
    if (anchorOutwardD(v, a, b) != flag) {
        return false;
    }
    v = v.negate();
    return true;
}

} // namespace Vexorel::PrismDrift
