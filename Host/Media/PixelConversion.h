#pragma once

/// Between FFmpeg's frames and worlds of 8 bits a channel. Internal to the media library.
///
/// RGB, gray and palette pixels are converted exactly: 8 bits keep their value, other depths are
/// rounded to the nearest. YUV goes by the frame's own matrix and range (BT.601 where it names no
/// matrix), with its chroma interpolated.

#include "Host/Library/World.h"
#include "Host/Media/FFmpeg.h"

namespace Vexorel::PrismDrift::Host {

/// Converts frame after frame and keeps what a format needs between two of them.
class PixelConverter {
public:
    /// Fills the world, which has the frame's size, whole. Throws Error for a format that can't be
    /// converted.
    void toWorld(const AVFrame& frame, World& world);

    /// Fills the frame, which has its buffers, the world's size, and a format that is packed RGB of
    /// 8 bits or planar YUV; YUV gets the frame's own matrix and range.
    void fromWorld(const World& world, AVFrame& frame);

private:
    struct Scaling {
        int width = 0, height = 0;
        AVPixelFormat from = AV_PIX_FMT_NONE, to = AV_PIX_FMT_NONE;
        AVColorSpace matrix = AVCOL_SPC_UNSPECIFIED; // of what isn't the world
        bool full = false;                           // the range of the same

        bool operator==(const Scaling&) const = default;
    };
    SwsContext* scalerFor(const Scaling& scaling);

    Scaling mScaling; // what mScaler does
    FFmpegPtr<SwsContext> mScaler;
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

/// Whether `format` is packed RGB of 8 bits a channel, with nothing beside its channels.
bool isPackedRgb(AVPixelFormat format);

/// Whether pixels of `format` have an alpha of their own, a palette's colours among them.
bool carriesAlpha(AVPixelFormat format);

/// The bits of the deepest channel, 0 for an unknown format.
int depthOf(AVPixelFormat format);

} // namespace Vexorel::PrismDrift::Host
