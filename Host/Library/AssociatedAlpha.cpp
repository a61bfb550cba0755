#include "Host/Library/AssociatedAlpha.h"

#include "Host/Library/Error.h"

#include <algorithm>

namespace Vexorel::PrismDrift::Host {
namespace {

constexpr int full = 255;

std::uint8_t divided(std::uint8_t colour, std::uint8_t alpha) {
    return static_cast<std::uint8_t>(std::min(full, (colour * full + alpha / 2) / alpha));
}

float divided(float colour, float alpha) {
    return colour / alpha;
}

// Calls the function with every pixel, which begins with alpha.
template <typename Pixel, typename Function>
void forEachPixel(World& world, Function function) {
    for (int y = 0; y < world.height(); ++y) {
        auto* pixel = reinterpret_cast<Pixel*>(world.row(y));
        std::for_each(pixel, pixel + world.width(), function);
    }
}

template <typename Pixel>
bool divide(World& world) {
    bool hasBareLight = false;
    forEachPixel<Pixel>(world, [&](Pixel& pixel) {
        const auto alpha = pixel.alpha;
        if (alpha == decltype(alpha){0}) {
            hasBareLight |= pixel.red != 0 || pixel.green != 0 || pixel.blue != 0;
            return;
        }
        pixel.red = divided(pixel.red, alpha);
        pixel.green = divided(pixel.green, alpha);
        pixel.blue = divided(pixel.blue, alpha);
    });
    return hasBareLight;
}

} // namespace

bool divideByAlpha(World& world) {
    if (world.format() == PF_PixelFormat_ARGB32) {
        return divide<PF_Pixel8>(world);
    }
    if (world.format() == PF_PixelFormat_ARGB128) {
        return divide<PF_PixelFloat>(world);
    }
    throw Error("only colours of 8 bits and floats can be divided by alpha");
}

void multiplyByAlpha(World& world) {
    if (world.format() != PF_PixelFormat_ARGB128) {
        throw Error("only colours in floats can be multiplied by alpha");
    }
    forEachPixel<PF_PixelFloat>(world, [](PF_PixelFloat& pixel) {
        pixel.red *= pixel.alpha;
        pixel.green *= pixel.alpha;
        pixel.blue *= pixel.alpha;
    });
}

} // namespace Vexorel::PrismDrift::Host
