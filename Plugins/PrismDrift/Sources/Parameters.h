#pragma once

/// The effect's parameters: what is published to the host, and what a frame reads back.

#include "PrismDrift/Sources/PrismDriftRender.h"

#include "Platform/Effect/Effect.h"

namespace Vexorel::PrismDrift {

/// Index and id of each parameter; the input layer is 0.
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

/// Publishes the parameters. Gives the first error of the host, behind which none is added.
PF_Err publishParameters(const PF_InData* in_data, PF_OutData* out_data);

/// A frame's values as the host keeps them. What could not be checked out is 0, and the order -1.
struct FrameParameters {
    PF_Fixed angle = 0;
    float distance = 0.0F;
    double lightness[3] = {0.0, 0.0, 0.0};
    double scale[3] = {0.0, 0.0, 0.0};
    std::int32_t order = -1;
};

/// Checks the values out and in at the frame's time. Gives the first error of the host: behind it
/// nothing is checked out any more, but everything is still checked in.
PF_Err readParameters(const PF_InData* in_data, FrameParameters& values);

/// Hands the values to the renderer, in its units: the distance at the host's downsample.
void applyParameters(const PF_InData* in_data, const FrameParameters& values,
                     PrismDriftRender& renderer);

} // namespace Vexorel::PrismDrift
