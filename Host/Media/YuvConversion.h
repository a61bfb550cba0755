#pragma once

/// Between frames of YUV and worlds of 8 bits or of floats, worked out in floating point and
/// rounded once, if at all: each value is within a level of the exact one, on every processor.
/// Internal to the media library.
///
/// Chroma goes by its place in the frame. It is interpolated, and reduced, with Catmull and Rom's
/// cubic, stretched by the reduction; beyond its edges a plane goes on as in a mirror. Only whole
/// numbers that result are cut off at the ends of their range; floats keep colours beyond RGB.

#include "Host/Library/World.h"
#include "Host/Media/PixelLayout.h"
#include "Host/Media/PixelRows.h"
#include "Host/Media/PlaneGraph.h"

#include <vector>

namespace Vexorel::PrismDrift::Host {

/// Whether frames of this format are converted here: YUV in planes or packed, of 8 to 16 bits, and
/// for writing gray of these depths.
bool isReadAsYuv(AVPixelFormat format);
bool isWrittenAsYuv(AVPixelFormat format);

/// A picture in YUV as zimg is given it: larger where a side isn't a multiple of the reduction of
/// chroma, or is too small for the filter.
struct YuvPicture {
    explicit YuvPicture(const PixelLayout& layout);

    int width, height;             ///< of the picture itself
    int paddedWidth, paddedHeight; ///< as zimg is given it
    int shiftX, shiftY;            ///< chroma has 1/2 to this power of the columns and rows
    int depth;
    int planes; ///< without alpha
    bool hasAlpha;
};

class YuvToWorld {
public:
    /// Throws Error with the reason, and std::bad_alloc.
    YuvToWorld(const PixelLayout& layout, PF_PixelFormat worlds);

    /// Fills the world, one of the format `worlds`, whole. Both have the layout's size.
    void convert(const AVFrame& frame, World& world);

private:
    template <typename Value>
    void fill(const AVFrame& frame, int y, int left, int right) const;
    template <typename Value>
    void take(const AVFrame& frame, World& world, int y, int left, int right);
    const std::uint8_t* readAlpha(const AVFrame& frame, int y, Columns columns,
                                  std::vector<std::uint8_t>& alpha);
    const float* readAlpha(const AVFrame& frame, int y, Columns columns, std::vector<float>& alpha);

    YuvPicture mPicture;
    PlaneGraph mGraph;
    std::vector<std::uint8_t> mAlpha; // a row of the world's, opaque where the frame has none
    std::vector<std::uint16_t> mDeepAlpha;
    std::vector<float> mFloatAlpha; // the row in floats
};

class WorldToYuv {
public:
    /// With `dithers`, floats are dithered into 8 bits, but for alpha. With `cutsRange`, colours
    /// beyond black and white are cut off before they become YUV. Throws Error with the reason, and
    /// std::bad_alloc.
    WorldToYuv(const PixelLayout& layout, PF_PixelFormat worlds, bool dithers, bool cutsRange);

    /// Fills the frame, which has its buffers, from a world of the format `worlds`. Both have the
    /// layout's size.
    void convert(const World& world, AVFrame& frame);

private:
    template <typename Value>
    void fill(const World& world, int y, int left, int right);
    template <typename Value>
    void take(const World& world, AVFrame& frame, int y, int left, int right);
    template <typename Value>
    void writeAlpha(const World& world, AVFrame& frame, int y, Columns columns);

    YuvPicture mPicture;
    PlaneGraph mGraph;
    float mLeast, mMost;                   // of the colours in floats
    std::vector<std::uint8_t> mAlpha;      // columns of the world's
    std::vector<std::uint16_t> mDeepAlpha; // the same in the frame's depth
    std::vector<float> mFloatAlpha;        // the same in floats
};

} // namespace Vexorel::PrismDrift::Host
