#pragma once

/// What a TIFF file says of how its picture is stored. Internal to the media library.

#include "Host/Media/StoredLayout.h"

#include <cstddef>
#include <cstdint>

namespace Vexorel::PrismDrift::Host {

/// The layout of a TIFF file's first picture. A file that breaks off in the middle of its
/// description is left to the decoder. Throws Error with the reason alone for what FFmpeg's decoder
/// shows wrong without an error, and for more pixels than the file's data could stand for.
StoredLayout tiffLayout(const std::uint8_t* data, std::size_t size);

} // namespace Vexorel::PrismDrift::Host
