#pragma once

/// Worlds of floats as worlds of 8 bits.

#include "Host/Library/World.h"

#include <cstdint>

namespace Vexorel::PrismDrift::Host {

/// The level from 0 to `full` nearest to a value from 0 to 1; what lies beyond, and infinities,
/// become the nearer end, NaN becomes 0.
template <typename Level>
Level nearestLevel(float value, Level full) {
    const float level = value * static_cast<float>(full) + 0.5F;
    return !(level > 0) ? Level{0} : level >= static_cast<float>(full) ? full : Level(level);
}

/// The world in 8 bits a channel, each value rounded to the nearest. Throws Error for a world of
/// another format than floats.
World reducedTo8Bits(const World& world);

} // namespace Vexorel::PrismDrift::Host
