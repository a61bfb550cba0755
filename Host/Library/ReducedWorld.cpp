#include "Host/Library/ReducedWorld.h"

#include "Host/Library/Bands.h"
#include "Host/Library/DitherPattern.h"
#include "Host/Library/Error.h"

#include <array>

namespace Vexorel::PrismDrift::Host {
namespace {

constexpr std::uint8_t white = 255;

std::uint8_t ditheredLevel(float value, float threshold) {
    const float level = value * white + threshold;
    return !(level > 0) ? 0 : level >= white ? white : static_cast<std::uint8_t>(level);
}

void writeNearest(const PF_PixelFloat* from, int width, PF_Pixel8* to) {
    for (int x = 0; x < width; ++x) {
        to[x] = {nearestLevel(from[x].alpha, white), nearestLevel(from[x].red, white),
                 nearestLevel(from[x].green, white), nearestLevel(from[x].blue, white)};
    }
}

void writeDithered(const PF_PixelFloat* from, int width, int y, PF_Pixel8* to) {
    const std::array<float, ditherSide>& row = ditherRow(y);
    for (int x = 0; x < width; ++x) {
        const float threshold = row[static_cast<unsigned>(x) % ditherSide];
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
                writeDithered(from, world.width(), y, to);
            } else {
                writeNearest(from, world.width(), to);
            }
        }
    });
    return reduced;
}

} // namespace Vexorel::PrismDrift::Host
