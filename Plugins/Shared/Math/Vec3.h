#pragma once

/// A point or vector of space, or one value per colour channel.

#include "Shared/Math/Vec2.h"

namespace Vexorel::PrismDrift {

class Vec3 {
public:
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;

    Vec3() = default;
    explicit Vec3(double value) : x(value), y(value), z(value) {}
    Vec3(double xValue, double yValue, double zValue) : x(xValue), y(yValue), z(zValue) {}
    Vec3(Vec2 xy, double zValue) : x(xy.x), y(xy.y), z(zValue) {}

    void set(double xValue, double yValue, double zValue) {
        x = xValue;
        y = yValue;
        z = zValue;
    }
};

} // namespace Vexorel::PrismDrift
