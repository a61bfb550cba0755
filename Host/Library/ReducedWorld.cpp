#include "Host/Library/ReducedWorld.h"

#include "Host/Library/Bands.h"
#include "Host/Library/Error.h"

namespace Vexorel::PrismDrift::Host {
namespace {

constexpr std::uint8_t white = 255;

void writeNearest(const PF_PixelFloat* from, int width, PF_Pixel8* to) {
    for (int x = 0; x < width; ++x) {
        to[x] = {nearestLevel(from[x].alpha, white), nearestLevel(from[x].red, white),
                 nearestLevel(from[x].green, white), nearestLevel(from[x].blue, white)};
    }
}

} // namespace

World reducedTo8Bits(const World& world) {
    if (world.format() != PF_PixelFormat_ARGB128) {
        throw Error("only a world of floats can be reduced to 8 bits");
    }
    World reduced(world.width(), world.height());
    const std::size_t count = bandCount(static_cast<std::size_t>(world.width()),
                                        static_cast<std::size_t>(world.height()));
    runBands(count, [&](std::size_t band) {
        for (int y = bandEdge(band, count, world.height());
             y < bandEdge(band + 1, count, world.height()); ++y) {
            writeNearest(reinterpret_cast<const PF_PixelFloat*>(world.row(y)), world.width(),
                         reinterpret_cast<PF_Pixel8*>(reduced.row(y)));
        }
    });
    return reduced;
}

} // namespace Vexorel::PrismDrift::Host
