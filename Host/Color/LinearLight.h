#pragma once

/// Turns the colours of worlds into linear light and back.

#include "Host/Color/Transfer.h"
#include "Host/Library/World.h"

namespace Vexorel::PrismDrift::Host {

/// Turns the colours of a world of floats into light, or light into the values that are stored.
/// They must not be multiplied by alpha. Alpha stays, as do NaN and infinities; what floats don't
/// hold becomes the largest one. A value is off by less than a five hundredth of a level of 16
/// bits, or by a unit in its last place, and returns from the way there and back to the same level
/// of 16 bits and the same half float. The same bits with any number of threads. Throws Error for
/// a world of another format.
void toLinear(World& world, Transfer transfer);
void fromLinear(World& world, Transfer transfer);

} // namespace Vexorel::PrismDrift::Host
