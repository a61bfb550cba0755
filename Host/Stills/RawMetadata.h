#pragma once

/// EXIF, XMP and IPTC as JPEG and PNG have them, carried from the one to the other as they are:
/// OpenImageIO takes them apart and keeps what it knows. Internal to the library of stills.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Vexorel::PrismDrift::Host {

struct RawMetadata {
    std::string exif;                  ///< from its TIFF header on; of an upright picture
    std::string xmp;                   ///< the packet
    std::vector<std::string> segments; ///< a JPEG's others of the kind: IPTC's, comments
    bool isOfJpeg = false;
    bool hasFurtherPictures = false; ///< behind the first one, such as a gain map

    bool hasIptc() const; ///< or XMP beyond the packet
    std::vector<std::string> comments() const;
    bool isEmpty() const { return exif.empty() && xmp.empty() && segments.empty(); }
};

/// Of the file of a JPEG or a PNG. What is damaged is left out; nothing where all together takes
/// more than `most` bytes.
RawMetadata rawMetadataOf(const std::vector<std::uint8_t>& file, std::size_t most);

/// Puts them into a JPEG, in place of what its writer made up.
void addToJpeg(const RawMetadata& metadata, std::vector<std::uint8_t>& file);

/// The chunks for a PNG; segments have no place there.
std::vector<std::pair<std::string, std::string>> pngChunksOf(const RawMetadata& metadata);

} // namespace Vexorel::PrismDrift::Host
