#pragma once

/// Reads back what was written. Internal to the media library.

#include "Host/Media/FFmpeg.h"
#include "Host/Media/VideoFormats.h"

namespace Vexorel::PrismDrift::Host {

/// Throws Error, with the reason alone, unless the open file can be opened as a clip of this codec
/// and size that has so many pictures. Where its header doesn't count them, the file is read to its
/// end. Nothing is decoded.
void checkWrittenFile(int descriptor, const Container& container, const AVCodecContext& encoder,
                      std::int64_t pictures);

} // namespace Vexorel::PrismDrift::Host
