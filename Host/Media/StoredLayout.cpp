#include "Host/Media/StoredLayout.h"

#include <algorithm>
#include <utility>

namespace Vexorel::PrismDrift::Host {
namespace {

void divideByAlpha(World& world) {
    constexpr int full = 255;
    for (int y = 0; y < world.height(); ++y) {
        std::uint8_t* pixel = world.row(y);
        for (int x = 0; x < world.width(); ++x, pixel += world.pixelBytes()) {
            const int alpha = pixel[0];
            for (int i = 1; i < 4 && alpha > 0 && alpha < full; ++i) {
                pixel[i] = static_cast<std::uint8_t>(
                    std::min(full, (pixel[i] * full + alpha / 2) / alpha));
            }
        }
    }
}

} // namespace

World asShown(World world, const StoredLayout& layout) {
    if (layout.isAlphaAssociated) {
        divideByAlpha(world);
    }
    return layout.orientation.upright() ? std::move(world) : turned(world, layout.orientation);
}

} // namespace Vexorel::PrismDrift::Host
