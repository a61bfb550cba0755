#pragma once

/// Between FFmpeg's frames and worlds of 8 bits a channel. Internal to the media library.
///
/// RGB, gray and palette pixels are converted exactly: 8 bits keep their value, other depths are
/// rounded to the nearest. YUV goes by the frame's own matrix and range (BT.601 where it names no
/// matrix), with its chroma interpolated.

#include "Host/Library/World.h"
#include "Host/Media/FFmpeg.h"

namespace Vexorel::PrismDrift::Host {

/// Throws Error for a format that can't be converted and for a size that no world has.
World worldFromFrame(const AVFrame& frame);

/// A frame of `format`, which is one of 8 bits: packed RGB with or without alpha, or planar YUV,
/// which then has the full range and the matrix of BT.601.
FFmpegPtr<AVFrame> frameFromWorld(const World& world, AVPixelFormat format);

/// Whether any pixel is not opaque.
bool hasAlpha(const World& world);

/// Whether `format` is packed RGB of 8 bits a channel, with nothing beside its channels.
bool isPackedRgb(AVPixelFormat format);

} // namespace Vexorel::PrismDrift::Host
