#include "Shared/Math/Vec4.h"

namespace Vexorel::PrismDrift {

Vec4 Vec4::lerp(Vec4 a, Vec4 b, double t) {
    if (t == 0.0) {
        return a;
    }
    if (t == 1.0) {
        return b;
    }
    const double cosine = a.dot(b) / (a.length() * b.length());
    if (cosine < 0.0) {
        return lerp(a, b.negate(), t);
    }
    // The limit and the trigonometry are in single precision, the rest is not.
    constexpr double nearlyParallel = 0.01F;
    double weightOfA = 1.0 - t;
    double weightOfB = t;
    if (!(1.0 - cosine < nearlyParallel)) {
        const float theta = std::acos(static_cast<float>(cosine));
        const double angle = theta;
        const double scale = 1.0F / std::sin(theta);
        weightOfA = std::sin(static_cast<float>((1.0 - t) * angle)) * scale;
        weightOfB = std::sin(static_cast<float>(angle * t)) * scale;
    }
    Vec4 result = a * weightOfA + b * weightOfB;
    result.setLength(1.0);
    return result;
}

} // namespace Vexorel::PrismDrift
