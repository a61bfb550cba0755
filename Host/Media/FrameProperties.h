#pragma once

/// What a decoded frame has beside its pixels. Internal to the media library.

#include "Host/Library/Orientation.h"
#include "Host/Media/FFmpeg.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace Vexorel::PrismDrift::Host {

/// A frame without pixels that has the size, format, colours, times and side data of this one.
/// Colours that FFmpeg doesn't know are unspecified.
std::shared_ptr<const AVFrame> propertiesOf(const AVFrame& frame);

/// The ICC profile of the frame's colours, empty for none and for colours other than RGB.
std::vector<std::uint8_t> profileOf(const AVFrame& frame);

/// How the frame has to be turned by its own display matrix.
Orientation orientationOf(const AVFrame& frame);

} // namespace Vexorel::PrismDrift::Host
