#pragma once

/// How a picture's pixels are to be taken. Internal to the media library.

#include "Host/Library/World.h"
#include "Host/Library/Orientation.h"

namespace Vexorel::PrismDrift::Host {

struct StoredLayout {
    Orientation orientation;
    bool isAlphaAssociated = false; ///< colours are multiplied by alpha
};

/// The picture upright, its colours free of alpha. `world` is of 8 bits.
World asShown(World world, const StoredLayout& layout);

} // namespace Vexorel::PrismDrift::Host
