#pragma once

/// The checks of one format's header by StillHeader. Internal to the media library.

#include "Host/Media/FileBytes.h"
#include "Host/Media/SizeLimit.h"

namespace Vexorel::PrismDrift::Host {

/// Throws Error as checkStillHeader does.
void checkExr(FileBytes& file, const SizeLimit& limit);

/// Throws Error for a size that no picture has, and as `SizeLimit::check` does.
void checkStillSize(std::uint64_t width, std::uint64_t height, const SizeLimit& limit);

} // namespace Vexorel::PrismDrift::Host
