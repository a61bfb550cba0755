#include "Shared/Math/Affine.h"

namespace Vexorel::PrismDrift {

namespace {

Affine skewedX(double angle) {
    return {1.0, 0.0, std::tan(angle * DEG_TO_RAD), 1.0, 0.0, 0.0};
}

Affine skewedY(double angle) {
    return {1.0, std::tan(angle * DEG_TO_RAD), 0.0, 1.0, 0.0, 0.0};
}

Affine rotated(double angle) {
    const double radians = angle * DEG_TO_RAD;
    const double s = std::sin(radians);
    const double k = std::cos(radians);
    return {k, s, -s, k, 0.0, 0.0};
}

} // namespace

void Affine::set(Vec2 anchor, Vec2 position, Vec2 scale, double rotation) {
    const double radians = rotation * DEG_TO_RAD;
    const double s = std::sin(radians);
    const double k = std::cos(radians);
    *this = Affine(scale.x * k, scale.x * s, -(scale.y * s), scale.y * k, position.x, position.y);
    translate(-anchor.x, -anchor.y);
}

void Affine::setSkewX(double angle) {
    *this = skewedX(angle);
}

void Affine::setSkewY(double angle) {
    *this = skewedY(angle);
}

void Affine::setRotate(double angle) {
    *this = rotated(angle);
}

void Affine::multiply(const Affine& other) {
    *this = Affine(other.a * a + other.c * b, other.b * a + other.d * b, other.a * c + other.c * d,
                   other.b * c + other.d * d, other.a * e + other.c * f + other.e,
                   other.b * e + other.d * f + other.f);
}

void Affine::premultiply(const Affine& other) {
    Affine first = other;
    first.multiply(*this);
    *this = first;
}

void Affine::translate(double tx, double ty) {
    premultiply({1.0, 0.0, 0.0, 1.0, tx, ty});
}

void Affine::scale(double sx, double sy) {
    premultiply({sx, 0.0, 0.0, sy, 0.0, 0.0});
}

void Affine::skewX(double angle) {
    premultiply(skewedX(angle));
}

void Affine::skewY(double angle) {
    premultiply(skewedY(angle));
}

void Affine::rotate(double angle) {
    premultiply(rotated(angle));
}

void Affine::transform(Vec2& point) const {
    Vec2 image = getTransform(point);
    point.set(image);
}

void Affine::transform(double x, double y, double* outX, double* outY) const {
    const Vec2 image = getTransform({x, y});
    *outX = image.x;
    *outY = image.y;
}

void Affine::transform(double& x, double& y) const {
    transform(x, y, &x, &y);
}

bool Affine::inverse(Affine& out) const {
    constexpr double singularBelow = 1e-6;
    const double determinant = a * d - c * b;
    if (-singularBelow < determinant && determinant < singularBelow) {
        return false;
    }
    const double factor = 1.0 / determinant;
    out = Affine(d * factor, -(b * factor), -(c * factor), a * factor, (c * f - d * e) * factor,
                 (b * e - a * f) * factor);
    return true;
}

Affine Affine::getInverse() const {
    Affine result(true);
    inverse(result);
    return result;
}

double Affine::averageScale() const {
    const double firstRow = std::sqrt(a * a + c * c);
    const double secondRow = std::sqrt(b * b + d * d);
    const auto scaled = static_cast<float>((firstRow + secondRow) * 0.5 * 10000.0);
    return std::round(scaled) / 10000.0F;
}

bool Affine::operator==(const Affine& other) {
    return equalWithin(a, other.a, TOLERANCE) && equalWithin(b, other.b, TOLERANCE) &&
           equalWithin(c, other.c, TOLERANCE) && equalWithin(d, other.d, TOLERANCE) &&
           equalWithin(e, other.e, TOLERANCE) && equalWithin(f, other.f, TOLERANCE);
}

} // namespace Vexorel::PrismDrift
