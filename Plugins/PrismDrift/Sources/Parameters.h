#pragma once

/// The effect's parameters: their publication to the host, and their values for a frame.

#include "PrismDrift/Sources/FrameParameters.h"

namespace Vexorel::PrismDrift {

/// Publishes the parameters. Stops at the host's first error and returns it.
PF_Err publishParameters(const PF_InData* in_data, PF_OutData* out_data);

/// Checks the values out at the frame's time, and in again. Returns the host's first error. After
/// an error nothing more is checked out, but everything is still checked in.
PF_Err readParameters(const PF_InData* in_data, FrameParameters& values);

} // namespace Vexorel::PrismDrift
