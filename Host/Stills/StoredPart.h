#pragma once

/// One picture of a file with all its channels, as the file has them, and the way from there into
/// worlds. Internal to the library of stills.

#include "Host/Library/Depth.h"
#include "Host/Library/World.h"
#include "Host/Stills/OpenImageIO.h"

#include <array>
#include <optional>

namespace Vexorel::PrismDrift::Host {

/// A rectangle of pixels.
struct Window {
    int x = 0, y = 0, width = 0, height = 0;

    bool operator==(const Window& other) const {
        return x == other.x && y == other.y && width == other.width && height == other.height;
    }
};

/// What both have in common, of no size for nothing.
Window common(const Window& left, const Window& right);

struct StoredPart {
    ImageSpec spec; ///< upright once it was turned
    StoredBytes pixels;

    /// The pixels that are stored.
    Window data() const { return {spec.x, spec.y, spec.width, spec.height}; }
    /// The picture to be shown, which may be larger or smaller.
    Window frame() const;
    const std::byte* row(int y) const; ///< y from 0 in the stored pixels
    std::byte* row(int y);
};

/// Which of a part's channels are alpha, red, green and blue: -1 where there is none.
struct ColourChannels {
    std::array<int, 4> argb = {-1, -1, -1, -1};

    bool isGray() const { return argb[1] == argb[2]; }
    bool hasAlpha() const { return argb[0] >= 0; }
    bool has(int channel) const;
};

/// The deepest of the part's colours. Throws Error, with the reason alone, for numbers with a sign.
Depth depthOf(const ImageSpec& spec, const ColourChannels& colours);

/// Turns the part, with its pixels if it has any, as its orientation says. Then it is upright.
void turn(StoredPart& part);

struct PartWorld {
    World world;
    bool losesLight = false; ///< whether a stored colour was more than alpha lets a world hold
};

/// The part's colours in its frame, those outside of its stored pixels transparent black, as a
/// world of the format. With `divides` the stored colours are multiplied by alpha and the world's
/// are not.
PartWorld worldOf(const StoredPart& part, const ColourChannels& colours, PF_PixelFormat format,
                  bool divides);

} // namespace Vexorel::PrismDrift::Host
