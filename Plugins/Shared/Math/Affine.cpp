#include "Shared/Math/Affine.h"

#include <cmath>

namespace Vexorel::PrismDrift {

void Affine::multiply(const Affine& other) {
    *this = Affine(other.a * a + other.c * b, other.b * a + other.d * b, other.a * c + other.c * d,
                   other.b * c + other.d * d, other.a * e + other.c * f + other.e,
                   other.b * e + other.d * f + other.f);
}

void Affine::set(Vec2 anchor, Vec2 position, Vec2 scale, double rotation) {
    const double radians = rotation * DEG_TO_RAD;
    const double s = std::sin(radians);
    const double k = std::cos(radians);
    const Affine placed(scale.x * k, scale.x * s, -(scale.y * s), scale.y * k, position.x,
                        position.y);
    Affine result(1.0, 0.0, 0.0, 1.0, -anchor.x, -anchor.y);
    result.multiply(placed);
    *this = result;
}

} // namespace Vexorel::PrismDrift
