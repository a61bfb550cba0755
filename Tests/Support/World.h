#pragma once

/// Pictures as a host hands them over: rows with a gap behind each and a guard zone around it all,
/// filled with a pattern: where nothing but pixels is written, two worlds with the same pixels have
/// the same bytes.

#include "Platform/Effect/Effect.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Testing {

/// `Pixel` is PF_Pixel8, PF_Pixel16 or PF_PixelFloat. A side of 0 or less gives a world without
/// pixels that still carries the sides as they were asked for.
template <typename Pixel>
class World {
public:
    World(std::int32_t width, std::int32_t height, std::size_t gapPixels = 3)
        : mRowBytes((side(width) + gapPixels) * sizeof(Pixel)),
          mBytes(2 * kGuard + mRowBytes * side(height)) {
        for (std::size_t i = 0; i < mBytes.size(); ++i) {
            mBytes[i] = static_cast<std::uint8_t>(i * 31 + 0xA5);
        }
        mLayer = {mBytes.data() + kGuard, static_cast<std::int32_t>(mRowBytes), width, height};
    }
    World(World&&) = default; // and no copy: the layer points into the bytes

    PF_LayerDef* layer() { return &mLayer; }
    std::int32_t width() const { return mLayer.width; }
    std::int32_t height() const { return mLayer.height; }

    Pixel& at(std::int32_t x, std::int32_t y) {
        return reinterpret_cast<Pixel*>(mBytes.data() + kGuard +
                                        mRowBytes * static_cast<std::size_t>(y))[x];
    }

    /// All bytes, for a comparison with a later state or another world.
    const std::vector<std::uint8_t>& bytes() const { return mBytes; }

private:
    static constexpr std::size_t kGuard = 64;

    static std::size_t side(std::int32_t length) {
        return length > 0 && length <= 16384 ? static_cast<std::size_t>(length) : 0;
    }

    std::size_t mRowBytes;
    std::vector<std::uint8_t> mBytes;
    PF_LayerDef mLayer{};
};

using World8 = World<PF_Pixel8>;
using World16 = World<PF_Pixel16>;
using WorldFloat = World<PF_PixelFloat>;

} // namespace Testing
