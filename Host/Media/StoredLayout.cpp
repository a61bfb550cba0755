#include "Host/Media/StoredLayout.h"

#include "Host/Library/AssociatedAlpha.h"

#include <utility>

namespace Vexorel::PrismDrift::Host {

World asShown(World world, const StoredLayout& layout) {
    if (layout.isAlphaAssociated && world.format() == PF_PixelFormat_ARGB32) {
        divideByAlpha(world);
    }
    return layout.orientation.upright() ? std::move(world) : turned(world, layout.orientation);
}

} // namespace Vexorel::PrismDrift::Host
