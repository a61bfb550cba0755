#pragma once

/// Looks into headers of stills before OpenImageIO does, which believes them. Internal to the media
/// library.

#include "Host/Media/SizeLimit.h"

#include <filesystem>
#include <string>

namespace Vexorel::PrismDrift::Host {

/// Throws Error, with the reason alone, for the header of an OpenEXR, DPX or Cineon file that names
/// a picture beyond the limit, more data than the file has, or values that end OpenImageIO's
/// readers. `format` is OpenImageIO's name; other formats pass.
void checkStillHeader(const std::filesystem::path& file, const std::string& format,
                      const SizeLimit& limit);

} // namespace Vexorel::PrismDrift::Host
