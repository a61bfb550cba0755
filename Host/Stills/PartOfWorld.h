#pragma once

/// From worlds into the pixels of files. Internal to the library of stills.

#include "Host/Stills/StillFormats.h"
#include "Host/Stills/StoredPart.h"

namespace Vexorel::PrismDrift::Host {

/// How a world's colours are to be written.
struct ColourSteps {
    bool isAssociated = false; ///< the world's colours are multiplied by alpha
    Alpha wanted = Alpha::Straight;
    bool dithers = false; ///< floats that go into 8 bits
    int bits = 0;         ///< of whole numbers, where they have fewer than their type
};

/// Writes the world's colours over these channels of the part. The world lies at the frame's
/// corner; what the part doesn't store of it is left out.
void store(const World& world, const ColourChannels& colours, const ColourSteps& steps,
           StoredPart& part);

/// Whether any pixel is not opaque.
bool isTransparent(const World& world);
/// Whether there is colour at an alpha of 0.
bool hasBareLight(const World& world);
/// Whether red, green and blue are the same everywhere.
bool isGrayWorld(const World& world);
/// Whether all pixels outside of the window, which lies in the frame, are 0 throughout.
bool isEmptyOutside(const World& world, const Window& frame, const Window& window);

} // namespace Vexorel::PrismDrift::Host
