#pragma once

/// A picture as an effect gets it ("world"): pixels of A, R, G, B, not multiplied by alpha, in rows
/// from the top, with unused bytes behind each row.

#include "Platform/Effect/Effect.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace Vexorel::PrismDrift::Host {

/// The longest side of a world, in pixels.
constexpr int largestSide = 65535;

/// 4, 8 or 16. Throws Error for an unknown format.
std::size_t bytesPerPixel(PF_PixelFormat format);

/// Owns its pixels. Moved, not copied; a world that was moved from has no pixels.
class World {
public:
    /// All bytes are zero. Throws Error for a side below 0 or above `largestSide`, for an unknown
    /// format, and for too little memory.
    World(int width, int height, PF_PixelFormat format = PF_PixelFormat_ARGB32);
    World(World&& other) noexcept;
    World& operator=(World&& other) noexcept;
    ~World() = default;

    int width() const { return mLayer.width; }
    int height() const { return mLayer.height; }
    /// From one row to the next, in bytes; at least a pixel more than the row's pixels.
    std::ptrdiff_t rowBytes() const { return mLayer.rowbytes; }
    PF_PixelFormat format() const { return mFormat; }
    /// 4, 8 or 16.
    std::size_t pixelBytes() const;

    std::uint8_t* row(int y) { return data() + y * rowBytes(); }
    const std::uint8_t* row(int y) const { return data() + y * rowBytes(); }

    /// The record for the effect. It points at the world's pixels and is valid as long as the
    /// world.
    const PF_LayerDef& layer() const { return mLayer; }

private:
    std::uint8_t* data() const { return static_cast<std::uint8_t*>(mLayer.data); }

    struct Free {
        void operator()(void* memory) const;
    };
    std::unique_ptr<void, Free> mMemory;
    PF_LayerDef mLayer{};
    PF_PixelFormat mFormat;
};

} // namespace Vexorel::PrismDrift::Host
