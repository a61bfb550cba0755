#include "Shared/Math/Vec2.h"

#include <cmath>

namespace Vexorel::PrismDrift {

void Vec2::rotate(double angle) {
    if (angle == 0.0) {
        return;
    }
    const double radians = angle * DEG_TO_RAD;
    const double s = std::sin(radians);
    const double c = std::cos(radians);
    *this = Vec2(c * x - s * y, c * y + s * x);
}

} // namespace Vexorel::PrismDrift
