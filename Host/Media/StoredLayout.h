#pragma once

/// How a picture's pixels are to be taken. Internal to the media library.

#include "Host/Library/World.h"
#include "Host/Library/Orientation.h"

namespace Vexorel::PrismDrift::Host {

struct StoredLayout {
    Orientation orientation;
    bool isAlphaAssociated = false; ///< colours are multiplied by alpha
};

/// The picture upright. The colours of a world of 8 bits are freed of alpha, those of floats stay
/// as they are stored.
World asShown(World world, const StoredLayout& layout);

} // namespace Vexorel::PrismDrift::Host
