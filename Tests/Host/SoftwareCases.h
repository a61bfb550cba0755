#pragma once

/// Worlds and settings for the tests of the renderer in software.

#include "Host/Software/Software.h"

#include <cmath>
#include <random>

namespace Vexorel::PrismDrift::Host {

inline double valueAt(const World& world, int x, int y, int channel) {
    const std::uint8_t* row = world.row(y);
    const std::size_t index = static_cast<std::size_t>(x) * 4 + static_cast<std::size_t>(channel);
    if (world.format() == PF_PixelFormat_ARGB32) {
        return row[index];
    }
    return world.format() == PF_PixelFormat_ARGB64
               ? static_cast<double>(reinterpret_cast<const std::uint16_t*>(row)[index])
               : static_cast<double>(reinterpret_cast<const float*>(row)[index]);
}

inline void setValue(World& world, int x, int y, int channel, double value) {
    const std::size_t index = static_cast<std::size_t>(x) * 4 + static_cast<std::size_t>(channel);
    std::uint8_t* row = world.row(y);
    if (world.format() == PF_PixelFormat_ARGB32) {
        row[index] = static_cast<std::uint8_t>(value);
    } else if (world.format() == PF_PixelFormat_ARGB64) {
        reinterpret_cast<std::uint16_t*>(row)[index] = static_cast<std::uint16_t>(value);
    } else {
        reinterpret_cast<float*>(row)[index] = static_cast<float>(value);
    }
}

inline double whiteOf(PF_PixelFormat format) {
    return format == PF_PixelFormat_ARGB32 ? 255 : format == PF_PixelFormat_ARGB64 ? 32768 : 1;
}

/// A frame and settings by chance: of every size and with extreme values among them.
class Case {
public:
    explicit Case(unsigned seed) : mRandom(seed) {}

    double number(double least, double most) {
        return std::uniform_real_distribution<double>(least, most)(mRandom);
    }
    template <typename Value>
    Value one(std::initializer_list<Value> values) {
        return values.begin()[mRandom() % values.size()];
    }

    World world(PF_PixelFormat format) {
        const int width = one({1, 2, 3, 7, 16, 33, 64, 97, 200, 531});
        return world(format, width, one({1, 2, 5, 31, 64, 90}));
    }

    World world(PF_PixelFormat format, int width, int height) {
        World made(width, height, format);
        const auto kind = mRandom() % 4; // of alpha: opaque, any, mostly opaque, mostly nothing
        const double white = whiteOf(format);
        for (int y = 0; y < made.height(); ++y) {
            for (int x = 0; x < width * 4; ++x) {
                const bool isExtreme = mRandom() % 3 == 0;
                double value = isExtreme ? one({0.0, white}) : std::floor(number(0, white + 0.99));
                if (format == PF_PixelFormat_ARGB128) {
                    value = number(-0.5, 2.0);
                }
                if (x % 4 == 0 && (kind == 0 || (kind > 1 && mRandom() % 8 != 0))) {
                    value = kind == 3 ? 0 : white;
                }
                setValue(made, x / 4, y, x % 4, value);
            }
        }
        return made;
    }

    ChannelValues values() {
        ChannelValues made;
        made.order = static_cast<ChannelOrder>(mRandom() % 7 - 1);
        made.distance = static_cast<float>(
            one({0.0, 1.0, -16.0, 1000.0, number(-1000, 1000), number(-20, 20)}));
        made.angle = static_cast<float>(one({0.0, 0.0, 90.0, -180.0, 36.0, number(-400, 400)}));
        for (std::size_t i = 0; i < 3; ++i) {
            made.scale[i] = static_cast<float>(
                one({1.0, 1.0, 0.0, 2.0, 0.5, number(0, 2), number(0.8, 1.2), number(0.01, 0.1)}));
            made.lightness[i] =
                static_cast<float>(one({0.0, 0.0, 1.0, -1.0, number(-1, 1), number(-1, 1)}));
        }
        return made;
    }

private:
    std::mt19937 mRandom;
};

} // namespace Vexorel::PrismDrift::Host
