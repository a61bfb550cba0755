#pragma once

/// How a picture's pixels are to be taken. Internal to the media library.

#include "Host/Library/Orientation.h"
#include "Host/Library/World.h"
#include "Host/Media/Picture.h"

#include <optional>

namespace Vexorel::PrismDrift::Host {

struct StoredLayout {
    Orientation orientation;
    bool isAlphaAssociated = false; ///< colours are multiplied by alpha
};

/// The picture upright. The colours of a world of 8 bits are freed of alpha, those of floats stay
/// as they are stored.
World asShown(World world, const StoredLayout& layout);

World copyOf(const World& world);

/// The picture's world, or where its colours are multiplied by alpha a copy in `straight` in which
/// they aren't.
const World& straightWorld(const Picture& picture, std::optional<World>& straight);

} // namespace Vexorel::PrismDrift::Host
