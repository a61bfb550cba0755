#include "Host/Stills/PartOfWorld.h"

#include "Host/Library/DitherPattern.h"

#include <OpenImageIO/half.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace Vexorel::PrismDrift::Host {
namespace {

using Pixel = std::array<float, 4>; // alpha, red, green, blue

Pixel pixelOf(const World& world, int x, int y) {
    Pixel pixel{};
    const std::uint8_t* from = world.row(y) + world.pixelBytes() * static_cast<std::size_t>(x);
    if (world.format() == PF_PixelFormat_ARGB128) {
        std::memcpy(pixel.data(), from, sizeof pixel);
        return pixel;
    }
    constexpr float full = 255;
    std::transform(from, from + pixel.size(), pixel.begin(),
                   [](std::uint8_t value) { return static_cast<float>(value) / full; });
    return pixel;
}

template <typename Test>
bool anyPixel(const World& world, const Test& test) {
    for (int y = 0; y < world.height(); ++y) {
        for (int x = 0; x < world.width(); ++x) {
            if (test(pixelOf(world, x, y), x, y)) {
                return true;
            }
        }
    }
    return false;
}

void associate(Pixel& pixel, const ColourSteps& steps) {
    const bool multiplies = steps.wanted == Alpha::Associated && !steps.isAssociated;
    const bool divides = steps.wanted != Alpha::Associated && steps.isAssociated && pixel[0] > 0;
    for (std::size_t i = 1; i < pixel.size() && (multiplies || divides) && pixel[0] != 1.F; ++i) {
        pixel[i] = multiplies ? pixel[i] * pixel[0] : pixel[i] / pixel[0];
    }
}

template <typename Number>
void put(Number number, std::byte* to) {
    std::memcpy(to, &number, sizeof number);
}

// To the nearest, or by a threshold. What is not a number becomes 0.
std::uint64_t wholeOf(float value, int bits, float rounding) {
    const double full = std::ldexp(1.0, bits) - 1;
    const double clamped = value > 0 ? std::min(1.0, static_cast<double>(value)) : 0;
    return static_cast<std::uint64_t>(
        std::min(full, std::floor(clamped * full + static_cast<double>(rounding))));
}

// Fewer bits are repeated in those below, as readers expect them.
std::uint64_t filledUp(std::uint64_t value, int bits, int all) {
    return bits == all ? value : value << (all - bits) | value >> (2 * bits - all);
}

void putChannel(TypeDesc type, int bits, float value, float rounding, std::byte* to) {
    const int all = static_cast<int>(type.size()) * 8;
    const int own = bits > 0 && bits < all ? bits : all;
    const auto whole = [&] { return filledUp(wholeOf(value, own, rounding), own, all); };
    switch (type.basetype) {
    case TypeDesc::UINT8:
        return put(static_cast<std::uint8_t>(whole()), to);
    case TypeDesc::UINT16:
        return put(static_cast<std::uint16_t>(whole()), to);
    case TypeDesc::UINT32:
        return put(static_cast<std::uint32_t>(whole()), to);
    case TypeDesc::HALF:
        return put(half(value), to);
    case TypeDesc::DOUBLE:
        return put(static_cast<double>(value), to);
    default:
        return put(value, to);
    }
}

} // namespace

void store(const World& world, const ColourChannels& colours, const ColourSteps& steps,
           StoredPart& part) {
    const Window frame = part.frame();
    const Window shown = common(frame, part.data());
    const std::size_t step = storedPixelBytes(part.spec);
    const bool isDeep = world.format() == PF_PixelFormat_ARGB128;
    std::array<TypeDesc, 4> types;
    std::array<std::size_t, 4> offsets{};
    for (std::size_t i = 0; i < types.size(); ++i) {
        types[i] = part.spec.channelformat(std::max(0, colours.argb[i]));
        offsets[i] = offsetOf(part.spec, std::max(0, colours.argb[i]));
    }
    for (int y = 0; y < shown.height; ++y) {
        const std::array<float, ditherSide>& row = ditherRow(y);
        std::byte* to = part.row(shown.y - part.spec.y + y) +
                        step * static_cast<std::size_t>(shown.x - part.spec.x);
        for (int x = 0; x < shown.width; ++x, to += step) {
            Pixel pixel = pixelOf(world, shown.x - frame.x + x, shown.y - frame.y + y);
            associate(pixel, steps);
            for (std::size_t i = 0; i < pixel.size(); ++i) {
                const bool dithers = steps.dithers && isDeep && i > 0 && types[i].size() == 1;
                if (colours.argb[i] >= 0) {
                    putChannel(types[i], steps.bits, pixel[i],
                               dithers ? row[static_cast<unsigned>(x) % ditherSide] : .5F,
                               to + offsets[i]);
                }
            }
        }
    }
}

bool isTransparent(const World& world) {
    return anyPixel(world, [](const Pixel& pixel, int, int) { return pixel[0] != 1.F; });
}

bool hasBareLight(const World& world) {
    return anyPixel(world, [](const Pixel& pixel, int, int) {
        return pixel[0] == 0.F && (pixel[1] != 0.F || pixel[2] != 0.F || pixel[3] != 0.F);
    });
}

bool isGrayWorld(const World& world) {
    return !anyPixel(world, [](const Pixel& pixel, int, int) {
        const auto differ = [](float left, float right) { // NaN is as good as NaN
            return left != right && !(std::isnan(left) && std::isnan(right));
        };
        return differ(pixel[1], pixel[2]) || differ(pixel[1], pixel[3]);
    });
}

bool isEmptyOutside(const World& world, const Window& frame, const Window& window) {
    return !anyPixel(world, [&](const Pixel& pixel, int x, int y) {
        const bool isInside = frame.x + x >= window.x && frame.x + x < window.x + window.width &&
                              frame.y + y >= window.y && frame.y + y < window.y + window.height;
        return !isInside &&
               std::any_of(pixel.begin(), pixel.end(), [](float value) { return value != 0; });
    });
}

} // namespace Vexorel::PrismDrift::Host
