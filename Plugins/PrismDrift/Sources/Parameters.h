#pragma once

/// The effect's parameters: their publication to the host, and their values for a frame.

#include "PrismDrift/Sources/PrismDriftRender.h"

#include "Platform/Effect/Effect.h"

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

/// Publishes the parameters. Stops at the host's first error and returns it.
PF_Err publishParameters(const PF_InData* in_data, PF_OutData* out_data);

/// A frame's values in the host's units. A value that couldn't be checked out is 0, the order -1.
struct FrameParameters {
    PF_Fixed angle = 0;
    float distance = 0.0F;
    double lightness[3] = {0.0, 0.0, 0.0};
    double scale[3] = {0.0, 0.0, 0.0};
    std::int32_t order = -1;
};

/// Checks the values out at the frame's time, and in again. Returns the host's first error. After
/// an error nothing more is checked out, but everything is still checked in.
PF_Err readParameters(const PF_InData* in_data, FrameParameters& values);

/// Converts the values to the renderer's units and sets them, the distance at the host's
/// downsample.
void applyParameters(const PF_InData* in_data, const FrameParameters& values,
                     PrismDriftRender& renderer);

} // namespace Vexorel::PrismDrift
