#pragma once

/// Pictures that OpenImageIO reads, as those of the media library. Internal to it.

#include "Host/Media/Picture.h"

namespace Vexorel::PrismDrift::Host {

/// The first picture of a file of OpenImageIO's `format`. Throws Error with the reason alone.
Picture readStillPicture(const std::filesystem::path& file, const std::string& format,
                         const ReadLimits& limits, const PictureRequest& request);

/// The same of a file that FFmpeg has read as `decoded`, and so found whole. A PNG's pixels stay
/// where they are what is asked for.
Picture readStillPicture(const std::filesystem::path& file, const std::string& format,
                         const ReadLimits& limits, const PictureRequest& request,
                         Picture&& decoded);

} // namespace Vexorel::PrismDrift::Host
