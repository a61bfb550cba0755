#pragma once

/// Turns pictures that a camera stored lying.

#include "Host/Library/World.h"

#include <cstddef>

namespace Vexorel::PrismDrift::Host {

/// How a stored picture becomes upright: first its rows become columns if x and y are swapped, then
/// it is mirrored.
struct Orientation {
    bool swapped = false;
    bool mirroredX = false; ///< left and right change places
    bool mirroredY = false; ///< top and bottom change places

    /// From FFmpeg's display matrix, nine numbers of 32 bits; by the nearest quarter turn. None, or
    /// fewer bytes, are upright.
    static Orientation of(const void* displayMatrix, std::size_t size);

    /// From the number that EXIF and TIFF have for it, 1 to 8. Any other is upright.
    static Orientation ofTag(int number);

    bool upright() const { return !swapped && !mirroredX && !mirroredY; }
};

/// The upright picture, a new world.
World turned(const World& world, const Orientation& orientation);

} // namespace Vexorel::PrismDrift::Host
