#pragma once

/// Between FFmpeg's frames and worlds of 8 bits a channel. Internal to the media library.
///
/// RGB, gray and palette pixels are converted exactly: 8 bits keep their value, other depths are
/// rounded to the nearest. YUV goes by the frame's own matrix and range (BT.601 where it names no
/// matrix), with its chroma interpolated; matrices of other kinds are refused.

#include "Host/Library/World.h"
#include "Host/Media/FFmpeg.h"

#include <array>
#include <cstdint>
#include <vector>

struct AVPixFmtDescriptor;

namespace Vexorel::PrismDrift::Host {

/// What a converter is made for; the same for all frames of most clips.
struct PixelLayout {
    int width = 0, height = 0;
    AVPixelFormat format = AV_PIX_FMT_NONE;
    AVColorSpace matrix = AVCOL_SPC_UNSPECIFIED; ///< of YUV
    AVColorRange range = AVCOL_RANGE_UNSPECIFIED;

    bool operator==(const PixelLayout&) const = default;
};

PixelLayout layoutOf(const AVFrame& frame);

/// Converts frames of one layout into worlds.
class FrameToWorld {
public:
    /// Throws Error for a format that can't be converted.
    explicit FrameToWorld(const PixelLayout& layout);

    const PixelLayout& layout() const { return mLayout; }

    /// Fills the world, which has the layout's size, whole.
    void convert(const AVFrame& frame, World& world) const;

private:
    // Where one channel of the world comes from.
    struct Channel {
        int component = -1;               // -1: there is none, the channel is opaque
        std::vector<std::uint8_t> values; // of 8 bits, by the component's; empty where it is a byte
    };

    void convertRow(const AVFrame& frame, int y, std::size_t channel, std::uint8_t* to) const;
    void convertPalette(const AVFrame& frame, World& world) const;

    PixelLayout mLayout;
    const AVPixFmtDescriptor* mDescriptor; // of the layout's format
    std::array<Channel, 4> mChannels;      // alpha, red, green, blue
    FFmpegPtr<SwsContext> mScaler;         // null for a format that is converted exactly
};

/// Converts worlds into frames of one layout.
class WorldToFrame {
public:
    /// The format is packed RGB of 8 bits, BGR0 or planar YUV.
    explicit WorldToFrame(const PixelLayout& layout);

    /// Fills the frame, which has its buffers and the layout. The world has its size.
    void convert(const World& world, AVFrame& frame) const;

private:
    PixelLayout mLayout;
    FFmpegPtr<SwsContext> mScaler; // null for packed RGB
    int mPixelBytes = 0;
    std::vector<int> mOffsets; // in a packed pixel, of red, green, blue and, if it has one, alpha
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
