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

/// The picture's world, or where its colours are multiplied by alpha a copy in which they aren't.
/// The picture must outlive it.
class StraightWorld {
public:
    explicit StraightWorld(const Picture& picture);

    const World& world() const { return mCopy ? *mCopy : mWorld; }
    /// Whether there is colour at an alpha of 0 that was light and now shows nothing.
    bool losesLight() const { return mLosesLight; }

private:
    const World& mWorld;
    std::optional<World> mCopy;
    bool mLosesLight = false;
};

} // namespace Vexorel::PrismDrift::Host
