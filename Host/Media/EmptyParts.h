#pragma once

/// Finds parts of a picture that a decoder left as they were without saying so: those that still
/// hold what the frame's buffers were filled with. Internal to the media library.

#include "Host/Media/FFmpeg.h"

namespace Vexorel::PrismDrift::Host {

/// Fills the buffers of a frame that a decoder is about to write, except its palette.
void fillEmptyFrame(AVFrame& frame);

/// Whether a stretch of 16 or more bytes of the visible picture is as it was filled. In planes that
/// are narrower than that, stretches go on from row to row.
bool hasEmptyPart(const AVFrame& frame);

} // namespace Vexorel::PrismDrift::Host
