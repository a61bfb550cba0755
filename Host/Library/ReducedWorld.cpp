#include "Host/Library/ReducedWorld.h"

#include "Host/Library/Bands.h"
#include "Host/Library/Error.h"

#include <algorithm>
#include <array>

namespace Vexorel::PrismDrift::Host {
namespace {

constexpr unsigned side = 8; // of the pattern
constexpr std::uint8_t white = 255;

using Thresholds = std::array<std::array<float, side>, side>;

// What is added to a level before its fraction is cut off: each pixel another 64th, those that
// follow one another as far apart as they can be (Bayer's matrix).
constexpr Thresholds orderedThresholds() {
    Thresholds thresholds{};
    for (unsigned y = 0; y < side; ++y) {
        for (unsigned x = 0; x < side; ++x) {
            unsigned place = 0;
            for (unsigned bit = 1; bit < side; bit *= 2) { // the coarsest bits of the place last
                const bool column = (x & bit) != 0;
                const bool row = (y & bit) != 0;
                place = 4 * place + (column != row ? 2U : 0U) + (row ? 1U : 0U);
            }
            thresholds[y][x] = (static_cast<float>(place) + 0.5F) / (side * side);
        }
    }
    return thresholds;
}

std::uint8_t ditheredLevel(float value, float threshold) {
    const float level = value * white + threshold;
    return !(level > 0) ? 0 : level >= white ? white : static_cast<std::uint8_t>(level);
}

void reduceRow(const PF_PixelFloat* from, int width, PF_Pixel8* to) {
    for (int x = 0; x < width; ++x) {
        to[x] = {nearestLevel(from[x].alpha, white), nearestLevel(from[x].red, white),
                 nearestLevel(from[x].green, white), nearestLevel(from[x].blue, white)};
    }
}

void ditherRow(const PF_PixelFloat* from, int width, int y, PF_Pixel8* to) {
    static constexpr Thresholds thresholds = orderedThresholds();
    const auto& row = thresholds[static_cast<unsigned>(y) % side];
    for (int x = 0; x < width; ++x) {
        const float threshold = row[static_cast<unsigned>(x) % side];
        to[x] = {nearestLevel(from[x].alpha, white), ditheredLevel(from[x].red, threshold),
                 ditheredLevel(from[x].green, threshold), ditheredLevel(from[x].blue, threshold)};
    }
}

} // namespace

World reducedTo8Bits(const World& world, bool dithers) {
    if (world.format() != PF_PixelFormat_ARGB128) {
        throw Error("only a world of floats can be reduced to 8 bits");
    }
    World reduced(world.width(), world.height());
    const std::size_t count = bandCount(static_cast<std::size_t>(world.width()),
                                        static_cast<std::size_t>(world.height()));
    runBands(count, [&](std::size_t band) {
        for (int y = bandEdge(band, count, world.height());
             y < bandEdge(band + 1, count, world.height()); ++y) {
            const auto* from = reinterpret_cast<const PF_PixelFloat*>(world.row(y));
            auto* to = reinterpret_cast<PF_Pixel8*>(reduced.row(y));
            if (dithers) {
                ditherRow(from, world.width(), y, to);
            } else {
                reduceRow(from, world.width(), to);
            }
        }
    });
    return reduced;
}

} // namespace Vexorel::PrismDrift::Host
