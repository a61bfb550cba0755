#pragma once

/// How a picture's values stand for light, by what its file says.

#include "Host/Color/Transfer.h"
#include "Host/Media/Clip.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Vexorel::PrismDrift::Host {

struct PictureTransfer {
    std::optional<Transfer> transfer; ///< nothing where it is unknown
    /// What decided, or why it is unknown, to follow "since": "its colour profile 'Adobe RGB
    /// (1998)' has a gamma of 2.2".
    std::string reason;
};

/// A colour profile decides, then the tag that a file has for it. A picture or a sequence with
/// neither counts as sRGB, or as linear light where it holds floats; a video with neither is
/// unknown.
PictureTransfer transferOf(const Picture& picture, ClipKind kind);

/// By the curves of an ICC profile for red, green and blue, which may be off by a 300th of the
/// coded values.
PictureTransfer transferOfProfile(const std::vector<std::uint8_t>& profile);

} // namespace Vexorel::PrismDrift::Host
