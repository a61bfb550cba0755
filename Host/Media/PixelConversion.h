#pragma once

/// Between FFmpeg's frames and worlds of 8 bits a channel. Internal to the media library.
///
/// RGB, gray and palette pixels are converted exactly: 8 bits keep their value, other depths are
/// rounded to the nearest. YUV, and gray that is written, goes by the frame's own matrix (BT.601
/// where it names none), range and chroma location, as `YuvConversion` says; matrices of other
/// kinds are refused. FFmpeg's scaler converts what is left: floats, XYZ, the raw patterns of
/// sensors, and RGB of less than 8 bits on the way back.

#include "Host/Library/World.h"
#include "Host/Media/PixelLayout.h"
#include "Host/Media/YuvConversion.h"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace Vexorel::PrismDrift::Host {

/// Converts frames of one layout into worlds, one at a time.
class FrameToWorld {
public:
    /// Throws Error for a format that can't be converted.
    explicit FrameToWorld(const PixelLayout& layout);

    const PixelLayout& layout() const { return mLayout; }

    /// Fills the world, which has the layout's size, whole.
    void convert(const AVFrame& frame, World& world);

private:
    // Where one channel of the world comes from.
    struct Channel {
        int component = -1;               // -1: there is none, the channel is opaque
        std::vector<std::uint8_t> values; // of 8 bits, by the component's; empty where it is a byte
        std::vector<std::uint8_t> row;
    };

    void prepareChannels();
    void convertRow(const AVFrame& frame, int y, std::uint8_t* to);
    void convertPalette(const AVFrame& frame, World& world) const;

    PixelLayout mLayout;
    std::optional<YuvToWorld> mYuv;   // for the formats that it takes
    FFmpegPtr<SwsContext> mScaler;    // for those that are converted neither there nor here
    std::array<Channel, 4> mChannels; // alpha, red, green, blue
    std::vector<std::uint16_t> mLine;
};

/// Converts worlds into frames of one layout, one at a time.
class WorldToFrame {
public:
    /// The format is one that `isConvertible` names.
    explicit WorldToFrame(const PixelLayout& layout);

    /// Fills the frame, which has its buffers and the layout. The world has its size.
    void convert(const World& world, AVFrame& frame);

private:
    void prepareRows();
    void convertRow(const World& world, int y, AVFrame& frame);

    PixelLayout mLayout;
    std::optional<WorldToYuv> mYuv; // for the formats that it takes
    FFmpegPtr<SwsContext> mScaler;  // for those that are converted neither there nor here
    std::array<std::vector<std::uint8_t>, 5> mRows;   // alpha, red, green, blue, and opaque ones
    std::array<const std::uint8_t*, 4> mPackedRows{}; // of them, by the byte in a packed pixel
    std::vector<std::uint16_t> mLine;                 // of one component
};

/// A new world with the frame's picture. Throws Error as the converter does, and for a size that no
/// world has.
World worldFromFrame(const AVFrame& frame);

/// A new frame of `format`, which is one that the converter takes; YUV gets the full range and the
/// matrix of BT.601.
FFmpegPtr<AVFrame> frameFromWorld(const World& world, AVPixelFormat format);

/// A frame with buffers for its pixels. Throws std::bad_alloc.
FFmpegPtr<AVFrame> newFrame(int width, int height, AVPixelFormat format);

/// Whether any pixel is not opaque.
bool hasAlpha(const World& world);

} // namespace Vexorel::PrismDrift::Host
