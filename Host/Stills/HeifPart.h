#pragma once

/// The pixels of HEIF and AVIF files by libheif. OpenImageIO 2.4 gives them with 8 bits alone, and
/// reads beyond them where a file lies about their size. Internal to the library of stills.

#include "Host/Stills/StoredPart.h"

namespace Vexorel::PrismDrift::Host {

struct HeifPart {
    StoredPart part;
    int pictures = 1; ///< in the file
};

/// The first picture of the file that OpenImageIO describes so, with the depth and the colours that
/// the file says. Throws Error with the reason alone.
HeifPart heifPart(const std::string& file, const ImageSpec& spec);

/// What such a part says of its colours, by the numbers of H.273; 2 where it says nothing.
constexpr const char* heifPrimaries = "heif:Primaries";
constexpr const char* heifTransfer = "heif:Transfer";

} // namespace Vexorel::PrismDrift::Host
