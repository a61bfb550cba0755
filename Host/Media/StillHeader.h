#pragma once

/// Looks into headers of stills before OpenImageIO does, which believes them. Internal to the media
/// library.

#include "Host/Media/SizeLimit.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace Vexorel::PrismDrift::Host {

/// Throws Error, with the reason alone, for the header of an OpenEXR, DPX or Cineon file that names
/// a picture beyond the limit, more data than the file has, or values that end OpenImageIO's
/// readers. `format` is OpenImageIO's name; other formats pass.
void checkStillHeader(const std::filesystem::path& file, const std::string& format,
                      const SizeLimit& limit);

/// Where in a DPX the number of bytes behind each row stands, and which number it has to be.
struct RowPadding {
    std::size_t at;
    std::array<std::uint8_t, 4> bytes;
};

/// For a DPX whose rows are filled up to whole words of 32 bits, as the format says, while its
/// header names no such bytes: OpenImageIO takes them for pixels.
std::optional<RowPadding> unnamedPadding(const std::filesystem::path& dpx);

} // namespace Vexorel::PrismDrift::Host
