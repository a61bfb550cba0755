#pragma once

/// Pictures that a camera stored lying, turned upright. Internal to the media library.

#include "Host/Library/World.h"

#include <cstdint>

namespace Vexorel::PrismDrift::Host {

/// How a stored picture has to be turned to stand upright: mirrored along its axes where they run
/// backwards, its rows made columns where they are swapped.
struct Orientation {
    bool swapped = false;   ///< x and y change places, before the mirroring
    bool mirroredX = false; ///< of the upright picture
    bool mirroredY = false;

    /// From FFmpeg's display matrix, nine numbers; by the nearest quarter turn. Null is upright.
    static Orientation of(const std::int32_t* displayMatrix);

    bool upright() const { return !swapped && !mirroredX && !mirroredY; }
};

/// The picture in its upright orientation, a new world.
World turned(const World& world, const Orientation& orientation);

} // namespace Vexorel::PrismDrift::Host
