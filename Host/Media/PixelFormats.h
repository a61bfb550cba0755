#pragma once

/// What FFmpeg's pixel formats hold. Internal to the media library.

#include "Host/Media/FFmpeg.h"

namespace Vexorel::PrismDrift::Host {

/// Whether `format` is packed RGB of 8 bits a channel, with nothing beside its channels.
bool isPackedRgb(AVPixelFormat format);

/// Whether pixels of `format` have an alpha of their own, or a palette whose colours may.
bool carriesAlpha(AVPixelFormat format);

/// Of 0 bits for an unknown format.
Depth depthOf(AVPixelFormat format);

} // namespace Vexorel::PrismDrift::Host
