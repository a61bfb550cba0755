#pragma once

/// Between FFmpeg's frames and worlds of 8 bits or of floats. Internal to the media library.
///
/// RGB, gray and palette pixels are converted exactly, as `RgbConversion` says. YUV, and gray that
/// is written in whole numbers, goes by the frame's own matrix (BT.601 where it names none), range
/// and chroma location, as `YuvConversion` says; matrices of other kinds are refused. FFmpeg's
/// scaler converts what is left, floats in 16 bits on the way: XYZ, the raw patterns of sensors,
/// and RGB of less than 8 bits on the way back.

#include "Host/Library/World.h"
#include "Host/Media/Picture.h"
#include "Host/Media/PixelLayout.h"
#include "Host/Media/RgbConversion.h"
#include "Host/Media/YuvConversion.h"

#include <cstdint>
#include <variant>

namespace Vexorel::PrismDrift::Host {

/// Converts frames of one layout into worlds, one at a time.
class FrameToWorld {
public:
    /// Throws Error for a format that can't be converted, and for worlds of 16 bits. `worlds` is
    /// the format of most worlds to come; others are converted too, but take long to begin with.
    explicit FrameToWorld(const PixelLayout& layout, PF_PixelFormat worlds = PF_PixelFormat_ARGB32);

    const PixelLayout& layout() const { return mLayout; }

    /// Fills the world, which has the layout's size, whole. In floats, YUV and gray of the limited
    /// range keep what lies beyond black and white.
    void convert(const AVFrame& frame, World& world);

private:
    // By FFmpeg's scaler.
    struct Scaling {
        FFmpegPtr<SwsContext> scaler;
        FFmpegPtr<AVFrame> deep; // between the frame and floats; null for 8 bits
    };

    void convert(Scaling& scaling, const AVFrame& frame, World& world) const;

    PixelLayout mLayout;
    PF_PixelFormat mWorlds;
    std::variant<Scaling, RgbToWorld, YuvToWorld> mConverter;
};

/// What else to do to worlds that become frames.
struct FrameOptions {
    bool dithers = false;   ///< floats into 8 bits
    bool cutsRange = false; ///< colours beyond black and white before they become YUV
};

/// Converts worlds into frames of one layout, one at a time.
class WorldToFrame {
public:
    /// The format is one that `isConvertible` names; `worlds` as for frames.
    explicit WorldToFrame(const PixelLayout& layout, PF_PixelFormat worlds = PF_PixelFormat_ARGB32,
                          const FrameOptions& options = {});

    /// Fills the frame, which has its buffers and the layout. The world has its size. Floats are
    /// rounded once; what is no number becomes 0 in whole numbers.
    void convert(const World& world, AVFrame& frame);

private:
    struct Scaling {
        FFmpegPtr<SwsContext> scaler;
        FFmpegPtr<AVFrame> deep;
    };

    void convert(Scaling& scaling, const World& world, AVFrame& frame) const;

    PixelLayout mLayout;
    PF_PixelFormat mWorlds;
    FrameOptions mOptions;
    std::variant<Scaling, WorldToRgb, WorldToYuv> mConverter;
};

/// Whether worlds can be converted into frames of this format.
bool isConvertible(AVPixelFormat format);

/// A new world with the frame's picture. Throws Error as the converter does, and for a size that no
/// world has.
World worldFromFrame(const AVFrame& frame, PF_PixelFormat format = PF_PixelFormat_ARGB32);

/// A new frame of `format`, which is one that the converter takes; YUV gets the full range and the
/// matrix of BT.601.
FFmpegPtr<AVFrame> frameFromWorld(const World& world, AVPixelFormat format,
                                  const FrameOptions& options = {});

/// A frame with buffers for its pixels. Throws std::bad_alloc.
FFmpegPtr<AVFrame> newFrame(int width, int height, AVPixelFormat format);

/// The format of the worlds to read pictures of this depth into.
PF_PixelFormat worldFormatFor(WorldDepth wanted, const Depth& depth);

/// Whether any pixel's alpha is not 1 or more; one that is no number isn't.
bool hasAlpha(const World& world);

} // namespace Vexorel::PrismDrift::Host
