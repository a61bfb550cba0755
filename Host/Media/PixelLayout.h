#pragma once

/// What it takes to know to convert a frame's pixels. Internal to the media library.

#include "Host/Media/FFmpeg.h"

namespace Vexorel::PrismDrift::Host {

/// What a converter is made for; the same for all frames of most clips.
struct PixelLayout {
    int width = 0, height = 0;
    AVPixelFormat format = AV_PIX_FMT_NONE;
    AVColorSpace matrix = AVCOL_SPC_UNSPECIFIED; ///< of YUV
    AVColorRange range = AVCOL_RANGE_UNSPECIFIED;
    AVChromaLocation chroma = AVCHROMA_LOC_UNSPECIFIED; ///< of YUV; unspecified counts as left

    bool operator==(const PixelLayout&) const = default;
};

/// The layout of a decoded frame. The full range that a format's name says is among it, and of YUV
/// with reduced chroma the chroma's place, by `chromaLocationOf`.
PixelLayout layoutOf(const AVFrame& frame);

/// Where the chroma of a frame lies: as the frame says, else left of centre as MPEG-2 and its
/// successors have it, or in the centre as JPEG has it where the range is full. Unspecified for
/// pixels that have a chroma value each.
AVChromaLocation chromaLocationOf(AVPixelFormat format, AVColorRange range, AVChromaLocation said);

/// Whether the format is YUV, as opposed to RGB, gray, a palette or XYZ.
bool isYuv(AVPixelFormat format);

/// Whether the format is gray, perhaps with alpha, in whole numbers of up to 16 bits. Its range is
/// full unless it is said to be limited.
bool isGray(AVPixelFormat format);

} // namespace Vexorel::PrismDrift::Host
