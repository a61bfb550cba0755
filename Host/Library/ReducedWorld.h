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

/// The world in 8 bits a channel. Where colours are dithered, those between two levels become the
/// one or the other in a pattern of 8x8 pixels, so that areas keep their mean; a level itself stays
/// what it is, to a hundredth, and alpha is rounded in any case. The same bytes every time. Throws
/// Error for a world of another format than floats.
World reducedTo8Bits(const World& world, bool dithers);

} // namespace Vexorel::PrismDrift::Host
