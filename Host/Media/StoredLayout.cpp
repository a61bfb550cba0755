#include "Host/Media/StoredLayout.h"

#include "Host/Library/AssociatedAlpha.h"

#include <cstring>
#include <utility>

namespace Vexorel::PrismDrift::Host {

World asShown(World world, const StoredLayout& layout) {
    if (layout.isAlphaAssociated && world.format() == PF_PixelFormat_ARGB32) {
        divideByAlpha(world);
    }
    return layout.orientation.upright() ? std::move(world) : turned(world, layout.orientation);
}

World copyOf(const World& world) {
    World copy(world.width(), world.height(), world.format());
    for (int y = 0; y < world.height(); ++y) {
        std::memcpy(copy.row(y), world.row(y),
                    static_cast<std::size_t>(world.width()) * world.pixelBytes());
    }
    return copy;
}

StraightWorld::StraightWorld(const Picture& picture) : mWorld(picture.world) {
    if (picture.isAssociated) {
        mCopy = copyOf(picture.world);
        mLosesLight = divideByAlpha(*mCopy);
    }
}

} // namespace Vexorel::PrismDrift::Host
