#pragma once

/// Where the effect reads each colour channel: its one piece of geometry, without OpenGL.

#include "Shared/Math/Affine.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Vexorel::PrismDrift {

/// Which channel moves against the shift (the first letter), stays (the second) and moves with it
/// (the third). Any other value moves all three with it.
enum ChannelOrder : std::int32_t { RGB = 0, RBG = 1, GRB = 2, GBR = 3, BRG = 4, BGR = 5 };

/// The factors of the shift distance for red, green and blue.
constexpr std::array<float, 3> shiftFactors(ChannelOrder order) {
    constexpr std::array<std::array<float, 3>, 6> table{
        {{-1, 0, 1}, {-1, 1, 0}, {0, -1, 1}, {1, -1, 0}, {0, 1, -1}, {1, 0, -1}}};
    const bool isKnown = order >= RGB && order <= BGR;
    return isKnown ? table[static_cast<std::size_t>(order)] : std::array<float, 3>{1, 1, 1};
}

/// The source is read at the inverse of the scale, and at a single point for a scale of 0.
inline double inverseScale(double scale) {
    return scale == 0.0 ? 0.0 : static_cast<double>(static_cast<float>(1.0 / scale));
}

/// Maps an output pixel to the position in the source where a channel is read. `factor` is the
/// channel's of the distance in pixels, `angle` is in degrees, `centre` the frame's.
inline Affine channelTransform(float factor, float distance, float angle, double scale,
                               Vec2 centre) {
    Vec2 offset(factor * distance, 0.0);
    offset.rotate(angle);
    const double inverse = inverseScale(scale);
    Affine transform(true);
    transform.set(centre, centre + offset, Vec2(inverse, inverse), 0.0);
    return transform;
}

/// The centre of a frame, in single precision.
inline Vec2 centreOf(int width, int height) {
    return {static_cast<float>(width) * 0.5F, static_cast<float>(height) * 0.5F};
}

} // namespace Vexorel::PrismDrift
