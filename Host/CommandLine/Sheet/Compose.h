#pragma once

/// The drawing operations of a sheet: fills areas and checkerboards, scales pictures down and lays
/// them over others.

#include "Host/Library/World.h"

namespace Vexorel::PrismDrift::CommandLine {

/// An area of a picture, in pixels from its top left corner.
struct Area {
    int x = 0, y = 0, width = 0, height = 0;
};

/// A colour.
struct Shade {
    std::uint8_t red = 0, green = 0, blue = 0;
};

/// Fills the part of the area that lies in the world with an opaque colour.
void fillArea(Host::World& world, const Area& area, const Shade& shade);

/// Fills it with squares of `side` pixels in two colours, an even one in the top left corner.
void fillCheckerboard(Host::World& world, const Area& area, int side, const Shade& even,
                      const Shade& odd);

/// The picture at a size of at least 1x1 that is larger on neither axis. Each pixel is the average
/// of the area that it covers, its colour weighted by alpha, so that invisible colours don't show.
Host::World scaledDown(const Host::World& picture, int width, int height);

/// Lays the picture over an opaque world, its top left corner at `x`, `y`; cuts off what lies
/// outside.
void drawOver(Host::World& world, const Host::World& picture, int x, int y);

/// Mixes the colour into a pixel of an opaque world: none of it at a `cover` of 0, only it at 255.
void blendPixel(std::uint8_t* pixel, const Shade& shade, int cover);

} // namespace Vexorel::PrismDrift::CommandLine
