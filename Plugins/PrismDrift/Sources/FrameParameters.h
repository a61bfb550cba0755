#pragma once

/// The values of the effect's parameters at one frame, from the host's units to the renderer's.

#include "Platform/Effect/Effect.h"
#include "PrismDrift/Sources/ChannelTransforms.h"

namespace Vexorel::PrismDrift {

/// The index of each parameter, which is also its id. The input layer has index 0.
enum ParameterIndex : std::int32_t {
    kChannelOrder = 1,
    kShiftAngle = 2,
    kShiftDistance = 3,
    kScaleGroup = 4,
    kScaleR = 5,
    kScaleG = 6,
    kScaleB = 7,
    kScaleGroupEnd = 8,
    kLightnessGroup = 9,
    kLightnessR = 10,
    kLightnessG = 11,
    kLightnessB = 12,
    kLightnessGroupEnd = 13,
    kParameterCount = 14
};

/// A frame's values in the host's units. A value that couldn't be checked out is 0, the order -1.
struct FrameParameters {
    PF_Fixed angle = 0;
    float distance = 0.0F;
    double lightness[3] = {0.0, 0.0, 0.0};
    double scale[3] = {0.0, 0.0, 0.0};
    std::int32_t order = -1;
};

/// The values that a frame is drawn with.
struct ChannelValues {
    ChannelOrder order = RGB;
    float distance = 0.0F; ///< in pixels of the frame
    float angle = 0.0F;    ///< in degrees
    /// Of red, green and blue: from -1 (black) through 0 (unchanged) to 1 (white).
    std::array<float, 3> lightness{};
    std::array<float, 3> scale{1.0F, 1.0F, 1.0F}; ///< of red, green and blue
};

/// The frame stands for one that is `downsample` times as large.
inline ChannelValues channelValues(const FrameParameters& parameters, std::uint32_t downsample) {
    ChannelValues values;
    values.order = static_cast<ChannelOrder>(parameters.order);
    values.distance = parameters.distance / static_cast<float>(downsample);
    values.angle = static_cast<float>(static_cast<double>(parameters.angle) / 65536.0);
    for (std::size_t i = 0; i < 3; ++i) {
        values.lightness[i] = static_cast<float>(parameters.lightness[i] / 100.0);
        values.scale[i] = static_cast<float>(parameters.scale[i] / 100.0);
    }
    return values;
}

} // namespace Vexorel::PrismDrift
