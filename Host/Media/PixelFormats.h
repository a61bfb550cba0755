#pragma once

/// What FFmpeg's pixel formats hold. Internal to the media library.

#include "Host/Media/FFmpeg.h"

namespace Vexorel::PrismDrift::Host {

/// Whether `format` is packed RGB of 8 or 16 bits a channel, with nothing beside its channels.
bool isPackedRgb(AVPixelFormat format);

/// Whether pixels of `format` have an alpha of their own, or a palette whose colours may.
bool carriesAlpha(AVPixelFormat format);

/// Of 0 bits for an unknown format.
Depth depthOf(AVPixelFormat format);

/// What to write of a picture where the format can: what is asked for, else what its world has of
/// its file's.
Depth wantedDepth(const std::optional<Depth>& asked, const Picture& picture);

/// How badly a format of whole numbers suits: bits that get lost weigh more than idle ones.
int depthCost(const Depth& wanted, AVPixelFormat offered);

} // namespace Vexorel::PrismDrift::Host
