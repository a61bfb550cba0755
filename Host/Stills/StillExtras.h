#pragma once

/// What a still's file has beside the colours that were read, for files that are made of it.
/// Internal to the library of stills.

#include "Host/Stills/Layers.h"
#include "Host/Stills/RawMetadata.h"
#include "Host/Stills/Still.h"
#include "Host/Stills/StillFormats.h"

#include <string>
#include <utility>
#include <vector>

namespace Vexorel::PrismDrift::Host {

struct StillExtras {
    std::string format;            ///< by OpenImageIO's name
    std::vector<StoredPart> parts; ///< upright; without pixels where only the colours matter
    ChosenLayer chosen;
    std::string layer; ///< as it was asked for
    RawMetadata raw;   ///< of a JPEG or a PNG

    const StoredPart& part() const { return parts[static_cast<std::size_t>(chosen.part)]; }
    const ImageSpec& spec() const { return part().spec; }
};

/// Leaves what goes beyond so many bytes of texts, profiles and the like out of the part. Returns
/// whether there was such.
bool limitMetadata(ImageSpec& spec, std::int64_t bytes);

/// The ICC profile of RGB colours, empty for none and for other colours.
std::vector<std::uint8_t> profileOf(const ImageSpec& spec);

/// Gives the file to be written what the picture's own file says beside the pixels, as far as the
/// format has a place for it, and adds a line for each thing that it has none for.
void carryMetadata(const StillPicture& picture, const StillFormat& format, ImageSpec& spec,
                   std::vector<std::string>& losses);

/// A line for each thing of the extras that a file without any of them loses.
std::vector<std::string> lossesIn(const StillExtras& extras, const std::string& name);

/// Adds a line for what of the picture's own file OpenImageIO has left out of the file that it
/// wrote as `spec`.
void addUnwritten(const StillExtras& extras, const StillFormat& format, const ImageSpec& spec,
                  std::vector<std::string>& losses);

/// Adds to a PNG's bytes what OpenImageIO doesn't write into one: EXIF and XMP.
void addPngMetadata(const StillPicture& picture, std::vector<std::uint8_t>& png);

/// The colours' primaries and curve by the numbers of H.273, 2 where they aren't known, and 0 where
/// they are others than those that have a number.
std::pair<int, int> colourCodes(const ImageSpec& spec);

} // namespace Vexorel::PrismDrift::Host
