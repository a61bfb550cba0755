#pragma once

/// What a sheet of pictures is put together from: areas, checkerboards, pictures made smaller.

#include "Host/Library/World.h"

namespace Vexorel::PrismDrift::Host {

/// An area of a picture, in pixels from its top left corner.
struct Area {
    int x = 0, y = 0, width = 0, height = 0;
};

struct Shade {
    std::uint8_t red = 0, green = 0, blue = 0;
};

/// Makes the part of the area that lies in the world opaque and of one colour.
void fillArea(World& world, const Area& area, const Shade& shade);

/// The same in squares of `side` pixels, the first at the area's top left corner.
void fillCheckerboard(World& world, const Area& area, int side, const Shade& even,
                      const Shade& odd);

/// The picture at a size that is no larger on either axis and at least 1: each pixel is the average
/// of the area that it stands for, where clear pixels count as little as they show.
World reduced(const World& picture, int width, int height);

/// Lays the picture over an opaque world, its corner at `x`, `y`; what sticks out is left off.
void drawOver(World& world, const World& picture, int x, int y);

/// Moves a pixel of an opaque world towards the colour, by `cover` of 255 parts.
void blendPixel(std::uint8_t* pixel, const Shade& shade, int cover);

} // namespace Vexorel::PrismDrift::Host
