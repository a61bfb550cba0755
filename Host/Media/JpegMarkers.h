#pragma once

/// Looks at a JPEG file's markers for what the decoder passes over. Internal to the media library.

#include <cstddef>
#include <cstdint>

namespace Vexorel::PrismDrift::Host {

/// Whether EXIF, XMP, IPTC or a comment stand before its pixels.
bool hasJpegMetadata(const std::uint8_t* data, std::size_t size);

/// Throws Error, with the reason alone, for a file without the tables that its pixels are coded by,
/// and for a progressive one that breaks off, which the decoder shows coarse.
void checkJpeg(const std::uint8_t* data, std::size_t size);

} // namespace Vexorel::PrismDrift::Host
