#include "Host/OpenFX/Pixels.h"

#include "Host/Library/Bands.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <type_traits>

namespace Vexorel::PrismDrift::Host {
namespace {

// A pixel as hosts have it. It is copied, since rows needn't be aligned.
template <typename Value>
struct HostPixel {
    Value red, green, blue, alpha;
};

template <typename Value>
constexpr float white = std::is_integral_v<Value>
                            ? static_cast<float>(std::numeric_limits<Value>::max())
                            : 1.0F;

// From and to worlds of floats. A premultiplied value stands for its share of alpha; at alpha 0 it
// is light without cover and counts as it is.
template <typename Value>
PF_PixelFloat fromHost(const HostPixel<Value>& pixel, bool isPremultiplied) {
    const auto alpha = static_cast<float>(pixel.alpha);
    const float full = isPremultiplied && alpha != 0.0F ? alpha : white<Value>;
    return {alpha / white<Value>, static_cast<float>(pixel.red) / full,
            static_cast<float>(pixel.green) / full, static_cast<float>(pixel.blue) / full};
}

template <typename Value>
Value rounded(float value) {
    if constexpr (std::is_integral_v<Value>) {
        return static_cast<Value>(std::min(std::max(0.0F, value + 0.5F), white<Value>));
    } else {
        return value;
    }
}

template <typename Value>
HostPixel<Value> toHost(const PF_PixelFloat& pixel, bool isPremultiplied) {
    const float alpha = pixel.alpha * white<Value>;
    if (isPremultiplied && alpha == 0.0F) {
        return {Value{0}, Value{0}, Value{0}, rounded<Value>(alpha)};
    }
    const float full = isPremultiplied ? alpha : white<Value>;
    return {rounded<Value>(pixel.red * full), rounded<Value>(pixel.green * full),
            rounded<Value>(pixel.blue * full), rounded<Value>(alpha)};
}

PF_Pixel8 worldPixel(const HostPixel<std::uint8_t>& pixel, PF_Pixel8 /*kind*/, bool /*premult*/) {
    return {pixel.alpha, pixel.red, pixel.green, pixel.blue};
}

template <typename Value>
PF_PixelFloat worldPixel(const HostPixel<Value>& pixel, PF_PixelFloat /*kind*/, bool premult) {
    return fromHost(pixel, premult);
}

template <typename Value>
HostPixel<Value> hostPixel(const PF_PixelFloat& pixel, bool premult) {
    return toHost<Value>(pixel, premult);
}

template <typename Value>
HostPixel<Value> hostPixel(const PF_Pixel8& pixel, bool /*premult*/) {
    return {pixel.red, pixel.green, pixel.blue, pixel.alpha};
}

template <typename Value, typename WorldPixel>
void take(const std::uint8_t* from, std::uint8_t* to, int count, bool isPremultiplied) {
    for (int i = 0; i < count; ++i) {
        HostPixel<Value> pixel;
        std::memcpy(&pixel, from + sizeof pixel * static_cast<std::size_t>(i), sizeof pixel);
        const WorldPixel made = worldPixel(pixel, WorldPixel{}, isPremultiplied);
        std::memcpy(to + sizeof made * static_cast<std::size_t>(i), &made, sizeof made);
    }
}

template <typename Value, typename WorldPixel>
void give(const std::uint8_t* from, std::uint8_t* to, int count, bool isPremultiplied) {
    for (int i = 0; i < count; ++i) {
        WorldPixel pixel;
        std::memcpy(&pixel, from + sizeof pixel * static_cast<std::size_t>(i), sizeof pixel);
        const HostPixel<Value> made = hostPixel<Value>(pixel, isPremultiplied);
        std::memcpy(to + sizeof made * static_cast<std::size_t>(i), &made, sizeof made);
    }
}

using Row = void (*)(const std::uint8_t* from, std::uint8_t* to, int count, bool isPremultiplied);

Row taking(Depth depth, PF_PixelFormat format) {
    switch (depth) {
    case Depth::Byte:
        return format == PF_PixelFormat_ARGB32 ? &take<std::uint8_t, PF_Pixel8>
                                               : &take<std::uint8_t, PF_PixelFloat>;
    case Depth::Short:
        return &take<std::uint16_t, PF_PixelFloat>;
    case Depth::Float:
        break;
    }
    return &take<float, PF_PixelFloat>;
}

Row giving(Depth depth, PF_PixelFormat format) {
    switch (depth) {
    case Depth::Byte:
        return format == PF_PixelFormat_ARGB32 ? &give<std::uint8_t, PF_Pixel8>
                                               : &give<std::uint8_t, PF_PixelFloat>;
    case Depth::Short:
        return &give<std::uint16_t, PF_PixelFloat>;
    case Depth::Float:
        break;
    }
    return &give<float, PF_PixelFloat>;
}

int widthOf(const OfxRectI& area) {
    return area.x2 - area.x1;
}

// Where the world of a frame has the pixel.
std::size_t worldOffset(const World& world, const OfxRectI& frame, int x) {
    return static_cast<std::size_t>(x - frame.x1) * world.pixelBytes();
}

// Calls the function for each row from `first` to before `last`, on several threads.
template <typename Function>
void forRows(int first, int last, int columns, const Function& row) {
    const int rows = columns > 0 ? std::max(0, last - first) : 0;
    const std::size_t bands =
        bandCount(static_cast<std::size_t>(std::max(0, columns)), static_cast<std::size_t>(rows));
    runBands(bands, [&](std::size_t band) {
        const int end = bandEdge(band + 1, bands, rows);
        for (int y = bandEdge(band, bands, rows); y < end; ++y) {
            row(first + y);
        }
    });
}

// Fills the window, the frame's part of it by calls of `row` with the place to write to, the row's
// height in the plane, and its columns.
template <typename Function>
void fill(const OfxRectI& window, const OfxRectI& frame, const Image& image, const Function& row) {
    const OfxRectI target = intersection(window, image.bounds);
    const OfxRectI drawn = intersection(target, frame);
    forRows(target.y1, target.y2, widthOf(target), [&](int y) {
        if (image.field && (y & 1) != *image.field) {
            return;
        }
        const bool isDrawn = y >= drawn.y1 && y < drawn.y2 && drawn.x1 < drawn.x2;
        if (!isDrawn || widthOf(drawn) < widthOf(target)) {
            std::memset(image.at(target.x1, y), 0,
                        static_cast<std::size_t>(widthOf(target)) * image.pixelBytes());
        }
        if (isDrawn) {
            row(image.at(drawn.x1, y), y, drawn);
        }
    });
}

} // namespace

World worldOf(const Image& image, const OfxRectI& frame, PF_PixelFormat format) {
    World world(widthOf(frame), frame.y2 - frame.y1, format);
    const OfxRectI there = intersection(frame, image.bounds);
    const Row row = taking(image.depth, format);
    forRows(there.y1, there.y2, widthOf(there), [&](int y) {
        row(image.at(there.x1, y),
            world.row(frame.y2 - 1 - y) + worldOffset(world, frame, there.x1), widthOf(there),
            image.isPremultiplied);
    });
    return world;
}

void put(const World& world, const OfxRectI& frame, const OfxRectI& window, const Image& image) {
    const Row row = giving(image.depth, world.format());
    fill(window, frame, image, [&](std::uint8_t* to, int y, const OfxRectI& drawn) {
        row(world.row(frame.y2 - 1 - y) + worldOffset(world, frame, drawn.x1), to, widthOf(drawn),
            image.isPremultiplied);
    });
}

void copy(const Image& from, const OfxRectI& frame, const OfxRectI& window, const Image& to) {
    const OfxRectI there = intersection(frame, from.bounds);
    fill(window, there, to, [&](std::uint8_t* row, int y, const OfxRectI& drawn) {
        std::memmove(row, from.at(drawn.x1, y),
                     static_cast<std::size_t>(widthOf(drawn)) * to.pixelBytes());
    });
}

void clear(const OfxRectI& window, const Image& image) {
    fill(window, {}, image, [](std::uint8_t* /*to*/, int /*y*/, const OfxRectI& /*drawn*/) {});
}

bool isOpaqueBytes(const Image& image, const OfxRectI& frame) {
    const OfxRectI there = intersection(frame, image.bounds);
    const bool isCovered = there.x1 == frame.x1 && there.x2 == frame.x2 && there.y1 == frame.y1 &&
                           there.y2 == frame.y2;
    if (image.depth != Depth::Byte || !isCovered) {
        return false;
    }
    for (int y = frame.y1; y < frame.y2; ++y) {
        const std::uint8_t* row = image.at(frame.x1, y);
        std::uint8_t all = 255;
        for (int x = 0; x < widthOf(frame); ++x) {
            all &= row[4 * x + 3];
        }
        if (all != 255) {
            return false;
        }
    }
    return true;
}

} // namespace Vexorel::PrismDrift::Host
