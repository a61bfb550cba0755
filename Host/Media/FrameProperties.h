#pragma once

/// What a decoded frame says beside its pixels. Internal to the media library.

#include "Host/Media/FFmpeg.h"
#include "Host/Media/Orientation.h"

#include <memory>

namespace Vexorel::PrismDrift::Host {

/// A frame without pixels that has the size, format, colours, times and side data of this one.
std::shared_ptr<const AVFrame> propertiesOf(const AVFrame& frame);

/// How the frame itself says that it has to be turned.
Orientation orientationOf(const AVFrame& frame);

} // namespace Vexorel::PrismDrift::Host
