#pragma once

/// Pixels between a host's pictures and worlds. A world holds a frame, an area of the plane: A, R,
/// G, B in rows from the top, not multiplied by alpha.

#include "Host/Library/World.h"
#include "Host/OpenFX/Image.h"

namespace Vexorel::PrismDrift::Host {

/// The frame in a world of bytes or floats, transparent black where the image has no pixels. Bytes
/// become bytes only where they aren't premultiplied: floats keep what a division gives. Throws
/// Error for too little memory.
World worldOf(const Image& image, const OfxRectI& frame, PF_PixelFormat format);

/// Puts the frame's part of the window into the image; the rest of the window becomes transparent
/// black, and rows of another field than the image's stay as they are. The world may end before the
/// frame does, where the window doesn't reach.
void put(const World& world, const OfxRectI& frame, const OfxRectI& window, const Image& image);

/// The same of pixels that stay as they are, from an image of the same depth.
void copy(const Image& from, const OfxRectI& frame, const OfxRectI& window, const Image& to);

void clear(const OfxRectI& window, const Image& image);

/// Whether the image is of bytes that cover the frame, and alpha is full everywhere.
bool isOpaqueBytes(const Image& image, const OfxRectI& frame);

} // namespace Vexorel::PrismDrift::Host
